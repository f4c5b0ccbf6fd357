// The hand-written step of the network subfigure instance.
#include "../igeslib_parameters.h"

// Its definition is a network subfigure definition or an external reference; a pointer to
// anything else leaves no select at all, and 0 none either.
void igs_network_subfigure_instance_entity::pdread_de(IgeslibIO* io) {
  igs_directory_entry* named = igeslib_read_pointer<igs_directory_entry>(io);
  if (!lumo_cast<igs_network_subfigure_definition_entity>(named) &&
      !lumo_cast<igs_external_reference_entity>(named))
    return;
  auto* reference = new (LUMO.design()) igs_definition_reference;
  reference->choose_entity(named);
  de(reference);
}

void igs_network_subfigure_instance_entity::pdwrite_de(IgeslibIO* io) {
  igeslib_write_pointer(io, igeslib_select_entity(de()));
}
