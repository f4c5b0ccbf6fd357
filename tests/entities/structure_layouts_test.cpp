// Parameter data of the structure entities stated as layouts: colour, properties, standard
// associativities and subfigure instances, read, written and read again; each odd rule a case.
#include <string>

#include <gtest/gtest.h>

#include "entities/entity_files.h"

using igeslib_test::Entry;
using igeslib_test::FileRead;
using igeslib_test::iges_file;
using igeslib_test::parameters_of;
using igeslib_test::written;

namespace {

// The record under test is the third entity of its file, after a line (DE 1) and a point
// (DE 3) for its pointers to name.
const struct {
  const char* name;
  Entry entry;
  std::string out;  // as written with zeros kept; "" for the same as read
} kCases[] = {
    {"colour", {314, 0, "314,100.,50.,0.,6HORANGE;"}, ""},
    {"colour of form 1", {314, 1, "314,1.,2.,3.,;"}, "314,1.,2.,3.,;"},
    {"name", {406, 15, "406,1,4HPART;"}, ""},
    {"constant count written as the class's", {406, 10, "406,1,1,2;"}, "406,6,1,2,0,0,0,0;"},
    {"definition levels", {406, 1, "406,3,1,5,250;"}, ""},
    {"nominal size without its name", {406, 13, "406,2,2.5,2HM3;"}, ""},
    {"nominal size with its name", {406, 13, "406,3,2.5,2HM3,3HISO;"}, ""},
    {"generic data of every kind", {406, 27, "406,5,1HG,5,1,7,2,0.5,3,1HS,4,3,6,1;"}, ""},
    // Code 5 is no kind: it takes the place of a value, and nothing is written for it.
    {"generic data of an unknown code", {406, 27, "406,3,1HG,2,5,1,9;"}, "406,3,1HG,2,1,9;"},
    {"user-defined property", {406, 5001, "406,3,7,2.5,2HAB;"}, ""},
    {"group", {402, 1, "402,2,1,3;"}, ""},
    {"group member naming nothing", {402, 7, "402,2,1,99;"}, "402,1,1;"},
    {"single parent", {402, 9, "402,1,1,1,3;"}, ""},
    {"label display", {402, 5, "402,1,0,1.,2.,3.,0,4,3;"}, ""},
    {"associativity definition", {302, 5001, "302,2,1,1,2,1,2,2,0,1,3;"}, ""},
    {"singular subfigure instance of no definition", {408, 0, "408,0,1.,2.,3.,1.;"}, ""},
    {"rectangular array on the first entity",
     {412, 0, "412,0,1.,0.,0.,0.,2,2,1.,1.,0.,0,1;"},
     "412,1,1.,0.,0.,0.,2,2,1.,1.,0.,0,1;"},
    {"circular array of a point", {414, 0, "414,3,4,0.,0.,0.,5.,0.,1.5,2,1,1,3;"}, ""},
    {"external reference of form 2", {416, 2, "416,4HA.IG,3HBOX;"}, ""},
    {"external reference file index", {402, 12, "402,1,3HBOX,3;"}, ""},
    {"node", {134, 0, "134,1.,2.,3.,0;"}, ""},
    {"connect point of no owner", {132, 0, "132,1.,2.,3.,0,1,2,2HC1,0,,0,5,1,1,0;"}, ""},
    {"network instance of no network definition",
     {420, 0, "420,3,0.,0.,0.,1.,1.,1.,0,3HNET,0,0;"},
     "420,0,0.,0.,0.,1.,1.,1.,0,3HNET,0,0;"},
    {"element of empty node slots", {136, 0, "136,1,2,0,0,4HBEAM;"}, ""},
    // The number of a result's node is the node's subscript; a result of no node writes 0.
    {"nodal results", {146, 0, "146,0,1,0.5,2,1,7,0,1.5,2.5;"}, "146,0,1,0.5,2,1,0,0,1.5,2.5;"},
};

TEST(StructureLayouts, RecordsReadWriteAndSettle) {
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    FileRead read(
        iges_file({{110, 0, "110,0.,0.,0.,1.,0.,0.;"}, {116, 0, "116,1.,2.,3.,0;"}, c.entry}));
    ASSERT_EQ(read.size(), 3u);
    EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
    std::string first = written(read, 0);
    EXPECT_EQ(parameters_of(first, 5), c.out.empty() ? c.entry.parameters : c.out);
    FileRead again(first);
    EXPECT_EQ(written(again, 0), first);
  }
}

TEST(StructureLayouts, ValuesThroughTheAccessors) {
  FileRead read(iges_file({{110, 0, "110,0.,0.,0.,1.,0.,0.;"},
                           {116, 0, "116,1.,2.,3.,0;"},
                           {406, 27, "406,5,1HG,5,1,7,2,0.5,3,1HS,4,3,6,1;"},
                           {414, 0, "414,3,4,0.,0.,0.,5.,0.,1.5,2,1,1,3;"},
                           {402, 9, "402,1,1,1,3;"}}));
  auto* data = read.entity<igs_generic_data_entity>(2);
  ASSERT_NE(data, nullptr);
  ASSERT_EQ(data->nv(), 5);
  EXPECT_EQ((*data->values())[0]->_int_val(), 7);
  EXPECT_EQ((*data->values())[2]->_str_val(), std::string("S"));
  EXPECT_EQ((*data->values())[3]->_directory_entry(), read.entity<igs_point_entity>(1));
  auto* array = read.entity<igs_circular_array_subfigure_instance_entity>(3);
  ASSERT_NE(array, nullptr);
  EXPECT_EQ(array->de()->_point_entity(), read.entity<igs_point_entity>(1));
  EXPECT_EQ(array->ddf(), 1);
  EXPECT_EQ(array->lc(), 2);
  auto* parent = read.entity<igs_single_parent_entity>(4);
  ASSERT_NE(parent, nullptr);
  EXPECT_EQ(parent->de(), read.entity<igs_line_entity>(0));
  EXPECT_EQ((*parent->children())[0], read.entity<igs_point_entity>(1));
}

}  // namespace
