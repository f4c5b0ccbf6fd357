#include "model_generator.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>

#include <igeslib.h>

namespace {

// Reals as CAD systems write them: whole numbers, values of a few decimals and values of full
// precision, from a fixed sequence.
class Values {
 public:
  double operator()() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    std::uint64_t bits = state_ * 0x2545F4914F6CDD1DULL;
    double unit = static_cast<double>(bits >> 11) * 0x1.0p-53;  // [0, 1)
    double v = (unit - 0.5) * 2000.0;
    switch (++count_ % 4) {
      case 0:
        return static_cast<double>(static_cast<long>(v));
      case 1:
        return static_cast<double>(static_cast<long>(v * 1000.0)) / 1000.0;
      default:
        return v;
    }
  }

 private:
  std::uint64_t state_ = 0x9E3779B97F4A7C15ULL;
  unsigned count_ = 0;
};

// What the makers share: the design, the values, and the entities that later ones point to.
struct Maker {
  LumoDesign* design = nullptr;
  Values value;
  std::size_t made = 0;
  igs_transformation_matrix_entity* matrix = nullptr;
  igs_subfigure_definition_entity* figure = nullptr;
  igs_circular_arc_entity* arc = nullptr;
  igs_line_entity* lines[3] = {};
  unsigned next_line = 0;
  igs_rational_bspline_curve_entity* curves[3] = {};  // the last three, for a composite
  unsigned next_curve = 0;
  igs_composite_curve_entity* composites[2] = {};  // in model space, in parameter space
  unsigned next_composite = 0;
  igs_rational_bspline_surface_entity* surface = nullptr;
  igs_curve_on_a_parametric_surface_entity* boundary = nullptr;
  igs_general_note_entity* note = nullptr;
  igs_linear_dimension_entity* dimension = nullptr;

  // Directory fields as a CAD system sets them, each select its own object as a reader makes
  // them: a line font where the class has one, a level, a colour, a label on every third
  // entity, and every eighth geometric entity moved by the last transformation matrix.
  template <class Entity>
  Entity* styled(Entity* entity) {
    std::size_t n = made++;
    if constexpr (requires { entity->line_font(static_cast<igs_lineFont*>(nullptr)); }) {
      auto* font = new (design) igs_lineFont;
      font->_line_pattern(n % 5 == 4 ? igs_line_pattern_dashed : igs_line_pattern_solid);
      entity->line_font(font);
    }
    if constexpr (requires { entity->level(static_cast<igs_entity_level*>(nullptr)); }) {
      auto* level = new (design) igs_entity_level;
      level->_int_val(static_cast<int>(1 + n % 40));
      entity->level(level);
    }
    if constexpr (requires { entity->color(static_cast<igs_entity_color*>(nullptr)); }) {
      auto* color = new (design) igs_entity_color;
      color->_color_number(static_cast<igs_color_number>(1 + n % 8));
      entity->color(color);
    }
    if (n % 3 == 0) {
      char label[16];
      std::snprintf(label, sizeof label, "E%zu", n % 100000);
      entity->label(label);
      entity->subscript(static_cast<int>(n % 1000));
    }
    if constexpr (requires { entity->transformation(matrix); })
      if (n % 8 == 0) entity->transformation(matrix);
    return entity;
  }
};

void make_line(Maker& m) {
  auto* e = m.styled(new (m.design) igs_line_entity);
  e->x1(m.value()), e->y1(m.value()), e->z1(m.value());
  e->x2(m.value()), e->y2(m.value()), e->z2(m.value());
  m.lines[m.next_line++ % 3] = e;
}

void make_circular_arc(Maker& m) {
  auto* e = m.styled(new (m.design) igs_circular_arc_entity);
  e->zt(m.value()), e->x1(m.value()), e->y1(m.value()), e->x2(m.value()), e->y2(m.value());
  e->x3(m.value()), e->y3(m.value());
  m.arc = e;
}

void make_point(Maker& m) {
  auto* e = m.styled(new (m.design) igs_point_entity);
  e->x(m.value()), e->y(m.value()), e->z(m.value());
  if (m.made % 4 == 0) e->ptr(m.figure);
}

void make_conic_arc(Maker& m) {
  auto* e = m.styled(new (m.design) igs_conic_arc_entity);
  e->form(1);
  e->a(m.value()), e->b(m.value()), e->c(m.value()), e->d(m.value()), e->e(m.value());
  e->f(m.value()), e->zt(m.value()), e->x1(m.value()), e->y1(m.value()), e->x2(m.value());
  e->y2(m.value());
}

