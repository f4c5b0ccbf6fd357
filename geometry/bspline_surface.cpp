// The rational B-spline surface (128).
#include "geometry_internal.h"

namespace igeslib::detail {

std::unique_ptr<Surface> make_bspline_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

}  // namespace igeslib::detail
