// The parameter token reader: values, defaults, the end of a record, poisoning, records
// crossed, the two mailer repairs, Hollerith strings and the quick way of reading reals.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"

using igeslib_test::FilerOver;
using igeslib_test::IgesText;
using igeslib_test::p_record;
using Errors = std::vector<std::string>;

namespace {

// P records at DE 1, one for each piece of data.
std::string P(const std::vector<std::string>& data) {
  IgesText text;
  for (const std::string& d : data) text.P(1, d);
  return text.str();
}

// A filer on the first record of bytes.
struct Tokens : FilerOver {
  explicit Tokens(const std::string& bytes) : FilerOver(bytes) {
    io.line_terminator_seen = 1;
    EXPECT_TRUE(next());
  }
  // The next token read as an integer, real, logical or string, as text.
  std::string read(char kind) {
    char text[32];
    if (kind == 'i') return std::to_string(io.read_int());
    if (kind == 'l') return std::to_string(io.read_logical());
    if (kind == 'r') return std::snprintf(text, sizeof text, "%.17g", io.read_real()), text;
    const char* s = io.read_string();
    return s ? s : "(none)";
  }
  // Tokens of the given kinds read in turn, each "value/state" (V, D or E); then where the
  // reader stands, "line:column", and whether the entity is poisoned or the read stopped.
  std::string read_in_turn(const char* kinds) {
    std::string out;
    bool completed = igeslib_catch_abort([&] {
      for (const char* k = kinds; *k; ++k) {
        std::string value = read(*k);
        out += value + "/" + "?VDE"[io.param_state - PARAM_VALUE + 1] + " ";
      }
    });
    out += std::to_string(io.line_number) + ":" + std::to_string(io.column);
    return out + (io.record_failed ? " failed" : "") + (completed ? "" : " stopped");
  }
};

// A 64-column data field that ends in last.
std::string ending_in(const std::string& last, const std::string& before = "") {
  return before + std::string(64 - before.size() - last.size(), ' ') + last;
}

// A P record whose data field is one blank shorter (by -1) or longer (by 1) than 64 columns.
std::string shifted(const std::string& data, int by, int sequence = 1) {
  std::string r = p_record(1, sequence, data);
  return (by < 0 ? r.erase(63, 1) : r.insert(64, " ")) + "\n";
}

}  // namespace

TEST(Tokens, IntegerOfEightyNineDigitsIsTooLong) {
  // Digits may not cross a line, so no data field of a record holds that many; the buffer
  // limit shows with a wider field.
  Tokens t(P({"1;"}));
  t.io.end_column = 88;
  std::memset(t.io.line, '1', 89);
  t.io.line[89] = '\0';
  EXPECT_EQ(t.io.read_int(), 0);
  EXPECT_EQ(t.io.column, 88);
  EXPECT_EQ(t.errors(), Errors{"1:89 Integer value too long"});
}

