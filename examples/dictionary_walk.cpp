// dictionary_walk FILE: the run-time dictionary used generically. For the first entity of the
// file it lists every attribute of its class by name with the domain of its values and, for
// plain values, the value itself; then it changes one attribute by name and reads it back.
#include <cstdio>
#include <span>

#include <igeslib.h>

namespace {

// What a slot holds is told by the kind of its domain's compiled type.
void print_value(LumoObject* object, LumoAttribute* attribute) {
  LumoDataPtr slot = object->slotAddress(attribute, 0);  // the field itself
  LumoDomain* domain = attribute->slotDomain();
  LumoType* type = domain ? domain->type() : nullptr;
  if (!slot.v || !type) return;
  switch (type->kind) {
    case LumoKind::integer:
      std::printf(" = %d", *slot.i);
      break;
    case LumoKind::real:
      std::printf(" = %.17g", *slot.d);
      break;
    case LumoKind::text:
      std::printf(*slot.s ? " = \"%s\"" : " = null", *slot.s);
      break;
    case LumoKind::boolean:
      std::printf(" = %s", *slot.c ? "true" : "false");
      break;
    case LumoKind::enumeration: {  // the position of an enumerator; -1 unset
      LumoAttribute* enumerator = (*domain->typeImmediateAttributes())[*slot.i];
      std::printf(" = %s", *slot.i >= 0 && enumerator ? enumerator->name : "unset");
      break;
    }
    case LumoKind::single:
      std::printf(" = %g", static_cast<double>(*slot.f));
      break;
    case LumoKind::object:  // a reference, a select or a list: an object of its own
      std::printf(*slot.p ? " = an object" : " = null");
      break;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: dictionary_walk FILE\n", stderr);
    return 2;
  }
  igeslib::Model model = igeslib::read(argv[1]);  // reports go to standard error
  if (!model.completed()) return 1;
  std::span<igs_directory_entry* const> entities = model.entities();
  if (entities.size() == 0) return 1;
  igs_directory_entry* entity = entities[0];

  LumoDomain* domain = entity->domain();  // the class as the dictionary knows it
  std::printf("%s\n", domain->name());
  lumo_vector all;
  domain->allAttributes(all);  // inherited ones first, in schema order
  for (void* item : all) {
    auto* attribute = static_cast<LumoAttribute*>(item);
    std::printf("  %s: %s", attribute->name, attribute->slotDomain()->name());
    print_value(entity, attribute);
    std::printf("\n");
  }

  // Any attribute can be found, stored and read by its name, without the class.
  LumoAttribute* label = entity->getAttribute("label");
  entity->putString("FIRST", "label", 0);
  std::printf("label now \"%s\"\n", *entity->slotAddress(label, 0).s);

  return 0;  // the model releases its design
}
