// The parameter token reader: integers, reals, logicals and Hollerith strings of the free-form
// data of the Global and Parameter Data sections. A scanner consumes one token and the
// parameter delimiter behind it and leaves the outcome in param_state; the guards make a
// finished or poisoned entity read as a run of zeros, so entity code is a straight run of reads.
#include <cfenv>
#include <cfloat>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <fast_float/fast_float.h>

#include "igeslib_io.h"
#include "prescan_internal.h"

namespace {

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }

// The first column from at on, up to last + 1, that holds no blank. Records end in runs of
// blanks up to the end of their data columns, so a run is passed eight columns at a time.
[[gnu::always_inline]] inline int skip_blanks(const char* text, int at, int last) {
  if (at <= last && text[at] != ' ') return at;  // the usual: none
  while (at + 7 <= last && igeslib_load_word(text + at) == kIgeslibEightBlanks) at += 8;
  while (at <= last && text[at] == ' ') ++at;
  return at;
}

// Numbers are collected in fixed buffers of this many characters.
constexpr int kNumberLength = 88;

// Room reserved up front for a string token, in bytes; a longer one grows its buffer.
constexpr std::size_t kStringRoom = 4096;

// The value of a collected real: a blank or a repaired leading '.', then sign, digits, '.',
// digits, 'e', sign, digits as they stood. Reads as atof would in the "C" locale, whatever
// the process locale says.
double real_value(const char* text, int length) {
  const char* p = text;
  const char* end = text + length;
  if (*p == ' ') ++p;
  bool negative = false;
  if (*p == '+' || *p == '-') negative = *p++ == '-';
  double value = 0.0;
  auto [stop, ec] = std::from_chars(p, end, value, std::chars_format::general);
  if (ec == std::errc::result_out_of_range) {
    const char* e = std::strchr(p, 'e');
    value = e && e[1] == '-' ? 0.0 : HUGE_VAL;
  } else if (ec != std::errc()) {
    value = 0.0;
  }
  (void)stop;
  return negative ? -value : value;
}

// True for the characters that go on with a number: digits, '.', signs, D, E, d and e.
inline bool carries_number(char c) {
  constexpr auto bit = [](char member) { return std::uint64_t{1} << (member - '+'); };
  constexpr std::uint64_t members = bit('+') | bit('-') | bit('.') | (bit('9') * 2 - bit('0')) |
                                    bit('D') | bit('E') | bit('d') | bit('e');
  unsigned offset = static_cast<unsigned>(static_cast<unsigned char>(c)) - '+';
  return offset < 64 && ((members >> offset) & 1) != 0;
}

// Digits from p up to end into mantissa one at a time; the position after the last digit.
// The whole part of a real as CAD systems write it has a digit or two, which this takes with
// less work than a look at eight.
inline const char* accumulate_digit_by_digit(const char* p, const char* end,
                                             std::uint64_t& mantissa) {
  for (; p < end; ++p) {
    unsigned d = static_cast<unsigned>(*p) - '0';
    if (d > 9) break;
    mantissa = mantissa * 10 + d;
  }
  return p;
}

// Digits from p up to end into mantissa, eight at a time while eight stand there; the position
// after the last digit.
inline const char* accumulate_digits(const char* p, const char* end, std::uint64_t& mantissa) {
  while (end - p >= 8 && fast_float::is_made_of_eight_digits_fast(p)) {
    mantissa = mantissa * 100000000 + fast_float::parse_eight_digits_unrolled(p);
    p += 8;
  }
  return accumulate_digit_by_digit(p, end, mantissa);
}

