// Entities as the model shows them (subfigure instances expanded), the model's units, boxes
// and colours.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib {

namespace {

// Bounds on what one call of placements() does, so that a damaged file (an array of a
// billion positions, definitions that show each other twice at every level) costs a bounded
// time: entries made, nesting, and steps taken in all (entered entities and array positions,
// shown or not).
constexpr std::size_t kMaxPlacements = 100000;
constexpr std::size_t kMaxNesting = 32;
constexpr long kMaxSteps = 1000000;

// The entity as class X when it is of X's type: the type is asked first, since a cast costs
// more and the expansion of a large array asks this of every entity it shows.
template <class X>
X* as(igs_directory_entry* e, int type) {
  return e && e->entity_type() == type ? lumo_cast<X>(e) : nullptr;
}

bool is_instance(igs_directory_entry* e) {
  return as<igs_singular_subfigure_instance_entity>(e, 408) ||
         as<igs_rectangular_array_subfigure_instance_entity>(e, 412) ||
         as<igs_circular_array_subfigure_instance_entity>(e, 414);
}

bool is_definition(igs_directory_entry* e) { return as<igs_subfigure_definition_entity>(e, 308); }

// An empty scale parameter reads as 0; the file format's default is 1.
double scale_factor(double s) { return s != 0 && std::isfinite(s) ? s : 1.0; }

// The positions (from 1) of an array of `count` that its list and flag show, in order, each
// once; `visit` answers false to stop.
template <class Visit>
void shown_positions(long long count, ArrayOfInteger* list, int ddf, long& steps, Visit visit) {
  std::vector<long long> listed;
  for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i) {
    long long k = (*list)[i];
    if (k >= 1 && k <= count) listed.push_back(k);
  }
  std::sort(listed.begin(), listed.end());
  listed.erase(std::unique(listed.begin(), listed.end()), listed.end());
  bool all = !list || list->size() == 0;
  if (!all && ddf != 1) {
    for (long long k : listed)
      if (++steps > kMaxSteps || !visit(k)) return;
    return;
  }
  auto skip = listed.begin();
  for (long long k = 1; k <= count; ++k) {
    if (++steps > kMaxSteps) return;
    if (!all && skip != listed.end() && *skip == k) {
      ++skip;
      continue;
    }
    if (!visit(k)) return;
  }
}

class Expander {
 public:
  explicit Expander(std::vector<Placed>& out) : out_(out) {}

  bool full() const { return out_.size() >= kMaxPlacements || steps_ > kMaxSteps; }

  // An entity on its own (instance null) or shown by an instance, placed by its own matrix
  // and then by outer.
  void show(igs_directory_entry* e, const Transform& outer, igs_directory_entry* instance) {
    if (!e || full()) return;
    ++steps_;
    Transform t = outer * placement_of(e);
    if (is_instance(e)) {
      inside(e, t, instance ? instance : e);
    } else if (is_definition(e)) {
      inside(e, t, instance);
    } else {
      out_.push_back({e, t, instance});
      if (auto* point = as<igs_point_entity>(e, 116); point && point->ptr())
        inside(e, t, instance ? instance : e);
    }
  }

  // What an instance, a definition or a point's symbol shows, t being the map of e's own
  // coordinates (its matrices included).
  void inside(igs_directory_entry* e, const Transform& t, igs_directory_entry* instance) {
    if (!enter(e)) return;
    if (auto* definition = as<igs_subfigure_definition_entity>(e, 308)) {
      ListOfigs_directory_entry* list = definition->de();
      for (unsigned i = 0; i < list->size() && !full(); ++i) show((*list)[i], t, instance);
    } else if (auto* point = as<igs_point_entity>(e, 116)) {
      show(point->ptr(), t * Transform::translation({point->x(), point->y(), point->z()}),
           instance);
    } else if (auto* single = as<igs_singular_subfigure_instance_entity>(e, 408)) {
      show(single->de(),
           t * Transform::translation({single->x(), single->y(), single->z()}) *
               Transform::scaling(scale_factor(single->s())),
           instance);
    } else if (auto* grid = as<igs_rectangular_array_subfigure_instance_entity>(e, 412)) {
      long long nc = std::max(grid->nc(), 0), nr = std::max(grid->nr(), 0);
      igs_directory_entry* base = grid->de() ? grid->de()->entity() : nullptr;
      Transform corner = t * Transform::translation({grid->x(), grid->y(), grid->z()}) *
                         Transform::rotation_z(grid->ax());
      Transform scale = Transform::scaling(scale_factor(grid->s()));
      shown_positions(nc * nr, grid->n(), grid->ddf(), steps_, [&](long long k) {
        long long column = (k - 1) % nc, row = (k - 1) / nc;
        Vec3 at{double(column) * grid->dx(), double(row) * grid->dy(), 0};
        show(base, corner * Transform::translation(at) * scale, instance);
        return !full();
      });
    } else if (auto* ring = as<igs_circular_array_subfigure_instance_entity>(e, 414)) {
      igs_directory_entry* base = ring->de() ? ring->de()->entity() : nullptr;
      shown_positions(std::max(ring->ne(), 0), ring->n(), ring->ddf(), steps_, [&](long long k) {
        double angle = ring->ast() + double(k - 1) * ring->ad();
        Vec3 at{ring->x() + ring->r() * std::cos(angle), ring->y() + ring->r() * std::sin(angle),
                ring->z()};
        show(base, t * Transform::translation(at), instance);
        return !full();
      });
    }
    leave();
  }

