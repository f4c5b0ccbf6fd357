// The conic arc (104): ellipse, hyperbola and parabola from the coefficients of the conic
// A x^2 + B xy + C y^2 + D x + E y + F = 0 in the plane z = zt, from the start point to the end
// point. The coefficients need not be in standard position: the conic's axes come from them.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

enum class Kind { ellipse, hyperbola, parabola };

// In the conic's own frame (origin o, right-handed unit axes u, v in the plane z = zt):
//   ellipse    o + u a cos t + v b sin t, t the eccentric angle, counter-clockwise;
//   hyperbola  o + u a cosh t + v s b sinh t, o the centre, u towards the arc's branch;
//   parabola   o + u a t^2 + v s t, o the vertex, u along the axis into the curve (a > 0),
//              so t is the distance along the tangent at the vertex.
// On a hyperbola's branch or a parabola only one arc joins two points; s (+1 or -1) makes the
// parameter run from the start point to the end point whichever way round the file has them.
class ConicCurve final : public Curve {
 public:
  ConicCurve(igs_directory_entry* e, Kind kind, Vec3 o, Vec3 u, Vec3 v, double a, double b,
             double s, Interval range)
      : kind_(kind), o_(o), u_(u), v_(v), a_(a), b_(b), s_(s), range_(range) {
    entity_ = e;
  }
  Interval range() const override { return range_; }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    Vec3 d2;
    evaluate2(t, point, d1, d2);
  }
  bool evaluate2(double t, Vec3& point, Vec3& d1, Vec3& d2) const override {
    switch (kind_) {
      case Kind::ellipse: {
        double c = std::cos(t), s = std::sin(t);
        point = o_ + u_ * (a_ * c) + v_ * (b_ * s);
        d1 = u_ * (-a_ * s) + v_ * (b_ * c);
        d2 = u_ * (-a_ * c) + v_ * (-b_ * s);
        break;
      }
      case Kind::hyperbola: {
        double c = std::cosh(t), s = std::sinh(t);
        point = o_ + u_ * (a_ * c) + v_ * (s_ * b_ * s);
        d1 = u_ * (a_ * s) + v_ * (s_ * b_ * c);
        d2 = u_ * (a_ * c) + v_ * (s_ * b_ * s);
        break;
      }
      case Kind::parabola:
        point = o_ + u_ * (a_ * t * t) + v_ * (s_ * t);
        d1 = u_ * (2 * a_ * t) + v_ * s_;
        d2 = u_ * (2 * a_);
        break;
    }
    return true;
  }
  std::vector<double> breaks() const override {
    std::vector<double> b{range_.lo};
    if (kind_ == Kind::ellipse) {
      // Quarter turns, as on a circular arc.
      double step = std::numbers::pi / 2;
      for (double t = std::floor(range_.lo / step + 1) * step; t < range_.hi; t += step)
        b.push_back(t);
    } else if (range_.lo < 0 && range_.hi > 0) {
      b.push_back(0);  // the vertex, where the curve turns most
    }
    b.push_back(range_.hi);
    return b;
  }

 private:
  Kind kind_;
  Vec3 o_, u_, v_;
  double a_, b_, s_;
  Interval range_;
};

// The kind the coefficients give, by the sign of the discriminant B^2 - 4AC of coefficients
// scaled so that the largest of A, B, C is 1; one too small to tell is a parabola.
Kind kind_of(double disc) {
  if (std::abs(disc) <= 1e-9) return Kind::parabola;
  return disc < 0 ? Kind::ellipse : Kind::hyperbola;
}

}  // namespace