// The common real at once: optional sign, digits, optional '.' and digits, optional D/E/d/e
// with optional sign and up to four digits, standing whole in the data field from column and
// followed by a character that ends a number. With at most 19 significant digits the decimal
// mantissa is exact in 64 bits, and the nearest double to mantissa * 10^scale is found the way
// the general conversion finds it (an exact multiply or divide when both are exact doubles,
// else the 128-bit product with the power of five). False, with nothing changed, for anything
// else (more digits, a result past the normal doubles, the rare product that can't decide):
// the caller reads it the general way. The exact multiply or divide rounds as the processor
// does: callers take this way only while it rounds to nearest (igeslib_rounds_to_nearest).
[[gnu::always_inline]] inline bool quick_real(const char* line, int column, int end_column,
                                              double* value, int* stop) {
#if FLT_EVAL_METHOD == 0
  const char* p = line + column;
  // A token of more than 41 columns goes the general way, which reports one too long.
  const char* const end = line + (end_column < column + 40 ? end_column : column + 40) + 1;
  bool negative = false;
  if (p < end && (*p == '+' || *p == '-')) negative = *p++ == '-';
  std::uint64_t mantissa = 0;
  const char* const first = p;
  p = accumulate_digit_by_digit(p, end, mantissa);
  std::ptrdiff_t digits = p - first;
  std::int64_t scale = 0;  // the decimal exponent of the mantissa's last digit
  if (p < end && *p == '.') {
    const char* fraction = ++p;
    p = accumulate_digits(p, end, mantissa);
    digits += p - fraction;
    scale = fraction - p;
  }
  if (digits == 0) return false;
  if (digits > 19) {
    // Past 19 digits the mantissa wrapped, unless the leading ones were zeros.
    std::ptrdiff_t leading = 0;
    for (const char* q = first; q < p && (*q == '0' || *q == '.'); ++q) leading += *q == '0';
    if (digits - leading > 19) return false;
  }
  if (p < end && ((*p | 0x20) == 'd' || (*p | 0x20) == 'e')) {
    ++p;
    bool exponent_negative = false;
    if (p < end && (*p == '+' || *p == '-')) exponent_negative = *p++ == '-';
    int exponent = 0;
    const char* const start = p;
    for (; p < end && is_digit(*p) && p - start < 4; ++p) exponent = exponent * 10 + (*p - '0');
    if (p == start) return false;
    scale += exponent_negative ? -exponent : exponent;
  }
  // Whatever would carry the token on, or its end at the end of the field, is the general
  // way's to report.
  if (p >= end || carries_number(*p)) return false;
  using format = fast_float::binary_format<double>;
  double v;
  if (mantissa == 0) {
    v = 0.0;
  } else if (scale >= format::min_exponent_fast_path() &&
             scale <= format::max_exponent_fast_path() &&
             mantissa <= format::max_mantissa_fast_path()) {
    v = static_cast<double>(mantissa);
    v = scale < 0 ? v / format::exact_power_of_ten(-scale) : v * format::exact_power_of_ten(scale);
  } else {
    fast_float::adjusted_mantissa am = fast_float::compute_float<format>(scale, mantissa);
    // Undecided, below the normal doubles or past the largest: the general way.
    if (am.power2 <= 0 || am.power2 >= format::infinite_power()) return false;
    fast_float::to_float(false, am, v);
  }
  *value = negative ? -v : v;
  *stop = static_cast<int>(p - line);
  return true;
#else
  (void)line, (void)column, (void)end_column, (void)value, (void)stop;
  return false;
#endif
}

}  // namespace

bool igeslib_rounds_to_nearest() { return std::fegetround() == FE_TONEAREST; }

// The same for the workers that convert ahead; the reader's own calls are inlined.
bool igeslib_quick_real(const char* line, int column, int end_column, double* value, int* stop) {
  return quick_real(line, column, end_column, value, stop);
}

void IgeslibIO::past_end() {
  ++read_items_past_end;
  if (++entity_items_past_end > limits.items_past_end_per_entity && in_entity) {
    char message[160];
    std::snprintf(message, sizeof message,
                  "Entity skipped: more than %lu parameters read past the end of its record",
                  limits.items_past_end_per_entity);
    skip_entity(message);
  }
  if (read_items_past_end > limits.items_past_end_per_read) {
    char message[160];
    std::snprintf(message, sizeof message,
                  "Read stopped: more than %lu parameters read past the ends of records",
                  limits.items_past_end_per_read);
    report_error(message, -1);
    abort_read();
  }
}

