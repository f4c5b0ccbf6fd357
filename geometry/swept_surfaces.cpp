// Planes, ruled, revolved, tabulated, offset, bounded and trimmed surfaces.
#include "geometry_internal.h"

namespace igeslib::detail {

std::unique_ptr<Surface> make_plane(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_ruled_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_surface_of_revolution(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_tabulated_cylinder(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_offset_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_bounded_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

std::unique_ptr<Surface> make_trimmed_surface(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

}  // namespace igeslib::detail
