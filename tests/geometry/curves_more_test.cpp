// Closed forms for the conic arc, copious data, the parametric spline, the composite and the
// offset curve.
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "geometry/geometry_support.h"

using namespace geometry_test;
using igeslib::Curve;

namespace {

constexpr double pi = std::numbers::pi;

// The second derivative, where a curve gives it, against a difference of first derivatives.
void expect_second_derivatives(const Curve& c) {
  igeslib::Interval r = c.finite_range();
  for (int i = 0; i < 6; ++i) {
    double t = r.lo + r.length() * (i + 0.37) / 6, h = 1e-6 * (1 + r.length());  // off breaks
    Vec3 p, d1, d2;
    ASSERT_TRUE(c.evaluate2(t, p, d1, d2));
    Vec3 fd = (c.derivative(t + h) - c.derivative(t - h)) / (2 * h);
    EXPECT_LT(igeslib::norm(fd - d2), 1e-5 * (1 + igeslib::norm(d2))) << "t = " << t;
    expect_near(p, c.point(t), 1e-12);
  }
}

igs_conic_arc_entity* conic(igeslib::Model& model, std::array<double, 6> k, int form, Vec3 start,
                            Vec3 end) {
  auto* c = model.make<igs_conic_arc_entity>();
  c->a(k[0]), c->b(k[1]), c->c(k[2]), c->d(k[3]), c->e(k[4]), c->f(k[5]), c->form(form);
  c->zt(start.z), c->x1(start.x), c->y1(start.y), c->x2(end.x), c->y2(end.y);
  return c;
}

TEST(MoreCurves, ConicArcs) {
  igeslib::Model model;
  // The ellipse centred at (1, 2), turned by 30 degrees, semi-axes 3 and 1, as coefficients.
  double th = pi / 6, ct = std::cos(th), st = std::sin(th);
  auto turned = [&](double t) {
    double x = 3 * std::cos(t), y = std::sin(t);
    return Vec3{1 + ct * x - st * y, 2 + st * x + ct * y, 0.5};
  };
  std::array<double, 6> tk{
      ct * ct / 9 + st * st, 2 * ct * st * (1.0 / 9 - 1), st * st / 9 + ct * ct, 0, 0, 0};
  tk[3] = -2 * tk[0] * 1 - tk[1] * 2, tk[4] = -tk[1] * 1 - 2 * tk[2] * 2;
  tk[5] = tk[0] + tk[1] * 2 + tk[2] * 4 - 1;
  double c1 = std::cosh(1), s1 = std::sinh(1), r2 = std::sqrt(2);
  const std::array<double, 6> ell{4, 0, 9, 0, 0, -36}, hyp{1, 0, -4, 0, 0, -4};
  struct Row {
    std::array<double, 6> k;
    int form;
    Vec3 start, end, middle;  // middle: the point at the middle of the range
    double length;            // of the range
  } rows[] = {
      // x^2/9 + y^2/4 = 1: a quarter counter-clockwise, three quarters the other way round,
      // the whole ellipse; form 0 is classified from the coefficients.
      {ell, 1, {3, 0, 0}, {0, 2, 0}, {3 / r2, r2, 0}, pi / 2},
      {ell, 0, {0, 2, 0}, {3, 0, 0}, {-3 / r2, -r2, 0}, 1.5 * pi},
      {ell, 1, {-3, 0, 0}, {-3, 0, 0}, {3, 0, 0}, 2 * pi},
      {tk, 0, turned(0.2), turned(1.4), turned(0.8), 1.2},
      // x^2/4 - y^2 = 1 on the right branch either way, and y^2 - x^2/4 = 1 on the lower.
      {hyp, 2, {2, 0, 0}, {2 * c1, s1, 0}, {2 * std::cosh(0.5), std::sinh(0.5), 0}, 1},
      {hyp, 0, {2 * c1, s1, 0}, {2 * c1, -s1, 0}, {2, 0, 0}, 2},
      {{-1, 0, 4, 0, 0, -4}, 2, {-2 * s1, -c1, 0}, {2 * s1, -c1, 0}, {0, -1, 0}, 2},
      // 4y = x^2, and 4(x - 1) = -(y - 2)^2 opening the other way along x.
      {{1, 0, 0, 0, -4, 0}, 3, {-2, 1, 0}, {4, 4, 0}, {1, 0.25, 0}, 6},
      {{0, 0, 1, 4, -4, 0}, 0, {0, 0, 0}, {0, 4, 0}, {1, 2, 0}, 4},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::Message() << "from " << r.start.x << " " << r.start.y);
    std::string why;
    auto c = igeslib::make_curve(conic(model, r.k, r.form, r.start, r.end), &why);
    ASSERT_TRUE(c) << why;
    igeslib::Interval range = c->range();
    EXPECT_NEAR(range.length(), r.length, 1e-12);
    expect_near(c->point(range.lo), r.start, 1e-12);
    expect_near(c->point(range.hi), r.end, 1e-12);
    expect_near(c->point(0.5 * (range.lo + range.hi)), r.middle, 1e-12);
    for (int i = 0; i <= 8; ++i) {
      Vec3 p = c->point(range.lo + range.length() * i / 8);
      const auto& k = r.k;
      EXPECT_NEAR(
          k[0] * p.x * p.x + k[1] * p.x * p.y + k[2] * p.y * p.y + k[3] * p.x + k[4] * p.y + k[5],
          0, 1e-11);
      EXPECT_EQ(p.z, r.start.z);
    }
    expect_derivatives(*c);
    expect_second_derivatives(*c);
  }
}

