// Collecting spans and applying them to rows.

#include "draw/span_batch.h"

#include <algorithm>
#include <span>

#include "draw/row_spans.h"

namespace rle {
namespace {

constexpr uint32_t kMostSpans = 65536;  // more than a line across a page has
constexpr uint32_t kRowsAhead = 4;

// Asks for the runs [first, end) of a row before they are needed. The rows of a page lie anywhere,
// and waiting for them takes longer than editing them.
void prefetch(const RleLine& row, uint32_t first, uint32_t end) {
  constexpr uint32_t kRunsPerLine = 16;  // in a cache line of 64 bytes
  for (uint32_t i = first; i < end; i += kRunsPerLine) __builtin_prefetch(row.runs + i);
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

void SpanBatch::add(const SppSpans& piece) {
  if (piece.count == 0) return;
  if (!makeRoom())
    return rleFillSpans(&image_, piece.count, piece.points, piece.widths, colour_, pattern_, mode_);
  const auto n = uint32_t(piece.count);  // an image has at most 65535 rows
  if (n > kMostSpans - count_) flush();
  for (uint32_t i = 0; i < n; ++i) {
    const RlePoint at = piece.points[i];
    spans_[count_ + i] = {uint16_t(at.y), uint16_t(at.x), uint16_t(at.x + piece.widths[i])};
  }
  count_ += n;
}

void SpanBatch::addPixel(RlePoint at) {
  int32_t width = 1;
  if (0 <= at.x && at.x < image_.width && 0 <= at.y && at.y < image_.height) add({1, &at, &width});
}

void SpanBatch::flush() {
  if (count_ == 0) return;
  const std::span<const Span> spans(spans_.get(), count_);
  uint32_t top = UINT16_MAX;
  uint32_t bottom = 0;
  for (const Span& span : spans) {
    top = std::min<uint32_t>(top, span.y);
    bottom = std::max<uint32_t>(bottom, span.y);
  }
  // Where each row's spans begin; filing them moves that to where they end.
  uint32_t* const ends = rowEnds_.get();
  RleRun* const byRow = byRow_.get();
  std::fill(ends + top, ends + bottom + 1, 0);
  for (const Span& span : spans) ++ends[span.y];
  uint32_t before = 0;
  for (uint32_t y = top; y <= bottom; ++y) {
    const uint32_t held = ends[y];
    ends[y] = before;
    before += held;
  }
  for (const Span& span : spans) byRow[ends[span.y]++] = {span.start, span.end};
  RunScratch scratch;
  uint32_t begin = 0;
  for (uint32_t y = top; y <= bottom; ++y) {
    // So much at once would have to queue: half of it is asked for before the edits, half after.
    if (y + 2 * kRowsAhead <= bottom) __builtin_prefetch(image_.rows[y + 2 * kRowsAhead]);
    const RleLine& ahead = *image_.rows[std::min(y + kRowsAhead, bottom)];
    prefetch(ahead, 0, ahead.count / 2U);
    if (ends[y] != begin)
      editSpans(*image_.rows[y], {byRow + begin, byRow + ends[y]}, paint_ == Paint::White, scratch);
    prefetch(ahead, ahead.count / 2U, ahead.count);
    begin = ends[y];
  }
  count_ = 0;
}

}  // namespace rle
