// A large model made through the library's classes, for the read and write benchmarks: every
// entity kind whose class has parameter code, in a fixed mix, with the directory fields a
// CAD system sets (line font, level, colour, labels, a transformation here and there) and
// coordinates of both short and full precision. The same count gives the same model.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class LumoDesign;
class igs_iges_file;

struct GeneratedModel {
  LumoDesign* design = nullptr;  // owns everything; release_model frees it
  igs_iges_file* file = nullptr;
  std::size_t entities = 0;
};

// The entity kinds the generator makes, by name, in the order of its table.
std::vector<std::string> generated_kinds();

// A model of `entities` entities (or a few more, to close the last group) in a new design;
// the current design is left as it was.
GeneratedModel generate_model(std::size_t entities);

// Frees the model's design.
void release_model(GeneratedModel& model);

// Writes the model to path (zeros as defaults, as a CAD system writes); false on failure.
bool write_model(const GeneratedModel& model, const std::string& path);

// The number of entities whose written file comes to about `bytes`, found by writing a small
// model to scratch_path and measuring it; 0 when it can't be written.
std::size_t entities_for_size(double bytes, const std::string& scratch_path);
