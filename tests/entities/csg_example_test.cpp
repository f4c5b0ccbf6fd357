// The constructive solid that examples/make_csg builds, read back from its committed output:
// every value and every pointer as the program set it, and written back byte for byte.
#include <gtest/gtest.h>

#include "entities/entity_files.h"
#include "support/corpus.h"

using igeslib_test::FileRead;

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
  EXPECT_EQ((std::vector<double>{block->lx(), block->ly(), block->lz(), block->i1(), block->k2()}),
            (std::vector<double>{80, 40, 20, 1, 1}));
  EXPECT_EQ((std::vector<double>{bore->h(), bore->r(), bore->x1(), bore->y1(), bore->k1()}),
            (std::vector<double>{20, 10, 40, 20, 1}));
  ASSERT_EQ(tree->n(), 3);
  EXPECT_EQ((*tree->operands())[0]->_constructive_solid_geometry_entity(), block);
  EXPECT_EQ((*tree->operands())[1]->_constructive_solid_geometry_entity(), bore);
  EXPECT_EQ((*tree->operands())[2]->_boolean_op_code(), igs_boolean_op_code_difference);
  EXPECT_EQ(ball->r(), 15.0);
  EXPECT_EQ((std::vector<double>{lift->t1(), lift->t2(), lift->t3(), lift->r33()}),
            (std::vector<double>{20, 20, 35, 1}));
  ASSERT_EQ(assembly->n(), 2);
  EXPECT_EQ((*assembly->ptr())[0], tree);
  EXPECT_EQ((*assembly->ptr())[1], ball);
  EXPECT_EQ((*assembly->ptrm())[0], nullptr);
  EXPECT_EQ((*assembly->ptrm())[1], lift);
  EXPECT_EQ(instance->ptr(), assembly);
  EXPECT_STREQ(instance->label(), "PART");
  EXPECT_EQ(igeslib_test::written(read, 1), bytes);
}
