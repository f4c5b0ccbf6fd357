// The hand-written steps of the property entities.
#include "../igeslib_parameters.h"

// The nominal size's specification name stands behind the other two only when the stored
// count says three; it is read and written then alone.
void igs_nominal_size_entity::pdread_sp(IgeslibIO* io) {
  if (np_ == 3) sp(io->read_string());
}

void igs_nominal_size_entity::pdwrite_sp(IgeslibIO* io) {
  if (np_ == 3) io->write_string(sp());
}

namespace {

ListOfigs_directory_entry* file_entities() {
  LumoDesign* design = LUMO.design();
  auto* file = design ? lumo_cast<igs_iges_file>(design->rootObject()) : nullptr;
  return file ? file->directory_entries() : nullptr;
}

}  // namespace

// Form 27: each value behind the type code that tells its kind. A code of no kind reads nothing
// more and leaves an unset datum in its place; the next parameter is then the next code.
void igs_generic_data_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  np(io->read_int());
  name(io->read_string());
  int n = io->count(io->read_int());
  auto* list = igeslib_new_list<ListOfigs_datum>(n);
  if (list) values(list);
  for (int i = 0; i < n; ++i) {
    auto* value = new (LUMO.design()) igs_datum;
    switch (io->read_int()) {
      case 1:
        value->_int_val(io->read_int());
        break;
      case 2:
        value->_float_val(io->read_real());
        break;
      case 3:
        value->_str_val(io->read_string());
        break;
      case 4:
        value->_directory_entry(igeslib_read_list_pointer<igs_directory_entry>(io));
        break;
      case 6:
        value->_bool_val(io->read_logical());
        break;
      default:
        break;
    }
    list->add(value);
  }
}

// The code comes from the datum's choice; an unset datum writes neither code nor value while
// the count still counts it.
void igs_generic_data_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  io->write_int(np());
  io->write_string(name());
  ListOfigs_datum* list = values_ ? values() : nullptr;
  unsigned n = list ? list->size() : 0;
  io->write_int(static_cast<int>(n));
  for (unsigned i = 0; i < n; ++i) {
    igs_datum* value = (*list)[i];
    if (!value) continue;
    if (value->is_int_val()) {
      io->write_int(1);
      io->write_int(value->_int_val());
    } else if (value->is_float_val()) {
      io->write_int(2);
      io->write_real(value->_float_val());
    } else if (value->is_str_val()) {
      io->write_int(3);
      io->write_string(value->_str_val());
    } else if (value->is_directory_entry()) {
      io->write_int(4);
      igeslib_write_pointer(io, value->_directory_entry());
    } else if (value->is_bool_val()) {
      io->write_int(6);
      io->write_logical(value->_bool_val());
    }
  }
}

// Forms without a class of their own: each value's kind is told by the text of its parameter
// (a point makes a real, an H a string, digits an integer).
void igs_user_defined_property_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  int n = io->count(io->read_int());
  auto* list = igeslib_new_list<ListOfigs_datum>(n);
  if (list) variables(list);
  ListOfigs_directory_entry* entities = file_entities();
  for (int i = 0; i < n; ++i) io->read_datum(list, io->determine_parameterData_type(2), entities);
}

// Integers, strings and reals are written; a datum of any other kind writes nothing, while the
// count still counts it.
void igs_user_defined_property_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_datum* list = variables_ ? variables() : nullptr;
  unsigned n = list ? list->size() : 0;
  io->write_int(static_cast<int>(n));
  for (unsigned i = 0; i < n; ++i) {
    igs_datum* value = (*list)[i];
    if (!value) continue;
    if (value->is_int_val())
      io->write_int(value->_int_val());
    else if (value->is_str_val())
      io->write_string(value->_str_val());
    else if (value->is_float_val())
      io->write_real(value->_float_val());
  }
}
