// Builds IGES files for tests, a record per readable line: the helper pads the text, puts the
// section letter in column 73 and the sequence number, right-justified, in columns 74-80; P
// records get their DE pointer in columns 66-72.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace igeslib_test {

// One 80-column record: text in columns 1-72, letter in 73, sequence number in 74-80.
std::string record(char section, int sequence, std::string_view text);
// One P record: text in columns 1-64, DE pointer in 66-72, then 'P' and the sequence number.
std::string p_record(int de_pointer, int sequence, std::string_view text);
// The text of a Terminate record for the given section counts.
std::string terminate_text(int s, int g, int d, int p);

// A file stated record by record; each section numbers its own records from 1.
class IgesText {
 public:
  IgesText& S(std::string_view text);
  IgesText& G(std::string_view text);
  IgesText& D(std::string_view text);
  IgesText& P(int de_pointer, std::string_view text);
  // A directory pair with every pointer but the Structure field 0 and status 00000000: record
  // one gives the type, the P pointer, the Structure field and the status; record two the
  // type, the P line count, the form and the label.
  IgesText& DE(int type, int form, int pd_pointer = 1, int pd_lines = 1,
               std::string_view label = "", int structure = 0);
  // A Terminate record with the counts of the records stated so far.
  IgesText& T();
  // A record as it stands, not numbered.
  IgesText& raw(std::string_view text);
  // The records joined, each followed by line_end ("" for bare card images).
  std::string str(std::string_view line_end = "\n") const;

 private:
  IgesText& add(char section, std::string_view text);
  std::vector<std::string> records_;
  int counts_[4] = {0, 0, 0, 0};  // S, G, D, P
};

// A readable binary stream over bytes, closed with the object.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes);
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile();
  FILE* get() const { return fp_; }

 private:
  FILE* fp_ = nullptr;
};

}  // namespace igeslib_test
