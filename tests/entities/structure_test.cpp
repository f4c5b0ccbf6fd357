// Parameter data of the subfigure definition: depth, name and a counted list of members,
// where 0 names the first entity of the file.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "entities/entity_files.h"

using igeslib_test::Entry;
using igeslib_test::FileRead;
using igeslib_test::iges_file;
using igeslib_test::parameters_of;
using igeslib_test::place;
using igeslib_test::written;

namespace {

const Entry kLine{110, 0, "110,0.,0.,0.,1.,1.,1.;"};
const Entry kArc{100, 0, "100,0.,0.,0.,1.,0.,1.,0.;"};

// The subfigure definition at place 2 of a read of the line, the arc and it.
struct Subfigure {
  explicit Subfigure(const std::string& bytes) : read(bytes) {
    list = read.file->directory_entries();
    if (list->size() == 3) entity = lumo_cast<igs_subfigure_definition_entity>((*list)[2]);
  }
  std::vector<int> members() {
    std::vector<int> out;
    for (unsigned i = 0; i < entity->de()->size(); ++i)
      out.push_back(place(list, (*entity->de())[i]));
    return out;
  }
  FileRead read;
  ListOfigs_directory_entry* list = nullptr;
  igs_subfigure_definition_entity* entity = nullptr;
};

TEST(SubfigureDefinition, ReadWriteAndReadAgain) {
  const struct {
    const char* parameters;
    int depth;
    const char* name;  // null for none
    std::vector<int> members;
    const char* plain;      // written with zeros kept
    const char* defaulted;  // written with zeros left out
  } cases[] = {
      // A member pointer of 0 names the first entity, as 1 does.
      {"308,2,4HBOLT,3,3,0,1;",
       2,
       "BOLT",
       {1, 0, 0},
       "308,2,4HBOLT,3,3,1,1;",
       "308,2,4HBOLT,3,3,1,1;"},
      {"308,0,,0;", 0, nullptr, {}, "308,0,,0;", "308,,,;"},
      {"308;", 0, nullptr, {}, "308,0,,0;", "308,,,;"},
      // Members that name no entity are kept as read, and left out when written.
      {"308,1,1HX,3,99,-3,5;", 1, "X", {-1, -1, 2}, "308,1,1HX,1,5;", "308,1,1HX,1,5;"},
  };
  for (const auto& c : cases) {
    for (char zero_as_default : {0, 1}) {
      SCOPED_TRACE(std::string(c.parameters) + (zero_as_default ? ", zeros left out" : ""));
      Subfigure first(iges_file({kLine, kArc, {308, 0, c.parameters}}));
      ASSERT_NE(first.entity, nullptr);
      EXPECT_EQ(first.entity->depth(), c.depth);
      EXPECT_STREQ(first.entity->name(), c.name);
      EXPECT_EQ(first.members(), c.members);
      std::string bytes = written(first.read, zero_as_default);
      EXPECT_EQ(parameters_of(bytes, 5), zero_as_default ? c.defaulted : c.plain);
      EXPECT_EQ(first.read.reports.count(), 0u) << first.read.reports.text();

      Subfigure again(bytes);
      ASSERT_NE(again.entity, nullptr);
      EXPECT_EQ(again.entity->depth(), c.depth);
      EXPECT_STREQ(again.entity->name(), c.name);
      std::vector<int> kept;
      for (int member : c.members)
        if (member >= 0) kept.push_back(member);
      EXPECT_EQ(again.members(), kept);
      EXPECT_EQ(again.read.reports.count(), 0u) << again.read.reports.text();
    }
  }
}

// A count that the file could never hold skips the entity before any room is taken for it;
// the entities behind it are read as usual.
TEST(SubfigureDefinition, ACountBeyondTheFileSkipsTheEntity) {
  FileRead read(iges_file({{308, 0, "308,1,1HX,2000000000,1;"}, kLine}));
  ASSERT_EQ(read.result, read.file);
  ASSERT_EQ(read.size(), 2u);
  auto* subfigure = read.entity<igs_subfigure_definition_entity>(0);
  ASSERT_NE(subfigure, nullptr);
  EXPECT_EQ(subfigure->de()->size(), 0u);
  ASSERT_EQ(read.errors().size(), 1u);
  EXPECT_NE(read.errors()[0].find("Entity skipped: a count of 2000000000"), std::string::npos);
  auto* line = read.entity<igs_line_entity>(1);
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->x2(), 1.0);
}

}  // namespace
