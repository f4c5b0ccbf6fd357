// The Parameter Data section: each entity's parameters go to its own pdread, the back-pointer
// lists behind them to its associations and properties. Whatever an entity's parameters hold,
// reading picks up again at the next change of DE pointer.
#include "igeslib.h"
#include "igeslib_io.h"

namespace {

constexpr const char* kMismatch =
    "parse_pd_section: Entity type in the PD section does not match the entity pointed to by "
    "the sequence number";

}  // namespace

void IgeslibIO::read_entity(igs_directory_entry* entity, ListOfigs_directory_entry* list) {
  int type = read_int();
  if (!entity || (type != entity->entity_type() && entity->entity_type() != 0)) {
    report_error(kMismatch, -1);
    record_failed = 1;
  } else {
    entity->pdread();
    // Parameters that the record leaves out at its end are read as empty: noted with their
    // number (the read that met the record delimiter and those after it), as a record cut short
    // reads the same way. The back-pointer counts behind them are often left out.
    if (entity_items_past_end && !record_failed)
      note(IgeslibNoteKind::short_record, {}, static_cast<int>(entity_items_past_end) + 1);
    if (record_failed == 0 && param_state != PARAM_END_OF_RECORD) {
      assoc_prop_parse(entity, list);
      if (param_state != PARAM_END_OF_RECORD) {
        scan_int();
        if (param_state != PARAM_END_OF_RECORD)
          report_error(
              "parse_pd_section: Unknown parameters after associativity and property "
              "fields",
              -1);
      }
    }
  }
}

IgeslibIO* IgeslibIO::parse_pd_section(ListOfigs_directory_entry* list) {
  int first_line = line_number;
  read_items_past_end = 0;
  while (f_rec_section == 'P') {
    int pointer = back_pointer;
    param_state = PARAM_VALUE;
    record_failed = 0;
    igs_directory_entry* entity = igeslib_entity_at(list, pointer);
    entity_items_past_end = 0;
    entity_de = pointer;
    in_entity = true;
    igeslib_catch_skip([&] { read_entity(entity, list); });
    in_entity = false;
    read_record();
    while (back_pointer == pointer) {
      if (f_rec_section != 'P') break;
      read_record();
    }
  }
  parameter_count = line_number - first_line;
  return this;
}

namespace {

// A back-pointer list: a count, then the pointers, each to an entity of a class that Select
// takes. The list holds just its entities (LumoObjectAggregate::packable_entities); a pointer
// to an entity of another class stands as a select of no choice. The entity's list is made when
// its first item comes.
template <class Select, class Made>
void read_back_pointers(IgeslibIO* io, ListOfigs_directory_entry* entities, Made made,
                        const char* missing, const char* illegal) {
  int count = io->read_int();
  decltype(made()) list = nullptr;
  for (int i = 0; i < count; ++i) {
    int pointer = io->read_int();
    if (io->param_state == PARAM_DEFAULTED || io->param_state == PARAM_END_OF_RECORD) {
      io->report_error(missing, -1);
      continue;
    }
    igs_directory_entry* target = igeslib_entity_at(entities, pointer);
    const bool fits = Select::takes_entity(target);
    if (!fits) io->report_error(illegal, -1);
    if (!list) {
      list = made();
      list->packEntities(io->capacity_hint(count - i));
    }
    if (fits)
      list->addChosen(target);
    else
      list->addUnchosen(0);
  }
}

}  // namespace

void IgeslibIO::assoc_prop_parse(igs_directory_entry* entity, ListOfigs_directory_entry* list) {
  read_back_pointers<igs_associativities>(
      this, list, [entity] { return entity->associations(); },
      "assoc_prop_parse: Value for the associativity pointer not specified",
      "assoc_prop_parse: Illegal entity type in association list");
  read_back_pointers<igs_properties>(
      this, list, [entity] { return entity->properties(); },
      "assoc_prop_parse: Value for the property pointer not specified",
      "assoc_prop_parse: Illegal entity type in property list");
}
