// Definitions and the model as a whole: colour values, the depths of nested subfigures, and
// the geometry against the Global section's largest coordinate.
#include <algorithm>
#include <cmath>

#include "check_internal.h"

namespace igeslib::check_detail {

namespace {

void color(Context& c, igs_color_definition_entity* e) {
  const char* names[] = {"cc1", "cc2", "cc3"};
  double values[] = {e->cc1(), e->cc2(), e->cc3()};
  for (int k = 0; k < 3; ++k) {
    if (values[k] >= 0 && values[k] <= 100) continue;
    c.add("color-range", c.de(e), names[k],
          std::string(names[k]) + " is " + number(values[k]) + ", outside 0 to 100 percent");
  }
}

// The definition that a member of a subfigure definition shows, when it shows one: a
// singular instance's, an array's base when that is a definition, a network instance's.
igs_directory_entry* nested_definition(igs_directory_entry* member) {
  if (auto* single = as<igs_singular_subfigure_instance_entity>(member)) return single->de();
  if (auto* array = as<igs_rectangular_array_subfigure_instance_entity>(member))
    return as<igs_subfigure_definition_entity>(chosen(array->de()));
  if (auto* ring = as<igs_circular_array_subfigure_instance_entity>(member))
    return as<igs_subfigure_definition_entity>(chosen(ring->de()));
  if (auto* network = as<igs_network_subfigure_instance_entity>(member))
    return as<igs_network_subfigure_definition_entity>(chosen(network->de()));
  return as<igs_subfigure_definition_entity>(member);
}

int depth_of(igs_directory_entry* definition) {
  if (auto* d = as<igs_subfigure_definition_entity>(definition)) return d->depth();
  if (auto* n = as<igs_network_subfigure_definition_entity>(definition)) return n->depth();
  return -1;
}

// A definition's depth is above the depth of every definition that its members show.
void subfigure(Context& c, igs_directory_entry* definition, ListOfigs_directory_entry* members,
               const char* field) {
  int depth = depth_of(definition);
  for (unsigned i = 0, n = members ? members->size() : 0; i < n; ++i) {
    igs_directory_entry* nested = nested_definition((*members)[i]);
    if (!nested || nested == definition) continue;
    int inner = depth_of(nested);
    if (inner < 0 || depth > inner) continue;
    c.add("subfigure-depth", c.de(definition), std::string(field) + "[" + std::to_string(i) + "]",
          "depth " + std::to_string(depth) + " doesn't exceed the depth " + std::to_string(inner) +
              " of the definition DE " + std::to_string(c.de(nested)) + " that member " +
              std::to_string(i) + " shows");
  }
}

// The points that an entity's record gives, in its own coordinates: what the Global section's
// largest coordinate value bounds (a curve between them may bulge further; its data don't).
void coordinates(igs_directory_entry* entity, std::vector<Vec3>& out) {
  auto add = [&](ListOfigs_coordinate* list) {
    for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i)
      if (igs_coordinate* p = (*list)[i]) out.push_back({p->x_, p->y_, p->z_});
  };
  switch (entity->entity_type()) {
    case 100:
      if (auto* arc = as<igs_circular_arc_entity>(entity))
        out.insert(out.end(), {{arc->x1(), arc->y1(), arc->zt()},
                               {arc->x2(), arc->y2(), arc->zt()},
                               {arc->x3(), arc->y3(), arc->zt()}});
      break;
    case 104:
      if (auto* conic = as<igs_conic_arc_entity>(entity))
        out.insert(out.end(), {{conic->x1(), conic->y1(), conic->zt()},
                               {conic->x2(), conic->y2(), conic->zt()}});
      break;
    case 110:
      if (auto* line = as<igs_line_entity>(entity))
        out.insert(out.end(),
                   {{line->x1(), line->y1(), line->z1()}, {line->x2(), line->y2(), line->z2()}});
      break;
    case 116:
      if (auto* point = as<igs_point_entity>(entity))
        out.push_back({point->x(), point->y(), point->z()});
      break;
    case 126:
      if (auto* spline = as<igs_rational_bspline_curve_entity>(entity))
        add(spline->control_points_);
      break;
    case 128:
      if (auto* patch = as<igs_rational_bspline_surface_entity>(entity)) {
        ListOfListOfigs_coordinate* rows = patch->control_points_;
        for (unsigned i = 0, n = rows ? rows->size() : 0; i < n; ++i) add((*rows)[i]);
      }
      break;
    case 502:
      if (auto* vertices = as<igs_vertex_list_entity>(entity)) add(vertices->vertices_);
      break;
    default:
      break;
  }
}

// The coordinates of the records, placed in model space by each entity's matrices, against
// the largest coordinate the Global section gives (when it gives one). Parameter-space curves
// hold no model coordinates and are left out.
void max_coordinate(Context& c) {
  igs_global* global = c.model.global_section();
  double limit = global ? global->max_coordinate_value() : 0;
  if (!(limit > 0) || !std::isfinite(limit)) return;
  double reach = 0;
  int at = 0;
  std::vector<Vec3> points;
  for (igs_directory_entry* entity : c.places) {
    if (!entity || entity->used() == igs_use_flag_parametric) continue;
    points.clear();
    coordinates(entity, points);
    if (points.empty()) continue;
    Transform placement = placement_of(entity);
    for (const Vec3& p : points) {
      Vec3 q = placement.point(p);
      double far = std::max({std::fabs(q.x), std::fabs(q.y), std::fabs(q.z)});
      if (far > reach) reach = far, at = c.de(entity);
    }
  }
  if (reach > limit * (1 + 1e-9) + c.resolution)
    c.add("global-max-coordinate", at, "",
          "a coordinate of " + number(reach) +
              " is beyond the Global section's maximum coordinate value " + number(limit),
          0);
}

}  // namespace

void check_definitions(Context& c) {
  for (igs_directory_entry* entity : c.places) {
    int type = entity ? entity->entity_type() : 0;
    if (type != 314 && type != 308 && type != 320) continue;
    if (auto* colour = as<igs_color_definition_entity>(entity))
      color(c, colour);
    else if (auto* definition = as<igs_subfigure_definition_entity>(entity))
      subfigure(c, definition, definition->de_, "de");
    else if (auto* network = as<igs_network_subfigure_definition_entity>(entity))
      subfigure(c, network, network->aptr_, "aptr");
  }
  max_coordinate(c);
}

}  // namespace igeslib::check_detail
