// The floor of reading: what it costs merely to split a file into records and the free-form
// parameters of its Global and Parameter Data sections into tokens, building nothing. Written
// the way a fast reader would: large reads, card images taken whole where the line end stands
// in column 81, a table of character classes, no allocation per record or token.
#pragma once

#include <cstddef>
#include <string>

struct FloorResult {
  std::size_t records = 0;
  std::size_t directory_records = 0;  // two for each entity
  std::size_t tokens = 0;             // numbers, strings and empty parameters
  double checksum = 0;                // sum of the numbers, when they are converted
  bool ok = false;                    // the file could be opened and read
};

// One pass over the file at path. Records end at line ends, or every 80 characters in a file
// that has none. With convert_numbers, each number token is also converted (std::from_chars),
// the least a reader must add to the floor.
FloorResult floor_pass(const std::string& path, bool convert_numbers = false);
