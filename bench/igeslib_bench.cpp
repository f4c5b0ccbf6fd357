// igeslib-bench: the library's read and write figures, side by side in one run with the floor
// (records and tokens only) and with the peer's parse, on a generated model and on the shared
// corpus. A Google Benchmark program: each figure is a benchmark with counters, and a summary
// table with the ratios to the targets follows them (also as JSON and Markdown on request).
//
// Options of its own, besides Google Benchmark's (--benchmark_filter, --benchmark_out, ...):
//   --generated-mb=N       size of the generated model when written (100)
//   --large                add the 1 GB generated model (also IGESLIB_BENCH_LARGE=1)
//   --large-mb=N           size of that model (1000)
//   --sets=A,B             data sets to measure among generated, corpus-200KB (the corpus files of
//                          200 KB and more), corpus, large
//   --corpus=DIR           the corpus of real files (../shared/corpus beside the project)
//   --data-dir=DIR         where the generated files are written (bench-data beside this program)
//   --iterations=N         passes timed for each figure (generated 3, corpus 5, large 1)
//   --no-peer              leave the peer out
//   --summary-json=FILE    --summary-markdown=FILE   the summary table written out too
//   --smoke                generate a small model, write it, read it back, split it; no timing
//   --probe-memory [--by-class] FILES...   one measured read of FILES (what the peak memory
//                          figures run); --by-class adds where the designs' bytes went, by class
//
// Peak memory is measured in a fresh process for each figure (this program run again with
// --probe-memory, and the peer's program), as memory_probe.h describes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <igeslib.h>

#include "floor.h"
#include "memory_probe.h"
#include "model_generator.h"

extern char** environ;

namespace fs = std::filesystem;

namespace {

// ---- reports and standard output ----

unsigned long reports = 0;

void silence_reports() {
  LUMO.error_reporter()->use_callback([](const char*, int, void*) { ++reports; }, nullptr);
  LUMO.message_sink([](const char*, void*) {}, nullptr);
  LUMO.quiet(1);
}

// The reader prints a warning about a file's version on standard output; while in scope,
// standard output goes nowhere.
class QuietStdout {
 public:
  QuietStdout() {
    std::fflush(stdout);
    saved_ = dup(1);
    int null_fd = open("/dev/null", O_WRONLY);
    if (null_fd >= 0) {
      dup2(null_fd, 1);
      close(null_fd);
    }
  }
  ~QuietStdout() {
    std::fflush(stdout);
    if (saved_ >= 0) {
      dup2(saved_, 1);
      close(saved_);
    }
  }
  QuietStdout(const QuietStdout&) = delete;
  QuietStdout& operator=(const QuietStdout&) = delete;

 private:
  int saved_ = -1;
};

// ---- our read and write ----

struct ReadFile {
  LumoDesign* design = nullptr;
  igs_iges_file* file = nullptr;
  std::size_t entities = 0;
  bool ok = false;
};

// The threads of the threaded read figure: the machine's cores, at least two.
int read_threads() { return std::max(2, static_cast<int>(std::thread::hardware_concurrency())); }

// One file read into a fresh design, the read alone timed; by the reader alone unless
// threads says more.
ReadFile read_file(const std::string& path, BenchTimer& timer, int threads = 1) {
  igeslib_read_settings().threads = threads;
  ReadFile r;
  r.design = LUMO.newDesign("bench", nullptr);
  LUMO.useDesign(r.design);
  r.file = new (r.design) igs_iges_file;
  timer.start();
  r.ok = r.file->read(path.c_str(), 0) != nullptr;
  timer.stop();
  return r;
}

// Outside a read the list is gathered afresh from the design at every call: taken once.
std::size_t count_entities(ReadFile& r) {
  LUMO.useDesign(r.design);
  r.entities = r.file->directory_entries()->size();
  return r.entities;
}

void release(ReadFile& r) {
  LUMO.useDesign(nullptr);
  delete r.design;
  r = ReadFile{};
}

// ---- child processes ----

struct ChildOutput {
  int status = -1;  // exit status, or -1 when it could not run or was killed
  std::vector<std::string> lines;
};

ChildOutput run_child(const std::vector<std::string>& args) {
  ChildOutput result;
  int pipe_fds[2];
  if (pipe(pipe_fds) != 0) return result;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe_fds[1], 1);
  posix_spawn_file_actions_addclose(&actions, pipe_fds[0]);
  posix_spawn_file_actions_addclose(&actions, pipe_fds[1]);
  std::vector<char*> argv;
  for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipe_fds[1]);
  std::string text;
  if (spawned == 0) {
    char chunk[4096];
    for (ssize_t n; (n = read(pipe_fds[0], chunk, sizeof chunk)) > 0;)
      text.append(chunk, static_cast<std::size_t>(n));
  }
  close(pipe_fds[0]);
  if (spawned != 0) return result;
  int wait_status = 0;
  if (waitpid(pid, &wait_status, 0) == pid && WIFEXITED(wait_status))
    result.status = WEXITSTATUS(wait_status);
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    if (end > at) result.lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return result;
}

