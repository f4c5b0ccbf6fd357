// Parameter data of the curves and surfaces: composite curves, copious data, splines,
// B-splines, swept, offset, bounded, trimmed and analytic geometry, read, written and read
// again.
#include <string>

#include <gtest/gtest.h>

#include "entities/entity_files.h"

using igeslib_test::Entry;
using igeslib_test::FileRead;
using igeslib_test::iges_file;
using igeslib_test::parameters_of;
using igeslib_test::written;

namespace {

// The entity under test is the sixth of its file (DE 11); the five before it are there for
// its pointers to name: a line, a circular arc, a point, a direction (no geometry), and a
// curve on a surface.
const std::vector<Entry> kTargets = {
    {110, 0, "110,0.,0.,0.,1.,0.,0.;"}, {100, 0, "100,0.,0.,0.,1.,0.,0.,1.;"},
    {116, 0, "116,1.,2.,3.,0;"},        {123, 0, "123,0.,0.,1.;"},
    {142, 0, "142,1,0,1,3,0;"},
};
constexpr int kUnderTest = 11;

std::string reals(int n, double from) {
  std::string text;
  for (int i = 0; i < n; ++i) text += std::to_string(static_cast<int>(from) + i) + ".,";
  return text;
}

const std::string kSpline = "112,3,2,3,2,0.,1.,2.," + reals(24, 10) + reals(11, 40) + "51.;";
const std::string kPatches = "114,3,1,1,1,0.,1.,0.,1.," + reals(191, 1) + "192.;";
const std::string kBSplineSurface = "128,1,2,1,1,0,0,1,0,0,0.,0.,1.,1.,0.,0.,1.,2.,2.," +
                                    reals(6, 1) + reals(18, 10) + "0.,1.,0.,1.;";

struct RoundTrip {
  const char* name;
  Entry entry;
  std::string out;  // the parameters as written with zeros kept; "" for the same as read
};

const RoundTrip kRoundTrips[] = {
    {"composite curve", {102, 0, "102,2,1,3;"}, ""},
    {"composite member 0 is the first entity", {102, 0, "102,1,0;"}, "102,1,1;"},
    // 99 names nothing, 7 a direction: neither geometry nor a connect point.
    {"composite members naming nothing are left out", {102, 0, "102,3,1,99,7;"}, "102,1,1;"},
    {"copious pairs", {106, 1, "106,1,2,0.5,1.,2.,3.,4.;"}, ""},
    {"planar piecewise curve", {106, 11, "106,1,2,0.5,1.,2.,3.,4.;"}, ""},
    {"simple closed planar curve", {106, 63, "106,1,2,0.5,1.,2.,3.,4.;"}, ""},
    {"pairs whatever the IP says",
     {106, 1, "106,2,2,0.5,1.,2.,3.,4.;"},
     "106,1,2,0.5,1.,2.,3.,4.;"},
    {"copious triples", {106, 2, "106,2,2,1.,2.,3.,4.,5.,6.;"}, ""},
    {"copious sextuples", {106, 3, "106,3,1,1.,2.,3.,4.,5.,6.;"}, ""},
    {"piecewise curve of triples", {106, 12, "106,2,2,1.,2.,3.,4.,5.,6.;"}, ""},
    {"piecewise curve of sextuples in form 12", {106, 12, "106,3,1,1.,2.,3.,4.,5.,6.;"}, ""},
    {"parametric spline curve", {112, 0, kSpline}, ""},
    {"parametric spline surface", {114, 0, kPatches}, ""},
    {"B-spline curve",
     {126, 0, "126,1,1,1,0,1,0,0.,0.,1.,1.,1.,1.,0.,0.,0.,1.,0.,0.,0.,1.,0.,0.,1.;"},
     ""},
    {"B-spline property out of its enumeration",
     {126, 3, "126,1,1,2,0,1,0,0.,0.,1.,1.,1.,1.,0.,0.,0.,1.,0.,0.,0.,1.,0.,0.,1.;"},
     "126,1,1,-1,0,1,0,0.,0.,1.,1.,1.,1.,0.,0.,0.,1.,0.,0.,0.,1.,0.,0.,1.;"},
    {"B-spline surface", {128, 0, kBSplineSurface}, ""},
    {"ruled surface of form 1", {118, 1, "118,1,3,1,0;"}, ""},
    {"surface of revolution about no line", {120, 0, "120,3,1,0.,6.25;"}, "120,0,1,0.,6.25;"},
    {"tabulated cylinder", {122, 0, "122,3,0.,0.,5.;"}, ""},
    {"offset curve", {130, 0, "130,1,1,0,2,1,0.5,0.,0.5,0.,0.,0.,1.,0.,1.;"}, ""},
    {"offset surface", {140, 0, "140,0.,0.,1.,2.5,0;"}, ""},
    {"boundary", {141, 0, "141,1,2,0,1,1,2,2,1,3;"}, ""},
    {"boundary of a bad preference", {141, 0, "141,0,7,0,0;"}, "141,0,-1,0,0;"},
    {"curve on a surface keeps any preference", {142, 0, "142,1,0,1,3,7;"}, ""},
    {"bounded surface of no boundary", {143, 0, "143,1,0,1,1;"}, "143,1,0,0;"},
    {"trimmed surface", {144, 0, "144,0,1,1,9,9;"}, ""},
    {"plane surface", {190, 1, "190,5,7,7;"}, ""},
    {"plane surface without a location", {190, 0, "190,0,7;"}, "190,0,0;"},
    {"cylindrical surface", {192, 1, "192,5,7,2.5,7;"}, ""},
    {"conical surface", {194, 0, "194,5,7,2.5,0.5;"}, ""},
    {"spherical surface", {196, 0, "196,5,2.5;"}, ""},
    {"parametrised spherical surface", {196, 1, "196,5,2.5,7,0;"}, ""},
    {"toroidal surface", {198, 1, "198,5,7,10.,2.,0;"}, ""},
};

std::vector<Entry> file_with(const Entry& entry) {
  std::vector<Entry> entries = kTargets;
  entries.push_back(entry);
  return entries;
}

TEST(CurvesAndSurfaces, RecordsReadWriteAndSettle) {
  for (const RoundTrip& trip : kRoundTrips) {
    SCOPED_TRACE(trip.name);
    FileRead read(iges_file(file_with(trip.entry)));
    ASSERT_EQ(read.size(), 6u);
    EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
    std::string first = written(read, 0);
    EXPECT_EQ(parameters_of(first, kUnderTest),
              trip.out.empty() ? trip.entry.parameters : trip.out);
    FileRead again(first);
    EXPECT_EQ(again.reports.count(), 0u) << again.reports.text();
    EXPECT_EQ(written(again, 0), first);
    FileRead defaulted(written(again, 1));
    EXPECT_EQ(written(defaulted, 0), first) << "zeros left out read back as zeros";
  }
}

// What the arrays and lists of a record hold, through the accessors.
TEST(CurvesAndSurfaces, CountsBecomeArraysAndListsInTheirOrder) {
  FileRead spline(iges_file(file_with({112, 0, kSpline})));
  auto* curve = spline.entity<igs_parametric_spline_curve_entity>(5);
  ASSERT_NE(curve, nullptr);
  EXPECT_EQ(curve->n(), 2);
  EXPECT_EQ(curve->polynomials()->size(), 2u);
  EXPECT_EQ((*curve->polynomials())[1]->z_coefficients()->get(3), 33.0);
  EXPECT_EQ(curve->tpz3(), 51.0);

  FileRead patches(iges_file(file_with({114, 0, kPatches})));
  auto* surface = patches.entity<igs_parametric_spline_surface_entity>(5);
  ASSERT_NE(surface, nullptr);
  EXPECT_EQ(surface->patches()->size(), 2u);
  EXPECT_EQ((*(*surface->patches())[1])[1]->z_coefficients()->get(15), 192.0);

  // K1 = 1, K2 = 2: the weights and points run with the first index fastest.
  FileRead bspline(iges_file(file_with({128, 0, kBSplineSurface})));
  auto* b = bspline.entity<igs_rational_bspline_surface_entity>(5);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ((b->k1()), 1);
  EXPECT_EQ((b->k2()), 2);
  EXPECT_EQ((*b->w())[1]->get(0), 2.0);
  EXPECT_EQ((*b->w())[0]->get(1), 3.0);
  EXPECT_EQ((*(*b->control_points())[1])[0]->x(), 13.0);
  EXPECT_EQ(b->prop3(), igs_property3_polynomial);

  // A bare member 0 is the first entity; a guarded curve pointer 0 is none.
  FileRead boundary(iges_file(file_with({141, 0, "141,1,2,0,1,0,2,2,0,3;"})));
  auto* bound = boundary.entity<igs_boundary_entity>(5);
  ASSERT_NE(bound, nullptr);
  igs_curve_boundary* block = (*bound->curves())[0];
  EXPECT_EQ(block->crvpt(), nullptr);
  EXPECT_EQ(block->k(), 2);
  EXPECT_EQ((*block->pscpt())[0], boundary.entity<igs_line_entity>(0));
  EXPECT_EQ(bound->pref(), igs_trimCurveRep_parameter_space);

  FileRead trimmed(iges_file(file_with({144, 0, "144,0,1,1,9,9;"})));
  auto* trim = trimmed.entity<igs_trimmed_parametric_surface_entity>(5);
  ASSERT_NE(trim, nullptr);
  EXPECT_EQ(trim->n2(), 1);
  EXPECT_EQ(trim->pto(), trimmed.entity<igs_curve_on_a_parametric_surface_entity>(4));
  EXPECT_EQ((*trim->pti())[0], trim->pto());

  FileRead sphere(iges_file(file_with({196, 0, "196,5,2.5;"})));
  auto* ball = sphere.entity<igs_spherical_surface_entity>(5);
  ASSERT_NE(ball, nullptr);
  EXPECT_EQ(ball->deloc(), sphere.entity<igs_point_entity>(2));
  EXPECT_EQ(ball->deaxis(), nullptr);
}

// A form-12 record with IP 1 reads no point: its points are left in the record, where they
// stand for the back-pointer counts.
TEST(CurvesAndSurfaces, APiecewiseCurveOfAnotherIpReadsNoPoint) {
  FileRead read(iges_file(file_with({106, 12, "106,1,2,0,0;"})));
  auto* curve = read.entity<igs_piecewise_curve_entity>(5);
  ASSERT_NE(curve, nullptr);
  EXPECT_EQ(curve->ip(), 1);
  EXPECT_EQ(curve->n(), 0);
  EXPECT_EQ(parameters_of(written(read, 0), kUnderTest), "106,1,0;");
}

}  // namespace
