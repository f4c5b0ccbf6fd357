// The entity-type registry and the Directory section: which class each (type, form) pair gets,
// the rows a file adds, the fields of a pair read into an entity and written back column by
// column, the second pass that fills the fields by sequence number, and the fixed fields'
// own readers and writers at their edges.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"
#include "igeslib_directory.h"
#include "support/model_support.h"

using igeslib_test::FileRead;
using igeslib_test::IgesText;
using Errors = std::vector<std::string>;

namespace {

const char* name_of(LumoDomain* domain) { return domain ? domain->name() : "(none)"; }

// The class and non-standard flag each (type, form) pair of a D section gets, and the object
// made of it: its own row when listed, else a row added of the type's class, standard only for
// the forms set aside for implementors; a known type of an unknown form is of none.
TEST(Registry, ClassAndFlagOfEachPair) {
  struct Case {
    int entity, form;
    const char* domain;
    int nonstd;
  } const cases[] = {{110, 0, "line_entity", 0},
                     {124, 1, "transformation_matrix_entity", 0},
                     {108, -1, "plane_entity", 0},
                     {102, 1, "composite_curve_entity", 1},
                     {302, 5001, "associativity_definition_entity", 0},
                     {302, 10000, "associativity_definition_entity", 1},
                     {402, 5000, "associativity_instance_entity", 1},
                     {406, 9999, "user_defined_property_entity", 0},
                     {406, 15, "name_entity", 0},
                     {999, 0, "null_entity", 1},
                     {106, 4, "null_entity", 1},
                     {0, 0, "null_entity", 0}};
  ScratchDesign design("registry");
  LumoDesign* before = LUMO.useDesign(design);
  IgesText text;
  for (const Case& c : cases) text.DE(c.entity, c.form);
  igeslib_test::FilerOver f(text.T().str());
  ASSERT_EQ(std::fgetpos(f.io.fp, &f.io.section_position), 0);
  ASSERT_TRUE(f.next());
  auto* list = new (design.design) ListOfigs_directory_entry(0);
  EXPECT_TRUE(igeslib_catch_abort([&] { f.io.parse_de_section(list); }));
  ASSERT_EQ(list->size(), std::size(cases));
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    SCOPED_TRACE(std::to_string(c.entity) + "/" + std::to_string(c.form));
    EXPECT_STREQ(name_of((*list)[i]->domain()), c.domain);
    if (!c.nonstd) {
      EXPECT_EQ((*list)[i]->form(), c.form);
    }
    IgeslibEntityData* row = f.io.entity_table.find_entity_data(c.entity, c.form);
    ASSERT_NE(row, nullptr);
    EXPECT_STREQ(name_of(igeslib_get_domain(row)), c.domain);
    EXPECT_EQ(igeslib_is_nonstd(row), c.nonstd);
    EXPECT_EQ(igeslib_get_count(row), 1u);
  }
  LUMO.useDesign(before);
}

// The Directory section is read twice, and each pass tells its progress anew.
TEST(DirectorySection, ProgressIsToldInBothPasses) {
  ScratchDesign design("progress");
  LumoDesign* before = LUMO.useDesign(design);
  const char was = LUMO.quiet();
  LUMO.quiet(0);
  IgesText text;
  for (int i = 0; i < 501; ++i) text.DE(110, 0);
  igeslib_test::FilerOver f(text.T().str());
  ASSERT_EQ(std::fgetpos(f.io.fp, &f.io.section_position), 0);
  ASSERT_TRUE(f.next());
  auto* list = new (design.design) ListOfigs_directory_entry(0);
  EXPECT_TRUE(igeslib_catch_abort([&] { f.io.parse_de_section(list); }));
  EXPECT_EQ(f.reports.messages(), (Errors{"Reading line 1000", "Reading line 1000"}));
  LUMO.quiet(was);
  LUMO.useDesign(before);
}

