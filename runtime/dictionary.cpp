// Domains and attributes of the run-time dictionary.
#include <cstring>

#include "lumo_internal.h"

using namespace lumo_detail;

LumoTypePtr& LumoAttribute::classType() { return lumotype_LumoAttribute; }
LumoTypePtr& LumoDomain::classType() { return lumotype_LumoDomain; }

LumoObject* LumoDomain::pnewInstance() {
  LumoDesign* design = LUMO.design();
  return design ? design->pnewInstance(this, 0) : nullptr;
}

// Lists made on demand go into the domain's own section.
ListOfLumoAttribute* LumoDomain::typeImmediateAttributes() {
  if (lumo_is_delayed(listOfAttribute) && !lumo_access_object(this, &listOfAttribute))
    return nullptr;
  if (!listOfAttribute) {
    modified();
    LumoDesignSection* section = design_section() ? design_section() : unowned_section();
    listOfAttribute = ::new (lumo_new(sizeof(ListOfLumoAttribute), section, nullptr,
                                      lumotype_ListOfLumoAttribute)) ListOfLumoAttribute(0);
  }
  return listOfAttribute;
}

ListOfLumoDomain* LumoDomain::supertypes() {
  if (lumo_is_delayed(listOfSuper) && !lumo_access_object(this, &listOfSuper)) return nullptr;
  if (!listOfSuper) {
    modified();
    LumoDesignSection* section = design_section() ? design_section() : unowned_section();
    listOfSuper =
        ::new (lumo_new(sizeof(ListOfLumoDomain), section, nullptr, lumotype_ListOfLumoDomain))
            ListOfLumoDomain(0);
  }
  return listOfSuper;
}

static LumoAttribute* find_attribute(LumoDomain* domain, const char* name, unsigned depth) {
  if (!domain || depth > 64) return nullptr;
  if (LumoAttribute* own = own_attribute(domain, name)) return own;
  ListOfLumoDomain* supers = domain->listOfSuper;
  if (!supers || lumo_is_delayed(supers)) return nullptr;
  for (unsigned i = 0, n = supers->size(); i < n; ++i)
    if (LumoAttribute* found = find_attribute((*supers)[i], name, depth + 1)) return found;
  return nullptr;
}

LumoAttribute* LumoDomain::findTypeAttribute(const char* attribute_name) {
  if (!attribute_name) return nullptr;
  for (const Found& place : found_inherited_)
    if (place.name == attribute_name && std::strcmp(place.attribute->name, attribute_name) == 0)
      return place.attribute;
  LumoAttribute* found = find_attribute(this, attribute_name, 0);
  if (found) found_inherited_[found_next_++ & 3] = Found{attribute_name, found};
  return found;
}

LumoAttribute* LumoDomain::findTypeAttributeByFixedName(const char* fixed_name) {
  for (const Found& place : found_inherited_)
    if (fixed_name && place.name == fixed_name) return place.attribute;
  return findTypeAttribute(fixed_name);
}

static void collect(LumoDomain* domain, lumo_vector& out, unsigned depth) {
  if (!domain || depth > 64) return;
  ListOfLumoDomain* supers = domain->listOfSuper;
  if (supers && !lumo_is_delayed(supers))
    for (unsigned i = 0, n = supers->size(); i < n; ++i) collect((*supers)[i], out, depth + 1);
  ListOfLumoAttribute* own = domain->listOfAttribute;
  if (!own || lumo_is_delayed(own)) return;
  for (unsigned i = 0, n = own->size(); i < n; ++i) {
    LumoAttribute* a = (*own)[i];
    if (!a) continue;
    bool present = false;
    for (void* p : out) present = present || p == a;
    if (!present) out.append(a);
  }
}

void LumoDomain::allAttributes(lumo_vector& out) { collect(this, out, 0); }

static bool subtype(LumoDomain* domain, LumoDomain* other, unsigned depth) {
  if (!domain || depth > 64) return false;
  if (domain == other) return true;
  if (domain->name() && other->name() && std::strcmp(domain->name(), other->name()) == 0)
    return true;
  ListOfLumoDomain* supers = domain->listOfSuper;
  if (!supers || lumo_is_delayed(supers)) return false;
  for (unsigned i = 0, n = supers->size(); i < n; ++i)
    if (subtype((*supers)[i], other, depth + 1)) return true;
  return false;
}

bool LumoDomain::isSubtypeOf(LumoDomain* other) { return other && subtype(this, other, 0); }

bool LumoDomain::isEnumeration() { return kind_of(this) == LumoKind::enumeration; }

namespace lumo_detail {

LumoAttribute* own_attribute(LumoDomain* domain, const char* name) {
  if (!domain || !name) return nullptr;
  // Asked with the attribute's own name (a select told which of its choices to take): no
  // compare at all. Otherwise one compare confirms the hit, since a caller may reuse a
  // buffer for another name.
  if (domain->found_attribute_ && name == domain->found_attribute_->name)
    return domain->found_attribute_;
  if (name == domain->found_name_ && std::strcmp(domain->found_attribute_->name, name) == 0)
    return domain->found_attribute_;
  ListOfLumoAttribute* own = domain->listOfAttribute;
  if (!own || lumo_is_delayed(own)) return nullptr;
  for (unsigned i = 0, n = own->size(); i < n; ++i) {
    LumoAttribute* a = (*own)[i];
    if (a && a->name && std::strcmp(a->name, name) == 0) {
      domain->found_name_ = name;
      domain->found_attribute_ = a;
      return a;
    }
  }
  return nullptr;
}

LumoType* type_of(LumoDomain* domain) {
  if (!domain) return nullptr;
  if (!domain->type() && domain->name()) {
    LumoType* found = LumoType::find(domain->name());
    if (found) domain->setType(found);
  }
  return domain->type();
}

LumoKind kind_of(LumoDomain* domain) {
  LumoType* type = type_of(domain);
  if (type) return type->kind;
  LumoType& enumeration = *lumotype_LumoEnum;
  if (domain && enumeration.domain && domain != enumeration.domain &&
      domain->isSubtypeOf(enumeration.domain))
    return LumoKind::enumeration;
  return LumoKind::object;
}

void* to_slot(LumoObject* value, LumoDomain* domain) {
  if (!value) return nullptr;
  LumoType* type = type_of(domain);
  if (!type || type->kind != LumoKind::object) return value;
  return lumo_cast(value, *type->self());
}

LumoObject* from_slot(void* slot_value, LumoDomain* domain) {
  if (!slot_value || lumo_is_delayed(slot_value)) return nullptr;
  LumoType* type = type_of(domain);
  if (!type || type->kind != LumoKind::object) return static_cast<LumoObject*>(slot_value);
  return type->toObject(slot_value);
}

}  // namespace lumo_detail
