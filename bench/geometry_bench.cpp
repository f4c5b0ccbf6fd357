// igeslib-geometry-bench: the geometry floor on a real file, by default the largest of the
// shared corpus (pyiges__impeller.igs, 4 MB):
//   polylines/FILE   every curve of the file made in model space and turned into a polyline to
//                    the default tolerance (1/1000 of each curve's size, 15 degrees); counters:
//                    curves, points, points per second;
//   iges-view/FILE   the iges-view program run on the file to an SVG and to a PNG picture, as a
//                    user runs it (read, placement, polylines, drawing, writing), timed as a
//                    child process: wall time and the child's processor time per file.
// Options of its own, besides Google Benchmark's: --file=PATH (another IGES file).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <igeslib.h>

extern char** environ;

namespace {

std::string file_path = IGESLIB_SOURCE_DIR "/../shared/corpus/pyiges__impeller.igs";

void polylines(benchmark::State& state) {
  LUMO.error_reporter()->use_callback([](const char*, int, void*) {}, nullptr);
  igeslib::Model model = igeslib::read(file_path);
  std::vector<igs_directory_entry*> curves;
  for (igs_directory_entry* e : model.entities())
    if (igeslib::is_curve(e)) curves.push_back(e);
  double points = 0, made = 0;
  for (auto _ : state) {
    for (igs_directory_entry* e : curves) {
      std::unique_ptr<igeslib::Curve> c = igeslib::make_placed_curve(e);
      if (!c) continue;
      igeslib::Polyline line = c->polyline();
      benchmark::DoNotOptimize(line.points.data());
      points += double(line.points.size());
      made += 1;
    }
  }
  state.counters["curves"] = benchmark::Counter(made, benchmark::Counter::kAvgIterations);
  state.counters["points"] = benchmark::Counter(points, benchmark::Counter::kAvgIterations);
  state.counters["points/s"] = benchmark::Counter(points, benchmark::Counter::kIsRate);
}

#ifdef IGESLIB_VIEW_PROGRAM
// Runs iges-view on the file to out; the child's processor time goes to cpu.
bool run_view(const std::string& out, double& cpu) {
  std::vector<std::string> args{IGESLIB_VIEW_PROGRAM, file_path, "-o", out};
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  pid_t pid;
  int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return false;
  int status = 0;
  rusage usage{};
  if (wait4(pid, &status, 0, &usage) != pid) return false;
  cpu = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
        double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void view(benchmark::State& state, const char* ending) {
  std::string out =
      (std::filesystem::temp_directory_path() / "igeslib-geometry-bench").string() + ending;
  double cpu_total = 0;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    double cpu = 0;
    if (!run_view(out, cpu)) {
      state.SkipWithError("iges-view failed");
      break;
    }
    state.SetIterationTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    cpu_total += cpu;
  }
  state.counters["cpu_s/file"] = benchmark::Counter(cpu_total, benchmark::Counter::kAvgIterations);
  std::error_code ignored;
  state.counters["picture_MB"] = double(std::filesystem::file_size(out, ignored)) / 1e6;
  std::filesystem::remove(out, ignored);
}
#endif

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> rest;
  for (int i = 0; i < argc; ++i) {
    if (std::strncmp(argv[i], "--file=", 7) == 0)
      file_path = argv[i] + 7;
    else
      rest.push_back(argv[i]);
  }
  int count = static_cast<int>(rest.size());
  benchmark::Initialize(&count, rest.data());
  igeslib_force_load();
  if (!std::filesystem::exists(file_path)) {
    std::fprintf(stderr, "igeslib-geometry-bench: %s is absent; nothing to measure\n",
                 file_path.c_str());
    return 0;
  }
  std::string name = std::filesystem::path(file_path).filename().string();
  benchmark::RegisterBenchmark(("polylines/" + name).c_str(), polylines)
      ->Unit(benchmark::kMillisecond);
#ifdef IGESLIB_VIEW_PROGRAM
  for (const char* ending : {".svg", ".png"})
    benchmark::RegisterBenchmark(("iges-view" + std::string(ending) + "/" + name).c_str(),
                                 [ending](benchmark::State& s) { view(s, ending); })
        ->UseManualTime()
        ->Iterations(5)
        ->Unit(benchmark::kMillisecond);
#else
  std::fprintf(stderr,
               "igeslib-geometry-bench: iges-view is not built; its figures are left out\n");
#endif
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
