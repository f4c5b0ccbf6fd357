// What keeps a model read from a file from writing the same bytes twice: write rules that are
// kept as they are although what they write reads back different. Header only, so that the
// fuzz targets share it with the tests.
#pragma once

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <igeslib.h>

#include "igeslib_registry.h"

namespace igeslib_test {

// Whether a report of the second read is one of a real that the writer puts in a form the reader
// rejects: a whole number that "%.15G" shows with an exponent gets a point behind it
// ("1D+20."), and an infinite or undefined value is written as "INF." or "NAN.".
inline bool is_rejected_real_report(const char* text) {
  return std::strstr(text, "Unexpected decimal in number") ||
         std::strstr(text, "Invalid floating point value");
}

// Whether a generic data or user defined property holds a value of a kind that its writer
// writes nothing for.
inline bool has_value_of_no_kind(igs_directory_entry* entity) {
  ListOfigs_datum* values = nullptr;
  bool user_defined = false;
  if (auto* data = lumo_cast<igs_generic_data_entity>(entity)) values = data->values_;
  if (auto* property = lumo_cast<igs_user_defined_property_entity>(entity)) {
    values = property->variables_;
    user_defined = true;
  }
  for (unsigned i = 0, n = values ? values->size() : 0; i < n; ++i) {
    igs_datum* d = (*values)[i];
    bool written = d && (d->is_int_val() || d->is_float_val() || d->is_str_val() ||
                         (!user_defined && (d->is_directory_entry() || d->is_bool_val())));
    if (!written) return true;
  }
  return false;
}

// Why the model of this file can't settle after one write with that zero_as_default, or null
// when nothing stands in the way. Reads the file's design only.
inline const char* unsettled_reason(igs_iges_file* file) {
  if (igs_global* global = file ? file->global_section_ : nullptr) {
    // A delimiter of the file's own: the record delimiter is written as the parameter
    // delimiter's text, and a default one as "," whatever the parameter delimiter.
    const char* p = global->parameter_delimiter_;
    const char* r = global->record_delimiter_;
    if ((p && *p && std::strcmp(p, ",") != 0) || (r && *r && std::strcmp(r, ";") != 0))
      return "the Global section has delimiters of its own";
  }
  ListOfigs_directory_entry* list = file ? file->directory_entries() : nullptr;
  unsigned n = list ? list->size() : 0;
  static const IgeslibEntityTable registry;
  for (unsigned i = 0; i < n; ++i) {
    igs_directory_entry* entity = (*list)[i];
    if (!entity) continue;
    // The form is written as stored, and the reader takes the class from type and form.
    int type = entity->entity_type(), form = entity->form();
    IgeslibEntityData* row = type > 0 ? registry.find_entity_data(type, form) : nullptr;
    if (type > 0 && (row ? row->domain : registry.find_domain(type)) != entity->domain())
      return "an entity's form is one that the reader gives another class";
    // An entity that the reader can't place is written back as the text read, behind a 0
    // for its number: a longer number leaves its first line cut short, and the text keeps the
    // pointers and delimiters of the file read.
    if (lumo_cast<igs_null_entity>(entity)) return "an entity of a type and form without a class";
    // The writer of nodal displacements leaves out the node numbers that its reader drops.
    if (auto* d = lumo_cast<igs_nodal_displacement_and_rotation_entity>(entity); d && d->nn() > 0)
      return "a nodal displacement with node cases, written without their node numbers";
    // An instance's items take their kinds from its definition: an item of no kind, or one
    // whose value is of another kind than its definition says, is written short.
    if (lumo_cast<igs_associativity_instance_entity>(entity))
      return "an associativity instance, whose items follow its definition";
    // A value of no kind is written as nothing while the count counts it: the next read takes
    // the record's end for one more integer.
    if (has_value_of_no_kind(entity))
      return "a property with a value of no kind, written as nothing while counted";
  }
  return nullptr;
}

// A written file taken apart for comparison: its S and G lines, its D lines without the
// parameter-data pointer and line count (which follow from the P section), and each entity's
// parameters as tokens, keyed by DE number.
struct WrittenFile {
  std::vector<std::string> start_global, directory;
  std::map<int, std::vector<std::string>> parameters;
};

inline WrittenFile take_apart(const std::string& text) {
  WrittenFile file;
  std::map<int, std::string> records;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(at, end - at);
    at = end + 1;
    line.resize(80, ' ');
    char section = line[72];
    if (section == 'S' || section == 'G') {
      file.start_global.push_back(line);
    } else if (section == 'D') {
      bool record_one = std::atoi(line.substr(73, 7).c_str()) % 2 == 1;
      line.replace(record_one ? 8 : 24, 8, 8, ' ');
      file.directory.push_back(line);
    } else if (section == 'P') {
      records[std::atoi(line.substr(65, 7).c_str())] += line.substr(0, 64);
    }
  }
  for (auto& [number, record] : records) {
    std::vector<std::string>& tokens = file.parameters[number];
    std::string token;
    for (std::size_t i = 0; i < record.size(); ++i) {
      char c = record[i];
      if (c == ',' || c == ';') {
        tokens.push_back(token);
        token.clear();
        if (c == ';') break;
      } else if (c == 'H' && !token.empty() &&
                 token.find_first_not_of("0123456789 ") == std::string::npos) {
        std::size_t length = std::strtoul(token.c_str(), nullptr, 10);
        token += record.substr(i, length + 1);  // a string: its text may hold delimiters
        i += length;
      } else if (c != ' ') {
        token += c;
      }
    }
  }
  return file;
}

// Where a second write first differs from the first, or "" where it doesn't.
inline std::string first_difference(const std::string& first, const std::string& second) {
  WrittenFile one = take_apart(first), two = take_apart(second);
  if (one.start_global != two.start_global || one.directory.size() != two.directory.size() ||
      one.parameters.size() != two.parameters.size())
    return "the Start or Global section, or the number of entities";
  for (std::size_t i = 0; i < one.directory.size(); ++i) {
    const std::string& a = one.directory[i];
    const std::string& b = two.directory[i];
    if (a == b) continue;
    std::size_t column = 0;
    while (a[column] == b[column]) ++column;
    column = column / 8 * 8;
    return "entity " + std::to_string(i / 2) + ", Directory line " + std::to_string(i % 2 + 1) +
           " columns " + std::to_string(column + 1) + "-" + std::to_string(column + 8) + ": \"" +
           a.substr(column, 8) + "\" then \"" + b.substr(column, 8) + "\"";
  }
  for (auto& [number, a] : one.parameters) {
    const std::vector<std::string>& b = two.parameters[number];
    for (std::size_t k = 0; k < a.size() || k < b.size(); ++k) {
      std::string x = k < a.size() ? a[k] : "(none)", y = k < b.size() ? b[k] : "(none)";
      if (x == y) continue;
      return "entity " + std::to_string((number - 1) / 2) + ", parameter " + std::to_string(k) +
             ": \"" + x + "\" then \"" + y + "\"";
    }
  }
  return first == second ? "" : "elsewhere in the records";
}

}  // namespace igeslib_test
