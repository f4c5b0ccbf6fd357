// Topology: composite curves and the boundaries of trimmed and bounded surfaces meeting end to
// end, B-rep vertex and edge indices, edges against their vertices, loops that close, and the
// uses of each edge in a shell.
#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <unordered_set>

#include "check_internal.h"

namespace igeslib::check_detail {

namespace {

using Ends = std::array<Vec3, 2>;

Vec3 point_of(igs_coordinate* p) { return p ? Vec3{p->x_, p->y_, p->z_} : Vec3{}; }

// How close two ends must be, as the messages say it.
std::string tolerance_text(double tolerance) { return " (tolerance " + number(tolerance) + ")"; }

// A gap between two curves that should meet: where and how wide.
struct Gap {
  std::string where;
  double width = 0;
};

// The ends of curves in their parent's coordinates, each placed by its own matrices, and the
// widest gap inside the curves that are chains of others (composite curves).
class CurveEnds {
 public:
  explicit CurveEnds(double tolerance) : tolerance_(tolerance) {}

  // The ends of curve, and in gap the widest break between consecutive members (when there
  // is one above the tolerance); nothing when the curve can't be evaluated.
  std::optional<Ends> ends(igs_directory_entry* curve, Gap* gap, int depth = 0) {
    if (!curve || depth > 32) return std::nullopt;
    std::optional<Ends> own;
    if (auto* composite = as<igs_composite_curve_entity>(curve)) {
      own = chain(composite, gap, depth);
    } else if (auto* on = as<igs_curve_on_a_parametric_surface_entity>(curve)) {
      own = ends(on->cptr(), gap, depth + 1);
    } else if (auto* spline = as<igs_rational_bspline_curve_entity>(curve);
               spline && (own = clamped_ends(spline))) {
    } else if (is_curve(curve)) {
      std::unique_ptr<Curve> evaluated = make_curve(curve);
      if (!evaluated) return std::nullopt;
      Interval r = evaluated->range();
      if (!r.bounded()) return std::nullopt;
      own = Ends{evaluated->point(r.lo), evaluated->point(r.hi)};
    }
    if (!own) return std::nullopt;
    Transform placement = placement_of(curve);
    return Ends{placement.point((*own)[0]), placement.point((*own)[1])};
  }

 private:
  std::optional<Ends> chain(igs_composite_curve_entity* composite, Gap* gap, int depth) {
    ListOfigs_geometric_or_connect_point* members = composite->de_;
    std::optional<Ends> whole;
    for (unsigned i = 0, n = members ? members->size() : 0; i < n; ++i) {
      igs_directory_entry* member = chosen((*members)[i]);
      if (as<igs_connect_point_entity>(member)) continue;
      std::optional<Ends> next = ends(member, gap, depth + 1);
      if (!next) return std::nullopt;
      if (whole) {
        double width = norm((*next)[0] - (*whole)[1]);
        if (gap && width > tolerance_ && width > gap->width)
          *gap = {"member " + std::to_string(i) + " starts " + number(width) +
                      " from the end of member " + std::to_string(i - 1),
                  width};
        (*whole)[1] = (*next)[1];
      } else {
        whole = next;
      }
    }
    return whole;
  }

  // The ends of a B-spline whose knots are clamped (the first and the last degree + 1 of them
  // equal) and whose range is all of them: its first and last control points. Nothing for
  // any other, which the geometry evaluates.
  static std::optional<Ends> clamped_ends(igs_rational_bspline_curve_entity* spline) {
    ArrayOfDouble* t = spline->t_;
    ArrayOfDouble* v = spline->v_;
    ListOfigs_coordinate* points = spline->control_points_;
    int m = spline->m();
    if (!t || !v || !points || m < 1 || v->size() != 2 || points->size() < 2 ||
        t->size() != points->size() + static_cast<unsigned>(m) + 1)
      return std::nullopt;
    const double* knots = t->_data();
    unsigned last = t->size() - 1;
    for (int i = 1; i <= m; ++i)
      if (knots[i] != knots[0] || knots[last - i] != knots[last]) return std::nullopt;
    if (v->_element(0) != knots[0] || v->_element(1) != knots[last]) return std::nullopt;
    return Ends{point_of((*points)[0]), point_of((*points)[points->size() - 1])};
  }