 private:
  // Entered around each definition, instance and symbol expanded: false for one already open
  // (it shows itself) or past the nesting bound.
  bool enter(igs_directory_entry* e) {
    if (open_.size() >= kMaxNesting || std::find(open_.begin(), open_.end(), e) != open_.end())
      return false;
    open_.push_back(e);
    return true;
  }
  void leave() { open_.pop_back(); }

  std::vector<Placed>& out_;
  std::vector<igs_directory_entry*> open_;
  long steps_ = 0;
};

}  // namespace

std::vector<Placed> placements(std::span<igs_directory_entry* const> entities) {
  std::unordered_set<igs_directory_entry*> members;
  for (igs_directory_entry* e : entities) {
    auto* definition = as<igs_subfigure_definition_entity>(e, 308);
    if (!definition) continue;
    ListOfigs_directory_entry* list = definition->de();
    for (unsigned i = 0; i < list->size(); ++i) members.insert((*list)[i]);
  }
  std::vector<Placed> out;
  Expander expander(out);
  for (igs_directory_entry* e : entities) {
    if (!e || expander.full() || is_definition(e) || members.count(e)) continue;
    igs_subordinate_switch s = e->subordinate();
    if (s == igs_subordinate_switch_physicallyDependent || s == igs_subordinate_switch_both)
      continue;
    expander.show(e, Transform{}, nullptr);
  }
  return out;
}

// ---- units

namespace {

struct Unit {
  int flag;
  double millimetres;
  const char* symbol;
  const char* names[5];  // spelled-out names beside the symbol, upper case
};

constexpr Unit kUnits[] = {
    {1, 25.4, "IN", {"INCH", "INCHES"}},
    {2, 1.0, "MM", {"MILLIMETER", "MILLIMETERS", "MILLIMETRE", "MILLIMETRES"}},
    {4, 304.8, "FT", {"FOOT", "FEET"}},
    {5, 1609344.0, "MI", {"MILE", "MILES"}},
    {6, 1000.0, "M", {"METER", "METERS", "METRE", "METRES"}},
    {7, 1000000.0, "KM", {"KILOMETER", "KILOMETERS", "KILOMETRE", "KILOMETRES"}},
    {8, 0.0254, "MIL", {"MILS"}},
    {9, 0.001, "UM", {"MICRON", "MICRONS", "MICROMETER", "MICROMETERS", "MICROMETRE"}},
    {10, 10.0, "CM", {"CENTIMETER", "CENTIMETERS", "CENTIMETRE", "CENTIMETRES"}},
    {11, 0.0000254, "UIN", {"MICROINCH", "MICROINCHES"}},
};

const Unit* unit_of_flag(int flag) {
  for (const Unit& u : kUnits)
    if (u.flag == flag) return &u;
  return nullptr;
}

const Unit* unit_of_name(const std::string& name) {
  std::string key;
  for (char c : name)
    if (!std::isspace(static_cast<unsigned char>(c)))
      key += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  for (const Unit& u : kUnits) {
    if (key == u.symbol) return &u;
    for (const char* n : u.names)
      if (n && key == n) return &u;
  }
  return nullptr;
}

}  // namespace

std::string Units::symbol() const {
  for (const Unit& u : kUnits)
    if (u.millimetres == millimetres) return u.symbol;
  return "unknown";
}

