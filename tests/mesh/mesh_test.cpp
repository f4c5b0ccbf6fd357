// Meshes against closed forms: B-rep solids that close with their area and volume, trimmed
// planes with the area their trims leave, glTF and STL read back, faces that can't be meshed
// reported with the reason, and the corpus: every file meshes and every closed shell closes.
#include <gtest/gtest.h>
#include <tiny_gltf.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <numbers>

#include <igeslib_mesh.h>

#include "geometry/geometry_support.h"
#include "support/corpus.h"
#include "support/file_read.h"

using namespace geometry_test;

namespace {

constexpr double pi = std::numbers::pi;

igs_point_entity* point(igeslib::Model& m, Vec3 p) {
  auto* e = m.make<igs_point_entity>();
  e->x(p.x), e->y(p.y), e->z(p.z);
  return e;
}

igs_direction_entity* direction(igeslib::Model& m, Vec3 d) {
  auto* e = m.make<igs_direction_entity>();
  e->x(d.x), e->y(d.y), e->z(d.z);
  return e;
}

// A plane through at with the normal; u along x where the normal allows.
igs_plane_surface_entity* plane(igeslib::Model& m, Vec3 at, Vec3 normal) {
  auto* e = m.make<igs_plane_surface_entity>();
  e->deloc(point(m, at)), e->denrml(direction(m, normal));
  e->form(1), e->derefd(direction(m, normal.z != 0 ? Vec3{1, 0, 0} : Vec3{0, 0, 1}));
  return e;
}

igs_line_entity* line(igeslib::Model& m, Vec3 a, Vec3 b) {
  auto* e = m.make<igs_line_entity>();
  e->x1(a.x), e->y1(a.y), e->z1(a.z), e->x2(b.x), e->y2(b.y), e->z2(b.z);
  return e;
}

// A full circle in the plane z = c.z, from (c.x + r, c.y) counter-clockwise.
igs_circular_arc_entity* circle(igeslib::Model& m, Vec3 c, double r) {
  auto* e = m.make<igs_circular_arc_entity>();
  e->zt(c.z), e->x1(c.x), e->y1(c.y), e->x2(c.x + r), e->y2(c.y), e->x3(c.x + r), e->y3(c.y);
  return e;
}

// B-rep parts in a model: one vertex list, one edge list, faces bounded by one loop each.
class Brep {
 public:
  explicit Brep(igeslib::Model& m)
      : m_(m),
        vertices_(m.make<igs_vertex_list_entity>()),
        edges_(m.make<igs_edge_list_entity>()) {}
  int vertex(Vec3 p) {
    vertices_->vertices()->add(new (m_.design()) igs_coordinate(p.x, p.y, p.z));
    return int(vertices_->vertices()->size()) - 1;
  }
  int edge(igs_directory_entry* curve, int from, int to) {
    auto* c = new (m_.design()) igs_model_space_curve;
    c->choose_entity(curve);
    auto* e = new (m_.design()) igs_edge_data;
    e->curv(c), e->svp(vertices_), e->sv(from), e->tvp(vertices_), e->tv(to);
    edges_->edges()->add(e);
    return int(edges_->edges()->size()) - 1;
  }
  // Edge uses: {edge, true} along the edge's curve, {edge, false} against it.
  igs_face_entity* face(igs_directory_entry* surface, std::vector<std::pair<int, bool>> uses) {
    auto* loop = m_.make<igs_loop_entity>();
    for (auto [edge, along] : uses) {
      auto* use = new (m_.design()) igs_edge_use;
      auto* which = new (m_.design()) igs_vertex_or_edge;
      which->_edge_list_entity(edges_);
      use->typ(igs_edge_type_edge), use->edge(which), use->ndx(edge), use->orf(along);
      loop->edge_tuples()->add(use);
    }
    auto* f = m_.make<igs_face_entity>();
    auto* s = new (m_.design()) igs_surface_type;
    s->choose_entity(surface);
    f->surf(s), f->orf(1), f->loop()->add(loop);
    return f;
  }
  igs_manifold_solid_brep_entity* solid(const std::vector<igs_face_entity*>& faces) {
    auto* shell = m_.make<igs_shell_entity>();
    shell->form(1);
    for (igs_face_entity* f : faces) {
      auto* use = new (m_.design()) igs_face_data;
      use->face_ptr(f), use->orf(1);
      shell->faces()->add(use);
    }
    auto* solid = m_.make<igs_manifold_solid_brep_entity>();
    solid->shell(shell), solid->sof(1);
    return solid;
  }

