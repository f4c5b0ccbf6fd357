// Closed forms for curve evaluation: lines, arcs and B-splines, transforms and polylines.
#include <cmath>
#include <numbers>

#include "geometry/geometry_support.h"

using namespace geometry_test;
using igeslib::Transform;

namespace {

constexpr double pi = std::numbers::pi;

TEST(Curves, LineAndArcClosedForms) {
  igeslib::Model model;
  auto* line = model.make<igs_line_entity>();
  line->x1(1), line->y1(2), line->z1(3), line->x2(4), line->y2(6), line->z2(3);
  auto c = igeslib::make_curve(line);
  ASSERT_TRUE(c);
  expect_near(c->point(0), {1, 2, 3}, 0);
  expect_near(c->point(1), {4, 6, 3}, 0);
  expect_near(c->derivative(0.3), {3, 4, 0}, 1e-15);
  EXPECT_EQ(c->polyline().points.size(), 2u);

  // Quarter arc about (1, 1) at z 2 from (3, 1) to (1, 3), and a full circle.
  struct Row {
    double cx, cy, sx, sy, ex, ey, a0, a1;
  } rows[] = {{1, 1, 3, 1, 1, 3, 0, pi / 2},
              {0, 0, 0, 5, 0, 5, pi / 2, pi / 2 + 2 * pi},
              {0, 0, 0, -1, 1, 0, -pi / 2, 0}};
  for (const Row& r : rows) {
    auto* arc = model.make<igs_circular_arc_entity>();
    arc->zt(2), arc->x1(r.cx), arc->y1(r.cy), arc->x2(r.sx), arc->y2(r.sy), arc->x3(r.ex),
        arc->y3(r.ey);
    auto a = igeslib::make_curve(arc);
    ASSERT_TRUE(a);
    EXPECT_NEAR(a->range().lo, r.a0, 1e-15);
    EXPECT_NEAR(a->range().hi, r.a1, 1e-14);
    expect_near(a->point(a->range().lo), {r.sx, r.sy, 2}, 1e-14);
    expect_near(a->point(a->range().hi), {r.ex, r.ey, 2}, 1e-14);
    double radius = std::hypot(r.sx - r.cx, r.sy - r.cy);
    igeslib::Tolerance tol{.chord = 1e-3 * radius};
    igeslib::Polyline p = a->polyline(tol);
    for (std::size_t i = 0; i + 1 < p.points.size(); ++i) {
      // The middle of each chord lies within the tolerance of the circle.
      Vec3 m = (p.points[i] + p.points[i + 1]) * 0.5;
      EXPECT_LE(radius - std::hypot(m.x - r.cx, m.y - r.cy), tol.chord * 1.0001);
    }
    expect_derivatives(*a);
  }
}

TEST(Curves, BsplineEndsPartitionAndRationalCircle) {
  igeslib::Model model;
  // A clamped cubic interpolates its end points, and its basis sums to one.
  std::vector<Vec3> pts{{0, 0, 0}, {1, 2, 0}, {3, 3, 1}, {4, 0, 2}, {6, 1, 0}};
  auto* cubic = bspline_curve(model, 3, {0, 0, 0, 0, 0.4, 1, 1, 1, 1}, pts);
  auto c = igeslib::make_curve(cubic);
  ASSERT_TRUE(c);
  expect_near(c->point(0), pts.front(), 1e-15);
  expect_near(c->point(1), pts.back(), 1e-15);
  // Moving every control point by d moves every curve point by d: the basis sums to one.
  std::vector<Vec3> moved;
  for (const Vec3& p : pts) moved.push_back(p + Vec3{10, -5, 2});
  auto shifted = igeslib::make_curve(bspline_curve(model, 3, {0, 0, 0, 0, 0.4, 1, 1, 1, 1}, moved));
  for (double t : {0.1, 0.4, 0.77})
    expect_near(shifted->point(t) - c->point(t), {10, -5, 2}, 1e-13);
  expect_derivatives(*c);

  // A full circle of radius 2 as four quadratic rational arcs lies on the circle exactly.
  auto* circle = bspline_circle(model);
  auto k = igeslib::make_curve(circle);
  ASSERT_TRUE(k);
  for (int i = 0; i <= 40; ++i) EXPECT_NEAR(igeslib::norm(k->point(i / 10.0)), 2, 1e-14);
  expect_derivatives(*k);
  igeslib::Box box = k->bounds();
  expect_near(box.min, {-2, -2, 0}, 1e-9);
  expect_near(box.max, {2, 2, 0}, 1e-9);
}

TEST(Curves, FaultsNamed) {
  igeslib::Model model;
  struct Row {
    int degree;
    std::initializer_list<double> knots;
    const char* why;
  } rows[] = {{2, {0, 0, 0, 0.5, 1, 1, 1}, "knot count disagrees with degree"},
              {2, {0, 0, 0, 1, 0.5, 1}, "knots out of order"},
              {2, {0, 0, 0, 0, 0, 0}, "empty knot range"}};
  for (const Row& r : rows) {
    std::string why;
    EXPECT_FALSE(igeslib::make_curve(
        bspline_curve(model, r.degree, r.knots, {{0, 0, 0}, {1, 0, 0}, {2, 1, 0}}), &why));
    EXPECT_EQ(why, r.why);
  }
  std::string why;
  EXPECT_FALSE(igeslib::make_curve(model.make<igs_color_definition_entity>(), &why));
  EXPECT_EQ(why, "not a curve");
}

TEST(Placement, MatricesComposeInOrder) {
  igeslib::Model model;
  // The arc's matrix turns it a quarter about z; that matrix's own matrix then moves it by
  // (10, 0, 0): the chain applies inner first.
  auto* outer = matrix(model, Transform::translation({10, 0, 0}));
  auto* inner = matrix(model, Transform::rotation_z(pi / 2));
  inner->transformation(outer);
  auto* line = model.make<igs_line_entity>();
  line->x2(1);
  line->transformation(inner);
  auto c = igeslib::make_placed_curve(line);
  expect_near(c->point(1), {10, 1, 0}, 1e-15);
  expect_near(c->derivative(0), {0, 1, 0}, 1e-15);
  // A chain of matrices that comes back on itself is followed once around.
  outer->transformation(inner);
  expect_near(igeslib::placement_of(line).point({1, 0, 0}), {10, 1, 0}, 1e-15);
  Transform t = Transform::translation({1, 2, 3}) * Transform::scaling(2);
  EXPECT_NEAR(t.scale(), 2, 1e-12);
  expect_near(t.point({1, 1, 1}), {3, 4, 5}, 0);
}

}  // namespace
