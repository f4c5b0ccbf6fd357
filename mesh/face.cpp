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
  // A face can't have more points on its boundary than it may have in all.
  t.max_points = std::clamp(settings.max_points, 16, t.max_points);
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

double orient(const Uv& a, const Uv& b, const Uv& c) {
  return (b.u - a.u) * (c.v - a.v) - (b.v - a.v) * (c.u - a.u);
}

// Where two stretches of one loop run along each other closer than the surface's accuracy
// (two edges that meet at a small angle, a sliver of a face), their points can fall on the
// wrong sides of each other in the domain and the loop crosses itself there. A crossing
// would split both segments with a point that no neighbouring face has, so instead the
// shallowest corner of each crossing is moved just across to the loop's inside. Points in
// space stay as they are. pts are the loop's domain points in the triangulation's units.
void untangle(std::vector<Uv>& pts, double max_move) {
  std::size_t n = pts.size();
  if (n < 4) return;
  double area = 0;
  for (std::size_t i = 0; i < n; ++i) area += orient({0, 0}, pts[i], pts[(i + 1) % n]);
  double side = area > 0 ? 1 : -1;  // the inside is on the left of a counter-clockwise loop
  Box box;
  for (const Uv& p : pts) box.add(Vec3{p.u, p.v, 0});
  double cell = std::max(box.size().x, box.size().y) / std::sqrt(double(n)) + 1e-300;
  double nudge = 1e-6 * max_move;
  for (int pass = 0; pass < 8; ++pass) {
    // Segments by the cells of a grid that their boxes touch. A loop too uneven for the grid
    // (a few segments that cross most of it) is left as it is: a repair, not a guarantee.
    std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> cells;
    auto index = [&](double x, double lo) {
      return static_cast<std::uint64_t>(std::clamp((x - lo) / cell, 0.0, 1e6));
    };
    std::size_t placed = 0;
    for (std::uint32_t i = 0; i < n; ++i) {
      const Uv &a = pts[i], &b = pts[(i + 1) % n];
      std::uint64_t x0 = index(std::min(a.u, b.u), box.min.x),
                    x1 = index(std::max(a.u, b.u), box.min.x);
      std::uint64_t y0 = index(std::min(a.v, b.v), box.min.y),
                    y1 = index(std::max(a.v, b.v), box.min.y);
      placed += (x1 - x0 + 1) * (y1 - y0 + 1);
      if (placed > 16 * n) return;
      for (std::uint64_t x = x0; x <= x1; ++x)
        for (std::uint64_t y = y0; y <= y1; ++y) cells[x << 32 | y].push_back(i);
    }
    std::size_t pairs = 0;
    for (const auto& [k, segments] : cells) pairs += segments.size() * segments.size();
    if (pairs > 64 * n + 4096) return;
    bool moved = false;
    for (auto& [k, segments] : cells) {
      for (std::size_t x = 0; x < segments.size(); ++x) {
        for (std::size_t y = x + 1; y < segments.size(); ++y) {
          std::uint32_t i = segments[x], j = segments[y];
          if ((i + 1) % n == j || (j + 1) % n == i) continue;
          Uv* s[2][2] = {{&pts[i], &pts[(i + 1) % n]}, {&pts[j], &pts[(j + 1) % n]}};
          double o[2][2];  // o[k][e]: corner e of segment k against segment 1 - k
          for (int k = 0; k < 2; ++k)
            for (int e = 0; e < 2; ++e)
              o[k][e] = orient(*s[1 - k][0], *s[1 - k][1], *s[k][e]) * side;
          if (!(o[0][0] * o[0][1] < 0 && o[1][0] * o[1][1] < 0)) continue;
          // The corner that lies outside the other segment by the least.
          int bk = -1, be = -1;
          double best = infinity;
          for (int k = 0; k < 2; ++k) {
            Uv d{s[1 - k][1]->u - s[1 - k][0]->u, s[1 - k][1]->v - s[1 - k][0]->v};
            double length = std::hypot(d.u, d.v);
            for (int e = 0; e < 2; ++e) {
              double depth = -o[k][e] / length;
              if (depth > 0 && depth < best) best = depth, bk = k, be = e;
            }
          }
          if (bk < 0 || !(best < max_move)) continue;
          Uv d{s[1 - bk][1]->u - s[1 - bk][0]->u, s[1 - bk][1]->v - s[1 - bk][0]->v};
          double length = std::hypot(d.u, d.v);
          Uv inward{-d.v / length * side, d.u / length * side};
          s[bk][be]->u += inward.u * (best + nudge);
          s[bk][be]->v += inward.v * (best + nudge);
          moved = true;
        }
      }
    }
    if (!moved) return;
  }
}