Units model_units(igs_global* global) {
  Units u;
  if (!global) return u;
  u.flag = global->unit_flag();
  u.model_space_scale = global->model_space_scale();
  if (const char* name = global->units()) u.name = name;
  const Unit* unit = unit_of_flag(u.flag);
  if (!unit) unit = unit_of_name(u.name);
  if (unit) u.millimetres = unit->millimetres;
  return u;
}

// ---- bounds

namespace {

Box intersection(const Box& a, const Box& b) {
  if (a.empty() || b.empty()) return a.empty() ? b : a;
  Box r;
  r.min = {std::max(a.min.x, b.min.x), std::max(a.min.y, b.min.y), std::max(a.min.z, b.min.z)};
  r.max = {std::min(a.max.x, b.max.x), std::min(a.max.y, b.max.y), std::min(a.max.z, b.max.z)};
  // Two boxes that both hold the curve meet; where rounding says otherwise, keep the smaller.
  if (r.empty()) return a.diagonal() <= b.diagonal() ? a : b;
  return r;
}

// A curve or surface seen through a transform, borrowed from its owner.
class MovedCurve final : public Curve {
 public:
  MovedCurve(const Curve& c, const Transform& t) : c_(c), t_(t) {}
  Interval range() const override { return c_.range(); }
  Interval finite_range() const override { return c_.finite_range(); }
  void evaluate(double s, Vec3& p, Vec3& d) const override {
    c_.evaluate(s, p, d);
    p = t_.point(p);
    d = t_.vector(d);
  }
  std::vector<double> breaks() const override { return c_.breaks(); }

 private:
  const Curve& c_;
  const Transform& t_;
};

class MovedSurface final : public Surface {
 public:
  MovedSurface(const Surface& s, const Transform& t) : s_(s), t_(t) {}
  Domain domain() const override { return s_.domain(); }
  Domain finite_domain() const override { return s_.finite_domain(); }
  SurfacePoint evaluate(double u, double v) const override {
    SurfacePoint p = s_.evaluate(u, v);
    return {t_.point(p.point), t_.vector(p.du), t_.vector(p.dv)};
  }
  std::vector<double> u_breaks() const override { return s_.u_breaks(); }
  std::vector<double> v_breaks() const override { return s_.v_breaks(); }

 private:
  const Surface& s_;
  const Transform& t_;
};

// The curve's own box (a control polygon's, where it has one) placed, intersected with the
// box of its placed polyline enlarged by the chord.
Box curve_box(const Curve& own, const Transform& t) {
  return intersection(t.box(own.bounds()), MovedCurve(own, t).Curve::bounds());
}

// The surface's own box (a control net's, where it has one) placed, intersected with the box
// of a grid of its placed iso-curves enlarged by their chord.
Box surface_box(const Surface& own, const Transform& t) {
  return intersection(t.box(own.bounds()), MovedSurface(own, t).Surface::bounds());
}

// A trimmed or bounded surface or a face: its boundary, and the iso-curves cut to its loops;
// the whole surface where the loops aren't known in parameter space and it is bounded.
Box bounded_box(igs_directory_entry* e, const Transform& t) {
  Boundary b = boundary_of(e);
  Box box;
  for (const auto& c : b.curves) box.add(curve_box(*c, t));
  if (!b.surface) return box;
  if (!b.parameter_loops.empty()) {
    for (const auto& iso : isolines(b, 7)) box.add(curve_box(*iso, t));
  } else if (b.surface->domain().u.bounded() && b.surface->domain().v.bounded()) {
    box.add(surface_box(*b.surface, t));
  }
  return box;
}

// A surface bounded by curves of its own: trimmed, bounded, a face, a plane with a curve.
bool is_bounded(igs_directory_entry* e) {
  if (auto* plane = lumo_cast<igs_plane_entity>(e)) return plane->ptr() != nullptr;
  return lumo_cast<igs_trimmed_parametric_surface_entity>(e) ||
         lumo_cast<igs_bounded_surface_entity>(e) || lumo_cast<igs_face_entity>(e);
}

class Boxer {
 public:
  Box of(igs_directory_entry* e, const Transform& t) {
    // Nesting and the entities boxed in all are bounded: points whose symbols show points
    // with symbols would otherwise branch at every level.
    if (!e || depth_ >= 32 || ++calls_ > kMaxPlacements) return {};
    ++depth_;
    Box box = compute(e, t);
    --depth_;
    return box;
  }