fs::path program_dir() { return fs::read_symlink("/proc/self/exe").parent_path(); }

// ---- data sets ----

struct DataSet {
  std::string name;
  std::vector<std::string> files;
  double bytes = 0;
  std::size_t entities = 0;  // as our read counts them
  int iterations = 1;
  // A generated set: the model the write figure writes, made again for it and released after
  // it, so that the driver holds no model while the other figures run.
  std::size_t generated_entities = 0;
  GeneratedModel model;
};

struct Options {
  double generated_mb = 100;
  double large_mb = 1000;
  std::vector<std::string> sets{"generated", "corpus-200KB", "corpus"};
  std::string corpus;
  std::string data_dir;
  int iterations = 0;
  bool peer = true;
  std::string summary_json, summary_markdown;
  bool smoke = false;
  bool probe = false;
  std::string write_back;
  bool by_class = false;
  std::vector<std::string> probe_files;
};

Options options;
std::string peer_program;  // empty when the peer was not built
std::string written_path;  // where the write figures write

void ensure_model(DataSet& set) {
  if (set.generated_entities && !set.model.design) {
    set.model = generate_model(set.generated_entities);
  }
}

// ---- the figures ----

// The rates of one pass, and its processor time beside the wall clock's.
void set_rates(benchmark::State& state, double bytes, double entities, double cpu_seconds) {
  state.counters["cpu_ms"] =
      benchmark::Counter(cpu_seconds * 1e3, benchmark::Counter::kAvgIterations);
  state.counters["MB/s"] =
      benchmark::Counter(bytes / 1e6, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["entities/s"] =
      benchmark::Counter(entities, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["MB"] = bytes / 1e6;
  state.counters["entities"] = entities;
}

void bench_read(benchmark::State& state, DataSet* set, int threads) {
  QuietStdout quiet;
  unsigned long reports_before = reports;
  std::size_t entities = 0, failed = 0;
  double cpu = 0;
  for (auto _ : state) {
    BenchTimer timer;
    entities = 0, failed = 0;
    for (const std::string& path : set->files) {
      ReadFile r = read_file(path, timer, threads);
      entities += count_entities(r);
      failed += !r.ok;
      release(r);
    }
    state.SetIterationTime(timer.wall);
    cpu += timer.cpu;
  }
  set->entities = entities;
  set_rates(state, set->bytes, static_cast<double>(entities), cpu);
  state.counters["reports"] =
      static_cast<double>(reports - reports_before) / static_cast<double>(state.iterations());
  state.counters["failed_reads"] = static_cast<double>(failed);
}

// Each write goes to a new file: one that replaced a file by truncating it would be flushed to
// the disk when closed (ext4 does so to keep the old contents safe), and the figure would be
// the disk's.
void bench_write(benchmark::State& state, DataSet* set) {
  QuietStdout quiet;
  // What is written: the generated model, or each file of the set as read.
  std::vector<ReadFile> models;
  if (set->generated_entities) {
    ensure_model(*set);
    models.push_back({set->model.design, set->model.file, set->model.entities, true});
  } else {
    for (const std::string& path : set->files) {
      BenchTimer unused;
      models.push_back(read_file(path, unused));
      count_entities(models.back());
    }
  }
  double bytes = 0, entities = 0, cpu = 0;
  for (auto _ : state) {
    BenchTimer timer;
    bytes = 0, entities = 0;
    for (ReadFile& m : models) {
      LUMO.useDesign(m.design);
      unlink(written_path.c_str());
      timer.start();
      m.file->write(written_path.c_str(), 1);
      timer.stop();
      std::error_code error;
      bytes += static_cast<double>(fs::file_size(written_path, error));
      entities += static_cast<double>(m.entities);
    }
    state.SetIterationTime(timer.wall);
    cpu += timer.cpu;
  }
  set_rates(state, bytes, entities, cpu);
  LUMO.useDesign(nullptr);
  if (set->generated_entities) {
    release_model(set->model);
  } else {
    for (ReadFile& m : models) release(m);
  }
  std::error_code error;
  fs::remove(written_path, error);
}

void bench_floor(benchmark::State& state, DataSet* set, bool convert) {
  std::size_t entities = 0;
  double checksum = 0, cpu = 0;
  for (auto _ : state) {
    BenchTimer timer;
    timer.start();
    entities = 0;
    for (const std::string& path : set->files) {
      FloorResult f = floor_pass(path, convert);
      entities += f.directory_records / 2;
      checksum += f.checksum + static_cast<double>(f.tokens);
    }
    timer.stop();
    state.SetIterationTime(timer.wall);
    cpu += timer.cpu;
  }
  benchmark::DoNotOptimize(checksum);
  set_rates(state, set->bytes, static_cast<double>(entities), cpu);
}

void bench_peer(benchmark::State& state, DataSet* set) {
  std::vector<std::string> args{peer_program, "time", std::to_string(state.max_iterations)};
  args.insert(args.end(), set->files.begin(), set->files.end());
  ChildOutput out = run_child(args);
  if (out.status != 0 || out.lines.size() != static_cast<std::size_t>(state.max_iterations)) {
    state.SkipWithError("the peer's program failed");
    return;
  }
  std::size_t i = 0;
  double entities = 0, failed = 0, cpu = 0;
  for (auto _ : state) {
    const std::string& line = out.lines[i++];
    state.SetIterationTime(json_number(line, "seconds"));
    cpu += json_number(line, "cpu_seconds");
    entities = json_number(line, "entities");
    failed = json_number(line, "failed");
  }
  set_rates(state, set->bytes, entities, cpu);
  state.counters["failed_reads"] = failed;
}

// Peak memory of a read of the whole set, every model kept, in a fresh process; the time is
// that of the reads in it. Ours also writes the models back and measures that.
void bench_memory(benchmark::State& state, DataSet* set, bool peer) {
  std::vector<std::string> args;
  if (peer) {
    args = {peer_program, "memory"};
  } else {
    // This very program, even when a build has replaced its file since it started.
    args = {"/proc/self/exe", "--probe-memory", "--write-back=" + written_path};
  }
  args.insert(args.end(), set->files.begin(), set->files.end());
  std::string line;
  for (auto _ : state) {
    ChildOutput out = run_child(args);
    if (out.status != 0 || out.lines.empty()) {
      std::string why = "the memory probe failed (exit status " + std::to_string(out.status) + ")";
      state.SkipWithError(why.c_str());
      return;
    }
    line = out.lines.back();
    state.SetIterationTime(json_number(line, "seconds"));
  }
  std::error_code error;
  fs::remove(written_path, error);
  double entities = std::max(1.0, json_number(line, "entities"));
  state.counters["entities"] = entities;
  state.counters["peak_B/entity"] = json_number(line, "peak_growth") / entities;
  state.counters["heap_B/entity"] = json_number(line, "heap_growth") / entities;
  state.counters["peak_MB"] = json_number(line, "peak_growth") / 1e6;
  if (!peer) {
    state.counters["write_s"] = json_number(line, "write_seconds");
    state.counters["write_peak_B/entity"] = json_number(line, "write_peak_growth") / entities;
  }
  if (json_number(line, "peak_reset") == 0) state.SetLabel("peak not reset: an upper bound");
}

// ---- the summary ----

// The runs as Google Benchmark reports them, kept for the summary.
class Collector : public benchmark::ConsoleReporter {
 public:
  // Colours only on a terminal.
  Collector() : ConsoleReporter(isatty(1) ? OO_ColorTabular : OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
      Kept& kept = runs_[run.run_name.function_name];
      if (run.run_type == Run::RT_Aggregate) kept.median = true, kept.runs.clear();
      if (kept.median && run.run_type != Run::RT_Aggregate) continue;
      kept.runs.push_back(run);
    }
    ConsoleReporter::ReportRuns(runs);
  }

  // Seconds of one pass; 0 when the figure is missing.
  double seconds(const std::string& name) const {
    auto it = runs_.find(name);
    if (it == runs_.end() || it->second.runs.empty()) return 0;
    double sum = 0;
    for (const Run& run : it->second.runs)
      sum += run.iterations ? run.real_accumulated_time / static_cast<double>(run.iterations)
                            : run.real_accumulated_time;
    return sum / static_cast<double>(it->second.runs.size());
  }

  // A counter of the figure; 0 when missing.
  double counter(const std::string& name, const std::string& key) const {
    auto it = runs_.find(name);
    if (it == runs_.end() || it->second.runs.empty()) return 0;
    auto c = it->second.runs.back().counters.find(key);
    return c == it->second.runs.back().counters.end() ? 0 : c->second.value;
  }

 private:
  struct Kept {
    bool median = false;
    std::vector<Run> runs;
  };
  std::map<std::string, Kept> runs_;
};

// Seconds of one pass of each figure of a data set, by the wall clock or by processor time.
struct Times {
  double read = 0, write = 0, floor = 0, floor_numbers = 0, peer = 0, read_threaded = 0;
};

struct Row {
  std::string set;
  double mb = 0, written_mb = 0, entities = 0;
  Times wall, cpu;
  double peak = 0, heap = 0, write_peak = 0;  // bytes per entity
  double peer_peak = 0;
};

double rate(double amount, double seconds) { return seconds > 0 ? amount / seconds : 0; }
double ratio(double a, double b) { return a > 0 && b > 0 ? a / b : 0; }

std::vector<Row> summarise(const Collector& c, const std::vector<DataSet*>& sets) {
  std::vector<Row> rows;
  for (const DataSet* set : sets) {
    Row r;
    const std::string& s = set->name;
    r.set = s;
    r.mb = set->bytes / 1e6;
    r.written_mb = c.counter("write/" + s, "MB");
    r.entities = static_cast<double>(set->entities);
    auto times = [&](bool cpu) {
      auto t = [&](const char* what) {
        std::string name = what + ("/" + s);
        return cpu ? c.counter(name, "cpu_ms") / 1e3 : c.seconds(name);
      };
      return Times{t("read"),          t("write"), t("floor"),
                   t("floor+numbers"), t("peer"),  t("read_threads")};
    };
    r.wall = times(false);
    r.cpu = times(true);
    r.peak = c.counter("memory/" + s, "peak_B/entity");
    r.heap = c.counter("memory/" + s, "heap_B/entity");
    r.write_peak = c.counter("memory/" + s, "write_peak_B/entity");
    r.peer_peak = c.counter("peer_memory/" + s, "peak_B/entity");
    rows.push_back(r);
  }
  return rows;
}

std::string figure(double v, const char* format) {
  if (v <= 0 || !std::isfinite(v)) return "-";
  char text[64];
  std::snprintf(text, sizeof text, format, v);
  return text;
}

// A ratio and whether it meets its target.
std::string against(double v, double target, bool at_least) {
  if (v <= 0 || !std::isfinite(v)) return "-";
  return figure(v, "%.2f") + ((at_least ? v >= target : v <= target) ? " met" : " missed");
}

std::string markdown(const std::vector<Row>& rows) {
  std::string t =
      "| data set | MB | entities | clock | read MB/s | read entities/s | write MB/s | "
      "floor MB/s | floor+numbers MB/s | peer MB/s | read time / floor (<= 1.5) | "
      "read speed / peer (>= 8) | read MB/s, " +
      std::to_string(read_threads()) +
      " threads | its speed / peer |\n"
      "|---|---:|---:|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n";
  for (const Row& r : rows) {
    for (int cpu = 0; cpu < 2; ++cpu) {
      const Times& x = cpu ? r.cpu : r.wall;
      double write_rate = rate(r.written_mb, x.write);
      const char* write_verdict = write_rate <= 0 ? "" : write_rate >= 400 ? " met" : " missed";
      t += "| " + r.set + " | " + figure(r.mb, "%.1f") + " | " + figure(r.entities, "%.0f") +
           " | " + (cpu ? "processor" : "wall") + " | " + figure(rate(r.mb, x.read), "%.1f") +
           " | " + figure(rate(r.entities, x.read), "%.0f") + " | " + figure(write_rate, "%.1f") +
           write_verdict + " | " + figure(rate(r.mb, x.floor), "%.1f") + " | " +
           figure(rate(r.mb, x.floor_numbers), "%.1f") + " | " +
           figure(rate(r.mb, x.peer), "%.1f") + " | " +
           against(ratio(x.read, x.floor), 1.5, false) + " | " +
           against(ratio(x.peer, x.read), 8, true) + " | " +
           figure(rate(r.mb, x.read_threaded), "%.1f") + " | " +
           figure(ratio(x.peer, x.read_threaded), "%.2f") + " |\n";
    }
  }
  t += "\n| data set | peak B/entity, read | heap held B/entity | peak B/entity, write after it "
       "| peer peak B/entity | peak memory / peer (<= 0.35) |\n"
       "|---|---:|---:|---:|---:|---:|\n";
  // A write that needs no memory beyond the model it writes is a figure of 0, not a missing one.
  auto write_peak = [](const Row& r, double scale) {
    return r.peak <= 0        ? std::string("-")
           : r.write_peak > 0 ? figure(r.write_peak * scale, "%.0f")
                              : "0";
  };
  for (const Row& r : rows)
    t += "| " + r.set + " | " + figure(r.peak, "%.0f") + " | " + figure(r.heap, "%.0f") + " | " +
         write_peak(r, 1) + " | " + figure(r.peer_peak, "%.0f") + " | " +
         against(ratio(r.peak, r.peer_peak), 0.35, false) + " |\n";
  t += "\n";
  for (const Row& r : rows)
    if (r.wall.read > 0 && r.wall.write > 0)
      t += r.set + ": one read " + figure(r.wall.read, "%.2f") + " s, one write " +
           figure(r.wall.write, "%.2f") + " s; peak memory of the read " +
           figure(r.peak * r.entities / 1e6, "%.0f") + " MB, of a write after it " +
           write_peak(r, r.entities / 1e6) + " MB more.\n";
  return t;
}

std::string json(const std::vector<Row>& rows) {
  std::string t = "[\n";
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Row& r = rows[i];
    JsonLine line;
    line.add("set", r.set).add("MB", r.mb).add("written_MB", r.written_mb);
    line.add("entities", r.entities);
    for (int cpu = 0; cpu < 2; ++cpu) {
      const Times& x = cpu ? r.cpu : r.wall;
      std::string p = cpu ? "cpu_" : "";
      line.add((p + "read_s").c_str(), x.read).add((p + "write_s").c_str(), x.write);
      line.add((p + "floor_s").c_str(), x.floor);
      line.add((p + "floor_numbers_s").c_str(), x.floor_numbers);
      line.add((p + "peer_s").c_str(), x.peer);
      line.add((p + "read_MB_s").c_str(), rate(r.mb, x.read));
      line.add((p + "write_MB_s").c_str(), rate(r.written_mb, x.write));
      line.add((p + "read_over_floor").c_str(), ratio(x.read, x.floor));
      line.add((p + "read_speed_over_peer").c_str(), ratio(x.peer, x.read));
      line.add((p + "threaded_read_s").c_str(), x.read_threaded);
      line.add((p + "threaded_read_speed_over_peer").c_str(), ratio(x.peer, x.read_threaded));
    }
    line.add("peak_B_entity", r.peak).add("heap_B_entity", r.heap);
    line.add("write_peak_B_entity", r.write_peak).add("peer_peak_B_entity", r.peer_peak);
    line.add("peak_memory_over_peer", ratio(r.peak, r.peer_peak));
    t += "  " + line.text() + (i + 1 < rows.size() ? ",\n" : "\n");
  }
  return t + "]\n";
}

