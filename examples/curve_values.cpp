// curve_values FILE: every value of every rational B-spline curve (126) of an IGES file, read
// through its typed accessors; nothing is evaluated.
#include <cstdio>
#include <span>

#include <igeslib.h>

namespace {

void print_curve(igs_rational_bspline_curve_entity* curve) {
  // k is the upper index of the sums: k + 1 control points, weights and (with the degree m)
  // k + m + 2 knots.
  int k = curve->k();
  int m = curve->m();
  std::printf("form %d, k %d, degree %d\n", curve->form(), k, m);
  auto yes = [](bool b) { return b ? "yes" : "no"; };
  std::printf(
      "planar %s, closed %s, rational %s, periodic %s\n",
      yes(curve->prop1() == igs_property1_planar), yes(curve->prop2() == igs_property2_closed),
      yes(curve->prop3() == igs_property3_rational), yes(curve->prop4() == igs_property4_periodic));
  ArrayOfDouble* knots = curve->t();
  std::printf("knots:");
  for (unsigned i = 0; i < knots->size(); ++i) std::printf(" %.17g", (*knots)[i]);
  std::printf("\n");
  ArrayOfDouble* weights = curve->w();
  ListOfigs_coordinate* points = curve->control_points();
  for (unsigned i = 0; i < points->size(); ++i) {
    igs_coordinate* p = (*points)[i];
    std::printf("point %u: (%.17g, %.17g, %.17g) weight %.17g\n", i, p->x(), p->y(), p->z(),
                (*weights)[i]);
  }
  ArrayOfDouble* range = curve->v();
  std::printf("parameters %.17g to %.17g\n", (*range)[0], (*range)[1]);
  std::printf("normal (%.17g, %.17g, %.17g)\n", curve->xnorm(), curve->ynorm(), curve->znorm());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: curve_values FILE\n", stderr);
    return 2;
  }
  igeslib::Model model = igeslib::read(argv[1]);  // reports go to standard error
  if (!model.completed()) return 1;
  std::span<igs_directory_entry* const> entities = model.entities();
  unsigned curves = 0;
  for (unsigned i = 0; i < entities.size(); ++i) {
    auto* curve = lumo_cast<igs_rational_bspline_curve_entity>(entities[i]);
    if (!curve) continue;  // another class: lumo_cast answers null
    std::printf("Entity %u: ", 2 * i + 1);
    print_curve(curve);
    ++curves;
  }
  std::printf("%u curves\n", curves);
  return 0;  // the model releases its design
}
