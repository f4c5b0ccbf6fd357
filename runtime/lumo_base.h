// Basic vocabulary of the Lumo object runtime: forward declarations, the
// delayed-reference word, the untyped slot pointer and the two plain
// pointer containers.
#pragma once

#include <cstddef>
#include <cstdint>

// The functions that a read runs for every entity it makes (the reader's own, the entity
// classes' parameter and directory code, the casts and creators they call) are kept together
// in the libraries' hot part of their code: a read then touches a few pages of code, not one
// or two for every class it meets among hundreds.
#if defined(__GNUC__)
#define LUMO_HOT __attribute__((hot))
#else
#define LUMO_HOT
#endif

class LumoObject;
class LumoStructure;
class LumoUnion;
class LumoAggregate;
class LumoList;
class LumoArray;
class LumoPtrList;
class LumoPtrArray;
class LumoPtrBag;
class LumoPtrSet;
class LumoEnumArray;
class LumoDomain;
class LumoAttribute;
class ListOfLumoAttribute;
class ListOfLumoDomain;
class LumoDesign;
class LumoDesignSection;
class LumoType;
class LumoTypePtr;
class LumoInterface;
class LumoErrorContext;
class LumoErrorReporter;

// The all-ones word: a reference that the runtime has not yet brought into
// memory. It may stand in any reference field or reference aggregate slot.
inline void* const LUMO_DELAYED = reinterpret_cast<void*>(~std::uintptr_t(0));

inline bool lumo_is_delayed(const void* p) {
  return reinterpret_cast<std::uintptr_t>(p) == ~std::uintptr_t(0);
}

// A pointer to the data of one slot, seen as whatever the slot holds.
union LumoDataPtr {
  void* v;
  char* c;
  int* i;
  float* f;
  double* d;
  char** s;
  void** p;
  LumoObject** o;

  LumoDataPtr() : v(nullptr) {}
  LumoDataPtr(void* p_) : v(p_) {}
};

// A growable vector of untyped pointers.
class lumo_vector {
 public:
  lumo_vector() = default;
  lumo_vector(const lumo_vector&) = delete;
  lumo_vector& operator=(const lumo_vector&) = delete;
  ~lumo_vector();

  void append(void* p);
  unsigned size() const { return size_; }
  void* operator[](unsigned i) const { return i < size_ ? items_[i] : nullptr; }
  void** begin() const { return items_; }
  void** end() const { return items_ + size_; }
  void clear() { size_ = 0; }
  void truncate(unsigned n) {
    if (n < size_) size_ = n;
  }

 protected:
  void** items_ = nullptr;
  unsigned size_ = 0;
  unsigned capacity_ = 0;
};

// A stack of untyped pointers on top of lumo_vector. pushes() counts every
// append ever made, so that a watcher can tell one bracket from the next.
class lumo_stack : public lumo_vector {
 public:
  void append(void* p) {
    lumo_vector::append(p);
    ++pushes_;
  }
  void push(void* p) { append(p); }
  void* pop() { return size_ ? items_[--size_] : nullptr; }
  void* top() const { return size_ ? items_[size_ - 1] : nullptr; }
  unsigned long pushes() const { return pushes_; }

 private:
  unsigned long pushes_ = 0;
};
