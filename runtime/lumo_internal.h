// Pieces shared by the runtime's sources and not part of its public face.
#pragma once

#include "lumo.h"

namespace lumo_detail {

// Drops the object identifier of an object whose storage goes without its destructor.
void forget_oid(const LumoObject* object);

// What the next object constructed in fresh storage is to learn.
struct PendingAllocation {
  char* start;
  std::size_t size;
  LumoDesignSection* section;
};
extern PendingAllocation pending;

// Arena blocks are this large and start at multiples of it; a block of its own for a large
// request is larger, but starts so too.
constexpr std::uintptr_t kBlockSize = 256 * 1024;
// The section whose block holds p, for p within the first kBlockSize bytes of a block.
LumoDesignSection* section_at(const void* p);
// The section of an object that lies further into a block than that (an object larger than a
// block, which no compiled class is), kept aside; null for none. remember_far with a null
// section forgets the object.
LumoDesignSection* far_section(const LumoObject* object);
void remember_far(const LumoObject* object, LumoDesignSection* section);

// True if p lies in storage of some design's section.
bool in_arena(const void* p);
void register_block(const void* start, std::size_t size);
void unregister_block(const void* start);

// The storage for text and elements of objects that belong to no design.
LumoDesignSection* unowned_section();

// What the values of a domain are.
LumoKind kind_of(LumoDomain* domain);
// The compiled class behind a domain, binding it by name if need be.
LumoType* type_of(LumoDomain* domain);
// A reference as it is stored in a slot of that domain, and back.
void* to_slot(LumoObject* value, LumoDomain* domain);
LumoObject* from_slot(void* slot_value, LumoDomain* domain);
// The attribute of domain's own attributes called name.
LumoAttribute* own_attribute(LumoDomain* domain, const char* name);

// A copy, in section, of a shared select or aggregate (an aggregate with elements of its own,
// shared elements copied in turn); null for any other object or when memory runs out.
LumoObject* own_copy(LumoObject* shared, LumoDesignSection* section);

bool shutting_down();

}  // namespace lumo_detail
