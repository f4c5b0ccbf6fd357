// Uses igeslib the way an application does: one umbrella header, the version, and a design
// made by the runtime.
#include <igeslib.h>

#include <cstdio>

static_assert(__cplusplus >= 202002L, "igeslib's imported targets must compile users with C++20");

int main() {
  LumoDesign* design = LUMO.newDesign("consumer");
  if (design == nullptr) {
    std::fprintf(stderr, "LUMO.newDesign returned no design\n");
    return 1;
  }
  std::printf("igeslib %s\n", igeslib_version());
  return 0;
}
