// The hand-written step of the text display templates: their font select defaults and drops
// the sign of a definition, unlike the font selects of notes and fonts.
#include "../igeslib_parameters.h"

namespace {

// 0 or an empty parameter is font 1; a negative number names a definition.
igs_font_code* read_template_font(IgeslibIO* io) {
  return igeslib_read_negative_select<igs_font_code>(
      io, [](igs_font_code* font, int n) { font->_int_val(n == 0 ? 1 : n); },
      {"fc", &lumotype_igs_font_code});
}

// A definition is written as its DE number with no sign (so it reads back as a font code);
// font 0 as 1.
void write_template_font(IgeslibIO* io, igs_font_code* font) {
  igs_directory_entry* definition = font ? font->entity() : nullptr;
  int code = font && font->is_int_val() ? font->_int_val() : 0;
  io->write_int(definition ? definition->de_number : code == 0 ? 1 : code);
}

}  // namespace

void igs_absolute_text_display_template_entity::pdread_fc(IgeslibIO* io) {
  fc(read_template_font(io));
}

void igs_absolute_text_display_template_entity::pdwrite_fc(IgeslibIO* io) {
  write_template_font(io, fc());
}

void igs_incremental_text_display_template_entity::pdread_fc(IgeslibIO* io) {
  fc(read_template_font(io));
}

void igs_incremental_text_display_template_entity::pdwrite_fc(IgeslibIO* io) {
  write_template_font(io, fc());
}
