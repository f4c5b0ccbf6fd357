// What each kind of face is made of before it is triangulated: its surface in the body's
// coordinates and its trim loops in the surface's domain. Trimmed surfaces (144) take their
// curves on the surface (142), bounded surfaces (143) their boundaries (141), a bounded plane
// (108) its curve; B-rep faces (510) take their loops (508) of edge uses, each edge (504)
// sampled once for the whole body so that the faces on either side share its points.
#include <algorithm>
#include <cmath>

#include "igeslib.h"
#include "mesh_faces.h"

namespace igeslib::mesh_detail {

namespace {

std::string with_reason(const std::string& what, const std::string& why) {
  return why.empty() ? what : what + ": " + why;
}

bool inside_domain(const Loop& loop, const Domain& d) {
  double mu = 0.05 * d.u.length(), mv = 0.05 * d.v.length();
  for (const LoopPoint& p : loop)
    if (!(p.uv.u >= d.u.lo - mu && p.uv.u <= d.u.hi + mu && p.uv.v >= d.v.lo - mv &&
          p.uv.v <= d.v.hi + mv))
      return false;
  return !loop.empty();
}

void reverse(Loop& loop) { std::reverse(loop.begin(), loop.end()); }

// Pieces of a loop joined end to start. Each keeps the direction it was given unless its far
// end lies nearer the loop's end than its near one does: writers do not all agree on
// orientation flags.
Loop chain(std::vector<Loop> pieces) {
  std::erase_if(pieces, [](const Loop& p) { return p.empty(); });
  // Turned only when its far end lies clearly nearer: a closed piece's ends are one point.
  auto nearer = [](const Loop& piece, double far, double near) {
    Box box;
    for (const LoopPoint& p : piece) box.add(p.point);
    return far < near - 1e-7 * box.diagonal();
  };
  if (pieces.size() >= 2) {
    const Loop& next = pieces[1];
    auto gap = [&](const Vec3& p) {
      return std::min(norm(p - next.front().point), norm(p - next.back().point));
    };
    if (nearer(pieces[0], gap(pieces[0].front().point), gap(pieces[0].back().point)))
      reverse(pieces[0]);
  }
  Loop loop;
  for (Loop& piece : pieces) {
    if (!loop.empty()) {
      const Vec3& end = loop.back().point;
      if (nearer(piece, norm(piece.back().point - end), norm(piece.front().point - end)))
        reverse(piece);
    }
    append_piece(loop, piece);
  }
  close_loop(loop);
  return loop;
}

// A plane (108) in its own frame: u and v along two directions in it, the domain the box of
// its boundary.
class PlaneSurface final : public Surface {
 public:
  PlaneSurface(const Vec3& origin, const Vec3& e1, const Vec3& e2, const Domain& domain)
      : origin_(origin), e1_(e1), e2_(e2), domain_(domain) {}
  Domain domain() const override { return domain_; }
  SurfacePoint evaluate(double u, double v) const override {
    return {origin_ + e1_ * u + e2_ * v, e1_, e2_};
  }

