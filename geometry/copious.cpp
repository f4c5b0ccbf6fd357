// Copious data as polylines (106 forms 1-3, 11-13, 63): coordinate pairs in the plane z = zt,
// triples, and sextuples of which only the points count.
#include <cmath>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

// The parameter is the vertex index: t in [i, i + 1] runs straight from vertex i to vertex
// i + 1, and the end segments run on beyond the range.
class PolylineCurve final : public Curve {
 public:
  PolylineCurve(igs_directory_entry* e, std::vector<Vec3> points) : p_(std::move(points)) {
    entity_ = e;
  }
  Interval range() const override { return {0, double(p_.size() - 1)}; }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    if (p_.size() == 1) {
      point = p_[0];
      d1 = {};
      return;
    }
    double last = double(p_.size() - 2);
    // NaN and parameters out of the range take the end segments.
    double at = t >= 0 ? (t <= last ? t : last) : 0;
    auto i = std::size_t(at);
    d1 = p_[i + 1] - p_[i];
    point = p_[i] + d1 * (t - double(i));
  }
  bool evaluate2(double t, Vec3& point, Vec3& d1, Vec3& d2) const override {
    evaluate(t, point, d1);
    d2 = {};
    return true;
  }
  std::vector<double> breaks() const override {
    std::vector<double> b(p_.size());
    for (std::size_t i = 0; i < b.size(); ++i) b[i] = double(i);
    return b;
  }
  // The vertices themselves; more than the tolerance's bound are thinned evenly, the ends
  // kept.
  Polyline polyline(const Tolerance& tolerance) const override {
    Polyline out;
    std::size_t n = p_.size();
    std::size_t cap = tolerance.max_points > 2 ? std::size_t(tolerance.max_points) : 2;
    std::size_t count = n < cap ? n : cap;
    out.t.reserve(count);
    out.points.reserve(count);
    for (std::size_t k = 0; k < count; ++k) {
      std::size_t i = count == n ? k : (count == 1 ? 0 : k * (n - 1) / (count - 1));
      out.t.push_back(double(i));
      out.points.push_back(p_[i]);
    }
    return out;
  }
  Box bounds() const override {
    Box box;
    for (const Vec3& p : p_) box.add(p);
    return box;
  }

 private:
  std::vector<Vec3> p_;  // at least one
};

// Appends the points of a list, in the plane z = zt for pairs; false for an item missing.
bool append(ListOfigs_coordinate* list, const double* zt, std::vector<Vec3>& out) {
  for (unsigned i = 0; list && i < list->size(); ++i) {
    igs_coordinate* c = (*list)[i];
    if (!c) return false;
    out.push_back({c->x(), c->y(), zt ? *zt : c->z()});
  }
  return true;
}

}  // namespace

std::unique_ptr<Curve> make_copious_data(igs_directory_entry* entity, Build& build) {
  std::vector<Vec3> points;
  bool missing = false;
  // Forms 1, 11 and 63 hold the same pairs in three classes.
  auto pairs = [&](auto* e) {
    double zt = e->zt();
    missing = !append(e->coordinates(), &zt, points);
  };
  if (auto* e = lumo_cast<igs_coordinate_pairs_entity>(entity)) {
    pairs(e);
  } else if (auto* e = lumo_cast<igs_planar_piecewise_curve_entity>(entity)) {
    pairs(e);
  } else if (auto* e = lumo_cast<igs_simple_closed_planar_curve_entity>(entity)) {
    pairs(e);
    // Closed back to the first point where the file does not repeat it.
    if (points.size() > 1 && !(points.back() == points.front())) points.push_back(points.front());
  } else if (auto* e = lumo_cast<igs_coordinate_triples_entity>(entity)) {
    missing = !append(e->coordinates(), nullptr, points);
  } else if (auto* e = lumo_cast<igs_coordinate_sextuples_entity>(entity)) {
    ListOfigs_sextuple* list = e->sextuples();
    for (unsigned i = 0; list && i < list->size(); ++i) {
      igs_sextuple* s = (*list)[i];
      if (!s)
        missing = true;
      else
        points.push_back({s->x(), s->y(), s->z()});
    }
  } else if (auto* e = lumo_cast<igs_piecewise_curve_entity>(entity)) {
    ListOfigs_piecewise_representation* list = e->piecewise_curve();
    for (unsigned i = 0; list && i < list->size(); ++i) {
      igs_piecewise_representation* item = (*list)[i];
      igs_coordinate* c = item && item->is_coordinate() ? item->_coordinate() : nullptr;
      igs_sextuple* s = item && item->is_sextuple() ? item->_sextuple() : nullptr;
      if (c)
        points.push_back({c->x(), c->y(), c->z()});
      else if (s)
        points.push_back({s->x(), s->y(), s->z()});
      else
        missing = true;
    }
  } else {
    return build.wrong_class(entity, "curve");
  }
  if (missing) return build.fail("missing point");
  if (points.empty()) return build.fail("no points");
  for (const Vec3& p : points)
    if (!finite(p)) return build.fail("point not finite");
  return std::make_unique<PolylineCurve>(entity, std::move(points));
}

}  // namespace igeslib::detail
