// The Global section on reading: the two delimiters, parameters 3 to 26 and their defaults,
// the coded units and drafting standard, the version warning, parameters past the 26th; and
// the Global section written.
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"
#include "model/model_support.h"
#include "support/corpus.h"

using igeslib_test::FilerOver;
using igeslib_test::IgesText;
using Errors = std::vector<std::string>;

namespace {

// The Global section of the file read from bytes, with the S records skipped and what went to
// standard output kept.
struct GlobalRead {
  explicit GlobalRead(const std::string& bytes, bool quiet = false, int unit_before = -1)
      : filer(bytes) {
    global = new (design.design) igs_global;
    if (unit_before >= 0) global->unit_flag(unit_before);
    char was_quiet = LUMO.quiet();
    LUMO.quiet(quiet);
    testing::internal::CaptureStdout();
    completed = igeslib_catch_abort([this] {
      do io().read_record();
      while (io().f_rec_section == 'S');
      result = io().parse_global_section(global);
    });
    out = testing::internal::GetCapturedStdout();
    LUMO.quiet(was_quiet);
  }
  IgeslibIO& io() { return filer.io; }

  ScratchDesign design{"global"};
  igs_global* global = nullptr;
  FilerOver filer;
  bool completed = false;
  IgeslibIO* result = nullptr;
  std::string out;
};

// Every parameter but the two coded ones, in order, each followed by "|"; "-" for none.
std::string values_of(igs_global* g) {
  auto s = [](const char* t) { return std::string(t ? t : "-") + "|"; };
  std::ostringstream o;
  o << s(g->parameter_delimiter()) << s(g->record_delimiter())
    << s(g->product_identification_sender()) << s(g->file_name()) << s(g->system_id())
    << s(g->preprocessor_version()) << g->number_of_binary_bits() << '|'
    << g->single_precision_magnitude() << '|' << g->single_precision_significance() << '|'
    << g->double_precision_magnitude() << '|' << g->double_precision_significance() << '|'
    << s(g->product_identification_receiver()) << g->model_space_scale() << '|' << s(g->units())
    << g->max_num_line_weight_gradations() << '|' << g->width_max_line_weight() << '|'
    << s(g->date_time_file_generation()) << g->min_resolution() << '|' << g->max_coordinate_value()
    << '|' << s(g->author()) << s(g->organization()) << g->version() << '|'
    << s(g->date_time_created_modified()) << s(g->milspec());
  return o.str();
}

// A file of one S record, the given G records, one D record and the T record.
std::string file_of(const std::vector<std::string>& g) {
  IgesText text;
  text.S("a test file");
  for (const std::string& line : g) text.G(line);
  return text.D("     110       1       0       0       0       0       0       000000000")
      .T()
      .str();
}

// A full Global section whose delimiters, version and end are the test's.
std::vector<std::string> section(const std::string& delimiters, const std::string& version,
                                 const std::string& end = "4Hmil1;") {
  return {delimiters + "4Hsend,8Hpart.igs,6Hsystem,3H1.0,32,38,6,308,15,4Hrecv,0.5D1,2,",
          "2HMM,4,0.02,15H20240101.120000,1.0D-4,1.5d2,6Hauthor,3Horg,",
          version + ",7,15H20240102.130000," + end};
}

const std::string kExpects = "\tThis IGES filer expects version 4 or 5.x\n";
const std::string kWarning20 = "\tWARNING: File uses IGES specification 2.0\n" + kExpects;

}  // namespace

TEST(Global, EveryParameterOfAFullSectionAndTheDefaultsOfAShortOne) {
  {
    GlobalRead r(file_of(section("1H,,1H;,", "11")));
    ASSERT_TRUE(r.completed);
    EXPECT_EQ(r.result, &r.io());
    EXPECT_EQ(r.filer.errors(), Errors{});
    EXPECT_EQ(r.out, "");
    // Fortran D exponents, either case.
    EXPECT_EQ(values_of(r.global),
              ",|;|send|part.igs|system|1.0|32|38|6|308|15|recv|5|MM|4|0.02|20240101.120000|"
              "0.0001|150|author|org|11|20240102.130000|mil1|");
    EXPECT_EQ(r.global->unit_flag(), igs_unitFlag_millimeters);
    EXPECT_EQ(r.global->drafting_standard_code(), igs_draftingStandardCode_JIS);
    // Past the G records, and the D section's place kept for its phase.
    EXPECT_EQ(r.io().global_count, 3);
    EXPECT_EQ(r.io().f_rec_section, 'D');
    ASSERT_EQ(std::fsetpos(r.io().fp, &r.io().section_position), 0);
    ASSERT_TRUE(r.filer.next());
    EXPECT_EQ(r.io().f_rec_section, 'D');
    EXPECT_EQ(r.io().sequence_number, 1);
  }
  GlobalRead r(file_of({",,;"}));
  ASSERT_TRUE(r.completed);
  EXPECT_EQ(r.result, &r.io());
  EXPECT_EQ(r.filer.errors(), Errors{});
  // The scale is 0, not 1; one line weight gradation; version 3.
  EXPECT_EQ(values_of(r.global), ",|;|-|-|-|-|0|0|0|0|0|-|0|-|1|0|-|0|0|-|-|3|-|-|");
  EXPECT_EQ(r.global->unit_flag(), igs_unitFlag_none);
  EXPECT_EQ(r.global->drafting_standard_code(), igs_draftingStandardCode_none);
  EXPECT_EQ(r.out, kWarning20);
}

