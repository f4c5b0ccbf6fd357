// Helpers of the parameter code of entity classes: pointer parameters and plain runs of reals,
// read from and written to the filer of the run under way.
#pragma once

#include <climits>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "igeslib.h"
#include "igeslib_io.h"

// The entities of the file being read or written, in directory order; null when the current
// design holds no file.
inline ListOfigs_directory_entry* igeslib_file_entities() {
  LumoDesign* design = LUMO.design();
  auto* file = design ? lumo_cast<igs_iges_file>(design->rootObject()) : nullptr;
  return file ? file->directory_entries() : nullptr;
}

// The entity that DE pointer n names among the entities of the file being read, (n - 1) / 2
// in directory order; null when it names none. 0 names the first entity.
inline igs_directory_entry* igeslib_file_entity(int n) {
  return igeslib_entity_at(igeslib_file_entities(), n);
}

// Notes for checkers (IgeslibIO::note) on a pointer of the file that the reader took as no
// entity, or as the first entity of the file: one that names nothing, a negative or even one,
// one that names an entity of a class the field doesn't hold (target null), and 0 in a list.
inline void igeslib_note_pointer(IgeslibIO* io, int n, const void* target,
                                 const IgeslibField& field) {
  if (io->notes && !io->record_failed && (!target || n <= 0 || (n & 1) == 0))
    io->add_note(IgeslibNoteKind::pointer, field, n, 1);
}

// A single pointer parameter: 0 is no entity, and so is one that names nothing or an entity
// of another class than X.
template <class X>
LUMO_HOT X* igeslib_read_pointer(IgeslibIO* io, const IgeslibField& field = {}) {
  int n = io->read_int();
  if (n == 0) return nullptr;
  X* target = lumo_cast<X>(igeslib_file_entity(n));
  igeslib_note_pointer(io, n, target, field);
  return target;
}

// A pointer that is a member of a counted list: there is no test for 0, so 0 names the first
// entity of the file.
template <class X>
LUMO_HOT X* igeslib_read_list_pointer(IgeslibIO* io, const IgeslibField& field = {}) {
  int n = io->read_int();
  X* target = lumo_cast<X>(igeslib_file_entity(n));
  igeslib_note_pointer(io, n, target, field);
  return target;
}

// A select of S read from a pointer parameter: it takes the first of its choices whose class
// the entity named is of, and there is no select when none is. A guarded pointer of 0 gives no
// select either; a bare one names the first entity of the file.
template <class S>
LUMO_HOT S* igeslib_read_select(IgeslibIO* io, bool guarded, const IgeslibField& field = {}) {
  int n = io->read_int();
  if (guarded && n == 0) return nullptr;
  S chosen;
  bool fits = chosen.choose_entity(igeslib_file_entity(n)) != 0;
  igeslib_note_pointer(io, n, fits ? &chosen : nullptr, field);
  return fits ? new (LUMO.design()) S(chosen) : nullptr;
}

// The geometry of a dimensioned geometry: a geometric entity, else a constructive solid through
// a cast that gives null for an entity of any other class (a boundary representation solid
// among them), the choice made all the same.
template <>
inline igs_geometry_entities* igeslib_read_select<igs_geometry_entities>(
    IgeslibIO* io, bool guarded, const IgeslibField& field) {
  int n = io->read_int();
  if (guarded && n == 0) return nullptr;
  auto* select = new (LUMO.design()) igs_geometry_entities;
  igs_directory_entry* named = igeslib_file_entity(n);
  if (auto* geometry = lumo_cast<igs_geometric_entity>(named))
    select->_geometric_entity(geometry);
  else
    select->_constructive_solid_geometry_entity(
        lumo_cast<igs_constructive_solid_geometry_entity>(named));
  igeslib_note_pointer(io, n, select->entity(), field);
  return select;
}

// The choice, from 1, that a select of S read from a pointer takes, holding nothing, when the
// entity named is of none of its choices' classes; 0 when no select is made then. A
// dimensioned geometry's geometry takes its second, the constructive solid's, as above.
template <class S>
inline constexpr unsigned igeslib_unfit_choice = 0;
template <>
inline constexpr unsigned igeslib_unfit_choice<igs_geometry_entities> = 2;

