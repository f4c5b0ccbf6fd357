// What the example programs share: a design of their own holding an IGES file, a Global
// section of fixed values (dates included, so that every run writes the same bytes), and the
// write of the file.
#pragma once

#include <cstdio>
#include <initializer_list>

#include <igeslib.h>

// Builds the example called name (its file is name.igs) into a new design and writes it to
// path: the Start section is start, one line each; build makes the entities, and may change
// the Global values. program names the example in messages and in the Global section. Answers
// the exit status: 0 written, 1 not written, 2 for a wrong command line.
inline int igeslib_example_main(int argc, char** argv, const char* program, const char* name,
                                std::initializer_list<const char*> start,
                                void (*build)(LumoDesign* design, igs_global* global)) {
  if (argc != 2) {
    std::fprintf(stderr, "Usage: %s OUT\nWrites the %s model as an IGES file to OUT.\n", program,
                 name);
    return 2;
  }
  igeslib_force_load();
  LumoDesign* design = LUMO.newDesign(name, nullptr);
  LUMO.useDesign(design);
  auto* file = new (design) igs_iges_file;
  for (const char* line : start) file->start_section()->add(line);

  auto* g = new (design) igs_global;
  char file_name[64], version[64];
  std::snprintf(file_name, sizeof file_name, "%s.igs", name);
  std::snprintf(version, sizeof version, "%s 1", program);
  g->product_identification_sender(name);
  g->file_name(file_name);
  g->system_id("igeslib");
  g->preprocessor_version(version);
  g->number_of_binary_bits(32);
  g->single_precision_magnitude(38);
  g->single_precision_significance(7);
  g->double_precision_magnitude(308);
  g->double_precision_significance(15);
  g->product_identification_receiver(name);
  g->model_space_scale(1.0);
  g->unit_flag(igs_unitFlag_millimeters);
  g->units("MM");
  g->max_num_line_weight_gradations(1);
  g->width_max_line_weight(0.5);
  g->date_time_file_generation("20240101.120000");
  g->min_resolution(0.001);
  g->max_coordinate_value(100.0);
  g->author("igeslib");
  g->organization("igeslib project");
  g->date_time_created_modified("20240101.120000");
  file->global_section(g);

  build(design, g);
  bool written = file->write(argv[1], 1) != nullptr;
  LUMO.useDesign(nullptr);
  delete design;
  if (!written) std::fprintf(stderr, "%s: %s can't be written\n", program, argv[1]);
  return written ? 0 : 1;
}
