// Connected components, traced run by run.
//
// Runs of neighbouring rows belong together when they overlap or touch at a corner, that is, when
// neither ends before the other starts (s2 <= e1 and s1 <= e2, ends exclusive):
//
//     [2, 5)   ..###....
//     [5, 8)   .....###.
//
// The trace starts at the seed run. A run that has been found waits on a stack of the heap until
// its turn comes to be looked around from; the neighbours of a run stand side by side in the row
// above and in the row below, where a binary search finds the first of them. Which runs have been
// found is kept as bits in a hash table, 64 bits to an entry, so that a whole stretch of neighbours
// is tested and marked at once, and memory follows the component and not the page. In the end the
// table, sorted, lists the component row by row and from left to right.

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <memory>
#include <span>

#include "model/owners.h"
#include "model/runs.h"

namespace rle {
namespace {

struct HeapFree {
  void operator()(void* block) const { std::free(block); }
};
template <class T>
using HeapArray = std::unique_ptr<T[], HeapFree>;

constexpr uint32_t kIndexBits = 16;  // a run's index in its row, as RleLine::count
constexpr uint32_t kBlockRuns = 64;  // runs to a block
constexpr uint32_t kBlockBits = 10;  // a block's number in its row: kIndexBits less those of 64

// Some runs of a row: bit i stands for run 64 * number + i. No bits mark a free place in a table.
struct RunBlock {
  uint64_t runs;
  uint32_t key;  // row << kBlockBits | number

  uint32_t row() const { return key >> kBlockBits; }
  uint32_t firstRun() const { return key % (1U << kBlockBits) * kBlockRuns; }
};

// A set of runs: an open hash table of blocks, at most half full.
class RunSet {
 public:
  // Adds runs to a block, setting `added` to those that were not in it. False when memory ran out.
  bool add(uint32_t key, uint64_t runs, uint64_t& added) {
    if (used_ >= size() / 2 && !grow()) return false;
    RunBlock& block = placeOf(key);
    if (block.runs == 0) {
      block.key = key;
      ++used_;
    }
    added = runs & ~block.runs;
    block.runs |= runs;
    return true;
  }

  // The blocks by row and then from left to right. The set is no longer a set afterwards.
  std::span<const RunBlock> takeSorted() {
    RunBlock* const end = std::remove_if(blocks_.get(), blocks_.get() + size(),
                                         [](const RunBlock& block) { return block.runs == 0; });
    std::sort(blocks_.get(), end,
              [](const RunBlock& a, const RunBlock& b) { return a.key < b.key; });
    return {blocks_.get(), end};
  }

 private:
  static constexpr uint32_t kFirstSizeBits = 6;

  size_t size() const { return sizeBits_ == 0 ? 0 : size_t{1} << sizeBits_; }

  // The block with this key, or the free place where it belongs.
  RunBlock& placeOf(uint32_t key) {
    // The golden ratio spreads keys in arithmetic progression evenly, such as one block a row.
    const uint64_t hash = key * 0x9E3779B97F4A7C15U;
    for (size_t place = hash >> (64 - sizeBits_);; ++place) {
      RunBlock& block = blocks_[place & (size() - 1)];
      if (block.runs == 0 || block.key == key) return block;
    }
  }

  bool grow() {
    const uint32_t newBits = sizeBits_ == 0 ? kFirstSizeBits : sizeBits_ + 1;
    HeapArray<RunBlock> old(
        static_cast<RunBlock*>(std::calloc(size_t{1} << newBits, sizeof(RunBlock))));
    if (!old) return false;
    old.swap(blocks_);
    const std::span oldBlocks(old.get(), size());
    sizeBits_ = newBits;
    for (const RunBlock& block : oldBlocks)
      if (block.runs != 0) placeOf(block.key) = block;
    return true;
  }

