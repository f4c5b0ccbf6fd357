// The Global section on reading: the two delimiters, parameters 3 to 26 and their defaults,
// the coded units and drafting standard, the version warning, parameters past the 26th; and
// the Global section written.
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"
#include "support/corpus.h"
#include "support/model_support.h"

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
const std::string kWarning10 = "\tWARNING: File uses IGES specification 1.0\n" + kExpects;
const std::string kWarning20 = "\tWARNING: File uses IGES specification 2.0\n" + kExpects;
const std::string kWarning30 = "\tWARNING: File uses IGES specification 3.0\n" + kExpects;

}  // namespace

// Every parameter of a full section (with Fortran D exponents, either case), the defaults of a
// short one (the scale 0, not 1; one line weight gradation; version 3), and codes with no
// enumerator, which leave the value as it was.
TEST(Global, EveryParameterAndTheDefaults) {
  std::vector<std::string> unknown_codes = section(",,", "11");
  unknown_codes[0].replace(unknown_codes[0].rfind(",2,"), 3, ",99,");
  unknown_codes[2].replace(unknown_codes[2].find(",7,"), 3, ",8,");
  const std::string all =
      ",|;|send|part.igs|system|1.0|32|38|6|308|15|recv|5|MM|4|0.02|20240101.120000|0.0001|150|"
      "author|org|11|20240102.130000|mil1|";
  const struct {
    std::vector<std::string> g;
    std::string values;
    igs_unitFlag unit;
    igs_draftingStandardCode drafting;
    std::string out;
  } cases[] = {
      {section("1H,,1H;,", "11"), all, igs_unitFlag_millimeters, igs_draftingStandardCode_JIS, ""},
      {{",,;"},
       ",|;|-|-|-|-|0|0|0|0|0|-|0|-|1|0|-|0|0|-|-|3|-|-|",
       igs_unitFlag_none,
       igs_draftingStandardCode_none,
       kWarning20},
      {unknown_codes, all, igs_unitFlag_unspecified, igs_draftingStandardCode_unset, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.values);
    GlobalRead r(file_of(c.g), false, 3);
    ASSERT_TRUE(r.completed);
    EXPECT_EQ(r.result, &r.io());
    EXPECT_EQ(r.filer.errors(), Errors{});
    EXPECT_EQ(values_of(r.global), c.values);
    EXPECT_EQ(r.global->unit_flag(), c.unit);
    EXPECT_EQ(r.global->drafting_standard_code(), c.drafting);
    EXPECT_EQ(r.out, c.out);
    // Past the G records, and the D section's place kept for its phase.
    EXPECT_EQ(r.io().global_count, static_cast<int>(c.g.size()));
    ASSERT_EQ(std::fsetpos(r.io().fp, &r.io().section_position), 0);
    ASSERT_TRUE(r.filer.next());
    EXPECT_EQ(r.io().f_rec_section, 'D');
    EXPECT_EQ(r.io().sequence_number, 1);
  }
}

