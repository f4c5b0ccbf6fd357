// A filer over a small file stated in the test, with its reports captured.
#pragma once

#include <string>
#include <vector>

#include <igeslib.h>

#include "igeslib_io.h"
#include "support/file_read.h"
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
  std::vector<std::string> errors() const { return report_lines(reports); }

  MemoryFile file;
  IgeslibIO io;
  CapturedReports reports;
};

}  // namespace igeslib_test