  double tolerance_;
};

// Checks that the curves of a boundary meet end to end and close; what is the boundary's
// name in the messages.
void closes(Context& c, int de, const std::string& field, const std::string& what,
            const std::vector<std::pair<igs_directory_entry*, bool>>& curves, double tolerance) {
  CurveEnds measure(tolerance);
  std::optional<Ends> whole;
  for (std::size_t i = 0; i < curves.size(); ++i) {
    Gap gap;
    std::optional<Ends> next = measure.ends(curves[i].first, &gap);
    if (!next) return;  // a curve that can't be evaluated: nothing to say of the boundary
    if (curves[i].second) std::swap((*next)[0], (*next)[1]);
    if (gap.width > 0) {
      c.add("trim-not-closed", de, field,
            what + ": in curve " + std::to_string(i) + " (DE " +
                std::to_string(c.de(curves[i].first)) + "), " + gap.where +
                tolerance_text(tolerance));
      return;
    }
    if (whole) {
      double width = norm((*next)[0] - (*whole)[1]);
      if (width > tolerance) {
        c.add("trim-not-closed", de, field,
              what + ": curve " + std::to_string(i) + " starts " + number(width) +
                  " from the end of curve " + std::to_string(i - 1) + tolerance_text(tolerance));
        return;
      }
      (*whole)[1] = (*next)[1];
    } else {
      whole = next;
    }
  }
  if (!whole) return;
  double width = norm((*whole)[1] - (*whole)[0]);
  if (width > tolerance)
    c.add("trim-not-closed", de, field,
          what + " doesn't close: its ends lie " + number(width) + " apart" +
              tolerance_text(tolerance));
}

// Lengths in a surface's parameter space are held to a part of its domain's extent: the
// Global resolution is a length of the model.
double parameter_tolerance(igs_directory_entry* surface) {
  double extent = 0;
  if (auto* patch = as<igs_rational_bspline_surface_entity>(surface)) {
    // The parameter ranges that the surface's record gives.
    for (ArrayOfDouble* range : {patch->u_, patch->v_})
      if (range && range->size() == 2)
        extent = std::max(extent, std::fabs(range->_element(1) - range->_element(0)));
  } else if (std::unique_ptr<Surface> evaluated = surface ? make_surface(surface) : nullptr) {
    Domain d = evaluated->domain();
    extent = std::max(d.u.bounded() ? d.u.length() : 0.0, d.v.bounded() ? d.v.length() : 0.0);
  }
  return std::max(1e-9, 1e-5 * (std::isfinite(extent) && extent > 0 ? extent : 1.0));
}

void curve_on_surface(Context& c, int de, const std::string& field,
                      igs_curve_on_a_parametric_surface_entity* on) {
  if (!on) return;
  std::string which = "DE " + std::to_string(c.de(on));
  if (on->cptr())
    closes(c, de, field, "the model-space boundary of " + which, {{on->cptr(), false}},
           c.resolution);
  if (on->bptr())
    closes(c, de, field, "the parameter-space boundary of " + which, {{on->bptr(), false}},
           parameter_tolerance(on->sptr()));
}

void trimmed_surface(Context& c, igs_trimmed_parametric_surface_entity* e) {
  int de = c.de(e);
  if (e->n1() != 0 && !e->pto())
    c.add("trim-not-closed", de, "pto",
          "N1 is " + std::to_string(e->n1()) + " but the outer boundary is missing");
  curve_on_surface(c, de, "pto", e->pto());
  ListOfigs_curve_on_a_parametric_surface_entity* inner = e->pti_;
  for (unsigned i = 0, n = inner ? inner->size() : 0; i < n; ++i)
    curve_on_surface(c, de, "pti[" + std::to_string(i) + "]", (*inner)[i]);
}

// A boundary (141): its model-space curves in order, each reversed by sense 2; and its
// parameter-space curves, all of them in order.
void boundary(Context& c, igs_boundary_entity* e) {
  ListOfigs_curve_boundary* list = e->curves_;
  std::vector<std::pair<igs_directory_entry*, bool>> model, parameter;
  for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i) {
    igs_curve_boundary* item = (*list)[i];
    if (!item) continue;
    bool reversed = item->sense() == 2;
    model.emplace_back(item->crvpt(), reversed);
    ListOfigs_geometric_entity* pscpt = item->pscpt_;
    for (unsigned j = 0, m = pscpt ? pscpt->size() : 0; j < m; ++j)
      parameter.emplace_back((*pscpt)[j], false);
  }
  closes(c, c.de(e), "curves", "the model-space boundary", model, c.resolution);
  if (e->pref() != igs_trimCurveRep_model_space)
    closes(c, c.de(e), "curves", "the parameter-space boundary", parameter,
           parameter_tolerance(e->sptr()));
}

// Composite curves that no boundary holds: their members meet end to end.
void composite(Context& c, igs_composite_curve_entity* e) {
  CurveEnds measure(c.resolution);
  Gap gap;
  if (measure.ends(e, &gap) && gap.width > 0)
    c.add("composite-gap", c.de(e), "de", gap.where + tolerance_text(c.resolution));
}

// ---- B-rep

struct Vertex {
  igs_vertex_list_entity* list = nullptr;
  int index = -1;
};

bool same(const Vertex& a, const Vertex& b, double tolerance) {
  if (a.list == b.list && a.index == b.index) return true;
  if (!a.list || !b.list) return false;
  ListOfigs_coordinate* pa = a.list->vertices_;
  ListOfigs_coordinate* pb = b.list->vertices_;
  if (!pa || !pb || a.index < 0 || b.index < 0 || static_cast<unsigned>(a.index) >= pa->size() ||
      static_cast<unsigned>(b.index) >= pb->size())
    return false;
  return norm(point_of((*pa)[static_cast<unsigned>(a.index)]) -
              point_of((*pb)[static_cast<unsigned>(b.index)])) <= tolerance;
}

bool in(igs_vertex_list_entity* list, int index) {
  ListOfigs_coordinate* points = list ? list->vertices_ : nullptr;
  return points && index >= 0 && static_cast<unsigned>(index) < points->size();
}

void edge_list(Context& c, igs_edge_list_entity* e) {
  ListOfigs_edge_data* edges = e->edges_;
  CurveEnds measure(c.resolution);
  for (unsigned i = 0, n = edges ? edges->size() : 0; i < n; ++i) {
    igs_edge_data* edge = (*edges)[i];
    if (!edge) continue;
    std::string field = "edges[" + std::to_string(i) + "]";
    bool start = in(edge->svp(), edge->sv()), end = in(edge->tvp(), edge->tv());
    if (!start || !end) {
      bool first = !start;
      igs_vertex_list_entity* list = first ? edge->svp() : edge->tvp();
      c.add("brep-vertex-index", c.de(e), field + (first ? ".sv" : ".tv"),
            std::string(first ? "start" : "end") + " vertex " +
                std::to_string((first ? edge->sv() : edge->tv()) + 1) + " of a list of " +
                std::to_string(list && list->vertices_ ? list->vertices_->size() : 0) +
                (list ? "" : " (no list)"));
      continue;
    }
    std::optional<Ends> ends = measure.ends(chosen(edge->curv()), nullptr);
    if (!ends) continue;
    Vec3 s = point_of((*edge->svp()->vertices_)[static_cast<unsigned>(edge->sv())]);
    Vec3 t = point_of((*edge->tvp()->vertices_)[static_cast<unsigned>(edge->tv())]);
    double off = std::max(norm((*ends)[0] - s), norm((*ends)[1] - t));
    if (off <= c.resolution) continue;
    double reversed = std::max(norm((*ends)[0] - t), norm((*ends)[1] - s));
    c.add("edge-vertex-mismatch", c.de(e), field,
          reversed <= c.resolution
              ? std::string("the curve runs from the end vertex to the start vertex")
              : "the curve's ends lie up to " + number(off) + " from the edge's vertices" +
                    tolerance_text(c.resolution));
  }
}

// The vertices where an edge use starts and ends, in the loop's direction; false with a
// finding when its index leaves its list.
bool use_ends(Context& c, igs_loop_entity* loop, unsigned i, igs_edge_use* use, Vertex& from,
              Vertex& to) {
  std::string field = "edge_tuples[" + std::to_string(i) + "].ndx";
  igs_directory_entry* list = chosen(use->edge());
  int ndx = use->ndx();
  if (auto* edges = as<igs_edge_list_entity>(list)) {
    ListOfigs_edge_data* items = edges->edges_;
    igs_edge_data* edge =
        items && ndx >= 0 && static_cast<unsigned>(ndx) < items->size() ? (*items)[ndx] : nullptr;
    if (!edge) {
      c.add("brep-vertex-index", c.de(loop), field,
            "edge " + std::to_string(ndx + 1) + " of an edge list of " +
                std::to_string(items ? items->size() : 0));
      return false;
    }
    from = {edge->svp(), edge->sv()};
    to = {edge->tvp(), edge->tv()};
    if (!use->orf()) std::swap(from, to);
    // A vertex index outside its list is the edge list's fault, told there.
    return in(from.list, from.index) && in(to.list, to.index);
  }
  if (auto* vertices = as<igs_vertex_list_entity>(list)) {
    if (!in(vertices, ndx)) {
      c.add("brep-vertex-index", c.de(loop), field,
            "vertex " + std::to_string(ndx + 1) + " of a vertex list of " +
                std::to_string(vertices->vertices_ ? vertices->vertices_->size() : 0));
      return false;
    }
    from = to = {vertices, ndx};
    return true;
  }
  return false;
}

void loop(Context& c, igs_loop_entity* e) {
  ListOfigs_edge_use* uses = e->edge_tuples_;
  unsigned n = uses ? uses->size() : 0;
  std::vector<std::pair<Vertex, Vertex>> ends;
  bool whole = true;
  for (unsigned i = 0; i < n; ++i) {
    Vertex from, to;
    igs_edge_use* use = (*uses)[i];
    whole = use && use_ends(c, e, i, use, from, to) && whole;
    ends.emplace_back(from, to);
  }
  if (!whole || n == 0) return;
  for (unsigned i = 0; i < n; ++i) {
    const Vertex& end = ends[i].second;
    const Vertex& next = ends[(i + 1) % n].first;
    if (!same(end, next, c.resolution)) {
      c.add("loop-not-closed", c.de(e), "edge_tuples[" + std::to_string((i + 1) % n) + "]",
            "edge use " + std::to_string((i + 1) % n) + " doesn't start where edge use " +
                std::to_string(i) + " ends");
      return;
    }
  }
}

// Each edge of a shell: the faces that use it, and in which direction, seen from the shell's
// side: an edge use's orientation, reversed in a face that the shell turns over.
void shell(Context& c, igs_shell_entity* e) {
  struct Use {
    int forward = 0, backward = 0;
  };
  std::map<std::pair<igs_edge_list_entity*, int>, Use> uses;
  ListOfigs_face_data* faces = e->faces_;
  for (unsigned f = 0, nf = faces ? faces->size() : 0; f < nf; ++f) {
    igs_face_data* item = (*faces)[f];
    igs_face_entity* face = item ? item->face_ptr() : nullptr;
    ListOfigs_loop_entity* loops = face ? face->loop_ : nullptr;
    for (unsigned l = 0, nl = loops ? loops->size() : 0; l < nl; ++l) {
      ListOfigs_edge_use* tuples = (*loops)[l] ? (*loops)[l]->edge_tuples_ : nullptr;
      for (unsigned u = 0, nu = tuples ? tuples->size() : 0; u < nu; ++u) {
        igs_edge_use* use = (*tuples)[u];
        auto* edges = use ? as<igs_edge_list_entity>(chosen(use->edge())) : nullptr;
        if (!edges) continue;
        Use& counted = uses[{edges, use->ndx()}];
        bool forward = (use->orf() != 0) == (item->orf() != 0);
        ++(forward ? counted.forward : counted.backward);
      }
    }
  }
  bool closed = e->form() == 1;
  for (const auto& [edge, counted] : uses) {
    int total = counted.forward + counted.backward;
    std::string which =
        "edge " + std::to_string(edge.second + 1) + " of DE " + std::to_string(c.de(edge.first));
    if (total > 2 || (closed && total != 2)) {
      c.add("shell-edge-use", c.de(e), "faces",
            which + " is used " + std::to_string(total) + " time" + (total == 1 ? "" : "s") +
                (closed ? " in a closed shell" : ""));
    } else if (counted.forward > 1 || counted.backward > 1) {
      c.add("shell-edge-direction", c.de(e), "faces",
            which + " is used twice in the same direction");
    }
  }
}

}  // namespace

