// LumoStringObject: shared storage, copied on the first write.
#include <cstdlib>
#include <cstring>

#include "lumo_string.h"

struct LumoStringObject::Rep {
  unsigned refs;
  std::size_t capacity;
  char text[1];  // capacity bytes
};


LumoStringObject::LumoStringObject(const char* text) {
  if (!text) return;
  std::size_t n = std::strlen(text) + 1;
  std::memcpy(resize(n), text, n);
}

LumoStringObject::LumoStringObject(const LumoStringObject& other) : rep_(other.rep_) {
  if (rep_) ++rep_->refs;
}

LumoStringObject& LumoStringObject::operator=(const LumoStringObject& other) {
  if (other.rep_) ++other.rep_->refs;
  release();
  rep_ = other.rep_;
  return *this;
}

LumoStringObject::~LumoStringObject() { release(); }

void LumoStringObject::release() {
  if (rep_ && --rep_->refs == 0) std::free(rep_);
  rep_ = nullptr;
}

char* LumoStringObject::resize(std::size_t n) {
  if (n == 0) n = 1;
  if (rep_ && rep_->refs == 1 && rep_->capacity >= n) return rep_->text;
  std::size_t capacity = rep_ && rep_->capacity > n ? rep_->capacity : n;
  if (rep_ && rep_->refs == 1) capacity = n > 2 * rep_->capacity ? n : 2 * rep_->capacity;
  auto* fresh = static_cast<Rep*>(std::malloc(offsetof(Rep, text) + capacity));
  if (!fresh) return nullptr;
  fresh->refs = 1;
  fresh->capacity = capacity;
  if (rep_) {
    std::size_t keep = rep_->capacity < capacity ? rep_->capacity : capacity;
    std::memcpy(fresh->text, rep_->text, keep);
    std::memset(fresh->text + keep, 0, capacity - keep);
  } else {
    std::memset(fresh->text, 0, capacity);
  }
  release();
  rep_ = fresh;
  return rep_->text;
}

char* LumoStringObject::stop_sharing() {
  if (!rep_) return resize(1);
  if (rep_->refs == 1) return rep_->text;
  return resize(rep_->capacity);
}

const char* LumoStringObject::c_str() const { return rep_ ? rep_->text : ""; }

std::size_t LumoStringObject::capacity() const { return rep_ ? rep_->capacity : 0; }

bool LumoStringObject::shared() const { return rep_ && rep_->refs > 1; }
