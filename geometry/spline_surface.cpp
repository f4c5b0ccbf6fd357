// The parametric spline surface (114): a grid of bicubic patches. Patch (i, j) holds for
// tu[i] <= u <= tu[i + 1] and tv[j] <= v <= tv[j + 1]; in it, with s = u - tu[i] and
// t = v - tv[j], each coordinate is the sum of c[4 b + a] s^a t^b over a, b = 0..3 (the file's
// order: the powers of s run fastest). The file's extra row and column of patches past the
// last break points are not part of the surface.
#include <algorithm>
#include <array>
#include <cmath>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

using Patch = std::array<std::array<double, 16>, 3>;  // x, y, z coefficients

class SplineSurface final : public Surface {
 public:
  // patches run in v fastest: patch (i, j) is at i * (tv.size() - 1) + j.
  SplineSurface(igs_directory_entry* e, std::vector<double> tu, std::vector<double> tv,
                std::vector<Patch> patches)
      : tu_(std::move(tu)), tv_(std::move(tv)), patches_(std::move(patches)) {
    entity_ = e;
  }

  Domain domain() const override { return {{tu_.front(), tu_.back()}, {tv_.front(), tv_.back()}}; }

  SurfacePoint evaluate(double u, double v) const override {
    std::size_t i = span(tu_, u), j = span(tv_, v);
    const Patch& c = patches_[i * (tv_.size() - 1) + j];
    double s = u - tu_[i], t = v - tv_[j];
    double ps[4] = {1, s, s * s, s * s * s}, dps[4] = {0, 1, 2 * s, 3 * s * s};
    double pt[4] = {1, t, t * t, t * t * t}, dpt[4] = {0, 1, 2 * t, 3 * t * t};
    double out[3][3] = {};  // coordinate; value, d/du, d/dv
    for (int k = 0; k < 3; ++k) {
      for (int b = 0; b < 4; ++b) {
        for (int a = 0; a < 4; ++a) {
          double x = c[k][4 * b + a];
          out[k][0] += x * ps[a] * pt[b];
          out[k][1] += x * dps[a] * pt[b];
          out[k][2] += x * ps[a] * dpt[b];
        }
      }
    }
    return {{out[0][0], out[1][0], out[2][0]},
            {out[0][1], out[1][1], out[2][1]},
            {out[0][2], out[1][2], out[2][2]}};
  }

  std::vector<double> u_breaks() const override { return distinct(tu_); }
  std::vector<double> v_breaks() const override { return distinct(tv_); }

 private:
  // The last patch whose start is at or before x, the first and last patch standing in
  // outside the break points.
  static std::size_t span(const std::vector<double>& b, double x) {
    return std::size_t(std::upper_bound(b.begin() + 1, b.end() - 1, x) - (b.begin() + 1));
  }
  static std::vector<double> distinct(std::vector<double> b) {
    b.erase(std::unique(b.begin(), b.end()), b.end());
    return b;
  }

  std::vector<double> tu_, tv_;
  std::vector<Patch> patches_;
};

std::string breaks_fault(const std::vector<double>& b) {
  if (b.size() < 2) return "no patches";
  for (std::size_t i = 0; i < b.size(); ++i) {
    if (!std::isfinite(b[i])) return "break point not finite";
    if (i && b[i] < b[i - 1]) return "break points out of order";
  }
  if (!(b.front() < b.back())) return "empty break point range";
  return {};
}

}  // namespace

std::unique_ptr<Surface> make_parametric_spline_surface(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_parametric_spline_surface_entity>(entity);
  if (!e) return build.wrong_class(entity, "surface");
  std::vector<double> tu = values_of(e->tu()), tv = values_of(e->tv());
  std::string fault = breaks_fault(tu);
  if (fault.empty()) fault = breaks_fault(tv);
  if (!fault.empty()) return build.fail(fault);
  std::size_t m = tu.size() - 1, n = tv.size() - 1;
  ListOfListOfigs_patch* rows = e->patches();
  if (rows->size() < m) return build.fail("fewer patches than break points");
  std::vector<Patch> patches;
  patches.reserve(m * n);
  for (unsigned i = 0; i < m; ++i) {
    ListOfigs_patch* row = (*rows)[i];
    if (!row || row->size() < n) return build.fail("fewer patches than break points");
    for (unsigned j = 0; j < n; ++j) {
      igs_patch* p = (*row)[j];
      if (!p) return build.fail("patch missing");
      Patch c;
      ArrayOfDouble* arrays[3] = {p->x_coefficients(), p->y_coefficients(), p->z_coefficients()};
      for (int k = 0; k < 3; ++k) {
        std::vector<double> values = values_of(arrays[k]);
        if (values.size() < 16) return build.fail("patch coefficients missing");
        std::copy_n(values.begin(), 16, c[k].begin());
      }
      patches.push_back(c);
    }
  }
  return std::make_unique<SplineSurface>(entity, std::move(tu), std::move(tv), std::move(patches));
}

}  // namespace igeslib::detail
