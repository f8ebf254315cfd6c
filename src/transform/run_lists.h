// Rows under construction, many at a time.
//
// A turn delivers the runs of its result in an order that jumps from row to row, while the runs of
// each row arrive from left to right. Every row grows a list of small blocks, so that a list costs
// neither a reallocation nor a copy while it grows; when everything has arrived its runs are copied
// once into a run buffer of the right size.
//
//     list ──> block ──> block ──> block      the newest block first; only it has free places
//
// Memory: 16 bytes for each row and one block of 128 bytes for every 30 runs or part of them.

#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "rle.h"
#include "transform/heap_array.h"

namespace rle {

class RunLists {
 public:
  explicit RunLists(uint32_t count) : lists_(zeroedArray<List>(count)) {
    if (!lists_) return;
    for (uint32_t i = 0; i < count; ++i) lists_[i] = {nullptr, kBlockRuns, kNoRun};
  }
  RunLists(const RunLists&) = delete;
  RunLists& operator=(const RunLists&) = delete;
  ~RunLists();

  // False when there was no memory for the lists themselves; nothing may be appended then.
  bool ready() const { return lists_ != nullptr; }
  // False once a run was left out for lack of memory.
  bool complete() const { return complete_; }

  // Appends columns [start, end) to a list whose last run starts at `start` or before it. Joins
  // the two when they touch.
  void append(uint32_t list, uint32_t start, uint32_t end) {
    List& l = lists_[list];
    if (int32_t(start) <= l.lastEnd) {
      l.lastEnd = std::max(l.lastEnd, int32_t(end));
      l.block->runs[l.used - 1].end = uint16_t(l.lastEnd);
      return;
    }
    if (l.used == kBlockRuns && !startBlock(l)) return;
    l.lastEnd = int32_t(end);
    l.block->runs[l.used++] = {uint16_t(start), uint16_t(end)};
  }

  // The number of runs of a list.
  uint32_t count(uint32_t list) const;

  // Copies the runs of a list to `out`, which has room for count(list) of them.
  void copyTo(uint32_t list, RleRun* out) const;

 private:
  static constexpr uint32_t kBlockRuns = 30;  // with the link, 128 bytes: two cache lines
  static constexpr int32_t kNoRun = -1;       // ends before every column
  static constexpr uint32_t kSlabBlocks = 500;

  struct Block {
    Block* older;
    std::array<RleRun, kBlockRuns> runs;
  };
  struct List {
    Block* block;
    uint32_t used;    // places taken in `block`; all of them while there is no block
    int32_t lastEnd;  // end of the last run
  };
  // Blocks are handed out from slabs, and released with them.
  struct Slab {
    Slab* next;
    std::array<Block, kSlabBlocks> blocks;
  };

  bool startBlock(List& list);

  HeapArray<List> lists_;
  Slab* slabs_ = nullptr;
  uint32_t slabUsed_ = kSlabBlocks;
  bool complete_ = true;
};

}  // namespace rle
