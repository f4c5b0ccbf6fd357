// iges-copy IN OUT [--keep-zeros]: reads an IGES file and writes what was read as a new one.
#include <cstdio>
#include <cstring>

#include <igeslib.h>

#include "tool_support.h"

namespace {

const char kUsageText[] =
    "Usage: iges-copy IN OUT [--keep-zeros] [--strict-end]\n"
    "Reads the IGES file IN and writes what was read to OUT. Zero values are written as\n"
    "empty parameters; with --keep-zeros they are written as 0 and 0.\n"
    "A damaged last record of IN (a Terminate record whose fields can't be read, or one cut\n"
    "off by the end of the file) is reported, IN is read whole and OUT gets a correct one;\n"
    "with --strict-end it is a fatal error.\n"
    "Prints one line: the entities copied and the reports of the read and the write (the\n"
    "reports themselves go to standard error).\n"
    "Exit status: 0 the file was read to its end and written, 1 the read stopped at a fatal\n"
    "error (nothing is written), 2 bad arguments or a file that can't be opened or written,\n"
    "3 IN was read to its end and written, but its last record was damaged.\n";

}  // namespace

int main(int argc, char** argv) {
  using namespace igeslib_tools;
  const char* paths[2] = {nullptr, nullptr};
  int path_count = 0;
  bool keep_zeros = false;
  bool strict_end = false;
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    if (std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0) {
      std::fputs(kUsageText, stdout);
      return kCompleted;
    }
    if (std::strcmp(arg, "--keep-zeros") == 0) {
      keep_zeros = true;
    } else if (std::strcmp(arg, "--strict-end") == 0) {
      strict_end = true;
    } else if (arg[0] == '-' && arg[1] != '\0') {
      std::fprintf(stderr, "iges-copy: unknown option %s\n%s", arg, kUsageText);
      return kUsage;
    } else if (path_count < 2) {
      paths[path_count++] = arg;
    } else {
      std::fputs(kUsageText, stderr);
      return kUsage;
    }
  }
  if (path_count != 2) {
    std::fputs(kUsageText, stderr);
    return kUsage;
  }

  Session session("iges-copy");
  int read_status = session.read(paths[0], strict_end);
  if (read_status == kFatal)
    std::fprintf(stderr, "iges-copy: %s: the read stopped at a fatal error; %s not written\n",
                 paths[0], paths[1]);
  if (read_status != kCompleted && read_status != kDamagedEnd) return read_status;
  unsigned entities = session.file()->directory_entries()->size();
  int status = session.write(paths[1], !keep_zeros);
  if (status != kCompleted) return status;
  std::printf("%s -> %s: %u entities, %lu reports\n", paths[0], paths[1], entities,
              session.reports());
  return read_status;
}
