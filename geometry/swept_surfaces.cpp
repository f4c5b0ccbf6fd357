// Surfaces made from other entities: ruled (118), revolved (120), tabulated (122), offset
// (140), and the bounded (143) and trimmed (144) surfaces, which evaluate as the surface they
// restrict (their boundaries are drawn and meshed by others).
#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

constexpr double pi = std::numbers::pi;

// The range to use of a referenced curve: its own, or where it is unbounded its stand-in.
Interval usable_range(const Curve& c) {
  Interval r = c.range();
  return r.bounded() ? r : c.finite_range();
}

// The breaks of a curve inside r, as fractions of r's length (0 and 1 included).
std::vector<double> relative_breaks(const Curve& c, Interval r) {
  std::vector<double> out{0.0};
  if (r.length() > 0)
    for (double b : c.breaks())
      if (b > r.lo && b < r.hi) out.push_back((b - r.lo) / r.length());
  out.push_back(1.0);
  return out;
}

std::vector<double> sorted_unique(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  v.erase(std::unique(v.begin(), v.end()), v.end());
  return v;
}

// The arc length of a curve over a range, as a table of pieces short enough that 8-point
// Gauss-Legendre integrates the speed to rounding, and its inverse by safeguarded Newton steps.
class ArcLength {
 public:
  ArcLength(const Curve& c, Interval r) : c_(c) {
    t_.push_back(r.lo);
    length_.push_back(0);
    if (!(r.length() > 0)) return;
    std::vector<double> b{r.lo};
    for (double x : c.breaks())
      if (x > r.lo && x < r.hi) b.push_back(x);
    b.push_back(r.hi);
    b = sorted_unique(std::move(b));
    double rough = 0;
    for (std::size_t i = 0; i + 1 < b.size(); ++i) rough += gauss(b[i], b[i + 1]);
    tolerance_ = 1e-15 * rough;
    for (std::size_t i = 0; i + 1 < b.size(); ++i) {
      for (int k = 0; k < 4; ++k) {
        double lo = b[i] + (b[i + 1] - b[i]) * k / 4, hi = b[i] + (b[i + 1] - b[i]) * (k + 1) / 4;
        if (k == 3) hi = b[i + 1];
        refine(lo, hi, gauss(lo, hi), 0);
      }
    }
  }

  double total() const { return length_.back(); }

  // The parameter at arc length s from the start.
  double parameter(double s) const {
    if (t_.size() < 2) return t_.front();
    s = std::clamp(s, 0.0, total());
    std::size_t k = std::upper_bound(length_.begin(), length_.end(), s) - length_.begin();
    k = std::clamp<std::size_t>(k, 1, t_.size() - 1);
    double a = t_[k - 1], lo = a, hi = t_[k];
    double target = s - length_[k - 1], piece = length_[k] - length_[k - 1];
    double t = piece > 0 ? a + (hi - a) * (target / piece) : a;
    for (int i = 0; i < 100; ++i) {
      double f = gauss(a, t) - target;
      if (std::abs(f) <= 4e-16 * total()) break;
      (f > 0 ? hi : lo) = t;
      double speed = norm(c_.derivative(t));
      double next = speed > 0 ? t - f / speed : (lo + hi) / 2;
      if (!(next > lo && next < hi)) next = (lo + hi) / 2;
      if (next == t) break;
      t = next;
    }
    return t;
  }

  // The arc length from the start to parameter t.
  double length_at(double t) const {
    if (t_.size() < 2) return 0;
    std::size_t k = std::upper_bound(t_.begin(), t_.end(), t) - t_.begin();
    k = std::clamp<std::size_t>(k, 1, t_.size() - 1);
    return length_[k - 1] + gauss(t_[k - 1], std::clamp(t, t_[k - 1], t_[k]));
  }

 private:
  double gauss(double a, double b) const {
    static constexpr double x[4] = {0.1834346424956498, 0.5255324099163290, 0.7966664774136267,
                                    0.9602898564975362};
    static constexpr double w[4] = {0.3626837833783620, 0.3137066458778873, 0.2223810344533745,
                                    0.1012285362903763};
    double h = (b - a) / 2, m = (a + b) / 2, sum = 0;
    for (int i = 0; i < 4; ++i)
      sum += w[i] * (norm(c_.derivative(m + h * x[i])) + norm(c_.derivative(m - h * x[i])));
    return sum * h;
  }

