// Points in space mapped into a surface's domain: Newton's method on the distance, started
// from a seed or from the nearest point of a grid; then the points of a loop that lie on a
// seam or at a pole put where their neighbours along the loop say.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "mesh_internal.h"

namespace igeslib::mesh_detail {

namespace {

constexpr int grid_steps = 16;

std::vector<double> grid_values(const Interval& range, std::vector<double> breaks) {
  std::vector<double> out;
  for (int i = 0; i <= grid_steps; ++i) out.push_back(range.lo + range.length() * i / grid_steps);
  // Knots too, a few dozen at most, where a spline surface changes its shape.
  std::size_t step = breaks.size() > 48 ? breaks.size() / 48 : 1;
  for (std::size_t i = 0; i < breaks.size(); i += step)
    if (range.contains(breaks[i])) out.push_back(breaks[i]);
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

}  // namespace

Inverter::Inverter(const Surface& surface, double tolerance)
    : surface_(surface), domain_(surface.domain()), tolerance_(tolerance) {
  // The grid covers the finite stand-in of an unbounded domain; Newton's method may leave it.
  Domain stand_in = surface.finite_domain();
  std::vector<double> us = grid_values(stand_in.u, surface.u_breaks());
  std::vector<double> vs = grid_values(stand_in.v, surface.v_breaks());
  Box box;
  for (double u : us) {
    for (double v : vs) {
      Vec3 p = surface.point(u, v);
      if (!finite(p)) continue;
      grid_uv_.push_back({u, v});
      grid_points_.push_back(p);
      box.add(p);
    }
  }
  double size = box.diagonal();
  // A distance this small is a point on the surface: no other start can do better.
  close_enough_ = std::min(tolerance_ * 1e-3, 1e-9 * size);
  // A seam: the two ends of the domain in one direction meet in space all along.
  auto closes = [&](bool in_u) {
    if (!(in_u ? domain_.u : domain_.v).bounded()) return false;
    for (double f : {0.1, 0.37, 0.5, 0.81}) {
      Vec3 a, b;
      if (in_u) {
        double v = stand_in.v.lo + stand_in.v.length() * f;
        a = surface.point(domain_.u.lo, v), b = surface.point(domain_.u.hi, v);
      } else {
        double u = stand_in.u.lo + stand_in.u.length() * f;
        a = surface.point(u, domain_.v.lo), b = surface.point(u, domain_.v.hi);
      }
      if (!(norm(a - b) <= 1e-7 * size)) return false;
    }
    return true;
  };
  closure_.u = closes(true);
  closure_.v = closes(false);
}

Uv Inverter::inside(Uv p) const {
  // Across a seam the parameter comes round to the other end; elsewhere it stops at the end.
  auto fit = [](double x, const Interval& range, bool closed) {
    if (closed && std::isfinite(x)) {
      double period = range.length();
      if (x < range.lo) x += period * std::ceil((range.lo - x) / period);
      if (x > range.hi) x -= period * std::ceil((x - range.hi) / period);
    }
    return range.clamp(x);
  };
  return {fit(p.u, domain_.u, closure_.u), fit(p.v, domain_.v, closure_.v)};
}

Uv Inverter::newton(const Vec3& p, Uv start) const {
  Uv uv = inside(start);
  SurfacePoint s = surface_.evaluate(uv.u, uv.v);
  Vec3 r = s.point - p;
  double dist = norm(r);
  double small = 1e-15 * (1 + std::fabs(uv.u) + std::fabs(uv.v));
  for (int iteration = 0; iteration < 50 && std::isfinite(dist); ++iteration) {
    double a = dot(s.du, s.du), b = dot(s.du, s.dv), c = dot(s.dv, s.dv);
    double gu = dot(s.du, r), gv = dot(s.dv, r);
    // A little damping keeps the step finite where one direction says nothing (a pole).
    double lambda = 1e-12 * (a + c) + 1e-300;
    double det = (a + lambda) * (c + lambda) - b * b;
    if (!(det > 0) || !std::isfinite(det)) break;
    double step_u = -((c + lambda) * gu - b * gv) / det;
    double step_v = -((a + lambda) * gv - b * gu) / det;
    bool moved = false;
    for (int halving = 0; halving < 8; ++halving) {
      Uv next = inside({uv.u + step_u, uv.v + step_v});
      SurfacePoint t = surface_.evaluate(next.u, next.v);
      double d = norm(t.point - p);
      if (d < dist) {
        double travelled = std::fabs(next.u - uv.u) + std::fabs(next.v - uv.v);
        uv = next, s = t, r = t.point - p, dist = d, moved = travelled > small;
        break;
      }
      step_u /= 2, step_v /= 2;
    }
    if (!moved) break;
  }
  return uv;
}

std::optional<Uv> Inverter::invert(const Vec3& p, const Uv* seed, double* distance) {
  if (!finite(p)) return std::nullopt;
  Uv best{};
  double best_distance = infinity;
  auto attempt = [&](Uv start) {
    Uv uv = newton(p, start);
    double d = norm(surface_.point(uv.u, uv.v) - p);
    if (d < best_distance) best = uv, best_distance = d;
  };
  if (seed && std::isfinite(seed->u) && std::isfinite(seed->v)) attempt(*seed);
  // Newton's method from a seed may stop in a hollow of the distance that is not the
  // nearest point; unless it met the surface, the grid's nearest points are tried too.
  if (!(best_distance <= close_enough_)) {
    // From the nearest few points of the grid.
    std::vector<std::pair<double, std::size_t>> nearest;
    for (std::size_t i = 0; i < grid_points_.size(); ++i)
      nearest.push_back({norm(grid_points_[i] - p), i});
    std::size_t k = std::min<std::size_t>(4, nearest.size());
    std::partial_sort(nearest.begin(), nearest.begin() + static_cast<std::ptrdiff_t>(k),
                      nearest.end());
    for (std::size_t i = 0; i < k && !(best_distance <= close_enough_); ++i)
      attempt(grid_uv_[nearest[i].second]);
  }
  if (distance) *distance = best_distance;
  if (!(best_distance <= tolerance_)) return std::nullopt;
  return best;
}

bool invert_points(Inverter& inverter, const std::vector<Vec3>& points,
                   const std::vector<Uv>* seeds, Loop& out, std::string* why) {
  out.clear();
  out.reserve(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Uv* seed = seeds ? &(*seeds)[i] : (out.empty() ? nullptr : &out.back().uv);
    double distance = 0;
    std::optional<Uv> uv = inverter.invert(points[i], seed, &distance);
    if (!uv && seed) uv = inverter.invert(points[i], nullptr, &distance);
    if (!uv) {
      if (why) {
        char text[160];
        std::snprintf(text, sizeof text,
                      "inversion failed: a point of the curve lies %.3g from the surface "
                      "(tolerance %.3g)",
                      distance, inverter.tolerance());
        *why = text;
      }
      return false;
    }
    out.push_back({*uv, points[i]});
  }
  return true;
}

namespace {

// One direction of the domain, u or v, as the seam and pole rules see it.
struct Axis {
  double Uv::*along;
  Interval range;
};

// Moves seam points (on either end of a closed direction) to the end where the nearest points
// off the seam lie, before and after them along the loop. False when those two disagree, or
// when two neighbours lie more than half the domain apart: the loop crosses the seam.
bool settle_seam(Loop& loop, const Axis& axis) {
  std::size_t n = loop.size();
  double eps = 1e-7 * axis.range.length();
  double middle = axis.range.lo + axis.range.length() / 2;
  auto value = [&](std::size_t i) -> double& { return loop[i % n].uv.*axis.along; };
  auto on_seam = [&](std::size_t i) {
    double x = value(i);
    return std::fabs(x - axis.range.lo) <= eps || std::fabs(x - axis.range.hi) <= eps;
  };
  std::size_t start = n;
  for (std::size_t i = 0; i < n; ++i)
    if (!on_seam(i)) {
      start = i;
      break;
    }
  if (start == n) return true;  // all on the seam: a loop along it
  // Walk once around from a point off the seam; each run of seam points takes its side.
  for (std::size_t k = 1; k <= n; ++k) {
    std::size_t i = start + k;
    if (!on_seam(i)) continue;
    std::size_t run_end = i;
    while (run_end < start + n && on_seam(run_end)) ++run_end;
    bool before_high = value(i - 1) > middle;
    bool after_high = value(run_end) > middle;
    if (before_high != after_high) return false;
    for (std::size_t j = i; j < run_end; ++j)
      value(j) = before_high ? axis.range.hi : axis.range.lo;
    k = run_end - start;
  }
  for (std::size_t i = 0; i < n; ++i)
    if (std::fabs(value(i + 1) - value(i)) > axis.range.length() / 2) return false;
  return true;
}

}  // namespace

bool settle_seams(const Inverter& inverter, Loop& loop) {
  if (loop.size() < 2) return true;
  const Domain& d = inverter.domain();
  const Surface& s = inverter.surface();
  // Poles first: a point where the surface collapses along one direction (every value of u
  // gives the same point, say) takes the u of its neighbours along the loop, once from the one
  // before and once from the one after, so that the loop follows the pole's edge of the domain.
  for (int pass = 0; pass < 2; ++pass) {
    bool in_u = pass == 0;
    double Uv::*along = in_u ? &Uv::u : &Uv::v;
    // At a pole the derivative along the collapsed direction vanishes beside the other.
    auto collapsed = [&](const LoopPoint& p) {
      SurfacePoint sp = s.evaluate(p.uv.u, p.uv.v);
      double along_this = norm(in_u ? sp.du : sp.dv), other = norm(in_u ? sp.dv : sp.du);
      return other > 0 && along_this <= 1e-6 * other;
    };
    std::vector<char> pole(loop.size());
    bool any = false, all = true;
    for (std::size_t i = 0; i < loop.size(); ++i) {
      pole[i] = collapsed(loop[i]);
      any |= pole[i] != 0;
      all &= pole[i] != 0;
    }
    if (!any || all) continue;
    Loop settled;
    std::size_t n = loop.size();
    for (std::size_t i = 0; i < n; ++i) {
      if (!pole[i]) {
        settled.push_back(loop[i]);
        continue;
      }
      std::size_t before = i, after = i;
      while (pole[before % n]) before = before + n - 1;
      while (pole[after % n]) ++after;
      bool first = !pole[(i + n - 1) % n], last = !pole[(i + 1) % n];
      LoopPoint p = loop[i];
      if (first) {
        p.uv.*along = loop[before % n].uv.*along;
        settled.push_back(p);
      }
      if (last) {
        p.uv.*along = loop[after % n].uv.*along;
        if (!first || settled.back().uv.*along != p.uv.*along) settled.push_back(p);
      }
      if (!first && !last) settled.push_back(p);
    }
    loop.swap(settled);
  }
  Closure c = inverter.closure();
  if (c.u && !settle_seam(loop, {&Uv::u, d.u})) return false;
  if (c.v && !settle_seam(loop, {&Uv::v, d.v})) return false;
  return true;
}

}  // namespace igeslib::mesh_detail
