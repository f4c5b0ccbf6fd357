// The writer: records, parameter tokens and the section frames. A record is assembled in line,
// which holds blanks between uses; column is where the next character goes and end_column the
// last column of free-form data. write_line is the one place that emits a record. Numbers are
// written in the "C" locale's form whatever the process locale is.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include <sys/stat.h>

#include <igeslib.h>

#include "igeslib_directory.h"
#include "igeslib_io.h"

namespace {

// Columns of a written record, 0-based.
constexpr int kPointerColumn = 65;   // P section: DE pointer, "%7d"
constexpr int kLetterColumn = 72;    // section letter
constexpr int kSequenceColumn = 73;  // sequence number, "%7d"
constexpr int kLineEnd = 80;         // LF
constexpr int kStartLength = 72;     // longest Start section text

// Room for any integer or real token and its NUL.
constexpr int kTokenLength = 32;

constexpr std::uint64_t kZeroDigits = 0x3030303030303030ull;  // "00000000"

#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
// The digits of v (below 10^8) at out as "%u" gives them, from one word of digits with its
// leading zeros shifted out; eight bytes are stored. Their number.
inline int short_digits(std::uint32_t v, char* out) {
  std::uint64_t word = igeslib_eight_digits_word(v);
  int lead = std::countr_zero((word ^ kZeroDigits) | (std::uint64_t{1} << 56)) / 8;
  word >>= 8 * lead;
  std::memcpy(out, &word, sizeof word);
  return 8 - lead;
}
#endif

// The text "%d" gives, NUL-terminated; its length.
inline int int_text(int v, char* out) {
#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  unsigned magnitude = v < 0 ? 0u - static_cast<unsigned>(v) : static_cast<unsigned>(v);
  if (magnitude < 100000000) {
    out[0] = '-';
    char* o = out + (v < 0);
    int n = short_digits(magnitude, o);
    o[n] = '\0';
    return static_cast<int>(o - out) + n;
  }
#endif
  auto result = std::to_chars(out, out + kTokenLength - 1, v);
  *result.ptr = '\0';
  return static_cast<int>(result.ptr - out);
}

// The text "%.15G" gives for the significant digits digits[0..n) (no trailing zero), the
// decimal exponent of the first and the sign, with letter for the exponent's: the fixed form
// for exponents from -4 to 14, else the exponent form with at least two exponent digits.
int shape_g15(const char* digits, int n, int exponent, bool negative, char letter, char* out) {
  char* o = out;
  if (negative) *o++ = '-';
  if (exponent < -4 || exponent >= 15) {
    *o++ = digits[0];
    if (n > 1) {
      *o++ = '.';
      for (int i = 1; i < n; ++i) *o++ = digits[i];
    }
    *o++ = letter;
    *o++ = exponent < 0 ? '-' : '+';
    int magnitude = exponent < 0 ? -exponent : exponent;
    if (magnitude < 10) *o++ = '0';
    o = std::to_chars(o, out + kTokenLength - 2, magnitude).ptr;
  } else if (exponent >= 0) {
    std::size_t whole = static_cast<std::size_t>(exponent) + 1, count = static_cast<std::size_t>(n);
    if (count > whole) {
      std::memcpy(o, digits, whole);
      o += whole;
      *o++ = '.';
      std::memcpy(o, digits + whole, count - whole);
      o += count - whole;
    } else {
      std::memcpy(o, digits, count);
      std::memset(o + count, '0', whole - count);
      o += whole;
    }
  } else {
    *o++ = '0';
    *o++ = '.';
    for (int i = -1; i > exponent; --i) *o++ = '0';
    for (int i = 0; i < n; ++i) *o++ = digits[i];
  }
  *o = '\0';
  return static_cast<int>(o - out);
}

// The text "%.15G" gives in the "C" locale, NUL-terminated; its length. to_chars follows the
// "C" locale's printf exactly and never a process locale's decimal mark.
int g15_text(double v, char* out) {
  // The shortest digits that give v back are, when there are fifteen or fewer of them, the
  // digits "%.15G" prints: v lies within half a unit of its last binary place of them, far
  // less than half a unit of the fifteenth decimal place. They come much cheaper than the
  // rounded conversion, which is kept for the rest. Subnormal values carry fewer binary
  // places, so the argument doesn't hold for them.
  if (std::isfinite(v) && (v == 0.0 || std::fabs(v) >= std::numeric_limits<double>::min())) {
    char shortest[40];
    auto done =
        std::to_chars(shortest, shortest + sizeof shortest, v, std::chars_format::scientific);
    const char* p = shortest;
    const char* end = done.ptr;
    bool negative = *p == '-';
    if (negative) ++p;
    char digits[24];
    int n = 0;
    for (; p != end && *p != 'e'; ++p)
      if (*p != '.') digits[n++] = *p;
    int exponent = 0;
    std::from_chars(p + 1 + (p[1] == '+'), end, exponent);
    if (n <= 15) return shape_g15(digits, n, exponent, negative, 'E', out);
  }
  auto result = std::to_chars(out, out + kTokenLength - 2, v, std::chars_format::general, 15);
  *result.ptr = '\0';
  for (char* p = out; p != result.ptr; ++p)
    if (*p >= 'a' && *p <= 'z') *p = static_cast<char>(*p - 'a' + 'A');
  return static_cast<int>(result.ptr - out);
}

// A real as a token from "%.15G": a point behind a whole number (or behind any text that has
// neither point nor exponent), and a D for the exponent letter. Any value.
int real_text_general(double v, char* out) {
  double whole = 0.0;
  double fraction = std::modf(v, &whole);
  int n = g15_text(v, out);
  if (fraction == 0.0 || (!std::strchr(out, '.') && !std::strchr(out, 'E'))) {
    out[n++] = '.';
    out[n] = '\0';
  }
  if (char* e = std::strchr(out, 'E')) *e = 'D';
  return n;
}

#ifdef __SIZEOF_INT128__
// 10^0 to 10^19, the powers of ten that fit 64 bits.
constexpr std::uint64_t kPowersOfTen[] = {1ull,
                                          10ull,
                                          100ull,
                                          1000ull,
                                          10000ull,
                                          100000ull,
                                          1000000ull,
                                          10000000ull,
                                          100000000ull,
                                          1000000000ull,
                                          10000000000ull,
                                          100000000000ull,
                                          1000000000000ull,
                                          10000000000000ull,
                                          100000000000000ull,
                                          1000000000000000ull,
                                          10000000000000000ull,
                                          100000000000000000ull,
                                          1000000000000000000ull,
                                          10000000000000000000ull};
constexpr unsigned __int128 power_of_ten(int p) {
  return p < 20 ? kPowersOfTen[p]
                : static_cast<unsigned __int128>(kPowersOfTen[19]) * kPowersOfTen[p - 19];
}

// a (positive and normal, 1e-8 <= a < 1e15) rounded to fifteen significant digits as "%.15G"
// rounds it, exactly and a tie to the even neighbour: the digits as a number from 10^14 to
// 10^15 - 1 and the decimal exponent of the first. a is m / 2^k with m below 2^53 and k from 3
// to 79; m * 10^p for the p needed (0 to 22) stays below 2^127, so the quotient by 2^k and its
// remainder are exact. False outside that range.
bool round_to_fifteen_digits(double a, std::uint64_t* digits, int* exponent) {
  if (!(a >= 1e-8 && a < 1e15)) return false;
  std::uint64_t bits;
  std::memcpy(&bits, &a, sizeof bits);
  int binary_exponent = static_cast<int>(bits >> 52) - 1023;
  std::uint64_t m = (bits & ((std::uint64_t{1} << 52) - 1)) | (std::uint64_t{1} << 52);
  int k = 52 - binary_exponent;
  // A first guess at floor(log10 a) from the binary exponent (78913 / 2^18 is log10 2), one
  // off at most; the quotient's digit count corrects it.
  int e10 = ((binary_exponent + 1) * 78913) >> 18;
  for (int tries = 0; tries < 3; ++tries) {
    int p = 14 - e10;
    if (p < 0 || p > 22) return false;
    unsigned __int128 product = static_cast<unsigned __int128>(m) * power_of_ten(p);
    // The quotient by 2^(k - 1), below 2^64: q and behind it, as the lowest bit, the first
    // binary place dropped.
    auto halves = static_cast<std::uint64_t>(product >> (k - 1));
    std::uint64_t q = halves >> 1;
    if (q >= kPowersOfTen[15]) {
      ++e10;
    } else if (q < kPowersOfTen[14]) {
      --e10;
    } else {
      // Up on a half and more, a half alone (no bit of product below that place) to even.
      bool beyond_half = (product << (129 - k)) != 0;
      if ((halves & 1) && (beyond_half || (q & 1))) ++q;
      if (q == kPowersOfTen[15]) {
        q = kPowersOfTen[14];
        ++e10;
      }
      *digits = q;
      *exponent = e10;
      return true;
    }
  }
  return false;
}
#endif

// Copies n bytes (1 to 32) from 32 readable bytes at from: one or two fixed-size copies that
// may overlap, rather than a call for a length known only at run time.
inline void copy_short(char* to, const char* from, std::size_t n) {
  if (n >= 16) {
    std::memcpy(to, from, 16);
    std::memcpy(to + n - 16, from + n - 16, 16);
  } else if (n >= 8) {
    std::memcpy(to, from, 8);
    std::memcpy(to + n - 8, from + n - 8, 8);
  } else if (n >= 4) {
    std::memcpy(to, from, 4);
    std::memcpy(to + n - 4, from + n - 4, 4);
  } else if (n > 0) {
    to[0] = from[0];
    to[n / 2] = from[n / 2];
    to[n - 1] = from[n - 1];
  }
}

// The sixteen decimal digits of v (below 10^16, leading zeros kept) at out[0..16).
inline void sixteen_digits(char* out, std::uint64_t v) {
  igeslib_eight_digits(out, static_cast<std::uint32_t>(v / 100000000));
  igeslib_eight_digits(out + 8, static_cast<std::uint32_t>(v % 100000000));
}

// The token of real_text_general, made directly for whole numbers below 10^15 and, where
// 128-bit integers exist, for any value from 1e-8 to 1e15; the rest (the largest and smallest
// magnitudes, NaN, infinities) goes the general way. The digits come as whole words and are
// put in place with copies of fixed size; out's 32 bytes are room for the wide stores.
inline int real_token(double v, char* out) {
  bool negative = std::signbit(v);
  double a = std::fabs(v);
  char* o = out;
  *o = '-';
  o += negative;
  // Sixteen digits and sixteen zeros behind them, so that a copy of sixteen from any digit
  // reads only digits.
  char digits[32];
  std::memcpy(digits + 16, &kZeroDigits, 8);
  std::memcpy(digits + 24, &kZeroDigits, 8);
  if (a < 1e15 && a == static_cast<double>(static_cast<std::int64_t>(a))) {
    auto whole = static_cast<std::uint64_t>(a);
#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    if (whole < 100000000) {
      int n = short_digits(static_cast<std::uint32_t>(whole), o);
      o[n] = '.';
      o[n + 1] = '\0';
      return static_cast<int>(o - out) + n + 1;
    }
#endif
    sixteen_digits(digits, whole);
    // The leading zeros are skipped, all but the last digit's.
    std::uint64_t first = igeslib_load_word(digits) ^ kZeroDigits;
    std::uint64_t second = igeslib_load_word(digits + 8) ^ kZeroDigits;
    int lead =
        first ? std::countr_zero(first) / 8 : 8 + (second ? std::countr_zero(second) / 8 : 7);
    auto n = static_cast<std::size_t>(16 - lead);
    std::memcpy(o, digits + lead, 16);
    o[n] = '.';
    o[n + 1] = '\0';
    return static_cast<int>(o - out) + static_cast<int>(n) + 1;
  }
#ifdef __SIZEOF_INT128__
  std::uint64_t q;
  int exponent;
  if (round_to_fifteen_digits(a, &q, &exponent)) {
    // Fifteen digits, q being at least 10^14: sixteen with a leading zero, skipped. n is the
    // count without trailing zeros, found from the high bytes of the last word.
    sixteen_digits(digits, q);
    const char* d = digits + 1;
    std::uint64_t last = igeslib_load_word(digits + 8) ^ kZeroDigits;
    std::uint64_t before = igeslib_load_word(digits) ^ kZeroDigits;
    int n = last ? 16 - std::countl_zero(last) / 8 : 8 - std::countl_zero(before) / 8;
    n -= 1;
    char* end;
    if (exponent >= 0 && exponent < 15) {
      // Fixed form: the whole part, then a point and the fraction digits if there are any.
      // A number with no fraction digits still takes its point.
      int whole = exponent + 1;
      std::memcpy(o, d, 16);
      o[whole] = '.';
      if (n > whole) {
        std::memcpy(o + whole + 1, d + whole, 16);
        end = o + n + 1;
      } else {
        end = o + whole + 1;
      }
    } else if (exponent < 0 && exponent >= -4) {
      // "0.", the zeros after the point, the digits.
      std::memcpy(o, "0.000000", 8);
      std::memcpy(o + 1 - exponent, d, 16);
      end = o + 1 - exponent + n;
    } else {
      // Exponent form, two exponent digits at least (the exponent here is from -8 to 15).
      o[0] = d[0];
      end = o + 1;
      if (n > 1) {
        o[1] = '.';
        std::memcpy(o + 2, d + 1, 16);
        end = o + n + 1;
      }
      int magnitude = exponent < 0 ? -exponent : exponent;
      end[0] = 'D';
      end[1] = exponent < 0 ? '-' : '+';
      end[2] = static_cast<char>('0' + magnitude / 10);
      end[3] = static_cast<char>('0' + magnitude % 10);
      end += 4;
      // A whole number in the exponent form takes a point.
      if (a == std::trunc(a)) *end++ = '.';
    }
    *end = '\0';
    return static_cast<int>(end - out);
  }
#endif
  return real_text_general(v, out);
}

}  // namespace

