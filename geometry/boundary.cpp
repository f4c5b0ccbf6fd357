// The edges of bounded surfaces as curves (trimmed surfaces, bounded surfaces, faces, and the
// domain edges of any other surface), and iso-curves cut to them.
#include <algorithm>
#include <cmath>
#include <string>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib {

namespace {

// A curve of the surface's parameter space (x is u, y is v) mapped onto the surface, which
// must outlive it.
class MappedCurve final : public Curve {
 public:
  MappedCurve(std::unique_ptr<Curve> uv, const Surface& surface)
      : uv_(std::move(uv)), surface_(surface) {}
  Interval range() const override { return uv_->range(); }
  Interval finite_range() const override { return uv_->finite_range(); }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    Vec3 p, d;
    uv_->evaluate(t, p, d);
    SurfacePoint s = surface_.evaluate(p.x, p.y);
    point = s.point;
    d1 = s.du * d.x + s.dv * d.y;
  }
  std::vector<double> breaks() const override { return uv_->breaks(); }

 private:
  std::unique_ptr<Curve> uv_;
  const Surface& surface_;
};

// A model-space curve on a plane as a curve of the plane's parameter space: the plane's point
// at (0, 0) and its two (constant) partial derivatives give the coordinates.
class OnPlane final : public Curve {
 public:
  OnPlane(std::unique_ptr<Curve> c, const SurfacePoint& origin)
      : c_(std::move(c)), o_(origin.point), du_(origin.du), dv_(origin.dv) {}
  Interval range() const override { return c_->range(); }
  Interval finite_range() const override { return c_->finite_range(); }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    Vec3 p, d;
    c_->evaluate(t, p, d);
    point = {dot(p - o_, du_) / dot(du_, du_), dot(p - o_, dv_) / dot(dv_, dv_), 0};
    d1 = {dot(d, du_) / dot(du_, du_), dot(d, dv_) / dot(dv_, dv_), 0};
  }
  std::vector<double> breaks() const override { return c_->breaks(); }

 private:
  std::unique_ptr<Curve> c_;
  Vec3 o_, du_, dv_;
};

// A straight segment, for the edges of a domain in parameter space.
class Segment final : public Curve {
 public:
  Segment(const Vec3& a, const Vec3& b) : a_(a), b_(b) {}
  Interval range() const override { return {0, 1}; }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    d1 = b_ - a_;
    point = a_ + d1 * t;
  }
  Polyline polyline(const Tolerance&) const override { return {{0.0, 1.0}, {a_, b_}}; }

 private:
  Vec3 a_, b_;
};

// The part of a curve over [lo, hi].
class Piece final : public Curve {
 public:
  Piece(std::unique_ptr<Curve> whole, double lo, double hi)
      : whole_(std::move(whole)), lo_(lo), hi_(hi) {}
  Interval range() const override { return {lo_, hi_}; }
  void evaluate(double t, Vec3& point, Vec3& d1) const override { whole_->evaluate(t, point, d1); }
  std::vector<double> breaks() const override {
    std::vector<double> b{lo_};
    for (double t : whole_->breaks())
      if (t > lo_ && t < hi_) b.push_back(t);
    b.push_back(hi_);
    return b;
  }

 private:
  std::unique_ptr<Curve> whole_;
  double lo_, hi_;
};

class Builder {
 public:
  explicit Builder(Boundary& b) : b_(b) {}

  void surface(igs_directory_entry* e, bool placed_by_own_matrix) {
    std::string why;
    if (!e) {
      b_.faults.push_back("surface: missing");
      return;
    }
    b_.surface = placed_by_own_matrix ? make_placed_surface(e, &why) : make_surface(e, &why);
    if (!b_.surface) b_.faults.push_back("surface: " + why);
  }

