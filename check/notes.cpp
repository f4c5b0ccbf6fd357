// The notes of the read: each value that the reader took in its own way, named as a fault of
// the file with what the field would have held.
#include <cstring>

#include "check_internal.h"

namespace igeslib::check_detail {

namespace {

// "curves[].pscpt[]" with the items of the note: "curves[2].pscpt[0]".
std::string field_text(const IgeslibField& field) {
  std::string text = field.name ? field.name : "";
  std::size_t at = 0;
  for (int k = 0; k < 2; ++k) {
    at = text.find("[]", at);
    if (at == std::string::npos) break;
    std::string place = field.item[k] >= 0 ? std::to_string(field.item[k]) : "";
    text.replace(at + 1, 0, place);
    at += place.size() + 2;
  }
  return text;
}

// The classes that a field of type holds: the type itself, or the entity choices of a select.
std::string accepted(LumoTypePtr* type) {
  if (!type || type == &lumotype_igs_directory_entry) return "entities";
  LumoType& t = **type;
  if (!t.derivesFrom(&*lumotype_LumoUnion)) return type_name(type);
  std::string names;
  for (const LumoType::Variable& choice : t.variables()) {
    if (!choice.type || (*choice.type)->kind != LumoKind::object) continue;
    if (!(*choice.type)->derivesFrom(&*lumotype_igs_directory_entry)) continue;
    if (!names.empty()) names += ", ";
    names += type_name(choice.type);
  }
  return names.empty() ? type_name(type) : names;
}

// The values that a code field takes: an enumeration's names with their numbers.
std::string values_of(LumoTypePtr* type) {
  if (!type) return "";
  LumoType& t = **type;
  const LumoType* enumeration = &t;
  if (t.kind != LumoKind::enumeration) {  // a select of a code or a definition
    enumeration = nullptr;
    for (const LumoType::Variable& choice : t.variables())
      if (choice.type && (*choice.type)->kind == LumoKind::enumeration)
        enumeration = &**choice.type;
    if (!enumeration) return "";
  }
  std::string text;
  for (const LumoType::Enumerator& e : const_cast<LumoType*>(enumeration)->enumerators()) {
    if (!text.empty()) text += ", ";
    text += std::to_string(e.value) + " " + e.name;
  }
  return text;
}

void pointer_note(Context& c, const IgeslibReadNote& note, const std::string& field) {
  int v = note.value;
  int sign = note.expected < 0 ? -1 : 1;
  std::string given = "pointer " + std::to_string(v);
  if (v == 0) {
    const char* given_as = note.param_state == PARAM_END_OF_RECORD
                               ? "the record ends before a pointer"
                           : note.param_state == PARAM_DEFAULTED ? "an empty pointer"
                                                                 : "pointer 0";
    c.add("pointer-zero", note.de, field,
          std::string(given_as) + " in a list of " + accepted(note.field.type) +
              "; the reader takes the file's first entity",
          note.line);
    return;
  }
  if ((v < 0) != (sign < 0)) {
    c.add("pointer-sign", note.de, field,
          given + (sign < 0 ? " is not negated, as the field's pointers are"
                            : " is negative where a DE number is meant"),
          note.line);
    return;
  }
  long long de = v < 0 ? -static_cast<long long>(v) : v;
  if (de % 2 == 0) {
    c.add("pointer-even", note.de, field, given + " is even: DE numbers are odd", note.line);
    return;
  }
  if (de > 2LL * c.places_count()) {
    c.add("pointer-out-of-range", note.de, field,
          given + " is past the last DE number, " + std::to_string(2 * c.places_count() - 1),
          note.line);
    return;
  }
  c.add("pointer-wrong-class", note.de, field,
        given + " names " + describe(c.at(static_cast<int>(de))) + "; the field holds " +
            accepted(note.field.type),
        note.line);
}

}  // namespace

void check_notes(Context& c) {
  for (const IgeslibReadNote& note : c.model.read_notes()) {
    std::string field = field_text(note.field);
    switch (note.kind) {
      case IgeslibNoteKind::pointer:
        pointer_note(c, note, field);
        break;
      case IgeslibNoteKind::code: {
        std::string values = values_of(note.field.type);
        c.add("code-out-of-range", note.de, field,
              std::to_string(note.value) + " is no value of the field" +
                  (values.empty() ? std::string() : " (" + values + ")"),
              note.line);
        break;
      }
      case IgeslibNoteKind::computed:
        // The counts that an entity computes from its own data are the character counts of
        // texts (the notes' strings).
        c.add("text-count", note.de, field,
              "the record gives " + std::to_string(note.value) + " characters; the string has " +
                  std::to_string(note.expected),
              note.line);
        break;
      case IgeslibNoteKind::constant:
        c.add("constant-value", note.de, field,
              "the record gives " + std::to_string(note.value) + " where the entity has " +
                  std::to_string(note.expected),
              note.line);
        break;
      case IgeslibNoteKind::short_record:
        c.add("parameters-omitted", note.de, "",
              "the record ends " + std::to_string(note.value) +
                  " parameters early; they are read as empty",
              note.line);
        break;
    }
  }
}

}  // namespace igeslib::check_detail
