// The Global section: the parameter and record delimiters, which define what a parameter is
// and so can't be read as ordinary parameters, then parameters 3 to 26 of igs_global in the
// order of the file. Reading and writing.
#include <cstdio>
#include <cstring>

#include <igeslib.h>

#include "igeslib_io.h"

namespace {

// The one character of a delimiter parameter, or its absence as an empty text.
const char* text_or_empty(const char* s) { return s ? s : ""; }

void version_warning(int version) {
  if (version >= 6 || LUMO.quiet()) return;
  const char* release = version == 1 || version == 2 ? "1.0"
                        : version == 4 || version == 5 ? "3.0"
                                                       : "2.0";
  std::printf("\tWARNING: File uses IGES specification %s\n", release);
  std::printf("\tThis IGES filer expects version 4 or 5.x\n");
}

// Parameters 3 to 26. 1 when the list ended where it should, 0 when more parameters follow.
// Once a token error has poisoned the section every later read gives its default, so the
// report is the only trace of it.
int read_global_parameters(IgeslibIO& io, igs_global* g) {
  auto defaulted = [&io] {
    return io.param_state == PARAM_DEFAULTED || io.param_state == PARAM_END_OF_RECORD;
  };
  g->product_identification_sender(io.read_string());
  g->file_name(io.read_string());
  g->system_id(io.read_string());
  g->preprocessor_version(io.read_string());
  g->number_of_binary_bits(io.read_int());
  g->single_precision_magnitude(io.read_int());
  g->single_precision_significance(io.read_int());
  g->double_precision_magnitude(io.read_int());
  g->double_precision_significance(io.read_int());
  g->product_identification_receiver(io.read_string());
  g->model_space_scale(io.read_real());  // an empty scale stays 0.0
  g->unit_flag(io.read_int());           // a code with no unit leaves the flag as it was
  g->units(io.read_string());
  int gradations = io.read_int();
  g->max_num_line_weight_gradations(defaulted() ? 1 : gradations);
  g->width_max_line_weight(io.read_real());
  g->date_time_file_generation(io.read_string());
  g->min_resolution(io.read_real());
  g->max_coordinate_value(io.read_real());
  g->author(io.read_string());
  g->organization(io.read_string());
  int version = io.read_int();
  if (defaulted()) version = 3;
  g->version(version);
  version_warning(version);  // nothing in the reading depends on the version
  g->drafting_standard_code(io.read_int());
  g->date_time_created_modified(io.read_string());
  g->milspec(io.read_string());

  io.read_int();
  if (io.param_state != PARAM_END_OF_RECORD) {
    io.report_error("parsing global section: Global section contains unknown parameters", -1);
    return 0;
  }
  return 1;
}

}  // namespace

IgeslibIO* IgeslibIO::parse_global_section(igs_global* global) {
  int first_line = line_number;
  param_delimiter = ',';
  record_delimiter = ';';
  // The Global section is the first free-form data of the run.
  param_state = PARAM_VALUE;
  record_failed = 0;
  bool failed = false;

  if (f_rec_section != 'G') {
    report_error("Global section does not follow the start section in the file", 72);
    global_count = 0;
    return nullptr;
  }

  // A delimiter parameter that is there must be one character. A longer one is cut to its
  // first; an empty or unreadable one keeps the delimiter in force, having no character.
  auto delimiter = [&](const char* value, const char* fallback, const char* message,
                       void (igs_global::*store)(const char*), char* in_force) {
    if (param_state == PARAM_DEFAULTED) {
      (global->*store)(fallback);
      return;
    }
    char one[2] = {text_or_empty(value)[0], '\0'};
    if (std::strlen(text_or_empty(value)) != 1) {
      report_error(message, -1);
      failed = true;
    }
    (global->*store)(one);
    if (one[0]) *in_force = one[0];
  };
  // The parameter delimiter must be followed by itself; the record delimiter is then
  // followed by the parameter delimiter just read.
  delimiter(read_string(true), ",", "Parameter delimiter must be a single character",
            &igs_global::parameter_delimiter, &param_delimiter);
  delimiter(read_string(false), ";", "Record delimiter must be a single character",
            &igs_global::record_delimiter, &record_delimiter);

  if (!read_global_parameters(*this, global)) failed = true;

  // The rest of the G records; section_position is left at the first record after them.
  while (f_rec_section == 'G') {
    std::fgetpos(fp, &section_position);
    read_record();
  }
  global_count = line_number - first_line;
  return failed ? nullptr : this;
}