  // The four edges of the surface's finite domain, as one loop.
  void domain_edges(const std::string& what) {
    if (!b_.surface) {
      no_parameters();
      b_.faults.push_back(what + ": the surface's domain edges need the surface");
      return;
    }
    Domain d = b_.surface->finite_domain();
    b_.curves.push_back(b_.surface->iso_u(d.u.lo));
    b_.curves.push_back(b_.surface->iso_u(d.u.hi));
    b_.curves.push_back(b_.surface->iso_v(d.v.lo));
    b_.curves.push_back(b_.surface->iso_v(d.v.hi));
    Vec3 corner[4] = {
        {d.u.lo, d.v.lo, 0}, {d.u.hi, d.v.lo, 0}, {d.u.hi, d.v.hi, 0}, {d.u.lo, d.v.hi, 0}};
    std::vector<std::unique_ptr<Curve>> loop;
    for (int i = 0; i < 4; ++i)
      loop.push_back(std::make_unique<Segment>(corner[i], corner[(i + 1) % 4]));
    b_.parameter_loops.push_back(std::move(loop));
  }

  // The loop of a bounded plane: its curve, and the curve in the plane's parameters.
  void plane_curve(igs_directory_entry* c, const std::string& what) {
    std::string why;
    std::unique_ptr<Curve> m = make_placed_curve(c, &why);
    if (!m) {
      b_.faults.push_back(what + ": " + why);
      no_parameters();
      return;
    }
    b_.curves.push_back(std::move(m));
    SurfacePoint origin = b_.surface ? b_.surface->evaluate(0, 0) : SurfacePoint{};
    std::vector<std::unique_ptr<Curve>> loop;
    if (dot(origin.du, origin.du) > 0 && dot(origin.dv, origin.dv) > 0)
      loop.push_back(std::make_unique<OnPlane>(make_placed_curve(c), origin));
    add_loop(std::move(loop));
  }

  // One loop that is a curve on the surface (142).
  void curve_on_surface(igs_curve_on_a_parametric_surface_entity* c, const std::string& what) {
    if (!c) {
      b_.faults.push_back(what + ": missing");
      no_parameters();
      return;
    }
    std::string why;
    std::unique_ptr<Curve> model = make_placed_curve(c, &why);
    if (!model) {
      // Its parts as they stand: the model-space curve, else the parameter curve mapped.
      Transform own = placement_of(c);
      std::string ignored;
      if (c->cptr()) model = placed(make_placed_curve(c->cptr(), &ignored), own);
      if (!model && c->bptr() && b_.surface) model = mapped(c->bptr(), own);
    }
    if (model)
      b_.curves.push_back(std::move(model));
    else
      b_.faults.push_back(what + ": " + why);
    std::vector<std::unique_ptr<Curve>> loop;
    if (auto uv = c->bptr() ? make_placed_curve(c->bptr()) : nullptr) loop.push_back(std::move(uv));
    add_loop(std::move(loop));
  }

  // One boundary (141) of a bounded surface: each piece's model-space curve, or its
  // parameter curves mapped where the boundary prefers them or has no model-space curve.
  void boundary(igs_boundary_entity* boundary, const std::string& what) {
    if (!boundary) {
      b_.faults.push_back(what + ": missing");
      no_parameters();
      return;
    }
    Transform own = placement_of(boundary);
    bool prefers_parameters = boundary->pref() == igs_trimCurveRep_parameter_space;
    std::vector<std::unique_ptr<Curve>> loop;
    bool whole = true;
    ListOfigs_curve_boundary* pieces = boundary->curves();
    for (unsigned i = 0; i < pieces->size(); ++i) {
      igs_curve_boundary* piece = (*pieces)[i];
      if (!piece) continue;
      ListOfigs_geometric_entity* uv = piece->pscpt();
      std::string why;
      std::vector<std::unique_ptr<Curve>> drawn;
      auto model_space = [&] {
        if (auto m = piece->crvpt() ? make_placed_curve(piece->crvpt(), &why) : nullptr)
          drawn.push_back(placed(std::move(m), own));
      };
      auto parameter_space = [&] {
        for (unsigned j = 0; j < uv->size() && b_.surface; ++j)
          if (auto m = mapped((*uv)[j], own, &why)) drawn.push_back(std::move(m));
      };
      if (prefers_parameters) {
        parameter_space();
        if (drawn.empty()) model_space();
      } else {
        model_space();
        if (drawn.empty()) parameter_space();
      }
      if (drawn.empty())
        b_.faults.push_back(what + " curve " + std::to_string(i + 1) + ": " +
                            (why.empty() ? "missing" : why));
      for (auto& c : drawn) b_.curves.push_back(std::move(c));
      if (uv->size() == 0) whole = false;
      for (unsigned j = 0; j < uv->size(); ++j) {
        if (auto c = make_placed_curve((*uv)[j]))
          loop.push_back(std::move(c));
        else
          whole = false;
      }
    }
    if (!whole) loop.clear();
    add_loop(std::move(loop));
  }

