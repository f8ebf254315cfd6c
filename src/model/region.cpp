// Regions: clipping, copying, cutting, pasting and masking, row by row and run by run.

#include "model/clip.h"
#include "model/owners.h"
#include "model/row_merge.h"
#include "model/runs.h"
#include "rle.h"

namespace rle {

bool clip(uint16_t width, uint16_t height, int64_t x1, int64_t y1, int64_t x2, int64_t y2,
          Clipped& clipped) {
  if (width == 0 || height == 0) return false;
  const int64_t xLast = width - 1;
  const int64_t yLast = height - 1;
  if (x1 > x2 || y1 > y2 || y2 < 0 || y1 > yLast || x2 < 0 || x1 > xLast) return false;
  clipped = {uint16_t(std::max<int64_t>(x1, 0)), uint16_t(std::max<int64_t>(y1, 0)),
             uint16_t(std::min(x2, xLast)), uint16_t(std::min(y2, yLast))};
  return true;
}

namespace {

// Copies the stretch of `row` into `copy`, a row without runs. The runs are counted first, so that
// the buffer is made once, in the size that it would grow to one run at a time.
bool copyStretch(const RleLine& row, const Stretch& stretch, RleLine& copy) {
  uint32_t count = 0;
  forEachRun(row, stretch, [&](uint16_t start, uint16_t end) {
    if (start < end) ++count;
  });
  CapacityPlan plan(nullptr);
  plan.fit(1);
  plan.fitRising(1, count);
  if (!plan.carryOut(copy.runs, count)) return false;
  forEachRun(row, stretch, [&](uint16_t start, uint16_t end) {
    if (start < end) copy.runs[copy.count++] = {start, end};
  });
  return true;
}

// Copies a rectangle. `overlap` tells whether any of it lies inside the image, and `part` where.
OwnedRect copyRect(const RleRect& rect, int64_t x1, int64_t y1, int64_t x2, int64_t y2,
                   bool& overlap, Clipped& part) {
  OwnedRect copy(rleNewRect(uint32_t(x2 - x1 + 1), uint32_t(y2 - y1 + 1), rect.resolution));
  if (!copy) return nullptr;
  // A size that does not fit 16 bits has been cut down to them; what lies beyond is not copied.
  overlap = clip(rect.width, rect.height, x1, y1, std::min(x2, x1 + copy->width - 1),
                 std::min(y2, y1 + copy->height - 1), part);
  if (!overlap) return copy;
  const Stretch stretch{part.x1, part.x2 + 1U, uint32_t(part.x1 - x1)};
  for (uint32_t y = part.y1; y <= part.y2; ++y)
    if (!copyStretch(*rect.rows[y], stretch, *copy->rows[y - y1])) return nullptr;
  return copy;
}

void pasteRow(RleLine& row, const RleLine& source, const Stretch& stretch, int32_t mode,
              RunScratch& scratch) {
  if (mode == 0) replaceRow(row, source, stretch, scratch);
  if (mode == 1) mergeRow(row, source, stretch, true, scratch);
  if (mode == 2) mergeRow(row, source, stretch, false, scratch);
}

}  // namespace
}  // namespace rle

extern "C" {

int32_t rleIntersectRect(int32_t width, int32_t height, int32_t x1, int32_t y1, int32_t x2,
                         int32_t y2, uint16_t* ox1, uint16_t* oy1, uint16_t* ox2, uint16_t* oy2) {
  rle::Clipped part;
  if (!rle::clip(uint16_t(width), uint16_t(height), x1, y1, x2, y2, part)) return 0;
  *ox1 = part.x1;
  *oy1 = part.y1;
  *ox2 = part.x2;
  *oy2 = part.y2;
  return 1;
}

RleLine* rleCopyLine(RleLine* line, int32_t x1, int32_t x2) {
  const uint16_t first = uint16_t(x1);
  rle::OwnedLine copy(rleAllocLine());
  if (!copy) return nullptr;
  const rle::Stretch stretch{first, std::max(first, rle::endOf(x2)), 0};
  return rle::copyStretch(*line, stretch, *copy) ? copy.release() : nullptr;
}

RleLine* rleCutLine(RleLine* line, int32_t x1, int32_t x2) {
  RleLine* const piece = rleCopyLine(line, x1, x2);
  if (piece != nullptr) rleClearLine(line, x1, x2);
  return piece;
}

RleRect* rleCopyRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
  bool overlap;
  rle::Clipped part;
  return rle::copyRect(*rect, x1, y1, x2, y2, overlap, part).release();
}

// Everything is copied before anything is cleared, so that no pixel is lost to a lack of memory.
RleRect* rleCutRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
  bool overlap;
  rle::Clipped part;
  rle::OwnedRect piece = rle::copyRect(*rect, x1, y1, x2, y2, overlap, part);
  if (piece && overlap) rleClearRect(rect, part.x1, part.y1, part.x2, part.y2);
  return piece.release();
}

int32_t rleMergeRect(RleRect* dst, int32_t x, int32_t y, RleRect* src, int32_t mode) {
  rle::Clipped part;
  if (!rle::clip(dst->width, dst->height, x, y, int64_t{x} + src->width - 1,
                 int64_t{y} + src->height - 1, part))
    return 0;
  const auto first = uint32_t(part.x1 - int64_t{x});
  const rle::Stretch stretch{first, first + (part.x2 + 1U - part.x1), part.x1};
  rle::RunScratch scratch;
  for (int64_t row = part.y1; row <= part.y2; ++row)
    rle::pasteRow(*dst->rows[row], *src->rows[row - y], stretch, mode, scratch);
  return 1;
}

int32_t rleMergePoly(RleRect* dst, int32_t x, int32_t y, RlePoly* poly, int32_t mode) {
  int32_t overlap = 0;
  if (mode == 0 && poly->mask != nullptr) {
    overlap = rleMergeRect(dst, x, y, poly->mask, 2);
    mode = 1;
  }
  return poly->image == nullptr ? overlap : rleMergeRect(dst, x, y, poly->image, mode);
}

void rleMaskRect(RleRect* rect, RleRect* mask, int32_t mode) {
  const rle::Stretch stretch{0, rect->width, 0};
  const uint32_t height = std::min(rect->height, mask->height);
  rle::RunScratch scratch;
  for (uint32_t y = 0; y < height; ++y)
    rle::maskRow(*rect->rows[y], *mask->rows[y], stretch, mode != 0, scratch);
}

}  // extern "C"
