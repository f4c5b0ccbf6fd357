// The entity that the filer can't place keeps its two directory records as text, cut at
// column 72, and its parameter lines cut at column 64, and writes them back whole: the
// pointers in them are those of the file read.
#include <algorithm>
#include <cstring>
#include <new>

#include "igeslib.h"
#include "igeslib_io.h"

namespace {

// Parameter lines of one entity that are worth room up front; a count from the file beyond
// it is only a hint, and the list grows as lines come.
constexpr int kReservedLines = 64;

// Columns 1-72 of the record the filer has in hand; empty text when no read is under way.
void current_record(char (&text)[73]) {
  text[0] = '\0';
  IgeslibIO* filer = igeslib_filer();
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

void igs_null_entity::pdread() {
  IgeslibIO* filer = igeslib_filer();
  if (!filer) return;
  unsigned room = static_cast<unsigned>(std::clamp(pd_line_count, 0, kReservedLines));
  void* place = lumo_new_in_default_section(sizeof(ListOfString), LUMO.design(), nullptr,
                                            lumotype_ListOfString);
  if (!place) return;
  auto* lines = ::new (place) ListOfString(room);
  parameter_data_records_ = lines;
  // The entity number that the filer has read is left out: the text starts after the first
  // comma of the line, whatever the parameter delimiter.
  filer->line[64] = '\0';
  const char* comma = std::strchr(filer->line, ',');
  lines->add(comma ? comma + 1 : filer->line);
  for (int i = 1; i < pd_line_count; ++i) {
    filer->read_record();
    filer->line[64] = '\0';
    lines->add(filer->line);
  }
  // The back-pointer lists stay inside the text: reading goes on at the record's end.
  filer->find_record_delimiter();
}

void igs_null_entity::pdwrite() {
  IgeslibIO* filer = igeslib_filer();
  ListOfString* lines = parameter_data_records();
  unsigned n = lines ? lines->size() : 0;
  if (!filer || n == 0) return;  // nothing kept: the record ends behind the entity number
  for (unsigned i = 0; i < n; ++i) filer->write_raw_line((*lines)[i], i + 1 < n);
  // The kept text closes with its record delimiter; turn it into an open parameter list so
  // that the end of record can close it again.
  int c = filer->find_record_delimiter();
  filer->line[c] = ',';
  filer->line[c + 1] = ';';
  filer->find_record_delimiter();
  filer->line[c + 1] = ' ';
}
