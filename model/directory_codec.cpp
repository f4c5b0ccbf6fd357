// The steps that every class's directory-record members share: turning a DE pointer into
// the entity it names, making the select objects of one record, and writing the eight-column
// fields that hold a select or a reference. A field whose value is missing reads as an unset
// value; it writes as blanks where blanks read back as that, and as 0 where they read back as
// 0. Nothing here reports.
#include <cstdint>
#include <cstring>

#include "igeslib.h"
#include "igeslib_binding_internal.h"
#include "igeslib_io.h"

igs_directory_entry* igeslib_resolve_de(int n) {
  LumoDesign* design = LUMO.design();
  auto* file = design ? lumo_cast<igs_iges_file>(design->rootObject()) : nullptr;
  if (!file || n == 0) return nullptr;
  ListOfigs_directory_entry* list = file->directory_entries();
  if (!list) return nullptr;
  unsigned index = (static_cast<unsigned>(n < 0 ? -(n + 1) : n - 1)) / 2;  // (|n| - 1) / 2
  return (*list)[index];
}

namespace {

// A note for checkers on a field of the directory record being read, when notes are kept.
void note_field(IgeslibNoteKind kind, const char* name, LumoTypePtr& type, int value,
                int sign = 1) {
  IgeslibIO* io = igeslib_filer();
  if (io && io->notes) io->add_note(kind, IgeslibField{name, &type, {-1, -1}}, value, sign);
}

bool odd(int n) { return (n & 1) != 0; }

}  // namespace

igs_directory_entry* igeslib_de_reference(int n, bool negated, LumoTypePtr& type,
                                          const char* name) {
  igs_directory_entry* entity = (n < 0) == negated ? igeslib_resolve_de(n) : nullptr;
  bool held = entity && lumo_cast(entity, type);
  if (!held || !odd(n)) note_field(IgeslibNoteKind::pointer, name, type, n, negated ? -1 : 1);
  return held ? entity : nullptr;
}

void igeslib_de_note_code(int code, LumoTypePtr& type, const char* name) {
  note_field(IgeslibNoteKind::code, name, type, code, 0);
}

namespace {

// The select of a field that holds a value (a line pattern, level or colour number) or a
// pointer to a definition (of a line font, levels or a colour): most entities of a file name the
// same few, so the design keeps one select for each field and every entity that reads it shares
// it (an accessor gives an entity its own copy before any change). set fills the select and
// tells whether it may be shared: a select it took no choice of, or a pointer it noted, is the
// entity's own, so that every entity that names the same field is noted again.
template <class Select, class Set>
Select* shared_select(LumoTypePtr& type, int field, Set set) {
  LumoDesign* design = LUMO.design();
  if (auto* held = design ? design->sharedObject(&type, field) : nullptr)
    return static_cast<Select*>(held);
  auto* select = new (design) Select;
  if (set(select, field) && design) design->shareObject(&type, field, select);
  return select;
}

// A value field's select, as shared_select says; a code that set takes no choice of is noted.
template <class Select, class Set>
Select* shared_value(LumoTypePtr& type, int field, Set set, const char* name) {
  return shared_select<Select>(type, field, [&](Select* select, int code) {
    if (set(select, code)) return true;
    note_field(IgeslibNoteKind::code, name, type, code);
    return false;
  });
}

// A negated pointer field's select, as shared_select says: the definition, of the class of
// target, that the pointer names; shared when it names one, at an odd number, unnoted.
template <class Select, class Target, class Store>
Select* shared_definition(LumoTypePtr& type, int field, LumoTypePtr& target, Store store,
                          const char* name) {
  return shared_select<Select>(type, field, [&](Select* select, int pointer) {
    auto* definition = lumo_cast<Target>(igeslib_de_reference(pointer, true, target, name));
    store(select, definition);
    return definition != nullptr && odd(pointer);
  });
}

}  // namespace

igs_lineFont* igeslib_de_read_line_font(int field) {
  if (field >= 0)
    return shared_value<igs_lineFont>(
        lumotype_igs_lineFont, field,
        [](igs_lineFont* font, int code) { return font->_line_pattern(code) != 0; }, "line_font");
  return shared_definition<igs_lineFont, igs_line_font_definition_entity>(
      lumotype_igs_lineFont, field, lumotype_igs_line_font_definition_entity,
      [](igs_lineFont* font, igs_line_font_definition_entity* definition) {
        font->_line_font_definition_entity(definition);
      },
      "line_font");
}

