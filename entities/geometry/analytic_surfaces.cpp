// The one hand-written step of the analytic surfaces.
#include "../igeslib_parameters.h"

void igs_plane_surface_entity::pdread_denrml(IgeslibIO* io) {
  denrml(
      igeslib_read_pointer<igs_direction_entity>(io, {"denrml", &lumotype_igs_direction_entity}));
}

// The normal is written by the test of the location: a plane surface without a location writes
// no normal either, whatever it holds.
void igs_plane_surface_entity::pdwrite_denrml(IgeslibIO* io) {
  igeslib_write_pointer(io, deloc() ? denrml() : nullptr);
}
