// A whole IGES file, given as bytes, read into a fresh design; the reports captured.
#pragma once

#include <string>
#include <vector>

#include <igeslib.h>

#include "support/reports.h"

namespace igeslib_test {

// The file that a design's file object writes.
std::string write_file(LumoDesign* design, igs_iges_file* file, char zero_as_default);

// The reports of an error output, one "line:column message" each; a NUL warning reads
// "warning line:column".
std::vector<std::string> report_lines(const CapturedReports& reports);

// Version warnings and progress lines off while in scope.
struct Quiet {
  char was = LUMO.quiet();
  Quiet() { LUMO.quiet(1); }
  ~Quiet() { LUMO.quiet(was); }
};

struct FileRead {
  // keep_reports false: the reports are only counted.
  explicit FileRead(const std::string& bytes, char strict = 0, bool keep_reports = true);
  ~FileRead();
  FileRead(const FileRead&) = delete;
  FileRead& operator=(const FileRead&) = delete;

  // Entity i of the directory list, as class X; null when it is not one.
  template <class X>
  X* entity(unsigned i) {
    return lumo_cast<X>((*file->directory_entries())[i]);
  }
  unsigned size() { return file->directory_entries()->size(); }
  std::vector<std::string> errors() const { return report_lines(reports); }
  std::string written(char zero_as_default) { return write_file(design, file, zero_as_default); }

  LumoDesign* design = nullptr;
  igs_iges_file* file = nullptr;
  igs_iges_file* result = nullptr;  // what read answered
  CapturedReports reports;
};

}  // namespace igeslib_test