TEST(Global, Delimiters) {
  const struct {
    const char* delimiters;
    const char* parameter;  // stored
    const char* record;
    bool fails;
    Errors errors;
  } cases[] = {
      {",,", ",", ";", false, {}},
      {"1H//1H;/", "/", ";", false, {}},
      {"1H##1H!#", "#", "!", false, {}},
      // The parameter delimiter must be followed by itself.
      // Neither delimiter is then read: both are reported, and the ones in force stay.
      {"1H/,",
       "",
       "",
       true,
       {"2:4 Missing delimiter after string value",
        "2:4 Parameter delimiter must be a single character",
        "2:4 Record delimiter must be a single character"}},
      // Too long: the first character wins, and the rest is read on to its end.
      {"2H,,,1H;,", ",", ";", true, {"2:6 Parameter delimiter must be a single character"}},
      {",2H;;,", ",", ";", true, {"2:7 Record delimiter must be a single character"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.delimiters);
    char p = c.parameter[0] ? c.parameter[0] : ',';
    char e = c.record[0] ? c.record[0] : ';';
    // The rest of the section, written with the delimiters that should be in force.
    std::string rest = "4Hsend" + std::string(1, p) + "8Hpart.igs" + std::string(1, e);
    GlobalRead r(file_of({c.delimiters + rest}), true);
    ASSERT_TRUE(r.completed);
    EXPECT_EQ(r.result == nullptr, c.fails);
    EXPECT_EQ(r.filer.errors(), c.errors);
    EXPECT_STREQ(r.global->parameter_delimiter(), c.parameter);
    EXPECT_STREQ(r.global->record_delimiter(), c.record);
    EXPECT_EQ(r.io().param_delimiter, p);
    EXPECT_EQ(r.io().record_delimiter, e);
    if (c.record[0]) {
      EXPECT_EQ(values_of(r.global).substr(4, 14), "send|part.igs|");
    }
    EXPECT_EQ(r.io().global_count, 1);
  }
}

TEST(Global, VersionAndItsWarning) {
  const struct {
    const char* version;
    bool quiet;
    int stored;
    std::string out;
  } cases[] = {
      {"", false, 3, kWarning20},
      {"", true, 3, ""},
      {"0", false, 0, kWarning20},
      {"2", false, 2, "\tWARNING: File uses IGES specification 1.0\n" + kExpects},
      {"3", false, 3, kWarning20},
      {"5", false, 5, "\tWARNING: File uses IGES specification 3.0\n" + kExpects},
      {"6", false, 6, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string("version '") + c.version + "'");
    GlobalRead r(file_of(section(",,", c.version)), c.quiet);
    ASSERT_TRUE(r.completed);
    EXPECT_NE(r.result, nullptr);
    EXPECT_EQ(r.filer.errors(), Errors{});
    EXPECT_EQ(r.global->version(), c.stored);
    EXPECT_EQ(r.out, c.out);
  }
}

TEST(Global, CodesWithNoEnumeratorLeaveTheValue) {
  std::vector<std::string> g = section(",,", "11");
  g[0].replace(g[0].rfind(",2,"), 3, ",99,");
  g[2].replace(g[2].find(",7,"), 3, ",8,");
  GlobalRead r(file_of(g), true, 3);
  ASSERT_TRUE(r.completed);
  EXPECT_NE(r.result, nullptr);
  EXPECT_EQ(r.global->unit_flag(), igs_unitFlag_unspecified);
  EXPECT_EQ(r.global->drafting_standard_code(), igs_draftingStandardCode_unset);
  EXPECT_STREQ(r.global->milspec(), "mil1");
}

// Sections that read with one report: parameters past the last fail the section; a token
// error there ends the list, and a wrong Hollerith count poisons the rest, without failing it.
// With no Global section at all, the read stops on the record after the Start section.
TEST(Global, OneReportAndWhetherTheSectionFails) {
  const std::string unknown = " parsing global section: Global section contains unknown parameters";
  auto renamed = [](const char* name) {
    std::vector<std::string> g = section(",,", "11");
    g[0].replace(g[0].find("8Hpart.igs,"), 11, name);
    return g;
  };
  const std::string no_global =
      IgesText()
          .S("a test file")
          .S("second start record")
          .D("     110       1       0       0       0       0       0       000000000")
          .T()
          .str();
  const struct {
    std::string bytes;
    bool fails;
    std::string error;
    const char* values;  // sender, file name, version and MIL specification
    int global_count, line_number;
  } cases[] = {
      {file_of(section(",,", "11", "4Hmil1,5;")), true, "4:33" + unknown, "send|part.igs|11|mil1",
       3, 5},
      {file_of(section(",,", "11", "4Hmil1,5,")), true, "4:34" + unknown, "send|part.igs|11|mil1",
       3, 5},
      {file_of(section(",,", "11", "4Hmil1,,;")), true, "4:33" + unknown, "send|part.igs|11|mil1",
       3, 5},
      {file_of(section(",,", "11", "4Hmil1,3Habc;")), false,
       "4:33 Missing delimiter after integer value", "send|part.igs|11|mil1", 3, 5},
      {file_of(renamed("9Hpart.igs,")), false, "2:21 Missing delimiter after string value",
       "send|-|3|-", 3, 5},
      {file_of(renamed("7Hpart.igs,")), false, "2:19 Missing delimiter after string value",
       "send|-|3|-", 3, 5},
      // No record is skipped.
      {no_global, true, "3:73 Global section does not follow the start section in the file",
       "-|-|0|-", 0, 3},
  };
  auto text = [](const char* t) { return std::string(t ? t : "-"); };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.error);
    GlobalRead r(c.bytes, true);
    ASSERT_TRUE(r.completed);
    EXPECT_EQ(r.result == nullptr, c.fails);
    EXPECT_EQ(r.filer.errors(), Errors{c.error});
    igs_global* g = r.global;
    EXPECT_EQ(text(g->product_identification_sender()) + "|" + text(g->file_name()) + "|" +
                  std::to_string(g->version()) + "|" + text(g->milspec()),
              c.values);
    EXPECT_EQ(r.io().global_count, c.global_count);
    EXPECT_EQ(r.io().line_number, c.line_number);
    EXPECT_EQ(r.io().f_rec_section, 'D');
  }
}

