// What the passes of the checker share: the model with the DE number of each entity, the
// tolerance of the file, and the one place where findings are made.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "igeslib.h"
#include "igeslib_check.h"

namespace igeslib::check_detail {

class Context {
 public:
  Context(const Model& model, std::vector<Finding>& out);

  const Model& model;
  // Entities by place: DE number n at place (n - 1) / 2. Those of the file as read, then any
  // made since, numbered on as a write would number them.
  std::vector<igs_directory_entry*> places;
  // Lengths closer than this are one: the Global section's minimum resolution, or a small
  // value when the file gives none that is positive.
  double resolution = 1e-6;
  // The record of the first Directory line of each entity, once the records are read: the
  // Start and Global records come before it.
  int directory_start = 0;

  int de(igs_directory_entry* entity) const;
  igs_directory_entry* at(int de_number) const;
  int places_count() const { return static_cast<int>(places.size()); }

  // A finding of code (one of check_codes()) at the entity's Directory line unless line
  // says otherwise.
  void add(const char* code, int de, std::string field, std::string message, int line = 0);

 private:
  std::vector<Finding>& out_;
  // The DE numbers of entities whose reader's number doesn't name their place; made when first
  // asked for.
  mutable std::unordered_map<igs_directory_entry*, int> de_of_;
  mutable bool numbered_ = false;
};

// An object as class X, the way found remembered for each class of object (by the table
// pointer that names its class, as lumo_cast does, in a larger table): a file holds few
// classes, and a cast through virtual bases costs far more than a look-up.
template <class X>
X* as(LumoObject* object) {
  if (!object) return nullptr;
  struct Memo {
    const void* table = nullptr;
    std::ptrdiff_t offset = 0;
    bool found = false;
  };
  static Memo memo[64];
  const void* table;
  std::memcpy(&table, static_cast<const void*>(object), sizeof table);
  Memo& slot = memo[(reinterpret_cast<std::uintptr_t>(table) >> 4) & 63];
  if (slot.table != table) {
    X* cast = dynamic_cast<X*>(object);
    slot = {table, cast ? reinterpret_cast<char*>(cast) - reinterpret_cast<char*>(object) : 0,
            cast != nullptr};
  }
  return slot.found ? reinterpret_cast<X*>(reinterpret_cast<char*>(object) + slot.offset) : nullptr;
}

// The entity that a select holds; null for none.
template <class S>
igs_directory_entry* chosen(S* select) {
  return select ? select->entity() : nullptr;
}

// The class of an entity by the dictionary's name, "circular_arc_entity", with its type and
// form: "circular_arc_entity (100)"; "no entity" for null.
std::string describe(igs_directory_entry* entity);
// The dictionary name of a class or select: "line_entity", "model_space_curve".
std::string type_name(LumoTypePtr* type);
// A number as the messages give it: the shortest form that reads back, at most 9 digits.
std::string number(double value);

// The passes, each adding its findings. Those that read the file get its path.
void check_records(Context& context);
void check_notes(Context& context);
void check_references(Context& context);
void check_bsplines(Context& context);
void check_topology(Context& context);
void check_definitions(Context& context);

}  // namespace igeslib::check_detail