  // One loop (508) of a face: the curve of each edge it uses.
  void face_loop(igs_loop_entity* loop, const std::string& what) {
    if (!loop) {
      b_.faults.push_back(what + ": missing");
      no_parameters();
      return;
    }
    std::vector<std::unique_ptr<Curve>> uv_loop;
    bool whole = true;
    ListOfigs_edge_use* uses = loop->edge_tuples();
    for (unsigned i = 0; i < uses->size(); ++i) {
      igs_edge_use* use = (*uses)[i];
      if (!use || use->typ() != igs_edge_type_edge) continue;  // a vertex: nothing to draw
      std::string label = what + " edge " + std::to_string(i + 1);
      igs_edge_list_entity* edges = use->edge() ? use->edge()->_edge_list_entity() : nullptr;
      igs_edge_data* edge = edges ? (*edges->edges())[static_cast<unsigned>(use->ndx())] : nullptr;
      igs_directory_entry* curve = edge && edge->curv() ? edge->curv()->entity() : nullptr;
      std::string why = "missing";
      std::unique_ptr<Curve> model = curve ? make_placed_curve(curve, &why) : nullptr;
      if (model)
        b_.curves.push_back(std::move(model));
      else
        b_.faults.push_back(label + ": " + why);
      ListOfigs_space_curve* uv = use->curves();
      if (uv->size() == 0) whole = false;
      for (unsigned j = 0; j < uv->size(); ++j) {
        igs_space_curve* s = (*uv)[j];
        igs_directory_entry* c = s && s->curv() ? s->curv()->entity() : nullptr;
        if (auto p = c ? make_placed_curve(c) : nullptr)
          uv_loop.push_back(std::move(p));
        else
          whole = false;
      }
    }
    if (!whole) uv_loop.clear();
    add_loop(std::move(uv_loop));
  }

  void finish() {
    if (!all_parameters_) b_.parameter_loops.clear();
  }

 private:
  // A parameter curve mapped onto the surface, then placed by own.
  std::unique_ptr<Curve> mapped(igs_directory_entry* uv, const Transform& own,
                                std::string* why = nullptr) {
    std::unique_ptr<Curve> c = uv ? make_placed_curve(uv, why) : nullptr;
    if (!c) return nullptr;
    return placed(std::unique_ptr<Curve>(new MappedCurve(std::move(c), *b_.surface)), own);
  }
  void add_loop(std::vector<std::unique_ptr<Curve>> loop) {
    if (loop.empty())
      no_parameters();
    else
      b_.parameter_loops.push_back(std::move(loop));
  }
  void no_parameters() { all_parameters_ = false; }

  Boundary& b_;
  bool all_parameters_ = true;
};

}  // namespace

