// The checker: one small file per code that gives exactly that code (with the reader's own
// reports where a fault of the records can't come without them), and the files our writer makes
// with none.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include <igeslib.h>

#include "support/records.h"

namespace {

using igeslib_test::padded;
using igeslib_test::record;
using igeslib_test::right;
using igeslib_test::terminate_text;

using Records = std::vector<std::pair<char, std::string>>;

// One entity of a test file: its parameters after the type number (no record delimiter), the
// status digits and the Directory fields that the cases set.
struct E {
  int type;
  int form = 0;
  std::string params;
  std::string status = "00010000";  // physically dependent, as a part of something
  int transformation = 0;
  int weight = 0;
};

// The Global values that the cases change.
struct Global {
  std::string unit_flag = "2", unit_name = "2HMM", gradations = "1", resolution = "0.001",
              max_coordinate = "1000.";
};

// A file of those entities: Start, Global, the Directory pairs with each entity's parameter
// pointer and line count, the parameters cut at delimiters into lines of 64 columns, Terminate.
// edit changes the records (letter, text) before they are numbered.
std::string file_of(const std::vector<E>& entities, const Global& g = {},
                    const std::function<void(Records&)>& edit = {}) {
  Records records{{'S', "checker test"}};
  std::string global = "1H,,1H;,4Htest,8Htest.igs,4Htest,4Htest,32,38,6,308,15,4Htest,1.," +
                       g.unit_flag + "," + g.unit_name + "," + g.gradations +
                       ",0.5,13H000101.000000," + g.resolution + "," + g.max_coordinate +
                       ",4Htest,4Htest,11,0,13H000101.000000;";
  for (std::size_t at = 0; at < global.size(); at += 72)
    records.emplace_back('G', global.substr(at, 72));
  std::vector<std::vector<std::string>> lines;  // each entity's parameter lines
  for (const E& e : entities) {
    std::string text = std::to_string(e.type) + "," + e.params + ";";
    std::vector<std::string> cut{""};
    std::size_t from = 0;
    while (from < text.size()) {
      std::size_t end = text.find_first_of(",;", from);
      std::string token = text.substr(from, end - from + 1);
      if (cut.back().size() + token.size() > 64) cut.emplace_back();
      cut.back() += token;
      from = end + 1;
    }
    lines.push_back(cut);
  }
  int pointer = 1;
  for (std::size_t i = 0; i < entities.size(); ++i) {
    const E& e = entities[i];
    int count = static_cast<int>(lines[i].size());
    records.emplace_back('D', right(e.type, 8) + right(pointer, 8) + right(0, 8) + right(0, 8) +
                                  right(0, 8) + right(0, 8) + right(e.transformation, 8) +
                                  right(0, 8) + e.status);
    records.emplace_back('D', right(e.type, 8) + right(e.weight, 8) + right(0, 8) +
                                  right(count, 8) + right(e.form, 8) + std::string(24, ' ') +
                                  right(0, 8));
    pointer += count;
  }
  for (std::size_t i = 0; i < entities.size(); ++i)
    for (const std::string& line : lines[i])
      records.emplace_back('P', line + "#" + std::to_string(2 * i + 1));
  if (edit) edit(records);
  std::map<char, int> counted;
  std::string out;
  for (const auto& [letter, text] : records) {
    int n = ++counted[letter];
    if (letter == 'P') {
      std::size_t hash = text.rfind('#');
      out +=
          igeslib_test::p_record(std::stoi(text.substr(hash + 1)), n, text.substr(0, hash)) + "\n";
    } else {
      out += record(letter, n, text) + "\n";
    }
  }
  return out +
         record('T', 1, terminate_text(counted['S'], counted['G'], counted['D'], counted['P'])) +
         "\n";
}

// The k-th record of a section among the records of a file being made.
std::string& nth(Records& records, char letter, int k) {
  for (auto& [l, text] : records)
    if (l == letter && k-- == 0) return text;
  throw std::out_of_range("no such record");
}

// The file with text put in its line-th line (from 0; the last for -1) from column (from 0).
std::string with_columns(std::string bytes, int line, int column, const std::string& text) {
  std::size_t at = line < 0 ? bytes.rfind('\n', bytes.size() - 2) + 1 : 0;
  for (int i = 0; i < line; ++i) at = bytes.find('\n', at) + 1;
  return bytes.replace(at + column, text.size(), text);
}

std::vector<igeslib::Finding> check_bytes(const std::string& bytes) {
  std::filesystem::path path = std::filesystem::temp_directory_path() /
                               ("igeslib-check-" + std::to_string(getpid()) + ".igs");
  std::ofstream(path, std::ios::binary) << bytes;
  igeslib::ReadOptions options;
  options.echo_reports = false;
  igeslib::Model model = igeslib::read(path, options);
  std::vector<igeslib::Finding> findings = igeslib::check(model);
  std::filesystem::remove(path);
  return findings;
}

std::set<std::string> codes_of(const std::vector<igeslib::Finding>& findings) {
  std::set<std::string> codes;
  for (const igeslib::Finding& f : findings) codes.insert(f.code);
  return codes;
}

// A line from (x1, y1) to (x2, y2) at z = 0.
std::string line(double x1, double y1, double x2, double y2) {
  char text[96];
  std::snprintf(text, sizeof text, "%g,%g,0,%g,%g,0", x1, y1, x2, y2);
  return text;
}

// A B-spline of degree 1 from (0, 0, 0) to (1, 0, z1) with the given knots, weights, range,
// flags (prop1 to prop4) and normal.
std::string bspline(const std::string& props = "0,0,0,0", const std::string& knots = "0,0,1,1",
                    const std::string& weights = "1,1", const std::string& range = "0,1",
                    double z1 = 0, const std::string& normal = "0,0,1", int degree = 1) {
  return "1," + std::to_string(degree) + "," + props + "," + knots + "," + weights + ",0,0,0,1,0," +
         std::to_string(z1) + "," + range + "," + normal;
}

// The unit square as a bilinear patch of z = 0.
const char kPatch[] = "1,1,1,1,0,0,1,0,0,0,0,1,1,0,0,1,1,1,1,1,1,0,0,0,1,0,0,0,1,0,1,1,0,0,1,0,1";

// A B-rep of the unit square: patch 1, lines 3 to 9, vertex list 11, edge list 13, loop 15,
// face 17, open shell 19, solid 21. edges and loop are the parameters of 504 and 508.
std::vector<E> square(
    const std::string& edges = "4,3,11,1,11,2,5,11,2,11,3,7,11,3,11,4,9,11,4,11,1",
    const std::string& loop = "4,0,13,1,1,0,0,13,2,1,0,0,13,3,1,0,0,13,4,1,0",
    const std::string& shell = "1,17,1", int shell_form = 2,
    const std::string& third_line = line(1, 1, 0, 1)) {
  return {{128, 0, kPatch},
          {110, 0, line(0, 0, 1, 0)},
          {110, 0, line(1, 0, 1, 1)},
          {110, 0, third_line},
          {110, 0, line(0, 1, 0, 0)},
          {502, 1, "4,0,0,0,1,0,0,1,1,0,0,1,0"},
          {504, 1, edges},
          {508, 1, loop},
          {510, 1, "1,1,1,15"},
          {514, shell_form, shell},
          {186, 0, "19,1,0", "00000000"}};
}

struct Case {
  const char* name;
  std::string bytes;
  std::set<std::string> codes;
};

std::vector<Case> cases() {
  const std::string point = "0,0,0,0";
  const E free_line{110, 0, line(0, 0, 1, 0), "00000000"};
  auto with = [](E e, std::string status) {
    e.status = std::move(status);
    return e;
  };
  Global units, resolution, weights, coordinate;
  units.unit_name = "4HINCH";
  resolution.resolution = "0.";
  weights.gradations = "1";
  coordinate.max_coordinate = "10.";
  E heavy = free_line;
  heavy.weight = 5;
  return {
      {"clean", file_of({free_line}), {}},
      {"read-error",
       file_of({free_line}, {}, [](Records& r) { nth(r, 'P', 0).replace(0, 3, "116"); }),
       {"read-error"}},
      {"read-warning",
       file_of({free_line}, {},
               [](Records& r) { nth(r, 'P', 0).replace(4, 1, std::string(1, '\0')); }),
       {"read-warning"}},
      {"section-order",
       file_of({free_line}, {}, [](Records& r) { r.emplace_back('S', "late"); }),
       {"section-order", "read-error"}},
      {"sequence-number", with_columns(file_of({free_line}), 0, 73, right(2, 7)), {}},
      {"terminate-count",
       with_columns(file_of({free_line}), -1, 25, right(5, 7)),
       {"terminate-count", "read-error"}},
      {"directory-pair",
       file_of({free_line}, {}, [](Records& r) { nth(r, 'D', 1).replace(5, 3, "116"); }),
       {"directory-pair"}},
      {"parameter-pointer",
       file_of({free_line}, {}, [](Records& r) { nth(r, 'D', 0).replace(15, 1, "5"); }),
       {"parameter-pointer"}},
      {"parameter-line-count",
       file_of({free_line}, {}, [](Records& r) { nth(r, 'D', 1).replace(31, 1, "2"); }),
       {"parameter-line-count"}},
      {"parameter-de-pointer",
       file_of({free_line}, {}, [](Records& r) { nth(r, 'P', 0).back() = '7'; }),
       {"parameter-de-pointer", "parameter-line-count", "read-error"}},
      {"global-units", file_of({free_line}, units), {"global-units"}},
      {"global-resolution", file_of({free_line}, resolution), {"global-resolution"}},
      {"global-line-weight", file_of({heavy}, weights), {"global-line-weight"}},
      {"global-max-coordinate",
       file_of({{116, 0, "20,0,0,0", "00000000"}}, coordinate),
       {"global-max-coordinate"}},
      {"pointer-out-of-range",
       file_of({{110, 0, line(0, 0, 1, 0)}, {102, 0, "2,1,99", "00000000"}}),
       {"pointer-out-of-range"}},
      {"pointer-sign",
       file_of({{110, 0, line(0, 0, 1, 0)}, {102, 0, "2,1,-1", "00000000"}}),
       {"pointer-sign"}},
      {"pointer-even",
       file_of({{110, 0, line(0, 0, 1, 0)}, {102, 0, "1,2", "00000000"}}),
       {"pointer-even"}},
      {"pointer-zero",
       file_of({{110, 0, line(0, 0, 1, 0)}, {102, 0, "1,0", "00000000"}}),
       {"pointer-zero"}},
      {"pointer-wrong-class",
       file_of({free_line, {408, 0, "1,0,0,0,1", "00000000"}}),
       {"pointer-wrong-class"}},
      {"code-out-of-range", file_of({with(free_line, "00000900")}), {"code-out-of-range"}},
      {"constant-value", file_of({{406, 15, "2,4HNAME", "00000000"}}), {"constant-value"}},
      {"parameters-omitted", file_of({{110, 0, "0,0,0", "00000000"}}), {"parameters-omitted"}},
      {"back-pointer-missing",
       file_of({with(free_line, "00020000"), {402, 1, "1,1", "00000000"}}),
       {"back-pointer-missing"}},
      {"back-pointer-unmatched",
       file_of({{110, 0, line(0, 0, 1, 0) + ",1,3,0", "00020000"},
                {402, 7, "1,5", "00000000"},
                {116, 0, point, "00020000"}}),
       {"back-pointer-unmatched"}},
      {"dependent-unreferenced",
       file_of({with(free_line, "00010000")}),
       {"dependent-unreferenced"}},
      {"independent-referenced",
       file_of({free_line, {110, 0, line(1, 0, 1, 1)}, {102, 0, "2,1,3", "00000000"}}),
       {"independent-referenced"}},
      {"use-flag",
       file_of({{110, 0, line(0, 0, 1, 0)},
                {110, 0, line(0, 0, 1, 1)},
                {142, 0, "0,1,3,0,2", "00000000"}}),
       {"use-flag"}},
      {"bspline-knots",
       file_of({{126, 0, bspline("0,0,0,0", "0,1,0.5,1"), "00000000"}}),
       {"bspline-knots"}},
      {"bspline-counts",
       file_of({{126, 0, bspline("0,0,0,0", "0,0,1", "1,1", "0,1", 0, "0,0,1", 0), "00000000"}}),
       {"bspline-counts"}},
      {"bspline-range",
       file_of({{126, 0, bspline("0,0,0,0", "0,0,1,1", "1,1", "0,2"), "00000000"}}),
       {"bspline-range"}},
      {"bspline-weight",
       file_of({{126, 0, bspline("0,0,0,0", "0,0,1,1", "1,-1"), "00000000"}}),
       {"bspline-weight"}},
      {"bspline-polynomial-flag",
       file_of({{126, 0, bspline("0,0,1,0", "0,0,1,1", "1,2"), "00000000"}}),
       {"bspline-polynomial-flag"}},
      {"bspline-closed-flag",
       file_of({{126, 0, bspline("0,1,0,0"), "00000000"}}),
       {"bspline-closed-flag"}},
      {"bspline-planar-flag",
       file_of({{126, 0, bspline("1,0,0,0", "0,0,1,1", "1,1", "0,1", 1), "00000000"}}),
       {"bspline-planar-flag"}},
      {"normal-not-unit",
       file_of({{126, 0, bspline("1,0,0,0", "0,0,1,1", "1,1", "0,1", 0, "0,0,2"), "00000000"}}),
       {"normal-not-unit"}},
      {"composite-gap",
       file_of(
           {{110, 0, line(0, 0, 1, 0)}, {110, 0, line(2, 0, 3, 0)}, {102, 0, "2,1,3", "00000000"}}),
       {"composite-gap"}},
      {"brep clean", file_of(square()), {}},
      {"brep-vertex-index",
       file_of(square("4,3,11,1,11,2,5,11,2,11,3,7,11,3,11,4,9,11,4,11,9")),
       {"brep-vertex-index"}},
      {"edge-vertex-mismatch",
       file_of(square({"4,3,11,1,11,2,5,11,2,11,3,7,11,3,11,4,9,11,4,11,1"},
                      {"4,0,13,1,1,0,0,13,2,1,0,0,13,3,1,0,0,13,4,1,0"}, "1,17,1", 2,
                      line(1, 1, 0, 2))),
       {"edge-vertex-mismatch"}},
      {"loop-not-closed",
       file_of(square({"4,3,11,1,11,2,5,11,2,11,3,7,11,3,11,4,9,11,4,11,1"},
                      "4,0,13,1,1,0,0,13,3,1,0,0,13,2,1,0,0,13,4,1,0")),
       {"loop-not-closed"}},
      {"shell-edge-use",
       file_of(square({"4,3,11,1,11,2,5,11,2,11,3,7,11,3,11,4,9,11,4,11,1"},
                      {"4,0,13,1,1,0,0,13,2,1,0,0,13,3,1,0,0,13,4,1,0"}, "1,17,1", 1)),
       {"shell-edge-use"}},
      {"shell-edge-direction",
       file_of(square({"4,3,11,1,11,2,5,11,2,11,3,7,11,3,11,4,9,11,4,11,1"},
                      {"4,0,13,1,1,0,0,13,2,1,0,0,13,3,1,0,0,13,4,1,0"}, "2,17,1,17,1")),
       {"shell-edge-direction"}},
      {"trim-not-closed",
       file_of({{128, 0, kPatch},
                {110, 0, line(0, 0, 1, 0)},
                {110, 0, line(1, 0, 1, 1)},
                {102, 0, "2,3,5"},
                {142, 0, "0,1,0,7,1"},
                {144, 0, "1,1,0,9", "00000000"}}),
       {"trim-not-closed"}},
      {"color-range", file_of({{314, 0, "150,0,0,4HPINK", "00000200"}}), {"color-range"}},
      {"subfigure-depth",
       file_of({{116, 0, point},
                {308, 0, "0,5HINNER,1,1", "00000200"},
                {408, 0, "3,0,0,0,1", "00000000"},
                {308, 0, "0,5HOUTER,1,5", "00000200"}}),
       {"subfigure-depth"}},
      {"text-count",
       file_of({{212, 0, "1,5,1,1,1,0,0,0,0,0,0,0,3HABC", "00000100"}}),
       {"text-count"}},
  };
}

TEST(Check, EachCodeFromAFileOfItsOwn) {
  std::set<std::string> covered;
  for (const Case& c : cases()) {
    SCOPED_TRACE(c.name);
    std::set<std::string> expected = c.codes;
    if (expected.empty() && std::string(c.name).find("clean") == std::string::npos)
      expected.insert(c.name);
    std::vector<igeslib::Finding> findings = check_bytes(c.bytes);
    std::string listed;
    for (const igeslib::Finding& f : findings)
      listed += f.code + " DE " + std::to_string(f.de) + " " + f.field + ": " + f.message + "\n";
    EXPECT_EQ(codes_of(findings), expected) << listed;
    covered.insert(expected.begin(), expected.end());
  }
  for (const igeslib::CheckCode& code : igeslib::check_codes())
    EXPECT_TRUE(covered.count(code.code)) << "no case gives " << code.code;
}

}  // namespace

