// The plainest curves: the point (116) as a curve of one place, the line (110) with its ray
// and unbounded forms, and the circular arc (100).
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

class PointCurve final : public Curve {
 public:
  PointCurve(igs_directory_entry* e, const Vec3& p) : p_(p) { entity_ = e; }
  Interval range() const override { return {0, 0}; }
  void evaluate(double, Vec3& point, Vec3& d1) const override {
    point = p_;
    d1 = {};
  }
  bool evaluate2(double, Vec3& point, Vec3& d1, Vec3& d2) const override {
    point = p_;
    d1 = d2 = {};
    return true;
  }
  Polyline polyline(const Tolerance&) const override { return {{0.0}, {p_}}; }
  Box bounds() const override {
    Box b;
    b.add(p_);
    return b;
  }

 private:
  Vec3 p_;
};

// P(t) = P1 + t (P2 - P1): t in [0, 1] for a segment, [0, inf) for a ray, all reals for an
// unbounded line. The defining segment stands in for the infinite ends.
class LineCurve final : public Curve {
 public:
  LineCurve(igs_directory_entry* e, const Vec3& a, const Vec3& b, int form)
      : a_(a), b_(b), form_(form) {
    entity_ = e;
  }
  Interval range() const override {
    if (form_ == 1) return {0, infinity};
    if (form_ == 2) return {-infinity, infinity};
    return {0, 1};
  }
  Interval finite_range() const override { return {0, 1}; }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    d1 = b_ - a_;
    point = a_ + d1 * t;
  }
  bool evaluate2(double t, Vec3& point, Vec3& d1, Vec3& d2) const override {
    evaluate(t, point, d1);
    d2 = {};
    return true;
  }
  Polyline polyline(const Tolerance&) const override { return {{0.0, 1.0}, {a_, b_}}; }
  Box bounds() const override {
    Box box;
    box.add(a_);
    box.add(b_);
    return box;
  }

 private:
  Vec3 a_, b_;
  int form_;
};

// Counter-clockwise about (x1, y1) in the plane z = zt, from (x2, y2) to (x3, y3); the
// parameter is the angle in radians from the x axis, so it runs from the start's angle to
// the end's, 2 pi further when the two points coincide.
class ArcCurve final : public Curve {
 public:
  ArcCurve(igs_directory_entry* e, const Vec3& centre, double radius, double a0, double a1)
      : c_(centre), r_(radius), a0_(a0), a1_(a1) {
    entity_ = e;
  }
  Interval range() const override { return {a0_, a1_}; }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    double c = std::cos(t), s = std::sin(t);
    point = c_ + Vec3{r_ * c, r_ * s, 0};
    d1 = {-r_ * s, r_ * c, 0};
  }
  bool evaluate2(double t, Vec3& point, Vec3& d1, Vec3& d2) const override {
    evaluate(t, point, d1);
    d2 = {-r_ * std::cos(t), -r_ * std::sin(t), 0};
    return true;
  }
  std::vector<double> breaks() const override {
    // Quarter turns, so that no span of the polyline starts out as a chord of half a circle.
    std::vector<double> b{a0_};
    double step = std::numbers::pi / 2;
    for (double t = std::floor(a0_ / step + 1) * step; t < a1_; t += step) b.push_back(t);
    b.push_back(a1_);
    return b;
  }

 private:
  Vec3 c_;
  double r_, a0_, a1_;
};

// The parameters of a line kept as text: an entity of a form that has no class of its own
// (the ray and unbounded forms) keeps its parameter lines as read. The first parameter is the
// entity type, and the character after it is the file's parameter delimiter.
bool raw_line(igs_null_entity* e, Vec3& a, Vec3& b) {
  ListOfString* lines = e->parameter_data_records();
  if (!lines) return false;
  std::string text;
  for (unsigned i = 0; i < lines->size(); ++i) {
    const char* line = lines->get(i);
    if (line) text.append(line, strnlen(line, 64));
  }
  std::size_t start = text.find_first_not_of(' ');
  if (start == std::string::npos || text.compare(start, 3, "110") != 0) return false;
  std::size_t at = start + 3;
  while (at < text.size() && text[at] == ' ') ++at;
  if (at >= text.size()) return false;
  char delimiter = text[at++];
  double v[6] = {};
  for (double& value : v) {
    std::size_t end = at;
    while (end < text.size() && text[end] != delimiter && text[end] != ';') ++end;
    std::string field = text.substr(at, end - at);
    for (char& ch : field)
      if (ch == 'D' || ch == 'd') ch = 'E';
    value = std::strtod(field.c_str(), nullptr);
    if (end >= text.size() || text[end] != delimiter) break;
    at = end + 1;
  }
  a = {v[0], v[1], v[2]};
  b = {v[3], v[4], v[5]};
  return true;
}

}  // namespace

std::unique_ptr<Curve> make_point(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_point_entity>(entity);
  if (!e) return build.wrong_class(entity, "curve");
  return std::make_unique<PointCurve>(entity, Vec3{e->x(), e->y(), e->z()});
}

std::unique_ptr<Curve> make_line(igs_directory_entry* entity, Build& build) {
  if (auto* e = lumo_cast<igs_line_entity>(entity))
    return std::make_unique<LineCurve>(entity, Vec3{e->x1(), e->y1(), e->z1()},
                                       Vec3{e->x2(), e->y2(), e->z2()}, 0);
  if (auto* raw = lumo_cast<igs_null_entity>(entity)) {
    int form = entity->form();
    Vec3 a, b;
    if ((form == 1 || form == 2) && raw_line(raw, a, b))
      return std::make_unique<LineCurve>(entity, a, b, form);
  }
  return build.wrong_class(entity, "curve");
}

std::unique_ptr<Curve> make_circular_arc(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_circular_arc_entity>(entity);
  if (!e) return build.wrong_class(entity, "curve");
  Vec3 c{e->x1(), e->y1(), e->zt()};
  double dx2 = e->x2() - e->x1(), dy2 = e->y2() - e->y1();
  double dx3 = e->x3() - e->x1(), dy3 = e->y3() - e->y1();
  double r = std::hypot(dx2, dy2);
  if (!(r > 0) || !std::isfinite(r)) return build.fail("zero radius");
  double a0 = std::atan2(dy2, dx2);
  double a1 = std::atan2(dy3, dx3);
  // A start and end that coincide (to the last bit, or as written) make a full circle.
  if (a1 <= a0) a1 += 2 * std::numbers::pi;
  return std::make_unique<ArcCurve>(entity, c, r, a0, a1);
}

}  // namespace igeslib::detail
