// The Lumo object runtime: persistent objects in designs, a run-time
// dictionary of domains and attributes, aggregates, strings and error
// channels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "lumo_aggregate.h"
#include "lumo_base.h"
#include "lumo_design.h"
#include "lumo_dictionary.h"
#include "lumo_error.h"
#include "lumo_object.h"
#include "lumo_string.h"
#include "lumo_type.h"

// Storage for one object of type in section (the design's default section
// with the second form). A null domain means the type's own. The object
// constructed in it next learns its section from the runtime.
void* lumo_new(std::size_t size, LumoDesignSection* section, LumoDomain* domain, LumoTypePtr& type);
void* lumo_new_in_default_section(std::size_t size, LumoDesign* design, LumoDomain* domain,
                                  LumoTypePtr& type);

// Gives back the storage of a deleted object: heap storage to the heap;
// storage in a design stays until the design goes.
void lumo_delete(void* p);

// The address of object as an instance of the class that type describes, or
// null if it is no such instance (or null).
void* lumo_cast(LumoObject* object, LumoTypePtr& type);
// The cast is a dynamic_cast whose outcome is remembered for each table pointer of a
// LumoObject part: with virtual bases the cast walks the class hierarchy, while the table
// pointer names the most-derived class and the place of that part in it (an object still being
// built has a table of its own), so the way from there to the X part is always the same
// distance, or none. The runtime is single-threaded, as its current design is.
namespace lumo_detail {
struct CastMemo {
  const void* from = nullptr;
  std::ptrdiff_t offset = 0;
  bool found = false;
};
}  // namespace lumo_detail

template <class X>
LUMO_HOT X* lumo_cast(LumoObject* object) {
  if (!object) return nullptr;
  static lumo_detail::CastMemo memo[32];
  const void* from;
  std::memcpy(&from, static_cast<const void*>(object), sizeof from);  // the table pointer
  const auto bits = reinterpret_cast<std::uintptr_t>(from);
  lumo_detail::CastMemo& slot = memo[((bits >> 3) ^ (bits >> 8)) & 31];
  if (slot.from == from)
    return slot.found ? reinterpret_cast<X*>(reinterpret_cast<char*>(object) + slot.offset)
                      : nullptr;
  X* cast = dynamic_cast<X*>(object);
  slot.offset = cast ? reinterpret_cast<char*>(cast) - reinterpret_cast<char*>(object) : 0;
  slot.found = cast != nullptr;
  slot.from = from;
  return cast;
}

// Loads the object behind a delayed reference in owner's field. Non-null if
// the field now holds a valid pointer; on failure the field keeps the word.
void* lumo_access_object(LumoObject* owner, void* field);

// Zeroed storage of bytes that lives as long as owner: in owner's section, or for an object of
// no design in storage that lives to the end. Null only when memory runs out.
void* lumo_allocate_for(LumoObject* owner, std::size_t bytes);

// Working storage of a reader or writer, zeroed, that goes back to the system when released:
// storage of a few pages and more is mapped for itself and unmapped on release, so that the
// tables of a read leave no pages in the heap behind them; a process that keeps model after model
// then holds the models and no high-water mark of every read's tables. Null when memory runs
// out. Released with the size it was taken with.
void* lumo_scratch_allocate(std::size_t bytes);
void lumo_scratch_release(void* p, std::size_t bytes);

// Marks owner as modified, then stores. Text is copied into owner's design.
void lumo_update_prim(LumoObject* owner, char* field, char value);
void lumo_update_prim(LumoObject* owner, int* field, int value);
void lumo_update_prim(LumoObject* owner, double* field, double value);
void lumo_update_prim(LumoObject* owner, char** field, const char* value);

// The name under which an aggregate class stands in the dictionary.
const char* lumo_build_aggname(const char* schema_name, const char* class_name);

FILE* lumo_fopen(const char* name, const char* mode);
