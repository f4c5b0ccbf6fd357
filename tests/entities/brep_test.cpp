// Parameter data of the boundary representation: vertex and edge lists, loops, faces, shells
// and the manifold solid; a cube stated record by record, and the odd rules one case each.
#include <string>

#include <gtest/gtest.h>

#include "entities/entity_files.h"

using igeslib_test::Entry;
using igeslib_test::FileRead;
using igeslib_test::iges_file;
using igeslib_test::parameters_of;
using igeslib_test::written;

namespace {

// A unit cube: vertex list (DE 1), a line for every edge to lie on (DE 3), edge list (DE 5),
// six loops (DE 7-17), a plane surface (DE 19), six faces (DE 21-31), a shell (DE 33) and the
// solid (DE 35).
std::vector<Entry> cube() {
  const int edges[12][2] = {{1, 2}, {2, 3}, {3, 4}, {4, 1}, {5, 6}, {6, 7},
                            {7, 8}, {8, 5}, {1, 5}, {2, 6}, {3, 7}, {4, 8}};
  const int loops[6][4] = {{1, 2, 3, 4},   {5, 6, 7, 8},   {1, 10, 5, 9},
                           {2, 11, 6, 10}, {3, 12, 7, 11}, {4, 9, 8, 12}};
  std::vector<Entry> file = {
      {502, 1, "502,8,0.,0.,0.,1.,0.,0.,1.,1.,0.,0.,1.,0.,0.,0.,1.,1.,0.,1.,1.,1.,1.,0.,1.,1.;"},
      {110, 0, "110,0.,0.,0.,1.,0.,0.;"}};
  std::string edge_list = "504,12";
  for (const auto& e : edges)
    edge_list += ",3,1," + std::to_string(e[0]) + ",1," + std::to_string(e[1]);
  file.push_back({504, 1, edge_list + ";"});
  for (const auto& l : loops) {
    std::string loop = "508,4";
    for (int edge : l) loop += ",0,5," + std::to_string(edge) + ",1,0";
    file.push_back({508, 1, loop + ";"});
  }
  file.push_back({190, 0, "190,0,0;"});
  std::string shell = "514,6";
  for (int i = 0; i < 6; ++i) {
    file.push_back({510, 1, "510,19,1,1," + std::to_string(7 + 2 * i) + ";"});
    shell += "," + std::to_string(21 + 2 * i) + ",1";
  }
  file.push_back({514, 1, shell + ";"});
  file.push_back({186, 0, "186,33,1,0;"});
  return file;
}

TEST(BoundaryRepresentation, ACubeReadsWithEveryPointerOnItsObjectAndWritesBack) {
  std::vector<Entry> entries = cube();
  FileRead read(iges_file(entries));
  ASSERT_EQ(read.size(), entries.size());
  EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();

  auto* solid = read.entity<igs_manifold_solid_brep_entity>(17);
  ASSERT_NE(solid, nullptr);
  igs_shell_entity* shell = solid->shell();
  ASSERT_EQ(shell, read.entity<igs_shell_entity>(16));
  EXPECT_TRUE(solid->sof());
  EXPECT_EQ(solid->n(), 0);
  ASSERT_EQ(shell->n(), 6);
  auto* vertices = read.entity<igs_vertex_list_entity>(0);
  auto* edges = read.entity<igs_edge_list_entity>(2);
  ASSERT_EQ(vertices->n(), 8);
  EXPECT_EQ((*vertices->vertices())[6]->z(), 1.0);
  ASSERT_EQ(edges->n(), 12);
  igs_edge_data* edge = (*edges->edges())[10];
  EXPECT_EQ(edge->curv()->_line_entity(), read.entity<igs_line_entity>(1));
  EXPECT_EQ(edge->svp(), vertices);
  EXPECT_EQ(edge->sv(), 2);
  EXPECT_EQ(edge->tv(), 6);
  for (int i = 0; i < 6; ++i) {
    igs_face_data* data = (*shell->faces())[static_cast<unsigned>(i)];
    igs_face_entity* face = data->face_ptr();
    ASSERT_EQ(face, read.entity<igs_face_entity>(10 + static_cast<unsigned>(i)));
    EXPECT_EQ(face->surf()->_plane_surface_entity(), read.entity<igs_plane_surface_entity>(9));
    igs_loop_entity* loop = (*face->loop())[0];
    ASSERT_EQ(loop, read.entity<igs_loop_entity>(3 + static_cast<unsigned>(i)));
    ASSERT_EQ(loop->n(), 4);
    igs_edge_use* use = (*loop->edge_tuples())[0];
    EXPECT_EQ(use->edge()->_edge_list_entity(), edges);
    EXPECT_EQ(use->typ(), igs_edge_type_edge);
  }
  std::string bytes = written(read, 0);
  for (unsigned i = 0; i < entries.size(); ++i)
    EXPECT_EQ(parameters_of(bytes, static_cast<int>(2 * i + 1)), entries[i].parameters);
  FileRead again(bytes);
  EXPECT_EQ(written(again, 0), bytes);
}

// Each record is the third entity of its file, after a line (DE 1) and an edge list (DE 3).
TEST(BoundaryRepresentation, OddRules) {
  const struct {
    const char* name;
    Entry entry;
    std::string out;  // as written with zeros kept
  } cases[] = {
      // The list's kind comes from the type, not from the entity named.
      {"vertex use naming an edge list", {508, 1, "508,1,1,3,1,1,0;"}, "508,1,1,0,1,1,0;"},
      {"edge use with a parameter-space curve",
       {508, 1, "508,1,0,3,2,0,1,1,1;"},
       "508,1,0,3,2,0,1,1,1;"},
      // 0 names the first entity, the line; the edge list is no vertex list; an empty index
      // is stored as -1.
      {"edge on entity 0", {504, 1, "504,1,0,3,1,3,;"}, "504,1,1,0,1,0,0;"},
      {"face on no surface", {510, 1, "510,1,0,1;"}, "510,0,0,1;"},
      {"solid with no voids", {186, 0, "186,0,0,0;"}, ""},
      {"shell of form 2 on no face", {514, 2, "514,1,0,1;"}, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FileRead read(iges_file({{110, 0, "110,0.,0.,0.,1.,0.,0.;"}, {504, 1, "504,0;"}, c.entry}));
    EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
    EXPECT_EQ(parameters_of(written(read, 0), 5), c.out.empty() ? c.entry.parameters : c.out);
  }
}

}  // namespace
