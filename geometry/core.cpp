// Vectors, boxes and transforms; the one dispatch from an entity's class to its evaluator; the
// defaults every curve and surface shares (polylines, breaks, boxes, iso-curves, placing).
#include <algorithm>
#include <cmath>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib {

Vec3 normalized(const Vec3& v) {
  double n = norm(v);
  if (!(n > 0) || !std::isfinite(n)) return v;
  return v / n;
}

void Box::add(const Vec3& p) {
  if (!finite(p)) return;
  min = {std::min(min.x, p.x), std::min(min.y, p.y), std::min(min.z, p.z)};
  max = {std::max(max.x, p.x), std::max(max.y, p.y), std::max(max.z, p.z)};
}

void Box::add(const Box& b) {
  if (b.empty()) return;
  add(b.min);
  add(b.max);
}

// ---- transforms

Transform Transform::translation(const Vec3& t) {
  Transform r;
  r.m[0][3] = t.x;
  r.m[1][3] = t.y;
  r.m[2][3] = t.z;
  return r;
}

Transform Transform::scaling(double s) {
  Transform r;
  for (int i = 0; i < 3; ++i) r.m[i][i] = s;
  return r;
}

Transform Transform::rotation_z(double angle) {
  Transform r;
  double c = std::cos(angle), s = std::sin(angle);
  r.m[0][0] = c;
  r.m[0][1] = -s;
  r.m[1][0] = s;
  r.m[1][1] = c;
  return r;
}

Transform Transform::of(igs_transformation_matrix_entity* e) {
  Transform r;
  if (!e) return r;
  r.m = {{{e->r11(), e->r12(), e->r13(), e->t1()},
          {e->r21(), e->r22(), e->r23(), e->t2()},
          {e->r31(), e->r32(), e->r33(), e->t3()}}};
  return r;
}

Vec3 Transform::point(const Vec3& p) const {
  return {m[0][0] * p.x + m[0][1] * p.y + m[0][2] * p.z + m[0][3],
          m[1][0] * p.x + m[1][1] * p.y + m[1][2] * p.z + m[1][3],
          m[2][0] * p.x + m[2][1] * p.y + m[2][2] * p.z + m[2][3]};
}

Vec3 Transform::vector(const Vec3& v) const {
  return {m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z,
          m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
          m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z};
}

Transform Transform::operator*(const Transform& b) const {
  Transform r;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 4; ++j) {
      double s = j == 3 ? m[i][3] : 0.0;
      for (int k = 0; k < 3; ++k) s += m[i][k] * b.m[k][j];
      r.m[i][j] = s;
    }
  }
  return r;
}

Box Transform::box(const Box& box) const {
  Box out;
  if (box.empty()) return out;
  for (int i = 0; i < 8; ++i)
    out.add(point({i & 1 ? box.max.x : box.min.x, i & 2 ? box.max.y : box.min.y,
                   i & 4 ? box.max.z : box.min.z}));
  return out;
}

bool Transform::is_identity() const { return m == Transform{}.m; }

double Transform::scale() const {
  // The largest singular value of the linear part R: the square root of the largest
  // eigenvalue of the symmetric A = R^T R, in closed form (the trigonometric solution of its
  // characteristic cubic), so that no starting vector or count of iterations can miss it.
  double a[3][3];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) a[i][j] = m[0][i] * m[0][j] + m[1][i] * m[1][j] + m[2][i] * m[2][j];
  double off = a[0][1] * a[0][1] + a[0][2] * a[0][2] + a[1][2] * a[1][2];
  double q = (a[0][0] + a[1][1] + a[2][2]) / 3;
  double largest;
  if (!(off > 0)) {
    largest = std::max({a[0][0], a[1][1], a[2][2]});
  } else {
    double d0 = a[0][0] - q, d1 = a[1][1] - q, d2 = a[2][2] - q;
    double p = std::sqrt((d0 * d0 + d1 * d1 + d2 * d2 + 2 * off) / 6);
    // det((A - q I) / p) / 2, the cosine of three times the angle of the largest root.
    double b00 = d0 / p, b11 = d1 / p, b22 = d2 / p;
    double b01 = a[0][1] / p, b02 = a[0][2] / p, b12 = a[1][2] / p;
    double r = (b00 * (b11 * b22 - b12 * b12) - b01 * (b01 * b22 - b12 * b02) +
                b02 * (b01 * b12 - b11 * b02)) /
               2;
    double phi = std::acos(std::clamp(r, -1.0, 1.0)) / 3;
    largest = q + 2 * p * std::cos(phi);
  }
  double s = std::sqrt(std::max(largest, 0.0));
  return s > 1e-300 && std::isfinite(s) ? s : (std::isfinite(s) ? 1e-300 : 1.0);
}

