// The parameter token reader: values, defaults, the end of a record, poisoning, records
// crossed, the two mailer repairs, Hollerith strings and the locale.
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "filer_fixture.h"

using igeslib_test::FilerOver;
using igeslib_test::IgesText;
using Errors = std::vector<std::string>;

namespace {

// A filer with the first of the P records holding data in line.
struct Tokens : FilerOver {
  explicit Tokens(std::initializer_list<std::string> data) : FilerOver(file_of(data)) {
    EXPECT_TRUE(next());
  }
  static std::string file_of(std::initializer_list<std::string> data) {
    IgesText text;
    for (const std::string& d : data) text.P(1, d);
    return text.str();
  }
  // The reports' messages without their positions.
  Errors messages() const {
    Errors out;
    for (const std::string& e : errors()) out.push_back(e.substr(e.find(' ') + 1));
    return out;
  }
};

// Each field of the data "a|b" is one column of 64; the 64-column field ends in last.
std::string ending_in(const std::string& last, const std::string& before = "") {
  return before + std::string(64 - before.size() - last.size(), ' ') + last;
}

}  // namespace

TEST(Tokens, ValuesDefaultsAndTheEndOfRecord) {
  Tokens t({"5,,7;"});
  EXPECT_EQ(t.io.read_int(), 5);
  EXPECT_EQ(t.io.param_state, PARAM_VALUE);
  EXPECT_EQ(t.io.read_int(), 0);
  EXPECT_EQ(t.io.param_state, PARAM_DEFAULTED);
  EXPECT_EQ(t.io.read_int(), 7);
  EXPECT_EQ(t.io.read_int(), 0);
  EXPECT_EQ(t.io.param_state, PARAM_END_OF_RECORD);
  EXPECT_EQ(t.io.column, 4);
  EXPECT_EQ(t.io.record_failed, 0);
  // Every guard is now a no-op.
  EXPECT_EQ(t.io.read_real(), 0.0);
  EXPECT_EQ(t.io.read_string(), nullptr);
  EXPECT_EQ(t.io.column, 4);
  EXPECT_EQ(t.errors(), Errors{});
}

TEST(Tokens, BlanksBeforeADelimiterReadAsADefault) {
  Tokens t({"  ,   , ,  1 ;"});
  EXPECT_EQ(t.io.read_real(), 0.0);
  EXPECT_EQ(t.io.param_state, PARAM_DEFAULTED);
  EXPECT_EQ(t.io.read_logical(), 0);
  EXPECT_EQ(t.io.param_state, PARAM_DEFAULTED);
  EXPECT_EQ(t.io.read_string(), nullptr);
  EXPECT_EQ(t.io.param_state, PARAM_DEFAULTED);
  EXPECT_EQ(t.io.read_int(), 1);
  EXPECT_EQ(t.io.param_state, PARAM_VALUE);
}

struct IntCase {
  const char* data;
  int value;
  int state;
  const char* message;  // null: no report
};

TEST(Tokens, Integers) {
  const IntCase cases[] = {
      {"+12,", 12, PARAM_VALUE, nullptr},
      {"  -7  ;", -7, PARAM_VALUE, nullptr},
      {"12 34,", 0, PARAM_END_OF_RECORD, "Missing delimiter after integer value"},
      {"12a,", 0, PARAM_END_OF_RECORD, "Missing delimiter after integer value"},
      {"+,", 0, PARAM_END_OF_RECORD, "Invalid integer value"},
      {"x,", 0, PARAM_END_OF_RECORD, "Invalid integer value"},
      {"1-2,", 0, PARAM_END_OF_RECORD, "Unexpected sign in number"},
      {"1.5,", 0, PARAM_END_OF_RECORD, "Missing delimiter after integer value"},
  };
  for (const IntCase& c : cases) {
    SCOPED_TRACE(c.data);
    Tokens t({c.data});
    EXPECT_EQ(t.io.read_int(), c.value);
    EXPECT_EQ(t.io.param_state, c.state);
    EXPECT_EQ(t.io.record_failed, c.message ? 1 : 0);
    EXPECT_EQ(t.messages(), c.message ? Errors{c.message} : Errors{});
  }
}

