#include "memory_probe.h"

#include <malloc.h>
#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// A "Vm...:  N kB" field of /proc/self/status, in bytes; -1 when it can't be read.
long long status_field(const char* name) {
  FILE* f = std::fopen("/proc/self/status", "r");
  if (!f) return -1;
  char line[256];
  long long value = -1;
  std::size_t n = std::strlen(name);
  while (std::fgets(line, sizeof line, f)) {
    if (std::strncmp(line, name, n) == 0 && line[n] == ':') {
      value = std::atoll(line + n + 1) * 1024;
      break;
    }
  }
  std::fclose(f);
  return value;
}

long long heap_in_use() {
  struct mallinfo2 info = mallinfo2();
  return static_cast<long long>(info.uordblks + info.hblkhd);
}

}  // namespace

void MemoryProbe::start() {
  FILE* f = std::fopen("/proc/self/clear_refs", "w");
  reset_ = f && std::fputs("5", f) >= 0;
  if (f && std::fclose(f) != 0) reset_ = false;
  start_rss_ = status_field("VmRSS");
  start_anonymous_ = status_field("RssAnon");
  start_file_ = status_field("RssFile");
  start_heap_ = heap_in_use();
}

MemoryFigures MemoryProbe::stop() const {
  MemoryFigures figures;
  figures.peak_growth = status_field("VmHWM") - start_rss_;
  figures.heap_growth = heap_in_use() - start_heap_;
  figures.peak_reset = reset_;
  figures.anonymous_growth = status_field("RssAnon") - start_anonymous_;
  figures.file_growth = status_field("RssFile") - start_file_;
  return figures;
}

double bench_seconds() {
  using clock = std::chrono::steady_clock;
  return std::chrono::duration<double>(clock::now().time_since_epoch()).count();
}

double bench_cpu_seconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

void JsonLine::key(const char* k) {
  if (!body_.empty()) body_ += ", ";
  body_ += '"';
  body_ += k;
  body_ += "\": ";
}

JsonLine& JsonLine::add(const char* k, double value) {
  key(k);
  char text[64];
  std::snprintf(text, sizeof text, "%.9g", value);
  body_ += text;
  return *this;
}

JsonLine& JsonLine::add(const char* k, long long value) {
  key(k);
  body_ += std::to_string(value);
  return *this;
}

JsonLine& JsonLine::add(const char* k, const std::string& value) {
  key(k);
  body_ += '"';
  for (char c : value) {
    if (c == '"' || c == '\\') body_ += '\\';
    body_ += c;
  }
  body_ += '"';
  return *this;
}

double json_number(const std::string& line, const char* key, double fallback) {
  std::string pattern = std::string("\"") + key + "\": ";
  std::size_t at = line.find(pattern);
  if (at == std::string::npos) return fallback;
  return std::strtod(line.c_str() + at + pattern.size(), nullptr);
}