int igeslib_real_text(double v, char* out) { return real_token(v, out); }

namespace {

// The DE numbers of the entities a back-pointer list selects. An entry that selects nothing
// (its pointer named no entity of an allowed class when it was read) is left out: a 0 in its
// place would name the first entity of the file written.
template <class List>
std::vector<int> selected_numbers(List* list) {
  std::vector<int> numbers;
  unsigned n = list ? list->size() : 0;
  for (unsigned i = 0; i < n; ++i)  // packed or not: a write makes no selects
    if (igs_directory_entry* target = list->entityAt(i)) numbers.push_back(target->de_number);
  return numbers;
}

// Whether the stream writes to a regular file.
bool is_regular_file(FILE* stream) {
  int descriptor = fileno(stream);
  struct stat status;
  return descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

template <class List>
unsigned size_of(List* list) {
  return list ? list->size() : 0;
}

#if defined(__GLIBC__)
// Straight into the stream's buffer when it has room, as putc_unlocked does with a character;
// fwrite_unlocked when it hasn't (and to set the buffer up).
inline void put_text(const char* text, std::size_t n, FILE* fp) {
  if (static_cast<std::size_t>(fp->_IO_write_end - fp->_IO_write_ptr) >= n) {
    std::memcpy(fp->_IO_write_ptr, text, n);
    fp->_IO_write_ptr += n;
  } else {
    fwrite_unlocked(text, 1, n, fp);
  }
}
#else
inline void put_text(const char* text, std::size_t n, FILE* fp) { std::fwrite(text, 1, n, fp); }
#endif

}  // namespace

void IgeslibIO::write_line() {
  if (f_rec_section == 'P') {
    // A blank and the DE pointer: eight columns of a pointer below 10^7 start with the blank.
    if (back_pointer >= 0 && back_pointer < 10000000) {
      igeslib_right_justified_eight(line + kPointerColumn - 1,
                                    static_cast<std::uint32_t>(back_pointer));
    } else {
      line[kPointerColumn - 1] = ' ';
      igeslib_format_int(line + kPointerColumn, 7, back_pointer);
    }
  }
  line[kLetterColumn] = f_rec_section;
  // Records are numbered in turn: the text of the last number counted up, when it fits.
  if (sequence_number == written_sequence + 1 && sequence_number < 10000000) {
    char* digit = sequence_text + 6;
    while (*digit == '9') *digit-- = '0';
    *digit = *digit == ' ' ? '1' : static_cast<char>(*digit + 1);
  } else {
    igeslib_format_int(sequence_text, 7, sequence_number);
  }
  written_sequence = sequence_number;
  std::memcpy(line + kSequenceColumn, sequence_text, 7);
  ++sequence_number;
  line[kLineEnd] = '\n';
  line[kLineEnd + 1] = '\0';
  // The record up to its first NUL, as fputs wrote it (a raw text shorter than the record
  // leaves one inside); with glibc the stream's lock isn't taken for every record. A record
  // made of tokens alone is whole.
  if (line_may_end_early)
    put_text(line, std::strlen(line), fp);
  else
    put_text(line, kLineEnd + 1, fp);
  line_may_end_early = false;
  column = 0;
  std::memset(line, ' ', sizeof line - 1);
  line[sizeof line - 1] = '\0';
}

void IgeslibIO::write_raw_line(const char* text, bool end_line) {
  if (text) {
    // The text and its NUL, cut only where it would leave the buffer.
    std::size_t room = sizeof line - 1 - static_cast<std::size_t>(column);
    std::size_t n = std::min(std::strlen(text), room);
    std::memcpy(line + column, text, n);
    line[column + static_cast<int>(n)] = '\0';
    line_may_end_early = true;
  }
  if (end_line) write_line();
}

int IgeslibIO::find_record_delimiter() {
  column = 0;
  for (int i = 81; i >= 1; --i) {
    if (line[i] == record_delimiter) {
      column = i;
      break;
    }
  }
  return column;
}

// --- tokens ---

void IgeslibIO::write_empty_parameter() {
  if (column > end_column) write_line();
  line[column++] = param_delimiter;
}

// A number token and its delimiter on this record when both fit in the data columns; else
// the rest of the record is blanked, written, and the token goes to the next one.
static inline void place_number(IgeslibIO& io, const char* text, int length) {
  if (io.column + length > io.end_column) {
    if (io.column <= io.end_column)
      std::memset(io.line + io.column, ' ',
                  static_cast<std::size_t>(io.end_column - io.column + 1));
    io.write_line();
  }
  copy_short(io.line + io.column, text, static_cast<std::size_t>(length));
  io.column += length;
  io.line[io.column++] = io.param_delimiter;
}

// The hot paths of write_int and write_real, inlined there: put_int and put_real are the
// library's entry points, which calls inside it can't inline.
static inline void place_int(IgeslibIO& io, int v) {
  char text[kTokenLength];
  place_number(io, text, int_text(v, text));
}

static inline void place_real(IgeslibIO& io, double v) {
  char text[kTokenLength];
  place_number(io, text, real_token(v, text));
}

void IgeslibIO::write_int(int v, EmptyReads empty) {
  if (zero_as_default && v == 0 && empty == kEmptyIsZero)
    write_empty_parameter();
  else
    place_int(*this, v);
}

void IgeslibIO::write_real(double v, EmptyReads empty) {
  if (zero_as_default && v == 0.0 && empty == kEmptyIsZero)
    write_empty_parameter();
  else
    place_real(*this, v);
}

void IgeslibIO::write_logical(bool v) {
  if (zero_as_default && !v)
    write_empty_parameter();
  else
    put_logical(v);
}

void IgeslibIO::write_string(const char* s) {
  if (!s || !*s)
    write_empty_parameter();
  else
    put_string(s);
}

void IgeslibIO::put_int(int v) { place_int(*this, v); }

void IgeslibIO::put_logical(bool v) { put_int(v ? 1 : 0); }

void IgeslibIO::put_real(double v) { place_real(*this, v); }

void IgeslibIO::put_string(const char* s) {
  int n = static_cast<int>(std::strlen(s));
  put_int(n);
  line[column - 1] = 'H';
  if (column > end_column) write_line();
  // The text and its NUL, a record written whenever the data columns are full; the NUL's
  // place then takes the delimiter.
  for (int i = 0; i <= n; ++i) {
    if (column > end_column) write_line();
    line[column++] = s[i];
  }
  line[column - 1] = param_delimiter;
}

void IgeslibIO::writeendofrec() {
  if (column > 0 && line[column - 1] == param_delimiter) {
    line[column - 1] = record_delimiter;
    write_line();
  } else {
    report_error("writeendofrec: free form data missing last parameter delimiter", -1);
  }
}

// --- sections ---

void IgeslibIO::write_start_section(ListOfString* list) {
  sequence_number = 1;
  f_rec_section = 'S';
  start_count = static_cast<int>(size_of(list));
  for (int i = 0; i < start_count; ++i) {
    const char* text = (*list)[static_cast<unsigned>(i)];
    if (!text) text = "";
    std::size_t n = std::strlen(text);
    std::size_t kept = std::min(n, sizeof line - 1);
    std::memcpy(line, text, kept);
    line[kept] = '\0';
    if (n > kStartLength) {
      report_error("write_start_section: start section record longer than 72 characters",
                   kStartLength);
      // The rest of the section is not written; the next section starts on a blank record.
      std::memset(line, ' ', sizeof line - 1);
      line[sizeof line - 1] = '\0';
      column = 0;
      return;
    }
    line[n] = ' ';
    write_line();
  }
  if (start_count == 0) {
    write_line();
    start_count = 1;
  }
}

void IgeslibIO::reserve_de_section(ListOfigs_directory_entry* list) {
  std::fgetpos(fp, &section_position);
  sequence_number = 1;
  f_rec_section = 'D';
  directory_count = static_cast<int>(size_of(list)) * 2;
  // A file's stream moves past the room of the records, which the file keeps as a hole until
  // they are written: blanks put there would be copied to the file only to be written over.
  // Any other stream (a pipe, a stream in memory, which may not take a move past its end) gets
  // the blanks.
  long room = static_cast<long>(directory_count) * (kLineEnd + 1);
  if (room == 0 || (is_regular_file(fp) && std::fseek(fp, room, SEEK_CUR) == 0)) return;
  for (int i = 0; i < directory_count; ++i) write_line();
}

void IgeslibIO::write_pd_section(ListOfigs_directory_entry* list) {
  unsigned n = size_of(list);
  // Every entity has its number before any is written, so forward pointers are known.
  for (unsigned i = 0; i < n; ++i)
    if (igs_directory_entry* entity = (*list)[i]) entity->de_number = static_cast<int>(2 * i + 1);

  sequence_number = 1;
  f_rec_section = 'P';
  end_column = 63;
  for (unsigned i = 0; i < n; ++i) {
    igs_directory_entry* entity = (*list)[i];
    if (!entity) continue;
    entity->pd_pointer = sequence_number;
    back_pointer = entity->de_number;
    int type = entity->entity_type();
    put_int(type);
    if (type >= 0) {
      igeslib_increment_count(entity_table.find_entity_data(type, entity->form()));
    } else {
      ++entity_table.other_count;
    }
    entity->pdwrite();
    // The lists as they stand: the getters would make empty ones for every entity.
    if (igs_directory_aside* aside = entity->aside_)
      write_assoc_prop(
          lumo_is_delayed(aside->associations_) ? entity->associations() : aside->associations_,
          lumo_is_delayed(aside->properties_) ? entity->properties() : aside->properties_);
    else
      write_assoc_prop(nullptr, nullptr);
    writeendofrec();
    entity->pd_line_count = sequence_number - entity->pd_pointer;
  }
  parameter_count = sequence_number - 1;
}

void IgeslibIO::write_assoc_prop(ListOfigs_associativities* associations,
                                 ListOfigs_properties* properties) {
  std::vector<int> to_associations = selected_numbers(associations);
  std::vector<int> to_properties = selected_numbers(properties);
  if (!to_associations.empty()) {
    put_int(static_cast<int>(to_associations.size()));
    for (int number : to_associations) put_int(number);
  }
  if (!to_properties.empty()) {
    if (to_associations.empty()) {
      if (zero_as_default)
        write_empty_parameter();
      else
        put_int(0);
    }
    put_int(static_cast<int>(to_properties.size()));
    for (int number : to_properties) put_int(number);
  }
}

void IgeslibIO::write_terminate_section(ListOfigs_directory_entry* list) {
  sequence_number = 1;
  f_rec_section = 'T';
  const struct {
    char letter;
    int count;
  } fields[4] = {{'S', start_count},
                 {'G', global_count},
                 {'D', static_cast<int>(size_of(list)) * 2},
                 {'P', parameter_count}};
  for (int k = 0; k < 4; ++k) {
    line[8 * k] = fields[k].letter;
    std::snprintf(line + 8 * k + 1, sizeof line - 8 * k - 1, "%7d", fields[k].count);
  }
  line[32] = ' ';
  write_line();
}

void IgeslibIO::write_de_section(ListOfigs_directory_entry* list) {
  std::fsetpos(fp, &section_position);
  sequence_number = 1;
  f_rec_section = 'D';
  unsigned n = size_of(list);
  directory_count = static_cast<int>(n) * 2;
  for (unsigned i = 0; i < n; ++i) {
    igs_directory_entry* entity = (*list)[i];
    // An empty slot keeps its two blank records, so the numbering of the others holds.
    // The fields are written by each class's own code, which ends each with a NUL.
    if (entity) entity->de_write_record_one(line);
    line_may_end_early = true;
    write_line();
    if (entity) entity->de_write_record_two(line);
    line_may_end_early = true;
    write_line();
  }
}
