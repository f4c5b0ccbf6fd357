// The attributes that a real file's entities point at reach their objects: a Directory colour
// its colour definition, a property list its name, an attribute table its values.
#include <string>

#include <gtest/gtest.h>

#include "support/corpus.h"
#include "support/file_read.h"

namespace {

std::string corpus_file(const char* name) {
  std::filesystem::path path = std::filesystem::path("../shared/corpus") / name;
  return std::filesystem::exists(path) ? igeslib_test::contents(path) : std::string();
}

TEST(CorpusAttributes, AColourAndANameReachTheirObjects) {
  std::string bytes = corpus_file("pyIGES__lbrackt.igs");
  if (bytes.empty()) GTEST_SKIP() << "../shared/corpus is absent";
  igeslib_test::FileRead read(bytes);
  ASSERT_EQ(read.reports.count(), 0u) << read.reports.text();
  // DE 259 (a section of copious data) has the colour -173: the colour definition at DE 173.
  auto* curve = read.entity<igs_annotation_entity>(129);
  ASSERT_NE(curve, nullptr);
  igs_color_definition_entity* colour = curve->color()->_color_definition_entity();
  ASSERT_EQ(colour, read.entity<igs_color_definition_entity>(86));
  EXPECT_STREQ(colour->cname(), "MAGENTA");
  EXPECT_EQ(colour->cc1(), 60.0);
  EXPECT_EQ(colour->cc3(), 40.0);
  // DE 297 lists the properties at DE 185, 187 and 189; the first is its name.
  igs_directory_entry* owner = (*read.file->directory_entries())[148];
  ASSERT_NE(owner, nullptr);
  ASSERT_EQ(owner->properties()->size(), 3u);
  auto* name = lumo_cast<igs_name_entity>((*owner->properties())[0]->_property_entity());
  ASSERT_NE(name, nullptr);
  EXPECT_STREQ(name->name(), "LBRACKT");
}

TEST(CorpusAttributes, AnAttributeTableDefinitionHoldsItsValues) {
  std::string bytes = corpus_file("pyiges__sample.igs");
  if (bytes.empty()) GTEST_SKIP() << "../shared/corpus is absent";
  igeslib_test::FileRead read(bytes);
  auto* table = read.entity<igs_attribute_table_definition_entity>(4);
  ASSERT_NE(table, nullptr);
  EXPECT_STREQ(table->name(), "KPOI_CMP");
  EXPECT_EQ(table->alt(), 5106);
  ASSERT_EQ(table->na(), 3);
  igs_attribute_definition* name = (*table->attribute_list())[0];
  EXPECT_EQ(name->avdt(), igs_variable_character_string);
  EXPECT_STREQ((*name->av())[0]->_str_val(), "__TMP_KEYP__");
  igs_attribute_definition* points = (*table->attribute_list())[2];
  ASSERT_EQ(points->av()->size(), 4u);
  EXPECT_EQ((*points->av())[3]->_int_val(), 4);
}

}  // namespace
