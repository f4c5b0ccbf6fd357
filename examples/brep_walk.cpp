// brep_walk FILE: every B-rep solid (186) of an IGES file walked down to its vertices: shells,
// faces and their surfaces, loops, edge uses, edges with their curves, and the vertices that
// bound each edge.
#include <cstdio>
#include <span>

#include <igeslib.h>

namespace {

const char* class_of(igs_directory_entry* entity) {
  return entity ? entity->domain()->name() : "none";
}

// An edge use names an edge by its list (504) and its index there; the edge names its curve
// and its two vertices, each by a vertex list (502) and an index.
void walk_edge_use(igs_edge_use* use) {
  igs_edge_list_entity* edges = use->edge() ? use->edge()->_edge_list_entity() : nullptr;
  if (use->typ() != igs_edge_type_edge || !edges) {
    std::printf("      a vertex loop\n");
    return;
  }
  igs_edge_data* edge = (*edges->edges())[static_cast<unsigned>(use->ndx())];
  if (!edge) return;
  std::printf("      edge %d (%s) on a %s", use->ndx(), use->orf() ? "along" : "against",
              class_of(edge->curv() ? edge->curv()->entity() : nullptr));
  igs_coordinate* start = edge->svp() ? (*edge->svp()->vertices())[edge->sv()] : nullptr;
  igs_coordinate* end = edge->tvp() ? (*edge->tvp()->vertices())[edge->tv()] : nullptr;
  if (start && end)
    std::printf(" from (%g, %g, %g) to (%g, %g, %g)", start->x(), start->y(), start->z(), end->x(),
                end->y(), end->z());
  std::printf("\n");
}

void walk_shell(igs_shell_entity* shell) {
  if (!shell) return;
  std::printf("  shell of %u faces\n", shell->faces()->size());
  for (unsigned i = 0; i < shell->faces()->size(); ++i) {
    igs_face_entity* face = (*shell->faces())[i]->face_ptr();
    if (!face) continue;
    std::printf("    face %u on a %s, %u loops\n", i,
                class_of(face->surf() ? face->surf()->entity() : nullptr), face->loop()->size());
    for (unsigned j = 0; j < face->loop()->size(); ++j) {
      igs_loop_entity* loop = (*face->loop())[j];
      if (!loop) continue;
      for (unsigned k = 0; k < loop->edge_tuples()->size(); ++k)
        walk_edge_use((*loop->edge_tuples())[k]);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: brep_walk FILE\n", stderr);
    return 2;
  }
  igeslib::Model model = igeslib::read(argv[1]);  // reports go to standard error
  if (!model.completed()) return 1;
  std::span<igs_directory_entry* const> entities = model.entities();
  unsigned solids = 0;
  for (unsigned i = 0; i < entities.size(); ++i) {
    auto* solid = lumo_cast<igs_manifold_solid_brep_entity>(entities[i]);
    if (!solid) continue;
    std::printf("Solid %u\n", 2 * i + 1);
    walk_shell(solid->shell());
    for (unsigned v = 0; v < solid->void_shells()->size(); ++v)  // cavities, if any
      walk_shell((*solid->void_shells())[v]->Void());
    ++solids;
  }
  std::printf("%u solids\n", solids);
  return 0;  // the model releases its design
}
