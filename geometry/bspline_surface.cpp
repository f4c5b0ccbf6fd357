// The rational B-spline surface (128): any degrees, rational or polynomial, open or periodic in
// either direction (a periodic surface's knots are stated in full, so it evaluates as any other).
#include <algorithm>
#include <cmath>
#include <functional>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

class BsplineSurface final : public Surface {
 public:
  // points and weights run in v fastest: the point of index i in u and j in v is at i * nv + j.
  BsplineSurface(igs_directory_entry* e, int p, int q, std::vector<double> s, std::vector<double> t,
                 int nu, int nv, std::vector<Vec3> points, std::vector<double> weights,
                 Domain domain)
      : p_(p),
        q_(q),
        s_(std::move(s)),
        t_(std::move(t)),
        nu_(nu),
        nv_(nv),
        points_(std::move(points)),
        weights_(std::move(weights)),
        domain_(domain) {
    entity_ = e;
  }

  Domain domain() const override { return domain_; }

  SurfacePoint evaluate(double u, double v) const override {
    int su = find_span(s_, p_, nu_ - 1, u), sv = find_span(t_, q_, nv_ - 1, v);
    double bu[64], dbu[64], bv[64], dbv[64];
    basis(s_, p_, su, u, bu, dbu);
    basis(t_, q_, sv, v, bv, dbv);
    Vec3 a, au, av;
    double w = 0, wu = 0, wv = 0;
    for (int i = 0; i <= p_; ++i) {
      int row = (su - p_ + i) * nv_ + sv - q_;
      for (int j = 0; j <= q_; ++j) {
        double wk = weights_.empty() ? 1.0 : weights_[row + j];
        const Vec3& pk = points_[row + j];
        double n = bu[i] * bv[j] * wk, nu = dbu[i] * bv[j] * wk, nv = bu[i] * dbv[j] * wk;
        a += pk * n, au += pk * nu, av += pk * nv;
        w += n, wu += nu, wv += nv;
      }
    }
    if (!(w != 0)) w = 1;
    Vec3 point = a / w;
    return {point, (au - point * wu) / w, (av - point * wv) / w};
  }

  std::vector<double> u_breaks() const override { return knots_within(s_, domain_.u); }
  std::vector<double> v_breaks() const override { return knots_within(t_, domain_.v); }

  // The control net holds the surface: the weights are positive.
  Box bounds() const override {
    Box box;
    for (const Vec3& p : points_) box.add(p);
    return box;
  }

 private:
  static std::vector<double> knots_within(const std::vector<double>& knots, Interval r) {
    std::vector<double> b{r.lo};
    for (double k : knots)
      if (k > r.lo && k < r.hi && k != b.back()) b.push_back(k);
    b.push_back(r.hi);
    return b;
  }

  int p_, q_;
  std::vector<double> s_, t_;
  int nu_, nv_;
  std::vector<Vec3> points_;
  std::vector<double> weights_;  // empty for a polynomial surface
  Domain domain_;
};

// The stated parameter range where it is a real one inside the knots' range; else the knots'.
Interval stated_range(ArrayOfDouble* stated, Interval knots) {
  std::vector<double> r = values_of(stated);
  if (r.size() >= 2 && std::isfinite(r[0]) && std::isfinite(r[1]) && r[0] < r[1] &&
      r[0] >= knots.lo - 1e-9 * (1 + std::abs(knots.lo)) &&
      r[1] <= knots.hi + 1e-9 * (1 + std::abs(knots.hi)))
    return {r[0], r[1]};
  return knots;
}

}  // namespace

std::unique_ptr<Surface> make_bspline_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_rational_bspline_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  ListOfListOfigs_coordinate* net = e->control_points();
  unsigned nu = net->size();
  ListOfigs_coordinate* first = nu ? (*net)[0] : nullptr;
  unsigned nv = first ? first->size() : 0;
  std::vector<Vec3> points;
  points.reserve(std::size_t(nu) * nv);
  for (unsigned i = 0; i < nu; ++i) {
    ListOfigs_coordinate* row = (*net)[i];
    if (!row || row->size() != nv) return build.fail("control net not rectangular");
    std::vector<Vec3> r = points_of(row);
    points.insert(points.end(), r.begin(), r.end());
  }
  std::vector<double> weights;
  ListOfArrayOfDouble* w = held(e, e->w_);
  const unsigned rows = w ? w->size() : 0;
  bool weights_fit = rows == nu;
  for (unsigned i = 0; i < rows; ++i) {
    std::vector<double> r = values_of((*w)[i]);
    weights_fit = weights_fit && r.size() == nv;
    weights.insert(weights.end(), r.begin(), r.end());
  }
  // As for the curve: a surface marked polynomial takes its weights as equal unless they differ.
  bool rational =
      e->prop3() != igs_property3_polynomial ||
      std::adjacent_find(weights.begin(), weights.end(), std::not_equal_to<>()) != weights.end();
  if (!rational) weights.clear();
  std::vector<double> s = values_of(held(e, e->s_)), t = values_of(held(e, e->t_));
  std::string fault = bspline_fault(e->m1(), nu, s, {});
  if (fault.empty()) fault = bspline_fault(e->m2(), nv, t, {});
  if (!fault.empty()) return build.fail(fault);
  if (!weights.empty() && !weights_fit) return build.fail("weight count disagrees");
  for (double x : weights)
    if (!(x > 0) || !std::isfinite(x)) return build.fail("weight not positive");
  int p = e->m1(), q = e->m2();
  Domain domain{stated_range(held(e, e->u_), {s[p], s[nu]}),
                stated_range(held(e, e->v_), {t[q], t[nv]})};
  return std::make_unique<BsplineSurface>(entity, p, q, std::move(s), std::move(t), int(nu),
                                          int(nv), std::move(points), std::move(weights), domain);
}

}  // namespace igeslib::detail