TEST(MoreCurves, CopiousDataPolylines) {
  igeslib::Model model;
  LumoDesign* d = model.design();
  std::vector<Vec3> pts{{0, 0, 1}, {2, 0, 1}, {2, 1, 1}, {0, 3, 1}};
  auto* pairs = model.make<igs_coordinate_pairs_entity>();
  auto* closed = model.make<igs_simple_closed_planar_curve_entity>();
  auto* closed_again = model.make<igs_simple_closed_planar_curve_entity>();
  for (auto* list : {pairs->coordinates(), closed->coordinates(), closed_again->coordinates()})
    fill(list, d, {{0, 0, 9}, {2, 0, 9}, {2, 1, 9}, {0, 3, 9}});
  fill(closed_again->coordinates(), d, {{0, 0, 9}});
  pairs->zt(1), closed->zt(1), closed_again->zt(1);
  auto* triples = model.make<igs_coordinate_triples_entity>();
  fill(triples->coordinates(), d, pts);
  auto* sextuples = model.make<igs_coordinate_sextuples_entity>();
  auto* piecewise = model.make<igs_piecewise_curve_entity>();
  piecewise->form(13), piecewise->ip(3);
  for (const Vec3& p : pts) {
    sextuples->sextuples()->add(new (d) igs_sextuple(p.x, p.y, p.z, 0, 0, 1));
    auto* item = new (d) igs_piecewise_representation;
    item->_sextuple(new (d) igs_sextuple(p.x, p.y, p.z, 1, 0, 0));
    piecewise->piecewise_curve()->add(item);
  }
  std::vector<Vec3> loop = pts;
  loop.push_back(pts[0]);
  struct Row {
    igs_directory_entry* entity;
    const std::vector<Vec3>& vertices;
  } rows[] = {{pairs, pts},     {triples, pts}, {sextuples, pts},
              {piecewise, pts}, {closed, loop}, {closed_again, loop}};
  for (const Row& r : rows) {
    auto c = igeslib::make_curve(r.entity);
    ASSERT_TRUE(c) << r.entity->form();
    EXPECT_EQ(c->range().hi, double(r.vertices.size() - 1));
    igeslib::Polyline line = c->polyline({.chord = 1e-9});
    ASSERT_EQ(line.points.size(), r.vertices.size());
    for (std::size_t i = 0; i < line.points.size(); ++i) {
      expect_near(line.points[i], r.vertices[i], 0);
      EXPECT_EQ(line.t[i], double(i));
    }
    expect_near(c->point(1.25), {2, 0.25, 1}, 1e-15);
    igeslib::Box box = c->bounds();
    expect_near(box.min, {0, 0, 1}, 0);
    expect_near(box.max, {2, 3, 1}, 0);
    expect_derivatives(*c, 6);  // at no vertex
  }
}

// The spline of P(t) = (t, t (3 - t), t^3) on breakpoints 0, 1, 2: on each segment the Taylor
// coefficients P, P', P''/2, P'''/6 at its breakpoint.
Vec3 cubic(double t) { return {t, t * (3 - t), t * t * t}; }

igs_parametric_spline_curve_entity* spline(igeslib::Model& model, int ndim, int segments) {
  auto* s = model.make<igs_parametric_spline_curve_entity>();
  s->ndim(ndim);
  fill(s->t(), {0, 1, 2});
  for (int i = 0; i < segments; ++i) {
    double t = i;
    auto* p = new (model.design()) igs_polynomial_coefficients;
    fill(p->x_coefficients(), {t, 1, 0, 0});
    fill(p->y_coefficients(), {t * (3 - t), 3 - 2 * t, -1, 0});
    fill(p->z_coefficients(), {t * t * t, 3 * t * t, 3 * t, 1});
    s->polynomials()->add(p);
  }
  return s;
}

