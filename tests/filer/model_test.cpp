// The model object of applications: one call to read, the entities in file order, the reports
// as values (and still on the error channel unless turned off), one call to write.
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <igeslib.h>

#include "support/corpus.h"
#include "support/records.h"
#include "support/reports.h"

using igeslib_test::IgesText;

namespace {

const char* kGlobal = "1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;";
const char* kSample = "examples/data/sample_part.igs";

std::filesystem::path scratch(const std::string& name) {
  return std::filesystem::temp_directory_path() / ("igeslib_model_test_" + name);
}

std::filesystem::path write_bytes(const std::string& name, const std::string& bytes) {
  std::filesystem::path path = scratch(name);
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

TEST(Model, ReadsAFileWithItsEntitiesInFileOrder) {
  igeslib::Model model = igeslib::read(kSample);
  EXPECT_EQ(model.status(), igeslib::ReadStatus::completed);
  EXPECT_TRUE(model.reports().empty());
  ASSERT_EQ(model.entities().size(), 15u);
  int expected_de = 1;
  for (igs_directory_entry* entity : model.entities()) {
    EXPECT_EQ(entity->de_number, expected_de);
    EXPECT_EQ(entity->design(), model.design());
    expected_de += 2;
  }
  EXPECT_EQ(igeslib::entity_type_and_form(model.entities()[0]), std::make_pair(124, 0));
  ASSERT_NE(model.global_section(), nullptr);
  EXPECT_EQ(model.global_section()->version(), 11);
  EXPECT_EQ(model.file()->start_section()->size(), 3u);
}

// A report is a value with the line, column, message and record of the text that the filer
// sent; with echo on the text still goes where it went before, with echo off it does not.
TEST(Model, ReportsAreValuesAndStillReachTheChannel) {
  std::string bytes = IgesText().S("s").G(kGlobal).DE(116, 0).P(1, "116,1.,x2.,3.;").T().str();
  std::filesystem::path path = write_bytes("bad_token.igs", bytes);
  for (bool echo : {true, false}) {
    SCOPED_TRACE(echo);
    igeslib_test::CapturedReports channel;
    igeslib::ReadOptions options;
    options.echo_reports = echo;
    igeslib::Model model = igeslib::read(path, options);
    EXPECT_TRUE(model.completed());
    ASSERT_EQ(model.reports().size(), 1u);
    const igeslib::Report& report = model.reports()[0];
    EXPECT_EQ(report.line, 5);
    EXPECT_EQ(report.column, 8);
    EXPECT_FALSE(report.warning);
    EXPECT_EQ(report.message, "Invalid floating point value");
    EXPECT_EQ(report.record.substr(0, 14), "116,1.,x2.,3.;");
    EXPECT_EQ(channel.text().empty(), !echo);
    if (echo) {
      EXPECT_EQ(channel.text(), report.text);
    }
  }
  // The channel's destination is as it was before the read.
  igeslib_test::CapturedReports after;
  lumo_io_ec()->text("after\n");
  EXPECT_EQ(after.text(), "after\n");
}

// What can't be read is never a crash: a file that can't be opened is told by its errno, a
// file that isn't IGES or ends too soon stops the read with a report.
TEST(Model, BadInputGivesAStatusAndReports) {
  std::string good = IgesText().S("s").G(kGlobal).DE(116, 0).P(1, "116,1.,2.,3.;").T().str();
  struct Case {
    const char* name;
    std::filesystem::path path;
    igeslib::ReadStatus status;
    int error;
  } cases[] = {
      {"missing", scratch("no_such_file.igs"), igeslib::ReadStatus::not_opened, ENOENT},
      {"directory", std::filesystem::temp_directory_path(), igeslib::ReadStatus::not_opened,
       EISDIR},
      {"binary", write_bytes("binary.igs", std::string("\x7f\x45LF\0\1\2\3\xff\xfe", 10)),
       igeslib::ReadStatus::stopped, 0},
      {"truncated", write_bytes("truncated.igs", good.substr(0, good.size() / 2)),
       igeslib::ReadStatus::stopped, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    igeslib::ReadOptions options;
    options.echo_reports = false;
    igeslib::Model model = igeslib::read(c.path, options);
    EXPECT_EQ(model.status(), c.status);
    EXPECT_EQ(model.open_error(), c.error);
    ASSERT_FALSE(model.reports().empty());
    if (c.error) {
      EXPECT_EQ(model.reports()[0].message, "Error 2034: Cannot open file " + c.path.string());
    }
  }
}

TEST(Model, WritesWhatItReadByteForByte) {
  igeslib::Model model = igeslib::read(kSample);
  std::filesystem::path out = scratch("copy.igs");
  igeslib::WriteResult result = model.write(out);
  EXPECT_TRUE(result.written);
  EXPECT_TRUE(result.reports.empty());
  EXPECT_EQ(igeslib_test::contents(out), igeslib_test::contents(kSample));

  igeslib::WriteOptions options;
  options.echo_reports = false;
  result = model.write(scratch("no_such_folder") / "copy.igs", options);
  EXPECT_FALSE(result.written);
  EXPECT_EQ(result.error, ENOENT);
  EXPECT_EQ(result.reports.size(), 1u);
}

// Entities made by class name or by class join the model and are written after those read.
TEST(Model, MadeEntitiesJoinTheModel) {
  igeslib::Model model;
  EXPECT_TRUE(model.entities().empty());
  LumoObject* made = model.create("line_entity");
  ASSERT_NE(made, nullptr);
  auto* line = lumo_cast<igs_line_entity>(made);
  ASSERT_NE(line, nullptr);
  line->x2(4.5);
  EXPECT_NE(lumo_cast<igs_point_entity>(model.create("igs_point_entity")), nullptr);
  auto* arc = model.make<igs_circular_arc_entity>();
  arc->x1(1.0);
  EXPECT_NE(model.create("coordinate"), nullptr);  // no entity: not in the list
  EXPECT_EQ(model.create("no_such_class"), nullptr);
  EXPECT_EQ(model.create("directory_entry"), nullptr);   // abstract
  EXPECT_EQ(model.create("geometric_entity"), nullptr);  // abstract
  EXPECT_EQ(model.create("use_flag"), nullptr);          // an enumeration
  ASSERT_EQ(model.entities().size(), 3u);
  EXPECT_EQ(model.entities()[0], static_cast<igs_directory_entry*>(line));

  std::filesystem::path out = scratch("made.igs");
  ASSERT_TRUE(model.write(out).written);
  igeslib::Model again = igeslib::read(out);
  EXPECT_TRUE(again.completed());
  EXPECT_TRUE(again.reports().empty());
  ASSERT_EQ(again.entities().size(), 3u);
  auto* read_line = lumo_cast<igs_line_entity>(again.entities()[0]);
  ASSERT_NE(read_line, nullptr);
  EXPECT_EQ(read_line->x2(), 4.5);
  EXPECT_EQ(lumo_cast<igs_circular_arc_entity>(again.entities()[2])->x1(), 1.0);
}

TEST(Model, EveryCorpusFileReadsAsTheFileObjectReadsIt) {
  auto files = igeslib_test::corpus_files();
  if (files.empty()) GTEST_SKIP() << "../shared/corpus is not beside the project";
  for (const auto& path : files) {
    SCOPED_TRACE(path.filename().string());
    igeslib::ReadOptions options;
    options.echo_reports = false;
    igeslib::Model model = igeslib::read(path, options);
    // The file object read alone, as the tools read it.
    LumoDesign* design = LUMO.newDesign("plain");
    LumoDesign* previous = LUMO.useDesign(design);
    auto* file = new (design) igs_iges_file;
    igeslib_test::CapturedReports reports(false);
    igeslib_read_settings().accept_damaged_end = true;
    bool completed = file->read(path.c_str(), 0) != nullptr;
    igeslib_read_settings().accept_damaged_end = false;
    EXPECT_EQ(model.completed(), completed);
    EXPECT_EQ(model.reports().size(), reports.count());
    EXPECT_EQ(model.entities().size(), file->directory_entries()->size());
    LUMO.useDesign(previous);
    delete design;
  }
}

TEST(Model, ReportTextsAreTakenApart) {
  struct Case {
    const char* text;
    int line, column;
    const char* message;
    const char* record;
    bool warning;
  } cases[] = {
      {"Error at line #: 12, column #: 7\n\tBad real\nIGES record:\n110,1.,2.  P  1\n      ^\n", 12,
       7, "Bad real", "110,1.,2.  P  1", false},
      {"Warning at line #: 3, column #: 80\n\tASCII NULL (0x00) character found, treated as "
       "space\n",
       3, 80, "ASCII NULL (0x00) character found, treated as space", "", true},
      {"Error 2034: Cannot open file x.igs\n", 0, 0, "Error 2034: Cannot open file x.igs", "",
       false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    igeslib::Report report = igeslib::parse_report(c.text);
    EXPECT_EQ(report.line, c.line);
    EXPECT_EQ(report.column, c.column);
    EXPECT_EQ(report.message, c.message);
    EXPECT_EQ(report.record, c.record);
    EXPECT_EQ(report.warning, c.warning);
    EXPECT_EQ(report.text, c.text);
  }
}

}  // namespace
