// The adaptive polyline: every span between breaks halved until a straight segment stays
// within the chord tolerance of the curve and the tangent turns by less than the angle
// tolerance along it.
#include <algorithm>
#include <cmath>

#include "geometry_internal.h"

namespace igeslib::detail {

namespace {

double distance_to_segment(const Vec3& p, const Vec3& a, const Vec3& b) {
  Vec3 ab = b - a;
  double len2 = dot(ab, ab);
  double s = len2 > 0 ? std::clamp(dot(p - a, ab) / len2, 0.0, 1.0) : 0.0;
  return norm(p - (a + ab * s));
}

double turn(const Vec3& a, const Vec3& b) {
  double na = norm(a), nb = norm(b);
  if (!(na > 0) || !(nb > 0)) return 0;  // no tangent to compare: the chord decides
  double c = std::clamp(dot(a, b) / (na * nb), -1.0, 1.0);
  return std::acos(c);
}

struct Sampler {
  const Curve& curve;
  double chord;
  double angle;
  std::size_t budget;  // points still allowed
  Polyline& out;

  // Adds the points after (t0, p0) up to and including (t1, p1).
  void span(double t0, const Vec3& p0, const Vec3& d0, double t1, const Vec3& p1, const Vec3& d1,
            int depth) {
    double tm = 0.5 * (t0 + t1);
    Vec3 pm, dm;
    curve.evaluate(tm, pm, dm);
    bool split = false;
    if (depth < 40 && budget > 0 && tm > t0 && tm < t1) {
      // The middle and the quarter points: a span whose middle falls on its chord (an S bend)
      // still shows at the quarters.
      double dev = distance_to_segment(pm, p0, p1);
      if (dev <= chord) {
        for (double f : {0.25, 0.75}) {
          Vec3 q = curve.point(t0 + f * (t1 - t0));
          dev = std::max(dev, distance_to_segment(q, p0, p1));
        }
      }
      split = !(dev <= chord) || (turn(d0, d1) > angle && norm(p1 - p0) > chord) ||
              (depth < 1 && !(norm(p1 - p0) > 0));  // a closed span: its middle shows it
      if (!finite(pm)) split = false;
    }
    if (!split) {
      out.t.push_back(t1);
      out.points.push_back(p1);
      return;
    }
    --budget;
    span(t0, p0, d0, tm, pm, dm, depth + 1);
    span(tm, pm, dm, t1, p1, d1, depth + 1);
  }
};

}  // namespace

double chord_for(const Tolerance& tolerance, const Box& box) {
  if (tolerance.chord > 0) return tolerance.chord;
  double d = box.diagonal() * 1e-3;
  return d > 0 && std::isfinite(d) ? d : 1e-9;
}

Polyline adaptive_polyline(const Curve& curve, const Tolerance& tolerance, double lo, double hi,
                           std::span<const double> breaks) {
  Polyline out;
  if (!std::isfinite(lo) || !std::isfinite(hi)) return out;
  if (hi < lo) std::swap(lo, hi);
  std::vector<double> b;
  b.reserve(breaks.size() + 2);
  b.push_back(lo);
  for (double t : breaks)
    if (t > lo && t < hi) b.push_back(t);
  b.push_back(hi);
  std::sort(b.begin(), b.end());
  b.erase(std::unique(b.begin(), b.end()), b.end());

  std::size_t cap = tolerance.max_points > 2 ? std::size_t(tolerance.max_points) : 2;
  double chord = tolerance.chord;
  std::vector<Vec3> p(b.size()), d(b.size());
  for (std::size_t i = 0; i < b.size(); ++i) curve.evaluate(b[i], p[i], d[i]);
  if (!(chord > 0)) {
    // No chord given: 1/1000 of the size of the curve, measured on its breaks and a few
    // points of each span.
    Box box;
    for (std::size_t i = 0; i < b.size(); ++i) {
      box.add(p[i]);
      if (i + 1 < b.size() && b.size() < cap)
        for (int k = 1; k < 8; ++k) box.add(curve.point(b[i] + (b[i + 1] - b[i]) * k / 8.0));
    }
    chord = chord_for({}, box);
  }
  std::size_t budget = cap > b.size() ? cap - b.size() : 0;
  out.t.reserve(std::min<std::size_t>(cap, 4 * b.size() + 16));
  out.points.reserve(out.t.capacity());
  out.t.push_back(b[0]);
  out.points.push_back(p[0]);
  Sampler sampler{curve, chord, tolerance.angle > 0 ? tolerance.angle : 1e-3, budget, out};
  for (std::size_t i = 0; i + 1 < b.size(); ++i)
    sampler.span(b[i], p[i], d[i], b[i + 1], p[i + 1], d[i + 1], 0);
  return out;
}

}  // namespace igeslib::detail
