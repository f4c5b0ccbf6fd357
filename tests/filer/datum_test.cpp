// Typed items of associativity and property instances: the kind told from the text, and the
// datum read for each kind.
#include <gtest/gtest.h>

#include "filer_fixture.h"
#include "model/model_support.h"

using igeslib_test::FilerOver;
using igeslib_test::IgesText;
using Errors = std::vector<std::string>;

TEST(Datum, KindToldFromTheText) {
  struct Case {
    const char* data;
    int item_type;
    int kind;
    const char* message;
  };
  const Case cases[] = {
      {"1.5,", 2, 2, nullptr},
      {"2Hab,", 2, 3, nullptr},
      {"12;", 2, 1, nullptr},
      {"1D3,", 2, 1, nullptr},
      {"5,", 1, 4, nullptr},
      {"5,", 3, 6, nullptr},
      {"5,", 7, 0, "determine_parameterData_type: associativity definition has invalid item type"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.data);
    FilerOver f(IgesText().P(1, c.data).str());
    ASSERT_TRUE(f.next());
    EXPECT_EQ(f.io.determine_parameterData_type(c.item_type), c.kind);
    EXPECT_EQ(f.io.column, 0);
    Errors expected;
    if (c.message) expected.push_back(std::string("1:1 ") + c.message);
    EXPECT_EQ(f.errors(), expected);
  }
  // After a defaulted parameter the field counts as unspecified.
  FilerOver f(IgesText().P(1, ",7,").str());
  ASSERT_TRUE(f.next());
  EXPECT_EQ(f.io.read_int(), 0);
  EXPECT_EQ(f.io.determine_parameterData_type(2), 0);
  EXPECT_EQ(f.io.column, 2);
  EXPECT_EQ(f.errors(),
            Errors{"1:3 parameter data field in an associativity or property instance is "
                   "unspecified"});
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
