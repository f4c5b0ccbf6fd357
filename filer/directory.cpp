// The Directory section, read in two passes. The first looks only at the entity type and the
// form of each pair and makes an object of the registry's class, so that the second, which
// reads every field, can resolve pointers to entries further down the file.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include <fast_float/fast_float.h>

#include "igeslib.h"
#include "igeslib_io.h"

namespace {

// The integer in columns first..last (1-based) of the record; 0 when they hold none.
inline int field(const char* line, int first, int last) {
  if (last - first == 7) return igeslib_scan_eight_columns(line + first - 1);
  int value = 0;
  igeslib_scan_int(line + first - 1, last - first + 1, &value);
  return value;
}

// Entity types whose forms 5001 to 9999 are set aside for implementors' own forms.
bool implementor_form(int entity, int form) {
  return (entity == 302 || entity == 402 || entity == 406) && form >= 5001 && form <= 9999;
}

// What pass one learnt of an (entity type, form) pair: its registry row, and where the
// Directory part lies in the objects of the row's class. Files hold few pairs, entry after
// entry, so a small table spares the registry's search and the cast for nearly every entry.
class KindMemo {
 public:
  struct Kind {
    int entity = 0, form = 0;
    IgeslibEntityData* row = nullptr;
    const void* table = nullptr;  // the table pointer of the class's objects, once one is made
    std::ptrdiff_t offset = 0;    // from the object to its Directory part
    bool is_entry = false;
  };

  Kind& at(int entity, int form) {
    const auto key = static_cast<unsigned>(entity) * 31u + static_cast<unsigned>(form);
    return kinds_[(key ^ (key >> 7)) % kSize];
  }

  // The Directory part of made, an object of the kind's row class.
  static igs_directory_entry* entry_of(Kind& kind, LumoObject* made) {
    if (!made) return nullptr;
    const void* table;
    std::memcpy(&table, static_cast<const void*>(made), sizeof table);
    if (table != kind.table) {
      auto* entry = lumo_cast<igs_directory_entry>(made);
      kind.table = table;
      kind.is_entry = entry != nullptr;
      kind.offset = entry ? reinterpret_cast<char*>(entry) - reinterpret_cast<char*>(made) : 0;
      return entry;
    }
    return kind.is_entry
               ? reinterpret_cast<igs_directory_entry*>(reinterpret_cast<char*>(made) + kind.offset)
               : nullptr;
  }

 private:
  static constexpr unsigned kSize = 128;
  Kind kinds_[kSize];
};

}  // namespace

[[gnu::always_inline]] inline int IgeslibIO::de_field(int slot, int first) {
  const char* at = line + first - 1;
  const std::uint64_t word = igeslib_load_word(at);
  if (word != de_field_words[slot]) {
    de_field_words[slot] = word;
    de_field_values[slot] = igeslib_scan_eight_columns(at);
  }
  return de_field_values[slot];
}

igs_directory_entry* igeslib_entity_at(ListOfigs_directory_entry* list, int n) {
  long long index = (static_cast<long long>(n) - 1) / 2;
  if (!list || index < 0 || index >= static_cast<long long>(list->size())) return nullptr;
  return (*list)[static_cast<unsigned>(index)];
}

IgeslibIO* IgeslibIO::parse_de_section(ListOfigs_directory_entry* list) {
  int first_line = line_number;
  // The entities are gathered first and the list is given its size once: grown entry by entry
  // in the design, it would leave every smaller copy of itself behind.
  std::vector<igs_directory_entry*> made_entities;
  auto memo = std::make_unique<KindMemo>();
  while (f_rec_section == 'D') {
    int entity = de_field(12, 1);
    read_record();
    int form = de_field(13, 33);
    KindMemo::Kind& kind = memo->at(entity, form);
    if (!kind.row || kind.entity != entity || kind.form != form) {
      IgeslibEntityData* row = entity_table.find_entity_data(entity, form);
      if (!row) {
        row = entity_table.add_entity_data(entity, form, entity_table.find_domain(entity));
        igeslib_set_nonstd(row, implementor_form(entity, form) ? 0 : 1);
      }
      kind = KindMemo::Kind{entity, form, row};
    }
    igeslib_increment_count(kind.row);
    LumoDomain* domain = igeslib_get_domain(kind.row);
    LumoObject* made = domain ? domain->pnewInstance() : nullptr;
    // The place in the list is the entity's number, so a pair that gave no object still
    // takes its place.
    made_entities.push_back(KindMemo::entry_of(kind, made));
    read_record();
  }
  list->capacity(list->size() + static_cast<unsigned>(made_entities.size()));
  for (igs_directory_entry* made : made_entities) list->add(made);
  std::vector<igs_directory_entry*>().swap(made_entities);
  line_number = first_line - 1;
  progress_line = std::max(1000, (line_number + 999) / 1000 * 1000);
  std::fsetpos(fp, &section_position);
  read_record();
  while (f_rec_section == 'D') {
    read_de_pair(list);
    read_record();
  }
  directory_count = line_number - first_line;
  return this;
}

void IgeslibIO::read_de_pair(ListOfigs_directory_entry* list) {
  int fields[13];
  std::memset(fields, 0, 12 * sizeof fields[0]);
  static constexpr int kOneColumns[12][2] = {{9, 16},  {17, 24}, {25, 32}, {33, 40},
                                             {41, 48}, {49, 56}, {57, 64}, {65, 66},
                                             {67, 68}, {69, 70}, {71, 72}, {74, 80}};
  for (int k = 0; k < 7; ++k) fields[k + 1] = de_field(k, kOneColumns[k][0]);
  // The four two-column status fields are nearly always all digits.
  const char* status = line + 64;
  const bool all_digits = fast_float::is_made_of_eight_digits_fast(igeslib_load_word(status));
  for (int k = 7; k < 11; ++k)
    fields[k + 1] = all_digits ? (status[2 * (k - 7)] - '0') * 10 + (status[2 * (k - 7) + 1] - '0')
                               : field(line, kOneColumns[k][0], kOneColumns[k][1]);
  // The sequence number: the record reader's, when it read the same seven columns.
  fields[12] = igeslib_stamp_word(line + 73) == sequence_word && sequence_word_value >= 0
                   ? sequence_word_value
                   : field(line, kOneColumns[11][0], kOneColumns[11][1]);
  // The pair is the one its sequence number names, wherever it stands.
  igs_directory_entry* entity = igeslib_entity_at(list, fields[12]);
  entity_de = fields[12];
  if (entity) entity->de_read_record_one(fields);
  read_record();

  std::memset(fields, 0, 12 * sizeof fields[0]);
  fields[1] = de_field(7, 9);
  fields[2] = de_field(8, 17);
  fields[3] = de_field(9, 25);
  fields[4] = de_field(10, 33);
  fields[8] = de_field(11, 65);
  // The label is one word of columns 57-64: leading blanks skipped, ended by a blank.
  char label[9];
  int from = 56, n = 0;
  auto blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  if (igeslib_load_word(line + 56) == kIgeslibEightBlanks) from = 64;  // the usual: no label
  while (from < 64 && blank(line[from])) ++from;
  while (from < 64 && line[from] != '\0' && !blank(line[from])) label[n++] = line[from++];
  label[n] = '\0';
  if (entity) entity->de_read_record_two(fields, label[0] ? label : nullptr);
}
