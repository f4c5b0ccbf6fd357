// The checker's driver: the catalogue of codes, the context the passes share, and the findings
// put in file order and filtered.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <unordered_set>

#include "check_internal.h"

namespace igeslib {

namespace {

constexpr Severity E = Severity::error;
constexpr Severity W = Severity::warning;
constexpr Severity I = Severity::info;

constexpr CheckCode kCodes[] = {
    {"read-error", E, "the reader reported an error: a record, token or section it couldn't read"},
    {"read-warning", W, "the reader reported a warning"},
    {"section-order", E,
     "a record stands out of the order Start, Global, Directory, Parameter, "
     "Terminate"},
    {"sequence-number", E, "a record's sequence number is not one more than the record's before"},
    {"terminate-count", E, "the Terminate record's count of a section differs from its records"},
    {"directory-pair", E, "Directory records that don't pair up by entity type"},
    {"parameter-pointer", E,
     "the Directory's parameter data pointer is not the entity's first parameter record"},
    {"parameter-line-count", E,
     "the Directory's parameter line count differs from the entity's parameter records"},
    {"parameter-de-pointer", E,
     "parameter records whose DE pointer names no entity, or an entity's records in two runs"},
    {"global-units", W, "the Global unit flag and unit name disagree"},
    {"global-resolution", W, "the Global minimum resolution is not a positive length"},
    {"global-line-weight", W, "a line weight above the Global count of line weight gradations"},
    {"global-max-coordinate", W, "geometry beyond the Global maximum coordinate value"},
    {"pointer-out-of-range", E, "a pointer that names no entry of the Directory"},
    {"pointer-sign", E,
     "a negative pointer where a DE number is meant, or a positive one where a negated one is"},
    {"pointer-even", E, "an even pointer: DE numbers are odd"},
    {"pointer-zero", E, "0 or nothing in a list of pointers, which must name entities"},
    {"pointer-wrong-class", E, "a pointer to an entity of a class the field doesn't accept"},
    {"code-out-of-range", E, "an integer code that is no value of its field"},
    {"constant-value", W, "a parameter that the entity fixes (a count of parameters) differs"},
    {"parameters-omitted", I,
     "the record ends before the entity's parameters; the rest are taken as defaults"},
    {"back-pointer-missing", E,
     "an associativity that requires back pointers names an entity that doesn't name it back"},
    {"back-pointer-unmatched", E,
     "an entity's back pointer names an associativity that doesn't name the entity"},
    {"dependent-unreferenced", W, "a physically dependent entity that no entity references"},
    {"independent-referenced", W,
     "an entity that another entity owns (references as a child) is marked independent"},
    {"use-flag", W,
     "a use flag that disagrees with the reference: a parameter-space curve not "
     "marked parametric"},
    {"bspline-knots", E, "B-spline knots that decrease"},
    {"bspline-counts", E, "B-spline counts that disagree with the degree or with each other"},
    {"bspline-range", E, "a B-spline parameter range outside its knots, or reversed"},
    {"bspline-weight", E, "a B-spline weight that is not positive"},
    {"bspline-polynomial-flag", W, "a B-spline flagged polynomial whose weights differ"},
    {"bspline-closed-flag", W, "a B-spline flagged closed whose ends lie apart"},
    {"bspline-planar-flag", W, "a B-spline curve flagged planar with points off its plane"},
    {"normal-not-unit", W, "a normal that is not of unit length"},
    {"composite-gap", W, "members of a composite curve that don't meet end to end"},
    {"brep-vertex-index", E, "a vertex or edge index outside its list"},
    {"edge-vertex-mismatch", W, "an edge curve whose ends are not at the edge's vertices"},
    {"loop-not-closed", E, "loop edges that don't meet end to end"},
    {"shell-edge-use", E,
     "a shell edge used by other than two faces (once, at an open shell's rim)"},
    {"shell-edge-direction", E, "a shell edge used twice in the same direction"},
    {"trim-not-closed", E, "a trimmed or bounded surface's boundary that doesn't close"},
    {"color-range", W, "a colour definition's value outside 0 to 100"},
    {"subfigure-depth", E, "a subfigure definition whose depth doesn't exceed one it contains"},
    {"text-count", W, "a text's character count that differs from its string"},
};

}  // namespace

const char* severity_name(Severity severity) {
  switch (severity) {
    case Severity::info:
      return "info";
    case Severity::warning:
      return "warning";
    case Severity::error:
      return "error";
  }
  return "error";
}

bool parse_severity(std::string_view name, Severity* severity) {
  for (Severity s : {Severity::info, Severity::warning, Severity::error}) {
    if (name == severity_name(s)) {
      *severity = s;
      return true;
    }
  }
  return false;
}

std::span<const CheckCode> check_codes() { return kCodes; }

const CheckCode* find_check_code(std::string_view code) {
  for (const CheckCode& c : kCodes)
    if (code == c.code) return &c;
  return nullptr;
}

namespace check_detail {

Context::Context(const Model& checked, std::vector<Finding>& out) : model(checked), out_(out) {
  places.assign(model.directory().begin(), model.directory().end());
  // The entities made since the read: those that no place holds yet, in the order of making.
  std::size_t held =
      places.size() - static_cast<std::size_t>(std::count(places.begin(), places.end(), nullptr));
  if (held < model.entities().size()) {
    std::unordered_set<igs_directory_entry*> placed(places.begin(), places.end());
    for (igs_directory_entry* entity : model.entities())
      if (placed.insert(entity).second) places.push_back(entity);
  }
  if (igs_global* global = model.global_section()) {
    double given = global->min_resolution();
    if (std::isfinite(given) && given > 0) resolution = given;
  }
}

int Context::de(igs_directory_entry* entity) const {
  // The number the reader gave it, when that names its place; else the place's own.
  if (entity && entity->de_number > 0 && at(entity->de_number) == entity) return entity->de_number;
  if (!numbered_) {
    numbered_ = true;
    for (std::size_t i = 0; i < places.size(); ++i)
      if (places[i]) de_of_.emplace(places[i], static_cast<int>(2 * i + 1));
  }
  auto found = de_of_.find(entity);
  return found == de_of_.end() ? 0 : found->second;
}

igs_directory_entry* Context::at(int de_number) const {
  if (de_number <= 0 || de_number > 2 * places_count()) return nullptr;
  return places[static_cast<std::size_t>((de_number - 1) / 2)];
}

void Context::add(const char* code, int de, std::string field, std::string message, int line) {
  const CheckCode* known = find_check_code(code);
  Finding finding;
  finding.severity = known ? known->severity : Severity::error;
  finding.code = code;
  finding.de = de;
  finding.field = std::move(field);
  finding.message = std::move(message);
  finding.line = line ? line : (directory_start && de > 0 ? directory_start + de - 1 : 0);
  out_.push_back(std::move(finding));
}

std::string describe(igs_directory_entry* entity) {
  if (!entity) return "no entity";
  auto [type, form] = entity_type_and_form(entity);
  LumoDomain* domain = entity->domain();
  std::string name = domain && domain->name() ? domain->name() : "entity";
  if (name.rfind("igs_", 0) == 0) name.erase(0, 4);
  return name + " (" + std::to_string(type) + (form ? "/" + std::to_string(form) : "") + ")";
}

std::string type_name(LumoTypePtr* type) {
  if (!type) return "?";
  std::string name = (*type)->name ? (*type)->name : "?";
  if (name.rfind("igs_", 0) == 0) name.erase(0, 4);
  return name;
}

std::string number(double value) {
  char text[32];
  auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 9).ptr;
  return std::string(text, end);
}

}  // namespace check_detail

std::vector<Finding> check(const Model& model, const CheckOptions& options) {
  std::vector<Finding> findings;
  check_detail::Context context(model, findings);
  // The records first: they give the line of every entity's Directory record.
  check_detail::check_records(context);
  check_detail::check_notes(context);
  check_detail::check_references(context);
  check_detail::check_bsplines(context);
  check_detail::check_topology(context);
  check_detail::check_definitions(context);

  std::erase_if(findings, [&](const Finding& f) {
    if (f.severity < options.level) return true;
    return !options.codes.empty() &&
           std::find(options.codes.begin(), options.codes.end(), f.code) == options.codes.end();
  });
  std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
    if (a.line != b.line) return a.line < b.line;
    return a.de < b.de;
  });
  return findings;
}

}  // namespace igeslib