// The quick way of reading a real gives what the general way gives, bit for bit, at the edges
// of its exact range and of every shape of token.
TEST(Tokens, QuickRealsAgreeWithTheGeneralWay) {
  std::vector<std::pair<std::string, int>> cases;
  for (const char* c :
       {// the bounds of the exact product: 2^53 and the powers of ten up to 22
        "9007199254740992,", "9007199254740993,", "9007199254740991E22,", "9007199254740991E23,",
        "1E-22,", "1E-23,", "1.5d-21,", "4.9e-324,", "2.4703282292062328e-324,",
        "1.7976931348623157e308,", "1.8e308,", "-1e400,", "1e-400,",
        // significant digits: 19, 20, and 20 that wrap the 64-bit mantissa to zero
        "1234567890123456789,", "12345678901234567890,", "18446744073709551616.0,",
        "0.00000000000000000000000000001,", "10000000000000000000000000,", "123456789.0123456789,",
        "-1234567890.123456789E-0012,", "00000000000000000000000001.5,",
        // runs of digits that end at each word of the eight read together, and past 31 columns
        "12345678.87654321E1,", "1.12345678E12345,", "-0.1234567812345678D-1234,",
        "+000000000000000000000000000000.25,",
        // zeros, signs and exponents
        "-0,", "-.0,", "0e400,", "-0.0D-999,", "1.5E00004,", "1.5e+07,", "1D,", "1D+,", "1E-,",
        ".E5,",
        // what ends the token, carries it on, or breaks it
        "1.5;", "1.5  ;", "1.5x,", "1.5\t,", "1.5", "1.5E3", "1..5,", "1.5E3.,", "1.5E+-3,", "+.,",
        "--1,", "1.2.3,", ",", "   ,", ";", "  ;",
        // past the exact product: 17 digits, large and small powers, halfway and subnormal
        "3.1415926535897932,", "-1.2345678901234567D-100,", "9.8765432109876543E+250,",
        "0.12345678901234567890D5,", "7.3177701707893310e+15,", "2.2250738585072011e-308,",
        "2.2250738585072014e-308,", "1.00000000000000011102230246251565404236316680908203125,"})
    cases.emplace_back(c, 0);
  // Reals as writers print them, at random: 15 to 17 digits, E or D, fixed or not.
  std::mt19937_64 random(26);
  for (int i = 0; i < 20000; ++i) {
    double v;
    std::uint64_t bits = random();
    std::memcpy(&v, &bits, sizeof v);
    if (!std::isfinite(v) || std::fabs(v) < 1e-300) continue;
    if (i % 2) v = std::ldexp(static_cast<double>(bits >> 11), -53 - static_cast<int>(bits % 40));
    char text[48];
    std::snprintf(text, sizeof text, i % 3 ? "%.*E," : "%.*f,", 15 + i % 3, v);
    if (i % 5 == 0)
      for (char& c : text) c = c == 'E' ? 'D' : c;
    if (std::strlen(text) < 40) cases.emplace_back(text, 0);
  }
  // Ending right at the end of the field, or one column short of it.
  for (std::string data : {"-1.5D3", "12345678901234567890"}) {
    cases.emplace_back(data, 64 - static_cast<int>(data.size()));
    cases.emplace_back(data + ",", 63 - static_cast<int>(data.size()));
  }
  // Longer than the 41 columns the quick way looks at.
  cases.emplace_back(std::string(45, '0') + "1.25,", 0);
  cases.emplace_back("  " + std::string(40, '0') + ".5,", 2);
  for (const auto& [data, at] : cases) {
    std::string seen[2];
    for (bool quick : {false, true}) {
      Tokens t(P({std::string(at, ' ') + data}));
      t.io.quick_numbers = quick, t.io.column = at;
      char value[40];
      std::snprintf(value, sizeof value, "%.17g ", t.io.scan_real());
      seen[quick] = value + t.read_in_turn("") + " " + std::to_string(t.io.param_state) + " " +
                    t.reports.text();
    }
    EXPECT_EQ(seen[1], seen[0]) << data << " at " << at;
  }
}