 private:
  Vec3 origin_, e1_, e2_;
  Domain domain_;
};

// A loop joined from pieces, its seam and pole points settled. A closed piece (a circle
// around a cylinder) runs the same way from either end, so nothing in space says which way
// it should run; the file's flags say, but not every writer sets them right, and a circle run
// the wrong way makes the loop cross itself in the domain. When the loop as given can't be
// settled, the closed pieces are turned over, every way, until it can.
bool settle_pieces(const Inverter& inverter, std::vector<Loop> pieces, Loop& out) {
  std::vector<std::size_t> closed;
  for (std::size_t i = 0; i < pieces.size() && closed.size() < 4; ++i) {
    Box box;
    for (const LoopPoint& p : pieces[i]) box.add(p.point);
    if (pieces[i].size() > 2 &&
        norm(pieces[i].front().point - pieces[i].back().point) <= 1e-7 * box.diagonal())
      closed.push_back(i);
  }
  for (unsigned mask = 0; mask < (1u << closed.size()); ++mask) {
    std::vector<Loop> turned = pieces;
    for (std::size_t k = 0; k < closed.size(); ++k)
      if (mask & (1u << k)) reverse(turned[closed[k]]);
    out = chain(std::move(turned));
    if (settle_seams(inverter, out)) return true;
  }
  return false;
}

}  // namespace

FaceBuilder::FaceBuilder(const FaceSettings& settings) : settings_(settings) {}
FaceBuilder::~FaceBuilder() = default;

Inverter& FaceBuilder::inverter(FaceJob& job) {
  if (!job.inverter) {
    Box box = job.surface->bounds();
    double size = box.empty() ? 0 : box.diagonal();
    job.inverter =
        std::make_unique<Inverter>(*job.surface, std::max(10 * settings_.chord, 2e-3 * size));
  }
  return *job.inverter;
}

bool FaceBuilder::model_space_piece(FaceJob& job, const Curve& curve, Loop& out, std::string* why) {
  Polyline line = curve.polyline(curve_tolerance(settings_));
  if (!invert_points(inverter(job), line.points, nullptr, out, why)) {
    *why = "no parameter-space trim and " + *why;
    return false;
  }
  job.inverted = true;
  return true;
}

bool FaceBuilder::curve_on_surface_loop(FaceJob& job, igs_directory_entry* entity, Loop& out,
                                        std::string* why) {
  auto* on_surface = lumo_cast<igs_curve_on_a_parametric_surface_entity>(entity);
  if (!on_surface) {
    *why = entity ? "trim curve is not a curve on a surface" : "trim curve missing";
    return false;
  }
  std::string reason;
  if (igs_directory_entry* b = on_surface->bptr()) {
    if (auto uv = make_placed_curve(b, &reason)) {
      Loop loop = sample_on_surface(*job.surface, std::move(uv), settings_);
      close_loop(loop);
      if (inside_domain(loop, job.surface->domain()) || !on_surface->cptr()) {
        out = std::move(loop);
        return true;
      }
      reason = "parameter-space curve outside the surface's domain";
    } else {
      reason = with_reason("parameter-space curve", reason);
    }
  }
  igs_directory_entry* c = on_surface->cptr();
  if (!c) {
    *why = reason.empty() ? "curve on surface has neither curve" : reason;
    return false;
  }
  std::string curve_why;
  auto curve = make_placed_curve(c, &curve_why, placement_of(on_surface));
  if (!curve) {
    *why = with_reason("model-space curve", curve_why);
    return false;
  }
  Loop loop;
  if (!model_space_piece(job, *curve, loop, why)) return false;
  close_loop(loop);
  if (!settle_seams(inverter(job), loop)) {
    *why = "trim loop crosses the surface's seam";
    return false;
  }
  out = std::move(loop);
  return true;
}

bool FaceBuilder::boundary_loop(FaceJob& job, igs_boundary_entity* boundary, Loop& out,
                                std::string* why) {
  ListOfigs_curve_boundary* curves = boundary->curves();
  std::vector<Loop> pieces;
  for (unsigned i = 0, n = curves ? curves->size() : 0; i < n; ++i) {
    igs_curve_boundary* item = (*curves)[i];
    if (!item) continue;
    Loop piece;
    bool done = false;
    // The parameter-space curves when they are all there and lie in the domain.
    if (ListOfigs_geometric_entity* ps = item->pscpt(); ps && ps->size() > 0) {
      std::vector<Loop> parts;
      for (unsigned k = 0; k < ps->size(); ++k) {
        auto uv = make_placed_curve((*ps)[k]);
        if (!uv) break;
        parts.push_back(sample_on_surface(*job.surface, std::move(uv), settings_));
      }
      if (parts.size() == ps->size()) {
        Loop joined;
        for (const Loop& p : parts) append_piece(joined, p);
        if (inside_domain(joined, job.surface->domain()) || !item->crvpt()) {
          piece = std::move(joined);
          done = true;
        }
      }
    }
    if (!done) {
      std::string curve_why;
      auto curve = make_placed_curve(item->crvpt(), &curve_why);
      if (!curve) {
        *why = with_reason("boundary curve " + std::to_string(i + 1), curve_why);
        return false;
      }
      if (!model_space_piece(job, *curve, piece, why)) return false;
    }
    if (item->sense() == 2) reverse(piece);
    pieces.push_back(std::move(piece));
  }
  if (!job.inverted) {
    out = chain(std::move(pieces));
  } else if (!settle_pieces(inverter(job), std::move(pieces), out)) {
    *why = "trim loop crosses the surface's seam";
    return false;
  }
  return true;
}

FaceJob FaceBuilder::surface_face(igs_directory_entry* entity) {
  FaceJob job;
  job.entity = entity;
  std::string why;
  if (auto* trimmed = lumo_cast<igs_trimmed_parametric_surface_entity>(entity)) {
    job.surface = make_placed_surface(trimmed->pts(), &why);
    if (!job.surface) return job.fail(with_reason("surface", why));
    if (trimmed->n1() != 0 && trimmed->pto()) {
      Loop outer;
      if (!curve_on_surface_loop(job, trimmed->pto(), outer, &why))
        return job.fail(with_reason("outer boundary", why));
      job.loops.push_back(std::move(outer));
    } else {
      job.with_domain = true;
    }
    ListOfigs_curve_on_a_parametric_surface_entity* inner = trimmed->pti();
    for (unsigned i = 0, n = inner ? inner->size() : 0; i < n; ++i) {
      Loop hole;
      if (!curve_on_surface_loop(job, (*inner)[i], hole, &why)) {
        job.notes.push_back(with_reason("hole " + std::to_string(i + 1) + " left uncut", why));
        continue;
      }
      job.loops.push_back(std::move(hole));
    }
    return job;
  }
  if (auto* bounded = lumo_cast<igs_bounded_surface_entity>(entity)) {
    job.surface = make_placed_surface(bounded->sptr(), &why);
    if (!job.surface) return job.fail(with_reason("surface", why));
    ListOfigs_boundary_entity* boundaries = bounded->bdpt();
    unsigned n = boundaries ? boundaries->size() : 0;
    job.with_domain = n == 0;
    for (unsigned i = 0; i < n; ++i) {
      igs_boundary_entity* boundary = (*boundaries)[i];
      Loop loop;
      if (!boundary) {
        why = "boundary missing";
      } else if (boundary_loop(job, boundary, loop, &why)) {
        job.loops.push_back(std::move(loop));
        continue;
      }
      // The first boundary is the outer one in every file seen; any other is a hole.
      if (i == 0) return job.fail(with_reason("outer boundary", why));
      job.notes.push_back(with_reason("hole " + std::to_string(i) + " left uncut", why));
    }
    return job;
  }
  if (auto* plane = lumo_cast<igs_plane_entity>(entity)) return plane_face(plane);
  job.surface = make_surface(entity, &why);
  if (!job.surface) return job.fail(why);
  job.with_domain = true;
  return job;
}

FaceJob FaceBuilder::plane_face(igs_plane_entity* plane) {
  FaceJob job;
  job.entity = plane;
  if (plane->form() != 1) return job.fail("an unbounded plane or a hole: no area of its own");
  Vec3 n{plane->a(), plane->b(), plane->c()};
  double length = norm(n);
  if (!(length > 0) || !std::isfinite(length) || !std::isfinite(plane->d()))
    return job.fail("plane without a normal");
  n = n / length;
  std::string why;
  auto curve = make_placed_curve(plane->ptr(), &why);
  if (!curve) return job.fail(with_reason("boundary curve", why));
  Vec3 origin = n * (plane->d() / length);
  Vec3 e1 = normalized(std::fabs(n.x) < 0.9 ? cross(n, Vec3{1, 0, 0}) : cross(n, Vec3{0, 1, 0}));
  Vec3 e2 = cross(n, e1);
  Loop loop;
  Box uv;
  for (const Vec3& p : curve->polyline(curve_tolerance(settings_)).points) {
    Uv at{dot(p - origin, e1), dot(p - origin, e2)};
    uv.add(Vec3{at.u, at.v, 0});
    loop.push_back({at, p});
  }
  close_loop(loop);
  if (uv.empty()) return job.fail("degenerate loop");
  Vec3 margin = uv.size() * 0.01 + Vec3{1e-9, 1e-9, 0};
  Domain d{{uv.min.x - margin.x, uv.max.x + margin.x}, {uv.min.y - margin.y, uv.max.y + margin.y}};
  job.surface = std::make_unique<PlaneSurface>(origin, e1, e2, d);
  job.loops.push_back(std::move(loop));
  return job;
}

// ---- B-rep faces

namespace {

std::optional<Vec3> vertex_of(igs_vertex_list_entity* list, int index) {
  ListOfigs_coordinate* vertices = list ? list->vertices() : nullptr;
  if (!vertices || index < 0 || static_cast<unsigned>(index) >= vertices->size())
    return std::nullopt;
  igs_coordinate* c = (*vertices)[static_cast<unsigned>(index)];
  if (!c) return std::nullopt;
  return Vec3{c->x(), c->y(), c->z()};
}

// The parameters along a guide (a parameter-space curve's points) nearest each of points, in
// order along both: seeds for inverting the points.
std::vector<Uv> seeds_along(Loop guide, const std::vector<Vec3>& points) {
  std::size_t m = guide.size(), n = points.size();
  std::vector<Uv> seeds;
  if (m == 0 || n == 0) return seeds;
  // Run the guide the way the points run.
  double forward =
      norm(guide.front().point - points.front()) + norm(guide.back().point - points.back());
  double backward =
      norm(guide.back().point - points.front()) + norm(guide.front().point - points.back());
  if (backward < forward * (1 - 1e-9)) {
    reverse(guide);
  } else if (!(forward < backward * (1 - 1e-9)) && m > 2 && n > 2) {
    // A closed edge: the first point past the start tells.
    const Vec3& second = points[1];
    if (norm(guide[m - 2].point - second) < norm(guide[1].point - second)) reverse(guide);
  }
  std::size_t at = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (i == 0 || m == 1) {
      seeds.push_back(guide.front().uv);
      continue;
    }
    if (i == n - 1) {
      seeds.push_back(guide.back().uv);
      continue;
    }
    double best = infinity;
    Uv best_uv = guide[at].uv;
    // Both run along the same curve: the match lies a little ahead of the last one.
    std::size_t window = 8 + 4 * m / n;
    for (std::size_t k = at; k + 1 < m && k < at + window; ++k) {
      Vec3 a = guide[k].point, b = guide[k + 1].point, ab = b - a;
      double len2 = dot(ab, ab);
      double t = len2 > 0 ? std::clamp(dot(points[i] - a, ab) / len2, 0.0, 1.0) : 0.0;
      double d = norm(a + ab * t - points[i]);
      if (d < best) {
        best = d;
        at = k;
        best_uv = {guide[k].uv.u + (guide[k + 1].uv.u - guide[k].uv.u) * t,
                   guide[k].uv.v + (guide[k + 1].uv.v - guide[k].uv.v) * t};
      }
    }
    seeds.push_back(best_uv);
  }
  return seeds;
}

}  // namespace

