// The composite curve (102): its members in order, the parameter running on through their ranges.
#include "geometry_internal.h"

namespace igeslib::detail {

std::unique_ptr<Curve> make_composite_curve(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

}  // namespace igeslib::detail
