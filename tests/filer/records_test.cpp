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

TEST(RecordReader, ReportIsVerbatimWithRecordAndCaret) {
  FilerOver f("ab   S      1\n");
  ASSERT_TRUE(f.next());
  ASSERT_EQ(f.reports.pieces().size(), 3u);
  EXPECT_EQ(f.reports.pieces()[0],
            "Error at line #: 1, column #: 1\n\tShort record length in IGES file\n");
  EXPECT_EQ(f.reports.pieces()[1], "IGES record:\nab   S      1\n");
  EXPECT_EQ(f.reports.pieces()[2], "^\n");
  EXPECT_EQ(f.reports.count(), 1u);
  EXPECT_EQ(f.io.f_rec_section, 'S');
  EXPECT_EQ(f.io.sequence_number, 1);
  EXPECT_EQ(f.io.end_column, 4);

  f.reports.clear();
  f.io.report_error("far right", 200);
  ASSERT_EQ(f.reports.pieces().size(), 3u);
  EXPECT_EQ(f.reports.pieces()[0], "Error at line #: 1, column #: 201\n\tfar right\n");
  EXPECT_EQ(f.reports.pieces()[2], std::string(88, ' ') + "^\n");
  f.reports.clear();
  f.io.column = 3;
  f.io.report_error("here", -1);
  EXPECT_EQ(f.reports.pieces()[2], "   ^\n");

  // A message longer than any built in, a message that gives its own line end, a record that
  // is empty: each piece is what the formatted line would be.
  const std::string long_message(600, 'm');
  f.io.line[0] = '\0';
  for (const std::string& message : {long_message, std::string("ends a line\n")}) {
    f.reports.clear();
    f.io.report_error(message.c_str(), 5);
    ASSERT_EQ(f.reports.pieces().size(), 3u);
    std::string first = "Error at line #: 1, column #: 6\n\t" + message;
    if (first.back() != '\n') first += '\n';
    EXPECT_EQ(f.reports.pieces()[0], first);
    EXPECT_EQ(f.reports.pieces()[1], "IGES record:\n");
    EXPECT_EQ(f.reports.pieces()[2], "     ^\n");
  }
}

struct FatalCase {
  const char* name;
  std::string bytes;
  Errors expected;
};

