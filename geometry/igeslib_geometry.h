// Geometry from the model: curves and surfaces evaluated, placed in model space, sampled and
// bounded. The entity classes hold what a file says; this floor reads them (never the file)
// and answers points, derivatives, normals, polylines and boxes.
//
//   std::string why;
//   std::unique_ptr<igeslib::Curve> curve = igeslib::make_curve(entity, &why);
//   if (!curve) ...                                   // why says what was missing
//   igeslib::Vec3 p = curve->point(curve->range().lo);
//   igeslib::Polyline line = curve->polyline({.chord = 0.01});
//
// An evaluator works in its entity's own coordinates (before the entity's transformation
// matrix); placed() or make_placed_curve() puts it in model space. Members of a composite
// curve, the curves of a ruled surface and every other entity that an entity refers to are
// placed by their own matrices into their parent's coordinates, as the file format defines.
// Evaluators hold pointers to the entity objects and read them at every call: they live no
// longer than the model, and a change of an entity after make_curve may or may not show.
#pragma once

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

class igs_directory_entry;
class igs_global;
class igs_transformation_matrix_entity;

namespace igeslib {

struct Vec3 {
  double x = 0, y = 0, z = 0;
  constexpr Vec3 operator+(const Vec3& b) const { return {x + b.x, y + b.y, z + b.z}; }
  constexpr Vec3 operator-(const Vec3& b) const { return {x - b.x, y - b.y, z - b.z}; }
  constexpr Vec3 operator-() const { return {-x, -y, -z}; }
  constexpr Vec3 operator*(double s) const { return {x * s, y * s, z * s}; }
  constexpr Vec3 operator/(double s) const { return {x / s, y / s, z / s}; }
  constexpr Vec3& operator+=(const Vec3& b) { return *this = *this + b; }
  constexpr Vec3& operator-=(const Vec3& b) { return *this = *this - b; }
  constexpr bool operator==(const Vec3&) const = default;
};
constexpr Vec3 operator*(double s, const Vec3& v) { return v * s; }
constexpr double dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
constexpr Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double norm(const Vec3& v) { return std::sqrt(dot(v, v)); }
// v scaled to length 1; the zero vector (and one that isn't finite) stays as it is.
Vec3 normalized(const Vec3& v);
inline bool finite(const Vec3& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

constexpr double infinity = std::numeric_limits<double>::infinity();

// A closed parameter interval. An unbounded end is infinite (the ray and line forms of a
// line, the axial direction of an analytic cylinder or cone, an unbounded plane).
struct Interval {
  double lo = 0, hi = 0;
  bool bounded() const { return std::isfinite(lo) && std::isfinite(hi); }
  double length() const { return hi - lo; }
  bool contains(double t) const { return t >= lo && t <= hi; }
  double clamp(double t) const { return t < lo ? lo : (t > hi ? hi : t); }
};

// An axis-aligned box; a new box is empty and takes the first point added.
struct Box {
  Vec3 min{infinity, infinity, infinity};
  Vec3 max{-infinity, -infinity, -infinity};
  bool empty() const { return !(min.x <= max.x && min.y <= max.y && min.z <= max.z); }
  // Points that aren't finite are left out.
  void add(const Vec3& p);
  void add(const Box& b);
  Vec3 centre() const { return (min + max) * 0.5; }
  Vec3 size() const { return empty() ? Vec3{} : max - min; }
  double diagonal() const { return empty() ? 0.0 : norm(max - min); }
};

// An affine map x' = R x + T, as a transformation matrix entity states it: rows
// (r11 r12 r13 t1), (r21 r22 r23 t2), (r31 r32 r33 t3).
struct Transform {
  std::array<std::array<double, 4>, 3> m{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}};

  static Transform translation(const Vec3& t);
  static Transform scaling(double s);
  // A rotation by angle (radians, counter-clockwise) about the z axis.
  static Transform rotation_z(double angle);
  // The matrix of a transformation matrix entity alone, without the matrix it refers to.
  static Transform of(igs_transformation_matrix_entity* matrix);

  Vec3 point(const Vec3& p) const;
  // A direction or derivative: the linear part only.
  Vec3 vector(const Vec3& v) const;
  // The box that holds the eight corners of box mapped: it holds whatever box holds.
  Box box(const Box& box) const;
  // This map after inner: (a * b).point(p) == a.point(b.point(p)).
  Transform operator*(const Transform& inner) const;
  bool is_identity() const;
  // The most by which a length grows: the largest singular value of R (for a similarity the
  // cube root of |det R|), at least a tiny positive value; 1 for a matrix that isn't finite.
  double scale() const;
};

// The map from an entity's own coordinates to model space: its transformation matrix, after
// it the matrix that matrix refers to, and so on outward. No matrix gives the identity; a
// chain of matrices that comes back on itself is followed once around.
Transform placement_of(igs_directory_entry* entity);
// The entity's transformation matrix (geometric, annotation, structure and solid families
// carry one); null for none or for a class without the field.
igs_transformation_matrix_entity* transformation_of(igs_directory_entry* entity);

// How finely a curve is turned into a polyline. The chord is the largest distance between a
// segment and the curve, in the curve's units; 0 means 1/1000 of the diagonal of the curve's
// box. The angle (radians) is the largest turn of the tangent along one segment.
struct Tolerance {
  double chord = 0;
  double angle = 0.2617993877991494;  // 15 degrees
  // A bound on the points of one polyline, so that a tolerance far below the model's
  // resolution can't run away; the polyline is then as fine as this many points allow.
  int max_points = 100000;
};

// A polyline with the parameter of each point.
struct Polyline {
  std::vector<double> t;
  std::vector<Vec3> points;
};

class Curve {
 public:
  virtual ~Curve() = default;
  // The parameter interval of the curve.
  virtual Interval range() const = 0;
  // The point and the first derivative with respect to the parameter at t; t outside the
  // range is evaluated where the definition allows, else at the nearest end.
  virtual void evaluate(double t, Vec3& point, Vec3& d1) const = 0;
  // The point and the first and second derivatives at t, for a curve that has the second
  // in closed form (an offset curve turns with its base's); false, with nothing set, for a
  // curve that has not.
  virtual bool evaluate2(double t, Vec3& point, Vec3& d1, Vec3& d2) const;
  Vec3 point(double t) const;
  Vec3 derivative(double t) const;
  // Parameters where the curve may break: knots, spline joints, member and segment ends,
  // sorted, ends of the range included. A polyline keeps every break as a vertex.
  virtual std::vector<double> breaks() const;
  // Points along the curve within the tolerance, the ends and the breaks included. An
  // unbounded curve is sampled over its finite_range().
  virtual Polyline polyline(const Tolerance& tolerance = {}) const;
  // A box that holds the curve over its finite range: from a control polygon where one
  // exists (it holds the curve), else from the polyline enlarged by its chord.
  virtual Box bounds() const;
  // range() with each infinite end replaced by a finite stand-in that shows the curve (a
  // ray or line form of a line: its defining segment).
  virtual Interval finite_range() const { return range(); }
  // The entity evaluated; null for a curve made here (an iso-curve, a placed copy keeps it).
  igs_directory_entry* entity() const { return entity_; }