// The rows of one run start from the static ones; past the spare rows the table grows by a
// tenth and stays sorted.
TEST(Registry, StartsFromTheStaticRowsAndGrows) {
  load_model();
  IgeslibEntityTable first;
  first.add_entity_data(999, 1, first.find_domain(999));
  igeslib_increment_count(first.find_entity_data(110, 0));
  IgeslibEntityTable table;  // additions and counts of one run don't reach the next
  EXPECT_EQ(table.find_entity_data(999, 1), nullptr);
  EXPECT_EQ(igeslib_get_count(table.find_entity_data(110, 0)), 0u);
  EXPECT_EQ(table.count, 302u);
  LumoDomain* raw = table.find_domain(900);
  for (int k = 0; k < 30; ++k) table.add_entity_data(900 - k, 0, raw);
  EXPECT_EQ(table.capacity, 332u);
  IgeslibEntityData* row = table.add_entity_data(5, 3, raw);  // the 31st new key
  EXPECT_EQ(table.count, 333u);
  EXPECT_EQ(table.capacity, 366u);                   // 333 * 1.1, cut to a whole number
  EXPECT_EQ(table.add_entity_data(5, 3, raw), row);  // a pair already there is found
  EXPECT_EQ(table.count, 333u);
  for (int k = 0; k < 30; ++k) EXPECT_NE(table.find_entity_data(900 - k, 0), nullptr) << k;
  EXPECT_EQ(table.find_entity_data(5, 3), row);
  EXPECT_STREQ(name_of(table.find_domain(100)), "null_entity");  // no row for other forms
}

TEST(Registry, RowFunctionsAreSafeOnANullRow) {
  igeslib_increment_count(nullptr);
  igeslib_set_domain(nullptr, nullptr);
  igeslib_set_nonstd(nullptr, 0);
  EXPECT_EQ(igeslib_get_domain(nullptr), nullptr);
  EXPECT_EQ(
      (std::vector<long>{static_cast<long>(igeslib_get_count(nullptr)), igeslib_get_entity(nullptr),
                         igeslib_get_form(nullptr), igeslib_is_nonstd(nullptr)}),
      (std::vector<long>{0, -1, -1, 1}));
  IgeslibEntityData row{406, 3, nullptr, 7, 0};
  EXPECT_EQ(igeslib_is_nonstd(&row), 1);  // any non-zero flag answers 1
  igeslib_set_nonstd(&row, 0);
  EXPECT_EQ(igeslib_is_nonstd(&row), 0);
}

IgesText head() {
  IgesText text;
  text.S("directory test").G("1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;");
  return text;
}

// Fixed fields of a D record, each right-justified in eight columns.
std::string fields(std::initializer_list<const char*> values) {
  std::string out;
  for (const char* v : values) out += std::string(8 - std::strlen(v), ' ') + v;
  return out;
}

// The 72 columns that an entity writes into a blank record, the first or the second.
std::string written(igs_directory_entry* e, bool first) {
  char out[90];
  std::memset(out, ' ', sizeof out - 1);
  out[sizeof out - 1] = '\0';
  first ? e->de_write_record_one(out) : e->de_write_record_two(out);
  return std::string(out, 72);
}

// A file of the pairs among the entities that their pointers name: DE 1 to 11 before them, an
// attribute table definition and a segmented views visible entity after them.
FileRead pairs_among_targets(const std::vector<std::pair<std::string, std::string>>& pairs) {
  IgesText text = head();
  text.DE(304, 1).DE(406, 1).DE(410, 0).DE(124, 0).DE(402, 5).DE(314, 0);
  for (const auto& [one, two] : pairs) text.D(one).D(two);
  return FileRead(text.DE(322, 0).DE(402, 19).T().str());
}

