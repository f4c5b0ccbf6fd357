// The offset curve (130): O(t) = C(t) + d(t) n(t) over [tt1, tt2], where C is the base curve,
// n the unit vector along N x C'(t) with N the normal (vx, vy, vz) of the base's plane, and
// d the offset distance: constant (flag 1), linear between (td1, d1) and (td2, d2) (flag 2),
// or one coordinate of a function curve (flag 3). For flags 2 and 3 the distance is a
// function of the base's parameter (taper type 2) or of the arc length along the base from
// the start of its range (taper type 1).
//
// O'(t) = C' + d' n + d n', and n' needs C''. Where the base gives no second derivative in
// closed form (Curve::evaluate2 answers false), C'' is the difference of the base's first
// derivatives a step of 1e-5 of the span between the base's breaks apart, central inside a
// span and one-sided at its ends, so that it never straddles a break.
#include <algorithm>
#include <array>
#include <cmath>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

// Nodes and weights of 8-point Gauss-Legendre quadrature on [-1, 1].
constexpr std::array<double, 4> gauss_x{0.1834346424956498, 0.5255324099163290, 0.7966664774136267,
                                        0.9602898564975363};
constexpr std::array<double, 4> gauss_w{0.3626837833783620, 0.3137066458778873, 0.2223810344533745,
                                        0.1012285362903763};

class OffsetCurve final : public Curve {
 public:
  struct Law {
    int flag = 1;            // 1 uniform, 2 linear, 3 function
    bool by_length = false;  // the taper runs with the arc length, else with the parameter
    double d1 = 0, td1 = 0, d2 = 0, td2 = 0;
    int coordinate = 0;  // of the function curve: 0 x, 1 y, 2 z
  };

  OffsetCurve(igs_directory_entry* e, std::unique_ptr<Curve> base, std::unique_ptr<Curve> function,
              const Vec3& normal, const Law& law, Interval range)
      : base_(std::move(base)),
        function_(std::move(function)),
        n_(normal),
        law_(law),
        range_(range),
        breaks_(base_->breaks()) {
    entity_ = e;
    if (law_.flag != 1 && law_.by_length) tabulate_length();
  }

  Interval range() const override { return range_; }

  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    Vec3 c, dc, ddc;
    base_second(t, c, dc, ddc);
    double d, dd;
    distance(t, dc, d, dd);
    Vec3 m = cross(n_, dc);
    double len = norm(m);
    if (!(len > 0) || !std::isfinite(len)) {
      // No direction to offset along where the tangent vanishes or runs along the normal.
      point = c;
      d1 = dc;
      return;
    }
    Vec3 n = m / len;
    Vec3 dm = cross(n_, ddc);
    Vec3 dn = (dm - n * dot(n, dm)) / len;
    point = c + n * d;
    d1 = dc + n * dd + dn * d;
  }

  std::vector<double> breaks() const override {
    std::vector<double> b{range_.lo};
    for (double x : breaks_)
      if (x > range_.lo && x < range_.hi) b.push_back(x);
    b.push_back(range_.hi);
    return b;
  }

 private:
  // The base's point and first two derivatives.
  void base_second(double t, Vec3& c, Vec3& dc, Vec3& ddc) const {
    if (base_->evaluate2(t, c, dc, ddc)) return;
    base_->evaluate(t, c, dc);
    auto it = std::upper_bound(breaks_.begin(), breaks_.end(), t);
    double lo = it == breaks_.begin() ? -infinity : *(it - 1);
    double hi = it == breaks_.end() ? infinity : *it;
    double span = std::isfinite(hi - lo) ? hi - lo : 1 + std::abs(t);
    double h = 1e-5 * (span > 0 ? span : 1);
    auto d = [&](double x) { return base_->derivative(x); };
    if (t - h >= lo && t + h <= hi)
      ddc = (d(t + h) - d(t - h)) / (2 * h);
    else if (t + 2 * h <= hi)
      ddc = (d(t + h) * 4 - dc * 3 - d(t + 2 * h)) / (2 * h);
    else
      ddc = (dc * 3 - d(t - h) * 4 + d(t - 2 * h)) / (2 * h);
  }

  // The offset distance at t and its derivative, given the base's derivative there.
  void distance(double t, const Vec3& dc, double& d, double& dd) const {
    if (law_.flag == 1) {
      d = law_.d1;
      dd = 0;
      return;
    }
    double x = law_.by_length ? arc_length(t) : t;
    double dx = law_.by_length ? norm(dc) : 1;
    if (law_.flag == 2) {
      double slope = (law_.d2 - law_.d1) / (law_.td2 - law_.td1);
      d = law_.d1 + slope * (x - law_.td1);
      dd = slope * dx;
      return;
    }
    Vec3 f, df;
    function_->evaluate(x, f, df);
    auto pick = [&](const Vec3& v) {
      return law_.coordinate == 0 ? v.x : (law_.coordinate == 1 ? v.y : v.z);
    };
    d = pick(f);
    dd = pick(df) * dx;
  }

  // The arc length of the base from node a to t by Gauss-Legendre.
  double integrate(double a, double t) const {
    double half = 0.5 * (t - a), mid = 0.5 * (t + a), sum = 0;
    for (std::size_t k = 0; k < gauss_x.size(); ++k)
      sum += gauss_w[k] * (norm(base_->derivative(mid - half * gauss_x[k])) +
                           norm(base_->derivative(mid + half * gauss_x[k])));
    return sum * half;
  }

  // Nodes at the base's breaks (each span cut in eight where there are few) over the base's
  // range and this curve's, with the arc length from the base's start to each.
  void tabulate_length() {
    Interval b = base_->finite_range();
    std::vector<double> cuts;
    for (double x : {b.lo, b.hi, range_.lo, range_.hi})
      if (std::isfinite(x)) cuts.push_back(x);
    for (double x : breaks_)
      if (std::isfinite(x)) cuts.push_back(x);
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
    int pieces = cuts.size() > 1000 ? 1 : 8;
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i)
      for (int k = 0; k < pieces; ++k)
        nodes_.push_back(cuts[i] + (cuts[i + 1] - cuts[i]) * k / pieces);
    nodes_.push_back(cuts.back());
    lengths_.assign(nodes_.size(), 0.0);
    std::size_t origin =
        std::size_t(std::lower_bound(nodes_.begin(), nodes_.end(), b.lo) - nodes_.begin());
    for (std::size_t i = origin + 1; i < nodes_.size(); ++i)
      lengths_[i] = lengths_[i - 1] + integrate(nodes_[i - 1], nodes_[i]);
    for (std::size_t i = origin; i-- > 0;)
      lengths_[i] = lengths_[i + 1] - integrate(nodes_[i], nodes_[i + 1]);
  }

  double arc_length(double t) const {
    auto it = std::upper_bound(nodes_.begin(), nodes_.end(), t);
    std::size_t i = it == nodes_.begin() ? 0 : std::size_t(it - nodes_.begin()) - 1;
    return lengths_[i] + integrate(nodes_[i], t);
  }

  std::unique_ptr<Curve> base_;
  std::unique_ptr<Curve> function_;  // flag 3 only
  Vec3 n_;                           // unit
  Law law_;
  Interval range_;
  std::vector<double> breaks_;  // the base's
  std::vector<double> nodes_, lengths_;
};

}  // namespace

