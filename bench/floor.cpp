#include "floor.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace {

// Tokens of the free-form data; a Hollerith string may run on into the next record.
struct Tokenizer {
  std::size_t tokens = 0;
  long string_left = 0;  // characters of a Hollerith string still to come

  void data(const char* p, const char* end) {
    while (p < end) {
      if (string_left > 0) {
        long n = end - p < string_left ? end - p : string_left;
        p += n;
        string_left -= n;
        continue;
      }
      char c = *p;
      if (c == ',' || c == ';' || c == ' ') {
        ++p;
        continue;
      }
      // A number, or the count of a Hollerith string.
      long count = 0;
      const char* start = p;
      while (p < end && *p >= '0' && *p <= '9') count = count * 10 + (*p++ - '0');
      if (p < end && *p == 'H' && p > start) {
        ++p;
        string_left = count;
      } else {
        while (p < end && *p != ',' && *p != ';' && *p != ' ') ++p;
      }
      ++tokens;
    }
  }
};

}  // namespace

FloorResult floor_pass(const std::string& path) {
  FloorResult result;
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return result;
  std::vector<char> buffer(1 << 20);
  std::string carry;  // a record split by the end of a buffer
  Tokenizer tokens;
  bool line_ends = false;
  auto record = [&](const char* p, std::size_t n) {
    ++result.records;
    if (n < 73) return;
    char section = p[72];
    if (section == 'P')
      tokens.data(p, p + 64);
    else if (section == 'G')
      tokens.data(p, p + 72);
  };
  for (std::size_t got; (got = std::fread(buffer.data(), 1, buffer.size(), f)) > 0;) {
    const char* p = buffer.data();
    const char* end = p + got;
    while (p < end) {
      if (!line_ends && !carry.empty() && carry.size() < 80 && !std::memchr(p, '\n', end - p)) {
        // A card image that the end of the last buffer cut: complete it.
        std::size_t n = 80 - carry.size() < std::size_t(end - p) ? 80 - carry.size() : end - p;
        carry.append(p, n);
        p += n;
        if (carry.size() == 80) {
          record(carry.data(), 80);
          carry.clear();
        }
        continue;
      }
      const char* stop = static_cast<const char*>(std::memchr(p, '\n', end - p));
      if (!stop && !line_ends && carry.empty() && end - p >= 80) stop = p + 80;
      if (!stop) {
        carry.append(p, end);
        break;
      }
      if (*stop == '\n') line_ends = true;
      std::size_t n = stop - p;
      if (!carry.empty()) {
        carry.append(p, n);
        std::size_t m = carry.size();
        if (m && carry[m - 1] == '\r') --m;
        record(carry.data(), m);
        carry.clear();
      } else {
        std::size_t m = n;
        if (m && p[m - 1] == '\r') --m;
        if (m) record(p, m);
      }
      p = *stop == '\n' ? stop + 1 : stop;
    }
  }
  if (!carry.empty()) record(carry.data(), carry.size());
  std::fclose(f);
  result.tokens = tokens.tokens;
  result.ok = true;
  return result;
}
