// What the fuzz targets share: a quiet library (reports are only counted, progress lines and
// version warnings dropped), input bytes as a readable stream, and a seekable stream in
// memory to write to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>

class LumoDesign;
class igs_directory_entry;
class igs_iges_file;

namespace igeslib_fuzz {

// Bounds on items read past the ends of records that the targets set, lower than the
// library's defaults (see README.md).
constexpr unsigned long kItemsPastEndPerEntity = 10000;
constexpr unsigned long kItemsPastEndPerRead = 50000;

// Loads the data model once, sets the bounds above and silences the library. With
// IGESLIB_FUZZ_VERBOSE set in the environment, reports go to standard error instead, for looking at
// one input.
void setup();

// Reports sent by the library since setup.
unsigned long reports();
// Of those, the reports of a real in a form that the writer makes and the reader rejects (see
// tests/support/settle.h).
unsigned long rejected_real_reports();

// A binary read stream over the bytes (an empty input too); closed by the destructor.
class InputStream {
 public:
  InputStream(const std::uint8_t* data, std::size_t size);
  ~InputStream();
  InputStream(const InputStream&) = delete;
  InputStream& operator=(const InputStream&) = delete;
  FILE* get() const { return fp_; }

 private:
  FILE* fp_ = nullptr;
};

// A seekable write stream over one fixed buffer, reused by every run; what goes past its end
// is dropped. text() is valid after close().
class OutputStream {
 public:
  OutputStream();
  ~OutputStream();
  OutputStream(const OutputStream&) = delete;
  OutputStream& operator=(const OutputStream&) = delete;
  FILE* get() const { return fp_; }
  // Ends the stream; the bytes written, as far as the furthest position reached.
  std::size_t close();
  const char* text() const;

 private:
  FILE* fp_ = nullptr;
  std::size_t size_ = 0;
};

// A fresh design, current while the object lives, and deleted with everything in it.
class ScratchDesign {
 public:
  ScratchDesign();
  ~ScratchDesign();
  ScratchDesign(const ScratchDesign&) = delete;
  ScratchDesign& operator=(const ScratchDesign&) = delete;
  LumoDesign* get() const { return design_; }

 private:
  LumoDesign* design_ = nullptr;
};

// A whole file read from the bytes into the scratch design; null when the read stopped.
igs_iges_file* read_file(const ScratchDesign& scratch, const std::uint8_t* data, std::size_t size);
// The entities of a file read, in file order.
std::span<igs_directory_entry* const> entities_of(igs_iges_file* file);

// A file read into a fresh design, which is deleted after the write, so that whatever a read or
// a write leaves behind shows as a leak.
struct ReadWrite {
  bool completed = false;
  unsigned long reports = 0;
  std::string written;              // what was read, written, also after a fatal error
  const char* unsettled = nullptr;  // why the model can't write the same bytes twice
};
// buffered false: the record reader takes the stream character by character.
ReadWrite read_and_write(std::string_view bytes, char strict, char zero_as_default,
                         bool buffered = true);

}  // namespace igeslib_fuzz
