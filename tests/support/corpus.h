// The shared corpus of real IGES files, and whole files as bytes.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace igeslib_test {

// Every .igs or .iges file (any case) of ../shared/corpus, seen from the project root, in
// name order; empty when the folder is absent.
std::vector<std::filesystem::path> corpus_files();
// The bytes of a file.
std::string contents(const std::filesystem::path& path);
// All that a stream holds, read from its start.
std::string slurp(FILE* stream);

}  // namespace igeslib_test
