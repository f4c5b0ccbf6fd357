// The analytic surfaces (190-198).
#include "geometry_internal.h"

namespace igeslib::detail {

std::unique_ptr<Surface> make_plane_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_cylindrical_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_conical_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_spherical_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_toroidal_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

}  // namespace igeslib::detail
