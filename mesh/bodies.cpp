// Bodies meshed: a surface alone, a B-rep face, shell or solid, each face tessellated and the
// shells checked for closure; and the model walked for its bodies and the instances that show
// them.
#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "igeslib.h"
#include "mesh_faces.h"

namespace igeslib {

double TriangleMesh::area() const {
  double a = 0;
  for (const auto& t : triangles)
    a += norm(cross(points[t[1]] - points[t[0]], points[t[2]] - points[t[0]])) / 2;
  return a;
}

double TriangleMesh::volume() const {
  double v = 0;
  for (const auto& t : triangles) v += dot(points[t[0]], cross(points[t[1]], points[t[2]])) / 6;
  return v;
}

std::size_t Tessellation::triangles() const {
  std::size_t n = 0;
  for (const MeshInstance& i : instances)
    for (const MeshedFace& f : bodies[i.body].faces) n += f.mesh.triangles.size();
  return n;
}

bool is_body(igs_directory_entry* e) {
  if (!e || lumo_cast<igs_null_entity>(e)) return false;
  if (lumo_cast<igs_face_entity>(e) || lumo_cast<igs_shell_entity>(e) ||
      lumo_cast<igs_manifold_solid_brep_entity>(e))
    return true;
  if (auto* plane = lumo_cast<igs_plane_entity>(e)) return plane->form() == 1;
  return is_surface(e);
}

std::string name_of(igs_directory_entry* e) {
  ListOfigs_properties* properties = e ? e->properties() : nullptr;
  for (unsigned i = 0, n = properties ? properties->size() : 0; i < n; ++i) {
    auto* name = lumo_cast<igs_name_entity>(properties->entityAt(i));
    if (name && name->name() && *name->name()) return name->name();
  }
  return {};
}

namespace {

using mesh_detail::FaceBuilder;
using mesh_detail::FaceJob;
using mesh_detail::FaceSettings;

struct Vec3Hash {
  std::size_t operator()(const Vec3& p) const {
    std::hash<double> h;
    return h(p.x) ^ (h(p.y) * 31) ^ (h(p.z) * 1031);
  }
};

// Counts how the faces' triangles share their edges, matching points by their coordinates.
void check_shell(const std::vector<const TriangleMesh*>& meshes, ShellCheck& check) {
  std::unordered_map<Vec3, std::uint32_t, Vec3Hash> ids;
  std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> directed;
  for (const TriangleMesh* m : meshes) {
    std::vector<std::uint32_t> id(m->points.size());
    for (std::size_t i = 0; i < m->points.size(); ++i)
      id[i] = ids.try_emplace(m->points[i], static_cast<std::uint32_t>(ids.size())).first->second;
    for (const auto& t : m->triangles)
      for (int k = 0; k < 3; ++k) ++directed[{id[t[k]], id[t[(k + 1) % 3]]}];
    check.area += m->area();
    check.volume += m->volume();
  }
  for (const auto& [edge, count] : directed) {
    auto [a, b] = edge;
    auto back = directed.find({b, a});
    std::uint32_t against = back == directed.end() ? 0 : back->second;
    if (a > b && against > 0) continue;  // counted from the other side
    std::uint32_t total = count + against;
    if (total == 1)
      ++check.open_edges;
    else if (total > 2)
      ++check.excess_edges;
    else if (count == 2 || against == 2)
      ++check.flipped_edges;
  }
}

// Whether each edge of the shell's faces is used by two edge uses.
bool edges_paired(igs_shell_entity* shell) {
  std::map<std::pair<igs_edge_list_entity*, int>, int> uses;
  ListOfigs_face_data* faces = shell ? shell->faces() : nullptr;
  for (unsigned i = 0, n = faces ? faces->size() : 0; i < n; ++i) {
    igs_face_entity* face = (*faces)[i] ? (*faces)[i]->face_ptr() : nullptr;
    ListOfigs_loop_entity* loops = face ? face->loop() : nullptr;
    for (unsigned k = 0, m = loops ? loops->size() : 0; k < m; ++k) {
      ListOfigs_edge_use* list = (*loops)[k] ? (*loops)[k]->edge_tuples() : nullptr;
      for (unsigned j = 0, u = list ? list->size() : 0; j < u; ++j) {
        igs_edge_use* use = (*list)[j];
        if (use && use->typ() == igs_edge_type_edge && use->edge())
          ++uses[{use->edge()->_edge_list_entity(), use->ndx()}];
      }
    }
  }
  if (uses.empty()) return false;
  for (const auto& [edge, count] : uses)
    if (count != 2) return false;
  return true;
}

// A box that holds the body: its B-rep vertices and edge curves, its trim curves, or its
// surface.
Box body_box(igs_directory_entry* e) {
  Box box;
  std::set<igs_edge_list_entity*> edge_lists;
  auto add_face = [&](igs_face_entity* face) {
    ListOfigs_loop_entity* loops = face ? face->loop() : nullptr;
    for (unsigned i = 0, n = loops ? loops->size() : 0; i < n; ++i) {
      ListOfigs_edge_use* uses = (*loops)[i] ? (*loops)[i]->edge_tuples() : nullptr;
      for (unsigned k = 0, m = uses ? uses->size() : 0; k < m; ++k) {
        igs_edge_use* use = (*uses)[k];
        if (use && use->edge() && use->edge()->_edge_list_entity())
          edge_lists.insert(use->edge()->_edge_list_entity());
      }
    }
    if (edge_lists.empty() && face && face->surf())
      box.add(entity_bounds(face->surf()->entity(), placement_of(face->surf()->entity())));
  };
  auto add_shell = [&](igs_shell_entity* shell) {
    ListOfigs_face_data* faces = shell ? shell->faces() : nullptr;
    for (unsigned i = 0, n = faces ? faces->size() : 0; i < n; ++i)
      if ((*faces)[i]) add_face((*faces)[i]->face_ptr());
  };
  if (auto* solid = lumo_cast<igs_manifold_solid_brep_entity>(e)) {
    add_shell(solid->shell());
    ListOfigs_void_shell* voids = solid->void_shells();
    for (unsigned i = 0, n = voids ? voids->size() : 0; i < n; ++i)
      if ((*voids)[i]) add_shell((*voids)[i]->Void());
  } else if (auto* shell = lumo_cast<igs_shell_entity>(e)) {
    add_shell(shell);
  } else if (auto* face = lumo_cast<igs_face_entity>(e)) {
    add_face(face);
  } else if (auto* trimmed = lumo_cast<igs_trimmed_parametric_surface_entity>(e)) {
    if (trimmed->n1() != 0 && trimmed->pto())
      box.add(entity_bounds(trimmed->pto(), placement_of(trimmed->pto())));
    if (box.empty()) box.add(entity_bounds(trimmed->pts(), placement_of(trimmed->pts())));
  } else if (auto* bounded = lumo_cast<igs_bounded_surface_entity>(e)) {
    ListOfigs_boundary_entity* boundaries = bounded->bdpt();
    for (unsigned i = 0, n = boundaries ? boundaries->size() : 0; i < n; ++i) {
      ListOfigs_curve_boundary* curves = (*boundaries)[i] ? (*boundaries)[i]->curves() : nullptr;
      for (unsigned k = 0, m = curves ? curves->size() : 0; k < m; ++k)
        if ((*curves)[k] && (*curves)[k]->crvpt())
          box.add(entity_bounds((*curves)[k]->crvpt(), placement_of((*curves)[k]->crvpt())));
    }
    if (box.empty()) box.add(entity_bounds(bounded->sptr(), placement_of(bounded->sptr())));
  } else if (auto* plane = lumo_cast<igs_plane_entity>(e)) {
    box.add(entity_bounds(plane->ptr(), placement_of(plane->ptr())));
  } else {
    box.add(entity_bounds(e, Transform{}));
  }
  for (igs_edge_list_entity* list : edge_lists) {
    ListOfigs_edge_data* edges = list->edges();
    for (unsigned i = 0, n = edges ? edges->size() : 0; i < n; ++i) {
      igs_edge_data* d = (*edges)[i];
      igs_directory_entry* c = d && d->curv() ? d->curv()->entity() : nullptr;
      if (c) box.add(entity_bounds(c, placement_of(c)));
    }
  }
  return box;
}

void mesh_job(FaceJob job, MeshBody& body, std::vector<MeshFailure>* failures,
              const FaceSettings& settings) {
  auto report = [&](const std::string& reason) {
    if (failures) failures->push_back({job.entity, body.entity, reason});
  };
  for (const std::string& note : job.notes) report(note);
  if (!job.failure.empty()) {
    report(job.failure);
    return;
  }
  MeshedFace face;
  face.entity = job.entity;
  std::string why = mesh_detail::mesh_face(*job.surface, std::move(job.loops), job.with_domain,
                                           job.reversed, settings, face.mesh);
  if (!why.empty()) {
    report(why);
    return;
  }
  body.faces.push_back(std::move(face));
}

}  // namespace

MeshBody tessellate_body(igs_directory_entry* entity, const MeshOptions& options,
                         std::vector<MeshFailure>* failures) {
  MeshBody body;
  body.entity = entity;
  FaceSettings settings;
  settings.chord = options.chord;
  if (!(settings.chord > 0)) settings.chord = body_box(entity).diagonal() / 1000;
  if (!(settings.chord > 0) || !std::isfinite(settings.chord)) settings.chord = 1e-3;
  settings.angle = options.angle > 0 ? options.angle : MeshOptions{}.angle;
  settings.max_points = std::max(options.max_face_points, 16);
  FaceBuilder builder(settings);

  // A shell's faces, each facing the way its flag and the shell's say.
  // outer: a shell that bounds the solid from outside, whose faces must face outward.
  auto mesh_shell = [&](igs_shell_entity* shell, bool reversed, bool closed_form, bool outer) {
    ShellCheck check;
    check.shell = shell;
    check.closed_form = closed_form;
    check.edges_paired = edges_paired(shell);
    std::size_t first = body.faces.size();
    ListOfigs_face_data* faces = shell ? shell->faces() : nullptr;
    for (unsigned i = 0, n = faces ? faces->size() : 0; i < n; ++i) {
      igs_face_data* item = (*faces)[i];
      igs_face_entity* face = item ? item->face_ptr() : nullptr;
      ++check.faces;
      if (!face) {
        if (failures)
          failures->push_back({shell, entity, "face " + std::to_string(i + 1) + " missing"});
        ++check.failed_faces;
        continue;
      }
      std::size_t before = body.faces.size();
      mesh_job(builder.brep_face(face, reversed != !item->orf()), body, failures, settings);
      if (body.faces.size() == before) ++check.failed_faces;
    }
    std::vector<const TriangleMesh*> meshes;
    for (std::size_t i = first; i < body.faces.size(); ++i) meshes.push_back(&body.faces[i].mesh);
    check_shell(meshes, check);
    // A closed outer shell whose faces all agree and all face inward: its writer read the
    // orientation flags the other way round. Turned over, it faces outward as a solid must.
    if (outer && check.closed() && check.flipped_edges == 0 && check.volume < 0) {
      for (std::size_t i = first; i < body.faces.size(); ++i) {
        TriangleMesh& m = body.faces[i].mesh;
        for (auto& t : m.triangles) std::swap(t[1], t[2]);
        for (Vec3& n : m.normals) n = -n;
      }
      check.volume = -check.volume;
      check.turned = true;
    }
    body.shells.push_back(check);
  };

  if (auto* solid = lumo_cast<igs_manifold_solid_brep_entity>(entity)) {
    body.solid = true;
    if (!solid->shell() && failures) failures->push_back({entity, entity, "shell missing"});
    mesh_shell(solid->shell(), !solid->sof(), true, true);
    ListOfigs_void_shell* voids = solid->void_shells();
    for (unsigned i = 0, n = voids ? voids->size() : 0; i < n; ++i)
      if (igs_void_shell* v = (*voids)[i]) mesh_shell(v->Void(), !v->vof(), true, false);
  } else if (auto* shell = lumo_cast<igs_shell_entity>(entity)) {
    body.solid = shell->form() == 1;
    mesh_shell(shell, false, body.solid, body.solid);
  } else if (auto* face = lumo_cast<igs_face_entity>(entity)) {
    mesh_job(builder.brep_face(face, false), body, failures, settings);
  } else {
    mesh_job(builder.surface_face(entity), body, failures, settings);
  }
  return body;
}

Tessellation tessellate(std::span<igs_directory_entry* const> entities,
                        const MeshOptions& options) {
  Tessellation out;
  // What other entities hold: the surfaces of trimmed and bounded surfaces, curves on
  // surfaces and faces, the faces of shells, the shells of solids, the members of subfigure
  // definitions. Those are meshed as parts of their holders, or shown by instances.
  std::unordered_set<igs_directory_entry*> held, defined;
  for (igs_directory_entry* e : entities) {
    if (auto* t = lumo_cast<igs_trimmed_parametric_surface_entity>(e)) {
      held.insert(t->pts());
    } else if (auto* b = lumo_cast<igs_bounded_surface_entity>(e)) {
      held.insert(b->sptr());
    } else if (auto* c = lumo_cast<igs_curve_on_a_parametric_surface_entity>(e)) {
      held.insert(c->sptr());
    } else if (auto* bd = lumo_cast<igs_boundary_entity>(e)) {
      held.insert(bd->sptr());
    } else if (auto* o = lumo_cast<igs_offset_surface_entity>(e)) {
      held.insert(o->de());
    } else if (auto* f = lumo_cast<igs_face_entity>(e)) {
      if (f->surf()) held.insert(f->surf()->entity());
    } else if (auto* s = lumo_cast<igs_shell_entity>(e)) {
      ListOfigs_face_data* faces = s->faces();
      for (unsigned i = 0, n = faces ? faces->size() : 0; i < n; ++i)
        if ((*faces)[i]) held.insert((*faces)[i]->face_ptr());
    } else if (auto* m = lumo_cast<igs_manifold_solid_brep_entity>(e)) {
      held.insert(m->shell());
      ListOfigs_void_shell* voids = m->void_shells();
      for (unsigned i = 0, n = voids ? voids->size() : 0; i < n; ++i)
        if ((*voids)[i]) held.insert((*voids)[i]->Void());
    } else if (auto* d = lumo_cast<igs_subfigure_definition_entity>(e)) {
      ListOfigs_directory_entry* members = d->de();
      for (unsigned i = 0, n = members ? members->size() : 0; i < n; ++i)
        defined.insert((*members)[i]);
    }
  }

  // Each body once, with the instances that show it.
  std::unordered_map<igs_directory_entry*, std::size_t> body_index;
  std::vector<igs_directory_entry*> body_entities;
  auto show = [&](igs_directory_entry* e, const Transform& t, igs_directory_entry* instance) {
    if (!options.blanked && e->blank() == igs_blank_status_invisible) {
      ++out.blanked;
      return;
    }
    auto [it, fresh] = body_index.try_emplace(e, body_entities.size());
    if (fresh) body_entities.push_back(e);
    out.instances.push_back({it->second, t, instance});
  };
  std::unordered_set<igs_directory_entry*> shown;
  for (const Placed& p : placements(entities)) {
    if (!is_body(p.entity) || held.count(p.entity)) continue;
    shown.insert(p.entity);
    show(p.entity, p.transform, p.instance);
  }
  // A body that nothing holds and nothing shows (its holder lost, say, or its subordinate
  // switch set wrong) stands where its own matrices put it.
  for (igs_directory_entry* e : entities)
    if (is_body(e) && !shown.count(e) && !held.count(e) && !defined.count(e))
      show(e, placement_of(e), nullptr);

  // The chord: as given, or 1/1000 of the model's size.
  std::vector<Box> boxes(body_entities.size());
  for (std::size_t i = 0; i < body_entities.size(); ++i) boxes[i] = body_box(body_entities[i]);
  out.chord = options.chord;
  if (!(out.chord > 0)) {
    Box model;
    for (const MeshInstance& i : out.instances) model.add(i.transform.box(boxes[i.body]));
    out.chord = model.diagonal() / 1000;
    if (!(out.chord > 0) || !std::isfinite(out.chord)) out.chord = 1e-3;
  }
  // A body shown at a larger scale is meshed finer, so that the chord holds where it shows.
  std::vector<double> scale(body_entities.size(), 0);
  for (const MeshInstance& i : out.instances)
    scale[i.body] = std::max(scale[i.body], i.transform.scale());
  for (std::size_t i = 0; i < body_entities.size(); ++i) {
    MeshOptions body_options = options;
    body_options.chord = out.chord / (scale[i] > 0 ? scale[i] : 1);
    out.bodies.push_back(tessellate_body(body_entities[i], body_options, &out.failures));
  }
  return out;
}

TriangleMesh merged_mesh(const Tessellation& tessellation,
                         std::vector<igs_directory_entry*>* face_of) {
  TriangleMesh out;
  std::unordered_map<Vec3, std::uint32_t, Vec3Hash> ids;
  if (face_of) face_of->clear();
  for (const MeshInstance& instance : tessellation.instances) {
    const Transform& t = instance.transform;
    // A mirroring placement turns the triangles over; they are turned back.
    bool mirrored = mesh_detail::determinant(t) < 0;
    for (const MeshedFace& face : tessellation.bodies[instance.body].faces) {
      const TriangleMesh& m = face.mesh;
      std::vector<std::uint32_t> id(m.points.size());
      for (std::size_t i = 0; i < m.points.size(); ++i) {
        Vec3 p = t.point(m.points[i]);
        auto [it, fresh] = ids.try_emplace(p, static_cast<std::uint32_t>(out.points.size()));
        if (fresh) {
          out.points.push_back(p);
          out.normals.push_back(mesh_detail::placed_normal(t, m.normals[i]));
        }
        id[i] = it->second;
      }
      for (const auto& tri : m.triangles) {
        std::array<std::uint32_t, 3> x{id[tri[0]], id[tri[1]], id[tri[2]]};
        if (x[0] == x[1] || x[1] == x[2] || x[0] == x[2]) continue;
        if (mirrored) std::swap(x[1], x[2]);
        out.triangles.push_back(x);
        if (face_of) face_of->push_back(face.entity);
      }
    }
  }
  return out;
}

}  // namespace igeslib