 protected:
  igs_directory_entry* entity_ = nullptr;
};

// The domain of a surface: u and v intervals.
struct Domain {
  Interval u, v;
};

struct SurfacePoint {
  Vec3 point, du, dv;
  // The unit normal du x dv; the zero vector where the surface is degenerate.
  Vec3 normal() const { return normalized(cross(du, dv)); }
};

class Surface {
 public:
  virtual ~Surface() = default;
  virtual Domain domain() const = 0;
  // The point and both partial derivatives at (u, v).
  virtual SurfacePoint evaluate(double u, double v) const = 0;
  Vec3 point(double u, double v) const { return evaluate(u, v).point; }
  Vec3 normal(double u, double v) const { return evaluate(u, v).normal(); }
  // Knots or patch joints in each direction, sorted, domain ends included.
  virtual std::vector<double> u_breaks() const;
  virtual std::vector<double> v_breaks() const;
  // domain() with each infinite end replaced by a finite stand-in that shows the surface.
  virtual Domain finite_domain() const { return domain(); }
  // The curve at fixed u (its parameter runs over v) and at fixed v (over u).
  std::unique_ptr<Curve> iso_u(double u) const;
  std::unique_ptr<Curve> iso_v(double v) const;
  // A box that holds the surface over its finite domain: the control net's where there is
  // one, else from a grid of points with the iso-curves' polylines, enlarged by a margin.
  virtual Box bounds() const;
  igs_directory_entry* entity() const { return entity_; }