igs_transformation_matrix_entity* transformation_of(igs_directory_entry* e) {
  if (auto* x = lumo_cast<igs_geometric_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_annotation_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_constructive_solid_geometry_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_subfigure_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_manifold_solid_brep_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_text_display_template_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_line_font_definition_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_view_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_connect_point_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_node_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_attribute_table_definition_entity>(e)) return x->transformation();
  if (auto* x = lumo_cast<igs_nodal_load_constraint_entity>(e)) return x->transformation();
  return nullptr;
}

Transform placement_of(igs_directory_entry* entity) {
  // Chains are short: the matrices seen are kept in a small array, and a chain longer than it
  // (which no real file has) is cut there.
  Transform result;
  constexpr int max_chain = 64;
  igs_transformation_matrix_entity* seen[max_chain];
  int n = 0;
  for (igs_transformation_matrix_entity* m = transformation_of(entity); m && n < max_chain;
       m = m->transformation()) {
    if (std::find(seen, seen + n, m) != seen + n) break;
    seen[n++] = m;
    result = Transform::of(m) * result;
  }
  return result;
}

// ---- curves

Vec3 Curve::point(double t) const {
  Vec3 p, d;
  evaluate(t, p, d);
  return p;
}

Vec3 Curve::derivative(double t) const {
  Vec3 p, d;
  evaluate(t, p, d);
  return d;
}

bool Curve::evaluate2(double, Vec3&, Vec3&, Vec3&) const { return false; }

std::vector<double> Curve::breaks() const {
  Interval r = finite_range();
  return {r.lo, r.hi};
}

Polyline Curve::polyline(const Tolerance& tolerance) const {
  Interval r = finite_range();
  std::vector<double> b = breaks();
  return detail::adaptive_polyline(*this, tolerance, r.lo, r.hi, b);
}

Box Curve::bounds() const {
  // A box needs no finer polyline than this, whatever the curve would ask for a picture: a
  // curve whose every point costs much (one on a surface of many spans) stays quick.
  Tolerance sampling;
  sampling.max_points = 2000;
  Polyline line = polyline(sampling);
  Box box;
  for (const Vec3& p : line.points) box.add(p);
  double margin = detail::chord_for({}, box);
  if (!box.empty()) {
    box.min -= Vec3{margin, margin, margin};
    box.max += Vec3{margin, margin, margin};
  }
  return box;
}

// ---- surfaces

std::vector<double> Surface::u_breaks() const {
  Domain d = finite_domain();
  return {d.u.lo, d.u.hi};
}

std::vector<double> Surface::v_breaks() const {
  Domain d = finite_domain();
  return {d.v.lo, d.v.hi};
}

namespace {

// A curve of constant u or constant v on a surface; it refers to the surface, which must
// outlive it.
class IsoCurve final : public Curve {
 public:
  IsoCurve(const Surface& surface, bool fixed_u, double value)
      : surface_(surface), fixed_u_(fixed_u), value_(value) {}
  Interval range() const override {
    Domain d = surface_.domain();
    return fixed_u_ ? d.v : d.u;
  }
  Interval finite_range() const override {
    Domain d = surface_.finite_domain();
    return fixed_u_ ? d.v : d.u;
  }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    SurfacePoint s = fixed_u_ ? surface_.evaluate(value_, t) : surface_.evaluate(t, value_);
    point = s.point;
    d1 = fixed_u_ ? s.dv : s.du;
  }
  std::vector<double> breaks() const override {
    return fixed_u_ ? surface_.v_breaks() : surface_.u_breaks();
  }

 private:
  const Surface& surface_;
  bool fixed_u_;
  double value_;
};

}  // namespace

std::unique_ptr<Curve> Surface::iso_u(double u) const {
  return std::make_unique<IsoCurve>(*this, true, u);
}

std::unique_ptr<Curve> Surface::iso_v(double v) const {
  return std::make_unique<IsoCurve>(*this, false, v);
}

