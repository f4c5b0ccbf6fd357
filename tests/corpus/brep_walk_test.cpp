// Every B-rep solid of the shared corpus walked from the solid down to its vertices: each
// pointer lands on an object, and each index on an item of its list.
#include <string>

#include <gtest/gtest.h>

#include "support/corpus.h"
#include "support/file_read.h"

namespace {

struct Walk {
  int solids = 0, faces = 0, edges = 0;
};

bool within(int index, int size) { return index >= 0 && index < size; }

void walk_edge_use(igs_edge_use* use, Walk& walk) {
  ASSERT_NE(use, nullptr);
  ASSERT_NE(use->edge(), nullptr);
  if (use->typ() == igs_edge_type_edge) {
    igs_edge_list_entity* list = use->edge()->_edge_list_entity();
    ASSERT_NE(list, nullptr);
    ASSERT_TRUE(within(use->ndx(), list->n())) << "edge " << use->ndx() << " of " << list->n();
    igs_edge_data* edge = (*list->edges())[static_cast<unsigned>(use->ndx())];
    ASSERT_NE(edge, nullptr);
    ASSERT_NE(edge->curv(), nullptr);
    EXPECT_NE(edge->curv()->entity(), nullptr) << "an edge without its curve";
    for (auto [vertices, index] : {std::pair{edge->svp(), edge->sv()}, {edge->tvp(), edge->tv()}}) {
      ASSERT_NE(vertices, nullptr);
      EXPECT_TRUE(within(index, vertices->n())) << "vertex " << index << " of " << vertices->n();
    }
    ++walk.edges;
  } else {
    igs_vertex_list_entity* list = use->edge()->_vertex_list_entity();
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(within(use->ndx(), list->n()));
  }
}

void walk_shell(igs_shell_entity* shell, Walk& walk) {
  ASSERT_NE(shell, nullptr);
  for (unsigned i = 0; i < shell->faces()->size(); ++i) {
    igs_face_entity* face = (*shell->faces())[i]->face_ptr();
    ASSERT_NE(face, nullptr);
    ASSERT_NE(face->surf(), nullptr);
    EXPECT_NE(face->surf()->entity(), nullptr) << "a face without its surface";
    for (unsigned j = 0; j < face->loop()->size(); ++j) {
      igs_loop_entity* loop = (*face->loop())[j];
      ASSERT_NE(loop, nullptr);
      for (unsigned k = 0; k < loop->edge_tuples()->size(); ++k)
        walk_edge_use((*loop->edge_tuples())[k], walk);
    }
    ++walk.faces;
  }
}

TEST(CorpusBrep, EverySolidWalksToItsVertices) {
  auto files = igeslib_test::corpus_files();
  if (files.empty()) GTEST_SKIP() << "../shared/corpus is absent: corpus checks skipped";
  char was_quiet = LUMO.quiet();
  LUMO.quiet(1);
  Walk all;
  for (const auto& path : files) {
    SCOPED_TRACE(path.filename().string());
    igeslib_test::FileRead read(igeslib_test::contents(path), 0, false);
    if (!read.result) continue;
    // Outside a read the list is gathered from the design at each call: take it once.
    ListOfigs_directory_entry* list = read.file->directory_entries();
    for (unsigned i = 0; i < list->size(); ++i) {
      auto* solid = lumo_cast<igs_manifold_solid_brep_entity>((*list)[i]);
      if (!solid) continue;
      walk_shell(solid->shell(), all);
      for (unsigned v = 0; v < solid->void_shells()->size(); ++v)
        walk_shell((*solid->void_shells())[v]->Void(), all);
      ++all.solids;
    }
  }
  LUMO.quiet(was_quiet);
  EXPECT_GT(all.solids, 0);
  RecordProperty("solids", all.solids);
  RecordProperty("faces", all.faces);
  RecordProperty("edges", all.edges);
}

}  // namespace
