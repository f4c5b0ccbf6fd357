// The conic arc (104): ellipse, hyperbola and parabola from the coefficients of the conic.
#include "geometry_internal.h"

namespace igeslib::detail {

std::unique_ptr<Curve> make_conic_arc(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

}  // namespace igeslib::detail
