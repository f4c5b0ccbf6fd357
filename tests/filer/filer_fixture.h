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
  // The record read: its section letter, DE pointer, sequence number, last data column (from
  // 0) and length.
  std::string record() const {
    return std::string(1, io.f_rec_section) + " " + std::to_string(io.back_pointer) + " " +
           std::to_string(io.sequence_number) + " " + std::to_string(io.end_column) + " " +
           std::to_string(io.line_length);
  }

  MemoryFile file;
  IgeslibIO io;
  CapturedReports reports;
};

}  // namespace igeslib_test
