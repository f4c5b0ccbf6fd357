// The parametric spline curve (112): cubic polynomials between breakpoints. On segment i,
// T(i) <= t <= T(i + 1), each coordinate is a + b s + c s^2 + d s^3 with s = t - T(i). The
// curve type and the degree of continuity tell how the writer made the spline; the
// coefficients alone define it, so they are taken as the file gives them.
#include <algorithm>
#include <array>
#include <cmath>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

// The coefficients a, b, c, d of one segment, one Vec3 per power of s.
using Cubic = std::array<Vec3, 4>;

class SplineCurve final : public Curve {
 public:
  SplineCurve(igs_directory_entry* e, std::vector<double> t, std::vector<Cubic> cubics)
      : t_(std::move(t)), cubics_(std::move(cubics)) {
    entity_ = e;
  }
  Interval range() const override { return {t_.front(), t_.back()}; }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    Vec3 d2;
    evaluate2(t, point, d1, d2);
  }
  // Beyond the range the end segments' polynomials run on.
  bool evaluate2(double t, Vec3& point, Vec3& d1, Vec3& d2) const override {
    std::size_t i = segment(t);
    const Cubic& c = cubics_[i];
    double s = t - t_[i];
    point = c[0] + (c[1] + (c[2] + c[3] * s) * s) * s;
    d1 = c[1] + (c[2] * 2 + c[3] * (3 * s)) * s;
    d2 = c[2] * 2 + c[3] * (6 * s);
    return true;
  }
  std::vector<double> breaks() const override {
    std::vector<double> b = t_;
    b.erase(std::unique(b.begin(), b.end()), b.end());
    return b;
  }
  // The exact box: each segment's ends and the zeros of each coordinate's derivative inside.
  Box bounds() const override {
    Box box;
    for (std::size_t i = 0; i < cubics_.size(); ++i) {
      double h = t_[i + 1] - t_[i];
      box.add(point(t_[i]));
      box.add(point(t_[i + 1]));
      const Cubic& c = cubics_[i];
      for (int k = 0; k < 3; ++k) {
        auto coef = [&](int power) {
          const Vec3& v = c[power];
          return k == 0 ? v.x : (k == 1 ? v.y : v.z);
        };
        // b + 2c s + 3d s^2 = 0
        double qa = 3 * coef(3), qb = 2 * coef(2), qc = coef(1);
        double roots[2];
        int n = 0;
        if (qa == 0) {
          if (qb != 0) roots[n++] = -qc / qb;
        } else {
          double disc = qb * qb - 4 * qa * qc;
          if (disc >= 0) {
            double r = std::sqrt(disc);
            double q = -0.5 * (qb + (qb < 0 ? -r : r));
            roots[n++] = q / qa;
            if (q != 0) roots[n++] = qc / q;
          }
        }
        for (int j = 0; j < n; ++j)
          if (roots[j] > 0 && roots[j] < h) box.add(point(t_[i] + roots[j]));
      }
    }
    return box;
  }

 private:
  // The segment of t: the last whose breakpoint is at or below it, the first and last for
  // parameters out of the range.
  std::size_t segment(double t) const {
    auto it = std::upper_bound(t_.begin() + 1, t_.end() - 1, t);
    return std::size_t(it - (t_.begin() + 1));
  }
  std::vector<double> t_;      // N + 1 breakpoints
  std::vector<Cubic> cubics_;  // N segments
};

}  // namespace

std::unique_ptr<Curve> make_parametric_spline_curve(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_parametric_spline_curve_entity>(entity);
  if (!e) return build.wrong_class(entity, "curve");
  std::vector<double> t = values_of(e->t());
  if (t.size() < 2) return build.fail("no segments");
  for (std::size_t i = 0; i < t.size(); ++i) {
    if (!std::isfinite(t[i])) return build.fail("breakpoint not finite");
    if (i && t[i] < t[i - 1]) return build.fail("breakpoints out of order");
  }
  if (!(t.back() > t.front())) return build.fail("empty parameter range");
  std::size_t n = t.size() - 1;
  ListOfigs_polynomial_coefficients* list = e->polynomials();
  if (!list || list->size() < n) return build.fail("fewer polynomials than segments");
  // A planar spline (ndim 2) lies in the plane z = a of each segment: its other z
  // coefficients are no part of it.
  bool planar = e->ndim() == 2;
  std::vector<Cubic> cubics(n);
  for (std::size_t i = 0; i < n; ++i) {
    igs_polynomial_coefficients* p = (*list)[unsigned(i)];
    ArrayOfDouble* xyz[3] = {p ? p->x_coefficients() : nullptr, p ? p->y_coefficients() : nullptr,
                             p ? p->z_coefficients() : nullptr};
    for (ArrayOfDouble* a : xyz)
      if (!a || a->size() < 4) return build.fail("polynomial coefficients missing");
    for (int k = 0; k < 4; ++k) {
      cubics[i][k] = {(*xyz[0])[k], (*xyz[1])[k], planar && k ? 0.0 : (*xyz[2])[k]};
      if (!finite(cubics[i][k])) return build.fail("coefficient not finite");
    }
  }
  return std::make_unique<SplineCurve>(entity, std::move(t), std::move(cubics));
}

}  // namespace igeslib::detail
