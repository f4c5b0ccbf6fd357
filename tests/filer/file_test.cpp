// The read and write drivers of the file object: what they switch and restore, strictness,
// fatal errors, and reals read and written under a locale with a decimal comma. Then the model
// object of applications: one call to read, the entities in file order, the reports as values
// (and still on the error channel unless turned off), one call to write.
#include <cerrno>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"
#include "support/corpus.h"
#include "support/model_support.h"

using igeslib_test::CapturedReports;
using igeslib_test::FileRead;
using igeslib_test::IgesText;
using igeslib_test::MemoryFile;
using Errors = std::vector<std::string>;

namespace {

const char* kGlobal = "1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;";

// What the file object writes, to a scratch stream.
std::string written(igs_iges_file* file) {
  FILE* out = std::tmpfile();
  EXPECT_EQ(file->write(out, 1), file);
  std::string text = igeslib_test::slurp(out);
  std::fclose(out);
  return text;
}

TEST(ReadDriver, NullStreamChangesNothing) {
  ScratchDesign design("null stream");
  auto* file = new (design.design) igs_iges_file;
  LumoObject* root = new (design.design) igs_global;
  design->rootObject(root);
  EXPECT_EQ(file->read(static_cast<FILE*>(nullptr), 1), nullptr);
  EXPECT_EQ(file->write(static_cast<FILE*>(nullptr), 1), nullptr);
  EXPECT_EQ(design->rootObject(), root);
  EXPECT_EQ(file->start_section_, nullptr);
}

// Whether the read completes or not, the caller's design is current again, the file is the
// root of its own and holds a Start section (empty when none was read), and no filer is left.
TEST(ReadDriver, CallersDesignIsCurrentAgainAfterARead) {
  ScratchDesign caller("caller");
  ScratchDesign other("file");
  for (std::string bytes : {std::string(), IgesText().S("s").G(kGlobal).T().str()}) {
    SCOPED_TRACE(bytes.size());
    auto* file = new (other.design) igs_iges_file;
    LUMO.useDesign(caller);
    MemoryFile stream(bytes);
    CapturedReports quiet;
    EXPECT_EQ(file->read(stream.get(), 0), bytes.empty() ? nullptr : file);
    EXPECT_EQ(LUMO.design(), caller.design);
    EXPECT_EQ(file->directory_populated, 0);
    EXPECT_EQ(file->igesFiler(), nullptr);
    EXPECT_EQ(other->rootObject(), file);
    ASSERT_NE(file->start_section_, nullptr);
    EXPECT_EQ(file->start_section_->size(), bytes.empty() ? 0u : 1u);
  }
}

TEST(ReadDriver, StrictDecidesWhetherAMissingStartSectionEndsTheRead) {
  std::string bytes = IgesText().G(kGlobal).DE(110, 0).T().str();
  FileRead lenient(bytes, 0);
  EXPECT_EQ(lenient.result, lenient.file);
  EXPECT_EQ(lenient.size(), 1u);
  FileRead strict(bytes, 1);
  EXPECT_EQ(strict.result, nullptr);
  EXPECT_EQ(strict.size(), 0u);
  EXPECT_EQ(strict.errors(), Errors{"1:73 File should contain at least one start section record"});
}

// A damaged last record ends the read by default. Accepted, it is reported the same and the
// read completes, when the record is recognisably the Terminate record.
TEST(ReadDriver, DamagedLastRecordIsFatalUnlessAccepted) {
  struct Accept {
    ~Accept() { igeslib_read_settings() = IgeslibReadSettings{}; }
  } restore;
  std::string body = IgesText().S("s").G(kGlobal).DE(116, 0).P(1, "116,1.,2.,3.;").str();
  std::string t = igeslib_test::record('T', 1, igeslib_test::terminate_text(1, 1, 2, 1));
  std::string blank = t.substr(0, 73) + std::string(7, ' ');
  const std::string eof = "Error while reading IGES file, or premature EOF";
  const char* no_end = "the file ends inside it, without a line end";
  const struct {
    std::string bytes;
    Errors errors;        // with the setting on; off, the first of them ends the read
    const char* damaged;  // null: fatal either way
  } cases[] = {
      {body + blank + "\n", {"6:73 Invalid sequence number"}, "Invalid sequence number"},
      {body + t, {"6:1 " + eof}, no_end},
      {body + "S" + std::string(7, ' ') + blank.substr(8),  // and a count that can't be read
       {"6:1 " + eof, "6:73 Invalid sequence number",
        "6:1 parse_terminate: start section was not the correct length"},
       no_end},
      {body.substr(0, body.size() - 20), {"5:1 " + eof}, nullptr},  // cut inside the P section
      {body, {"6:1 " + eof}, nullptr},                              // no Terminate record
  };
  for (const auto& c : cases) {
    for (bool accept : {false, true}) {
      SCOPED_TRACE(c.bytes.substr(c.bytes.size() - 20) + (accept ? ", accepted" : ""));
      igeslib_read_settings().accept_damaged_end = accept;
      FileRead read(c.bytes);
      bool completes = accept && c.damaged;
      EXPECT_EQ(read.result, completes ? read.file : nullptr);
      EXPECT_EQ(read.errors(), completes ? c.errors : Errors{c.errors[0]});
      EXPECT_STREQ(igeslib_damaged_end(), completes ? c.damaged : nullptr);
      if (completes) {
        ASSERT_NE(read.entity<igs_point_entity>(0), nullptr);
        EXPECT_EQ(read.entity<igs_point_entity>(0)->z(), 3.0);
      }
    }
  }
}

TEST(ReadDriver, UnloadableGlobalIsReplacedOnReadAndWrite) {
  ScratchDesign design("global");
  LUMO.useDesign(design);
  auto* file = new (design.design) igs_iges_file;
  // The marker of a reference not yet loaded, with no loader to load it.
  auto* unloadable = reinterpret_cast<igs_global*>(~std::uintptr_t{0});
  file->global_section_ = unloadable;
  MemoryFile stream(IgesText().S("s").G(kGlobal).T().str());
  CapturedReports quiet;
  ASSERT_EQ(file->read(stream.get(), 1), file);
  ASSERT_NE(file->global_section(), nullptr);
  EXPECT_EQ(file->global_section()->version(), 11);
  file->global_section_ = unloadable;
  written(file);
  EXPECT_NE(file->global_section(), nullptr);
}

TEST(ReadDriver, AMissingPathIsError2034AndASecondReadAppends) {
  ScratchDesign design("path");
  LUMO.useDesign(design);
  auto* file = new (design.design) igs_iges_file;
  {
    CapturedReports reports;
    EXPECT_EQ(file->read("no/such/file.igs", 0), nullptr);  // the report: see Model below
    EXPECT_EQ(file->write("no/such/dir/out.igs", 0), nullptr);
    EXPECT_EQ(reports.count(), 2u);
  }
  std::string bytes = IgesText().S("one").G(kGlobal).DE(110, 0).T().str();
  CapturedReports quiet;
  for (int pass = 0; pass < 2; ++pass) {
    MemoryFile stream(bytes);
    ASSERT_EQ(file->read(stream.get(), 0), file);
  }
  EXPECT_EQ(file->start_section()->size(), 2u);
  LUMO.useDesign(design);
  EXPECT_EQ(file->directory_entries()->size(), 2u);
}

TEST(WriteDriver, EmptyDesignWritesStartGlobalAndTerminateOnly) {
  ScratchDesign design("empty");
  LUMO.useDesign(design);
  std::string text = written(new (design.design) igs_iges_file);
  std::string letters;
  for (std::size_t at = 72; at < text.size(); at += 81) letters += text[at];
  EXPECT_EQ(letters, "S" + std::string(letters.size() - 2, 'G') + "T");
  EXPECT_EQ(text.substr(text.size() - 81 + 16, 16), "D      0P      0");
}

// Writing leaves the entities as they were, and an entity of a type without a class is
// written back with its type and its parameter text; round trips of every class are tested
// with the generated models.
TEST(WriteDriver, WritingMakesNothingAndKeepsRawEntities) {
  IgesText text;
  text.S("round trip").G(kGlobal).DE(116, 0).DE(7, 4, 3, 1);
  text.P(1, "116,1.,2.,3.;").P(3, "7,1,2,3;").T();
  FileRead first(text.str());
  ASSERT_EQ(first.result, first.file);
  LUMO.useDesign(first.design);
  FileRead second(written(first.file));
  EXPECT_EQ(first.entity<igs_point_entity>(0)->aside_, nullptr);
  auto* raw = second.entity<igs_null_entity>(1);
  ASSERT_NE(raw, nullptr);
  EXPECT_EQ(std::string(raw->directory_entry_records()->get(0)).substr(0, 8), "       7");
  EXPECT_EQ(std::string((*raw->parameter_data_records())[0]).substr(0, 6), "1,2,3;");
}

// A file's stream passes over the Directory section's room and fills it in later; a stream in
// memory gets blank records there first. Both end with the same bytes.
TEST(WriteDriver, AStreamInMemoryGetsTheBytesOfAFile) {
  IgesText text;
  text.S("in memory").G(kGlobal).DE(116, 0).DE(110, 0);
  text.P(1, "116,1.,2.,3.;").P(3, "110,0.,0.,0.,1.,1.,1.;").T();
  FileRead read(text.str());
  ASSERT_EQ(read.result, read.file);
  LUMO.useDesign(read.design);
  std::vector<char> buffer(1 << 16);
  FILE* memory = fmemopen(buffer.data(), buffer.size(), "w+");
  ASSERT_NE(memory, nullptr);
  EXPECT_EQ(read.file->write(memory, 1), read.file);
  std::fseek(memory, 0, SEEK_END);  // the writer leaves the stream behind the D section
  std::string in_memory(buffer.data(), static_cast<std::size_t>(std::ftell(memory)));
  std::fclose(memory);
  EXPECT_EQ(in_memory, written(read.file));
}

TEST(Locale, ACommaLocaleChangesNeitherReadingNorWriting) {
  struct RestoreLocale {
    std::string saved = std::setlocale(LC_ALL, nullptr);
    ~RestoreLocale() { std::setlocale(LC_ALL, saved.c_str()); }
  } restore;
  bool found = false;
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE"})
    if (!found && std::setlocale(LC_ALL, name)) found = true;
  if (!found) GTEST_SKIP() << "no locale with a decimal comma (e.g. de_DE.UTF-8) is installed";
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  IgesText text;
  text.S("locale").G(kGlobal).DE(110, 0).P(1, "110,1.5,-2.25,0.125D1,1.5E-3,,7.;").T();
  FileRead read(text.str());
  ASSERT_EQ(read.result, read.file);
  LUMO.useDesign(read.design);
  // Each value read whole and written with its point.
  EXPECT_NE(written(read.file).find("110,1.5,-2.25,1.25,0.0015,,7.;"), std::string::npos);
}

// A report's fields: "line:column message|record", "warning" ahead for a warning.
std::string fields_of(const igeslib::Report& r) {
  return (r.warning ? "warning " : "") + std::to_string(r.line) + ":" + std::to_string(r.column) +
         " " + r.message + "|" + r.record;
}

// A file of the test's bytes in the temporary folder.
std::filesystem::path write_bytes(const std::string& name, const std::string& bytes) {
  std::filesystem::path path = std::filesystem::temp_directory_path() / ("igeslib_" + name);
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

// A report is a value with the line, column, message and record of the text that the filer
// sent; with echo on the text still goes where it went before, with echo off it does not.
TEST(Model, ReportsAreValuesAndStillReachTheChannel) {
  std::string bytes = IgesText().S("s").G(kGlobal).DE(116, 0).P(1, "116,1.,x2.,3.;").T().str();
  std::filesystem::path path = write_bytes("bad_token.igs", bytes);
  for (bool echo : {true, false}) {
    SCOPED_TRACE(echo);
    CapturedReports channel;
    igeslib::ReadOptions options;
    options.echo_reports = echo;
    igeslib::Model model = igeslib::read(path, options);
    EXPECT_TRUE(model.completed());
    ASSERT_EQ(model.reports().size(), 1u);
    const igeslib::Report& report = model.reports()[0];
    EXPECT_EQ(fields_of(report).substr(0, 47), "5:8 Invalid floating point value|116,1.,x2.,3.;");
    EXPECT_EQ(channel.text(), echo ? report.text : "");
  }
  // The channel's destination is as it was before the read.
  CapturedReports after;
  lumo_io_ec()->text("after\n");
  EXPECT_EQ(after.text(), "after\n");
  // A file that can't be opened is told by its errno, and reported as the file object does.
  igeslib::ReadOptions options;
  options.echo_reports = false;
  igeslib::Model model = igeslib::read(path.string() + ".absent", options);
  EXPECT_EQ(model.status(), igeslib::ReadStatus::not_opened);
  EXPECT_EQ(model.open_error(), ENOENT);
  ASSERT_EQ(model.reports().size(), 1u);
  EXPECT_EQ(model.reports()[0].message,
            "Error 2034: Cannot open file " + path.string() + ".absent");
}

// Entities made by class name or by class join the model in the order made; other classes
// are made outside the list, and no name of an abstract class or enumeration makes anything.
TEST(Model, MadeEntitiesJoinTheModel) {
  igeslib::Model model;
  LumoObject* line = model.create("line_entity");
  ASSERT_NE(lumo_cast<igs_line_entity>(line), nullptr);
  EXPECT_NE(lumo_cast<igs_point_entity>(model.create("igs_point_entity")), nullptr);
  auto* arc = model.make<igs_circular_arc_entity>();
  EXPECT_NE(model.create("coordinate"), nullptr);
  for (const char* name : {"no_such_class", "directory_entry", "geometric_entity", "use_flag"})
    EXPECT_EQ(model.create(name), nullptr) << name;
  ASSERT_EQ(model.entities().size(), 3u);
  EXPECT_EQ(static_cast<LumoObject*>(model.entities()[0]), line);
  EXPECT_EQ(model.entities()[2], static_cast<igs_directory_entry*>(arc));
}

TEST(Model, ReportTextsAreTakenApart) {
  const struct {
    const char* text;
    const char* fields;
  } cases[] = {
      {"Error at line #: 12, column #: 7\n\tBad real\nIGES record:\n110,1.,2.  P  1\n      ^\n",
       "12:7 Bad real|110,1.,2.  P  1"},
      {"Warning at line #: 3, column #: 80\n\tASCII NULL (0x00) character found, treated as "
       "space\n",
       "warning 3:80 ASCII NULL (0x00) character found, treated as space|"},
      {"Error 2034: Cannot open file x.igs\n", "0:0 Error 2034: Cannot open file x.igs|"},
  };
  for (const auto& c : cases) {
    igeslib::Report report = igeslib::parse_report(c.text);
    EXPECT_EQ(fields_of(report), c.fields);
    EXPECT_EQ(report.text, c.text);
  }
}

}  // namespace