TEST(RecordReader, RecordsThatStopTheRead) {
  const std::string blanks(80, ' ');
  const FatalCase cases[] = {
      {"empty file", "", {"1:1 Error while reading IGES file, or premature EOF"}},
      {"all blank",
       blanks + "\n",
       {"1:1 Sequence fields are misaligned", "1:1 Invalid sequence number"}},
      {"letter at the right end", std::string(79, ' ') + "X\n", {"1:80 Invalid sequence number"}},
      {"eight-digit sequence number",
       std::string(71, ' ') + "S12345678\n",
       {"1:80 Sequence number longer than 7 digits"}},
      {"unknown section letter",
       record('Q', 1, "") + "\n",
       {"1:73 Missing or unrecognized section flag"}},
      {"binary flag",
       record('B', 1, "") + "\n",
       {"1:73 Binary and compressed ASCII format are not supported by this translator"}},
      {"compressed flag",
       record('C', 1, "") + "\n",
       {"1:73 Binary and compressed ASCII format are not supported by this translator"}},
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
  for (const FatalCase& c : cases) {
    SCOPED_TRACE(c.name);
    FilerOver f(c.bytes);
    bool completed = true;
    for (int i = 0; i < 3 && completed; ++i) completed = f.next();
    EXPECT_FALSE(completed);
    EXPECT_EQ(f.errors(), c.expected);
  }
  FilerOver binary(record('B', 1, "") + "\n");  // the flag is recorded before the read stops
  EXPECT_FALSE(binary.next());
  EXPECT_EQ(binary.io.f_rec_section, 'B');
}

TEST(RecordReader, LongAndOverlongLines) {
  {
    // The first record is a card image of 80; after its line end only line ends count.
    FilerOver f(record('S', 1, "") + "\n" + record('S', 2, "text") + " \n" + record('S', 3, "") +
                "\n");
    ASSERT_TRUE(f.next());
    ASSERT_TRUE(f.next());
    EXPECT_EQ(f.io.line_length, 81);
    EXPECT_EQ(f.io.sequence_number, 2);
    EXPECT_EQ(f.errors(), Errors{"2:1 Long record length in IGES file"});
    ASSERT_TRUE(f.next());
    EXPECT_EQ(f.io.sequence_number, 3);
  }
  {
    // Once a line end has been met, 100 characters make a record of 83 and one of 17.
    std::string first = record('S', 1, "") + "\n";
    std::string hundred = std::string(75, 'x') + "S      2" + std::string(9, ' ') + "S      3";
    FilerOver f(first + hundred + "\n");
    ASSERT_TRUE(f.next());
    ASSERT_TRUE(f.next());
    EXPECT_EQ(f.io.line_length, 83);
    EXPECT_EQ(f.io.sequence_number, 2);
    ASSERT_TRUE(f.next());
    EXPECT_EQ(f.io.line_length, 17);
    EXPECT_EQ(f.io.sequence_number, 3);
    EXPECT_EQ(f.errors(), (Errors{"2:1 Long record length in IGES file",
                                  "3:1 Short record length in IGES file"}));
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

TEST(RecordReader, ParameterFieldsOfPRecords) {
  {
    // Blank DE pointer columns: the digits that end the text are taken for the pointer.
    FilerOver f(std::string("110,1,2,3").append(63, ' ') + "P      1\n");
    ASSERT_TRUE(f.next());
    EXPECT_EQ(f.io.back_pointer, 3);
    EXPECT_EQ(f.errors(), Errors{"1:73 Sequence fields are misaligned"});
  }
  {
    // Text running into columns 65 and 66 widens the data field.
    FilerOver f(std::string(60, ' ') + "1,2,3;" + " " + "    7" + "P      1\n");
    ASSERT_TRUE(f.next());
    EXPECT_EQ(f.io.back_pointer, 7);
    EXPECT_EQ(f.io.end_column, 65);
    EXPECT_EQ(f.errors(), Errors{"1:66 Parameter data extends beyond column 64"});
  }
}

// The fields of card images in their odd shapes: leading zeros, left-justified digits, a tab,
// a blank among the digits, a byte above 127. Each is read as the scan from the right reads it.
TEST(RecordReader, StampFieldsOfCardImages) {
  struct Case {
    std::string pointer;   // columns 66-72 of a P record
    std::string sequence;  // columns 74-80
    bool completed;
    int back_pointer;
    int sequence_number;
    Errors expected;
  };
  const Case cases[] = {
      {"      7", "      1", true, 7, 1, {}},
      {"0000007", "0000042", true, 7, 42, {}},
      {"      0", "0000000", true, 0, 0, {}},
      {"9999999", "9999999", true, 9999999, 9999999, {}},
      {"      7", "1      ", true, 7, 1, {}},
      {"7      ", "     12", true, 7, 12, {}},
      {"      7", "\t     5", true, 7, 5, {}},
      {"\t     7", "     12", true, 7, 12, {}},
      {"      7", "  12 34", false, 0, 0, {"1:77 Missing or unrecognized section flag"}},
      {"  12 34", "      3", true, 34, 3, {"1:69 Parameter data extends beyond column 64"}},
      {"      7", "     1x", false, 0, 0, {"1:80 Invalid sequence number"}},
      {"      7", "      \xb5", false, 0, 0, {"1:80 Invalid sequence number"}},
      {"      7", "       ", false, 0, 0, {"1:73 Invalid sequence number"}},
      {"       ", "      2", false, 0, 0, {"1:6 Invalid DE pointer"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.pointer + "|" + c.sequence);
    std::string card = std::string("1,2,3;").append(58, ' ') + " " + c.pointer + "P" + c.sequence;
    ASSERT_EQ(card.size(), 80u);
    FilerOver f(card + "\n");
    EXPECT_EQ(f.next(), c.completed);
    if (c.completed) {
      EXPECT_EQ(f.io.f_rec_section, 'P');
      EXPECT_EQ(f.io.back_pointer, c.back_pointer);
      EXPECT_EQ(f.io.sequence_number, c.sequence_number);
    }
    EXPECT_EQ(f.errors(), c.expected);
  }
}

TEST(RecordReader, ShiftedFieldsAreReportedAndStillRead) {
  FilerOver f(std::string(71, ' ') + "D     42 \n");
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
  EXPECT_EQ(f.reports.messages(),
            (std::vector<std::string>{"Reading line 1000", "Reading line 2000"}));
  EXPECT_EQ(f.io.line_number, 2001);
}

TEST(StartSection, KeepsSeventyTwoColumnsOfEachRecord) {
  FilerOver f(IgesText().S("first line").S("second").G("1H,,1H;;").str());
  ListOfString list(0);
  bool completed = igeslib_catch_abort([&] { EXPECT_EQ(f.io.read_start_section(&list), &f.io); });
  ASSERT_TRUE(completed);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(std::string(list[0]), std::string("first line").append(62, ' '));
  EXPECT_EQ(std::string(list[1]).size(), 72u);
  EXPECT_EQ(f.io.start_count, 2);
  EXPECT_EQ(f.io.f_rec_section, 'G');
}

TEST(StartSection, MissingStartIsReported) {
  FilerOver f(IgesText().G("1H,,1H;;").str());
  ListOfString list(0);
  ASSERT_TRUE(igeslib_catch_abort([&] { EXPECT_EQ(f.io.read_start_section(&list), nullptr); }));
  EXPECT_EQ(list.size(), 0u);
  EXPECT_EQ(f.errors(), Errors{"1:73 File should contain at least one start section record"});
}

TEST(TerminateSection, ComparesEachCount) {
  struct Case {
    std::string record;
    Errors expected;
  };
  const Case cases[] = {
      {record('T', 1, igeslib_test::terminate_text(1, 2, 4, 3)), {}},
      {record('T', 1, igeslib_test::terminate_text(1, 2, 6, 9)),
       {"1:1 parse_terminate: directory entry section was not the correct length",
        "1:1 parse_terminate: parameter data section was not the correct length"}},
      {record('T', 1, "S      1G      2X      4P      3"),
       {"1:1 terminate line sections S G D P not correct"}},
      {record('D', 1, igeslib_test::terminate_text(1, 2, 4, 3)),
       {"1:1 parse_terminate_section: f_rec_section != 'T'"}},
      {record('T', 1, "S      1G     xxD      4P      3"),
       {"1:1 parse_terminate: global section was not the correct length"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.record);
    FilerOver f(c.record + "\n");
    ASSERT_TRUE(f.next());
    f.io.start_count = 1;
    f.io.global_count = 2;
    f.io.directory_count = 4;
    f.io.parameter_count = 3;
    f.io.parse_terminate_section();
    EXPECT_EQ(f.errors(), c.expected);
  }
}