// The same onto a packed list of such selects (LumoObjectAggregate::packable_entities): the
// entity alone while the list is packed, a null element where the reader makes no select.
template <class S, class L>
void igeslib_read_select_onto(IgeslibIO* io, L* list, bool guarded,
                              const IgeslibField& field = {}) {
  int n = io->read_int();
  if (guarded && n == 0) return list->addChosen(static_cast<igs_directory_entry*>(nullptr));
  igs_directory_entry* named = igeslib_file_entity(n);
  const bool fits = S::takes_entity(named);
  igeslib_note_pointer(io, n, fits ? named : nullptr, field);
  if (fits)
    list->addChosen(named);
  else if constexpr (igeslib_unfit_choice<S> != 0)
    list->addUnchosen(igeslib_unfit_choice<S>);
  else
    list->addChosen(static_cast<igs_directory_entry*>(nullptr));
}

// The definition choice of a select of a value or a definition, made whatever the entity
// named: one of another class, or none, leaves the choice with a null member, as in a
// Directory field. Whether the entity is a definition.
inline bool igeslib_choose_definition(igs_font_code* select, igs_directory_entry* entity) {
  select->_text_font_definition_entity(lumo_cast<igs_text_font_definition_entity>(entity));
  return select->_text_font_definition_entity() != nullptr;
}
inline bool igeslib_choose_definition(igs_entity_color* select, igs_directory_entry* entity) {
  select->_color_definition_entity(lumo_cast<igs_color_definition_entity>(entity));
  return select->_color_definition_entity() != nullptr;
}
inline bool igeslib_choose_definition(igs_lineFont* select, igs_directory_entry* entity) {
  select->_line_font_definition_entity(lumo_cast<igs_line_font_definition_entity>(entity));
  return select->_line_font_definition_entity() != nullptr;
}

// A select of a value or a definition read with the rule of negative pointers: n below 0 names
// the definition at place ~n / 2 of the file; any other n is the value, set by set_value. A
// set_value that answers a truth value says whether the select could hold the value, and a
// value it can't is noted.
template <class S, class F>
LUMO_HOT S* igeslib_read_negative_select(IgeslibIO* io, F set_value,
                                         const IgeslibField& field = {}) {
  int n = io->read_int();
  auto* select = new (LUMO.design()) S;
  if (n < 0) {
    bool chosen = igeslib_choose_definition(select, igeslib_file_entity(2 * (~n / 2) + 1));
    if ((!chosen || (n & 1) == 0) && !io->record_failed)
      io->note(IgeslibNoteKind::pointer, field, n, -1);
  } else if constexpr (std::is_void_v<decltype(set_value(select, n))>) {
    set_value(select, n);
  } else if (!set_value(select, n) && !io->record_failed) {
    io->note(IgeslibNoteKind::code, field, n);
  }
  return select;
}

// An integer code read into an enumeration through its int-coded setter (set), which answers
// false, and leaves the field as it was, for a code that is no value of the enumeration.
template <class F>
void igeslib_read_code(IgeslibIO* io, F set, const IgeslibField& field = {}) {
  int n = io->read_int();
  if (!set(n) && !io->record_failed) io->note(IgeslibNoteKind::code, field, n);
}

// A parameter that the object computes from others, or that the class fixes: read and dropped,
// and noted when the file gives another value than the object's.
inline void igeslib_note_value(IgeslibIO* io, IgeslibNoteKind kind, int read, int expected,
                               const IgeslibField& field) {
  if (read != expected && !io->record_failed) io->note(kind, field, read, expected);
}

// Its writer: a definition as the negative of its DE number, a value as it stands (value()),
// no select, and a definition choice whose definition is gone, as the 0 they read back as.
template <class S, class F>
void igeslib_write_negative_select(IgeslibIO* io, S* select, F value) {
  igs_directory_entry* definition = select ? select->entity() : nullptr;
  io->write_int(definition ? -definition->de_number : select ? value(select) : 0);
}

// The entity that a select holds, null for none.
template <class S>
igs_directory_entry* igeslib_select_entity(S* select) {
  return select ? select->entity() : nullptr;
}

// Room to reserve up front for a counted list of n items: all of them, up to a bound past which
// the list grows as its items come. A count that the file doesn't back can thus claim little
// memory before the entity is given up.
inline unsigned igeslib_reserve(int n) {
  constexpr int kBound = 4096;
  return n <= 0 ? 0u : static_cast<unsigned>(n < kBound ? n : kBound);
}

