// Rational B-spline curves and surfaces: their counts, knots, weights and parameter ranges, and
// their flags (planar, closed, polynomial) against what the data describe.
#include <algorithm>
#include <cmath>
#include <optional>
#include <span>

#include "check_internal.h"

namespace igeslib::check_detail {

namespace {

std::span<const double> values(ArrayOfDouble* array) {
  if (!array || !array->size()) return {};
  return {array->_data(), array->size()};
}

// The span of a B-spline's knots where its basis is whole, t[degree] to t[points]: the curve
// or surface that the data describe, which a flag such as closed speaks of, whatever part of it
// the parameter range takes. The fallback when the knots don't make one.
Interval knot_range(std::span<const double> t, int degree, long long points, Interval fallback) {
  if (degree < 1 || points < degree + 1 ||
      static_cast<long long>(t.size()) != points + degree + 1 ||
      !std::is_sorted(t.begin(), t.end()))
    return fallback;
  Interval r{t[static_cast<std::size_t>(degree)], t[static_cast<std::size_t>(points)]};
  return r.lo < r.hi ? r : fallback;
}

Vec3 point_of(igs_coordinate* p) { return p ? Vec3{p->x_, p->y_, p->z_} : Vec3{}; }

// Knots in order: the first place where one falls below the one before (or isn't a number).
void knots(Context& c, int de, const char* field, std::span<const double> t) {
  for (std::size_t i = 0; i < t.size(); ++i) {
    if (!std::isfinite(t[i])) {
      c.add("bspline-knots", de, std::string(field) + "[" + std::to_string(i) + "]",
            "knot " + std::to_string(i) + " is not a number");
      return;
    }
    if (i && t[i] < t[i - 1]) {
      c.add("bspline-knots", de, std::string(field) + "[" + std::to_string(i) + "]",
            "knot " + std::to_string(i) + " (" + number(t[i]) + ") is below knot " +
                std::to_string(i - 1) + " (" + number(t[i - 1]) + ")");
      return;
    }
  }
}

// The counts of one direction: degree at least 1, more points than the degree, and the knots
// that points and degree call for. False when the knots can't be trusted for the range.
bool counts(Context& c, int de, const char* direction, int degree, long long points,
            std::size_t knots) {
  std::string where = *direction ? std::string(" in the ") + direction + " direction" : "";
  if (degree < 1) {
    c.add("bspline-counts", de, "", "degree " + std::to_string(degree) + where + " is below 1");
    return false;
  }
  if (points < degree + 1) {
    c.add("bspline-counts", de, "",
          std::to_string(points) + " control points" + where + " are too few for degree " +
              std::to_string(degree));
    return false;
  }
  if (static_cast<long long>(knots) != points + degree + 1) {
    c.add("bspline-counts", de, "",
          std::to_string(knots) + " knots" + where + "; " + std::to_string(points) +
              " points of degree " + std::to_string(degree) + " need " +
              std::to_string(points + degree + 1));
    return false;
  }
  return true;
}

// The parameter range: increasing, within the knots from t[degree] to t[points].
void range(Context& c, int de, const char* field, std::span<const double> range,
           std::span<const double> t, int degree, long long points, bool trusted) {
  if (range.size() != 2) return;
  double lo = range[0], hi = range[1];
  if (!(lo < hi)) {
    c.add("bspline-range", de, field,
          "the parameter range " + number(lo) + " to " + number(hi) + " is empty or reversed");
    return;
  }
  if (!trusted) return;
  double first = t[static_cast<std::size_t>(degree)];
  double last = t[static_cast<std::size_t>(points)];
  double slack = 1e-9 * std::max({1.0, std::fabs(first), std::fabs(last)});
  if (lo < first - slack || hi > last + slack)
    c.add("bspline-range", de, field,
          "the parameter range " + number(lo) + " to " + number(hi) + " leaves the knots' " +
              number(first) + " to " + number(last));
}

// Weights: all positive, and all equal when the entity says it is polynomial.
void weights(Context& c, int de, std::span<const double> w, bool polynomial) {
  auto bad =
      std::find_if(w.begin(), w.end(), [](double x) { return !(x > 0) || !std::isfinite(x); });
  if (bad != w.end()) {
    long count = std::count_if(w.begin(), w.end(), [](double x) { return !(x > 0); });
    c.add("bspline-weight", de, "w[" + std::to_string(bad - w.begin()) + "]",
          "weight " + std::to_string(bad - w.begin()) + " is " + number(*bad) +
              (count > 1 ? " (" + std::to_string(count) + " weights are not positive)" : ""));
    return;
  }
  if (!polynomial || w.empty()) return;
  auto [low, high] = std::minmax_element(w.begin(), w.end());
  if (*high - *low > 1e-9 * *high)
    c.add("bspline-polynomial-flag", de, "prop3",
          "flagged polynomial; the weights run from " + number(*low) + " to " + number(*high));
}

void curve(Context& c, igs_rational_bspline_curve_entity* e) {
  int de = c.de(e);
  std::span<const double> t = values(e->t_), w = values(e->w_), v = values(e->v_);
  ListOfigs_coordinate* list = e->control_points_;
  long long points = static_cast<long long>(w.size());
  bool trusted = counts(c, de, "", e->m(), points, t.size());
  if (list && list->size() != w.size())
    c.add("bspline-counts", de, "control_points",
          std::to_string(list->size()) + " control points beside " + std::to_string(w.size()) +
              " weights");
  knots(c, de, "t", t);
  trusted = trusted && std::is_sorted(t.begin(), t.end());
  range(c, de, "v", v, t, e->m(), points, trusted);
  weights(c, de, w, e->prop3() == igs_property3_polynomial);

  if (e->prop1() == igs_property1_planar) {
    Vec3 normal{e->xnorm(), e->ynorm(), e->znorm()};
    double length = norm(normal);
    if (!(std::fabs(length - 1) <= 1e-6))
      c.add("normal-not-unit", de, "xnorm",
            "the normal of the planar curve has length " + number(length));
    if (length > 0 && std::isfinite(length) && list && list->size()) {
      Vec3 unit = normal / length, origin = point_of((*list)[0]);
      double farthest = 0;
      unsigned at = 0;
      for (unsigned i = 1; i < list->size(); ++i) {
        double off = std::fabs(dot(point_of((*list)[i]) - origin, unit));
        if (off > farthest) farthest = off, at = i;
      }
      if (farthest > c.resolution)
        c.add("bspline-planar-flag", de, "control_points[" + std::to_string(at) + "]",
              "flagged planar; control point " + std::to_string(at) + " lies " + number(farthest) +
                  " off the plane through point 0 with its normal");
    }
  }
  if (e->prop2() == igs_property2_closed) {
    if (std::unique_ptr<Curve> evaluated = make_curve(e)) {
      Interval r = knot_range(t, e->m(), points, evaluated->range());
      double gap = norm(evaluated->point(r.hi) - evaluated->point(r.lo));
      if (gap > c.resolution)
        c.add("bspline-closed-flag", de, "prop2",
              "flagged closed; its ends lie " + number(gap) + " apart");
    }
  }
}

// Knots clamped at both ends (the first and the last degree + 1 equal) with the range over
// all of them: the surface's edges in that direction are its first and last rows of points.
bool clamped(std::span<const double> knots, int degree, std::span<const double> range) {
  if (degree < 1 || knots.size() < 2 * static_cast<std::size_t>(degree) + 2 || range.size() != 2)
    return false;
  std::size_t last = knots.size() - 1;
  for (int i = 1; i <= degree; ++i)
    if (knots[i] != knots[0] || knots[last - i] != knots[last]) return false;
  return range[0] == knots[0] && range[1] == knots[last];
}

// How far apart the surface's opposite edges in a direction (0 the first) lie, at most:
// sampled where the geometry evaluates the surface, else from the rows of control points of a
// clamped surface; nothing when neither can tell.
std::optional<double> edge_gap(igs_rational_bspline_surface_entity* e, int direction) {
  if (std::unique_ptr<Surface> evaluated = make_surface(e)) {
    Domain d = evaluated->domain();
    ListOfArrayOfDouble* rows = e->w_;
    long long points_u = rows ? rows->size() : 0;
    long long points_v = rows && rows->size() && (*rows)[0] ? (*rows)[0]->size() : 0;
    d.u = knot_range(values(e->s_), e->m1(), points_u, d.u);
    d.v = knot_range(values(e->t_), e->m2(), points_v, d.v);
    double gap = 0;
    for (int k = 0; k <= 4; ++k) {
      double u = d.u.lo + d.u.length() * k / 4, v = d.v.lo + d.v.length() * k / 4;
      gap = std::max(gap, direction == 0
                              ? norm(evaluated->point(d.u.hi, v) - evaluated->point(d.u.lo, v))
                              : norm(evaluated->point(u, d.v.hi) - evaluated->point(u, d.v.lo)));
    }
    return gap;
  }
  bool first = direction == 0;
  if (!clamped(values(first ? e->s_ : e->t_), first ? e->m1() : e->m2(),
               values(first ? e->u_ : e->v_)))
    return std::nullopt;
  ListOfListOfigs_coordinate* rows = e->control_points_;
  unsigned n = rows ? rows->size() : 0;
  if (n < 2) return std::nullopt;
  double gap = 0;
  if (first) {  // the first row of points against the last, point by point
    ListOfigs_coordinate* a = (*rows)[0];
    ListOfigs_coordinate* b = (*rows)[n - 1];
    if (!a || !b || a->size() != b->size()) return std::nullopt;
    for (unsigned j = 0; j < a->size(); ++j)
      gap = std::max(gap, norm(point_of((*b)[j]) - point_of((*a)[j])));
  } else {  // the first point of each row against its last
    for (unsigned i = 0; i < n; ++i) {
      ListOfigs_coordinate* row = (*rows)[i];
      if (!row || row->size() < 2) return std::nullopt;
      gap = std::max(gap, norm(point_of((*row)[row->size() - 1]) - point_of((*row)[0])));
    }
  }
  return gap;
}

void surface(Context& c, igs_rational_bspline_surface_entity* e) {
  int de = c.de(e);
  std::span<const double> s = values(e->s_), t = values(e->t_), u = values(e->u_),
                          v = values(e->v_);
  ListOfArrayOfDouble* rows = e->w_;
  long long points_u = rows ? rows->size() : 0;
  long long points_v = rows && rows->size() && (*rows)[0] ? (*rows)[0]->size() : 0;
  std::vector<double> w;
  for (unsigned i = 0; i < points_u; ++i) {
    std::span<const double> row = values((*rows)[i]);
    if (static_cast<long long>(row.size()) != points_v)
      c.add("bspline-counts", de, "w[" + std::to_string(i) + "]",
            "row " + std::to_string(i) + " has " + std::to_string(row.size()) + " weights, row 0 " +
                std::to_string(points_v));
    w.insert(w.end(), row.begin(), row.end());
  }
  bool trusted_u = counts(c, de, "first", e->m1(), points_u, s.size());
  bool trusted_v = counts(c, de, "second", e->m2(), points_v, t.size());
  knots(c, de, "s", s);
  knots(c, de, "t", t);
  range(c, de, "u", u, s, e->m1(), points_u, trusted_u && std::is_sorted(s.begin(), s.end()));
  range(c, de, "v", v, t, e->m2(), points_v, trusted_v && std::is_sorted(t.begin(), t.end()));
  weights(c, de, w, e->prop3() == igs_property3_polynomial);

  for (int direction = 0; direction < 2; ++direction) {
    if ((direction == 0 ? e->prop1() : e->prop2()) != igs_property2_closed) continue;
    std::optional<double> gap = edge_gap(e, direction);
    if (gap && *gap > c.resolution)
      c.add("bspline-closed-flag", de, direction == 0 ? "prop1" : "prop2",
            std::string("flagged closed in the ") + (direction == 0 ? "first" : "second") +
                " direction; its opposite edges lie up to " + number(*gap) + " apart");
  }
}
}  // namespace

void check_bsplines(Context& c) {
  for (igs_directory_entry* entity : c.places) {
    int type = entity ? entity->entity_type() : 0;
    if (type == 126) {
      if (auto* spline = as<igs_rational_bspline_curve_entity>(entity)) curve(c, spline);
    } else if (type == 128) {
      if (auto* patch = as<igs_rational_bspline_surface_entity>(entity)) surface(c, patch);
    }
  }
}

}  // namespace igeslib::check_detail