// Tokens in turn, the quick way of reading reals and the general way alike: one token of each
// kind (integers, reals, logicals and strings) with its value, state and report, the end of a
// record, a poisoned entity, records crossed, and the two mailer repairs (a line that began
// with a dot, stripped or doubled in mail transport, is one column shorter or longer than 80).
TEST(Tokens, ReadInTurn) {
  const std::string text(150, 'q'), shorter = "1:1 Short record length in IGES file";
  const std::string stripped = "Repairing decimal possibly stripped by emailer";
  const std::string eof = "Error while reading IGES file, or premature EOF";
  const struct {
    std::string bytes;
    const char* kinds;
    std::string reads, errors;  // "|" between the errors
  } cases[] = {
      {P({"+12,"}), "i", "12/V 1:4", ""},
      {P({"  -7  ;"}), "i", "-7/V 1:6", ""},
      {P({"12 34,"}), "i", "0/E 1:3 failed", "1:4 Missing delimiter after integer value"},
      {P({"1.5,"}), "i", "0/E 1:1 failed", "1:2 Missing delimiter after integer value"},
      {P({"+,"}), "i", "0/E 1:1 failed", "1:2 Invalid integer value"},
      {P({"1-2,"}), "i", "0/E 1:1 failed", "1:2 Unexpected sign in number"},
      // Long digit strings read as atol reads them, cut to an int: past what a long holds the
      // long's limit, LONG_MAX (an int of -1) or LONG_MIN (0).
      {P({"2147483648;"}), "i", "-2147483648/V 1:10", ""},
      {P({"0000000000000000000000000000042;"}), "i", "42/V 1:31", ""},
      {P({"9223372036854775808;"}), "i", "-1/V 1:19", ""},
      {P({"-9223372036854775809;"}), "i", "0/V 1:20", ""},
      {P({"  ,"}), "r", "0/D 1:3", ""},
      {P({"7,"}), "r", "7/V 1:2", ""},
      {P({"1.,"}), "r", "1/V 1:3", ""},
      {P({"-.5,"}), "r", "-0.5/V 1:4", ""},
      {P({"1.5d3,"}), "r", "1500/V 1:6", ""},
      {P({"25.e-2,"}), "r", "0.25/V 1:7", ""},
      {P({"+4D+1 ,"}), "r", "40/V 1:7", ""},
      {P({"1..5,"}), "r", "1.5/V 1:5", "1:3 Ignoring doubled decimal possibly added by emailer"},
      {P({"1.5.,"}), "r", "0/E 1:3 failed", "1:4 Unexpected decimal in number"},
      {P({"1.5+3,"}), "r", "0/E 1:3 failed", "1:4 Unexpected sign in number"},
      {P({"E3,"}), "r", "0/E 1:0 failed", "1:1 Unexpected exponent in number"},
      {P({"1.5E3E,"}), "r", "0/E 1:5 failed", "1:6 Unexpected exponent in number"},
      {P({".,"}), "r", "0/E 1:1 failed", "1:2 Invalid floating point value"},
      {P({"1.5E,"}), "r", "0/E 1:4 failed", "1:5 Invalid floating point value"},
      {P({"1.5 2,"}), "r", "0/E 1:4 failed", "1:5 Missing delimiter after floating point value"},
      {P({"  0;"}), "l", "0/V 1:3", ""},
      {P({"1,"}), "l", "1/V 1:2", ""},
      {P({" ,"}), "l", "0/D 1:2", ""},
      {P({";"}), "l", "0/E 1:0", ""},
      {P({"2,"}), "l", "0/E 1:0 failed", "1:1 Logical value must be 0 or 1"},
      {P({"01,"}), "l", "0/E 1:1 failed", "1:2 Missing delimiter after logical value"},
      {P({"3Habc,"}), "s", "abc/V 1:6", ""},
      {P({"0H,"}), "s", "/V 1:3", ""},
      {P({"5Ha,b;c ;"}), "s", "a,b;c/V 1:8", ""},
      {P({","}), "s", "(none)/D 1:1", ""},
      {P({"  ;"}), "s", "(none)/E 1:2", ""},
      {P({"H,"}), "s", "(none)/E 1:0 failed",
       "1:1 Missing Hollerith delimiter (H) in string value"},
      {P({"-3Habc,"}), "s", "(none)/E 1:0 failed",
       "1:1 Missing Hollerith delimiter (H) in string value"},
      {P({"99999999999Ha,"}), "s", "(none)/E 1:12 failed", "1:13 Negative length for string value"},
      {P({"3Habcd,"}), "s", "(none)/E 1:5 failed", "1:6 Missing delimiter after string value"},
      // Past the end every read is a no-op that fails nothing.
      {P({"5,  ,7;"}), "iiiirs", "5/V 0/D 7/V 0/E 0/E (none)/E 1:6", ""},
      {P({"x,1,1.5,1,3Habc;"}), "iirls", "0/E 0/E 0/E 0/E (none)/E 1:0 failed",
       "1:1 Invalid integer value"},
      // Numbers may not cross records; blank fields between tokens are passed over.
      {P({ending_in("2", "1.5,"), ",3;"}), "ri", "1.5/V 0/E 1:64 failed",
       "1:65 Integer values cannot cross line boundaries"},
      {P({ending_in("1.5", "2,"), ",3;"}), "ir", "2/V 0/E 1:64 failed",
       "1:65 Floating point values cannot cross line boundaries"},
      {P({"1,", "", "   ", "  2.5;"}), "ir", "1/V 2.5/V 4:5", ""},
      // Strings may: from the end of a full data field, to find their delimiter on the next
      // record, or over three records in the one buffer that grows.
      {P({ending_in("3Hab"), "c,7;"}), "si", "abc/V 7/V 2:3", ""},
      {P({ending_in("3Habc"), "  ,7;"}), "si", "abc/V 7/V 2:4", ""},
      {P({"150H" + text.substr(0, 60), text.substr(60, 64), text.substr(124) + ",7;"}), "si",
       text + "/V 7/V 3:28", ""},
      {P({ending_in("9Habc")}), "s", "2:0 stopped", "2:1 " + eof},
      {shifted("5,", -1), "r", "0.5/V 1:2", shorter + "|1:1 " + stripped},
      {shifted("-5,", -1), "r", "0/V 1:3", shorter + "|1:1 " + stripped},
      {shifted("5.5,", -1), "r", "5.5/V 1:4", shorter},
      {shifted(" 5,", -1), "r", "5/V 1:3", shorter},
      {shifted("..5,", 1), "r", "0.5/V 1:4",
       "1:1 Long record length in IGES file|1:2 Ignoring doubled decimal possibly added by "
       "emailer"},
      // A real on the next record, unless that record is one column short and may have lost
      // the real's leading dot.
      {p_record(1, 1, ending_in("1.5,")) + "\n" + p_record(1, 2, "  -2.5;") + "\n", "rr",
       "1.5/V -2.5/V 2:6", ""},
      {p_record(1, 1, ending_in("1.5,")) + "\n" + shifted("5,-2.5;", -1, 2), "rr",
       "1.5/V 0.5/V 2:2", "2:1 Short record length in IGES file|2:1 " + stripped},
  };
  for (const auto& c : cases) {
    for (bool quick : {true, false}) {
      SCOPED_TRACE(c.bytes.substr(0, 64) + (quick ? " quick" : " general"));
      Tokens t(c.bytes);
      t.io.quick_numbers = quick;
      EXPECT_EQ(t.read_in_turn(c.kinds), c.reads);
      std::string errors;
      for (const std::string& e : t.errors()) errors += (errors.empty() ? "" : "|") + e;
      EXPECT_EQ(errors, c.errors);
    }
  }
}

