// The Parameter Data section: each entity's parameters to its own code, the back-pointer lists
// behind them, the mismatch test, the recovery at the next change of DE pointer, the typed
// items of associativity and property instances, and the bounds on counts from hostile input.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"

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

// The first line of the four entities of ParametersAndBackPointerLists (a line, a group, a
// name property and a line): x1 y1 z1 y2 z2, then its back-pointer lists, an item each:
// G the group, N the name property, 0 no entity, x another.
std::string first_line(FileRead& read) {
  auto* line = read.entity<igs_line_entity>(0);
  char text[160];
  std::snprintf(text, sizeof text, "%g %g %g %g %g a:", line->x1(), line->y1(), line->z1(),
                line->y2(), line->z2());
  LumoObject* group = read.entity<igs_group_entity>(1);
  LumoObject* name = read.entity<igs_name_entity>(2);
  auto item = [&](LumoObject* choice, LumoObject* e) {
    return !choice->getAttribute(nullptr) ? '0' : e == group ? 'G' : e == name ? 'N' : 'x';
  };
  std::string out = text;
  for (unsigned i = 0; i < line->associations()->size(); ++i)
    out += item((*line->associations())[i], (*line->associations())[i]->_associativity_entity());
  out += " p:";
  for (unsigned i = 0; i < line->properties()->size(); ++i)
    out += item((*line->properties())[i], (*line->properties())[i]->_property_entity());
  return out;
}