// Pairs read and written again: each pointer resolves to the entity of its DE number, which
// writes that number back, forward references included; where the written record differs from
// the one read, the row says how. Every class is read and written again with values drawn at
// random in the round trips.
TEST(DirectoryRecords, ReadAndWrittenAgain) {
  const struct {
    const char *one, *two;
    const char *one_out = nullptr, *two_out = nullptr;  // null: as read
  } rows[] = {
      {"     128      21               1      -3       5       7       901000200",
       "     128       2       3      12       8                   SURF1       2"},
      {"     422      60     -27                                        00010100",
       "     422                       1       0                      T1       3"},
      // A blank ends the label; a definition colour is negative.
      {"     110       1       0       0      -3       0       7       000000000",
       "     110       0     -11       1       0                  EDGE 1      42",
       "     110       1               0      -3               7        00000000",
       "     110       0     -11       1       0                    EDGE      42"},
      // Blank fields read as zeros: pattern none and level 0 write as zeros, the status never
      // set as zeros; a negative transformation is ignored.
      {"     110       5                                      -3                ",
       "     110                                                               0",
       "     110       5               0       0                        00000000",
       "     110       0       0       0       0                               0"},
      // A fixed line font: the field is not read.
      {"     106      90              -7                                00000000",
       "     106                       1      40                               0",
       "     106      90               1       0                        00000100",
       "     106       0       0       1      40                               0"},
      // A positive structure names no definition: blank columns, and no end of text inside.
      {"     422      95       3                                        00000000",
       "     422                       1       1                               0",
       "     422      95                                                00000000"},
      // Level names a matrix, view the segmented views visible entity behind, label display
      // and line font point past the list, colour 9 is no colour number: choices with nothing
      // chosen, which write 0 (as the value 0 they read back as) or blanks.
      {"     100       0       0     -99      -7      29       7      4100000000",
       "     100       0       9       1       0                               0",
       "     100       0               0       0               7        00000000",
       "     100       0       0       1       0                               0"},
  };
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const auto& r : rows) pairs.emplace_back(r.one, r.two);
  FileRead read = pairs_among_targets(pairs);
  ASSERT_EQ(read.size(), 8 + std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(rows[i].one);
    igs_directory_entry* e = read.entity<igs_directory_entry>(6 + i);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(written(e, true), rows[i].one_out ? rows[i].one_out : rows[i].one);
    EXPECT_EQ(written(e, false), rows[i].two_out ? rows[i].two_out : rows[i].two);
  }
  auto* arc = read.entity<igs_circular_arc_entity>(6 + std::size(rows) - 1);
  ASSERT_NE(arc, nullptr);
  EXPECT_TRUE(arc->level()->is_definition_levels_entity());
  EXPECT_EQ(arc->level()->_definition_levels_entity(), nullptr);
  ASSERT_NE(arc->view(), nullptr);
  EXPECT_EQ(arc->view()->getAttribute(nullptr), nullptr);
  EXPECT_EQ(arc->label_display(), nullptr);
  EXPECT_TRUE(arc->line_font()->is_line_font_definition_entity());
  EXPECT_FALSE(arc->color()->is_color_number());
  EXPECT_FALSE(arc->color()->is_color_definition_entity());
  EXPECT_EQ(arc->label(), nullptr);  // blanks give no label
}

