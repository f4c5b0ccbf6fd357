// The model object of applications: a design of its own holding one file object, read and
// written through the file object's drivers, with the reports of each run kept as values.
#include "igeslib_model.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <system_error>

#include "igeslib.h"
#include "igeslib_io.h"

namespace igeslib {

struct Model::State {
  LumoDesign* design = nullptr;
  igs_iges_file* file = nullptr;
  std::vector<igs_directory_entry*> entities;
  std::vector<igs_directory_entry*> directory;
  std::vector<IgeslibReadNote> notes;
  std::filesystem::path path;
  std::vector<Report> reports;
  ReadStatus status = ReadStatus::completed;
  int open_error = 0;
  std::string damaged_end;

  State() {
    igeslib_force_load();
    design = LUMO.newDesign("igeslib::Model");
    file = new (design) igs_iges_file;
  }
  ~State() {
    if (LUMO.design() == design) LUMO.useDesign(nullptr);
    delete design;
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;
};

namespace {

// Makes a design current for the length of a scope, as the writer needs.
class CurrentDesign {
 public:
  explicit CurrentDesign(LumoDesign* design) : previous_(LUMO.useDesign(design)) {}
  ~CurrentDesign() { LUMO.useDesign(previous_); }
  CurrentDesign(const CurrentDesign&) = delete;
  CurrentDesign& operator=(const CurrentDesign&) = delete;

 private:
  LumoDesign* previous_;
};

// The read settings of the library as a read of the model needs them, put back afterwards.
class ReadSettings {
 public:
  ReadSettings(const ReadOptions& options, std::vector<IgeslibReadNote>* notes)
      : previous_(igeslib_read_settings()) {
    igeslib_read_settings().accept_damaged_end = !options.strict;
    igeslib_read_settings().notes = notes;
    igeslib_read_settings().threads = options.threads;
  }
  ~ReadSettings() { igeslib_read_settings() = previous_; }
  ReadSettings(const ReadSettings&) = delete;
  ReadSettings& operator=(const ReadSettings&) = delete;

