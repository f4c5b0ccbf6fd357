// The Parameter Data section: each entity's parameters to its own code, the back-pointer lists
// behind them, the mismatch test, the recovery at the next change of DE pointer, the typed
// items of associativity and property instances, and the bounds on counts from hostile input.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"
#include "model/model_support.h"

using igeslib_test::FileRead;
using igeslib_test::FilerOver;
using igeslib_test::IgesText;
using Errors = std::vector<std::string>;

namespace {

// S and G records that read without a word.
IgesText head() {
  IgesText text;
  text.S("parameter data test").G("1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;");
  return text;
}

// Four entities: a line (DE 1), a group (DE 3), a name property (DE 5) and a line (DE 7),
// with the given P records; the second line always reads "110,4.,5.,6.,7.,8.,9.;".
std::string four_entities(const std::vector<std::pair<int, std::string>>& p_records) {
  IgesText text = head();
  text.DE(110, 0).DE(402, 1).DE(406, 15).DE(110, 0);
  for (const auto& [pointer, data] : p_records) text.P(pointer, data);
  return text.P(7, "110,4.,5.,6.,7.,8.,9.;").T().str();
}

void expect_second_line_read(FileRead& read) {
  auto* line = read.entity<igs_line_entity>(3);
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->x1(), 4.0);
  EXPECT_EQ(line->z2(), 9.0);
}