// Bounded by the last circular arc, or unbounded, in turn.
void make_plane(Maker& m) {
  auto* e = m.styled(new (m.design) igs_plane_entity);
  bool bounded = m.made % 2 == 0 && m.arc;
  e->form(bounded ? 1 : 0);
  e->a(m.value()), e->b(m.value()), e->c(m.value()), e->d(m.value());
  if (bounded) e->ptr(m.arc);
  e->x(m.value()), e->y(m.value()), e->z(m.value()), e->Size(m.value());
}

// A rotation about z and a shift; the geometry made after it points to it.
void make_transformation_matrix(Maker& m) {
  auto* e = new (m.design) igs_transformation_matrix_entity;
  ++m.made;
  double c = 0.6, s = 0.8;
  e->form(0);
  e->r11(c), e->r12(-s), e->r13(0.0), e->t1(m.value());
  e->r21(s), e->r22(c), e->r23(0.0), e->t2(m.value());
  e->r31(0.0), e->r32(0.0), e->r33(1.0), e->t3(m.value());
  m.matrix = e;
}

void make_flash(Maker& m) {
  auto* e = m.styled(new (m.design) igs_flash_entity);
  e->form(m.arc ? 1 : 0);
  e->x(m.value()), e->y(m.value()), e->dim1(m.value()), e->dim2(m.value()), e->rot(m.value());
  e->de(m.arc);
}

// The last three lines as its members, made dependent on it.
void make_subfigure_definition(Maker& m) {
  auto* e = m.styled(new (m.design) igs_subfigure_definition_entity);
  e->depth(0);
  char name[24];
  std::snprintf(name, sizeof name, "FIGURE%zu", m.made);
  e->name(name);
  auto* members = new (m.design) ListOfigs_directory_entry;
  for (igs_line_entity* line : m.lines) {
    if (!line) continue;
    line->subordinate(igs_subordinate_switch_physicallyDependent);
    members->add(line);
  }
  e->de(members);
  m.figure = e;
}

// Knots of a clamped B-spline: degree + 1 zeros, the inner knots evenly spaced, degree + 1 ones.
ArrayOfDouble* clamped_knots(LumoDesign* design, int k, int degree) {
  int count = k + degree + 2;
  auto* knots = new (design) ArrayOfDouble(static_cast<unsigned>(count));
  int inner = k - degree;
  for (int i = 0; i < count; ++i) {
    double knot = i <= degree               ? 0.0
                  : i >= count - degree - 1 ? 1.0
                                            : double(i - degree) / (inner + 1);
    knots->put(knot, static_cast<unsigned>(i));
  }
  return knots;
}

ArrayOfDouble* range(LumoDesign* design, double from, double to) {
  auto* values = new (design) ArrayOfDouble(2);
  values->put(from, 0).put(to, 1);
  return values;
}

igs_coordinate* point(Maker& m, bool planar) {
  auto* p = new (m.design) igs_coordinate;
  p->x(m.value()), p->y(m.value()), p->z(planar ? 0.0 : m.value());
  return p;
}

// Cubic, with 6 to 12 control points; every other one planar (a curve of a trimming loop in
// parameter space), every fourth one rational.
void make_bspline_curve(Maker& m) {
  auto* e = m.styled(new (m.design) igs_rational_bspline_curve_entity);
  bool planar = m.next_curve % 2 == 1;
  bool rational = m.next_curve % 4 == 3;
  int k = 5 + static_cast<int>(m.made % 7);
  e->form(0);
  e->m(3);
  e->prop1(planar ? igs_property1_planar : igs_property1_nonplanar);
  e->prop2(igs_property2_open);
  e->prop3(rational ? igs_property3_rational : igs_property3_polynomial);
  e->prop4(igs_property4_nonperiodic);
  e->t(clamped_knots(m.design, k, 3));
  auto* weights = new (m.design) ArrayOfDouble(static_cast<unsigned>(k + 1));
  auto* points = new (m.design) ListOfigs_coordinate(static_cast<unsigned>(k + 1));
  for (int i = 0; i <= k; ++i) {
    weights->put(rational && i % 2 ? 0.7071067811865476 : 1.0, static_cast<unsigned>(i));
    points->add(point(m, planar));
  }
  e->w(weights);
  e->control_points(points);
  e->v(range(m.design, 0.0, 1.0));
  if (planar) e->znorm(1.0);
  m.curves[m.next_curve++ % 3] = e;
}