// An entity's parameters and the back-pointer lists behind them; an entity whose parameters
// don't match its Directory pair, or fail as a token, is skipped from there on. The next
// entity is read whatever comes before it.
TEST(ParameterSection, ParametersAndBackPointerLists) {
  const std::string line = "110,1.,2.,3.,4.,5.,6.", at = "11:", lists = " assoc_prop_parse: ";
  const std::string mismatch =
      "11:5 parse_pd_section: Entity type in the PD section does not match the entity pointed to "
      "by the sequence number";
  const struct {
    std::vector<std::pair<int, std::string>> records;
    const char* first_line;
    Errors errors;
  } cases[] = {
      {{{1, line + ";"}}, "1 2 3 5 6 a: p:", {}},
      {{{1, line + ",0,0;"}}, "1 2 3 5 6 a: p:", {}},
      {{{1, line + ",,;"}}, "1 2 3 5 6 a: p:", {}},
      {{{1, line + ",2,3;"}},
       "1 2 3 5 6 a:G p:",
       {at + "26" + lists + "Value for the associativity pointer not specified"}},
      {{{1, line + ",,1,5;"}}, "1 2 3 5 6 a: p:N", {}},
      // a line is no associativity and no property; 99 names no entity
      {{{1, line + ",1,7;"}},
       "1 2 3 5 6 a:0 p:",
       {at + "26" + lists + "Illegal entity type in association list"}},
      {{{1, line + ",0,1,1;"}},
       "1 2 3 5 6 a: p:0",
       {at + "28" + lists + "Illegal entity type in property list"}},
      {{{1, line + ",1,99;"}},
       "1 2 3 5 6 a:0 p:",
       {at + "27" + lists + "Illegal entity type in association list"}},
      {{{1, line + ",0,1,;"}},
       "1 2 3 5 6 a: p:",
       {at + "27" + lists + "Value for the property pointer not specified"}},
      {{{1, line + ",0,0,7;"}},
       "1 2 3 5 6 a: p:",
       {"11:28 parse_pd_section: Unknown parameters after associativity and property fields"}},
      // A point's parameters for a line, and a DE pointer that names no entity.
      {{{1, "116,1.,2.,3.;"}, {1, "more"}}, "0 0 0 0 0 a: p:", {mismatch}},
      {{{99, line + ";"}, {99, "more"}}, "0 0 0 0 0 a: p:", {mismatch}},
      {{{1, "110,1.,2.,x3.,4.,"}, {1, "5.,6.,0,0;"}},
       "1 2 0 0 0 a: p:",
       {"11:11 Invalid floating point value"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.records[0].second);
    IgesText text = head();
    text.DE(110, 0).DE(402, 1).DE(406, 15).DE(110, 0);
    for (const auto& [pointer, data] : c.records) text.P(pointer, data);
    FileRead read(text.P(7, "110,4.,5.,6.,7.,8.,9.;").T().str());
    ASSERT_EQ(read.result, read.file);
    EXPECT_EQ(first_line(read), c.first_line);
    EXPECT_EQ(read.errors(), c.errors);
    EXPECT_EQ(read.entity<igs_line_entity>(3)->x1(), 4.0);
    EXPECT_EQ(read.entity<igs_line_entity>(3)->z2(), 9.0);
  }
}

// Entities in any order, whatever their parameter pointers say; two runs of lines for one
// entity read it twice, the second winning; an entity with no lines keeps its Directory values.
TEST(ParameterSection, OrderAndRunsOfLines) {
  IgesText text = head();
  text.DE(110, 0, 1, 1, "KEPT").DE(116, 0, 99).DE(110, 0, 0);
  text.P(5, "110,9.,9.,9.,9.,9.,9.;").P(3, "116,7.,8.,9.;").P(5, "110,1.,2.,3.,4.,5.,6.;").T();
  FileRead read(text.str());
  EXPECT_EQ(read.result, read.file);
  EXPECT_EQ(read.errors(), Errors{});
  EXPECT_STREQ(read.entity<igs_line_entity>(0)->label(), "KEPT");
  EXPECT_EQ(read.entity<igs_point_entity>(1)->z(), 9.0);
  EXPECT_EQ(read.entity<igs_line_entity>(2)->x1(), 1.0);
  EXPECT_EQ(read.entity<igs_line_entity>(2)->z2(), 6.0);
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

// Lists of selects of entities are read packed, an entity a word: the writer answers them as
// they stand, and the selects made when an element is first asked for are the reader's own,
// a member that names no entity of the list's classes as the reader leaves it.
template <class List>
std::string packed_then_made(FileRead& read, List* list) {
  std::string out = list && list->isPacked() ? "packed:" : "unpacked:";
  if (!list) return out;
  for (unsigned i = 0; i < list->size(); ++i) {
    igs_directory_entry* e = list->entityAt(i);
    out += " " + (e ? std::to_string(e->de_number) : std::string("-"));
  }
  List copy(*list);  // shares the packed words, and makes selects of its own
  const std::string written = read.written(0);
  out += list->isPacked() ? " written packed;" : " unpacked by the write;";
  for (unsigned i = 0; i < list->size(); ++i) {
    auto* select = (*list)[i];
    LumoAttribute* choice = select ? select->getAttribute(nullptr) : nullptr;
    out += " " + std::string(!select ? "-" : choice ? choice->name : "none");
    if (select && !select->entity()) out += "(null)";
    if (select &&
        ((*list)[i] != select || copy[i] == select || copy[i]->getAttribute(nullptr) != choice ||
         select->design_section() != list->design_section()))
      out += "!";
  }
  if (read.written(0) != written) out += " written otherwise";
  return out;
}

TEST(ParameterSection, SelectsOfEntitiesHeldPacked) {
  IgesText text = head();
  text.DE(110, 0, 1).DE(132, 0, 2).DE(406, 15, 3).DE(102, 0, 4).DE(402, 13, 5);
  text.P(1, "110,0.,0.,0.,1.,0.,0.;").P(3, "132;").P(5, "406,1,4HNAME;");
  text.P(7, "102,4,1,3,5,99,0,2,5,1;").P(9, "402,1,2,0,1,5;").T();
  FileRead read(text.str());
  ASSERT_EQ(read.result, read.file);
  auto* curve = read.entity<igs_composite_curve_entity>(3);
  auto* dimensioned = read.entity<igs_dimensioned_geometry_entity>(4);
  ASSERT_TRUE(curve && dimensioned);
  EXPECT_EQ(packed_then_made(read, curve->de()),
            "packed: 1 3 - - written packed; _geometric_entity _connect_point_entity - -");
  EXPECT_EQ(packed_then_made(read, curve->properties()),
            "packed: 5 - written packed; _property_entity none(null)");
  EXPECT_EQ(packed_then_made(read, dimensioned->geom()),
            "packed: 1 - written packed; _geometric_entity "
            "_constructive_solid_geometry_entity(null)");
}