bool write_text(const std::string& path, const std::string& text) {
  FILE* f = std::fopen(path.c_str(), "w");
  if (!f) return false;
  bool ok = std::fputs(text.c_str(), f) >= 0;
  return std::fclose(f) == 0 && ok;
}

// ---- the memory probe (run in a child process) ----

// Where the kept models' bytes went: the designs' arenas, and in them the objects by class
// (the rest of an arena is aggregate elements, texts and the unused end of each block), and the
// marks of where their objects start, which are part of the arenas. Printed to standard error.
std::size_t element_width(LumoAggregate* list) {
  switch (list->elementKind()) {
    case LumoAggregate::Elements::integer:
    case LumoAggregate::Elements::single:
      return 4;
    case LumoAggregate::Elements::boolean:
      return 1;
    default:
      return 8;
  }
}

void print_bytes_by_class(const std::vector<ReadFile>& kept, long long entities,
                          const MemoryFigures& memory) {
  struct Use {
    std::size_t objects = 0, bytes = 0, used = 0;
  };
  std::map<std::string, Use> by_class;
  std::size_t arena = 0, listed = 0, open = 0, objects = 0, object_bytes = 0, elements = 0;
  for (const ReadFile& r : kept)
    for (LumoDesignSection* section : r.design->sections()) {
      arena += section->bytesReserved();
      listed += section->markBytes();
      open += section->bytesOpen();
      for (LumoObject* object : section->objects()) {
        const LumoType& type = *object->classType();
        Use& use = by_class[type.name];
        ++use.objects, use.bytes += type.size, ++objects, object_bytes += type.size;
        if (auto* list = dynamic_cast<LumoAggregate*>(object)) {
          std::size_t each = list->hasPackedRows()
                                 ? (list->packedRowLength() * list->packedWidth() + 1) * 8
                             : list->isPacked() ? list->packedWidth() * 8
                                                : element_width(list);
          Use& held = by_class[std::string(type.name) + " elements"];
          ++held.objects, held.bytes += list->capacity() * each,
              elements += list->capacity() * each;
          held.used += list->size() * each;
        }
      }
    }
  std::vector<std::pair<std::size_t, std::string>> rows;
  for (const auto& [name, use] : by_class)
    rows.emplace_back(
        use.bytes,
        name + " " + std::to_string(use.objects) +
            (use.used ? " lists, " + std::to_string(use.used) + " B used"
                      : " objects of " + std::to_string(use.bytes / use.objects) + " B"));
  std::sort(rows.rbegin(), rows.rend());
  const double n = entities > 0 ? static_cast<double>(entities) : 1;
  std::fprintf(stderr, "%lld entities, %zu objects\n", entities, objects);
  std::fprintf(stderr, "%8.0f B/entity  peak growth of resident memory\n",
               static_cast<double>(memory.peak_growth) / n);
  std::fprintf(stderr, "%8.0f B/entity  resident at the end, anonymous: arenas, heap, scratch\n",
               static_cast<double>(memory.anonymous_growth) / n);
  std::fprintf(stderr, "%8.0f B/entity  resident at the end, of mapped files: code first run\n",
               static_cast<double>(memory.file_growth) / n);
  std::fprintf(stderr, "%8.0f B/entity  arenas\n", arena / n);
  std::fprintf(stderr, "%8.0f B/entity  objects in them\n", object_bytes / n);
  std::fprintf(stderr, "%8.0f B/entity  the rest of them: aggregate elements, texts, block ends\n",
               (arena - object_bytes) / n);
  std::fprintf(stderr, "%8.0f B/entity  of them the marks of where objects start\n", listed / n);
  std::fprintf(stderr, "%8.0f B/entity  of them the aggregates' element storage\n", elements / n);
  std::fprintf(stderr, "%8.0f B/entity  of them the open end of each section's last block\n",
               open / n);
  for (std::size_t i = 0; i < rows.size() && i < 30; ++i)
    std::fprintf(stderr, "%8.0f B/entity  %s\n", rows[i].first / n, rows[i].second.c_str());
}