int IgeslibIO::count(int n) {
  if (n <= 0) return 0;
  long long could_hold = file_bytes < 0 ? INT_MAX : file_bytes / 2;
  if (static_cast<long long>(n) >
      could_hold + static_cast<long long>(limits.items_past_end_per_entity)) {
    char message[160];
    std::snprintf(message, sizeof message,
                  "Entity skipped: a count of %d is more than the file can hold", n);
    skip_entity(message);
  }
  return n;
}

unsigned IgeslibIO::capacity_hint(int n) const {
  if (n <= 0) return 0;
  int room = (end_column - column + 2) / 2;
  if (room < 1) room = 1;
  return static_cast<unsigned>(n < room ? n : room);
}

void IgeslibIO::token_error(const char* message) {
  report_error(message, -1);
  record_failed = 1;
  param_state = PARAM_END_OF_RECORD;
}

void IgeslibIO::next_data() {
  do {
    read_record();
    column = skip_blanks(line, column, end_column);
  } while (column > end_column);
}

// After a number: blanks, then a delimiter. The record delimiter is left in place, the
// parameter delimiter consumed. Anything else poisons the entity.
LUMO_HOT static void number_delimiter(IgeslibIO& io, const char* missing) {
  while (io.column <= io.end_column) {
    char c = io.line[io.column];
    if (c == ' ') {
      ++io.column;
      continue;
    }
    if (c == io.record_delimiter) return;
    if (c == io.param_delimiter) {
      ++io.column;
      return;
    }
    break;
  }
  io.token_error(missing);
}

// The same for the character at column, which is within the field: a delimiter right behind
// the number is taken at once.
inline void number_end(IgeslibIO& io, const char* missing) {
  char c = io.line[io.column];
  if (c != ' ') {
    if (c == io.record_delimiter) return;
    if (c == io.param_delimiter) {
      ++io.column;
      return;
    }
  }
  number_delimiter(io, missing);
}

int IgeslibIO::scan_int() {
  // The common integer at once: blanks, a sign, as many digits as a long surely holds, and
  // behind them, within the field, anything that doesn't carry a number on. Anything else
  // takes the general way below from the same column.
  {
    int i = skip_blanks(line, column, end_column);
    const int column_after_blanks = i;
    bool negative = false;
    if (i <= end_column && (line[i] == '+' || line[i] == '-')) negative = line[i++] == '-';
    const int first = i;
    long magnitude = 0;
    for (; i <= end_column && i - first < std::numeric_limits<long>::digits10; ++i) {
      unsigned d = static_cast<unsigned>(line[i]) - '0';
      if (d > 9) break;
      magnitude = magnitude * 10 + static_cast<long>(d);
    }
    if (i > first && i <= end_column && !is_digit(line[i]) && line[i] != '+' && line[i] != '-') {
      column = i;
      param_state = PARAM_VALUE;
      int value = static_cast<int>(negative ? -magnitude : magnitude);
      number_end(*this, "Missing delimiter after integer value");
      return value;
    }
    // No sign and no digit: a delimiter at once is an empty parameter or the record's end.
    if (i == first && i == column_after_blanks && i <= end_column) {
      if (line[i] == param_delimiter) {
        column = i + 1;
        param_state = PARAM_DEFAULTED;
        return 0;
      }
      if (line[i] == record_delimiter) {
        column = i;
        param_state = PARAM_END_OF_RECORD;
        return 0;
      }
    }
  }

  int stored = 0;  // sign and digits
  int phase = 0;   // 0 nothing yet, 1 sign seen, 2 digits seen
  bool negative = false;
  // The magnitude, and whether it passed what a long holds: the value is then the long's
  // limit, as atol gives it, before it is cut to an int.
  std::uint64_t magnitude = 0;
  bool overflow = false;
  for (;;) {
    if (column > end_column) {
      if (phase == 0) {
        next_data();
        continue;
      }
      token_error("Integer values cannot cross line boundaries");
      return 0;
    }
    if (stored == kNumberLength) {
      token_error("Integer value too long");
      return 0;
    }
    char c = line[column];
    if (c == ' ') {
      if (phase != 0) break;
      ++column;
    } else if (c == '+' || c == '-') {
      if (phase != 0) {
        token_error("Unexpected sign in number");
        return 0;
      }
      negative = c == '-';
      ++stored;
      phase = 1;
      ++column;
    } else if (is_digit(c)) {
      if (magnitude > (UINT64_MAX - 9) / 10) overflow = true;
      if (!overflow) magnitude = magnitude * 10 + static_cast<unsigned>(c - '0');
      ++stored;
      phase = 2;
      ++column;
    } else if (phase != 0) {
      break;
    } else if (c == param_delimiter) {
      ++column;
      param_state = PARAM_DEFAULTED;
      return 0;
    } else if (c == record_delimiter) {
      param_state = PARAM_END_OF_RECORD;
      return 0;
    } else {
      token_error("Invalid integer value");
      return 0;
    }
  }
  if (phase == 1) {
    token_error("Invalid integer value");
    return 0;
  }
  const std::uint64_t limit =
      negative ? 0 - static_cast<std::uint64_t>(LONG_MIN) : static_cast<std::uint64_t>(LONG_MAX);
  long wide;
  if (overflow || magnitude > limit)
    wide = negative ? LONG_MIN : LONG_MAX;
  else
    wide = negative ? static_cast<long>(0 - magnitude) : static_cast<long>(magnitude);
  int value = static_cast<int>(wide);
  param_state = PARAM_VALUE;
  number_delimiter(*this, "Missing delimiter after integer value");
  return value;
}

