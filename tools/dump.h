// The dump of a file's entities, walked through the run-time dictionary: every attribute of
// an object is found by name in the domain of its class, read from its slot and shown by what
// its domain says it holds. No entity class is known here by name.
#pragma once

#include <cstdio>
#include <string>

#include <igeslib.h>

namespace igeslib_tools {

// Raised whenever the JSON form changes in a way a script would notice.
constexpr int kDumpSchemaVersion = 1;

struct DumpOptions {
  bool json = false;
  int entity = 0;  // a DE number: only that entity; 0 for all
  bool by_type = false;
  int type = 0;
  bool by_form = false;
  int form = 0;
};

// What the read of the file gave, for the head of the dump.
struct DumpHeading {
  const char* path = "";
  const char* read = "completed";
  unsigned long reports = 0;
};

// Writes the dump of file (the root of the current design, read or built) into out, which
// is flushed to stream as it grows when stream is not null. Answers the number of entities
// shown.
unsigned long dump_file(igs_iges_file* file, const DumpOptions& options, const DumpHeading& heading,
                        std::string& out, FILE* stream);

// One entity in JSON, as an element of the dump's "entities" (one line, no indentation):
// for tests and for applications that want a single entity's record.
// References are numbered by their place in entities, as a file numbers them.
std::string dump_entity_json(igs_directory_entry* entity, ListOfigs_directory_entry* entities);

// The shortest text that reads back as exactly value; a real always carries a point or an
// exponent. Not-a-number and the infinities are "NaN", "Infinity" and "-Infinity".
std::string real_text(double value);
std::string real_text(float value);

}  // namespace igeslib_tools