std::unique_ptr<Curve> make_conic_arc(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_conic_arc_entity>(entity);
  if (!e) return build.wrong_class(entity, "curve");
  double A = e->a(), B = e->b(), C = e->c(), D = e->d(), E = e->e(), F = e->f();
  double zt = e->zt();
  double x1 = e->x1(), y1 = e->y1(), x2 = e->x2(), y2 = e->y2();
  for (double v : {A, B, C, D, E, F, zt, x1, y1, x2, y2})
    if (!std::isfinite(v)) return build.fail("conic value not finite");
  double scale = std::max({std::abs(A), std::abs(B), std::abs(C)});
  if (!(scale > 0)) return build.fail("conic without quadratic terms");
  A /= scale, B /= scale, C /= scale, D /= scale, E /= scale, F /= scale;

  // The principal axes: turned by theta, the xy term vanishes. Theta is kept within a
  // quarter turn of the x axis, so that a conic in standard position keeps x and y as its
  // axes (and an ellipse's parameter is measured from the x axis).
  double theta = 0.5 * std::atan2(B, A - C);
  if (theta > std::numbers::pi / 4) theta -= std::numbers::pi / 2;
  if (theta <= -std::numbers::pi / 4) theta += std::numbers::pi / 2;
  double c = std::cos(theta), s = std::sin(theta);
  double A1 = A * c * c + B * c * s + C * s * s;
  double C1 = A * s * s - B * c * s + C * c * c;
  double D1 = D * c + E * s, E1 = -D * s + E * c;
  Vec3 u{c, s, 0}, v{-s, c, 0};
  double disc = B * B - 4 * A * C;

  // The form names the kind; where the coefficients can't make that kind (an ellipse whose
  // discriminant is positive, a parabola whose is far from zero) they decide.
  Kind kind = kind_of(disc);
  int form = e->form();
  if (form == 1 && A1 * C1 > 0) kind = Kind::ellipse;
  if (form == 2 && A1 * C1 < 0) kind = Kind::hyperbola;
  if (form == 3 && std::abs(disc) <= 1e-6) kind = Kind::parabola;

  Vec3 start{x1, y1, zt}, end{x2, y2, zt};
  auto local = [&](const Vec3& p, const Vec3& o, const Vec3& axis) { return dot(p - o, axis); };
  // Coefficients far out of scale can overflow the axes or the parameters.
  auto made = [&](const Vec3& o, double a, double b, double sign, Interval range) {
    if (!std::isfinite(a) || !std::isfinite(b) || !range.bounded())
      return std::unique_ptr<Curve>(build.fail("conic out of scale"));
    return std::unique_ptr<Curve>(
        std::make_unique<ConicCurve>(entity, kind, o, u, v, a, b, sign, range));
  };

  if (kind == Kind::parabola) {
    // q y^2 + p x + r y + F = 0 in a frame whose x runs along the axis; the smaller quadratic
    // term, zero for a true parabola, is dropped.
    double q = C1, p = D1, r = E1;
    if (std::abs(A1) > std::abs(C1)) {
      // The square is in x: turn the frame a quarter, x = -y', y = x'.
      q = A1, p = E1, r = -D1;
      Vec3 old_u = u;
      u = v;
      v = -old_u;
    }
    if (!(p != 0)) return build.fail("conic is a pair of lines");
    double y0 = -r / (2 * q), x0 = -(q * y0 * y0 + r * y0 + F) / p;
    double k = -q / p;
    Vec3 vertex = u * x0 + v * y0 + Vec3{0, 0, zt};
    if (!finite(vertex)) return build.fail("conic vertex not finite");
    if (k < 0) u = -u, v = -v, k = -k;
    double t0 = local(start, vertex, v), t1 = local(end, vertex, v);
    double sign = t1 >= t0 ? 1 : -1;
    return made(vertex, k, 0.0, sign, {sign * t0, sign * t1});
  }

  // Ellipse and hyperbola: the centre, and the value of the conic there.
  double det = 4 * A * C - B * B;
  double cx = (B * E - 2 * C * D) / det, cy = (B * D - 2 * A * E) / det;
  double F0 = F + 0.5 * (D * cx + E * cy);
  Vec3 centre{cx, cy, zt};
  if (!finite(centre)) return build.fail("conic centre not finite");

  if (kind == Kind::ellipse) {
    double a2 = -F0 / A1, b2 = -F0 / C1;
    if (!(a2 > 0) || !(b2 > 0)) return build.fail("conic has no real points");
    double a = std::sqrt(a2), b = std::sqrt(b2);
    double t0 = std::atan2(local(start, centre, v) / b, local(start, centre, u) / a);
    double t1 = std::atan2(local(end, centre, v) / b, local(end, centre, u) / a);
    // Counter-clockwise from start to end; the whole ellipse where they coincide.
    if (t1 <= t0) t1 += 2 * std::numbers::pi;
    return made(centre, a, b, 1.0, {t0, t1});
  }

  if (!(F0 != 0)) return build.fail("conic is a pair of lines");
  double a2 = -F0 / A1, b2 = F0 / C1;
  if (!(a2 > 0)) {
    // The transverse axis is v: turn the frame a quarter.
    a2 = -F0 / C1, b2 = F0 / A1;
    Vec3 old_u = u;
    u = v;
    v = -old_u;
  }
  double a = std::sqrt(a2), b = std::sqrt(b2);
  if (local(start, centre, u) < 0) u = -u, v = -v;
  if (local(end, centre, u) < 0) return build.fail("conic arc ends on the other branch");
  double y0 = local(start, centre, v) / b, y1e = local(end, centre, v) / b;
  double sign = y1e >= y0 ? 1 : -1;
  return made(centre, a, b, sign, {std::asinh(sign * y0), std::asinh(sign * y1e)});
}

}  // namespace igeslib::detail