// The four two-column status fields (blank, subordinate, use, hierarchy) in every shape a file
// gives them, and what each class keeps of them: stored, constant, absent, skipped, and the
// unchecked u digit.
TEST(DirectoryRecords, StatusByClass) {
  const struct {
    int type, form;
    const char *in, *out;
  } rows[] = {
      {116, 0, "01020300", "01020300"},
      {116, 0, "        ", "00000000"},
      {116, 0, " 1 2 3 0", "01020300"},
      {116, 0, "0001 2  ", "00010200"},
      {116, 0, "01x20300", "01000300"},
      {116, 0, "1 0 1 0 ", "01000100"},
      // aa0-: the use flag 5 of the file is dropped; 00 stands for it.
      {150, 0, "01010501", "01010000"},
      // z---: whatever the file said, 00 four times.
      {124, 0, "01020301", "00000000"},
      // aaua: an unset u digit writes 0-1 and the hierarchy digit takes its last column.
      {132, 0, "01010402", "01010-02"},
      // -02-: constants of the class.
      {314, 0, "01010101", "00000200"},
      // a1aa: out-of-range blank status stays unset.
      {510, 1, "07000901", "00010001"},
  };
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const auto& r : rows)
    pairs.emplace_back(
        fields({std::to_string(r.type).c_str(), "0", "0", "0", "0", "0", "0", "0", r.in}),
        fields({std::to_string(r.type).c_str(), "0", "0", "1", std::to_string(r.form).c_str()}));
  FileRead read = pairs_among_targets(pairs);
  ASSERT_EQ(read.size(), 8 + std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(std::to_string(rows[i].type) + " " + rows[i].in);
    EXPECT_EQ(written(read.entity<igs_directory_entry>(6 + i), true).substr(64), rows[i].out);
  }
}

TEST(DirectoryRecords, OutsideAFileEveryPointerIsNull) {
  ScratchDesign design;
  LumoDesign* previous = LUMO.useDesign(design);
  EXPECT_EQ(igeslib_resolve_de(1), nullptr);  // no root object
  auto* file = new (design.design) igs_iges_file;
  design->rootObject(file);
  auto* point = new (design.design) igs_point_entity;
  EXPECT_EQ(igeslib_resolve_de(1), point);  // the list is gathered from the design
  EXPECT_EQ(igeslib_resolve_de(-1), point);
  EXPECT_EQ(igeslib_resolve_de(3), nullptr);
  EXPECT_EQ(igeslib_resolve_de(0), nullptr);
  // No line font, level or colour: 0, which blank fields would read back as.
  EXPECT_EQ(written(point, true).substr(24, 16), fields({"0", "0"}));
  EXPECT_EQ(written(point, false).substr(16, 8), fields({"0"}));
  LUMO.useDesign(previous);
}

// Pairs stated in the order 3, 1, 77: each class comes from its position, each set of fields
// from its sequence number, and a sequence number that names no entity is passed by.
TEST(DirectorySection, FieldsGoToTheEntityTheSequenceNumberNames) {
  using igeslib_test::record;
  IgesText text = head();
  text.raw(record('D', 3, fields({"116", "1", "0", "0", "0", "0", "0", "0", "0"})))
      .raw(record('D', 4, fields({"116", "0", "2", "1", "0", "", "", "SECOND", "0"})))
      .raw(record('D', 1, fields({"110", "1", "0", "0", "0", "0", "0", "0", "0"})))
      .raw(record('D', 2, fields({"110", "0", "3", "1", "0", "", "", "FIRST", "0"})))
      .raw(record('D', 77, fields({"110", "1", "0", "0", "0", "0", "0", "0", "0"})))
      .raw(record('D', 78, fields({"110", "0", "0", "1", "0", "", "", "LOST", "0"})));
  FileRead read(text.raw(record('T', 1, igeslib_test::terminate_text(1, 1, 6, 0))).str());
  EXPECT_EQ(read.result, read.file);
  ASSERT_EQ(read.size(), 3u);
  auto* point = read.entity<igs_point_entity>(0);
  auto* line = read.entity<igs_line_entity>(1);
  ASSERT_NE(point, nullptr);
  ASSERT_NE(line, nullptr);
  EXPECT_STREQ(point->label(), "FIRST");
  EXPECT_STREQ(line->label(), "SECOND");
  EXPECT_EQ(read.entity<igs_line_entity>(2)->label(), nullptr);
  FileRead empty(head().T().str());
  EXPECT_EQ(empty.result, empty.file);
  EXPECT_EQ(empty.size(), 0u);
  EXPECT_EQ(empty.errors(), Errors{});  // the T record agrees: D is 0
}

