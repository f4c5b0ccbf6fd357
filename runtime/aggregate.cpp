// Element storage and the operations of untyped aggregates.
#include <cstdio>
#include <cstring>

#include "lumo_internal.h"

using namespace lumo_detail;

LumoAggregate::LumoAggregate(Elements kind, unsigned capacity) {
  flags_ |= static_cast<unsigned>(kind) << kKindShift;
  if (capacity) _allocateElements(capacity);
}

// Copies share one element storage, packed or not.
LumoAggregate::LumoAggregate(const LumoAggregate& other)
    : LumoObject(other),
      elements_(other.elements_),
      size_(other.size_),
      capacity_(other.capacity_) {
  flags_ |= other.flags_ & (kWidthBits | kKindMask << kKindShift | kUnique | kPackedRows);
}

LumoAggregate& LumoAggregate::operator=(const LumoAggregate& other) {
  LumoObject::operator=(other);
  const unsigned own = kWidthBits | kKindMask << kKindShift | kUnique | kPackedRows;
  flags_ = (flags_ & ~own) | (other.flags_ & own);
  elements_ = other.elements_;
  size_ = other.size_;
  capacity_ = other.capacity_;
  return *this;
}

LumoAggregate::~LumoAggregate() = default;

void* LumoAggregate::_address() { return this; }
LumoTypePtr& LumoAggregate::classType() { return lumotype_LumoAggregate; }

unsigned LumoAggregate::recordSize() { return width(); }

// Element storage lives in the section of the aggregate (or in the runtime's
// own storage for an aggregate of no design); growing leaves the old block
// to be released with the section.
char LumoAggregate::_allocateElements(unsigned n) {
  if (isPacked()) unpack();
  if (n <= capacity_) return 1;
  if (n > (1u << 31) / width()) return 0;
  LumoDesignSection* section = design_section() ? design_section() : unowned_section();
  void* fresh = section->allocate(static_cast<std::size_t>(n) * width());
  if (!fresh) return 0;
  if (size_) std::memcpy(fresh, elements_, static_cast<std::size_t>(size_) * width());
  elements_ = fresh;
  capacity_ = n;
  return 1;
}

char LumoAggregate::capacity(unsigned n) { return _allocateElements(n); }

// New elements are zero (the null value -1 in an array of enumerators), or
// hold fill where the elements are numbers.
char LumoAggregate::size(unsigned n, int fill) {
  if (n > capacity_ && !_allocateElements(n)) return 0;
  // Asked once: a cast is dear, and arrays of reals grow here one element at a time.
  const bool enumerators = elementKind() == Elements::integer && dynamic_cast<LumoEnumArray*>(this);
  if (fill < 0 && enumerators) fill = -1;
  for (unsigned i = size_; i < n; ++i) {
    std::memset(at(i), 0, width());
    if (fill == -1 && enumerators) {
      *reinterpret_cast<int*>(at(i)) = -1;
      continue;
    }
    if (fill >= 0) {
      switch (elementKind()) {
        case Elements::integer:
          *reinterpret_cast<int*>(at(i)) = fill;
          break;
        case Elements::real:
          *reinterpret_cast<double*>(at(i)) = fill;
          break;
        case Elements::single:
          *reinterpret_cast<float*>(at(i)) = static_cast<float>(fill);
          break;
        case Elements::boolean:
          *at(i) = static_cast<char>(fill);
          break;
        default:
          break;
      }
    }
  }
  size_ = n;
  return 1;
}

LumoDesignSection* LumoAggregate::elementSection() {
  return design_section() ? design_section() : unowned_section();
}

char LumoAggregate::startPacked(unsigned width, unsigned capacity) {
  if (size_ || elements_ || width == 0 || width > 255) return 0;
  if (capacity > (1u << 28) / width) capacity = (1u << 28) / width;
  void* fresh = capacity
                    ? elementSection()->allocate(std::size_t{capacity} * width * sizeof(double))
                    : nullptr;
  if (capacity && !fresh) return 0;
  elements_ = fresh;
  capacity_ = capacity;
  flags_ |= width << kChoiceShift;
  return 1;
}

double* LumoAggregate::appendPacked(unsigned count) {
  const std::size_t element = std::size_t{packedWidth()} * sizeof(double);
  if (count > capacity_ - size_) {
    if (count > (1u << 28) / packedWidth() - size_) return nullptr;
    unsigned grown = capacity_ < 4 ? 4 : capacity_ * 2;
    if (grown < size_ + count) grown = size_ + count;
    if (grown > (1u << 28) / packedWidth()) grown = (1u << 28) / packedWidth();
    void* fresh = elementSection()->allocate(grown * element);
    if (!fresh) return nullptr;
    if (size_) std::memcpy(fresh, elements_, size_ * element);
    elements_ = fresh;
    capacity_ = grown;
  }
  modified();
  auto* room = reinterpret_cast<double*>(static_cast<char*>(elements_) + size_ * element);
  size_ += count;
  std::memset(room, 0, count * element);
  return room;
}