  // Halves [a, b] until the two halves agree with the whole, then takes the halves. The
  // depth and a budget of pieces bound the work on a curve that stops or turns back.
  void refine(double a, double b, double whole, int depth) {
    double m = (a + b) / 2, left = gauss(a, m), right = gauss(m, b);
    bool settled = std::abs(left + right - whole) <= tolerance_ || !(std::isfinite(whole));
    if (settled || depth >= 12 || t_.size() > 50000) {
      t_.push_back(m), length_.push_back(length_.back() + left);
      t_.push_back(b), length_.push_back(length_.back() + right);
      return;
    }
    refine(a, m, left, depth + 1);
    refine(m, b, right, depth + 1);
  }

  const Curve& c_;
  std::vector<double> t_;       // piece ends, from the range's start
  std::vector<double> length_;  // the arc length at each
  double tolerance_ = 0;
};

// One of the two curves of a ruled surface, at a relative position f in [0, 1]: by its
// parameter, or by its arc length where it has one; run backwards when reversed.
class Rail {
 public:
  Rail(std::unique_ptr<Curve> c, bool by_length, bool reversed)
      : c_(std::move(c)), r_(usable_range(*c_)), reversed_(reversed) {
    if (by_length) {
      arc_ = std::make_unique<ArcLength>(*c_, r_);
      if (!(arc_->total() > 0) || !std::isfinite(arc_->total())) arc_.reset();
    }
  }

  // The point at relative position u and its derivative by u.
  void at(double u, Vec3& point, Vec3& d) const {
    double f = reversed_ ? 1 - u : u, sign = reversed_ ? -1 : 1;
    if (arc_) {
      double length = arc_->total();
      c_->evaluate(arc_->parameter(f * length), point, d);
      d = normalized(d) * (length * sign);
    } else {
      c_->evaluate(r_.lo + f * r_.length(), point, d);
      d = d * (r_.length() * sign);
    }
  }

  std::vector<double> breaks() const {
    std::vector<double> b = relative_breaks(*c_, r_);
    if (arc_)
      for (double& x : b) x = arc_->length_at(r_.lo + x * r_.length()) / arc_->total();
    if (reversed_)
      for (double& x : b) x = 1 - x;
    return b;
  }

 private:
  std::unique_ptr<Curve> c_;
  Interval r_;
  bool reversed_;
  std::unique_ptr<ArcLength> arc_;
};

// S(u, v) = (1 - v) C1(u) + v C2(u) over the unit square, each Ci at relative position u.
class RuledSurface final : public Surface {
 public:
  RuledSurface(igs_directory_entry* e, Rail first, Rail second)
      : first_(std::move(first)), second_(std::move(second)) {
    entity_ = e;
  }
  Domain domain() const override { return {{0, 1}, {0, 1}}; }
  SurfacePoint evaluate(double u, double v) const override {
    Vec3 p1, d1, p2, d2;
    first_.at(u, p1, d1);
    second_.at(u, p2, d2);
    return {p1 * (1 - v) + p2 * v, d1 * (1 - v) + d2 * v, p2 - p1};
  }
  std::vector<double> u_breaks() const override {
    std::vector<double> b = first_.breaks(), c = second_.breaks();
    b.insert(b.end(), c.begin(), c.end());
    return sorted_unique(std::move(b));
  }

 private:
  Rail first_, second_;
};

