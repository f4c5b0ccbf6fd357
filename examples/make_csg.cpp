// make_csg OUT: builds a constructive solid in code and writes it as an IGES file.
//
// A block of 80 x 40 x 20 mm with a bore of 10 mm radius through it (a Boolean tree: the block
// less a cylinder), a sphere resting on it, the two put together as an assembly (the sphere
// moved by a matrix), and the assembly placed once more as a solid instance. Everything
// written is fixed, so the file is the same on every run (examples/data/csg_part.igs).
#include "example_file.h"

namespace {

LumoDesign* design = nullptr;

// Solid lines on level 1 and a colour, each a select of its own, as a reader makes them: the
// file then reads back to objects that write the same bytes.
template <class Entity>
Entity* styled(Entity* entity, igs_color_number colour, const char* label) {
  auto* font = new (design) igs_lineFont;
  font->_line_pattern(igs_line_pattern_solid);
  entity->line_font(font);
  auto* level = new (design) igs_entity_level;
  level->_int_val(1);
  entity->level(level);
  auto* color = new (design) igs_entity_color;
  color->_color_number(colour);
  entity->color(color);
  entity->label(label);
  return entity;
}

igs_boolean_ops* operand(igs_constructive_solid_geometry_entity* solid) {
  auto* op = new (design) igs_boolean_ops;
  op->_constructive_solid_geometry_entity(solid);
  return op;
}

void build_solid() {
  auto* block = styled(new (design) igs_block_entity, igs_color_number_blue, "BLOCK");
  block->lx(80.0), block->ly(40.0), block->lz(20.0);
  block->i1(1.0), block->k2(1.0);
  block->subordinate(igs_subordinate_switch_physicallyDependent);

  auto* bore =
      styled(new (design) igs_right_circular_cylinder_entity, igs_color_number_red, "BORE");
  bore->h(20.0), bore->r(10.0);
  bore->x1(40.0), bore->y1(20.0), bore->k1(1.0);
  bore->subordinate(igs_subordinate_switch_physicallyDependent);

  auto* tree = styled(new (design) igs_boolean_tree_entity, igs_color_number_blue, "PLATE");
  auto* code = new (design) igs_boolean_ops;
  code->_boolean_op_code(igs_boolean_op_code_difference);
  tree->operands()->add(operand(block)).add(operand(bore)).add(code);
  tree->subordinate(igs_subordinate_switch_physicallyDependent);

  auto* ball = styled(new (design) igs_sphere_entity, igs_color_number_green, "BALL");
  ball->r(15.0);
  ball->subordinate(igs_subordinate_switch_physicallyDependent);

  auto* lift = new (design) igs_transformation_matrix_entity;
  lift->form(0);
  lift->r11(1.0), lift->r22(1.0), lift->r33(1.0);
  lift->t1(20.0), lift->t2(20.0), lift->t3(35.0);

  auto* assembly = styled(new (design) igs_solid_assembly_entity, igs_color_number_white, "ASSY");
  assembly->ptr()->add(tree).add(ball);
  auto* matrices = new (design) ArrayOfigs_transformation_matrix_entity(2);
  matrices->put(nullptr, 0).put(lift, 1);
  assembly->ptrm(matrices);
  assembly->subordinate(igs_subordinate_switch_physicallyDependent);

  auto* instance = styled(new (design) igs_solid_instance_entity, igs_color_number_white, "PART");
  instance->ptr(assembly);
}

}  // namespace

int main(int argc, char** argv) {
  return igeslib_example_main(argc, argv, "make_csg", "csg_part",
                              {"A constructive solid built by igeslib's make_csg example."},
                              [](LumoDesign* d, igs_global*) {
                                design = d;
                                build_solid();
                              });
}
