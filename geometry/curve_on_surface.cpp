// The curve on a parametric surface (142).
#include "geometry_internal.h"

namespace igeslib::detail {

std::unique_ptr<Curve> make_curve_on_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

}  // namespace igeslib::detail
