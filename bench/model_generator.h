// A large model made through the library's API, of every entity kind that has parameter code.
#pragma once

#include <string>

// Builds about target_bytes of IGES text in a fresh design and writes it to path; the number
// of entities written, or 0 when the file couldn't be written.
long generate_model(const std::string& path, double target_bytes);
