// The file's structure, from its records read again as the reader cuts them: the order of the
// sections, sequence numbers, the Terminate counts, Directory pairs against the Parameter Data
// records, and the Global section against the Directory. The reader's own reports join here,
// each at the entity whose record it names.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "check_internal.h"

namespace igeslib::check_detail {

namespace {

constexpr int kCardLength = 80;
constexpr int kHardStop = 83;  // the reader's longest record; a longer line goes on in another

// One record: its text and the stamps found from its right end, as the reader finds them.
struct Record {
  const char* text = storage;  // the block's own bytes when the record lies whole in it
  char storage[kHardStop + 1];
  int length = 0;
  int line = 0;       // counted from 1, blank lines not counted
  char section = 0;   // the section letter, 0 when none is found
  int sequence = -1;  // -1 when there are no digits
  int de_pointer = -1;
};

// Reads the file's records one at a time, cut as the reader cuts them: at a line end, or every
// 80 characters while the file has shown no line end. The file is read in large blocks.
class Records {
 public:
  explicit Records(const std::filesystem::path& path)
      : file_(std::fopen(path.c_str(), "rb")), buffer_(new char[kBlock]) {
    // The blocks are read straight into buffer_, not through the stream's own buffer.
    if (file_) std::setvbuf(file_, nullptr, _IONBF, 0);
  }
  ~Records() {
    if (file_) std::fclose(file_);
  }
  Records(const Records&) = delete;
  Records& operator=(const Records&) = delete;
  bool opened() const { return file_ != nullptr; }

  bool next(Record& r) {
    r.length = 0;
    r.text = r.storage;
    for (;;) {
      if (at_ >= end_ && !fill()) break;
      if (r.length == 0 && terminator_seen_) {
        if (whole_line(r)) break;
        if (at_ >= end_) continue;  // blank lines ran to the block's end
      }
      if (r.length == 0 && !terminator_seen_ && card(r)) break;
      char c = buffer_[at_++];
      if (c == '\r' || c == '\n') {
        terminator_seen_ = true;
        if (r.length) break;
        continue;
      }
      r.storage[r.length++] = c == '\0' ? ' ' : c;
      if ((!terminator_seen_ && r.length >= kCardLength) || r.length >= kHardStop) break;
    }
    if (r.length == 0) return false;
    if (r.text == r.storage) r.storage[r.length] = '\0';
    r.line = ++lines_;
    stamps(r);
    return true;
  }

 private:
  static bool digit(char c) { return c >= '0' && c <= '9'; }
  static int value(const char* text, int from, int to) {
    long long v = 0;
    for (int i = from; i <= to; ++i) v = v < 100000000 ? v * 10 + (text[i] - '0') : v;
    return static_cast<int>(v);
  }
  // The common case at once: a record of 80 columns with the section letter in column 73, the
  // sequence number right-justified in 74-80 and, on a P record, the DE pointer in 66-72 after
  // a blank. False for any other shape, which the general way reads.
  static bool card_stamps(Record& r) {
    if (r.length != kCardLength || !std::isupper(static_cast<unsigned char>(r.text[72])))
      return false;
    std::uint64_t word = igeslib_load_word(r.text + 72);
    word = (word & ~std::uint64_t{0xFF}) | ' ';  // the letter's byte as a leading blank
    int sequence = igeslib_right_justified_word(word);
    if (sequence < 0) return false;
    int de_pointer = -1;
    if (r.text[72] == 'P') {
      if (r.text[64] != ' ') return false;
      de_pointer = igeslib_right_justified_word(igeslib_load_word(r.text + 64));
      if (de_pointer < 0) return false;
    }
    r.section = r.text[72];
    r.sequence = sequence;
    r.de_pointer = de_pointer;
    return true;
  }

  // From the right: blanks, sequence digits, blanks, the section letter; on a P record
  // blanks and the DE pointer digits before it.
  static void stamps(Record& r) {
    if (card_stamps(r)) return;
    r.section = 0;
    r.sequence = r.de_pointer = -1;
    int i = r.length - 1;
    while (i >= 0 && r.text[i] == ' ') --i;
    int end = i;
    while (i >= 0 && digit(r.text[i])) --i;
    if (i < end) r.sequence = value(r.text, i + 1, end);
    while (i >= 0 && r.text[i] == ' ') --i;
    if (i < 0 || !std::isupper(static_cast<unsigned char>(r.text[i]))) return;
    r.section = r.text[i];
    if (r.section != 'P') return;
    --i;
    while (i >= 0 && r.text[i] == ' ') --i;
    end = i;
    while (i >= 0 && digit(r.text[i])) --i;
    if (i < end) r.de_pointer = value(r.text, i + 1, end);
  }

