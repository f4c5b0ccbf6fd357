// iges-check FILE: every fault of an IGES file, grouped by code with counts; as text for a
// person or as JSON.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <igeslib.h>

#include "tool_support.h"

namespace {

const char kUsageText[] =
    "Usage: iges-check FILE [--json] [--level error|warning|info] [--code CODE[,CODE...]]\n"
    "Reads an IGES file and names every fault found in it, beyond what the reader reports:\n"
    "pointers that name nothing the field holds, back pointers, status flags, the records\n"
    "against the sections, B-spline data against their flags, loops and boundaries that\n"
    "don't close. The findings are grouped by code, each with its count, then listed in file\n"
    "order: DE number, field, record and what is wrong.\n"
    "  --json          one JSON document (\"schema_version\" 1), the findings in file order\n"
    "  --level L       only findings of severity L and above (default info)\n"
    "  --code C        only findings of code C; may be given again or as a list\n"
    "  --codes         list every code with its severity and meaning, and exit\n"
    "Exit status: 0 no finding at error level, 1 at least one, 2 bad arguments or a file\n"
    "that can't be opened.\n";

constexpr int kClean = 0;
constexpr int kFaults = 1;

int usage() {
  std::fputs(kUsageText, stderr);
  return igeslib_tools::kUsage;
}

bool is_option(const char* arg, const char* name) {
  std::size_t length = std::strlen(name);
  return std::strncmp(arg, name, length) == 0 && (arg[length] == '\0' || arg[length] == '=');
}

// Codes given as a list separated by commas; false for one that is no code.
bool add_codes(const char* text, std::vector<std::string>& codes) {
  std::string list = text ? text : "";
  if (list.empty()) return false;
  std::size_t from = 0;
  for (;;) {
    std::size_t comma = list.find(',', from);
    std::string code = list.substr(from, comma == std::string::npos ? comma : comma - from);
    if (!igeslib::find_check_code(code)) {
      std::fprintf(stderr, "iges-check: no code '%s' (see --codes)\n", code.c_str());
      return false;
    }
    codes.push_back(code);
    if (comma == std::string::npos) return true;
    from = comma + 1;
  }
}

void list_codes() {
  for (const igeslib::CheckCode& code : igeslib::check_codes())
    std::printf("%-24s %-8s %s\n", code.code, igeslib::severity_name(code.severity), code.meaning);
}

const char* read_outcome(const igeslib::Model& model) {
  if (!model.completed()) return "stopped at a fatal error";
  return model.damaged_end().empty() ? "completed" : "completed, last record damaged";
}

// The findings of each code, in the catalogue's order.
std::vector<std::pair<const igeslib::CheckCode*, std::vector<const igeslib::Finding*>>> by_code(
    const std::vector<igeslib::Finding>& findings) {
  std::map<std::string, std::vector<const igeslib::Finding*>> grouped;
  for (const igeslib::Finding& f : findings) grouped[f.code].push_back(&f);
  std::vector<std::pair<const igeslib::CheckCode*, std::vector<const igeslib::Finding*>>> out;
  for (const igeslib::CheckCode& code : igeslib::check_codes()) {
    auto found = grouped.find(code.code);
    if (found != grouped.end()) out.emplace_back(&code, std::move(found->second));
  }
  return out;
}

void text(std::string& out, const char* path, const igeslib::Model& model,
          const std::vector<igeslib::Finding>& findings, const int (&counts)[3]) {
  out += "File: " + std::string(path) + "\nRead: " + read_outcome(model) +
         "\nEntities: " + std::to_string(model.entities().size()) +
         "\nFindings: " + std::to_string(counts[2]) + " errors, " + std::to_string(counts[1]) +
         " warnings, " + std::to_string(counts[0]) + " infos\n";
  for (const auto& [code, list] : by_code(findings)) {
    out += "\n" + std::string(code->code) + " (" + igeslib::severity_name(code->severity) +
           "): " + std::to_string(list.size()) + "\n";
    for (const igeslib::Finding* f : list) {
      out += "  ";
      out += f->de ? "DE " + std::to_string(f->de) : std::string("file");
      if (!f->field.empty()) out += " " + f->field;
      if (f->line) out += " (line " + std::to_string(f->line) + ")";
      out += ": " + f->message + "\n";
    }
  }
}

void json(std::string& out, const char* path, const igeslib::Model& model,
          const std::vector<igeslib::Finding>& findings, const int (&counts)[3]) {
  using igeslib_tools::json_string;
  out += "{\n  \"schema_version\": 1,\n  \"file\": ";
  json_string(out, path);
  out += ",\n  \"read\": ";
  json_string(out, read_outcome(model));
  out += ",\n  \"reports\": " + std::to_string(model.reports().size());
  out += ",\n  \"entity_count\": " + std::to_string(model.entities().size());
  out += ",\n  \"counts\": {\"error\": " + std::to_string(counts[2]) +
         ", \"warning\": " + std::to_string(counts[1]) +
         ", \"info\": " + std::to_string(counts[0]) + "}";
  out += ",\n  \"codes\": [";
  bool first = true;
  for (const auto& [code, list] : by_code(findings)) {
    out += first ? "\n    " : ",\n    ";
    first = false;
    out += "{\"code\": ";
    json_string(out, code->code);
    out += ", \"severity\": ";
    json_string(out, igeslib::severity_name(code->severity));
    out += ", \"count\": " + std::to_string(list.size()) + "}";
  }
  out += first ? "]" : "\n  ]";
  out += ",\n  \"findings\": [";
  for (std::size_t i = 0; i < findings.size(); ++i) {
    const igeslib::Finding& f = findings[i];
    out += i ? ",\n    {" : "\n    {";
    out += "\"severity\": ";
    json_string(out, igeslib::severity_name(f.severity));
    out += ", \"code\": ";
    json_string(out, f.code);
    out += ", \"de\": " + std::to_string(f.de) + ", \"field\": ";
    if (f.field.empty())
      out += "null";
    else
      json_string(out, f.field);
    out += ", \"line\": " + std::to_string(f.line) + ", \"message\": ";
    json_string(out, f.message);
    out += "}";
  }
  out += findings.empty() ? "]\n}\n" : "\n  ]\n}\n";
}

}  // namespace