// Entities that name the same line font, level and colour may hold one select between them;
// a change through one entity, by its accessor or by the dictionary, never reaches the others,
// and what each writes is its own.
TEST(DirectorySection, ValueFieldsChangedThroughOneEntityOnly) {
  using igeslib_test::record;
  IgesText text = head();
  for (int de = 1; de <= 5; de += 2)
    text.raw(record('D', de, fields({"110", "1", "0", "1", "5", "0", "0", "0", "0"})))
        .raw(record('D', de + 1, fields({"110", "0", "3", "1", "0", "", "", "", "0"})));
  FileRead read(text.raw(record('T', 1, igeslib_test::terminate_text(1, 1, 6, 0))).str());
  ASSERT_EQ(read.size(), 3u);
  igs_line_entity* lines[] = {read.entity<igs_line_entity>(0), read.entity<igs_line_entity>(1),
                              read.entity<igs_line_entity>(2)};
  for (auto* line : lines) ASSERT_NE(line, nullptr);
  const std::string one = written(lines[2], true), two = written(lines[2], false);
  lines[0]->level()->_int_val(7);
  lines[0]->line_font()->_line_pattern(igs_line_pattern_dashed);
  lines[0]->color()->_color_number(igs_color_number_red);
  LumoDataPtr slot = lines[1]->slotAddress(lines[1]->getAttribute("level"), 0);
  ASSERT_NE(slot.v, nullptr);
  int eight = 8;
  ASSERT_TRUE(static_cast<LumoObject*>(*slot.p)->putData(
      lumotype_igs_entity_level->domain->findTypeAttribute("_int_val"), 0, &eight, lumotype_int));
  EXPECT_EQ(lines[0]->level()->_int_val(), 7);
  EXPECT_EQ(lines[1]->level()->_int_val(), 8);
  EXPECT_EQ(lines[2]->level()->_int_val(), 5);
  EXPECT_EQ(written(lines[0], true).substr(24, 16), fields({"2", "7"}));
  EXPECT_EQ(written(lines[0], false).substr(16, 8), fields({"2"}));
  EXPECT_EQ(written(lines[2], true), one);
  EXPECT_EQ(written(lines[2], false), two);
}

// The same for pointers to definitions (of a line font, levels, a colour), which entities that
// name the same one may share too.
TEST(DirectorySection, DefinitionPointersChangedThroughOneEntityOnly) {
  const std::string one = fields({"110", "1", "", "-1", "-3", "", "", "", "00000000"});
  const std::string two = fields({"110", "0", "-11", "1", "0", "", "", "", "0"});
  FileRead read = pairs_among_targets({{one, two}, {one, two}});
  auto* changed = read.entity<igs_line_entity>(6);
  auto* kept = read.entity<igs_line_entity>(7);
  ASSERT_NE(changed, nullptr);
  ASSERT_NE(kept, nullptr);
  changed->color()->_color_number(igs_color_number_red);
  changed->line_font()->_line_pattern(igs_line_pattern_dashed);
  changed->level()->_int_val(4);
  EXPECT_EQ(kept->color()->_color_definition_entity(), read.entity<igs_color_definition_entity>(5));
  EXPECT_EQ(kept->line_font()->_line_font_definition_entity(),
            read.entity<igs_line_font_definition_entity>(0));
  EXPECT_EQ(kept->level()->_definition_levels_entity(),
            read.entity<igs_definition_levels_entity>(1));
  EXPECT_EQ(written(kept, true), one);
  EXPECT_EQ(written(kept, false), two);
  EXPECT_EQ(written(changed, true).substr(24, 16), fields({"2", "4"}));
  EXPECT_EQ(written(changed, false).substr(16, 8), fields({"2"}));
}

