// B-spline bases and the rational B-spline curve (126): any degree, rational or polynomial,
// open or periodic (a periodic curve's knots are stated in full, so it evaluates as any other).
#include <algorithm>
#include <cmath>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

int find_span(std::span<const double> knots, int p, int n, double t) {
  if (t >= knots[n + 1]) {
    // The end of the range belongs to the last span that isn't empty.
    int i = n;
    while (i > p && knots[i] >= knots[n + 1]) --i;
    return i;
  }
  if (t <= knots[p]) {
    int i = p;
    while (i < n && knots[i + 1] <= knots[p]) ++i;
    return i;
  }
  auto first = knots.begin() + p, last = knots.begin() + n + 1;
  return int(std::upper_bound(first, last, t) - knots.begin()) - 1;
}

void basis(std::span<const double> knots, int p, int i, double t, double* values, double* ders) {
  // The triangle of basis functions of rising degree; the derivatives come from the row of
  // degree p - 1.
  double left[64], right[64], lower[64];
  values[0] = 1.0;
  for (int j = 1; j <= p; ++j) {
    left[j] = t - knots[i + 1 - j];
    right[j] = knots[i + j] - t;
    double saved = 0.0;
    if (j == p)
      for (int r = 0; r < p; ++r) lower[r] = values[r];
    for (int r = 0; r < j; ++r) {
      double den = right[r + 1] + left[j - r];
      double temp = den != 0 ? values[r] / den : 0.0;
      values[r] = saved + right[r + 1] * temp;
      saved = left[j - r] * temp;
    }
    values[j] = saved;
  }
  if (!ders) return;
  if (p == 0) {
    ders[0] = 0;
    return;
  }
  // N'_{i-p+r,p} = p (N_{i-p+r,p-1} / (u_{i+r} - u_{i-p+r}) - N_{i-p+r+1,p-1} / (u_{i+r+1} -
  // u_{i-p+r+1})), with the row of degree p - 1 in lower[0..p-1] for functions i-p+1..i.
  for (int r = 0; r <= p; ++r) {
    int f = i - p + r;
    double a = 0, b = 0;
    if (r >= 1) {
      double den = knots[f + p] - knots[f];
      a = den != 0 ? lower[r - 1] / den : 0.0;
    }
    if (r <= p - 1) {
      double den = knots[f + p + 1] - knots[f + 1];
      b = den != 0 ? lower[r] / den : 0.0;
    }
    ders[r] = p * (a - b);
  }
}

std::string bspline_fault(int degree, std::size_t points, std::span<const double> knots,
                          std::span<const double> weights) {
  if (degree < 0 || degree > 60) return "degree out of range";
  if (points == 0) return "no control points";
  if (points < std::size_t(degree) + 1) return "fewer control points than the degree needs";
  if (knots.size() != points + degree + 1) return "knot count disagrees with degree";
  if (!weights.empty() && weights.size() != points) return "weight count disagrees";
  for (std::size_t i = 0; i < knots.size(); ++i) {
    if (!std::isfinite(knots[i])) return "knot not finite";
    if (i && knots[i] < knots[i - 1]) return "knots out of order";
  }
  if (!(knots[degree] < knots[points])) return "empty knot range";
  for (double w : weights)
    if (!(w > 0) || !std::isfinite(w)) return "weight not positive";
  return {};
}

namespace {

class BsplineCurve final : public Curve {
 public:
  BsplineCurve(igs_directory_entry* e, int degree, std::vector<double> knots,
               std::vector<Vec3> points, std::vector<double> weights, Interval range)
      : p_(degree),
        knots_(std::move(knots)),
        points_(std::move(points)),
        weights_(std::move(weights)),
        range_(range) {
    entity_ = e;
  }

  Interval range() const override { return range_; }

  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    int n = int(points_.size()) - 1;
    int span = find_span(knots_, p_, n, t);
    double values[64], ders[64];
    basis(knots_, p_, span, t, values, ders);
    Vec3 a, da;
    double w = 0, dw = 0;
    for (int j = 0; j <= p_; ++j) {
      int k = span - p_ + j;
      double wk = weights_.empty() ? 1.0 : weights_[k];
      a += points_[k] * (values[j] * wk);
      da += points_[k] * (ders[j] * wk);
      w += values[j] * wk;
      dw += ders[j] * wk;
    }
    if (!(w != 0)) w = 1;
    point = a / w;
    d1 = (da - point * dw) / w;
  }

