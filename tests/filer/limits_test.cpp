// Bounds on hostile input: counts are trusted, but items made up past the end of a record are
// limited per entity and per read, and a count the file could never hold skips its entity.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"

using igeslib_test::FileRead;
using igeslib_test::IgesText;
using Errors = std::vector<std::string>;

namespace {

// Limits set for one test, the defaults again afterwards.
struct Limits {
  Limits(unsigned long per_entity, unsigned long per_read) {
    igeslib_limits().items_past_end_per_entity = per_entity;
    igeslib_limits().items_past_end_per_read = per_read;
  }
  ~Limits() { igeslib_limits() = IgeslibLimits{}; }
};

// Lines at DE 1, 3, 5, ...; each announces `associations` back pointers and gives none.
std::string lines_announcing(int lines, const std::string& associations) {
  IgesText text;
  text.S("limits").G("1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;");
  for (int i = 0; i < lines; ++i) text.DE(110, 0, i + 1, 1);
  text.DE(116, 0, lines + 1, 1);
  for (int i = 0; i < lines; ++i) text.P(2 * i + 1, "110,1.,2.,3.,4.,5.,6.," + associations + ";");
  text.P(2 * lines + 1, "116,7.,8.,9.;");
  return text.T().str();
}

unsigned count_of(const Errors& errors, const std::string& message) {
  unsigned n = 0;
  for (const std::string& e : errors) n += e.find(message) != std::string::npos;
  return n;
}

TEST(Limits, AnEntityPastItsAllowanceIsSkippedAndTheNextRead) {
  Limits limits(10, 1000);
  FileRead read(lines_announcing(1, "2000000000"));
  ASSERT_EQ(read.result, read.file);
  Errors errors = read.errors();
  // The first missing pointer meets the record delimiter; ten more are made up past it.
  EXPECT_EQ(count_of(errors, "Value for the associativity pointer not specified"), 11u);
  EXPECT_EQ(count_of(errors,
                     "Entity skipped: more than 10 parameters read past the end of its "
                     "record"),
            1u);
  EXPECT_EQ(read.entity<igs_line_entity>(0)->z2(), 6.0);  // kept as far as it was read
  EXPECT_EQ(read.entity<igs_point_entity>(1)->z(), 9.0);
}

TEST(Limits, TheWholeReadStopsPastItsAllowance) {
  Limits limits(10, 25);
  FileRead read(lines_announcing(3, "2000000000"));
  EXPECT_EQ(read.result, nullptr);
  Errors errors = read.errors();
  ASSERT_FALSE(errors.empty());
  EXPECT_NE(errors.back().find("Read stopped: more than 25 parameters read past the ends of "
                               "records"),
            std::string::npos);
  EXPECT_EQ(count_of(errors, "Entity skipped"), 2u);
}

TEST(Limits, CountsARealModelCanHoldAreTrusted) {
  // Within the defaults, a short list is read to its count with one report per missing item.
  FileRead read(lines_announcing(1, "3277,1"));
  ASSERT_EQ(read.result, read.file);
  EXPECT_EQ(count_of(read.errors(), "Value for the associativity pointer not specified"), 3276u);
  EXPECT_EQ(count_of(read.errors(), "Entity skipped"), 0u);
}

TEST(Limits, CountsAndCapacityHints) {
  Limits limits(10, 1000);
  IgeslibIO io;
  io.file_bytes = 1000;
  io.in_entity = true;
  EXPECT_EQ(io.count(-5), 0);
  EXPECT_EQ(io.count(510), 510);  // half the bytes, and the allowance past the end
  igeslib_test::CapturedReports reports;
  bool skipped = !igeslib_catch_skip([&] { io.count(511); });
  EXPECT_TRUE(skipped);
  EXPECT_NE(reports.text().find("Entity skipped: a count of 511 is more than the file can hold"),
            std::string::npos);
  io.in_entity = false;  // out of an entity it is the end of the read
  EXPECT_FALSE(igeslib_catch_abort([&] { io.count(511); }));

  io.end_column = 63;
  io.column = 0;
  EXPECT_EQ(io.capacity_hint(2000000000), 32u);
  EXPECT_EQ(io.capacity_hint(5), 5u);
  EXPECT_EQ(io.capacity_hint(0), 0u);
  io.column = 63;
  EXPECT_EQ(io.capacity_hint(100), 1u);
}

}  // namespace
