// igeslib-typed-read FILE: reads FILE with the compiled classes' own accessors and prints a
// sample of values of each entity, one line each: DE number, type, form, class, label, and the
// coordinates of lines, points, arcs, transformation matrices and rational B-spline curves.
// The corpus test of the Python module prints the same from the dictionary and compares.
#include <cstdio>

#include <igeslib.h>

namespace {

void reals(std::initializer_list<double> values) {
  for (double v : values) std::printf(" %.17g", v);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: igeslib-typed-read FILE\n", stderr);
    return 2;
  }
  LUMO.quiet(1);
  igeslib::ReadOptions options;
  options.echo_reports = false;
  igeslib::Model model = igeslib::read(argv[1], options);
  if (model.status() == igeslib::ReadStatus::not_opened) return 2;
  for (igs_directory_entry* e : model.entities()) {
    auto [type, form] = igeslib::entity_type_and_form(e);
    LumoDomain* domain = e->domain();
    std::printf("%d %d %d %s %s", e->de_number, type, form, domain ? domain->name() : "?",
                e->label() ? e->label() : "-");
    if (auto* line = lumo_cast<igs_line_entity>(e)) {
      reals({line->x1(), line->y1(), line->z1(), line->x2(), line->y2(), line->z2()});
    } else if (auto* point = lumo_cast<igs_point_entity>(e)) {
      reals({point->x(), point->y(), point->z()});
    } else if (auto* arc = lumo_cast<igs_circular_arc_entity>(e)) {
      reals({arc->zt(), arc->x1(), arc->y1(), arc->x2(), arc->y2(), arc->x3(), arc->y3()});
    } else if (auto* m = lumo_cast<igs_transformation_matrix_entity>(e)) {
      reals({m->r11(), m->r12(), m->r13(), m->t1(), m->r21(), m->r22(), m->r23(), m->t2(), m->r31(),
             m->r32(), m->r33(), m->t3()});
    } else if (auto* curve = lumo_cast<igs_rational_bspline_curve_entity>(e)) {
      ArrayOfDouble* knots = curve->t();
      ListOfigs_coordinate* points = curve->control_points();
      std::printf(" %d %u %u", curve->m(), knots->size(), points->size());
      if (knots->size()) reals({(*knots)[0], (*knots)[knots->size() - 1]});
      if (igs_coordinate* first = points->first()) reals({first->x(), first->y(), first->z()});
    }
    std::printf("\n");
  }
  return model.completed() ? 0 : 1;
}
