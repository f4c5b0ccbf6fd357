#include "support/records.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace igeslib_test {

namespace {

std::string padded(std::string_view text, std::size_t width) {
  std::string out(text.substr(0, width));
  out.resize(width, ' ');
  return out;
}

std::string right(int value, int width) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%*d", width, value);
  return buffer;
}

}  // namespace

std::string record(char section, int sequence, std::string_view text) {
  return padded(text, 72) + section + right(sequence, 7);
}

std::string p_record(int de_pointer, int sequence, std::string_view text) {
  return padded(text, 64) + ' ' + right(de_pointer, 7) + 'P' + right(sequence, 7);
}

std::string terminate_text(int s, int g, int d, int p) {
  return "S" + right(s, 7) + "G" + right(g, 7) + "D" + right(d, 7) + "P" + right(p, 7);
}

IgesText& IgesText::add(char section, std::string_view text) {
  int& count = counts_[std::string_view("SGDP").find(section)];
  records_.push_back(record(section, ++count, text));
  return *this;
}

IgesText& IgesText::S(std::string_view text) { return add('S', text); }
IgesText& IgesText::G(std::string_view text) { return add('G', text); }
IgesText& IgesText::D(std::string_view text) { return add('D', text); }

IgesText& IgesText::DE(int type, int form, int pd_pointer, int pd_lines, std::string_view label,
                       int structure) {
  const std::string zero = right(0, 8);
  add('D', right(type, 8) + right(pd_pointer, 8) + right(structure, 8) + zero + zero + zero + zero +
               zero + "00000000");
  return add('D', right(type, 8) + zero + zero + right(pd_lines, 8) + right(form, 8) +
                      std::string(16, ' ') +
                      std::string(8 - std::min<std::size_t>(label.size(), 8), ' ') +
                      std::string(label.substr(0, 8)) + zero);
}

IgesText& IgesText::P(int de_pointer, std::string_view text) {
  records_.push_back(p_record(de_pointer, ++counts_[3], text));
  return *this;
}

IgesText& IgesText::T() {
  records_.push_back(
      record('T', 1, terminate_text(counts_[0], counts_[1], counts_[2], counts_[3])));
  return *this;
}

IgesText& IgesText::raw(std::string_view text) {
  records_.emplace_back(text);
  return *this;
}

std::string IgesText::str(std::string_view line_end) const {
  std::string out;
  for (const std::string& r : records_) {
    out += r;
    out += line_end;
  }
  return out;
}

MemoryFile::MemoryFile(std::string_view bytes) {
  fp_ = std::tmpfile();
  if (!fp_) throw std::runtime_error("no temporary file");
  if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), fp_);
  std::rewind(fp_);
}

MemoryFile::~MemoryFile() {
  if (fp_) std::fclose(fp_);
}

}  // namespace igeslib_test