char LumoAggregate::startPackedRows(unsigned width, unsigned rows, unsigned columns) {
  if (size_ || elements_ || width == 0 || width > 255 || rows == 0 || columns == 0) return 0;
  const std::size_t reals = std::size_t{rows} * columns * width;
  if (reals > (std::size_t{1} << 28)) return 0;
  auto* fresh = static_cast<double*>(elementSection()->allocate((reals + 1) * sizeof(double)));
  if (!fresh) return 0;
  fresh[0] = columns;  // exact: a row length is far below 2^53
  elements_ = fresh;
  size_ = capacity_ = rows;
  flags_ |= width << kChoiceShift | kPackedRows;
  return 1;
}

void LumoAggregate::viewPacked(unsigned width, const double* values, unsigned n) {
  if (size_ || elements_ || width == 0 || width > 255) return;
  elements_ = const_cast<double*>(values);
  size_ = capacity_ = n;
  flags_ |= width << kChoiceShift;
}

const double* LumoAggregate::leavePacked() {
  auto* values = static_cast<const double*>(elements_);
  if (hasPackedRows()) ++values;
  flags_ &= ~(kWidthBits | kPackedRows);
  elements_ = nullptr;
  size_ = capacity_ = 0;
  return values;
}

void LumoAggregate::ownElements() {
  if (hasPackedRows()) unpack();
  const std::size_t bytes =
      std::size_t{size_} * (isPacked() ? packedWidth() * sizeof(double) : width());
  void* fresh = bytes ? elementSection()->allocate(bytes) : nullptr;
  if (fresh) std::memcpy(fresh, elements_, bytes);
  elements_ = fresh;
  if (!fresh) size_ = 0;  // no memory left: empty rather than shared
  capacity_ = size_;
  if (elementKind() != Elements::pointer || isPacked()) return;
  // Elements that are shared themselves become this aggregate's own too.
  LumoDomain* domain = getAttribute(nullptr) ? getAttribute(nullptr)->slotDomain() : nullptr;
  auto** slots = static_cast<void**>(elements_);
  for (unsigned i = 0; i < size_; ++i) {
    LumoObject* held =
        slots[i] && !lumo_is_delayed(slots[i]) ? from_slot(slots[i], domain) : nullptr;
    if (!held || !held->isShared()) continue;
    if (LumoObject* copy = own_copy(held, elementSection())) slots[i] = to_slot(copy, domain);
  }
}

bool LumoAggregate::equalAt(unsigned i, const void* value) const {
  if (isPacked()) const_cast<LumoAggregate*>(this)->unpack();
  const char* slot = static_cast<const char*>(elements_) + i * width();
  if (elementKind() == Elements::text) {
    const char* a = *reinterpret_cast<char* const*>(slot);
    const char* b = *static_cast<const char* const*>(value);
    return (!a || !b) ? a == b : std::strcmp(a, b) == 0;
  }
  return std::memcmp(slot, value, width()) == 0;
}

void LumoAggregate::storeAt(unsigned i, const void* value) {
  modified();
  if (elementKind() == Elements::text) {
    const char* text = *static_cast<const char* const*>(value);
    LumoDesignSection* section = design_section() ? design_section() : unowned_section();
    *reinterpret_cast<char**>(at(i)) = text ? section->copy(text) : nullptr;
  } else {
    std::memcpy(at(i), value, width());
  }
}

char LumoAggregate::insertAt(unsigned i, const void* value) {
  if (i > size_) i = size_;
  if (size_ == capacity_ && !_allocateElements(capacity_ < 4 ? 4 : capacity_ * 2)) return 0;
  if (i < size_) std::memmove(at(i + 1), at(i), static_cast<std::size_t>(size_ - i) * width());
  ++size_;
  storeAt(i, value);
  return 1;
}

char LumoAggregate::removeAt(unsigned i) {
  if (i >= size_) return 0;
  modified();
  std::memmove(at(i), at(i + 1), static_cast<std::size_t>(size_ - i - 1) * width());
  --size_;
  return 1;
}