std::unique_ptr<Curve> make_offset_curve(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_offset_curve_entity>(entity);
  if (!e) return build.wrong_class(entity, "curve");
  OffsetCurve::Law law;
  law.flag = int(e->flag());
  law.d1 = e->d1(), law.td1 = e->td1(), law.d2 = e->d2(), law.td2 = e->td2();
  if (law.flag < 1 || law.flag > 3) return build.fail("offset flag not 1, 2 or 3");
  for (double v : {law.d1, law.td1, law.d2, law.td2, e->tt1(), e->tt2()})
    if (!std::isfinite(v)) return build.fail("offset value not finite");
  if (law.flag != 1) {
    igs_taperedOffset ptype = e->ptype();
    if (ptype != igs_taperedOffset_arcLength && ptype != igs_taperedOffset_parameter)
      return build.fail("taper type not 1 or 2");
    law.by_length = ptype == igs_taperedOffset_arcLength;
  }
  if (law.flag == 2 && !(law.td1 != law.td2)) return build.fail("taper ends coincide");
  if (law.flag == 3) {
    int ndim = e->ndim();
    if (ndim < 1 || ndim > 3) return build.fail("function coordinate not 1, 2 or 3");
    law.coordinate = ndim - 1;
  }
  Vec3 normal = normalized({e->vx(), e->vy(), e->vz()});
  if (!finite(normal) || !(norm(normal) > 0.5)) return build.fail("offset normal is zero");

  std::unique_ptr<Curve> base = child_curve(e->de1(), build, "base curve");
  if (!base) return nullptr;
  std::unique_ptr<Curve> function;
  if (law.flag == 3) {
    function = child_curve(e->de2(), build, "offset function");
    if (!function) return nullptr;
  }
  // The stated range; where both ends are left at zero, the base's own.
  Interval range{e->tt1(), e->tt2()};
  if (range.lo == 0 && range.hi == 0) range = base->finite_range();
  if (!range.bounded()) return build.fail("parameter range not finite");
  if (!(range.lo < range.hi)) return build.fail("empty parameter range");
  return std::make_unique<OffsetCurve>(entity, std::move(base), std::move(function), normal, law,
                                       range);
}

}  // namespace igeslib::detail