// Reals read together give what as many reads one at a time give: values, where the reader
// stands, its state and reports, across records, blanks, defaults, a record's end and a real of
// a shape the quick way leaves.
TEST(Tokens, RealsReadTogetherAsOneAtATime) {
  const std::string records = p_record(1, 1, ending_in("2.5,", "1.,-0.25D1,")) + "\n" +
                              p_record(1, 2, "  3.5 ,,4.5E400,0.123456789012345678901234,7,") +
                              "\n" + p_record(1, 3, "1.5;") + "\n";
  for (int n : {1, 3, 5, 9, 11}) {
    std::string seen[2];
    for (bool together : {false, true}) {
      Tokens t(records);
      std::vector<double> values(static_cast<std::size_t>(n));
      bool completed = igeslib_catch_abort([&] {
        if (together) return t.io.read_reals(values.data(), n);
        for (double& v : values) v = t.io.read_real();
      });
      for (double v : values) seen[together] += std::to_string(v) + " ";
      seen[together] += std::to_string(t.io.line_number) + ":" + std::to_string(t.io.column) + " " +
                        std::to_string(t.io.param_state) + (completed ? "" : " stopped");
      for (const std::string& e : t.errors()) seen[together] += " | " + e;
    }
    EXPECT_EQ(seen[1], seen[0]) << n;
  }
}
