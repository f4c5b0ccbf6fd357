#include "fuzz_support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <igeslib.h>

#include "igeslib_io.h"
#include "support/settle.h"

namespace igeslib_fuzz {

namespace {

unsigned long report_count = 0;
unsigned long rejected_real_count = 0;

// Every written file of a run goes here; a file that would be longer is cut.
constexpr std::size_t kOutputCapacity = 16u << 20;
char output_buffer[kOutputCapacity + 1];

}  // namespace

void setup() {
  static const bool done = [] {
    igeslib_force_load();
    igeslib_create_builtin_schemas();
    // Items made up past the ends of records cost a few microseconds each under the
    // sanitizers, and a report each where a back-pointer list runs short: at the library's
    // defaults a 64 KiB input can keep a read busy for half a minute. These bounds keep every
    // input well within the one-second timeout while leaving real files' short records alone.
    igeslib_limits().items_past_end_per_entity = kItemsPastEndPerEntity;
    igeslib_limits().items_past_end_per_read = kItemsPastEndPerRead;
    static const bool verbose = std::getenv("IGESLIB_FUZZ_VERBOSE") != nullptr;
    LUMO.error_reporter()->use_callback(
        [](const char* text, int, void*) {
          ++report_count;
          if (igeslib_test::is_rejected_real_report(text)) ++rejected_real_count;
          if (verbose) std::fputs(text, stderr);
        },
        nullptr);
    if (!verbose) {
      LUMO.message_sink([](const char*, void*) {}, nullptr);
      LUMO.quiet(1);
      // The writer's notice about classes without parameter code goes to standard output;
      // libFuzzer writes to standard error only.
      if (!std::freopen("/dev/null", "w", stdout)) std::abort();
    }
    return true;
  }();
  (void)done;
}

unsigned long reports() { return report_count; }

unsigned long rejected_real_reports() { return rejected_real_count; }

InputStream::InputStream(const std::uint8_t* data, std::size_t size) {
  // fmemopen wants a buffer even for no bytes.
  static char empty[1];
  char* bytes = size ? const_cast<char*>(reinterpret_cast<const char*>(data)) : empty;
  fp_ = fmemopen(bytes, size, "rb");
  if (!fp_) std::abort();
}

InputStream::~InputStream() { std::fclose(fp_); }

OutputStream::OutputStream() {
  fp_ = fmemopen(output_buffer, kOutputCapacity, "w+");
  if (!fp_) std::abort();
}

OutputStream::~OutputStream() { close(); }

std::size_t OutputStream::close() {
  if (fp_) {
    std::fseek(fp_, 0, SEEK_END);
    long end = std::ftell(fp_);
    size_ = end > 0 ? static_cast<std::size_t>(end) : 0;
    std::fclose(fp_);
    fp_ = nullptr;
    output_buffer[size_] = '\0';
  }
  return size_;
}

const char* OutputStream::text() const { return output_buffer; }

igs_iges_file* read_file(const ScratchDesign& scratch, const std::uint8_t* data, std::size_t size) {
  InputStream in(data, size);
  auto* file = new (scratch.get()) igs_iges_file;
  return file->read(in.get(), 0) ? file : nullptr;
}

std::span<igs_directory_entry* const> entities_of(igs_iges_file* file) {
  ListOfigs_directory_entry* list = file->directory_entries();
  return {list->_data(), list->size()};
}

ScratchDesign::ScratchDesign() {
  design_ = LUMO.newDesign("fuzz", nullptr);
  LUMO.useDesign(design_);
}

ScratchDesign::~ScratchDesign() {
  if (LUMO.design() == design_) LUMO.useDesign(nullptr);
  delete design_;
}

ReadWrite read_and_write(std::string_view bytes, char strict, char zero_as_default, bool buffered) {
  ReadWrite outcome;
  unsigned long reports_before = report_count;
  ScratchDesign design;
  auto* file = new (design.get()) igs_iges_file;
  {
    InputStream in(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    if (!buffered) std::setvbuf(in.get(), nullptr, _IONBF, 0);
    outcome.completed = file->read(in.get(), strict) != nullptr;
  }
  outcome.unsettled = igeslib_test::unsettled_reason(file);
  // A read that stopped at a fatal error leaves what it had made; the writer must cope with
  // half-filled entities too.
  LUMO.useDesign(design.get());
  OutputStream out;
  file->write(out.get(), zero_as_default);
  std::size_t n = out.close();
  outcome.written.assign(out.text(), n);
  outcome.reports = report_count - reports_before;
  return outcome;
}

}  // namespace igeslib_fuzz