 protected:
  igs_directory_entry* entity_ = nullptr;
};

// Whether an entity is of a class evaluated as a curve (100, 102, 104, 106 forms 1-3, 11-13
// and 63, 110, 112, 116, 126, 130, 142) or as a surface (108, 114, 118, 120, 122, 128, 140,
// 190-198; 143 and 144 evaluate as their underlying surface).
bool is_curve(igs_directory_entry* entity);
bool is_surface(igs_directory_entry* entity);

// The evaluator of a curve or surface entity in its own coordinates. Null when the entity is
// of no such class, or when its data can't be evaluated (a pointer to nothing, no control
// points, knots out of order, a loop of references); why, when given, then says which in a
// few words ("no control points").
std::unique_ptr<Curve> make_curve(igs_directory_entry* entity, std::string* why = nullptr);
std::unique_ptr<Surface> make_surface(igs_directory_entry* entity, std::string* why = nullptr);

// The same evaluators in model space: placed by placement_of(entity), then by outer (a
// subfigure instance's map, say).
std::unique_ptr<Curve> make_placed_curve(igs_directory_entry* entity, std::string* why = nullptr,
                                         const Transform& outer = {});
std::unique_ptr<Surface> make_placed_surface(igs_directory_entry* entity,
                                             std::string* why = nullptr,
                                             const Transform& outer = {});
// An evaluator mapped by a transform; the identity gives it back unchanged.
std::unique_ptr<Curve> placed(std::unique_ptr<Curve> curve, const Transform& transform);
std::unique_ptr<Surface> placed(std::unique_ptr<Surface> surface, const Transform& transform);

// ---- placement in the model

// One entity as it stands in the model: its map to model space (its own matrices included)
// and the subfigure instance it is shown by.
struct Placed {
  igs_directory_entry* entity = nullptr;
  Transform transform;
  // The outermost subfigure instance (408, 412, 414) that shows it, or the point (116) whose
  // display symbol it belongs to; null for an entity that stands on its own.
  igs_directory_entry* instance = nullptr;
};

// Every entity as it is shown, in file order.
// - An entity stands on its own, with placement_of(entity), unless it is physically dependent
//   (its parent shows it: a composite curve its members, a trimmed surface its curves, a
//   solid its faces), a member of a subfigure definition (308) or a definition itself.
// - A singular subfigure instance (408) shows the members of its definition: each member by
//   its own matrix into the definition's space, then scaled by the instance's scale (0, as
//   an empty parameter reads, is the default 1), moved by its (x, y, z), then mapped by the
//   instance's own matrix. A member that is itself an instance or a definition is expanded
//   the same way inside.
// - A rectangular array (412) shows its base entity (a definition's members, another array,
//   or one curve or point) at nc x nr positions: the base is scaled, moved to column c and
//   row r (c dx, r dy), the whole array turned by ax about its first position and moved
//   there (x, y, z), then the instance's matrix. Positions count from 1 along the first row,
//   then row by row.
// - A circular array (414) shows its base at ne positions on the circle of radius r about
//   (x, y, z), the first at the angle ast, each next ad further (counter-clockwise); the
//   copies are moved, not turned.
// - In both arrays an empty list shows every position; else the flag ddf 1 shows every
//   position but those listed, and any other value only those listed (positions outside the
//   array are ignored).
// - A point (116) with a display symbol shows the symbol's members moved to the point.
// Blanked entities are included (Placed.entity->blank() tells). Damaged files are safe: a
// definition that shows itself is not entered again, nesting stops at 32 levels, and the
// result stops at 100,000 entries (a real file stays far below).
std::vector<Placed> placements(std::span<igs_directory_entry* const> entities);

// The model's units, from the Global section. The unit flag decides: 1 inch, 2 millimetre,
// 4 foot, 5 mile, 6 metre, 7 kilometre, 8 mil, 9 micron, 10 centimetre, 11 microinch. The
// unit name is read only when the flag is 3 ("named by the unit name") or names no unit:
// "IN" or "INCH", "MM", "FT", "MI", "M", "KM", "MIL", "UM", "CM", "UIN" (and their spelled
// out English names, in any case). A name that disagrees with a flag of a unit is kept in
// `name` and otherwise ignored. The model space scale is reported, not applied: it is the
// scale of a drawing, and model coordinates are true sizes in the unit.
struct Units {
  int flag = 0;      // the unit flag as the file gives it; -1 when it gives none
  std::string name;  // the unit name as the file gives it ("MM", "INCH")
  double model_space_scale = 1;
  // Millimetres in one model unit; 0 when neither flag nor name tells.
  double millimetres = 0;
  // "MM", "IN", "FT", "MI", "M", "KM", "MIL", "UM", "CM", "UIN": the unit's usual short
  // name; "unknown" when millimetres is 0.
  std::string symbol() const;
};
Units model_units(igs_global* global);

// ---- boundaries of surfaces

// The edges of a bounded surface as curves, with the surface they bound:
// - a trimmed surface (144): its outer boundary and its holes, each a curve on the surface
//   (142), evaluated as its preference and what is present say; an outer boundary of 0 is
//   the surface's domain;
// - a bounded surface (143): the curves of each boundary (141), the model-space curve of each
//   piece, or its parameter-space curves mapped through the surface where the boundary
//   prefers them or has no model-space curve;
// - a face (510): the curves of the edges its loops use (504), each edge once per use;
// - a plane (108) with a bounding curve: that curve;
// - any other surface: the edges of its finite domain.
// Referenced entities are placed by their own matrices, as everywhere.
struct Boundary {
  // The surface bounded, in the entity's own coordinates; null when it can't be made.
  std::unique_ptr<Surface> surface;
  // Every curve of every loop, the outer loop first, in the entity's own coordinates. Edges
  // of the domain are iso-curves of surface and live no longer than it.
  std::vector<std::unique_ptr<Curve>> curves;
  // The loops once more in the surface's parameter space (x is u, y is v), one list of
  // curves per loop: the parameter curves of the curves on the surface, of the boundaries,
  // of the face's edge uses, or the domain's rectangle. Empty unless every loop has them.
  std::vector<std::vector<std::unique_ptr<Curve>>> parameter_loops;
  // One line for each part that could not be made and is left out, with why
  // ("hole 2: knots out of order", "surface: not evaluated yet"); empty when whole.
  std::vector<std::string> faults;
};
// The boundary of a surface, trimmed surface, bounded surface or face; for an entity of any
// other class, an empty boundary whose fault says "not a surface".
Boundary boundary_of(igs_directory_entry* entity);
// Iso-curves across a boundary's surface, n at even steps in each direction over the box of
// its parameter loops (within the finite domain), each cut to its pieces inside the loops.
// None where the loops are not known in parameter space (a trimmed surface whose curves are
// given in model space only): they could not be cut. They live no longer than
// boundary.surface.
std::vector<std::unique_ptr<Curve>> isolines(const Boundary& boundary, int n);

// ---- bounds

// The box of one entity in model space under transform. A curve's is its own box (a
// B-spline's control polygon box, which holds it) intersected with the box of its polyline
// enlarged by the chord; a point's is the point. A surface's is its own box (a B-spline
// surface's control net box) intersected with the box of a grid of iso-curves' polylines
// enlarged by their chord; an unbounded surface standing alone (a plane, a cylinder) has
// none. A trimmed or bounded surface or a face is
// boxed by its boundary curves and the iso-curves cut to its loops; where those loops are
// not known in parameter space, by the whole surface, or by the boundary alone when the
// surface is unbounded. A solid (186) or shell (514) is the box of its faces; a subfigure
// instance (408, 412, 414) that of what it shows. Empty for an entity without geometry.
Box entity_bounds(igs_directory_entry* entity, const Transform& transform);
// The box of everything placements() gives that has geometry, blanked entities left out.
// An entity shown more than once (by subfigure instances) is boxed once in its own
// coordinates and that box's corners placed for each showing.
Box model_bounds(std::span<igs_directory_entry* const> entities);

// ---- display attributes

struct Rgb {
  double r = 0, g = 0, b = 0;  // 0 to 1
};
// The entity's colour: a colour number (1 black, 2 red, 3 green, 4 blue, 5 yellow, 6
// magenta, 7 cyan, 8 white) or a colour definition's (314) red, green and blue, which it
// gives in percent (clamped to 0-100); nothing for no colour (the number 0, or a definition
// of no finite values) or a class without the field.
std::optional<Rgb> colour_of(igs_directory_entry* entity);

}  // namespace igeslib