igs_entity_level* igeslib_de_read_level(int field) {
  if (field >= 0)
    return shared_value<igs_entity_level>(
        lumotype_igs_entity_level, field,
        [](igs_entity_level* level, int number) {
          level->_int_val(number);
          return true;
        },
        "level");
  return shared_definition<igs_entity_level, igs_definition_levels_entity>(
      lumotype_igs_entity_level, field, lumotype_igs_definition_levels_entity,
      [](igs_entity_level* level, igs_definition_levels_entity* definition) {
        level->_definition_levels_entity(definition);
      },
      "level");
}

igs_entity_view* igeslib_de_read_view(int field) {
  if (field < 0) {
    note_field(IgeslibNoteKind::pointer, "view", lumotype_igs_entity_view, field);
    return nullptr;
  }
  auto* view = new (LUMO.design()) igs_entity_view;
  igs_directory_entry* target = igeslib_resolve_de(field);
  // A segmented views visible entity is not taken: the select then has no choice. The file
  // may name one there all the same.
  if (auto* v = lumo_cast<igs_view_entity>(target))
    view->_view_entity(v);
  else if (auto* visible = lumo_cast<igs_views_visible_entity>(target))
    view->_views_visible_entity(visible);
  else if (auto* coloured = lumo_cast<igs_views_visible_color_entity>(target))
    view->_views_visible_color_entity(coloured);
  else if (!lumo_cast<igs_segmented_views_visible_entity>(target))
    note_field(IgeslibNoteKind::pointer, "view", lumotype_igs_entity_view, field);
  if (!odd(field) && target)
    note_field(IgeslibNoteKind::pointer, "view", lumotype_igs_entity_view, field);
  return view;
}

igs_entity_color* igeslib_de_read_color(int field) {
  if (field >= 0)
    return shared_value<igs_entity_color>(
        lumotype_igs_entity_color, field,
        [](igs_entity_color* color, int code) { return color->_color_number(code) != 0; }, "color");
  return shared_definition<igs_entity_color, igs_color_definition_entity>(
      lumotype_igs_entity_color, field, lumotype_igs_color_definition_entity,
      [](igs_entity_color* color, igs_color_definition_entity* definition) {
        color->_color_definition_entity(definition);
      },
      "color");
}

namespace {

// "00" to "99", two characters each.
constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

template <class Unsigned>
inline char* digits_before(char* end, Unsigned value) {
  while (value >= 100) {
    end -= 2;
    std::memcpy(end, kDigitPairs + 2 * (value % 100), 2);
    value /= 100;
  }
  if (value >= 10) {
    end -= 2;
    std::memcpy(end, kDigitPairs + 2 * value, 2);
  } else {
    *--end = static_cast<char>('0' + value);
  }
  return end;
}

// The common fields: a value that fits the width, written right-justified in place.
template <int Width>
int format_fitting(char* out, unsigned value) {
  std::memset(out, ' ', Width);
  digits_before(out + Width, value);
  out[Width] = '\0';
  return Width;
}

}  // namespace

char* igeslib_digits_before(char* end, std::uint64_t value) {
  // Eight digits at a time while the value is wider than 32 bits: 32-bit arithmetic is cheaper.
  while (value > 0xffffffffu) {
    auto low = static_cast<unsigned>(value % 100000000);
    value /= 100000000;
    for (int i = 0; i < 4; ++i, low /= 100) {
      end -= 2;
      std::memcpy(end, kDigitPairs + 2 * (low % 100), 2);
    }
  }
  return digits_before(end, static_cast<unsigned>(value));
}

int igeslib_format_int(char* out, int width, int value) {
  if (value >= 0) {
    if (width == 8 && value < 100000000) {
      igeslib_right_justified_eight(out, static_cast<std::uint32_t>(value));
      out[8] = '\0';
      return 8;
    }
    if (width == 7 && value < 10000000) {
      // Eight columns of a value below 10^7 start with a blank: the seven after it.
      char eight[8];
      igeslib_right_justified_eight(eight, static_cast<std::uint32_t>(value));
      std::memcpy(out, eight + 1, 7);
      out[7] = '\0';
      return 7;
    }
    if (width == 1 && value < 10) return format_fitting<1>(out, static_cast<unsigned>(value));
  }
  char digits[12];
  unsigned magnitude = value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value);
  char* first = digits_before(digits + sizeof digits, magnitude);
  if (value < 0) *--first = '-';
  int n = static_cast<int>(digits + sizeof digits - first);
  int pad = width > n ? width - n : 0;
  std::memset(out, ' ', static_cast<std::size_t>(pad));
  std::memcpy(out + pad, first, static_cast<std::size_t>(n));
  out[pad + n] = '\0';
  return pad + n;
}