// The generatrix C rotated about the axis through a along the unit d: u is the generatrix's
// parameter, v the angle (counter-clockwise about d) from sa to ta.
class RevolvedSurface final : public Surface {
 public:
  RevolvedSurface(igs_directory_entry* e, std::unique_ptr<Curve> c, const Vec3& a, const Vec3& d,
                  Interval angles)
      : c_(std::move(c)), a_(a), d_(d), angles_(angles) {
    entity_ = e;
  }
  Domain domain() const override { return {c_->range(), angles_}; }
  Domain finite_domain() const override { return {c_->finite_range(), angles_}; }
  SurfacePoint evaluate(double u, double v) const override {
    Vec3 p, dp;
    c_->evaluate(u, p, dp);
    double cs = std::cos(v), sn = std::sin(v);
    auto rotate = [&](const Vec3& w) {
      Vec3 along = d_ * dot(w, d_), across = w - along;
      return along + across * cs + cross(d_, across) * sn;
    };
    Vec3 w = p - a_, across = w - d_ * dot(w, d_);
    return {a_ + rotate(w), rotate(dp), cross(d_, across) * cs - across * sn};
  }
  std::vector<double> u_breaks() const override { return c_->breaks(); }
  // Equal parts of at most a quarter turn each.
  std::vector<double> v_breaks() const override {
    double parts = std::ceil(std::min(angles_.length() / (pi / 2), 64.0));
    std::vector<double> b;
    for (int i = 0; i < int(parts); ++i) b.push_back(angles_.lo + angles_.length() * i / parts);
    b.push_back(angles_.hi);
    return b;
  }

 private:
  std::unique_ptr<Curve> c_;
  Vec3 a_, d_;
  Interval angles_;
};

// S(u, v) = C(a + u (b - a)) + v (L - C(a)) over the unit square: the directrix C over its
// range [a, b] swept along the generatrix from C(a) to L.
class TabulatedCylinder final : public Surface {
 public:
  TabulatedCylinder(igs_directory_entry* e, std::unique_ptr<Curve> c, const Vec3& end)
      : c_(std::move(c)), r_(usable_range(*c_)), g_(end - c_->point(r_.lo)) {
    entity_ = e;
  }
  Domain domain() const override { return {{0, 1}, {0, 1}}; }
  SurfacePoint evaluate(double u, double v) const override {
    Vec3 p, d;
    c_->evaluate(r_.lo + u * r_.length(), p, d);
    return {p + g_ * v, d * r_.length(), g_};
  }
  std::vector<double> u_breaks() const override { return relative_breaks(*c_, r_); }

 private:
  std::unique_ptr<Curve> c_;
  Interval r_;
  Vec3 g_;
};

// S + d N, N the unit normal of S. Its derivatives need those of N, that is S's second
// derivatives, which evaluators don't give: they come from a fourth-order central difference
// of N over a thousandth of the patch (error near 1e-12 of the patch).
class OffsetSurface final : public Surface {
 public:
  OffsetSurface(igs_directory_entry* e, std::unique_ptr<Surface> s, double d)
      : s_(std::move(s)), d_(d), ub_(s_->u_breaks()), vb_(s_->v_breaks()) {
    entity_ = e;
  }
  Domain domain() const override { return s_->domain(); }
  Domain finite_domain() const override { return s_->finite_domain(); }
  std::vector<double> u_breaks() const override { return ub_; }
  std::vector<double> v_breaks() const override { return vb_; }
  SurfacePoint evaluate(double u, double v) const override {
    SurfacePoint p = s_->evaluate(u, v);
    if (d_ == 0) return p;
    double hu = step(ub_, u), hv = step(vb_, v);
    auto n = [&](double x, double y) { return s_->normal(x, y); };
    Vec3 nu =
        ((n(u + hu, v) - n(u - hu, v)) * 8 - (n(u + 2 * hu, v) - n(u - 2 * hu, v))) / (12 * hu);
    Vec3 nv =
        ((n(u, v + hv) - n(u, v - hv)) * 8 - (n(u, v + 2 * hv) - n(u, v - 2 * hv))) / (12 * hv);
    return {p.point + p.normal() * d_, p.du + nu * d_, p.dv + nv * d_};
  }

 private:
  static double step(const std::vector<double>& b, double x) {
    if (b.size() < 2) return 1e-3;
    std::size_t k = std::upper_bound(b.begin(), b.end(), x) - b.begin();
    k = std::clamp<std::size_t>(k, 1, b.size() - 1);
    double width = b[k] - b[k - 1];
    if (!(width > 0) || !std::isfinite(width)) width = b.back() - b.front();
    return width > 0 && std::isfinite(width) ? 1e-3 * width : 1e-3;
  }

  std::unique_ptr<Surface> s_;
  double d_;
  std::vector<double> ub_, vb_;
};

