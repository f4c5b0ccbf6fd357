// igeslib-mesh-bench [FILE] [--runs=N]: the mesher on a real file, by default the largest B-rep
// file of the shared corpus (trebuchet__model.iges, 52 solids of 246 faces): every body
// tessellated to the default tolerance (1/1000 of the model's size, 15 degrees), the best of N
// runs by wall clock and by processor time, triangles per second; the glTF written; and the peak
// memory of one tessellation, measured in a fresh child process (igeslib-mesh-bench FILE
// --probe-memory) the way memory_probe.h says.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include <igeslib.h>
#include <igeslib_mesh.h>

#include "memory_probe.h"

namespace {

struct Counts {
  std::size_t bodies = 0, faces = 0, shells = 0, closed = 0, failures = 0;
  std::size_t made = 0;   // triangles of the bodies, each meshed once
  std::size_t shown = 0;  // triangles of every instance
};

Counts count(const igeslib::Tessellation& t) {
  Counts c;
  c.bodies = t.bodies.size();
  c.shown = t.triangles();
  c.failures = t.failures.size();
  for (const igeslib::MeshBody& b : t.bodies) {
    c.faces += b.faces.size();
    for (const igeslib::MeshedFace& f : b.faces) c.made += f.mesh.triangles.size();
    for (const igeslib::ShellCheck& s : b.shells) {
      c.shells += s.closed_form ? 1 : 0;
      c.closed += s.closed_form && s.closed() ? 1 : 0;
    }
  }
  return c;
}

int probe(const std::string& path) {
  igeslib::Model model = igeslib::read(path, {.echo_reports = false});
  MemoryProbe memory;
  memory.start();
  igeslib::Tessellation t = igeslib::tessellate(model.entities());
  MemoryFigures figures = memory.stop();
  std::printf("%s\n", JsonLine()
                          .add("peak", figures.peak_growth)
                          .add("heap", figures.heap_growth)
                          .add("reset", static_cast<long long>(figures.peak_reset))
                          .add("triangles", static_cast<long long>(t.triangles()))
                          .text()
                          .c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string path = IGESLIB_SOURCE_DIR "/../shared/corpus/trebuchet__model.iges";
  int runs = 5;
  bool memory_only = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--runs=", 7) == 0)
      runs = std::max(1, std::atoi(argv[i] + 7));
    else if (std::strcmp(argv[i], "--probe-memory") == 0)
      memory_only = true;
    else
      path = argv[i];
  }
  igeslib_force_load();
  LUMO.message_sink([](const char*, void*) {}, nullptr);  // no progress lines
  if (!std::filesystem::exists(path)) {
    std::fprintf(stderr, "igeslib-mesh-bench: %s is absent; nothing to measure\n", path.c_str());
    return 0;
  }
  if (memory_only) return probe(path);

  igeslib::Model model = igeslib::read(path, {.echo_reports = false});
  double best_wall = 1e300, best_cpu = 1e300;
  Counts c;
  for (int i = 0; i < runs; ++i) {
    BenchTimer timer;
    timer.start();
    igeslib::Tessellation t = igeslib::tessellate(model.entities());
    timer.stop();
    best_wall = std::min(best_wall, timer.wall);
    best_cpu = std::min(best_cpu, timer.cpu);
    c = count(t);
  }
  igeslib::Tessellation t = igeslib::tessellate(model.entities());
  std::string glb = (std::filesystem::temp_directory_path() / "igeslib-mesh-bench.glb").string();
  BenchTimer write;
  write.start();
  std::string error = igeslib::write_gltf(t, glb);
  write.stop();
  std::error_code ignored;
  double glb_mb = double(std::filesystem::file_size(glb, ignored)) / 1e6;
  std::filesystem::remove(glb, ignored);

  std::string command = "'" + std::string(argv[0]) + "' '" + path + "' --probe-memory";
  std::string line;
  if (FILE* child = popen(command.c_str(), "r")) {
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, child)) line += buffer;
    pclose(child);
  }
  double peak = json_number(line, "peak"), heap = json_number(line, "heap");

  std::printf("file: %s (%.1f MB, %zu entities)\n", std::filesystem::path(path).filename().c_str(),
              double(std::filesystem::file_size(path)) / 1e6, model.entities().size());
  std::printf("bodies: %zu, faces meshed: %zu, not meshed: %zu, closed shells: %zu of %zu\n",
              c.bodies, c.faces, c.failures, c.closed, c.shells);
  std::printf("triangles: %zu made (each body once), %zu shown by the instances; chord %.6g\n",
              c.made, c.shown, t.chord);
  std::printf(
      "tessellate, best of %d: wall %.3f s, processor %.3f s: %.0f triangles made a "
      "second (processor)\n",
      runs, best_wall, best_cpu, double(c.made) / best_cpu);
  std::printf("write .glb: %.3f s, %.2f MB%s%s\n", write.wall, glb_mb, error.empty() ? "" : ": ",
              error.c_str());
  std::printf(
      "peak memory of a tessellation: %.1f MB (%.0f bytes a triangle made), heap held "
      "after %.1f MB\n",
      peak / 1e6, c.made ? peak / double(c.made) : 0.0, heap / 1e6);
  return error.empty() ? 0 : 1;
}