void igeslib_de_write_int(char* out, int value) {
  if (value >= 0 && value < 100000000) {
    igeslib_right_justified_eight(out, static_cast<std::uint32_t>(value));
    out[8] = '\0';
  } else {
    igeslib_format_int(out, 8, value);
  }
}

void igeslib_de_write_blank(char* out) {
  std::memset(out, ' ', 8);
  out[8] = '\0';
}

void igeslib_de_write_label(char* out, const char* text) {
  std::size_t n = text ? strnlen(text, 8) : 0;
  std::memset(out, ' ', 8 - n);
  if (n) std::memcpy(out + 8 - n, text, n);
  out[8] = '\0';
}

void igeslib_de_write_digit(char* out, int value) {
  out[0] = '0';
  if (value >= 0 && value < 10) {
    out[1] = static_cast<char>('0' + value);
    out[2] = '\0';
  } else {
    igeslib_format_int(out + 1, 1, value);
  }
}

namespace {

void blanks(char* out) { igeslib_de_write_blank(out); }

}  // namespace

void igeslib_de_write_definition(char* out, igs_directory_entry* entity) {
  if (entity)
    igeslib_de_write_int(out, -entity->de_number);
  else
    blanks(out);
}

void igeslib_de_write_pointer(char* out, igs_directory_entry* entity) {
  if (entity)
    igeslib_de_write_int(out, entity->de_number);
  else
    blanks(out);
}

// Line font, level and colour: a field of a value or a definition. A blank field reads back
// as the value 0, never as no select, so no blanks are written here: no select (or a delayed
// one that can't be loaded) and a definition choice whose definition is gone are written as
// the 0 they read back as, and so write the same again. A select that never got a choice
// writes its zeroed value.
namespace {

void write_definition(char* out, igs_directory_entry* definition) {
  igeslib_de_write_int(out, definition ? -definition->de_number : 0);
}

// Whether the select's choice is its attribute of that name, as the select's is_ test answers:
// the name of the choice compared, where the test first looks the attribute up by its name.
// Every entity's record asks this of its line font, level and colour.
bool has_chosen(LumoUnion* select, const char* name) {
  LumoAttribute* chosen = select->getAttribute(nullptr);
  return chosen && chosen->name && std::strcmp(chosen->name, name) == 0;
}

}  // namespace

void igeslib_de_write_line_font(char* out, igs_lineFont* font) {
  if (font && has_chosen(font, "_line_font_definition_entity"))
    write_definition(out, font->_line_font_definition_entity());
  else
    igeslib_de_write_int(out, font ? static_cast<int>(font->_line_pattern()) : 0);
}

void igeslib_de_write_level(char* out, igs_entity_level* level) {
  if (level && has_chosen(level, "_definition_levels_entity"))
    write_definition(out, level->_definition_levels_entity());
  else
    igeslib_de_write_int(out, level ? level->_int_val() : 0);
}

void igeslib_de_write_view(char* out, igs_entity_view* view) {
  igs_directory_entry* target = nullptr;
  if (!view)
    target = nullptr;
  else if (view->is_view_entity())
    target = view->_view_entity();
  else if (view->is_views_visible_entity())
    target = view->_views_visible_entity();
  else if (view->is_views_visible_color_entity())
    target = view->_views_visible_color_entity();
  else if (view->is_segmented_views_visible_entity())
    target = view->_segmented_views_visible_entity();
  // No choice or a null target: blanks, which read back as no view and write blanks again.
  igeslib_de_write_pointer(out, target);
}

void igeslib_de_write_color(char* out, igs_entity_color* color) {
  if (color && has_chosen(color, "_color_definition_entity"))
    write_definition(out, color->_color_definition_entity());
  else
    igeslib_de_write_int(out, color ? static_cast<int>(color->_color_number()) : 0);
}

void igeslib_de_write_status(char* out, int value) {
  igeslib_de_write_digit(out, value == -1 ? 0 : value);
}