// What a finding names: the entity, its field (a list's item by its place), the record where
// the value stands (the Directory line of a Directory field, the parameter line of a parameter)
// and what is wrong, in file order.
TEST(Check, FindingsNameEntityFieldAndRecord) {
  // A colour definition, a line whose level names it (not a definition of levels), and a
  // composite curve whose second member is past the Directory.
  std::string bytes = file_of({{314, 0, "0,0,0,4HDARK", "00000200"},
                               {110, 0, line(0, 0, 1, 0)},
                               {102, 0, "2,3,99", "00000000"}},
                              {}, [](Records& r) { nth(r, 'D', 2).replace(32, 8, right(-1, 8)); });
  std::vector<igeslib::Finding> findings = check_bytes(bytes);
  ASSERT_EQ(findings.size(), 2u);
  const igeslib::Finding& level = findings[0];
  EXPECT_EQ(std::tie(level.code, level.de, level.field, level.line),
            std::make_tuple(std::string("pointer-wrong-class"), 3, std::string("level"), 6));
  EXPECT_EQ(level.message,
            "pointer -1 names color_definition_entity (314); the field holds "
            "definition_levels_entity");
  const igeslib::Finding& member = findings[1];
  EXPECT_EQ(std::tie(member.code, member.de, member.field, member.line),
            std::make_tuple(std::string("pointer-out-of-range"), 5, std::string("de[1]"), 12));
  EXPECT_EQ(member.message, "pointer 99 is past the last DE number, 5");
  EXPECT_EQ(member.severity, igeslib::Severity::error);
}