  bool evaluate2(double t, Vec3& point, Vec3& d1, Vec3& d2) const override {
    // The first derivative of the curve in homogeneous form (w P, w) is a B-spline of degree
    // p - 1 with the points Q_k = p (Pw_k+1 - Pw_k) / (u_k+p+1 - u_k+1); the second is that
    // one's first derivative, and the quotient rule gives the curve's.
    int n = int(points_.size()) - 1;
    int span = find_span(knots_, p_, n, t);
    double values[64], ders[64], lower[64], lower_ders[64];
    basis(knots_, p_, span, t, values, ders);
    Vec3 a, da, dda;
    double w = 0, dw = 0, ddw = 0;
    auto weight = [&](int k) { return weights_.empty() ? 1.0 : weights_[k]; };
    for (int j = 0; j <= p_; ++j) {
      int k = span - p_ + j;
      a += points_[k] * (values[j] * weight(k));
      da += points_[k] * (ders[j] * weight(k));
      w += values[j] * weight(k);
      dw += ders[j] * weight(k);
    }
    if (p_ >= 1) {
      basis(knots_, p_ - 1, span, t, lower, lower_ders);
      for (int j = 0; j < p_; ++j) {
        int k = span - p_ + j;
        double den = knots_[k + p_ + 1] - knots_[k + 1];
        if (!(den != 0)) continue;
        double f = p_ * lower_ders[j] / den;
        dda += (points_[k + 1] * weight(k + 1) - points_[k] * weight(k)) * f;
        ddw += (weight(k + 1) - weight(k)) * f;
      }
    }
    if (!(w != 0)) w = 1;
    point = a / w;
    d1 = (da - point * dw) / w;
    d2 = (dda - d1 * (2 * dw) - point * ddw) / w;
    return true;
  }

  std::vector<double> breaks() const override {
    std::vector<double> b{range_.lo};
    for (double k : knots_)
      if (k > range_.lo && k < range_.hi && k != b.back()) b.push_back(k);
    b.push_back(range_.hi);
    return b;
  }

  Box bounds() const override {
    // The control polygon holds the curve (weights are positive); the sampled box, enlarged
    // by its chord, is tighter where the curve runs inside its polygon. Their intersection.
    Box control;
    for (const Vec3& p : points_) control.add(p);
    Box sampled = Curve::bounds();
    if (sampled.empty()) return control;
    Box out;
    out.add(Vec3{std::max(control.min.x, sampled.min.x), std::max(control.min.y, sampled.min.y),
                 std::max(control.min.z, sampled.min.z)});
    out.add(Vec3{std::min(control.max.x, sampled.max.x), std::min(control.max.y, sampled.max.y),
                 std::min(control.max.z, sampled.max.z)});
    return out;
  }

 private:
  int p_;
  std::vector<double> knots_;
  std::vector<Vec3> points_;
  std::vector<double> weights_;  // empty for a polynomial curve
  Interval range_;
};

}  // namespace

std::vector<double> values_of(ArrayOfDouble* a) {
  std::vector<double> out;
  if (!a) return out;
  out.reserve(a->size());
  for (unsigned i = 0; i < a->size(); ++i) out.push_back((*a)[i]);
  return out;
}

std::vector<Vec3> points_of(ListOfigs_coordinate* list) {
  std::vector<Vec3> out;
  if (!list) return out;
  out.reserve(list->size());
  for (unsigned i = 0; i < list->size(); ++i) {
    igs_coordinate* c = (*list)[i];
    out.push_back(c ? Vec3{c->x(), c->y(), c->z()} : Vec3{});
  }
  return out;
}

std::unique_ptr<Curve> make_bspline_curve(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_rational_bspline_curve_entity>(entity);
  if (!e) return build.wrong_class(entity, "curve");
  std::vector<double> knots = values_of(held(e, e->t_));
  std::vector<double> weights = values_of(held(e, e->w_));
  std::vector<Vec3> points = points_of(e->control_points());
  int degree = e->m();
  // A curve marked polynomial takes its weights as all equal, as the flag says, unless they
  // differ: then they are what the writer meant.
  bool rational =
      e->prop3() != igs_property3_polynomial ||
      std::adjacent_find(weights.begin(), weights.end(), std::not_equal_to<>()) != weights.end();
  if (!rational) weights.clear();
  std::string fault = bspline_fault(degree, points.size(), knots, weights);
  if (!fault.empty()) return build.fail(fault);
  int n = int(points.size()) - 1;
  Interval range{knots[degree], knots[n + 1]};
  ArrayOfDouble* v = held(e, e->v_);
  if (v && v->size() >= 2) {
    double v0 = (*v)[0], v1 = (*v)[1];
    // The stated range, where it is a real one inside the knots; else the knots' own.
    if (std::isfinite(v0) && std::isfinite(v1) && v0 < v1 &&
        v0 >= range.lo - 1e-9 * (1 + std::abs(range.lo)) &&
        v1 <= range.hi + 1e-9 * (1 + std::abs(range.hi)))
      range = {v0, v1};
  }
  return std::make_unique<BsplineCurve>(entity, degree, std::move(knots), std::move(points),
                                        std::move(weights), range);
}

}  // namespace igeslib::detail
