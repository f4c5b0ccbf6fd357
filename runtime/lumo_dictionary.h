// The run-time dictionary: domains (classes) and their attributes, themselves
// persistent objects that generic code can walk by name.
#pragma once

#include "lumo_aggregate.h"

class LumoAttribute : public LumoStructure {
 public:
  LumoAttribute() = default;
  void* _address() override { return this; }
  LumoTypePtr& classType() override;

  // Dictionary attributes.
  char* name = nullptr;
  LumoDomain* domain = nullptr;  // the domain of the attribute's values

  LumoDomain* slotDomain() { return domain; }
  // The domain that declares this attribute.
  LumoDomain* owner() const { return owner_; }
  // Byte offset of the field inside an instance of the owner's class; -1 for
  // a choice of a select or an element of an aggregate, which have no field.
  long offset() const { return offset_; }
  // Where the field lies in the record aside that the pointer at offset() of the object's part
  // asideHolder() leads to, or -1 for a field in the object itself (LumoType::variable); the
  // record is asideSize() bytes.
  long aside() const { return aside_; }
  unsigned asideSize() const { return aside_size_; }
  LumoType* asideHolder() const { return aside_holder_; }
  // For an enumerator: its position in its enumeration.
  int position() const { return position_; }
  bool optional() const { return optional_; }

  void setOwner(LumoDomain* owner) { owner_ = owner; }
  void setOffset(long offset) { offset_ = offset; }
  // Takes the place of the field from its class's binder.
  void bindField(const LumoType::Variable& v) {
    offset_ = v.offset;
    aside_ = v.aside;
    aside_size_ = v.aside_size;
    aside_holder_ = v.holder;
  }
  void setPosition(int position) { position_ = position; }
  void setOptional(bool optional) { optional_ = optional; }

 private:
  LumoDomain* owner_ = nullptr;
  long offset_ = -1;
  long aside_ = -1;
  unsigned aside_size_ = 0;
  LumoType* aside_holder_ = nullptr;
  int position_ = -1;
  bool optional_ = false;
};

class LumoDomain : public LumoStructure {
 public:
  LumoDomain() = default;
  void* _address() override { return this; }
  LumoTypePtr& classType() override;

  // Dictionary attributes.
  char* name_ = nullptr;
  ListOfLumoDomain* listOfSuper = nullptr;
  ListOfLumoAttribute* listOfAttribute = nullptr;

  const char* name() const { return name_; }
  // Creates an instance in the current design; null for an abstract domain.
  LumoObject* pnewInstance();
  // The attribute of that name, inherited ones included.
  LumoAttribute* findTypeAttribute(const char* attribute_name);
  // The same for a name whose text never changes, such as a literal of compiled code: a name
  // asked for before is then known by its address alone.
  LumoAttribute* findTypeAttributeByFixedName(const char* fixed_name);
  // The domain's own attributes in schema order; for an enumeration, its
  // enumerators, first enumerator first. Never null.
  ListOfLumoAttribute* typeImmediateAttributes();
  ListOfLumoDomain* supertypes();
  // All attributes, inherited first, each once.
  void allAttributes(lumo_vector& out);

  // True if this domain is other or derives from it. Domains of the same name
  // stand for the same class, wherever they were made.
  bool isSubtypeOf(LumoDomain* other);
  bool isEnumeration();
  bool isAbstract() const { return abstract_; }
  void setAbstract(bool abstract) { abstract_ = abstract; }

  // The compiled class behind the domain, or null for a dictionary-only one.
  LumoType* type() const { return type_; }
  void setType(LumoType* type) { type_ = type; }

  // The own attribute last found by name, keyed by the address of the name asked for:
  // compiled code asks with the same literal every time, so a repeated lookup costs one
  // compare instead of a walk over the list.
  const char* found_name_ = nullptr;
  LumoAttribute* found_attribute_ = nullptr;
  // The same for findTypeAttribute, inherited attributes included: the last few names, since
  // a class's accessors ask for several in turn; the oldest is replaced.
  struct Found {
    const char* name = nullptr;
    LumoAttribute* attribute = nullptr;
  };
  Found found_inherited_[4];
  unsigned found_next_ = 0;

 private:
  LumoType* type_ = nullptr;
  bool abstract_ = false;
};
