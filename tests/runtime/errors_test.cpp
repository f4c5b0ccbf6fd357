// Error channels, progress messages, strings, the prefix table and files. Numbered errors
// and the reports of a read are tested with the filer.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "lumo.h"

namespace {

struct Captured {
  std::vector<std::pair<std::string, int>> pieces;
  static void take(const char* text, int code, void* user) {
    static_cast<Captured*>(user)->pieces.emplace_back(text, code);
  }
};

struct Errors : ::testing::Test {
  Captured captured;
  Errors() {
    LUMO.error_reporter()->use_callback(Captured::take, &captured);
    LUMO.error_reporter()->reset_count();
  }
  ~Errors() override { LUMO.error_reporter()->use_stderr(); }
};

TEST_F(Errors, TextGoesOutAsWrittenAndFormatsEndTheirLine) {
  lumo_ec()->text("embedded schema: Cannot get OID prefix\n");
  lumo_io_ec()->format("Error at line #: %d, column #: %d\n\t%s", 12, 73, "bad");
  std::string longer(2000, 'x');
  lumo_io_ec()->format("%s|", longer.c_str());
  ASSERT_EQ(captured.pieces.size(), 3u);
  EXPECT_EQ(captured.pieces[0].first, "embedded schema: Cannot get OID prefix\n");
  EXPECT_EQ(captured.pieces[1].first, "Error at line #: 12, column #: 73\n\tbad\n");
  EXPECT_EQ(captured.pieces[2].first, longer + "|\n");
  lumo_io_ec()->format("ends its own line\n");
  lumo_ec()->text("no line end");
  EXPECT_EQ(captured.pieces[3].first, "ends its own line\n");
  EXPECT_EQ(captured.pieces[4].first, "no line end");
  EXPECT_EQ(LUMO.error_reporter()->count(), 5u);
}

TEST_F(Errors, TextBetweenPushAndPopIsOneReport) {
  LumoErrorReporter* reporter = LUMO.error_reporter();
  reporter->stack.append(nullptr);
  lumo_io_ec()->format("Warning at line #: %d, column #: %d\n", 3, 9);
  lumo_io_ec()->text("\tASCII NULL (0x00) character found, treated as space\n");
  reporter->stack.pop();
  reporter->stack.append(nullptr);
  lumo_io_ec()->text("second report\n");
  reporter->stack.pop();
  lumo_io_ec()->text("third report\n");
  EXPECT_EQ(reporter->count(), 3u);
  EXPECT_EQ(captured.pieces.size(), 4u);
  EXPECT_EQ(reporter->stack.size(), 0u);
  EXPECT_EQ(reporter->stack.pop(), nullptr);
}

TEST(ErrorStreams, ReportsCanGoToAStream) {
  FILE* sink = std::tmpfile();
  ASSERT_NE(sink, nullptr);
  LUMO.error_reporter()->use_stream(sink);
  lumo_ec()->text("to the stream\n");
  LUMO.error_reporter()->use_stderr();
  std::rewind(sink);
  char line[64] = {};
  ASSERT_NE(std::fgets(line, sizeof line, sink), nullptr);
  EXPECT_STREQ(line, "to the stream\n");
  std::fclose(sink);
}

TEST(Messages, ProgressLinesAreHeldBackWhenQuiet) {
  std::vector<std::string> lines;
  LUMO.message_sink(
      [](const char* line, void* user) {
        static_cast<std::vector<std::string>*>(user)->push_back(line);
      },
      &lines);
  char was = LUMO.quiet();
  LUMO.quiet(0);
  LUMO.message("Reading line %d", 1000);
  LUMO.quiet(1);
  EXPECT_TRUE(LUMO.quiet());
  LUMO.message("Reading line %d", 2000);
  LUMO.quiet(was);
  LUMO.message_sink(nullptr, nullptr);
  EXPECT_EQ(lines, std::vector<std::string>{"Reading line 1000"});
}

TEST(Strings, StorageIsSharedUntilWritten) {
  LumoStringObject a("hello");
  LumoStringObject b(a);
  EXPECT_TRUE(a.shared());
  EXPECT_EQ(a.c_str(), b.c_str());
  char* mine = b.stop_sharing();
  EXPECT_NE(mine, a.c_str());
  EXPECT_STREQ(mine, "hello");
  EXPECT_FALSE(a.shared());
  char* big = a.resize(10000);
  ASSERT_NE(big, nullptr);
  EXPECT_STREQ(big, "hello");
  EXPECT_GE(a.capacity(), 10000u);
  big[9998] = 'z';
  EXPECT_EQ(a.resize(100), big);  // shrinking keeps the buffer
  LumoStringObject c;
  EXPECT_STREQ(c.c_str(), "");
  c = a;
  EXPECT_EQ(c.c_str(), a.c_str());
}

TEST(Prefixes, AStoredPrefixIsFoundAgainWithItsHighPart) {
  LumoDesignIndex index;
  LumoOIDPrefix p = {{1, 2, 3, 4, 0}};
  LumoOIDPrefix q = {{1, 2, 3, 5, 0}};
  EXPECT_EQ(index.findPrefix(&p), nullptr);
  LumoOIDPrefix* stored = index.addPrefix(&p);
  ASSERT_NE(stored, nullptr);
  EXPECT_NE(stored->words[4], 0u);
  EXPECT_EQ(stored->words[4] & 0xFFFFu, 0u);
  EXPECT_EQ(index.findPrefix(&p), stored);
  LumoOIDPrefix* other = index.addPrefix(&q);
  ASSERT_NE(other, nullptr);
  EXPECT_NE(other->words[4], stored->words[4]);
  EXPECT_EQ(LUMO.designIndex()->findPrefix(nullptr), nullptr);
}

TEST(Files, OpeningAMissingFileAnswersNull) {
  EXPECT_EQ(lumo_fopen("no/such/dir/file.igs", "rb"), nullptr);
  EXPECT_EQ(lumo_fopen(nullptr, "rb"), nullptr);
  EXPECT_STREQ(lumo_build_aggname("ListOfdatum", "ListOfigs_datum"), "ListOfdatum");
}

}  // namespace
