// The Parameter Data section: each entity's parameters to its own code, the back-pointer lists
// behind them, the mismatch test, and the recovery at the next change of DE pointer.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"

using igeslib_test::FileRead;
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
      {line + ",2,3;", 1, 0, true, false,
       {at + "26" + lists + "Value for the associativity pointer not specified"}},
      {line + ",,1,5;", 0, 1, false, true, {}},
      // a line is no associativity and no property; 99 names no entity
      {line + ",1,7;", 1, 0, false, false,
       {at + "26" + lists + "Illegal entity type in association list"}},
      {line + ",0,1,1;", 0, 1, false, false,
       {at + "28" + lists + "Illegal entity type in property list"}},
      {line + ",1,99;", 1, 0, false, false,
       {at + "27" + lists + "Illegal entity type in association list"}},
      {line + ",0,1,;", 0, 0, false, false,
       {at + "27" + lists + "Value for the property pointer not specified"}},
      {line + ",0,0,7;", 0, 0, false, false,
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

TEST(ParameterSection, MismatchedOrUnknownEntityIsSkippedAndTheNextRead) {
  struct Case {
    const char* label;
    int pointer;
    std::string data;
  } const cases[] = {
      {"a point's parameters for a line", 1, "116,1.,2.,3.;"},
      {"a DE pointer that names no entity", 99, "110,1.,2.,3.,4.,5.,6.;"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    FileRead read(four_entities({{c.pointer, c.data}, {c.pointer, "more of the same"}}));
    ASSERT_EQ(read.result, read.file);
    EXPECT_EQ(read.entity<igs_line_entity>(0)->x1(), 0.0);  // left unread
    EXPECT_EQ(read.errors(),
              Errors{"11:5 parse_pd_section: Entity type in the PD section does not match the "
                     "entity pointed to by the sequence number"});
    expect_second_line_read(read);
  }
}

TEST(ParameterSection, TokenErrorSkipsTheRestOfTheEntity) {
  FileRead read(four_entities({{1, "110,1.,2.,x3.,4.,"}, {1, "5.,6.,0,0;"}}));
  ASSERT_EQ(read.result, read.file);
  auto* first = read.entity<igs_line_entity>(0);
  EXPECT_EQ(first->x1(), 1.0);
  EXPECT_EQ(first->y1(), 2.0);
  EXPECT_EQ(first->z1(), 0.0);
  EXPECT_EQ(first->y2(), 0.0);  // the rest of the entity reads zeros
  ASSERT_EQ(read.errors().size(), 1u);
  EXPECT_EQ(read.errors()[0], "11:11 Invalid floating point value");
  expect_second_line_read(read);
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

TEST(ParameterSection, TwoRunsOfOneEntityAreReadTwice) {
  IgesText text = head();
  text.DE(116, 0).DE(110, 0);
  text.P(1, "116,1.,2.,3.;").P(3, "110,1.,1.,1.,2.,2.,2.;").P(1, "116,4.,5.,6.;").T();
  FileRead read(text.str());
  EXPECT_EQ(read.entity<igs_point_entity>(0)->x(), 4.0);
  EXPECT_EQ(read.errors(), Errors{});
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

TEST(ParameterSection, EntityWithoutParameterLinesKeepsItsDirectoryValues) {
  IgesText text = head();
  text.DE(110, 0, 1, 1, "KEPT").DE(116, 0);
  text.P(3, "116,1.,2.,3.;").T();
  FileRead read(text.str());
  EXPECT_EQ(read.errors(), Errors{});
  EXPECT_STREQ(read.entity<igs_line_entity>(0)->label(), "KEPT");
  EXPECT_EQ(read.entity<igs_point_entity>(1)->x(), 1.0);
}

}  // namespace
