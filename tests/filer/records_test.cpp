// The record reader: line ends, lengths, the fields found from the right, fatal records, the
// error report, the Start section and the Terminate record.
#include <string>

#include <gtest/gtest.h>

#include "filer_fixture.h"

using igeslib_test::FilerOver;
using igeslib_test::IgesText;
using igeslib_test::record;
using Errors = std::vector<std::string>;

TEST(RecordReader, EveryLineEndLayoutReadsTheSameRecords) {
  IgesText text;
  text.S("start").G("1H,,1H;;").D("     110").D("     110").P(1, "110,0,0,0;").T();
  for (const char* line_end : {"\r\n", "\n", "\r", "", "\n\n", "\r\n\r\n\r\n"}) {
    SCOPED_TRACE(::testing::PrintToString(std::string(line_end)));
    FilerOver f(text.str(line_end));
    std::string sections;
    for (int i = 0; i < 6; ++i) {
      ASSERT_TRUE(f.next());
      sections += f.io.f_rec_section;
      EXPECT_EQ(f.io.line_length, 80);
      EXPECT_EQ(f.io.column, 0);
      EXPECT_EQ(f.io.end_column, f.io.f_rec_section == 'P' ? 63 : 71);
    }
    EXPECT_EQ(sections, "SGDDPT");
    EXPECT_EQ(f.io.line_number, 6);
    EXPECT_EQ(f.io.sequence_number, 1);
    EXPECT_EQ(f.errors(), Errors{});
  }
}

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
      {"far right", 200, 0, "Error at line #: 1, column #: 201\n\tfar right\n",
       std::string(88, ' ') + "^\n"},
      {"here", -1, 3, "Error at line #: 1, column #: 4\n\there\n", "   ^\n"},
      // Longer than any message built in, or giving its own line end.
      {long_message, 5, 0, "Error at line #: 1, column #: 6\n\t" + long_message + "\n", "     ^\n"},
      {"ends a line\n", 5, 0, "Error at line #: 1, column #: 6\n\tends a line\n", "     ^\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.first);
    f.reports.clear();
    f.io.column = c.io_column;
    f.io.report_error(c.message.c_str(), c.column);
    ASSERT_EQ(f.reports.pieces().size(), 3u);
    EXPECT_EQ(f.reports.pieces()[0], c.first);
    EXPECT_EQ(f.reports.pieces()[2], c.caret);
    f.io.line[0] = '\0';  // the record's piece of an empty record
  }
  EXPECT_EQ(f.reports.pieces()[1], "IGES record:\n");
}

