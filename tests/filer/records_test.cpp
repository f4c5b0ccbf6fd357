// The record reader: line ends, lengths, the fields found from the right, fatal records, the
// error report, the Start section and the Terminate record.
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "filer_fixture.h"

using igeslib_test::FilerOver;
using igeslib_test::IgesText;
using igeslib_test::record;
using Errors = std::vector<std::string>;

namespace {

// The errors of a filer, "|" between them.
std::string errors_of(const FilerOver& f) {
  std::string out;
  for (const std::string& e : f.errors()) out += (out.empty() ? "" : "|") + e;
  return out;
}

}  // namespace

// Each report is three pieces: position and message, the record, a caret under the column.
TEST(RecordReader, ReportIsVerbatimWithRecordAndCaret) {
  FilerOver f("ab   S      1\n");
  ASSERT_TRUE(f.next());
  EXPECT_EQ(f.reports.pieces(),
            (Errors{"Error at line #: 1, column #: 1\n\tShort record length in IGES file\n",
                    "IGES record:\nab   S      1\n", "^\n"}));
  EXPECT_EQ(f.reports.count(), 1u);
  EXPECT_EQ(f.io.end_column, 4);
  const std::string long_message(600, 'm');
  const struct {
    std::string message;
    int column, io_column;
    std::string first, caret;
  } cases[] = {
      {"far right", 200, 0, "201\n\tfar right\n", std::string(88, ' ') + "^\n"},
      {"here", -1, 3, "4\n\there\n", "   ^\n"},
      // Longer than any message built in, or giving its own line end.
      {long_message, 5, 0, "6\n\t" + long_message + "\n", "     ^\n"},
      {"ends a line\n", 5, 0, "6\n\tends a line\n", "     ^\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.first);
    f.reports.clear();
    f.io.column = c.io_column;
    f.io.report_error(c.message.c_str(), c.column);
    ASSERT_EQ(f.reports.pieces().size(), 3u);
    EXPECT_EQ(f.reports.pieces()[0], "Error at line #: 1, column #: " + c.first);
    EXPECT_EQ(f.reports.pieces()[2], c.caret);
    f.io.line[0] = '\0';  // the record's piece of an empty record
  }
  EXPECT_EQ(f.reports.pieces()[1], "IGES record:\n");
}

// Records as read: the line ends of every layout, lengths, the fields found from the right in
// their odd shapes (leading zeros, left-justified digits, a tab, a blank among the digits, a
// byte above 127, text running into the pointer columns, fields one column left), and records
// that stop the read.
TEST(RecordReader, RecordsAndTheirFields) {
  IgesText text;
  text.S("start").G("1H,,1H;;").D("     110").D("     110").P(1, "110,0,0,0;").T();
  const std::string six = "S 0 1 71 80|G 0 1 71 80|D 0 1 71 80|D 0 2 71 80|P 1 1 63 80|T 1 1 71 80";
  // Columns 1-64 the data, 65-72 the DE pointer, 73 the letter, 74-80 the sequence number.
  auto card = [](std::string data, const char* pointer, const char* sequence) {
    return data.append(64 - data.size(), ' ') + pointer + "P" + sequence + "\n";
  };
  const std::string ones = "1,2,3;", blanks(64, ' '), s1 = record('S', 1, "") + "\n";
  const std::string eof = "Error while reading IGES file, or premature EOF";
  const std::string binary =
      "1:73 Binary and compressed ASCII format are not supported by this translator";
  const std::string beyond = " Parameter data extends beyond column 64";
  const struct {
    std::string bytes, records, errors;  // a record that stops the read: "stop"
  } cases[] = {
      {text.str("\r\n"), six, ""},
      {text.str("\n"), six, ""},
      {text.str("\r"), six, ""},
      {text.str(""), six, ""},
      {text.str("\n\n"), six, ""},
      {text.str("\r\n\r\n\r\n"), six, ""},
      // The first record is a card image of 80; after its line end only line ends count, and
      // 100 characters make a record of 83 and one of 17.
      {s1 + record('S', 2, "text") + " \n" + record('S', 3, "") + "\n",
       "S 0 1 71 80|S 0 2 71 81|S 0 3 71 80", "2:1 Long record length in IGES file"},
      {s1 + std::string(75, 'x') + "S      2" + std::string(9, ' ') + "S      3\n",
       "S 0 1 71 80|S 0 2 74 83|S 0 3 8 17",
       "2:1 Long record length in IGES file|3:1 Short record length in IGES file"},
      {card(ones, "       7", "      1"), "P 7 1 63 80", ""},
      {card(ones, " 0000007", "0000042"), "P 7 42 63 80", ""},
      {card(ones, "       0", "0000000"), "P 0 0 63 80", ""},
      {card(ones, " 9999999", "9999999"), "P 9999999 9999999 63 80", ""},
      {card(ones, "       7", "1      "), "P 7 1 63 80", ""},
      // Numbers in turn, as each record's own: one more with a carry, a jump, one back, the
      // largest and then a small one, with the pointer kept or changed.
      {card(ones, "       7", "      9") + card(ones, "       7", "     10") +
           card(ones, "       8", "     12") + card(ones, "       8", "     11") +
           card(ones, "     800", "9999999") + card(ones, "     800", "      1"),
       "P 7 9 63 80|P 7 10 63 80|P 8 12 63 80|P 8 11 63 80|P 800 9999999 63 80|P 800 1 63 80", ""},
      {card(ones, " 0000099", "0000099") + card(ones, " 0000099", "0000100") +
           card(ones, " 0000100", "0000101"),
       "P 99 99 63 80|P 99 100 63 80|P 100 101 63 80", ""},
      {card(ones, " 7      ", "     12"), "P 7 12 63 80", ""},
      {card(ones, "       7", "\t     5"), "P 7 5 63 80", ""},
      {card(ones, " \t     7", "     12"), "P 7 12 63 80", ""},
      {card(ones, "       7", "  12 34"), "stop", "1:77 Missing or unrecognized section flag"},
      {card(ones, "   12 34", "      3"), "P 34 3 68 80", "1:69" + beyond},
      {card(ones, "       7", "     1x"), "stop", "1:80 Invalid sequence number"},
      {card(ones, "       7", "      \xb5"), "stop", "1:80 Invalid sequence number"},
      {card(ones, "       7", "       "), "stop", "1:73 Invalid sequence number"},
      {card(ones, "        ", "      2"), "stop", "1:6 Invalid DE pointer"},
      // Blank DE pointer columns: the digits that end the text are taken for the pointer.
      {card("110,1,2,3", "        ", "      1"), "P 3 1 63 80",
       "1:73 Sequence fields are misaligned"},
      // Text running into columns 65 and 66 widens the data field.
      {card(std::string(60, ' ') + "1,2,", "3;     7", "      1"), "P 7 1 65 80", "1:66" + beyond},
      {std::string(71, ' ') + "D     42 \n", "D 0 42 70 80", "1:72 Sequence fields are misaligned"},
      {"", "stop", "1:1 " + eof},
      {std::string(80, ' ') + "\n", "stop",
       "1:1 Sequence fields are misaligned|1:1 Invalid sequence number"},
      {std::string(79, ' ') + "X\n", "stop", "1:80 Invalid sequence number"},
      {std::string(71, ' ') + "S12345678\n", "stop", "1:80 Sequence number longer than 7 digits"},
      {record('Q', 1, "") + "\n", "stop", "1:73 Missing or unrecognized section flag"},
      {record('B', 1, "") + "\n", "stop", binary},
      {record('C', 1, "") + "\n", "stop", binary},
      {"110,1,2;" + blanks + "P      1\n", "stop", "1:8 Invalid DE pointer"},
      {blanks + "12345678P      1\n", "stop", "1:80 DE pointer longer than 7 digits"},
      {s1 + record('T', 1, ""), "S 0 1 71 80|stop", "2:1 " + eof},  // no last line end
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.bytes.substr(0, 82)));
    FilerOver f(c.bytes);
    std::string records;
    // As many records as expected, up to the first that stops the read; each a line.
    int n = static_cast<int>(std::count(c.records.begin(), c.records.end(), '|')) + 1;
    for (int i = 0; i < n; ++i) {
      bool read = f.next();
      records += (records.empty() ? "" : "|") + (read ? f.record() : "stop");
      if (!read) break;
      EXPECT_EQ(f.io.line_number, i + 1);
    }
    EXPECT_EQ(records, c.records);
    EXPECT_EQ(errors_of(f), c.errors);
  }
  FilerOver binary_file(record('B', 1, "") + "\n");  // the flag is recorded before the stop
  EXPECT_FALSE(binary_file.next());
  EXPECT_EQ(binary_file.io.f_rec_section, 'B');
}