// Bicubic, 8 by 6 control points, polynomial.
void make_bspline_surface(Maker& m) {
  auto* e = m.styled(new (m.design) igs_rational_bspline_surface_entity);
  const int k1 = 7, k2 = 5;
  e->form(0);
  e->m1(3), e->m2(3);
  e->prop1(igs_property2_open), e->prop2(igs_property2_open);
  e->prop3(igs_property3_polynomial);
  e->prop4(igs_property4_nonperiodic), e->prop5(igs_property4_nonperiodic);
  e->s(clamped_knots(m.design, k1, 3));
  e->t(clamped_knots(m.design, k2, 3));
  auto* weights = new (m.design) ListOfArrayOfDouble(k1 + 1);
  auto* points = new (m.design) ListOfListOfigs_coordinate(k1 + 1);
  for (int i = 0; i <= k1; ++i) {
    auto* row = new (m.design) ArrayOfDouble(k2 + 1);
    auto* column = new (m.design) ListOfigs_coordinate(k2 + 1);
    for (int j = 0; j <= k2; ++j) {
      row->put(1.0, static_cast<unsigned>(j));
      column->add(point(m, false));
    }
    weights->add(row);
    points->add(column);
  }
  e->w(weights);
  e->control_points(points);
  e->u(range(m.design, 0.0, 1.0));
  e->v(range(m.design, 0.0, 1.0));
  m.surface = e;
}

// The last three B-spline curves, in model space and in parameter space in turn.
void make_composite_curve(Maker& m) {
  auto* e = m.styled(new (m.design) igs_composite_curve_entity);
  auto* members = new (m.design) ListOfigs_geometric_or_connect_point(3);
  for (igs_rational_bspline_curve_entity* curve : m.curves) {
    if (!curve) continue;
    auto* member = new (m.design) igs_geometric_or_connect_point;
    member->_geometric_entity(curve);
    members->add(member);
  }
  e->de(members);
  m.composites[m.next_composite++ % 2] = e;
}

// The outer boundary of the last surface, as a composite in parameter space and one in model
// space.
void make_curve_on_surface(Maker& m) {
  auto* e = m.styled(new (m.design) igs_curve_on_a_parametric_surface_entity);
  e->subordinate(igs_subordinate_switch_physicallyDependent);
  e->crtn(igs_creationMethod_projection);
  e->sptr(m.surface);
  e->bptr(m.composites[1]);
  e->cptr(m.composites[0]);
  e->pref(1);
  m.boundary = e;
}

// The last surface bounded by the last curve on it; every other one with that curve as a hole
// as well.
void make_trimmed_surface(Maker& m) {
  auto* e = m.styled(new (m.design) igs_trimmed_parametric_surface_entity);
  e->pts(m.surface);
  e->n1(1);
  e->pto(m.boundary);
  if (m.made % 2 == 0 && m.boundary) {
    auto* holes = new (m.design) ListOfigs_curve_on_a_parametric_surface_entity(1);
    holes->add(m.boundary);
    e->pti(holes);
  }
}

// A polyline of twelve points in space.
void make_copious_data(Maker& m) {
  auto* e = m.styled(new (m.design) igs_coordinate_triples_entity);
  auto* points = new (m.design) ListOfigs_coordinate(12);
  for (int i = 0; i < 12; ++i) points->add(point(m, false));
  e->coordinates(points);
}