// The figures go out on out_fd, standard output being silenced.
int probe_memory(int out_fd) {
  igeslib_force_load();
  silence_reports();
  QuietStdout quiet;
  std::vector<ReadFile> kept;
  kept.reserve(options.probe_files.size());
  double bytes = 0;
  BenchTimer timer;
  std::error_code error;
  for (const std::string& path : options.probe_files)
    bytes += static_cast<double>(fs::file_size(path, error));
  MemoryProbe probe;
  probe.start();
  for (const std::string& path : options.probe_files) kept.push_back(read_file(path, timer));
  MemoryFigures memory = probe.stop();
  long long entities = 0;
  for (ReadFile& r : kept) entities += static_cast<long long>(count_entities(r));
  if (options.by_class) print_bytes_by_class(kept, entities, memory);
  JsonLine line;
  line.add("seconds", timer.wall).add("cpu_seconds", timer.cpu);
  line.add("entities", entities).add("bytes", bytes);
  line.add("peak_growth", memory.peak_growth).add("heap_growth", memory.heap_growth);
  line.add("peak_reset", static_cast<long long>(memory.peak_reset));
  if (!options.write_back.empty()) {
    BenchTimer write_timer;
    probe.start();
    for (ReadFile& r : kept) {
      LUMO.useDesign(r.design);
      unlink(options.write_back.c_str());
      write_timer.start();
      r.file->write(options.write_back.c_str(), 1);
      write_timer.stop();
    }
    MemoryFigures written = probe.stop();
    line.add("write_seconds", write_timer.wall).add("write_peak_growth", written.peak_growth);
  }
  std::string text = line.text() + "\n";
  if (write(out_fd, text.c_str(), text.size()) < 0) return 1;
  std::_Exit(0);  // the models are not freed one by one: the process ends here
}

