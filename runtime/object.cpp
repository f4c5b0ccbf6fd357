// LumoObject, LumoStructure, LumoUnion and the generic structure.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unordered_map>

#include "lumo_internal.h"

using namespace lumo_detail;

// --- LumoObject ------------------------------------------------------------

// The storage of the last object placed in a section. An object constructed inside it after
// the object itself is a member held by value (an aggregate attribute, say): it keeps its
// elements and texts in the owner's section, so that they go with the owner's design, but is
// not an object of the section of its own.
static PendingAllocation placed = {nullptr, 0, nullptr};

// True when self is an object of the section, false when it is a member of one; section
// stays null for an object of no design.
static bool adopt_pending(LumoObject* self, LumoDesignSection*& section) {
  char* at = reinterpret_cast<char*>(self);
  if (pending.start && at >= pending.start && at < pending.start + pending.size) {
    section = pending.section;
    placed = pending;
    pending.start = nullptr;
    return true;
  }
  // The arena test keeps a heap or stack object out, should it lie where the storage of a
  // design since deleted used to be.
  if (placed.start && at >= placed.start && at < placed.start + placed.size && in_arena(at))
    section = placed.section;
  return false;
}

LumoObject::LumoObject() {
  LumoDesignSection* section = nullptr;
  bool own = adopt_pending(this, section);
  if (!section) return;
  flags_ |= kInSection;
  // The allocation starts within the first part of its block; an object that lies beyond it
  // can't find the block's section from its own address.
  auto at = reinterpret_cast<std::uintptr_t>(this);
  auto start = reinterpret_cast<std::uintptr_t>(placed.start);
  const bool far = (at & ~(kBlockSize - 1)) != (start & ~(kBlockSize - 1));
  if (far) {
    flags_ |= kFarInBlock;
    remember_far(this, section);
  }
  if (own) {
    flags_ |= kListed;
    section->listObject(this, far);
  }
}

LumoDesignSection* LumoObject::design_section() const {
  if (!(flags_ & kInSection)) return nullptr;
  return flags_ & kFarInBlock ? far_section(this) : section_at(this);
}

LumoObject::LumoObject(const LumoObject&) : LumoObject() {}

LumoObject& LumoObject::operator=(const LumoObject&) { return *this; }

namespace {

// The object identifiers, by object: only the dictionary's objects have one.
std::unordered_map<const LumoObject*, unsigned>& oids() {
  static auto* table = new std::unordered_map<const LumoObject*, unsigned>();  // lives to the end
  return *table;
}

}  // namespace

void LumoObject::oid(unsigned id) {
  if (id) {
    oids()[this] = id;
    flags_ |= kHasOid;
  } else if (flags_ & kHasOid) {
    forget_oid(this);
    flags_ &= ~kHasOid;
  }
}

void lumo_detail::forget_oid(const LumoObject* object) { oids().erase(object); }

unsigned LumoObject::stored_oid() const {
  auto it = oids().find(this);
  return it == oids().end() ? 0 : it->second;
}

LumoObject::~LumoObject() {
  if (flags_ & kHasOid) forget_oid(this);
  LumoDesignSection* section = design_section();
  if (flags_ & kFarInBlock) remember_far(this, nullptr);
  if (!section || shutting_down() || !(flags_ & kListed)) return;
  section->unlistObject(this, flags_ & kFarInBlock);
}

void LumoObject::operator delete(void* p) { lumo_delete(p); }

void* LumoObject::operator new(std::size_t size) { return ::operator new(size); }

void* LumoObject::operator new(std::size_t size, LumoDesign* design) {
  return lumo_new_in_default_section(size, design, nullptr, lumotype_LumoObject);
}

void* LumoObject::operator new(std::size_t size, LumoDesignSection* section) {
  return lumo_new(size, section, nullptr, lumotype_LumoObject);
}

void* LumoObject::operator new(std::size_t size, LumoDesignSection* section, LumoDomain* domain) {
  return lumo_new(size, section, domain, lumotype_LumoObject);
}

void* LumoObject::_address() { return this; }
LumoTypePtr& LumoObject::classType() { return lumotype_LumoObject; }

void LumoObject::modified() { flags_ |= kModified; }