TEST(MoreCurves, ParametricSpline) {
  igeslib::Model model;
  auto c = igeslib::make_curve(spline(model, 3, 2));
  ASSERT_TRUE(c);
  for (double t : {0.0, 0.4, 1.0, 1.5, 2.0}) expect_near(c->point(t), cubic(t), 1e-14);
  EXPECT_EQ(c->breaks(), (std::vector<double>{0, 1, 2}));
  // The box is exact: y peaks at t = 1.5 inside the second segment.
  igeslib::Box box = c->bounds();
  expect_near(box.min, {0, 0, 0}, 1e-15);
  expect_near(box.max, {2, 2.25, 8}, 1e-15);
  expect_derivatives(*c);
  expect_second_derivatives(*c);
  // A planar spline keeps only the constant term of z.
  auto planar = igeslib::make_curve(spline(model, 2, 2));
  expect_near(planar->point(1.5), {1.5, 2.25, 1}, 1e-15);
}

igs_line_entity* line(igeslib::Model& model, Vec3 a, Vec3 b) {
  auto* l = model.make<igs_line_entity>();
  l->x1(a.x), l->y1(a.y), l->z1(a.z), l->x2(b.x), l->y2(b.y), l->z2(b.z);
  return l;
}

igs_composite_curve_entity* composite(igeslib::Model& model,
                                      std::initializer_list<igs_directory_entry*> members) {
  auto* c = model.make<igs_composite_curve_entity>();
  for (igs_directory_entry* m : members) {
    auto* item = new (model.design()) igs_geometric_or_connect_point;
    item->choose_entity(m);
    c->de()->add(item);
  }
  return c;
}

TEST(MoreCurves, CompositeCurve) {
  igeslib::Model model;
  // A line moved by its matrix to run from (0, 0) to (1, 0), a quarter arc about (1, 1) on to
  // (2, 1), a point there, and a polyline up to (2, 3) and across to (0, 3).
  auto* first = line(model, {-5, 0, 0}, {-4, 0, 0});
  first->transformation(matrix(model, igeslib::Transform::translation({5, 0, 0})));
  auto* arc = model.make<igs_circular_arc_entity>();
  arc->x1(1), arc->y1(1), arc->x2(1), arc->y2(0), arc->x3(2), arc->y3(1);
  auto* point = model.make<igs_point_entity>();
  point->x(2), point->y(1);
  auto* path = model.make<igs_coordinate_triples_entity>();
  fill(path->coordinates(), model.design(), {{2, 1, 0}, {2, 3, 0}, {0, 3, 0}});
  auto* whole = composite(model, {first, arc, point, path});
  auto c = igeslib::make_curve(whole);
  ASSERT_TRUE(c);
  double a = 1 + pi / 2;  // where the polyline starts
  EXPECT_DOUBLE_EQ(c->range().lo, 0);
  EXPECT_DOUBLE_EQ(c->range().hi, a + 2);
  struct Row {
    double t;
    Vec3 point, derivative;
  } rows[] = {{0.5, {0.5, 0, 0}, {1, 0, 0}},
              {1, {1, 0, 0}, {1, 0, 0}},
              {1 + pi / 4,
               {1 + std::sqrt(0.5), 1 - std::sqrt(0.5), 0},
               {std::sqrt(0.5), std::sqrt(0.5), 0}},
              {a, {2, 1, 0}, {0, 2, 0}},
              {a + 1.5, {1, 3, 0}, {-2, 0, 0}},
              {a + 2, {0, 3, 0}, {-2, 0, 0}}};
  for (const Row& r : rows) {
    expect_near(c->point(r.t), r.point, 1e-14);
    expect_near(c->derivative(r.t), r.derivative, 1e-14);
  }
  EXPECT_EQ(c->breaks(), (std::vector<double>{0, 1, a, a + 1, a + 2}));
  // The polyline holds the joints once each, the point member's place among them.
  igeslib::Polyline line_of = c->polyline({.chord = 1e-3});
  for (std::size_t i = 1; i < line_of.points.size(); ++i) EXPECT_GT(line_of.t[i], line_of.t[i - 1]);
  for (std::size_t i = 0; i < line_of.points.size(); ++i)
    expect_near(line_of.points[i], c->point(line_of.t[i]), 1e-14);
  EXPECT_EQ(std::count(line_of.t.begin(), line_of.t.end(), a), 1);
  expect_derivatives(*c);
  expect_second_derivatives(*c);

  // Nested in another, after a connect point, it keeps its parameters; a loop fails.
  auto* connect = model.make<igs_connect_point_entity>();
  auto outer = igeslib::make_curve(composite(model, {connect, whole}));
  ASSERT_TRUE(outer);
  expect_near(outer->point(a + 1.5), {1, 3, 0}, 1e-14);
  auto* itself = new (model.design()) igs_geometric_or_connect_point;
  itself->choose_entity(whole);
  whole->de()->add(itself);
  std::string why;
  EXPECT_FALSE(igeslib::make_curve(whole, &why));
  EXPECT_EQ(why, "references nested too deep or in a loop");
}