Box Surface::bounds() const {
  // Iso-curves at every break (at most 33 in each direction, evenly picked) and halfway
  // between: the box of their polylines, enlarged by their chord.
  auto pick = [](std::vector<double> b) {
    std::vector<double> out;
    std::size_t step = b.size() > 33 ? (b.size() + 31) / 32 : 1;
    for (std::size_t i = 0; i < b.size(); i += step) out.push_back(b[i]);
    if (!b.empty() && out.back() != b.back()) out.push_back(b.back());
    std::size_t n = out.size();
    for (std::size_t i = 0; i + 1 < n; ++i) out.push_back((out[i] + out[i + 1]) / 2);
    return out;
  };
  Box box;
  std::vector<std::unique_ptr<Curve>> isos;
  for (double u : pick(u_breaks())) isos.push_back(iso_u(u));
  for (double v : pick(v_breaks())) isos.push_back(iso_v(v));
  Tolerance coarse;
  coarse.max_points = 2000;
  for (auto& c : isos)
    for (const Vec3& p : c->polyline(coarse).points) box.add(p);
  double margin = detail::chord_for({}, box);
  if (!box.empty()) {
    box.min -= Vec3{margin, margin, margin};
    box.max += Vec3{margin, margin, margin};
  }
  return box;
}

// ---- placing

namespace {

class PlacedCurve final : public Curve {
 public:
  PlacedCurve(std::unique_ptr<Curve> inner, const Transform& t) : inner_(std::move(inner)), t_(t) {
    entity_ = inner_->entity();
  }
  Interval range() const override { return inner_->range(); }
  Interval finite_range() const override { return inner_->finite_range(); }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    inner_->evaluate(t, point, d1);
    point = t_.point(point);
    d1 = t_.vector(d1);
  }
  bool evaluate2(double t, Vec3& point, Vec3& d1, Vec3& d2) const override {
    if (!inner_->evaluate2(t, point, d1, d2)) return false;
    point = t_.point(point);
    d1 = t_.vector(d1);
    d2 = t_.vector(d2);
    return true;
  }
  std::vector<double> breaks() const override { return inner_->breaks(); }
  Polyline polyline(const Tolerance& tolerance) const override {
    Tolerance inner = tolerance;
    if (inner.chord <= 0) inner.chord = detail::chord_for({}, bounds_of_inner());
    inner.chord /= t_.scale();
    Polyline line = inner_->polyline(inner);
    for (Vec3& p : line.points) p = t_.point(p);
    return line;
  }

 private:
  // The inner curve's box mapped out, for the default chord: 1/1000 of the placed curve's
  // size, measured on a box that holds it.
  Box bounds_of_inner() const {
    Box inner = inner_->bounds(), out;
    if (inner.empty()) return out;
    for (int i = 0; i < 8; ++i)
      out.add(t_.point({i & 1 ? inner.max.x : inner.min.x, i & 2 ? inner.max.y : inner.min.y,
                        i & 4 ? inner.max.z : inner.min.z}));
    return out;
  }
  std::unique_ptr<Curve> inner_;
  Transform t_;
};

class PlacedSurface final : public Surface {
 public:
  PlacedSurface(std::unique_ptr<Surface> inner, const Transform& t)
      : inner_(std::move(inner)), t_(t) {
    entity_ = inner_->entity();
  }
  Domain domain() const override { return inner_->domain(); }
  Domain finite_domain() const override { return inner_->finite_domain(); }
  SurfacePoint evaluate(double u, double v) const override {
    SurfacePoint s = inner_->evaluate(u, v);
    return {t_.point(s.point), t_.vector(s.du), t_.vector(s.dv)};
  }
  std::vector<double> u_breaks() const override { return inner_->u_breaks(); }
  std::vector<double> v_breaks() const override { return inner_->v_breaks(); }

 private:
  std::unique_ptr<Surface> inner_;
  Transform t_;
};

}  // namespace

std::unique_ptr<Curve> placed(std::unique_ptr<Curve> curve, const Transform& transform) {
  if (!curve || transform.is_identity()) return curve;
  return std::make_unique<PlacedCurve>(std::move(curve), transform);
}

std::unique_ptr<Surface> placed(std::unique_ptr<Surface> surface, const Transform& transform) {
  if (!surface || transform.is_identity()) return surface;
  return std::make_unique<PlacedSurface>(std::move(surface), transform);
}

// ---- the dispatch

