// Parameter data of the loop: its edge uses name an edge or a vertex list by the type that
// stands before the pointer, not by what the pointer names.
#include "../igeslib_parameters.h"

// Each edge use: type, list, index from 1, orientation, and its parameter-space curves. A list
// of the other kind than the type says is kept as a null member of the type's choice.
void igs_loop_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  int n = io->count(io->read_int());
  auto* uses = igeslib_new_list<ListOfigs_edge_use>(n);
  if (uses) edge_tuples(uses);
  for (int i = 0; i < n; ++i) {
    auto* use = new (LUMO.design()) igs_edge_use;
    igeslib_read_code(io, [&](int code) { return use->typ(code); },
                      {"edge_tuples[].typ", &lumotype_igs_edge_type, {i, -1}});
    auto* list = new (LUMO.design()) igs_vertex_or_edge;
    int p = io->read_int();
    igs_directory_entry* named = igeslib_file_entity(p);
    if (use->typ() == igs_edge_type_edge)
      list->_edge_list_entity(lumo_cast<igs_edge_list_entity>(named));
    else
      list->_vertex_list_entity(lumo_cast<igs_vertex_list_entity>(named));
    // The list is named by the type before it: a list of the other kind is a fault.
    igeslib_note_pointer(io, p, list->entity(),
                         {"edge_tuples[].edge",
                          use->typ() == igs_edge_type_edge ? &lumotype_igs_edge_list_entity
                                                           : &lumotype_igs_vertex_list_entity,
                          {i, -1}});
    use->edge(list);
    use->ndx(io->read_int() - 1);
    use->orf(io->read_logical());
    int k = io->count(io->read_int());
    if (auto* curves = igeslib_new_list<ListOfigs_space_curve>(k)) {
      use->curves(curves);
      for (int j = 0; j < k; ++j) {
        auto* curve = new (LUMO.design()) igs_space_curve;
        curve->isop(io->read_logical());
        curve->curv(igeslib_read_select<igs_model_space_curve>(
            io, false, {"edge_tuples[].curves[].curv", &lumotype_igs_model_space_curve, {i, j}}));
        curves->add(curve);
      }
    }
    uses->add(use);
  }
}

// A list or curve that names no entity is written as 0; a missing edge use or curve is left
// out, count and all.
void igs_loop_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_edge_use* uses = edge_tuples_ ? edge_tuples() : nullptr;
  io->write_int(igeslib_count_items(uses, [](igs_edge_use* use) { return use != nullptr; }));
  for (unsigned i = 0, n = uses ? uses->size() : 0; i < n; ++i) {
    igs_edge_use* use = (*uses)[i];
    if (!use) continue;
    io->write_int(static_cast<int>(use->typ()));
    igeslib_write_pointer(io, igeslib_select_entity(use->edge()));
    io->write_int(use->ndx() + 1);
    io->write_logical(use->orf());
    ListOfigs_space_curve* curves = use->curves_ ? use->curves() : nullptr;
    auto present = [](igs_space_curve* curve) { return curve != nullptr; };
    io->write_int(igeslib_count_items(curves, present));
    for (unsigned j = 0, k = curves ? curves->size() : 0; j < k; ++j) {
      igs_space_curve* curve = (*curves)[j];
      if (!curve) continue;
      io->write_logical(curve->isop());
      igeslib_write_pointer(io, igeslib_select_entity(curve->curv()));
    }
  }
}
