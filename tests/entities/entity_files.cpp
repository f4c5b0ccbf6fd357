#include "entities/entity_files.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "support/corpus.h"
#include "support/records.h"

namespace igeslib_test {

// A parameter record cut after delimiters into pieces of at most 64 columns.
static std::vector<std::string> p_lines(const std::string& parameters) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (parameters.size() - start > 64) {
    std::size_t cut = parameters.find_last_of(",;", start + 63);
    cut = cut == std::string::npos || cut < start ? start + 63 : cut;
    lines.push_back(parameters.substr(start, cut + 1 - start));
    start = cut + 1;
  }
  lines.push_back(parameters.substr(start));
  return lines;
}

std::string iges_file(const std::vector<Entry>& entries) {
  IgesText text;
  text.S("entities").G("1H,,1H;,,,,,,,,,,,,,,,,,,,,,11;");
  int line = 1;
  for (const Entry& entry : entries) {
    int lines = static_cast<int>(p_lines(entry.parameters).size());
    text.DE(entry.type, entry.form, line, lines, "", entry.structure);
    line += lines;
  }
  int de = 1;
  for (const Entry& entry : entries) {
    for (const std::string& piece : p_lines(entry.parameters)) text.P(de, piece);
    de += 2;
  }
  return text.T().str();
}

std::string parameters_of(const std::string& file, int de_pointer) {
  std::string out;
  std::istringstream in(file);
  for (std::string line; std::getline(in, line);) {
    if (line.size() < 80 || line[72] != 'P') continue;
    if (std::atoi(line.substr(64, 8).c_str()) != de_pointer) continue;
    std::string data = line.substr(0, 64);
    out += data.substr(0, data.find_last_not_of(' ') + 1);
  }
  return out;
}

std::vector<double> parameter_values(igs_directory_entry* entity, ListOfigs_directory_entry* list) {
  auto at = [list](igs_directory_entry* target) {
    for (unsigned i = 0; target && i < list->size(); ++i)
      if ((*list)[i] == target) return double(i);
    return -1.0;
  };
  if (auto* e = lumo_cast<igs_point_entity>(entity)) return {e->x(), e->y(), e->z(), at(e->ptr())};
  if (auto* e = lumo_cast<igs_line_entity>(entity))
    return {e->x1(), e->y1(), e->z1(), e->x2(), e->y2(), e->z2()};
  if (auto* e = lumo_cast<igs_circular_arc_entity>(entity))
    return {e->zt(), e->x1(), e->y1(), e->x2(), e->y2(), e->x3(), e->y3()};
  if (auto* e = lumo_cast<igs_conic_arc_entity>(entity))
    return {e->a(),  e->b(),  e->c(),  e->d(),  e->e(), e->f(),
            e->zt(), e->x1(), e->y1(), e->x2(), e->y2()};
  if (auto* e = lumo_cast<igs_plane_entity>(entity))
    return {e->a(), e->b(), e->c(), e->d(), at(e->ptr()), e->x(), e->y(), e->z(), e->Size()};
  if (auto* e = lumo_cast<igs_transformation_matrix_entity>(entity))
    return {e->r11(), e->r12(), e->r13(), e->t1(),  e->r21(), e->r22(),
            e->r23(), e->t2(),  e->r31(), e->r32(), e->r33(), e->t3()};
  if (auto* e = lumo_cast<igs_flash_entity>(entity))
    return {e->x(), e->y(), e->dim1(), e->dim2(), e->rot(), at(e->de())};
  return {};
}

}  // namespace igeslib_test
