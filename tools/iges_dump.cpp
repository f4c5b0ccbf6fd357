// iges-dump FILE: every entity of an IGES file with its directory fields and every attribute
// by name, walked through the run-time dictionary; as text for a person or as JSON.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <igeslib.h>

#include "dump.h"
#include "tool_support.h"

namespace {

const char kUsageText[] =
    "Usage: iges-dump FILE [--json] [--entity DE] [--type T[,FORM]] [--strict-end]\n"
    "Reads an IGES file and shows every entity: its DE number, type, form and class, the\n"
    "status of its directory record, and every attribute of its class by name, as the\n"
    "library's run-time dictionary lists them. References show the DE number and class of\n"
    "their target, selects their choice and value, lists their elements, enumerations the\n"
    "enumerator's name. The Start and Global sections come first.\n"
    "  --json         one JSON document (\"schema_version\" 1): keys in a fixed order, reals\n"
    "                 in the shortest form that reads back exactly, always with a point or an\n"
    "                 exponent; a real that is not finite is the string \"NaN\", \"Infinity\"\n"
    "                 or \"-Infinity\"; text bytes past ASCII are escaped as Latin-1 (\\u00XX)\n"
    "  --entity DE    only the entity of that DE number\n"
    "  --type T[,F]   only entities of type T (and form F)\n"
    "  --strict-end   a damaged last record is a fatal error, as iges-info takes it\n"
    "Reports of the read go to standard error.\n"
    "Exit status: 0 the file was read to its end, 1 the read stopped at a fatal error (what\n"
    "was read is shown), 2 bad arguments, a file that can't be opened, or no entity of that\n"
    "DE number, 3 the file was read to its end but its last record was damaged.\n";

// A whole decimal number, sign allowed; false for anything else.
bool whole_number(const char* text, int* value) {
  if (!text || !*text) return false;
  char* end = nullptr;
  long parsed = std::strtol(text, &end, 10);
  if (*end || parsed < -2147483647L || parsed > 2147483647L) return false;
  *value = static_cast<int>(parsed);
  return true;
}

bool parse_type(const char* text, igeslib_tools::DumpOptions& options) {
  std::string type(text ? text : "");
  std::size_t comma = type.find(',');
  options.by_type = true;
  if (comma == std::string::npos) return whole_number(type.c_str(), &options.type);
  options.by_form = true;
  return whole_number(type.substr(0, comma).c_str(), &options.type) &&
         whole_number(type.c_str() + comma + 1, &options.form);
}

int usage() {
  std::fputs(kUsageText, stderr);
  return igeslib_tools::kUsage;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace igeslib_tools;
  const char* path = nullptr;
  bool strict_end = false;
  DumpOptions options;
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    if (std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0) {
      std::fputs(kUsageText, stdout);
      return kCompleted;
    }
    if (std::strcmp(arg, "--json") == 0) {
      options.json = true;
    } else if (std::strcmp(arg, "--strict-end") == 0) {
      strict_end = true;
    } else if (std::strncmp(arg, "--entity", 8) == 0 && (arg[8] == '\0' || arg[8] == '=')) {
      if (!whole_number(option_value("--entity", argc, argv, i), &options.entity) ||
          options.entity <= 0)
        return usage();
    } else if (std::strncmp(arg, "--type", 6) == 0 && (arg[6] == '\0' || arg[6] == '=')) {
      if (!parse_type(option_value("--type", argc, argv, i), options)) return usage();
    } else if ((arg[0] == '-' && arg[1] != '\0') || path) {
      return usage();
    } else {
      path = arg;
    }
  }
  if (!path) return usage();

  Session session("iges-dump");
  // The dump is standard output, so what the reader prints there (its warnings on the
  // version of the file) goes to standard error for the length of the read.
  int status;
  {
    StdoutToStderr redirect;
    status = session.read(path, strict_end);
  }
  if (status == kUsage) return status;
  // The dictionary walked is that of the embedded schemas.
  igeslib_create_builtin_schemas();
  LUMO.useDesign(session.file()->design());  // the directory list is the current design's

  // A DE number that names no entity of the file is a bad argument; one whose entity is not
  // of the type asked for just shows nothing.
  long long entities = session.file()->directory_entries()->size();
  if (options.entity && (options.entity % 2 == 0 || options.entity > 2 * entities - 1)) {
    std::fprintf(stderr, "iges-dump: %s: no entity with DE number %d\n", path, options.entity);
    return kUsage;
  }

  DumpHeading heading;
  heading.path = path;
  heading.read = status == kFatal        ? "stopped at a fatal error"
                 : status == kDamagedEnd ? "completed, last record damaged"
                                         : "completed";
  heading.reports = session.reports();
  std::string out;
  dump_file(session.file(), options, heading, out, stdout);
  if (std::fflush(stdout) != 0) {
    session.complain("standard output can't be written", path);
    return kUsage;
  }
  return status;
}
