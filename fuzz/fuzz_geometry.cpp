// Reads a whole file from arbitrary bytes and evaluates everything the geometry floor
// evaluates: every curve and surface is made, evaluated at its ends and inside, turned into a
// short polyline and boxed; the model is placed and boxed. Nothing may crash, hang or leak,
// whatever the pointers, counts and numbers of the file.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <igeslib.h>

#include "fuzz_support.h"

namespace {

// Keeps the time of one input within the fuzzer's limit under the sanitizers.
constexpr int kEntitiesEvaluated = 400;

void exercise(igs_directory_entry* entity) {
  igeslib::Tolerance coarse;
  coarse.max_points = 64;
  std::string why;
  if (auto curve = igeslib::make_placed_curve(entity, &why)) {
    igeslib::Interval r = curve->finite_range();
    for (double t : {r.lo, 0.5 * (r.lo + r.hi), r.hi, r.hi + 1}) curve->derivative(t);
    curve->polyline(coarse);
    curve->breaks();
  }
  if (auto surface = igeslib::make_placed_surface(entity, &why)) {
    igeslib::Domain d = surface->finite_domain();
    for (double u : {d.u.lo, 0.5 * (d.u.lo + d.u.hi), d.u.hi})
      for (double v : {d.v.lo, d.v.hi}) surface->normal(u, v);
    surface->iso_u(d.u.lo)->polyline(coarse);
    surface->iso_v(0.5 * (d.v.lo + d.v.hi))->polyline(coarse);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  igeslib_fuzz::setup();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  igeslib_fuzz::ScratchDesign scratch;
  igs_iges_file* file = igeslib_fuzz::read_file(scratch, data, size);
  if (!file) return 0;
  std::span<igs_directory_entry* const> entities = igeslib_fuzz::entities_of(file);
  int evaluated = 0;
  for (igs_directory_entry* e : entities) {
    if (!igeslib::is_curve(e) && !igeslib::is_surface(e)) continue;
    if (++evaluated > kEntitiesEvaluated) break;
    exercise(e);
  }
  igeslib::model_units(file->global_section());
  igeslib::model_bounds(entities);
  for (const igeslib::Placed& p : igeslib::placements(entities)) igeslib::colour_of(p.entity);
  return 0;
}
