// The findings of the checker on every file of the shared corpus, counted by code: a change of
// the checker or of the reader that makes one appear or go shows here. Why each code fires on
// the file it fires on is said in the checker's notes of issue 27; every one is the file's own.
#include <algorithm>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include <igeslib.h>

#include "support/corpus.h"

namespace {

// File name -> "code:count ..." in the catalogue's order; a file that gives none is "".
const std::map<std::string, std::string> kFindings = {
    {"balk__model.igs", "read-error:20 edge-vertex-mismatch:6 loop-not-closed:5"},
    {"bladex__propeller_and_shaft.iges", "back-pointer-missing:22 use-flag:122 trim-not-closed:16"},
    {"dealii__DTMB-5415_bulbous_bow.iges",
     "global-max-coordinate:1 dependent-unreferenced:1 use-flag:4"},
    {"engine4cyl__Assem1.IGS", "bspline-planar-flag:92"},
    {"gmsh__cone_tronque_pb_netgen.igs", "global-resolution:1"},
    {"gmsh__model1.igs", "global-resolution:1 parameters-omitted:8 trim-not-closed:2"},
    {"gmsh__sphere_Rhino3D_default.igs", ""},
    {"igesfilereader__chassis_007_simp.IGS", ""},
    {"igesfilereader__tubes_splined.iges", "parameters-omitted:1 composite-gap:1"},
    {"igesstl__hex_nut_jam_am_with_all_extras.IGS", "back-pointer-missing:45 trim-not-closed:22"},
    {"igesstl__revolve_test2_standard.IGS", ""},
    {"machaero__onera_m6.igs", "global-resolution:1 bspline-range:20"},
    {"o3dv__as1_pe_203.igs", "global-max-coordinate:1 back-pointer-missing:210 use-flag:350"},
    {"occt__BIGES.igs", "back-pointer-missing:18 use-flag:67"},
    {"occt__BUC50025.igs", ""},
    {"occt__CTS17806-38038.igs", "trim-not-closed:1"},
    {"occt__Disc.igs", "global-max-coordinate:1"},
    {"occt__OCC131-2.igs", ""},
    {"occt__OCC17026-1.igs", "bspline-closed-flag:4"},
    {"occt__OCC26138_Torus.igs", ""},
    {"occt__OCC8842_cone_CATIA.igs", ""},
    {"occt__OCC8842_cylinder_Ideas.igs", ""},
    {"occt__PRO20358-X28.igs", "bspline-planar-flag:2 trim-not-closed:1"},
    {"occt__UKI60998.igs", ""},
    {"occt__bad_header.igs",
     "read-error:1 terminate-count:1 parameter-line-count:9 global-max-coordinate:1"},
    {"occt__bug22566_test_Bad.igs", "trim-not-closed:1"},
    {"occt__bug22869_Spring.igs", ""},
    {"occt__bug23171_tube_surf.igs", "back-pointer-missing:2 use-flag:10"},
    {"occt__bug23591_VZ-387.igs", "bspline-range:2"},
    {"occt__bug25837_S.igs", "dependent-unreferenced:1"},
    {"occt__bug27069_points-with-comments.igs", "parameter-line-count:1 global-max-coordinate:1"},
    {"occt__bug33327.igs", "independent-referenced:10 shell-edge-use:48"},
    {"occt__hammer.iges", "global-max-coordinate:1 back-pointer-missing:45 use-flag:256"},
    {"occtimportjs__Cube_10x10.igs", ""},
    {"occtimportjs__cube.igs", "global-resolution:1"},
    {"pyIGES__a2001.igs", "text-count:1"},
    {"pyIGES__ap404.igs", "read-error:15 pointer-sign:22 pointer-zero:6 back-pointer-unmatched:1"},
    {"pyIGES__cals1.igs", ""},
    {"pyIGES__f408x.igs", ""},
    {"pyIGES__figa2.igs", ""},
    {"pyIGES__ientity.igs", ""},
    {"pyIGES__lbrackt.igs", "normal-not-unit:1"},
    {"pyIGES__nentity.igs", "use-flag:1"},
    {"pygeo__bwb_constr1.igs", "read-error:31"},
    {"pygeo__geo_example.igs", "parameters-omitted:32"},
    {"pyiges__impeller.igs", "bspline-planar-flag:760 normal-not-unit:138 trim-not-closed:198"},
    {"pyiges__sample.igs", "read-error:5"},
    {"pythonocc__sunglasses_lens.igs", "global-max-coordinate:1"},
    {"pythonocc__surf114.igs", ""},
    {"pythonocc__testfile.igs", "read-error:1 global-resolution:1"},
    {"safeholes__test.igs", "read-error:1 global-max-coordinate:1"},
    {"smem__car.iges", "bspline-planar-flag:1"},
    {"smem__castle_simple.iges", ""},
    {"smem__chicken.iges", "bspline-planar-flag:1"},
    {"smem__example.igs", ""},
    {"smem__example2.igs", "read-error:1"},
    {"smem__piece.igs", ""},
    {"smem__puft_simple.iges", ""},
    {"trebuchet__model.iges", ""},
    {"webgliges__yuantai.igs", ""},
};

// The counts of a model's findings by code, in the catalogue's order.
std::string summary(const std::vector<igeslib::Finding>& findings) {
  std::string out;
  for (const igeslib::CheckCode& code : igeslib::check_codes()) {
    long n = std::count_if(findings.begin(), findings.end(),
                           [&](const igeslib::Finding& f) { return f.code == code.code; });
    if (n) out += (out.empty() ? "" : " ") + std::string(code.code) + ":" + std::to_string(n);
  }
  return out;
}

TEST(CheckCorpus, FindingsOfEachFile) {
  auto files = igeslib_test::corpus_files();
  if (files.empty()) GTEST_SKIP() << "no corpus at ../shared/corpus";
  igeslib::ReadOptions options;
  options.echo_reports = false;
  for (const auto& path : files) {
    SCOPED_TRACE(path.filename().string());
    igeslib::Model model = igeslib::read(path, options);
    auto expected = kFindings.find(path.filename().string());
    ASSERT_NE(expected, kFindings.end()) << "a corpus file the table doesn't list";
    EXPECT_EQ(summary(igeslib::check(model)), expected->second);
  }
}

}  // namespace
