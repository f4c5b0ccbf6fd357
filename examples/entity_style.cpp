// entity_style FILE: the colour, level and name of every entity of an IGES file that has them.
#include <cstdio>
#include <span>

#include <igeslib.h>

namespace {

// A colour is a number of the standard's eight, or a colour definition entity (314) that gives
// red, green and blue as percentages.
void print_colour(igs_entity_color* color) {
  if (!color) {
    std::printf(" colour: none");
  } else if (color->is_color_number()) {
    LumoDomain* numbers = lumotype_igs_color_number->acquireDomain();
    LumoAttribute* name = (*numbers->typeImmediateAttributes())[color->_color_number()];
    std::printf(" colour: %s", name ? name->name : "unset");
  } else if (igs_color_definition_entity* rgb = color->_color_definition_entity()) {
    std::printf(" colour: rgb %g%% %g%% %g%%", rgb->cc1(), rgb->cc2(), rgb->cc3());
  }
}

// A level is one number, or a definition levels property (406 form 1) that lists several.
void print_level(igs_entity_level* level) {
  if (!level) {
    std::printf(" level: none");
  } else if (level->is_int_val()) {
    std::printf(" level: %d", level->_int_val());
  } else if (igs_definition_levels_entity* levels = level->_definition_levels_entity()) {
    std::printf(" levels:");
    for (unsigned i = 0; i < levels->l()->size(); ++i) std::printf(" %d", (*levels->l())[i]);
  }
}

// The name of an entity is its label and subscript (directory fields 18 and 19), and a name
// property (406 form 15) among its properties when the file gives one.
void print_name(igs_directory_entry* entity) {
  std::printf(" label: %s", entity->label() ? entity->label() : "none");
  std::printf(" subscript: %d", entity->subscript());
  ListOfigs_properties* properties = entity->properties();  // never null: made when asked
  for (unsigned i = 0; i < properties->size(); ++i) {
    auto* name = lumo_cast<igs_name_entity>((*properties)[i]->entity());
    if (name) std::printf(" name: %s", name->name());
  }
}

// Colour and level belong to the families of entities, which are disjoint classes: geometry,
// annotation, B-rep, CSG (structure entities have neither). One template serves them all.
template <class Family>
bool print_style(igs_directory_entry* entity) {
  auto* member = lumo_cast<Family>(entity);
  if (!member) return false;
  print_colour(member->color());
  print_level(member->level());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: entity_style FILE\n", stderr);
    return 2;
  }
  igeslib::Model model = igeslib::read(argv[1]);  // reports go to standard error
  if (!model.completed()) return 1;
  std::span<igs_directory_entry* const> entities = model.entities();
  for (unsigned i = 0; i < entities.size(); ++i) {
    igs_directory_entry* entity = entities[i];
    std::printf("%d %s:", 2 * i + 1, entity->domain()->name());
    bool styled = print_style<igs_geometric_entity>(entity) ||
                  print_style<igs_annotation_entity>(entity) ||
                  print_style<igs_boundary_representation_entity>(entity) ||
                  print_style<igs_constructive_solid_geometry_entity>(entity);
    if (!styled) std::printf(" (no colour or level)");
    print_name(entity);
    std::printf("\n");
  }
  return 0;  // the model releases its design
}