// The surface a bounded or trimmed surface restricts, as that entity's own; with a finite
// domain of its own where the surface is unbounded.
class RestrictedSurface final : public Surface {
 public:
  RestrictedSurface(igs_directory_entry* e, std::unique_ptr<Surface> s,
                    std::optional<Domain> finite)
      : s_(std::move(s)), finite_(finite) {
    entity_ = e;
  }
  Domain domain() const override { return s_->domain(); }
  Domain finite_domain() const override { return finite_ ? *finite_ : s_->finite_domain(); }
  SurfacePoint evaluate(double u, double v) const override { return s_->evaluate(u, v); }
  std::vector<double> u_breaks() const override {
    return finite_ ? clipped(s_->u_breaks(), finite_->u) : s_->u_breaks();
  }
  std::vector<double> v_breaks() const override {
    return finite_ ? clipped(s_->v_breaks(), finite_->v) : s_->v_breaks();
  }
  Box bounds() const override { return finite_ ? Surface::bounds() : s_->bounds(); }

 private:
  static std::vector<double> clipped(const std::vector<double>& b, Interval r) {
    std::vector<double> out{r.lo};
    for (double x : b)
      if (x > r.lo && x < r.hi) out.push_back(x);
    out.push_back(r.hi);
    return out;
  }
  std::unique_ptr<Surface> s_;
  std::optional<Domain> finite_;
};

// The boundary's curves: in the surface's parameters (x, y as u, v), or else in its space.
struct Boundary {
  std::vector<igs_geometric_entity*> parameter_space, model_space;
};

// The finite domain of a surface restricted by a boundary. Where the surface is unbounded the
// boundary's extent stands in for the missing ends: from its parameter-space curves, or else
// from its model-space curves mapped to parameters along the tangent plane at the middle of the
// surface's own stand-in (exact for a plane, and along the axis of a cylinder). A boundary that
// can't be evaluated leaves the surface's own stand-in.
std::optional<Domain> finite_by_boundary(const Surface& s, const Boundary& boundary, Build& build) {
  Domain d = s.domain(), finite = s.finite_domain();
  if (d.u.bounded() && d.v.bounded()) return std::nullopt;
  double u0 = (finite.u.lo + finite.u.hi) / 2, v0 = (finite.v.lo + finite.v.hi) / 2;
  SurfacePoint middle = s.evaluate(u0, v0);
  double uu = dot(middle.du, middle.du), uv = dot(middle.du, middle.dv),
         vv = dot(middle.dv, middle.dv), det = uu * vv - uv * uv;
  Build::Trial trial(build);
  Box extent;  // x: u, y: v
  for (bool in_parameters : {true, false}) {
    if (!extent.empty() || (!in_parameters && !(det > 0))) break;
    for (igs_geometric_entity* e :
         in_parameters ? boundary.parameter_space : boundary.model_space) {
      std::unique_ptr<Curve> c = child_curve(e, build, "boundary");
      for (const Vec3& p : c ? c->polyline().points : std::vector<Vec3>{}) {
        Vec3 r = p - middle.point;
        double a = dot(r, middle.du), b = dot(r, middle.dv);
        extent.add(in_parameters
                       ? Vec3{p.x, p.y, 0}
                       : Vec3{u0 + (vv * a - uv * b) / det, v0 + (uu * b - uv * a) / det, 0});
      }
    }
  }
  if (extent.empty()) return std::nullopt;
  double margin = chord_for({}, extent);
  if (!d.u.bounded()) finite.u = {extent.min.x - margin, extent.max.x + margin};
  if (!d.v.bounded()) finite.v = {extent.min.y - margin, extent.max.y + margin};
  return finite;
}

std::unique_ptr<Surface> restricted(igs_directory_entry* entity, igs_geometric_entity* surface,
                                    const Boundary& boundary, Build& build) {
  std::unique_ptr<Surface> s = child_surface(surface, build, "surface");
  if (!s) return nullptr;
  std::optional<Domain> finite = finite_by_boundary(*s, boundary, build);
  return std::make_unique<RestrictedSurface>(entity, std::move(s), finite);
}

}  // namespace

