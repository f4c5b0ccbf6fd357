// Workers that convert the reals of P records ahead of the reader; see prescan_internal.h.
#include "prescan_internal.h"

#include "igeslib_io.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <system_error>

namespace {

// Records in a block: a few hundred kilobytes of the file, so that a block is worth a
// hand-over between threads and a handful of them stay small beside a model.
constexpr std::size_t kRecords = 4096;
constexpr int kCard = 80;
constexpr int kDataEnd = 63;  // last column of a P record's data field, from 0

// Reads length bytes at offset into out, short only at the end of the file.
std::size_t read_at(int fd, char* out, std::size_t length, long long offset) {
  std::size_t got = 0;
  while (got < length) {
    ssize_t n = ::pread(fd, out + got, length - got, static_cast<off_t>(offset + got));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    got += static_cast<std::size_t>(n);
  }
  return got;
}

inline bool may_start_real(char c) {
  return (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

}  // namespace

struct IgeslibPrescan::Block {
  std::vector<char> bytes;                 // the block's records as the file holds them
  std::size_t records = 0;                 // whole records in bytes
  std::vector<std::uint32_t> first;        // of each record in reals, and one past the last
  std::vector<IgeslibPreparedReal> reals;  // of every record in turn
};

std::unique_ptr<IgeslibPrescan> IgeslibPrescan::start(int fd, long long bytes, char param_delimiter,
                                                      char record_delimiter, int workers) {
  if (fd < 0 || workers < 1 || bytes < static_cast<long long>(2 * kRecords * (kCard + 1)))
    return nullptr;
  // The shape of the first record: 80 columns and then one or two line end characters.
  char head[kCard + 2];
  if (read_at(fd, head, sizeof head, 0) != sizeof head) return nullptr;
  auto line_end = [](char c) { return c == '\n' || c == '\r'; };
  for (int i = 0; i < kCard; ++i)
    if (line_end(head[i]) || head[i] == '\0') return nullptr;
  if (!line_end(head[kCard])) return nullptr;
  std::unique_ptr<IgeslibPrescan> prescan(new (std::nothrow) IgeslibPrescan);
  if (!prescan) return nullptr;
  prescan->fd_ = fd;
  prescan->bytes_ = bytes;
  prescan->stride_ =
      line_end(head[kCard + 1]) && head[kCard + 1] != head[kCard] ? kCard + 2 : kCard + 1;
  workers = std::min(workers, 16);
  prescan->window_ = 2 + 2 * static_cast<std::size_t>(workers);
  prescan->param_delimiter_ = param_delimiter;
  prescan->record_delimiter_ = record_delimiter;
  const long long block_bytes = static_cast<long long>(kRecords) * prescan->stride_;
  prescan->block_count_ = static_cast<std::size_t>((bytes + block_bytes - 1) / block_bytes);
  try {
    prescan->blocks_.resize(prescan->block_count_);
    prescan->ready_.assign(prescan->block_count_, false);
    for (int i = 0; i < workers; ++i)
      prescan->workers_.emplace_back([p = prescan.get()] { p->work(); });
  } catch (const std::exception&) {
    // No thread to be had: whatever workers started carry on, else the reader goes alone.
    if (prescan->workers_.empty()) return nullptr;
  }
  return prescan;
}

IgeslibPrescan::~IgeslibPrescan() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  for (std::thread& worker : workers_) worker.join();
}

void IgeslibPrescan::work() {
  // Under another rounding mode the worker converts nothing: the reader reads every real itself.
  if (!igeslib_rounds_to_nearest()) return;
  for (;;) {
    std::size_t index;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [&] { return stopping_ || next_ >= block_count_ || held_ < window_; });
      if (stopping_ || next_ >= block_count_) return;
      // The block the reader is in it converts itself: the worker goes on past it.
      index = std::max(next_, released_ + 1);
      next_ = index + 1;
      if (index >= block_count_) return;
      ++held_;
    }
    std::unique_ptr<Block> block(new (std::nothrow) Block);
    try {
      if (block) prepare(*block, index);
    } catch (const std::bad_alloc&) {
      block.reset();  // short of memory: the reader converts this block's reals itself
    }
    {
      std::lock_guard<std::mutex> lock(mutex_);
      // A block without reals holds nothing for the reader and takes no room in the window.
      const bool holds = block && !block->reals.empty();
      if (!holds) --held_;
      if (index >= released_ && holds) {
        blocks_[index] = std::move(block);
      } else if (holds) {
        --held_;
      }
      ready_[index] = true;
    }
    changed_.notify_all();
  }
}

void IgeslibPrescan::prepare(Block& block, std::size_t index) {
  const long long offset = static_cast<long long>(index) * kRecords * stride_;
  std::size_t length = static_cast<std::size_t>(
      std::min<long long>(static_cast<long long>(kRecords) * stride_, bytes_ - offset));
  block.bytes.resize(length);
  length = read_at(fd_, block.bytes.data(), length, offset);
  block.records = length / stride_;
  if (length - block.records * stride_ >= static_cast<std::size_t>(kCard)) ++block.records;
  block.first.resize(block.records + 1);
  block.reals.reserve(block.records * 4);
  for (std::size_t r = 0; r < block.records; ++r) {
    block.first[r] = static_cast<std::uint32_t>(block.reals.size());
    const char* record = block.bytes.data() + r * stride_;
    if (record[72] != 'P' || record[64] != ' ') continue;
    // Every place where a parameter may start: the field's first column and each column
    // behind a delimiter, blanks skipped. Places inside Hollerith strings are taken too; the
    // reader never asks for them.
    int column = 0;
    while (column <= kDataEnd) {
      while (column <= kDataEnd && record[column] == ' ') ++column;
      if (column > kDataEnd) break;
      if (may_start_real(record[column])) {
        double value;
        int stop;
        if (igeslib_quick_real(record, column, kDataEnd, &value, &stop)) {
          block.reals.push_back(
              {value, static_cast<std::uint8_t>(column), static_cast<std::uint8_t>(stop)});
          column = stop;
        }
      }
      while (column <= kDataEnd && record[column] != param_delimiter_ &&
             record[column] != record_delimiter_)
        ++column;
      ++column;
    }
  }
  block.first[block.records] = static_cast<std::uint32_t>(block.reals.size());
}

IgeslibPrescan::Block* IgeslibPrescan::wait_for(std::size_t index) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (index < released_ || index >= block_count_) return nullptr;
  // Every block before this one is given up: the reader has passed it.
  for (std::size_t i = released_; i < index; ++i) {
    if (blocks_[i] && !blocks_[i]->reals.empty()) --held_;
    blocks_[i].reset();
  }
  released_ = index;
  changed_.notify_all();
  // The reader never waits: a block the workers haven't finished it reads alone.
  return ready_[index] ? blocks_[index].get() : nullptr;
}

IgeslibPrescan::Span IgeslibPrescan::reals_of(int line, const char* record) {
  if (line < 1) return {};
  std::size_t at = static_cast<std::size_t>(line - 1);
  std::size_t index = at / kRecords;
  if (index != current_index_) {
    current_ = wait_for(index);
    current_index_ = index;
  }
  if (!current_) return {};
  std::size_t r = at % kRecords;
  if (r >= current_->records) return {};
  if (std::memcmp(current_->bytes.data() + r * stride_, record, kCard) != 0) return {};
  return {current_->reals.data() + current_->first[r],
          current_->reals.data() + current_->first[r + 1]};
}