bool finite_point(const LoopPoint& p) {
  return std::isfinite(p.uv.u) && std::isfinite(p.uv.v) && finite(p.point);
}

// The points of the mesh being made: where each lies in the domain and in space, the
// surface's point and normal there (zero where the surface gives none). A point of a trim
// loop keeps its place in space, which may lie off the surface by the model's accuracy; the
// tolerances are measured on the surface's own points, so that the offset is not taken for
// curvature.
struct Vertex {
  Uv uv;
  Vec3 point;
  Vec3 on_surface;
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

// A stretch of an iso-curve: u over a range at a fixed v, or v at a fixed u.
class IsoSpan final : public Curve {
 public:
  IsoSpan(const Surface& surface, bool along_u, double at, const Interval& range)
      : surface_(surface), along_u_(along_u), at_(at), range_(range) {}
  Interval range() const override { return range_; }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    SurfacePoint s = along_u_ ? surface_.evaluate(t, at_) : surface_.evaluate(at_, t);
    point = s.point;
    d1 = along_u_ ? s.du : s.dv;
  }
  std::vector<double> breaks() const override {
    std::vector<double> b{range_.lo};
    for (double t : along_u_ ? surface_.u_breaks() : surface_.v_breaks())
      if (t > range_.lo && t < range_.hi) b.push_back(t);
    b.push_back(range_.hi);
    return b;
  }

 private:
  const Surface& surface_;
  bool along_u_;
  double at_;
  Interval range_;
};

