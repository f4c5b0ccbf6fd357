// Reads a whole file from arbitrary bytes into a fresh design and writes what was read; the
// design is then deleted, so that whatever a read or a write leaves behind shows as a leak.
//
// Each input is read twice: from a buffered stream, where the record reader may take whole
// records from the stream's buffer, and from an unbuffered one, where it reads character by
// character. Both must give the same reports and the same written file.
//
// Where the read completes, the written file is read and written again, and the second write
// must give the same bytes as the first, save for the known exceptions of
// tests/support/settle.h: write rules kept as they are although what they write reads back
// different.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <igeslib.h>

#include "fuzz_support.h"
#include "support/settle.h"

namespace {

struct Outcome {
  bool completed = false;
  unsigned long reports = 0;
  std::string written;
  const char* unsettled = nullptr;  // why the model can't write the same bytes twice
};

Outcome read_and_write(const std::uint8_t* data, std::size_t size, bool buffered,
                       char zero_as_default) {
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
  outcome.unsettled = igeslib_test::unsettled_reason(file, zero_as_default);
  // A read that stopped at a fatal error leaves what it had made; the writer must cope with
  // half-filled entities too.
  LUMO.useDesign(design.get());
  igeslib_fuzz::OutputStream out;
  file->write(out.get(), zero_as_default);
  std::size_t n = out.close();
  outcome.written.assign(out.text(), n);
  outcome.reports = igeslib_fuzz::reports() - reports_before;
  return outcome;
}

[[noreturn]] void unsettled(const std::string& first, const std::string& second, int pass) {
  std::size_t at = 0;
  while (at < first.size() && at < second.size() && first[at] == second[at]) ++at;
  std::size_t line_start = first.rfind('\n', at);
  line_start = line_start == std::string::npos ? 0 : line_start + 1;
  std::fprintf(stderr,
               "write %d differs from write %d (%zu/%zu bytes), from byte %zu:\n"
               "write %d: %.81s\nwrite %d: %.81s\n",
               pass + 1, pass, first.size(), second.size(), at, pass, first.c_str() + line_start,
               pass + 1, line_start < second.size() ? second.c_str() + line_start : "");
  std::abort();
}

Outcome read_back(const Outcome& written, char zero_as_default) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(written.written.data());
  return read_and_write(bytes, written.written.size(), true, zero_as_default);
}

// The first write read and written again must give the same bytes, save for the known
// exceptions; those that the third write mends must be mended there.
void check_settled(const Outcome& first, char zero_as_default) {
  if (first.unsettled) return;
  unsigned long excused_before = igeslib_fuzz::rejected_real_reports();
  Outcome second = read_back(first, zero_as_default);
  if (second.written == first.written) return;
  if (igeslib_fuzz::rejected_real_reports() != excused_before) return;
  if (!igeslib_test::first_difference(first.written, second.written).empty())
    unsettled(first.written, second.written, 1);
  Outcome third = read_back(second, zero_as_default);
  if (third.written != second.written) unsettled(second.written, third.written, 2);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  igeslib_fuzz::setup();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  char zero_as_default = static_cast<char>(size & 1);
  Outcome buffered = read_and_write(data, size, true, zero_as_default);
  Outcome unbuffered = read_and_write(data, size, false, zero_as_default);
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
  if (buffered.completed) check_settled(buffered, zero_as_default);
  return 0;
}
