// Captures what the library reports on its error channel and progress lines while in scope,
// and sends them back to standard error afterwards.
#pragma once

#include <string>
#include <vector>

namespace igeslib_test {

class CapturedReports {
 public:
  // keep_text false: reports are only counted, for reads that give a great many.
  explicit CapturedReports(bool keep_text = true);
  CapturedReports(const CapturedReports&) = delete;
  CapturedReports& operator=(const CapturedReports&) = delete;
  ~CapturedReports();

  // Every piece of text in the order it was sent.
  const std::vector<std::string>& pieces() const { return pieces_; }
  // All of it as one text.
  std::string text() const;
  // The progress lines.
  const std::vector<std::string>& messages() const { return messages_; }
  // Reports counted by the reporter while captured.
  unsigned long count() const;
  void clear();

 private:
  std::vector<std::string> pieces_;
  std::vector<std::string> messages_;
  unsigned long count_at_start_ = 0;
};

}  // namespace igeslib_test
