// The row with a gap, and the edits of a row after the pattern of another.

#include "model/row_edits.h"

namespace rle {
namespace {

constexpr uint32_t kMaxRuns = 65535;  // what RleLine::count can hold

// An edit that sets or clears, for the walks over a source row.
template <class Edits>
auto setterOrClearer(Edits& edits, bool set) {
  return [&edits, set](uint16_t start, uint16_t end) {
    if (set)
      edits.set(start, end);
    else
      edits.clear(start, end);
  };
}

}  // namespace

RleRun* RunScratch::reserve(uint32_t count) {
  if (count <= kSmall) return small_;
  if (count > largeCount_) {
    large_.reset();  // its content is not wanted, so it need not be moved
    largeCount_ = std::max(count, 2 * largeCount_);
    large_.reset(static_cast<RleRun*>(std::malloc(largeCount_ * sizeof(RleRun))));
    if (!large_) largeCount_ = 0;
  }
  return large_.get();
}

BatchEdits::BatchEdits(RleLine& row, uint32_t edits, RunScratch& scratch)
    : row_(row), plan_(row.runs) {
  // An edit adds one run at most, and 65535 runs are the most that a row can hold.
  const uint32_t slots = row.count + std::min(edits, kMaxRuns - row.count);
  runs_ = out_ = scratch.reserve(slots);
  if (runs_ == nullptr) return;
  stop_ = runs_ + slots;
  rest_ = stop_ - row.count;
  std::copy_n(row.runs, row.count, rest_);
}

void BatchEdits::rewind() {
  rest_ = std::copy_backward(runs_, out_, rest_);
  out_ = runs_;
}

void BatchEdits::finish() {
  if (!plan_.carryOut(row_.runs, count())) return;
  row_.count = uint16_t(count());
  std::copy(rest_, stop_, std::copy(runs_, out_, row_.runs));
}

void mergeRow(RleLine& row, const RleLine& source, const Stretch& stretch, bool set,
              RunScratch& scratch) {
  if (stretch.end <= stretch.first) return;
  editRow(row, source, source.count, scratch,
          [&](auto& edits) { forEachRun(source, stretch, setterOrClearer(edits, set)); });
}

void replaceRow(RleLine& row, const RleLine& source, const Stretch& stretch, RunScratch& scratch) {
  if (stretch.end <= stretch.first) return;
  editRow(row, source, source.count + 1U, scratch, [&](auto& edits) {
    edits.clear(stretch.target(stretch.first), stretch.target(stretch.end));
    forEachRun(source, stretch, setterOrClearer(edits, true));
  });
}

void maskRow(RleLine& row, const RleLine& source, const Stretch& stretch, bool set,
             RunScratch& scratch) {
  if (stretch.end <= stretch.first) return;
  editRow(row, source, source.count + 1U, scratch,
          [&](auto& edits) { forEachGap(source, stretch, setterOrClearer(edits, set)); });
}

}  // namespace rle
