// The two directory records of an entity: fields read into objects, objects written back
// column by column, across the families; and the fields' own writers at their edges.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "igeslib_directory.h"
#include "igeslib_io.h"
#include "model/model_support.h"

namespace {

// A file object as root of a scratch design, current for the test, with a directory list
// that the test fills; each entity gets DE number 2i + 1 at its place i.
struct FileUnderTest {
  ScratchDesign design;
  LumoDesign* previous;
  igs_iges_file* file;
  FileUnderTest() {
    previous = LUMO.useDesign(design);
    file = new (design.design) igs_iges_file;
    design->rootObject(file);
    file->directory_populated = 1;
  }
  ~FileUnderTest() { LUMO.useDesign(previous); }
  template <class T>
  T* add() {
    auto* entity = new (design.design) T;
    ListOfigs_directory_entry* list = file->directory_entries();
    entity->de_number = static_cast<int>(2 * list->size() + 1);
    list->add(entity);
    return entity;
  }
};

// What the filer hands the codec: eight-column fields (two for a status digit) read by %d,
// a blank field giving 0; index 12 is the sequence number.
struct Fields {
  int f[13] = {};
};

Fields fields_of(const std::string& record, bool first) {
  Fields out;
  auto cut = [&](int column, int width) {
    int value = 0;
    std::sscanf(record.substr(column, width).c_str(), "%d", &value);
    return value;
  };
  for (int k = 1; k <= (first ? 7 : 4); ++k) out.f[k] = cut(8 * k, 8);
  if (first)
    for (int k = 0; k < 4; ++k) out.f[8 + k] = cut(64 + 2 * k, 2);
  else
    out.f[8] = cut(64, 8);
  return out;
}

// The 72 columns that an entity writes into a blank record, the first or the second.
std::string record(igs_directory_entry* e, bool first) {
  char out[90];
  std::memset(out, ' ', sizeof out - 1);
  out[sizeof out - 1] = '\0';
  first ? e->de_write_record_one(out) : e->de_write_record_two(out);
  return std::string(out, 72);
}
std::string record_one(igs_directory_entry* e) { return record(e, true); }
std::string record_two(igs_directory_entry* e) { return record(e, false); }

std::string columns(const std::string& record, int first, int last) {
  return record.substr(first - 1, last - first + 1);
}

TEST(DirectoryCodec, WrongOrMissingTargetsGiveNullsThatWriteAsTheyReadBack) {
  FileUnderTest t;
  auto* matrix = t.add<igs_transformation_matrix_entity>();  // DE 1
  t.add<igs_segmented_views_visible_entity>();               // DE 3
  auto* arc = t.add<igs_circular_arc_entity>();

  // Level names a matrix, view a segmented views visible entity, label display and
  // line font point past the list, colour 9 is no colour number.
  Fields one{{0, 0, 0, -99, -1, 3, 1, 41, 0, 0, 0, 0, 5}};
  arc->de_read_record_one(one.f);
  EXPECT_TRUE(arc->level()->is_definition_levels_entity());
  EXPECT_EQ(arc->level()->_definition_levels_entity(), nullptr);
  ASSERT_NE(arc->view(), nullptr);
  for (const char* choice : {"_view_entity", "_views_visible_entity", "_views_visible_color_entity",
                             "_segmented_views_visible_entity"})
    EXPECT_NE(arc->view()->getAttribute(choice), arc->view()->getAttribute(nullptr)) << choice;
  EXPECT_EQ(arc->transformation(), matrix);
  EXPECT_EQ(arc->label_display(), nullptr);
  EXPECT_TRUE(arc->line_font()->is_line_font_definition_entity());
  Fields two{{0, 0, 9}};
  arc->de_read_record_two(two.f, nullptr);
  EXPECT_FALSE(arc->color()->is_color_number());
  EXPECT_FALSE(arc->color()->is_color_definition_entity());
  EXPECT_EQ(arc->label(), nullptr);

  const std::string r1 = record_one(arc);
  // A definition choice with no definition writes 0, as the value 0 that it reads back as.
  EXPECT_EQ(columns(r1, 25, 32), "       0");
  EXPECT_EQ(columns(r1, 33, 40), "       0");
  EXPECT_EQ(columns(r1, 41, 48), "        ");  // view select without a choice
  EXPECT_EQ(columns(r1, 49, 56), "       1");
  EXPECT_EQ(columns(r1, 57, 64), "        ");
  const std::string r2 = record_two(arc);
  EXPECT_EQ(columns(r2, 17, 24), "       0");  // colour with no choice: its zeroed value
  EXPECT_EQ(columns(r2, 57, 64), "        ");
  EXPECT_EQ(columns(r2, 65, 72), "       0");
}

TEST(DirectoryCodec, OutsideAFileEveryPointerIsNull) {
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
  LUMO.useDesign(previous);
}

// Status digits: stored, constant, absent, skipped and the unchecked u digit.
TEST(DirectoryCodec, StatusDigitsByClass) {
  FileUnderTest t;
  struct Row {
    igs_directory_entry* entity;
    Fields in;
    const char* status;  // columns 65-72 written back
  };
  const Row rows[] = {
      // aa0-: the use flag 5 of the file is dropped; 00 stands for it.
      {t.add<igs_block_entity>(), {{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 5, 1}}, "01010000"},
      // z---: whatever the file said, 00 four times.
      {t.add<igs_transformation_matrix_entity>(),
       {{0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 1}},
       "00000000"},
      // aaua: an unset u digit writes 0-1 and the hierarchy digit takes its last column.
      {t.add<igs_connect_point_entity>(), {{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 4, 2}}, "01010-02"},
      // -02-: constants of the class.
      {t.add<igs_color_definition_entity>(), {{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1}}, "00000200"},
      // a1aa: out-of-range blank status stays unset.
      {t.add<igs_face_entity>(), {{0, 0, 0, 0, 0, 0, 0, 0, 7, 0, 9, 1}}, "00010001"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.entity->domain()->name());
    Fields in = r.in;
    r.entity->de_read_record_one(in.f);
    EXPECT_EQ(columns(record_one(r.entity), 65, 72), r.status);
  }
  auto* point = t.add<igs_point_entity>();
  point->used(igs_use_flag_annotation);
  EXPECT_EQ(columns(record_one(point), 65, 72), "00000100");
}

// Records read and written again, for a sample of every family: each pointer resolves to the
// entity of its DE number, which writes that number back; where the written record differs
// from the one read, the row says how.
TEST(DirectoryCodec, RecordsReadAndWrittenAgain) {
  FileUnderTest t;
  t.add<igs_repeating_template_subfigure_entity>();  // DE 1
  t.add<igs_definition_levels_entity>();             // DE 3
  t.add<igs_view_volume_entity>();                   // DE 5
  t.add<igs_transformation_matrix_entity>();         // DE 7
  t.add<igs_label_display_entity>();                 // DE 9
  t.add<igs_color_definition_entity>();              // DE 11
  t.add<igs_attribute_table_definition_entity>();    // DE 13
  t.add<igs_associativity_definition_entity>();      // DE 15
  struct Row {
    igs_directory_entry* entity;
    const char *one, *two;
    const char *one_out = nullptr, *two_out = nullptr;  // null: as read
  };
  const Row rows[] = {
      {t.add<igs_rational_bspline_surface_entity>(),
       "     128      21               1      -3       5       7       901000200",
       "     128       2       3      12       8                   SURF1       2"},
      {t.add<igs_general_note_entity>(),
       "     212      33               1       4       5                01010100",
       "     212       0     -11       4     100                    NOTE       0"},
      {t.add<igs_solid_assembly_entity>(),
       "     184      40              -1      -3               7       900000201",
       "     184       1       5       1       0                               0"},
      {t.add<igs_vertex_list_entity>(),
       "     502      50                       2                       901010100",
       "     502               0       1       1                               0"},
      {t.add<igs_tuple_instance_entity>(),
       "     422      60     -13                                        00010100",
       "     422                       1       0                      T1       3"},
      {t.add<igs_direction_entity>(),
       "     123      70              -1       6       5               900010200",
       "     123       3       6       1       0                               0"},
      {t.add<igs_associativity_instance_entity>(),
       "     402      80     -15                                        00000000",
       "     402                       1       5                               0"},
      // Blank fields read as zeros: pattern none and level 0 write as zeros, the status never
      // set as zeros; a negative transformation is ignored.
      {t.add<igs_line_entity>(),
       "     110       5                                      -3                ",
       "     110                                                               0",
       "     110       5               0       0                        00000000",
       "     110       0       0       0       0                               0"},
      // A fixed line font: the field is not read; a constant form ignores the file.
      {t.add<igs_witness_line_entity>(),
       "     106      90              -7                                00000000",
       "     106                       1     105                               0",
       "     106      90               1       0                        00000100",
       "     106       0       0       1      40                               0"},
      // A positive structure names no definition: blank columns, and no end of text inside.
      {t.add<igs_table_instance_entity>(),
       "     422      95       3                                        00000000",
       "     422                       1       1                               0",
       "     422      95                                                00000000"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.entity->domain()->name());
    Fields one = fields_of(r.one, true), two = fields_of(r.two, false);
    char label[9] = {};
    std::sscanf(std::string(r.two).substr(56, 8).c_str(), "%8s", label);
    r.entity->de_read_record_one(one.f);
    r.entity->de_read_record_two(two.f, label[0] ? label : nullptr);
    EXPECT_EQ(record_one(r.entity), r.one_out ? r.one_out : r.one);
    EXPECT_EQ(record_two(r.entity), r.two_out ? r.two_out : r.two);
  }
}

TEST(DirectoryCodec, UnplacedEntityKeepsItsRecordsAsText) {
  FileUnderTest t;
  IgeslibIO io;
  t.file->filer_ = &io;
  auto* unknown = t.add<igs_null_entity>();
  const std::string first =
      "     999       1       0       0       0       0       0       000000000";
  const std::string second =
      "     999       0       0       2       7                               0";
  std::memcpy(io.line, (first + "D      1").c_str(), 80);
  Fields one = fields_of(first, true);
  unknown->de_read_record_one(one.f);
  std::memcpy(io.line, (second + "D      2").c_str(), 80);
  Fields two = fields_of(second, false);
  unknown->de_read_record_two(two.f, nullptr);
  t.file->filer_ = nullptr;
  EXPECT_EQ(unknown->pd_pointer, 0);  // the fields are not read
  EXPECT_EQ(unknown->pd_line_count, 2);
  EXPECT_EQ(unknown->entity_type(), 0);
  EXPECT_EQ(record_one(unknown), first);
  EXPECT_EQ(record_two(unknown), second);
}

TEST(DirectoryFields, FormattedAsThePrintfFieldsTheyStandFor) {
  struct Case {
    std::function<void(char*)> write;
    const char* text;
  } const cases[] = {
      {[](char* out) { igeslib_de_write_int(out, -12345678); }, "-12345678"},  // spills over
      {[](char* out) { igeslib_de_write_int(out, -2147483647 - 1); }, "-2147483648"},
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
