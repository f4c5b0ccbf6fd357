// The writer: empty parameters, real formatting, numbers kept whole and strings running over
// record ends, and the reports it gives without writing. Whole files written are held to what
// they read back as by the round-trip and entity-record tests.
#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "igeslib_io.h"
#include "support/corpus.h"
#include "support/model_support.h"
#include "support/records.h"
#include "support/reports.h"

using igeslib_test::IgesText;
using Write = std::function<void(IgeslibIO&)>;

namespace {

// A filer writing to a scratch file, in the P section unless told otherwise.
struct Written {
  explicit Written(char section = 'P', char zero_as_default = 1) {
    io.fp = std::tmpfile();
    io.f_rec_section = section;
    io.end_column = section == 'P' ? 63 : 71;
    io.sequence_number = io.back_pointer = 1;
    io.zero_as_default = zero_as_default;
  }
  ~Written() { std::fclose(io.fp); }
  std::string text() { return igeslib_test::slurp(io.fp); }
  // The data columns of each record written from column start on, and of the one being
  // assembled, less trailing blanks, "|" between them.
  std::string data(int start) {
    std::string all = text(), out;
    for (std::size_t at = 0; at + 81 <= all.size(); at += 81) out += trim(all.substr(at, 64)) + "|";
    out += trim(std::string(io.line, static_cast<std::size_t>(io.column)));
    return out.substr(std::min(out.find_first_not_of(' '), static_cast<std::size_t>(start)));
  }
  static std::string trim(std::string s) { return s.erase(s.find_last_not_of(' ') + 1); }

