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

// Why the model of this file can't settle after one write with that zero_as_default, or null
// when nothing stands in the way. Reads the file's design only.
inline const char* unsettled_reason(igs_iges_file* file, char zero_as_default) {
  if (igs_global* global = file ? file->global_section_ : nullptr) {
    // A delimiter of the file's own: the record delimiter is written as the parameter
    // delimiter's text, and a default one as "," whatever the parameter delimiter.
    const char* p = global->parameter_delimiter_;
    const char* r = global->record_delimiter_;
    if ((p && *p && std::strcmp(p, ",") != 0) || (r && *r && std::strcmp(r, ";") != 0))
      return "the Global section has delimiters of its own";
    // 0 gradations of line weight are written as an empty parameter, which reads as 1.
    if (zero_as_default && global->max_num_line_weight_gradations_ == 0)
      return "the Global section's line weight gradations are 0, written as empty";
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

// Where a second write first differs from the first other than by the write rules that are
// kept although what they write reads back different, each of which settles one write later,
// or "" where it doesn't:
// - a null line font, level or colour select (with null_selects; the reader leaves them so for
//   a Directory pair that it never reached) writes blanks, which read back as the value 0 and
//   write as "       0";
// - a pointer parameter that holds no entity is written as 0, and where it has no test for 0
//   that names the first entity of the file, DE number 1.
inline std::string first_difference(const std::string& first, const std::string& second,
                                    bool null_selects = true) {
  WrittenFile one = take_apart(first), two = take_apart(second);
  if (one.start_global != two.start_global || one.directory.size() != two.directory.size() ||
      one.parameters.size() != two.parameters.size())
    return "the Start or Global section, or the number of entities";
  for (std::size_t i = 0; i < one.directory.size(); ++i) {
    std::string& a = one.directory[i];
    const std::string& b = two.directory[i];
    for (std::size_t column :
         i % 2 == 0 ? std::vector<std::size_t>{24, 32} : std::vector<std::size_t>{16})
      if (null_selects && a.compare(column, 8, "        ") == 0 &&
          b.compare(column, 8, "       0") == 0)
        a.replace(column, 8, "       0");
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
      if (x == y || ((x.empty() || x == "0") && y == "1")) continue;
      return "entity " + std::to_string((number - 1) / 2) + ", parameter " + std::to_string(k) +
             ": \"" + x + "\" then \"" + y + "\"";
    }
  }
  return "";
}

}  // namespace igeslib_test
