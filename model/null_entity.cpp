// The entity that the filer can't place keeps its two directory records as text, cut at
// column 72, and writes them back whole: the pointers in them are those of the file read.
#include <cstring>
#include <new>

#include "igeslib.h"
#include "igeslib_io.h"

namespace {

// Columns 1-72 of the record the filer has in hand; empty text when no read is under way.
void current_record(char (&text)[73]) {
  text[0] = '\0';
  LumoDesign* design = LUMO.design();
  auto* file = design ? lumo_cast<igs_iges_file>(design->rootObject()) : nullptr;
  IgeslibIO* filer = file ? file->igesFiler() : nullptr;
  if (!filer) return;
  std::size_t length = strnlen(filer->line, 72);
  std::memcpy(text, filer->line, length);
  text[length] = '\0';
}

void copy_record(char* out, ArrayOfString* records, unsigned index) {
  const char* text = records ? records->get(index) : nullptr;
  if (text) std::memcpy(out, text, std::strlen(text));
}

}  // namespace

void igs_null_entity::de_read_record_one(int* const) {
  void* place = lumo_new_in_default_section(sizeof(ArrayOfString), LUMO.design(), nullptr,
                                            lumotype_ArrayOfString);
  if (!place) return;
  auto* records = ::new (place) ArrayOfString(2);
  directory_entry_records_ = records;  // kept as read: no change to mark
  char text[73];
  current_record(text);
  records->put(text, 0);
}

void igs_null_entity::de_read_record_two(int* const fields, char*) {
  char text[73];
  current_record(text);
  if (ArrayOfString* records = directory_entry_records()) records->put(text, 1);
  pd_line_count = fields[3];
}

void igs_null_entity::de_write_record_one(char* out) {
  copy_record(out, directory_entry_records(), 0);
}

void igs_null_entity::de_write_record_two(char* out) {
  copy_record(out, directory_entry_records(), 1);
}
