// Persistent objects: the root class, named-attribute structures and unions.
#pragma once

#include <new>

#include "lumo_type.h"

class LumoObject {
 public:
  LumoObject();
  LumoObject(const LumoObject& other);
  LumoObject& operator=(const LumoObject& other);

  // The twenty virtual operations, in their order.
  virtual void* _address();
  virtual LumoTypePtr& classType();
  virtual ~LumoObject();
  virtual LumoAttribute* getAttribute(const char* name);
  virtual LumoAttribute* getAttribute(void* slot);
  virtual char size(unsigned n, int fill);
  virtual unsigned size();
  virtual char capacity(unsigned n);
  virtual unsigned capacity();
  virtual unsigned recordSize();
  virtual unsigned recordCount();
  virtual void display(unsigned indent = 0, char deep = 0);
  virtual char isEqual(LumoObject* other, unsigned depth = 0, char deep = 0);
  virtual void _findObjects(LumoDomain* domain, LumoAggregate* out, unsigned depth, char deep,
                            char seen);
  virtual void activate();
  virtual LumoDataPtr data();
  virtual LumoDataPtr slotAddress(LumoAttribute* attribute, unsigned i);
  virtual LumoTypePtr& slotType(LumoAttribute* attribute, unsigned i);
  virtual char getData(LumoAttribute* attribute, unsigned i, LumoDataPtr& value, LumoTypePtr& type);
  virtual char putData(LumoAttribute* attribute, unsigned i, void* value, LumoTypePtr& type);

  // The slot of an attribute, to read it: slotAddress, except that a field of a record aside
  // that the object hasn't made (LumoAttribute::aside) reads as its default, zero, from a
  // place that is no object's and must never be written, and nothing is made for it.
  LumoDataPtr slotToRead(LumoAttribute* attribute, unsigned i);

  // getAttribute(nullptr) names the null text, never the null slot.
  LumoAttribute* getAttribute(std::nullptr_t) {
    return getAttribute(static_cast<const char*>(nullptr));
  }

  // Objects in a design's arena are released with the design; deleting one
  // runs its destructor and gives nothing back. Heap objects go to the heap.
  // Generated classes declare the same overloads with their own descriptor.
  static void operator delete(void* p);
  static void* operator new(std::size_t size);
  static void* operator new(std::size_t size, LumoDesign* design);
  static void* operator new(std::size_t size, LumoDesignSection* section);
  static void* operator new(std::size_t size, LumoDesignSection* section, LumoDomain* domain);

  // A value object (a select, an array of numbers) that many owners hold in their slots at once,
  // made so by a reader to save an object for each owner. It is never changed in place: an accessor
  // that hands it out, and the dictionary's slot access, first put a copy of the owner's own in its
  // slot (lumo_own), so a change through one owner never reaches another.
  bool isShared() const { return (flags_ & kShared) != 0; }
  void markShared() { flags_ |= kShared; }

  // Change tracking.
  void modified();
  bool isModified() const { return (flags_ & kModified) != 0; }
  // An instance of a domain with no compiled class, whose answers come from its domain.
  bool isGeneric() const { return (flags_ & kGeneric) != 0; }
  void clearModified() { flags_ &= ~kModified; }

  LumoDesign* design() const;
  LumoDesignSection* design_section() const;
  LumoDomain* domain();

  char isa(LumoTypePtr& type);
  char isa(LumoDomain* domain);

  // Reference and text access by position or by attribute name.
  LumoObject* getObject(unsigned i);
  char putObject(LumoObject* value, unsigned i);
  char putObject(LumoObject* value, const char* attribute, unsigned i);
  char putString(const char* value, unsigned i);
  char putString(const char* value, const char* attribute, unsigned i);
  char putString(const char* value, LumoAttribute* attribute, unsigned i);

  // The object identifier, 0 for none. Few objects have one (those of the dictionary's own
  // designs), so it is kept beside the objects, in a table of the runtime's, not in each.
  void oid(unsigned id);
  unsigned oid() const { return flags_ & kHasOid ? stored_oid() : 0; }

  // Collects into out every object of this object's scope that out's element
  // type allows: a design's objects in creation order, an aggregate's
  // elements, or a structure and what its attributes refer to.
  void findObjects(LumoAggregate* out, unsigned depth = 0, char deep = 1);

