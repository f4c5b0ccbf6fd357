// Aggregates: untyped lists, arrays, bags and sets over one element storage,
// and the ready-made typed aggregates of plain values and runtime objects.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "lumo_object.h"

class LumoAggregate : public LumoObject {
 public:
  // How the element storage is to be read.
  enum class Elements : unsigned char { pointer, integer, real, single, text, boolean };

  LumoAggregate(Elements kind, unsigned capacity);
  LumoAggregate(const LumoAggregate& other);
  LumoAggregate& operator=(const LumoAggregate& other);
  ~LumoAggregate() override;

  void* _address() override;
  LumoTypePtr& classType() override;
  using LumoObject::getAttribute;
  // The one attribute of an aggregate is its element, named after its type.
  LumoAttribute* getAttribute(const char* name) override;
  char size(unsigned n, int fill) override;
  unsigned size() final { return size_; }
  char capacity(unsigned n) override;
  unsigned capacity() final { return capacity_; }
  unsigned recordSize() override;
  unsigned recordCount() override { return size_; }
  void display(unsigned indent = 0, char deep = 0) override;
  char isEqual(LumoObject* other, unsigned depth = 0, char deep = 0) override;
  void _findObjects(LumoDomain* domain, LumoAggregate* out, unsigned depth, char deep,
                    char seen) override;
  LumoDataPtr data() final {
    if (isPacked()) unpack();
    return LumoDataPtr(elements_);
  }
  LumoDataPtr slotAddress(LumoAttribute* attribute, unsigned i) override;
  LumoTypePtr& slotType(LumoAttribute* attribute, unsigned i) override;

  virtual char isObjectAllowed(LumoObject* object, unsigned i);
  virtual char addObject(LumoObject* object);
  virtual void emptyYourself();

  // Untyped element operations. For pointer storage the element is of the
  // class that type describes, and is converted to the element type.
  char _add(void* element, LumoTypePtr& type);
  char _addIfAbsent(void* element, LumoTypePtr& type);
  unsigned _find(void* element, LumoTypePtr& type);
  unsigned _find(int value);
  char _remove(void* element, LumoTypePtr& type);
  char _remove(int value);

  // Gives a copy element storage of its own, holding the same elements (copies share theirs).
  void ownElements();

  Elements elementKind() const { return static_cast<Elements>((flags_ >> kKindShift) & kKindMask); }

  // Packed storage. A list of value structures made only of reals (points and the like, which
  // fill real files by the hundred thousand) may hold just their reals, width of them an
  // element, one after the other in its element block, instead of an object for each element
  // and a pointer to it; a list of selects of entities, a word an element (see
  // LumoObjectAggregate::packable_entities), width 1. The reader fills lists so. The element
  // objects are made when anything first asks for an element or the element storage (operator[],
  // data(), find, a store, the dictionary's walks): all of them at once, in the list's section,
  // after which the list is an ordinary list of pointers for good. So an element object, once
  // handed out, lives as long as its design, and is the same object each time it is asked for, as
  // in any list.
  bool isPacked() const { return packedWidth() != 0; }
  unsigned packedWidth() const { return (flags_ & kWidthBits) >> kChoiceShift; }
  // The reals of element i while a list of reals is packed; null when it isn't, or i is past
  // the end.
  const double* packedAt(unsigned i) const {
    return isPacked() && !hasPackedRows() && i < size_
               ? static_cast<const double*>(elements_) + i * packedWidth()
               : nullptr;
  }
  // A list of such lists (the rows of a surface's net of points) may be packed as a whole: one
  // block of reals, row after row, every row as long; its row lists are made, as views on
  // that block that are packed lists themselves, when anything first asks for a row.
  bool hasPackedRows() const { return (flags_ & kPackedRows) != 0; }
  // The elements of every row while the rows are packed (0 when they aren't).
  unsigned packedRowLength() const {
    return hasPackedRows() ? static_cast<unsigned>(*static_cast<const double*>(elements_)) : 0;
  }
  // The reals of element j of row i while the rows are packed; null when they aren't, or i or
  // j is past the end.
  const double* packedRowAt(unsigned i, unsigned j) const {
    const unsigned n = packedRowLength();
    return i < size_ && j < n ? static_cast<const double*>(elements_) + 1 +
                                    (std::size_t{i} * n + j) * packedWidth()
                              : nullptr;
  }
  // Makes this empty list a packed view of n elements of width reals at values, storage that
  // another list holds and that lives as long as the design (a row of packed rows).
  void viewPacked(unsigned width, const double* values, unsigned n);
  // Position of the element that is object (converted to the element class).
  unsigned find_object(LumoObject* object);