  HeapArray<RunBlock> blocks_;
  uint32_t sizeBits_ = 0;
  size_t used_ = 0;
};

// Runs, each as row << kIndexBits | index.
class RunStack {
 public:
  bool empty() const { return count_ == 0; }
  uint32_t pop() { return runs_[--count_]; }

  bool push(uint32_t run) {
    if (count_ == capacity_ && !grow()) return false;
    runs_[count_++] = run;
    return true;
  }

 private:
  static constexpr size_t kFirstCapacity = 64;

  bool grow() {
    const size_t capacity = capacity_ == 0 ? kFirstCapacity : capacity_ * 2;
    void* const grown = std::realloc(runs_.get(), capacity * sizeof(uint32_t));
    if (grown == nullptr) return false;
    (void)runs_.release();
    runs_.reset(static_cast<uint32_t*>(grown));
    capacity_ = capacity;
    return true;
  }

  HeapArray<uint32_t> runs_;
  size_t count_ = 0;
  size_t capacity_ = 0;
};

std::span<const RleRun> runsOf(const RleLine& line) { return {line.runs, line.count}; }

// The place of the first run of a row that ends at x or later.
uint32_t firstRunEndingFrom(std::span<const RleRun> runs, uint32_t x) {
  const auto ends = [x](RleRun run) { return run.end < x; };
  return uint32_t(std::partition_point(runs.begin(), runs.end(), ends) - runs.begin());
}

// A row that gets `count` runs one by one has its buffer fitted after each by rleReAllocRuns, which
// leaves a buffer with much to spare as it is. Returns the count at the last change, so that
// rleAllocRuns makes the buffer such a row ends up with.
uint32_t lastFittedCount(uint32_t count) {
  if (rleRunAllocMinExtra <= rleRunAllocMaxExtra) return count;  // never that much to spare
  uint32_t fitted = 1;
  uint32_t capacity = fitted + extraSlots(fitted);
  for (uint32_t n = 2; n <= count; ++n) {
    if (capacity >= n && capacity - n > rleRunAllocMaxExtra) continue;
    fitted = n;
    capacity = n + extraSlots(n);
  }
  return fitted;
}

// Sorts and joins the runs of a row, none of them empty, as if set one by one.
void makeValid(RleLine& line) {
  std::sort(line.runs, line.runs + line.count,
            [](RleRun a, RleRun b) { return a.start < b.start; });
  uint32_t last = 0;
  for (uint32_t i = 1; i < line.count; ++i) {
    const RleRun run = line.runs[i];
    if (run.start > line.runs[last].end)
      line.runs[++last] = run;
    else
      line.runs[last].end = std::max(line.runs[last].end, run.end);
  }
  line.count = uint16_t(last + 1);
}

class Component {
 public:
  explicit Component(const RleRect& image) : image_(image) {}

  // Finds all runs connected with run `seed` of row y. False when memory ran out.
  bool trace(uint32_t y, uint32_t seed) {
    top_ = bottom_ = y;
    if (!take(y, seed, seed + 1)) return false;
    while (!waiting_.empty()) {
      const uint32_t next = waiting_.pop();
      const uint32_t row = next >> kIndexBits;
      const RleRun run = image_.rows[row]->runs[next % (1U << kIndexBits)];
      left_ = std::min<uint32_t>(left_, run.start);
      right_ = std::max<uint32_t>(right_, run.end);
      top_ = std::min(top_, row);
      bottom_ = std::max(bottom_, row);
      if (row > 0 && !takeNeighbours(row - 1, run)) return false;
      if (row + 1 < image_.height && !takeNeighbours(row + 1, run)) return false;
    }
    return true;
  }

  uint32_t left() const { return left_; }
  uint32_t top() const { return top_; }

