// The Global section on reading: the two delimiters, parameters 3 to 26 and their defaults,
// the coded units and drafting standard, the version warning, parameters past the 26th; and
// the Global section written.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"
#include "model/model_support.h"

using igeslib_test::FilerOver;
using igeslib_test::IgesText;
using Errors = std::vector<std::string>;

namespace {

// The Global section of the file read from bytes, with the S records skipped and what went to
// standard output kept.
struct GlobalRead {
  explicit GlobalRead(const std::string& bytes, bool quiet = false,
                      int unit_before = -1) : filer(bytes) {
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

// A file of one S record, the given G records, one D record and the T record.
std::string file_of(const std::vector<std::string>& g) {
  IgesText text;
  text.S("a test file");
  for (const std::string& line : g) text.G(line);
  return text.D("     110       1       0       0       0       0       0       000000000").T().str();
}

// A full Global section whose delimiters, version and end are the test's.
std::vector<std::string> section(const std::string& delimiters, const std::string& version,
                                 const std::string& end = "4Hmil1;") {
  return {delimiters + "4Hsend,8Hpart.igs,6Hsystem,3H1.0,32,38,6,308,15,4Hrecv,0.5D1,2,",
          "2HMM,4,0.02,15H20240101.120000,1.0D-4,1.5d2,6Hauthor,3Horg,",
          version + ",7,15H20240102.130000," + end};
}

const char* const kWarning20 =
    "\tWARNING: File uses IGES specification 2.0\n\tThis IGES filer expects version 4 or 5.x\n";

}  // namespace

TEST(Global, EveryParameterOfAFullSection) {
  GlobalRead r(file_of(section("1H,,1H;,", "11")));
  ASSERT_TRUE(r.completed);
  EXPECT_EQ(r.result, &r.io());
  EXPECT_EQ(r.filer.errors(), Errors{});
  EXPECT_EQ(r.out, "");
  igs_global* g = r.global;
  EXPECT_STREQ(g->parameter_delimiter(), ",");
  EXPECT_STREQ(g->record_delimiter(), ";");
  EXPECT_STREQ(g->product_identification_sender(), "send");
  EXPECT_STREQ(g->file_name(), "part.igs");
  EXPECT_STREQ(g->system_id(), "system");
  EXPECT_STREQ(g->preprocessor_version(), "1.0");
  EXPECT_EQ(g->number_of_binary_bits(), 32);
  EXPECT_EQ(g->single_precision_magnitude(), 38);
  EXPECT_EQ(g->single_precision_significance(), 6);
  EXPECT_EQ(g->double_precision_magnitude(), 308);
  EXPECT_EQ(g->double_precision_significance(), 15);
  EXPECT_STREQ(g->product_identification_receiver(), "recv");
  EXPECT_EQ(g->model_space_scale(), 5.0);  // Fortran D exponents, either case
  EXPECT_EQ(g->unit_flag(), igs_unitFlag_millimeters);
  EXPECT_STREQ(g->units(), "MM");
  EXPECT_EQ(g->max_num_line_weight_gradations(), 4);
  EXPECT_EQ(g->width_max_line_weight(), 0.02);
  EXPECT_STREQ(g->date_time_file_generation(), "20240101.120000");
  EXPECT_EQ(g->min_resolution(), 1.0e-4);
  EXPECT_EQ(g->max_coordinate_value(), 150.0);
  EXPECT_STREQ(g->author(), "author");
  EXPECT_STREQ(g->organization(), "org");
  EXPECT_EQ(g->version(), 11);
  EXPECT_EQ(g->drafting_standard_code(), igs_draftingStandardCode_JIS);
  EXPECT_STREQ(g->date_time_created_modified(), "20240102.130000");
  EXPECT_STREQ(g->milspec(), "mil1");

  // Past the G records, and the D section's place kept for its phase.
  EXPECT_EQ(r.io().global_count, 3);
  EXPECT_EQ(r.io().f_rec_section, 'D');
  ASSERT_EQ(std::fsetpos(r.io().fp, &r.io().section_position), 0);
  ASSERT_TRUE(r.filer.next());
  EXPECT_EQ(r.io().f_rec_section, 'D');
  EXPECT_EQ(r.io().sequence_number, 1);
}

TEST(Global, Delimiters) {
  struct Case {
    const char* delimiters;
    const char* parameter;  // stored
    const char* record;
    bool fails;
    Errors errors;
  };
  const Case cases[] = {
      {",,", ",", ";", false, {}},
      {"1H//1H;/", "/", ";", false, {}},
      {"1H##1H!#", "#", "!", false, {}},
      // The parameter delimiter must be followed by itself.
      // Neither delimiter is then read: both are reported, and the ones in force stay.
      {"1H/,", "", "", true,
       {"2:4 Missing delimiter after string value",
        "2:4 Parameter delimiter must be a single character",
        "2:4 Record delimiter must be a single character"}},
      // Too long: the first character wins, and the rest is read on to its end.
      {"2H,,,1H;,", ",", ";", true, {"2:6 Parameter delimiter must be a single character"}},
      {",2H;;,", ",", ";", true, {"2:7 Record delimiter must be a single character"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.delimiters);
    std::string d = c.delimiters;
    char p = c.parameter[0] ? c.parameter[0] : ',';
    char e = c.record[0] ? c.record[0] : ';';
    // The rest of the section, written with the delimiters that should be in force.
    std::string rest = "4Hsend" + std::string(1, p) + "8Hpart.igs" + std::string(1, e);
    GlobalRead r(file_of({d + rest}), true);
    ASSERT_TRUE(r.completed);
    EXPECT_EQ(r.result == nullptr, c.fails);
    EXPECT_EQ(r.filer.errors(), c.errors);
    EXPECT_STREQ(r.global->parameter_delimiter(), c.parameter);
    EXPECT_STREQ(r.global->record_delimiter(), c.record);
    EXPECT_EQ(r.io().param_delimiter, p);
    EXPECT_EQ(r.io().record_delimiter, e);
    if (c.record[0]) {
      EXPECT_STREQ(r.global->product_identification_sender(), "send");
      EXPECT_STREQ(r.global->file_name(), "part.igs");
    }
    EXPECT_EQ(r.io().global_count, 1);
  }
}

TEST(Global, VersionAndItsWarning) {
  struct Case {
    const char* version;
    bool quiet;
    int stored;
    std::string out;
  };
  const std::string tail = "\tThis IGES filer expects version 4 or 5.x\n";
  const Case cases[] = {
      {"", false, 3, kWarning20},
      {"", true, 3, ""},
      {"0", false, 0, kWarning20},
      {"2", false, 2, "\tWARNING: File uses IGES specification 1.0\n" + tail},
      {"3", false, 3, kWarning20},
      {"5", false, 5, "\tWARNING: File uses IGES specification 3.0\n" + tail},
      {"6", false, 6, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string("version '") + c.version + "'");
    GlobalRead r(file_of(section(",,", c.version)), c.quiet);
    ASSERT_TRUE(r.completed);
    EXPECT_NE(r.result, nullptr);
    EXPECT_EQ(r.filer.errors(), Errors{});
    EXPECT_EQ(r.global->version(), c.stored);
    EXPECT_EQ(r.out, c.out);
  }
}

TEST(Global, AShortListGivesTheDefaults) {
  GlobalRead r(file_of({",,;"}));
  ASSERT_TRUE(r.completed);
  EXPECT_EQ(r.result, &r.io());
  EXPECT_EQ(r.filer.errors(), Errors{});
  igs_global* g = r.global;
  EXPECT_STREQ(g->parameter_delimiter(), ",");
  EXPECT_STREQ(g->record_delimiter(), ";");
  EXPECT_EQ(g->file_name(), nullptr);
  EXPECT_EQ(g->model_space_scale(), 0.0);  // not 1.0
  EXPECT_EQ(g->unit_flag(), igs_unitFlag_none);
  EXPECT_EQ(g->max_num_line_weight_gradations(), 1);
  EXPECT_EQ(g->version(), 3);
  EXPECT_EQ(g->drafting_standard_code(), igs_draftingStandardCode_none);
  EXPECT_EQ(r.out, kWarning20);
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
TEST(Global, OneReportAndWhetherTheSectionFails) {
  const std::string unknown =
      " parsing global section: Global section contains unknown parameters";
  auto renamed = [](const char* name) {
    std::vector<std::string> g = section(",,", "11");
    g[0].replace(g[0].find("8Hpart.igs,"), 11, name);
    return g;
  };
  const struct {
    std::vector<std::string> g;
    bool fails;
    std::string error;
    bool poisoned;  // the file name and what follows it take their defaults
  } cases[] = {
      {section(",,", "11", "4Hmil1,5;"), true, "4:33" + unknown, false},
      {section(",,", "11", "4Hmil1,5,"), true, "4:34" + unknown, false},  // no record delimiter
      {section(",,", "11", "4Hmil1,,;"), true, "4:33" + unknown, false},
      {section(",,", "11", "4Hmil1,3Habc;"), false, "4:33 Missing delimiter after integer value",
       false},
      {renamed("9Hpart.igs,"), false, "2:21 Missing delimiter after string value", true},
      {renamed("7Hpart.igs,"), false, "2:19 Missing delimiter after string value", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.g[0] + "|" + c.g[2]);
    GlobalRead r(file_of(c.g), true);
    ASSERT_TRUE(r.completed);
    EXPECT_EQ(r.result == nullptr, c.fails);
    EXPECT_EQ(r.filer.errors(), Errors{c.error});
    EXPECT_STREQ(r.global->product_identification_sender(), "send");
    EXPECT_EQ(r.global->file_name() == nullptr, c.poisoned);
    EXPECT_EQ(r.global->version(), c.poisoned ? 3 : 11);
    EXPECT_EQ(r.global->milspec() == nullptr, c.poisoned);
    EXPECT_EQ(r.io().global_count, 3);
  }
}

TEST(Global, NoGlobalSection) {
  GlobalRead r(IgesText()
                   .S("a test file")
                   .S("second start record")
                   .D("     110       1       0       0       0       0       0       000000000")
                   .T()
                   .str());
  ASSERT_TRUE(r.completed);
  EXPECT_EQ(r.result, nullptr);
  EXPECT_EQ(r.filer.errors(),
            Errors{"3:73 Global section does not follow the start section in the file"});
  EXPECT_EQ(r.io().global_count, 0);
  EXPECT_EQ(r.io().line_number, 3);  // no record skipped
  EXPECT_EQ(r.io().f_rec_section, 'D');
  EXPECT_EQ(r.global->version(), 0);
  EXPECT_EQ(r.out, "");
}

namespace {

// The G records that write_global_section makes of global.
struct GlobalWritten {
  explicit GlobalWritten(igs_global* global) {
    io.fp = std::tmpfile();
    io.write_global_section(global);
    std::fflush(io.fp);
    std::rewind(io.fp);
    for (int c; (c = std::fgetc(io.fp)) != EOF;) text += static_cast<char>(c);
    std::fclose(io.fp);
  }
  // Columns 1 to 72 of each record, less trailing blanks.
  std::vector<std::string> data() const {
    std::vector<std::string> out;
    for (std::size_t at = 0; at + 81 <= text.size(); at += 81) {
      std::string d = text.substr(at, 72);
      out.push_back(d.erase(d.find_last_not_of(' ') + 1));
    }
    return out;
  }
  igeslib_test::CapturedReports reports;
  IgeslibIO io;
  std::string text;
};

}  // namespace

TEST(GlobalWrite, AbsentValuesAreEmptyParametersAndNoneIsLost) {
  ScratchDesign design("global");
  auto* g = new (design.design) igs_global;
  g->version(5);
  GlobalWritten w(g);
  EXPECT_EQ(w.data(), std::vector<std::string>{",,,,,,,,7,,15,,,-1,,,,,,,,,11,-1,;"});
  EXPECT_EQ(w.text.substr(72), "G      1\n");
  EXPECT_EQ(w.io.global_count, 1);
  EXPECT_EQ(g->version(), 11);
  EXPECT_EQ(g->single_precision_significance(), 7);
  EXPECT_EQ(g->double_precision_significance(), 15);
}

TEST(GlobalWrite, DelimitersOfTheFileOwn) {
  struct Case {
    const char* parameter;
    const char* record;
    const char* begins;  // the first record's data, up to the sender
    char ends;
    const char* error;  // null: no report, else nothing written
  };
  const Case cases[] = {
      {",", ";", ",,4Hsend,", ';', nullptr},
      {"", "", ",,4Hsend,", ';', nullptr},
      // The default record delimiter goes out as a bare comma, whatever the parameter one.
      {"/", ";", "1H//,4Hsend/", ';', nullptr},
      // A record delimiter of its own is stated with the parameter delimiter's text.
      {",", "!", ",1H,,4Hsend,", '!', nullptr},
      {"/", "!", "1H//1H//4Hsend/", '!', nullptr},
      {"//", ";", "", ' ', "write_global_section: parameter delimiter length > 1"},
      {",", ";;", "", ' ', "write_global_section: record delimiter length > 1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.parameter) + " " + c.record);
    ScratchDesign design("global");
    auto* g = new (design.design) igs_global;
    g->parameter_delimiter(c.parameter);
    g->record_delimiter(c.record);
    g->product_identification_sender("send");
    g->milspec("m");
    GlobalWritten w(g);
    std::vector<std::string> data = w.data();
    if (c.error) {
      EXPECT_EQ(w.text, "");
      EXPECT_EQ(w.io.global_count, 0);
      EXPECT_NE(w.reports.text().find(c.error), std::string::npos) << w.reports.text();
      continue;
    }
    EXPECT_EQ(w.reports.count(), 0u) << w.reports.text();
    ASSERT_EQ(data.size(), 1u);
    EXPECT_EQ(data[0].substr(0, std::strlen(c.begins)), c.begins);
    EXPECT_EQ(data[0].substr(data[0].size() - 4), std::string("1Hm") + c.ends);
  }
}
