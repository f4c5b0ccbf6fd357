// The record reader: the one place that reads the input stream. It brings one physical
// record into the line buffer, finds the section letter, sequence number and DE pointer by
// scanning from the right, and reports what is wrong with the record. Also the filer's error
// report, the Start section and the Terminate record.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "igeslib_io.h"

namespace {

#if defined(__unix__) || defined(__APPLE__)
inline int next_char(FILE* fp) { return getc_unlocked(fp); }
#else
inline int next_char(FILE* fp) { return std::getc(fp); }
#endif

// Plain ASCII classes; a byte above 127 is neither.
inline bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
inline bool is_digit(char c) { return c >= '0' && c <= '9'; }
inline bool is_control(char c) { return (c >= 0 && c < ' ') || c == 127; }

// A card image is 80 columns; until a line end has been met, that is what ends a record.
constexpr int kCardLength = 80;
// Past this many characters a record is cut, whatever its line end.
constexpr int kHardStop = 83;

// Copies a card image of 80 bytes into line; true when none of them is a CR, an LF or a NUL.
// line is left holding them either way.
bool copy_plain_card(char* line, const char* p) {
#if defined(__SSE2__)
  // First the one test of bytes below 14 as signed, which takes the three and also other
  // control characters and bytes above 127; only when there is such a byte the three alone.
  const __m128i below = _mm_set1_epi8(14);
  __m128i low = _mm_setzero_si128();
  for (int i = 0; i < kCardLength; i += 16) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(line + i), v);
    low = _mm_or_si128(low, _mm_cmplt_epi8(v, below));
  }
  if (_mm_movemask_epi8(low) == 0) return true;
  const __m128i cr = _mm_set1_epi8('\r'), lf = _mm_set1_epi8('\n'), nul = _mm_setzero_si128();
  __m128i any = nul;
  for (int i = 0; i < kCardLength; i += 16) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
    any = _mm_or_si128(any,
                       _mm_or_si128(_mm_cmpeq_epi8(v, cr),
                                    _mm_or_si128(_mm_cmpeq_epi8(v, lf), _mm_cmpeq_epi8(v, nul))));
  }
  return _mm_movemask_epi8(any) == 0;
#else
  // Eight at a time, by the rule that (v - 0x01..01) & ~v & 0x80..80 is non-zero when some
  // byte of v is zero.
  constexpr std::uint64_t ones = 0x0101010101010101ULL, highs = 0x8080808080808080ULL;
  std::uint64_t any = 0;
  for (int i = 0; i < kCardLength; i += 8) {
    std::uint64_t v;
    std::memcpy(&v, p + i, 8);
    std::memcpy(line + i, &v, 8);
    std::uint64_t cr = v ^ (ones * '\r'), lf = v ^ (ones * '\n');
    any |= ((v - ones) & ~v) | ((cr - ones) & ~cr) | ((lf - ones) & ~lf);
  }
  return (any & highs) == 0;
#endif
}

// The word of a stamp one more than the right-justified number that word holds (its first
// byte a blank); 0 when the number has no room to grow.
inline std::uint64_t next_stamp(std::uint64_t word) {
  for (int shift = 56; shift >= 8; shift -= 8) {
    const auto c = static_cast<char>(word >> shift);
    if (c == '9') {
      word -= std::uint64_t{'9' - '0'} << shift;
      continue;
    }
    return word + (static_cast<std::uint64_t>(c == ' ' ? '1' - ' ' : 1) << shift);
  }
  return 0;
}

// The value of right-justified digits filling the seven columns from field: blanks, then
// digits to the end; -1 when the field has any other shape. The byte before the field is
// read too and must be in the buffer. last_word held last_value: a record's sequence number
// is nearly always one more than the record before it, and a P record's DE pointer that of
// the record before it.
inline int stamp_value(const char* field, std::uint64_t& last_word, int& last_value) {
  const std::uint64_t word = igeslib_stamp_word(field);
  if (word == last_word) return last_value;
  if (last_value >= 0 && word == next_stamp(last_word)) {
    last_word = word;
    return ++last_value;
  }
  const int value = igeslib_right_justified_word(word);
  if (value >= 0) last_word = word, last_value = value;
  return value;
}

