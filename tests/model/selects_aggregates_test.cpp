// Selects, aggregates and the load lists.
#include <gtest/gtest.h>

#include "model/model_support.h"

namespace {

TEST(Selects, ChoiceAndSlot) {
  ScratchDesign design;
  auto* datum = new (design.design) igs_datum;
  EXPECT_FALSE(datum->is_int_val());
  EXPECT_EQ(datum->_int_val(), 0);
  datum->_int_val(7);
  EXPECT_TRUE(datum->is_int_val());
  EXPECT_EQ(datum->_int_val(), 7);
  datum->_float_val(2.5);
  EXPECT_FALSE(datum->is_int_val());
  EXPECT_TRUE(datum->is_float_val());

  datum->_str_val("text");
  EXPECT_STREQ(datum->_str_val(), "text");
  auto* line = new (design.design) igs_line_entity;
  datum->_directory_entry(line);
  EXPECT_TRUE(datum->is_directory_entry());
  EXPECT_EQ(datum->_directory_entry(), line);
  EXPECT_EQ(lumo_cast(datum->getObject(0), lumotype_igs_directory_entry),
            static_cast<igs_directory_entry*>(line));
  datum->_directory_entry(nullptr);  // accepted: the choice is set, the slot null
  EXPECT_TRUE(datum->is_directory_entry());
  EXPECT_EQ(datum->_directory_entry(), nullptr);
}

TEST(Selects, IntCodedChoices) {
  ScratchDesign design;
  auto* color = new (design.design) igs_entity_color;
  EXPECT_FALSE(color->_color_number(9));
  EXPECT_FALSE(color->is_color_number());
  EXPECT_EQ(color->getAttribute(nullptr), nullptr);
  EXPECT_TRUE(color->_color_number(8));
  EXPECT_TRUE(color->is_color_number());
  EXPECT_EQ(color->_color_number(), igs_color_number_white);

  auto* font = new (design.design) igs_lineFont;
  EXPECT_TRUE(font->_line_pattern(1));
  EXPECT_EQ(font->_line_pattern(), igs_line_pattern_solid);
  auto* ops = new (design.design) igs_boolean_ops;
  EXPECT_TRUE(ops->_boolean_op_code(3));
  EXPECT_EQ(ops->_boolean_op_code(), igs_boolean_op_code_difference);
}

TEST(Aggregates, ElementTypesAndTheEnumerationArray) {
  ScratchDesign design;
  auto* points = new (design.design) ListOfigs_coordinate(0);
  EXPECT_EQ(&points->slotType(nullptr, 0), &lumotype_igs_coordinate);
  auto* types = new (design.design) ArrayOfigs_variable_type(0);
  EXPECT_EQ(types->first(), igs_variable_type_unset);
  types->put(igs_variable_type_pressure, 1);
  EXPECT_EQ(types->size(), 2u);
  EXPECT_EQ((*types)[1], igs_variable_type_pressure);
  EXPECT_EQ((*types)[2], igs_variable_type_unset);
  EXPECT_TRUE(types->variable_type_asInt(8, 0));
  EXPECT_EQ((*types)[0], igs_variable_type_strain);
  EXPECT_FALSE(types->variable_type_asInt(9, 0));
  EXPECT_EQ(types->find(igs_variable_type_pressure), 1u);
  EXPECT_EQ(&types->slotType(nullptr, 0), &lumotype_igs_variable_type);
}

TEST(LoadLists, ForceLoadTwiceChangesNothing) {
  load_model();
  LumoDomain* before = lumotype_igs_circular_arc_entity->domain;
  ASSERT_NE(before, nullptr);
  std::size_t objects = LUMO.dictionary()->objectCount();
  igeslib_force_load();
  EXPECT_EQ(lumotype_igs_circular_arc_entity->domain, before);
  EXPECT_EQ(LUMO.dictionary()->objectCount(), objects);
  EXPECT_TRUE(lumotype_ListOfListOfArrayOfDouble->bound());
  EXPECT_STREQ(lumotype_ListOfListOfigs_coordinate->name, "ListOfListOfcoordinate");
  EXPECT_STREQ(lumotype_igs_line_pattern->name, "line_pattern");
}

}  // namespace
