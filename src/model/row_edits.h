// Many edits of one row in one pass.
//
// Merging and masking edit a row once for every run or gap of another row. Made one by one, each
// edit searches the row from its start and moves the rest of it: k edits of n runs cost k * n. Here
// the row is held with a gap in it instead, as a text editor holds a line, and an edit only moves
// the gap to where it works:
//
//     out                 rest
//     | done runs | gap ... | runs to come |
//
// Edits arrive from left to right, so the whole batch costs k + n. Runs left of the gap end before
// the last edit's start, so the first run right of it is the one that a search from the row's start
// would find, whatever runs the row holds: the result is that of the single edits. So is the
// buffer's capacity, which is foreseen edit by edit and brought about once.

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "model/owners.h"
#include "model/runs.h"
#include "model/span_edit.h"
#include "rle.h"

namespace rle {

// Working storage for the rows of one call: small rows need no heap.
class RunScratch {
 public:
  // Room for `count` runs, or null when memory has run out. What was in it is lost.
  RleRun* reserve(uint32_t count);

 private:
  static constexpr uint32_t kSmall = 256;  // 1 KiB on the stack

  RleRun small_[kSmall];
  std::unique_ptr<RleRun, FreeWith<std::free>> large_;
  uint32_t largeCount_ = 0;
};

// A row being edited from left to right. Edits that step back are allowed; each costs as much as a
// single edit does. All of it is inline, so that the positions stay in registers.
class BatchEdits {
 public:
  // `edits` bounds the number of edits that follow.
  BatchEdits(RleLine& row, uint32_t edits, RunScratch& scratch) : row_(row), plan_(row.runs) {
    // An edit adds one run at most, and 65535 runs are the most that a row can hold.
    const uint32_t slots = row.count + std::min(edits, kMaxRuns - row.count);
    runs_ = out_ = scratch.reserve(slots);
    if (runs_ == nullptr) return;
    stop_ = runs_ + slots;
    rest_ = std::copy_backward(row.runs, row.runs + row.count, stop_);
  }

  // False when there is no working storage; no edit must then be made.
  explicit operator bool() const { return out_ != nullptr; }

  void set(uint16_t start, uint16_t end) {
    if (start >= end) return;
    seek(start);
    if (rest_ != stop_ && rest_->start <= end)
      apply(setChange(rest_, stop_, start, end));
    else if (out_ != rest_) {
      *out_++ = {start, end};
      plan_.fit(count());
    }
  }

  void clear(uint16_t start, uint16_t end) {
    if (start >= end) return;
    seek(start);
    if (rest_ != stop_ && rest_->start <= end) apply(clearChange(rest_, stop_, start, end));
  }

  // Puts the result into the row, which keeps its former runs when it cannot grow.
  void finish() {
    if (!plan_.carryOut(row_.runs, count())) return;
    row_.count = uint16_t(count());
    std::copy(rest_, stop_, std::copy(runs_, out_, row_.runs));
  }

 private:
  static constexpr uint32_t kMaxRuns = 65535;  // what RleLine::count can hold

  // Moves the gap to before the first run that ends at `start` or later.
  void seek(uint16_t start) {
    if (start < lastStart_) {
      rest_ = std::copy_backward(runs_, out_, rest_);
      out_ = runs_;
    } else if (out_ != runs_ && out_[-1].end >= start) {  // what the edit before left touches
      *--rest_ = *--out_;
    }
    lastStart_ = start;
    while (rest_ != stop_ && rest_->end < start) *out_++ = *rest_++;
  }

  void apply(const Change& change) {
    if (change.given > change.taken && out_ == rest_) return;  // 65535 runs
    rest_ = rest_ + change.taken - change.given;
    if (change.given > 0) rest_[0] = change.put[0];
    if (change.given > 1) rest_[1] = change.put[1];
    if (change.fit) plan_.fit(count());
  }

  uint32_t count() const { return uint32_t((out_ - runs_) + (stop_ - rest_)); }

  RleLine& row_;
  CapacityPlan plan_;
  RleRun* runs_;  // start of the working storage
  RleRun* out_;   // end of the runs left of the gap
  RleRun* rest_ = nullptr;
  RleRun* stop_ = nullptr;
  uint16_t lastStart_ = 0;
};

// The same edits made one by one.
class SingleEdits {
 public:
  explicit SingleEdits(RleLine& row) : row_(row) {}
  void set(uint16_t start, uint16_t end) { setSpan(row_, start, end); }
  void clear(uint16_t start, uint16_t end) { clearSpan(row_, start, end); }

 private:
  RleLine& row_;
};

// Calls make(edits), which makes at most `edits` edits of `row`. They go one by one when batching
// is no gain and when there is no memory for it.
template <class Make>
void editRow(RleLine& row, uint32_t edits, RunScratch& scratch, Make make) {
  if (edits > 1 && CapacityPlan::alwaysFits()) {
    BatchEdits batch(row, edits, scratch);
    if (batch) {
      make(batch);
      batch.finish();
      return;
    }
  }
  SingleEdits single(row);
  make(single);
}

// Likewise, when make reads `source`. They go one by one too when a row is its own source, where
// each edit sees the ones before.
template <class Make>
void editRow(RleLine& row, const RleLine& source, uint32_t edits, RunScratch& scratch, Make make) {
  editRow(row, &row == &source ? 1 : edits, scratch, make);
}

// Columns [first, end) of a source row; `first` lands on column `dx` of the row that is edited.
// Target columns are 16 bits and wrap.
struct Stretch {
  uint32_t first;
  uint32_t end;
  uint32_t dx;

  uint16_t target(uint32_t column) const { return uint16_t(dx - first + column); }
};

// Calls found(start, end) for the part of every run of `source` that lies inside the stretch, in
// columns of the target.
template <class Found>
void forEachRun(const RleLine& source, const Stretch& stretch, Found found) {
  uint32_t i = 0;
  while (i < source.count && source.runs[i].end <= stretch.first) ++i;
  for (; i < source.count && source.runs[i].start < stretch.end; ++i) {
    const RleRun run = source.runs[i];
    found(stretch.target(std::max<uint32_t>(run.start, stretch.first)),
          stretch.target(std::min<uint32_t>(run.end, stretch.end)));
  }
}

// Likewise for the white gaps.
template <class Found>
void forEachGap(const RleLine& source, const Stretch& stretch, Found found) {
  uint32_t gap = stretch.first;
  uint32_t i = 0;
  while (i < source.count && source.runs[i].end <= stretch.first) ++i;
  for (; i < source.count && source.runs[i].start < stretch.end; ++i) {
    const RleRun run = source.runs[i];
    if (run.start > gap) found(stretch.target(gap), stretch.target(run.start));
    gap = std::min<uint32_t>(run.end, stretch.end);
  }
  if (gap < stretch.end) found(stretch.target(gap), stretch.target(stretch.end));
}

}  // namespace rle
