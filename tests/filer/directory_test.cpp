// The entity-type registry and the Directory section: which class each (type, form) pair gets,
// the rows a file adds, and the second pass that fills the fields by sequence number, forward
// references included.
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"
#include "model/model_support.h"

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

// The fields of a pair: pointers resolved forward, the label's first word, the subscript, and
// the four two-column status fields (blank, subordinate, use, hierarchy) in every shape a file
// gives them: digits, blanks, one digit per field, a stray character.
TEST(DirectorySection, PointersLabelsAndStatus) {
  const struct {
    const char *status, *read;  // columns 65-72; blank, subordinate and use read
  } statuses[] = {{"01020300", "1 2 3"}, {"        ", "0 0 0"}, {" 1 2 3 0", "1 2 3"},
                  {"0001 2  ", "0 1 2"}, {"01x20300", "1 0 3"}, {"1 0 1 0 ", "1 0 1"}};
  IgesText text = head();
  // A line on level -3 (the definition levels entity below it), coloured by the colour
  // definition at 5, under the matrix at 7, with a label and a subscript.
  text.D(fields({"110", "1", "0", "0", "-3", "0", "7", "0", "00000000"}))
      .D(fields({"110", "0", "-5", "1", "0", "", "", "EDGE 1", "42"}))
      .DE(406, 1)
      .DE(314, 0)
      .DE(124, 0)
      .DE(110, 0, 1, 1, "        ");
  for (const auto& s : statuses)
    text.D(fields({"116", "1", "0", "0", "0", "0", "0", "0", s.status}))
        .D(fields({"116", "0", "0", "1", "0"}));
  FileRead read(text.T().str());
  ASSERT_EQ(read.size(), 11u);
  auto* line = read.entity<igs_line_entity>(0);
  ASSERT_NE(line, nullptr);
  ASSERT_NE(line->level(), nullptr);
  EXPECT_EQ(line->level()->_definition_levels_entity(),
            read.entity<igs_definition_levels_entity>(1));
  ASSERT_NE(line->color(), nullptr);
  EXPECT_EQ(line->color()->_color_definition_entity(), read.entity<igs_color_definition_entity>(2));
  EXPECT_EQ(line->transformation(), read.entity<igs_transformation_matrix_entity>(3));
  EXPECT_STREQ(line->label(), "EDGE");  // a blank ends the label
  EXPECT_EQ(line->subscript(), 42);
  EXPECT_EQ(read.entity<igs_line_entity>(4)->label(), nullptr);  // blanks give no label
  for (unsigned i = 0; i < std::size(statuses); ++i) {
    auto* point = read.entity<igs_point_entity>(5 + i);
    ASSERT_NE(point, nullptr);
    EXPECT_EQ(std::to_string(static_cast<int>(point->blank())) + " " +
                  std::to_string(static_cast<int>(point->subordinate())) + " " +
                  std::to_string(static_cast<int>(point->used())),
              statuses[i].read)
        << statuses[i].status;
  }
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

}  // namespace