  // The common case at once: a line of the block, with its line end, that holds no other
  // line end or NUL and fits a record. Blank lines are passed by. False when the next
  // characters need the general way.
  bool whole_line(Record& r) {
    for (;;) {
      const char* p = buffer_.get() + at_;
      std::size_t room = std::min(end_ - at_, static_cast<std::size_t>(kHardStop + 2));
      const char* line_end = static_cast<const char*>(std::memchr(p, '\n', room));
      if (!line_end) return false;
      std::size_t n = static_cast<std::size_t>(line_end - p), length = n;
      if (length && p[length - 1] == '\r') --length;
      if (length == 0 && n <= 1) {
        at_ += n + 1;
        if (at_ >= end_ && !fill()) return false;
        continue;
      }
      if (length > static_cast<std::size_t>(kHardStop) ||
          (!plain_ && (std::memchr(p, '\r', length) || std::memchr(p, '\0', length))))
        return false;
      r.text = p;
      r.length = static_cast<int>(length);
      at_ += n + 1;
      return true;
    }
  }

  // A card image of a file without line ends: the next 80 characters, when the block holds
  // them and none of them is a line end or a NUL.
  bool card(Record& r) {
    if (end_ - at_ < static_cast<std::size_t>(kCardLength)) return false;
    const char* p = buffer_.get() + at_;
    if (!plain_ && (std::memchr(p, '\r', kCardLength) || std::memchr(p, '\0', kCardLength)))
      return false;
    if (std::memchr(p, '\n', kCardLength)) return false;
    r.text = p;
    r.length = kCardLength;
    at_ += kCardLength;
    return true;
  }

  bool fill() {
    at_ = 0;
    end_ = file_ ? std::fread(buffer_.get(), 1, kBlock, file_) : 0;
    // A block without CR or NUL needs no look for them in its lines.
    plain_ = !std::memchr(buffer_.get(), '\r', end_) && !std::memchr(buffer_.get(), '\0', end_);
    return end_ > 0;
  }

  static constexpr std::size_t kBlock = 1 << 16;
  std::FILE* file_;
  std::unique_ptr<char[]> buffer_;
  std::size_t at_ = 0, end_ = 0;
  bool plain_ = false;
  bool terminator_seen_ = false;
  int lines_ = 0;
};

// The integer of a fixed field, columns first..last counted from 1; 0 when it holds none. The
// columns past a short record are blank.
int field(const Record& r, int first, int last) {
  int v = 0;
  if (first > r.length) return v;
  if (last - first == 7 && last <= r.length) return igeslib_scan_eight_columns(r.text + first - 1);
  int width = std::min(last, r.length) - first + 1;
  char copy[16];
  std::memcpy(copy, r.text + first - 1, static_cast<std::size_t>(width));
  copy[width] = '\0';
  igeslib_scan_int(copy, width, &v);
  return v;
}

int rank(char section) {
  switch (section) {
    case 'S':
      return 0;
    case 'G':
      return 1;
    case 'D':
      return 2;
    case 'P':
      return 3;
    case 'T':
      return 4;
    default:
      return -1;
  }
}

const char* section_name(char section) {
  switch (section) {
    case 'S':
      return "Start";
    case 'G':
      return "Global";
    case 'D':
      return "Directory";
    case 'P':
      return "Parameter Data";
    default:
      return "Terminate";
  }
}

// One Directory pair as far as the checks need it.
struct Pair {
  int type = 0, second_type = 0;
  int parameter_pointer = 0, line_count = 0, line_weight = 0;
  int line = 0;
  int first_parameter = 0;  // sequence number of the entity's first P record, 0 for none
  int parameter_lines = 0;
  bool second = false;
};

// Sequence breaks are told one by one up to this many a section; the rest are counted.
constexpr int kMaxBreaks = 20;

class StructureCheck {
 public:
  explicit StructureCheck(Context& context) : c_(context) {}

  void record(const Record& r) {
    int k = rank(r.section);
    if (k < 0) return;  // the reader stops at a record without a letter
    if (k < section_) {
      c_.add("section-order", 0, "",
             std::string("a ") + section_name(r.section) + " record after the " +
                 section_name("SGDPT"[section_]) + " section",
             r.line);
    }
    section_ = k;
    counted_[k]++;
    sequence(r, k);
    if (r.section == 'D') directory(r);
    if (r.section == 'P') parameter(r);
    if (r.section == 'T' && !terminate_line_) {
      terminate_line_ = r.line;
      std::memset(terminate_, ' ', sizeof terminate_ - 1);
      std::memcpy(terminate_, r.text, static_cast<std::size_t>(r.length));
    }
  }