namespace {

using CurveFactory = std::unique_ptr<Curve> (*)(igs_directory_entry*, detail::Build&);
using SurfaceFactory = std::unique_ptr<Surface> (*)(igs_directory_entry*, detail::Build&);

CurveFactory curve_factory(igs_directory_entry* e) {
  if (!e) return nullptr;
  switch (e->entity_type()) {
    case 100:
      return detail::make_circular_arc;
    case 102:
      return detail::make_composite_curve;
    case 104:
      return detail::make_conic_arc;
    case 106: {
      int form = e->form();
      bool polyline = (form >= 1 && form <= 3) || (form >= 11 && form <= 13) || form == 63;
      return polyline ? detail::make_copious_data : nullptr;
    }
    case 110:
      return detail::make_line;
    case 112:
      return detail::make_parametric_spline_curve;
    case 116:
      return detail::make_point;
    case 126:
      return detail::make_bspline_curve;
    case 130:
      return detail::make_offset_curve;
    case 142:
      return detail::make_curve_on_surface;
    default:
      return nullptr;
  }
}

SurfaceFactory surface_factory(igs_directory_entry* e) {
  if (!e) return nullptr;
  switch (e->entity_type()) {
    case 108:
      return detail::make_plane;
    case 114:
      return detail::make_parametric_spline_surface;
    case 118:
      return detail::make_ruled_surface;
    case 120:
      return detail::make_surface_of_revolution;
    case 122:
      return detail::make_tabulated_cylinder;
    case 128:
      return detail::make_bspline_surface;
    case 140:
      return detail::make_offset_surface;
    case 143:
      return detail::make_bounded_surface;
    case 144:
      return detail::make_trimmed_surface;
    case 190:
      return detail::make_plane_surface;
    case 192:
      return detail::make_cylindrical_surface;
    case 194:
      return detail::make_conical_surface;
    case 196:
      return detail::make_spherical_surface;
    case 198:
      return detail::make_toroidal_surface;
    default:
      return nullptr;
  }
}

// An entity that the reader could not place is kept as a null entity with the type of its
// directory records; of those only the ray and unbounded forms of a line are read from their
// parameter text.
bool has_data(igs_directory_entry* e) {
  if (!lumo_cast<igs_null_entity>(e)) return true;
  return e->entity_type() == 110 && (e->form() == 1 || e->form() == 2);
}

}  // namespace

bool is_curve(igs_directory_entry* e) { return curve_factory(e) && has_data(e); }
bool is_surface(igs_directory_entry* e) { return surface_factory(e) && has_data(e); }

namespace detail {

std::nullptr_t Build::wrong_class(igs_directory_entry* e, const char* kind) {
  if (lumo_cast<igs_null_entity>(e)) return fail("entity not read");
  return fail(std::string("not a ") + kind);
}

std::unique_ptr<Curve> build_curve(igs_directory_entry* e, Build& build) {
  CurveFactory make = curve_factory(e);
  if (!make) return build.fail(e ? "not a curve" : "no entity");
  return make(e, build);
}

std::unique_ptr<Surface> build_surface(igs_directory_entry* e, Build& build) {
  SurfaceFactory make = surface_factory(e);
  if (!make) return build.fail(e ? "not a surface" : "no entity");
  return make(e, build);
}

std::unique_ptr<Curve> child_curve(igs_directory_entry* e, Build& build, const char* what) {
  if (!e) return build.fail(std::string("missing ") + what);
  if (!build.enter()) return nullptr;
  std::unique_ptr<Curve> c = build_curve(e, build);
  build.leave();
  return placed(std::move(c), placement_of(e));
}

std::unique_ptr<Surface> child_surface(igs_directory_entry* e, Build& build, const char* what) {
  if (!e) return build.fail(std::string("missing ") + what);
  if (!build.enter()) return nullptr;
  std::unique_ptr<Surface> s = build_surface(e, build);
  build.leave();
  return placed(std::move(s), placement_of(e));
}

}  // namespace detail

std::unique_ptr<Curve> make_curve(igs_directory_entry* entity, std::string* why) {
  if (why) why->clear();
  detail::Build build(why);
  return detail::build_curve(entity, build);
}

std::unique_ptr<Surface> make_surface(igs_directory_entry* entity, std::string* why) {
  if (why) why->clear();
  detail::Build build(why);
  return detail::build_surface(entity, build);
}

std::unique_ptr<Curve> make_placed_curve(igs_directory_entry* entity, std::string* why,
                                         const Transform& outer) {
  return placed(make_curve(entity, why), outer * placement_of(entity));
}

std::unique_ptr<Surface> make_placed_surface(igs_directory_entry* entity, std::string* why,
                                             const Transform& outer) {
  return placed(make_surface(entity, why), outer * placement_of(entity));
}

}  // namespace igeslib