// ---- the smoke check ----

// A small generated model written, read back with no report, written again to the same
// bytes, and split by the floor into as many entities.
int smoke() {
  silence_reports();
  fs::path dir = fs::temp_directory_path() / ("igeslib-bench-smoke-" + std::to_string(getpid()));
  fs::create_directories(dir);
  std::string first = (dir / "first.igs").string(), second = (dir / "second.igs").string();
  GeneratedModel model = generate_model(600);
  int failures = 0;
  auto check = [&](bool ok, const std::string& what) {
    if (!ok) {
      ++failures;
      std::printf("smoke: FAILED: %s\n", what.c_str());
    }
  };
  check(write_model(model, first), "the generated model is written");
  BenchTimer timer;
  unsigned long reports_before = reports;
  ReadFile r = read_file(first, timer);
  check(r.ok, "the generated file reads to its end");
  check(reports == reports_before,
        "the read gives no report (" + std::to_string(reports - reports_before) + " given)");
  check(count_entities(r) == model.entities, "the read gives " + std::to_string(model.entities) +
                                                 " entities (" + std::to_string(r.entities) +
                                                 " read)");
  std::map<std::string, int> made, read;
  LUMO.useDesign(model.design);
  ListOfigs_directory_entry* made_list = model.file->directory_entries();
  for (unsigned i = 0; i < made_list->size(); ++i) ++made[(*made_list)[i]->domain()->name()];
  LUMO.useDesign(r.design);
  ListOfigs_directory_entry* read_list = r.file->directory_entries();
  for (unsigned i = 0; i < read_list->size(); ++i) ++read[(*read_list)[i]->domain()->name()];
  check(made == read, "the read gives the same classes in the same numbers");
  check(made.size() >= generated_kinds().size(), "every kind of the generator is made");
  check(r.file->write(second.c_str(), 1) != nullptr, "the file read is written again");
  auto bytes_of = [](const std::string& path) {
    std::string text;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
      char chunk[65536];
      for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, f)) > 0;) text.append(chunk, n);
      std::fclose(f);
    }
    return text;
  };
  check(bytes_of(first) == bytes_of(second), "the file read and written again is the same");
  FloorResult f = floor_pass(first, true);
  check(f.ok && f.directory_records == 2 * model.entities,
        "the floor finds two directory records for each entity");
  std::printf("smoke: %zu entities of %zu kinds: %s\n", model.entities, made.size(),
              failures ? "failed" : "written, read back, written again and split alike");
  release(r);
  release_model(model);
  std::error_code error;
  fs::remove_all(dir, error);
  return failures ? 1 : 0;
}

