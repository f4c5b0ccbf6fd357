// Copious data as polylines (106 forms 1-3, 11-13, 63).
#include "geometry_internal.h"

namespace igeslib::detail {

std::unique_ptr<Curve> make_copious_data(igs_directory_entry*, Build& build) {
  return build.fail("not evaluated yet");
}

}  // namespace igeslib::detail