 private:
  IgeslibReadSettings previous_;
};

std::string without_line_end(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  return text;
}

// The rest of the line of text that starts at from.
std::string line_at(const std::string& text, std::size_t from) {
  std::size_t end = text.find('\n', from);
  return text.substr(from, end == std::string::npos ? std::string::npos : end - from);
}

// True when a row of the entity-type registry names the class of domain.
bool registered(LumoDomain* domain) {
  static const std::vector<LumoDomain*> domains = [] {
    IgeslibEntityTable table;
    std::vector<LumoDomain*> out;
    for (unsigned i = 0; i < table.count; ++i) out.push_back(igeslib_get_domain(table.rows[i]));
    return out;
  }();
  for (LumoDomain* known : domains)
    if (known == domain) return true;
  return false;
}

}  // namespace

Report parse_report(const std::string& text) {
  Report report;
  report.text = text;
  int used = 0;
  if (std::sscanf(text.c_str(), "Error at line #: %d, column #: %d%n", &report.line, &report.column,
                  &used) == 2 ||
      (report.warning = std::sscanf(text.c_str(), "Warning at line #: %d, column #: %d%n",
                                    &report.line, &report.column, &used) == 2)) {
    std::size_t at = static_cast<std::size_t>(used);
    if (at < text.size() && text[at] == '\n') ++at;
    if (at < text.size() && text[at] == '\t') ++at;
    report.message = line_at(text, at);
    static const char kRecord[] = "IGES record:\n";
    std::size_t record = text.find(kRecord, at);
    if (record != std::string::npos) report.record = line_at(text, record + sizeof kRecord - 1);
    return report;
  }
  report.line = report.column = 0;
  report.warning = false;
  report.message = without_line_end(text);
  return report;
}

ReportCollector::ReportCollector(std::vector<Report>& out, bool echo) : out_(out), echo_(echo) {
  LumoErrorReporter* reporter = LUMO.error_reporter();
  previous_callback_ = reporter->callback();
  previous_user_ = reporter->callback_user();
  previous_stream_ = reporter->stream();
  reporter->use_callback(receive, this);
}

ReportCollector::~ReportCollector() {
  finish_report();
  LumoErrorReporter* reporter = LUMO.error_reporter();
  if (previous_callback_)
    reporter->use_callback(previous_callback_, previous_user_);
  else if (previous_stream_)
    reporter->use_stream(previous_stream_);
  else
    reporter->use_stderr();
}

// Text sent while the reporter's stack holds an entry belongs to the report that the latest
// entry opened; any other text is a report of its own (the reporter counts them the same way).
void ReportCollector::receive(const char* text, int code, void* user) {
  auto* self = static_cast<ReportCollector*>(user);
  const lumo_stack& stack = LUMO.error_reporter()->stack;
  bool bracketed = stack.size() > 0;
  if (!bracketed || !self->in_bracket_ || stack.pushes() != self->bracket_) self->finish_report();
  self->in_bracket_ = bracketed;
  self->bracket_ = stack.pushes();
  self->pending_ += text;
  if (!bracketed) self->finish_report();
  if (!self->echo_) return;
  if (self->previous_callback_) {
    self->previous_callback_(text, code, self->previous_user_);
  } else {
    std::FILE* stream = self->previous_stream_ ? self->previous_stream_ : stderr;
    std::fputs(text, stream);
    std::fflush(stream);
  }
}

void ReportCollector::finish_report() {
  if (pending_.empty()) return;
  out_.push_back(parse_report(pending_));
  pending_.clear();
  in_bracket_ = false;
}

std::pair<int, int> entity_type_and_form(igs_directory_entry* entity) {
  if (!entity) return {0, 0};
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

Model::Model() : state_(std::make_unique<State>()) {}
Model::~Model() = default;
Model::Model(Model&& other) noexcept = default;
Model& Model::operator=(Model&& other) noexcept = default;

ReadStatus Model::status() const { return state_->status; }
int Model::open_error() const { return state_->open_error; }
const std::string& Model::damaged_end() const { return state_->damaged_end; }
std::span<igs_directory_entry* const> Model::entities() const { return state_->entities; }
const std::vector<Report>& Model::reports() const { return state_->reports; }
const std::filesystem::path& Model::path() const { return state_->path; }
std::span<igs_directory_entry* const> Model::directory() const { return state_->directory; }
std::span<const IgeslibReadNote> Model::read_notes() const { return state_->notes; }
igs_iges_file* Model::file() const { return state_->file; }
igs_global* Model::global_section() const { return state_->file->global_section(); }
LumoDesign* Model::design() const { return state_->design; }

void Model::adopt(igs_directory_entry* entity) {
  if (entity) state_->entities.push_back(entity);
}

LumoObject* Model::create(const std::string& class_name) {
  LumoType* type = LumoType::find(class_name.c_str());
  if (!type && class_name.rfind("igs_", 0) == 0) type = LumoType::find(class_name.c_str() + 4);
  if (!type || type->kind != LumoKind::object) return nullptr;
  LumoDomain* domain = type->domain ? type->domain : type->acquireDomain();
  if (!domain || domain->isAbstract()) return nullptr;
  // The abstract classes are the roots of the entity families: an entity class can be made
  // when the registry has a row for it.
  if (type->derivesFrom(&*lumotype_igs_directory_entry) && !registered(domain)) return nullptr;
  LumoObject* object = state_->design->pnewInstance(domain, 0);
  if (object) adopt(lumo_cast<igs_directory_entry>(object));
  return object;
}

Model read(const std::filesystem::path& path, const ReadOptions& options) {
  Model model;
  Model::State& state = *model.state_;
  ReportCollector collector(state.reports, options.echo_reports);

  // Opened here first so that a file that can't be read is told apart, with its errno, from
  // one the reader gives up on; it is reported as the file object reports it.
  std::error_code ignored;
  int error = 0;
  if (std::filesystem::is_directory(path, ignored)) {
    error = EISDIR;
  } else if (std::FILE* probe = std::fopen(path.c_str(), "rb")) {
    std::fclose(probe);
  } else {
    error = errno ? errno : ENOENT;
  }
  if (error) {
    lumo_io_ec()->report(2034, path.c_str());
    state.status = ReadStatus::not_opened;
    state.open_error = error;
    return model;
  }

  state.path = path;
  ReadSettings settings(options, &state.notes);
  igs_iges_file* result = state.file->read(path.c_str(), options.strict ? 1 : 0);
  state.status = result ? ReadStatus::completed : ReadStatus::stopped;
  if (result && igeslib_damaged_end()) state.damaged_end = igeslib_damaged_end();
  // Right after the read the file object still holds the directory list it was read into.
  ListOfigs_directory_entry& list = state.file->directory_list_;
  state.entities.reserve(list.size());
  state.directory.reserve(list.size());
  for (unsigned i = 0, n = list.size(); i < n; ++i) {
    state.directory.push_back(list[i]);
    if (igs_directory_entry* entity = list[i]) state.entities.push_back(entity);
  }
  return model;
}

WriteResult Model::write(const std::filesystem::path& path, const WriteOptions& options) const {
  WriteResult result;
  ReportCollector collector(result.reports, options.echo_reports);
  std::FILE* out = std::fopen(path.c_str(), "w");
  if (!out) {
    result.error = errno ? errno : EIO;
    lumo_io_ec()->report(2034, path.c_str());
    return result;
  }
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[1 << 20]);
  if (buffer) std::setvbuf(out, buffer.get(), _IOFBF, 1 << 20);
  {
    CurrentDesign current(state_->design);
    state_->file->write(out, options.zero_as_default ? 1 : 0);
  }
  bool failed = std::ferror(out) != 0;
  if (std::fclose(out) != 0) failed = true;
  if (failed) {
    result.error = errno ? errno : EIO;
    lumo_io_ec()->report(2036, path.c_str());
    return result;
  }
  result.written = true;
  return result;
}

}  // namespace igeslib