int main(int argc, char** argv) {
  using namespace igeslib_tools;
  const char* path = nullptr;
  bool as_json = false;
  igeslib::CheckOptions options;
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    if (std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0) {
      std::fputs(kUsageText, stdout);
      return kClean;
    }
    if (std::strcmp(arg, "--codes") == 0) {
      list_codes();
      return kClean;
    }
    if (std::strcmp(arg, "--json") == 0) {
      as_json = true;
    } else if (is_option(arg, "--level")) {
      const char* level = option_value("--level", argc, argv, i);
      if (!level || !igeslib::parse_severity(level, &options.level)) return usage();
    } else if (is_option(arg, "--code")) {
      if (!add_codes(option_value("--code", argc, argv, i), options.codes)) return usage();
    } else if ((arg[0] == '-' && arg[1] != '\0') || path) {
      return usage();
    } else {
      path = arg;
    }
  }
  if (!path) return usage();

  igeslib_force_load();
  igeslib::ReadOptions read_options;
  read_options.echo_reports = false;  // the reports are findings of their own
  igeslib::Model model;
  {
    // What the reader prints on standard output (its warnings on the file's version) goes to
    // standard error, so that the findings stand alone there.
    StdoutToStderr redirect;
    Progress progress;
    model = igeslib::read(path, read_options);
  }
  if (model.status() == igeslib::ReadStatus::not_opened) {
    std::fprintf(stderr, "iges-check: %s: %s\n", path, std::strerror(model.open_error()));
    return kUsage;
  }

  std::vector<igeslib::Finding> findings = igeslib::check(model, options);
  int counts[3] = {};
  for (const igeslib::Finding& f : findings) ++counts[static_cast<int>(f.severity)];
  std::string out;
  if (as_json)
    json(out, path, model, findings, counts);
  else
    text(out, path, model, findings, counts);
  if (std::fwrite(out.data(), 1, out.size(), stdout) != out.size() || std::fflush(stdout) != 0) {
    std::fprintf(stderr, "iges-check: %s: standard output can't be written\n", path);
    return kUsage;
  }
  return counts[static_cast<int>(igeslib::Severity::error)] ? kFaults : kClean;
}
