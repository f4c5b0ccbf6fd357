#include "filer_fixture.h"

#include "model/model_support.h"

#include <cstdio>
#include <cstring>

namespace igeslib_test {

namespace {

std::vector<std::string> errors_of(const CapturedReports& reports) {
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

}  // namespace

std::vector<std::string> FilerOver::errors() const { return errors_of(reports); }

FileRead::FileRead(const std::string& bytes, char strict, bool keep_reports)
    : reports(keep_reports) {
  load_model();
  design = LUMO.newDesign("read", nullptr);
  LumoDesign* before = LUMO.useDesign(design);
  file = new (design) igs_iges_file;
  MemoryFile stream(bytes);
  result = file->read(stream.get(), strict);
  LUMO.useDesign(design);
  (void)before;
}

FileRead::~FileRead() {
  if (LUMO.design() == design) LUMO.useDesign(nullptr);
  delete design;
}

std::vector<std::string> FileRead::errors() const { return errors_of(reports); }

}  // namespace igeslib_test