 protected:
  // The design's walk for objects of a domain makes addObject's checks once for each class.
  friend class LumoDesign;

  virtual char _allocateElements(unsigned n);
  // The section that holds the elements: the list's, or the runtime's own for a list of no
  // design.
  LumoDesignSection* elementSection();
  // Makes the element objects of a packed list (see isPacked); nothing for a list that can't be
  // packed.
  virtual void unpack() {}
  // Starts packed storage of width reals an element, with room for capacity elements; only on
  // an empty list that holds no storage yet. False when memory runs out.
  char startPacked(unsigned width, unsigned capacity);
  // The reals of count more elements of a packed list, zero; null when memory runs out.
  double* appendPacked(unsigned count = 1);
  // Leaves packed storage: the list is empty and ordinary; answers the reals it held (for
  // packed rows, from the first row on).
  const double* leavePacked();
  // Starts packed rows (see hasPackedRows) on an empty list that holds no storage yet: rows rows
  // of columns elements of width reals, zero, to be filled at packedRowAt. False when memory
  // runs out or there is nothing to hold.
  char startPackedRows(unsigned width, unsigned rows, unsigned columns);
  // Element i as the bytes of one value; for text a char*.
  char* at(unsigned i) {
    if (isPacked()) unpack();
    return static_cast<char*>(elements_) + i * width();
  }
  unsigned width() const {
    switch (elementKind()) {
      case Elements::integer:
      case Elements::single:
        return 4;
      case Elements::boolean:
        return 1;
      default:
        return 8;  // pointers, text and reals
    }
  }
  bool equalAt(unsigned i, const void* value) const;
  void storeAt(unsigned i, const void* value);  // text values are copied
  char insertAt(unsigned i, const void* value);
  char removeAt(unsigned i);
  bool unique() const { return (flags_ & kUnique) != 0; }
  void setUnique(bool unique) { flags_ = unique ? flags_ | kUnique : flags_ & ~kUnique; }
  // Converts an element pointer of type to the element class of this list.
  void* convertIn(void* element, LumoTypePtr& type);

  // The flags word beyond the object's own flags holds the width of packed elements (bits 8 to
  // 15), the element kind and whether the aggregate is a set (adding an element already present
  // is a no-op), which keeps an aggregate at 32 bytes.
  enum : unsigned {
    kWidthBits = 0xffu << kChoiceShift,
    kKindShift = 16,
    kKindMask = 7,
    kUnique = 1u << 19,
    kPackedRows = 1u << 20,  // packed rows: the storage starts with the row length
  };

  void* elements_ = nullptr;
  unsigned size_ = 0;
  unsigned capacity_ = 0;
};

class LumoList : public LumoAggregate {
 public:
  using LumoAggregate::LumoAggregate;
  void* _address() override;
  LumoTypePtr& classType() override;
};

class LumoArray : public LumoAggregate {
 public:
  using LumoAggregate::LumoAggregate;
  void* _address() override;
  LumoTypePtr& classType() override;
};

// Lists of references. Slots may hold the delayed word until loaded.
class LumoPtrList : public LumoList {
 public:
  explicit LumoPtrList(unsigned capacity = 0) : LumoList(Elements::pointer, capacity) {}
  void* _address() override;
  LumoTypePtr& classType() override;
  char _put(void* element, LumoTypePtr& type, unsigned i);     // replace element i
  char _insert(void* element, LumoTypePtr& type, unsigned i);  // insert before i
};

class LumoPtrArray : public LumoArray {
 public:
  explicit LumoPtrArray(unsigned capacity = 0) : LumoArray(Elements::pointer, capacity) {}
  void* _address() override;
  LumoTypePtr& classType() override;
  char _put(void* element, LumoTypePtr& type, unsigned i);  // store at i, growing
};