// ---- options ----

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts;
  std::size_t at = 0;
  while (at <= text.size()) {
    std::size_t comma = text.find(',', at);
    if (comma == std::string::npos) comma = text.size();
    if (comma > at) parts.push_back(text.substr(at, comma - at));
    at = comma + 1;
  }
  return parts;
}

// Takes this program's own options out of argv; false on a bad one.
bool parse_options(int& argc, char** argv) {
  int out = 1;
  bool large = std::getenv("IGESLIB_BENCH_LARGE") && *std::getenv("IGESLIB_BENCH_LARGE") &&
               std::strcmp(std::getenv("IGESLIB_BENCH_LARGE"), "0") != 0;
  bool sets_given = false;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    auto value = [&](const char* name) -> const char* {
      std::size_t n = std::strlen(name);
      return a.compare(0, n, name) == 0 && a.size() > n && a[n] == '=' ? argv[i] + n + 1 : nullptr;
    };
    if (options.probe) {
      if (const char* v = value("--write-back"))
        options.write_back = v;
      else if (a == "--by-class")
        options.by_class = true;
      else
        options.probe_files.push_back(a);
    } else if (a == "--probe-memory") {
      options.probe = true;
    } else if (a == "--smoke") {
      options.smoke = true;
    } else if (a == "--large") {
      large = true;
    } else if (a == "--no-peer") {
      options.peer = false;
    } else if (const char* v = value("--generated-mb")) {
      options.generated_mb = std::atof(v);
    } else if (const char* v = value("--large-mb")) {
      options.large_mb = std::atof(v);
    } else if (const char* v = value("--sets")) {
      options.sets = split(v), sets_given = true;
    } else if (const char* v = value("--corpus")) {
      options.corpus = v;
    } else if (const char* v = value("--data-dir")) {
      options.data_dir = v;
    } else if (const char* v = value("--iterations")) {
      options.iterations = std::atoi(v);
    } else if (const char* v = value("--summary-json")) {
      options.summary_json = v;
    } else if (const char* v = value("--summary-markdown")) {
      options.summary_markdown = v;
    } else {
      argv[out++] = argv[i];  // Google Benchmark's, or unknown
    }
  }
  argc = out;
  argv[argc] = nullptr;
  if (large && !sets_given) options.sets.push_back("large");
  if (options.corpus.empty()) options.corpus = IGESLIB_SOURCE_DIR "/../shared/corpus";
  if (options.data_dir.empty()) options.data_dir = (program_dir() / "bench-data").string();
  return options.generated_mb > 0 && options.large_mb > 0 && options.iterations >= 0;
}

