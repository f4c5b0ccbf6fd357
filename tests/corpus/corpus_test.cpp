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
