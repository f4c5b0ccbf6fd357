// geometry_values FILE: a curve and a surface of an IGES file evaluated in model space (their
// transformation matrices applied): the curve's range, ends, tangent and a polyline, the
// surface's domain, a point with its normal and a row of iso-curves; then the model's units
// and box.
#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include <igeslib.h>

namespace {

void print_point(const char* what, const igeslib::Vec3& p) {
  std::printf(" %s (%g, %g, %g)", what, p.x, p.y, p.z);
}

// The first curve that evaluates: its range, its ends and the tangent halfway, and how many
// points a polyline within 1/1000 of its size takes.
void print_curve(igs_directory_entry* entity, unsigned de) {
  std::string why;
  std::unique_ptr<igeslib::Curve> curve = igeslib::make_placed_curve(entity, &why);
  if (!curve) {
    std::printf("curve %u can't be evaluated: %s\n", de, why.c_str());  // "knots out of order"
    return;
  }
  igeslib::Interval range = curve->range();  // may be unbounded: a ray, a line
  double middle = (curve->finite_range().lo + curve->finite_range().hi) / 2;
  std::printf("curve %u over [%g, %g]:", de, range.lo, range.hi);
  print_point("from", curve->point(curve->finite_range().lo));
  print_point("to", curve->point(curve->finite_range().hi));
  print_point("tangent", curve->derivative(middle));
  igeslib::Polyline line = curve->polyline({.chord = 1e-3 * curve->bounds().diagonal()});
  std::printf(", %zu polyline points\n", line.points.size());
}

// The first surface that evaluates: its domain, the point and unit normal in the middle of it,
// and an iso-curve of constant u there.
void print_surface(igs_directory_entry* entity, unsigned de) {
  std::string why;
  std::unique_ptr<igeslib::Surface> surface = igeslib::make_placed_surface(entity, &why);
  if (!surface) {
    std::printf("surface %u can't be evaluated: %s\n", de, why.c_str());
    return;
  }
  igeslib::Domain d = surface->finite_domain();  // an unbounded plane gets a finite stand-in
  double u = (d.u.lo + d.u.hi) / 2, v = (d.v.lo + d.v.hi) / 2;
  igeslib::SurfacePoint at = surface->evaluate(u, v);  // the point and both derivatives
  std::printf("surface %u over u [%g, %g], v [%g, %g]:", de, d.u.lo, d.u.hi, d.v.lo, d.v.hi);
  print_point("point", at.point);
  print_point("normal", at.normal());
  std::unique_ptr<igeslib::Curve> iso = surface->iso_u(u);  // lives no longer than surface
  std::printf(", iso-curve of %zu points\n", iso->polyline().points.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: geometry_values FILE\n", stderr);
    return 2;
  }
  igeslib::Model model = igeslib::read(argv[1]);  // reports go to standard error
  if (!model.completed()) return 1;
  std::span<igs_directory_entry* const> entities = model.entities();
  bool curve_done = false, surface_done = false;
  for (unsigned i = 0; i < entities.size(); ++i) {
    if (!curve_done && igeslib::is_curve(entities[i])) {
      print_curve(entities[i], 2 * i + 1);
      curve_done = true;
    } else if (!surface_done && igeslib::is_surface(entities[i])) {
      print_surface(entities[i], 2 * i + 1);
      surface_done = true;
    }
  }
  igeslib::Units units = igeslib::model_units(model.global_section());
  igeslib::Box box = igeslib::model_bounds(entities);  // every entity shown, placed
  std::printf("units %s (%g mm each); model box", units.symbol().c_str(), units.millimetres);
  print_point("from", box.min);
  print_point("to", box.max);
  std::printf("\n");
  return 0;
}
