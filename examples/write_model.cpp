// write_model OUT: builds a small model in code and writes it as an IGES file: a quarter
// circle as a rational B-spline curve (126), the same arc as a circular arc (100), a line
// (110) between their ends, a colour of its own (314) and a name property (406 form 15).
#include <cmath>
#include <cstdio>

#include <igeslib.h>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: write_model OUT\n", stderr);
    return 2;
  }
  igeslib_force_load();
  LumoDesign* design = LUMO.newDesign("model");
  LUMO.useDesign(design);  // the writer writes the current design
  auto* file = new (design) igs_iges_file;
  file->start_section()->add("A quarter circle three ways, built by write_model.");
  auto* global = new (design) igs_global;
  global->product_identification_sender("write_model");
  global->file_name("model.igs");
  global->system_id("igeslib");
  global->model_space_scale(1.0);
  global->unit_flag(igs_unitFlag_millimeters);
  global->units("MM");
  global->min_resolution(1e-6);
  global->max_coordinate_value(10.0);
  global->version(11);
  global->drafting_standard_code(igs_draftingStandardCode_none);
  file->global_section(global);

  // The quarter of the unit circle from (1, 0) to (0, 1): degree 2, three control points, the
  // middle one weighted by the cosine of 45 degrees.
  auto* curve = new (design) igs_rational_bspline_curve_entity;
  curve->form(2);  // a circular arc
  curve->m(2);
  curve->prop1(igs_property1_planar);
  curve->prop2(igs_property2_open);
  curve->prop3(igs_property3_rational);
  curve->prop4(igs_property4_nonperiodic);
  for (double knot : {0.0, 0.0, 0.0, 1.0, 1.0, 1.0}) curve->t()->put(knot, curve->t()->size());
  for (double weight : {1.0, std::sqrt(0.5), 1.0}) curve->w()->put(weight, curve->w()->size());
  curve->control_points()
      ->add(new (design) igs_coordinate(1, 0, 0))
      .add(new (design) igs_coordinate(1, 1, 0))
      .add(new (design) igs_coordinate(0, 1, 0));
  curve->v()->put(0.0, 0).put(1.0, 1);
  curve->znorm(1.0);  // the normal of its plane

  auto* arc = new (design) igs_circular_arc_entity;  // centre, start, end, counterclockwise
  arc->x2(1.0);
  arc->y3(1.0);

  auto* orange = new (design) igs_color_definition_entity;
  orange->cc1(100.0);  // red, green and blue in percent
  orange->cc2(50.0);
  orange->cname("orange");

  auto* chord = new (design) igs_line_entity;
  chord->x1(1.0);
  chord->y2(1.0);
  auto* color = new (design) igs_entity_color;  // a select: a colour number or a 314
  color->_color_definition_entity(orange);
  chord->color(color);
  auto* level = new (design) igs_entity_level;  // a select: a level or a 406 form 1
  level->_int_val(7);
  chord->level(level);
  chord->label("CHORD");
  chord->subscript(1);

  auto* name = new (design) igs_name_entity;
  name->name("chord of the quarter circle");
  auto* property = new (design) igs_properties;
  property->_property_entity(name);
  chord->properties()->add(property);  // the back pointer that ties the name to the line

  // Entities are written in the order they were made, numbered 1, 3, 5, ...; a pointer is
  // written as the number of its target. With zero_as_default 1, zeros are left out.
  bool written = file->write(argv[1], 1) != nullptr;
  LUMO.useDesign(nullptr);
  delete design;
  if (!written) {
    std::fprintf(stderr, "write_model: %s can't be written\n", argv[1]);
    return 2;
  }
  std::printf("wrote %s\n", argv[1]);
  return 0;
}
