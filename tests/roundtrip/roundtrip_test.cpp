// Round trips that settle: a model written, read back and written again gives the same bytes,
// for models made through the dictionary and for real files cut and changed.
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "roundtrip/generated_model.h"
#include "support/corpus.h"
#include "support/file_read.h"
#include "support/settle.h"

namespace {

using namespace igeslib_test;

// The second write equals the first, or differs only by the rules that settle one write later
// and then does settle.
void expect_settled(const std::string& first, FileRead& back, char zero_as_default,
                    bool null_selects) {
  std::string second = back.written(zero_as_default);
  if (first == second) return;
  std::string difference = first_difference(first, second, null_selects);
  EXPECT_EQ(difference, "") << "the second write differs";
  if (!difference.empty()) return;
  FileRead again(second, 0, false);
  EXPECT_EQ(again.written(zero_as_default), second) << "no settling at the third write";
}

// Version warnings and progress lines off for a test.
struct Quiet {
  char was = LUMO.quiet();
  Quiet() { LUMO.quiet(1); }
  ~Quiet() { LUMO.quiet(was); }
};

TEST(RoundTrip, GeneratedModelsSettleAfterOneWrite) {
  Quiet quiet;
  const std::vector<FileClass>& classes = classes_with_parameter_code();
  ASSERT_GT(classes.size(), 100u) << "the registry's classes with parameter code";
  for (unsigned seed = 1; seed <= 100; ++seed) {
    char zero_as_default = static_cast<char>(seed % 2);
    SCOPED_TRACE("seed " + std::to_string(seed));
    GeneratedModel model(seed, 2);
    std::string first = write_file(model.design, model.file, zero_as_default);
    FileRead back(first);
    ASSERT_EQ(back.result, back.file);
    EXPECT_EQ(back.errors(), std::vector<std::string>{})
        << "what one write made reads with reports";
    expect_settled(first, back, zero_as_default, false);
  }
}

// Deterministic choices for a file: FNV-1a of its name and the mutation.
struct Choices {
  std::uint64_t state;
  Choices(const std::string& name, int mutation) : state(1469598103934665603ull) {
    for (char c : name + char('0' + mutation))
      state = (state ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  }
  std::size_t below(std::size_t n) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    return n ? static_cast<std::size_t>((state >> 33) % n) : 0;
  }
};

// A file changed in one of four ways: definition fields of a Directory pair pointed at any
// entity; a parameter line dropped; an integer parameter made to point at another entity; a
// Directory pair dropped.
std::string mutant(const std::string& bytes, const std::string& name, int mutation) {
  Choices choose(name, mutation);
  std::vector<std::string> lines;
  std::vector<std::size_t> d, p;  // the D and P lines
  std::istringstream in(bytes);
  for (std::string line; std::getline(in, line);) {
    if (line.size() > 72 && (line[72] == 'D' || line[72] == 'P'))
      (line[72] == 'D' ? d : p).push_back(lines.size());
    lines.push_back(line + (in.eof() ? "" : "\n"));
  }
  std::size_t entities = d.size() / 2;
  if (entities == 0 || p.empty()) return bytes;
  auto pointer = [&] { return std::to_string(2 * choose.below(entities) + 1); };
  if (mutation == 0) {
    std::string& one = lines[d[2 * choose.below(entities)]];
    std::string& two = lines[d[2 * choose.below(entities) + 1]];
    for (auto [line, column] : {std::pair{&one, 24}, std::pair{&one, 32}, std::pair{&two, 16}}) {
      char field[9];
      std::snprintf(field, sizeof field, "%8s", ("-" + pointer()).c_str());
      line->replace(column, 8, field);
    }
  } else if (mutation == 1) {
    lines.erase(lines.begin() + static_cast<long>(p[choose.below(p.size())]));
  } else if (mutation == 3) {
    std::size_t pair = 2 * choose.below(entities);
    lines.erase(lines.begin() + static_cast<long>(d[pair]),
                lines.begin() + static_cast<long>(d[pair + 1]) + 1);
  } else if (mutation == 2) {
    std::string& line = lines[p[choose.below(p.size())]];
    std::vector<std::pair<std::size_t, std::size_t>> integers;  // start, length
    for (std::size_t i = 0, start = 0; i <= 64; ++i) {
      if (i < 64 && line[i] != ',' && line[i] != ';') continue;
      std::string token = line.substr(start, i - start);
      if (!token.empty() && token.find_first_not_of("0123456789") == std::string::npos)
        integers.emplace_back(start, token.size());
      start = i + 1;
    }
    if (!integers.empty()) {
      auto [start, length] = integers[choose.below(integers.size())];
      std::string target = pointer();
      if (target.size() <= length)
        line.replace(start, length, std::string(length - target.size(), '0') + target);
    }
  }
  std::string out;
  for (const std::string& line : lines) out += line;
  return out;
}

TEST(RoundTrip, CorpusMutantsSettleWhereTheReadCompletes) {
  std::vector<std::filesystem::path> files = corpus_files();
  if (files.empty()) GTEST_SKIP() << "../shared/corpus is absent: corpus checks skipped";
  Quiet quiet;
  int checked = 0;
  for (const auto& path : files) {
    std::string name = path.filename().string();
    if (std::filesystem::file_size(path) > (8u << 20)) continue;  // keeps the test to seconds
    std::string bytes = contents(path);
    for (int mutation = 0; mutation < 4; ++mutation) {
      SCOPED_TRACE(name + ", mutation " + std::to_string(mutation));
      char zero_as_default = static_cast<char>(mutation != 1);
      FileRead read(mutant(bytes, name, mutation), 0, false);
      if (!read.result || unsettled_reason(read.file, zero_as_default)) continue;
      std::string first = read.written(zero_as_default);
      FileRead back(first);
      bool rejected = false;
      for (const std::string& piece : back.reports.pieces())
        rejected = rejected || is_rejected_real_report(piece.c_str());
      if (rejected) continue;
      // Without a Directory pair the reader leaves the selects of the pair it never reaches.
      expect_settled(first, back, zero_as_default, mutation == 3);
      ++checked;
    }
  }
  EXPECT_GT(checked, 100);
}

}  // namespace
