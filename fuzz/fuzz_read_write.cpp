// Reads a whole file from arbitrary bytes into a fresh design and writes what was read; the
// design is then deleted, so that whatever a read or a write leaves behind shows as a leak.
//
// Each input is read twice: from a buffered stream, where the record reader may take whole
// records from the stream's buffer, and from an unbuffered one, where it reads character by
// character. Both must give the same reports and the same written file.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <igeslib.h>

#include "fuzz_support.h"

namespace {

struct Outcome {
  bool completed = false;
  unsigned long reports = 0;
  std::string written;
};

Outcome read_and_write(const std::uint8_t* data, std::size_t size, bool buffered) {
  Outcome outcome;
  unsigned long reports_before = igeslib_fuzz::reports();
  igeslib_fuzz::ScratchDesign design;
  auto* file = new (design.get()) igs_iges_file;
  {
    igeslib_fuzz::InputStream in(data, size);
    if (!buffered) std::setvbuf(in.get(), nullptr, _IONBF, 0);
    // strict 0: a broken Start or Global section doesn't stop the rest from being read.
    outcome.completed = file->read(in.get(), 0) != nullptr;
  }
  // A read that stopped at a fatal error leaves what it had made; the writer must cope with
  // half-filled entities too.
  LUMO.useDesign(design.get());
  igeslib_fuzz::OutputStream out;
  file->write(out.get(), static_cast<char>(size & 1));
  std::size_t n = out.close();
  outcome.written.assign(out.text(), n);
  outcome.reports = igeslib_fuzz::reports() - reports_before;
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  igeslib_fuzz::setup();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Outcome buffered = read_and_write(data, size, true);
  Outcome unbuffered = read_and_write(data, size, false);
  if (buffered.completed != unbuffered.completed || buffered.reports != unbuffered.reports ||
      buffered.written != unbuffered.written) {
    std::fprintf(stderr,
                 "buffered and unbuffered reads differ: completed %d/%d, reports %lu/%lu, "
                 "written %zu/%zu bytes%s\n",
                 buffered.completed, unbuffered.completed, buffered.reports, unbuffered.reports,
                 buffered.written.size(), unbuffered.written.size(),
                 buffered.written == unbuffered.written ? " (same)" : " (different)");
    std::abort();
  }
  return 0;
}