namespace {

// The ends of an edge's points made the vertices exactly, so that the edges meeting there
// share the point; the points turned first when they run from the end vertex to the start.
void snap_to_vertices(EdgeSamples& edge) {
  std::optional<Vec3> start = vertex_of(edge.data->svp(), edge.data->sv());
  std::optional<Vec3> end = vertex_of(edge.data->tvp(), edge.data->tv());
  std::vector<Vec3>& pts = edge.points;
  if (start && end && pts.size() >= 2) {
    double along = norm(pts.front() - *start) + norm(pts.back() - *end);
    double against = norm(pts.front() - *end) + norm(pts.back() - *start);
    if (against < along) std::reverse(pts.begin(), pts.end());
  }
  if (start && !pts.empty()) pts.front() = *start;
  if (end && pts.size() >= 2) pts.back() = *end;
}

}  // namespace

const EdgeSamples& FaceBuilder::edge(igs_edge_list_entity* list, int index, const Loop& guide) {
  auto [it, fresh] = edges_.try_emplace({list, index});
  EdgeSamples& edge = it->second;
  if (fresh) {
    ListOfigs_edge_data* edges = list ? list->edges() : nullptr;
    edge.data = edges && index >= 0 ? (*edges)[static_cast<unsigned>(index)] : nullptr;
    if (!edge.data) {
      edge.failure = "edge " + std::to_string(index + 1) + " not in its edge list";
      return edge;
    }
    std::string why;
    igs_directory_entry* curve_entity = edge.data->curv() ? edge.data->curv()->entity() : nullptr;
    if (auto curve = make_placed_curve(curve_entity, &why)) {
      edge.points = curve->polyline(curve_tolerance(settings_)).points;
      snap_to_vertices(edge);
    } else {
      edge.failure = with_reason("edge curve", why);
    }
  }
  if (!edge.data || !edge.points.empty() || guide.empty()) return edge;
  // Without a curve of its own the edge is taken from this face's parameter-space curve,
  // once, for every face that uses it.
  for (const LoopPoint& p : guide) edge.points.push_back(p.point);
  snap_to_vertices(edge);
  return edge;
}