// Form 1 joins points of equal relative parameter, form 0 (and any other) points of equal
// relative arc length; dirflg 1 joins the first curve's start to the second's end.
std::unique_ptr<Surface> make_ruled_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_ruled_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  bool by_length = e->form() != 1;
  // A point by arc length costs a few Newton steps, each a quadrature of the curve's speed.
  Build::Repeat repeat(build, by_length ? 30 : 1);
  std::unique_ptr<Curve> c1 = child_curve(e->de1(), build, "first curve");
  if (!c1) return nullptr;
  std::unique_ptr<Curve> c2 = child_curve(e->de2(), build, "second curve");
  if (!c2) return nullptr;
  if (!usable_range(*c1).bounded() || !usable_range(*c2).bounded())
    return build.fail("curve range not finite");
  return std::make_unique<RuledSurface>(entity, Rail(std::move(c1), by_length, false),
                                        Rail(std::move(c2), by_length, e->dirflg() == 1));
}

// A terminate angle at or before the start one is taken a turn further: a full turn where
// they are equal.
std::unique_ptr<Surface> make_surface_of_revolution(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_surface_of_revolution_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  std::unique_ptr<Curve> axis = child_curve(e->l(), build, "axis");
  if (!axis) return nullptr;
  Vec3 a = axis->point(0), d = axis->point(1) - a;
  double length = norm(d);
  if (!(length > 0) || !std::isfinite(length) || !finite(a))
    return build.fail("axis of zero length");
  std::unique_ptr<Curve> c = child_curve(e->c(), build, "generatrix");
  if (!c) return nullptr;
  double sa = e->sa(), ta = e->ta();
  if (!std::isfinite(sa) || !std::isfinite(ta)) return build.fail("angle not finite");
  if (ta <= sa) ta += 2 * pi * std::ceil((sa - ta) / (2 * pi));
  if (ta <= sa) ta += 2 * pi;
  if (!std::isfinite(ta)) return build.fail("angle not finite");
  return std::make_unique<RevolvedSurface>(entity, std::move(c), a, d / length, Interval{sa, ta});
}

std::unique_ptr<Surface> make_tabulated_cylinder(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_tabulated_cylinder_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  std::unique_ptr<Curve> c = child_curve(e->de(), build, "directrix");
  if (!c) return nullptr;
  if (!usable_range(*c).bounded()) return build.fail("directrix range not finite");
  Vec3 end{e->lx(), e->ly(), e->lz()};
  if (!finite(end)) return build.fail("generatrix end not finite");
  return std::make_unique<TabulatedCylinder>(entity, std::move(c), end);
}

// The distance's sign picks the side along the surface's own normal; the offset indicator
// (nx, ny, nz) adds nothing to that.
std::unique_ptr<Surface> make_offset_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_offset_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  if (!std::isfinite(e->d())) return build.fail("offset distance not finite");
  Build::Repeat repeat(build, 9);
  std::unique_ptr<Surface> s = child_surface(e->de(), build, "surface");
  if (!s) return nullptr;
  return std::make_unique<OffsetSurface>(entity, std::move(s), e->d());
}

std::unique_ptr<Surface> make_bounded_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_bounded_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  Boundary boundary;
  ListOfigs_boundary_entity* boundaries = e->bdpt();
  for (unsigned i = 0; i < boundaries->size(); ++i) {
    igs_boundary_entity* b = (*boundaries)[i];
    ListOfigs_curve_boundary* curves = b ? b->curves() : nullptr;
    for (unsigned j = 0; curves && j < curves->size(); ++j) {
      igs_curve_boundary* c = (*curves)[j];
      if (!c) continue;
      if (c->crvpt()) boundary.model_space.push_back(c->crvpt());
      ListOfigs_geometric_entity* uv = c->pscpt();
      for (unsigned k = 0;
           b->ctype() == igs_boundedSurface_parameter_space_curves && uv && k < uv->size(); ++k)
        if ((*uv)[k]) boundary.parameter_space.push_back((*uv)[k]);
    }
  }
  return restricted(entity, e->sptr(), boundary, build);
}

std::unique_ptr<Surface> make_trimmed_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_trimmed_parametric_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  Boundary boundary;
  if (igs_curve_on_a_parametric_surface_entity* outer = e->pto()) {
    if (outer->bptr()) boundary.parameter_space.push_back(outer->bptr());
    if (outer->cptr()) boundary.model_space.push_back(outer->cptr());
  }
  return restricted(entity, e->pts(), boundary, build);
}

}  // namespace igeslib::detail
