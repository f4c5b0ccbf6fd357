// A convenience over igs_iges_file for applications: one call reads a file into a model that
// owns its design, gives its entities in file order and the reports of the read as values; one
// call writes it. The classes and the file object work as they always do underneath.
//
//   igeslib::Model model = igeslib::read("part.igs");
//   for (igs_directory_entry* entity : model.entities()) ...
//   for (const igeslib::Report& report : model.reports()) ...
//   model.write("copy.igs");
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

class LumoDesign;
class LumoObject;
class igs_directory_entry;
class igs_global;
class igs_iges_file;
struct IgeslibReadNote;

namespace igeslib {

// One report of the filer, as it went to the error channel.
struct Report {
  int line = 0;         // the record's line number in the file; 0 when it names none
  int column = 0;       // 1-based column of the fault; 0 when it names none
  std::string message;  // what was wrong, one line
  std::string record;   // the record as read, when the report shows it
  bool warning = false;
  std::string text;  // the whole text as sent, line ends included
};

struct ReadOptions {
  // Stop when the Start or Global section can't be read, and take a damaged last record
  // (a Terminate record whose fields can't be read, or one cut off by the end of the file) as
  // a fatal error.
  bool strict = false;
  // Send the reports' text to the error channel as well, wherever it went before the read.
  bool echo_reports = true;
  // Threads of the read: 1 reads in the calling thread alone; n above 1 adds n - 1 workers
  // that convert the Parameter Data section's reals ahead of the reader, giving the same model
  // and the same reports in the same order; 0 takes the machine's cores for files of 8 MiB and
  // more, else 1.
  int threads = 0;
};

enum class ReadStatus {
  completed,   // the file was read to its end, with reports or not
  stopped,     // a fatal error ended the read; the model holds what was read before it
  not_opened,  // the file could not be opened; the model is empty
};

struct WriteOptions {
  bool zero_as_default = true;  // zeros go out as empty parameters
  bool echo_reports = true;
};

struct WriteResult {
  bool written = false;  // the file was opened, written and closed without a fault
  int error = 0;         // errno of the failure when not written
  std::vector<Report> reports;
};

// The entity type and form of an entity. One that the reader could not place keeps its
// directory records as text, and its type and form are read from them.
std::pair<int, int> entity_type_and_form(igs_directory_entry* entity);

class Model {
 public:
  // An empty model: a fresh design holding a file object with no entities.
  Model();
  ~Model();
  Model(Model&& other) noexcept;
  Model& operator=(Model&& other) noexcept;
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  ReadStatus status() const;
  bool completed() const { return status() == ReadStatus::completed; }
  // errno of the failed open when status() is not_opened.
  int open_error() const;
  // What was wrong with a damaged last record that the read accepted; empty when none.
  const std::string& damaged_end() const;

  // The entities in file order, then those made since in order of making.
  std::span<igs_directory_entry* const> entities() const;
  const std::vector<Report>& reports() const;
  // The file that the model was read from; empty for a model made in memory.
  const std::filesystem::path& path() const;
  // The entity of each DE number of the file read: DE number n at place (n - 1) / 2; null at
  // the place of a directory pair that gave no object. Empty for a model made in memory.
  std::span<igs_directory_entry* const> directory() const;
  // The values that the read took in its own way without a report (IgeslibReadNote): pointers
  // that name no entity the field holds, codes out of their enumeration, counts and constants
  // of the file that the objects answer otherwise, records that end early. A checker names them.
  std::span<const IgeslibReadNote> read_notes() const;

  igs_iges_file* file() const;
  igs_global* global_section() const;
  LumoDesign* design() const;

  // An object of the class that the dictionary calls class_name ("circular_arc_entity", or
  // with the class prefix "igs_circular_arc_entity"), made in this model's design; an entity
  // joins entities(). Null for a name that no class has, or a class that can't be
  // instantiated: the roots of the entity families, and once the schema designs are built
  // (igeslib_create_builtin_schemas) every class that the dictionary marks abstract.
  LumoObject* create(const std::string& class_name);
  // An entity of a compiled class, made in this model's design; it joins entities().
  template <class X, class... Args>
  X* make(Args&&... args) {
    X* entity = new (design()) X(std::forward<Args>(args)...);
    adopt(entity);
    return entity;
  }

  // Writes every entity of the design (the file object's rule), in order of making.
  WriteResult write(const std::filesystem::path& path, const WriteOptions& options = {}) const;

  // Reads path into a new model; never throws for what is in the file or for a file that
  // can't be opened: see status() and reports().
  friend Model read(const std::filesystem::path& path, const ReadOptions& options);

 private:
  void adopt(igs_directory_entry* entity);
  struct State;
  std::unique_ptr<State> state_;
};

Model read(const std::filesystem::path& path, const ReadOptions& options = {});

// While it lives, every report sent to the runtime's error channel is also kept as a value;
// the text still goes where it went before unless echo is off. What was set before is put
// back at the end. Model::read and Model::write use one; an application may hold one around
// its own calls of the library.
class ReportCollector {
 public:
  explicit ReportCollector(std::vector<Report>& out, bool echo = true);
  ~ReportCollector();
  ReportCollector(const ReportCollector&) = delete;
  ReportCollector& operator=(const ReportCollector&) = delete;

 private:
  static void receive(const char* text, int code, void* self);
  void finish_report();
  std::vector<Report>& out_;
  bool echo_;
  std::string pending_;        // text of the report being sent
  unsigned long bracket_ = 0;  // the reporter's bracket that the pending report belongs to
  bool in_bracket_ = false;
  void (*previous_callback_)(const char*, int, void*) = nullptr;
  void* previous_user_ = nullptr;
  std::FILE* previous_stream_ = nullptr;
};

// The fields of a report's text: "Error at line #: L, column #: C", a tab and the message,
// then "IGES record:" and the record; a text of another shape is all message.
Report parse_report(const std::string& text);

}  // namespace igeslib
