// Reals of the Parameter Data section converted ahead of the reader by worker threads.
//
// The reader stays one thread: it makes every object, reads every token and reports every
// fault, in file order. The workers only read the file's bytes beside it (pread on the same
// descriptor, which leaves the stream's position alone) in blocks of card images, and for every
// place of a P record's data field where a parameter may start they convert the real standing
// there the way the reader's quick conversion would. The reader takes such a value only when
// the record it holds is byte for byte the one the worker converted and the token starts at
// the same column, so a read with workers gives the same model and the same reports as a read
// without them; anything the workers couldn't prepare (records of odd shape, reals of the rare
// kinds) the reader converts itself. The workers stay a bounded number of blocks ahead.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// One real prepared at a column of a record.
struct IgeslibPreparedReal {
  double value;
  std::uint8_t column;  // where the token starts (its first character after blanks)
  std::uint8_t stop;    // the column after its last character
};

class IgeslibPrescan {
 public:
  // Workers over the open descriptor fd, whose file holds bytes bytes, for a file whose card
  // images are of fixed length with one line end convention (told from its first record);
  // delimiters as the Global section gave them. Null when the file is of another shape or is
  // too small to gain anything, or workers is below 1.
  static std::unique_ptr<IgeslibPrescan> start(int fd, long long bytes, char param_delimiter,
                                               char record_delimiter, int workers);
  ~IgeslibPrescan();
  IgeslibPrescan(const IgeslibPrescan&) = delete;
  IgeslibPrescan& operator=(const IgeslibPrescan&) = delete;

  // The reals prepared for record number line (from 1, as the reader counts records), whose
  // 80 columns the reader holds in record, in the order of their columns; empty when the
  // workers have nothing for it. Records are asked for in file order; asking for one moves
  // the workers' window past every block before it, whose records then give nothing.
  struct Span {
    const IgeslibPreparedReal* begin = nullptr;
    const IgeslibPreparedReal* end = nullptr;
  };
  Span reals_of(int line, const char* record);

 private:
  struct Block;
  IgeslibPrescan() = default;
  void work();
  void prepare(Block& block, std::size_t index);
  Block* wait_for(std::size_t index);

  int fd_ = -1;
  long long bytes_ = 0;
  int stride_ = 0;  // bytes of a record and its line end
  char param_delimiter_ = ',';
  char record_delimiter_ = ';';
  std::size_t block_count_ = 0;
  std::size_t window_ = 0;  // blocks holding reals that workers may keep ahead of the reader

  alignas(64) std::mutex mutex_;  // the workers' fields from here, apart from those read alone
  std::condition_variable changed_;
  std::vector<std::unique_ptr<Block>> blocks_;
  std::vector<bool> ready_;   // a worker has finished the block
  std::size_t held_ = 0;      // blocks taken and not given up that hold reals
  std::size_t next_ = 0;      // the next block a worker takes
  std::size_t released_ = 0;  // blocks before this one are given up
  bool stopping_ = false;
  std::vector<std::thread> workers_;

  // The reader's side, touched by the reader alone, on a cache line of its own: the workers
  // write the fields above, and a line shared with them would travel between the cores at
  // every record.
  alignas(64) Block* current_ = nullptr;
  std::size_t current_index_ = static_cast<std::size_t>(-1);
};

// The reader's quick conversion of a real standing whole at column of line within the data
// field ending at end_column: false for any token it leaves to the general way.
bool igeslib_quick_real(const char* line, int column, int end_column, double* value, int* stop);