// A count that the reader computes from counts of the file (a sum, a product): as
// IgeslibIO::count, and one past what an int holds skips the entity as one past the file does.
inline int igeslib_count(IgeslibIO* io, long long n) {
  return io->count(n > INT_MAX ? INT_MAX : n < 0 ? 0 : static_cast<int>(n));
}

// The list for count items of a counted list: none when the count is 0, so that an entity
// without items costs no list; its getter makes an empty one when it is asked for.
template <class L>
L* igeslib_new_list(int count) {
  if (count <= 0) return nullptr;
  if constexpr (requires { requires L::packable_entities; })
    return new (LUMO.design()) L(igeslib_reserve(count), true);
  else
    return new (LUMO.design()) L(igeslib_reserve(count));
}

// The elements of a list of selects of entities that hold an entity: what the writer counts.
template <class L>
int igeslib_count_entities(L* list) {
  int n = 0;
  for (unsigned i = 0, size = list ? list->size() : 0; i < size; ++i)
    n += list->entityAt(i) != nullptr;
  return n;
}

// A new array of the next n reals of the record, n checked by a count.
LUMO_HOT inline ArrayOfDouble* igeslib_read_real_array(IgeslibIO* io, int n) {
  auto* values = new (LUMO.design()) ArrayOfDouble(igeslib_reserve(n));
  for (unsigned done = 0, all = n > 0 ? static_cast<unsigned>(n) : 0; done < all;) {
    unsigned room = values->capacity();
    unsigned next = room > done ? (room < all ? room : all) : (2 * done < all ? 2 * done : all);
    if (!values->size(next, 0)) break;
    double* slots = values->_data();
    io->read_reals(slots + done, static_cast<int>(next - done));
    done = next;
  }
  return values;
}

// An array of the n reals at values that the entities holding the same reals share: knot
// vectors, weights of 1 and parameter ranges repeat through a file. The design keeps one array
// for each run of reals, compared bit for bit; an entity's accessor gives it a copy of its own
// before any change (lumo_own).
inline ArrayOfDouble* igeslib_shared_reals(const double* values, unsigned n) {
  LumoDesign* design = LUMO.design();
  const std::size_t bytes = sizeof(double) * n;
  std::uint64_t key = n * 0x9e3779b97f4a7c15u;
  for (unsigned i = 0; i < n; ++i) {
    std::uint64_t bits;
    std::memcpy(&bits, values + i, sizeof bits);
    key = ((key ^ bits) * 0x100000001b3u) ^ (key >> 29);
  }
  auto* held = static_cast<ArrayOfDouble*>(
      design->sharedObject(&lumotype_ArrayOfDouble, static_cast<long long>(key)));
  if (held && held->size() == n && (n == 0 || !std::memcmp(held->_data(), values, bytes)))
    return held;
  auto* made = new (design) ArrayOfDouble(n);
  if (!made->size(n, 0)) return made;
  if (n) std::memcpy(made->_data(), values, bytes);
  if (!held) design->shareObject(&lumotype_ArrayOfDouble, static_cast<long long>(key), made);
  return made;
}

// Runs of reals longer than this are read into an array of their own: they rarely repeat.
constexpr int kIgeslibLongestShared = 1024;

// The next n reals of the record as an array shared as igeslib_shared_reals says.
LUMO_HOT inline ArrayOfDouble* igeslib_read_shared_real_array(IgeslibIO* io, int n) {
  if (!LUMO.design() || n < 0 || n > kIgeslibLongestShared) return igeslib_read_real_array(io, n);
  double reals[kIgeslibLongestShared];
  io->read_reals(reals, n);
  return igeslib_shared_reals(reals, static_cast<unsigned>(n));
}

// Reals of an array as written: at place i the element, 0 where the array has none.
inline double igeslib_real_at(ArrayOfDouble* values, long long i) {
  return values && i >= 0 && i < values->size() ? values->_element(static_cast<unsigned>(i)) : 0.0;
}

// The items of list that present() holds for: what the writer counts and writes.
template <class L, class F>
int igeslib_count_items(L* list, F present) {
  int n = 0;
  for (unsigned i = 0, size = list ? list->size() : 0; i < size; ++i) n += present((*list)[i]);
  return n;
}

