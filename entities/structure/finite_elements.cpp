// The hand-written parameter data of the finite element model.
#include "../igeslib_parameters.h"

// 146: each result's node number is read and dropped (the node's own subscript stands for it),
// and holds as many values as the entity's nv says.
void igs_nodal_results_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  gnote(igeslib_read_pointer<igs_general_note_entity>(
      io, {"gnote", &lumotype_igs_general_note_entity}));
  scn(io->read_int());
  time(io->read_real());
  nv(io->read_int());
  int n = io->count(io->read_int());
  int values = io->count(nv_);
  auto* list = igeslib_new_list<ListOfigs_analysis_result>(n);
  if (list) results(list);
  for (int i = 0; i < n; ++i) {
    auto* result = new (LUMO.design()) igs_analysis_result;
    io->read_int();
    result->np(igeslib_read_pointer<igs_node_entity>(
        io, {"results[].np", &lumotype_igs_node_entity, {i, -1}}));
    result->v(igeslib_read_real_array(io, values));
    list->add(result);
  }
}

// A result without a node writes 0 for its number as for its pointer; missing values as 0.
void igs_nodal_results_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  igeslib_write_pointer(io, gnote());
  io->write_int(scn());
  io->write_real(time());
  io->write_int(nv());
  ListOfigs_analysis_result* list = results_ ? results() : nullptr;
  io->write_int(igeslib_count_items(list, [](auto* result) { return result != nullptr; }));
  for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i) {
    igs_analysis_result* result = (*list)[i];
    if (!result) continue;
    io->write_int(result->node());
    igeslib_write_pointer(io, result->np());
    for (int j = 0; j < nv_; ++j) io->write_real(igeslib_real_at(result->v(), j));
  }
}

// 138: each node's number (read and dropped: the node's subscript stands for it) and node, then
// for each load case, as many as there are notes, a translation and a rotation, interleaved.
void igs_nodal_displacement_and_rotation_entity::pdread_node_cases(IgeslibIO* io) {
  int cases = gp_ ? static_cast<int>(gp_->size()) : 0;
  int n = io->count(io->read_int());
  auto* list = igeslib_new_list<ListOfigs_node_case>(n);
  if (list) node_cases(list);
  for (int i = 0; i < n; ++i) {
    auto* node = new (LUMO.design()) igs_node_case;
    io->read_int();
    node->np(igeslib_read_pointer<igs_node_entity>(
        io, {"node_cases[].np", &lumotype_igs_node_entity, {i, -1}}));
    auto* translation = new (LUMO.design()) ListOfigs_coordinate(igeslib_reserve(cases));
    auto* rotation = new (LUMO.design()) ListOfigs_coordinate(igeslib_reserve(cases));
    node->translation(translation);
    node->rotation(rotation);
    for (int c = 0; c < cases; ++c) {
      translation->add(igeslib_read_coordinate(io));
      rotation->add(igeslib_read_coordinate(io));
    }
    list->add(node);
  }
}

// The writer leaves out the node number that the reader drops, so that its record reads back
// one parameter out of step: the two sides differ on purpose. A load case whose note was left
// out of the count (it names no note) leaves its triples out with it.
void igs_nodal_displacement_and_rotation_entity::pdwrite_node_cases(IgeslibIO* io) {
  ListOfigs_general_note_entity* notes = gp_;
  unsigned cases = notes ? notes->size() : 0;
  ListOfigs_node_case* list = node_cases_;
  io->write_int(igeslib_count_items(list, [](auto* node) { return node != nullptr; }));
  for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i) {
    igs_node_case* node = (*list)[i];
    if (!node) continue;
    igeslib_write_pointer(io, node->np());
    for (unsigned c = 0; c < cases; ++c) {
      if (!(*notes)[c]) continue;
      igeslib_write_coordinate(io, node->translation_ ? (*node->translation_)[c] : nullptr);
      igeslib_write_coordinate(io, node->rotation_ ? (*node->rotation_)[c] : nullptr);
    }
  }
}

// 148: each element's values, for each report location and each layer, as many as the
// entity's nv says; the element's own count numv is kept but bounds nothing.
void igs_element_results_entity::pdread_v(IgeslibIO* io, igs_fem_element* item) {
  int locations = item->rdrl_ ? static_cast<int>(item->rdrl_->size()) : 0;
  int layers = io->count(item->nl());
  int values = io->count(nv_);
  // Layers of no values read nothing: their number is bounded as the values would be.
  igeslib_count(io, static_cast<long long>(locations) * layers);
  auto* v = new (LUMO.design()) ListOfListOfArrayOfDouble(igeslib_reserve(locations));
  item->v(v);
  for (int l = 0; l < locations; ++l) {
    auto* location = new (LUMO.design()) ListOfArrayOfDouble(igeslib_reserve(layers));
    v->add(location);
    for (int k = 0; k < layers; ++k) location->add(igeslib_read_real_array(io, values));
  }
}

void igs_element_results_entity::pdwrite_v(IgeslibIO* io, igs_fem_element* item) {
  ListOfListOfArrayOfDouble* v = item->v_;
  for (unsigned l = 0, locations = item->rdrl_ ? item->rdrl_->size() : 0; l < locations; ++l) {
    ListOfArrayOfDouble* location = v ? (*v)[l] : nullptr;
    for (int k = 0, layers = item->nl(); k < layers; ++k) {
      ArrayOfDouble* values = location ? (*location)[static_cast<unsigned>(k)] : nullptr;
      for (int j = 0; j < nv_; ++j) io->write_real(igeslib_real_at(values, j));
    }
  }
}
