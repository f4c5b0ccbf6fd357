// Parameter data of the definition entities.
#include "../igeslib_parameters.h"

// 308: depth, name, then a counted list of pointers to the subfigure's members.
void igs_subfigure_definition_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  depth(io->read_int());
  name(io->read_string());
  int n = io->count(io->read_int());
  auto* members = new (LUMO.design()) ListOfigs_directory_entry(io->capacity_hint(n));
  de(members);
  for (int i = 0; i < n; ++i) members->add(igeslib_read_list_pointer<igs_directory_entry>(io));
}

// A member that names no entity is left out, from the count as well: written as 0 it would
// come back as the first entity of the file.
void igs_subfigure_definition_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  io->write_int(depth());
  io->write_string(name());
  ListOfigs_directory_entry* members = de();
  unsigned size = members ? members->size() : 0;
  int present = 0;
  for (unsigned i = 0; i < size; ++i) present += (*members)[i] != nullptr;
  io->write_int(present);
  for (unsigned i = 0; i < size; ++i)
    if (igs_directory_entry* member = (*members)[i]) igeslib_write_pointer(io, member);
}