// A box as a B-rep solid: 8 vertices, 12 edges on the last B-spline curves, 6 loops of 4 edge
// uses, 6 faces on the last surface, a shell and the solid: 16 entities.
void make_brep_solid(Maker& m) {
  static const int kEdges[12][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6},
                                    {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};
  static const int kLoops[6][4] = {{0, 1, 2, 3},  {4, 5, 6, 7},   {0, 9, 4, 8},
                                   {1, 10, 5, 9}, {2, 11, 6, 10}, {3, 8, 7, 11}};
  auto* vertices = m.styled(new (m.design) igs_vertex_list_entity);
  auto* points = new (m.design) ListOfigs_coordinate(8);
  for (int i = 0; i < 8; ++i) points->add(point(m, false));
  vertices->vertices(points);
  auto* edges = m.styled(new (m.design) igs_edge_list_entity);
  auto* edge_data = new (m.design) ListOfigs_edge_data(12);
  for (int i = 0; i < 12; ++i) {
    auto* edge = new (m.design) igs_edge_data;
    auto* curve = new (m.design) igs_model_space_curve;
    curve->_rational_bspline_curve_entity(m.curves[i % 3]);
    edge->curv(curve);
    edge->svp(vertices), edge->sv(kEdges[i][0]);
    edge->tvp(vertices), edge->tv(kEdges[i][1]);
    edge_data->add(edge);
  }
  edges->edges(edge_data);
  auto* shell = m.styled(new (m.design) igs_shell_entity);
  shell->form(1);
  auto* faces = new (m.design) ListOfigs_face_data(6);
  for (const auto& l : kLoops) {
    auto* loop = m.styled(new (m.design) igs_loop_entity);
    auto* uses = new (m.design) ListOfigs_edge_use(4);
    for (int e : l) {
      auto* use = new (m.design) igs_edge_use;
      use->typ(igs_edge_type_edge);
      auto* list = new (m.design) igs_vertex_or_edge;
      list->_edge_list_entity(edges);
      use->edge(list), use->ndx(e), use->orf(1);
      uses->add(use);
    }
    loop->edge_tuples(uses);
    auto* face = m.styled(new (m.design) igs_face_entity);
    auto* surface = new (m.design) igs_surface_type;
    surface->_rational_bspline_surface_entity(m.surface);
    face->surf(surface), face->orf(1);
    face->loop()->add(loop);
    auto* data = new (m.design) igs_face_data;
    data->face_ptr(face), data->orf(1);
    faces->add(data);
  }
  shell->faces(faces);
  auto* solid = m.styled(new (m.design) igs_manifold_solid_brep_entity);
  solid->shell(shell), solid->sof(1);
}

igs_coordinate* at(Maker& m, double x, double y) {
  auto* c = new (m.design) igs_coordinate;
  c->x(x), c->y(y);
  return c;
}

// A note of one text string, as drawings carry them.
void make_general_note(Maker& m) {
  auto* string = new (m.design) igs_text_string;
  auto* font = new (m.design) igs_font_code;
  font->_int_val(1);
  string->fc(font);
  string->wt(12.5), string->ht(3.5);
  string->xs(m.value()), string->ys(m.value());
  string->m(igs_mirror_flag_none), string->vh(igs_rotate_flag_horizontial);
  char text[16];
  std::snprintf(text, sizeof text, "%.2f", 10.0 + static_cast<double>(m.made % 997) / 4);
  string->text(text);
  auto* note = m.styled(new (m.design) igs_general_note_entity);
  note->form(0);
  note->strings()->add(string);
  m.note = note;
}

// A linear dimension on the last note: two leaders of one segment and two witness lines of
// three points, each made for it.
void make_linear_dimension(Maker& m) {
  igs_leader_arrow_entity* arrows[2];
  igs_witness_line_entity* witnesses[2];
  for (int side = 0; side < 2; ++side) {
    double x = side == 0 ? 0.0 : 25.0;
    auto* arrow = m.styled(new (m.design) igs_leader_arrow_entity);
    arrow->form(1), arrow->ad1(3.0), arrow->ad2(1.0), arrow->xh(x), arrow->yh(10.0);
    arrow->segments()->add(at(m, side == 0 ? 8.0 : 17.0, 10.0));
    arrows[side] = arrow;
    auto* witness = m.styled(new (m.design) igs_witness_line_entity);
    witness->coordinates()->add(at(m, x, 1.0)).add(at(m, x, 2.0)).add(at(m, x, 12.0));
    witnesses[side] = witness;
  }
  auto* dimension = m.styled(new (m.design) igs_linear_dimension_entity);
  dimension->form(0), dimension->denote(m.note);
  dimension->dearrw1(arrows[0]), dimension->dearrw2(arrows[1]);
  dimension->dewit1(witnesses[0]), dimension->dewit2(witnesses[1]);
  m.dimension = dimension;
}

