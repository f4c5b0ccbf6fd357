// Planes (108, 190) and the analytic surfaces (192-198). Each stands in a frame of its own, an
// origin and three orthonormal axes x, y, z (z the normal of a plane, the axis of the others),
// and takes the natural parameters: a plane the lengths along x and y; a cylinder, cone, sphere
// and torus the angle u about z from x, and in v the height along z (cylinder, cone), the
// latitude (sphere, -pi/2 to pi/2) or the angle about the tube's circle (torus).
#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

constexpr double pi = std::numbers::pi;

struct Frame {
  Vec3 origin, x, y, z;
};

// The frame about the unit vector z whose x is ref made perpendicular to z. Without a ref, or
// with one along z, x is the world axis least along z made perpendicular to it, so that a
// plane z = c gets the world's own x and y.
Frame frame_of(const Vec3& origin, const Vec3& z, const std::optional<Vec3>& ref) {
  Vec3 x;
  if (ref) x = *ref - z * dot(*ref, z);
  if (!(norm(x) > 1e-12)) {
    double ax = std::abs(z.x), ay = std::abs(z.y), az = std::abs(z.z);
    Vec3 world = ax <= ay && ax <= az ? Vec3{1, 0, 0} : (ay <= az ? Vec3{0, 1, 0} : Vec3{0, 0, 1});
    x = world - z * dot(world, z);
  }
  x = normalized(x);
  return {origin, x, cross(z, x), z};
}

// The quarter turns from lo to hi, ends included: breaks that keep a polyline of a full
// circle from starting out as a chord across it.
std::vector<double> quarter_turns(double lo, double hi) {
  std::vector<double> b{lo};
  double step = pi / 2;
  if ((hi - lo) / step < 64)
    for (double t = std::floor(lo / step + 1) * step; t < hi; t += step) b.push_back(t);
  b.push_back(hi);
  return b;
}

class PlaneSurface final : public Surface {
 public:
  PlaneSurface(igs_directory_entry* e, const Frame& f, Domain domain, Domain finite)
      : f_(f), domain_(domain), finite_(finite) {
    entity_ = e;
  }
  Domain domain() const override { return domain_; }
  Domain finite_domain() const override { return finite_; }
  SurfacePoint evaluate(double u, double v) const override {
    return {f_.origin + f_.x * u + f_.y * v, f_.x, f_.y};
  }

 private:
  Frame f_;
  Domain domain_, finite_;
};

// A surface about the frame's z axis: at angle u and profile parameter v it is
// origin + rho(v) (cos u x + sin u y) + h(v) z.
class RoundSurface final : public Surface {
 public:
  enum Kind { cylinder, cone, sphere, torus };
  // a is the radius (the major radius of a torus); b the cone's slope (tangent of its
  // semi-angle) or the torus's minor radius.
  RoundSurface(igs_directory_entry* e, const Frame& f, Kind kind, double a, double b)
      : f_(f), kind_(kind), a_(a), b_(b) {
    entity_ = e;
  }
  Domain domain() const override {
    switch (kind_) {
      case sphere:
        return {{0, 2 * pi}, {-pi / 2, pi / 2}};
      case torus:
        return {{0, 2 * pi}, {0, 2 * pi}};
      default:
        return {{0, 2 * pi}, {-infinity, infinity}};
    }
  }
  // A cylinder as high as its diameter, centred on its origin; a cone likewise, cut at its
  // apex where that comes first (and one of zero radius at the origin, a unit high).
  Domain finite_domain() const override {
    Domain d = domain();
    if (kind_ == cylinder) d.v = {-a_, a_};
    if (kind_ == cone) {
      double h = a_ > 0 ? a_ : 1;
      d.v = {std::max(-h, -a_ / b_), h};
    }
    return d;
  }
  std::vector<double> u_breaks() const override { return quarter_turns(0, 2 * pi); }
  std::vector<double> v_breaks() const override {
    Domain d = finite_domain();
    return kind_ == cylinder || kind_ == cone ? std::vector<double>{d.v.lo, d.v.hi}
                                              : quarter_turns(d.v.lo, d.v.hi);
  }
  SurfacePoint evaluate(double u, double v) const override {
    double rho = 0, drho = 0, h = 0, dh = 0;
    switch (kind_) {
      case cylinder:
        rho = a_, h = v, dh = 1;
        break;
      case cone:
        rho = a_ + b_ * v, drho = b_, h = v, dh = 1;
        break;
      case sphere:
        rho = a_ * std::cos(v), drho = -a_ * std::sin(v), h = a_ * std::sin(v),
        dh = a_ * std::cos(v);
        break;
      case torus:
        rho = a_ + b_ * std::cos(v), drho = -b_ * std::sin(v), h = b_ * std::sin(v),
        dh = b_ * std::cos(v);
        break;
    }
    Vec3 radial = f_.x * std::cos(u) + f_.y * std::sin(u);
    Vec3 tangent = f_.y * std::cos(u) - f_.x * std::sin(u);
    return {f_.origin + radial * rho + f_.z * h, tangent * rho, radial * drho + f_.z * dh};
  }

 private:
  Frame f_;
  Kind kind_;
  double a_, b_;
};

// A direction entity as a unit vector in the surface's coordinates; nothing for a null or a
// zero one.
std::optional<Vec3> direction_of(igs_direction_entity* d) {
  if (!d) return std::nullopt;
  Vec3 v = placement_of(d).vector({d->x(), d->y(), d->z()});
  double n = norm(v);
  if (!(n > 0) || !std::isfinite(n)) return std::nullopt;
  return v / n;
}

