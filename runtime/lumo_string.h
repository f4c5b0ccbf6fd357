// A growable string whose storage is shared between copies until one of them
// writes.
#pragma once

#include <cstddef>

class LumoStringObject {
 public:
  LumoStringObject() = default;
  explicit LumoStringObject(const char* text);
  LumoStringObject(const LumoStringObject& other);
  LumoStringObject& operator=(const LumoStringObject& other);
  ~LumoStringObject();

  // The writable buffer of at least n bytes, private to this string. The
  // text it held is kept up to n bytes.
  char* resize(std::size_t n);
  // Makes the storage private to this string and answers it.
  char* stop_sharing();
  const char* c_str() const;
  std::size_t capacity() const;
  bool shared() const;

 private:
 public:
  struct Rep;

 private:
  void release();
  Rep* rep_ = nullptr;
};
