// igeslib-bench: reading and writing figures of the library, side by side in one run with the
// floor (records and tokens only) and with the peer's parse, on a generated model and on the
// shared corpus. Prints a table and writes the figures as JSON.
//
//   igeslib-bench [--mb N] [--repeat K] [--corpus DIR] [--json FILE] [--work DIR] [--huge]
//
// --mb: size of the generated model (100); --repeat: best of K timings (3); --huge: a
// generated model of 1000 MB, read and written once, and nothing else.
#include <fcntl.h>
#include <igeslib.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "floor.h"
#include "model_generator.h"

namespace fs = std::filesystem;

namespace {

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

long peak_resident() {
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss * 1024L;
}

std::size_t heap_in_use() {
  struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

void silence_reports() {
  LUMO.error_reporter()->use_callback([](const char*, int, void*) {}, nullptr);
  LUMO.message_sink([](const char*, void*) {}, nullptr);
  LUMO.quiet(1);
}

// One file read into a fresh design: seconds, entities, and heap held by the model.
struct Read {
  double seconds = 0;
  long entities = 0;
  std::size_t heap = 0;
  bool ok = false;
};

Read read_file(const std::string& path, bool keep, LumoDesign** kept = nullptr,
               igs_iges_file** file_out = nullptr) {
  Read r;
  std::size_t heap_before = heap_in_use();
  LumoDesign* design = LUMO.newDesign("bench", nullptr);
  LUMO.useDesign(design);
  auto* file = new (design) igs_iges_file;
  double start = now();
  r.ok = file->read(path.c_str(), 0) != nullptr;
  r.seconds = now() - start;
  LUMO.useDesign(design);
  r.entities = file->directory_entries()->size();
  r.heap = heap_in_use() - heap_before;
  if (keep) {
    *kept = design;
    *file_out = file;
  } else {
    LUMO.useDesign(nullptr);
    delete design;
  }
  return r;
}

// Growth of the peak resident size over one read, in a fresh process (this program run again
// with --peak-of) so that each file starts from the same baseline.
long peak_of_read(const std::string& path) {
  static const std::string self = fs::read_symlink("/proc/self/exe").string();
  std::string command = "'" + self + "' --peak-of '" + path + "'";
  FILE* out = popen(command.c_str(), "r");
  if (!out) return -1;
  long growth = -1;
  if (std::fscanf(out, "%ld", &growth) != 1) growth = -1;
  pclose(out);
  return growth;
}

struct Figures {
  std::string name;
  double bytes = 0;
  long entities = 0;
  double floor_s = 0, read_s = 0, write_s = 0;
  double heap = 0, peak = 0;  // bytes, summed over files
  bool peer = false;
  double peer_s = 0, peer_heap = 0, peer_peak = 0;
  long peer_entities = 0;
  int failed_reads = 0;
};

// The peer's figures of one file, best of repeat runs; false when there is no peer.
bool peer_parse(const std::string& path, int repeat, Figures& f) {
  const char* program = IGESLIB_PEER_PARSE;
  if (access(program, X_OK) != 0) return false;
  double best = 1e300, heap = 0, peak = 0;
  long entities = 0;
  for (int k = 0; k < repeat; ++k) {
    std::string command = std::string(program) + " '" + path + "' 2>/dev/null";
    FILE* out = popen(command.c_str(), "r");
    if (!out) return false;
    double seconds = 0;
    std::size_t h = 0;
    long p = 0, n = 0;
    int got = std::fscanf(out, "%lf %zu %ld %ld", &seconds, &h, &p, &n);
    pclose(out);
    if (got != 4) return false;
    if (seconds < best) best = seconds;
    heap = static_cast<double>(h), peak = static_cast<double>(p), entities = n;
  }
  f.peer_s += best;
  f.peer_heap += heap;
  f.peer_peak += peak;
  f.peer_entities += entities;
  return true;
}

Figures measure(const std::string& name, const std::vector<std::string>& files, int repeat,
                bool with_peer, const std::string& scratch) {
  Figures f;
  f.name = name;
  f.peer = with_peer;
  for (const std::string& path : files) {
    f.bytes += static_cast<double>(fs::file_size(path));
    double floor_best = 1e300, read_best = 1e300, write_best = 1e300;
    for (int k = 0; k < repeat; ++k) {
      double start = now();
      floor_pass(path);
      floor_best = std::min(floor_best, now() - start);
    }
    Read r;
    for (int k = 0; k < repeat; ++k) {
      r = read_file(path, false);
      read_best = std::min(read_best, r.seconds);
    }
    if (!r.ok) ++f.failed_reads;
    f.entities += r.entities;
    f.heap += static_cast<double>(r.heap);
    f.peak += static_cast<double>(peak_of_read(path));
    LumoDesign* design = nullptr;
    igs_iges_file* file = nullptr;
    read_file(path, true, &design, &file);
    // Entities without parameter code say so on standard output as they are written.
    std::fflush(stdout);
    int saved_stdout = dup(1);
    int null_out = open("/dev/null", O_WRONLY);
    dup2(null_out, 1);
    for (int k = 0; k < repeat; ++k) {
      LUMO.useDesign(design);
      double start = now();
      file->write(scratch.c_str(), 1);
      write_best = std::min(write_best, now() - start);
    }
    std::fflush(stdout);
    dup2(saved_stdout, 1);
    close(null_out);
    close(saved_stdout);
    LUMO.useDesign(nullptr);
    delete design;
    f.floor_s += floor_best;
    f.read_s += read_best;
    f.write_s += write_best;
    if (f.peer && !peer_parse(path, repeat, f)) f.peer = false;
  }
  std::remove(scratch.c_str());
  return f;
}

double mb_per_s(double bytes, double seconds) { return seconds > 0 ? bytes / 1e6 / seconds : 0; }

void print(const Figures& f) {
  std::printf("\n%s: %.1f MB, %ld entities\n", f.name.c_str(), f.bytes / 1e6, f.entities);
  std::printf("  floor (records and tokens)  %8.1f MB/s\n", mb_per_s(f.bytes, f.floor_s));
  std::printf("  igeslib read                %8.1f MB/s  %10.0f entities/s\n",
              mb_per_s(f.bytes, f.read_s), f.read_s > 0 ? f.entities / f.read_s : 0);
  std::printf("  igeslib write               %8.1f MB/s\n", mb_per_s(f.bytes, f.write_s));
  std::printf("  igeslib memory              %8.0f bytes/entity heap, %.0f peak\n",
              f.heap / std::max(1L, f.entities), f.peak / std::max(1L, f.entities));
  std::printf("  read time / floor time      %8.2f   (target <= 1.5)\n",
              f.floor_s > 0 ? f.read_s / f.floor_s : 0);
  if (f.failed_reads) std::printf("  reads ended by a fatal error: %d\n", f.failed_reads);
  if (!f.peer) {
    std::printf("  peer: skipped (its development packages are not installed)\n");
    return;
  }
  std::printf("  peer parse                  %8.1f MB/s\n", mb_per_s(f.bytes, f.peer_s));
  std::printf("  peer memory                 %8.0f bytes/entity heap, %.0f peak\n",
              f.peer_heap / std::max(1L, f.peer_entities),
              f.peer_peak / std::max(1L, f.peer_entities));
  std::printf("  read speed / peer's         %8.2f   (target >= 4)\n",
              f.read_s > 0 ? f.peer_s / f.read_s : 0);
  double ours = f.peak / std::max(1L, f.entities);
  double theirs = f.peer_peak / std::max(1L, f.peer_entities);
  std::printf("  peak memory / peer's        %8.2f   (target <= 0.5)\n",
              theirs > 0 ? ours / theirs : 0);
}

void json(FILE* out, const Figures& f, bool last) {
  std::fprintf(out,
               "  {\"set\": \"%s\", \"bytes\": %.0f, \"entities\": %ld, \"floor_s\": %.6f, "
               "\"read_s\": %.6f, \"write_s\": %.6f, \"heap_bytes\": %.0f, \"peak_bytes\": %.0f, "
               "\"read_mb_s\": %.2f, \"write_mb_s\": %.2f, \"floor_mb_s\": %.2f, "
               "\"read_over_floor\": %.3f, \"peer\": %s",
               f.name.c_str(), f.bytes, f.entities, f.floor_s, f.read_s, f.write_s, f.heap, f.peak,
               mb_per_s(f.bytes, f.read_s), mb_per_s(f.bytes, f.write_s),
               mb_per_s(f.bytes, f.floor_s), f.floor_s > 0 ? f.read_s / f.floor_s : 0,
               f.peer ? "true" : "false");
  if (f.peer)
    std::fprintf(out,
                 ", \"peer_s\": %.6f, \"peer_heap_bytes\": %.0f, \"peer_peak_bytes\": %.0f, "
                 "\"peer_entities\": %ld, \"peer_mb_s\": %.2f",
                 f.peer_s, f.peer_heap, f.peer_peak, f.peer_entities, mb_per_s(f.bytes, f.peer_s));
  std::fprintf(out, "}%s\n", last ? "" : ",");
}

}  // namespace

int main(int argc, char** argv) {
  double mb = 100;
  int repeat = 3;
  bool huge = false;
  std::string corpus = "../shared/corpus", json_path = "bench-figures.json";
  std::string work = fs::temp_directory_path().string();
  for (int i = 1; i < argc && std::strcmp(argv[1], "--peak-of") != 0; ++i) {
    std::string a = argv[i];
    auto value = [&] { return i + 1 < argc ? std::string(argv[++i]) : std::string(); };
    if (a == "--mb")
      mb = std::atof(value().c_str());
    else if (a == "--repeat")
      repeat = std::max(1, std::atoi(value().c_str()));
    else if (a == "--corpus")
      corpus = value();
    else if (a == "--json")
      json_path = value();
    else if (a == "--work")
      work = value();
    else if (a == "--huge")
      huge = true, mb = 1000, repeat = 1;
    else {
      std::fprintf(stderr,
                   "usage: igeslib-bench [--mb N] [--repeat K] [--corpus DIR] [--json FILE] "
                   "[--work DIR] [--huge]\n");
      return 2;
    }
  }
  igeslib_force_load();
  silence_reports();
  if (argc == 3 && std::strcmp(argv[1], "--peak-of") == 0) {
    long before = peak_resident();
    LumoDesign* design = nullptr;
    igs_iges_file* file = nullptr;
    read_file(argv[2], true, &design, &file);
    std::printf("%ld\n", peak_resident() - before);
    return 0;
  }

  std::string model = (fs::path(work) / "igeslib-bench-model.igs").string();
  std::string scratch = (fs::path(work) / "igeslib-bench-written.igs").string();
  double start = now();
  long made = generate_model(model, mb * 1e6);
  if (made == 0) {
    std::fprintf(stderr, "igeslib-bench: cannot write %s\n", model.c_str());
    return 1;
  }
  std::printf("generated %s: %ld entities, %.1f MB in %.1f s\n", model.c_str(), made,
              static_cast<double>(fs::file_size(model)) / 1e6, now() - start);

  std::vector<Figures> all;
  all.push_back(
      measure(huge ? "generated 1 GB model" : "generated model", {model}, repeat, !huge, scratch));
  if (!huge) {
    std::vector<std::string> files;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(corpus, ec)) {
      std::string ext = entry.path().extension().string();
      for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      if (ext == ".igs" || ext == ".iges") files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    if (files.empty())
      std::printf("\ncorpus: %s is absent, skipped\n", corpus.c_str());
    else
      all.push_back(measure("corpus (" + std::to_string(files.size()) + " files)", files, repeat,
                            true, scratch));
  }
  std::remove(model.c_str());
  for (const Figures& f : all) print(f);
  if (FILE* out = std::fopen(json_path.c_str(), "w")) {
    std::fprintf(out, "[\n");
    for (std::size_t i = 0; i < all.size(); ++i) json(out, all[i], i + 1 == all.size());
    std::fprintf(out, "]\n");
    std::fclose(out);
    std::printf("\nfigures written to %s\n", json_path.c_str());
  }
  return 0;
}
