// igeslib-read-time FILE [N]: the least processor time of N reads of FILE (3 by default), each
// into a fresh design with igs_iges_file::read, the design released between reads; printed in
// milliseconds with the entity count. The C++ side of bench/python_read.py.
#include <time.h>

#include <cstdio>
#include <cstdlib>

#include <igeslib.h>

namespace {

double processor_seconds() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fputs("Usage: igeslib-read-time FILE [N]\n", stderr);
    return 2;
  }
  int passes = argc == 3 ? std::atoi(argv[2]) : 3;
  igeslib_force_load();
  LUMO.quiet(1);
  double least = -1;
  unsigned entities = 0;
  for (int i = 0; i < passes; ++i) {
    LumoDesign* design = LUMO.newDesign("read-time");
    LUMO.useDesign(design);
    auto* file = new (design) igs_iges_file;
    double start = processor_seconds();
    bool read = file->read(argv[1], 0) != nullptr;
    double spent = processor_seconds() - start;
    if (!read) {
      std::fprintf(stderr, "igeslib-read-time: %s: the read stopped at a fatal error\n", argv[1]);
      return 1;
    }
    entities = file->directory_list_.size();
    if (least < 0 || spent < least) least = spent;
    LUMO.useDesign(nullptr);
    delete design;
  }
  std::printf("%.1f ms %u entities\n", least * 1e3, entities);
  return 0;
}
