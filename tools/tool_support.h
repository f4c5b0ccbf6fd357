// What the command-line tools share: a design holding one file object, a read into it with
// the reports counted, and the reader's progress shown on one line when standard error is a
// terminal (and dropped when it is not).
#pragma once

#include <string>
#include <string_view>
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

// The value of an option given as "--name value" or "--name=value" at argv[i] (i moves past a
// value given apart); null when it has none.
const char* option_value(const char* name, int argc, char** argv, int& i);

// Text as a JSON string. A byte past ASCII is taken as a character of Latin-1 (the
// standard's strings are ASCII; what else a file holds is kept byte for byte that way).
void json_string(std::string& out, std::string_view text);

// While it lives, what is written to standard output goes to standard error: the reader's
// warnings on the version of a file, around a read whose results go to standard output.
class StdoutToStderr {
 public:
  StdoutToStderr();
  ~StdoutToStderr();
  StdoutToStderr(const StdoutToStderr&) = delete;
  StdoutToStderr& operator=(const StdoutToStderr&) = delete;

 private:
  int saved_ = -1;
};

// While it lives, the reader's progress shows on one line of standard error when that is a
// terminal, and is dropped when it is not.
class Progress {
 public:
  Progress();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
};

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
