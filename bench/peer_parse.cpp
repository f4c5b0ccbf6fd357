// The peer's parse of IGES files into its model, for igeslib-bench to set beside our read.
// Parse only: the files' entities are built as the peer's objects, and nothing is translated
// into shapes.
//
//   igeslib-peer-parse time REPEAT FILE...   one JSON line for each of REPEAT passes over the
//                                            files: the seconds spent in the parse calls
//   igeslib-peer-parse memory FILE...        one JSON line: the peak memory of parsing the
//                                            files with every model kept (see memory_probe.h)
//
// --reader before the mode parses through IGESControl_Reader::ReadFile instead of
// IGESFile_Read into an IGESData_IGESModel.
#include <fcntl.h>
#include <unistd.h>

#include <IGESControl_Controller.hxx>
#include <IGESControl_Reader.hxx>
#include <IGESData_IGESModel.hxx>
#include <IGESData_Protocol.hxx>
#include <IGESFile_Read.hxx>
#include <IGESSelect_WorkLibrary.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_Printer.hxx>
#include <XSControl_WorkSession.hxx>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "memory_probe.h"

namespace {

bool use_reader = false;
Handle(IGESData_Protocol) protocol;

struct Parsed {
  Handle(Standard_Transient) keep;  // the model, or the reader that holds it
  long long entities = 0;
  bool ok = false;
};

Parsed parse(const std::string& path, BenchTimer& timer) {
  Parsed parsed;
  std::vector<char> name(path.begin(), path.end());
  name.push_back('\0');
  if (use_reader) {
    // The reader is no transient; its work session, which holds the model, is.
    IGESControl_Reader reader;
    timer.start();
    IFSelect_ReturnStatus status = reader.ReadFile(name.data());
    timer.stop();
    Handle(IGESData_IGESModel) model = reader.IGESModel();
    parsed.ok = status == IFSelect_RetDone && !model.IsNull();
    parsed.entities = parsed.ok ? model->NbEntities() : 0;
    parsed.keep = reader.WS();
  } else {
    Handle(IGESData_IGESModel) model = new IGESData_IGESModel;
    timer.start();
    int status = IGESFile_Read(name.data(), model, protocol);
    timer.stop();
    parsed.ok = status == 0;
    parsed.entities = parsed.ok ? model->NbEntities() : 0;
    parsed.keep = model;
  }
  return parsed;
}

long long file_bytes(const std::vector<std::string>& files) {
  long long bytes = 0;
  std::error_code error;
  for (const std::string& path : files)
    bytes += static_cast<long long>(std::filesystem::file_size(path, error));
  return bytes;
}

int usage() {
  std::fputs("usage: igeslib-peer-parse [--reader] time REPEAT FILE... | memory FILE...\n", stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  int i = 1;
  if (i < argc && std::strcmp(argv[i], "--reader") == 0) use_reader = true, ++i;
  if (i >= argc) return usage();
  std::string mode = argv[i++];
  int repeat = 1;
  if (mode == "time") {
    if (i >= argc) return usage();
    repeat = std::atoi(argv[i++]);
    if (repeat < 1) return usage();
  } else if (mode != "memory") {
    return usage();
  }
  std::vector<std::string> files(argv + i, argv + argc);
  if (files.empty()) return usage();

  // The figures go to the standard output as it was; whatever the peer prints goes nowhere.
  std::fflush(stdout);
  int out_fd = dup(1);
  int null_fd = open("/dev/null", O_WRONLY);
  if (out_fd < 0 || null_fd < 0) return 1;
  dup2(null_fd, 1);
  dup2(null_fd, 2);
  FILE* out = fdopen(out_fd, "w");
  Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_Printer));
  IGESControl_Controller::Init();
  protocol = IGESSelect_WorkLibrary::DefineProtocol();
  long long bytes = file_bytes(files);

  if (mode == "time") {
    for (int k = 0; k < repeat; ++k) {
      BenchTimer timer;
      long long entities = 0, failed = 0;
      for (const std::string& path : files) {
        Parsed parsed = parse(path, timer);
        entities += parsed.entities;
        failed += !parsed.ok;
      }
      JsonLine line;
      line.add("seconds", timer.wall).add("cpu_seconds", timer.cpu);
      line.add("entities", entities).add("bytes", bytes).add("failed", failed);
      std::fprintf(out, "%s\n", line.text().c_str());
      std::fflush(out);
    }
    return 0;
  }

  std::vector<Parsed> kept;
  kept.reserve(files.size());
  BenchTimer timer;
  long long entities = 0, failed = 0;
  MemoryProbe probe;
  probe.start();
  for (const std::string& path : files) {
    kept.push_back(parse(path, timer));
    entities += kept.back().entities;
    failed += !kept.back().ok;
  }
  MemoryFigures memory = probe.stop();
  JsonLine line;
  line.add("seconds", timer.wall).add("cpu_seconds", timer.cpu);
  line.add("entities", entities).add("bytes", bytes);
  line.add("failed", failed).add("peak_growth", memory.peak_growth);
  line.add("heap_growth", memory.heap_growth);
  line.add("peak_reset", static_cast<long long>(memory.peak_reset));
  std::fprintf(out, "%s\n", line.text().c_str());
  std::fclose(out);
  std::_Exit(0);  // the models are not freed one by one: the process ends here
}
