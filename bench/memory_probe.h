// Peak memory of a stretch of work in this process, measured the same way for our reader and
// for the peer's: the kernel's high-water mark of resident memory is reset at the start
// (writing 5 to /proc/self/clear_refs), and the growth of that mark over the resident size at
// the start is the peak. The C library's heap in use (mallinfo2) before and after is taken
// too, for what the work leaves held. Both are only sound in a process that has not yet freed
// much memory, since the allocator reuses freed pages without the resident size growing: the
// probes run in a fresh child process for each measurement.
#pragma once

#include <cstddef>
#include <string>

struct MemoryFigures {
  long long peak_growth = 0;  // bytes: high-water mark of resident memory over the start
  long long heap_growth = 0;  // bytes: heap in use after, less before
  bool peak_reset = false;    // the high-water mark could be reset at the start
  // Resident memory at the end over the start, split as the kernel counts it: anonymous pages
  // (heap, arenas, mapped scratch) and pages of mapped files (the libraries' code and tables
  // that the work was the first to touch).
  long long anonymous_growth = 0;
  long long file_growth = 0;
};

class MemoryProbe {
 public:
  // Resets the high-water mark and takes the starting figures.
  void start();
  MemoryFigures stop() const;

 private:
  long long start_rss_ = 0;
  long long start_anonymous_ = 0;
  long long start_file_ = 0;
  long long start_heap_ = 0;
  bool reset_ = false;
};

// Seconds on a steady clock.
double bench_seconds();
// Seconds of processor time of this process: on a shared machine, less disturbed than the
// wall clock by what else runs.
double bench_cpu_seconds();

// Wall and processor seconds of the calls it brackets, added up.
struct BenchTimer {
  double wall = 0, cpu = 0;
  double wall_start = 0, cpu_start = 0;
  void start() { wall_start = bench_seconds(), cpu_start = bench_cpu_seconds(); }
  void stop() { wall += bench_seconds() - wall_start, cpu += bench_cpu_seconds() - cpu_start; }
};

// A JSON object of flat fields, written as one line: the form in which the probe processes
// give their figures to the bench driver.
class JsonLine {
 public:
  JsonLine& add(const char* key, double value);
  JsonLine& add(const char* key, long long value);
  JsonLine& add(const char* key, const std::string& value);
  std::string text() const { return "{" + body_ + "}"; }

 private:
  void key(const char* k);
  std::string body_;
};

// The number field `key` of a JSON line as JsonLine writes it; fallback when absent.
double json_number(const std::string& line, const char* key, double fallback = 0.0);
