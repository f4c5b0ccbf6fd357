// Small IGES files of a few entities for the tests of parameter code, the values of an entity's
// parameters in file order, and the parameter text that a write gives an entity.
#pragma once

#include <string>
#include <vector>

#include <igeslib.h>

#include "support/file_read.h"

namespace igeslib_test {

// One entity of a file: its type and form, and its parameter record (cut into P records of 64
// columns after its delimiters).
struct Entry {
  int type;
  int form;
  std::string parameters;
  int structure = 0;  // the Structure field: the negative DE pointer of a definition
};

// A file of the entries in directory order, entry i with DE pointer 2i + 1.
std::string iges_file(const std::vector<Entry>& entries);

// Columns 1-64 of the P records of the entity with DE pointer de, blanks at their ends left
// out, joined.
std::string parameters_of(const std::string& file, int de_pointer);

// The parameters of an entity of the plain geometry in file order, a pointer as the place of
// its target in list. Empty for other classes.
std::vector<double> parameter_values(igs_directory_entry* entity, ListOfigs_directory_entry* list);

}  // namespace igeslib_test