bool FaceBuilder::brep_loop(FaceJob& job, igs_loop_entity* loop_entity, Loop& out,
                            std::string* why) {
  ListOfigs_edge_use* uses = loop_entity->edge_tuples();
  std::vector<Loop> pieces;
  bool unguided = false;
  for (unsigned i = 0, n = uses ? uses->size() : 0; i < n; ++i) {
    igs_edge_use* use = (*uses)[i];
    if (!use || !use->edge()) {
      *why = "edge use " + std::to_string(i + 1) + " names no edge";
      return false;
    }
    // The use's parameter-space curves, joined, as a guide to where its points lie.
    Loop guide;
    if (ListOfigs_space_curve* curves = use->curves()) {
      for (unsigned k = 0; k < curves->size(); ++k) {
        igs_space_curve* sc = (*curves)[k];
        auto uv = make_placed_curve(sc && sc->curv() ? sc->curv()->entity() : nullptr);
        if (!uv) {
          guide.clear();
          break;
        }
        append_piece(guide, sample_on_surface(*job.surface, std::move(uv), settings_));
      }
      if (!inside_domain(guide, job.surface->domain())) guide.clear();
    }
    Loop piece;
    if (use->typ() == igs_edge_type_vertex) {
      std::optional<Vec3> v = vertex_of(use->edge()->_vertex_list_entity(), use->ndx());
      if (!v) {
        *why = "vertex use " + std::to_string(i + 1) + " names no vertex";
        return false;
      }
      if (!guide.empty()) {
        piece = guide;
        for (LoopPoint& p : piece) p.point = *v;
      } else if (!invert_points(inverter(job), {*v}, nullptr, piece, why)) {
        return false;
      } else {
        unguided = true;
      }
    } else {
      const EdgeSamples& edge = this->edge(use->edge()->_edge_list_entity(), use->ndx(), guide);
      if (edge.points.empty()) {
        *why = edge.failure.empty() ? "edge use " + std::to_string(i + 1) + " names no edge"
                                    : edge.failure;
        return false;
      }
      std::vector<Vec3> points = edge.points;
      if (!use->orf()) std::reverse(points.begin(), points.end());
      std::vector<Uv> seeds;
      if (!guide.empty()) seeds = seeds_along(guide, points);
      if (!invert_points(inverter(job), points, seeds.empty() ? nullptr : &seeds, piece, why)) {
        if (guide.empty()) *why = "no parameter-space trim and " + *why;
        return false;
      }
      if (guide.empty()) unguided = true;
    }
    pieces.push_back(std::move(piece));
  }
  if (!unguided) {
    out = chain(std::move(pieces));
  } else if (!settle_pieces(inverter(job), std::move(pieces), out)) {
    *why = "trim loop crosses the surface's seam";
    return false;
  }
  return true;
}

FaceJob FaceBuilder::brep_face(igs_face_entity* face, bool reversed) {
  FaceJob job;
  job.entity = face;
  job.reversed = reversed;
  std::string why;
  igs_directory_entry* surface = face->surf() ? face->surf()->entity() : nullptr;
  job.surface = make_placed_surface(surface, &why);
  if (!job.surface) return job.fail(with_reason("surface", why));
  ListOfigs_loop_entity* loops = face->loop();
  unsigned n = loops ? loops->size() : 0;
  // Without an outer loop among its loops, the face is bounded by its surface's domain.
  job.with_domain = !face->orf() || n == 0;
  for (unsigned i = 0; i < n; ++i) {
    igs_loop_entity* loop_entity = (*loops)[i];
    Loop loop;
    if (!loop_entity) return job.fail("loop " + std::to_string(i + 1) + " missing");
    if (!brep_loop(job, loop_entity, loop, &why))
      return job.fail(with_reason("loop " + std::to_string(i + 1), why));
    job.loops.push_back(std::move(loop));
  }
  return job;
}

}  // namespace igeslib::mesh_detail
