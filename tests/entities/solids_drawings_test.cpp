// Parameter data of the constructive solids, the annotation entities, views and drawings, read,
// written and read again, each odd rule a case.
#include <string>

#include <gtest/gtest.h>

#include "entities/entity_files.h"

using igeslib_test::Entry;
using igeslib_test::FileRead;
using igeslib_test::iges_file;
using igeslib_test::parameters_of;
using igeslib_test::written;

namespace {

// The record under test is the fifth entity of its file (DE 9), after a sphere (DE 1), a
// block (DE 3), a matrix (DE 5) and a text font (DE 7).
const std::vector<Entry> kTargets = {
    {158, 0, "158,1.,0.,0.,0.;"},
    {150, 0, "150,1.,1.,1.,0.,0.,0.,1.,0.,0.,0.,0.,1.;"},
    {124, 0, "124,1.,0.,0.,0.,0.,1.,0.,0.,0.,0.,1.,0.;"},
    {310, 0, "310,1,4HSTD1,0,8,0;"},
};

const struct {
  const char* name;
  Entry entry;
  std::string out;  // as written with zeros kept; "" for the same as read
} kCases[] = {
    {"sphere of nothing", {158, 0, "158;"}, "158,0.,0.,0.,0.;"},
    {"wedge", {152, 0, "152,1.,2.,3.,0.5,0.,0.,0.,1.,0.,0.,0.,0.,1.;"}, ""},
    {"solid of revolution of form 1", {162, 1, "162,0,0.5,0.,0.,0.,0.,0.,1.;"}, ""},
    {"boolean tree", {180, 0, "180,3,-1,-3,1;"}, ""},
    {"boolean tree of operands only", {180, 0, "180,5,-1,-3,1,-3,2;"}, ""},
    // The first two items are operands whatever their sign: 1 and 3 name nothing.
    {"boolean tree of positive operands", {180, 0, "180,2,1,3;"}, "180,2,1,1;"},
    {"assembly with one matrix", {184, 0, "184,2,1,3,0,5;"}, ""},
    {"solid instance", {430, 0, "430,3;"}, ""},
    {"note of two strings and a font definition",
     {212, 0, "212,2,3,1.,2.,-7,0.,0.,0,0,1.,2.,0.,3HONE,3,1.,2.,1,0.,0.,0,0,1.,2.,0.,3HTWO;"},
     ""},
    {"note whose count of characters is off",
     {212, 0, "212,1,9,1.,2.,1,0.,0.,0,0,1.,2.,0.,3HONE;"},
     "212,1,3,1.,2.,1,0.,0.,0,0,1.,2.,0.,3HONE;"},
    {"leader", {214, 2, "214,2,0.5,0.25,0.,1.,2.,3.,4.,5.,6.;"}, ""},
    {"witness line whatever its IP", {106, 40, "106,2,1,0.,1.,2.;"}, "106,1,1,0.,1.,2.;"},
    {"template of font 0",
     {312, 0, "312,1.,2.,0,0.,0.,0,0,1.,2.,3.;"},
     "312,1.,2.,1,0.,0.,0,0,1.,2.,3.;"},
    {"template on a font definition",
     {312, 1, "312,1.,2.,-7,0.,0.,0,0,1.,2.,3.;"},
     "312,1.,2.,7,0.,0.,0,0,1.,2.,3.;"},
    {"view volume of no planes", {410, 0, "410,1,1.,0,0,0,0,0,0;"}, ""},
    {"drawing of form 1", {404, 1, "404,1,0,1.,2.,0.5,1,3;"}, ""},
    {"drawing of form 0", {404, 0, "404,1,0,1.,2.,1,3;"}, ""},
};

TEST(SolidsAndDrawings, RecordsReadWriteAndSettle) {
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    std::vector<Entry> entries = kTargets;
    entries.push_back(c.entry);
    FileRead read(iges_file(entries));
    ASSERT_EQ(read.size(), 5u);
    EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
    std::string first = written(read, 0);
    EXPECT_EQ(parameters_of(first, 9), c.out.empty() ? c.entry.parameters : c.out);
    FileRead again(first);
    EXPECT_EQ(written(again, 0), first);
  }
}