LumoDesign* LumoObject::design() const {
  LumoDesignSection* section = design_section();
  return section ? section->design() : nullptr;
}

LumoDomain* LumoObject::domain() {
  if (flags_ & kGeneric) return static_cast<LumoGenericStructure*>(this)->genericDomain();
  LumoType& type = *classType();
  return type.domain ? type.domain : type.acquireDomain();
}

char LumoObject::isa(LumoTypePtr& type) {
  if (flags_ & kGeneric) {
    if (&type == &lumotype_LumoObject || &type == &lumotype_LumoStructure) return 1;
    LumoDomain* target = type->domain ? type->domain : type->acquireDomain();
    return domain()->isSubtypeOf(target);
  }
  return classType()->derivesFrom(&*type);
}

char LumoObject::isa(LumoDomain* target) {
  if (!target) return 0;
  if (target->type() && !(flags_ & kGeneric)) return classType()->derivesFrom(target->type());
  LumoDomain* own = domain();
  return own && own->isSubtypeOf(target);
}

LumoAttribute* LumoObject::getAttribute(const char* name) {
  LumoDomain* d = domain();
  return d && name ? d->findTypeAttribute(name) : nullptr;
}

LumoAttribute* LumoObject::attributeAtSlot(void* slot) {
  LumoDomain* d = domain();
  if (!d) return nullptr;
  lumo_vector all;
  d->allAttributes(all);
  for (void* a : all) {
    auto* attribute = static_cast<LumoAttribute*>(a);
    if (slotToRead(attribute, 0).v == slot) return attribute;
  }
  return nullptr;
}

LumoAttribute* LumoObject::getAttribute(void* slot) {
  return slot ? attributeAtSlot(slot) : nullptr;
}

char LumoObject::size(unsigned, int) { return 0; }
unsigned LumoObject::size() { return 0; }
char LumoObject::capacity(unsigned) { return 0; }
unsigned LumoObject::capacity() { return 0; }
unsigned LumoObject::recordSize() { return classType()->size; }
unsigned LumoObject::recordCount() { return 1; }

static void print_value(LumoObject* owner, LumoAttribute* attribute) {
  LumoDataPtr slot = owner->slotToRead(attribute, 0);
  if (!slot.v) {
    std::printf("?");
    return;
  }
  switch (kind_of(attribute->slotDomain())) {
    case LumoKind::integer:
    case LumoKind::enumeration:
      std::printf("%d", *slot.i);
      break;
    case LumoKind::real:
      std::printf("%.15g", *slot.d);
      break;
    case LumoKind::single:
      std::printf("%.7g", static_cast<double>(*slot.f));
      break;
    case LumoKind::boolean:
      std::printf("%s", *slot.c ? "true" : "false");
      break;
    case LumoKind::text:
      if (*slot.s)
        std::printf("\"%s\"", *slot.s);
      else
        std::printf("null");
      break;
    case LumoKind::object:
      if (lumo_is_delayed(*slot.p))
        std::printf("<not loaded>");
      else if (*slot.p)
        std::printf("<%s>", from_slot(*slot.p, attribute->slotDomain())->domain()->name());
      else
        std::printf("null");
      break;
  }
}

void LumoObject::display(unsigned indent, char) {
  LumoDomain* d = domain();
  std::printf("%*s%s\n", static_cast<int>(indent), "", d && d->name() ? d->name() : "?");
  if (!d) return;
  lumo_vector all;
  d->allAttributes(all);
  for (void* a : all) {
    auto* attribute = static_cast<LumoAttribute*>(a);
    std::printf("%*s  %s: ", static_cast<int>(indent), "", attribute->name);
    print_value(this, attribute);
    std::printf("\n");
  }
}