TEST(RecordReader, NulIsWarnedAndReadAsBlank) {
  std::string text = record('S', 1, "abcdefghijkl");
  text[9] = '\0';
  FilerOver f(text + "\n");
  ASSERT_TRUE(f.next());
  EXPECT_EQ(f.io.line[9], ' ');
  EXPECT_EQ(f.errors(), Errors{"warning 1:10"});
  EXPECT_EQ(f.reports.text(),
            "Warning at line #: 1, column #: 10\n"
            "\tASCII NULL (0x00) character found, treated as space\n");
}

// A progress line every thousand records, held back when quiet.
TEST(RecordReader, ProgressEveryThousandRecordsUnlessQuiet) {
  IgesText text;
  for (int i = 0; i < 2001; ++i) text.G("");
  const char was = LUMO.quiet();
  for (char quiet : {0, 1}) {
    LUMO.quiet(quiet);
    FilerOver f(text.str());
    for (int i = 0; i < 2001; ++i) EXPECT_TRUE(f.next());
    const Errors progress = {"Reading line 1000", "Reading line 2000"};
    EXPECT_EQ(f.reports.messages(), quiet ? Errors{} : progress);
  }
  LUMO.quiet(was);
}

TEST(StartSection, KeepsSeventyTwoColumnsOfEachRecordOrReportsNone) {
  for (bool with_start : {true, false}) {
    IgesText text;
    if (with_start) text.S("first line").S("second");
    FilerOver f(text.G("1H,,1H;;").str());
    ListOfString list(0);
    IgeslibIO* result = nullptr;
    ASSERT_TRUE(igeslib_catch_abort([&] { result = f.io.read_start_section(&list); }));
    EXPECT_EQ(result, with_start ? &f.io : nullptr);
    EXPECT_EQ(f.io.f_rec_section, 'G');
    EXPECT_EQ(list.size(), with_start ? 2u : 0u);
    EXPECT_EQ(f.io.start_count, with_start ? 2 : 0);
    if (with_start) {
      EXPECT_EQ(std::string(list[0]), std::string("first line").append(62, ' '));
      EXPECT_EQ(std::string(list[1]).size(), 72u);
    } else {
      EXPECT_EQ(f.errors(), Errors{"1:73 File should contain at least one start section record"});
    }
  }
}

TEST(TerminateSection, ComparesEachCount) {
  const std::string t = igeslib_test::terminate_text(1, 2, 4, 3), terminate = "1:1 parse_terminate";
  const struct {
    std::string record;
    Errors expected;
  } cases[] = {
      {record('T', 1, t), {}},
      {record('T', 1, igeslib_test::terminate_text(1, 2, 6, 9)),
       {terminate + ": directory entry section was not the correct length",
        terminate + ": parameter data section was not the correct length"}},
      {record('T', 1, "S      1G      2X      4P      3"),
       {"1:1 terminate line sections S G D P not correct"}},
      {record('D', 1, t), {terminate + "_section: f_rec_section != 'T'"}},
      {record('T', 1, "S      1G     xxD      4P      3"),
       {terminate + ": global section was not the correct length"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.record);
    FilerOver f(c.record + "\n");
    ASSERT_TRUE(f.next());
    f.io.start_count = 1, f.io.global_count = 2, f.io.directory_count = 4;
    f.io.parameter_count = 3;
    f.io.parse_terminate_section();
    EXPECT_EQ(f.errors(), c.expected);
  }
}
