// The constrained Delaunay triangulation of a face's domain, through CGAL. This is the one
// translation unit that includes CGAL: its headers are slow to compile.
#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Constrained_triangulation_face_base_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_face_base_with_info_2.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>

#include <cmath>
#include <deque>
#include <stdexcept>

#include "mesh_internal.h"

namespace igeslib::mesh_detail {

namespace {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;

struct VertexInfo {
  int id = -1;  // -1 for a point made where constraints cross, until it is numbered
};
struct FaceInfo {
  // How many constraints lie between the face and the outside; -1 while unknown.
  int nesting = -1;
  bool in_domain() const { return nesting % 2 == 1; }
};

using Vb = CGAL::Triangulation_vertex_base_with_info_2<VertexInfo, Kernel>;
using Fbi = CGAL::Triangulation_face_base_with_info_2<FaceInfo, Kernel>;
using Fb = CGAL::Constrained_triangulation_face_base_2<Kernel, Fbi>;
using Tds = CGAL::Triangulation_data_structure_2<Vb, Fb>;
using Cdt = CGAL::Constrained_Delaunay_triangulation_2<Kernel, Tds, CGAL::Exact_predicates_tag>;
using Point = Kernel::Point_2;

}  // namespace

struct PlaneTriangulation::Impl {
  Cdt cdt;
  std::vector<Cdt::Vertex_handle> vertices;  // by id
  // The last point added: the next one is looked for from there. A vertex, not a face: faces
  // come and go as points and constraints go in, vertices stay.
  Cdt::Vertex_handle last;
  Cdt::Face_handle near_last() const {
    return last == Cdt::Vertex_handle() ? Cdt::Face_handle() : last->face();
  }

  int number(Cdt::Vertex_handle v) {
    if (v->info().id < 0) {
      v->info().id = static_cast<int>(vertices.size());
      vertices.push_back(v);
    }
    return v->info().id;
  }
};

PlaneTriangulation::PlaneTriangulation() : impl_(std::make_unique<Impl>()) {}
PlaneTriangulation::~PlaneTriangulation() = default;

int PlaneTriangulation::insert(Uv p) {
  // The exact predicates need finite numbers; the callers pass nothing else.
  if (!std::isfinite(p.u) || !std::isfinite(p.v)) throw std::invalid_argument("point not finite");
  Cdt::Vertex_handle v = impl_->cdt.insert(Point(p.u, p.v), impl_->near_last());
  impl_->last = v;
  return impl_->number(v);
}

void PlaneTriangulation::constrain(int a, int b) {
  if (a == b) return;
  impl_->cdt.insert_constraint(impl_->vertices[a], impl_->vertices[b]);
}

void PlaneTriangulation::mark_domain() {
  Cdt& cdt = impl_->cdt;
  for (Cdt::Face_handle f : cdt.all_face_handles()) f->info().nesting = -1;
  // Region by region from the outside: a region is what is reached without crossing a
  // constraint; the faces across its constraints begin regions one level deeper.
  std::deque<std::pair<Cdt::Face_handle, int>> border{{cdt.infinite_face(), 0}};
  while (!border.empty()) {
    auto [start, level] = border.front();
    border.pop_front();
    if (start->info().nesting != -1) continue;
    start->info().nesting = level;
    std::deque<Cdt::Face_handle> region{start};
    while (!region.empty()) {
      Cdt::Face_handle f = region.front();
      region.pop_front();
      for (int i = 0; i < 3; ++i) {
        Cdt::Face_handle n = f->neighbor(i);
        if (n->info().nesting != -1) continue;
        if (cdt.is_constrained(Cdt::Edge(f, i))) {
          border.push_back({n, level + 1});
        } else {
          n->info().nesting = level;
          region.push_back(n);
        }
      }
    }
  }
}

int PlaneTriangulation::insert_inside(Uv p, int hint) {
  Cdt& cdt = impl_->cdt;
  if (!std::isfinite(p.u) || !std::isfinite(p.v)) return -1;
  Cdt::Locate_type type;
  int li = 0;
  Cdt::Face_handle near = hint >= 0 && hint < static_cast<int>(impl_->vertices.size())
                              ? impl_->vertices[hint]->face()
                              : impl_->near_last();
  Point q(p.u, p.v);
  Cdt::Face_handle f = cdt.locate(q, type, li, near);
  if (type == Cdt::FACE) {
    if (!f->info().in_domain()) return -1;
  } else if (type == Cdt::EDGE) {
    if (cdt.is_constrained(Cdt::Edge(f, li)) || !f->info().in_domain()) return -1;
  } else {
    return -1;  // on a point already there, or outside the hull
  }
  int nesting = f->info().nesting;
  Cdt::Vertex_handle v = cdt.insert(q, type, f, li);
  // The faces the point made lie in the region it fell in: no constraint was crossed.
  Cdt::Face_circulator c = cdt.incident_faces(v), done = c;
  do {
    c->info().nesting = nesting;
  } while (++c != done);
  impl_->last = v;
  return impl_->number(v);
}

std::vector<PlaneTriangulation::Triangle> PlaneTriangulation::domain_triangles() {
  std::vector<Triangle> out;
  Cdt& cdt = impl_->cdt;
  for (Cdt::Face_handle f : cdt.finite_face_handles()) {
    if (!f->info().in_domain()) continue;
    Triangle t;
    for (int i = 0; i < 3; ++i) {
      t.v[i] = impl_->number(f->vertex(i));
      t.constrained[i] = f->is_constrained(i);
    }
    out.push_back(t);
  }
  return out;
}

std::size_t PlaneTriangulation::size() const { return impl_->vertices.size(); }

Uv PlaneTriangulation::point(int id) const {
  const Point& p = impl_->vertices[id]->point();
  return {p.x(), p.y()};
}

}  // namespace igeslib::mesh_detail