// A colour definition that the last line takes as its colour, a name property on that line,
// and a group of the last three lines, each line pointing back to the group.
void make_attributes(Maker& m) {
  auto* colour = m.styled(new (m.design) igs_color_definition_entity);
  colour->cc1(80.0), colour->cc2(m.value() > 0 ? 40.0 : 20.0), colour->cc3(10.0);
  colour->cname("BRONZE");
  igs_line_entity* line = m.lines[(m.next_line + 2) % 3];  // the last one made
  auto* choice = new (m.design) igs_entity_color;
  choice->_color_definition_entity(colour);
  line->color(choice);
  auto* name = m.styled(new (m.design) igs_name_entity);
  char text[16];
  std::snprintf(text, sizeof text, "EDGE%zu", m.made % 100000);
  name->name(text);
  auto* property = new (m.design) igs_properties;
  property->_property_entity(name);
  line->properties()->add(property);
  auto* group = m.styled(new (m.design) igs_group_entity);
  for (igs_line_entity* member : m.lines) {
    group->de()->add(member);
    auto* back = new (m.design) igs_associativities;
    back->_associativity_entity(group);
    member->associations()->add(back);
  }
}

// A block less a bore, as a Boolean tree.
void make_csg_solid(Maker& m) {
  auto* block = m.styled(new (m.design) igs_block_entity);
  block->lx(80.0), block->ly(40.0), block->lz(m.value() > 0 ? 20.0 : 12.5);
  block->i1(1.0), block->k2(1.0);
  auto* bore = m.styled(new (m.design) igs_right_circular_cylinder_entity);
  bore->h(20.0), bore->r(5.0), bore->x1(40.0), bore->y1(20.0), bore->k1(1.0);
  auto* tree = m.styled(new (m.design) igs_boolean_tree_entity);
  auto* first = new (m.design) igs_boolean_ops;
  first->_constructive_solid_geometry_entity(block);
  auto* second = new (m.design) igs_boolean_ops;
  second->_constructive_solid_geometry_entity(bore);
  auto* code = new (m.design) igs_boolean_ops;
  code->_boolean_op_code(igs_boolean_op_code_difference);
  tree->operands()->add(first).add(second).add(code);
}

// Four nodes, a quadrilateral on them and the displacements of its nodes.
void make_finite_elements(Maker& m) {
  auto* corners = new (m.design) ArrayOfigs_node_entity(4);
  auto* results = m.styled(new (m.design) igs_nodal_results_entity);
  for (unsigned i = 0; i < 4; ++i) {
    auto* node = m.styled(new (m.design) igs_node_entity);
    node->x(m.value()), node->y(m.value()), node->z(0.0);
    corners->put(node, i);
    auto* result = new (m.design) igs_analysis_result;
    result->np(node);
    auto* v = new (m.design) ArrayOfDouble(3);
    v->put(m.value(), 0).put(m.value(), 1).put(m.value(), 2);
    result->v(v);
    results->results()->add(result);
  }
  auto* element = m.styled(new (m.design) igs_finite_element_entity);
  element->itop(igs_topology_type_LQUAD), element->de(corners), element->etyp("PLATE");
  results->form(1), results->gnote(m.note), results->scn(1), results->nv(3);
}

// An attribute table of a name and a count, and a tuple of it.
void make_attribute_table(Maker& m) {
  auto* table = m.styled(new (m.design) igs_attribute_table_definition_entity);
  table->form(1), table->name("PART_DATA");
  for (auto [type, value] : {std::pair{igs_variable_character_string, 0}, {igs_variable_int, 7}}) {
    auto* attribute = new (m.design) igs_attribute_definition;
    attribute->at(static_cast<int>(table->attribute_list()->size()) + 1);
    attribute->avdt(type), attribute->avc(1);
    auto* datum = new (m.design) igs_datum;
    if (type == igs_variable_int)
      datum->_int_val(value);
    else
      datum->_str_val("DEFAULT");
    auto* values = new (m.design) ListOfigs_datum;
    values->add(datum);
    attribute->av(values);
    table->attribute_list()->add(attribute);
  }
  auto* tuple = m.styled(new (m.design) igs_tuple_instance_entity);
  tuple->structure(table);
  auto* name = new (m.design) igs_datum;
  name->_str_val("BRACKET");
  auto* count = new (m.design) igs_datum;
  count->_int_val(static_cast<int>(m.made % 50));
  auto* names = new (m.design) ListOfigs_datum;
  names->add(name);
  auto* counts = new (m.design) ListOfigs_datum;
  counts->add(count);
  tuple->av()->add(names).add(counts);
}

// A view and a drawing that shows it, holding the last dimension.
void make_drawing(Maker& m) {
  auto* view = m.styled(new (m.design) igs_view_volume_entity);
  view->vno(1), view->scale(0.5);
  auto* drawing = m.styled(new (m.design) igs_drawing_entity);
  drawing->form(0);
  auto* placed = new (m.design) igs_view;
  placed->vptr(view), placed->xorigin(100.0), placed->yorigin(80.0);
  drawing->views()->add(placed);
  drawing->dptr()->add(m.dimension);
}

