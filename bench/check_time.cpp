// igeslib-check-time [--passes=N] [FILE|DIR]...: what the checker costs beside the read it
// follows. For each file (every .igs/.iges of a folder; the shared corpus when none is given),
// the least processor time of N passes (3) of igeslib::read alone, and of igeslib::read and
// igeslib::check together, as iges-check runs them; one row each with their ratio, which the
// target holds to at most 2, and the totals. Files read side by side in one run.
#include <time.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <igeslib.h>

namespace fs = std::filesystem;

namespace {

constexpr double kTarget = 2.0;

double processor_seconds() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

bool iges_file(const fs::path& path) {
  std::string extension = path.extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension == ".igs" || extension == ".iges";
}

// The least processor time of passes runs of read, and of read with check.
void measure(const fs::path& path, int passes, double& read_only, double& with_check,
             std::size_t& findings) {
  igeslib::ReadOptions options;
  options.echo_reports = false;
  read_only = with_check = -1;
  for (int i = 0; i < passes; ++i) {
    double start = processor_seconds();
    igeslib::Model model = igeslib::read(path, options);
    double spent = processor_seconds() - start;
    if (read_only < 0 || spent < read_only) read_only = spent;
  }
  for (int i = 0; i < passes; ++i) {
    double start = processor_seconds();
    igeslib::Model model = igeslib::read(path, options);
    findings = igeslib::check(model).size();
    double spent = processor_seconds() - start;
    if (with_check < 0 || spent < with_check) with_check = spent;
  }
}

}  // namespace

int main(int argc, char** argv) {
  int passes = 3;
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--passes=", 9) == 0) {
      passes = std::max(1, std::atoi(argv[i] + 9));
      continue;
    }
    fs::path given = argv[i];
    std::error_code error;
    if (fs::is_directory(given, error)) {
      for (const auto& entry : fs::directory_iterator(given, error))
        if (iges_file(entry.path())) files.push_back(entry.path());
    } else {
      files.push_back(given);
    }
  }
  if (argc == 1 || (files.empty() && argc == 2 && std::strncmp(argv[1], "--", 2) == 0)) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(IGESLIB_SOURCE_DIR "/../shared/corpus", error))
      if (iges_file(entry.path())) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  if (files.empty()) {
    std::fputs("igeslib-check-time: no IGES files\n", stderr);
    return 2;
  }
  igeslib_force_load();
  LUMO.quiet(1);
  LUMO.error_reporter()->use_callback([](const char*, int, void*) {}, nullptr);
  LUMO.message_sink([](const char*, void*) {}, nullptr);

  std::printf("%-48s %10s %12s %7s %9s\n", "file", "read ms", "+check ms", "ratio", "findings");
  double total_read = 0, total_check = 0, worst = 0;
  int over = 0;
  for (const fs::path& path : files) {
    double read_only = 0, with_check = 0;
    std::size_t findings = 0;
    measure(path, passes, read_only, with_check, findings);
    double ratio = read_only > 0 ? with_check / read_only : 0;
    total_read += read_only;
    total_check += with_check;
    worst = std::max(worst, ratio);
    over += ratio > kTarget;
    std::printf("%-48s %10.2f %12.2f %7.2f %9zu%s\n", path.filename().string().c_str(),
                read_only * 1e3, with_check * 1e3, ratio, findings,
                ratio > kTarget ? "  over the target" : "");
  }
  std::printf("%-48s %10.2f %12.2f %7.2f\n", "all files", total_read * 1e3, total_check * 1e3,
              total_read > 0 ? total_check / total_read : 0);
  std::printf("largest ratio %.2f; %d of %zu files over the target of %.1f\n", worst, over,
              files.size(), kTarget);
  return 0;
}
