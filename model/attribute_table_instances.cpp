// The attribute count of a 422 instance comes from its definition: an
// instance with no definition (or one whose definition can't be loaded) has
// no attributes.
#include "igeslib.h"

int igs_tuple_instance_entity::na() {
  igs_attribute_table_definition_entity* definition = structure();
  return definition ? definition->na() : 0;
}

int igs_table_instance_entity::na() {
  igs_attribute_table_definition_entity* definition = structure();
  return definition ? definition->na() : 0;
}