// The frame at the location point (placed by its own matrix) about the axis, with x along the
// reference direction where the surface is parametrised (form 1) and has one. what names the
// axis; null for one that may be absent (a sphere's), the world's z then.
std::optional<Frame> frame_of(igs_point_entity* location, igs_direction_entity* axis,
                              igs_direction_entity* ref, bool parametrised, Build& build,
                              const char* what) {
  if (!location) {
    build.fail("missing location");
    return std::nullopt;
  }
  Vec3 at = placement_of(location).point({location->x(), location->y(), location->z()});
  if (!finite(at)) {
    build.fail("location not finite");
    return std::nullopt;
  }
  std::optional<Vec3> z = direction_of(axis);
  if (!z && what) {
    build.fail(axis ? std::string(what) + " of zero length" : std::string("missing ") + what);
    return std::nullopt;
  }
  return frame_of(at, z.value_or(Vec3{0, 0, 1}), parametrised ? direction_of(ref) : std::nullopt);
}

bool positive(double r) { return r > 0 && std::isfinite(r); }

}  // namespace

// The plane a x + b y + c z = d, from the point (x, y, z) projected into it. A bounded form's
// domain is its bounding curve's extent along the frame's axes; an unbounded plane (or one
// whose curve can't be evaluated) shows a square of the display size about the point.
std::unique_ptr<Surface> make_plane(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_plane_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  Vec3 n{e->a(), e->b(), e->c()};
  double length = norm(n);
  if (!(length > 0) || !std::isfinite(length)) return build.fail("plane normal of zero length");
  if (!std::isfinite(e->d())) return build.fail("plane constant not finite");
  n = n / length;
  Vec3 p{e->x(), e->y(), e->z()};
  if (!finite(p)) return build.fail("display point not finite");
  Frame f = frame_of(p - n * (dot(n, p) - e->d() / length), n, std::nullopt);

  double half = positive(e->Size()) ? e->Size() / 2 : 0.5;
  Domain all{{-infinity, infinity}, {-infinity, infinity}};
  Domain finite{{-half, half}, {-half, half}};
  if (e->form() != 0 && e->ptr()) {
    Build::Trial trial(build);
    std::unique_ptr<Curve> boundary = child_curve(e->ptr(), build, "bounding curve");
    Box extent;
    if (boundary) {
      Polyline line = boundary->polyline();
      for (const Vec3& q : line.points)
        extent.add(Vec3{dot(q - f.origin, f.x), dot(q - f.origin, f.y), 0});
    }
    if (!extent.empty()) {
      double margin = chord_for({}, extent);
      Domain d{{extent.min.x - margin, extent.max.x + margin},
               {extent.min.y - margin, extent.max.y + margin}};
      return std::make_unique<PlaneSurface>(entity, f, d, d);
    }
  }
  return std::make_unique<PlaneSurface>(entity, f, all, finite);
}

// Unbounded in both directions; the square of side 2 about the point stands in for it.
std::unique_ptr<Surface> make_plane_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_plane_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  std::optional<Frame> f =
      frame_of(e->deloc(), e->denrml(), e->derefd(), e->form() == 1, build, "normal");
  if (!f) return nullptr;
  Domain all{{-infinity, infinity}, {-infinity, infinity}};
  return std::make_unique<PlaneSurface>(entity, *f, all, Domain{{-1, 1}, {-1, 1}});
}

std::unique_ptr<Surface> make_cylindrical_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_right_circular_cylindrical_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  std::optional<Frame> f =
      frame_of(e->deloc(), e->deaxis(), e->derefd(), e->form() == 1, build, "axis");
  if (!f) return nullptr;
  if (!positive(e->radius())) return build.fail("radius not positive");
  return std::make_unique<RoundSurface>(entity, *f, RoundSurface::cylinder, e->radius(), 0);
}

// The radius grows along the axis at the semi-angle, which the file gives in degrees.
std::unique_ptr<Surface> make_conical_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_right_circular_conical_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  std::optional<Frame> f =
      frame_of(e->deloc(), e->deaxis(), e->derefd(), e->form() == 1, build, "axis");
  if (!f) return nullptr;
  if (!(e->radius() >= 0) || !std::isfinite(e->radius())) return build.fail("radius negative");
  if (!(e->sangle() > 0 && e->sangle() < 90)) return build.fail("semi-angle out of range");
  return std::make_unique<RoundSurface>(entity, *f, RoundSurface::cone, e->radius(),
                                        std::tan(e->sangle() * pi / 180));
}

// Without an axis (form 0) the sphere stands in the world's axes.
std::unique_ptr<Surface> make_spherical_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_spherical_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  bool parametrised = e->form() == 1;
  std::optional<Frame> f = frame_of(e->deloc(), parametrised ? e->deaxis() : nullptr, e->derefd(),
                                    parametrised, build, nullptr);
  if (!f) return nullptr;
  if (!positive(e->radius())) return build.fail("radius not positive");
  return std::make_unique<RoundSurface>(entity, *f, RoundSurface::sphere, e->radius(), 0);
}

std::unique_ptr<Surface> make_toroidal_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_toroidal_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  std::optional<Frame> f =
      frame_of(e->deloc(), e->deaxis(), e->derefd(), e->form() == 1, build, "axis");
  if (!f) return nullptr;
  if (!positive(e->majrad()) || !positive(e->minrad())) return build.fail("radius not positive");
  return std::make_unique<RoundSurface>(entity, *f, RoundSurface::torus, e->majrad(), e->minrad());
}

}  // namespace igeslib::detail