void* LumoAggregate::convertIn(void* element, LumoTypePtr& type) {
  if (!element || lumo_is_delayed(element)) return element;
  LumoTypePtr& slot = slotType(nullptr, 0);
  if (&slot == &type) return element;
  return lumo_cast(type->toObject(element), slot);
}

char LumoAggregate::_add(void* element, LumoTypePtr& type) {
  if (elementKind() != Elements::pointer) return 0;
  void* value = convertIn(element, type);
  if (element && !value) return 0;
  if (unique() && value) {
    for (unsigned i = 0; i < size_; ++i)
      if (equalAt(i, &value)) return 1;
  }
  return insertAt(size_, &value);
}

char LumoAggregate::_addIfAbsent(void* element, LumoTypePtr& type) {
  if (_find(element, type) != ~0u) return 1;
  return _add(element, type);
}

unsigned LumoAggregate::_find(void* element, LumoTypePtr& type) {
  if (elementKind() != Elements::pointer) return ~0u;
  void* value = convertIn(element, type);
  if (element && !value) return ~0u;
  for (unsigned i = 0; i < size_; ++i)
    if (equalAt(i, &value)) return i;
  return ~0u;
}

unsigned LumoAggregate::_find(int value) {
  if (elementKind() != Elements::integer) return ~0u;
  for (unsigned i = 0; i < size_; ++i)
    if (equalAt(i, &value)) return i;
  return ~0u;
}

char LumoAggregate::_remove(void* element, LumoTypePtr& type) {
  unsigned i = _find(element, type);
  return i == ~0u ? 0 : removeAt(i);
}

char LumoAggregate::_remove(int value) {
  unsigned i = _find(value);
  return i == ~0u ? 0 : removeAt(i);
}

unsigned LumoAggregate::find_object(LumoObject* object) {
  if (elementKind() != Elements::pointer || !object) return ~0u;
  void* value = lumo_cast(object, slotType(nullptr, 0));
  if (!value) return ~0u;
  for (unsigned i = 0; i < size_; ++i)
    if (equalAt(i, &value)) return i;
  return ~0u;
}

char LumoAggregate::isObjectAllowed(LumoObject* object, unsigned) {
  if (elementKind() != Elements::pointer) return 0;
  if (!object) return 1;
  return object->isa(slotType(nullptr, 0));
}

char LumoAggregate::addObject(LumoObject* object) {
  if (!isObjectAllowed(object, size_)) return 0;
  if (unique() && find_object(object) != ~0u) return 1;
  void* value = object ? lumo_cast(object, slotType(nullptr, 0)) : nullptr;
  return insertAt(size_, &value);
}

void LumoAggregate::emptyYourself() {
  if (size_) modified();
  if (isPacked()) leavePacked();
  size_ = 0;
}

LumoAttribute* LumoAggregate::getAttribute(const char* name) {
  LumoDomain* d = domain();
  if (!d) return nullptr;
  ListOfLumoAttribute* own = d->typeImmediateAttributes();
  if (!name) return own->first();
  return own_attribute(d, name);
}

// Element i. An array grows to hold i; a list answers only what it holds.
LumoDataPtr LumoAggregate::slotAddress(LumoAttribute*, unsigned i) {
  if (i >= size_) {
    if (!dynamic_cast<LumoArray*>(this) || i == ~0u || !size(i + 1, -1)) return LumoDataPtr();
  }
  return LumoDataPtr(at(i));
}

LumoTypePtr& LumoAggregate::slotType(LumoAttribute*, unsigned) {
  switch (elementKind()) {
    case Elements::integer:
      return dynamic_cast<LumoEnumArray*>(this) ? lumotype_LumoEnum : lumotype_int;
    case Elements::real:
      return lumotype_double;
    case Elements::single:
      return lumotype_float;
    case Elements::text:
      return lumotype_LumoSTR;
    case Elements::boolean:
      return lumotype_LumoBoolean;
    case Elements::pointer:
      break;
  }
  return lumotype_LumoObject;
}

