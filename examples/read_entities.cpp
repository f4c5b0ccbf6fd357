// read_entities FILE: reads an IGES file and lists its entities in directory order, each with
// its DE number, entity type, form and class.
#include <cstdio>

#include <igeslib.h>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: read_entities FILE\n", stderr);
    return 2;
  }
  igeslib_force_load();  // binds every class of the library, once
  LumoDesign* design = LUMO.newDesign("part");
  LUMO.useDesign(design);                   // the file's objects go to the current design
  auto* file = new (design) igs_iges_file;  // the root object of the file
  if (!file->read(argv[1], 0)) {            // null: a fatal error stopped the read
    std::fprintf(stderr, "read_entities: %s can't be read\n", argv[1]);
    return 1;
  }

  // Outside a read the list is gathered from the design at every call: take it once.
  ListOfigs_directory_entry* entities = file->directory_entries();
  for (unsigned i = 0; i < entities->size(); ++i) {
    igs_directory_entry* entity = (*entities)[i];
    int de_number = static_cast<int>(2 * i + 1);  // what pointers in the file call it
    std::printf("%5d  type %3d form %2d  %s\n", de_number, entity->entity_type(), entity->form(),
                entity->domain()->name());
  }
  std::printf("%u entities\n", entities->size());

  LUMO.useDesign(nullptr);
  delete design;  // every object of the file goes with it
  return 0;
}
