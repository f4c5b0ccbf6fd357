// Placement in the model: subfigure arrays and nested instances in closed form, the growth
// bound of a transform, units and colours by table, and boundaries with their cut iso-curves.
#include <cmath>
#include <numbers>

#include "geometry/geometry_support.h"

using namespace geometry_test;
using igeslib::Placed;
using igeslib::Transform;

namespace {

constexpr double pi = std::numbers::pi;

std::vector<Placed> placements(igeslib::Model& model) {
  return igeslib::placements(model.entities());
}

igs_base_entity* base(igeslib::Model& model, igs_directory_entry* e) {
  auto* select = new (model.design()) igs_base_entity;
  select->choose_entity(e);
  return select;
}

void fill_positions(ArrayOfInteger* a, std::initializer_list<int> values) {
  for (int v : values) a->put(v, a->size());
}

TEST(Placement, ArraysShowTheirBaseAtEveryPositionShown) {
  // A point at (1, 0, 0), shown by a 3 x 2 rectangular array (scaled by 2, spaced 2 and 5,
  // turned a quarter about its first position at (10, 20, 30)) and by a circular array of four
  // on a circle of radius 10 about (1, 2, 3), from 30 degrees in quarter turns.
  struct Row {
    std::initializer_list<int> list;
    int ddf;
    std::vector<int> shown;  // positions, from 1
  } rows[] = {{{}, 0, {1, 2, 3, 4, 5, 6}},
              {{5, 2, 9, 5}, 0, {2, 5}},  // listed: shown once each, out of range ignored
              {{5, 2, 0}, 1, {1, 3, 4, 6}}};
  for (const Row& r : rows) {
    igeslib::Model model;
    auto* point = model.make<igs_point_entity>();
    point->x(1);
    point->subordinate(igs_subordinate_switch_physicallyDependent);
    auto* grid = model.make<igs_rectangular_array_subfigure_instance_entity>();
    grid->de(base(model, point));
    grid->s(2), grid->x(10), grid->y(20), grid->z(30), grid->nc(3), grid->nr(2);
    grid->dx(2), grid->dy(5), grid->ax(pi / 2), grid->ddf(r.ddf);
    fill_positions(grid->n(), r.list);
    auto* ring = model.make<igs_circular_array_subfigure_instance_entity>();
    ring->de(base(model, point));
    ring->ne(4), ring->x(1), ring->y(2), ring->z(3), ring->r(10), ring->ast(pi / 6);
    ring->ad(pi / 2), ring->ddf(r.ddf);
    fill_positions(ring->n(), r.list);

    // The rectangular array's positions come first, in order, then the circular one's.
    std::vector<std::pair<igs_directory_entry*, Vec3>> expected;
    for (int k : r.shown) {
      double c = (k - 1) % 3, row = (k - 1) / 3;
      Vec3 local{c * 2 + 2, row * 5, 0};  // the scaled point moved to its column and row
      expected.push_back({grid, {10 - local.y, 20 + local.x, 30}});
    }
    for (int k : r.shown) {
      double a = pi / 6 + (k - 1) * pi / 2;
      if (k <= 4) expected.push_back({ring, {1 + 10 * std::cos(a) + 1, 2 + 10 * std::sin(a), 3}});
    }
    std::vector<Placed> shown = placements(model);
    ASSERT_EQ(shown.size(), expected.size()) << "ddf " << r.ddf;
    for (std::size_t i = 0; i < shown.size(); ++i) {
      EXPECT_EQ(shown[i].entity, point);
      EXPECT_EQ(shown[i].instance, expected[i].first);
      expect_near(shown[i].transform.point({1, 0, 0}), expected[i].second, 1e-12);
    }
  }
}

TEST(Placement, NestedInstancesComposeAndDamagedOnesStop) {
  igeslib::Model model;
  // A line from the origin to (1, 0, 0) lifted by its own matrix to z = 5, in definition A; A
  // shown in definition B by an instance at (1, 0, 0) scaled by 2; B shown in the model at
  // (0, 10, 0) by an instance whose matrix turns it a quarter about z.
  auto* line = model.make<igs_line_entity>();
  line->x2(1);
  line->transformation(matrix(model, Transform::translation({0, 0, 5})));
  auto* a = model.make<igs_subfigure_definition_entity>();
  a->de()->add(line);
  auto* inner = model.make<igs_singular_subfigure_instance_entity>();
  inner->de(a), inner->x(1), inner->s(2);
  auto* b = model.make<igs_subfigure_definition_entity>();
  b->de()->add(inner);
  auto* outer = model.make<igs_singular_subfigure_instance_entity>();
  outer->de(b), outer->y(10);
  outer->transformation(matrix(model, Transform::rotation_z(pi / 2)));

  std::vector<Placed> shown = placements(model);
  // The matrices of the line and the rotation are entities of their own, standing alone.
  std::vector<Placed> lines;
  for (const Placed& p : shown)
    if (p.entity == line) lines.push_back(p);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].instance, outer);
  // (1, 0, 0) -> z 5 -> scaled (2, 0, 10) -> moved (3, 0, 10) -> moved (3, 10, 10) -> turned.
  expect_near(lines[0].transform.point({1, 0, 0}), {-10, 3, 10}, 1e-12);
  igeslib::Box box = igeslib::model_bounds(model.entities());
  expect_near(box.min, {-10, 1, 10}, 1e-6);
  expect_near(box.max, {-10, 3, 10}, 1e-6);

  // A definition that shows itself, and an array of four billion positions, stop.
  a->de()->add(outer);
  auto* huge = model.make<igs_rectangular_array_subfigure_instance_entity>();
  huge->de(base(model, b)), huge->nc(2000000000), huge->nr(2), huge->dx(1);
  std::size_t lines_shown = 0;
  shown = placements(model);
  for (const Placed& p : shown) lines_shown += p.entity == line;
  EXPECT_LE(shown.size(), 100000u);
  EXPECT_GT(lines_shown, 1000u);
}