static bool equal_slots(LumoObject* a, LumoObject* b, LumoAttribute* attribute, unsigned depth,
                        char deep) {
  LumoDataPtr x = a->slotToRead(attribute, 0), y = b->slotToRead(attribute, 0);
  if (!x.v || !y.v) return x.v == y.v;
  switch (kind_of(attribute->slotDomain())) {
    case LumoKind::integer:
    case LumoKind::enumeration:
      return *x.i == *y.i;
    case LumoKind::real:
      return *x.d == *y.d;
    case LumoKind::single:
      return *x.f == *y.f;
    case LumoKind::boolean:
      return *x.c == *y.c;
    case LumoKind::text:
      return (!*x.s || !*y.s) ? *x.s == *y.s : std::strcmp(*x.s, *y.s) == 0;
    case LumoKind::object:
      if (*x.p == *y.p) return true;
      if (!deep || depth == 0 || !*x.p || !*y.p || lumo_is_delayed(*x.p) || lumo_is_delayed(*y.p))
        return false;
      return from_slot(*x.p, attribute->slotDomain())
          ->isEqual(from_slot(*y.p, attribute->slotDomain()), depth - 1, deep);
  }
  return false;
}

char LumoObject::isEqual(LumoObject* other, unsigned depth, char deep) {
  if (other == this) return 1;
  if (!other || other->domain() != domain()) return 0;
  LumoDomain* d = domain();
  if (!d) return 0;
  lumo_vector all;
  d->allAttributes(all);
  for (void* a : all)
    if (!equal_slots(this, other, static_cast<LumoAttribute*>(a), depth, deep)) return 0;
  return 1;
}

void LumoObject::_findObjects(LumoDomain* target, LumoAggregate* out, unsigned depth, char deep,
                              char) {
  if (isa(target) && out->find_object(this) == ~0u) out->addObject(this);
  if (!deep || depth == 0) return;
  LumoDomain* d = domain();
  if (!d) return;
  lumo_vector all;
  d->allAttributes(all);
  for (void* a : all) {
    auto* attribute = static_cast<LumoAttribute*>(a);
    if (kind_of(attribute->slotDomain()) != LumoKind::object) continue;
    LumoDataPtr slot = slotToRead(attribute, 0);
    if (!slot.v || !*slot.p || lumo_is_delayed(*slot.p)) continue;
    LumoObject* next = from_slot(*slot.p, attribute->slotDomain());
    if (next && next != this) next->_findObjects(target, out, depth - 1, deep, 1);
  }
}

void LumoObject::findObjects(LumoAggregate* out, unsigned depth, char deep) {
  if (!out) return;
  LumoType& element = *out->slotType(nullptr, 0);
  LumoDomain* target = element.domain ? element.domain : element.acquireDomain();
  if (target) _findObjects(target, out, depth, deep, 0);
}

void LumoObject::activate() {}

LumoDataPtr LumoObject::data() { return LumoDataPtr(); }

LumoObject* lumo_detail::own_copy(LumoObject* held, LumoDesignSection* section) {
  LumoType& type = *held->classType();
  LumoObject* copy = type.creator ? type.creator(section, held->domain(), 0) : nullptr;
  if (auto* select = dynamic_cast<LumoUnion*>(copy)) {
    *select = *static_cast<LumoUnion*>(held);
  } else if (auto* aggregate = dynamic_cast<LumoAggregate*>(copy)) {
    *aggregate = *static_cast<LumoAggregate*>(held);
    aggregate->ownElements();
  } else {
    return nullptr;
  }
  return copy;
}

// Puts a copy of the shared select or aggregate in slot, made in owner's section, in its place.
static void own_shared(LumoObject* owner, LumoDataPtr slot, LumoDomain* domain) {
  LumoObject* held = from_slot(*slot.p, domain);
  if (!held || !held->isShared()) return;
  LumoDesignSection* section = owner->design_section();
  if (LumoObject* copy = own_copy(held, section ? section : unowned_section()))
    *slot.p = to_slot(copy, domain);
}

// The address of attribute's field in object, or for a field aside the address of the pointer
// to its record; null when the object has no such field.
static char* field_address(LumoObject* object, LumoAttribute* attribute) {
  if (!attribute || attribute->offset() < 0 || !attribute->owner()) return nullptr;
  LumoType* owner =
      attribute->aside() >= 0 ? attribute->asideHolder() : type_of(attribute->owner());
  if (!owner) return nullptr;
  long base = object->classType()->offsetOf(owner);
  if (base < 0) return nullptr;
  return static_cast<char*>(object->_address()) + base + attribute->offset();
}

// What a field aside reads as while its object has no record: every such field's default is
// zero. No record is larger.
alignas(8) static const unsigned char unset_aside[64] = {};