TEST(FixedFields, ReadAsTheFormattedScanOfAnInteger) {
  struct Case {
    const char* text;
    int width;
    bool read;
    int value;
  } const cases[] = {{"     110", 8, true, 110}, {"    -3  ", 8, true, -3},
                     {"        ", 8, false, 0},  {"  +12x  ", 8, true, 12},
                     {"\t 7", 3, true, 7},       {"12345678", 4, true, 1234},
                     {"   -    ", 8, false, 0},  {"9999999999", 10, true, 2147483647},
                     {"  1 2", 5, true, 1},      {"-9999999999", 11, true, -2147483647 - 1},
                     {"", 8, false, 0}};
  for (const Case& c : cases) {
    int value = 0;
    EXPECT_EQ(igeslib_scan_int(c.text, c.width, &value), c.read) << '"' << c.text << '"';
    EXPECT_EQ(value, c.value) << '"' << c.text << '"';
  }
}

// An eight-column field read as a word must give what the column-by-column scan gives, for
// every shape of field: blanks and digits in any order, signs, tabs, NULs and other bytes.
TEST(FixedFields, EightColumnsAtOnceAgreeWithTheScan) {
  std::vector<std::string> fields = {"       1",
                                     "       0",
                                     "12345678",
                                     "99999999",
                                     "00000007",
                                     "        ",
                                     "     -12",
                                     "    +120",
                                     "1       ",
                                     "  12 34 ",
                                     "\t      5",
                                     "     5\t ",
                                     "  1x    ",
                                     "   :    ",
                                     "      /9",
                                     "0000000:",
                                     "       ~",
                                     std::string("   12\0"
                                                 "45",
                                                 8)};
  const char alphabet[] = " 0123456789+-\t/:\xff\0";
  std::uint32_t state = 12345;
  for (int n = 0; n < 20000; ++n) {
    std::string eight(8, ' ');
    for (char& c : eight) {
      state = state * 1664525u + 1013904223u;
      // Mostly blanks and digits, the shapes a fast path may take; now and then anything.
      unsigned pick = state >> 24;
      c = pick < 96 ? ' ' : pick < 240 ? static_cast<char>('0' + pick % 10) : alphabet[pick % 18];
    }
    fields.push_back(eight);
  }
  for (const std::string& eight : fields) {
    char record[16] = {};
    std::memcpy(record, eight.data(), 8);
    int expected = 0;
    igeslib_scan_int(record, 8, &expected);
    ASSERT_EQ(igeslib_scan_eight_columns(record), expected) << '"' << eight << '"';
  }
}

// The integer field is the eight-column case of FormatIntIsThePrintfField.
TEST(DirectoryFields, FormattedAsThePrintfFieldsTheyStandFor) {
  struct Case {
    std::function<void(char*)> write;
    const char* text;
  } const cases[] = {
      {[](char* out) { igeslib_de_write_blank(out); }, "        "},
      {[](char* out) { igeslib_de_write_label(out, nullptr); }, "        "},
      {[](char* out) { igeslib_de_write_label(out, "A LONGER LABEL"); }, "A LONGER"},
      {[](char* out) { igeslib_de_write_digit(out, 12); }, "012"},
  };
  for (const Case& c : cases) {
    char out[32];
    std::memset(out, 'x', sizeof out);
    c.write(out);
    EXPECT_STREQ(out, c.text);
  }
}

// Every width a field has, and more, against "%*d": values that fit, that fill the width
// exactly, that spill over, negative ones and the ends of int.
TEST(DirectoryFields, FormatIntIsThePrintfField) {
  std::vector<int> values = {0, 1, -1, 9, 10, 99, 100, 2147483647, -2147483647 - 1};
  for (long long power = 10; power <= 1000000000; power *= 10)
    for (long long v : {power - 1, power, power + 1})
      values.insert(values.end(), {static_cast<int>(v), static_cast<int>(-v)});
  for (int width = 1; width <= 12; ++width)
    for (int v : values) {
      char out[32], printed[32];
      std::memset(out, 'x', sizeof out);
      int n = igeslib_format_int(out, width, v);
      int expected = std::snprintf(printed, sizeof printed, "%*d", width, v);
      ASSERT_STREQ(out, printed) << width << " " << v;
      ASSERT_EQ(n, expected);
    }
}

}  // namespace
