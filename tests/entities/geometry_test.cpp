// Parameter data of the plain geometry: point, line, circular and conic arc, plane,
// transformation matrix and flash, read, written and read again.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "entities/entity_files.h"
#include "support/records.h"

using igeslib_test::Entry;
using igeslib_test::FileRead;
using igeslib_test::iges_file;
using igeslib_test::parameter_values;
using igeslib_test::parameters_of;
using igeslib_test::place;
using igeslib_test::written;
using Values = std::vector<double>;

namespace {

// The entity under test comes first; a line and a subfigure definition follow for its
// pointers to name (DE 3 and DE 5).
const Entry kLine{110, 0, "110,1.,1.,1.,2.,2.,2.;"};
const Entry kSubfigure{308, 0, "308,0,4HPART,1,3;"};

struct RoundTrip {
  const char* name;
  int type;
  int form;
  std::string plain;      // as read, and as written with zeros kept
  std::string defaulted;  // as written with zeros left out
  Values values;          // in file order; a pointer as the place of its target, -1 for none
};

const RoundTrip kRoundTrips[] = {
    {"point on a subfigure", 116, 0, "116,1.5,-2.,0.,5;", "116,1.5,-2.,,5;", {1.5, -2, 0, 2}},
    {"point alone", 116, 0, "116,0.,0.,7.,0;", "116,,,7.,;", {0, 0, 7, -1}},
    {"line", 110, 0, "110,0.,1.,2.,3.,4.,-5.;", "110,,1.,2.,3.,4.,-5.;", {0, 1, 2, 3, 4, -5}},
    // End points off the circle stay as they are.
    {"circular arc",
     100,
     0,
     "100,0.,1.,2.,10.,0.,-4.,7.25;",
     "100,,1.,2.,10.,,-4.,7.25;",
     {0, 1, 2, 10, 0, -4, 7.25}},
    // Form 1 names an ellipse; the coefficients of a parabola are kept all the same.
    {"conic arc",
     104,
     1,
     "104,0.25,0.,1.,0.,0.,-16.,3.,8.,0.,-8.,0.;",
     "104,0.25,,1.,,,-16.,3.,8.,,-8.,;",
     {0.25, 0, 1, 0, 0, -16, 3, 8, 0, -8, 0}},
    {"bounded plane",
     108,
     1,
     "108,0.,0.,1.,5.,3,1.,2.,5.,10.;",
     "108,,,1.,5.,3,1.,2.,5.,10.;",
     {0, 0, 1, 5, 1, 1, 2, 5, 10}},
    {"plane of form -1",
     108,
     -1,
     "108,1.,0.,0.,0.,0,0.,0.,0.,0.;",
     "108,1.,,,,,,,,;",
     {1, 0, 0, 0, -1, 0, 0, 0, 0}},
    {"matrix",
     124,
     1,
     "124,0.,-1.,0.,10.,1.,0.,0.,20.,0.,0.,1.,3.125;",
     "124,,-1.,,10.,1.,,,20.,,,1.,3.125;",
     {0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 3.125}},
    {"flash",
     125,
     2,
     "125,1.,2.,0.5,0.25,0.,3;",
     "125,1.,2.,0.5,0.25,,3;",
     {1, 2, 0.5, 0.25, 0, 1}},
};

// What the first entity of a read is: its type, form and parameter values.
void expect_entity(FileRead& read, const RoundTrip& trip) {
  ASSERT_EQ(read.result, read.file);
  ListOfigs_directory_entry* list = read.file->directory_entries();
  ASSERT_EQ(list->size(), 3u);
  igs_directory_entry* entity = (*list)[0];
  ASSERT_NE(entity, nullptr);
  EXPECT_EQ(entity->entity_type(), trip.type);
  EXPECT_EQ(entity->form(), trip.form);
  EXPECT_EQ(parameter_values(entity, list), trip.values);
}

TEST(PlainGeometry, ReadWriteAndReadAgainWithZerosKeptOrLeftOut) {
  for (const RoundTrip& trip : kRoundTrips) {
    for (char zero_as_default : {0, 1}) {
      SCOPED_TRACE(std::string(trip.name) + (zero_as_default ? ", zeros left out" : ""));
      FileRead read(iges_file({{trip.type, trip.form, trip.plain}, kLine, kSubfigure}));
      expect_entity(read, trip);
      std::string bytes = written(read, zero_as_default);
      EXPECT_EQ(parameters_of(bytes, 1), zero_as_default ? trip.defaulted : trip.plain);
      EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();

      FileRead again(bytes);
      expect_entity(again, trip);
      EXPECT_EQ(again.reports.count(), 0u) << again.reports.text();
    }
  }
}

TEST(PlainGeometry, LineFromTheOriginWithZerosLeftOutIsOneRecordByteForByte) {
  FileRead read(iges_file({{110, 0, "110,0.,0.,0.,1.,0.,0.;"}}));
  std::string bytes = written(read, 1);
  EXPECT_NE(bytes.find(igeslib_test::p_record(1, 1, "110,,,,1.,,;") + "\n"), std::string::npos)
      << bytes;
  FileRead again(bytes);
  auto* line = again.entity<igs_line_entity>(0);
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(parameter_values(line, again.file->directory_entries()), (Values{0, 0, 0, 1, 0, 0}));
  EXPECT_EQ(again.reports.count(), 0u);
}

// Missing parameters are zeros, never the standard's defaults: a matrix read from nothing is
// no identity.
TEST(PlainGeometry, MissingAndEmptyParametersReadAsZeros) {
  const struct {
    Entry entry;
    Values values;
  } cases[] = {
      {{124, 0, "124;"}, Values(12, 0.0)},
      {{124, 0, "124,,,,,,,,,,,,;"}, Values(12, 0.0)},
      {{124, 0, "124,2.;"}, {2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {{116, 0, "116,1.,2.;"}, {1, 2, 0, -1}},
      {{108, 0, "108,1.,2.,3.,4.;"}, {1, 2, 3, 4, -1, 0, 0, 0, 0}},
      {{125, 0, "125;"}, {0, 0, 0, 0, 0, -1}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.entry.parameters);
    FileRead read(iges_file({c.entry}));
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(
        parameter_values((*read.file->directory_entries())[0], read.file->directory_entries()),
        c.values);
    EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
  }
}

// A point's pointer names a subfigure definition or nothing. Entry 0 and entry 3 of the
// directory are subfigure definitions, or entry 3 is a line; the point is entry 4.
TEST(PlainGeometry, APointsPointerIsASubfigureDefinitionOrNothing) {
  const Entry kFirst{308, 0, "308,0,1HA,0;"};
  const Entry kFiller{110, 0, "110,1.,2.,3.,4.,5.,6.;"};
  const Entry kSecond{308, 0, "308,0,1HB,0;"};
  const struct {
    const char* parameters;
    bool line_at_3;
    int expected;  // place of the subfigure definition named, -1 for none
  } cases[] = {
      {"116,1.,2.,3.;", false, -1},    {"116,1.,2.,3.,0;", false, -1},
      {"116,1.,2.,3.,;", false, -1},   {"116,1.,2.,3.,7;", false, 3},
      {"116,1.,2.,3.,7;", true, -1},   {"116,1.,2.,3.,8;", false, 3},
      {"116,1.,2.,3.,1;", false, 0},   {"116,1.,2.,3.,-1;", false, -1},
      {"116,1.,2.,3.,-7;", false, -1}, {"116,1.,2.,3.,9;", false, -1},
      {"116,1.,2.,3.,11;", false, -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.parameters) + (c.line_at_3 ? " with a line at 3" : ""));
    FileRead read(iges_file(
        {kFirst, kFiller, kFiller, c.line_at_3 ? kFiller : kSecond, {116, 0, c.parameters}}));
    ListOfigs_directory_entry* list = read.file->directory_entries();
    ASSERT_EQ(list->size(), 5u);
    auto* point = lumo_cast<igs_point_entity>((*list)[4]);
    ASSERT_NE(point, nullptr);
    EXPECT_EQ(parameter_values(point, list), (Values{1, 2, 3, double(c.expected)}));
    EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
  }
}

// Flash and plane take any geometry, but nothing else.
TEST(PlainGeometry, FlashAndPlanePointersTakeGeometryOnly) {
  const Entry kSubfigure{308, 0, "308,0,1HA,0;"};
  const Entry kArc{100, 0, "100,0.,0.,0.,1.,0.,1.,0.;"};
  FileRead read(iges_file({kSubfigure,
                           kArc,
                           {125, 0, "125,1.,1.,1.,1.,0.,1;"},
                           {125, 0, "125,1.,1.,1.,1.,0.,3;"},
                           {108, 0, "108,0.,0.,1.,0.,1;"},
                           {108, 0, "108,0.,0.,1.,0.,5;"}}));
  ListOfigs_directory_entry* list = read.file->directory_entries();
  ASSERT_EQ(list->size(), 6u);
  EXPECT_EQ(lumo_cast<igs_flash_entity>((*list)[2])->de(), nullptr);
  EXPECT_EQ(lumo_cast<igs_flash_entity>((*list)[3])->de(), (*list)[1]);
  EXPECT_EQ(lumo_cast<igs_plane_entity>((*list)[4])->ptr(), nullptr);
  EXPECT_EQ(lumo_cast<igs_plane_entity>((*list)[5])->ptr(), (*list)[2]);
  EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
}

}  // namespace