// Sections read with their delimiters, version and reports: what the section holds, the
// delimiters in force, the sender, file name, version and milspec fields, the G records
// counted, and whether the section failed. Rows without the text printed are read quiet.
TEST(Global, DelimitersVersionAndReports) {
  const std::string unknown = " parsing global section: Global section contains unknown parameters";
  auto renamed = [](const char* name) {
    std::vector<std::string> g = section(",,", "11");
    g[0].replace(g[0].find("8Hpart.igs,"), 11, name);
    return file_of(g);
  };
  auto full = [](const std::string& version, const std::string& end = "4Hmil1;") {
    return file_of(section(",,", version, end));
  };
  const std::string single = " delimiter must be a single character";
  const char* quiet = nullptr;
  const struct {
    std::string bytes, read;
    const char* out;     // null: read quiet, and nothing printed
    std::string errors;  // "|" between them
  } cases[] = {
      {file_of({",,4Hsend,8Hpart.igs;"}), ",; ,; send part.igs v3 - G1", quiet, ""},
      {file_of({"1H//1H;/4Hsend/8Hpart.igs;"}), "/; /; send part.igs v3 - G1", quiet, ""},
      {file_of({"1H##1H!#4Hsend#8Hpart.igs!"}), "#! #! send part.igs v3 - G1", quiet, ""},
      // The parameter delimiter must be followed by itself. Neither delimiter is then read:
      // both are reported, and the ones in force stay.
      {file_of({"1H/,4Hsend,8Hpart.igs;"}), " ,; - - v3 - G1 fails", quiet,
       "2:4 Missing delimiter after string value|2:4 Parameter" + single + "|2:4 Record" + single},
      // Too long: the first character wins, and the rest is read on to its end.
      {file_of({"2H,,,1H;,4Hsend,8Hpart.igs;"}), ",; ,; send part.igs v3 - G1 fails", quiet,
       "2:6 Parameter" + single},
      {file_of({",2H;;,4Hsend,8Hpart.igs;"}), ",; ,; send part.igs v3 - G1 fails", quiet,
       "2:7 Record" + single},
      {full(""), ",; ,; send part.igs v3 mil1 G3", kWarning20.c_str(), ""},
      {full(""), ",; ,; send part.igs v3 mil1 G3", quiet, ""},
      {full("0"), ",; ,; send part.igs v0 mil1 G3", kWarning20.c_str(), ""},
      {full("2"), ",; ,; send part.igs v2 mil1 G3", kWarning10.c_str(), ""},
      {full("3"), ",; ,; send part.igs v3 mil1 G3", kWarning20.c_str(), ""},
      {full("5"), ",; ,; send part.igs v5 mil1 G3", kWarning30.c_str(), ""},
      {full("6"), ",; ,; send part.igs v6 mil1 G3", "", ""},
      // Parameters past the last fail the section.
      {full("11", "4Hmil1,5;"), ",; ,; send part.igs v11 mil1 G3 fails", quiet, "4:33" + unknown},
      {full("11", "4Hmil1,5,"), ",; ,; send part.igs v11 mil1 G3 fails", quiet, "4:34" + unknown},
      {full("11", "4Hmil1,,;"), ",; ,; send part.igs v11 mil1 G3 fails", quiet, "4:33" + unknown},
      // A token error there ends the list, and a wrong Hollerith count poisons the rest,
      // without failing the section.
      {full("11", "4Hmil1,3Habc;"), ",; ,; send part.igs v11 mil1 G3", quiet,
       "4:33 Missing delimiter after integer value"},
      {renamed("9Hpart.igs,"), ",; ,; send - v3 - G3", quiet,
       "2:21 Missing delimiter after string value"},
      // With no Global section the read stops on the record after the Start section.
      {IgesText().S("a test file").S("second start record").D(" 110").T().str(),
       ",; ,; - - v0 - G0 fails", "",
       "3:73 Global section does not follow the start section in the file"},
  };
  auto text = [](const char* t) { return std::string(t ? t : "-"); };
  for (const auto& c : cases) {
    SCOPED_TRACE("row " + std::to_string(&c - cases));
    GlobalRead r(c.bytes, !c.out);
    ASSERT_TRUE(r.completed);
    igs_global* g = r.global;
    EXPECT_EQ(text(g->parameter_delimiter()) + text(g->record_delimiter()) + " " +
                  r.io().param_delimiter + r.io().record_delimiter + " " +
                  text(g->product_identification_sender()) + " " + text(g->file_name()) + " v" +
                  std::to_string(g->version()) + " " + text(g->milspec()) + " G" +
                  std::to_string(r.io().global_count) + (r.result ? "" : " fails"),
              c.read);
    std::string errors;
    for (const std::string& e : r.filer.errors()) errors += (errors.empty() ? "" : "|") + e;
    EXPECT_EQ(errors, c.errors);
    EXPECT_EQ(r.out, c.out ? c.out : "");
    EXPECT_EQ(r.io().f_rec_section, 'D');
  }
}

// Absent values are empty parameters, but for the 0 line weight gradations, which an empty one
// would not give back; none is lost, and the delimiters of the file's own are stated the way
// the reader takes them back.
TEST(GlobalWrite, AbsentValuesAndDelimitersOfTheFileOwn) {
  const struct {
    const char *parameter, *record;
    std::string data;  // the record's data; empty: nothing written, and this report
    const char* error;
  } cases[] = {
      {",", ";", ",,4Hsend,,,,,,7,,15,,,-1,,0,,,,,,,11,-1,,1Hm;", nullptr},
      {"", "", ",,4Hsend,,,,,,7,,15,,,-1,,0,,,,,,,11,-1,,1Hm;", nullptr},
      // The default record delimiter goes out as a bare comma, whatever the parameter one.
      {"/", ";", "1H//,4Hsend//////7//15///-1//0///////11/-1//1Hm;", nullptr},
      // A record delimiter of its own is stated with the parameter delimiter's text.
      {",", "!", ",1H,,4Hsend,,,,,,7,,15,,,-1,,0,,,,,,,11,-1,,1Hm!", nullptr},
      {"/", "!", "1H//1H//4Hsend//////7//15///-1//0///////11/-1//1Hm!", nullptr},
      {"//", ";", "", "write_global_section: parameter delimiter length > 1"},
      {",", ";;", "", "write_global_section: record delimiter length > 1"},
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
    igeslib_test::CapturedReports reports;
    IgeslibIO io;
    io.fp = std::tmpfile();
    io.write_global_section(g);
    std::string text = igeslib_test::slurp(io.fp);
    std::fclose(io.fp);
    std::string record = c.data;
    EXPECT_EQ(text, c.error ? "" : record.append(72 - record.size(), ' ') + "G      1\n");
    EXPECT_EQ(io.global_count, c.error ? 0 : 1);
    EXPECT_NE(reports.text().find(c.error ? c.error : ""), std::string::npos) << reports.text();
    EXPECT_EQ(reports.count(), c.error ? 1u : 0u);
    if (c.error) continue;
    EXPECT_EQ(g->version(), 11);
    EXPECT_EQ(g->single_precision_significance(), 7);
    EXPECT_EQ(g->double_precision_significance(), 15);
  }
}