LumoDataPtr LumoObject::slotToRead(LumoAttribute* attribute, unsigned i) {
  if (attribute && attribute->aside() >= 0 && !(flags_ & kGeneric)) {
    auto* record = reinterpret_cast<void**>(field_address(this, attribute));
    if (record && !*record && attribute->asideSize() <= sizeof unset_aside)
      return LumoDataPtr(const_cast<unsigned char*>(unset_aside) + attribute->aside());
  }
  return slotAddress(attribute, i);
}

LumoDataPtr LumoObject::slotAddress(LumoAttribute* attribute, unsigned) {
  char* field = field_address(this, attribute);
  if (!field) return LumoDataPtr();
  if (attribute->aside() >= 0) {
    // Whoever reaches the slot may store in it: the record is made first.
    auto* record = reinterpret_cast<void**>(field);
    if (!*record && !(*record = lumo_allocate_for(this, attribute->asideSize())))
      return LumoDataPtr();
    field = static_cast<char*>(*record) + attribute->aside();
  }
  LumoDataPtr slot(field);
  // Whoever reaches a slot by its attribute may change what it holds: a shared select or
  // aggregate becomes this object's own first (see lumo_own).
  if (kind_of(attribute->slotDomain()) == LumoKind::object && *slot.p && !lumo_is_delayed(*slot.p))
    own_shared(this, slot, attribute->slotDomain());
  return slot;
}

LumoTypePtr& LumoObject::slotType(LumoAttribute* attribute, unsigned) {
  LumoType* type = attribute ? type_of(attribute->slotDomain()) : nullptr;
  return type ? *type->self() : lumotype_LumoObject;
}

char LumoObject::getData(LumoAttribute* attribute, unsigned i, LumoDataPtr& value, LumoTypePtr&) {
  value = slotAddress(attribute, i);
  return value.v != nullptr;
}

// Stores value, typed by type, into the slot of attribute. Text is copied;
// a reference is converted to the class of the slot and must be allowed there.
char LumoObject::putData(LumoAttribute* attribute, unsigned i, void* value, LumoTypePtr& type) {
  if (!attribute) return 0;
  LumoDataPtr slot = slotAddress(attribute, i);
  if (!slot.v) return 0;
  LumoDomain* slot_domain = attribute->slotDomain();
  LumoKind slot_kind = kind_of(slot_domain);
  LumoKind value_kind = type->kind;
  switch (slot_kind) {
    case LumoKind::object: {
      if (value_kind != LumoKind::object) return 0;
      LumoObject* object = *static_cast<LumoObject**>(value);
      if (object && slot_domain && !object->isa(slot_domain)) return 0;
      modified();
      *slot.p = to_slot(object, slot_domain);
      return 1;
    }
    case LumoKind::text:
      if (value_kind != LumoKind::text) return 0;
      lumo_update_prim(this, slot.s, *static_cast<const char**>(value));
      return 1;
    case LumoKind::integer:
    case LumoKind::enumeration:
      if (value_kind != LumoKind::integer && value_kind != LumoKind::enumeration) return 0;
      lumo_update_prim(this, slot.i, *static_cast<int*>(value));
      return 1;
    case LumoKind::real:
      if (value_kind == LumoKind::real)
        lumo_update_prim(this, slot.d, *static_cast<double*>(value));
      else if (value_kind == LumoKind::integer)
        lumo_update_prim(this, slot.d, static_cast<double>(*static_cast<int*>(value)));
      else
        return 0;
      return 1;
    case LumoKind::single:
      if (value_kind != LumoKind::real) return 0;
      modified();
      *slot.f = static_cast<float>(*static_cast<double*>(value));
      return 1;
    case LumoKind::boolean:
      if (value_kind != LumoKind::boolean && value_kind != LumoKind::integer) return 0;
      lumo_update_prim(this, slot.c,
                       value_kind == LumoKind::boolean
                           ? *static_cast<char*>(value)
                           : static_cast<char>(*static_cast<int*>(value) != 0));
      return 1;
  }
  return 0;
}

static LumoObject* read_reference(LumoObject* owner, LumoAttribute* attribute, unsigned i) {
  if (!attribute || kind_of(attribute->slotDomain()) != LumoKind::object) return nullptr;
  LumoDataPtr slot = owner->slotToRead(attribute, i);
  if (!slot.v) return nullptr;
  void* value = *slot.p;
  if (lumo_is_delayed(value)) value = lumo_access_object(owner, slot.v);
  return value ? from_slot(value, attribute->slotDomain()) : nullptr;
}

