// The hand-written step of the network subfigure instance.
#include "../igeslib_parameters.h"

// Its definition is a network subfigure definition or an external reference; a pointer to
// anything else leaves no select at all, and 0 none either.
void igs_network_subfigure_instance_entity::pdread_de(IgeslibIO* io) {
  int n = io->read_int();
  igs_directory_entry* named = n ? igeslib_file_entity(n) : nullptr;
  if (!lumo_cast<igs_network_subfigure_definition_entity>(named) &&
      !lumo_cast<igs_external_reference_entity>(named)) {
    if (n) igeslib_note_pointer(io, n, nullptr, {"de", &lumotype_igs_definition_reference});
    return;
  }
  igeslib_note_pointer(io, n, named, {"de", &lumotype_igs_definition_reference});
  auto* reference = new (LUMO.design()) igs_definition_reference;
  reference->choose_entity(named);
  de(reference);
}

void igs_network_subfigure_instance_entity::pdwrite_de(IgeslibIO* io) {
  igeslib_write_pointer(io, igeslib_select_entity(de()));
}