Boundary boundary_of(igs_directory_entry* entity) {
  Boundary b;
  Builder build(b);
  if (auto* trimmed = lumo_cast<igs_trimmed_parametric_surface_entity>(entity)) {
    build.surface(trimmed->pts(), true);
    if (trimmed->n1() != 0 && trimmed->pto()) {
      build.curve_on_surface(trimmed->pto(), "outer boundary");
    } else {
      if (trimmed->n1() != 0)
        b.faults.push_back("outer boundary: missing; the surface's domain edges stand for it");
      build.domain_edges("outer boundary");
    }
    ListOfigs_curve_on_a_parametric_surface_entity* holes = trimmed->pti();
    for (unsigned i = 0; i < holes->size(); ++i)
      build.curve_on_surface((*holes)[i], "hole " + std::to_string(i + 1));
  } else if (auto* bounded = lumo_cast<igs_bounded_surface_entity>(entity)) {
    build.surface(bounded->sptr(), true);
    ListOfigs_boundary_entity* boundaries = bounded->bdpt();
    for (unsigned i = 0; i < boundaries->size(); ++i)
      build.boundary((*boundaries)[i], "boundary " + std::to_string(i + 1));
    if (boundaries->size() == 0) build.domain_edges("boundary");
  } else if (auto* face = lumo_cast<igs_face_entity>(entity)) {
    build.surface(face->surf() ? face->surf()->entity() : nullptr, true);
    ListOfigs_loop_entity* loops = face->loop();
    for (unsigned i = 0; i < loops->size(); ++i)
      build.face_loop((*loops)[i], "loop " + std::to_string(i + 1));
    if (loops->size() == 0) build.domain_edges("loop");
  } else if (auto* plane = lumo_cast<igs_plane_entity>(entity); plane && plane->ptr()) {
    // A bounded plane: its bounding curve, placed by its own matrix.
    build.surface(entity, false);
    build.plane_curve(plane->ptr(), "bounding curve");
  } else if (is_surface(entity)) {
    build.surface(entity, false);
    build.domain_edges("domain");
  } else {
    b.faults.push_back("not a surface");
    return b;
  }
  build.finish();
  return b;
}

namespace {

// Where the line (axis 0: u = value, axis 1: v = value) crosses the polylines, as the other
// parameter, sorted. A vertex on the line counts once: each segment is taken half-open.
std::vector<double> crossings(const std::vector<std::vector<Vec3>>& chains, int axis,
                              double value) {
  std::vector<double> out;
  for (const auto& chain : chains) {
    for (std::size_t i = 0; i + 1 < chain.size(); ++i) {
      const Vec3 &p = chain[i], &q = chain[i + 1];
      double pa = axis == 0 ? p.x : p.y, qa = axis == 0 ? q.x : q.y;
      if ((pa <= value) == (qa <= value)) continue;
      double s = (value - pa) / (qa - pa);
      double pb = axis == 0 ? p.y : p.x, qb = axis == 0 ? q.y : q.x;
      out.push_back(pb + s * (qb - pb));
    }
  }
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace

std::vector<std::unique_ptr<Curve>> isolines(const Boundary& boundary, int n) {
  std::vector<std::unique_ptr<Curve>> out;
  const Surface* s = boundary.surface.get();
  if (!s || n <= 0) return out;
  Domain d = s->finite_domain();
  std::vector<std::vector<Vec3>> chains;
  Box box;
  for (const auto& loop : boundary.parameter_loops) {
    for (const auto& c : loop) {
      Polyline line = c->polyline();
      for (const Vec3& p : line.points) box.add(p);
      chains.push_back(std::move(line.points));
    }
  }
  // Without its loops in parameter space an iso-curve can't be cut to the boundary: none.
  if (box.empty()) return out;
  Interval u{std::max(d.u.lo, box.min.x), std::min(d.u.hi, box.max.x)};
  Interval v{std::max(d.v.lo, box.min.y), std::min(d.v.hi, box.max.y)};
  if (!(u.lo <= u.hi && v.lo <= v.hi) || !u.bounded() || !v.bounded()) return out;
  for (int axis = 0; axis < 2; ++axis) {
    const Interval& fixed = axis == 0 ? u : v;
    const Interval& along = axis == 0 ? d.v : d.u;
    for (int i = 1; i <= n; ++i) {
      double value = fixed.lo + fixed.length() * i / (n + 1);
      auto iso = [&] { return axis == 0 ? s->iso_u(value) : s->iso_v(value); };
      std::vector<double> cuts = crossings(chains, axis, value);
      for (std::size_t k = 0; k + 1 < cuts.size(); k += 2) {
        double lo = along.clamp(cuts[k]), hi = along.clamp(cuts[k + 1]);
        if (hi > lo) out.push_back(std::make_unique<Piece>(iso(), lo, hi));
      }
    }
  }
  return out;
}

}  // namespace igeslib
