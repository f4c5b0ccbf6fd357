// Attribute tables: a definition (322) states each attribute's value type and count, and its
// instances (422) hold values in that shape with no counts of their own but the table's rows.
#include "../igeslib_parameters.h"

namespace {

// The values of one attribute, as many as its count and each of the kind its value type names.
// A type of no value reads nothing at all.
void read_values(IgeslibIO* io, ListOfigs_datum* values, igs_attribute_definition* attribute,
                 ListOfigs_text_display_template_entity* templates) {
  int type = static_cast<int>(attribute->avdt());
  if (type < 1 || type > 6 || type == 5) return;
  for (int i = 0, n = io->count(attribute->avc()); i < n; ++i) {
    auto* value = new (LUMO.design()) igs_datum;
    igeslib_read_coded_value(io, value, type);
    values->add(value);
    if (templates)
      templates->add(igeslib_read_list_pointer<igs_text_display_template_entity>(
          io, {"attribute_list[].avp[]", &lumotype_igs_text_display_template_entity, {-1, i}}));
  }
}

void write_values(IgeslibIO* io, ListOfigs_datum* values, igs_attribute_definition* attribute,
                  ListOfigs_text_display_template_entity* templates, bool with_templates) {
  int type = static_cast<int>(attribute->avdt());
  if (type < 1 || type > 6 || type == 5) return;
  for (int i = 0, n = attribute->avc(); i < n; ++i) {
    igeslib_write_coded_value(io, values ? (*values)[static_cast<unsigned>(i)] : nullptr, type);
    if (with_templates)
      igeslib_write_pointer(io, templates ? (*templates)[static_cast<unsigned>(i)] : nullptr);
  }
}

// The attributes of an instance's definition; none without a definition, and none while the
// definition's own parameters are still to be read (it stands later in the file).
ListOfigs_attribute_definition* attributes_of(igs_attribute_table_definition_entity* definition) {
  return definition ? definition->attribute_list() : nullptr;
}

// One value list per attribute of the definition.
ListOfListOfigs_datum* read_tuple(IgeslibIO* io, ListOfigs_attribute_definition* attributes) {
  unsigned n = attributes ? attributes->size() : 0;
  auto* tuple = new (LUMO.design()) ListOfListOfigs_datum(n);
  for (unsigned i = 0; i < n; ++i) {
    igs_attribute_definition* attribute = (*attributes)[i];
    auto* values =
        new (LUMO.design()) ListOfigs_datum(igeslib_reserve(attribute ? attribute->avc() : 0));
    tuple->add(values);
    if (attribute) read_values(io, values, attribute, nullptr);
  }
  return tuple;
}

void write_tuple(IgeslibIO* io, ListOfListOfigs_datum* tuple,
                 ListOfigs_attribute_definition* attributes) {
  for (unsigned i = 0, n = attributes ? attributes->size() : 0; i < n; ++i) {
    igs_attribute_definition* attribute = (*attributes)[i];
    if (attribute) write_values(io, tuple ? (*tuple)[i] : nullptr, attribute, nullptr, false);
  }
}

}  // namespace

// Form 1 gives each attribute its values, form 2 a text template beside each value; any other
// form neither (the lists stay unmade).
void igs_attribute_table_definition_entity::pdread_av(IgeslibIO* io,
                                                      igs_attribute_definition* item) {
  if (form_ != 1 && form_ != 2) return;
  auto* values = new (LUMO.design()) ListOfigs_datum(igeslib_reserve(item->avc()));
  item->av(values);
  ListOfigs_text_display_template_entity* templates = nullptr;
  if (form_ == 2) {
    templates = new (LUMO.design()) ListOfigs_text_display_template_entity;
    item->avp(templates);
  }
  read_values(io, values, item, templates);
}

// The value written is the member that the value type names, whatever the datum holds.
void igs_attribute_table_definition_entity::pdwrite_av(IgeslibIO* io,
                                                       igs_attribute_definition* item) {
  if (form_ != 1 && form_ != 2) return;
  write_values(io, item->av_, item, item->avp_, form_ == 2);
}

// Form 0, one row: no count, a value list per attribute.
void igs_tuple_instance_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  av(read_tuple(io, attributes_of(structure())));
}

void igs_tuple_instance_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  write_tuple(io, av_, attributes_of(structure()));
}

// Form 1: the count of rows, then a row as a tuple each.
void igs_table_instance_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_attribute_definition* attributes = attributes_of(structure());
  int rows = io->count(io->read_int());
  // Rows of attributes that hold no values read nothing: their number is bounded all the same.
  igeslib_count(io, static_cast<long long>(rows) * (attributes ? attributes->size() : 0));
  auto* table = new (LUMO.design()) ListOfListOfListOfigs_datum(igeslib_reserve(rows));
  av(table);
  for (int i = 0; i < rows; ++i) table->add(read_tuple(io, attributes));
}

void igs_table_instance_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_attribute_definition* attributes = attributes_of(structure());
  ListOfListOfListOfigs_datum* table = av_;
  unsigned rows = table ? table->size() : 0;
  io->write_int(static_cast<int>(rows));
  for (unsigned i = 0; i < rows; ++i) write_tuple(io, (*table)[i], attributes);
}