// The parameters at which a surface's sampling breaks in one direction over a range: its
// knots and the points of iso-curves across it within the tolerance, thinned to at most limit
// values.
std::vector<double> seed_values(const Surface& surface, bool along_u, const Interval& range,
                                const Interval& across, const FaceSettings& settings,
                                std::size_t limit) {
  Tolerance tol = curve_tolerance(settings);
  tol.max_points = 4000;
  std::vector<double> values;
  for (double f : {0.0, 0.5, 1.0}) {
    IsoSpan iso(surface, along_u, across.lo + across.length() * f, range);
    for (double t : iso.polyline(tol).t) values.push_back(t);
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

// A parameter mapped to the length travelled along the surface: piecewise linear through
// samples, steadily increasing, and straight on past the ends.
class Stretch {
 public:
  Stretch() = default;
  // t increasing; step[i] the length from t[i - 1] to t[i] (step[0] unused).
  Stretch(std::vector<double> t, const std::vector<double>& step) : t_(std::move(t)) {
    double total = 0;
    for (std::size_t i = 1; i < step.size(); ++i) total += step[i];
    double range = t_.back() - t_.front();
    // Where the surface doesn't move (a pole) the length still grows a little; where it
    // doesn't move at all, the parameter stands for itself.
    double floor = total > 0 ? 1e-6 * total / double(t_.size()) : 0;
    s_.assign(1, 0.0);
    for (std::size_t i = 1; i < t_.size(); ++i)
      s_.push_back(s_.back() + (total > 0 ? std::max(step[i], floor) : t_[i] - t_[i - 1]));
    if (!(s_.back() > 0) || !std::isfinite(s_.back())) {
      s_.assign({0, range > 0 ? range : 1});
      t_ = {t_.front(), t_.front() + (range > 0 ? range : 1)};
    }
  }
  double total() const { return s_.back(); }
  double forward(double t) const { return map(t_, s_, t); }
  double inverse(double s) const { return map(s_, t_, s); }

 private:
  static double map(const std::vector<double>& from, const std::vector<double>& to, double x) {
    std::size_t i = static_cast<std::size_t>(std::upper_bound(from.begin() + 1, from.end() - 1, x) -
                                             from.begin());
    double f = (x - from[i - 1]) / (from[i] - from[i - 1]);
    return to[i - 1] + (to[i] - to[i - 1]) * f;
  }
  std::vector<double> t_{0, 1}, s_{0, 1};
};

class FaceMesher {
 public:
  FaceMesher(const Surface& surface, const FaceSettings& settings)
      : surface_(surface), settings_(settings), domain_(surface.finite_domain()) {}

  std::string run(std::vector<Loop> loops, bool with_domain, bool reversed, TriangleMesh& out);

 private:
  Uv scaled(Uv p) const { return {su_.forward(p.u), sv_.forward(p.v)}; }
  Uv unscaled(Uv p) const { return {su_.inverse(p.u), sv_.inverse(p.v)}; }
  void choose_scales();
  void find_creases();
  // Where an edge between two points (in the triangulation's units) is best split: where it
  // crosses a crease, when it does away from its ends, else at its middle.
  Uv split_edge(Uv a, Uv b) const;
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
  Stretch su_, sv_;
  std::vector<double> creases_u_, creases_v_;  // sorted
  double min_area_ = 0;
  PlaneTriangulation cdt_;
  std::vector<Vertex> vertices_;
};

void FaceMesher::choose_scales() {
  // Each parameter is mapped to the length travelled along the surface, averaged over three
  // iso-curves: the domain is triangulated in these units, so that its triangles are not
  // stretched on the surface where the parametrization runs fast or slow (a short knot span
  // that covers a long stretch, say).
  auto build = [&](bool along_u) {
    const Interval& range = along_u ? domain_.u : domain_.v;
    const Interval& across = along_u ? domain_.v : domain_.u;
    std::vector<double> t;
    for (int i = 0; i <= 64; ++i) t.push_back(range.lo + range.length() * i / 64);
    std::vector<double> breaks = along_u ? surface_.u_breaks() : surface_.v_breaks();
    std::size_t step = breaks.size() > 256 ? breaks.size() / 256 : 1;
    for (std::size_t i = 0; i < breaks.size(); i += step)
      if (breaks[i] > range.lo && breaks[i] < range.hi) t.push_back(breaks[i]);
    std::sort(t.begin(), t.end());
    t.erase(std::unique(t.begin(), t.end()), t.end());
    std::vector<double> length(t.size(), 0.0);
    for (int k = 0; k < 3; ++k) {
      double at = across.lo + across.length() * (k + 0.5) / 3;
      Vec3 last;
      for (std::size_t i = 0; i < t.size(); ++i) {
        Vec3 p = along_u ? surface_.point(t[i], at) : surface_.point(at, t[i]);
        double d = i ? norm(p - last) : 0.0;
        if (std::isfinite(d)) length[i] += d / 3;
        last = p;
      }
    }
    return Stretch(t, length);
  };
  su_ = build(true);
  sv_ = build(false);
  min_area_ = 1e-20 * su_.total() * sv_.total();
}

void FaceMesher::find_creases() {
  // A knot where the normal turns across the iso-curve: the surface only joins there.
  auto find = [&](bool in_u, std::vector<double>& out) {
    const Interval& range = in_u ? domain_.u : domain_.v;
    const Interval& across = in_u ? domain_.v : domain_.u;
    double step = 1e-7 * range.length();
    std::vector<double> breaks = in_u ? surface_.u_breaks() : surface_.v_breaks();
    if (breaks.size() > 2000) return;
    for (double b : breaks) {
      if (!(b > range.lo + 2 * step && b < range.hi - 2 * step)) continue;
      for (double f : {0.2, 0.5, 0.8}) {
        double at = across.lo + across.length() * f;
        Vec3 n0 = in_u ? surface_.normal(b - step, at) : surface_.normal(at, b - step);
        Vec3 n1 = in_u ? surface_.normal(b + step, at) : surface_.normal(at, b + step);
        if (norm(n0) > 0.5 && norm(n1) > 0.5 && dot(n0, n1) < std::cos(0.02)) {
          out.push_back(b);
          break;
        }
      }
    }
  };
  find(true, creases_u_);
  find(false, creases_v_);
}

Uv FaceMesher::split_edge(Uv a, Uv b) const {
  Uv ua = unscaled(a), ub = unscaled(b);
  double best = 0.5, distance = 0.4;  // a crease this far from the middle is passed over
  auto look = [&](const std::vector<double>& creases, double x0, double x1) {
    if (x0 == x1) return;
    auto it = std::upper_bound(creases.begin(), creases.end(), std::min(x0, x1));
    for (; it != creases.end() && *it < std::max(x0, x1); ++it) {
      double f = (*it - x0) / (x1 - x0);
      if (std::fabs(f - 0.5) < distance) best = f, distance = std::fabs(f - 0.5);
    }
  };
  look(creases_u_, ua.u, ub.u);
  look(creases_v_, ua.v, ub.v);
  if (best == 0.5) return {(a.u + b.u) / 2, (a.v + b.v) / 2};
  // On the crease exactly: the point is made in parameters, where the crease is straight.
  Uv at{ua.u + (ub.u - ua.u) * best, ua.v + (ub.v - ua.v) * best};
  return scaled(at);
}

Vertex& FaceMesher::vertex(int id) {
  if (static_cast<std::size_t>(id) >= vertices_.size())
    vertices_.resize(std::max(cdt_.size(), static_cast<std::size_t>(id) + 1));
  Vertex& v = vertices_[id];
  if (!v.set) {
    Uv uv = unscaled(cdt_.point(id));
    SurfacePoint s = surface_.evaluate(uv.u, uv.v);
    v = {uv, s.point, s.point, s.normal(), true};
  }
  return v;
}

void FaceMesher::set_vertex(int id, Uv uv, const Vec3& point) {
  if (static_cast<std::size_t>(id) >= vertices_.size())
    vertices_.resize(std::max(cdt_.size(), static_cast<std::size_t>(id) + 1));
  Vertex& v = vertices_[id];
  if (v.set) return;  // a point given twice keeps its first place in space
  SurfacePoint s = surface_.evaluate(uv.u, uv.v);
  v = {uv, point, s.point, s.normal(), true};
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
  // Each call may grow the table of vertices and move it: the places are taken after all three.
  for (int i = 0; i < 3; ++i) vertex(t.v[i]);
  Vertex* c[3] = {&vertices_[t.v[0]], &vertices_[t.v[1]], &vertices_[t.v[2]]};
  Uv p[3] = {scaled(c[0]->uv), scaled(c[1]->uv), scaled(c[2]->uv)};
  double area2 = orient(p[0], p[1], p[2]);
  if (!(area2 > 2 * min_area_)) return std::nullopt;
  // A triangle no bigger than the chord is as fine as the tolerance can ask.
  double longest = 0;
  for (int i = 0; i < 3; ++i)
    longest = std::max(longest, norm(c[i]->on_surface - c[(i + 1) % 3]->on_surface));
  if (!(longest > settings_.chord)) return std::nullopt;
  Uv centre{(p[0].u + p[1].u + p[2].u) / 3, (p[0].v + p[1].v + p[2].v) / 3};
  auto middle = [&](int i) {  // of the edge opposite corner i
    const Uv &a = p[(i + 1) % 3], &b = p[(i + 2) % 3];
    return Uv{(a.u + b.u) / 2, (a.v + b.v) / 2};
  };
  // How far the surface strays from the flat triangle: the distance of the surface's point
  // at the middle of an edge from the edge's line, and at the centre from the triangle's
  // plane. Measured across, not along: a parametrization that runs unevenly moves the
  // surface's point along the triangle without taking it away.
  auto strays_from_line = [&](Uv at, const Vec3& a, const Vec3& b) {
    Uv uv = unscaled(at);
    Vec3 d = surface_.evaluate(uv.u, uv.v).point - a, ab = b - a;
    double l2 = dot(ab, ab);
    double e = l2 > 0 ? norm(d - ab * (dot(d, ab) / l2)) : norm(d);
    return std::isfinite(e) && e > settings_.chord;
  };
  auto strays_from_plane = [&](Uv at, const Vec3& a, const Vec3& n) {
    Uv uv = unscaled(at);
    double e = std::fabs(dot(surface_.evaluate(uv.u, uv.v).point - a, n));
    return std::isfinite(e) && e > settings_.chord;
  };
  // A triangle whose height is below the chord can only stray along its length: then only
  // its longest edge is tried, and its normal means nothing at this tolerance.
  Vec3 area = cross(c[1]->on_surface - c[0]->on_surface, c[2]->on_surface - c[0]->on_surface);
  bool thin = !(norm(area) > longest * settings_.chord);
  int along = 0;
  for (int i = 1; i < 3; ++i)
    if (norm(c[(i + 1) % 3]->on_surface - c[(i + 2) % 3]->on_surface) >
        norm(c[(along + 1) % 3]->on_surface - c[(along + 2) % 3]->on_surface))
      along = i;
  auto edge_strays = [&](int i) {
    return !t.constrained[i] &&
           strays_from_line(middle(i), c[(i + 1) % 3]->on_surface, c[(i + 2) % 3]->on_surface);
  };

  // The chord: the surface against the flat triangle at the middles of the edges that may be
  // split (a constraint's points are fixed: they are shared) and at its centre.
  bool bad = edge_strays(along);
  if (!bad && !thin) {
    bad = strays_from_plane(centre, c[0]->on_surface, normalized(area));
    for (int i = 0; i < 3 && !bad; ++i)
      if (i != along) bad = edge_strays(i);
  }
  // The angle: the triangle's normal against the surface's near its corners, a little
  // inside, so that a corner on a crease is seen from the triangle's side of it; a pole has
  // no normal to compare with.
  if (!bad && !thin) {
    Vec3 n = normalized(area);
    double cos_limit = std::cos(settings_.angle);
    for (int i = 0; i < 3 && !bad; ++i) {
      Uv uv = unscaled({(3 * p[i].u + centre.u) / 4, (3 * p[i].v + centre.v) / 4});
      Vec3 m = surface_.evaluate(uv.u, uv.v).normal();
      bad = norm(m) > 0.5 && dot(n, m) < cos_limit;
    }
  }
  if (!bad) return std::nullopt;

  // Split the longest edge at its middle, as long as it is free; else the longest free edge
  // when it is not much shorter, else the centre. Halving longest edges keeps the triangles
  // from growing thin, which centres alone would do.
  int longest_edge = -1, longest_free = -1;
  double length[3];
  for (int i = 0; i < 3; ++i) {
    const Uv &a = p[(i + 1) % 3], &b = p[(i + 2) % 3];
    length[i] = std::hypot(a.u - b.u, a.v - b.v);
    if (longest_edge < 0 || length[i] > length[longest_edge]) longest_edge = i;
    if (!t.constrained[i] && (longest_free < 0 || length[i] > length[longest_free]))
      longest_free = i;
  }
  if (longest_free >= 0 && length[longest_free] >= 0.5 * length[longest_edge])
    return split_edge(p[(longest_free + 1) % 3], p[(longest_free + 2) % 3]);
  // A sliver on a boundary edge, thinner than the chord, is left: a point inside it would
  // only make thinner ones, since the boundary's points are fixed.
  const Vec3& a = c[(longest_edge + 1) % 3]->on_surface;
  const Vec3& b = c[(longest_edge + 2) % 3]->on_surface;
  double base = norm(b - a);
  double height = base > 0 ? norm(cross(b - a, c[longest_edge]->on_surface - a)) / base : 0;
  if (!(height > settings_.chord)) return std::nullopt;
  return centre;
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
    bool added = false;
    for (const auto& [at, hint] : splits) {
      int id = cdt_.insert_inside(at, hint);
      if (id < 0) continue;
      vertex(id);
      added = true;
    }
    if (!added) return;
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
  if (with_domain) {
    loops.push_back(domain_loop(surface_, settings_));
  } else {
    // The part of the domain that the loops span: an unbounded surface's domain is no more,
    // and the seeds of a small trim on a large surface fall inside it.
    Box span;
    for (const Loop& loop : loops)
      for (const LoopPoint& p : loop)
        if (finite_point(p)) span.add(Vec3{p.uv.u, p.uv.v, 0});
    if (span.empty()) return "degenerate loop";
    Domain all = surface_.domain();
    Interval u{std::max(all.u.lo, span.min.x), std::min(all.u.hi, span.max.x)};
    Interval v{std::max(all.v.lo, span.min.y), std::min(all.v.hi, span.max.y)};
    domain_.u = u.length() > 0 ? u : Interval{span.min.x, span.max.x};
    domain_.v = v.length() > 0 ? v : Interval{span.min.y, span.max.y};
  }
  if (!domain_.u.bounded() || !domain_.v.bounded() || !(domain_.u.length() > 0) ||
      !(domain_.v.length() > 0))
    return "domain empty or not finite";
  choose_scales();
  find_creases();

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
    std::vector<Uv> at;
    at.reserve(loop.size());
    for (const LoopPoint& p : loop) at.push_back(scaled(p.uv));
    untangle(at, settings_.chord);
    std::vector<int> ids;
    ids.reserve(loop.size());
    for (std::size_t i = 0; i < loop.size(); ++i) {
      int id = cdt_.insert(at[i]);
      set_vertex(id, unscaled(at[i]), loop[i].point);
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