  void finish() {
    for (int k = 0; k < 4; ++k) {
      if (breaks_[k] > kMaxBreaks)
        c_.add("sequence-number", 0, "",
               std::to_string(breaks_[k] - kMaxBreaks) + " more breaks of the " +
                   section_name("SGDP"[k]) + " section's sequence numbers",
               last_break_line_[k]);
    }
    terminate_counts();
    if (directory_records_ % 2)
      c_.add("directory-pair", 0, "", "the Directory section has an odd number of records",
             last_directory_line_);
    for (std::size_t i = 0; i < pairs_.size(); ++i) directory_pair(pairs_[i], 2 * i + 1);
    global_line_weights();
  }

 private:
  // Each section numbers its records from 1, on from its last record when it comes again.
  void sequence(const Record& r, int k) {
    int& expected = expected_by_section_[k];
    if (k < 4 && r.sequence != expected) {
      last_break_line_[k] = r.line;
      if (++breaks_[k] <= kMaxBreaks)
        c_.add("sequence-number", 0, "",
               std::string(section_name(r.section)) + " record " + std::to_string(counted_[k]) +
                   " has sequence number " +
                   (r.sequence < 0 ? std::string("none") : std::to_string(r.sequence)) + ", not " +
                   std::to_string(expected),
               r.line);
    }
    expected = (r.sequence < 0 ? expected : r.sequence) + 1;
  }

  void directory(const Record& r) {
    last_directory_line_ = r.line;
    if (directory_records_++ % 2 == 0) {
      if (!c_.directory_start) c_.directory_start = r.line;
      Pair pair;
      pair.type = field(r, 1, 8);
      pair.parameter_pointer = field(r, 9, 16);
      pair.line = r.line;
      pairs_.push_back(pair);
    } else {
      Pair& pair = pairs_.back();
      pair.second = true;
      pair.second_type = field(r, 1, 8);
      pair.line_weight = field(r, 9, 16);
      pair.line_count = field(r, 25, 32);
    }
  }

  void parameter(const Record& r) {
    if (r.de_pointer == run_pointer_ && run_pointer_ >= 0) {
      if (run_ < pairs_.size()) ++pairs_[run_].parameter_lines;
      return;
    }
    run_pointer_ = r.de_pointer;
    run_ = kNone;
    int de = r.de_pointer;
    std::size_t place = de > 0 ? static_cast<std::size_t>((de - 1) / 2) : pairs_.size();
    if (de <= 0 || de % 2 == 0 || place >= pairs_.size()) {
      c_.add("parameter-de-pointer", 0, "",
             "Parameter Data record " + std::to_string(counted_[3]) + " has DE pointer " +
                 (de < 0 ? std::string("none") : std::to_string(de)) +
                 ", which names no Directory entry",
             r.line);
      return;
    }
    Pair& pair = pairs_[place];
    if (pair.first_parameter) {
      c_.add("parameter-de-pointer", de, "",
             "a second run of Parameter Data records for the entity, from record " +
                 std::to_string(counted_[3]),
             r.line);
      return;
    }
    pair.first_parameter = r.sequence < 0 ? counted_[3] : r.sequence;
    pair.parameter_lines = 1;
    run_ = place;
  }

  void directory_pair(const Pair& pair, std::size_t de_number) {
    int de = static_cast<int>(de_number);
    if (pair.second && pair.second_type != pair.type)
      c_.add("directory-pair", de, "",
             "the second Directory record gives entity type " + std::to_string(pair.second_type) +
                 ", the first " + std::to_string(pair.type),
             pair.line);
    if (!pair.first_parameter) {
      if (pair.line_count > 0)
        c_.add("parameter-line-count", de, "",
               "the Directory gives " + std::to_string(pair.line_count) +
                   " parameter lines; the entity has no Parameter Data record",
               pair.line);
      return;
    }
    if (pair.parameter_pointer != pair.first_parameter)
      c_.add("parameter-pointer", de, "",
             "the Directory's parameter data pointer is " + std::to_string(pair.parameter_pointer) +
                 "; the entity's first Parameter Data record is " +
                 std::to_string(pair.first_parameter),
             pair.line);
    if (pair.second && pair.line_count != pair.parameter_lines)
      c_.add("parameter-line-count", de, "",
             "the Directory gives " + std::to_string(pair.line_count) +
                 " parameter lines; the entity has " + std::to_string(pair.parameter_lines),
             pair.line + 1);
  }