bool wanted(const char* set) {
  return std::find(options.sets.begin(), options.sets.end(), set) != options.sets.end();
}

// A generated set: the model made and written once, its file read by the figures.
bool prepare_generated(DataSet& set, double mb, const char* name) {
  std::error_code error;
  fs::create_directories(options.data_dir, error);
  std::string path = (fs::path(options.data_dir) / (std::string(name) + ".igs")).string();
  double start = bench_seconds();
  set.generated_entities = entities_for_size(mb * 1e6, path);
  if (!set.generated_entities) {
    std::fprintf(stderr, "igeslib-bench: %s can't be written\n", path.c_str());
    return false;
  }
  ensure_model(set);
  double made = bench_seconds() - start;
  if (!write_model(set.model, path)) {
    std::fprintf(stderr, "igeslib-bench: %s can't be written\n", path.c_str());
    return false;
  }
  set.name = name;
  set.files = {path};
  set.bytes = static_cast<double>(fs::file_size(path, error));
  set.entities = set.model.entities;
  std::printf("%s: %zu entities, %.1f MB, made in %.1f s and written to %s\n", name,
              set.model.entities, set.bytes / 1e6, made, path.c_str());
  release_model(set.model);
  return true;
}

// The corpus files of at least min_bytes, as one set called name.
bool prepare_corpus(DataSet& set, const char* name, std::uintmax_t min_bytes) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(options.corpus, error)) {
    std::string ext = entry.path().extension().string();
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (entry.is_regular_file() && (ext == ".igs" || ext == ".iges") &&
        entry.file_size(error) >= min_bytes)
      set.files.push_back(entry.path().string());
  }
  if (set.files.empty()) {
    std::printf("%s: no IGES files in %s; its figures are skipped\n", name, options.corpus.c_str());
    return false;
  }
  std::sort(set.files.begin(), set.files.end());
  set.name = name;
  for (const std::string& path : set.files)
    set.bytes += static_cast<double>(fs::file_size(path, error));
  std::printf("%s: %zu files, %.1f MB in %s\n", name, set.files.size(), set.bytes / 1e6,
              options.corpus.c_str());
  return true;
}