// A point as three reals, x, y and z; a missing point is written as the origin.
inline igs_coordinate* igeslib_read_coordinate(IgeslibIO* io) {
  auto* point = new (LUMO.design()) igs_coordinate;
  point->x(io->read_real());
  point->y(io->read_real());
  point->z(io->read_real());
  return point;
}

inline void igeslib_write_coordinate(IgeslibIO* io, igs_coordinate* point) {
  io->write_real(point ? point->x() : 0.0);
  io->write_real(point ? point->y() : 0.0);
  io->write_real(point ? point->z() : 0.0);
}

// A value whose kind its text tells (a point makes a real, an H a string, digits an integer),
// as user defined properties and associativity instances give it: an integer, a string or a
// real, and nothing for a datum of any other kind. A zero is written as the number, since an
// empty parameter has no kind (and takes the kind of the next one with it).
void igeslib_write_value_by_text(IgeslibIO* io, igs_datum* datum);

// The same onto a list: only the reals, while the list is packed.
inline void igeslib_read_coordinate_onto(IgeslibIO* io, ListOfigs_coordinate* list) {
  double values[3];
  io->read_reals(values, 3);
  list->addValues(values);
}

// The next n points of the record onto a packed list, their reals read together a run at a
// time (so that a count the record doesn't hold costs memory only as the reals come).
inline void igeslib_read_coordinates_onto(IgeslibIO* io, ListOfigs_coordinate* list, int n) {
  constexpr int kRun = 256;
  for (int done = 0; done < n;) {
    const int run = n - done < kRun ? n - done : kRun;
    double* room = list->addValuesRoom(static_cast<unsigned>(run));
    if (!room) {
      igeslib_read_coordinate_onto(io, list);
      ++done;
      continue;
    }
    io->read_reals(room, 3 * run);
    done += run;
  }
}

// Point i of list (the origin where there is none), read from a packed list as it stands, so
// that a write makes no element objects.
inline void igeslib_write_coordinate_at(IgeslibIO* io, ListOfigs_coordinate* list, unsigned i) {
  if (const double* values = list ? list->packedAt(i) : nullptr) {
    for (int k = 0; k < 3; ++k) io->write_real(values[k]);
    return;
  }
  igeslib_write_coordinate(io, list && i < list->size() ? (*list)[i] : nullptr);
}

// A value whose kind a code of the record names, as generic data and attribute tables give
// it: 1 integer, 2 real, 3 string, 4 entity (a bare pointer), 6 logical. Any other code reads
// nothing and answers false.
bool igeslib_read_coded_value(IgeslibIO* io, igs_datum* datum, int code);
// Its writer: the member that the code names, or that member's zero when the datum holds a
// value of another kind (a file's layout follows the code, not the datum). Any other code
// writes nothing and answers false.
bool igeslib_write_coded_value(IgeslibIO* io, igs_datum* datum, int code);

// A guarded pointer: the DE number that the write has given the target, or 0 for none.
inline void igeslib_write_pointer(IgeslibIO* io, igs_directory_entry* target) {
  io->write_int(target ? target->de_number : 0);
}

// Whether the reader of a pointer to T takes the entity: one of class T, or for a select one
// that a choice of it holds.
template <class T>
bool igeslib_takes(igs_directory_entry* entity) {
  if constexpr (std::is_base_of_v<LumoUnion, T>) {
    T probe;
    return probe.choose_entity(entity) != 0;
  } else {
    return lumo_cast<T>(entity) != nullptr;
  }
}

// A bare pointer, whose reader has no test for 0: there 0 names the first entity of the file.
// No entity is written as 0, as other readers take it too, where the first entity is none that
// the reader takes (takes), so that 0 reads back as none; where it is one, 0 would read back as
// that entity, and -1, which names no entity, is written instead so that the model reads back
// as it was. (A member of a counted list that names no entity is left out, count and all,
// where nothing runs parallel to the list.)
template <class Takes>
void igeslib_write_bare_pointer(IgeslibIO* io, igs_directory_entry* target, Takes takes) {
  if (target) {
    io->write_int(target->de_number);
    return;
  }
  igs_directory_entry* first = igeslib_file_entity(1);
  io->write_int(first && takes(first) ? -1 : 0);
}

template <class T>
void igeslib_write_bare_pointer(IgeslibIO* io, igs_directory_entry* target) {
  igeslib_write_bare_pointer(io, target, igeslib_takes<T>);
}
