// Helpers of the parameter code of entity classes: pointer parameters and plain runs of reals,
// read from and written to the filer of the run under way.
#pragma once

#include <cstddef>

#include "igeslib.h"
#include "igeslib_io.h"

// The entity that DE pointer n names among the entities of the file being read, (n - 1) / 2
// in directory order; null when it names none. 0 names the first entity.
inline igs_directory_entry* igeslib_file_entity(int n) {
  LumoDesign* design = LUMO.design();
  auto* file = design ? lumo_cast<igs_iges_file>(design->rootObject()) : nullptr;
  return file ? igeslib_entity_at(file->directory_entries(), n) : nullptr;
}

// A single pointer parameter: 0 is no entity, and so is one that names nothing or an entity
// of another class than X.
template <class X>
X* igeslib_read_pointer(IgeslibIO* io) {
  int n = io->read_int();
  return n == 0 ? nullptr : lumo_cast<X>(igeslib_file_entity(n));
}

// A pointer that is a member of a counted list: there is no test for 0, so 0 names the first
// entity of the file.
template <class X>
X* igeslib_read_list_pointer(IgeslibIO* io) {
  return lumo_cast<X>(igeslib_file_entity(io->read_int()));
}

// The DE number that the write has given the target, or 0 for none.
inline void igeslib_write_pointer(IgeslibIO* io, igs_directory_entry* target) {
  io->write_int(target ? target->de_number : 0);
}

// A run of reals in file order, stated once for both directions as the entity's fields.
template <class E, std::size_t N>
using igeslib_real_run = double E::*const (&)[N];

template <class E, std::size_t N>
void igeslib_read_reals(IgeslibIO* io, E* entity, igeslib_real_run<E, N> fields) {
  for (double E::*field : fields) lumo_update_prim(entity, &(entity->*field), io->read_real());
}

template <class E, std::size_t N>
void igeslib_write_reals(IgeslibIO* io, E* entity, igeslib_real_run<E, N> fields) {
  for (double E::*field : fields) io->write_real(entity->*field);
}
