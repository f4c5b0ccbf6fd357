// A small hand-made class tree in the shape that generated classes have:
// a diamond of virtual bases under a root with references, a select, an
// enumeration and a typed list, each with its descriptor and binder.
#pragma once

#include <gtest/gtest.h>

#include "lumo.h"

// A fresh design, current for the length of one test.
struct Scratch : ::testing::Test {
  LumoDesign* design = LUMO.newDesign("scratch");
  LumoDesign* before = LUMO.useDesign(design);
  ~Scratch() override {
    LUMO.useDesign(before);
    delete design;
  }
};

enum t_colour { t_colour_unset = -1, red, green, blue };

class t_root;
class t_left;
extern LumoTypePtr lumotype_t_root, lumotype_t_left, lumotype_t_right, lumotype_t_diamond,
    lumotype_t_choice, lumotype_t_colour, lumotype_ListOft_root, lumotype_t_stranger;

// Allocation in the shape of the generated classes.
#define T_ALLOCATION(C)                                                                    \
  static void* operator new(std::size_t size) { return ::operator new(size); }             \
  static void operator delete(void* p) { lumo_delete(p); }                                 \
  static void* operator new(std::size_t size, LumoDesign* design) {                        \
    return lumo_new_in_default_section(size, design, nullptr, lumotype_##C);               \
  }                                                                                         \
  static void* operator new(std::size_t size, LumoDesignSection* section) {                \
    return lumo_new(size, section, nullptr, lumotype_##C);                                 \
  }                                                                                         \
  static void* operator new(std::size_t size, LumoDesignSection* section, LumoDomain* d) { \
    return lumo_new(size, section, d, lumotype_##C);                                       \
  }                                                                                         \
  void* _address() override { return this; }                                              \
  LumoTypePtr& classType() override { return lumotype_##C; }

class t_root : public virtual LumoStructure {
 public:
  T_ALLOCATION(t_root)
  int count = 0;
  char* label = nullptr;
  t_root* ref = nullptr;
  t_colour colour = t_colour_unset;

  // Reference read with the delayed-reference rule.
  t_root* get_ref() {
    if (!lumo_is_delayed(ref)) return ref;
    return lumo_access_object(this, &ref) ? ref : nullptr;
  }
  void set_ref(t_root* r) {
    modified();
    ref = r;
  }
};

class t_left : public virtual t_root {
 public:
  T_ALLOCATION(t_left)
  double x = 0;
};

class t_right : public virtual t_root {
 public:
  T_ALLOCATION(t_right)
  int y = 0;
};

class t_diamond : public virtual t_left, public virtual t_right {
 public:
  T_ALLOCATION(t_diamond)
  int z = 0;
};

class t_choice : public LumoUnion {
 public:
  T_ALLOCATION(t_choice)
  char is_(const char* c) { return getAttribute(c) == getAttribute(nullptr); }
};

class ListOft_root
    : public LumoObjectAggregate<t_root, LumoAggKind::list, lumotype_ListOft_root,
                                 lumotype_t_root> {
 public:
  using LumoObjectAggregate::LumoObjectAggregate;
};

// A class with no descriptor of its own in the tree above.
class t_stranger : public virtual LumoStructure {
 public:
  T_ALLOCATION(t_stranger)
};
