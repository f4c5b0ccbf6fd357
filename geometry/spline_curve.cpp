// The parametric spline curve (112): cubic polynomials between breakpoints.
#include "geometry_internal.h"

namespace igeslib::detail {

std::unique_ptr<Curve> make_parametric_spline_curve(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

}  // namespace igeslib::detail