TEST(Placement, ScaleIsTheLargestGrowthOfALength) {
  struct Row {
    std::array<std::array<double, 3>, 3> r;
    double scale;
  } rows[] = {{{{{1, 0, 0}, {0, 2, 0}, {0, 0, 3}}}, 3},
              {{{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}}, 1},
              {{{{1, 1, 0}, {0, 1, 0}, {0, 0, 1}}}, (1 + std::sqrt(5.0)) / 2},  // a shear
              {{{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}}, 1e-300}};
  for (const Row& row : rows) {
    Transform t;
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) t.m[i][j] = row.r[i][j];
    // Turned on both sides, the growth stays.
    Transform turned = Transform::rotation_z(0.3) * t * Transform::rotation_z(-1.1);
    EXPECT_NEAR(turned.scale(), row.scale, 1e-12 * row.scale);
  }
}

TEST(Placement, UnitsFromTheFlagOrTheName) {
  struct Row {
    int flag;
    const char* name;
    double millimetres;
    const char* symbol;
  } rows[] = {
      {1, "INCH", 25.4, "IN"},     {2, "MM", 1, "MM"},           {4, "FT", 304.8, "FT"},
      {5, "MI", 1609344, "MI"},    {6, "M", 1000, "M"},          {7, "KM", 1e6, "KM"},
      {8, "MIL", 0.0254, "MIL"},   {9, "UM", 0.001, "UM"},       {10, "CM", 10, "CM"},
      {11, "UIN", 2.54e-5, "UIN"}, {3, " inch ", 25.4, "IN"},    {3, "Millimetres", 1, "MM"},
      {2, "INCH", 1, "MM"},  // the flag decides
      {-1, "M", 1000, "M"},        {3, "FURLONG", 0, "unknown"}, {0, nullptr, 0, "unknown"}};
  for (const Row& r : rows) {
    igeslib::Model model;
    auto* g = new (model.design()) igs_global;
    g->unit_flag(r.flag);
    g->units(r.name);
    g->model_space_scale(0.5);
    igeslib::Units u = igeslib::model_units(g);
    EXPECT_EQ(u.millimetres, r.millimetres) << r.flag << " " << (r.name ? r.name : "");
    EXPECT_EQ(u.symbol(), r.symbol);
    EXPECT_EQ(u.flag, r.flag);
    EXPECT_EQ(u.model_space_scale, 0.5);
  }
}