  // The traced component as an image of its own, or null. Ends the component.
  OwnedRect takeImage() {
    OwnedRect result(rleNewRect(right_ - left_, bottom_ - top_ + 1, image_.resolution));
    if (!result) return nullptr;
    std::span<const RunBlock> blocks = found_.takeSorted();
    while (!blocks.empty()) {
      const uint32_t y = blocks.front().row();
      const auto nextRow = std::find_if(blocks.begin(), blocks.end(),
                                        [y](const RunBlock& block) { return block.row() != y; });
      const auto rowBlocks = size_t(nextRow - blocks.begin());
      RleLine& line = *result->rows[y - top_];
      if (!copyRow(line, y, blocks.first(rowBlocks))) return nullptr;
      // Only a source row that was not valid itself can give one that is not.
      if (rleCheckLine(&line, result->width) != 1) makeValid(line);
      blocks = blocks.subspan(rowBlocks);
    }
    return result;
  }

 private:
  // Takes the runs of row y that are connected with `run` of a row beside it.
  bool takeNeighbours(uint32_t y, RleRun run) {
    const std::span<const RleRun> runs = runsOf(*image_.rows[y]);
    const uint32_t first = firstRunEndingFrom(runs, run.start);
    uint32_t end = first;
    while (end < runs.size() && runs[end].start <= run.end) ++end;
    return take(y, first, end);
  }

  // Takes runs [first, end) of row y into the component, and has those that are new in it wait.
  bool take(uint32_t y, uint32_t first, uint32_t end) {
    while (first < end) {
      const uint32_t number = first / kBlockRuns;
      const uint32_t blockEnd = std::min(end, (number + 1) * kBlockRuns);
      const uint64_t stretch = ~uint64_t{0} >> (kBlockRuns - (blockEnd - first));
      uint64_t added = 0;
      if (!found_.add(y << kBlockBits | number, stretch << first % kBlockRuns, added)) return false;
      for (; added != 0; added &= added - 1) {
        const uint32_t index = number * kBlockRuns + uint32_t(std::countr_zero(added));
        if (!waiting_.push(y << kIndexBits | index)) return false;
      }
      first = blockEnd;
    }
    return true;
  }

  // Gives `line` the runs of row y that stand in `blocks`, moved to the left edge of the box. Empty
  // runs, which no valid row has, stay behind.
  bool copyRow(RleLine& line, uint32_t y, std::span<const RunBlock> blocks) const {
    uint32_t count = 0;
    for (const RunBlock& block : blocks) count += uint32_t(std::popcount(block.runs));
    line.runs = rleAllocRuns(lastFittedCount(count));
    if (line.runs == nullptr) return false;
    for (const RunBlock& block : blocks) {
      const RleRun* const source = image_.rows[y]->runs + block.firstRun();
      for (uint64_t rest = block.runs; rest != 0; rest &= rest - 1) {
        const RleRun run = source[std::countr_zero(rest)];
        if (run.start < run.end)
          line.runs[line.count++] = {uint16_t(run.start - left_), uint16_t(run.end - left_)};
      }
    }
    return true;
  }

  const RleRect& image_;
  RunSet found_;
  RunStack waiting_;
  uint32_t left_ = UINT16_MAX;
  uint32_t right_ = 0;
  uint32_t top_ = 0;
  uint32_t bottom_ = 0;
};

}  // namespace
}  // namespace rle

extern "C" RleRect* rleConnected(RleRect* image, int32_t x, int32_t y, uint16_t* left,
                                 uint16_t* top) {
  const uint32_t column = uint16_t(x);
  const uint32_t row = uint16_t(y);
  if (row >= image->height) return nullptr;
  const auto runs = rle::runsOf(*image->rows[row]);
  const uint32_t seed = rle::firstRunEndingFrom(runs, column + 1);
  if (seed == runs.size() || column < runs[seed].start || column >= runs[seed].end) return nullptr;
  rle::Component component(*image);
  if (!component.trace(row, seed)) return nullptr;
  rle::OwnedRect result = component.takeImage();
  if (!result) return nullptr;
  if (left != nullptr) *left = uint16_t(component.left());
  if (top != nullptr) *top = uint16_t(component.top());
  return result.release();
}