// The common record, a card image of 80 plain characters (and its line end, once line ends
// are in use), taken whole from the stream's buffer into the line, as the long way would
// take it. False when the record is not one, with nothing taken but leading line ends.
inline bool take_card_image(IgeslibIO& io) {
#if defined(__GLIBC__)
  FILE* stream = io.fp;
  int terminator_seen = io.line_terminator_seen;
  char* p = stream->_IO_read_ptr;
  char* end = stream->_IO_read_end;
  if (terminator_seen)
    while (p < end && (*p == '\n' || *p == '\r')) ++p;  // leading line ends vanish
  stream->_IO_read_ptr = p;
  if (end - p > kCardLength && copy_plain_card(io.line, p) &&
      (terminator_seen == 0 || p[kCardLength] == '\n' || p[kCardLength] == '\r')) {
    stream->_IO_read_ptr = p + kCardLength + (terminator_seen ? 1 : 0);
    io.line_length = kCardLength;
    // As the long way: the end of the record, and blanks beyond it.
    io.line[kCardLength] = '\0';
    std::memset(io.line + kCardLength + 1, ' ', sizeof io.line - 2 - kCardLength);
    io.column = 0;
    return true;
  }
#else
  (void)io;
#endif
  return false;
}

// A well-formed card image: its letter in column 73, its sequence number right-justified in
// 74-80 and, on a P record, a blank in 65 and the DE pointer right-justified in 66-72. The
// scan from the right finds the same and nothing to report. False, with nothing set, for
// any other record.
LUMO_HOT inline bool card_stamps(IgeslibIO& io) {
  const char* line = io.line;
  char letter = line[72];
  int sequence = stamp_value(line + 73, io.sequence_word, io.sequence_word_value);
  if (sequence < 0) return false;
  if (letter == 'D' || letter == 'G' || letter == 'S' || letter == 'T') {
    io.f_rec_section = letter;
    io.sequence_number = sequence;
    io.end_column = 71;
    return true;
  }
  int pointer = letter == 'P' && line[64] == ' '
                    ? stamp_value(line + 65, io.pointer_word, io.pointer_word_value)
                    : -1;
  if (pointer < 0) return false;
  io.f_rec_section = letter;
  io.sequence_number = sequence;
  io.back_pointer = pointer;
  io.end_column = 63;
  return true;
}

}  // namespace

void IgeslibIO::read_record() {
  if (line_number == progress_line) {
    LUMO.message("Reading line %d", line_number);
    progress_line += 1000;
  }
  ++line_number;
  prepared_line = 0;
  if (take_card_image(*this)) {
    if (!card_stamps(*this)) find_stamps();
    return;
  }
  read_record_general();
}

[[gnu::noinline]] void IgeslibIO::read_record_general() {
  // The loop keeps the length and the terminator flag in locals: stores into line would
  // otherwise make the compiler reload them for every character.
  FILE* stream = fp;
  int length = 0;
  int terminator_seen = line_terminator_seen;
  bool at_end = false;
  for (;;) {
    int c = next_char(stream);
    if (c == EOF) {
      at_end = true;
      break;
    }
    if (c == '\r' || c == '\n') {
      terminator_seen = 1;
      if (length != 0) break;
      continue;  // blank lines and the LF of a CR LF pair vanish
    }
    if (c == '\0') {
      LumoErrorReporter* reporter = LUMO.error_reporter();
      reporter->stack.append(nullptr);
      lumo_io_ec()->format("Warning at line #: %d, column #: %d\n", line_number, length + 1);
      lumo_io_ec()->format("\tASCII NULL (0x00) character found, treated as space\n");
      reporter->stack.pop();
      c = ' ';
    }
    line[length++] = static_cast<char>(c);
    if ((terminator_seen == 0 && length >= kCardLength) || length >= kHardStop) break;
  }
  line_length = length;
  line_terminator_seen = terminator_seen;
  // Blanks beyond the record, so that a data field reaching past a short record reads blanks
  // and never the rest of an earlier one.
  std::memset(line + line_length, ' ', sizeof line - 1 - line_length);
  line[line_length] = '\0';
  column = 0;

  // A last record that is whole but for its line end goes on to its fields when accepted.
  if (at_end)
    record_fault("Error while reading IGES file, or premature EOF", -1,
                 "the file ends inside it, without a line end");
  if (line_length < kCardLength) report_error("Short record length in IGES file", -1);
  if (line_length > kCardLength) report_error("Long record length in IGES file", -1);
  if (line_length == 0) {
    report_error("Unexpected empty record in IGES file", -1);
    abort_read();
  }

  if (line_length == kCardLength && card_stamps(*this)) return;
  find_stamps();
}