double IgeslibIO::scan_real() {
  if (quick_numbers && nearest_rounding) {
    // Blanks first, as below; a real that may have lost its leading dot is left to the
    // general way, which repairs it.
    int start = skip_blanks(line, column, end_column);
    double value;
    int stop;
    if (start > end_column) {
      next_data();
      start = column;
    }
    // An empty parameter, or the record's end, at once; a delimiter that could be part of a
    // number is the general way's to tell apart.
    const char c = line[start];
    if ((c == param_delimiter || c == record_delimiter) && !carries_number(c)) {
      column = c == param_delimiter ? start + 1 : start;
      param_state = c == param_delimiter ? PARAM_DEFAULTED : PARAM_END_OF_RECORD;
      return 0.0;
    }
    if ((start != 0 || line_length == 80) && ((prescan && prepared_real(start, &value, &stop)) ||
                                              quick_real(line, start, end_column, &value, &stop))) {
      column = stop;
      param_state = PARAM_VALUE;
      number_end(*this, "Missing delimiter after floating point value");
      return value;
    }
  }
  return scan_real_general();
}

bool IgeslibIO::prepared_real(int at, double* value, int* stop) {
  if (line_number != prepared_line) {
    prepared_line = line_number;
    prepared_next = prepared_end = nullptr;
    if (f_rec_section == 'P' && end_column == 63 && line_length == 80) {
      IgeslibPrescan::Span span = prescan->reals_of(line_number, line);
      prepared_next = span.begin;
      prepared_end = span.end;
    }
  }
  while (prepared_next != prepared_end && prepared_next->column < at) ++prepared_next;
  if (prepared_next == prepared_end || prepared_next->column != at) return false;
  *value = prepared_next->value;
  *stop = prepared_next->stop;
  ++prepared_next;
  return true;
}

