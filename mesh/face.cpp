// One face tessellated: its trim loops as constraints of a triangulation of the surface's
// domain, seed points from the surface's own sampling, then points added where a triangle
// strays from the surface by more than the chord or turns from its normals by more than the
// angle.
#include <algorithm>
#include <cmath>
#include <exception>
#include <unordered_map>
#include <unordered_set>

#include "mesh_internal.h"

namespace igeslib::mesh_detail {

Tolerance curve_tolerance(const FaceSettings& settings) {
  Tolerance t;
  t.chord = settings.chord;
  t.angle = settings.angle;
  return t;
}

double determinant(const Transform& t) {
  const auto& m = t.m;
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
         m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

Vec3 placed_normal(const Transform& t, const Vec3& n) {
  // The inverse has the columns r1 x r2, r2 x r0, r0 x r1 over the determinant (r the rows),
  // so the inverse transpose has them as rows.
  const auto& m = t.m;
  Vec3 r0{m[0][0], m[0][1], m[0][2]}, r1{m[1][0], m[1][1], m[1][2]}, r2{m[2][0], m[2][1], m[2][2]};
  Vec3 out = normalized({dot(cross(r1, r2), n), dot(cross(r2, r0), n), dot(cross(r0, r1), n)});
  return determinant(t) < 0 ? -out : out;
}

void CurveOnSurface::evaluate(double t, Vec3& point, Vec3& d1) const {
  Vec3 p, d;
  uv_->evaluate(t, p, d);
  SurfacePoint s = surface_.evaluate(p.x, p.y);
  point = s.point;
  d1 = s.du * d.x + s.dv * d.y;
}

Loop sample_on_surface(const Surface& surface, std::unique_ptr<Curve> uv,
                       const FaceSettings& settings) {
  CurveOnSurface curve(surface, std::move(uv));
  Polyline line = curve.polyline(curve_tolerance(settings));
  Loop out;
  out.reserve(line.t.size());
  for (std::size_t i = 0; i < line.t.size(); ++i)
    out.push_back({curve.uv(line.t[i]), line.points[i]});
  return out;
}

void append_piece(Loop& loop, const Loop& piece) {
  std::size_t first = 0;
  if (!loop.empty() && !piece.empty()) {
    const LoopPoint& a = loop.back();
    const LoopPoint& b = piece.front();
    double uv_gap = std::hypot(a.uv.u - b.uv.u, a.uv.v - b.uv.v);
    double scale = 1 + std::max({std::fabs(a.uv.u), std::fabs(a.uv.v)});
    if (a.point == b.point && uv_gap <= 1e-9 * scale) first = 1;
  }
  loop.insert(loop.end(), piece.begin() + static_cast<std::ptrdiff_t>(first), piece.end());
}

void close_loop(Loop& loop) {
  while (loop.size() > 1) {
    const LoopPoint& a = loop.back();
    const LoopPoint& b = loop.front();
    double scale = 1 + std::max({std::fabs(a.uv.u), std::fabs(a.uv.v)});
    if (!(a.point == b.point && std::hypot(a.uv.u - b.uv.u, a.uv.v - b.uv.v) <= 1e-9 * scale))
      break;
    loop.pop_back();
  }
}

Loop domain_loop(const Surface& surface, const FaceSettings& settings) {
  Domain d = surface.finite_domain();
  Tolerance tol = curve_tolerance(settings);
  Loop loop;
  // Bottom and top run in u, the sides in v; counter-clockwise in the domain.
  auto side = [&](bool fixed_u, double value, bool backwards) {
    std::unique_ptr<Curve> iso = fixed_u ? surface.iso_u(value) : surface.iso_v(value);
    Polyline line = iso->polyline(tol);
    Loop piece;
    for (std::size_t i = 0; i < line.t.size(); ++i) {
      Uv uv = fixed_u ? Uv{value, line.t[i]} : Uv{line.t[i], value};
      piece.push_back({uv, line.points[i]});
    }
    if (backwards) std::reverse(piece.begin(), piece.end());
    append_piece(loop, piece);
  };
  side(false, d.v.lo, false);
  side(true, d.u.hi, false);
  side(false, d.v.hi, true);
  side(true, d.u.lo, true);
  close_loop(loop);
  return loop;
}

namespace {

double loop_area(const Loop& loop) {
  double a = 0;
  for (std::size_t i = 0, n = loop.size(); i < n; ++i) {
    const Uv& p = loop[i].uv;
    const Uv& q = loop[(i + 1) % n].uv;
    a += p.u * q.v - q.u * p.v;
  }
  return a / 2;
}

bool finite_point(const LoopPoint& p) {
  return std::isfinite(p.uv.u) && std::isfinite(p.uv.v) && finite(p.point);
}

// The points of the mesh being made: where each lies in the domain and in space, and the
// surface's normal there (zero where the surface gives none).
struct Vertex {
  Uv uv;
  Vec3 point;
  Vec3 normal;
  bool set = false;
};

struct TriangleKey {
  int a, b, c;
  bool operator==(const TriangleKey&) const = default;
};
struct TriangleKeyHash {
  std::size_t operator()(const TriangleKey& k) const {
    std::size_t h = static_cast<std::size_t>(k.a) * 0x9E3779B97F4A7C15ull;
    h ^= static_cast<std::size_t>(k.b) + 0x7F4A7C159E3779B9ull + (h << 6) + (h >> 2);
    h ^= static_cast<std::size_t>(k.c) + 0x94D049BB133111EBull + (h << 6) + (h >> 2);
    return h;
  }
};

TriangleKey key_of(const PlaneTriangulation::Triangle& t) {
  int v[3] = {t.v[0], t.v[1], t.v[2]};
  std::sort(v, v + 3);
  return {v[0], v[1], v[2]};
}

// The parameters at which a surface's sampling breaks in one direction: its knots and the
// points of iso-curves across it within the tolerance, thinned to at most limit values.
std::vector<double> seed_values(const Surface& surface, bool along_u, const Interval& range,
                                const Interval& across, const FaceSettings& settings,
                                std::size_t limit) {
  std::vector<double> values = along_u ? surface.u_breaks() : surface.v_breaks();
  Tolerance tol = curve_tolerance(settings);
  tol.max_points = 4000;
  for (double f : {0.0, 0.5, 1.0}) {
    double at = across.lo + across.length() * f;
    std::unique_ptr<Curve> iso = along_u ? surface.iso_v(at) : surface.iso_u(at);
    for (double t : iso->polyline(tol).t) values.push_back(t);
  }
  std::vector<double> inside;
  double margin = 1e-9 * range.length();
  for (double t : values)
    if (std::isfinite(t) && t > range.lo + margin && t < range.hi - margin) inside.push_back(t);
  std::sort(inside.begin(), inside.end());
  inside.erase(std::unique(inside.begin(), inside.end(),
                           [&](double a, double b) { return b - a <= margin; }),
               inside.end());
  if (inside.size() > limit) {
    std::vector<double> thinned;
    for (std::size_t i = 0; i < limit; ++i) thinned.push_back(inside[i * inside.size() / limit]);
    inside.swap(thinned);
  }
  return inside;
}

class FaceMesher {
 public:
  FaceMesher(const Surface& surface, const FaceSettings& settings)
      : surface_(surface), settings_(settings), domain_(surface.finite_domain()) {}

  std::string run(std::vector<Loop> loops, bool with_domain, bool reversed, TriangleMesh& out);

 private:
  Uv scaled(Uv p) const { return {(p.u - domain_.u.lo) * su_, (p.v - domain_.v.lo) * sv_}; }
  Uv unscaled(Uv p) const { return {domain_.u.lo + p.u / su_, domain_.v.lo + p.v / sv_}; }
  void choose_scales();
  // The vertex of id, made from the surface when it is new (a seed, a point added, or a
  // crossing of constraints).
  Vertex& vertex(int id);
  void set_vertex(int id, Uv uv, const Vec3& point);
  // Where a triangle should be split to meet the tolerances, if it should.
  std::optional<Uv> split_point(const PlaneTriangulation::Triangle& t);
  void seed();
  void refine();
  void emit(bool reversed, TriangleMesh& out);

  const Surface& surface_;
  FaceSettings settings_;
  Domain domain_;
  double su_ = 1, sv_ = 1;
  double min_area_ = 0;
  PlaneTriangulation cdt_;
  std::vector<Vertex> vertices_;
};

void FaceMesher::choose_scales() {
  // Lengths in space per unit of u and of v, averaged over a grid: the domain is triangulated
  // in these units, so that its triangles are not stretched on the surface.
  double lu = 0, lv = 0;
  int n = 0;
  for (int i = 0; i < 5; ++i) {
    for (int j = 0; j < 5; ++j) {
      double u = domain_.u.lo + domain_.u.length() * (i + 0.5) / 5;
      double v = domain_.v.lo + domain_.v.length() * (j + 0.5) / 5;
      SurfacePoint s = surface_.evaluate(u, v);
      double a = norm(s.du), b = norm(s.dv);
      if (std::isfinite(a) && std::isfinite(b)) lu += a, lv += b, ++n;
    }
  }
  su_ = n && lu > 0 ? lu / n : 0;
  sv_ = n && lv > 0 ? lv / n : 0;
  if (!(su_ > 0) && !(sv_ > 0)) su_ = sv_ = 1;
  if (!(su_ > 0)) su_ = sv_;
  if (!(sv_ > 0)) sv_ = su_;
  // Domains far from the origin or of extreme size keep their proportions; the units only
  // need to be alike in both directions.
  double w = domain_.u.length() * su_, h = domain_.v.length() * sv_;
  if (!(w > 0) || !std::isfinite(w) || !(h > 0) || !std::isfinite(h)) su_ = sv_ = 1;
  min_area_ = 1e-20 * (domain_.u.length() * su_) * (domain_.v.length() * sv_);
}

Vertex& FaceMesher::vertex(int id) {
  if (static_cast<std::size_t>(id) >= vertices_.size()) vertices_.resize(cdt_.size());
  Vertex& v = vertices_[id];
  if (!v.set) {
    Uv uv = unscaled(cdt_.point(id));
    SurfacePoint s = surface_.evaluate(uv.u, uv.v);
    v = {uv, s.point, s.normal(), true};
  }
  return v;
}

void FaceMesher::set_vertex(int id, Uv uv, const Vec3& point) {
  if (static_cast<std::size_t>(id) >= vertices_.size()) vertices_.resize(cdt_.size());
  Vertex& v = vertices_[id];
  if (v.set) return;  // a point given twice keeps its first place in space
  v = {uv, point, surface_.evaluate(uv.u, uv.v).normal(), true};
}

void FaceMesher::seed() {
  std::size_t limit =
      static_cast<std::size_t>(std::max(2.0, std::sqrt(settings_.max_points / 4.0)));
  std::vector<double> us = seed_values(surface_, true, domain_.u, domain_.v, settings_, limit);
  std::vector<double> vs = seed_values(surface_, false, domain_.v, domain_.u, settings_, limit);
  int hint = -1;
  for (double u : us) {
    for (double v : vs) {
      int id = cdt_.insert_inside(scaled({u, v}), hint);
      if (id < 0) continue;
      vertex(id);
      hint = id;
    }
  }
}

std::optional<Uv> FaceMesher::split_point(const PlaneTriangulation::Triangle& t) {
  Vertex* c[3] = {&vertex(t.v[0]), &vertex(t.v[1]), &vertex(t.v[2])};
  Uv p[3] = {scaled(c[0]->uv), scaled(c[1]->uv), scaled(c[2]->uv)};
  double area2 = (p[1].u - p[0].u) * (p[2].v - p[0].v) - (p[2].u - p[0].u) * (p[1].v - p[0].v);
  if (!(area2 > 2 * min_area_)) return std::nullopt;
  // A triangle no bigger than the chord is as fine as the tolerance can ask.
  double longest = 0;
  for (int i = 0; i < 3; ++i)
    longest = std::max(longest, norm(c[i]->point - c[(i + 1) % 3]->point));
  if (!(longest > settings_.chord)) return std::nullopt;

  // The chord: the surface against the flat triangle at its centre and at the middles of the
  // edges that may be split (a constraint's points are fixed: they are shared).
  double worst = 0;
  Uv worst_at{};
  auto probe = [&](Uv at, const Vec3& flat) {
    Uv uv = unscaled(at);
    double e = norm(surface_.evaluate(uv.u, uv.v).point - flat);
    if (std::isfinite(e) && e > worst) {
      worst = e;
      worst_at = at;
    }
  };
  probe({(p[0].u + p[1].u + p[2].u) / 3, (p[0].v + p[1].v + p[2].v) / 3},
        (c[0]->point + c[1]->point + c[2]->point) / 3);
  Uv longest_open{};
  double longest_open_length = -1;
  for (int i = 0; i < 3; ++i) {
    if (t.constrained[i]) continue;
    int a = (i + 1) % 3, b = (i + 2) % 3;
    Uv mid{(p[a].u + p[b].u) / 2, (p[a].v + p[b].v) / 2};
    probe(mid, (c[a]->point + c[b]->point) / 2);
    double length = norm(c[a]->point - c[b]->point);
    if (length > longest_open_length) longest_open_length = length, longest_open = mid;
  }
  if (worst > settings_.chord) return worst_at;

  // The angle: the triangle's normal against the surface's at its corners.
  Vec3 n = normalized(cross(c[1]->point - c[0]->point, c[2]->point - c[0]->point));
  if (norm(n) < 0.5) return std::nullopt;
  double cos_limit = std::cos(settings_.angle);
  for (int i = 0; i < 3; ++i) {
    const Vec3& m = c[i]->normal;
    if (norm(m) < 0.5) continue;  // a pole: no normal to compare with
    if (dot(n, m) < cos_limit) {
      if (longest_open_length >= 0) return longest_open;
      return Uv{(p[0].u + p[1].u + p[2].u) / 3, (p[0].v + p[1].v + p[2].v) / 3};
    }
  }
  return std::nullopt;
}

void FaceMesher::refine() {
  std::unordered_set<TriangleKey, TriangleKeyHash> good;
  for (int round = 0; round < 64; ++round) {
    std::vector<std::pair<Uv, int>> splits;
    for (const PlaneTriangulation::Triangle& t : cdt_.domain_triangles()) {
      TriangleKey key = key_of(t);
      if (good.count(key)) continue;
      if (std::optional<Uv> at = split_point(t))
        splits.push_back({*at, t.v[0]});
      else
        good.insert(key);
    }
    if (splits.empty()) return;
    std::size_t room = cdt_.size() < static_cast<std::size_t>(settings_.max_points)
                           ? static_cast<std::size_t>(settings_.max_points) - cdt_.size()
                           : 0;
    if (room == 0) return;
    if (splits.size() > room) splits.resize(room);
    for (const auto& [at, hint] : splits) {
      int id = cdt_.insert_inside(at, hint);
      if (id >= 0) vertex(id);
    }
  }
}

void FaceMesher::emit(bool reversed, TriangleMesh& out) {
  // Points with the same coordinates become one (a pole, a seam met from both sides), and
  // triangles left with two equal corners go.
  struct Vec3Hash {
    std::size_t operator()(const Vec3& p) const {
      std::hash<double> h;
      return h(p.x) ^ (h(p.y) * 31) ^ (h(p.z) * 1031);
    }
  };
  std::unordered_map<Vec3, std::uint32_t, Vec3Hash> index_of;
  std::vector<std::int64_t> out_index(cdt_.size(), -1);
  std::vector<Vec3> normal_sum;
  auto index = [&](int id) {
    if (out_index[id] >= 0) return static_cast<std::uint32_t>(out_index[id]);
    Vertex& v = vertex(id);
    auto [it, fresh] = index_of.try_emplace(v.point, static_cast<std::uint32_t>(out.points.size()));
    if (fresh) {
      out.points.push_back(v.point);
      out.normals.push_back(reversed ? -v.normal : v.normal);
    }
    out_index[id] = it->second;
    return it->second;
  };
  std::vector<PlaneTriangulation::Triangle> triangles = cdt_.domain_triangles();
  out_index.resize(cdt_.size(), -1);
  for (const PlaneTriangulation::Triangle& t : triangles) {
    std::uint32_t a = index(t.v[0]), b = index(t.v[1]), c = index(t.v[2]);
    if (a == b || b == c || a == c) continue;
    out.triangles.push_back(reversed ? std::array<std::uint32_t, 3>{a, c, b}
                                     : std::array<std::uint32_t, 3>{a, b, c});
  }
  // Where the surface gives no normal, the corner takes its triangles' normals, by area.
  normal_sum.assign(out.points.size(), Vec3{});
  for (const auto& t : out.triangles) {
    Vec3 n = cross(out.points[t[1]] - out.points[t[0]], out.points[t[2]] - out.points[t[0]]);
    for (std::uint32_t i : t) normal_sum[i] += n;
  }
  for (std::size_t i = 0; i < out.points.size(); ++i) {
    if (norm(out.normals[i]) > 0.5) continue;
    Vec3 n = normalized(normal_sum[i]);
    out.normals[i] = norm(n) > 0.5 ? n : Vec3{0, 0, 1};
  }
}

std::string FaceMesher::run(std::vector<Loop> loops, bool with_domain, bool reversed,
                            TriangleMesh& out) {
  if (!domain_.u.bounded() || !domain_.v.bounded() || !(domain_.u.length() > 0) ||
      !(domain_.v.length() > 0))
    return "domain empty or not finite";
  choose_scales();
  if (with_domain) loops.push_back(domain_loop(surface_, settings_));

  std::size_t kept = 0;
  double domain_area = domain_.u.length() * domain_.v.length();
  for (Loop& loop : loops) {
    std::erase_if(loop, [](const LoopPoint& p) { return !finite_point(p); });
    close_loop(loop);
    if (loop.size() < 3 || !(std::fabs(loop_area(loop)) > 1e-14 * domain_area)) {
      loop.clear();
      continue;
    }
    ++kept;
  }
  if (kept == 0) return "degenerate loop";

  for (const Loop& loop : loops) {
    if (loop.empty()) continue;
    std::vector<int> ids;
    ids.reserve(loop.size());
    for (const LoopPoint& p : loop) {
      int id = cdt_.insert(scaled(p.uv));
      set_vertex(id, p.uv, p.point);
      ids.push_back(id);
    }
    for (std::size_t i = 0; i < ids.size(); ++i) cdt_.constrain(ids[i], ids[(i + 1) % ids.size()]);
  }
  cdt_.mark_domain();
  seed();
  refine();
  emit(reversed, out);
  if (out.triangles.empty()) return "no area inside the trim loops";
  return {};
}

}  // namespace

std::string mesh_face(const Surface& surface, std::vector<Loop> loops, bool with_domain,
                      bool reversed, const FaceSettings& settings, TriangleMesh& out) {
  out = {};
  try {
    FaceMesher mesher(surface, settings);
    return mesher.run(std::move(loops), with_domain, reversed, out);
  } catch (const std::exception& e) {
    out = {};
    return std::string("triangulation failed: ") + e.what();
  }
}

}  // namespace igeslib::mesh_detail
