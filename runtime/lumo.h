// The Lumo object runtime: persistent objects in designs, a run-time
// dictionary of domains and attributes, aggregates, strings and error
// channels.
#pragma once

#include <cstdio>

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
void* lumo_new(std::size_t size, LumoDesignSection* section, LumoDomain* domain,
               LumoTypePtr& type);
void* lumo_new_in_default_section(std::size_t size, LumoDesign* design, LumoDomain* domain,
                                  LumoTypePtr& type);

// Gives back the storage of a deleted object: heap storage to the heap;
// storage in a design stays until the design goes.
void lumo_delete(void* p);

// The address of object as an instance of the class that type describes, or
// null if it is no such instance (or null).
void* lumo_cast(LumoObject* object, LumoTypePtr& type);
template <class X>
X* lumo_cast(LumoObject* object) {
  return dynamic_cast<X*>(object);
}

// Loads the object behind a delayed reference in owner's field. Non-null if
// the field now holds a valid pointer; on failure the field keeps the word.
void* lumo_access_object(LumoObject* owner, void* field);

// Marks owner as modified, then stores. Text is copied into owner's design.
void lumo_update_prim(LumoObject* owner, char* field, char value);
void lumo_update_prim(LumoObject* owner, int* field, int value);
void lumo_update_prim(LumoObject* owner, double* field, double value);
void lumo_update_prim(LumoObject* owner, char** field, const char* value);

// The name under which an aggregate class stands in the dictionary.
const char* lumo_build_aggname(const char* schema_name, const char* class_name);

FILE* lumo_fopen(const char* name, const char* mode);