TEST(Tokens, IntegerOfEightyNineDigitsIsTooLong) {
  // Digits may not cross a line, so no data field of a record holds that many; the buffer
  // limit shows with a wider field.
  Tokens t({"1;"});
  t.io.end_column = 88;
  std::memset(t.io.line, '1', 89);
  t.io.line[89] = '\0';
  EXPECT_EQ(t.io.read_int(), 0);
  EXPECT_EQ(t.io.column, 88);
  EXPECT_EQ(t.messages(), Errors{"Integer value too long"});
}

struct RealCase {
  const char* data;
  double value;
  int state;
  Errors messages;
};

TEST(Tokens, Reals) {
  const RealCase cases[] = {
      {"1.5,", 1.5, PARAM_VALUE, {}},
      {"-2.25;", -2.25, PARAM_VALUE, {}},
      {"7,", 7.0, PARAM_VALUE, {}},
      {"1.,", 1.0, PARAM_VALUE, {}},
      {"-.5,", -0.5, PARAM_VALUE, {}},
      {"1.5D3,", 1500.0, PARAM_VALUE, {}},
      {"1.5d3,", 1500.0, PARAM_VALUE, {}},
      {"1.5E3,", 1500.0, PARAM_VALUE, {}},
      {"25.e-2,", 0.25, PARAM_VALUE, {}},
      {"+4D+1 ,", 40.0, PARAM_VALUE, {}},
      {"1..5,", 1.5, PARAM_VALUE, {"Ignoring doubled decimal possibly added by emailer"}},
      {"1.5.,", 0.0, PARAM_END_OF_RECORD, {"Unexpected decimal in number"}},
      {"1.5+3,", 0.0, PARAM_END_OF_RECORD, {"Unexpected sign in number"}},
      {"E3,", 0.0, PARAM_END_OF_RECORD, {"Unexpected exponent in number"}},
      {"1.5E3E,", 0.0, PARAM_END_OF_RECORD, {"Unexpected exponent in number"}},
      {".,", 0.0, PARAM_END_OF_RECORD, {"Invalid floating point value"}},
      {"-,", 0.0, PARAM_END_OF_RECORD, {"Invalid floating point value"}},
      {"1.5E,", 0.0, PARAM_END_OF_RECORD, {"Invalid floating point value"}},
      {"x,", 0.0, PARAM_END_OF_RECORD, {"Invalid floating point value"}},
      {"1.5 2,", 0.0, PARAM_END_OF_RECORD, {"Missing delimiter after floating point value"}},
  };
  for (const RealCase& c : cases) {
    SCOPED_TRACE(c.data);
    Tokens t({c.data});
    EXPECT_DOUBLE_EQ(t.io.read_real(), c.value);
    EXPECT_EQ(t.io.param_state, c.state);
    EXPECT_EQ(t.messages(), c.messages);
  }
}

// Long digit strings read as atol reads them, cut to an int: past what a long holds the
// long's limit, LONG_MAX (an int of -1) or LONG_MIN (0).
TEST(Tokens, LongIntegersReadAsAtolCutToAnInt) {
  const struct {
    const char* data;
    int value;
  } cases[] = {
      {"2147483647", 2147483647},
      {"2147483648", -2147483647 - 1},
      {"-2147483649", 2147483647},
      {"4294967297", 1},
      {"0000000000000000000000000000042", 42},
      {"999999999999999999", -1486618625},
      {"-999999999999999999", 1486618625},
      {"1000000000000000000", -1486618624},
      {"9223372036854775807", -1},
      {"9223372036854775808", -1},
      {"-9223372036854775807", 1},
      {"-9223372036854775808", 0},
      {"-9223372036854775809", 0},
      {"18446744073709551617", -1},
      {"-18446744073709551617", 0},
      {"99999999999999999999999999999999", -1},
      {"-99999999999999999999999999999999", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.data);
    Tokens t({std::string(c.data) + ";"});
    EXPECT_EQ(t.io.read_int(), c.value);
    EXPECT_EQ(t.io.read_int(), 0);
    EXPECT_EQ(c.value, static_cast<int>(std::atol(c.data)));
    EXPECT_EQ(t.errors(), Errors{});
  }
}

