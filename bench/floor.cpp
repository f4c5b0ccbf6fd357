#include "floor.h"

#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <cstring>
#include <memory>

namespace {

// Blanks and the two delimiters end a number: they are the classes from kBlank on.
enum CharClass : unsigned char { kOther, kDigit, kBlank, kParameterEnd, kRecordEnd };

// Tokens of the free-form data. A Hollerith string may run on into the next record; a number
// ends at a blank or a delimiter.
template <bool Convert>
class Tokenizer {
 public:
  explicit Tokenizer(FloorResult& result) : result_(result) { delimiters(',', ';'); }

  void delimiters(char parameter, char record) {
    std::memset(classes_, kOther, sizeof classes_);
    classes_[static_cast<unsigned char>(' ')] = kBlank;
    for (char c = '0'; c <= '9'; ++c) classes_[static_cast<unsigned char>(c)] = kDigit;
    classes_[static_cast<unsigned char>(parameter)] = kParameterEnd;
    classes_[static_cast<unsigned char>(record)] = kRecordEnd;
  }

  void data(const char* p, const char* end) {
    while (p < end) {
      if (string_left_ > 0) {
        long n = end - p < string_left_ ? end - p : string_left_;
        p += n;
        string_left_ -= n;
        continue;
      }
      unsigned char c = classes_[static_cast<unsigned char>(*p)];
      if (c == kBlank) {
        ++p;
        continue;
      }
      if (c == kParameterEnd || c == kRecordEnd) {
        if (after_delimiter_) ++result_.tokens;  // an empty parameter
        after_delimiter_ = true;
        ++p;
        continue;
      }
      after_delimiter_ = false;
      ++result_.tokens;
      const char* start = p;
      long count = 0;
      while (p < end && classes_[static_cast<unsigned char>(*p)] == kDigit)
        count = count * 10 + (*p++ - '0');
      if (p < end && *p == 'H' && p > start) {
        string_left_ = count;
        ++p;
        continue;
      }
      while (p < end && classes_[static_cast<unsigned char>(*p)] < kBlank) ++p;
      if constexpr (Convert) convert(start, p);
    }
  }

 private:
  void convert(const char* start, const char* end) {
    char text[64];
    std::size_t n = static_cast<std::size_t>(end - start);
    if (n >= sizeof text) return;
    bool real = false;
    for (std::size_t i = 0; i < n; ++i) {
      char c = start[i];
      if (c == 'D' || c == 'd') c = 'e';
      real |= c == '.' || c == 'e' || c == 'E';
      text[i] = c;
    }
    if (real) {
      double v = 0;
      std::from_chars(text, text + n, v);
      result_.checksum += v;
    } else {
      long v = 0;
      std::from_chars(text + (text[0] == '+'), text + n, v);
      result_.checksum += static_cast<double>(v);
    }
  }

  FloorResult& result_;
  unsigned char classes_[256];
  long string_left_ = 0;  // characters of a Hollerith string still to come
  bool after_delimiter_ = false;
};

// The delimiters a Global section states at its start: "1H" and the character, for each of
// the two, or the defaults where a delimiter stands in place of the definition.
void global_delimiters(const char* record, std::size_t length, char& parameter, char& record_end) {
  std::size_t at = 0;
  if (length >= 3 && record[0] == '1' && record[1] == 'H') {
    parameter = record[2];
    at = 3;
  }
  if (at < length && record[at] == parameter) ++at;
  if (at + 2 < length && record[at] == '1' && record[at + 1] == 'H') record_end = record[at + 2];
}

template <bool Convert>
FloorResult pass(int fd) {
  FloorResult result;
  Tokenizer<Convert> tokens(result);
  bool global_seen = false;

  auto record = [&](const char* p, std::size_t n) {
    ++result.records;
    if (n < 73) return;
    switch (p[72]) {
      case 'P':
        tokens.data(p, p + 64);
        break;
      case 'D':
        ++result.directory_records;
        break;
      case 'G':
        if (!global_seen) {
          global_seen = true;
          char parameter = ',', record_end = ';';
          global_delimiters(p, n, parameter, record_end);
          tokens.delimiters(parameter, record_end);
        }
        tokens.data(p, p + 72);
        break;
      default:
        break;
    }
  };

  constexpr std::size_t kCapacity = std::size_t{1} << 20;
  std::unique_ptr<char[]> buffer(new char[kCapacity]);
  std::size_t held = 0;  // bytes of an unfinished record carried to the front of the buffer
  bool first = true, line_ends = false, eof = false;
  while (!eof) {
    ssize_t got = ::read(fd, buffer.get() + held, kCapacity - held);
    if (got < 0) return result;
    eof = got == 0;
    const char* p = buffer.get();
    const char* end = p + held + static_cast<std::size_t>(got);
    if (first) {
      first = false;
      for (const char* q = p; q < end && q < p + 84; ++q) line_ends |= *q == '\n' || *q == '\r';
    }
    for (;;) {
      if (line_ends) {
        while (p < end && (*p == '\n' || *p == '\r')) ++p;
        if (end - p > 80 && (p[80] == '\n' || p[80] == '\r')) {
          record(p, 80);  // the common card image with its line end in column 81
          p += 81;
          continue;
        }
        const char* q = p;
        while (q < end && *q != '\n' && *q != '\r') ++q;
        if (q == end && !eof && static_cast<std::size_t>(end - p) < kCapacity) break;
        if (q > p) record(p, static_cast<std::size_t>(q - p));
        p = q == end ? q : q + 1;
        if (p == end) break;
      } else {
        if (end - p >= 80) {
          record(p, 80);
          p += 80;
          continue;
        }
        if (eof && p < end) record(p, static_cast<std::size_t>(end - p)), p = end;
        break;
      }
    }
    held = static_cast<std::size_t>(end - p);
    std::memmove(buffer.get(), p, held);
  }
  result.ok = true;
  return result;
}

}  // namespace

FloorResult floor_pass(const std::string& path, bool convert_numbers) {
  int fd = ::open(path.c_str(), O_RDONLY);
  if (fd < 0) return FloorResult{};
  FloorResult result = convert_numbers ? pass<true>(fd) : pass<false>(fd);
  ::close(fd);
  return result;
}
