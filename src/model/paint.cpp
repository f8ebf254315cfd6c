// Painting: spans and rectangles in black, in white, or with a tile that repeats.

#include "model/paint.h"

#include "model/clip.h"
#include "model/row_edits.h"
#include "rle.h"

namespace rle {
namespace {

// Lays one piece of a tile row, at most as wide as the tile.
template <class Edits>
void layPiece(Edits& edits, const RleLine& tile, const Stretch& piece, int32_t mode) {
  if (mode == 2) {
    forEachRun(tile, piece, [&](uint16_t start, uint16_t end) { edits.clear(start, end); });
    return;
  }
  if (mode != 1) edits.clear(piece.target(piece.first), piece.target(piece.end));
  forEachRun(tile, piece, [&](uint16_t start, uint16_t end) { edits.set(start, end); });
}

// Lays row y of the pattern over columns [start, end) of a row:
//
//     tile columns   |  sx ... w-1 | 0 ... w-1 | 0 ... w-1 | 0 .. |
//     row columns    start                                      end
void layPattern(RleLine& row, uint32_t start, uint32_t end, uint16_t y, const RleRect& pattern,
                int32_t mode, RunScratch& scratch) {
  const uint32_t width = pattern.width;
  if (width == 0 || pattern.height == 0 || start >= end) return;
  const RleLine& tile = *pattern.rows[y % pattern.height];
  const uint32_t pieces = (start % width + (end - start) + width - 1) / width;
  const uint64_t edits = uint64_t{pieces} * (tile.count + 1U);
  editRow(row, tile, uint32_t(std::min<uint64_t>(edits, UINT32_MAX)), scratch, [&](auto& sink) {
    uint32_t first = start % width;
    for (uint32_t x = start; x < end;) {
      const uint32_t last = std::min(width, first + (end - x));
      layPiece(sink, tile, {first, last, x}, mode);
      x += last - first;
      first = 0;
    }
  });
}

// Makes spans the runs of a blank row: each becomes one, or joins the one that it touches. False,
// with the row still blank, when that takes more care or more memory.
bool blackenBlankRow(RleLine& row, std::span<const RleRun> spans) {
  uint32_t count = 0;
  uint32_t lastEnd = UINT32_MAX;
  for (const RleRun& span : spans) {
    count += span.start == lastEnd ? 0 : 1;
    lastEnd = span.end;
  }
  if (!CapacityPlan::alwaysFits()) return false;
  CapacityPlan plan(row.runs);
  plan.fitRising(1, count);
  if (!plan.carryOut(row.runs, count)) return false;
  row.count = uint16_t(count);
  if (count == spans.size()) {
    std::copy(spans.begin(), spans.end(), row.runs);
    return true;
  }
  RleRun* last = row.runs;
  *last = spans.front();
  for (const RleRun& span : spans.subspan(1)) {
    if (span.start == last->end)
      last->end = span.end;
    else
      *++last = span;
  }
  return true;
}

}  // namespace

Paint paintFor(int32_t colour, const RleRect* pattern, int32_t mode) {
  if (colour == -1 && pattern != nullptr) return Paint::Pattern;
  if (mode == 2 && colour == 1) return Paint::White;
  if (mode == 1 && colour == 0) return Paint::White;
  return Paint::Black;
}

void paintRow(RleRect& image, uint16_t y, std::span<const RleRun> spans, Paint paint,
              const RleRect* pattern, int32_t mode, RunScratch& scratch) {
  RleLine& row = *image.rows[y];
  if (spans.empty()) return;
  if (paint == Paint::Black && row.count == 0 && blackenBlankRow(row, spans)) return;
  if (paint == Paint::Pattern) {
    for (const RleRun& span : spans)
      layPattern(row, span.start, span.end, y, *pattern, mode, scratch);
    return;
  }
  editRow(row, uint32_t(spans.size()), scratch, [&](auto& edits) {
    for (const RleRun& span : spans) {
      if (paint == Paint::White)
        edits.clear(span.start, span.end);
      else
        edits.set(span.start, span.end);
    }
  });
}

}  // namespace rle

extern "C" {

void rleFillSpans(RleRect* image, int32_t n, RlePoint* points, int32_t* widths, int32_t colour,
                  RleRect* pattern, int32_t mode) {
  const rle::Paint paint = rle::paintFor(colour, pattern, mode);
  for (int32_t i = 0; i < n; ++i) {
    const RlePoint at = points[i];
    rle::Clipped span;
    if (!rle::clip(image->width, image->height, at.x, at.y, int64_t{at.x} + widths[i] - 1, at.y,
                   span))
      continue;
    RleLine* const row = image->rows[span.y1];
    if (paint == rle::Paint::Pattern)
      rlePatternLine(row, span.x1, span.x2, span.y1, pattern, mode);
    else if (paint == rle::Paint::White)
      rleClearLine(row, span.x1, span.x2);
    else
      rleSetLine(row, span.x1, span.x2);
  }
}

void rleFillRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colour,
                 RleRect* pattern, int32_t mode) {
  rle::Clipped part;
  if (!rle::clip(rect->width, rect->height, x1, y1, x2, y2, part)) return;
  const rle::Paint paint = rle::paintFor(colour, pattern, mode);
  if (paint == rle::Paint::Pattern)
    rlePatternRect(rect, part.x1, part.y1, part.x2, part.y2, pattern, mode);
  else if (paint == rle::Paint::White)
    rleClearRect(rect, part.x1, part.y1, part.x2, part.y2);
  else
    rleSetRect(rect, part.x1, part.y1, part.x2, part.y2);
}

void rlePatternLine(RleLine* line, int32_t x1, int32_t x2, int32_t y, RleRect* pattern,
                    int32_t mode) {
  if (pattern == nullptr) return;
  rle::RunScratch scratch;
  rle::layPattern(*line, uint16_t(x1), uint16_t(x2) + 1U, uint16_t(y), *pattern, mode, scratch);
}

void rlePatternRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2, RleRect* pattern,
                    int32_t mode) {
  if (pattern == nullptr) return;
  const uint32_t top = uint16_t(y1);
  rle::RunScratch scratch;
  for (uint32_t y = top; y <= uint16_t(y2); ++y)
    rle::layPattern(*rect->rows[y], uint16_t(x1), uint16_t(x2) + 1U, uint16_t(y - top), *pattern,
                    mode, scratch);
}

}  // extern "C"