 private:
  igeslib::Model& m_;
  igs_vertex_list_entity* vertices_;
  igs_edge_list_entity* edges_;
};

igs_manifold_solid_brep_entity* unit_cube(igeslib::Model& m) {
  Brep b(m);
  const Vec3 c[8] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                     {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
  for (const Vec3& p : c) b.vertex(p);
  const int ends[12][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6},
                           {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};
  for (const auto& e : ends) b.edge(line(m, c[e[0]], c[e[1]]), e[0], e[1]);
  // Each face's corners counter-clockwise seen from outside.
  const int faces[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4},
                           {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
  std::vector<igs_face_entity*> made;
  for (const auto& f : faces) {
    std::vector<std::pair<int, bool>> uses;
    for (int i = 0; i < 4; ++i) {
      int a = f[i], z = f[(i + 1) % 4];
      for (int e = 0; e < 12; ++e)
        if ((ends[e][0] == a && ends[e][1] == z) || (ends[e][0] == z && ends[e][1] == a))
          uses.push_back({e, ends[e][0] == a});
    }
    Vec3 n = cross(c[f[1]] - c[f[0]], c[f[2]] - c[f[0]]);
    made.push_back(b.face(plane(m, c[f[0]], n), uses));
  }
  return b.solid(made);
}

TEST(Mesh, UnitCubeClosesWithAreaSixAndVolumeOne) {
  igeslib::Model m;
  auto* cube = unit_cube(m);
  igeslib::Tessellation t = igeslib::tessellate(m.entities());
  ASSERT_TRUE(t.failures.empty()) << t.failures[0].reason;
  ASSERT_EQ(t.bodies.size(), 1u);
  EXPECT_EQ(t.bodies[0].entity, cube);
  ASSERT_EQ(t.bodies[0].shells.size(), 1u);
  const igeslib::ShellCheck& s = t.bodies[0].shells[0];
  EXPECT_TRUE(s.closed() && s.edges_paired && !s.turned);
  EXPECT_EQ(s.flipped_edges, 0u);
  EXPECT_NEAR(s.area, 6, 1e-12);
  EXPECT_NEAR(s.volume, 1, 1e-12);
  EXPECT_EQ(t.triangles(), 12u);
}

// A cylinder of radius 2 and height 3 about the z axis: two caps and a side whose loop runs
// the seam up and down; no edge has a parameter-space curve, so every loop is found by
// inversion. The meshes of an inscribed prism bound the areas and the volume.
TEST(Mesh, CylinderClosesAcrossItsSeamWithinTheChord) {
  const double r = 2, h = 3, chord = 0.01;
  igeslib::Model m;
  Brep b(m);
  int v0 = b.vertex({r, 0, 0}), v1 = b.vertex({r, 0, h});
  int bottom = b.edge(circle(m, {0, 0, 0}, r), v0, v0);
  int top = b.edge(circle(m, {0, 0, h}, r), v1, v1);
  int seam = b.edge(line(m, {r, 0, 0}, {r, 0, h}), v0, v1);
  auto* side = m.make<igs_right_circular_cylindrical_surface_entity>();
  side->deloc(point(m, {0, 0, 0})), side->deaxis(direction(m, {0, 0, 1})), side->radius(r);
  auto* wall = b.face(side, {{bottom, true}, {seam, true}, {top, false}, {seam, false}});
  b.solid({b.face(plane(m, {0, 0, 0}, {0, 0, -1}), {{bottom, false}}),
           b.face(plane(m, {0, 0, h}, {0, 0, 1}), {{top, true}}), wall});

  igeslib::Tessellation t = igeslib::tessellate(m.entities(), {.chord = chord});
  ASSERT_TRUE(t.failures.empty()) << t.failures[0].reason;
  const igeslib::ShellCheck& s = t.bodies.at(0).shells.at(0);
  EXPECT_TRUE(s.closed()) << s.open_edges << " open, " << s.excess_edges << " excess";
  double shrink = 1 - chord / r;  // the least cosine of half a segment's angle
  double volume = pi * r * r * h;
  EXPECT_LE(s.volume, volume);
  EXPECT_GE(s.volume, volume * shrink * shrink);
  for (const igeslib::MeshedFace& f : t.bodies[0].faces) {
    if (f.entity != wall) continue;
    EXPECT_LE(f.mesh.area(), 2 * pi * r * h * (1 + 1e-12));
    EXPECT_GE(f.mesh.area(), 2 * pi * r * h * shrink);
  }
}

// A square of side 4 less a circle of radius 1 about its middle, trimmed three ways; and a
// plane bounded by the circle alone.
TEST(Mesh, TrimmedPlanesHaveTheAreaTheirTrimsLeave) {
  const double chord = 0.005, r = 1;
  const Vec3 square[5] = {{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}, {0, 0, 0}};
  auto on_surface = [](igeslib::Model& m, igs_directory_entry* surface, igs_directory_entry* uv,
                       igs_directory_entry* xyz) {
    auto* c = m.make<igs_curve_on_a_parametric_surface_entity>();
    c->sptr(lumo_cast<igs_geometric_entity>(surface));
    c->bptr(lumo_cast<igs_geometric_entity>(uv)), c->cptr(lumo_cast<igs_geometric_entity>(xyz));
    return c;
  };
  auto boundary = [](igeslib::Model& m, igs_directory_entry* surface,
                     std::vector<igs_directory_entry*> curves) {
    auto* b = m.make<igs_boundary_entity>();
    b->sptr(lumo_cast<igs_geometric_entity>(surface));
    for (igs_directory_entry* c : curves) {
      auto* item = new (m.design()) igs_curve_boundary;
      item->crvpt(lumo_cast<igs_geometric_entity>(c)), item->sense(1);
      b->curves()->add(item);
    }
    return b;
  };
  struct Row {
    const char* name;
    std::function<void(igeslib::Model&)> build;
    double square;  // the exact part of the area
    double circle;  // -1: less the circle, 1: the circle added
  } rows[] = {
      {"144, square in parameter space, hole in model space",
       [&](igeslib::Model& m) {
         auto* s = plane(m, {0, 0, 0}, {0, 0, 1});
         auto* uv = bspline_curve(m, 1, {0, 0, 1, 2, 3, 4, 4},
                                  {square[0], square[1], square[2], square[3], square[4]});
         auto* t = m.make<igs_trimmed_parametric_surface_entity>();
         t->pts(s), t->n1(1), t->pto(on_surface(m, s, uv, nullptr));
         t->pti()->add(on_surface(m, s, nullptr, circle(m, {2, 2, 0}, r)));
       },
       16, -1},
      {"143, square and hole in model space",
       [&](igeslib::Model& m) {
         auto* s = plane(m, {0, 0, 0}, {0, 0, 1});
         auto* b = m.make<igs_bounded_surface_entity>();
         b->sptr(s);
         std::vector<igs_directory_entry*> sides;
         for (int i = 0; i < 4; ++i) sides.push_back(line(m, square[i], square[i + 1]));
         b->bdpt()->add(boundary(m, s, sides));
         b->bdpt()->add(boundary(m, s, {circle(m, {2, 2, 0}, r)}));
       },
       16, -1},
      {"108, bounded by a circle",
       [&](igeslib::Model& m) {
         auto* p = m.make<igs_plane_entity>();
         p->form(1), p->c(1), p->ptr(circle(m, {2, 2, 0}, r));
       },
       0, 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    igeslib::Model m;
    row.build(m);
    igeslib::Tessellation t = igeslib::tessellate(m.entities(), {.chord = chord});
    ASSERT_TRUE(t.failures.empty()) << t.failures[0].reason;
    ASSERT_EQ(t.bodies.size(), 1u);
    ASSERT_EQ(t.bodies[0].faces.size(), 1u);
    // The circle's polygon is inscribed: its area lies between the circle's and that shrunk by
    // the squared cosine of half a segment's angle.
    double disc = pi * r * r, inscribed = disc * (1 - chord / r) * (1 - chord / r);
    double area = t.bodies[0].faces[0].mesh.area();
    EXPECT_GE(area, row.square + std::min(row.circle * disc, row.circle * inscribed) - 1e-9);
    EXPECT_LE(area, row.square + std::max(row.circle * disc, row.circle * inscribed) + 1e-9);
  }
}

TEST(Mesh, FacesThatCantBeMeshedAreReportedWithTheReason) {
  struct Row {
    const char* name;
    std::function<void(igeslib::Model&)> build;
    std::size_t faces;  // meshed all the same
    const char* reason;
  } rows[] = {
      {"hole curve off the surface",
       [](igeslib::Model& m) {
         auto* s = plane(m, {0, 0, 0}, {0, 0, 1});
         auto* t = m.make<igs_trimmed_parametric_surface_entity>();
         auto* hole = m.make<igs_curve_on_a_parametric_surface_entity>();
         hole->sptr(s), hole->cptr(circle(m, {0, 0, 50}, 1));
         auto* outer = m.make<igs_curve_on_a_parametric_surface_entity>();
         outer->sptr(s), outer->cptr(circle(m, {0, 0, 0}, 3));
         t->pts(s), t->n1(1), t->pto(outer), t->pti()->add(hole);
       },
       1, "hole 1 left uncut: no parameter-space trim and inversion failed"},
      {"surface without data",
       [](igeslib::Model& m) {
         auto* t = m.make<igs_trimmed_parametric_surface_entity>();
         t->pts(m.make<igs_rational_bspline_surface_entity>());
       },
       0, "surface: "},
      {"edge index past its list",
       [](igeslib::Model& m) {
         Brep b(m);
         b.vertex({0, 0, 0});
         b.face(plane(m, {0, 0, 0}, {0, 0, 1}), {{3, true}});
       },
       0, "loop 1: edge 4 not in its edge list"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    igeslib::Model m;
    row.build(m);
    igeslib::Tessellation t = igeslib::tessellate(m.entities());
    ASSERT_EQ(t.failures.size(), 1u);
    EXPECT_NE(t.failures[0].reason.find(row.reason), std::string::npos) << t.failures[0].reason;
    std::size_t faces = 0;
    for (const igeslib::MeshBody& b : t.bodies) faces += b.faces.size();
    EXPECT_EQ(faces, row.faces);
  }
}

// The cube written as glTF, both forms, and read back through tinygltf's own loader; and as
// binary STL.
TEST(Mesh, GltfAndStlReadBack) {
  igeslib::Model m;
  auto* cube = unit_cube(m);
  auto* name = m.make<igs_name_entity>();
  name->name("CUBE");
  auto* property = new (m.design()) igs_properties;
  property->choose_entity(name);
  cube->properties()->add(property);
  igeslib::Tessellation t = igeslib::tessellate(m.entities());
  std::filesystem::path dir = std::filesystem::temp_directory_path();

  for (const char* file : {"igeslib_mesh_test.glb", "igeslib_mesh_test.gltf"}) {
    SCOPED_TRACE(file);
    std::filesystem::path path = dir / file;
    igeslib::GltfOptions options;
    options.units.millimetres = 1;
    ASSERT_EQ(igeslib::write_gltf(t, path, options), "");
    tinygltf::Model g;
    tinygltf::TinyGLTF loader;
    std::string err, warn;
    bool binary = path.extension() == ".glb";
    ASSERT_TRUE(binary ? loader.LoadBinaryFromFile(&g, &err, &warn, path.string())
                       : loader.LoadASCIIFromFile(&g, &err, &warn, path.string()))
        << err;
    EXPECT_EQ(g.asset.version, "2.0");
    ASSERT_EQ(g.meshes.size(), 6u);
    std::size_t triangles = 0;
    for (const tinygltf::Mesh& mesh : g.meshes) {
      const tinygltf::Primitive& p = mesh.primitives.at(0);
      const tinygltf::Accessor& points = g.accessors[p.attributes.at("POSITION")];
      const tinygltf::Accessor& indices = g.accessors[p.indices];
      EXPECT_EQ(points.minValues.size(), 3u);
      EXPECT_EQ(g.accessors[p.attributes.at("NORMAL")].count, points.count);
      const tinygltf::BufferView& view = g.bufferViews[indices.bufferView];
      auto* index = reinterpret_cast<const std::uint32_t*>(g.buffers[view.buffer].data.data() +
                                                           view.byteOffset);
      for (std::size_t i = 0; i < indices.count; ++i) EXPECT_LT(index[i], points.count);
      triangles += indices.count / 3;
    }
    EXPECT_EQ(triangles, 12u);
    // The scene's root scales millimetres to metres; the solid's node has its name.
    EXPECT_EQ(g.nodes[g.scenes[0].nodes[0]].scale, (std::vector<double>{1e-3, 1e-3, 1e-3}));
    bool named = false;
    for (const tinygltf::Node& n : g.nodes) named |= n.name == "CUBE" && n.children.size() == 6;
    EXPECT_TRUE(named);
  }

  std::filesystem::path stl = dir / "igeslib_mesh_test.stl";
  ASSERT_EQ(igeslib::write_stl(t, stl, "solid cube"), "");
  std::string bytes = igeslib_test::contents(stl);
  ASSERT_EQ(bytes.size(), 84u + 50 * 12);
  EXPECT_NE(bytes.rfind("solid", 0), 0u);  // not to be taken for ASCII STL
  EXPECT_EQ(std::uint8_t(bytes[80]), 12);
  EXPECT_NE(igeslib::write_gltf(t, dir / "mesh.obj"), "");
}

// Every corpus file meshes with no face failing, and every shell that is closed by its form
// and its edges gives a closed mesh facing outward. The table counts those shells per file.
TEST(Mesh, CorpusMeshesAndClosedShellsClose) {
  auto files = igeslib_test::corpus_files();
  if (files.empty()) GTEST_SKIP() << "../shared/corpus is absent: corpus checks skipped";
  const std::map<std::string, std::size_t> closed_shells = {
      {"balk__model.igs", 1},
      {"gmsh__cone_tronque_pb_netgen.igs", 1},
      {"occt__OCC8842_cylinder_Ideas.igs", 1},
      {"occt__bug22869_Spring.igs", 1},
      {"occtimportjs__Cube_10x10.igs", 1},
      {"trebuchet__model.iges", 52},
  };
  igeslib_test::Quiet quiet;
  for (const auto& path : files) {
    std::string file = path.filename().string();
    SCOPED_TRACE(file);
    igeslib::Model m = igeslib::read(path, {.echo_reports = false});
    igeslib::Tessellation t = igeslib::tessellate(m.entities());
    std::size_t faces = 0, shells = 0;
    for (const igeslib::MeshBody& b : t.bodies) {
      faces += b.faces.size();
      for (const igeslib::ShellCheck& s : b.shells) {
        if (!s.closed_form || !s.edges_paired) continue;
        ++shells;
        EXPECT_TRUE(s.closed()) << "shell " << s.shell->de_number << ": " << s.open_edges
                                << " open edges, " << s.failed_faces << " faces failed";
        EXPECT_GT(s.volume, 0) << "shell " << s.shell->de_number;
      }
    }
    for (const igeslib::MeshFailure& f : t.failures)
      ADD_FAILURE() << "DE " << f.entity->de_number << ": " << f.reason;
    auto expected = closed_shells.find(file);
    EXPECT_EQ(shells, expected == closed_shells.end() ? 0 : expected->second);
    std::printf("%-45s %5zu faces %8zu triangles %3zu closed shells\n", file.c_str(), faces,
                t.triangles(), shells);
  }
}

}  // namespace