namespace {

// One real scanned from column at of a P record's data field holding data, the quick way or
// the general way: everything that can be seen of it.
struct RealScan {
  std::uint64_t bits;
  int column;
  int state;
  int failed;
  std::string reports;
  bool operator==(const RealScan& o) const {
    return bits == o.bits && column == o.column && state == o.state && failed == o.failed &&
           reports == o.reports;
  }
};

std::ostream& operator<<(std::ostream& out, const RealScan& r) {
  double v;
  std::memcpy(&v, &r.bits, sizeof v);
  return out << "{" << v << " (" << std::hex << r.bits << std::dec << "), column " << r.column
             << ", state " << r.state << ", failed " << r.failed << ", \"" << r.reports << "\"}";
}

RealScan scan_real_at(FilerOver& f, const std::string& data, int at, bool quick) {
  std::memset(f.io.line, ' ', 80);
  std::memcpy(f.io.line + at, data.data(), data.size());
  f.io.line_length = 80;
  f.io.end_column = 63;
  f.io.column = at;
  f.io.param_state = PARAM_VALUE;
  f.io.record_failed = 0;
  f.io.quick_numbers = quick;
  f.reports.clear();
  double v = f.io.scan_real();
  RealScan r{0, f.io.column, f.io.param_state, f.io.record_failed, f.reports.text()};
  std::memcpy(&r.bits, &v, sizeof v);
  return r;
}

// The quick way and the general way give the same.
void expect_same_real(FilerOver& f, const std::string& data, int at = 0) {
  ASSERT_LE(at + data.size(), 64u);
  SCOPED_TRACE(data + " at " + std::to_string(at));
  EXPECT_EQ(scan_real_at(f, data, at, true), scan_real_at(f, data, at, false));
}

}  // namespace

TEST(Tokens, QuickRealsEdges) {
  Tokens t({"0;"});
  const char* cases[] = {
      // the bounds of the exact product: 2^53 and the powers of ten up to 22
      "9007199254740992,", "9007199254740993,", "-9007199254740993.,", "9007199254740991E22,",
      "9007199254740991E23,", "1E-22,", "1E-23,", "1.5D22,", "1.5d-21,", "4.9e-324,",
      "2.4703282292062328e-324,", "1.7976931348623157e308,", "1.8e308,", "-1e400,", "1e-400,",
      // significant digits: 19, 20, and 20 that wrap the 64-bit mantissa to zero
      "1234567890123456789,", "12345678901234567890,", "18446744073709551616,",
      "18446744073709551616.0,", "0.00000000000000000000000000001,",
      "000000000000000000000000000000000000000001.5,", "10000000000000000000000000,",
      // zeros and signs
      "0,", "-0,", "-0.0,", "+0.,", "-.0,", "0E0,", "0e400,", "-0.0D-999,",
      // exponents: letters, signs, leading zeros, length
      "1.5E0004,", "1.5E00004,", "1.5e+07,", "25.e-2,", "1D,", "1D+,", "1E-,", ".E5,", "E5,",
      // what ends the token
      "1.5;", "1.5 ,", "1.5  ;", "1.5x,", "1.5f,", "1.5\t,", "1.5|,", "1.5", "1.5E3",
      // what carries it on, or breaks it
      "1..5,", "1.5.,", "1.5+3,", "1.5E3E,", "1.5E3.,", "1.5E+-3,", ".,", "-,", "+.,", "--1,",
      "1.2.3,"};
  for (const char* c : cases) expect_same_real(t, c);
  // Ending right at the end of the field, or one column short of it.
  for (const char* c : {"1.5", "-1.5D3", "7", "12345678901234567890"}) {
    std::string data = c;
    expect_same_real(t, data, 64 - static_cast<int>(data.size()));
    expect_same_real(t, data + ",", 63 - static_cast<int>(data.size()));
  }
  // Longer than the 41 columns the quick way looks at.
  expect_same_real(t, std::string(45, '0') + "1.25,");
  expect_same_real(t, "  " + std::string(40, '0') + ".5,", 2);
}