namespace {

// The G records that write_global_section makes of global.
struct GlobalWritten {
  explicit GlobalWritten(igs_global* global) {
    io.fp = std::tmpfile();
    io.write_global_section(global);
    text = igeslib_test::slurp(io.fp);
    std::fclose(io.fp);
  }
  igeslib_test::CapturedReports reports;
  IgeslibIO io;
  std::string text;
};

}  // namespace

// Absent values are empty parameters, none is lost, and the delimiters of the file's own are
// stated the way the reader takes them back.
TEST(GlobalWrite, AbsentValuesAndDelimitersOfTheFileOwn) {
  const struct {
    const char* parameter;
    const char* record;
    const char* data;  // the record's data; null: nothing written, and this report
    const char* error;
  } cases[] = {
      {",", ";", ",,4Hsend,,,,,,7,,15,,,-1,,,,,,,,,11,-1,,1Hm;", nullptr},
      {"", "", ",,4Hsend,,,,,,7,,15,,,-1,,,,,,,,,11,-1,,1Hm;", nullptr},
      // The default record delimiter goes out as a bare comma, whatever the parameter one.
      {"/", ";", "1H//,4Hsend//////7//15///-1/////////11/-1//1Hm;", nullptr},
      // A record delimiter of its own is stated with the parameter delimiter's text.
      {",", "!", ",1H,,4Hsend,,,,,,7,,15,,,-1,,,,,,,,,11,-1,,1Hm!", nullptr},
      {"/", "!", "1H//1H//4Hsend//////7//15///-1/////////11/-1//1Hm!", nullptr},
      {"//", ";", nullptr, "write_global_section: parameter delimiter length > 1"},
      {",", ";;", nullptr, "write_global_section: record delimiter length > 1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.parameter) + " " + c.record);
    ScratchDesign design("global");
    auto* g = new (design.design) igs_global;
    g->parameter_delimiter(c.parameter);
    g->record_delimiter(c.record);
    g->product_identification_sender("send");
    g->milspec("m");
    g->version(5);
    GlobalWritten w(g);
    if (!c.data) {
      EXPECT_EQ(w.text, "");
      EXPECT_EQ(w.io.global_count, 0);
      EXPECT_NE(w.reports.text().find(c.error), std::string::npos) << w.reports.text();
      continue;
    }
    EXPECT_EQ(w.reports.count(), 0u) << w.reports.text();
    std::string data = c.data;
    EXPECT_EQ(w.text, data.append(72 - data.size(), ' ') + "G      1\n");
    EXPECT_EQ(w.io.global_count, 1);
    EXPECT_EQ(g->version(), 11);
    EXPECT_EQ(g->single_precision_significance(), 7);
    EXPECT_EQ(g->double_precision_significance(), 15);
  }
}
