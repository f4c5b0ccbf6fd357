// The error channel and shared strings. Numbered errors, progress lines and the reports of a
// read are tested with the filer.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "lumo.h"
#include "support/reports.h"

namespace {

// Text goes out as written, a format ends its line, and what is sent between a push and a
// pop of the reporter's stack counts as one report.
TEST(Errors, PiecesAndReports) {
  igeslib_test::CapturedReports reports;
  LumoErrorReporter* reporter = LUMO.error_reporter();
  std::string longer(2000, 'x');
  lumo_ec()->text("embedded schema: Cannot get OID prefix\n");
  lumo_io_ec()->format("Error at line #: %d, column #: %d\n\t%s", 12, 73, "bad");
  lumo_io_ec()->format("%s|", longer.c_str());
  lumo_io_ec()->format("ends its own line\n");
  lumo_ec()->text("no line end");
  EXPECT_EQ(reports.pieces(),
            (std::vector<std::string>{"embedded schema: Cannot get OID prefix\n",
                                      "Error at line #: 12, column #: 73\n\tbad\n", longer + "|\n",
                                      "ends its own line\n", "no line end"}));
  EXPECT_EQ(reports.count(), 5u);

  reports.clear();
  reporter->stack.append(nullptr);
  lumo_io_ec()->format("Warning at line #: %d, column #: %d\n", 3, 9);
  lumo_io_ec()->text("\tASCII NULL (0x00) character found, treated as space\n");
  reporter->stack.pop();
  reporter->stack.append(nullptr);
  lumo_io_ec()->text("second report\n");
  reporter->stack.pop();
  lumo_io_ec()->text("third report\n");
  EXPECT_EQ(reports.count(), 3u);
  EXPECT_EQ(reports.pieces().size(), 4u);
  EXPECT_EQ(reporter->stack.size(), 0u);
  EXPECT_EQ(reporter->stack.pop(), nullptr);
}

TEST(Errors, ReportsCanGoToAStream) {
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
  EXPECT_EQ(lumo_fopen(nullptr, "rb"), nullptr);
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

}  // namespace
