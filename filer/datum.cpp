// Typed items of associativity and property instances, whose kind their definition tells.
#include <igeslib.h>

#include "igeslib_io.h"

int IgeslibIO::determine_parameterData_type(int item_type) {
  if (item_type == 1) return 4;
  if (item_type == 3) return 6;
  if (item_type != 2) {
    report_error("determine_parameterData_type: associativity definition has invalid item type",
                 -1);
    return 0;
  }
  // Text, not tokens: a '.' makes a real and an 'H' a string, whatever stands around them.
  int position = column;
  for (;;) {
    if (position > end_column) {
      next_data();
      position = column;
      continue;
    }
    char c = line[position];
    if (c == param_delimiter || c == record_delimiter) break;
    if (c == '.') return 2;
    if (c == 'H') return 3;
    ++position;
  }
  if (param_state == PARAM_VALUE && position <= end_column) return 1;
  report_error("parameter data field in an associativity or property instance is unspecified",
               position);
  column = position;
  return 0;
}

namespace {

// Entity number n of the file: the entity at (n - 1) / 2 of the directory list, the division
// truncating toward zero; null when there is none.
igs_directory_entry* entity_at(ListOfigs_directory_entry* entities, long long n) {
  if (!entities) return nullptr;
  long long index = (n - 1) / 2;
  if (index < 0 || index >= static_cast<long long>(entities->size())) return nullptr;
  return (*entities)[static_cast<unsigned>(index)];
}

}  // namespace

void IgeslibIO::read_datum(ListOfigs_datum* list, int kind, ListOfigs_directory_entry* entities) {
  auto* datum = new (LUMO.design()) igs_datum;
  if (list) list->add(datum);
  if (!datum) return;
  // The scanners, not the guards: a defaulted or finished parameter stores its zero.
  switch (kind) {
    case 1:
      datum->_int_val(scan_int());
      break;
    case 2:
      datum->_float_val(scan_real());
      break;
    case 3:
      datum->_str_val(scan_string(false));
      break;
    case 4: {
      int n = scan_int();
      igs_directory_entry* named = entity_at(entities, n);
      datum->_directory_entry(named);
      if ((!named || n <= 0 || (n & 1) == 0) && !record_failed)
        note(IgeslibNoteKind::pointer, {"parameter_data", &lumotype_igs_directory_entry}, n, 1);
      break;
    }
    case 6: {
      int n = scan_int();
      if (n < 0) {
        igs_directory_entry* named = entity_at(entities, -static_cast<long long>(n));
        datum->_directory_entry(named);
        if ((!named || (n & 1) == 0) && !record_failed)
          note(IgeslibNoteKind::pointer, {"parameter_data", &lumotype_igs_directory_entry}, n, -1);
      } else {
        datum->_int_val(n);
      }
      break;
    }
    default:
      break;  // the datum stays unset
  }
}
