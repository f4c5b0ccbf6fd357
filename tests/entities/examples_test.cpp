// The models that the example programs build (examples/make_csg, examples/make_fem), read back
// from their committed output: every value and every pointer as the program set it, and
// written back byte for byte.
#include <gtest/gtest.h>

#include "entities/entity_files.h"
#include "support/corpus.h"

using igeslib_test::FileRead;
using Values = std::vector<double>;

TEST(CsgExample, ReadsBackValueForValue) {
  std::string bytes = igeslib_test::contents("examples/data/csg_part.igs");
  FileRead read(bytes);
  ASSERT_EQ(read.size(), 7u);
  EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
  auto* block = read.entity<igs_block_entity>(0);
  auto* bore = read.entity<igs_right_circular_cylinder_entity>(1);
  auto* tree = read.entity<igs_boolean_tree_entity>(2);
  auto* ball = read.entity<igs_sphere_entity>(3);
  auto* lift = read.entity<igs_transformation_matrix_entity>(4);
  auto* assembly = read.entity<igs_solid_assembly_entity>(5);
  auto* instance = read.entity<igs_solid_instance_entity>(6);
  ASSERT_TRUE(block && bore && tree && ball && lift && assembly && instance);
  EXPECT_EQ((Values{block->lx(), block->ly(), block->lz(), block->i1(), block->k2()}),
            (Values{80, 40, 20, 1, 1}));
  EXPECT_EQ((Values{bore->h(), bore->r(), bore->x1(), bore->y1(), bore->k1()}),
            (Values{20, 10, 40, 20, 1}));
  ASSERT_EQ(tree->n(), 3);
  EXPECT_EQ((*tree->operands())[0]->_constructive_solid_geometry_entity(), block);
  EXPECT_EQ((*tree->operands())[1]->_constructive_solid_geometry_entity(), bore);
  EXPECT_EQ((*tree->operands())[2]->_boolean_op_code(), igs_boolean_op_code_difference);
  EXPECT_EQ(ball->r(), 15.0);
  EXPECT_EQ((Values{lift->t1(), lift->t2(), lift->t3(), lift->r33()}), (Values{20, 20, 35, 1}));
  ASSERT_EQ(assembly->n(), 2);
  EXPECT_EQ((*assembly->ptr())[0], tree);
  EXPECT_EQ((*assembly->ptr())[1], ball);
  EXPECT_EQ((*assembly->ptrm())[0], nullptr);
  EXPECT_EQ((*assembly->ptrm())[1], lift);
  EXPECT_EQ(instance->ptr(), assembly);
  EXPECT_STREQ(instance->label(), "PART");
  EXPECT_EQ(igeslib_test::written(read, 1), bytes);
}

TEST(FemExample, ReadsBackValueForValue) {
  std::string bytes = igeslib_test::contents("examples/data/fem_part.igs");
  FileRead read(bytes);
  ASSERT_EQ(read.size(), 25u);
  EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
  for (unsigned n = 0; n < 9; ++n) {
    auto* node = read.entity<igs_node_entity>(n);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ((Values{double(node->subscript()), node->x(), node->y()}),
              (Values{n + 1.0, 50.0 * (n % 3), 50.0 * (n / 3)}));
  }
  const std::vector<int> corners[7] = {{1, 2, 5, 4}, {2, 3, 6, 5}, {4, 5, 7}, {5, 8, 7},
                                       {5, 6, 9, 8}, {7, 8},       {8, 9}};
  const igs_topology_type topologies[7] = {igs_topology_type_LQUAD, igs_topology_type_LQUAD,
                                           igs_topology_type_LTRIA, igs_topology_type_LTRIA,
                                           igs_topology_type_LQUAD, igs_topology_type_BEAM,
                                           igs_topology_type_BEAM};
  for (unsigned e = 0; e < 7; ++e) {
    auto* element = read.entity<igs_finite_element_entity>(9 + e);
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->itop(), topologies[e]);
    std::vector<int> nodes;
    for (unsigned i = 0; i < element->de()->size(); ++i)
      nodes.push_back((*element->de())[i]->subscript());
    EXPECT_EQ(nodes, corners[e]);
  }
  auto* load = read.entity<igs_nodal_load_constraint_entity>(21);
  auto* title = read.entity<igs_general_note_entity>(22);
  auto* displacements = read.entity<igs_nodal_results_entity>(23);
  auto* stresses = read.entity<igs_element_results_entity>(24);
  ASSERT_TRUE(load && title && displacements && stresses);
  EXPECT_EQ(read.entity<igs_tabular_data_entity>(16)->ptype(),
            igs_property_type_nodal_load_constraint);
  EXPECT_EQ(load->de(), read.entity<igs_node_entity>(8));
  EXPECT_EQ((*load->ptr())[0], read.entity<igs_tabular_data_entity>(20));
  EXPECT_EQ((*read.entity<igs_tabular_data_entity>(20)->vald())[2], -1000.0);
  EXPECT_STREQ((*title->strings())[0]->text(), "LOAD CASE 1: CORNER LOAD");
  EXPECT_EQ(displacements->gnote(), title);
  ASSERT_EQ(displacements->nn(), 9);
  igs_analysis_result* corner = (*displacements->results())[8];
  EXPECT_EQ(corner->np(), read.entity<igs_node_entity>(8));
  EXPECT_EQ(corner->node(), 9);
  EXPECT_EQ((*corner->v())[2], -0.5);
  EXPECT_EQ(stresses->rrf(), igs_results_reporting_flag_centriod);
  ASSERT_EQ(stresses->ne(), 7);
  igs_fem_element* beam = (*stresses->fem_elements())[5];
  EXPECT_EQ(beam->en(), 6);
  EXPECT_EQ(beam->ep(), read.entity<igs_finite_element_entity>(14));
  EXPECT_EQ((*(*beam->v())[0])[0]->_element(0), 60.0);
  EXPECT_EQ(igeslib_test::written(read, 1), bytes);
}