class LumoPtrBag : public LumoList {
 public:
  explicit LumoPtrBag(unsigned capacity = 0) : LumoList(Elements::pointer, capacity) {}
  void* _address() override;
  LumoTypePtr& classType() override;
};

class LumoPtrSet : public LumoList {
 public:
  explicit LumoPtrSet(unsigned capacity = 0) : LumoList(Elements::pointer, capacity) {
    setUnique(true);
  }
  void* _address() override;
  LumoTypePtr& classType() override;
};

// An array of enumerator positions; -1 is the null value.
class LumoEnumArray : public LumoArray {
 public:
  explicit LumoEnumArray(unsigned capacity = 0) : LumoArray(Elements::integer, capacity) {}
  void* _address() override;
  LumoTypePtr& classType() override;
  char _put(int value, unsigned i);  // store at i, growing
};

// Ready-made typed aggregates. Kind is List, Array, Set or Bag; T the value.
enum class LumoAggKind { list, array, set, bag };

template <class T>
struct LumoElementTraits;

template <class T, LumoAggKind K, LumoTypePtr& Self, LumoTypePtr& Elem>
class LumoTypedAggregate : public std::conditional_t<K == LumoAggKind::array, LumoArray, LumoList> {
  using Base = std::conditional_t<K == LumoAggKind::array, LumoArray, LumoList>;
  // Text goes in as const char* and is copied into the design.
  using In = std::conditional_t<std::is_same_v<T, char*>, const char*, T>;

 public:
  explicit LumoTypedAggregate(unsigned capacity = 0) : Base(LumoElementTraits<T>::kind, capacity) {
    this->setUnique(K == LumoAggKind::set);
  }
  LUMO_HOT void* _address() override { return this; }
  LUMO_HOT LumoTypePtr& classType() override { return Self; }
  LumoTypePtr& slotType(LumoAttribute*, unsigned) override { return Elem; }

  // Appends (for a set: unless present); chains. Not for arrays.
  LumoTypedAggregate& add(In value) requires(K != LumoAggKind::array) {
    if (!this->unique() || find(value) == ~0u) this->insertAt(this->size_, &value);
    return *this;
  }
  LumoTypedAggregate& addIfAbsent(In value) requires(K != LumoAggKind::array) {
    if (find(value) == ~0u) this->insertAt(this->size_, &value);
    return *this;
  }
  // Stores at i; an array grows to hold i, a list replaces an existing element.
  LumoTypedAggregate& put(In value, unsigned i) {
    if (i < this->size_) {
      this->storeAt(i, &value);
    } else if (K == LumoAggKind::array && this->size(i + 1, -1)) {
      this->storeAt(i, &value);
    }
    return *this;
  }
  unsigned find(In value) {
    for (unsigned i = 0; i < this->size_; ++i)
      if (this->equalAt(i, &value)) return i;
    return ~0u;
  }
  char contains(In value) { return find(value) != ~0u; }
  void removeValue(In value) {
    unsigned i = find(value);
    if (i != ~0u) this->removeAt(i);
  }
  // Checked: past the end answers the null value of T.
  T operator[](unsigned i) { return i < this->size_ ? _element(i) : T{}; }
  T get(unsigned i) { return (*this)[i]; }
  T _element(unsigned i) { return reinterpret_cast<T*>(this->elements_)[i]; }
  T first() { return this->size_ ? _element(0) : T{}; }
  T last() { return this->size_ ? _element(this->size_ - 1) : T{}; }
  T* _data() { return reinterpret_cast<T*>(this->elements_); }
};

template <>
struct LumoElementTraits<int> {
  static constexpr LumoAggregate::Elements kind = LumoAggregate::Elements::integer;
};
template <>
struct LumoElementTraits<double> {
  static constexpr LumoAggregate::Elements kind = LumoAggregate::Elements::real;
};
template <>
struct LumoElementTraits<float> {
  static constexpr LumoAggregate::Elements kind = LumoAggregate::Elements::single;
};
template <>
struct LumoElementTraits<char*> {
  static constexpr LumoAggregate::Elements kind = LumoAggregate::Elements::text;
};
template <>
struct LumoElementTraits<const char*> {
  static constexpr LumoAggregate::Elements kind = LumoAggregate::Elements::text;
};
template <>
struct LumoElementTraits<char> {
  static constexpr LumoAggregate::Elements kind = LumoAggregate::Elements::boolean;
};

