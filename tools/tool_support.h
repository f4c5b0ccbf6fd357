// What the command-line tools share: a design holding one file object, a read into it with
// the reports counted, and the reader's progress shown on one line when standard error is a
// terminal (and dropped when it is not).
#pragma once

#include <utility>

#include <igeslib.h>

namespace igeslib_tools {

// Exit statuses of the tools.
constexpr int kCompleted = 0;   // the file was read to its end (reports or not)
constexpr int kFatal = 1;       // the read stopped at a fatal error
constexpr int kUsage = 2;       // bad arguments, or a file that can't be opened
constexpr int kDamagedEnd = 3;  // read to its end, but its last record was damaged

// Type and form of an entity. One that the reader could not place keeps its directory
// records as text, and its type and form are read from them.
std::pair<int, int> type_and_form(igs_directory_entry* entity);

class Session {
 public:
  explicit Session(const char* program);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Reads path, not strict, into the file object: kCompleted, kFatal, or kUsage (said on
  // standard error) when the file can't be opened. A damaged last record is accepted, and
  // said on standard error with kDamagedEnd, unless strict_end asks for the library's
  // default, which stops the read there.
  int read(const char* path, bool strict_end);
  // Writes the design to path: kCompleted, or kUsage (said) when it can't be written.
  int write(const char* path, bool zero_as_default);

  igs_iges_file* file() const { return file_; }
  // Reports made since the session began.
  unsigned long reports() const;
  // "program: text" on standard error.
  void complain(const char* text, const char* path) const;

 private:
  const char* program_;
  LumoDesign* design_ = nullptr;
  igs_iges_file* file_ = nullptr;
  unsigned long reports_at_start_ = 0;
};

}  // namespace igeslib_tools
