// make_fem OUT: builds a small finite element model in code and writes it as an IGES file.
//
// A square plate of 100 x 100 mm meshed on a 3 x 3 grid of nodes: three four-node
// quadrilaterals and two triangles, with two beams stiffening its top edge. Its left edge is
// held, its top right corner carries a load of 1 kN downwards (each a nodal load/constraint
// with its tabular data), and the analysis of that load case is kept as nodal displacements
// (a nodal results entity) and element stresses (an element results entity), both under a
// note that names the case. Everything written is fixed, so the file is the same on every run
// (examples/data/fem_part.igs).
#include "example_file.h"

namespace {

LumoDesign* design = nullptr;

constexpr int kNodes = 9;

// A colour select, as a reader makes one for a colour number of the Directory Entry: the file
// then reads back to objects that write the same bytes.
igs_entity_color* colour(igs_color_number number) {
  auto* color = new (design) igs_entity_color;
  color->_color_number(number);
  return color;
}

igs_entity_level* level(int number) {
  auto* on = new (design) igs_entity_level;
  on->_int_val(number);
  return on;
}

// Node n (1 to 9) of the grid, numbered row by row from the lower left corner; its number is
// its subscript.
igs_node_entity* nodes[kNodes + 1];

void build_nodes() {
  for (int n = 1; n <= kNodes; ++n) {
    auto* node = new (design) igs_node_entity;
    node->x(50.0 * ((n - 1) % 3));
    node->y(50.0 * ((n - 1) / 3));
    node->subscript(n);
    node->label("NODE");
    node->color(colour(igs_color_number_green));
    nodes[n] = node;
  }
}

igs_finite_element_entity* element(igs_topology_type topology, const char* type,
                                   std::initializer_list<int> corners, int number) {
  auto* fem = new (design) igs_finite_element_entity;
  fem->itop(topology);
  auto* on = new (design) ArrayOfigs_node_entity(static_cast<unsigned>(corners.size()));
  unsigned i = 0;
  for (int n : corners) on->put(nodes[n], i++);
  fem->de(on);
  fem->etyp(type);
  fem->label("ELEMENT");
  fem->color(colour(igs_color_number_blue));
  auto* font = new (design) igs_lineFont;
  font->_line_pattern(igs_line_pattern_solid);
  fem->line_font(font);
  fem->subscript(number);
  return fem;
}

// A tabular data property of constant values (no independent variables): its count is the
// three leading parameters and the values.
igs_tabular_data_entity* table(igs_property_type type, std::initializer_list<double> values) {
  auto* data = new (design) igs_tabular_data_entity;
  auto* dependent = new (design) ArrayOfDouble(static_cast<unsigned>(values.size()));
  unsigned i = 0;
  for (double v : values) dependent->put(v, i++);
  data->np(3 + static_cast<int>(values.size()));
  data->ptype(type);
  data->vald(dependent);
  data->level(level(0));
  return data;
}

void constrain(int node, int type, igs_tabular_data_entity* data) {
  auto* constraint = new (design) igs_nodal_load_constraint_entity;
  constraint->ctype(type);
  constraint->de(nodes[node]);
  constraint->ptr()->add(data);
}

igs_general_note_entity* note(const char* text) {
  auto* string = new (design) igs_text_string;
  auto* font = new (design) igs_font_code;
  font->_int_val(1);
  string->fc(font);
  string->wt(60.0), string->ht(5.0);
  string->xs(0.0), string->ys(-20.0);
  string->m(igs_mirror_flag_none);
  string->vh(igs_rotate_flag_horizontial);
  string->text(text);
  auto* n = new (design) igs_general_note_entity;
  n->form(0);
  n->level(level(0));
  n->color(colour(igs_color_number_undefined));
  n->strings()->add(string);
  return n;
}

void build_model() {
  build_nodes();
  igs_finite_element_entity* elements[] = {
      element(igs_topology_type_LQUAD, "PLATE", {1, 2, 5, 4}, 1),
      element(igs_topology_type_LQUAD, "PLATE", {2, 3, 6, 5}, 2),
      element(igs_topology_type_LTRIA, "PLATE", {4, 5, 7}, 3),
      element(igs_topology_type_LTRIA, "PLATE", {5, 8, 7}, 4),
      element(igs_topology_type_LQUAD, "PLATE", {5, 6, 9, 8}, 5),
      element(igs_topology_type_BEAM, "STIFFENER", {7, 8}, 6),
      element(igs_topology_type_BEAM, "STIFFENER", {8, 9}, 7),
  };

  // The left edge held in all six freedoms; the corner loaded by Fz = -1000 N.
  igs_tabular_data_entity* held =
      table(igs_property_type_nodal_load_constraint, {0.0, 0.0, 0.0, 0.0, 0.0, 0.0});
  for (int n : {1, 4, 7}) constrain(n, 2, held);
  constrain(9, 1, table(igs_property_type_nodal_load_constraint, {0.0, 0.0, -1000.0}));

  igs_general_note_entity* title = note("LOAD CASE 1: CORNER LOAD");

  // Displacements (x, y, z in mm) of every node.
  auto* displacements = new (design) igs_nodal_results_entity;
  displacements->form(1);
  displacements->gnote(title);
  displacements->color(colour(igs_color_number_undefined));
  displacements->scn(1);
  displacements->nv(3);
  for (int n = 1; n <= kNodes; ++n) {
    auto* result = new (design) igs_analysis_result;
    result->np(nodes[n]);
    auto* v = new (design) ArrayOfDouble(3);
    double column = (n - 1) % 3, row = (n - 1) / 3;
    v->put(0.0, 0).put(0.0, 1).put(-0.125 * column * (1.0 + 0.5 * row), 2);
    result->v(v);
    displacements->results()->add(result);
  }

  // The von Mises stress (MPa) at each element's centroid, one layer each.
  auto* stresses = new (design) igs_element_results_entity;
  stresses->form(14);
  stresses->gnote(title);
  stresses->color(colour(igs_color_number_undefined));
  stresses->scn(1);
  stresses->nv(1);
  stresses->rrf(igs_results_reporting_flag_centriod);
  const double stress[] = {42.5, 18.25, 36.0, 24.5, 12.75, 60.0, 31.5};
  int number = 0;
  for (igs_finite_element_entity* fem : elements) {
    auto* result = new (design) igs_fem_element;
    result->en(number + 1);
    result->ep(fem);
    result->itop(fem->itop());
    result->nl(1);
    result->dlf(igs_data_layer_flag_unspecified);
    auto* locations = new (design) ArrayOfInteger(1);
    locations->put(0, 0);
    result->rdrl(locations);
    result->numv(1);
    auto* value = new (design) ArrayOfDouble(1);
    value->put(stress[number], 0);
    auto* layers = new (design) ListOfArrayOfDouble(1);
    layers->add(value);
    result->v()->add(layers);
    stresses->fem_elements()->add(result);
    ++number;
  }
}

}  // namespace

int main(int argc, char** argv) {
  return igeslib_example_main(argc, argv, "make_fem", "fem_part",
                              {"A finite element model built by igeslib's make_fem example."},
                              [](LumoDesign* d, igs_global*) {
                                design = d;
                                build_model();
                              });
}
