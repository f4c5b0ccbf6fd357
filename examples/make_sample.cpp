// make_sample OUT: builds a small part in code and writes it as an IGES file.
//
// The part is a plate of 100 x 60 mm in the XY plane with rounded corners and two bores. The
// first bore is drawn where it stands; the second is drawn about the origin and moved into
// place by a transformation matrix. A point marks the centre of the second bore, shown by a
// subfigure: a small cross. Everything written is fixed, dates included, so the file comes
// out the same byte for byte on every run (examples/data/sample_part.igs is its output).
#include "example_file.h"

namespace {

LumoDesign* design = nullptr;

// Line font, level and colour of an entity, each set, as a reader sets them: solid lines on
// level 1. Every directory field the reader fills is then set here too, so that reading the
// file and writing it again gives the same bytes.
template <class Entity>
Entity* styled(Entity* entity, igs_color_number colour, const char* label, int subscript) {
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
  entity->subscript(subscript);
  return entity;
}

igs_line_entity* line(double x1, double y1, double x2, double y2, igs_color_number colour,
                      const char* label, int subscript) {
  auto* l = new (design) igs_line_entity;
  l->x1(x1);
  l->y1(y1);
  l->x2(x2);
  l->y2(y2);
  return styled(l, colour, label, subscript);
}

// An arc runs counterclockwise from (sx, sy) to (ex, ey) about (cx, cy); a full circle starts
// and ends at the same point.
igs_circular_arc_entity* arc(double cx, double cy, double sx, double sy, double ex, double ey,
                             igs_color_number colour, const char* label, int subscript) {
  auto* a = new (design) igs_circular_arc_entity;
  a->x1(cx);
  a->y1(cy);
  a->x2(sx);
  a->y2(sy);
  a->x3(ex);
  a->y3(ey);
  return styled(a, colour, label, subscript);
}

// The entities in the order they are written: what an entity points to comes before it.
void build_part() {
  auto* placement = new (design) igs_transformation_matrix_entity;
  placement->form(0);
  placement->r11(1.0);
  placement->r22(1.0);
  placement->r33(1.0);
  placement->t1(70.0);
  placement->t2(30.0);

  const igs_color_number edge = igs_color_number_green;
  line(5, 0, 95, 0, edge, "EDGE", 1);
  arc(95, 5, 95, 0, 100, 5, edge, "FILLET", 1);
  line(100, 5, 100, 55, edge, "EDGE", 2);
  arc(95, 55, 100, 55, 95, 60, edge, "FILLET", 2);
  line(95, 60, 5, 60, edge, "EDGE", 3);
  arc(5, 55, 5, 60, 0, 55, edge, "FILLET", 3);
  line(0, 55, 0, 5, edge, "EDGE", 4);
  arc(5, 5, 0, 5, 5, 0, edge, "FILLET", 4);

  const igs_color_number bore = igs_color_number_blue;
  arc(30, 30, 40, 30, 40, 30, bore, "BORE", 1);
  arc(0, 0, 8, 0, 8, 0, bore, "BORE", 2)->transformation(placement);

  const igs_color_number mark = igs_color_number_red;
  igs_line_entity* strokes[] = {line(-2, 0, 2, 0, mark, "CROSS", 1),
                                line(0, -2, 0, 2, mark, "CROSS", 2)};
  auto* cross = styled(new (design) igs_subfigure_definition_entity, mark, "MARKER", 0);
  for (igs_line_entity* stroke : strokes) {
    stroke->subordinate(igs_subordinate_switch_physicallyDependent);
    cross->de()->add(stroke);
  }
  cross->depth(0);
  cross->name("CROSS");

  auto* centre = styled(new (design) igs_point_entity, mark, "CENTRE", 0);
  centre->x(70.0);
  centre->y(30.0);
  centre->ptr(cross);
}

}  // namespace

int main(int argc, char** argv) {
  return igeslib_example_main(
      argc, argv, "make_sample", "sample_part",
      {"igeslib sample part: a plate of 100 x 60 mm with rounded corners and",
       "two bores, the second placed by a transformation matrix and marked by a",
       "point shown as a subfigure (a small cross)."},
      [](LumoDesign* d, igs_global* global) {
        design = d;
        global->drafting_standard_code(igs_draftingStandardCode_ISO);
        build_part();
      });
}