TEST(Placement, ColoursByNumberAndDefinition) {
  igeslib::Model model;
  auto colour_of = [&](auto set) {
    auto* line = model.make<igs_line_entity>();
    auto* c = new (model.design()) igs_entity_color;
    set(c);
    line->color(c);
    return igeslib::colour_of(line);
  };
  const double rgb[][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1},
                           {1, 1, 0}, {1, 0, 1}, {0, 1, 1}, {1, 1, 1}};
  for (int n = 1; n <= 8; ++n) {
    auto c = colour_of([&](igs_entity_color* c) { c->_color_number(n); });
    ASSERT_TRUE(c) << n;
    EXPECT_EQ((std::array{c->r, c->g, c->b}),
              (std::array{rgb[n - 1][0], rgb[n - 1][1], rgb[n - 1][2]}));
  }
  EXPECT_FALSE(colour_of([](igs_entity_color* c) { c->_color_number(0); }));
  auto* orange = model.make<igs_color_definition_entity>();
  orange->cc1(100), orange->cc2(50), orange->cc3(-5);  // percent; out of range clamped
  auto c = colour_of([&](igs_entity_color* c) { c->_color_definition_entity(orange); });
  ASSERT_TRUE(c);
  EXPECT_EQ((std::array{c->r, c->g, c->b}), (std::array{1.0, 0.5, 0.0}));
  EXPECT_FALSE(igeslib::colour_of(model.make<igs_line_entity>()));  // no colour set
  EXPECT_FALSE(igeslib::colour_of(model.make<igs_name_entity>()));  // a class without one
}

TEST(Placement, BoundariesCutTheirIsolines) {
  igeslib::Model model;
  // The plane z = 0 as a bilinear B-spline surface over [-4, 4] x [-4, 4], S(u, v) = (u, v, 0),
  // trimmed by the circle of radius 2 about the origin drawn in its parameter space.
  auto* plane = model.make<igs_rational_bspline_surface_entity>();
  plane->m1(1), plane->m2(1), plane->prop3(igs_property3_polynomial);
  fill(plane->s(), {-4, -4, 4, 4});
  fill(plane->t(), {-4, -4, 4, 4});
  for (double u : {-4.0, 4.0}) {
    auto* row = new (model.design()) ListOfigs_coordinate;
    fill(row, model.design(), {{u, -4, 0}, {u, 4, 0}});
    plane->control_points()->add(row);
  }
  auto* circle = model.make<igs_curve_on_a_parametric_surface_entity>();
  circle->sptr(plane), circle->bptr(bspline_circle(model)), circle->pref(1);
  struct Row {
    int n1;  // 1: the circle is the outer boundary; 0: the domain is, the circle a hole
    std::size_t curves;
    std::vector<std::pair<double, double>> pieces;  // of the iso-curves u = 0, then v = 0
    Vec3 min, max;
  } rows[] = {{1, 1, {{-2, 2}, {-2, 2}}, {-2, -2, 0}, {2, 2, 0}},
              {0, 5, {{-4, -2}, {2, 4}, {-4, -2}, {2, 4}}, {-4, -4, 0}, {4, 4, 0}}};
  for (const Row& r : rows) {
    auto* trimmed = model.make<igs_trimmed_parametric_surface_entity>();
    trimmed->pts(plane), trimmed->n1(r.n1);
    if (r.n1)
      trimmed->pto(circle);
    else
      trimmed->pti()->add(circle);
    igeslib::Boundary b = igeslib::boundary_of(trimmed);
    EXPECT_TRUE(b.faults.empty()) << b.faults.front();
    EXPECT_EQ(b.curves.size(), r.curves);
    EXPECT_EQ(b.parameter_loops.size(), r.n1 ? 1u : 2u);
    std::vector<std::unique_ptr<igeslib::Curve>> isos = igeslib::isolines(b, 1);
    ASSERT_EQ(isos.size(), r.pieces.size());
    for (std::size_t i = 0; i < isos.size(); ++i) {
      EXPECT_NEAR(isos[i]->range().lo, r.pieces[i].first, 1e-2);
      EXPECT_NEAR(isos[i]->range().hi, r.pieces[i].second, 1e-2);
    }
    igeslib::Box box = igeslib::entity_bounds(trimmed, Transform::translation({0, 0, 1}));
    expect_near(box.min, r.min + Vec3{0, 0, 1}, 2e-2);
    expect_near(box.max, r.max + Vec3{0, 0, 1}, 2e-2);
  }
  EXPECT_EQ(igeslib::boundary_of(circle).faults, std::vector<std::string>{"not a surface"});
}

}  // namespace
