// Compile-time side of the dictionary: one descriptor (LumoTypePtr) per
// compiled class or enumeration, and the binder protocol through which a
// descriptor states its bases, offsets, attributes and enumerators.
#pragma once

#include <vector>

#include "lumo_base.h"

using LumoCreator = LumoObject* (*)(LumoDesignSection* section, LumoDomain* domain,
                                    unsigned capacity);
using LumoBinder = void (*)(LumoTypePtr& self);
using LumoCaster = LumoObject* (*)(void* start);
using LumoConverter = void* (*)(void*, void*, void*, LumoObject*);

// What a type is, as far as slots and elements are concerned.
enum class LumoKind : unsigned char {
  object,       // a class: references to it are pointers
  integer,      // int
  real,         // double
  single,       // float
  text,         // char*, owned by the design
  boolean,      // char
  enumeration,  // int holding the enumerator's position, -1 unset
};

class LumoType {
 public:
  LumoType(const char* name, unsigned size, LumoObject* prototype, LumoCreator creator,
           LumoBinder binder, LumoCaster caster);
  LumoType(const char* name, unsigned size, LumoBinder binder, LumoConverter converter,
           LumoKind kind);

  // Plain members that binders and the schema builder read directly.
  const char* name;
  unsigned size;
  LumoObject* prototype;
  LumoDomain* domain = nullptr;
  LumoCreator creator = nullptr;
  LumoBinder binder = nullptr;
  LumoCaster caster = nullptr;
  LumoConverter converter = nullptr;
  LumoKind kind = LumoKind::object;

  // Binder protocol. Every call answers this type so that calls chain.
  LumoType* super(LumoTypePtr& base);
  LumoType* virtual_super(LumoTypePtr& base);
  LumoType* superOffset(LumoTypePtr& self, LumoTypePtr& base, unsigned offset);
  LumoType* schema(const char* schema_name);
  LumoType* variable(LumoTypePtr& type, const char* attribute_name, void* field);
  // An attribute whose field lies in a record of its own, which the object's part holder
  // points to from its byte pointer_place (the pointer null until a field of the record is
  // set; -1: no prototype to measure): the field is at offset in the record, whose size is
  // record_size.
  LumoType* variable(LumoTypePtr& type, const char* attribute_name, LumoTypePtr& holder,
                     long pointer_place, unsigned offset, unsigned record_size);
  LumoType* enumerator(const char* enumerator_name, int value);

  // Runs the binder once.
  void bind();
  // Runs the binder once and makes sure the domain exists.
  void force_load();
  // Finds or creates the domain of this type, binding first if needed.
  LumoDomain* acquireDomain();

  bool bound() const { return bound_; }
  LumoTypePtr* self() const { return self_; }
  const char* schema_name() const { return schema_; }

  // Offset of base inside an instance of this class, or -1 if base is not
  // among its ancestors (itself included). Binds on first use.
  long offsetOf(const LumoType* base);
  bool derivesFrom(const LumoType* base) { return offsetOf(base) >= 0; }

  // Converts the address of an instance of this class to its LumoObject part.
  LumoObject* toObject(void* start) const;

  struct Ancestor {
    LumoType* type;
    unsigned offset;
  };
  struct Variable {
    LumoTypePtr* type;
    const char* name;
    long offset;  // -1: no field of its own (a select's choice)
    long aside = -1;  // in a record aside: the field's place in it (offset is the pointer's,
    unsigned aside_size = 0;  // in the part of the object that holder is)
    LumoType* holder = nullptr;
  };
  struct Enumerator {
    const char* name;
    int value;
  };
  const std::vector<Ancestor>& ancestors() { return ancestors_; }
  const std::vector<LumoType*>& supers() { return supers_; }
  const std::vector<Variable>& variables() { return variables_; }
  const std::vector<Enumerator>& enumerators() { return enumerators_; }

  // Looks a descriptor up by its dictionary name; null if there is none.
  static LumoType* find(const char* name);

 private:
  std::vector<Ancestor> ancestors_;
  std::vector<LumoType*> supers_;
  std::vector<Variable> variables_;
  std::vector<Enumerator> enumerators_;
  const char* schema_ = nullptr;
  char* class_start_ = nullptr;  // start of the prototype, for field offsets
  bool bound_ = false;
  bool binding_ = false;
  LumoType* next_ = nullptr;
  LumoTypePtr* self_ = nullptr;
  friend class LumoTypePtr;
};

// The global descriptor of one class or enumeration: lumotype_X. Construction
// stores its arguments and nothing else, so static order does not matter.
class LumoTypePtr {
 public:
  LumoTypePtr(const char* name, unsigned size, LumoObject* prototype, LumoCreator creator,
              LumoBinder binder, LumoCaster caster);
  LumoTypePtr(const char* name, unsigned size, LumoBinder binder, LumoConverter converter,
              LumoKind kind = LumoKind::enumeration);
  LumoTypePtr(const LumoTypePtr&) = delete;
  LumoTypePtr& operator=(const LumoTypePtr&) = delete;

  LumoType* operator->() { return &type_; }
  LumoType& operator*() { return type_; }

 private:
  LumoType type_;
};

// Types of the runtime itself.
extern LumoTypePtr lumotype_LumoObject;
extern LumoTypePtr lumotype_LumoStructure;
extern LumoTypePtr lumotype_LumoUnion;
extern LumoTypePtr lumotype_LumoEnum;
extern LumoTypePtr lumotype_LumoEnumArray;
extern LumoTypePtr lumotype_LumoAggregate;
extern LumoTypePtr lumotype_LumoList;
extern LumoTypePtr lumotype_LumoArray;
extern LumoTypePtr lumotype_LumoPtrList;
extern LumoTypePtr lumotype_LumoPtrArray;
extern LumoTypePtr lumotype_LumoPtrBag;
extern LumoTypePtr lumotype_LumoPtrSet;
extern LumoTypePtr lumotype_LumoAttribute;
extern LumoTypePtr lumotype_LumoDomain;
extern LumoTypePtr lumotype_LumoSTR;
extern LumoTypePtr lumotype_LumoBoolean;
extern LumoTypePtr lumotype_int;
extern LumoTypePtr lumotype_double;
extern LumoTypePtr lumotype_float;
extern LumoTypePtr lumotype_ListOfLumoAttribute;
extern LumoTypePtr lumotype_ListOfLumoDomain;
extern LumoTypePtr lumotype_LumoDesign;

#define LUMO_AGGREGATE_FAMILY(K)                                                       \
  extern LumoTypePtr lumotype_##K##Integer, lumotype_##K##Double, lumotype_##K##Float, \
      lumotype_##K##String, lumotype_##K##Boolean, lumotype_##K##LumoObject;
LUMO_AGGREGATE_FAMILY(ListOf)
LUMO_AGGREGATE_FAMILY(ArrayOf)
LUMO_AGGREGATE_FAMILY(SetOf)
LUMO_AGGREGATE_FAMILY(BagOf)
#undef LUMO_AGGREGATE_FAMILY
