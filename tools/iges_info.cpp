// iges-info FILE: the chief values of an IGES file's Global section, its entities counted by
// type and form with the class that holds each, the names, colours and levels it defines, and
// the number of reports its read gave.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <tuple>

#include <igeslib.h>

#include "igeslib_io.h"
#include "tool_support.h"

namespace {

const char kUsageText[] =
    "Usage: iges-info FILE [--strict-end]\n"
    "Reads an IGES file and prints the chief values of its Global section, its entities\n"
    "counted by type and form with the class of each, the names (name properties) and\n"
    "colours (colour definitions) it defines by DE number, how many entities stand on each\n"
    "level, and the number of reports the read gave (the reports themselves go to standard\n"
    "error).\n"
    "A damaged last record (a Terminate record whose fields can't be read, or one cut off\n"
    "by the end of the file) is reported and the file read whole; with --strict-end it is a\n"
    "fatal error.\n"
    "Exit status: 0 the file was read to its end, 1 the read stopped at a fatal error,\n"
    "2 bad arguments or a file that can't be opened, 3 the file was read to its end but its\n"
    "last record was damaged.\n";

// "title: value", or "title:" alone when the value is absent or empty.
void field(const char* title, const char* value) {
  if (value && *value)
    std::printf("%s: %s\n", title, value);
  else
    std::printf("%s:\n", title);
}

// The name of enumerator `code` of the enumeration held by `attribute` of object's class,
// from the run-time dictionary; null for an unset value or one out of range.
const char* enumerator_name(LumoObject* object, const char* attribute, int code) {
  LumoDomain* domain = object->domain();
  LumoAttribute* slot = domain ? domain->findTypeAttribute(attribute) : nullptr;
  LumoDomain* enumeration = slot ? slot->slotDomain() : nullptr;
  if (!enumeration || code < 0) return nullptr;
  LumoAttribute* enumerator = (*enumeration->typeImmediateAttributes())[code];
  return enumerator ? enumerator->name : nullptr;
}

void print_code(const char* title, igs_global* global, const char* attribute, int code) {
  const char* name = enumerator_name(global, attribute, code);
  if (name)
    std::printf("%s: %d (%s)\n", title, code, name);
  else
    std::printf("%s: unset\n", title);
}

void print_global(igs_global* global) {
  field("Sender's product id", global->product_identification_sender());
  field("File name", global->file_name());
  field("System id", global->system_id());
  field("Preprocessor version", global->preprocessor_version());
  field("Units", global->units());
  print_code("Unit flag", global, "unit_flag", global->unit_flag());
  std::printf("Model space scale: %.15g\n", global->model_space_scale());
  field("Author", global->author());
  field("Organization", global->organization());
  std::printf("Version: %d\n", global->version());
  print_code("Drafting standard", global, "drafting_standard_code",
             global->drafting_standard_code());
  field("Date of generation", global->date_time_file_generation());
}

void print_entities(igs_iges_file* file) {
  std::map<std::tuple<int, int, std::string>, unsigned long> counts;
  // Outside a read the list is gathered afresh from the design at every call.
  ListOfigs_directory_entry* entities = file->directory_entries();
  for (unsigned i = 0; i < entities->size(); ++i) {
    igs_directory_entry* entity = (*entities)[i];
    if (!entity) continue;
    auto [type, form] = igeslib_tools::type_and_form(entity);
    LumoDomain* domain = entity->domain();
    ++counts[{type, form, domain && domain->name() ? domain->name() : "?"}];
  }
  std::printf("\n%6s %6s %8s  %s\n", "Type", "Form", "Count", "Class");
  unsigned long total = 0;
  for (const auto& [key, count] : counts) {
    const auto& [type, form, name] = key;
    std::printf("%6d %6d %8lu  %s\n", type, form, count, name.c_str());
    total += count;
  }
  std::printf("Total entities: %lu\n", total);
}

// The level select of an entity, through the dictionary: the classes that hold a level have no
// common base of their own. Null for a class without a level, or an entity without one.
igs_entity_level* level_of(igs_directory_entry* entity) {
  LumoDomain* domain = entity->domain();
  LumoAttribute* attribute = domain ? domain->findTypeAttribute("level") : nullptr;
  LumoDomain* select = attribute ? attribute->slotDomain() : nullptr;
  LumoDataPtr slot;
  if (!select || !select->type() || !entity->getData(attribute, 0, slot, lumotype_LumoObject) ||
      !*slot.p || lumo_is_delayed(*slot.p))
    return nullptr;
  return lumo_cast<igs_entity_level>(select->type()->toObject(*slot.p));
}

// The names (name properties) and colours (colour definitions) that the file defines, each by
// its DE number, and how many entities stand on each level: a level number, or the DE number
// of a definition of several levels.
void print_attributes(igs_iges_file* file) {
  std::map<int, const char*> names;
  std::map<int, igs_color_definition_entity*> colours;
  std::map<int, unsigned long> levels, level_definitions;
  ListOfigs_directory_entry* entities = file->directory_entries();
  for (unsigned i = 0; i < entities->size(); ++i) {
    igs_directory_entry* entity = (*entities)[i];
    if (!entity) continue;
    int de = static_cast<int>(2 * i + 1);
    if (auto* name = lumo_cast<igs_name_entity>(entity)) names[de] = name->name();
    if (auto* colour = lumo_cast<igs_color_definition_entity>(entity)) colours[de] = colour;
    igs_entity_level* level = level_of(entity);
    if (!level) continue;
    if (level->is_definition_levels_entity()) {
      igs_definition_levels_entity* definition = level->_definition_levels_entity();
      int at = definition ? entities->find(definition) : -1;
      ++level_definitions[at < 0 ? 0 : 2 * at + 1];
    } else if (level->is_int_val()) {
      ++levels[level->_int_val()];
    }
  }
  std::printf("Names: %zu\n", names.size());
  for (const auto& [de, name] : names) std::printf("  name %d: %s\n", de, name ? name : "");
  std::printf("Colours: %zu\n", colours.size());
  for (const auto& [de, colour] : colours) {
    const char* name = colour->cname();
    std::printf("  colour %d: %.15g %.15g %.15g%s%s\n", de, colour->cc1(), colour->cc2(),
                colour->cc3(), name ? " " : "", name ? name : "");
  }
  std::printf("Levels: %zu\n", levels.size() + level_definitions.size());
  for (const auto& [number, count] : levels) std::printf("  level %d: %lu\n", number, count);
  for (const auto& [de, count] : level_definitions)
    std::printf("  levels of definition %d: %lu\n", de, count);
}

}  // namespace

int main(int argc, char** argv) {
  using namespace igeslib_tools;
  const char* path = nullptr;
  bool strict_end = false;
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    if (argc == 2 && (std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0)) {
      std::fputs(kUsageText, stdout);
      return kCompleted;
    }
    if (std::strcmp(arg, "--strict-end") == 0) {
      strict_end = true;
    } else if ((arg[0] == '-' && arg[1] != '\0') || path) {
      std::fputs(kUsageText, stderr);
      return kUsage;
    } else {
      path = arg;
    }
  }
  if (!path) {
    std::fputs(kUsageText, stderr);
    return kUsage;
  }
  Session session("iges-info");
  int status = session.read(path, strict_end);
  if (status == kUsage) return status;

  igs_iges_file* file = session.file();
  std::printf("File: %s\n", path);
  if (igs_global* global = file->global_section()) print_global(global);
  print_entities(file);
  print_attributes(file);
  std::printf("Read: %s\n", status == kFatal        ? "stopped at a fatal error"
                            : status == kDamagedEnd ? "completed, last record damaged"
                                                    : "completed");
  std::printf("Reports: %lu\n", session.reports());
  return status;
}
