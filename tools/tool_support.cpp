#include "tool_support.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "igeslib_io.h"

namespace igeslib_tools {

namespace {

// A progress line is on the terminal, with no line end yet.
bool progress_shown = false;

void end_progress() {
  if (!progress_shown) return;
  std::fputs("\r\033[K", stderr);
  progress_shown = false;
}

void show_progress(const char* line, void*) {
  std::fprintf(stderr, "\r%s", line);
  std::fflush(stderr);
  progress_shown = true;
}

// Reports go to standard error as they would without us, with a progress line ended first.
void pass_report(const char* text, int, void*) {
  end_progress();
  std::fputs(text, stderr);
}

void show_progress_sink() {
  if (isatty(fileno(stderr))) {
    LUMO.message_sink(show_progress, nullptr);
  } else {
    // A file can give millions of reports: written in blocks, not a few bytes at a time.
    std::setvbuf(stderr, nullptr, _IOFBF, 1 << 16);
    LUMO.message_sink([](const char*, void*) {}, nullptr);
  }
}

}  // namespace

const char* option_value(const char* name, int argc, char** argv, int& i) {
  std::size_t length = std::strlen(name);
  const char* arg = argv[i];
  if (std::strncmp(arg, name, length) != 0) return nullptr;
  if (arg[length] == '=') return arg + length + 1;
  if (arg[length] == '\0' && i + 1 < argc) return argv[++i];
  return nullptr;
}

void json_string(std::string& out, std::string_view text) {
  out += '"';
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c >= 0x20 && c < 0x7f) {
      out += static_cast<char>(c);
    } else {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
      out += escaped;
    }
  }
  out += '"';
}

StdoutToStderr::StdoutToStderr() {
  std::fflush(stdout);
  saved_ = dup(STDOUT_FILENO);
  if (saved_ >= 0) dup2(STDERR_FILENO, STDOUT_FILENO);
}

StdoutToStderr::~StdoutToStderr() {
  std::fflush(stdout);
  if (saved_ < 0) return;
  dup2(saved_, STDOUT_FILENO);
  close(saved_);
}

Progress::Progress() { show_progress_sink(); }

Progress::~Progress() {
  end_progress();
  LUMO.message_sink(nullptr, nullptr);
}

// Columns 1-8 of the first record hold the type, columns 33-40 of the second the form.
std::pair<int, int> type_and_form(igs_directory_entry* entity) {
  auto* unplaced = lumo_cast<igs_null_entity>(entity);
  if (!unplaced) return {entity->entity_type(), entity->form()};
  ArrayOfString* records = unplaced->directory_entry_records();
  const char* first = records ? records->get(0) : nullptr;
  const char* second = records ? records->get(1) : nullptr;
  int type = 0, form = 0;
  if (first) igeslib_scan_int(first, 8, &type);
  if (second && std::strlen(second) > 32) igeslib_scan_int(second + 32, 8, &form);
  return {type, form};
}

Session::Session(const char* program) : program_(program) {
  igeslib_force_load();
  show_progress_sink();
  LUMO.error_reporter()->use_callback(pass_report, nullptr);
  design_ = LUMO.newDesign(program);
  LUMO.useDesign(design_);
  file_ = new (design_) igs_iges_file;
  reports_at_start_ = LUMO.error_reporter()->count();
}

Session::~Session() {
  LUMO.useDesign(nullptr);
  delete design_;
  LUMO.message_sink(nullptr, nullptr);
  LUMO.error_reporter()->use_stderr();
}

unsigned long Session::reports() const {
  return LUMO.error_reporter()->count() - reports_at_start_;
}

void Session::complain(const char* text, const char* path) const {
  std::fprintf(stderr, "%s: %s: %s\n", program_, path, text);
}

int Session::read(const char* path, bool strict_end) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    complain("is a directory", path);
    return kUsage;
  }
  FILE* in = std::fopen(path, "rb");
  if (!in) {
    complain(std::strerror(errno), path);
    return kUsage;
  }
  igeslib_read_settings().accept_damaged_end = !strict_end;
  igs_iges_file* result = file_->read(in, 0);
  std::fclose(in);
  end_progress();
  if (!result) return kFatal;
  if (const char* fault = igeslib_damaged_end()) {
    std::fprintf(stderr, "%s: %s: last record damaged (%s); the model was read whole\n", program_,
                 path, fault);
    return kDamagedEnd;
  }
  return kCompleted;
}

int Session::write(const char* path, bool zero_as_default) {
  FILE* out = std::fopen(path, "w");
  if (!out) {
    complain(std::strerror(errno), path);
    return kUsage;
  }
  LUMO.useDesign(design_);  // the writer works on the current design
  file_->write(out, zero_as_default ? 1 : 0);
  bool failed = std::ferror(out) != 0;
  if (std::fclose(out) != 0) failed = true;
  if (failed) {
    complain("write failed", path);
    return kUsage;
  }
  return kCompleted;
}

}  // namespace igeslib_tools
