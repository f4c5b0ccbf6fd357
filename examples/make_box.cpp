// make_box OUT: a cube of side 1 as a B-rep solid (186), written as an IGES file: eight
// vertices in a vertex list (502), twelve line edges in an edge list (504), six faces (510) on
// planes (190), each bounded by a loop (508) of four edge uses, in one closed shell (514).
#include "example_file.h"

namespace {

LumoDesign* design = nullptr;

const double kCorners[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                               {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
const int kEdges[12][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6},
                           {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};
// Each face's corners counterclockwise seen from outside, and its outward normal.
struct Face {
  int corners[4];
  double normal[3];
};
const Face kFaces[6] = {{{0, 3, 2, 1}, {0, 0, -1}}, {{4, 5, 6, 7}, {0, 0, 1}},
                        {{0, 1, 5, 4}, {0, -1, 0}}, {{1, 2, 6, 5}, {1, 0, 0}},
                        {{2, 3, 7, 6}, {0, 1, 0}},  {{3, 0, 4, 7}, {-1, 0, 0}}};

igs_plane_surface_entity* plane(const double* at, const double* normal) {
  auto* location = new (design) igs_point_entity;
  location->x(at[0]), location->y(at[1]), location->z(at[2]);
  location->subordinate(igs_subordinate_switch_physicallyDependent);
  auto* direction = new (design) igs_direction_entity;
  direction->x(normal[0]), direction->y(normal[1]), direction->z(normal[2]);
  auto* surface = new (design) igs_plane_surface_entity;
  surface->form(0);
  surface->deloc(location);
  surface->denrml(direction);
  return surface;
}

// The use of the edge between two corners in a loop, along the edge or against it.
igs_edge_use* edge_use(igs_edge_list_entity* edges, int from, int to) {
  auto* use = new (design) igs_edge_use;
  use->typ(igs_edge_type_edge);
  auto* list = new (design) igs_vertex_or_edge;
  list->_edge_list_entity(edges);
  use->edge(list);
  for (int e = 0; e < 12; ++e) {
    if ((kEdges[e][0] == from && kEdges[e][1] == to) ||
        (kEdges[e][0] == to && kEdges[e][1] == from)) {
      use->ndx(e);
      use->orf(kEdges[e][0] == from);
    }
  }
  return use;
}

void build_box(LumoDesign* in, igs_global*) {
  design = in;
  auto* vertices = new (design) igs_vertex_list_entity;
  for (const auto& c : kCorners)
    vertices->vertices()->add(new (design) igs_coordinate(c[0], c[1], c[2]));

  auto* edges = new (design) igs_edge_list_entity;
  for (const auto& e : kEdges) {
    auto* line = new (design) igs_line_entity;
    const double* a = kCorners[e[0]];
    const double* b = kCorners[e[1]];
    line->x1(a[0]), line->y1(a[1]), line->z1(a[2]);
    line->x2(b[0]), line->y2(b[1]), line->z2(b[2]);
    auto* curve = new (design) igs_model_space_curve;
    curve->_line_entity(line);
    auto* edge = new (design) igs_edge_data;
    edge->curv(curve);
    edge->svp(vertices), edge->sv(e[0]);  // start vertex: list and index in it
    edge->tvp(vertices), edge->tv(e[1]);  // terminate vertex
    edges->edges()->add(edge);
  }

  auto* shell = new (design) igs_shell_entity;
  shell->form(1);  // closed
  for (const Face& f : kFaces) {
    auto* loop = new (design) igs_loop_entity;
    for (int i = 0; i < 4; ++i)
      loop->edge_tuples()->add(edge_use(edges, f.corners[i], f.corners[(i + 1) % 4]));
    auto* face = new (design) igs_face_entity;
    auto* surface = new (design) igs_surface_type;
    surface->_plane_surface_entity(plane(kCorners[f.corners[0]], f.normal));
    face->surf(surface);
    face->orf(1);  // the outward normal is the plane's
    face->loop()->add(loop);
    auto* use = new (design) igs_face_data;
    use->face_ptr(face), use->orf(1);
    shell->faces()->add(use);
  }
  auto* solid = new (design) igs_manifold_solid_brep_entity;
  solid->shell(shell);
  solid->sof(1);
}

}  // namespace

int main(int argc, char** argv) {
  return igeslib_example_main(argc, argv, "make_box", "box",
                              {"A cube of side 1 as a B-rep solid, built by make_box."}, build_box);
}