TEST(ParameterSection, BackPointerLists) {
  const std::string line = "110,1.,2.,3.,4.,5.,6.";
  const std::string at = "11:", lists = " assoc_prop_parse: ";
  struct Case {
    std::string data;
    unsigned associations, properties;
    bool group_chosen, name_chosen;
    Errors errors;
  } const cases[] = {
      {line + ";", 0, 0, false, false, {}},
      {line + ",0,0;", 0, 0, false, false, {}},
      {line + ",,;", 0, 0, false, false, {}},
      {line + ",2,3;",
       1,
       0,
       true,
       false,
       {at + "26" + lists + "Value for the associativity pointer not specified"}},
      {line + ",,1,5;", 0, 1, false, true, {}},
      // a line is no associativity and no property; 99 names no entity
      {line + ",1,7;",
       1,
       0,
       false,
       false,
       {at + "26" + lists + "Illegal entity type in association list"}},
      {line + ",0,1,1;",
       0,
       1,
       false,
       false,
       {at + "28" + lists + "Illegal entity type in property list"}},
      {line + ",1,99;",
       1,
       0,
       false,
       false,
       {at + "27" + lists + "Illegal entity type in association list"}},
      {line + ",0,1,;",
       0,
       0,
       false,
       false,
       {at + "27" + lists + "Value for the property pointer not specified"}},
      {line + ",0,0,7;",
       0,
       0,
       false,
       false,
       {"11:28 parse_pd_section: Unknown parameters after associativity and property fields"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.data);
    FileRead read(four_entities({{1, c.data}}));
    ASSERT_EQ(read.result, read.file);
    auto* first = read.entity<igs_line_entity>(0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->x1(), 1.0);
    EXPECT_EQ(first->z2(), 6.0);
    ASSERT_EQ(first->associations()->size(), c.associations);
    ASSERT_EQ(first->properties()->size(), c.properties);
    if (c.associations) {
      igs_associativities* a = (*first->associations())[0];
      EXPECT_EQ(a->_associativity_entity() == read.entity<igs_group_entity>(1), c.group_chosen);
      if (!c.group_chosen) {
        EXPECT_EQ(a->getAttribute(nullptr), nullptr);  // an empty select
      }
    }
    if (c.properties) {
      igs_properties* p = (*first->properties())[0];
      EXPECT_EQ(p->_property_entity() == read.entity<igs_name_entity>(2), c.name_chosen);
    }
    EXPECT_EQ(read.errors(), c.errors);
    expect_second_line_read(read);
  }
}

// An entity whose parameters don't match its Directory pair, or fail as a token, is skipped
// from there on, and the next entity read.
TEST(ParameterSection, FailedEntityIsSkippedAndTheNextRead) {
  const std::string mismatch =
      "11:5 parse_pd_section: Entity type in the PD section does not match the entity pointed to "
      "by the sequence number";
  const struct {
    const char* label;
    std::vector<std::pair<int, std::string>> records;
    double x1, y1;
    std::string error;
  } cases[] = {
      {"a point's parameters for a line", {{1, "116,1.,2.,3.;"}, {1, "more"}}, 0, 0, mismatch},
      {"a DE pointer that names no entity",
       {{99, "110,1.,2.,3.,4.,5.,6.;"}, {99, "more"}},
       0,
       0,
       mismatch},
      {"a token error",
       {{1, "110,1.,2.,x3.,4.,"}, {1, "5.,6.,0,0;"}},
       1,
       2,
       "11:11 Invalid floating point value"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    FileRead read(four_entities(c.records));
    ASSERT_EQ(read.result, read.file);
    auto* first = read.entity<igs_line_entity>(0);
    EXPECT_EQ(first->x1(), c.x1);
    EXPECT_EQ(first->y1(), c.y1);
    EXPECT_EQ(first->z1(), 0.0);  // the rest of the entity reads zeros
    EXPECT_EQ(first->y2(), 0.0);
    EXPECT_EQ(read.errors(), Errors{c.error});
    expect_second_line_read(read);
  }
}

TEST(ParameterSection, OrderOfEntitiesAndParameterPointersDontMatter) {
  IgesText forward = head();
  forward.DE(110, 0, 1).DE(116, 0, 2);
  forward.P(1, "110,1.,2.,3.,4.,5.,6.;").P(3, "116,7.,8.,9.;").T();
  IgesText reverse = head();
  reverse.DE(110, 0, 99).DE(116, 0, 0);  // wrong parameter pointers as well
  reverse.P(3, "116,7.,8.,9.;").P(1, "110,1.,2.,3.,4.,5.,6.;").T();
  for (const IgesText* text : {&forward, &reverse}) {
    FileRead read(text->str());
    ASSERT_EQ(read.result, read.file);
    EXPECT_EQ(read.errors(), Errors{});
    EXPECT_EQ(read.entity<igs_line_entity>(0)->z2(), 6.0);
    EXPECT_EQ(read.entity<igs_point_entity>(1)->z(), 9.0);
  }
}

// Two runs of lines for one entity read it twice, the second winning; an entity with no lines
// keeps its Directory values.
TEST(ParameterSection, TwoRunsOrNoneForAnEntity) {
  IgesText text = head();
  text.DE(110, 0, 1, 1, "KEPT").DE(116, 0).DE(110, 0);
  text.P(3, "116,1.,2.,3.;").P(5, "110,1.,1.,1.,2.,2.,2.;").P(3, "116,4.,5.,6.;").T();
  FileRead read(text.str());
  EXPECT_EQ(read.errors(), Errors{});
  EXPECT_STREQ(read.entity<igs_line_entity>(0)->label(), "KEPT");
  EXPECT_EQ(read.entity<igs_point_entity>(1)->x(), 4.0);
  EXPECT_EQ(read.entity<igs_line_entity>(2)->x2(), 2.0);
}

TEST(ParameterSection, UnplacedEntityKeepsItsLinesWithTheirBackPointers) {
  IgesText text = head();
  text.DE(999, 2, 1, 3).DE(110, 0, 4, 1);
  text.P(1, "999,11,22,").P(1, "33,1HA,").P(1, "44,1,3;");
  text.P(3, "110,1.,2.,3.,4.,5.,6.;").T();
  FileRead read(text.str());
  ASSERT_EQ(read.result, read.file);
  EXPECT_EQ(read.errors(), Errors{});
  auto* raw = read.entity<igs_null_entity>(0);
  ASSERT_NE(raw, nullptr);
  ListOfString* lines = raw->parameter_data_records();
  ASSERT_EQ(lines->size(), 3u);
  EXPECT_EQ(std::string((*lines)[0]), "11,22," + std::string(54, ' '));  // to column 64
  EXPECT_EQ(std::string((*lines)[2]).substr(0, 7), "44,1,3;");
  EXPECT_EQ(raw->associations()->size(), 0u);  // the lists stay in the text
  EXPECT_EQ(read.entity<igs_line_entity>(1)->x2(), 4.0);
}

TEST(Datum, KindToldFromTheText) {
  const char* invalid =
      "1:1 determine_parameterData_type: associativity definition has invalid "
      "item type";
  const struct {
    const char* data;
    int item_type, kind;
    const char* error;
  } cases[] = {{"1.5,", 2, 2, nullptr}, {"2Hab,", 2, 3, nullptr}, {"12;", 2, 1, nullptr},
               {"1D3,", 2, 1, nullptr}, {"5,", 1, 4, nullptr},    {"5,", 3, 6, nullptr},
               {"5,", 7, 0, invalid}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.data);
    FilerOver f(IgesText().P(1, c.data).str());
    ASSERT_TRUE(f.next());
    EXPECT_EQ(f.io.determine_parameterData_type(c.item_type), c.kind);
    EXPECT_EQ(f.io.column, 0);
    EXPECT_EQ(f.errors(), c.error ? Errors{c.error} : Errors{});
  }
  // After a defaulted parameter the field counts as unspecified.
  FilerOver f(IgesText().P(1, ",7,").str());
  ASSERT_TRUE(f.next());
  EXPECT_EQ(f.io.read_int(), 0);
  EXPECT_EQ(f.io.determine_parameterData_type(2), 0);
  EXPECT_EQ(f.io.column, 2);
  EXPECT_EQ(f.errors(), Errors{"1:3 parameter data field in an associativity or property "
                               "instance is unspecified"});
}

TEST(Datum, ReadEachKindIntoTheList) {
  ScratchDesign current("datum test");
  LumoDesign* before = LUMO.useDesign(current);
  auto* entities = new (current.design) ListOfigs_directory_entry(0);
  auto* first = new (current.design) igs_line_entity;
  auto* second = new (current.design) igs_line_entity;
  entities->add(first).add(second);
  auto* list = new (current.design) ListOfigs_datum(0);
  FilerOver f(IgesText().P(1, "7,2.5,3Habc,3,-1,9,99,,").str());
  ASSERT_TRUE(f.next());
  for (int kind : {1, 2, 3, 4, 6, 6, 4, 1, 0}) f.io.read_datum(list, kind, entities);
  ASSERT_EQ(list->size(), 9u);
  EXPECT_EQ((*list)[0]->_int_val(), 7);
  EXPECT_EQ((*list)[1]->_float_val(), 2.5);
  EXPECT_STREQ((*list)[2]->_str_val(), "abc");
  EXPECT_EQ((*list)[3]->_directory_entry(), second);
  EXPECT_EQ((*list)[4]->_directory_entry(), first);
  EXPECT_TRUE((*list)[5]->is_int_val());
  EXPECT_EQ((*list)[5]->_int_val(), 9);
  EXPECT_EQ((*list)[6]->_directory_entry(), nullptr);  // no entity 99
  EXPECT_TRUE((*list)[7]->is_int_val());               // defaulted: its zero
  EXPECT_EQ((*list)[7]->_int_val(), 0);
  EXPECT_EQ((*list)[8]->getAttribute(nullptr), nullptr);  // kind 0: unset
  EXPECT_EQ(f.errors(), Errors{});
  LUMO.useDesign(before);
}

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
  IgesText text = head();
  for (int i = 0; i < lines; ++i) text.DE(110, 0, i + 1, 1);
  text.DE(116, 0, lines + 1, 1);
  for (int i = 0; i < lines; ++i) text.P(2 * i + 1, "110,1.,2.,3.,4.,5.,6.," + associations + ";");
  text.P(2 * lines + 1, "116,7.,8.,9.;");
  return text.T().str();
}

