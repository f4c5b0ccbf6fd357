// Builders of curve and surface entities in a model of their own, and the checks that every
// evaluator must pass: derivatives that agree with finite differences, normals of unit length.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <vector>

#include "igeslib.h"

namespace geometry_test {

using igeslib::Vec3;

inline void fill(ArrayOfDouble* a, std::initializer_list<double> values) {
  unsigned i = 0;
  for (double v : values) a->put(v, i++);
}

inline void fill(ListOfigs_coordinate* list, LumoDesign* design, const std::vector<Vec3>& pts) {
  for (const Vec3& p : pts) list->add(new (design) igs_coordinate(p.x, p.y, p.z));
}

// A rational B-spline curve of the given degree, knots, points and weights (empty weights:
// all 1, marked polynomial), over its knots' range.
inline igs_rational_bspline_curve_entity* bspline_curve(igeslib::Model& model, int degree,
                                                        std::initializer_list<double> knots,
                                                        const std::vector<Vec3>& points,
                                                        std::vector<double> weights = {}) {
  auto* c = model.make<igs_rational_bspline_curve_entity>();
  c->m(degree);
  c->prop3(weights.empty() ? igs_property3_polynomial : igs_property3_rational);
  fill(c->t(), knots);
  if (weights.empty()) weights.assign(points.size(), 1.0);
  for (unsigned i = 0; i < weights.size(); ++i) c->w()->put(weights[i], i);
  fill(c->control_points(), model.design(), points);
  c->v()->put(*knots.begin(), 0);
  c->v()->put(*(knots.end() - 1), 1);
  return c;
}

// A full circle of radius 2 about the origin as four quadratic rational arcs, over [0, 4].
inline igs_rational_bspline_curve_entity* bspline_circle(igeslib::Model& model) {
  double w = std::sqrt(0.5);
  return bspline_curve(model, 2, {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4},
                       {{2, 0, 0},
                        {2, 2, 0},
                        {0, 2, 0},
                        {-2, 2, 0},
                        {-2, 0, 0},
                        {-2, -2, 0},
                        {0, -2, 0},
                        {2, -2, 0},
                        {2, 0, 0}},
                       {1, w, 1, w, 1, w, 1, w, 1});
}

inline igs_transformation_matrix_entity* matrix(igeslib::Model& model,
                                                const igeslib::Transform& t) {
  auto* m = model.make<igs_transformation_matrix_entity>();
  m->r11(t.m[0][0]), m->r12(t.m[0][1]), m->r13(t.m[0][2]), m->t1(t.m[0][3]);
  m->r21(t.m[1][0]), m->r22(t.m[1][1]), m->r23(t.m[1][2]), m->t2(t.m[1][3]);
  m->r31(t.m[2][0]), m->r32(t.m[2][1]), m->r33(t.m[2][2]), m->t3(t.m[2][3]);
  return m;
}

inline void expect_near(const Vec3& a, const Vec3& b, double tol) {
  EXPECT_NEAR(a.x, b.x, tol);
  EXPECT_NEAR(a.y, b.y, tol);
  EXPECT_NEAR(a.z, b.z, tol);
}

// The first derivative against a central difference at n points inside the range (or its
// finite stand-in), relative to the curve's size.
inline void expect_derivatives(const igeslib::Curve& c, int n = 7) {
  igeslib::Interval r = c.finite_range();
  double size = 1 + c.bounds().diagonal();
  for (int i = 1; i <= n; ++i) {
    double t = r.lo + r.length() * i / (n + 1.0);
    double h = 1e-6 * (1 + r.length());
    Vec3 fd = (c.point(t + h) - c.point(t - h)) / (2 * h);
    Vec3 d = c.derivative(t);
    EXPECT_LT(igeslib::norm(fd - d), 1e-5 * size * (1 + igeslib::norm(d))) << "t = " << t;
  }
}

// Both partial derivatives against central differences, and unit normals, on a grid.
inline void expect_derivatives(const igeslib::Surface& s, int n = 4) {
  igeslib::Domain d = s.finite_domain();
  for (int i = 1; i <= n; ++i) {
    for (int j = 1; j <= n; ++j) {
      double u = d.u.lo + d.u.length() * i / (n + 1.0);
      double v = d.v.lo + d.v.length() * j / (n + 1.0);
      double hu = 1e-6 * (1 + d.u.length()), hv = 1e-6 * (1 + d.v.length());
      igeslib::SurfacePoint p = s.evaluate(u, v);
      Vec3 fu = (s.point(u + hu, v) - s.point(u - hu, v)) / (2 * hu);
      Vec3 fv = (s.point(u, v + hv) - s.point(u, v - hv)) / (2 * hv);
      EXPECT_LT(igeslib::norm(fu - p.du), 1e-5 * (1 + igeslib::norm(p.du))) << u << "," << v;
      EXPECT_LT(igeslib::norm(fv - p.dv), 1e-5 * (1 + igeslib::norm(p.dv))) << u << "," << v;
      EXPECT_NEAR(igeslib::norm(p.normal()), 1.0, 1e-12);
    }
  }
}

}  // namespace geometry_test
