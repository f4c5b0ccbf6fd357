// The read and write drivers of the file object: what they switch and restore, strictness,
// fatal errors, and reals read and written under a locale with a decimal comma.
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filer_fixture.h"
#include "model/model_support.h"
#include "support/corpus.h"

using igeslib_test::FileRead;
using igeslib_test::IgesText;
using igeslib_test::MemoryFile;
using igeslib_test::slurp;
using Errors = std::vector<std::string>;

namespace {

const char* kGlobal = "1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;";

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

TEST(ReadDriver, EmptyFileIsFatalAtLineOne) {
  ScratchDesign caller("caller");
  LUMO.useDesign(caller);
  FileRead read("");
  EXPECT_EQ(read.result, nullptr);
  EXPECT_EQ(read.errors(), Errors{"1:1 Error while reading IGES file, or premature EOF"});
  ASSERT_NE(read.file->start_section_, nullptr);
  EXPECT_EQ(read.file->start_section()->size(), 0u);
  EXPECT_EQ(read.file->igesFiler(), nullptr);
  EXPECT_EQ(read.design->rootObject(), read.file);
}

TEST(ReadDriver, CallersDesignIsCurrentAgainAfterARead) {
  ScratchDesign caller("caller");
  ScratchDesign other("file");
  auto* file = new (other.design) igs_iges_file;
  for (std::string bytes : {std::string(), IgesText().S("s").G(kGlobal).T().str()}) {
    LUMO.useDesign(caller);
    MemoryFile stream(bytes);
    igeslib_test::CapturedReports quiet;
    file->read(stream.get(), 0);
    EXPECT_EQ(LUMO.design(), caller.design);
    EXPECT_EQ(file->directory_populated, 0);
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
  ASSERT_EQ(strict.errors().size(), 1u);
  EXPECT_EQ(strict.errors()[0], "1:73 File should contain at least one start section record");
}

TEST(ReadDriver, FatalErrorInParametersKeepsWhatWasMade) {
  IgesText text;
  text.S("s").G(kGlobal).DE(116, 0).DE(110, 0).P(1, "116,1.,2.,3.;");
  std::string bytes = text.str() + igeslib_test::p_record(3, 2, "110,1.,2.,3.,").substr(0, 70);
  FileRead read(bytes);
  EXPECT_EQ(read.result, nullptr);
  EXPECT_EQ(read.file->directory_populated, 0);
  LUMO.useDesign(read.design);
  // Outside a run the list is gathered from the design: both entities are there.
  EXPECT_EQ(read.size(), 2u);
  ASSERT_FALSE(read.errors().empty());
  EXPECT_NE(read.errors().back().find("premature EOF"), std::string::npos);
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
  const char* eof = "6:1 Error while reading IGES file, or premature EOF";
  struct Case {
    const char* name;
    std::string bytes;
    Errors errors;        // with the setting on; off, the first of them ends the read
    const char* damaged;  // null: fatal either way
  } cases[] = {
      {"blank sequence field",
       body + blank + "\n",
       {"6:73 Invalid sequence number"},
       "Invalid sequence number"},
      {"no line end", body + t, {eof}, "the file ends inside it, without a line end"},
      {"no line end, blank sequence field and count",
       body + "S" + std::string(7, ' ') + blank.substr(8),
       {eof, "6:73 Invalid sequence number",
        "6:1 parse_terminate: start section was not the correct length"},
       "the file ends inside it, without a line end"},
      {"cut inside the P section",
       body.substr(0, body.size() - 20),
       {"5:1 Error while reading IGES file, or premature EOF"},
       nullptr},
      {"no Terminate record", body, {eof}, nullptr},
  };
  for (const Case& c : cases) {
    for (bool accept : {false, true}) {
      SCOPED_TRACE(std::string(c.name) + (accept ? ", accepted" : ""));
      igeslib_read_settings().accept_damaged_end = accept;
      FileRead read(c.bytes);
      bool completes = accept && c.damaged;
      EXPECT_EQ(read.result, completes ? read.file : nullptr);
      EXPECT_EQ(read.errors(), completes ? c.errors : Errors{c.errors[0]});
      if (completes) {
        EXPECT_STREQ(igeslib_damaged_end(), c.damaged);
        ASSERT_NE(read.entity<igs_point_entity>(0), nullptr);
        EXPECT_EQ(read.entity<igs_point_entity>(0)->z(), 3.0);
      } else {
        EXPECT_EQ(igeslib_damaged_end(), nullptr);
      }
    }
  }
}

TEST(ReadDriver, UnloadableGlobalIsReplacedOnReadAndWrite) {
  ScratchDesign design("global");
  LUMO.useDesign(design);
  auto* file = new (design.design) igs_iges_file;
  // The marker of a reference not yet loaded, with no loader to load it.
  file->global_section_ = reinterpret_cast<igs_global*>(~std::uintptr_t{0});
  std::string bytes = IgesText().S("s").G(kGlobal).T().str();
  MemoryFile stream(bytes);
  igeslib_test::CapturedReports quiet;
  ASSERT_EQ(file->read(stream.get(), 1), file);
  ASSERT_NE(file->global_section(), nullptr);
  EXPECT_EQ(file->global_section()->version(), 11);

  file->global_section_ = reinterpret_cast<igs_global*>(~std::uintptr_t{0});
  FILE* out = std::tmpfile();
  EXPECT_EQ(file->write(out, 1), file);
  EXPECT_NE(file->global_section(), nullptr);
  std::fclose(out);
}

TEST(ReadDriver, AMissingPathIsError2034) {
  load_model();
  ScratchDesign design("path");
  LUMO.useDesign(design);
  auto* file = new (design.design) igs_iges_file;
  igeslib_test::CapturedReports reports;
  EXPECT_EQ(file->read("no/such/file.igs", 0), nullptr);
  EXPECT_NE(reports.text().find("Error 2034: Cannot open file no/such/file.igs"),
            std::string::npos);
  EXPECT_EQ(file->write("no/such/dir/out.igs", 0), nullptr);
  EXPECT_EQ(reports.count(), 2u);
}

TEST(ReadDriver, ASecondReadAppends) {
  ScratchDesign design("twice");
  LUMO.useDesign(design);
  auto* file = new (design.design) igs_iges_file;
  std::string bytes = IgesText().S("one").G(kGlobal).DE(110, 0).T().str();
  igeslib_test::CapturedReports quiet;
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
  auto* file = new (design.design) igs_iges_file;
  FILE* out = std::tmpfile();
  ASSERT_EQ(file->write(out, 1), file);
  std::string text = slurp(out);
  std::fclose(out);
  std::vector<char> letters;
  for (std::size_t at = 72; at < text.size(); at += 81) letters.push_back(text[at]);
  ASSERT_GE(letters.size(), 3u);
  EXPECT_EQ(letters.front(), 'S');
  EXPECT_EQ(letters.back(), 'T');
  for (std::size_t i = 1; i + 1 < letters.size(); ++i) EXPECT_EQ(letters[i], 'G');
  std::string last = text.substr(text.size() - 81, 32);
  EXPECT_EQ(last.substr(16, 16), "D      0P      0");
}

TEST(WriteDriver, WrittenFileReadsBackWithTheSameEntities) {
  IgesText text;
  text.S("round trip").G(kGlobal).DE(116, 0).DE(110, 0, 2, 1, "L1").DE(7, 4, 3, 1);
  text.P(1, "116,1.,2.,3.;").P(3, "110,1.,2.,3.,4.,5.,6.;").P(5, "7,1,2,3;").T();
  FileRead first(text.str());
  ASSERT_EQ(first.result, first.file);
  LUMO.useDesign(first.design);
  FILE* out = std::tmpfile();
  ASSERT_EQ(first.file->write(out, 1), first.file);
  // Writing makes no empty back-pointer lists on the entities written.
  EXPECT_EQ(first.entity<igs_point_entity>(0)->associations_, nullptr);
  EXPECT_EQ(first.entity<igs_point_entity>(0)->properties_, nullptr);
  std::string written = slurp(out);
  std::fclose(out);
  FileRead second(written);
  ASSERT_EQ(second.result, second.file);
  EXPECT_EQ(second.errors(), Errors{});
  ASSERT_EQ(second.size(), 3u);
  EXPECT_EQ(second.entity<igs_point_entity>(0)->y(), 2.0);
  EXPECT_STREQ(second.entity<igs_line_entity>(1)->label(), "L1");
  EXPECT_EQ(second.entity<igs_line_entity>(1)->z2(), 6.0);
  auto* raw = second.entity<igs_null_entity>(2);
  ASSERT_NE(raw, nullptr);
  // An unplaced entity's type survives in its directory record; its parameters begin with a
  // 0 in the file written.
  EXPECT_EQ(std::string(raw->directory_entry_records()->get(0)).substr(0, 8), "       7");
  EXPECT_EQ(std::string((*raw->parameter_data_records())[0]).substr(0, 6), "1,2,3;");
}

}  // namespace

namespace {

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
  text.S("locale").G("1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;").DE(110, 0);
  text.P(1, "110,1.5,-2.25,0.125D1,1.5E-3,,7.;").T();
  FileRead read(text.str());
  ASSERT_EQ(read.result, read.file);
  auto* line = read.entity<igs_line_entity>(0);
  EXPECT_EQ(line->x1(), 1.5);
  EXPECT_EQ(line->y1(), -2.25);
  EXPECT_EQ(line->z1(), 1.25);
  EXPECT_EQ(line->x2(), 0.0015);
  EXPECT_EQ(line->z2(), 7.0);
  LUMO.useDesign(read.design);
  FILE* out = std::tmpfile();
  read.file->write(out, 1);
  std::string written = slurp(out);
  std::fclose(out);
  EXPECT_NE(written.find("110,1.5,-2.25,1.25,0.0015,,7.;"), std::string::npos);
}

}  // namespace
