// Builds IGES files for tests, a record per readable line: the helper pads the text, puts the
// section letter in column 73 and the sequence number, right-justified, in columns 74-80; P
// records get their DE pointer in columns 66-72. Header only, so that the fuzz targets share it
// with the tests.
#pragma once

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace igeslib_test {

inline std::string padded(std::string_view text, std::size_t width) {
  std::string out(text.substr(0, width));
  out.resize(width, ' ');
  return out;
}

inline std::string right(int value, int width) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%*d", width, value);
  return buffer;
}

// One 80-column record: text in columns 1-72, letter in 73, sequence number in 74-80.
inline std::string record(char section, int sequence, std::string_view text) {
  return padded(text, 72) + section + right(sequence, 7);
}

// One P record: text in columns 1-64, DE pointer in 66-72, then 'P' and the sequence number.
inline std::string p_record(int de_pointer, int sequence, std::string_view text) {
  return padded(text, 64) + ' ' + right(de_pointer, 7) + 'P' + right(sequence, 7);
}

// The text of a Terminate record for the given section counts.
inline std::string terminate_text(int s, int g, int d, int p) {
  return "S" + right(s, 7) + "G" + right(g, 7) + "D" + right(d, 7) + "P" + right(p, 7);
}

// A file stated record by record; each section numbers its own records from 1.
class IgesText {
 public:
  IgesText& S(std::string_view text) { return add('S', text); }
  IgesText& G(std::string_view text) { return add('G', text); }
  IgesText& D(std::string_view text) { return add('D', text); }
  IgesText& P(int de_pointer, std::string_view text) {
    records_.push_back(p_record(de_pointer, ++counts_[3], text));
    return *this;
  }
  // A directory pair with every pointer but the Structure field 0 and status 00000000: record
  // one gives the type, the P pointer, the Structure field and the status; record two the
  // type, the P line count, the form and the label.
  IgesText& DE(int type, int form, int pd_pointer = 1, int pd_lines = 1,
               std::string_view label = "", int structure = 0) {
    const std::string zero = right(0, 8);
    add('D', right(type, 8) + right(pd_pointer, 8) + right(structure, 8) + zero + zero + zero +
                 zero + zero + "00000000");
    return add('D', right(type, 8) + zero + zero + right(pd_lines, 8) + right(form, 8) +
                        std::string(16, ' ') +
                        std::string(8 - std::min<std::size_t>(label.size(), 8), ' ') +
                        std::string(label.substr(0, 8)) + zero);
  }
  // A Terminate record with the counts of the records stated so far.
  IgesText& T() {
    records_.push_back(
        record('T', 1, terminate_text(counts_[0], counts_[1], counts_[2], counts_[3])));
    return *this;
  }
  // A record as it stands, not numbered.
  IgesText& raw(std::string_view text) {
    records_.emplace_back(text);
    return *this;
  }
  // The records joined, each followed by line_end ("" for bare card images).
  std::string str(std::string_view line_end = "\n") const {
    std::string out;
    for (const std::string& r : records_) (out += r) += line_end;
    return out;
  }

 private:
  IgesText& add(char section, std::string_view text) {
    int& count = counts_[std::string_view("SGDP").find(section)];
    records_.push_back(record(section, ++count, text));
    return *this;
  }
  std::vector<std::string> records_;
  int counts_[4] = {0, 0, 0, 0};  // S, G, D, P
};

// A readable binary stream over bytes, closed with the object.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes) : fp_(std::tmpfile()) {
    if (!fp_) throw std::runtime_error("no temporary file");
    if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), fp_);
    std::rewind(fp_);
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { std::fclose(fp_); }
  FILE* get() const { return fp_; }

 private:
  FILE* fp_ = nullptr;
};

}  // namespace igeslib_test
