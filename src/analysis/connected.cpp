// Connected components, traced run by run.
//
// Runs of neighbouring rows belong together when they overlap or touch at a corner, that is, when
// neither ends before the other starts (s2 <= e1 and s1 <= e2, ends exclusive):
//
//     [2, 5)   ..###....
//     [5, 8)   .....###.
//
// The trace starts at the seed run. A run that has been found waits until its row's turn comes;
// then all waiting runs of the row are looked around from together, from left to right, while one
// cursor moves along the row above and one along the row below. Turns go on from row to row in one
// direction as long as runs wait there, which gathers many in a turn where the component is wide.
//
// Every row that is reached has two bits for each of its runs, found and waiting, so no run waits
// twice. Memory follows the rows that the component reaches, a sixteenth of what their runs take,
// and not the page; nothing here needs the call stack.

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <span>
#include <utility>

#include "model/heap_array.h"
#include "model/owners.h"
#include "model/runs.h"

namespace rle {
namespace {

constexpr uint32_t kWordBits = 64;
constexpr uint32_t kNoRow = UINT32_MAX;

// A row that the trace has reached, or not yet reached while all is zero.
struct RowState {
  size_t bits;            // where its words begin in the pool: those found, then those waiting
  uint32_t nextListed;    // the next row on the list of rows to look at
  uint16_t firstWaiting;  // words [firstWaiting, endWaiting) hold all waiting runs
  uint16_t endWaiting;
  bool reached;
  bool listed;
};

// The states of a range of rows that grows at both ends, and the pool of their bits.
class RowStates {
 public:
  RowState& operator[](uint32_t y) { return states_[y - first_]; }
  uint64_t* bitsOf(uint32_t y) { return pool_.get() + states_[y - first_].bits; }

  bool waits(uint32_t y) const {
    return y - first_ < size_ && states_[y - first_].firstWaiting < states_[y - first_].endWaiting;
  }

  // Gives row y of so many words its state; the pool may move. The row lies beside one reached
  // before, or is the first. False when memory ran out.
  bool reach(uint32_t y, size_t words) {
    if (y - first_ >= size_ && !growStates(y)) return false;
    RowState& state = states_[y - first_];
    if (state.reached) return true;
    if (poolSize_ - poolUsed_ < 2 * words && !growPool(2 * words)) return false;
    state.bits = poolUsed_;
    state.reached = true;
    std::fill_n(pool_.get() + poolUsed_, 2 * words, 0);
    poolUsed_ += 2 * words;
    return true;
  }

 private:
  static constexpr uint32_t kFirstRows = 64;
  static constexpr size_t kFirstWords = 256;

  bool growStates(uint32_t y) {
    const uint32_t size = std::max(kFirstRows, 2 * size_);
    if (size_ == 0) first_ = y - std::min(y, size / 2);
    const uint32_t first = y < first_ ? first_ - std::min(first_, size - size_) : first_;
    HeapArray<RowState> grown = zeroedArray<RowState>(size);
    if (!grown) return false;
    std::copy_n(states_.get(), size_, grown.get() + (first_ - first));
    states_ = std::move(grown);
    first_ = first;
    size_ = size;
    return true;
  }

  bool growPool(size_t words) {
    const size_t size = std::max({kFirstWords, 2 * poolSize_, poolUsed_ + words});
    void* const grown = std::realloc(pool_.get(), size * sizeof(uint64_t));
    if (grown == nullptr) return false;
    (void)pool_.release();
    pool_.reset(static_cast<uint64_t*>(grown));
    poolSize_ = size;
    return true;
  }

  HeapArray<RowState> states_;  // of rows first_ to first_ + size_ - 1
  uint32_t first_ = 0;
  uint32_t size_ = 0;
  HeapArray<uint64_t> pool_;
  size_t poolUsed_ = 0;
  size_t poolSize_ = 0;
};

std::span<const RleRun> runsOf(const RleLine& line) { return {line.runs, line.count}; }

size_t wordsOf(const RleLine& line) { return (line.count + kWordBits - 1) / kWordBits; }

// The place of the first run from `at` on that ends at x or later. Quick when it is near.
uint32_t firstRunEndingFrom(std::span<const RleRun> runs, uint32_t at, uint32_t x) {
  const auto count = uint32_t(runs.size());
  for (uint32_t step = 1; at < count && runs[at].end < x; step *= 2) {
    const uint32_t next = std::min(at + step, count);
    if (next == count || runs[next].end >= x) {
      const auto endsBefore = [x](RleRun run) { return run.end < x; };
      const RleRun* const first = runs.data() + at + 1;
      return uint32_t(std::partition_point(first, runs.data() + next, endsBefore) - runs.data());
    }
    at = next;
  }
  return at;
}

// Moves along a row beside the one that is looked around from.
class Neighbours {
 public:
  Neighbours() = default;  // of a row at the image's edge
  Neighbours(const RleLine& line, uint64_t* bits)
      : runs_(runsOf(line)), found_(bits), waiting_(bits + wordsOf(line)) {}

  // Finds the runs that are connected with `run`, each time one further to the right.
  void take(RleRun run) {
    at_ = firstRunEndingFrom(runs_, at_, run.start);
    for (uint32_t i = at_; i < runs_.size() && runs_[i].start <= run.end; ++i) {
      const uint32_t word = i / kWordBits;
      const uint64_t added = uint64_t{1} << i % kWordBits & ~found_[word];
      if (added != 0) {
        found_[word] |= added;
        waiting_[word] |= added;
        first_ = std::min(first_, word);
        end_ = word + 1;
      }
      at_ = i;
    }
  }

  // Whether runs were found that had not been found before, in words [first(), end()).
  bool foundNew() const { return first_ < end_; }
  uint32_t first() const { return first_; }
  uint32_t end() const { return end_; }