// A small drawing: a view, a drawing that holds a linear dimension with its note, two
// leaders and two witness lines; every pointer lands on its object.
TEST(SolidsAndDrawings, ASmallDrawingReadsWholeAndWritesBack) {
  const std::vector<Entry> drawing = {
      {410, 0, "410,1,1.,0,0,0,0,0,0;"},                       // DE 1
      {212, 0, "212,1,4,2.,1.,1,0.,0.,0,0,3.,4.,0.,4H10.0;"},  // DE 3
      {214, 1, "214,1,0.5,0.2,0.,0.,0.,2.,0.;"},               // DE 5
      {214, 1, "214,1,0.5,0.2,0.,10.,0.,8.,0.;"},              // DE 7
      {106, 40, "106,1,2,0.,0.,0.,0.,5.;"},                    // DE 9
      {106, 40, "106,1,2,0.,10.,0.,10.,5.;"},                  // DE 11
      {216, 0, "216,3,5,7,9,11;"},                             // DE 13
      {404, 0, "404,1,1,0.,0.,1,13;"},                         // DE 15
  };
  FileRead read(iges_file(drawing));
  ASSERT_EQ(read.size(), drawing.size());
  EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
  auto* dimension = read.entity<igs_linear_dimension_entity>(6);
  ASSERT_NE(dimension, nullptr);
  EXPECT_EQ(dimension->denote(), read.entity<igs_general_note_entity>(1));
  EXPECT_EQ(dimension->dearrw1(), read.entity<igs_leader_arrow_entity>(2));
  EXPECT_EQ(dimension->dearrw2(), read.entity<igs_leader_arrow_entity>(3));
  EXPECT_EQ(dimension->dewit1(), read.entity<igs_witness_line_entity>(4));
  EXPECT_EQ(dimension->dewit2(), read.entity<igs_witness_line_entity>(5));
  auto* sheet = read.entity<igs_drawing_entity>(7);
  ASSERT_NE(sheet, nullptr);
  EXPECT_EQ((*sheet->views())[0]->vptr(), read.entity<igs_view_volume_entity>(0));
  EXPECT_EQ((*sheet->dptr())[0], dimension);
  igs_text_string* text = (*read.entity<igs_general_note_entity>(1)->strings())[0];
  EXPECT_STREQ(text->text(), "10.0");
  EXPECT_EQ(text->fc()->_int_val(), 1);
  std::string bytes = written(read, 0);
  for (unsigned i = 0; i < drawing.size(); ++i)
    EXPECT_EQ(parameters_of(bytes, static_cast<int>(2 * i + 1)), drawing[i].parameters);
  FileRead again(bytes);
  EXPECT_EQ(written(again, 0), bytes);
}

}  // namespace

namespace {

// Selects chosen by the entity type of what they name: a 106 of another form sets the member
// to null, a line sets no member.
TEST(SolidsAndDrawings, SelectsChosenByEntityType) {
  FileRead read(iges_file({{106, 1, "106,1,1,0.,1.,2.;"},
                           {110, 0, "110,0.,0.,0.,1.,0.,0.;"},
                           {220, 0, "220,0,0,1;"},
                           {230, 0, "230,3,1,0.,0.,0.,1.,0.,1,1;"}}));
  EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
  igs_geometry_ptr* geometry = read.entity<igs_point_dimension_entity>(2)->degeom();
  ASSERT_NE(geometry, nullptr);
  EXPECT_TRUE(geometry->is_simple_closed_planar_curve_entity());
  EXPECT_EQ(geometry->_simple_closed_planar_curve_entity(), nullptr);
  auto* area = read.entity<igs_sectioned_area_entity>(3);
  ASSERT_NE(area->bndp(), nullptr);
  EXPECT_EQ(area->bndp()->entity(), nullptr);
  EXPECT_TRUE((*area->islpt())[0]->is_simple_closed_planar_curve_entity());
  std::string bytes = written(read, 0);
  EXPECT_EQ(parameters_of(bytes, 5), "220,0,0,0;");
  EXPECT_EQ(parameters_of(bytes, 7), "230,0,1,0.,0.,0.,1.,0.,0;");
}

}  // namespace