  igeslib_test::CapturedReports reports;
  IgeslibIO io;
};

// Tokens written from a column, with zero_as_default on and off: empty parameters, numbers
// kept whole, strings running over record ends.
TEST(Writer, Tokens) {
  const std::string x61(61, 'x'), x150(150, 'x');
  const struct {
    int start;  // column of the first character, 0-based
    Write write;
    std::string on;
    const char* off;  // null: as on
  } cases[] = {
      {0, [](IgeslibIO& io) { io.write_int(0); }, ",", "0,"},
      {0, [](IgeslibIO& io) { io.write_int(-17); }, "-17,", nullptr},
      {0, [](IgeslibIO& io) { io.write_real(0.0); }, ",", "0.,"},
      {0, [](IgeslibIO& io) { io.write_real(-0.0); }, ",", "-0.,"},
      {0, [](IgeslibIO& io) { io.write_logical(false); }, ",", "0,"},
      {0, [](IgeslibIO& io) { io.write_logical(true); }, "1,", nullptr},
      {0, [](IgeslibIO& io) { io.write_string(""); }, ",", nullptr},
      {0, [](IgeslibIO& io) { io.write_string(nullptr); }, ",", nullptr},
      {0, [](IgeslibIO& io) { io.write_string("a,b"); }, "3Ha,b,", nullptr},
      {0, [](IgeslibIO& io) { io.param_delimiter = '/', io.write_int(0), io.write_int(5); }, "/5/",
       "0/5/"},
      // A token and its delimiter end in column 64; the next token flushes the record.
      {60, [](IgeslibIO& io) { io.put_int(123), io.put_int(4); }, "123,|4,", nullptr},
      {60, [](IgeslibIO& io) { io.put_int(1234); }, "|1234,", nullptr},
      {60, [](IgeslibIO& io) { io.put_real(0.5); }, "0.5,", nullptr},
      {60, [](IgeslibIO& io) { io.put_real(0.25); }, "|0.25,", nullptr},
      {62, [](IgeslibIO& io) { io.write_real(1.0); }, "|1.,", nullptr},
      {63, [](IgeslibIO& io) { io.write_int(0), io.write_int(0); }, ",|,", "|0,0,"},
      // Strings: the length and its H together, the text over as many records as it takes.
      {62, [](IgeslibIO& io) { io.put_string("ab"); }, "2H|ab,", nullptr},
      {63, [](IgeslibIO& io) { io.put_string("ab"); }, "|2Hab,", nullptr},
      {0, [&](IgeslibIO& io) { io.put_string(x61.c_str()); }, "61H" + x61 + "|,", nullptr},
      {0, [&](IgeslibIO& io) { io.put_string(x150.c_str()); },
       "150H" + x150.substr(0, 60) + "|" + x150.substr(60, 64) + "|" + x150.substr(124) + ",",
       nullptr},
  };
  for (const auto& c : cases)
    for (char zero : {1, 0}) {
      Written w('P', zero);
      w.io.column = c.start;
      c.write(w.io);
      EXPECT_EQ(w.data(c.start), zero || !c.off ? c.on : c.off)
          << "from column " << c.start + 1 << ", zero_as_default " << int(zero);
    }
}

// Integer tokens are "%d": values of every digit count around the powers of ten, negative
// ones and the ends of int.
TEST(Writer, IntTokensArePrintf) {
  std::vector<int> values = {0, 7, -7, INT_MAX, INT_MIN};
  for (long long power = 10; power <= 1000000000; power *= 10)
    for (long long v : {power - 1, power, power + 1})
      values.insert(values.end(), {static_cast<int>(v), static_cast<int>(-v)});
  for (int v : values) {
    Written w;
    w.io.put_int(v);
    EXPECT_EQ(w.data(0), std::to_string(v) + ",");
  }
}

// What a real token is by definition: "%.15G" in the "C" locale, a point behind a whole number
// or behind a text with neither point nor exponent, and D for E.
std::string printf_token(double v) {
  char printed[64];
  std::snprintf(printed, sizeof printed, "%.15G", v);
  std::string expected = printed;
  double whole;
  if (std::modf(v, &whole) == 0.0 || expected.find_first_of(".E") == std::string::npos)
    expected += '.';
  if (std::size_t e = expected.find('E'); e != std::string::npos) expected[e] = 'D';
  return expected;
}

// The token of every kind of value against its definition, which a few tokens pin down: whole
// numbers, ties at the fifteenth digit, the edges of the fixed form and of the exactly rounded
// range (1e-8 to 1e15), powers of ten and their neighbours, and random values of every
// magnitude and bit pattern.
TEST(Writer, RealTokensMatchPrintfOverManyValues) {
  auto token = [](double v) {
    char text[32];
    return std::string(text, static_cast<std::size_t>(igeslib_real_text(v, text)));
  };
  const struct {
    double value;
    const char* text;
  } pinned[] = {{1.0, "1."},
                {0.5, "0.5"},
                {-0.0, "-0."},
                {1e-7, "1D-07"},
                {-2.5e-300, "-2.5D-300"},
                {1e14, "100000000000000."},
                {1.0 / 3.0, "0.333333333333333"},
                {0.1 + 0.2, "0.3"},
                {4.9e-324, "4.94065645841247D-324"},
                // Whole numbers get their point even behind an exponent.
                {1e15, "1D+15."},
                {DBL_MAX, "1.79769313486232D+308."}};
  for (const auto& p : pinned) {
    EXPECT_EQ(token(p.value), p.text);
    EXPECT_EQ(printf_token(p.value), p.text);
  }
  auto check = [&token](double v) { ASSERT_EQ(token(v), printf_token(v)) << std::hexfloat << v; };
  const double edges[] = {0.0, -0.0, 1.0, -1.0, 0.1, 0.5, 25.0, 1e-8, 1e-5, 1e-4, 1e14, 1e15, 1e16,
                          5e-324, -5e-324, DBL_MIN, DBL_MAX, -DBL_MAX, DBL_EPSILON, HUGE_VAL,
                          -HUGE_VAL, 9007199254740992.0, 999999999999999.0, 999999999999999.5,
                          999999999999999.4, 99999999999999.95,
                          // Ties at the fifteenth digit go to the even neighbour.
                          100000000000000.5, 100000000000001.5, 123456789012345.5,
                          1234567890123455.0, 1234567890123465.0, 0.000099999999999999995, 0.00001,
                          9.999999999999995e-5, 9.9999999999999995e-9};
  for (double v : edges)
    for (double w : {v, -v})
      check(w), check(std::nextafter(w, 0.0)), check(std::nextafter(w, HUGE_VAL));
  for (int p = -324; p <= 308; ++p) {
    double v = std::pow(10.0, p);
    check(v), check(std::nextafter(v, 0.0)), check(std::nextafter(v, HUGE_VAL));
  }
  std::mt19937_64 random(20261123);
  std::uniform_real_distribution<double> unit(-1.0, 1.0), scale(-10.0, 17.0);
  std::uniform_int_distribution<long long> whole(-20000000000000000, 20000000000000000);
  for (int i = 0; i < 20000; ++i) {
    std::uint64_t bits = random();
    double any;
    std::memcpy(&any, &bits, sizeof any);
    if (!std::isnan(any)) check(any);
    double v = unit(random) * std::pow(10.0, scale(random));
    check(v);
    check(std::round(v * 1000.0) / 1000.0);
    check(static_cast<double>(whole(random) >> (i % 50)));
  }
}

TEST(Writer, ReportsWithoutWriting) {
  Written w('S');
  w.io.writeendofrec();  // no delimiter behind a last parameter
  ListOfString list(0);
  std::string x72(72, 'x'), y73(73, 'y');
  list.add(x72.data()).add(y73.data()).add(x72.data());
  w.io.write_start_section(&list);
  EXPECT_EQ(w.text(), IgesText().S(x72).str());
  EXPECT_EQ(w.io.start_count, 3);
  EXPECT_EQ(std::string(w.io.line), std::string(89, ' '));  // the next section starts clean
  std::string reports = w.reports.text();
  EXPECT_NE(reports.find("missing last parameter delimiter"), std::string::npos);
  EXPECT_NE(reports.find("longer than 72 characters"), std::string::npos);
}

}  // namespace
