// The curve on a parametric surface (142): its model-space curve, or its parameter-space curve
// (whose x and y are the surface's u and v) mapped through its surface.
#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

// The model-space curve as the 142's own: everything as the curve says.
class ModelSpaceCurve final : public Curve {
 public:
  ModelSpaceCurve(igs_directory_entry* e, std::unique_ptr<Curve> c) : c_(std::move(c)) {
    entity_ = e;
  }
  Interval range() const override { return c_->range(); }
  Interval finite_range() const override { return c_->finite_range(); }
  void evaluate(double t, Vec3& point, Vec3& d1) const override { c_->evaluate(t, point, d1); }
  std::vector<double> breaks() const override { return c_->breaks(); }
  Polyline polyline(const Tolerance& tolerance) const override { return c_->polyline(tolerance); }
  Box bounds() const override { return c_->bounds(); }

 private:
  std::unique_ptr<Curve> c_;
};

// S(B(t)), with the parameter of B.
class MappedCurve final : public Curve {
 public:
  MappedCurve(igs_directory_entry* e, std::unique_ptr<Curve> b, std::unique_ptr<Surface> s)
      : b_(std::move(b)), s_(std::move(s)) {
    entity_ = e;
  }
  Interval range() const override { return b_->range(); }
  Interval finite_range() const override { return b_->finite_range(); }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    Vec3 uv, duv;
    b_->evaluate(t, uv, duv);
    SurfacePoint p = s_->evaluate(uv.x, uv.y);
    point = p.point;
    d1 = p.du * duv.x + p.dv * duv.y;
  }
  std::vector<double> breaks() const override { return b_->breaks(); }

 private:
  std::unique_ptr<Curve> b_;
  std::unique_ptr<Surface> s_;
};

std::unique_ptr<Curve> model_space(igs_curve_on_a_parametric_surface_entity* e, Build& build) {
  std::unique_ptr<Curve> c = child_curve(e->cptr(), build, "model-space curve");
  if (!c) return nullptr;
  return std::make_unique<ModelSpaceCurve>(e, std::move(c));
}

std::unique_ptr<Curve> mapped(igs_curve_on_a_parametric_surface_entity* e, Build& build) {
  std::unique_ptr<Curve> b = child_curve(e->bptr(), build, "parameter-space curve");
  if (!b) return nullptr;
  std::unique_ptr<Surface> s = child_surface(e->sptr(), build, "surface");
  if (!s) return nullptr;
  return std::make_unique<MappedCurve>(e, std::move(b), std::move(s));
}

}  // namespace

// A pref of 1 asks for the parameter-space curve through the surface first; every other value
// (0 unspecified, 2 the model-space curve, 3 either) takes the model-space curve first, the
// exact one at no cost of mapping. Whichever comes first, the other stands in when it is missing
// or can't be evaluated. When both fail, the reason told is the first one's, or the second's when
// the first isn't there at all.
std::unique_ptr<Curve> make_curve_on_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_curve_on_a_parametric_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "curve");
  bool mapped_first = e->pref() == 1;
  std::string reasons[2];
  for (int i = 0; i < 2; ++i) {
    Build::Trial trial(build);
    std::unique_ptr<Curve> c = (i == 0) == mapped_first ? mapped(e, build) : model_space(e, build);
    if (c) return c;
    reasons[i] = trial.reason;
  }
  bool first_there = mapped_first ? e->bptr() && e->sptr() : e->cptr() != nullptr;
  return build.fail(reasons[first_there ? 0 : 1]);
}

}  // namespace igeslib::detail
