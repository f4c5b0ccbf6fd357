// The offset curve (130).
#include "geometry_internal.h"

namespace igeslib::detail {

std::unique_ptr<Curve> make_offset_curve(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

}  // namespace igeslib::detail
