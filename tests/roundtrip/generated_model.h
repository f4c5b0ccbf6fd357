// Models made through the run-time dictionary alone: one instance of every class that a file
// can hold and that has parameter code, each attribute set to a random value of its domain.
#pragma once

#include <random>
#include <string>
#include <vector>

#include <igeslib.h>

namespace igeslib_test {

// The file that a design's file object writes.
std::string write_file(LumoDesign* design, igs_iges_file* file, char zero_as_default);

// A class that the reader makes, and the forms it makes it for.
struct FileClass {
  LumoDomain* domain;
  std::vector<int> forms;
};

// Every concrete class that the reader makes, but those whose records lean on another record.
const std::vector<FileClass>& classes_with_parameter_code();

// A model of every such class in a fresh design, its values drawn from seed.
class GeneratedModel {
 public:
  explicit GeneratedModel(unsigned seed, int copies = 1);
  ~GeneratedModel();
  GeneratedModel(const GeneratedModel&) = delete;
  GeneratedModel& operator=(const GeneratedModel&) = delete;

  LumoDesign* design = nullptr;
  igs_iges_file* file = nullptr;

 private:
  void fill(LumoObject* object, LumoDomain* domain, int depth);
  void put(LumoObject* owner, LumoAttribute* attribute, LumoDomain* domain, int depth);
  LumoObject* new_object(LumoDomain* domain, int depth, bool never_null = false);
  double real();
  std::string string(bool word);
  int integer(int low, int high);
  bool negative_pointer_select() const;

  std::mt19937 random_;
  std::vector<igs_directory_entry*> entities_;
  igs_directory_entry* entity_ = nullptr;  // the one being filled
  std::string select_;                     // the domain of the select being filled, if any
};

}  // namespace igeslib_test