TEST(RecordReader, RecordsThatStopTheRead) {
  const char* binary = "Binary and compressed ASCII format are not supported by this translator";
  const struct {
    const char* name;
    std::string bytes;
    Errors expected;
  } cases[] = {
      {"empty file", "", {"1:1 Error while reading IGES file, or premature EOF"}},
      {"all blank",
       std::string(80, ' ') + "\n",
       {"1:1 Sequence fields are misaligned", "1:1 Invalid sequence number"}},
      {"letter at the right end", std::string(79, ' ') + "X\n", {"1:80 Invalid sequence number"}},
      {"eight-digit sequence number",
       std::string(71, ' ') + "S12345678\n",
       {"1:80 Sequence number longer than 7 digits"}},
      {"unknown section letter",
       record('Q', 1, "") + "\n",
       {"1:73 Missing or unrecognized section flag"}},
      {"binary flag", record('B', 1, "") + "\n", {std::string("1:73 ") + binary}},
      {"compressed flag", record('C', 1, "") + "\n", {std::string("1:73 ") + binary}},
      {"P record whose text ends in no digit",
       std::string("110,1,2;").append(64, ' ') + "P      1\n",
       {"1:8 Invalid DE pointer"}},
      {"eight-digit DE pointer",
       std::string(64, ' ') + "12345678P      1\n",
       {"1:80 DE pointer longer than 7 digits"}},
      {"last record has no line end",
       record('S', 1, "") + "\n" + record('T', 1, ""),
       {"2:1 Error while reading IGES file, or premature EOF"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FilerOver f(c.bytes);
    bool completed = true;
    for (int i = 0; i < 3 && completed; ++i) completed = f.next();
    EXPECT_FALSE(completed);
    EXPECT_EQ(f.errors(), c.expected);
  }
  FilerOver binary_file(record('B', 1, "") + "\n");  // the flag is recorded before the stop
  EXPECT_FALSE(binary_file.next());
  EXPECT_EQ(binary_file.io.f_rec_section, 'B');
}

TEST(RecordReader, LongAndOverlongLines) {
  // The first record is a card image of 80; after its line end only line ends count, and 100
  // characters make a record of 83 and one of 17.
  std::string first = record('S', 1, "") + "\n";
  const struct {
    std::string rest;
    std::vector<int> lengths;
    Errors expected;
  } cases[] = {
      {record('S', 2, "text") + " \n" + record('S', 3, "") + "\n",
       {81, 80},
       {"2:1 Long record length in IGES file"}},
      {std::string(75, 'x') + "S      2" + std::string(9, ' ') + "S      3\n",
       {83, 17},
       {"2:1 Long record length in IGES file", "3:1 Short record length in IGES file"}},
  };
  for (const auto& c : cases) {
    FilerOver f(first + c.rest);
    ASSERT_TRUE(f.next());
    for (int k = 0; k < 2; ++k) {
      ASSERT_TRUE(f.next());
      EXPECT_EQ(f.io.line_length, c.lengths[k]);
      EXPECT_EQ(f.io.sequence_number, k + 2);
    }
    EXPECT_EQ(f.errors(), c.expected);
  }
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

// The fields of card images in their odd shapes: leading zeros, left-justified digits, a tab,
// a blank among the digits, a byte above 127, text running into the pointer columns, fields
// one column left. Each is read as the scan from the right reads it.
TEST(RecordReader, StampFieldsOfCardImages) {
  // Columns 1-64 the data, 65-72 the DE pointer (P records), 73 the letter, 74-80 the number.
  auto card = [](std::string data, const char* pointer, const char* sequence) {
    return data.append(64 - data.size(), ' ') + pointer + "P" + sequence;
  };
  const std::string ones = "1,2,3;";
  const struct {
    std::string card;
    bool completed;
    int back_pointer, sequence_number, end_column;
    Errors expected;
  } cases[] = {
      {card(ones, "       7", "      1"), true, 7, 1, 63, {}},
      {card(ones, " 0000007", "0000042"), true, 7, 42, 63, {}},
      {card(ones, "       0", "0000000"), true, 0, 0, 63, {}},
      {card(ones, " 9999999", "9999999"), true, 9999999, 9999999, 63, {}},
      {card(ones, "       7", "1      "), true, 7, 1, 63, {}},
      {card(ones, " 7      ", "     12"), true, 7, 12, 63, {}},
      {card(ones, "       7", "\t     5"), true, 7, 5, 63, {}},
      {card(ones, " \t     7", "     12"), true, 7, 12, 63, {}},
      {card(ones, "       7", "  12 34"),
       false,
       0,
       0,
       0,
       {"1:77 Missing or unrecognized section flag"}},
      {card(ones, "   12 34", "      3"),
       true,
       34,
       3,
       68,
       {"1:69 Parameter data extends beyond column 64"}},
      {card(ones, "       7", "     1x"), false, 0, 0, 0, {"1:80 Invalid sequence number"}},
      {card(ones, "       7", "      \xb5"), false, 0, 0, 0, {"1:80 Invalid sequence number"}},
      {card(ones, "       7", "       "), false, 0, 0, 0, {"1:73 Invalid sequence number"}},
      {card(ones, "        ", "      2"), false, 0, 0, 0, {"1:6 Invalid DE pointer"}},
      // Blank DE pointer columns: the digits that end the text are taken for the pointer.
      {card("110,1,2,3", "        ", "      1"),
       true,
       3,
       1,
       63,
       {"1:73 Sequence fields are misaligned"}},
      // Text running into columns 65 and 66 widens the data field.
      {card(std::string(60, ' ') + "1,2,", "3;     7", "      1"),
       true,
       7,
       1,
       65,
       {"1:66 Parameter data extends beyond column 64"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.card);
    ASSERT_EQ(c.card.size(), 80u);
    FilerOver f(c.card + "\n");
    EXPECT_EQ(f.next(), c.completed);
    if (c.completed) {
      EXPECT_EQ(f.io.f_rec_section, 'P');
      EXPECT_EQ(f.io.back_pointer, c.back_pointer);
      EXPECT_EQ(f.io.sequence_number, c.sequence_number);
      EXPECT_EQ(f.io.end_column, c.end_column);
    }
    EXPECT_EQ(f.errors(), c.expected);
  }
  FilerOver f(std::string(71, ' ') + "D     42 \n");  // shifted one column, still read
  ASSERT_TRUE(f.next());
  EXPECT_EQ(f.io.f_rec_section, 'D');
  EXPECT_EQ(f.io.sequence_number, 42);
  EXPECT_EQ(f.io.end_column, 70);
  EXPECT_EQ(f.errors(), Errors{"1:72 Sequence fields are misaligned"});
}

TEST(RecordReader, ProgressEveryThousandRecords) {
  IgesText text;
  for (int i = 0; i < 2001; ++i) text.G("");
  FilerOver f(text.str());
  for (int i = 0; i < 2001; ++i) ASSERT_TRUE(f.next());
  EXPECT_EQ(f.reports.messages(), (Errors{"Reading line 1000", "Reading line 2000"}));
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
    if (!with_start) {
      EXPECT_EQ(list.size(), 0u);
      EXPECT_EQ(f.errors(), Errors{"1:73 File should contain at least one start section record"});
      continue;
    }
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(std::string(list[0]), std::string("first line").append(62, ' '));
    EXPECT_EQ(std::string(list[1]).size(), 72u);
    EXPECT_EQ(f.io.start_count, 2);
  }
}

TEST(TerminateSection, ComparesEachCount) {
  const std::string t = igeslib_test::terminate_text(1, 2, 4, 3);
  const struct {
    std::string record;
    Errors expected;
  } cases[] = {
      {record('T', 1, t), {}},
      {record('T', 1, igeslib_test::terminate_text(1, 2, 6, 9)),
       {"1:1 parse_terminate: directory entry section was not the correct length",
        "1:1 parse_terminate: parameter data section was not the correct length"}},
      {record('T', 1, "S      1G      2X      4P      3"),
       {"1:1 terminate line sections S G D P not correct"}},
      {record('D', 1, t), {"1:1 parse_terminate_section: f_rec_section != 'T'"}},
      {record('T', 1, "S      1G     xxD      4P      3"),
       {"1:1 parse_terminate: global section was not the correct length"}},
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
