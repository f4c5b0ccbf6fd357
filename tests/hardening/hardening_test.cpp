// Inputs that once broke the reader or the writer, cut down to what mattered. Each file of
// tests/hardening/data is read into a fresh design and written again; the read must end as
// the file calls for, with exactly the reports it calls for, within bounded memory, and the
// design is deleted afterwards so that a leak shows under the sanitizers. Every file there
// has its case here.
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/corpus.h"
#include "support/file_read.h"
#include "support/records.h"

using igeslib_test::contents;
using igeslib_test::FileRead;
using igeslib_test::IgesText;

namespace {

const std::filesystem::path kData =
    std::filesystem::path(IGESLIB_SOURCE_DIR) / "tests" / "hardening" / "data";

// Peak resident memory of this process so far, in bytes; 0 where the system doesn't tell.
std::size_t peak_memory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    unsigned long kilobytes = 0;
    if (std::sscanf(line.c_str(), "VmHWM: %lu kB", &kilobytes) == 1) return kilobytes * 1024;
  }
  return 0;
}

// Reading and writing one of these small files may take this much more memory than the
// process had before.
constexpr std::size_t kMemoryBound = 256u << 20;

// Each file: whether the read answers the file object (false: it stops at a fatal error and
// answers null), and every report of the read, "line:column message", in order.
const std::map<std::string, std::pair<bool, std::vector<std::string>>> kCases = {
    // A Hollerith length of 2147483647 in a file of 240 bytes: the string can't be there, so
    // the read runs into the end of the file, having reserved no more than the file holds.
    {"hollerith_length_beyond_file.igs",
     {false, {"4:1 Error while reading IGES file, or premature EOF"}}},
};

}  // namespace

TEST(Hardening, ReadAndWrittenAsTheBytesCallFor) {
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(kData)) {
    ++files;
    std::string name = entry.path().filename().string();
    SCOPED_TRACE(name);
    auto found = kCases.find(name);
    ASSERT_NE(found, kCases.end()) << "a file without its case";
    std::size_t memory_before = peak_memory();
    {
      FileRead read(contents(entry.path()), 0, true);
      EXPECT_EQ(read.result != nullptr, found->second.first);
      EXPECT_EQ(read.errors(), found->second.second);
      // What a failed read made is written too: the writer must cope with half-read entities.
      LUMO.useDesign(read.design);
      FILE* out = std::tmpfile();
      ASSERT_NE(out, nullptr);
      EXPECT_EQ(read.file->write(out, 1), read.file);
      std::fclose(out);
    }
    if (memory_before) {
      EXPECT_LT(peak_memory() - memory_before, kMemoryBound);
    }
  }
  EXPECT_EQ(files, kCases.size()) << "a case without its file";
}

TEST(Hardening, RepeatedReadsLeaveNothingBehind) {
  // A long-running process reads file after file: everything a read and a write make must go
  // with the design, and nothing may pile up in the runtime's own storage, which lives as long
  // as the process (the directory list of every read once did).
  IgesText text;
  text.S("many points").G("1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;");
  constexpr int kPoints = 600;
  for (int i = 0; i < kPoints; ++i) text.DE(116, 0, i + 1, 1);
  for (int i = 0; i < kPoints; ++i) text.P(2 * i + 1, "116,1.,2.,3.;");
  std::string bytes = text.T().str();

  auto read_and_write = [&bytes] {
    FileRead read(bytes, 0, false);
    ASSERT_EQ(read.result, read.file);
    ASSERT_EQ(read.size(), static_cast<unsigned>(kPoints));
    LUMO.useDesign(read.design);
    FILE* out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    read.file->write(out, 1);
    std::fclose(out);
  };
  read_and_write();  // whatever a first run sets up once
  LumoDesignSection* runtime_storage = LUMO.dictionary()->section("unowned");
  std::size_t before = runtime_storage->bytesReserved();
  for (int i = 0; i < 20; ++i) read_and_write();
  EXPECT_EQ(runtime_storage->bytesReserved(), before);
}