 private:
  std::span<const RleRun> runs_;
  uint64_t* found_ = nullptr;
  uint64_t* waiting_ = nullptr;
  uint32_t at_ = 0;
  uint32_t first_ = UINT32_MAX;
  uint32_t end_ = 0;
};

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
    if (!reach(y)) return false;
    const uint32_t word = seed / kWordBits;
    foundBits(y)[word] = waitingBits(y)[word] = uint64_t{1} << seed % kWordBits;
    wait(y, word, word + 1);
    top_ = bottom_ = y;
    for (uint32_t step = 1; listed_ != kNoRow;) {
      uint32_t row = listed_;
      listed_ = rows_[row].nextListed;
      rows_[row].listed = false;
      while (rows_.waits(row)) {
        if (!lookAround(row)) return false;
        if (!rows_.waits(row + step)) step = 0 - step;
        row += step;  // -1 wraps, and is no row that waits
      }
    }
    return true;
  }

  uint32_t left() const { return left_; }
  uint32_t top() const { return top_; }

  // The traced component as an image of its own, or null when memory ran out.
  OwnedRect toImage() {
    OwnedRect result(rleNewRect(right_ - left_, bottom_ - top_ + 1, image_.resolution));
    if (!result) return nullptr;
    for (uint32_t y = top_; y <= bottom_; ++y) {
      RleLine& line = *result->rows[y - top_];
      if (!copyRow(line, y)) return nullptr;
      // Only a source row that was not valid itself can give one that is not.
      if (rleCheckLine(&line, result->width) != 1) makeValid(line);
    }
    return result;
  }

 private:
  uint64_t* foundBits(uint32_t y) { return rows_.bitsOf(y); }
  uint64_t* waitingBits(uint32_t y) { return rows_.bitsOf(y) + wordsOf(*image_.rows[y]); }
  bool reach(uint32_t y) { return rows_.reach(y, wordsOf(*image_.rows[y])); }

  // Looks around from all waiting runs of row y.
  bool lookAround(uint32_t y) {
    const bool hasAbove = y > 0;
    const bool hasBelow = y + 1 < image_.height;
    if ((hasAbove && !reach(y - 1)) || (hasBelow && !reach(y + 1))) return false;
    top_ = std::min(top_, y);
    bottom_ = std::max(bottom_, y);
    Neighbours above;
    Neighbours below;
    if (hasAbove) above = Neighbours(*image_.rows[y - 1], foundBits(y - 1));
    if (hasBelow) below = Neighbours(*image_.rows[y + 1], foundBits(y + 1));
    uint64_t* const waiting = waitingBits(y);
    RowState& state = rows_[y];
    for (size_t word = state.firstWaiting; word < state.endWaiting; ++word) {
      const RleRun* const runs = image_.rows[y]->runs + word * kWordBits;
      for (uint64_t rest = std::exchange(waiting[word], 0); rest != 0; rest &= rest - 1) {
        const RleRun run = runs[std::countr_zero(rest)];
        left_ = std::min<uint32_t>(left_, run.start);
        right_ = std::max<uint32_t>(right_, run.end);
        above.take(run);
        below.take(run);
      }
    }
    state.firstWaiting = state.endWaiting = 0;
    if (above.foundNew()) wait(y - 1, above.first(), above.end());
    if (below.foundNew()) wait(y + 1, below.first(), below.end());
    return true;
  }

  // Notes that runs of row y wait in words [first, end).
  void wait(uint32_t y, uint32_t first, uint32_t end) {
    RowState& state = rows_[y];
    const bool waits = rows_.waits(y);
    state.firstWaiting = uint16_t(waits ? std::min<uint32_t>(state.firstWaiting, first) : first);
    state.endWaiting = uint16_t(std::max<uint32_t>(state.endWaiting, end));
    if (state.listed) return;
    state.listed = true;
    state.nextListed = listed_;
    listed_ = y;
  }

  // Gives `line` the runs found in row y, moved to the left edge of the box. Empty runs, which no
  // valid row has, stay behind.
  bool copyRow(RleLine& line, uint32_t y) {
    const std::span found(foundBits(y), wordsOf(*image_.rows[y]));
    uint32_t count = 0;
    for (const uint64_t word : found) count += uint32_t(std::popcount(word));
    if (!CapacityPlan::alwaysFits()) return false;
    CapacityPlan plan(nullptr);
    plan.fitRising(1, count);  // as if the runs had been set one by one
    if (!plan.carryOut(line.runs, count)) return false;
    RleRun* end = line.runs;
    for (size_t word = 0; word < found.size(); ++word) {
      const RleRun* const source = image_.rows[y]->runs + word * kWordBits;
      for (uint64_t rest = found[word]; rest != 0; rest &= rest - 1) {
        const RleRun run = source[std::countr_zero(rest)];
        if (run.start < run.end) *end++ = {uint16_t(run.start - left_), uint16_t(run.end - left_)};
      }
    }
    line.count = uint16_t(end - line.runs);
    return true;
  }

  const RleRect& image_;
  RowStates rows_;
  uint32_t listed_ = kNoRow;  // the first of the rows to look at
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
  const uint32_t seed = rle::firstRunEndingFrom(runs, 0, column + 1);
  if (seed == runs.size() || column < runs[seed].start || column >= runs[seed].end) return nullptr;
  rle::Component component(*image);
  if (!component.trace(row, seed)) return nullptr;
  rle::OwnedRect result = component.toImage();
  if (!result) return nullptr;
  if (left != nullptr) *left = uint16_t(component.left());
  if (top != nullptr) *top = uint16_t(component.top());
  return result.release();
}
