// Aimed at the free-form data: the Global section and the parameter token reader.
//
// The first byte steers the run:
//   bit 0    0: the rest is the text of the Global section; 1: it drives the token reader
//   bit 1    Global: a strict read. Tokens: the next two bytes are the parameter and the
//            record delimiter in force
//   bit 2    records as bare 80-column card images, with no line ends
//   bit 3    records cut short behind their text instead of padded to 80 columns
//   bits 4-7 tokens: how many operation bytes come next (after the delimiters)
// The rest is the text, wrapped into records: 72 columns to a G record, 64 to a P record.
//
// Operation bytes, by their low four bits: 0-3 read_int, read_real, read_logical, read_string;
// 4-7 the scanners behind them; 8 scan_string as for the Global section's first parameter;
// 9 the datum kind of item type (bits 4-5), then read_datum of that kind; 10 read_datum of kind
// (bits 4-7) % 7; 11 a count, then as many reals (64 at most); others read_int. With none,
// the first four in turn.
//
// Global mode reads a whole small file (S record, the G records, one point entity, T record),
// writes it and reads what was written. Token mode calls the guards, the scanners and the
// typed-datum reader in the order the operation bytes give, and writes every value read with
// the token writers; when the delimiters allow it, that output is read again and must give
// the same values.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <igeslib.h>

#include "fuzz_support.h"
#include "igeslib_io.h"
#include "support/records.h"

namespace {

struct Control {
  bool tokens;
  bool flag;  // strict read, or delimiters of the input's own
  bool card_images;
  bool ragged;
  unsigned operations;
};

// One record of the tests' builders, cut short behind its text when the control says so, and
// without its line end as a card image.
std::string record(char letter, int sequence, std::string_view text, const Control& c,
                   int de_pointer = 0) {
  std::string out = letter == 'P' ? igeslib_test::p_record(de_pointer, sequence, text)
                                  : igeslib_test::record(letter, sequence, text);
  if (c.ragged) out.erase(text.size(), (letter == 'P' ? 64 : 72) - text.size());
  if (!c.card_images) out += '\n';
  return out;
}

// The text cut into records of the section; at least one record.
std::string wrap(char letter, std::string_view text, const Control& c, int* count,
                 int de_pointer = 0) {
  const std::size_t width = letter == 'P' ? 64 : 72;
  std::string out;
  *count = 0;
  do {
    std::string_view piece = text.substr(0, width);
    text.remove_prefix(piece.size());
    out += record(letter, ++*count, piece, c, de_pointer);
  } while (!text.empty());
  return out;
}

void global_mode(std::string_view text, const Control& c) {
  int g = 0;
  std::string bytes = record('S', 1, "Global section under test", c);
  bytes += wrap('G', text, c, &g);
  // One point entity, so that the delimiters read in the Global section are put to use.
  bytes +=
      record('D', 1, "     116       1       0       0       0       0       0       000000000", c);
  bytes +=
      record('D', 2, "     116       0       0       1       0                               0", c);
  bytes += record('P', 1, "116,1.,2.,3.;", c, 1);
  bytes += record('T', 1, igeslib_test::terminate_text(1, g, 2, 1), c);

  std::string written = igeslib_fuzz::read_and_write(bytes, c.flag, 1).written;
  igeslib_fuzz::read_and_write(written, 0, 1);
}

// --- token mode ---

enum class Kind { integer, real, logical, string };

struct Token {
  Kind kind = Kind::integer;
  int i = 0;
  double d = 0.0;
  std::string s;
};

// Delimiters that no token can hold, so that the written tokens must read back as written.
bool plain_delimiters(char parameter, char record) {
  auto plain = [](char ch) {
    return ch > ' ' && ch < 127 && !std::strchr("0123456789+-.DEdeH", ch);
  };
  return plain(parameter) && plain(record) && parameter != record;
}

// What the token writer promises to read back as the same value: every int, logical and
// string; a real when its "%.15G" text is a number the reader takes (no exponent on a whole
// number, which the writer gives a point behind the exponent).
bool real_reads_back(double v) {
  if (!std::isfinite(v)) return false;
  double whole = 0.0;
  if (std::modf(v, &whole) != 0.0) return true;
  return std::fabs(v) < 1e15;
}

double real_as_written(double v) {
  char text[64];
  std::snprintf(text, sizeof text, "%.15G", v);
  return std::strtod(text, nullptr);
}

class TokenRun {
 public:
  TokenRun(const Control& c, char parameter, char record, std::vector<std::uint8_t> operations)
      : control_(c), operations_(std::move(operations)) {
    io_.param_delimiter = parameter;
    io_.record_delimiter = record;
  }