// Aggregates of runtime objects: the element is a LumoObject pointer and reads
// follow the delayed-reference rule.
template <class X, LumoAggKind K, LumoTypePtr& Self, LumoTypePtr& Elem>
class LumoObjectAggregate
    : public std::conditional_t<
          K == LumoAggKind::array, LumoPtrArray,
          std::conditional_t<K == LumoAggKind::set, LumoPtrSet,
                             std::conditional_t<K == LumoAggKind::bag, LumoPtrBag, LumoPtrList>>> {
  using Base = std::conditional_t<
      K == LumoAggKind::array, LumoPtrArray,
      std::conditional_t<K == LumoAggKind::set, LumoPtrSet,
                         std::conditional_t<K == LumoAggKind::bag, LumoPtrBag, LumoPtrList>>>;

 public:
  using element_type = X;
  explicit LumoObjectAggregate(unsigned capacity = 0) : Base(capacity) {}
  // An empty list that will hold n elements packed (see LumoAggregate::isPacked), for element
  // classes made only of reals: X names their number in lumo_packed_width and makes an element
  // from them with from_packed.
  static constexpr bool packable = requires { X::lumo_packed_width; };
  // Lists of such lists can hold packed rows (LumoAggregate::hasPackedRows).
  static constexpr bool packable_rows = requires { X::element_type::lumo_packed_width; };
  // The reals of rows x columns elements, zero, row after row, for the reader to fill; null
  // (and the list empty and ordinary) when there are none or memory runs out.
  double* startRows(unsigned rows, unsigned columns) requires packable_rows {
    if (!this->startPackedRows(X::element_type::lumo_packed_width, rows, columns)) return nullptr;
    return const_cast<double*>(this->packedRowAt(0, 0));
  }
  // Lists of selects whose every choice is an entity can hold, while packed, one word for each
  // element instead of a select object and a pointer to it: the entity, from which the select
  // takes the first choice that the entity's class fits; 0 for a null element; or, for a select
  // that holds no entity, an odd word: twice the place of its choice (from 1; 0 for none), plus
  // one. X names its entity class in lumo_packed_entity and makes its selects with from_entity.
  static constexpr bool packable_entities = K == LumoAggKind::list && requires {
    typename X::lumo_packed_entity;
  };
  explicit LumoObjectAggregate(unsigned capacity,
                               bool packed) requires(packable || packable_entities)
      : Base(0) {
    if (!packed || !this->startPacked(packed_width(), capacity)) this->capacity(capacity);
  }
  // Starts packed storage on a list of no elements and no storage yet; false, and nothing
  // done, on any other.
  bool packEntities(unsigned capacity) requires packable_entities {
    return this->startPacked(1, capacity);
  }
  // Appends the select that takes the first choice whose class entity is of (entity must be of
  // one), or a null element for a null entity: a word while the list is packed, else an object.
  template <class E>
  void addChosen(E* entity) requires packable_entities {
    using Entity = typename X::lumo_packed_entity;
    addWord(reinterpret_cast<std::uintptr_t>(static_cast<Entity*>(entity)));
  }
  // Appends a select that holds no entity: its choice the one at place (from 1), none for 0.
  void addUnchosen(unsigned place) requires packable_entities {
    addWord(std::uintptr_t{place} << 1 | 1);
  }
  // The entity of element i in either state, without making element objects: null for a null
  // element, a select that holds none, or i past the end.
  auto* entityAt(unsigned i) requires packable_entities {
    using Entity = typename X::lumo_packed_entity;
    if (i >= this->size_) return static_cast<Entity*>(nullptr);
    if (this->isPacked()) {
      const std::uintptr_t word = static_cast<const std::uintptr_t*>(this->elements_)[i];
      return word & 1 ? static_cast<Entity*>(nullptr) : reinterpret_cast<Entity*>(word);
    }
    X* element = _element(i);
    return element ? static_cast<Entity*>(element->entity()) : static_cast<Entity*>(nullptr);
  }
  // Appends an element given by its reals: packed while the list is packed, else an object.
  // Room for the reals of count more elements at the end of a packed list, zero; null when
  // the list isn't packed or memory runs out.
  double* addValuesRoom(unsigned count) requires packable {
    return this->isPacked() ? this->appendPacked(count) : nullptr;
  }
  void addValues(const double* values) requires packable {
    if (this->isPacked()) {
      if (double* room = this->appendPacked())
        std::copy(values, values + X::lumo_packed_width, room);
      return;
    }
    X* element = X::from_packed(this->elementSection(), values);
    if (element) this->insertAt(this->size_, &element);
  }
  LUMO_HOT void* _address() override { return this; }
  LUMO_HOT LumoTypePtr& classType() override { return Self; }
  LumoTypePtr& slotType(LumoAttribute*, unsigned) override { return Elem; }

  // An array has fixed places: it is stored into with put, never appended to.
  LumoObjectAggregate& add(X* value) requires(K != LumoAggKind::array) {
    // An X* is of the element class already: only a set has more to do than append.
    if constexpr (K == LumoAggKind::set)
      this->_add(value, Elem);
    else
      this->insertAt(this->size_, &value);
    return *this;
  }
  LumoObjectAggregate& addIfAbsent(X* value) requires(K != LumoAggKind::array) {
    this->_addIfAbsent(value, Elem);
    return *this;
  }
  LumoObjectAggregate& put(X* value, unsigned i) {
    if constexpr (K == LumoAggKind::array) {
      this->_put(value, Elem, i);
    } else if (i < this->size_) {
      this->storeAt(i, &value);
    }
    return *this;
  }
  // Inserts before i (at the end past it).
  LumoObjectAggregate& insert(X* value, unsigned i) requires(K != LumoAggKind::array) {
    this->insertAt(i, &value);
    return *this;
  }
  unsigned find(X* value) { return this->_find(value, Elem); }
  char contains(X* value) { return find(value) != ~0u; }
  void removeValue(X* value) { this->_remove(value, Elem); }
  X* operator[](unsigned i) { return i < this->size() ? _element(i) : nullptr; }
  X* get(unsigned i) { return (*this)[i]; }
  X* _element(unsigned i) {
    void** slot = reinterpret_cast<void**>(this->data().v) + i;
    if (lumo_is_delayed(*slot) && !this->_resolveExternal(slot, this->getAttribute(nullptr), i))
      return nullptr;
    return static_cast<X*>(*slot);
  }
  X* first() { return this->size() ? _element(0) : nullptr; }
  X* last() { return this->size() ? _element(this->size() - 1) : nullptr; }
  X** _data() { return reinterpret_cast<X**>(this->data().v); }

 protected:
  void unpack() override {
    if constexpr (packable_rows) {
      if (!this->hasPackedRows()) return;
      const unsigned rows = this->size_, columns = this->packedRowLength();
      const unsigned width = this->packedWidth();
      const double* values = this->leavePacked();
      LumoDesignSection* section = this->elementSection();
      if (!this->_allocateElements(rows)) return;
      X** slots = reinterpret_cast<X**>(this->elements_);
      for (unsigned i = 0; i < rows; ++i) {
        if (!(slots[i] = new (section) X)) return;
        slots[i]->viewPacked(width, values + std::size_t{i} * columns * width, columns);
      }
      this->size_ = rows;
    }
    if constexpr (packable_entities) {
      if (!this->isPacked()) return;
      const unsigned n = this->size_;
      const auto* words =
          static_cast<const std::uintptr_t*>(static_cast<const void*>(this->leavePacked()));
      LumoDesignSection* section = this->elementSection();
      if (!this->_allocateElements(n)) return;
      X** slots = reinterpret_cast<X**>(this->elements_);
      for (unsigned i = 0; i < n; ++i)
        if (!(slots[i] = from_word(section, words[i])) && words[i]) return;
      this->size_ = n;
    }
    if constexpr (packable) {
      if (!this->isPacked()) return;
      unsigned n = this->size_;
      const double* values = this->leavePacked();
      LumoDesignSection* section = this->elementSection();
      if (!this->_allocateElements(n)) return;
      X** slots = reinterpret_cast<X**>(this->elements_);
      for (unsigned i = 0; i < n; ++i)
        if (!(slots[i] = X::from_packed(section, values + i * X::lumo_packed_width))) return;
      this->size_ = n;
    }
  }

 private:
  static constexpr unsigned packed_width() {
    if constexpr (packable)
      return X::lumo_packed_width;
    else
      return 1;
  }
  void addWord(std::uintptr_t word) {
    if (this->isPacked()) {
      if (void* room = this->appendPacked()) std::memcpy(room, &word, sizeof word);
      return;
    }
    X* element = from_word(this->elementSection(), word);
    if (element || !word) this->insertAt(this->size_, &element);
  }
  // The select that a packed word stands for; null for 0, or when memory runs out.
  static X* from_word(LumoDesignSection* section, std::uintptr_t word) {
    using Entity = typename X::lumo_packed_entity;
    if (!word) return nullptr;
    if (word & 1) return X::from_entity(section, nullptr, static_cast<unsigned>(word >> 1));
    return X::from_entity(section, reinterpret_cast<Entity*>(word), 0);
  }
};