// The i-th reference: of a select its current object (i = 0), of an
// aggregate element i, of a structure its i-th reference attribute.
LumoObject* LumoObject::getObject(unsigned i) {
  if (dynamic_cast<LumoUnion*>(this))
    return i == 0 ? read_reference(this, getAttribute(nullptr), 0) : nullptr;
  if (auto* aggregate = dynamic_cast<LumoAggregate*>(this)) {
    if (i >= aggregate->size()) return nullptr;
    return read_reference(this, getAttribute(nullptr), i);
  }
  LumoDomain* d = domain();
  if (!d) return nullptr;
  lumo_vector all;
  d->allAttributes(all);
  unsigned n = 0;
  for (void* a : all) {
    auto* attribute = static_cast<LumoAttribute*>(a);
    if (kind_of(attribute->slotDomain()) != LumoKind::object) continue;
    if (n++ == i) return read_reference(this, attribute, 0);
  }
  return nullptr;
}

char LumoObject::putObject(LumoObject* value, unsigned i) {
  return putData(getAttribute(nullptr), i, &value, lumotype_LumoObject);
}

char LumoObject::putObject(LumoObject* value, const char* attribute, unsigned i) {
  return putData(getAttribute(attribute), i, &value, lumotype_LumoObject);
}

char LumoObject::putString(const char* value, unsigned i) {
  return putData(getAttribute(nullptr), i, &value, lumotype_LumoSTR);
}

char LumoObject::putString(const char* value, const char* attribute, unsigned i) {
  LumoAttribute* a = getAttribute(attribute);
  if (a && kind_of(a->slotDomain()) == LumoKind::enumeration) return putString(value, a, i);
  return putData(a, i, &value, lumotype_LumoSTR);
}

// On an attribute of an enumeration domain: stores the position of the
// enumerator called name. Any other attribute takes the text itself.
char LumoObject::putString(const char* name, LumoAttribute* attribute, unsigned i) {
  if (!attribute) return 0;
  LumoDomain* values = attribute->slotDomain();
  if (kind_of(values) != LumoKind::enumeration)
    return putData(attribute, i, &name, lumotype_LumoSTR);
  if (!name) return 0;
  ListOfLumoAttribute* enumerators = values->typeImmediateAttributes();
  for (unsigned k = 0, n = enumerators->size(); k < n; ++k) {
    LumoAttribute* e = (*enumerators)[k];
    if (e && e->name && std::strcmp(e->name, name) == 0) {
      int position = static_cast<int>(k);
      return putData(attribute, i, &position, lumotype_int);
    }
  }
  return 0;
}

char LumoObject::_resolveExternal(void** slot, LumoAttribute*, unsigned) {
  if (!slot) return 0;
  if (!lumo_is_delayed(*slot)) return 1;
  void* loaded = LUMO.load(this, slot);
  if (!loaded) return 0;
  *slot = loaded;
  return 1;
}

// --- LumoStructure -----------------------------------------------------------

void* LumoStructure::_address() { return this; }
LumoTypePtr& LumoStructure::classType() { return lumotype_LumoStructure; }

// --- LumoGenericStructure ----------------------------------------------------

LumoGenericStructure::LumoGenericStructure(LumoDomain* domain, unsigned count)
    : domain_(domain), count_(count) {
  flags_ |= kGeneric;
}

LumoGenericStructure* LumoGenericStructure::make(LumoDesignSection* section, LumoDomain* domain) {
  if (!section || !domain) return nullptr;
  lumo_vector all;
  domain->allAttributes(all);
  unsigned count = all.size();
  std::size_t bytes = sizeof(LumoGenericStructure) + 8 * (count ? count - 1 : 0);
  void* place = lumo_new(bytes, section, domain, lumotype_LumoStructure);
  if (!place) return nullptr;
  return ::new (place) LumoGenericStructure(domain, count);
}

