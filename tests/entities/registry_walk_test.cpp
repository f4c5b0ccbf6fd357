// Every row of the entity-type registry: an entity of its class and form, made fresh and
// written, reads back into that class, and once read writes the same bytes at every pass; no
// class falls to the writer that has no parameter code.
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "entities/entity_files.h"
#include "igeslib_entity_rows.h"
#include "support/reports.h"

using igeslib_test::FileRead;

namespace {

// A form for a row: its own, or for the row of every other form one that no row of the type
// lists.
int form_of(const IgeslibStaticEntityRow& row) {
  if (row.form != igeslib_any_form) return row.form;
  std::set<int> listed;
  for (const IgeslibStaticEntityRow& r : igeslib_static_entity_table)
    if (r.entity == row.entity) listed.insert(r.form);
  int form = 0;
  while (listed.count(form)) ++form;
  return form;
}

// The file of one fresh entity of the row's class, its form set where the class keeps one.
std::string file_of(const IgeslibStaticEntityRow& row, int form) {
  LumoDesign* design = LUMO.newDesign("row", nullptr);
  LUMO.useDesign(design);
  auto* file = new (design) igs_iges_file;
  file->global_section(new (design) igs_global);
  LumoObject* entity = (*row.type)->acquireDomain()->pnewInstance();
  if (LumoAttribute* stored = entity->getAttribute("form"))
    entity->putData(stored, 0, &form, lumotype_int);
  std::string bytes = igeslib_test::write_file(design, file, 0);
  LUMO.useDesign(nullptr);
  delete design;
  return bytes;
}

TEST(Registry, EveryRowReadsIntoItsClassAndWritesBack) {
  igeslib_force_load();
  for (const IgeslibStaticEntityRow& row : igeslib_static_entity_table) {
    LumoDomain* domain = (*row.type)->acquireDomain();
    if (std::string(domain->name()) == "null_entity") continue;  // kept as text, made by none
    int form = form_of(row);
    SCOPED_TRACE(std::to_string(row.entity) + "/" + std::to_string(form) + " " + domain->name());
    // An associativity instance made fresh has no definition: it says so, on both sides.
    igeslib_test::CapturedReports reports;
    testing::internal::CaptureStdout();
    std::string first = file_of(row, form);
    FileRead read(first);
    std::string second = read.written(0);
    FileRead again(second);
    std::string third = again.written(0);
    std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.find("does not contain class code"), std::string::npos) << printed;
    ASSERT_EQ(read.size(), 1u);
    igs_directory_entry* entity = (*read.file->directory_entries())[0];
    EXPECT_EQ(entity->domain(), domain);
    EXPECT_EQ(entity->entity_type(), row.entity);
    // A class of a constant form writes its own form for each of the rows that name it.
    if (entity->getAttribute("form")) {
      EXPECT_EQ(entity->form(), form);
    }
    EXPECT_EQ(third, second);
  }
}

}  // namespace