void check_topology(Context& c) {
  std::unordered_set<igs_directory_entry*> bounding;  // composites that boundaries check
  for (igs_directory_entry* entity : c.places) {
    int type = entity ? entity->entity_type() : 0;
    if (type != 141 && type != 142) continue;
    if (auto* on = as<igs_curve_on_a_parametric_surface_entity>(entity)) {
      bounding.insert(on->bptr());
      bounding.insert(on->cptr());
    } else if (auto* b = as<igs_boundary_entity>(entity)) {
      for (unsigned i = 0, n = b->curves_ ? b->curves_->size() : 0; i < n; ++i) {
        igs_curve_boundary* item = (*b->curves_)[i];
        if (!item) continue;
        bounding.insert(item->crvpt());
        for (unsigned j = 0, m = item->pscpt_ ? item->pscpt_->size() : 0; j < m; ++j)
          bounding.insert((*item->pscpt_)[j]);
      }
    }
  }
  for (igs_directory_entry* entity : c.places) {
    int type = entity ? entity->entity_type() : 0;
    if (type != 144 && type != 141 && type != 102 && type != 504 && type != 508 && type != 514)
      continue;
    if (auto* trimmed = as<igs_trimmed_parametric_surface_entity>(entity))
      trimmed_surface(c, trimmed);
    else if (auto* b = as<igs_boundary_entity>(entity))
      boundary(c, b);
    else if (auto* chain = as<igs_composite_curve_entity>(entity); chain && !bounding.count(entity))
      composite(c, chain);
    else if (auto* edges = as<igs_edge_list_entity>(entity))
      edge_list(c, edges);
    else if (auto* l = as<igs_loop_entity>(entity))
      loop(c, l);
    else if (auto* s = as<igs_shell_entity>(entity))
      shell(c, s);
  }
}

}  // namespace igeslib::check_detail