// A few hundred thousand reals of the shapes files hold, random digits in each part, read the
// quick way and the general way to the same bits, column, outcome and reports.
TEST(Tokens, QuickRealsMatchTheGeneralWay) {
  Tokens t({"0;"});
  std::mt19937_64 random(20261123);
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  auto digits = [&](int n) {
    std::string d;
    for (int i = 0; i < n; ++i) d += static_cast<char>('0' + pick(10));
    return d;
  };
  const char* ends[] = {",", ";", " ,", "", "x", "."};
  int quick = 0;
  for (int k = 0; k < 300000; ++k) {
    std::string s;
    if (pick(3) == 0) s += pick(2) ? '-' : '+';
    int whole = pick(4) == 0 ? pick(26) : pick(18);
    int fraction = pick(4) == 0 ? pick(26) : pick(18);
    if (pick(8) == 0) s += std::string(pick(6), '0');
    s += digits(whole);
    if (pick(8) != 0) s += '.';
    s += digits(fraction);
    if (pick(2)) {
      s += "DEde"[pick(4)];
      if (pick(2)) s += pick(2) ? '-' : '+';
      s += pick(10) == 0 ? digits(pick(6)) : std::to_string(pick(4) ? pick(30) : pick(400));
    }
    s += ends[pick(30) == 0 ? pick(6) : pick(3)];
    if (s.size() > 60) continue;
    int at = pick(64 - static_cast<int>(s.size()));
    RealScan fast = scan_real_at(t, s, at, true);
    RealScan general = scan_real_at(t, s, at, false);
    if (!(fast == general)) {
      ADD_FAILURE() << s << " at " << at << ": quick " << fast << ", general " << general;
      break;
    }
    if (fast.reports.empty()) ++quick;
  }
  // Most of them were values, so the comparison was mostly of conversions.
  EXPECT_GT(quick, 150000);
}

TEST(Tokens, NumbersCannotCrossRecords) {
  {
    Tokens t({ending_in("2", "1.5,"), ",3;"});
    EXPECT_EQ(t.io.read_real(), 1.5);
    EXPECT_EQ(t.io.read_int(), 0);
    EXPECT_EQ(t.errors(), Errors{"1:65 Integer values cannot cross line boundaries"});
  }
  {
    Tokens t({ending_in("1.5", "2,"), ",3;"});
    EXPECT_EQ(t.io.read_int(), 2);
    EXPECT_EQ(t.io.read_real(), 0.0);
    EXPECT_EQ(t.errors(), Errors{"1:65 Floating point values cannot cross line boundaries"});
    EXPECT_EQ(t.io.record_failed, 1);
  }
}

TEST(Tokens, NextDataPassesOverBlankFields) {
  Tokens t({"1,", "", "   ", "  2.5;"});
  bool completed = igeslib_catch_abort([&] {
    EXPECT_EQ(t.io.read_int(), 1);
    EXPECT_EQ(t.io.read_real(), 2.5);
  });
  EXPECT_TRUE(completed);
  EXPECT_EQ(t.io.line_number, 4);
  EXPECT_EQ(t.io.column, 5);
}

TEST(Tokens, PoisonedEntityReadsAsZeros) {
  Tokens t({"x,1,1.5,1,3Habc;"});
  EXPECT_EQ(t.io.read_int(), 0);
  EXPECT_EQ(t.io.record_failed, 1);
  const int column = t.io.column;
  EXPECT_EQ(t.io.read_int(), 0);
  EXPECT_EQ(t.io.read_real(), 0.0);
  EXPECT_EQ(t.io.read_logical(), 0);
  EXPECT_EQ(t.io.read_string(), nullptr);
  EXPECT_EQ(t.io.column, column);
  EXPECT_EQ(t.messages(), Errors{"Invalid integer value"});
}

struct LogicalCase {
  const char* data;
  char value;
  int state;
  const char* message;
};

TEST(Tokens, Logicals) {
  const LogicalCase cases[] = {
      {"1,", 1, PARAM_VALUE, nullptr},
      {"  0;", 0, PARAM_VALUE, nullptr},
      {",", 0, PARAM_DEFAULTED, nullptr},
      {";", 0, PARAM_END_OF_RECORD, nullptr},
      {"2,", 0, PARAM_END_OF_RECORD, "Logical value must be 0 or 1"},
      {"01,", 0, PARAM_END_OF_RECORD, "Missing delimiter after logical value"},
      {"1 ,", 0, PARAM_END_OF_RECORD, "Missing delimiter after logical value"},
  };
  for (const LogicalCase& c : cases) {
    SCOPED_TRACE(c.data);
    Tokens t({c.data});
    EXPECT_EQ(t.io.read_logical(), c.value);
    EXPECT_EQ(t.io.param_state, c.state);
    EXPECT_EQ(t.messages(), c.message ? Errors{c.message} : Errors{});
  }
}

