// A model made in code, written and read back: every value and every pointer survives.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "entities/entity_files.h"
#include "model/model_support.h"
#include "support/corpus.h"

using igeslib_test::FileRead;
using igeslib_test::parameter_values;
using igeslib_test::place;

namespace {

// Matrix, two lines (one moved by the matrix), circular and conic arcs, a subfigure of the
// line and the arc, a point on it, a plane bounded by the conic and a flash of the arc.
void make_model(LumoDesign* design) {
  auto* matrix = new (design) igs_transformation_matrix_entity;
  matrix->form(1);
  const double r[12] = {0, -1, 0, 12.5, 1, 0, 0, -3, 0, 0, 1, 1e-7};
  matrix->r11(r[0]), matrix->r12(r[1]), matrix->r13(r[2]), matrix->t1(r[3]);
  matrix->r21(r[4]), matrix->r22(r[5]), matrix->r23(r[6]), matrix->t2(r[7]);
  matrix->r31(r[8]), matrix->r32(r[9]), matrix->r33(r[10]), matrix->t3(r[11]);

  auto* line = new (design) igs_line_entity;
  line->x1(0), line->y1(0), line->z1(0), line->x2(1), line->y2(0), line->z2(0);
  auto* moved = new (design) igs_line_entity;
  moved->x1(-2.5), moved->y1(0.1), moved->z1(4), moved->x2(1e6), moved->y2(-0.125);
  moved->z2(7);
  moved->transformation(matrix);

  auto* arc = new (design) igs_circular_arc_entity;
  arc->zt(2), arc->x1(0), arc->y1(0), arc->x2(5), arc->y2(0), arc->x3(0), arc->y3(5);
  auto* conic = new (design) igs_conic_arc_entity;
  conic->form(1);
  conic->a(1), conic->b(0), conic->c(4), conic->d(0), conic->e(0), conic->f(-16);
  conic->zt(0), conic->x1(4), conic->y1(0), conic->x2(-4), conic->y2(0);

  auto* subfigure = new (design) igs_subfigure_definition_entity;
  subfigure->depth(1);
  subfigure->name("BRACKET");
  subfigure->de()->add(line).add(arc);
  auto* point = new (design) igs_point_entity;
  point->x(3), point->y(-4), point->z(0.5);
  point->ptr(subfigure);

  auto* plane = new (design) igs_plane_entity;
  plane->form(-1);
  plane->a(0), plane->b(0), plane->c(1), plane->d(2);
  plane->ptr(conic);
  plane->x(1), plane->y(1), plane->z(2), plane->Size(0.75);
  auto* flash = new (design) igs_flash_entity;
  flash->form(1);
  flash->x(10), flash->y(20), flash->dim1(2), flash->dim2(0), flash->rot(0.5);
  flash->de(arc);
}

TEST(ModelFromCode, WrittenAndReadBackWithEveryValueAndPointer) {
  for (char zero_as_default : {0, 1}) {
    SCOPED_TRACE(zero_as_default ? "zeros left out" : "zeros kept");
    ScratchDesign design("model");
    LUMO.useDesign(design);
    auto* file = new (design.design) igs_iges_file;
    make_model(design);
    FILE* out = std::tmpfile();
    ASSERT_EQ(file->write(out, zero_as_default), file);
    std::string bytes = igeslib_test::slurp(out);
    std::fclose(out);
    ListOfigs_directory_entry* made = file->directory_entries();  // gathered once
    ASSERT_EQ(made->size(), 9u);

    FileRead read(bytes);
    ASSERT_EQ(read.result, read.file);
    EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
    ListOfigs_directory_entry* back = read.file->directory_entries();
    ASSERT_EQ(back->size(), made->size());
    for (unsigned i = 0; i < made->size(); ++i) {
      SCOPED_TRACE("entity " + std::to_string(i));
      igs_directory_entry* a = (*made)[i];
      igs_directory_entry* b = (*back)[i];
      ASSERT_NE(b, nullptr);
      EXPECT_EQ(b->domain(), a->domain());
      EXPECT_EQ(b->form(), a->form());
      EXPECT_EQ(parameter_values(b, back), parameter_values(a, made));
      auto* ga = lumo_cast<igs_geometric_entity>(a);
      auto* gb = lumo_cast<igs_geometric_entity>(b);
      if (ga && gb) {
        EXPECT_EQ(place(back, gb->transformation()), place(made, ga->transformation()));
      }
    }
    auto* subfigure = read.entity<igs_subfigure_definition_entity>(5);
    ASSERT_NE(subfigure, nullptr);
    EXPECT_EQ(subfigure->depth(), 1);
    EXPECT_STREQ(subfigure->name(), "BRACKET");
    ASSERT_EQ(subfigure->de()->size(), 2u);
    EXPECT_EQ(place(back, (*subfigure->de())[0]), 1);
    EXPECT_EQ(place(back, (*subfigure->de())[1]), 3);
    EXPECT_EQ(place(back, read.entity<igs_point_entity>(6)->ptr()), 5);
    EXPECT_EQ(place(back, read.entity<igs_line_entity>(2)->transformation()), 0);
  }
}

}  // namespace
