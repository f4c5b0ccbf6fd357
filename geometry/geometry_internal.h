// What the evaluators of the geometry floor share: the one dispatch on the entity's class,
// the guard against reference loops, B-spline bases and the adaptive polyline.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "igeslib_geometry.h"

class ArrayOfDouble;
class ListOfigs_coordinate;
class igs_directory_entry;

namespace igeslib::detail {

// The state of one make_curve or make_surface call: how deep the chain of references runs
// (a composite curve of composite curves..., or a loop of them in a damaged file) and where
// the reason for a failure goes.
class Build {
 public:
  explicit Build(std::string* why) : why_(why) {}
  // Records the first reason given and answers null, so that a factory can
  // `return build.fail("no control points");`.
  std::nullptr_t fail(const std::string& reason) {
    if (why_ && why_->empty()) *why_ = reason;
    return nullptr;
  }
  // Entered around each followed reference; false (with the reason recorded) past the depth
  // that no real file reaches, or past a number of references in all: an entity shared by
  // two members at each of many levels would otherwise be built exponentially often.
  bool enter() {
    if (depth_ >= max_depth) {
      fail("references nested too deep or in a loop");
      return false;
    }
    if (references_ >= max_references) {
      fail("too many references");
      return false;
    }
    if (work_ > max_work) {
      fail("evaluation too costly");
      return false;
    }
    ++depth_;
    ++references_;
    return true;
  }
  void leave() { --depth_; }
  // While a Trial lives, the reasons given go to its own string: for one of two ways to
  // evaluate an entity, whose failure needn't fail the whole build.
  class Trial {
   public:
    explicit Trial(Build& build) : build_(build), saved_(build.why_) { build.why_ = &reason; }
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;
    ~Trial() { build_.why_ = saved_; }
    std::string reason;

   private:
    Build& build_;
    std::string* saved_;
  };
  // Around the build of a child that one evaluation of its parent evaluates `times` times (an
  // offset surface differentiates its surface's normal): the product of these along a chain of
  // references is bounded, so that offsets of offsets can't cost exponentially much a point.
  class Repeat {
   public:
    Repeat(Build& build, double times) : build_(build), saved_(build.work_) {
      build.work_ *= times;
    }
    Repeat(const Repeat&) = delete;
    Repeat& operator=(const Repeat&) = delete;
    ~Repeat() { build_.work_ = saved_; }

   private:
    Build& build_;
    double saved_;
  };
  // The failure of a factory handed an entity of another class: "entity not read" for one
  // that the reader kept as text, else "not a <kind>".
  std::nullptr_t wrong_class(igs_directory_entry* entity, const char* kind);
  static constexpr int max_depth = 64;
  static constexpr long max_references = 200000;
  static constexpr double max_work = 1000;

 private:
  std::string* why_;
  int depth_ = 0;
  long references_ = 0;
  double work_ = 1;
};

// The dispatch: the evaluator of entity in its own coordinates, or null with the reason.
std::unique_ptr<Curve> build_curve(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> build_surface(igs_directory_entry* entity, Build& build);
// An entity that another refers to, placed into its parent's coordinates by its own matrix.
// A null entity fails with "missing <what>".
std::unique_ptr<Curve> child_curve(igs_directory_entry* entity, Build& build, const char* what);
std::unique_ptr<Surface> child_surface(igs_directory_entry* entity, Build& build, const char* what);

// Factories, one per class, by the file that holds them. Each takes the entity as the class
// the dispatch found.
std::unique_ptr<Curve> make_circular_arc(igs_directory_entry* entity, Build& build);
std::unique_ptr<Curve> make_composite_curve(igs_directory_entry* entity, Build& build);
std::unique_ptr<Curve> make_conic_arc(igs_directory_entry* entity, Build& build);
std::unique_ptr<Curve> make_copious_data(igs_directory_entry* entity, Build& build);
std::unique_ptr<Curve> make_line(igs_directory_entry* entity, Build& build);
std::unique_ptr<Curve> make_parametric_spline_curve(igs_directory_entry* entity, Build& build);
std::unique_ptr<Curve> make_point(igs_directory_entry* entity, Build& build);
std::unique_ptr<Curve> make_bspline_curve(igs_directory_entry* entity, Build& build);
std::unique_ptr<Curve> make_offset_curve(igs_directory_entry* entity, Build& build);
std::unique_ptr<Curve> make_curve_on_surface(igs_directory_entry* entity, Build& build);

std::unique_ptr<Surface> make_plane(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_parametric_spline_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_ruled_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_surface_of_revolution(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_tabulated_cylinder(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_bspline_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_offset_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_bounded_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_trimmed_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_plane_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_cylindrical_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_conical_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_spherical_surface(igs_directory_entry* entity, Build& build);
std::unique_ptr<Surface> make_toroidal_surface(igs_directory_entry* entity, Build& build);

// ---- B-spline bases

// The knot span of t for degree p over knots (n + 1 basis functions, knots.size() ==
// n + p + 2): the index i with knots[i] <= t < knots[i + 1], clamped to [p, n], so that t at
// the end of the range takes the last nonempty span.
int find_span(std::span<const double> knots, int p, int n, double t);
// The p + 1 nonzero basis functions at t in span i and their first derivatives (ders may be
// null): values[j] and ders[j] belong to basis function i - p + j.
void basis(std::span<const double> knots, int p, int i, double t, double* values, double* ders);

// Checks the counts and order of a B-spline's data: degree at least 1 (0 for a polyline of
// points is allowed), knots non-decreasing and finite, as many as points + degree + 1,
// weights positive. Returns an empty string when fit, else the reason.
std::string bspline_fault(int degree, std::size_t points, std::span<const double> knots,
                          std::span<const double> weights);

// The values of a list of reals and the points of a list of coordinates; empty for null.
std::vector<double> values_of(ArrayOfDouble* array);

// A field of an entity as it stands, for reading only: an array that the reader shares between
// entities stays shared (its accessor would first give the entity a copy of its own).
template <class Owner, class T>
T* held(Owner* owner, T*& field) {
  return lumo_is_delayed(field) ? static_cast<T*>(lumo_access_object(owner, &field)) : field;
}
std::vector<Vec3> points_of(ListOfigs_coordinate* list);

// ---- polylines

// The adaptive polyline of a curve over [lo, hi] through the given breaks: each span between
// breaks is split at its middle until the chord and angle tolerances hold (or the point
// bound is met).
Polyline adaptive_polyline(const Curve& curve, const Tolerance& tolerance, double lo, double hi,
                           std::span<const double> breaks);
// The chord to use: the tolerance's, or 1/1000 of the box's diagonal when it is 0 (and a
// tiny positive value when that is 0 too).
double chord_for(const Tolerance& tolerance, const Box& box);

}  // namespace igeslib::detail
