// Entities as the model shows them (subfigure instances expanded), the model's units, boxes
// and colours.
#include <cctype>
#include <cstring>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib {

std::vector<Placed> placements(std::span<igs_directory_entry* const> entities) {
  std::vector<Placed> out;
  for (igs_directory_entry* e : entities) {
    if (!e || e->subordinate() != igs_subordinate_switch_independent) continue;
    out.push_back({e, placement_of(e), nullptr});
  }
  return out;
}

std::string Units::symbol() const { return "unknown"; }

Units model_units(igs_global* global) {
  Units u;
  if (!global) return u;
  u.model_space_scale = global->model_space_scale();
  if (const char* name = global->units()) u.name = name;
  return u;
}

Box entity_bounds(igs_directory_entry* entity, const Transform& transform) {
  Box box;
  if (is_curve(entity)) {
    if (auto c = placed(make_curve(entity), transform)) box = c->bounds();
  } else if (is_surface(entity)) {
    if (auto s = placed(make_surface(entity), transform)) box = s->bounds();
  }
  return box;
}

Box model_bounds(std::span<igs_directory_entry* const> entities) {
  Box box;
  for (const Placed& p : placements(entities))
    if (p.entity->blank() != igs_blank_status_invisible)
      box.add(entity_bounds(p.entity, p.transform));
  return box;
}

std::optional<Rgb> colour_of(igs_directory_entry*) { return std::nullopt; }

}  // namespace igeslib
