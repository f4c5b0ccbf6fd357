// Closed forms for surface evaluation: B-spline patches, the analytic surfaces, surfaces swept
// from curves, offsets, and curves on surfaces.
#include <cmath>
#include <functional>
#include <numbers>

#include "geometry/geometry_support.h"

using namespace geometry_test;
using igeslib::Model;
using igeslib::Surface;

namespace {

constexpr double pi = std::numbers::pi;

igs_point_entity* point(Model& m, const Vec3& p) {
  auto* e = m.make<igs_point_entity>();
  e->x(p.x), e->y(p.y), e->z(p.z);
  return e;
}

igs_direction_entity* direction(Model& m, const Vec3& d) {
  auto* e = m.make<igs_direction_entity>();
  e->x(d.x), e->y(d.y), e->z(d.z);
  return e;
}

igs_line_entity* line(Model& m, const Vec3& a, const Vec3& b) {
  auto* e = m.make<igs_line_entity>();
  e->x1(a.x), e->y1(a.y), e->z1(a.z), e->x2(b.x), e->y2(b.y), e->z2(b.z);
  return e;
}

// net[i][j] is the point of index i in u and j in v; no weights: polynomial.
igs_rational_bspline_surface_entity* bspline_surface(
    Model& m, int p, int q, std::initializer_list<double> s, std::initializer_list<double> t,
    const std::vector<std::vector<Vec3>>& net, const std::vector<std::vector<double>>& w = {}) {
  auto* e = m.make<igs_rational_bspline_surface_entity>();
  e->m1(p), e->m2(q);
  e->prop3(w.empty() ? igs_property3_polynomial : igs_property3_rational);
  fill(e->s(), s);
  fill(e->t(), t);
  for (std::size_t i = 0; i < net.size(); ++i) {
    auto* row = new (m.design()) ListOfigs_coordinate(0);
    fill(row, m.design(), net[i]);
    e->control_points()->add(row);
    auto* weights = new (m.design()) ArrayOfDouble(unsigned(net[i].size()));
    for (unsigned j = 0; j < net[i].size(); ++j) weights->put(w.empty() ? 1 : w[i][j], j);
    e->w()->add(weights);
  }
  return e;
}

std::unique_ptr<Surface> surface(igs_directory_entry* e) {
  std::string why;
  std::unique_ptr<Surface> s = igeslib::make_surface(e, &why);
  EXPECT_TRUE(s) << why;
  if (s) expect_derivatives(*s);
  return s;
}

TEST(Surfaces, BsplineBilinearAndRationalCylinder) {
  Model model;
  Vec3 p00{0, 0, 0}, p10{2, 0, 1}, p01{0, 3, 0}, p11{2, 3, 4};
  auto bilinear =
      surface(bspline_surface(model, 1, 1, {0, 0, 1, 1}, {0, 0, 1, 1}, {{p00, p01}, {p10, p11}}));
  ASSERT_TRUE(bilinear);
  for (double u : {0.0, 0.3, 1.0}) {
    for (double v : {0.0, 0.6, 1.0}) {
      igeslib::SurfacePoint s = bilinear->evaluate(u, v);
      expect_near(
          s.point,
          p00 * ((1 - u) * (1 - v)) + p10 * (u * (1 - v)) + p01 * ((1 - u) * v) + p11 * (u * v),
          1e-15);
      expect_near(s.du, (p10 - p00) * (1 - v) + (p11 - p01) * v, 1e-15);
      expect_near(s.dv, (p01 - p00) * (1 - u) + (p11 - p10) * u, 1e-15);
    }
  }
  expect_near(bilinear->bounds().max, {2, 3, 4}, 0);

  // A quarter of the cylinder x^2 + y^2 = 4, 3 high: quadratic rational arcs in u, lines in v.
  double w = std::sqrt(0.5);
  auto quarter = surface(
      bspline_surface(model, 2, 1, {0, 0, 0, 1, 1, 1}, {0, 0, 1, 1},
                      {{{2, 0, 0}, {2, 0, 3}}, {{2, 2, 0}, {2, 2, 3}}, {{0, 2, 0}, {0, 2, 3}}},
                      {{1, 1}, {w, w}, {1, 1}}));
  ASSERT_TRUE(quarter);
  for (int i = 0; i <= 10; ++i) {
    Vec3 p = quarter->point(i / 10.0, 0.25);
    EXPECT_NEAR(std::hypot(p.x, p.y), 2, 1e-15);
    EXPECT_NEAR(p.z, 0.75, 1e-15);
    expect_near(quarter->normal(i / 10.0, 0.25), Vec3{p.x / 2, p.y / 2, 0}, 1e-14);
  }
}

TEST(Surfaces, AnalyticClosedForms) {
  Model model;
  // Form 1 about the world z at c, with x along the world y: the frame's y is the world's -x.
  Vec3 c{1, 2, 3}, x{0, 1, 0}, y{-1, 0, 0}, z{0, 0, 1};
  auto placed_form1 = [&](auto* e) {
    e->form(1);
    e->deloc(point(model, c));
    e->derefd(direction(model, x * 5));
    return e;
  };
  auto radial = [&](double u) { return x * std::cos(u) + y * std::sin(u); };
  auto* sphere = placed_form1(model.make<igs_spherical_surface_entity>());
  sphere->radius(2);
  sphere->deaxis(direction(model, z * 3));
  auto* torus = placed_form1(model.make<igs_toroidal_surface_entity>());
  torus->majrad(5), torus->minrad(1), torus->deaxis(direction(model, z));
  auto* cylinder = placed_form1(model.make<igs_right_circular_cylindrical_surface_entity>());
  cylinder->radius(2), cylinder->deaxis(direction(model, z));
  auto* cone = placed_form1(model.make<igs_right_circular_conical_surface_entity>());
  cone->radius(1), cone->sangle(45), cone->deaxis(direction(model, z));
  struct Row {
    igs_directory_entry* entity;
    std::function<Vec3(double, double)> point, normal;
  } rows[] = {
      {sphere,
       [&](double u, double v) { return c + (radial(u) * std::cos(v) + z * std::sin(v)) * 2; },
       [&](double u, double v) { return radial(u) * std::cos(v) + z * std::sin(v); }},
      {torus,
       [&](double u, double v) { return c + radial(u) * (5 + std::cos(v)) + z * std::sin(v); },
       [&](double u, double v) { return radial(u) * std::cos(v) + z * std::sin(v); }},
      {cylinder, [&](double u, double v) { return c + radial(u) * 2 + z * v; },
       [&](double u, double) { return radial(u); }},
      {cone, [&](double u, double v) { return c + radial(u) * (1 + v) + z * v; },
       [&](double u, double) { return (radial(u) - z) * std::sqrt(0.5); }},
  };
  for (const Row& r : rows) {
    auto s = surface(r.entity);
    ASSERT_TRUE(s);
    for (double u : {0.0, 1.0, 4.0}) {
      for (double v : {-0.5, 0.25, 1.5}) {
        expect_near(s->point(u, v), r.point(u, v), 1e-14);
        expect_near(s->normal(u, v), r.normal(u, v), 1e-14);
      }
    }
  }

  // The plane z = 1 takes the world's axes; bounded by a circle of radius 2 about (1, 1), its
  // domain is the circle's extent.
  auto* plane = model.make<igs_plane_entity>();
  plane->c(2), plane->d(2), plane->x(7), plane->y(8), plane->Size(4);
  auto p = surface(plane);
  expect_near(p->point(0.5, -1), {7.5, 7, 1}, 1e-15);
  EXPECT_FALSE(p->domain().u.bounded());
  EXPECT_EQ(p->finite_domain().v.hi, 2);
  auto* circle = model.make<igs_circular_arc_entity>();
  circle->zt(1), circle->x1(1), circle->y1(1), circle->x2(3), circle->y2(1), circle->x3(3),
      circle->y3(1);
  plane->form(1), plane->ptr(circle);
  igeslib::Domain d = igeslib::make_surface(plane)->domain();
  EXPECT_NEAR(d.u.lo, -8, 0.01);
  EXPECT_NEAR(d.v.hi, -5, 0.01);
  EXPECT_GT(d.v.hi, -5);
}

TEST(Surfaces, RevolvedLineIsCone) {
  Model model;
  auto* revolved = model.make<igs_surface_of_revolution_entity>();
  revolved->l(line(model, {0, 0, 0}, {0, 0, 1}));
  revolved->c(line(model, {2, 0, 0}, {3, 0, 1}));
  revolved->sa(0), revolved->ta(2 * pi);
  auto* cone = model.make<igs_right_circular_conical_surface_entity>();
  cone->deloc(point(model, {})), cone->deaxis(direction(model, {0, 0, 1}));
  cone->radius(2), cone->sangle(45);
  auto r = surface(revolved), k = surface(cone);
  ASSERT_TRUE(r && k);
  // Height along the line, angle about the axis; its normal points inward.
  for (double t : {0.0, 0.4, 1.0}) {
    for (double angle : {0.0, 2.0, 5.0}) {
      expect_near(r->point(t, angle), k->point(angle, t), 1e-14);
      expect_near(r->normal(t, angle), -k->normal(angle, t), 1e-14);
    }
  }
}

TEST(Surfaces, RuledByParameterAndArcLength) {
  Model model;
  // The second curve runs along y = 1 at the uneven speed x = 2t + 2t^2.
  auto* straight = line(model, {0, 0, 0}, {4, 0, 0});
  auto* uneven = bspline_curve(model, 2, {0, 0, 0, 1, 1, 1}, {{0, 1, 0}, {1, 1, 0}, {4, 1, 0}});
  struct Row {
    int form, dirflg;
    std::function<double(double)> x;  // of the second curve's point at u
  } rows[] = {{1, 0, [](double u) { return 2 * u + 2 * u * u; }},
              {0, 0, [](double u) { return 4 * u; }},
              {0, 1, [](double u) { return 4 * (1 - u); }}};
  for (const Row& row : rows) {
    auto* ruled = model.make<igs_ruled_surface_entity>();
    ruled->form(row.form), ruled->de1(straight), ruled->de2(uneven), ruled->dirflg(row.dirflg);
    auto s = surface(ruled);
    ASSERT_TRUE(s);
    for (double u : {0.0, 0.15, 0.5, 0.9, 1.0}) {
      expect_near(s->point(u, 1), {row.x(u), 1, 0}, 1e-13);
      expect_near(s->point(u, 0.25), Vec3{4 * u, 0, 0} * 0.75 + Vec3{row.x(u), 1, 0} * 0.25, 1e-13);
    }
  }
}

TEST(Surfaces, SplineSurfacePatches) {
  Model model;
  auto* e = model.make<igs_parametric_spline_surface_entity>();
  fill(e->tu(), {0, 1, 3});
  fill(e->tv(), {0, 2});
  // Patch (0, 0): x = s, y = t, z = s t. Patch (1, 0): x = 1 + s, y = t, z = t + s t^2.
  // Coefficient 4 b + a goes with s^a t^b; the file's extra row and column stay zero.
  auto patch = [&](std::initializer_list<std::pair<int, double>> x,
                   std::initializer_list<std::pair<int, double>> z) {
    auto* p = new (model.design()) igs_patch();
    ArrayOfDouble* arrays[3] = {p->x_coefficients(), p->y_coefficients(), p->z_coefficients()};
    for (ArrayOfDouble* a : arrays)
      for (unsigned i = 0; i < 16; ++i) a->put(0, i);
    for (auto [i, v] : x) arrays[0]->put(v, i);
    arrays[1]->put(1, 4);
    for (auto [i, v] : z) arrays[2]->put(v, i);
    return p;
  };
  igs_patch* grid[3][2] = {{patch({{1, 1}}, {{5, 1}}), patch({}, {})},
                           {patch({{0, 1}, {1, 1}}, {{4, 1}, {9, 1}}), patch({}, {})},
                           {patch({}, {}), patch({}, {})}};
  for (auto& row : grid) {
    auto* list = new (model.design()) ListOfigs_patch(0);
    for (igs_patch* p : row) list->add(p);
    e->patches()->add(list);
  }
  auto s = surface(e);
  ASSERT_TRUE(s);
  expect_near(s->point(0.5, 1), {0.5, 1, 0.5}, 1e-15);
  expect_near(s->point(2, 1.5), {2, 1.5, 3.75}, 1e-15);
  expect_near(s->evaluate(2, 1.5).dv, {0, 1, 4}, 1e-15);
  EXPECT_EQ(s->u_breaks(), (std::vector<double>{0, 1, 3}));
}

TEST(Surfaces, TabulatedAndOffset) {
  Model model;
  auto* arc = model.make<igs_circular_arc_entity>();
  arc->x2(1), arc->y3(1);  // a quarter of the unit circle
  auto* tabulated = model.make<igs_tabulated_cylinder_entity>();
  tabulated->de(arc), tabulated->lx(1), tabulated->lz(5);
  auto t = surface(tabulated);
  ASSERT_TRUE(t);
  expect_near(t->point(0.5, 0.4), {std::sqrt(0.5), std::sqrt(0.5), 2}, 1e-15);

  // Offset outward from a sphere of radius 2 by 0.5: the sphere of radius 2.5.
  auto* sphere = model.make<igs_spherical_surface_entity>();
  sphere->deloc(point(model, {1, 1, 1})), sphere->radius(2);
  auto* offset = model.make<igs_offset_surface_entity>();
  offset->de(sphere), offset->d(0.5);
  auto o = surface(offset), base = surface(sphere);
  ASSERT_TRUE(o && base);
  for (double u : {0.5, 3.0})
    for (double v : {-1.0, 0.2})
      expect_near(o->point(u, v) - Vec3{1, 1, 1}, (base->point(u, v) - Vec3{1, 1, 1}) * 1.25,
                  1e-14);
  offset->de(tabulated);
  surface(offset);
}

TEST(Surfaces, CurveOnSurfaceFollowsPreference) {
  Model model;
  auto* plane = model.make<igs_plane_entity>();
  plane->c(1), plane->d(1);  // z = 1, in the world's axes
  auto* uv = line(model, {0, 0, 0}, {2, 1, 0});
  auto* model_space = line(model, {5, 5, 5}, {6, 6, 6});
  Vec3 mapped{1, 0.5, 1}, direct{5.5, 5.5, 5.5};  // the two at parameter 0.5
  struct Row {
    int pref;
    bool with_model_space, with_mapped;
    Vec3 expected;
  } rows[] = {{1, true, true, mapped}, {2, true, true, direct},  {0, true, true, direct},
              {3, true, true, direct}, {1, true, false, direct}, {2, false, true, mapped}};
  for (const Row& r : rows) {
    auto* e = model.make<igs_curve_on_a_parametric_surface_entity>();
    e->pref(r.pref), e->sptr(plane);
    if (r.with_model_space) e->cptr(model_space);
    if (r.with_mapped) e->bptr(uv);
    std::string why;
    auto c = igeslib::make_curve(e, &why);
    ASSERT_TRUE(c) << why;
    EXPECT_TRUE(why.empty());
    EXPECT_EQ(c->entity(), e);
    expect_near(c->point(0.5), r.expected, 1e-15);
    expect_derivatives(*c);
  }
  // Both ways missing: the reason is the way that is there, or the preferred one.
  auto* e = model.make<igs_curve_on_a_parametric_surface_entity>();
  e->bptr(uv);
  std::string why;
  EXPECT_FALSE(igeslib::make_curve(e, &why));
  EXPECT_EQ(why, "missing surface");

  // A trimmed surface evaluates as its surface, as itself; its outer boundary, a circle of
  // radius 3 about (1, 1), gives the unbounded plane a finite domain.
  auto* trimmed = model.make<igs_trimmed_parametric_surface_entity>();
  trimmed->pts(plane);
  auto* circle = model.make<igs_circular_arc_entity>();
  circle->zt(1), circle->x1(1), circle->y1(1), circle->x2(4), circle->y2(1), circle->x3(4),
      circle->y3(1);
  trimmed->pto(model.make<igs_curve_on_a_parametric_surface_entity>());
  trimmed->pto()->cptr(circle);
  auto s = surface(trimmed);
  EXPECT_EQ(s->entity(), trimmed);
  expect_near(s->point(1, 2), {1, 2, 1}, 0);
  EXPECT_NEAR(s->finite_domain().u.lo, -2, 0.01);
  EXPECT_NEAR(s->finite_domain().v.hi, 4, 0.01);
}

TEST(Surfaces, FaultsNamed) {
  Model model;
  auto* sphere = model.make<igs_spherical_surface_entity>();
  sphere->deloc(point(model, {}));
  auto* cone = model.make<igs_right_circular_conical_surface_entity>();
  cone->deloc(point(model, {})), cone->deaxis(direction(model, {0, 0, 1})), cone->sangle(90);
  auto* torus = model.make<igs_toroidal_surface_entity>();
  torus->deloc(point(model, {})), torus->deaxis(direction(model, {})), torus->majrad(1);
  auto* looped = model.make<igs_trimmed_parametric_surface_entity>();
  looped->pts(looped);
  auto* revolved = model.make<igs_surface_of_revolution_entity>();
  revolved->c(line(model, {}, {1, 0, 0}));
  // Each offset evaluates its surface nine times a point: four deep is past the bound.
  igs_geometric_entity* offsets = sphere;
  for (int i = 0; i < 4; ++i) {
    auto* o = model.make<igs_offset_surface_entity>();
    o->de(offsets), o->d(1);
    offsets = o;
  }
  sphere->radius(-1);
  auto* zero_weight = bspline_surface(model, 1, 1, {0, 0, 1, 1}, {0, 0, 1, 1},
                                      {{{}, {0, 1, 0}}, {{1, 0, 0}, {1, 1, 0}}}, {{1, 0}, {1, 1}});
  auto* ragged =
      bspline_surface(model, 1, 1, {0, 0, 1, 1}, {0, 0, 1, 1}, {{{}, {0, 1, 0}}, {{1, 0, 0}}});
  struct Row {
    igs_directory_entry* entity;
    const char* why;
  } rows[] = {{sphere, "radius not positive"},
              {cone, "semi-angle out of range"},
              {torus, "axis of zero length"},
              {looped, "references nested too deep or in a loop"},
              {offsets, "evaluation too costly"},
              {revolved, "missing axis"},
              {zero_weight, "weight not positive"},
              {ragged, "control net not rectangular"},
              {model.make<igs_plane_entity>(), "plane normal of zero length"}};
  for (const Row& r : rows) {
    std::string why;
    EXPECT_FALSE(igeslib::make_surface(r.entity, &why));
    EXPECT_EQ(why, r.why);
  }
}

}  // namespace
