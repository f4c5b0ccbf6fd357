// igeslib-read-time FILE [N [THREADS]]: the least processor time and the least wall time of N
// reads of FILE (3 by default), each into a fresh design with igs_iges_file::read, the design
// released between reads; printed in milliseconds with the entity count. THREADS is the read's
// thread count (1 by default: the reader alone). The C++ side of bench/python_read.py.
#include <time.h>

#include <cstdio>
#include <cstdlib>

#include <igeslib.h>

namespace {

double seconds(clockid_t clock) {
  timespec now;
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 4) {
    std::fputs("Usage: igeslib-read-time FILE [N [THREADS]]\n", stderr);
    return 2;
  }
  int passes = argc >= 3 ? std::atoi(argv[2]) : 3;
  igeslib_read_settings().threads = argc == 4 ? std::atoi(argv[3]) : 1;
  igeslib_force_load();
  LUMO.quiet(1);
  double least = -1, least_wall = -1, least_reader = -1;
  unsigned entities = 0;
  for (int i = 0; i < passes; ++i) {
    LumoDesign* design = LUMO.newDesign("read-time");
    LUMO.useDesign(design);
    auto* file = new (design) igs_iges_file;
    double start = seconds(CLOCK_PROCESS_CPUTIME_ID), start_wall = seconds(CLOCK_MONOTONIC);
    double start_reader = seconds(CLOCK_THREAD_CPUTIME_ID);
    bool read = file->read(argv[1], 0) != nullptr;
    double spent = seconds(CLOCK_PROCESS_CPUTIME_ID) - start;
    double wall = seconds(CLOCK_MONOTONIC) - start_wall;
    double reader = seconds(CLOCK_THREAD_CPUTIME_ID) - start_reader;
    if (least_wall < 0 || wall < least_wall) least_wall = wall;
    if (least_reader < 0 || reader < least_reader) least_reader = reader;
    if (!read) {
      std::fprintf(stderr, "igeslib-read-time: %s: the read stopped at a fatal error\n", argv[1]);
      return 1;
    }
    entities = file->directory_list_.size();
    if (least < 0 || spent < least) least = spent;
    LUMO.useDesign(nullptr);
    delete design;
  }
  std::printf("%.1f ms %u entities (wall %.1f ms, reader's thread %.1f ms)\n", least * 1e3,
              entities, least_wall * 1e3, least_reader * 1e3);
  return 0;
}
