// A read with workers converting reals ahead of the reader gives the model and the reports of
// a read without them, to the last bit of every real (compared through the dump, which writes
// each real as the shortest text that reads back exactly): files of many blocks of records,
// and copies damaged in the ways that throw the workers off.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "dump.h"
#include "support/corpus.h"
#include "support/file_read.h"
#include "support/records.h"

namespace {

using igeslib_test::IgesText;
using igeslib_test::MemoryFile;

// The dump of a read of bytes with the given threads, and its reports.
std::pair<std::string, std::vector<std::string>> read_with(const std::string& bytes, int threads) {
  int was = igeslib_read_settings().threads;
  igeslib_read_settings().threads = threads;
  igeslib_test::Quiet quiet;
  igeslib_test::CapturedReports reports;
  LumoDesign* caller = LUMO.design();
  LumoDesign* design = LUMO.newDesign("threaded read");
  auto* file = new (design) igs_iges_file;
  MemoryFile stream(bytes);
  bool completed = file->read(stream.get(), 0) != nullptr;
  igeslib_read_settings().threads = was;
  std::string dump = completed ? "completed\n" : "stopped\n";
  LUMO.useDesign(design);
  igeslib_tools::dump_file(file, {}, {}, dump, nullptr);
  LUMO.useDesign(caller);
  delete design;
  return {dump, igeslib_test::report_lines(reports)};
}

// Copious data entities whose points are reals of every shape a file holds: enough records
// for several blocks of the workers.
std::string many_reals() {
  static const char* kReals[] = {
      "1.5",    "-.25", "3.D2",   "1.0E-3",   "+7.",           "0.", "12345678901234567890.5",
      "2.5d+1", "-0.0", "1.E300", "4.9E-324", "123456.789012", "6",  "1.7976931348623157D308"};
  IgesText text;
  text.S("reals ahead").G("1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;");
  const int entities = 3000;
  for (int e = 0; e < entities; ++e) text.DE(106, 2, 1 + 3 * e, 3);
  for (int e = 0; e < entities; ++e) {
    std::vector<std::string> tokens = {"106", "2", "8"};
    for (int k = 0; k < 24; ++k) tokens.push_back(kReals[(e + k * 5) % 14]);
    std::string line;
    int lines = 0;
    for (std::size_t k = 0; k < tokens.size(); ++k) {
      std::string token = tokens[k] + (k + 1 == tokens.size() ? ";" : ",");
      if (line.size() + token.size() > 64) {
        text.P(1 + 2 * e, line);
        line.clear();
        ++lines;
      }
      line += token;
    }
    for (; lines < 3; ++lines, line.clear()) text.P(1 + 2 * e, line);
  }
  return text.T().str();
}

// The bytes with the line end at the first '\n' after fraction of them taken out, so that
// every record behind it stands one record earlier than the workers expect.
std::string without_line_end(std::string bytes, double fraction) {
  std::size_t at = bytes.find('\n', static_cast<std::size_t>(bytes.size() * fraction));
  if (at != std::string::npos) bytes.erase(at, 1);
  return bytes;
}

// The bytes with the character after the first '.' after fraction of them replaced.
std::string damaged_real(std::string bytes, double fraction, char with) {
  std::size_t at = bytes.find('.', static_cast<std::size_t>(bytes.size() * fraction));
  if (at != std::string::npos && at + 1 < bytes.size()) bytes[at + 1] = with;
  return bytes;
}

std::string crlf(const std::string& bytes) {
  std::string out;
  for (char c : bytes) {
    if (c == '\n') out += '\r';
    out += c;
  }
  return out;
}

void expect_same_read(const std::string& name, const std::string& bytes) {
  SCOPED_TRACE(name);
  auto serial = read_with(bytes, 1);
  for (int threads : {2, 3}) {
    auto threaded = read_with(bytes, threads);
    EXPECT_EQ(threaded.second, serial.second) << threads << " threads";
    EXPECT_TRUE(threaded.first == serial.first) << threads << " threads: the models differ";
  }
}

TEST(ThreadedRead, GivesTheModelAndReportsOfTheSerialRead) {
  const std::string reals = many_reals();
  ASSERT_GT(reals.size(), 1000000u);
  const std::pair<const char*, std::string> cases[] = {
      {"plain", reals},
      {"CR LF line ends", crlf(reals)},
      {"a line end taken out", without_line_end(reals, 0.6)},
      {"a real with two points", damaged_real(reals, 0.7, '.')},
      {"a NUL in a real", damaged_real(reals, 0.8, '\0')},
      {"cut inside a record", reals.substr(0, reals.size() - 500)},
  };
  for (const auto& [name, bytes] : cases) expect_same_read(name, bytes);
}

TEST(ThreadedRead, RealFilesReadTheSameWithWorkers) {
  std::vector<std::filesystem::path> large;
  for (const auto& path : igeslib_test::corpus_files())
    if (std::filesystem::file_size(path) > 2000000) large.push_back(path);
  if (large.empty()) GTEST_SKIP() << "no corpus files of 2 MB and more in ../shared/corpus";
  for (const auto& path : large) {
    std::string bytes = igeslib_test::contents(path);
    expect_same_read(path.filename().string(), bytes);
    expect_same_read(path.filename().string() + ", a line end taken out",
                     without_line_end(bytes, 0.5));
  }
}

}  // namespace
