// Descriptors, the binder protocol and the registry of descriptors by name.
#include <cstring>
#include <string>
#include <unordered_map>

#include "lumo_internal.h"

using namespace lumo_detail;

namespace {

// Descriptors link themselves into this list as they are constructed. The
// head is constant-initialised, so the order of static construction across
// the library and its users does not matter.
LumoType* registry_head = nullptr;
unsigned registry_count = 0;

}  // namespace

LumoType::LumoType(const char* name_, unsigned size_, LumoObject* prototype_,
                   LumoCreator creator_, LumoBinder binder_, LumoCaster caster_)
    : name(name_),
      size(size_),
      prototype(prototype_),
      creator(creator_),
      binder(binder_),
      caster(caster_),
      kind(LumoKind::object) {}

LumoType::LumoType(const char* name_, unsigned size_, LumoBinder binder_,
                   LumoConverter converter_, LumoKind kind_)
    : name(name_),
      size(size_),
      prototype(nullptr),
      binder(binder_),
      converter(converter_),
      kind(kind_) {}

LumoTypePtr::LumoTypePtr(const char* name, unsigned size, LumoObject* prototype,
                         LumoCreator creator, LumoBinder binder, LumoCaster caster)
    : type_(name, size, prototype, creator, binder, caster) {
  type_.self_ = this;
  type_.next_ = registry_head;
  registry_head = &type_;
  ++registry_count;
}

LumoTypePtr::LumoTypePtr(const char* name, unsigned size, LumoBinder binder,
                         LumoConverter converter, LumoKind kind)
    : type_(name, size, binder, converter, kind) {
  type_.self_ = this;
  type_.next_ = registry_head;
  registry_head = &type_;
  ++registry_count;
}

LumoType* LumoType::find(const char* wanted) {
  if (!wanted) return nullptr;
  static std::unordered_map<std::string, LumoType*> index;
  static unsigned indexed = 0;
  if (indexed != registry_count) {
    index.clear();
    // The list runs newest first; the first descriptor made under a name wins.
    for (LumoType* t = registry_head; t; t = t->next_)
      if (t->name) index[t->name] = t;
    indexed = registry_count;
  }
  auto it = index.find(wanted);
  return it == index.end() ? nullptr : it->second;
}

LumoType* LumoType::super(LumoTypePtr& base) {
  supers_.push_back(&*base);
  return this;
}

LumoType* LumoType::virtual_super(LumoTypePtr& base) { return super(base); }

LumoType* LumoType::superOffset(LumoTypePtr&, LumoTypePtr& base, unsigned offset) {
  for (Ancestor& a : ancestors_) {
    if (a.type == &*base) {
      a.offset = offset;
      return this;
    }
  }
  ancestors_.push_back({&*base, offset});
  return this;
}

LumoType* LumoType::schema(const char* schema_name) {
  schema_ = schema_name;
  return this;
}

LumoType* LumoType::variable(LumoTypePtr& type, const char* attribute_name, void* field) {
  long offset = -1;
  if (field && class_start_ && kind == LumoKind::object)
    offset = static_cast<long>(static_cast<char*>(field) - class_start_);
  variables_.push_back({&type, attribute_name, offset});
  return this;
}

LumoType* LumoType::variable(LumoTypePtr& type, const char* attribute_name, LumoTypePtr& holder,
                             long pointer_place, unsigned offset, unsigned record_size) {
  Variable v{&type, attribute_name, -1};
  if (pointer_place >= 0 && kind == LumoKind::object) {
    v.offset = pointer_place;
    v.aside = offset;
    v.aside_size = record_size;
    v.holder = &*holder;
  }
  variables_.push_back(v);
  return this;
}

LumoType* LumoType::enumerator(const char* enumerator_name, int value) {
  enumerators_.push_back({enumerator_name, value});
  return this;
}

void LumoType::bind() {
  if (bound_ || binding_) return;
  binding_ = true;
  class_start_ = prototype ? static_cast<char*>(prototype->_address()) : nullptr;
  if (binder) binder(*self_);
  bound_ = true;
  binding_ = false;
}

long LumoType::offsetOf(const LumoType* base) {
  if (!base) return -1;
  if (base == this) return 0;
  bind();
  for (const Ancestor& a : ancestors_)
    if (a.type == base) return a.offset;
  return -1;
}

LumoObject* LumoType::toObject(void* start) const {
  if (!start) return nullptr;
  return caster ? caster(start) : static_cast<LumoObject*>(start);
}

void LumoType::force_load() {
  bind();
  if (!domain) acquireDomain();
}

// The domain is entered before its supertypes and attributes are filled in,
// so that types that refer to each other (a domain and its attribute list)
// find it while it is being made.
LumoDomain* LumoType::acquireDomain() {
  if (domain) return domain;
  bind();
  LumoDesignSection* section = LUMO.dictionary()->defaultSection();
  void* place = lumo_new(sizeof(LumoDomain), section, nullptr, lumotype_LumoDomain);
  if (!place) return nullptr;
  LumoDomain* made = ::new (place) LumoDomain();
  made->name_ = section->copy(name);
  made->setType(this);
  domain = made;
  for (LumoType* s : supers_)
    if (LumoDomain* d = s->acquireDomain()) made->supertypes()->add(d);
  ListOfLumoAttribute* attributes = made->typeImmediateAttributes();
  auto add_attribute = [&](const char* attribute_name, LumoDomain* values) {
    void* at = lumo_new(sizeof(LumoAttribute), section, nullptr, lumotype_LumoAttribute);
    if (!at) return static_cast<LumoAttribute*>(nullptr);
    LumoAttribute* a = ::new (at) LumoAttribute();
    a->name = section->copy(attribute_name);
    a->domain = values;
    a->setOwner(made);
    attributes->add(a);
    return a;
  };
  for (const Variable& v : variables_) {
    if (LumoAttribute* a = add_attribute(v.name, (*v.type)->acquireDomain())) a->bindField(v);
  }
  for (const Enumerator& e : enumerators_) {
    if (LumoAttribute* a = add_attribute(e.name, lumotype_int->acquireDomain()))
      a->setPosition(e.value);
  }
  made->clearModified();
  return domain;
}
