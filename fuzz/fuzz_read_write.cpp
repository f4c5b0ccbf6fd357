// Reads a whole file from arbitrary bytes into a fresh design and writes what was read (see
// igeslib_fuzz::read_and_write).
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

using igeslib_fuzz::read_and_write;
using Outcome = igeslib_fuzz::ReadWrite;

// The first write read and written again must give the same bytes, save for the known
// exceptions.
void check_settled(const Outcome& first, char zero_as_default) {
  if (first.unsettled) return;
  unsigned long excused_before = igeslib_fuzz::rejected_real_reports();
  Outcome second = read_and_write(first.written, 0, zero_as_default);
  if (second.written == first.written) return;
  if (igeslib_fuzz::rejected_real_reports() != excused_before) return;
  std::fprintf(stderr, "the second write differs from the first (%zu/%zu bytes): %s\n",
               first.written.size(), second.written.size(),
               igeslib_test::first_difference(first.written, second.written).c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  igeslib_fuzz::setup();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  char zero_as_default = static_cast<char>(size & 1);
  // strict 0: a broken Start or Global section doesn't stop the rest from being read.
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Outcome buffered = read_and_write(bytes, 0, zero_as_default, true);
  Outcome unbuffered = read_and_write(bytes, 0, zero_as_default, false);
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
