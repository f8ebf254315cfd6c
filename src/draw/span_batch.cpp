// Collecting spans and applying them to rows.

#include "draw/span_batch.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <span>

#include "model/clip.h"
#include "model/runs.h"
#include "model/span_edit.h"

namespace rle {
namespace {

constexpr uint32_t kMostSpans = 16384;
constexpr uint32_t kMaxRuns = 65535;  // what RleLine::count can hold

int32_t endOfRun(const RleRun& run) {
  // Read as a word, which compilers turn into vector code.
  constexpr uint32_t kEndShift = std::endian::native == std::endian::little ? 16 : 0;
  uint32_t word;
  std::memcpy(&word, &run, sizeof word);
  return int32_t(word >> kEndShift & 0xffff);
}

// Whether the runs are in the order of their ends, as those of valid rows are.
bool areInOrder(const RleRun* runs, uint32_t count) {
  int32_t differences = 0;
  for (uint32_t i = 1; i < count; ++i) differences |= endOfRun(runs[i]) - endOfRun(runs[i - 1]);
  return differences >= 0;
}

// The first run that ends at `column` or later.
uint32_t firstRunEndingFrom(const RleRun* runs, uint32_t count, uint16_t column, bool inOrder) {
  uint32_t i = 0;
  if (inOrder) {
    for (uint32_t left = count; left > 1;) {
      const uint32_t half = left / 2;
      i += runs[i + half - 1].end < column ? half : 0;
      left -= half;
    }
  }
  while (i < count && runs[i].end < column) ++i;
  return i;
}

void editOneByOne(RleLine& row, std::span<const RleRun> spans, bool white) {
  for (const RleRun& span : spans) {
    if (white)
      clearSpan(row, span.start, span.end);
    else
      setSpan(row, span.start, span.end);
  }
}

// The edits of one row, in the row's own buffer: that is given room for all of them at first, and
// at last the capacity that the edits one by one would have left it with.
void editRow(RleLine& row, std::span<const RleRun> spans, bool white) {
  if (white && row.count == 0) return;
  if (!CapacityPlan::alwaysFits()) return editOneByOne(row, spans, white);
  CapacityPlan plan(row.runs);
  const auto room = uint32_t(std::min<size_t>(row.count + spans.size(), kMaxRuns));
  if (row.runs == nullptr || capacityOf(row.runs) < room) {
    RleRun* const larger = resizeRuns(row.runs, room);
    if (larger == nullptr) return editOneByOne(row, spans, white);
    row.runs = larger;
  }
  RleRun* const runs = row.runs;
  uint32_t count = row.count;
  const bool inOrder = areInOrder(runs, count);
  for (const RleRun& span : spans) {
    const uint32_t at = firstRunEndingFrom(runs, count, span.start, inOrder);
    RleRun* const first = runs + at;
    const Change change = white ? clearChange(first, runs + count, span.start, span.end)
                                : setChange(first, runs + count, span.start, span.end);
    const uint32_t now = count + change.given - change.taken;
    if (now > kMaxRuns) continue;
    if (change.fit) plan.fit(now);
    if (change.given != change.taken)
      std::memmove(first + change.given, first + change.taken,
                   (count - at - change.taken) * sizeof(RleRun));
    std::copy_n(change.put, change.given, first);
    count = now;
  }
  row.count = uint16_t(count);
  plan.carryOut(row.runs, count);
}

}  // namespace

SpanBatch::SpanBatch(RleRect& image, int32_t colour, RleRect* pattern, int32_t mode)
    : image_(image),
      colour_(colour),
      pattern_(pattern),
      mode_(mode),
      paint_(paintFor(colour, pattern, mode)) {}

void SpanBatch::setColour(int32_t colour) {
  const Paint paint = paintFor(colour, pattern_, mode_);
  if (paint != paint_) flush();
  colour_ = colour;
  paint_ = paint;
}

bool SpanBatch::makeRoom() {
  if (paint_ == Paint::Pattern || refused_) return false;
  if (rowEnds_ == nullptr) {
    spans_ = newArray<Span>(kMostSpans);
    byRow_ = newArray<RleRun>(kMostSpans);
    rowEnds_ = newArray<uint32_t>(size_t{image_.height} + 1);
    refused_ = !spans_ || !byRow_ || !rowEnds_;
  }
  return !refused_;
}

void SpanBatch::add(int32_t n, RlePoint* points, int32_t* widths) {
  if (n < 1) return;
  if (!makeRoom()) return rleFillSpans(&image_, n, points, widths, colour_, pattern_, mode_);
  for (int32_t i = 0; i < n; ++i) {
    const RlePoint at = points[i];
    const int64_t last = int64_t{at.x} + widths[i] - 1;
    Clipped span;
    if (!clip(image_.width, image_.height, at.x, at.y, last, at.y, span)) continue;
    if (count_ == kMostSpans) flush();
    spans_[count_++] = {span.y1, span.x1, uint16_t(span.x2 + 1)};
  }
}

void SpanBatch::flush() {
  if (count_ == 0) return;
  uint32_t top = UINT16_MAX;
  uint32_t bottom = 0;
  for (uint32_t i = 0; i < count_; ++i) {
    top = std::min<uint32_t>(top, spans_[i].y);
    bottom = std::max<uint32_t>(bottom, spans_[i].y);
  }
  // Where each row's spans begin; filing them moves that to where they end.
  uint32_t* const ends = rowEnds_.get();
  std::fill(ends + top, ends + bottom + 1, 0);
  for (uint32_t i = 0; i < count_; ++i) ++ends[spans_[i].y];
  uint32_t before = 0;
  for (uint32_t y = top; y <= bottom; ++y) {
    const uint32_t held = ends[y];
    ends[y] = before;
    before += held;
  }
  for (uint32_t i = 0; i < count_; ++i)
    byRow_[ends[spans_[i].y]++] = {spans_[i].start, spans_[i].end};
  uint32_t begin = 0;
  for (uint32_t y = top; y <= bottom; ++y) {
    if (ends[y] != begin)
      editRow(*image_.rows[y], {&byRow_[begin], ends[y] - begin}, paint_ == Paint::White);
    begin = ends[y];
  }
  count_ = 0;
}

}  // namespace rle