// The kinds, with how many of each a group of entities holds. A new kind with parameter code
// joins the model with one maker and one row here. The free-form geometry comes in the shares
// of trimmed-surface files: curves, their composites, surfaces and their trimming.
struct Kind {
  const char* name;
  unsigned per_group;
  void (*make)(Maker&);
};

constexpr Kind kKinds[] = {
    {"transformation matrix", 1, make_transformation_matrix},
    {"line", 6, make_line},
    {"circular arc", 4, make_circular_arc},
    {"point", 3, make_point},
    {"conic arc", 1, make_conic_arc},
    {"plane", 1, make_plane},
    {"flash", 1, make_flash},
    {"subfigure definition", 1, make_subfigure_definition},
    {"rational B-spline curve", 12, make_bspline_curve},
    {"composite curve", 4, make_composite_curve},
    {"rational B-spline surface", 2, make_bspline_surface},
    {"curve on a parametric surface", 2, make_curve_on_surface},
    {"trimmed surface", 2, make_trimmed_surface},
    {"copious data", 1, make_copious_data},
    {"B-rep solid", 1, make_brep_solid},
    {"general note", 2, make_general_note},
    {"linear dimension", 1, make_linear_dimension},
    {"colour, name and group", 1, make_attributes},
    {"constructive solid", 1, make_csg_solid},
    {"finite elements", 1, make_finite_elements},
    {"attribute table", 1, make_attribute_table},
    {"drawing", 1, make_drawing},
};

}  // namespace

std::vector<std::string> generated_kinds() {
  std::vector<std::string> names;
  for (const Kind& kind : kKinds) names.emplace_back(kind.name);
  return names;
}

GeneratedModel generate_model(std::size_t entities) {
  igeslib_force_load();
  GeneratedModel model;
  model.design = LUMO.newDesign("generated", nullptr);
  LumoDesign* before = LUMO.design();
  LUMO.useDesign(model.design);
  model.file = new (model.design) igs_iges_file;
  model.file->start_section()->add("A model generated by igeslib-bench: every entity kind that");
  model.file->start_section()->add("has parameter code, in a fixed mix.");
  auto* global = new (model.design) igs_global;
  global->product_identification_sender("generated");
  global->file_name("generated.igs");
  global->system_id("igeslib");
  global->preprocessor_version("igeslib-bench");
  global->number_of_binary_bits(32);
  global->single_precision_magnitude(38);
  global->single_precision_significance(7);
  global->double_precision_magnitude(308);
  global->double_precision_significance(15);
  global->model_space_scale(1.0);
  global->unit_flag(igs_unitFlag_millimeters);
  global->units("MM");
  global->max_num_line_weight_gradations(1);
  global->width_max_line_weight(0.5);
  global->date_time_file_generation("20260101.120000");
  global->min_resolution(0.001);
  global->max_coordinate_value(1000.0);
  global->author("igeslib");
  global->organization("igeslib project");
  global->date_time_created_modified("20260101.120000");
  model.file->global_section(global);

  Maker maker;
  maker.design = model.design;
  while (maker.made < entities)
    for (const Kind& kind : kKinds)
      for (unsigned i = 0; i < kind.per_group; ++i) kind.make(maker);
  model.entities = maker.made;
  LUMO.useDesign(before);
  return model;
}

void release_model(GeneratedModel& model) {
  if (!model.design) return;
  if (LUMO.design() == model.design) LUMO.useDesign(nullptr);
  delete model.design;
  model = GeneratedModel{};
}

bool write_model(const GeneratedModel& model, const std::string& path) {
  LumoDesign* before = LUMO.design();
  LUMO.useDesign(model.design);
  bool written = model.file->write(path.c_str(), 1) != nullptr;
  LUMO.useDesign(before);
  return written;
}

std::size_t entities_for_size(double bytes, const std::string& scratch_path) {
  GeneratedModel sample = generate_model(20000);
  bool written = write_model(sample, scratch_path);
  std::size_t made = sample.entities;
  release_model(sample);
  std::error_code error;
  auto size = written ? std::filesystem::file_size(scratch_path, error) : 0;
  std::filesystem::remove(scratch_path, error);
  if (!written || size == 0) return 0;
  return static_cast<std::size_t>(bytes / (static_cast<double>(size) / made)) + 1;
}
