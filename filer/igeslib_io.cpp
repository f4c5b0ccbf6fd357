// Construction of the filer's state record and its fatal path.
#include <cstdint>
#include <cstring>

#include "igeslib.h"
#include "igeslib_io.h"

namespace {

// Thrown by abort_read, caught only by igeslib_catch_abort: it unwinds every frame between a
// fatal read error and the read driver, so that nothing on the way leaks.
struct IgeslibReadAbort {
  int code;
};

// Thrown by skip_entity, caught by igeslib_catch_skip in the Parameter Data section's loop.
struct IgeslibEntitySkip {};

}  // namespace

IgeslibIO::IgeslibIO() {
  std::memset(line, ' ', sizeof line - 1);
  line[sizeof line - 1] = '\0';
}

IgeslibIO::~IgeslibIO() = default;

void IgeslibIO::abort_read() { throw IgeslibReadAbort{-100}; }

void IgeslibIO::skip_entity(const char* message) {
  report_error(message, -1);
  if (!in_entity) abort_read();
  throw IgeslibEntitySkip{};
}

void IgeslibIO::add_note(IgeslibNoteKind kind, const IgeslibField& field, int value, int expected) {
  IgeslibReadNote note;
  note.kind = kind;
  note.param_state = static_cast<char>(param_state);
  note.de = entity_de;
  note.line = line_number;
  note.field = field;
  note.value = value;
  note.expected = expected;
  notes->push_back(note);
}

IgeslibLimits& igeslib_limits() {
  static IgeslibLimits limits;
  return limits;
}

IgeslibReadSettings& igeslib_read_settings() {
  static IgeslibReadSettings settings;
  return settings;
}

bool igeslib_catch_skip(void (*body)(void* context), void* context) {
  try {
    body(context);
    return true;
  } catch (const IgeslibEntitySkip&) {
    return false;
  }
}

bool igeslib_catch_abort(void (*body)(void* context), void* context) {
  try {
    body(context);
    return true;
  } catch (const IgeslibReadAbort&) {
    return false;
  }
}

IgeslibIO* igeslib_filer() {
  LumoDesign* design = LUMO.design();
  auto* file = design ? lumo_cast<igs_iges_file>(design->rootObject()) : nullptr;
  return file ? file->igesFiler() : nullptr;
}

bool igeslib_scan_int(const char* text, int width, int* value) {
  // Blanks, then digits to the end of the field: nearly every fixed field has this shape, and
  // nine digits at most cannot leave the range of int.
  if (width <= 9) {
    int start = 0;
    while (start < width && text[start] == ' ') ++start;
    if (start == width) return false;
    unsigned magnitude = 0;
    int end = start;
    for (; end < width && static_cast<unsigned char>(text[end] - '0') < 10; ++end)
      magnitude = magnitude * 10 + static_cast<unsigned>(text[end] - '0');
    if (end == width && end > start) {
      *value = static_cast<int>(magnitude);
      return true;
    }
  }
  int i = 0;
  auto blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  while (i < width && text[i] != '\0' && blank(text[i])) ++i;
  bool negative = false;
  if (i < width && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  long long magnitude = 0;
  int digits = 0;
  for (; i < width && text[i] >= '0' && text[i] <= '9'; ++i, ++digits)
    if (magnitude < (1LL << 40)) magnitude = magnitude * 10 + (text[i] - '0');
  if (digits == 0) return false;
  // Beyond the range of int the value saturates, as the formatted scan's conversion does.
  if (magnitude > 2147483647LL + (negative ? 1 : 0)) magnitude = 2147483647LL + (negative ? 1 : 0);
  *value = static_cast<int>(negative ? -magnitude : magnitude);
  return true;
}
