#include "support/reports.h"

#include "lumo.h"

namespace igeslib_test {

CapturedReports::CapturedReports(bool keep_text) {
  count_at_start_ = LUMO.error_reporter()->count();
  if (keep_text)
    LUMO.error_reporter()->use_callback(
        [](const char* text, int, void* user) {
          static_cast<CapturedReports*>(user)->pieces_.emplace_back(text);
        },
        this);
  else
    LUMO.error_reporter()->use_callback([](const char*, int, void*) {}, nullptr);
  LUMO.message_sink(
      [](const char* line, void* user) {
        static_cast<CapturedReports*>(user)->messages_.emplace_back(line);
      },
      this);
}

CapturedReports::~CapturedReports() {
  LUMO.error_reporter()->use_stderr();
  LUMO.message_sink(nullptr, nullptr);
}

std::string CapturedReports::text() const {
  std::string out;
  for (const std::string& piece : pieces_) out += piece;
  return out;
}

unsigned long CapturedReports::count() const {
  return LUMO.error_reporter()->count() - count_at_start_;
}

void CapturedReports::clear() {
  pieces_.clear();
  messages_.clear();
  count_at_start_ = LUMO.error_reporter()->count();
}

}  // namespace igeslib_test