igs_offset_curve_entity* offset(igeslib::Model& model, igs_directory_entry* base, int flag,
                                double d1, double d2, double nz) {
  auto* o = model.make<igs_offset_curve_entity>();
  o->de1(lumo_cast<igs_geometric_entity>(base));
  o->flag(flag), o->d1(d1), o->d2(d2), o->vz(nz);
  return o;
}

TEST(MoreCurves, OffsetCurve) {
  igeslib::Model model;
  // A circle of radius 2, as an arc and as a rational B-spline.
  auto* arc = model.make<igs_circular_arc_entity>();
  arc->x2(2), arc->x3(2);
  auto* spline_circle = bspline_circle(model);
  expect_second_derivatives(*igeslib::make_curve(spline_circle));
  // The function d(tau) = tau / 4 as the y of a line.
  auto* function = line(model, {0, 0, 0}, {1, 0.25, 0});
  auto* by_length = offset(model, arc, 2, 0.5, 1.5, -1);
  by_length->ptype(1), by_length->td1(0), by_length->td2(4 * pi);
  auto* by_parameter = offset(model, arc, 2, 0.5, 1.5, -1);
  by_parameter->ptype(2), by_parameter->td1(0), by_parameter->td2(pi);
  auto* as_function = offset(model, arc, 3, 0, 0, -1);
  as_function->ptype(2), as_function->ndim(2), as_function->de2(function);
  auto* of_offset = offset(model, offset(model, arc, 1, 0.5, 0, 1), 1, 0.25, 0, 1);
  struct Row {
    igs_offset_curve_entity* entity;
    double (*radius)(double t);
  } rows[] = {
      {offset(model, arc, 1, 0.5, 0, 1), [](double) { return 1.5; }},  // N x T points inward
      {offset(model, arc, 1, 0.5, 0, -1), [](double) { return 2.5; }},
      {offset(model, spline_circle, 1, 0.5, 0, -1), [](double) { return 2.5; }},
      {by_length, [](double t) { return 2 + 0.5 + (2 * t) / (4 * pi); }},
      {by_parameter, [](double t) { return 2 + 0.5 + t / pi; }},
      {as_function, [](double t) { return 2 + t / 4; }},
      {of_offset, [](double) { return 1.25; }},
  };
  for (const Row& r : rows) {
    std::string why;
    auto c = igeslib::make_curve(r.entity, &why);
    ASSERT_TRUE(c) << why;
    igeslib::Interval range = c->range();
    for (int i = 0; i <= 8; ++i) {
      double t = range.lo + range.length() * i / 8;
      // On the circle's radius through the base point.
      Vec3 p = c->point(t), base = igeslib::make_curve(r.entity->de1())->point(t);
      EXPECT_NEAR(igeslib::norm(p), r.radius(t), 1e-9) << t;
      EXPECT_NEAR(igeslib::norm(igeslib::cross(p, base)), 0, 1e-9);
    }
    expect_derivatives(*c);
  }
}

TEST(MoreCurves, FaultsNamed) {
  igeslib::Model model;
  const std::array<double, 6> hyp{1, 0, -4, 0, 0, -4};
  auto* arc = model.make<igs_circular_arc_entity>();
  arc->x2(2), arc->x3(2);
  struct Row {
    igs_directory_entry* entity;
    const char* why;
  } rows[] = {
      {conic(model, {1, 0, 1, 0, 0, 1}, 0, {1, 0, 0}, {0, 1, 0}), "conic has no real points"},
      {conic(model, {1, 0, -1, 0, 0, 0}, 0, {1, 1, 0}, {2, 2, 0}), "conic is a pair of lines"},
      {conic(model, hyp, 0, {2, 0, 0}, {-2, 0, 0}), "conic arc ends on the other branch"},
      {conic(model, {0, 0, 0, 1, 1, 0}, 0, {}, {1, -1, 0}), "conic without quadratic terms"},
      {model.make<igs_coordinate_triples_entity>(), "no points"},
      {spline(model, 3, 1), "fewer polynomials than segments"},
      {offset(model, arc, 0, 1, 0, 1), "offset flag not 1, 2 or 3"},
      {offset(model, arc, 1, 1, 0, 0), "offset normal is zero"},
      {offset(model, nullptr, 1, 1, 0, 1), "missing base curve"},
      {offset(model, arc, 2, 1, 2, 1), "taper type not 1 or 2"}};
  for (const Row& r : rows) {
    std::string why;
    EXPECT_FALSE(igeslib::make_curve(r.entity, &why));
    EXPECT_EQ(why, r.why);
  }
}

}  // namespace
