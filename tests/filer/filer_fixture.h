// A filer over a small file stated in the test, with its reports captured.
#pragma once

#include <string>
#include <vector>

#include <igeslib.h>

#include "igeslib_io.h"
#include "support/records.h"
#include "support/reports.h"

namespace igeslib_test {

struct FilerOver {
  explicit FilerOver(const std::string& bytes) : file(bytes) { io.fp = file.get(); }

  // One read_record; false when it ended the read.
  bool next() {
    return igeslib_catch_abort([this] { io.read_record(); });
  }

  // The reports, one "line:column message" each; a NUL warning reads "warning line:column".
  std::vector<std::string> errors() const;

  MemoryFile file;
  IgeslibIO io;
  CapturedReports reports;
};

// A whole file read into a fresh design by igs_iges_file::read, reports captured.
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
  // The reports, one "line:column message" each.
  std::vector<std::string> errors() const;

  LumoDesign* design = nullptr;
  igs_iges_file* file = nullptr;
  igs_iges_file* result = nullptr;
  CapturedReports reports;
};

}  // namespace igeslib_test
