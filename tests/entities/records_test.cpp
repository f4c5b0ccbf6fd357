// Parameter data of every family of entities, one table: each record read after the entities its
// pointers name, written with zeros kept and left out, and read again to the same bytes; each
// odd rule of a layout a row. Then what only the accessors show: the order of arrays and the
// kinds of items laid out by a definition.
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "entities/entity_files.h"

using igeslib_test::Entry;
using igeslib_test::FileRead;
using igeslib_test::iges_file;
using igeslib_test::parameter_values;
using igeslib_test::parameters_of;
using Values = std::vector<double>;

namespace {

// The entities that stand before the records of a row, for their pointers to name.
enum Prefix { kNone, kCurves, kSolids, kLinePoint, kBrep, kShell, kGeometry, kPoints };
const std::vector<Entry> kPrefixes[] = {
    {},
    // a line, a circular arc, a point, a direction (no geometry) and a curve on a surface
    {{110, 0, "110,0.,0.,0.,1.,0.,0.;"},
     {100, 0, "100,0.,0.,0.,1.,0.,0.,1.;"},
     {116, 0, "116,1.,2.,3.,0;"},
     {123, 0, "123,0.,0.,1.;"},
     {142, 0, "142,1,0,1,3,0;"}},
    // a sphere, a block, a matrix and a text font
    {{158, 0, "158,1.,0.,0.,0.;"},
     {150, 0, "150,1.,1.,1.,0.,0.,0.,1.,0.,0.,0.,0.,1.;"},
     {124, 0, "124,1.,0.,0.,0.,0.,1.,0.,0.,0.,0.,1.,0.;"},
     {310, 0, "310,1,4HSTD1,0,8,0;"}},
    {{110, 0, "110,0.,0.,0.,1.,0.,0.;"}, {116, 0, "116,1.,2.,3.,0;"}},
    {{110, 0, "110,0.,0.,0.,1.,0.,0.;"}, {504, 1, "504,0;"}},
    // a triangle's vertices, a line for its edges to lie on, its edges 1-2, 2-3 and 3-1, a
    // plane surface, a loop of the three edges, a face and a shell
    {{502, 1, "502,3,0.,0.,0.,1.,0.,0.,1.,1.,0.;"},
     {110, 0, "110,0.,0.,0.,1.,0.,0.;"},
     {504, 1, "504,3,3,1,1,1,2,3,1,2,1,3,3,1,3,1,1;"},
     {190, 0, "190,0,0;"},
     {508, 1, "508,3,0,5,1,1,0,0,5,2,1,0,0,5,3,1,0;"},
     {510, 1, "510,7,1,1,9;"},
     {514, 1, "514,1,11,1;"}},
    {{110, 0, "110,1.,1.,1.,2.,2.,2.;"}, {308, 0, "308,0,4HPART,1,1;"}},
    // a point's pointer names a subfigure definition (DE 1 and 7) or nothing
    {{308, 0, "308,0,1HA,0;"},
     {110, 0, "110,1.,2.,3.,4.,5.,6.;"},
     {110, 0, "110,1.,2.,3.,4.,5.,6.;"},
     {308, 0, "308,0,1HB,0;"}},
};

std::string reals(int n, double from) {
  std::string text;
  for (int i = 0; i < n; ++i) text += std::to_string(static_cast<int>(from) + i) + ".,";
  return text;
}

const std::string kSpline = "112,3,2,3,2,0.,1.,2.," + reals(24, 10) + reals(11, 40) + "51.;";
const std::string kPatches = "114,3,1,1,1,0.,1.,0.,1.," + reals(191, 1) + "192.;";
const std::string kBSplineSurface = "128,1,2,1,1,0,0,1,0,0,0.,0.,1.,1.,0.,0.,1.,2.,2.," +
                                    reals(6, 1) + reals(18, 10) + "0.,1.,0.,1.;";
const std::string kZeros12 = "0.,0.,0.,0.,0.,0.,0.,0.,0.,0.,0.,0.;";
// Associativity definition: a class of an entity, a value and a value, and a class of an
// integer or a negated pointer. Attribute table definition: a string, two integers, a logical
// and an entity.
const Entry kAssociativityDefinition{302, 5001, "302,2,1,0,3,1,2,2,0,1,1,3;"};
const Entry kAssociativityInstance{402, 5001, "402,1,2,3,2.5,3HABC,-1,7;", -5};
const Entry kTableDefinition{322, 1, "322,1HT,5106,3,1,3,1,1HS,2,1,2,2,6,3,6,1,1;"};
const Entry kTableInstance{422, 1, "422,2,1HX,5,6,1,1HY,7,8,0;", -9};

// What a file of the prefix and the entries is read and written as: each entry written with
// zeros kept as out[i] ("" or absent: as read, as is every entity of the prefix), the first with
// zeros left out as defaulted; the first entry's values in file order, a pointer as the place it
// names; the one report of the read. Both writes read back to the same bytes, unless the records
// don't settle.
void check(Prefix prefix, const std::vector<Entry>& records, const std::vector<std::string>& out,
           const std::string& defaulted_out, const Values& values, const char* report, bool settles,
           unsigned reports_again) {
  std::vector<Entry> entries = kPrefixes[prefix];
  int first_de = static_cast<int>(2 * entries.size() + 1);
  entries.insert(entries.end(), records.begin(), records.end());
  FileRead read(iges_file(entries));
  ASSERT_EQ(read.size(), entries.size());
  EXPECT_EQ(read.reports.count(), report ? 1u : 0u) << read.reports.text();
  EXPECT_TRUE(!report || read.reports.text().find(report) != std::string::npos);
  ListOfigs_directory_entry* list = read.file->directory_entries();
  if (!values.empty()) {
    EXPECT_EQ(parameter_values((*list)[(first_de - 1) / 2], list), values);
  }
  std::string first = read.written(0), defaulted = read.written(1);
  for (std::size_t i = 0, skip = kPrefixes[prefix].size(); i < entries.size(); ++i) {
    std::size_t k = i - skip;  // past the end of out for the prefix
    EXPECT_EQ(parameters_of(first, static_cast<int>(2 * i + 1)),
              i >= skip && k < out.size() && !out[k].empty() ? out[k] : entries[i].parameters)
        << "entity " << i;
  }
  EXPECT_EQ(defaulted_out.empty() ? "" : parameters_of(defaulted, first_de), defaulted_out);
  if (!settles) return;
  FileRead again(first);
  if (!report) {
    EXPECT_EQ(again.reports.count(), reports_again) << again.reports.text();
  }
  EXPECT_EQ(again.written(0), first);
  FileRead back(defaulted);
  EXPECT_EQ(back.written(0), first) << "zeros left out read back as zeros";
}

// One record after a prefix; its type is the first parameter, its values are blank-separated.
struct Record {
  const char* name;
  Prefix prefix;
  int form;
  std::string in;
  std::string out = "";
  const char* defaulted = "";
  const char* values = "";
  const char* report = nullptr;
};

TEST(EntityRecords, ReadWriteAndSettle) {
  const Record records[] = {
      // Points, lines, arcs, planes, matrix and flash. End points off the circle stay as they
      // are; a conic of form 1 keeps the coefficients of a parabola.
      {"point on a subfigure", kGeometry, 0, "116,1.5,-2.,0.,3;", "", "116,1.5,-2.,,3;",
       "1.5 -2 0 1"},
      {"point alone", kGeometry, 0, "116,0.,0.,7.,0;", "", "116,,,7.,;", "0 0 7 -1"},
      {"line", kGeometry, 0, "110,0.,1.,2.,3.,4.,-5.;", "", "110,,1.,2.,3.,4.,-5.;",
       "0 1 2 3 4 -5"},
      {"line from the origin", kNone, 0, "110,0.,0.,0.,1.,0.,0.;", "", "110,,,,1.,,;"},
      {"circular arc", kGeometry, 0, "100,0.,1.,2.,10.,0.,-4.,7.25;", "",
       "100,,1.,2.,10.,,-4.,7.25;", "0 1 2 10 0 -4 7.25"},
      {"conic arc", kGeometry, 1, "104,0.25,0.,1.,0.,0.,-16.,3.,8.,0.,-8.,0.;", "",
       "104,0.25,,1.,,,-16.,3.,8.,,-8.,;", "0.25 0 1 0 0 -16 3 8 0 -8 0"},
      {"bounded plane", kGeometry, 1, "108,0.,0.,1.,5.,1,1.,2.,5.,10.;", "",
       "108,,,1.,5.,1,1.,2.,5.,10.;", "0 0 1 5 0 1 2 5 10"},
      {"plane of form -1", kGeometry, -1, "108,1.,0.,0.,0.,0,0.,0.,0.,0.;", "", "108,1.,,,,,,,,;",
       "1 0 0 0 -1 0 0 0 0"},
      {"matrix", kGeometry, 1, "124,0.,-1.,0.,10.,1.,0.,0.,20.,0.,0.,1.,3.125;", "",
       "124,,-1.,,10.,1.,,,20.,,,1.,3.125;", "0 -1 0 10 1 0 0 20 0 0 1 3.125"},
      {"flash", kGeometry, 2, "125,1.,2.,0.5,0.25,0.,1;", "", "125,1.,2.,0.5,0.25,,1;",
       "1 2 0.5 0.25 0 0"},
      // Flash and plane name any geometry, and nothing else.
      {"flash on a subfigure", kGeometry, 0, "125,1.,1.,1.,1.,0.,3;", "125,1.,1.,1.,1.,0.,0;", "",
       "1 1 1 1 0 -1"},
      {"plane on a subfigure", kGeometry, 0, "108,0.,0.,1.,0.,3;", "108,0.,0.,1.,0.,0,0.,0.,0.,0.;",
       "", "0 0 1 0 -1 0 0 0 0"},
      {"plane on a line", kGeometry, 0, "108,0.,0.,1.,0.,1;", "108,0.,0.,1.,0.,1,0.,0.,0.,0.;", "",
       "0 0 1 0 0 0 0 0 0"},
      // Missing parameters are zeros, never the standard's defaults: no identity matrix.
      {"matrix of nothing", kNone, 0, "124;", "124," + kZeros12, "", "0 0 0 0 0 0 0 0 0 0 0 0"},
      {"matrix of one parameter", kNone, 0, "124,2.;", "124,2.," + kZeros12.substr(3), "",
       "2 0 0 0 0 0 0 0 0 0 0 0"},
      {"point of two coordinates", kNone, 0, "116,1.,2.;", "116,1.,2.,0.,0;", "", "1 2 0 -1"},
      {"plane of four coefficients", kNone, 0, "108,1.,2.,3.,4.;", "108,1.,2.,3.,4.,0,0.,0.,0.,0.;",
       "", "1 2 3 4 -1 0 0 0 0"},
      {"flash of nothing", kNone, 0, "125;", "125,0.,0.,0.,0.,0.,0;", "", "0 0 0 0 0 -1"},
      // A point's pointer: a subfigure definition, by its DE number or the even number above
      // it, else nothing.
      {"point without a pointer", kPoints, 0, "116,1.,2.,3.;", "116,1.,2.,3.,0;", "", "1 2 3 -1"},
      {"point on 0", kPoints, 0, "116,1.,2.,3.,0;", "", "", "1 2 3 -1"},
      {"point on DE 7", kPoints, 0, "116,1.,2.,3.,7;", "", "", "1 2 3 3"},
      {"point on a line", kPoints, 0, "116,1.,2.,3.,3;", "116,1.,2.,3.,0;", "", "1 2 3 -1"},
      {"point on DE 8", kPoints, 0, "116,1.,2.,3.,8;", "116,1.,2.,3.,7;", "", "1 2 3 3"},
      {"point on DE 1", kPoints, 0, "116,1.,2.,3.,1;", "", "", "1 2 3 0"},
      {"point on -7", kPoints, 0, "116,1.,2.,3.,-7;", "116,1.,2.,3.,0;", "", "1 2 3 -1"},
      {"point past the last entity", kPoints, 0, "116,1.,2.,3.,11;", "116,1.,2.,3.,0;", "",
       "1 2 3 -1"},
      // Subfigure definition: a member 0 names the first entity, as 1 does; members that name
      // no entity are left out. A count that the file could never hold skips the entity before
      // any room is taken for it.
      {"subfigure definition", kCurves, 0, "308,2,4HBOLT,3,3,0,1;", "308,2,4HBOLT,3,3,1,1;",
       "308,2,4HBOLT,3,3,1,1;"},
      {"subfigure definition of no members", kCurves, 0, "308,0,,0;", "", "308,,,;"},
      {"subfigure definition of nothing", kCurves, 0, "308;", "308,0,,0;", "308,,,;"},
      {"subfigure members naming nothing", kCurves, 0, "308,1,1HX,3,99,-3,5;", "308,1,1HX,1,5;",
       "308,1,1HX,1,5;"},
      {"subfigure count beyond the file", kCurves, 0, "308,1,1HX,2000000000,1;", "308,1,1HX,0;", "",
       "", "Entity skipped: a count of 2000000000"},
      // Curves and surfaces.
      {"composite curve", kCurves, 0, "102,2,1,3;"},
      {"composite member 0 is the first entity", kCurves, 0, "102,1,0;", "102,1,1;"},
      // 99 names nothing, 7 a direction: neither geometry nor a connect point.
      {"composite members naming nothing", kCurves, 0, "102,3,1,99,7;", "102,1,1;"},
      {"copious pairs", kCurves, 1, "106,1,2,0.5,1.,2.,3.,4.;"},
      {"planar piecewise curve", kCurves, 11, "106,1,2,0.5,1.,2.,3.,4.;"},
      {"simple closed planar curve", kCurves, 63, "106,1,2,0.5,1.,2.,3.,4.;"},
      {"pairs whatever the IP says", kCurves, 1, "106,2,2,0.5,1.,2.,3.,4.;",
       "106,1,2,0.5,1.,2.,3.,4.;"},
      {"copious triples", kCurves, 2, "106,2,2,1.,2.,3.,4.,5.,6.;"},
      {"copious sextuples", kCurves, 3, "106,3,1,1.,2.,3.,4.,5.,6.;"},
      {"piecewise curve of triples", kCurves, 12, "106,2,2,1.,2.,3.,4.,5.,6.;"},
      {"piecewise curve of sextuples", kCurves, 12, "106,3,1,1.,2.,3.,4.,5.,6.;"},
      // IP 1 reads no point: the points stay in the record, where they are back-pointer counts.
      {"piecewise curve of IP 1", kCurves, 12, "106,1,2,0,0;", "106,1,0;"},
      {"parametric spline curve", kCurves, 0, kSpline},
      {"parametric spline surface", kCurves, 0, kPatches},
      {"B-spline curve", kCurves, 0,
       "126,1,1,1,0,1,0,0.,0.,1.,1.,1.,1.,0.,0.,0.,1.,0.,0.,0.,1.,0.,0.,1.;"},
      {"B-spline property out of its enumeration", kCurves, 3,
       "126,1,1,2,0,1,0,0.,0.,1.,1.,1.,1.,0.,0.,0.,1.,0.,0.,0.,1.,0.,0.,1.;",
       "126,1,1,-1,0,1,0,0.,0.,1.,1.,1.,1.,0.,0.,0.,1.,0.,0.,0.,1.,0.,0.,1.;"},
      {"B-spline surface", kCurves, 0, kBSplineSurface},
      {"ruled surface of form 1", kCurves, 1, "118,1,3,1,0;"},
      {"surface of revolution about no line", kCurves, 0, "120,3,1,0.,6.25;", "120,0,1,0.,6.25;"},
      {"tabulated cylinder", kCurves, 0, "122,3,0.,0.,5.;"},
      {"offset curve", kCurves, 0, "130,1,1,0,2,1,0.5,0.,0.5,0.,0.,0.,1.,0.,1.;"},
      {"offset surface", kCurves, 0, "140,0.,0.,1.,2.5,0;"},
      {"boundary", kCurves, 0, "141,1,2,0,1,1,2,2,1,3;"},
      // A bare member 0 is the first entity; a guarded curve pointer 0 is none.
      {"boundary on 0", kCurves, 0, "141,1,2,0,1,0,2,2,0,3;", "141,1,2,0,1,0,2,2,1,3;"},
      {"boundary of a bad preference", kCurves, 0, "141,0,7,0,0;", "141,0,-1,0,0;"},
      {"curve on a surface keeps any preference", kCurves, 0, "142,1,0,1,3,7;"},
      {"bounded surface of no boundary", kCurves, 0, "143,1,0,1,1;", "143,1,0,0;"},
      {"trimmed surface", kCurves, 0, "144,0,1,1,9,9;"},
      {"plane surface", kCurves, 1, "190,5,7,7;"},
      {"plane surface without a location", kCurves, 0, "190,0,7;", "190,0,0;"},
      {"cylindrical surface", kCurves, 1, "192,5,7,2.5,7;"},
      {"conical surface", kCurves, 0, "194,5,7,2.5,0.5;"},
      {"spherical surface", kCurves, 0, "196,5,2.5;"},
      {"parametrised spherical surface", kCurves, 1, "196,5,2.5,7,0;"},
      {"toroidal surface", kCurves, 1, "198,5,7,10.,2.,0;"},
      // Solids, annotation, views and drawings.
      {"sphere of nothing", kSolids, 0, "158;", "158,0.,0.,0.,0.;"},
      {"wedge", kSolids, 0, "152,1.,2.,3.,0.5,0.,0.,0.,1.,0.,0.,0.,0.,1.;"},
      {"solid of revolution of form 1", kSolids, 1, "162,0,0.5,0.,0.,0.,0.,0.,1.;"},
      {"boolean tree", kSolids, 0, "180,3,-1,-3,1;"},
      {"boolean tree of operands only", kSolids, 0, "180,5,-1,-3,1,-3,2;"},
      // The first two items are operands whatever their sign: 1 and 3 name nothing.
      {"boolean tree of positive operands", kSolids, 0, "180,2,1,3;", "180,2,1,1;"},
      // 0 would name the first entity, a line: no solid, so 0 is none.
      {"boolean tree of positive operands after a line", kCurves, 0, "180,2,1,3;", "180,2,0,0;"},
      // A bare pointer that names nothing is written as -1 where 0 would name a fitting first
      // entity (here a line, a vertex list, a sphere), as 0 where it would name none.
      {"assembly member naming nothing", kSolids, 0, "184,1,99,0;", "184,1,-1,0;"},
      {"assembly with one matrix", kSolids, 0, "184,2,1,3,0,5;"},
      {"solid instance", kSolids, 0, "430,3;"},
      {"note of two strings and a font definition", kSolids, 0,
       "212,2,3,1.,2.,-7,0.,0.,0,0,1.,2.,0.,3HONE,3,1.,2.,1,0.,0.,0,0,1.,2.,0.,3HTWO;"},
      {"note whose count of characters is off", kSolids, 0,
       "212,1,9,1.,2.,1,0.,0.,0,0,1.,2.,0.,3HONE;", "212,1,3,1.,2.,1,0.,0.,0,0,1.,2.,0.,3HONE;"},
      // A font pointer to another class (a block) keeps the definition choice, with no
      // definition: written as font 0.
      {"note font naming a block", kSolids, 0, "212,1,3,1.,2.,-3,0.,0.,0,0,1.,2.,0.,3HONE;",
       "212,1,3,1.,2.,0,0.,0.,0,0,1.,2.,0.,3HONE;"},
      {"leader", kSolids, 2, "214,2,0.5,0.25,0.,1.,2.,3.,4.,5.,6.;"},
      {"witness line whatever its IP", kSolids, 40, "106,2,1,0.,1.,2.;", "106,1,1,0.,1.,2.;"},
      {"template of font 0", kSolids, 0, "312,1.,2.,0,0.,0.,0,0,1.,2.,3.;",
       "312,1.,2.,1,0.,0.,0,0,1.,2.,3.;"},
      {"template on a font definition", kSolids, 1, "312,1.,2.,-7,0.,0.,0,0,1.,2.,3.;",
       "312,1.,2.,7,0.,0.,0,0,1.,2.,3.;"},
      {"view volume of no planes", kSolids, 0, "410,1,1.,0,0,0,0,0,0;"},
      {"drawing of form 1", kSolids, 1, "404,1,0,1.,2.,0.5,1,3;"},
      {"drawing of form 0", kSolids, 0, "404,1,0,1.,2.,1,3;"},
      // Boundary representation. A list's kind comes from the type, not from the entity named;
      // 0 names the first entity; an empty index is stored as -1.
      {"vertex use naming an edge list", kBrep, 1, "508,1,1,3,1,1,0;", "508,1,1,0,1,1,0;"},
      {"edge use with a parameter-space curve", kBrep, 1, "508,1,0,3,2,0,1,1,1;"},
      {"edge on entity 0", kBrep, 1, "504,1,0,3,1,3,;", "504,1,1,0,1,0,0;"},
      {"edge on no curve", kBrep, 1, "504,1,99,3,1,3,1;", "504,1,-1,0,1,0,1;"},
      {"vertex use naming nothing", kShell, 1, "508,1,1,99,1,1,0;", "508,1,1,-1,1,1,0;"},
      {"face on no surface", kBrep, 1, "510,1,0,1;", "510,0,0,1;"},
      {"solid with no voids", kBrep, 0, "186,0,0,0;"},
      {"shell of form 2 on no face", kBrep, 2, "514,1,0,1;"},
      {"manifold solid", kShell, 0, "186,13,1,0;"},
      // Structure: colour, properties, associativities, subfigure instances, finite elements.
      {"colour", kLinePoint, 0, "314,100.,50.,0.,6HORANGE;"},
      {"colour of form 1", kLinePoint, 1, "314,1.,2.,3.,;"},
      {"name", kLinePoint, 15, "406,1,4HPART;"},
      {"constant count written as the class's", kLinePoint, 10, "406,1,1,2;", "406,6,1,2,0,0,0,0;"},
      {"definition levels", kLinePoint, 1, "406,3,1,5,250;"},
      {"nominal size without its name", kLinePoint, 13, "406,2,2.5,2HM3;"},
      {"nominal size with its name", kLinePoint, 13, "406,3,2.5,2HM3,3HISO;"},
      {"generic data of every kind", kLinePoint, 27, "406,5,1HG,5,1,7,2,0.5,3,1HS,4,3,6,1;"},
      {"generic data naming nothing", kLinePoint, 27, "406,1,1HG,1,4,99;", "406,1,1HG,1,4,-1;"},
      // Code 5 is no kind: it takes the place of a value, and nothing is written for it.
      {"generic data of an unknown code", kLinePoint, 27, "406,3,1HG,2,5,1,9;", "406,3,1HG,2,1,9;"},
      {"user-defined property", kLinePoint, 5001, "406,3,7,2.5,2HAB;"},
      // A value's kind is told by its text: its zero is no empty parameter.
      {"user-defined property of zeros", kLinePoint, 5001, "406,3,0,0.,2;", "", "406,3,0,0.,2;"},
      {"group", kLinePoint, 1, "402,2,1,3;"},
      {"group member naming nothing", kLinePoint, 7, "402,2,1,99;", "402,1,1;"},
      {"single parent", kLinePoint, 9, "402,1,1,1,3;"},
      {"label display", kLinePoint, 5, "402,1,0,1.,2.,3.,0,4,3;"},
      {"associativity definition", kLinePoint, 5001, "302,2,1,1,2,1,2,2,0,1,3;"},
      {"associativity instance of no definition", kLinePoint, 5001, "402;", "", "", "",
       "Associativity Instance Entity has no definition"},
      {"singular subfigure instance of no definition", kLinePoint, 0, "408,0,1.,2.,3.,1.;"},
      {"rectangular array on the first entity", kLinePoint, 0,
       "412,0,1.,0.,0.,0.,2,2,1.,1.,0.,0,1;", "412,1,1.,0.,0.,0.,2,2,1.,1.,0.,0,1;"},
      {"rectangular array naming nothing", kLinePoint, 0, "412,99,1.,0.,0.,0.,2,2,1.,1.,0.,0,1;",
       "412,-1,1.,0.,0.,0.,2,2,1.,1.,0.,0,1;"},
      {"circular array of a point", kLinePoint, 0, "414,3,4,0.,0.,0.,5.,0.,1.5,2,1,1,3;"},
      {"external reference of form 2", kLinePoint, 2, "416,4HA.IG,3HBOX;"},
      {"external reference file index", kLinePoint, 12, "402,1,3HBOX,3;"},
      {"connect point of no owner", kLinePoint, 0, "132,1.,2.,3.,0,1,2,2HC1,0,,0,5,1,1,0;"},
      {"network instance of no network definition", kLinePoint, 0,
       "420,3,0.,0.,0.,1.,1.,1.,0,3HNET,0,0;", "420,0,0.,0.,0.,1.,1.,1.,0,3HNET,0,0;"},
      {"attribute table definition of form 0", kLinePoint, 0, "322,1HT,0,2,1,1,0,2,3,0;"},
      {"attribute table definition of form 1", kLinePoint, 1, kTableDefinition.parameters},
      // A value type of no value reads no pairs, whatever its count; an absent template is 0.
      {"attribute table definition of form 2", kLinePoint, 2, "322,1HT,0,2,1,5,2,2,2,1,2.5,0;"},
      {"tabular data of no variables", kLinePoint, 11, "406,5,1,0,0,1.5,2.5;"},
      {"tabular data of one variable", kLinePoint, 11, "406,8,2,1,1,1,2,1.,2.,3.;"},
      // np below 3 leaves a negative count of dependent values: none is read.
      {"tabular data of a short count", kLinePoint, 11, "406,2,1,0,0;"},
      {"node", kLinePoint, 0, "134,1.,2.,3.,0;"},
      {"element of empty node slots", kLinePoint, 0, "136,1,2,0,0,4HBEAM;"},
      // A result's node number is its node's subscript; a result of no node writes 0.
      {"nodal results", kLinePoint, 0, "146,0,1,0.5,2,1,7,0,1.5,2.5;",
       "146,0,1,0.5,2,1,0,0,1.5,2.5;"},
      {"element results of no layers", kLinePoint, 3, "148,0,1,0.5,4,0,1,3,0,1,0,1,1,2,0;"},
  };
  for (const Record& r : records) {
    SCOPED_TRACE(r.name);
    Values values;
    std::istringstream in(r.values);
    for (double v; in >> v;) values.push_back(v);
    check(r.prefix, {{std::atoi(r.in.c_str()), r.form, r.in}}, {r.out}, r.defaulted, values,
          r.report, true, 0);
  }
}

// Records that take their layout or their pointers from records around them, and whole models
// stated record by record.
TEST(EntityRecords, FilesReadWriteAndSettle) {
  const struct {
    const char* name;
    Prefix prefix;
    std::vector<Entry> entries;
    std::vector<std::string> out = {};
    bool settles = true;
    unsigned reports_again = 0;
  } files[] = {
      {"associativity instance", kLinePoint, {kAssociativityDefinition, kAssociativityInstance}},
      // Before its definition it reads nothing: its parameters are taken for back-pointer
      // lists. Written, it has the definition's classes and no entries.
      {"associativity instance before its definition",
       kLinePoint,
       {{402, 5001, "402,0,0;", -7}, kAssociativityDefinition}},
      {"tuple instance", kLinePoint, {kTableDefinition, {422, 0, "422,1HX,5,6,1;", -5}}},
      {"table instance", kLinePoint, {kTableDefinition, {422, 1, kTableInstance.parameters, -5}}},
      // Before its definition the table sees no attributes: its rows are empty. The writer
      // follows the definition, read by then, and writes zeros for the values, which the
      // next read takes for parameters past the back-pointer lists.
      {"table instance before its definition",
       kLinePoint,
       {{422, 1, "422,2;", -7}, kTableDefinition},
       {"422,2,,0,0,0,,0,0,0;"},
       true,
       1},
      // Selects take their member from the entity type named: a 106 of another form (DE 5)
      // gives a null member, a line none.
      {"selects by entity type",
       kLinePoint,
       {{106, 1, "106,1,1,0.,1.,2.;"},
        {220, 0, "220,0,0,5;"},
        {230, 0, "230,1,1,0.,0.,0.,1.,0.,1,5;"}},
       {"", "220,0,0,0;", "230,0,1,0.,0.,0.,1.,0.,0;"}},
      {"face on no surface after a surface",
       kNone,
       {{190, 0, "190,0,0;"}, {510, 1, "510,99,0,1;"}},
       {"", "510,-1,0,1;"}},
      // A solid of boundary representation is no geometry: the member is left out.
      {"dimensioned geometry of a solid",
       kShell,
       {{186, 0, "186,13,1,0;"}, {402, 13, "402,1,1,0,15;"}},
       {"", "402,1,0,0;"}},
      // The loops of element results take the entity's nv, not the element's numv.
      {"element results",
       kLinePoint,
       {{134, 0, "134,1.,2.,3.,0;"},
        {136, 0, "136,1,1,5,4HBEAM;"},
        {148, 0, "148,0,1,0.5,1,0,1,3,7,1,1,1,2,1,2,9,1.,2.;"}}},
      // The writer leaves out each node's number, which the reader drops: the record reads
      // back one parameter out of step.
      {"nodal displacements",
       kLinePoint,
       {{134, 0, "134,1.,2.,3.,0;"},
        {212, 0, "212,0;"},
        {138, 0, "138,1,7,1,12,5,1.,2.,3.,4.,5.,6.;"}},
       {"", "", "138,1,7,1,5,1.,2.,3.,4.,5.,6.;"},
       false},
      // A drawing of a linear dimension with its note, two leaders and two witness lines.
      {"small drawing",
       kNone,
       {{410, 0, "410,1,1.,0,0,0,0,0,0;"},
        {212, 0, "212,1,4,2.,1.,1,0.,0.,0,0,3.,4.,0.,4H10.0;"},
        {214, 1, "214,1,0.5,0.2,0.,0.,0.,2.,0.;"},
        {214, 1, "214,1,0.5,0.2,0.,10.,0.,8.,0.;"},
        {106, 40, "106,1,2,0.,0.,0.,0.,5.;"},
        {106, 40, "106,1,2,0.,10.,0.,10.,5.;"},
        {216, 0, "216,3,5,7,9,11;"},
        {404, 0, "404,1,1,0.,0.,1,13;"}}},
      {"finite element model",
       kNone,
       {{134, 0, "134,0.,0.,0.,0;"},
        {134, 0, "134,1.,0.,0.,0;"},
        {134, 0, "134,1.,1.,0.,0;"},
        {134, 0, "134,0.,1.,0.,0;"},
        {136, 0, "136,1,2,1,3,4HBEAM;"},
        {136, 0, "136,2,3,1,3,5,3HTRI;"},
        {136, 0, "136,5,4,1,3,5,7,4HQUAD;"},
        {212, 0, "212,0;"},
        {146, 1, "146,15,1,0.5,2,2,0,1,0.1,0.2,0,3,0.3,0.4;"},
        {148, 1, "148,15,1,0.5,1,0,1,2,11,2,1,1,1,3,1,0.7;"}}},
  };
  for (const auto& f : files) {
    SCOPED_TRACE(f.name);
    check(f.prefix, f.entries, f.out, "", {}, nullptr, f.settles, f.reports_again);
  }
}

// The order of arrays, the kinds of items and where indices count from: what a write of the
// same objects would give back unchanged whichever way they were read.
TEST(EntityRecords, ArraysAndItemsThroughTheAccessors) {
  auto read_after = [](Prefix prefix, std::vector<Entry> entries) {
    std::vector<Entry> all = kPrefixes[prefix];
    all.insert(all.end(), entries.begin(), entries.end());
    return iges_file(all);
  };
  FileRead spline(read_after(kCurves, {{112, 0, kSpline}, {114, 0, kPatches}}));
  auto* curve = spline.entity<igs_parametric_spline_curve_entity>(5);
  ASSERT_NE(curve, nullptr);
  ASSERT_EQ(curve->polynomials()->size(), 2u);
  EXPECT_EQ((*curve->polynomials())[1]->z_coefficients()->get(3), 33.0);
  EXPECT_EQ(curve->tpz3(), 51.0);
  auto* surface = spline.entity<igs_parametric_spline_surface_entity>(6);
  ASSERT_NE(surface, nullptr);
  ASSERT_EQ(surface->patches()->size(), 2u);
  EXPECT_EQ((*(*surface->patches())[1])[1]->z_coefficients()->get(15), 192.0);

  // K1 = 1, K2 = 2: the weights and points run with the first index fastest.
  FileRead bspline(read_after(kCurves, {{128, 0, kBSplineSurface}}));
  auto* b = bspline.entity<igs_rational_bspline_surface_entity>(5);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ((*b->w())[1]->get(0), 2.0);
  EXPECT_EQ((*b->w())[0]->get(1), 3.0);
  EXPECT_EQ((*(*b->control_points())[1])[0]->x(), 13.0);

  FileRead laid_out(read_after(kLinePoint, {kAssociativityDefinition, kAssociativityInstance,
                                            kTableDefinition, kTableInstance}));
  auto* instance = laid_out.entity<igs_associativity_instance_entity>(3);
  ASSERT_NE(instance, nullptr);
  ListOfigs_datum* items = (*(*instance->parameter_data())[0])[0];
  EXPECT_EQ((*items)[0]->_directory_entry(), laid_out.entity<igs_point_entity>(1));
  ListOfListOfigs_datum* second = (*instance->parameter_data())[1];
  EXPECT_EQ((*(*second)[0])[0]->_directory_entry(), laid_out.entity<igs_line_entity>(0));
  EXPECT_EQ((*(*second)[1])[0]->_int_val(), 7);
  auto* table = laid_out.entity<igs_table_instance_entity>(5);
  ASSERT_NE(table, nullptr);
  ASSERT_EQ(table->nr(), 2);
  ListOfListOfigs_datum* row = (*table->av())[1];
  EXPECT_TRUE((*(*row)[2])[0]->is_bool_val());

  // Vertex and edge indices count from 0: edge 2 runs from vertex 2 to vertex 3 of the file.
  FileRead shell(read_after(kShell, {}));
  igs_edge_data* edge = (*shell.entity<igs_edge_list_entity>(2)->edges())[1];
  EXPECT_EQ(edge->sv(), 1);
  EXPECT_EQ(edge->tv(), 2);
  igs_edge_use* use = (*shell.entity<igs_loop_entity>(4)->edge_tuples())[1];
  EXPECT_EQ(use->typ(), igs_edge_type_edge);
  EXPECT_EQ(use->ndx(), 1);
}

// Entities that read the same runs of reals (knots, weights, parameter ranges) may hold them
// between them; a change through one entity, by its accessor or by the dictionary, never
// reaches another.
TEST(EntityRecords, RepeatedRealsChangedThroughOneEntityOnly) {
  const Entry curve{126, 0, "126,1,1,1,0,1,0,0.,0.,1.,1.,1.,1.,0.,0.,0.,1.,0.,0.,0.,1.,0.,0.,1.;"};
  const Entry surface{128, 0, kBSplineSurface};
  FileRead read(iges_file({curve, curve, curve, surface, surface, surface}));
  auto* c = read.entity<igs_rational_bspline_curve_entity>(0);
  auto* c1 = read.entity<igs_rational_bspline_curve_entity>(1);
  auto* c2 = read.entity<igs_rational_bspline_curve_entity>(2);
  auto* s = read.entity<igs_rational_bspline_surface_entity>(3);
  auto* s1 = read.entity<igs_rational_bspline_surface_entity>(4);
  auto* s2 = read.entity<igs_rational_bspline_surface_entity>(5);
  for (igs_directory_entry* e : {+c, +c1, +c2}) ASSERT_NE(e, nullptr);
  for (igs_directory_entry* e : {+s, +s1, +s2}) ASSERT_NE(e, nullptr);
  auto slot = [](LumoObject* owner, const char* name) {
    return *owner->slotAddress(owner->getAttribute(name), 0).p;
  };
  c->w()->put(5.0, 0);
  static_cast<ArrayOfDouble*>(slot(c1, "t"))->put(7.0, 3);
  (*s->w())[0]->put(9.0, 0);
  (*static_cast<ListOfArrayOfDouble*>(slot(s1, "w")))[1]->put(8.0, 2);
  EXPECT_EQ(c->w()->get(0), 5.0);
  EXPECT_EQ(c1->w()->get(0), 1.0);
  EXPECT_EQ(c1->t()->get(3), 7.0);
  EXPECT_EQ(c2->t()->get(3), 1.0);
  EXPECT_EQ((*s->w())[0]->get(0), 9.0);
  EXPECT_EQ((*s1->w())[0]->get(0), 1.0);
  EXPECT_EQ((*s1->w())[1]->get(2), 8.0);
  EXPECT_EQ((*s2->w())[1]->get(2), 6.0);
}

}  // namespace