  void terminate_counts() {
    if (!terminate_line_) {
      c_.add("terminate-count", 0, "", "the file has no Terminate record", 0);
      return;
    }
    for (int k = 0; k < 4; ++k) {
      const char* at = terminate_ + 8 * k;
      int given = -1;
      bool scanned = at[0] == "SGDP"[k] && igeslib_scan_int(at + 1, 7, &given);
      if (scanned && given == counted_[k]) continue;
      c_.add("terminate-count", 0, "",
             std::string("the Terminate record gives ") +
                 (scanned ? std::to_string(given) : std::string("no count")) + " " +
                 section_name("SGDP"[k]) + " records; the section has " +
                 std::to_string(counted_[k]),
             terminate_line_);
    }
  }

  // A line weight number runs from 0 to the Global section's count of gradations.
  void global_line_weights() {
    igs_global* global = c_.model.global_section();
    int gradations = global ? global->max_num_line_weight_gradations() : 0;
    if (gradations <= 0) return;
    for (std::size_t i = 0; i < pairs_.size(); ++i) {
      const Pair& pair = pairs_[i];
      if (pair.line_weight >= 0 && pair.line_weight <= gradations) continue;
      c_.add("global-line-weight", static_cast<int>(2 * i + 1), "line_weight",
             "line weight " + std::to_string(pair.line_weight) +
                 " is beyond the Global section's " + std::to_string(gradations) + " gradations",
             pair.line + 1);
    }
  }

  Context& c_;
  int section_ = 0;
  int expected_by_section_[5] = {1, 1, 1, 1, 1};
  int counted_[5] = {};
  int breaks_[4] = {};
  int last_break_line_[4] = {};
  int directory_records_ = 0;
  int last_directory_line_ = 0;
  std::vector<Pair> pairs_;
  static constexpr std::size_t kNone = ~std::size_t(0);
  int run_pointer_ = -1;
  std::size_t run_ = kNone;  // the pair whose records the current run of P records are
  int terminate_line_ = 0;
  char terminate_[kHardStop + 1] = {};
};

// The entity whose records hold a reader's report: by the Directory line or the DE pointer of
// the Parameter Data record it names.
int entity_of_report(const Context& c, const Report& report) {
  if (report.record.size() < 73) return 0;
  char section = report.record[72];
  if (section == 'D' && c.directory_start && report.line >= c.directory_start) {
    int de = report.line - c.directory_start + 1;
    return de % 2 ? de : de - 1;
  }
  if (section == 'P') {
    int de = 0;
    igeslib_scan_int(report.record.c_str() + 64, 8, &de);
    return de;
  }
  return 0;
}

void reader_reports(Context& c) {
  for (const Report& report : c.model.reports()) {
    c.add(report.warning ? "read-warning" : "read-error", entity_of_report(c, report), "",
          report.message, report.line);
  }
}

// The unit names that go with each unit flag; flag 3 means the name alone tells.
void global_units(Context& c) {
  igs_global* global = c.model.global_section();
  if (!global) return;
  static const char* const kNames[][2] = {
      {"", ""},  {"IN", "INCH"}, {"MM", ""},  {"", ""},   {"FT", ""}, {"MI", ""},
      {"M", ""}, {"KM", ""},     {"MIL", ""}, {"UM", ""}, {"CM", ""}, {"UIN", ""},
  };
  int flag = static_cast<int>(global->unit_flag());
  std::string name = global->units() ? global->units() : "";
  std::string upper;
  for (char ch : name)
    if (ch != ' ') upper += static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  if (flag >= 1 && flag <= 11 && flag != 3) {
    if (!upper.empty() && upper != kNames[flag][0] && upper != kNames[flag][1])
      c.add("global-units", 0, "units",
            "unit flag " + std::to_string(flag) + " means " + kNames[flag][0] +
                ", the unit name is " + name);
  } else if (flag == 3 && upper.empty()) {
    c.add("global-units", 0, "units", "unit flag 3 sends to the unit name, which is empty");
  }
  double resolution = global->min_resolution();
  if (!(resolution > 0) || !std::isfinite(resolution))
    c.add("global-resolution", 0, "min_resolution",
          "the minimum resolution is " + number(resolution));
}

}  // namespace

void check_records(Context& c) {
  const std::filesystem::path& path = c.model.path();
  if (!path.empty()) {
    Records records(path);
    if (records.opened()) {
      StructureCheck structure(c);
      auto record = std::make_unique<Record>();
      while (records.next(*record)) structure.record(*record);
      structure.finish();
    }
  }
  reader_reports(c);
  global_units(c);
}

}  // namespace igeslib::check_detail