void register_set(DataSet* set) {
  int n = options.iterations ? options.iterations : set->iterations;
  auto finish = [n](benchmark::internal::Benchmark* b) {
    b->UseManualTime()->Iterations(n)->Unit(benchmark::kMillisecond);
  };
  const std::string& s = set->name;
  finish(benchmark::RegisterBenchmark(("write/" + s).c_str(), bench_write, set));
  finish(benchmark::RegisterBenchmark(("floor/" + s).c_str(), bench_floor, set, false));
  finish(benchmark::RegisterBenchmark(("floor+numbers/" + s).c_str(), bench_floor, set, true));
  finish(benchmark::RegisterBenchmark(("read/" + s).c_str(), bench_read, set, 1));
  finish(
      benchmark::RegisterBenchmark(("read_threads/" + s).c_str(), bench_read, set, read_threads()));
  if (!peer_program.empty())
    finish(benchmark::RegisterBenchmark(("peer/" + s).c_str(), bench_peer, set));
  benchmark::RegisterBenchmark(("memory/" + s).c_str(), bench_memory, set, false)
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
  if (!peer_program.empty())
    benchmark::RegisterBenchmark(("peer_memory/" + s).c_str(), bench_memory, set, true)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  if (!parse_options(argc, argv)) {
    std::fputs("igeslib-bench: bad option; see the head of bench/igeslib_bench.cpp\n", stderr);
    return 2;
  }
  if (options.probe) return probe_memory(dup(1));
  igeslib_force_load();
  if (options.smoke) return smoke();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  silence_reports();

  if (options.peer) {
    fs::path peer = program_dir() / "igeslib-peer-parse";
    if (access(peer.c_str(), X_OK) == 0)
      peer_program = peer.string();
    else
      std::printf(
          "peer: igeslib-peer-parse was not built (its development packages, "
          "libocct-data-exchange-dev and libtbb-dev, were not found); its figures are "
          "skipped\n");
  }
  written_path = (fs::path(options.data_dir) / "written.igs").string();

  DataSet generated, large_files, corpus, large;
  generated.iterations = 3;
  large_files.iterations = 5;
  corpus.iterations = 5;
  large.iterations = 1;
  std::vector<DataSet*> sets;
  char generated_name[32], large_name[32];
  std::snprintf(generated_name, sizeof generated_name, "generated-%.0fMB", options.generated_mb);
  std::snprintf(large_name, sizeof large_name, "generated-%.0fMB", options.large_mb);
  if (wanted("generated")) {
    if (!prepare_generated(generated, options.generated_mb, generated_name)) return 1;
    sets.push_back(&generated);
  }
  // Real files of 200 KB and more, the ones whose reading takes time, as one set; then all.
  if (wanted("corpus-200KB") && prepare_corpus(large_files, "corpus-200KB", 200000))
    sets.push_back(&large_files);
  if (wanted("corpus") && prepare_corpus(corpus, "corpus", 0)) sets.push_back(&corpus);
  if (wanted("large")) {
    if (!prepare_generated(large, options.large_mb, large_name)) return 1;
    sets.push_back(&large);
  }
  for (DataSet* set : sets) register_set(set);

  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::Shutdown();
  for (DataSet* set : sets) release_model(set->model);

  std::vector<Row> rows = summarise(collector, sets);
  std::string table = markdown(rows);
  std::printf("\n%s", table.c_str());
  if (!options.summary_markdown.empty() && !write_text(options.summary_markdown, table))
    std::fprintf(stderr, "igeslib-bench: %s can't be written\n", options.summary_markdown.c_str());
  if (!options.summary_json.empty() && !write_text(options.summary_json, json(rows)))
    std::fprintf(stderr, "igeslib-bench: %s can't be written\n", options.summary_json.c_str());
  return 0;
}
