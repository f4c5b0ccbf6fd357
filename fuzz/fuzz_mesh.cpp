// Reads a whole file from arbitrary bytes and meshes its bodies: every surface within its
// trims, every B-rep face, shell and solid (up to a number of them, each face held to a few
// hundred points), then merges the triangles and checks that every index names a point.
// Nothing may crash, hang or leak, whatever the pointers, counts, loops and numbers of the file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include <igeslib.h>
#include <igeslib_mesh.h>

#include "fuzz_support.h"

namespace {

// Keeps the time of one input within the fuzzer's limit under the sanitizers.
constexpr int kBodiesMeshed = 24;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  igeslib_fuzz::setup();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  igeslib_fuzz::ScratchDesign scratch;
  igs_iges_file* file = igeslib_fuzz::read_file(scratch, data, size);
  if (!file) return 0;
  igeslib::MeshOptions options;
  options.max_face_points = 300;
  igeslib::Tessellation mesh;
  int meshed = 0;
  for (igs_directory_entry* e : igeslib_fuzz::entities_of(file)) {
    if (!igeslib::is_body(e)) continue;
    if (++meshed > kBodiesMeshed) break;
    mesh.bodies.push_back(igeslib::tessellate_body(e, options, &mesh.failures));
    mesh.instances.push_back({mesh.bodies.size() - 1, igeslib::placement_of(e), nullptr});
  }
  igeslib::TriangleMesh merged = igeslib::merged_mesh(mesh);
  for (const auto& t : merged.triangles)
    for (std::uint32_t i : t)
      if (i >= merged.points.size()) std::abort();
  return 0;
}
