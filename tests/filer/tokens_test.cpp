// The parameter token reader: values, defaults, the end of a record, poisoning, records
// crossed, the two mailer repairs, Hollerith strings and the quick way of reading reals.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"

using igeslib_test::FilerOver;
using igeslib_test::IgesText;
using igeslib_test::p_record;
using Errors = std::vector<std::string>;

namespace {

constexpr int V = PARAM_VALUE, D = PARAM_DEFAULTED, E = PARAM_END_OF_RECORD;

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
  // The reports' messages without their positions.
  Errors messages() const {
    Errors out;
    for (const std::string& e : errors()) out.push_back(e.substr(e.find(' ') + 1));
    return out;
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

TEST(Tokens, OneTokenOfEachKind) {
  const char* no = nullptr;
  const struct {
    char kind;
    const char* data;
    const char* value;
    int state;
    const char* message;
  } cases[] = {
      {'i', "+12,", "12", V, no},
      {'i', "  -7  ;", "-7", V, no},
      {'i', "12 34,", "0", E, "Missing delimiter after integer value"},
      {'i', "1.5,", "0", E, "Missing delimiter after integer value"},
      {'i', "+,", "0", E, "Invalid integer value"},
      {'i', "1-2,", "0", E, "Unexpected sign in number"},
      // Long digit strings read as atol reads them, cut to an int: past what a long holds the
      // long's limit, LONG_MAX (an int of -1) or LONG_MIN (0).
      {'i', "2147483648;", "-2147483648", V, no},
      {'i', "0000000000000000000000000000042;", "42", V, no},
      {'i', "9223372036854775808;", "-1", V, no},
      {'i', "-9223372036854775809;", "0", V, no},
      {'r', "  ,", "0", D, no},
      {'r', "7,", "7", V, no},
      {'r', "1.,", "1", V, no},
      {'r', "-.5,", "-0.5", V, no},
      {'r', "1.5d3,", "1500", V, no},
      {'r', "25.e-2,", "0.25", V, no},
      {'r', "+4D+1 ,", "40", V, no},
      {'r', "1..5,", "1.5", V, "Ignoring doubled decimal possibly added by emailer"},
      {'r', "1.5.,", "0", E, "Unexpected decimal in number"},
      {'r', "1.5+3,", "0", E, "Unexpected sign in number"},
      {'r', "E3,", "0", E, "Unexpected exponent in number"},
      {'r', "1.5E3E,", "0", E, "Unexpected exponent in number"},
      {'r', ".,", "0", E, "Invalid floating point value"},
      {'r', "1.5E,", "0", E, "Invalid floating point value"},
      {'r', "1.5 2,", "0", E, "Missing delimiter after floating point value"},
      {'l', "  0;", "0", V, no},
      {'l', "1,", "1", V, no},
      {'l', " ,", "0", D, no},
      {'l', ";", "0", E, no},
      {'l', "2,", "0", E, "Logical value must be 0 or 1"},
      {'l', "01,", "0", E, "Missing delimiter after logical value"},
      {'s', "3Habc,", "abc", V, no},
      {'s', "0H,", "", V, no},
      {'s', "5Ha,b;c ;", "a,b;c", V, no},
      {'s', ",", "(none)", D, no},
      {'s', "  ;", "(none)", E, no},
      {'s', "H,", "(none)", E, "Missing Hollerith delimiter (H) in string value"},
      {'s', "-3Habc,", "(none)", E, "Missing Hollerith delimiter (H) in string value"},
      {'s', "99999999999Ha,", "(none)", E, "Negative length for string value"},
      {'s', "3Habcd,", "(none)", E, "Missing delimiter after string value"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(1, c.kind) + " " + c.data);
    Tokens t(P({c.data}));
    EXPECT_EQ(t.read(c.kind), c.value);
    EXPECT_EQ(t.io.param_state, c.state);
    EXPECT_EQ(t.io.record_failed, c.message && c.state == E ? 1 : 0);
    EXPECT_EQ(t.messages(), c.message ? Errors{c.message} : Errors{});
  }
}

TEST(Tokens, IntegerOfEightyNineDigitsIsTooLong) {
  // Digits may not cross a line, so no data field of a record holds that many; the buffer
  // limit shows with a wider field.
  Tokens t(P({"1;"}));
  t.io.end_column = 88;
  std::memset(t.io.line, '1', 89);
  t.io.line[89] = '\0';
  EXPECT_EQ(t.io.read_int(), 0);
  EXPECT_EQ(t.io.column, 88);
  EXPECT_EQ(t.messages(), Errors{"Integer value too long"});
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
        "0.00000000000000000000000000001,", "10000000000000000000000000,",
        // zeros, signs and exponents
        "-0,", "-.0,", "0e400,", "-0.0D-999,", "1.5E00004,", "1.5e+07,", "1D,", "1D+,", "1E-,",
        ".E5,",
        // what ends the token, carries it on, or breaks it
        "1.5;", "1.5  ;", "1.5x,", "1.5\t,", "1.5", "1.5E3", "1..5,", "1.5E3.,", "1.5E+-3,", "+.,",
        "--1,", "1.2.3,"})
    cases.emplace_back(c, 0);
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

TEST(Tokens, StringFollowedByItsOwnDelimiter) {
  Tokens t(P({"1H//1H;/1H;,"}));
  EXPECT_STREQ(t.io.read_string(true), "/");
  t.io.param_delimiter = '/';
  EXPECT_STREQ(t.io.read_string(false), ";");
  EXPECT_EQ(t.io.param_state, V);
  EXPECT_EQ(t.io.read_string(true), nullptr);
  EXPECT_EQ(t.messages(), Errors{"Missing delimiter after string value"});
}

// Tokens in turn, the quick way of reading reals and the general way alike: the end of a
// record, a poisoned entity, records crossed, and the two mailer repairs (a line that began
// with a dot, stripped or doubled in mail transport, is one column shorter or longer than 80).
TEST(Tokens, ReadInTurn) {
  const std::string text(150, 'q'), shorter = "1:1 Short record length in IGES file";
  const std::string stripped = "Repairing decimal possibly stripped by emailer";
  const struct {
    std::string bytes;
    const char* kinds;
    std::string reads;
    Errors errors;
  } cases[] = {
      // Past the end every read is a no-op that fails nothing.
      {P({"5,  ,7;"}), "iiiirs", "5/V 0/D 7/V 0/E 0/E (none)/E 1:6", {}},
      {P({"x,1,1.5,1,3Habc;"}),
       "iirls",
       "0/E 0/E 0/E 0/E (none)/E 1:0 failed",
       {"1:1 Invalid integer value"}},
      // Numbers may not cross records; blank fields between tokens are passed over.
      {P({ending_in("2", "1.5,"), ",3;"}),
       "ri",
       "1.5/V 0/E 1:64 failed",
       {"1:65 Integer values cannot cross line boundaries"}},
      {P({ending_in("1.5", "2,"), ",3;"}),
       "ir",
       "2/V 0/E 1:64 failed",
       {"1:65 Floating point values cannot cross line boundaries"}},
      {P({"1,", "", "   ", "  2.5;"}), "ir", "1/V 2.5/V 4:5", {}},
      // Strings may: from the end of a full data field, to find their delimiter on the next
      // record, or over three records in the one buffer that grows.
      {P({ending_in("3Hab"), "c,7;"}), "si", "abc/V 7/V 2:3", {}},
      {P({ending_in("3Habc"), "  ,7;"}), "si", "abc/V 7/V 2:4", {}},
      {P({"150H" + text.substr(0, 60), text.substr(60, 64), text.substr(124) + ",7;"}),
       "si",
       text + "/V 7/V 3:28",
       {}},
      {P({ending_in("9Habc")}),
       "s",
       "2:0 stopped",
       {"2:1 Error while reading IGES file, or premature EOF"}},
      {shifted("5,", -1), "r", "0.5/V 1:2", {shorter, "1:1 " + stripped}},
      {shifted("-5,", -1), "r", "0/V 1:3", {shorter, "1:1 " + stripped}},
      {shifted("5.5,", -1), "r", "5.5/V 1:4", {shorter}},
      {shifted(" 5,", -1), "r", "5/V 1:3", {shorter}},
      {shifted("..5,", 1),
       "r",
       "0.5/V 1:4",
       {"1:1 Long record length in IGES file",
        "1:2 Ignoring doubled decimal possibly added by emailer"}},
      // A real on the next record, unless that record is one column short and may have lost
      // the real's leading dot.
      {p_record(1, 1, ending_in("1.5,")) + "\n" + p_record(1, 2, "  -2.5;") + "\n",
       "rr",
       "1.5/V -2.5/V 2:6",
       {}},
      {p_record(1, 1, ending_in("1.5,")) + "\n" + shifted("5,-2.5;", -1, 2),
       "rr",
       "1.5/V 0.5/V 2:2",
       {"2:1 Short record length in IGES file", "2:1 " + stripped}},
  };
  for (const auto& c : cases) {
    for (bool quick : {true, false}) {
      SCOPED_TRACE(c.bytes.substr(0, 64) + (quick ? " quick" : " general"));
      Tokens t(c.bytes);
      t.io.quick_numbers = quick;
      EXPECT_EQ(t.read_in_turn(c.kinds), c.reads);
      EXPECT_EQ(t.errors(), c.errors);
    }
  }
}
