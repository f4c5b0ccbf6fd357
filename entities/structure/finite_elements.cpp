// The hand-written parameter data of the finite element model.
#include "../igeslib_parameters.h"

// 146: each result's node number is read and dropped (the node's own subscript stands for it),
// and holds as many values as the entity's nv says.
void igs_nodal_results_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  gnote(igeslib_read_pointer<igs_general_note_entity>(io));
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
    result->np(igeslib_read_pointer<igs_node_entity>(io));
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