struct StringCase {
  const char* data;
  const char* value;  // null: none
  int state;
  const char* message;
};

TEST(Tokens, HollerithStrings) {
  const StringCase cases[] = {
      {"3Habc,", "abc", PARAM_VALUE, nullptr},
      {"0H,", "", PARAM_VALUE, nullptr},
      {"5Ha,b;c ;", "a,b;c", PARAM_VALUE, nullptr},
      {",", nullptr, PARAM_DEFAULTED, nullptr},
      {"  ;", nullptr, PARAM_END_OF_RECORD, nullptr},
      {"H,", nullptr, PARAM_END_OF_RECORD, "Missing Hollerith delimiter (H) in string value"},
      {"3Xabc,", nullptr, PARAM_END_OF_RECORD, "Missing Hollerith delimiter (H) in string value"},
      {"-3Habc,", nullptr, PARAM_END_OF_RECORD, "Missing Hollerith delimiter (H) in string value"},
      {"99999999999Ha,", nullptr, PARAM_END_OF_RECORD, "Negative length for string value"},
      {"3Habcd,", nullptr, PARAM_END_OF_RECORD, "Missing delimiter after string value"},
  };
  for (const StringCase& c : cases) {
    SCOPED_TRACE(c.data);
    Tokens t({c.data});
    const char* value = t.io.read_string();
    if (c.value) {
      ASSERT_NE(value, nullptr);
      EXPECT_STREQ(value, c.value);
    } else {
      EXPECT_EQ(value, nullptr);
    }
    EXPECT_EQ(t.io.param_state, c.state);
    EXPECT_EQ(t.messages(), c.message ? Errors{c.message} : Errors{});
  }
}

TEST(Tokens, StringsCrossRecords) {
  {
    // The string runs on from the end of a full data field into the next record.
    Tokens t({ending_in("3Hab"), "c,7;"});
    const char* value = nullptr;
    ASSERT_TRUE(igeslib_catch_abort([&] { value = t.io.read_string(); }));
    ASSERT_NE(value, nullptr);
    EXPECT_STREQ(value, "abc");
    EXPECT_EQ(t.io.read_int(), 7);
  }
  {
    // Unlike a number, a string may find its delimiter on the next record.
    Tokens t({ending_in("3Habc"), "  ,7;"});
    const char* value = nullptr;
    ASSERT_TRUE(igeslib_catch_abort([&] { value = t.io.read_string(); }));
    EXPECT_STREQ(value, "abc");
    EXPECT_EQ(t.io.param_state, PARAM_VALUE);
    EXPECT_EQ(t.io.read_int(), 7);
    EXPECT_EQ(t.errors(), Errors{});
  }
  {
    // A long string over three records, in the one buffer that grows.
    std::string text(150, 'q');
    Tokens t({"2Hxy,150H" + text.substr(0, 55), text.substr(55, 64), text.substr(119) + ";"});
    EXPECT_STREQ(t.io.read_string(), "xy");
    const char* value = nullptr;
    ASSERT_TRUE(igeslib_catch_abort([&] { value = t.io.read_string(); }));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(std::string(value), text);
    EXPECT_EQ(t.io.param_state, PARAM_VALUE);
    EXPECT_EQ(value, t.io.string_value.c_str());
  }
}

TEST(Tokens, StringFollowedByItsOwnDelimiter) {
  Tokens t({"1H//1H;/1H;,"});
  EXPECT_STREQ(t.io.read_string(true), "/");
  t.io.param_delimiter = '/';
  EXPECT_STREQ(t.io.read_string(false), ";");
  EXPECT_EQ(t.io.param_state, PARAM_VALUE);
  EXPECT_EQ(t.io.read_string(true), nullptr);
  EXPECT_EQ(t.messages(), Errors{"Missing delimiter after string value"});
}

TEST(Tokens, EndOfFileInsideAStringStopsTheRead) {
  Tokens t({ending_in("9Habc")});
  EXPECT_FALSE(igeslib_catch_abort([&] { t.io.read_string(); }));
  EXPECT_EQ(t.messages(), Errors{"Error while reading IGES file, or premature EOF"});
}