// One named class per aggregate, so that applications can forward-declare it.
#define LUMO_AGGREGATE_CLASS(Name, Template, T, KIND, Elem)      \
  class Name : public Template<T, KIND, lumotype_##Name, Elem> { \
   public:                                                       \
    using Template<T, KIND, lumotype_##Name, Elem>::Template;    \
  };
#define LUMO_AGGREGATE_FAMILY(K, KIND)                                                   \
  LUMO_AGGREGATE_CLASS(K##Integer, LumoTypedAggregate, int, KIND, lumotype_int)          \
  LUMO_AGGREGATE_CLASS(K##Double, LumoTypedAggregate, double, KIND, lumotype_double)     \
  LUMO_AGGREGATE_CLASS(K##Float, LumoTypedAggregate, float, KIND, lumotype_float)        \
  LUMO_AGGREGATE_CLASS(K##String, LumoTypedAggregate, char*, KIND, lumotype_LumoSTR)     \
  LUMO_AGGREGATE_CLASS(K##Boolean, LumoTypedAggregate, char, KIND, lumotype_LumoBoolean) \
  LUMO_AGGREGATE_CLASS(K##LumoObject, LumoObjectAggregate, LumoObject, KIND, lumotype_LumoObject)
LUMO_AGGREGATE_FAMILY(ListOf, LumoAggKind::list)
LUMO_AGGREGATE_FAMILY(ArrayOf, LumoAggKind::array)
LUMO_AGGREGATE_FAMILY(SetOf, LumoAggKind::set)
LUMO_AGGREGATE_FAMILY(BagOf, LumoAggKind::bag)
LUMO_AGGREGATE_CLASS(ListOfLumoAttribute, LumoObjectAggregate, LumoAttribute, LumoAggKind::list,
                     lumotype_LumoAttribute)
LUMO_AGGREGATE_CLASS(ListOfLumoDomain, LumoObjectAggregate, LumoDomain, LumoAggKind::list,
                     lumotype_LumoDomain)
#undef LUMO_AGGREGATE_FAMILY
#undef LUMO_AGGREGATE_CLASS

// The object in an owner's slot, ready for a change through that owner: an object that many
// owners share is first copied (into the owner's section, or the heap for an owner of none),
// an aggregate with elements of its own, and the copy takes the slot. T is the slot's compiled
// class.
template <class T>
T* lumo_own(LumoObject* owner, T*& slot) {
  if (slot && !lumo_is_delayed(slot) && slot->isShared()) {
    LumoDesignSection* section = owner->design_section();
    T* copy = section ? new (section) T(*slot) : new T(*slot);
    if constexpr (std::is_base_of_v<LumoAggregate, T>) copy->ownElements();
    slot = copy;
  }
  return slot;
}
