// Error contexts, the reporter and the runtime's table of numbered messages.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "lumo_internal.h"

namespace {

struct NumberedMessage {
  int code;
  const char* text;  // one %s: the argument of the report
};

const NumberedMessage kMessages[] = {
    {2001, "Out of memory while making %s"},
    {2012, "No such design: %s"},
    {2020, "Object of class %s cannot be created"},
    {2034, "Cannot open file %s"},
    {2035, "Cannot read file %s"},
    {2036, "Cannot write file %s"},
};

}  // namespace

void lumo_vector::append(void* p) {
  if (size_ == capacity_) {
    unsigned grown = capacity_ ? capacity_ * 2 : 8;
    auto** fresh = new void*[grown];
    if (size_) std::memcpy(fresh, items_, size_ * sizeof(void*));
    delete[] items_;
    items_ = fresh;
    capacity_ = grown;
  }
  items_[size_++] = p;
}

lumo_vector::~lumo_vector() { delete[] items_; }

void LumoErrorReporter::use_stderr() {
  stream_ = nullptr;
  callback_ = nullptr;
}

void LumoErrorReporter::use_stream(FILE* stream) {
  stream_ = stream;
  callback_ = nullptr;
}

void LumoErrorReporter::use_callback(LumoErrorCallback callback, void* user) {
  callback_ = callback;
  user_ = user;
}

// Text sent while the stack holds an entry joins the report that the latest
// entry opened; any other text is a report of its own.
void LumoErrorReporter::emit(const char* text, int code) {
  if (!text) return;
  if (stack.size() == 0) {
    ++count_;
  } else if (stack.pushes() != counted_bracket_) {
    ++count_;
    counted_bracket_ = stack.pushes();
  }
  if (callback_) {
    callback_(text, code, user_);
  } else {
    std::fputs(text, stream_ ? stream_ : stderr);
    std::fflush(stream_ ? stream_ : stderr);
  }
}

const char* LumoErrorContext::message_text(int code) {
  for (const NumberedMessage& m : kMessages)
    if (m.code == code) return m.text;
  return nullptr;
}

void LumoErrorContext::report(int code, const char* argument) {
  char body[1024];
  const char* text = message_text(code);
  if (!argument) argument = "(null)";
  if (text)
    std::snprintf(body, sizeof body, text, argument);
  else
    std::snprintf(body, sizeof body, "%s", argument);
  char line[1100];
  std::snprintf(line, sizeof line, "Error %d: %s\n", code, body);
  LUMO.error_reporter()->emit(line, code);
}

void LumoErrorContext::text(const char* line) { LUMO.error_reporter()->emit(line, 0); }

// A formatted report is a line: it ends with a line end, added when the
// format does not give one.
void LumoErrorContext::format(const char* fmt, ...) {
  char small[512];
  va_list args;
  va_start(args, fmt);
  va_list again;
  va_copy(again, args);
  int n = std::vsnprintf(small, sizeof small - 1, fmt, args);
  va_end(args);
  if (n < 0) {
    va_end(again);
    return;
  }
  auto size = static_cast<std::size_t>(n);
  char* text = small;
  if (size >= sizeof small - 1) {
    text = new char[size + 2];
    std::vsnprintf(text, size + 1, fmt, again);
  }
  va_end(again);
  if (size == 0 || text[size - 1] != '\n') {
    text[size] = '\n';
    text[size + 1] = '\0';
  }
  LUMO.error_reporter()->emit(text, 0);
  if (text != small) delete[] text;
}

LumoErrorContext* lumo_ec() {
  static LumoErrorContext context("general");
  return &context;
}

LumoErrorContext* lumo_io_ec() {
  static LumoErrorContext context("io");
  return &context;
}