// A line that began with a dot, stripped or doubled in mail transport, is one column shorter
// or longer than 80.
TEST(Tokens, MailerRepairs) {
  struct Case {
    std::string line;
    double value;
    Errors messages;
  };
  // The P record of data, one blank shorter (by -1) or longer (by 1) in its data field.
  auto shifted = [](const std::string& data, int by) {
    std::string r = igeslib_test::p_record(1, 1, data);
    if (by < 0) r.erase(63, 1);
    if (by > 0) r.insert(64, " ");
    return r;
  };
  const Case cases[] = {
      {shifted("5,", -1),
       0.5,
       {"Short record length in IGES file", "Repairing decimal possibly stripped by emailer"}},
      {shifted("25E1,", -1),
       2.5,
       {"Short record length in IGES file", "Repairing decimal possibly stripped by emailer"}},
      {shifted("-5,", -1),
       0.0,
       {"Short record length in IGES file", "Repairing decimal possibly stripped by emailer"}},
      {shifted("5.5,", -1), 5.5, {"Short record length in IGES file"}},
      {shifted(" 5,", -1), 5.0, {"Short record length in IGES file"}},
      {shifted("..5,", 1),
       0.5,
       {"Long record length in IGES file", "Ignoring doubled decimal possibly added by emailer"}},
      {shifted("5,", 0), 5.0, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    FilerOver f(c.line + "\n");
    f.io.line_terminator_seen = 1;
    ASSERT_TRUE(f.next());
    EXPECT_DOUBLE_EQ(f.io.read_real(), c.value);
    EXPECT_EQ(f.io.param_state, PARAM_VALUE);
    Errors messages;
    for (const std::string& e : f.errors()) messages.push_back(e.substr(e.find(' ') + 1));
    EXPECT_EQ(messages, c.messages);
  }
}

// A real that begins on the next record is read there the quick way, unless that record is
// one column short and may have lost the real's leading dot.
TEST(Tokens, QuickRealsOnTheNextRecord) {
  std::string shorter = igeslib_test::p_record(1, 2, "5,-2.5;");
  shorter.erase(63, 1);
  const std::string records[] = {igeslib_test::p_record(1, 2, "  -2.5;"), shorter};
  const Errors expected[] = {
      {}, {"Short record length in IGES file", "Repairing decimal possibly stripped by emailer"}};
  for (int k = 0; k < 2; ++k) {
    for (bool quick : {true, false}) {
      SCOPED_TRACE(records[k] + (quick ? " quick" : " general"));
      FilerOver f(igeslib_test::p_record(1, 1, ending_in("1.5,")) + "\n" + records[k] + "\n");
      f.io.line_terminator_seen = 1;
      f.io.quick_numbers = quick;
      ASSERT_TRUE(f.next());
      double values[2] = {};
      ASSERT_TRUE(igeslib_catch_abort([&] {
        values[0] = f.io.read_real();
        values[1] = f.io.read_real();
      }));
      EXPECT_EQ(values[0], 1.5);
      EXPECT_EQ(values[1], k == 0 ? -2.5 : 0.5);
      EXPECT_EQ(f.io.line_number, 2);
      EXPECT_EQ(f.io.column, k == 0 ? 6 : 2);
      Errors messages;
      for (const std::string& e : f.errors()) messages.push_back(e.substr(e.find(' ') + 1));
      EXPECT_EQ(messages, expected[k]);
    }
  }
}

TEST(Tokens, RealsDoNotFollowTheProcessLocale) {
  struct RestoreLocale {
    std::string saved = std::setlocale(LC_ALL, nullptr);
    ~RestoreLocale() { std::setlocale(LC_ALL, saved.c_str()); }
  } restore;
  const char* names[] = {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE"};
  const char* used = nullptr;
  for (const char* name : names)
    if (std::setlocale(LC_ALL, name)) {
      used = name;
      break;
    }
  if (!used) GTEST_SKIP() << "no locale with a decimal comma (e.g. de_DE.UTF-8) is installed";
  Tokens t({"1.5,2.25D1,-0.125;"});
  EXPECT_EQ(t.io.read_real(), 1.5);
  EXPECT_EQ(t.io.read_real(), 22.5);
  EXPECT_EQ(t.io.read_real(), -0.125);
}