// Any real, one character at a time, with every repair and report.
[[gnu::noinline]] double IgeslibIO::scan_real_general() {
  // text[0] is a blank, or the '.' that a mailer stripped from the front of the line.
  char text[1 + kNumberLength];
  int stored = 0;  // characters after text[0]
  enum { none, sign, whole, point, fraction, exponent, exponent_sign, exponent_digits };
  int phase = none;
  int digits = 0;
  // A real at the very start of a line whose length isn't 80 may have lost its leading dot.
  bool repair_candidate = column == 0 && line_length != 80;
  text[0] = ' ';
  char c = '\0';
  for (;;) {
    if (column > end_column) {
      if (phase == none) {
        next_data();
        repair_candidate = column == 0 && line_length != 80;
        continue;
      }
      token_error("Floating point values cannot cross line boundaries");
      return 0.0;
    }
    if (stored == kNumberLength - 1) {
      token_error("Floating point number too long");
      return 0.0;
    }
    c = line[column];
    if (is_digit(c)) {
      // A run of digits at once: the common case, kept out of the dispatch below.
      if (phase == none || phase == sign)
        phase = whole;
      else if (phase == point)
        phase = fraction;
      else if (phase == exponent || phase == exponent_sign)
        phase = exponent_digits;
      do {
        text[1 + stored++] = c;
        ++digits;
        ++column;
      } while (column <= end_column && stored < kNumberLength - 1 && is_digit(c = line[column]));
      continue;
    }
    if (c < ' ' || c > 'e') break;
    if (c == ' ') {
      if (phase != none) break;
      repair_candidate = false;
      ++column;
    } else if (c == '+' || c == '-') {
      if (phase == none) {
        phase = sign;
      } else if (phase == exponent) {
        phase = exponent_sign;
      } else {
        token_error("Unexpected sign in number");
        return 0.0;
      }
      text[1 + stored++] = c;
      ++column;
    } else if (c == '.') {
      if (phase == point) {
        // A line that began with a dot, doubled in transport.
        report_error("Ignoring doubled decimal possibly added by emailer", -1);
      } else if (phase <= whole) {
        text[1 + stored++] = c;
        phase = point;
        repair_candidate = false;
      } else {
        token_error("Unexpected decimal in number");
        return 0.0;
      }
      ++column;
    } else if (c == 'D' || c == 'E' || c == 'd' || c == 'e') {
      if ((phase != whole && phase != point && phase != fraction) || digits == 0) {
        token_error("Unexpected exponent in number");
        return 0.0;
      }
      text[1 + stored++] = 'e';
      phase = exponent;
      ++column;
    } else {
      break;
    }
  }

  bool good = phase == whole || phase == fraction || phase == exponent_digits ||
              (phase == point && digits > 0);
  if (!good) {
    if (phase == none && c == param_delimiter) {
      ++column;
      param_state = PARAM_DEFAULTED;
      return 0.0;
    }
    if (phase == none && c == record_delimiter) {
      param_state = PARAM_END_OF_RECORD;
      return 0.0;
    }
    token_error("Invalid floating point value");
    return 0.0;
  }
  text[1 + stored] = '\0';
  if (repair_candidate) {
    report_error("Repairing decimal possibly stripped by emailer", 0);
    text[0] = '.';
  }
  double value = real_value(text, 1 + stored);
  param_state = PARAM_VALUE;
  number_delimiter(*this, "Missing delimiter after floating point value");
  return value;
}

char IgeslibIO::scan_logical() {
  column = skip_blanks(line, column, end_column);
  if (column > end_column) next_data();
  char c = line[column];
  if (c == param_delimiter) {
    ++column;
    param_state = PARAM_DEFAULTED;
    return 0;
  }
  if (c == record_delimiter) {
    param_state = PARAM_END_OF_RECORD;
    return 0;
  }
  if (c != '0' && c != '1') {
    token_error("Logical value must be 0 or 1");
    return 0;
  }
  ++column;
  char next = column <= end_column ? line[column] : '\0';
  if (next != param_delimiter && next != record_delimiter) {
    token_error("Missing delimiter after logical value");
    return 0;
  }
  param_state = PARAM_VALUE;
  if (next == param_delimiter) ++column;
  return c == '1';
}

