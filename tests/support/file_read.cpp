#include "support/file_read.h"

#include <cstdio>

#include "support/corpus.h"
#include "support/model_support.h"
#include "support/records.h"

namespace igeslib_test {

std::vector<std::string> report_lines(const CapturedReports& reports) {
  std::vector<std::string> out;
  for (const std::string& piece : reports.pieces()) {
    int line = 0, column = 0, used = 0;
    if (std::sscanf(piece.c_str(), "Error at line #: %d, column #: %d\n\t%n", &line, &column,
                    &used) == 2 &&
        used > 0) {
      std::string message = piece.substr(static_cast<std::size_t>(used));
      if (!message.empty() && message.back() == '\n') message.pop_back();
      out.push_back(std::to_string(line) + ":" + std::to_string(column) + " " + message);
    } else if (std::sscanf(piece.c_str(), "Warning at line #: %d, column #: %d", &line, &column) ==
               2) {
      out.push_back("warning " + std::to_string(line) + ":" + std::to_string(column));
    }
  }
  return out;
}

FileRead::FileRead(const std::string& bytes, char strict, bool keep_reports)
    : reports(keep_reports) {
  load_model();
  design = LUMO.newDesign("read", nullptr);
  LUMO.useDesign(design);
  file = new (design) igs_iges_file;
  MemoryFile stream(bytes);
  result = file->read(stream.get(), strict);
  LUMO.useDesign(design);
}

std::string write_file(LumoDesign* design, igs_iges_file* file, char zero_as_default) {
  LUMO.useDesign(design);
  FILE* out = std::tmpfile();
  file->write(out, zero_as_default);
  std::string bytes = slurp(out);
  std::fclose(out);
  return bytes;
}

FileRead::~FileRead() {
  if (LUMO.design() == design) LUMO.useDesign(nullptr);
  delete design;
}

}  // namespace igeslib_test
