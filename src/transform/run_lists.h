// Rows under construction, many at a time.
//
// A turn delivers the runs of its result in an order that jumps from row to row, while the runs of
// each row arrive from left to right. Every row grows a list of small blocks, so that a list costs
// neither a reallocation nor a copy while it grows; when everything has arrived its runs are copied
// once into a run buffer of the right size.
//
//     list: newest run, still growing ─┐
//                                      v
//     block <── older ── block <── older ── block      only the newest block has free places
//
// The newest run stays in the list until one arrives that does not touch it: most pieces of a
// turned run only lengthen it, and neighbouring lists lie side by side in memory.
//
// Memory: 16 bytes for each row and one block of 128 bytes for every 30 runs or part of them.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "model/heap_array.h"
#include "rle.h"

namespace rle {

class RunLists {
 public:
  explicit RunLists(uint32_t count) : lists_(zeroedArray<List>(count)) {
    if (lists_) std::fill_n(lists_.get(), count, List{&none_.runs.back(), 0, kNoRun});
  }
  RunLists(const RunLists&) = delete;
  RunLists& operator=(const RunLists&) = delete;
  ~RunLists();

  // False when there was no memory for the lists themselves; nothing may be appended then.
  bool ready() const { return lists_ != nullptr; }
  // False once a run was left out for lack of memory.
  bool complete() const { return complete_; }

  // Appends columns [start, end) to a list whose newest run starts at `start` or before it. Joins
  // the two when they touch.
  void append(uint32_t list, int32_t start, int32_t end) {
    // Which pieces join follows no pattern, so there is no branch for it: the newest run is put to
    // its place in any case, and one that has only grown is put there again.
    List& l = lists_[list];
    const int32_t newestStart = l.start;
    const int32_t newestEnd = l.end;
    RleRun* next = l.next;
    *next = {uint16_t(newestStart), uint16_t(newestEnd)};
    const int32_t gap = start > newestEnd;
    next += gap;
    l.next = next;
    l.start = newestStart + ((start - newestStart) & -gap);
    l.end = std::max(newestEnd, end);
    if (reinterpret_cast<uintptr_t>(next) % kBlockBytes == 0) startBlock(l);
  }

  // The number of runs of a list.
  uint32_t count(uint32_t list) const;

  // Copies the runs of a list to `out`, which has room for count(list) of them.
  void copyTo(uint32_t list, RleRun* out) const;

 private:
  static constexpr size_t kBlockBytes = 128;
  static constexpr uint32_t kBlockRuns = (kBlockBytes - sizeof(void*)) / sizeof(RleRun);
  static constexpr uint32_t kSlabBlocks = 500;
  static constexpr int32_t kNoRun = -1;  // ends before every column

  // Aligned to its size, so that the address after its last run tells that it is full.
  struct alignas(kBlockBytes) Block {
    Block* older;
    std::array<RleRun, kBlockRuns> runs;
  };
  static_assert(sizeof(Block) == kBlockBytes);

  struct List {
    RleRun* next;   // the place for the newest run
    int32_t start;  // the newest run
    int32_t end;
  };

  // Blocks are handed out from slabs, and released with them.
  struct Slab {
    Slab* next;
    std::byte room[(kSlabBlocks + 1) * kBlockBytes];  // for kSlabBlocks, once aligned
  };

  static Block* blockOf(const RleRun* run) {
    return reinterpret_cast<Block*>(reinterpret_cast<uintptr_t>(run) & ~(kBlockBytes - 1));
  }

  void startBlock(List& list);

  HeapArray<List> lists_;
  Slab* slabs_ = nullptr;
  Block* free_ = nullptr;  // the next block of the newest slab
  uint32_t freeBlocks_ = 0;
  bool complete_ = true;
  Block none_;  // what lists without a block point to
};

}  // namespace rle
