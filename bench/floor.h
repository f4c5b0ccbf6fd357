// The floor of reading: what it costs merely to split a file into records and its free-form
// parameters into tokens, building nothing.
#pragma once

#include <cstddef>
#include <string>

struct FloorResult {
  std::size_t records = 0;
  std::size_t tokens = 0;
  bool ok = false;
};

// One pass over the file at path: records split at line ends (or every 80 characters where
// there are none), and the data columns of the G and P records cut into numbers, Hollerith
// strings and delimiters.
FloorResult floor_pass(const std::string& path);