LumoDataPtr LumoGenericStructure::slotAddress(LumoAttribute* attribute, unsigned) {
  if (!attribute) return LumoDataPtr();
  lumo_vector all;
  domain_->allAttributes(all);
  for (unsigned k = 0; k < all.size() && k < count_; ++k) {
    auto* a = static_cast<LumoAttribute*>(all[k]);
    if (a == attribute ||
        (a->name && attribute->name && std::strcmp(a->name, attribute->name) == 0))
      return LumoDataPtr(slots_ + 8 * k);
  }
  return LumoDataPtr();
}

// --- LumoUnion -----------------------------------------------------------------

LumoUnion::LumoUnion(const LumoUnion& other) : LumoObject(other), value_(other.value_) {
  flags_ = (flags_ & ((1u << kChoiceShift) - 1)) | (other.flags_ & ~((1u << kChoiceShift) - 1));
}

LumoUnion& LumoUnion::operator=(const LumoUnion& other) {
  LumoObject::operator=(other);
  flags_ = (flags_ & ((1u << kChoiceShift) - 1)) | (other.flags_ & ~((1u << kChoiceShift) - 1));
  value_ = other.value_;
  return *this;
}

LumoAttribute* LumoUnion::choice() {
  unsigned place = flags_ >> kChoiceShift;
  if (place == 0) return nullptr;
  LumoDomain* own_domain = domain();
  ListOfLumoAttribute* own = own_domain ? own_domain->listOfAttribute : nullptr;
  if (!own || lumo_is_delayed(own) || place > own->size()) return nullptr;
  return (*own)[place - 1];
}

void LumoUnion::choose(LumoAttribute* attribute) {
  unsigned place = 0;
  LumoDomain* own_domain = attribute ? domain() : nullptr;
  ListOfLumoAttribute* own = own_domain ? own_domain->listOfAttribute : nullptr;
  if (own && !lumo_is_delayed(own)) {
    unsigned n = own->size();
    int at = attribute->position();
    if (at >= 0 && static_cast<unsigned>(at) < n && (*own)[static_cast<unsigned>(at)] == attribute)
      place = static_cast<unsigned>(at) + 1;
    for (unsigned i = 0; place == 0 && i < n; ++i)
      if ((*own)[i] == attribute) place = i + 1;
  }
  flags_ = (flags_ & ((1u << kChoiceShift) - 1)) | (place << kChoiceShift);
}

void* LumoUnion::_address() { return this; }
LumoTypePtr& LumoUnion::classType() { return lumotype_LumoUnion; }

LumoAttribute* LumoUnion::getAttribute(const char* name) {
  if (!name) return choice();
  return own_attribute(domain(), name);
}

char LumoUnion::putAttribute(LumoAttribute* attribute) {
  if (!attribute) return 0;
  LumoAttribute* own = own_attribute(domain(), attribute->name);
  if (!own) return 0;
  modified();
  choose(own);
  return 1;
}

char LumoUnion::chooseOwn(unsigned place, const char* name, LumoAttribute*& known) {
  LumoDomain* own_domain = domain();
  ListOfLumoAttribute* own = own_domain ? own_domain->listOfAttribute : nullptr;
  if (own && !lumo_is_delayed(own) && place < own->size()) {
    LumoAttribute* at = (*own)[place];
    if (at && (at == known || (at->name && name && std::strcmp(at->name, name) == 0))) {
      known = at;
      modified();
      choose(at);
      return 1;
    }
  }
  return putAttribute(name);
}

char LumoUnion::putAttribute(const char* name) {
  LumoAttribute* own = name ? own_attribute(domain(), name) : nullptr;
  return own ? putAttribute(own) : 0;
}

LumoDataPtr LumoUnion::slotAddress(LumoAttribute* attribute, unsigned) {
  if (!attribute || !own_attribute(domain(), attribute->name)) return LumoDataPtr();
  return LumoDataPtr(&value_);
}

LumoTypePtr& LumoUnion::slotType(LumoAttribute* attribute, unsigned i) {
  return LumoObject::slotType(attribute ? attribute : choice(), i);
}

char LumoUnion::putData(LumoAttribute* attribute, unsigned i, void* value, LumoTypePtr& type) {
  LumoAttribute* previous = choice();
  if (!putAttribute(attribute)) return 0;
  if (LumoObject::putData(choice(), i, value, type)) return 1;
  choose(previous);
  return 0;
}
