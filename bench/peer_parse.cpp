// The peer's parse of IGES files, the figures printed one line per file:
//   <seconds> <heap bytes> <peak bytes> <entities> <path>
// Heap bytes: what malloc holds after the parse less what it held before, the model alive.
// Peak bytes: growth of the process's peak resident size over the parse; meaningful for the
// first file of a run, which is how the bench driver calls it.
#include <malloc.h>
#include <sys/resource.h>
#include <IGESControl_Reader.hxx>
#include <IGESData_IGESModel.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>

#include <chrono>
#include <cstdio>

namespace {

std::size_t heap_in_use() {
  struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

long peak_resident() {
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss * 1024L;
}

}  // namespace

int main(int argc, char** argv) {
  Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_Printer));
  for (int i = 1; i < argc; ++i) {
    std::size_t before = heap_in_use();
    long peak_before = peak_resident();
    auto start = std::chrono::steady_clock::now();
    IGESControl_Reader reader;
    IFSelect_ReturnStatus status = reader.ReadFile(argv[i]);
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::size_t heap = heap_in_use() - before;
    int entities = status == IFSelect_RetDone && !reader.IGESModel().IsNull()
                       ? reader.IGESModel()->NbEntities()
                       : -1;
    std::printf("%.6f %zu %ld %d %s\n", seconds, heap, peak_resident() - peak_before, entities,
                argv[i]);
  }
  return 0;
}