// Counts are trusted, but items made up past the end of a record are limited per entity and
// per read: past the first allowance the entity is skipped (kept as far as it was read), past
// the second the read stops.
TEST(Limits, ItemsMadeUpPastTheEndOfARecord) {
  const IgeslibLimits defaults;
  const struct {
    unsigned long per_entity, per_read;
    int lines;
    const char* announced;
    bool completes;
    unsigned missing, skipped;
    const char* last;
  } cases[] = {
      {defaults.items_past_end_per_entity, defaults.items_past_end_per_read, 1, "3277,1", true,
       3276, 0, "Value for the associativity pointer not specified"},
      // The first missing pointer meets the record delimiter; ten more are made up past it.
      {10, 1000, 1, "2000000000", true, 11, 1,
       "Entity skipped: more than 10 parameters read past the end of its record"},
      {10, 25, 3, "2000000000", false, 26, 2,
       "Read stopped: more than 25 parameters read past the ends of records"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.last);
    Limits limits(c.per_entity, c.per_read);
    FileRead read(lines_announcing(c.lines, c.announced));
    EXPECT_EQ(read.result != nullptr, c.completes);
    Errors errors = read.errors();
    auto count_of = [&errors](const std::string& message) {
      unsigned n = 0;
      for (const std::string& e : errors) n += e.find(message) != std::string::npos;
      return n;
    };
    EXPECT_EQ(count_of("Value for the associativity pointer not specified"), c.missing);
    EXPECT_EQ(count_of("Entity skipped"), c.skipped);
    ASSERT_FALSE(errors.empty());
    EXPECT_NE(errors.back().find(c.last), std::string::npos) << errors.back();
    if (c.completes) {
      EXPECT_EQ(read.entity<igs_line_entity>(0)->z2(), 6.0);
      EXPECT_EQ(read.entity<igs_point_entity>(c.lines)->z(), 9.0);
    }
  }
}

TEST(Limits, CountsAndCapacityHints) {
  Limits limits(10, 1000);
  IgeslibIO io;
  io.file_bytes = 1000;
  io.in_entity = true;
  EXPECT_EQ(io.count(-5), 0);
  EXPECT_EQ(io.count(510), 510);  // half the bytes, and the allowance past the end
  igeslib_test::CapturedReports reports;
  EXPECT_FALSE(igeslib_catch_skip([&] { io.count(511); }));
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
