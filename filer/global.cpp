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
  const char* release = version == 1 || version == 2   ? "1.0"
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

namespace {

// Parameters 3 to 26 as the object holds them, but for the significances, which every
// written file states as those of the doubles it writes.
void write_global_parameters(IgeslibIO& io, igs_global* g) {
  g->single_precision_significance_ = 7;
  g->double_precision_significance_ = 15;
  io.write_string(g->product_identification_sender());
  io.write_string(g->file_name());
  io.write_string(g->system_id());
  io.write_string(g->preprocessor_version());
  io.write_int(g->number_of_binary_bits());
  io.write_int(g->single_precision_magnitude());
  io.write_int(g->single_precision_significance());
  io.write_int(g->double_precision_magnitude());
  io.write_int(g->double_precision_significance());
  io.write_string(g->product_identification_receiver());
  io.write_real(g->model_space_scale());
  io.write_int(g->unit_flag());  // the code; -1 when unset
  io.write_string(g->units());
  io.write_int(g->max_num_line_weight_gradations(), IgeslibIO::kEmptyIsNotZero);  // empty: 1
  io.write_real(g->width_max_line_weight());
  io.write_string(g->date_time_file_generation());
  io.write_real(g->min_resolution());
  io.write_real(g->max_coordinate_value());
  io.write_string(g->author());
  io.write_string(g->organization());
  io.write_int(g->version(), IgeslibIO::kEmptyIsNotZero);  // empty: 3
  io.write_int(g->drafting_standard_code());
  io.write_string(g->date_time_created_modified());
  // The one parameter that is left out, not emptied, when there is none.
  if (g->milspec() && *g->milspec()) io.write_string(g->milspec());
}

}  // namespace

void IgeslibIO::write_global_section(igs_global* global) {
  sequence_number = 1;
  end_column = 71;
  f_rec_section = 'G';
  param_delimiter = ',';
  record_delimiter = ';';

  const char* parameter = text_or_empty(global->parameter_delimiter());
  if (std::strlen(parameter) > 1) {
    report_error("write_global_section: parameter delimiter length > 1", -1);
    return;
  }
  if (*parameter && *parameter != ',') {
    param_delimiter = *parameter;
    put_string(parameter);
  } else {
    write_empty_parameter();
  }

  const char* record = text_or_empty(global->record_delimiter());
  if (std::strlen(record) > 1) {
    report_error("write_global_section: record delimiter length > 1", -1);
    return;
  }
  // Kept as files of this writer have always had them: a record delimiter of its own is
  // stated with the parameter delimiter's text, and the default one as a bare comma whatever
  // the parameter delimiter.
  if (*record && *record != ';') {
    record_delimiter = *record;
    put_string(parameter);
  } else {
    if (column > end_column) write_line();
    line[column++] = ',';
  }

  global->version(11);  // every written file claims version 11
  write_global_parameters(*this, global);
  writeendofrec();
  global_count = sequence_number - 1;
}
