// Reads a whole file from arbitrary bytes, as an application does (igeslib::read of a path,
// here a file in memory), and checks it: the checker reads the records again and walks every
// entity, pointer and list of the model, whatever the file holds. Nothing may crash, hang or
// leak, and every finding must name a code of the catalogue.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <igeslib.h>

#include "fuzz_support.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  igeslib_fuzz::setup();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  int fd = memfd_create("fuzz_check", 0);
  if (fd < 0) std::abort();
  for (std::size_t done = 0; done < size;) {
    ssize_t n = write(fd, data + done, size - done);
    if (n <= 0) std::abort();
    done += static_cast<std::size_t>(n);
  }
  igeslib::ReadOptions options;
  options.echo_reports = false;
  {
    igeslib::Model model = igeslib::read("/proc/self/fd/" + std::to_string(fd), options);
    for (const igeslib::Finding& finding : igeslib::check(model))
      if (!igeslib::find_check_code(finding.code)) std::abort();
  }
  close(fd);
  return 0;
}
