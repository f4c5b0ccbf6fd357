// The read and write drivers of the file object: they set up one working record for the run,
// make this file's design current and its root this object, so that every entity's parameter
// code finds the record, and run the sections in the order of the file.
#include <cstdio>
#include <memory>
#include <new>
#include <thread>

#include "igeslib.h"
#include "igeslib_io.h"
#include "prescan_internal.h"

namespace {

// The Start section's list, made when missing.
ListOfString* start_list(igs_iges_file* file) {
  ListOfString* list = file->start_section();
  if (!list) {
    void* place = lumo_new_in_default_section(sizeof(ListOfString), file->design(), nullptr,
                                              lumotype_ListOfString);
    if (!place) return nullptr;
    list = ::new (place) ListOfString;
    file->start_section(list);  // marks the file modified
  }
  return list;
}

// The Global section's object, a default one when missing or not loadable.
igs_global* global_object(igs_iges_file* file) {
  igs_global* global = file->global_section();
  if (!global) {
    global = new (file->design()) igs_global;
    file->global_section(global);
  }
  return global;
}

// The size of the stream in bytes, or -1 when it can't be told (a pipe); the stream is left
// where it was.
long long stream_size(FILE* stream) {
  fpos_t here;
  if (std::fgetpos(stream, &here) != 0) return -1;
  long long size = -1;
  if (std::fseek(stream, 0, SEEK_END) == 0) size = std::ftell(stream);
  std::fsetpos(stream, &here);
  return size;
}

// A full buffer of bytes for a stream just opened, or none when memory is short (the stream
// keeps its own). The stream must be closed before the buffer goes.
std::unique_ptr<char[]> give_buffer(FILE* stream, std::size_t bytes) {
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[bytes]);
  if (buffer) std::setvbuf(stream, buffer.get(), _IOFBF, bytes);
  return buffer;
}

// A full buffer of bytes for a stream just opened, in scratch storage that goes back to the
// system with it; none when memory is short (the stream keeps its own). The stream must be
// closed before the buffer goes.
struct StreamBuffer {
  explicit StreamBuffer(FILE* stream, std::size_t bytes)
      : data(static_cast<char*>(lumo_scratch_allocate(bytes))), size(bytes) {
    if (data) std::setvbuf(stream, data, _IOFBF, size);
  }
  StreamBuffer(const StreamBuffer&) = delete;
  StreamBuffer& operator=(const StreamBuffer&) = delete;
  ~StreamBuffer() { lumo_scratch_release(data, size); }
  char* data;
  std::size_t size;
};

// What was wrong with the damaged last record that the latest read accepted.
const char* last_damaged_end = nullptr;

}  // namespace

const char* igeslib_damaged_end() { return last_damaged_end; }

igs_iges_file* igs_iges_file::read(FILE* stream, char strict) {
  if (!stream) return nullptr;
  IgeslibIO filer;
  LumoDesign* caller_design = LUMO.design();
  design()->rootObject(this);
  LUMO.useDesign(design());
  filer_ = &filer;
  filer.fp = stream;
  filer.file_bytes = stream_size(stream);
  // Workers need the file from its first byte, as the stream gives it, and its delimiters.
  std::unique_ptr<IgeslibPrescan> prescan;
  const bool from_start = filer.file_bytes > 0 && std::ftell(stream) == 0;

  igs_iges_file* result = nullptr;
  bool completed = igeslib_catch_abort([&] {
    ListOfString* start = start_list(this);
    if (!start) return;
    if (!filer.read_start_section(start) && strict) return;
    if (!filer.parse_global_section(global_object(this)) && strict) return;
    int threads = filer.threads;
    if (threads <= 0)
      threads = filer.file_bytes >= IgeslibReadSettings::kThreadedReadBytes
                    ? static_cast<int>(std::thread::hardware_concurrency())
                    : 1;
    if (from_start && threads > 1) {
      prescan = IgeslibPrescan::start(fileno(stream), filer.file_bytes, filer.param_delimiter,
                                      filer.record_delimiter, threads - 1);
      filer.prescan = prescan.get();
    }
    directory_populated = 1;
    ListOfigs_directory_entry* list = directory_entries();
    filer.parse_de_section(list);
    filer.parse_pd_section(list);
    filer.parse_terminate_section();
    result = this;
  });
  if (!completed) result = nullptr;
  last_damaged_end = filer.damaged_end;

  directory_populated = 0;
  filer_ = nullptr;
  // The table that let entities share their values is of no more use to the model.
  design()->forgetShared();
  LUMO.useDesign(caller_design);
  return result;
}

igs_iges_file* igs_iges_file::read(const char* path, char strict) {
  FILE* stream = lumo_fopen(path, "rb");
  if (!stream) {
    lumo_io_ec()->report(2034, path);
    return nullptr;
  }
  // A buffer of many records: a record that straddles the buffer's end is read a character
  // at a time.
  igs_iges_file* result;
  {
    StreamBuffer buffer(stream, 1 << 16);
    result = read(stream, strict);
    std::fclose(stream);
  }
  return result;
}

igs_iges_file* igs_iges_file::write(FILE* stream, char zero_as_default) {
  if (!stream) return nullptr;
  IgeslibIO filer;
  filer.fp = stream;
  filer.zero_as_default = zero_as_default;
  filer_ = &filer;
  design()->rootObject(this);

  ListOfString* start = start_list(this);
  igs_global* global = global_object(this);
  filer.write_start_section(start);
  filer.write_global_section(global);
  ListOfigs_directory_entry* list = directory_entries();
  filer.reserve_de_section(list);
  directory_populated = 1;
  filer.write_pd_section(list);
  filer.write_terminate_section(list);
  filer.write_de_section(list);
  directory_populated = 0;
  // The filer pointer is left as it is, as writers always have: it names this frame's record
  // until the next run, so nothing may ask for it between runs.
  return this;
}

igs_iges_file* igs_iges_file::write(const char* path, char zero_as_default) {
  FILE* stream = lumo_fopen(path, "w");
  if (!stream) {
    lumo_io_ec()->report(2034, path);
    return nullptr;
  }
  // Many records to a system call: the stream's own buffer of a few kilobytes made a quarter
  // of a million calls for a 1 GB model.
  // The heap's, unlike a read's: a write adds nothing to the model, and a writer of many small
  // files reuses the same megabyte rather than having fresh pages mapped for every file.
  auto buffer = give_buffer(stream, 1 << 20);
  igs_iges_file* result = write(stream, zero_as_default);
  std::fclose(stream);
  return result;
}