[[gnu::noinline]] void IgeslibIO::find_stamps() {
  // From the right: blanks, sequence digits, blanks, section letter, and on P records
  // blanks and the DE pointer digits.
  enum class Scan { trailing, sequence, flag, pointer, pointer_digits, done };
  Scan state = Scan::trailing;
  int seq_start = 0, seq_end = 0, de_start = 0, de_end = 0, flag_col = 0;
  char flag = '\0';  // the letter found on this record
  bool faulted = false;
  auto fatal = [&](const char* message, int at) {
    record_fault(message, at);
    faulted = true;
    state = Scan::done;  // only when the record was accepted as a damaged Terminate record
  };
  for (int i = line_length - 1; i >= 0 && state != Scan::done;) {
    char c = line[i];
    switch (state) {
      case Scan::trailing:
        if (is_digit(c)) {
          seq_start = seq_end = i;
          state = Scan::sequence;
        } else if (!is_space(c)) {
          fatal("Invalid sequence number", i);
        }
        --i;
        break;
      case Scan::sequence:
        if (!is_digit(c)) {
          state = Scan::flag;  // the same character again, as a flag
          break;
        }
        seq_start = i;
        if (seq_end - i > 6) fatal("Sequence number longer than 7 digits", seq_end);
        --i;
        break;
      case Scan::flag:
        if (is_space(c)) {
          --i;
          break;
        }
        switch (c) {
          case 'D':
          case 'G':
          case 'S':
          case 'T':
            f_rec_section = flag = c;
            flag_col = i;
            state = Scan::done;
            break;
          case 'P':
            f_rec_section = flag = c;
            flag_col = i;
            state = Scan::pointer;
            --i;
            break;
          case 'B':
          case 'C':
            f_rec_section = c;
            fatal("Binary and compressed ASCII format are not supported by this translator", i);
            break;
          default:
            fatal("Missing or unrecognized section flag", i);
            break;
        }
        break;
      case Scan::pointer:
        if (is_digit(c)) {
          de_start = de_end = i;
          state = Scan::pointer_digits;
        } else if (!is_space(c)) {
          fatal("Invalid DE pointer", i);
        }
        --i;
        break;
      case Scan::pointer_digits:
        if (!is_digit(c)) {
          state = Scan::done;
          break;
        }
        de_start = i;
        // The sequence field's end is named here, as it always has been.
        if (de_end - i > 6) fatal("DE pointer longer than 7 digits", seq_end);
        --i;
        break;
      case Scan::done:
        break;
    }
  }

  if (faulted) return;

  if (line_length == kCardLength && (flag_col != 72 || seq_start < 73 || seq_end > 79 ||
                                     (flag == 'P' && (de_start < 65 || de_end > 71)))) {
    report_error("Sequence fields are misaligned", flag_col);
  }

  auto field_value = [&](int start, int end, int* value) {
    return igeslib_scan_int(line + start, std::min(end - start + 1, 15), value);
  };
  if (!field_value(seq_start, seq_end, &sequence_number)) {
    fatal("Invalid sequence number", seq_start);
    return;
  }
  if (flag == 'P' && !field_value(de_start, de_end, &back_pointer)) {
    fatal("Invalid DE pointer", de_start);
    return;
  }
  end_column = flag_col - 1;
  if (flag == 'P') {
    int last = de_start - 1;
    while (last >= 0 && is_space(line[last])) --last;
    end_column = 63;
    if (last > 63) {
      end_column = last;
      report_error("Parameter data extends beyond column 64", last);
    }
  }
}

namespace {

// The column of the section letter of a record that is recognisably the Terminate record
// whatever its other fields: the last character that is not a blank, a digit or a control
// character is a T, and stands beyond the parameter data columns (1-64). -1 for any other
// record.
int terminate_letter(const char* line, int length) {
  int i = length - 1;
  while (i >= 0 && (is_space(line[i]) || is_digit(line[i]) || is_control(line[i]))) --i;
  return i >= 64 && line[i] == 'T' ? i : -1;
}

}  // namespace

