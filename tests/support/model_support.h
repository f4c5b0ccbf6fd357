// The process-wide state that the data-model tests share: every class bound and
// the eight schema designs built, once.
#pragma once

#include <gtest/gtest.h>

#include "igeslib.h"

inline void load_model() {
  static const bool loaded = [] {
    igeslib_force_load();
    igeslib_create_builtin_schemas();
    return true;
  }();
  (void)loaded;
}

// A fresh design for one test, deleted with it.
struct ScratchDesign {
  LumoDesign* design;
  explicit ScratchDesign(const char* name = "scratch") {
    load_model();
    design = LUMO.newDesign(name, nullptr);
  }
  ~ScratchDesign() { delete design; }
  LumoDesign* operator->() const { return design; }
  operator LumoDesign*() const { return design; }
};

// A fixture whose fresh design is the current one for the length of the test.
struct Scratch : ::testing::Test {
  ScratchDesign scratch;
  LumoDesign* design = scratch.design;
  LumoDesign* before = LUMO.useDesign(design);
  ~Scratch() override { LUMO.useDesign(before); }
};