  void run(std::string_view text) {
    int lines = 0;
    std::string bytes = wrap('P', text, control_, &lines, 1);
    igeslib_fuzz::InputStream in(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    io_.fp = in.get();
    io_.file_bytes = static_cast<long long>(bytes.size());

    igeslib_fuzz::ScratchDesign design;
    auto* entities = new (design.get()) ListOfigs_directory_entry(0);
    entities->add(new (design.get()) igs_line_entity);
    entities->add(new (design.get()) igs_point_entity);
    entities->add(new (design.get()) igs_null_entity);
    auto* data = new (design.get()) ListOfigs_datum(0);

    igeslib_fuzz::OutputStream out;
    writer_.fp = out.get();
    writer_.f_rec_section = 'P';
    writer_.sequence_number = 1;
    writer_.back_pointer = 1;
    writer_.end_column = 63;
    writer_.zero_as_default = 0;
    writer_.param_delimiter = io_.param_delimiter;
    writer_.record_delimiter = io_.record_delimiter;

    io_.in_entity = true;
    igeslib_catch_abort([&] {
      io_.read_record();
      for (unsigned step = 0; step < 512; ++step) {
        std::uint8_t op = operations_.empty() ? static_cast<std::uint8_t>(step % 4)
                                              : operations_[step % operations_.size()];
        bool went_on = igeslib_catch_skip([&] { operate(op, entities, data); });
        if (!went_on || io_.param_state == PARAM_END_OF_RECORD) {
          // As the Parameter Data section does: the next entity starts afresh on the record
          // after the one where this one stopped.
          if (++entities_read_ > 8) break;
          io_.param_state = PARAM_VALUE;
          io_.record_failed = 0;
          io_.entity_items_past_end = 0;
          io_.read_record();
        }
      }
    });
    io_.in_entity = false;

    if (writer_.column > 0) writer_.writeendofrec();
    std::size_t n = out.close();
    if (plain_delimiters(io_.param_delimiter, io_.record_delimiter))
      read_back(std::string(out.text(), n));
  }

 private:
  void operate(std::uint8_t op, ListOfigs_directory_entry* entities, ListOfigs_datum* data) {
    switch (op & 15) {
      case 0:
        keep(Kind::integer, io_.read_int());
        break;
      case 1:
        keep(Kind::real, io_.read_real());
        break;
      case 2:
        keep(Kind::logical, io_.read_logical());
        break;
      case 3:
        keep(Kind::string, io_.read_string(false));
        break;
      case 4:
        keep(Kind::integer, io_.scan_int());
        break;
      case 5:
        keep(Kind::real, io_.scan_real());
        break;
      case 6:
        keep(Kind::logical, io_.scan_logical());
        break;
      case 7:
        keep(Kind::string, io_.scan_string(false));
        break;
      case 8:
        keep(Kind::string, io_.scan_string(true));
        break;
      case 9: {
        int kind = io_.determine_parameterData_type((op >> 4) & 3);
        io_.read_datum(data, kind, entities);
        break;
      }
      case 10:
        io_.read_datum(data, (op >> 4) % 7, entities);
        break;
      case 11: {
        int n = io_.count(io_.read_int());
        (void)io_.capacity_hint(n);
        for (int i = 0; i < n && i < 64; ++i) keep(Kind::real, io_.read_real());
        break;
      }
      default:
        keep(Kind::integer, io_.read_int());
        break;
    }
  }

  // A value that was read is written at once, and remembered to be compared later.
  template <class T>
  void keep(Kind kind, T value) {
    if (io_.param_state != PARAM_VALUE) return;
    Token t;
    t.kind = kind;
    switch (kind) {
      case Kind::integer:
        t.i = static_cast<int>(value);
        writer_.write_int(t.i);
        break;
      case Kind::logical:
        t.i = value ? 1 : 0;
        writer_.write_logical(t.i != 0);
        break;
      case Kind::real:
        t.d = static_cast<double>(value);
        writer_.write_real(t.d);
        break;
      default:
        break;
    }
    written_.push_back(std::move(t));
  }

  void keep(Kind kind, const char* value) {
    if (io_.param_state != PARAM_VALUE || !value) return;
    Token t;
    t.kind = kind;
    t.s = value;
    // An empty string is written as an empty parameter and so doesn't read back as itself.
    if (t.s.empty()) return;
    writer_.write_string(value);
    written_.push_back(std::move(t));
  }

  // The written records, read with the same delimiters, give back every value.
  void read_back(const std::string& text) {
    if (written_.empty()) return;
    igeslib_fuzz::InputStream in(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    IgeslibIO io;
    io.fp = in.get();
    io.param_delimiter = io_.param_delimiter;
    io.record_delimiter = io_.record_delimiter;
    unsigned long reports_before = igeslib_fuzz::reports();
    bool whole = igeslib_catch_abort([&] {
      io.read_record();
      for (const Token& t : written_) {
        switch (t.kind) {
          case Kind::integer:
            check(io.read_int() == t.i, io);
            break;
          case Kind::logical:
            check(io.read_logical() == t.i, io);
            break;
          case Kind::real: {
            double v = io.read_real();
            if (!real_reads_back(t.d)) return;  // the rest is out of step
            check(v == real_as_written(t.d), io);
            break;
          }
          case Kind::string: {
            const char* s = io.read_string(false);
            check(s && t.s == s, io);
            break;
          }
        }
      }
    });
    if (!whole || igeslib_fuzz::reports() != reports_before) {
      // A written real that isn't read back as a number is the one allowed cause.
      for (const Token& t : written_)
        if (t.kind == Kind::real && !real_reads_back(t.d)) return;
      std::fprintf(stderr, "written tokens did not read back without reports\n%s", text.c_str());
      std::abort();
    }
  }

  static void check(bool same, const IgeslibIO& io) {
    if (same && io.param_state == PARAM_VALUE) return;
    std::fprintf(stderr, "token read back differs at line %d column %d:\n%s\n", io.line_number,
                 io.column + 1, io.line);
    std::abort();
  }

  Control control_;
  std::vector<std::uint8_t> operations_;
  IgeslibIO io_;
  IgeslibIO writer_;
  std::vector<Token> written_;
  unsigned entities_read_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  igeslib_fuzz::setup();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::uint8_t first = data[0];
  Control c{(first & 1) != 0, (first & 2) != 0, (first & 4) != 0, (first & 8) != 0,
            static_cast<unsigned>(first >> 4)};
  std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);

  if (!c.tokens) {
    global_mode(rest, c);
    return 0;
  }
  char parameter = ',', record_end = ';';
  if (c.flag) {
    if (rest.size() < 2) return 0;
    parameter = rest[0];
    record_end = rest[1];
    rest.remove_prefix(2);
  }
  std::size_t n = std::min<std::size_t>(c.operations, rest.size());
  std::vector<std::uint8_t> operations(rest.begin(), rest.begin() + static_cast<long>(n));
  rest.remove_prefix(n);
  TokenRun(c, parameter, record_end, std::move(operations)).run(rest);
  return 0;
}