void IgeslibIO::record_fault(const char* message, int col, const char* what) {
  report_error(message, col);
  int letter = accept_damaged_end ? terminate_letter(line, line_length) : -1;
  if (letter < 0) abort_read();
  if (!damaged_end) damaged_end = what ? what : message;
  f_rec_section = 'T';
  end_column = letter - 1;
}

namespace {

// The lines of a report, each sent as one text with a line end added when it gives none: what
// the error context's formatted lines give, built without a formatted print or an allocation,
// since a damaged file can bring millions of reports. A piece too long for the buffer goes to
// the heap.
class ReportLines {
 public:
  ReportLines& operator<<(const char* piece) {
    if (!piece) piece = "(null)";  // as a formatted print shows it
    append(piece, std::strlen(piece));
    return *this;
  }
  ReportLines& operator<<(int value) {
    char digits[16];
    append(digits, static_cast<std::size_t>(
                       std::to_chars(digits, digits + sizeof digits, value).ptr - digits));
    return *this;
  }
  void send() {
    if (long_.empty()) {
      if (size_ == 0 || text_[size_ - 1] != '\n') text_[size_++] = '\n';
      text_[size_] = '\0';
      lumo_io_ec()->text(text_);
    } else {
      if (long_.back() != '\n') long_ += '\n';
      lumo_io_ec()->text(long_.c_str());
      long_.clear();
    }
    size_ = 0;
  }

 private:
  void append(const char* piece, std::size_t n) {
    if (long_.empty() && size_ + n + 2 <= sizeof text_) {
      std::memcpy(text_ + size_, piece, n);
      size_ += n;
      return;
    }
    if (long_.empty()) long_.assign(text_, size_);
    long_.append(piece, n);
  }
  char text_[320];
  std::size_t size_ = 0;
  std::string long_;
};

}  // namespace

void IgeslibIO::report_error(const char* message, int col) {
  if (col < 0) col = column;
  LumoErrorReporter* reporter = LUMO.error_reporter();
  reporter->stack.append(nullptr);
  ReportLines report;
  (report << "Error at line #: " << line_number << ", column #: " << col + 1 << "\n\t" << message)
      .send();
  (report << "IGES record:\n" << line).send();
  char caret[90];
  std::memset(caret, ' ', sizeof caret);
  int at = std::min(col, 88);
  caret[at] = '^';
  caret[at + 1] = '\0';
  (report << caret).send();
  reporter->stack.pop();
}

IgeslibIO* IgeslibIO::read_start_section(ListOfString* list) {
  start_count = 0;
  std::fgetpos(fp, &section_position);
  read_record();
  while (f_rec_section == 'S') {
    line[72] = '\0';
    list->add(line);
    ++start_count;
    std::fgetpos(fp, &section_position);
    read_record();
  }
  if (start_count == 0) {
    report_error("File should contain at least one start section record", 72);
    return nullptr;
  }
  return this;
}

void IgeslibIO::parse_terminate_section() {
  if (f_rec_section != 'T') report_error("parse_terminate_section: f_rec_section != 'T'", -1);
  if (!(line[0] == 'S' && line[8] == 'G' && line[16] == 'D' && line[24] == 'P'))
    report_error("terminate line sections S G D P not correct", -1);

  struct Check {
    int counted;
    const char* message;
  };
  const Check checks[4] = {
      {start_count, "parse_terminate: start section was not the correct length"},
      {global_count, "parse_terminate: global section was not the correct length"},
      {directory_count, "parse_terminate: directory entry section was not the correct length"},
      {parameter_count, "parse_terminate: parameter data section was not the correct length"},
  };
  int found[4];
  bool scanned[4];
  // "%7d": at most seven characters after the leading blanks.
  for (int k = 0; k < 4; ++k) {
    const char* field = line + 1 + 8 * k;
    int skipped = 0;
    while (field[skipped] == ' ' || (field[skipped] >= '\t' && field[skipped] <= '\r')) ++skipped;
    scanned[k] = igeslib_scan_int(field + skipped, 7, &found[k]);
  }
  // A field that doesn't scan counts as a mismatch.
  for (int k = 0; k < 4; ++k)
    if (!scanned[k] || found[k] != checks[k].counted) report_error(checks[k].message, -1);
}
