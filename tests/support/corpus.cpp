#include "support/corpus.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>

namespace igeslib_test {

std::vector<std::filesystem::path> corpus_files() {
  std::vector<std::filesystem::path> files;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator("../shared/corpus", ec)) {
    std::string ext = entry.path().extension().string();
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (ext == ".igs" || ext == ".iges") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string contents(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

std::string slurp(FILE* stream) {
  std::fflush(stream);
  std::rewind(stream);
  std::string out;
  char buffer[65536];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, stream)) > 0;)
    out.append(buffer, n);
  return out;
}

}  // namespace igeslib_test
