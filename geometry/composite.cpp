// The composite curve (102): its members in order, the parameter running on through their ranges.
#include <algorithm>
#include <cmath>

#include "geometry_internal.h"
#include "igeslib.h"

namespace igeslib::detail {

namespace {

// One member, placed in the composite's coordinates: a curve over [lo, lo + length] that
// the composite runs through from its own parameter start on. A point or a connect point
// has no curve and no length, only its place.
struct Member {
  std::unique_ptr<Curve> curve;
  Vec3 place;
  double lo = 0, length = 0, start = 0;
};

// The composite's parameter starts where the first member curve's range starts and runs on
// through each member in turn: member i covers [start_i, start_i + (hi_i - lo_i)], the next
// starts where it ends, and t there is the member's parameter lo_i + (t - start_i). Members
// are taken over their finite ranges (a ray's defining segment).
class CompositeCurve final : public Curve {
 public:
  CompositeCurve(igs_directory_entry* e, std::vector<Member> members)
      : members_(std::move(members)) {
    entity_ = e;
    for (std::size_t i = 0; i < members_.size(); ++i)
      if (members_[i].length > 0) runs_.push_back(i);
  }
  Interval range() const override {
    const Member& last = members_.back();
    return {members_.front().start, last.start + last.length};
  }
  void evaluate(double t, Vec3& point, Vec3& d1) const override {
    const Member& m = member_at(t);
    if (!m.curve) {
      point = m.place;
      d1 = {};
      return;
    }
    m.curve->evaluate(m.lo + (t - m.start), point, d1);
  }
  bool evaluate2(double t, Vec3& point, Vec3& d1, Vec3& d2) const override {
    const Member& m = member_at(t);
    if (!m.curve) {
      point = m.place;
      d1 = d2 = {};
      return true;
    }
    return m.curve->evaluate2(m.lo + (t - m.start), point, d1, d2);
  }
  std::vector<double> breaks() const override {
    std::vector<double> b;
    for (const Member& m : members_) {
      b.push_back(m.start);
      if (!m.curve || !(m.length > 0)) continue;
      // Breaks of a member within rounding of its ends would make slivers of spans.
      double eps = 1e-12 * (std::abs(m.start) + m.length + 1);
      for (double x : m.curve->breaks()) {
        double t = m.start + (x - m.lo);
        if (t > m.start + eps && t < m.start + m.length - eps) b.push_back(t);
      }
    }
    b.push_back(range().hi);
    std::sort(b.begin(), b.end());
    b.erase(std::unique(b.begin(), b.end()), b.end());
    return b;
  }
  // The members' own polylines, one after the other, to one chord for the whole curve; a
  // member's first point is left out where it falls on the last one within that chord. A
  // point member adds its place where it lies off the polyline so far.
  Polyline polyline(const Tolerance& tolerance) const override {
    Tolerance each = tolerance;
    if (!(each.chord > 0)) each.chord = chord_for({}, bounds());
    std::size_t cap = tolerance.max_points > 2 ? std::size_t(tolerance.max_points) : 2;
    Polyline out;
    for (std::size_t i = 0; i < members_.size(); ++i) {
      const Member& m = members_[i];
      // What the members after this one need at least: two points each.
      std::size_t reserve = 2 * (members_.size() - i - 1);
      std::size_t room = cap > out.t.size() + reserve ? cap - out.t.size() - reserve : 2;
      each.max_points = int(std::min<std::size_t>(std::max<std::size_t>(room, 2), 1u << 30));
      Polyline part;
      if (m.curve && m.length > 0)
        part = m.curve->polyline(each);
      else
        part = {{m.lo}, {m.curve ? m.curve->point(m.lo) : m.place}};
      for (std::size_t k = 0; k < part.points.size(); ++k) {
        if (k == 0 && !out.points.empty() && norm(part.points[0] - out.points.back()) <= each.chord)
          continue;
        out.t.push_back(m.start + (part.t[k] - m.lo));
        out.points.push_back(part.points[k]);
      }
    }
    return out;
  }
  Box bounds() const override {
    Box box;
    for (const Member& m : members_) {
      if (!m.curve)
        box.add(m.place);
      else if (m.length > 0)
        box.add(m.curve->bounds());
      else
        box.add(m.curve->point(m.lo));
    }
    return box;
  }

 private:
  // The member whose run holds t: at a joint the one that starts there, before the start the
  // first, at and after the end the last. Only a composite of places alone answers one.
  const Member& member_at(double t) const {
    if (runs_.empty()) return members_.front();
    std::size_t lo = 0, hi = runs_.size();
    while (hi - lo > 1) {
      std::size_t mid = (lo + hi) / 2;
      if (members_[runs_[mid]].start <= t)
        lo = mid;
      else
        hi = mid;
    }
    return members_[runs_[lo]];
  }
  std::vector<Member> members_;
  std::vector<std::size_t> runs_;  // the members of positive length, in order
};

}  // namespace

std::unique_ptr<Curve> make_composite_curve(igs_directory_entry* entity, Build& build) {
  auto* e = lumo_cast<igs_composite_curve_entity>(entity);
  if (!e) return build.wrong_class(entity, "curve");
  ListOfigs_geometric_or_connect_point* list = e->de();
  if (!list || list->size() == 0) return build.fail("no members");
  std::vector<Member> members;
  members.reserve(list->size());
  for (unsigned i = 0; i < list->size(); ++i) {
    igs_directory_entry* child = list->entityAt(i);  // a packed list stays packed
    Member m;
    if (auto* c = lumo_cast<igs_connect_point_entity>(child)) {
      m.place = placement_of(child).point({c->x(), c->y(), c->z()});
      if (!finite(m.place)) return build.fail("member point not finite");
    } else {
      m.curve = child_curve(child, build, "member");
      if (!m.curve) return nullptr;
      Interval r = m.curve->finite_range();
      if (!std::isfinite(r.lo) || !std::isfinite(r.hi) || r.hi < r.lo)
        return build.fail("member range not finite");
      m.lo = r.lo;
      m.length = r.hi - r.lo;
    }
    members.push_back(std::move(m));
  }
  // The first member that is a curve sets where the parameter starts.
  auto first = std::find_if(members.begin(), members.end(),
                            [](const Member& m) { return m.curve != nullptr; });
  double at = first == members.end() ? 0 : first->lo;
  for (Member& m : members) {
    m.start = at;
    at += m.length;
  }
  return std::make_unique<CompositeCurve>(entity, std::move(members));
}

}  // namespace igeslib::detail
