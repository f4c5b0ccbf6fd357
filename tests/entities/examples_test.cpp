// The models that the example programs build (examples/make_csg, examples/make_fem), read back
// from their committed output without a report, their pointers on the objects the program
// linked, and written back byte for byte.
#include <gtest/gtest.h>

#include "support/corpus.h"
#include "support/file_read.h"

using igeslib_test::FileRead;

TEST(Examples, ReadWithTheirPointersAndWriteBackByteForByte) {
  for (auto [name, size] : {std::pair{"csg_part.igs", 7u}, {"fem_part.igs", 25u}}) {
    SCOPED_TRACE(name);
    std::string bytes = igeslib_test::contents(std::string("examples/data/") + name);
    FileRead read(bytes);
    EXPECT_EQ(read.size(), size);
    EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
    EXPECT_EQ(read.written(1), bytes);
  }
  FileRead csg(igeslib_test::contents("examples/data/csg_part.igs"));
  auto* tree = csg.entity<igs_boolean_tree_entity>(2);
  auto* assembly = csg.entity<igs_solid_assembly_entity>(5);
  ASSERT_TRUE(tree && assembly && tree->n() == 3 && assembly->n() == 2);
  EXPECT_EQ((*tree->operands())[0]->_constructive_solid_geometry_entity(),
            csg.entity<igs_block_entity>(0));
  EXPECT_EQ((*tree->operands())[2]->_boolean_op_code(), igs_boolean_op_code_difference);
  EXPECT_EQ((*assembly->ptr())[1], csg.entity<igs_sphere_entity>(3));
  EXPECT_EQ((*assembly->ptrm())[0], nullptr);
  EXPECT_EQ((*assembly->ptrm())[1], csg.entity<igs_transformation_matrix_entity>(4));
  EXPECT_EQ(csg.entity<igs_solid_instance_entity>(6)->ptr(), assembly);

  FileRead fem(igeslib_test::contents("examples/data/fem_part.igs"));
  const std::vector<int> corners[7] = {{1, 2, 5, 4}, {2, 3, 6, 5}, {4, 5, 7}, {5, 8, 7},
                                       {5, 6, 9, 8}, {7, 8},       {8, 9}};
  for (unsigned e = 0; e < 7; ++e) {
    auto* element = fem.entity<igs_finite_element_entity>(9 + e);
    ASSERT_NE(element, nullptr);
    std::vector<int> nodes;
    for (unsigned i = 0; i < element->de()->size(); ++i)
      nodes.push_back((*element->de())[i]->subscript());
    EXPECT_EQ(nodes, corners[e]);
  }
  auto* load = fem.entity<igs_nodal_load_constraint_entity>(21);
  auto* displacements = fem.entity<igs_nodal_results_entity>(23);
  auto* stresses = fem.entity<igs_element_results_entity>(24);
  ASSERT_TRUE(load && displacements && stresses && displacements->nn() == 9 && stresses->ne() == 7);
  EXPECT_EQ(load->de(), fem.entity<igs_node_entity>(8));
  EXPECT_EQ((*load->ptr())[0], fem.entity<igs_tabular_data_entity>(20));
  EXPECT_EQ(displacements->gnote(), fem.entity<igs_general_note_entity>(22));
  EXPECT_EQ((*displacements->results())[8]->np(), fem.entity<igs_node_entity>(8));
  EXPECT_EQ((*displacements->results())[8]->node(), 9);
  EXPECT_EQ((*stresses->fem_elements())[5]->ep(), fem.entity<igs_finite_element_entity>(14));
}