 private:
  Box compute(igs_directory_entry* e, const Transform& t) {
    Box box;
    if (is_curve(e)) {
      if (std::unique_ptr<Curve> c = make_curve(e)) box = curve_box(*c, t);
      if (auto* point = lumo_cast<igs_point_entity>(e); point && point->ptr())
        box.add(shown_by(e, t));
    } else if (is_bounded(e)) {
      box = bounded_box(e, t);
    } else if (is_surface(e)) {
      // An unbounded surface standing alone (a plane, a cylinder) has no box.
      std::unique_ptr<Surface> s = make_surface(e);
      if (s && s->domain().u.bounded() && s->domain().v.bounded()) box = surface_box(*s, t);
    } else if (auto* solid = lumo_cast<igs_manifold_solid_brep_entity>(e)) {
      box = of(solid->shell(), t);
      ListOfigs_void_shell* voids = solid->void_shells();
      for (unsigned i = 0; i < voids->size(); ++i)
        if (igs_void_shell* v = (*voids)[i]) box.add(of(v->Void(), t));
    } else if (auto* shell = lumo_cast<igs_shell_entity>(e)) {
      ListOfigs_face_data* faces = shell->faces();
      for (unsigned i = 0; i < faces->size(); ++i)
        if (igs_face_data* f = (*faces)[i]) box.add(of(f->face_ptr(), t));
    } else if (is_instance(e) || is_definition(e)) {
      box = shown_by(e, t);
    }
    return box;
  }

  Box shown_by(igs_directory_entry* e, const Transform& t) {
    std::vector<Placed> shown;
    Expander(shown).inside(e, t, e);
    Box box;
    for (const Placed& p : shown) box.add(of(p.entity, p.transform));
    return box;
  }

  int depth_ = 0;
  std::size_t calls_ = 0;
};

}  // namespace

Box entity_bounds(igs_directory_entry* entity, const Transform& transform) {
  return Boxer().of(entity, transform);
}

Box model_bounds(std::span<igs_directory_entry* const> entities) {
  std::vector<Placed> shown = placements(entities);
  std::unordered_map<igs_directory_entry*, int> times;
  for (const Placed& p : shown) ++times[p.entity];
  std::unordered_map<igs_directory_entry*, Box> own;
  Box box;
  for (const Placed& p : shown) {
    if (p.entity->blank() == igs_blank_status_invisible) continue;
    if (times[p.entity] == 1) {
      box.add(entity_bounds(p.entity, p.transform));
      continue;
    }
    auto [at, fresh] = own.try_emplace(p.entity);
    if (fresh) at->second = entity_bounds(p.entity, Transform{});
    box.add(p.transform.box(at->second));
  }
  return box;
}

// ---- colours

namespace {

igs_entity_color* colour_field(igs_directory_entry* e) {
  if (auto* x = lumo_cast<igs_geometric_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_annotation_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_boundary_representation_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_constructive_solid_geometry_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_subfigure_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_text_display_template_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_connect_point_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_node_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_finite_element_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_nodal_results_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_element_results_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_attribute_table_definition_entity>(e)) return x->color();
  if (auto* x = lumo_cast<igs_color_definition_entity>(e)) return x->color();
  return nullptr;
}

double fraction(double percent) {
  if (!std::isfinite(percent)) return 0;
  return std::clamp(percent, 0.0, 100.0) / 100.0;
}

}  // namespace

std::optional<Rgb> colour_of(igs_directory_entry* entity) {
  igs_entity_color* colour = colour_field(entity);
  if (!colour) return std::nullopt;
  if (colour->is_color_definition_entity()) {
    igs_color_definition_entity* d = colour->_color_definition_entity();
    if (!d) return std::nullopt;
    if (!std::isfinite(d->cc1()) && !std::isfinite(d->cc2()) && !std::isfinite(d->cc3()))
      return std::nullopt;
    return Rgb{fraction(d->cc1()), fraction(d->cc2()), fraction(d->cc3())};
  }
  if (!colour->is_color_number()) return std::nullopt;
  switch (colour->_color_number()) {
    case igs_color_number_black:
      return Rgb{0, 0, 0};
    case igs_color_number_red:
      return Rgb{1, 0, 0};
    case igs_color_number_green:
      return Rgb{0, 1, 0};
    case igs_color_number_blue:
      return Rgb{0, 0, 1};
    case igs_color_number_yellow:
      return Rgb{1, 1, 0};
    case igs_color_number_magenta:
      return Rgb{1, 0, 1};
    case igs_color_number_cyan:
      return Rgb{0, 1, 1};
    case igs_color_number_white:
      return Rgb{1, 1, 1};
    default:
      return std::nullopt;
  }
}

}  // namespace igeslib
