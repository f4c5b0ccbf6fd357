// What the parts of the mesher share: the constrained triangulation of a surface's domain (the
// one place that sees CGAL), trim loops in the domain with their points in space, the
// tessellation of one face, point inversion and the curve of a parameter-space curve mapped
// through its surface.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "igeslib_geometry.h"
#include "igeslib_mesh.h"

namespace igeslib::mesh_detail {

struct Uv {
  double u = 0, v = 0;
};

// A constrained Delaunay triangulation in a plane, with exact predicates. Constraint segments
// that cross are split where they cross. The domain is what lies inside an odd number of
// constraint loops: an outer boundary less its holes, islands in holes counted again.
class PlaneTriangulation {
 public:
  PlaneTriangulation();
  ~PlaneTriangulation();
  PlaneTriangulation(const PlaneTriangulation&) = delete;
  PlaneTriangulation& operator=(const PlaneTriangulation&) = delete;

  // Adds a point (finite coordinates only) and answers its id: ids count from 0 in order of
  // adding; a point that coincides with one added before answers that one's id.
  int insert(Uv p);
  // A constraint segment between two points added.
  void constrain(int a, int b);
  // Marks the domain; to be called after the constraints are in.
  void mark_domain();
  // Adds a point that falls strictly inside the domain (in a triangle of it or on an edge that
  // is not a constraint), near the point hint; -1, with nothing added, for any other point.
  // The triangles made keep their place in the domain.
  int insert_inside(Uv p, int hint = -1);

  struct Triangle {
    int v[3];             // counter-clockwise
    bool constrained[3];  // the edge opposite v[i] is a constraint
  };
  // The triangles of the domain.
  std::vector<Triangle> domain_triangles();
  // Every point, those made where constraints cross included; point(id) for any id that a
  // triangle names.
  std::size_t size() const;
  Uv point(int id) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// A point of a trim loop: where it lies in the surface's domain and where it lies in space.
// The point in space is the one the mesh uses, so that faces sharing an edge share its points
// exactly.
struct LoopPoint {
  Uv uv;
  Vec3 point;
};
using Loop = std::vector<LoopPoint>;

struct FaceSettings {
  double chord = 0;
  double angle = 0;
  int max_points = 200000;
};

// Tessellates surface over the part of its domain inside the loops (closed: the last point
// joins the first), adding the domain's own boundary as a loop with with_domain. Points are
// added inside until every triangle lies within the chord of the surface and turns from its
// normals by at most the angle. Reversed faces have their triangles turned over. Empty on
// success, else why the face could not be meshed.
std::string mesh_face(const Surface& surface, std::vector<Loop> loops, bool with_domain,
                      bool reversed, const FaceSettings& settings, TriangleMesh& out);

// The loop of a domain's boundary: its four sides sampled within the settings.
Loop domain_loop(const Surface& surface, const FaceSettings& settings);

// Whether a surface closes on itself across its domain's u (or v) ends: a cylinder's seam.
struct Closure {
  bool u = false, v = false;
};

// Finds the parameters of points on a surface: Newton's method on the distance from a seed,
// or from the nearest point of a grid over the domain.
class Inverter {
 public:
  Inverter(const Surface& surface, double tolerance);
  // The parameters of the point of the surface nearest p, and its distance; nothing when no
  // point within the tolerance is found.
  std::optional<Uv> invert(const Vec3& p, const Uv* seed = nullptr, double* distance = nullptr);
  const Surface& surface() const { return surface_; }
  const Domain& domain() const { return domain_; }
  Closure closure() const { return closure_; }
  double tolerance() const { return tolerance_; }

 private:
  Uv newton(const Vec3& p, Uv start) const;
  Uv inside(Uv p) const;
  const Surface& surface_;
  Domain domain_;
  Closure closure_;
  double tolerance_;
  double close_enough_ = 0;
  std::vector<Uv> grid_uv_;
  std::vector<Vec3> grid_points_;
};

// Points in space along a trim curve with their parameters on the surface, found by inversion:
// each from the one before as a seed (or from the seeds given, one per point), then seam and
// pole points put on the side their neighbours lie. False, with why, when a point can't be
// found on the surface.
bool invert_points(Inverter& inverter, const std::vector<Vec3>& points,
                   const std::vector<Uv>* seeds, Loop& out, std::string* why);

// Puts the points of a loop that lie on a seam of a closed surface onto the side where their
// neighbours along the loop lie, and the points at a pole (where one parameter says nothing)
// level with their neighbours. False when the loop crosses a seam, which a loop inside the
// domain can't do.
bool settle_seams(const Inverter& inverter, Loop& loop);

// A parameter-space curve (x is u, y is v) mapped through its surface into space.
class CurveOnSurface final : public Curve {
 public:
  CurveOnSurface(const Surface& surface, std::unique_ptr<Curve> uv)
      : surface_(surface), uv_(std::move(uv)) {}
  Interval range() const override { return uv_->range(); }
  Interval finite_range() const override { return uv_->finite_range(); }
  void evaluate(double t, Vec3& point, Vec3& d1) const override;
  std::vector<double> breaks() const override { return uv_->breaks(); }
  Uv uv(double t) const {
    Vec3 p = uv_->point(t);
    return {p.x, p.y};
  }

 private:
  const Surface& surface_;
  std::unique_ptr<Curve> uv_;
};

// The points of a parameter-space curve: sampled through its surface within the settings,
// each with its parameters and its point on the surface.
Loop sample_on_surface(const Surface& surface, std::unique_ptr<Curve> uv,
                       const FaceSettings& settings);

// Appends a piece of a loop, leaving out its first point where it repeats the last one.
void append_piece(Loop& loop, const Loop& piece);
// Drops a closing point that repeats the first.
void close_loop(Loop& loop);

// The determinant of a transform's linear part: negative for one that mirrors.
double determinant(const Transform& t);
// A unit normal carried by a transform: by the inverse transpose of its linear part, so that
// it stays normal to the placed surface under any map.
Vec3 placed_normal(const Transform& t, const Vec3& n);

// The tolerance to sample curves with.
Tolerance curve_tolerance(const FaceSettings& settings);

}  // namespace igeslib::mesh_detail