void LumoAggregate::display(unsigned indent, char deep) {
  LumoDomain* d = domain();
  std::printf("%*s%s[%u]\n", static_cast<int>(indent), "", d && d->name() ? d->name() : "?", size_);
  for (unsigned i = 0; i < size_; ++i) {
    std::printf("%*s  [%u] ", static_cast<int>(indent), "", i);
    switch (elementKind()) {
      case Elements::integer:
        std::printf("%d\n", *reinterpret_cast<int*>(at(i)));
        break;
      case Elements::real:
        std::printf("%.15g\n", *reinterpret_cast<double*>(at(i)));
        break;
      case Elements::single:
        std::printf("%.7g\n", static_cast<double>(*reinterpret_cast<float*>(at(i))));
        break;
      case Elements::boolean:
        std::printf("%s\n", *at(i) ? "true" : "false");
        break;
      case Elements::text: {
        char* text = *reinterpret_cast<char**>(at(i));
        std::printf(text ? "\"%s\"\n" : "null\n", text);
        break;
      }
      case Elements::pointer: {
        void* p = *reinterpret_cast<void**>(at(i));
        if (lumo_is_delayed(p)) {
          std::printf("<not loaded>\n");
        } else if (!p) {
          std::printf("null\n");
        } else {
          LumoObject* o = slotType(nullptr, i)->toObject(p);
          if (deep) {
            std::printf("\n");
            o->display(indent + 4, deep);
          } else {
            std::printf("<%s>\n", o->domain() ? o->domain()->name() : "?");
          }
        }
        break;
      }
    }
  }
}

char LumoAggregate::isEqual(LumoObject* other, unsigned depth, char deep) {
  if (other == this) return 1;
  auto* that = dynamic_cast<LumoAggregate*>(other);
  if (!that || that->elementKind() != elementKind() || that->size_ != size_ ||
      &other->classType() != &classType())
    return 0;
  for (unsigned i = 0; i < size_; ++i) {
    if (equalAt(i, that->at(i))) continue;
    if (elementKind() != Elements::pointer || !deep || depth == 0) return 0;
    void* a = *reinterpret_cast<void**>(at(i));
    void* b = *reinterpret_cast<void**>(that->at(i));
    if (!a || !b || lumo_is_delayed(a) || lumo_is_delayed(b)) return 0;
    LumoType& t = *slotType(nullptr, i);
    if (!t.toObject(a)->isEqual(t.toObject(b), depth - 1, deep)) return 0;
  }
  return 1;
}

void LumoAggregate::_findObjects(LumoDomain* target, LumoAggregate* out, unsigned depth, char deep,
                                 char seen) {
  LumoObject::_findObjects(target, out, 0, 0, seen);
  if (elementKind() != Elements::pointer) return;
  LumoType& t = *slotType(nullptr, 0);
  for (unsigned i = 0; i < size_; ++i) {
    void* p = *reinterpret_cast<void**>(at(i));
    if (!p || lumo_is_delayed(p)) continue;
    LumoObject* o = t.toObject(p);
    if (o == out) continue;
    if (deep && depth > 0)
      o->_findObjects(target, out, depth - 1, deep, 1);
    else if (o->isa(target) && out->find_object(o) == ~0u)
      out->addObject(o);
  }
}

// --- the aggregate classes ---------------------------------------------------

void* LumoList::_address() { return this; }
LumoTypePtr& LumoList::classType() { return lumotype_LumoList; }
void* LumoArray::_address() { return this; }
LumoTypePtr& LumoArray::classType() { return lumotype_LumoArray; }
void* LumoPtrList::_address() { return this; }
LumoTypePtr& LumoPtrList::classType() { return lumotype_LumoPtrList; }
void* LumoPtrArray::_address() { return this; }
LumoTypePtr& LumoPtrArray::classType() { return lumotype_LumoPtrArray; }
void* LumoPtrBag::_address() { return this; }
LumoTypePtr& LumoPtrBag::classType() { return lumotype_LumoPtrBag; }
void* LumoPtrSet::_address() { return this; }
LumoTypePtr& LumoPtrSet::classType() { return lumotype_LumoPtrSet; }
void* LumoEnumArray::_address() { return this; }
LumoTypePtr& LumoEnumArray::classType() { return lumotype_LumoEnumArray; }

char LumoPtrList::_put(void* element, LumoTypePtr& type, unsigned i) {
  if (i >= size_) return 0;
  void* value = convertIn(element, type);
  if (element && !value) return 0;
  storeAt(i, &value);
  return 1;
}

char LumoPtrList::_insert(void* element, LumoTypePtr& type, unsigned i) {
  void* value = convertIn(element, type);
  if (element && !value) return 0;
  return insertAt(i, &value);
}

char LumoPtrArray::_put(void* element, LumoTypePtr& type, unsigned i) {
  void* value = convertIn(element, type);
  if (element && !value) return 0;
  if (i >= size_ && (i == ~0u || !size(i + 1, -1))) return 0;
  storeAt(i, &value);
  return 1;
}

char LumoEnumArray::_put(int value, unsigned i) {
  if (i >= size_ && (i == ~0u || !size(i + 1, -1))) return 0;
  storeAt(i, &value);
  return 1;
}
