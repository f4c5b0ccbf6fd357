// Every file of the shared corpus: read to its end (or to the fatal error its bytes call for)
// with one object of the registry's class per directory pair, and a fixpoint of read, write,
// read, write.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "igeslib_io.h"
#include "support/corpus.h"
#include "support/file_read.h"

using igeslib_test::contents;
using igeslib_test::corpus_files;
using igeslib_test::FileRead;
using igeslib_test::slurp;

namespace {

// The file that the read's design writes.
std::string written(FileRead& read, char zero_as_default = 1) {
  LUMO.useDesign(read.design);
  FILE* out = std::tmpfile();
  read.file->write(out, zero_as_default);
  std::string text = slurp(out);
  std::fclose(out);
  return text;
}

// The D records of a file: lines split at any line end, and a line with none cut into card
// images of 80; the type from columns 1-8 of the first record of a pair, the form from
// columns 33-40 of the second.
std::vector<std::pair<int, int>> directory_pairs(std::string bytes) {
  std::replace(bytes.begin(), bytes.end(), '\r', '\n');
  std::vector<std::string> d;
  std::istringstream in(bytes);
  for (std::string line; std::getline(in, line);) {
    for (std::size_t at = 0; at < line.size(); at += 80) {
      std::string record = line.size() > 82 ? line.substr(at, 80) : line.substr(at);
      if (record.size() >= 73 && record[72] == 'D') d.push_back(record);
      if (line.size() <= 82) break;
    }
  }
  std::vector<std::pair<int, int>> pairs;
  for (std::size_t i = 0; i + 1 < d.size(); i += 2)
    pairs.emplace_back(std::atoi(d[i].substr(0, 8).c_str()),
                       std::atoi(d[i + 1].substr(32, 8).c_str()));
  return pairs;
}

// Files whose bytes end the read with a fatal error, and why.
const std::map<std::string, std::string> kFatalFiles = {
    {"safeholes__test.igs", "the last record has no line end of its own"},
};

// The reports that a read of each file gives today, and why; a file missing here is a new
// file of the corpus. A count that grows is a fault of the change that made it grow; one that
// shrinks is progress, to be written down here so that it stays.
struct ExpectedReports {
  unsigned long count;
  const char* reason;
};
const std::map<std::string, ExpectedReports> kExpectedReports = {
    {"balk__model.igs",
     {20, "the file's own: each surface record has a parameter more than its counts call for"}},
    {"bladex__propeller_and_shaft.iges", {0, ""}},
    {"dealii__DTMB-5415_bulbous_bow.iges", {0, ""}},
    {"engine4cyl__Assem1.IGS", {0, ""}},
    {"gmsh__cone_tronque_pb_netgen.igs", {0, ""}},
    {"gmsh__model1.igs", {0, ""}},
    {"gmsh__sphere_Rhino3D_default.igs", {0, ""}},
    {"igesfilereader__chassis_007_simp.IGS", {0, ""}},
    {"igesfilereader__tubes_splined.iges", {0, ""}},
    {"igesstl__hex_nut_jam_am_with_all_extras.IGS", {0, ""}},
    {"igesstl__revolve_test2_standard.IGS", {0, ""}},
    {"machaero__onera_m6.igs", {0, ""}},
    {"o3dv__as1_pe_203.igs", {0, ""}},
    {"occt__BIGES.igs", {0, ""}},
    {"occt__BUC50025.igs", {0, ""}},
    {"occt__CTS17806-38038.igs", {0, ""}},
    {"occt__Disc.igs", {0, ""}},
    {"occt__OCC131-2.igs", {0, ""}},
    {"occt__OCC17026-1.igs", {0, ""}},
    {"occt__OCC26138_Torus.igs", {0, ""}},
    {"occt__OCC8842_cone_CATIA.igs", {0, ""}},
    {"occt__OCC8842_cylinder_Ideas.igs", {0, ""}},
    {"occt__PRO20358-X28.igs", {0, ""}},
    {"occt__UKI60998.igs", {0, ""}},
    {"occt__bad_header.igs",
     {1, "the file's own: the Terminate record's count of G records is off"}},
    {"occt__bug22566_test_Bad.igs", {0, ""}},
    {"occt__bug22869_Spring.igs", {0, ""}},
    {"occt__bug23171_tube_surf.igs", {0, ""}},
    {"occt__bug23591_VZ-387.igs", {0, ""}},
    {"occt__bug25837_S.igs", {0, ""}},
    {"occt__bug27069_points-with-comments.igs", {0, ""}},
    {"occt__bug33327.igs", {0, ""}},
    {"occt__hammer.iges", {0, ""}},
    {"occtimportjs__Cube_10x10.igs", {0, ""}},
    {"occtimportjs__cube.igs", {0, ""}},
    {"pyIGES__a2001.igs", {0, ""}},
    {"pyIGES__ap404.igs",
     {15, "the file's own: a note's back-pointer list names entities that are no associativities"}},
    {"pyIGES__cals1.igs", {0, ""}},
    {"pyIGES__f408x.igs", {0, ""}},
    {"pyIGES__figa2.igs", {0, ""}},
    {"pyIGES__ientity.igs", {0, ""}},
    {"pyIGES__lbrackt.igs", {0, ""}},
    {"pyIGES__nentity.igs", {0, ""}},
    {"pygeo__bwb_constr1.igs",
     {31, "the file's own: parameters past column 64 and records cut short"}},
    {"pygeo__geo_example.igs", {0, ""}},
    {"pyiges__impeller.igs", {0, ""}},
    {"pyiges__sample.igs",
     {5, "the file's own: each record ends in parameters past its back-pointer counts"}},
    {"pythonocc__sunglasses_lens.igs", {0, ""}},
    {"pythonocc__surf114.igs", {0, ""}},
    {"pythonocc__testfile.igs",
     {1, "the file's own: a string of its Global section has no delimiter behind it"}},
    {"safeholes__test.igs",
     {1, "the file's own: the last record has no line end, and the read stops there"}},
    {"smem__car.iges", {0, ""}},
    {"smem__castle_simple.iges", {0, ""}},
    {"smem__chicken.iges", {0, ""}},
    {"smem__example.igs", {0, ""}},
    {"smem__example2.igs",
     {1, "the file's own: a string of its Global section has no delimiter behind it"}},
    {"smem__piece.igs", {0, ""}},
    {"smem__puft_simple.iges", {0, ""}},
    {"trebuchet__model.iges", {0, ""}},
    {"webgliges__yuantai.igs", {0, ""}},
};

TEST(Corpus, EveryFileReadsToTheEndWithTheRegistrysClasses) {
  std::vector<std::filesystem::path> files = corpus_files();
  if (files.empty()) GTEST_SKIP() << "../shared/corpus is absent: corpus checks skipped";
  IgeslibEntityTable registry;
  for (const auto& path : files) {
    SCOPED_TRACE(path.filename().string());
    std::string bytes = contents(path);
    char was_quiet = LUMO.quiet();
    LUMO.quiet(1);
    FileRead read(bytes, 0, false);
    LUMO.quiet(was_quiet);
    auto expected = kExpectedReports.find(path.filename().string());
    if (expected == kExpectedReports.end()) {
      ADD_FAILURE() << "no row of expected reports; it gives " << read.reports.count();
    } else if (read.reports.count() > expected->second.count) {
      ADD_FAILURE() << "reports grew from " << expected->second.count << " to "
                    << read.reports.count();
    } else if (read.reports.count() < expected->second.count) {
      ADD_FAILURE() << "reports shrank from " << expected->second.count << " to "
                    << read.reports.count() << ": write the new count into the table";
    }
    bool fatal = kFatalFiles.count(path.filename().string()) != 0;
    EXPECT_EQ(read.result != nullptr, !fatal);
    if (fatal) continue;
    std::vector<std::pair<int, int>> pairs = directory_pairs(bytes);
    // Outside a read the list is gathered from the design at each call: take it once.
    ListOfigs_directory_entry* list = read.file->directory_entries();
    ASSERT_EQ(list->size(), pairs.size());
    for (unsigned i = 0; i < list->size(); ++i) {
      auto [type, form] = pairs[i];
      IgeslibEntityData* row = registry.find_entity_data(type, form);
      LumoDomain* expected = row ? row->domain : registry.find_domain(type);
      igs_directory_entry* entity = (*list)[i];
      ASSERT_NE(entity, nullptr) << "entity " << i;
      EXPECT_EQ(entity->domain(), expected) << "entity " << i << ", " << type << "/" << form;
    }
  }
}

TEST(Corpus, FatalFilesReadWholeWithTheirDamagedEndAccepted) {
  std::vector<std::filesystem::path> files = corpus_files();
  if (files.empty()) GTEST_SKIP() << "../shared/corpus is absent: corpus checks skipped";
  for (const auto& path : files) {
    if (!kFatalFiles.count(path.filename().string())) continue;
    SCOPED_TRACE(path.filename().string());
    std::string bytes = contents(path);
    igeslib_read_settings().accept_damaged_end = true;
    FileRead read(bytes, 0, false);
    igeslib_read_settings() = IgeslibReadSettings{};
    ASSERT_EQ(read.result, read.file);
    EXPECT_NE(igeslib_damaged_end(), nullptr);
    EXPECT_EQ(read.file->directory_entries()->size(), directory_pairs(bytes).size());
  }
}

// Files whose second read can't be like the first, and why.
const std::map<std::string, std::string> kNoFixpoint = {
    {"safeholes__test.igs", "the first read stops: the last record has no line end"},
};

TEST(Corpus, ReadWriteReadWriteIsAFixpoint) {
  std::vector<std::filesystem::path> files = igeslib_test::corpus_files();
  if (files.empty()) GTEST_SKIP() << "../shared/corpus is absent: corpus checks skipped";
  char was_quiet = LUMO.quiet();
  LUMO.quiet(1);
  for (const auto& path : files) {
    std::string name = path.filename().string();
    if (kNoFixpoint.count(name)) continue;
    SCOPED_TRACE(name);
    testing::internal::CaptureStdout();  // entities without parameter code say so
    std::string first, second;
    {
      FileRead read(igeslib_test::contents(path), 0, false);
      ASSERT_NE(read.result, nullptr);
      first = written(read);
    }
    {
      FileRead read(first, 0, false);
      EXPECT_NE(read.result, nullptr);
      second = written(read);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(first.size(), second.size());
    EXPECT_TRUE(first == second) << "the second write differs from the first";
  }
  LUMO.quiet(was_quiet);
}

}  // namespace
