// Files made from a real file by one change each, the kinds of damage that files from the
// field show: a Global, Directory or Parameter Data field set to 0, emptied, negated or set
// past the end (a pointer beyond the last entity; in the Global section, the section ended
// before the field), a record dropped, a pointer moved to another entity.
#pragma once

#include <string>

namespace igeslib_test {

enum class Mutation {
  global_zero,
  global_empty,
  global_negative,
  global_past_end,
  directory_zero,
  directory_empty,
  directory_negative,
  directory_past_end,
  parameter_zero,
  parameter_empty,
  parameter_negative,
  parameter_past_end,
  parameter_line_dropped,
  directory_pair_dropped,
  definitions_moved,  // line font, level and colour pointed at any entity
  parameter_pointer_moved,
};
constexpr int kMutations = 16;

// The file with one change of that kind, the field and value drawn from the file's name and
// round; empty when the file has nothing to change that way.
std::string mutant(const std::string& bytes, const std::string& name, Mutation mutation,
                   unsigned round = 0);

}  // namespace igeslib_test