const char* IgeslibIO::scan_string(bool delimiter_follows_itself) {
  column = skip_blanks(line, column, end_column);
  if (column > end_column) next_data();
  char c = line[column];
  if (c == param_delimiter) {
    ++column;
    param_state = PARAM_DEFAULTED;
    return nullptr;
  }
  if (c == record_delimiter) {
    param_state = PARAM_END_OF_RECORD;
    return nullptr;
  }

  // The length, in digits before the H; past INT_MAX it counts as negative.
  long long length = 0;
  int start = column;
  while (column <= end_column && is_digit(line[column])) {
    if (length <= INT_MAX) length = length * 10 + (line[column] - '0');
    ++column;
  }
  if (column == start || column > end_column || line[column] != 'H') {
    token_error("Missing Hollerith delimiter (H) in string value");
    return nullptr;
  }
  ++column;
  if (length > INT_MAX) {
    token_error("Negative length for string value");
    return nullptr;
  }
  std::size_t n = static_cast<std::size_t>(length);

  // The length is the file's word only: the buffer starts at what a few records could hold
  // and grows with the characters as they come, so that a length of two thousand million in
  // a small file doesn't reserve that much before the file runs out.
  std::size_t room = n + 1 < kStringRoom ? n + 1 : kStringRoom;
  if (string_value.capacity() < room) {
    string_value.resize(0);
    string_value.resize(room);
  }
  std::size_t capacity = string_value.capacity();
  char* text = capacity >= room ? string_value.stop_sharing() : nullptr;
  if (!text) {
    token_error("Can not allocate memory for the string value");
    return nullptr;
  }
  // A string runs on over the end of the data field into the next record.
  for (std::size_t i = 0; i < n; ++i) {
    if (column > end_column) read_record();
    if (i + 1 >= capacity) {
      text = string_value.resize(i + 2);
      if (!text) {
        token_error("Can not allocate memory for the string value");
        return nullptr;
      }
      capacity = string_value.capacity();
    }
    text[i] = line[column++];
  }
  text[n] = '\0';
  param_state = PARAM_VALUE;
  char last = n ? text[n - 1] : line[column - 1];
  if (column > end_column) read_record();

  if (delimiter_follows_itself) {
    // The Global section's first parameter defines the delimiter that must follow it.
    if (line[column] == last) {
      ++column;
      return text;
    }
  } else {
    for (;;) {
      if (column > end_column) {
        read_record();
        continue;
      }
      char d = line[column];
      if (d == ' ') {
        ++column;
        continue;
      }
      if (d == record_delimiter) return text;
      if (d == param_delimiter) {
        ++column;
        return text;
      }
      break;
    }
  }
  token_error("Missing delimiter after string value");
  return text;
}

int IgeslibIO::read_int() {
  if (param_state == PARAM_END_OF_RECORD) {
    past_end();
    return 0;
  }
  int value = scan_int();
  return param_state == PARAM_VALUE ? value : 0;
}

double IgeslibIO::read_real() {
  if (param_state == PARAM_END_OF_RECORD) {
    past_end();
    return 0.0;
  }
  double value = scan_real();
  return param_state == PARAM_VALUE ? value : 0.0;
}

void IgeslibIO::read_reals(double* out, int n) {
  int i = 0;
  while (i < n) {
    // The record's state in locals while the reals are of the common shape, from record to
    // record; anything else (a real the quick way leaves, blanks or a record delimiter behind
    // a real, an empty parameter) is read_real's, and the loop takes up again behind it.
    if (param_state != PARAM_END_OF_RECORD && quick_numbers && nearest_rounding && !prescan &&
        line_length == 80) {
      const char* const text = line;
      const int last = end_column;
      const char delimiter = param_delimiter;
      int at = column;
      const int first = i;
      while (i < n) {
        at = skip_blanks(text, at, last);
        if (at > last) break;  // nothing but blanks left in the record's data columns
        double value;
        int stop;
        if (!quick_real(text, at, last, &value, &stop) || text[stop] != delimiter) break;
        out[i++] = value;
        at = stop + 1;
      }
      if (i != first) {
        column = at;
        param_state = PARAM_VALUE;
      }
      if (i == n) return;
      // The next record with data, as scan_real would take it, and the loop goes on there.
      if (at > last) {
        next_data();
        continue;
      }
    }
    out[i++] = read_real();
  }
}

char IgeslibIO::read_logical() {
  if (param_state == PARAM_END_OF_RECORD) {
    past_end();
    return 0;
  }
  char value = scan_logical();
  return param_state == PARAM_VALUE ? value : 0;
}

const char* IgeslibIO::read_string(bool delimiter_follows_itself) {
  if (param_state == PARAM_END_OF_RECORD) {
    past_end();
    return nullptr;
  }
  const char* value = scan_string(delimiter_follows_itself);
  return param_state == PARAM_VALUE ? value : nullptr;
}
