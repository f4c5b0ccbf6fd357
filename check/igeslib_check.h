// The checker: every fault of a file that the tolerant reader reads past, named with a stable
// code. Where the reader takes what it can, the checker says what a receiving system may drop:
// pointers that name nothing the field holds, back pointers that don't match, status flags
// against their references, records and counts against the sections, B-splines whose data
// disagree with their flags, loops and boundaries that don't close.
//
//   igeslib::Model model = igeslib::read("part.igs");
//   for (const igeslib::Finding& f : igeslib::check(model))
//     std::printf("%s DE %d %s: %s\n", f.code.c_str(), f.de, f.field.c_str(), f.message.c_str());
//
// A model read from a file (igeslib::read) is checked whole: its records are read again for
// the checks of the file's structure, and the notes of its read name the pointers and codes
// that the reader took in its own way. A model built in memory gets the checks of its objects.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace igeslib {

class Model;

enum class Severity {
  info,     // worth knowing; a receiving system reads the file the same
  warning,  // a receiving system may read it otherwise than the sender meant
  error,    // the file breaks a rule of the format: data is lost or misread
};
// "info", "warning", "error".
const char* severity_name(Severity severity);
// The severity of that name; false for any other text.
bool parse_severity(std::string_view name, Severity* severity);

struct Finding {
  Severity severity = Severity::error;
  std::string code;  // what kind of fault, as check_codes() lists it: "pointer-wrong-class"
  int de = 0;        // DE number of the entity at fault; 0 for the file as a whole
  // The entity's field, by its attribute name with the item of each list ("sptr",
  // "curves[2].pscpt[0]", "line_font"); empty when the fault is the entity's or the file's.
  std::string field;
  std::string message;  // what is wrong, in one line
  int line = 0;         // the record of the file where it stands, counted from 1; 0 for none
};

struct CheckCode {
  const char* code;
  Severity severity;
  const char* meaning;  // one line
};
// Every code that check() gives, with its severity, by family: the reader's reports, the
// file's structure, pointers, back pointers, status, geometry, topology, annotation.
std::span<const CheckCode> check_codes();
// The entry of code; null for a code that isn't one.
const CheckCode* find_check_code(std::string_view code);

struct CheckOptions {
  Severity level = Severity::info;  // findings below this severity are left out
  std::vector<std::string> codes;   // only the findings of these codes, when any are given
};

// The findings of a model, in file order (by the record where each stands, then by DE number).
std::vector<Finding> check(const Model& model, const CheckOptions& options = {});

}  // namespace igeslib
