// Associativity instances: their record has no layout of its own; the definition that the
// Directory Entry's Structure field names gives each class's item types, and the counts of
// entries stand first, one per class.
#include "../igeslib_parameters.h"

namespace {

// The item types of class i of the definition; null for none.
ArrayOfInteger* item_types(ListOfigs_associativity_class* classes, unsigned i) {
  igs_associativity_class* kind = (*classes)[i];
  return kind ? kind->it() : nullptr;
}

// The classes of the instance's definition; null, reported, when the instance has none. Its
// reader and its writer both open with this test.
ListOfigs_associativity_class* definition_classes(IgeslibIO* io,
                                                  igs_associativity_instance_entity* instance) {
  igs_associativity_definition_entity* definition = instance->structure();
  if (!definition) io->report_error("Associativity Instance Entity has no definition", -1);
  return definition ? definition->classes() : nullptr;
}

}  // namespace

// An instance whose definition's parameters are not read yet (it stands later in the file)
// finds no classes and reads nothing; its parameters are then left to the back-pointer lists.
void igs_associativity_instance_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_associativity_class* classes = definition_classes(io, this);
  if (!classes) return;
  unsigned k = classes->size();
  auto* counts = new (LUMO.design()) ArrayOfInteger(k);
  for (unsigned i = 0; i < k; ++i) counts->put(io->read_int(), i);
  // Every count is checked before the counts are kept: an entity given up on for a count past
  // what the file holds is not written with it.
  for (unsigned i = 0; i < k; ++i) {
    ArrayOfInteger* types = item_types(classes, i);
    long long items = types && types->size() ? types->size() : 1;
    igeslib_count(io, items * io->count((*counts)[i]));
  }
  auto* data = new (LUMO.design()) ListOfListOfListOfigs_datum(k);
  number_class_entries(counts);
  parameter_data(data);
  ListOfigs_directory_entry* entities = igeslib_file_entities();
  for (unsigned i = 0; i < k; ++i) {
    ArrayOfInteger* types = item_types(classes, i);
    int items = types ? static_cast<int>(types->size()) : 0;
    int entries = io->count((*counts)[i]);
    auto* list = new (LUMO.design()) ListOfListOfigs_datum(igeslib_reserve(entries));
    data->add(list);
    for (int e = 0; e < entries; ++e) {
      auto* entry = new (LUMO.design()) ListOfigs_datum(static_cast<unsigned>(items));
      list->add(entry);
      for (int j = 0; j < items; ++j)
        io->read_datum(entry, io->determine_parameterData_type((*types)[j]), entities);
    }
  }
}

// Each item by its type in the definition: an entity (1) must be one, a value (2) is written as
// the kind it holds, and an integer or entity (3) gives an entity the negative of its DE number.
// The counts are written for as many classes as the definition has.
void igs_associativity_instance_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_associativity_class* classes = definition_classes(io, this);
  if (!classes) return;
  unsigned k = classes->size();
  ArrayOfInteger* counts = number_class_entries_;
  ListOfListOfListOfigs_datum* data = parameter_data_;
  for (unsigned i = 0; i < k; ++i) io->write_int(counts ? (*counts)[i] : 0);
  for (unsigned i = 0; i < k; ++i) {
    ArrayOfInteger* types = item_types(classes, i);
    unsigned items = types ? types->size() : 0;
    ListOfListOfigs_datum* entries = data ? (*data)[i] : nullptr;
    for (int e = 0, n = counts ? (*counts)[i] : 0; e < n; ++e) {
      ListOfigs_datum* entry = entries ? (*entries)[static_cast<unsigned>(e)] : nullptr;
      for (unsigned j = 0; j < items; ++j) {
        igs_datum* datum = entry ? (*entry)[j] : nullptr;
        switch ((*types)[j]) {
          case 1:
            if (!datum || !datum->is_directory_entry()) {
              io->report_error(
                  "Parameter data type in Associativity Instance does not match associativity "
                  "defintion",
                  -1);
              return;
            }
            igeslib_write_bare_pointer<igs_directory_entry>(io, datum->_directory_entry());
            break;
          case 2:
            igeslib_write_value_by_text(io, datum);
            break;
          case 3: {
            igs_directory_entry* target =
                datum && datum->is_directory_entry() ? datum->_directory_entry() : nullptr;
            // The integer member as it stands; a datum of text has none (0).
            io->write_int(target                          ? -target->de_number
                          : datum && !datum->is_str_val() ? datum->_int_val()
                                                          : 0);
            break;
          }
          default:
            io->report_error(
                "Parameter data type in Associativity Instance does not match associativity "
                "defintion",
                -1);
            return;
        }
      }
    }
  }
}