 protected:
  // Loads the object behind a delayed element slot. True if the slot now
  // holds a real pointer.
  char _resolveExternal(void** slot, LumoAttribute* attribute, unsigned i);

  // Answers the attribute of this object's domain (inherited ones included)
  // whose slot is at that address, for the generic operations below.
  LumoAttribute* attributeAtSlot(void* slot);

  enum : unsigned {
    kModified = 1u << 0,
    kGeneric = 1u << 1,     // an instance of a domain with no compiled class
    kInSection = 1u << 2,   // in a section's storage: its block tells which section
    kFarInBlock = 1u << 3,  // further into its block than the block's first part: kept aside
    kListed = 1u << 4,      // an object of its section, not a member held by value in another
    kShared = 1u << 5,      // held by many owners, copied before any change (isShared)
    kHasOid = 1u << 6,      // has an object identifier, in the runtime's table (oid)
    // A select keeps its current choice here, as the choice's place in its domain's own
    // attributes plus one (0: no choice), which keeps every select two words smaller.
    kChoiceShift = 8,
  };

 private:
  // The runtime's part of every object is 12 bytes, the table pointer and the flags, and a
  // derived class's first four-byte field takes the four after them. The section isn't
  // stored: an object in a section lies in one of its arena blocks, which start at known
  // multiples and name their section in their first word. Nor is the object identifier
  // (oid).
 protected:
  unsigned flags_ = 0;

 private:
  unsigned stored_oid() const;
  friend class LumoGenericStructure;
  friend class LumoDesign;
};

// Base of classes with named attributes.
class LumoStructure : public LumoObject {
 public:
  LumoStructure() = default;
  LumoStructure(const LumoStructure&) = default;
  LumoStructure& operator=(const LumoStructure&) = default;
  void* _address() override;
  LumoTypePtr& classType() override;
};

// An instance of a dictionary domain that has no compiled class: one eight
// byte slot per attribute, inherited attributes first.
class LumoGenericStructure : public LumoStructure {
 public:
  static LumoGenericStructure* make(LumoDesignSection* section, LumoDomain* domain);
  void* _address() override { return this; }
  LumoDataPtr slotAddress(LumoAttribute* attribute, unsigned i) override;
  LumoDomain* genericDomain() const { return domain_; }

 private:
  LumoGenericStructure(LumoDomain* domain, unsigned count);
  LumoDomain* domain_;
  unsigned count_;
  alignas(8) unsigned char slots_[8];  // count_ slots follow
};

// Base of select classes: the current choice and one value slot, wide enough
// for a pointer or a double.
class LumoUnion : public LumoObject {
 public:
  LumoUnion() = default;
  LumoUnion(const LumoUnion& other);
  LumoUnion& operator=(const LumoUnion& other);

  void* _address() override;
  LumoTypePtr& classType() override;
  using LumoObject::getAttribute;
  // With a name, that choice's attribute; with a null name, the choice now set.
  LumoAttribute* getAttribute(const char* name) override;
  LumoDataPtr data() override { return LumoDataPtr(&value_); }
  LumoDataPtr slotAddress(LumoAttribute* attribute, unsigned i) override;
  LumoTypePtr& slotType(LumoAttribute* attribute, unsigned i) override;
  // Stores after choosing the attribute; false if it is no choice of this class.
  char putData(LumoAttribute* attribute, unsigned i, void* value, LumoTypePtr& type) override;

  // Set the current choice; true if it is a choice of this class.
  virtual char putAttribute(LumoAttribute* attribute);
  virtual char putAttribute(const char* name);

 protected:
  union Slot {
    int i;
    double d;
    char c;
    char* s;
    void* p;
    LumoObject* o;
  };
  Slot value_{};

  // What putAttribute(name) does for a choice of the compiled class's own select, name being
  // its attribute at place (from 0) among the select's own attributes: the choice is taken by
  // its place when the attribute stands there, without a search by name. known keeps the
  // attribute once it was found there, so that the name is compared only the first time.
  char chooseOwn(unsigned place, const char* name, LumoAttribute*& known);

 private:
  LumoAttribute* choice();
  void choose(LumoAttribute* own);  // null: no choice
};
