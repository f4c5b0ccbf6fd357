// The hand-written steps of the property entities.
#include "../igeslib_parameters.h"

// The nominal size's standard name (sp) stands behind the other two only when the stored
// count says three; it is read and written then alone.
void igs_nominal_size_entity::pdread_sp(IgeslibIO* io) {
  if (np_ == 3) sp(io->read_string());
}

void igs_nominal_size_entity::pdwrite_sp(IgeslibIO* io) {
  if (np_ == 3) io->write_string(sp());
}

bool igeslib_read_coded_value(IgeslibIO* io, igs_datum* datum, int code) {
  switch (code) {
    case 1:
      datum->_int_val(io->read_int());
      return true;
    case 2:
      datum->_float_val(io->read_real());
      return true;
    case 3:
      datum->_str_val(io->read_string());
      return true;
    case 4:
      datum->_directory_entry(igeslib_read_list_pointer<igs_directory_entry>(
          io, {"value", &lumotype_igs_directory_entry}));
      return true;
    case 6:
      datum->_bool_val(io->read_logical());
      return true;
    default:
      return false;
  }
}

bool igeslib_write_coded_value(IgeslibIO* io, igs_datum* datum, int code) {
  switch (code) {
    case 1:
      io->write_int(datum && datum->is_int_val() ? datum->_int_val() : 0);
      return true;
    case 2:
      io->write_real(datum && datum->is_float_val() ? datum->_float_val() : 0.0);
      return true;
    case 3:
      io->write_string(datum && datum->is_str_val() ? datum->_str_val() : nullptr);
      return true;
    case 4:
      igeslib_write_pointer(
          io, datum && datum->is_directory_entry() ? datum->_directory_entry() : nullptr);
      return true;
    case 6:
      io->write_logical(datum && datum->is_bool_val() ? datum->_bool_val() : 0);
      return true;
    default:
      return false;
  }
}

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
    igeslib_read_coded_value(io, value, io->read_int());
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
    int code = value->is_int_val()           ? 1
               : value->is_float_val()       ? 2
               : value->is_str_val()         ? 3
               : value->is_directory_entry() ? 4
               : value->is_bool_val()        ? 6
                                             : 0;
    if (code == 0) continue;
    io->write_int(code);
    igeslib_write_coded_value(io, value, code);
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
  ListOfigs_directory_entry* entities = igeslib_file_entities();
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

// Form 11: the count of independent variables (NI) is no member; when it is 0 the arrays of
// the variables are neither read nor replaced. The count of dependent values is not in the
// record: it is what the file's np leaves after the other parameters.
void igs_tabular_data_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  np(io->read_int());
  ptype(io->read_int());
  nd(io->read_int());
  int variables = io->count(io->read_int());
  long long others = 3;
  if (variables != 0) {
    auto* types = new (LUMO.design()) ArrayOfigs_variable_type(igeslib_reserve(variables));
    for (int i = 0; i < variables; ++i) types->_put(io->read_int(), static_cast<unsigned>(i));
    auto* counts = new (LUMO.design()) ArrayOfInteger(igeslib_reserve(variables));
    for (int i = 0; i < variables; ++i) counts->put(io->read_int(), static_cast<unsigned>(i));
    // Every count is checked before the arrays are kept: an entity given up on for a count
    // past what the file holds is not written with it.
    for (int i = 0; i < variables; ++i) io->count((*counts)[static_cast<unsigned>(i)]);
    typi(types);
    nvali(counts);
    auto* values = new (LUMO.design()) ListOfArrayOfDouble(igeslib_reserve(variables));
    vali(values);
    others += 2LL * variables;
    for (int i = 0; i < variables; ++i) {
      int n = (*counts)[static_cast<unsigned>(i)];
      others += n;
      values->add(igeslib_read_real_array(io, n));
    }
  }
  vald(igeslib_read_real_array(io, igeslib_count(io, np_ - others)));
}

// Written as stored: np is not recomputed, so a table changed after reading keeps its count.
// The arrays of the variables are written as many as typi holds, each of its nvali reals.
void igs_tabular_data_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  io->write_int(np());
  io->write_int(static_cast<int>(ptype()));
  io->write_int(nd());
  ArrayOfigs_variable_type* types = typi_;
  unsigned variables = types ? types->size() : 0;
  io->write_int(static_cast<int>(variables));
  for (unsigned i = 0; i < variables; ++i) io->write_int(static_cast<int>(types->_element(i)));
  for (unsigned i = 0; i < variables; ++i) io->write_int(nvali_ ? (*nvali_)[i] : 0);
  for (unsigned i = 0; i < variables; ++i) {
    ArrayOfDouble* values = vali_ ? (*vali_)[i] : nullptr;
    for (int j = 0, n = nvali_ ? (*nvali_)[i] : 0; j < n; ++j)
      io->write_real(igeslib_real_at(values, j));
  }
  for (unsigned i = 0, n = vald_ ? vald_->size() : 0; i < n; ++i)
    io->write_real(vald_->_element(i));
}
