// Mirroring, in place.
//
// In a row of w columns mirroring moves column x to w - 1 - x, so the run [s, e) becomes
// [w - e, w - s) and the runs change order. A valid row stays valid, and nothing is allocated.

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "rle.h"

namespace {

// Four runs, each as one 32-bit lane or as two columns. Mirroring them puts the runs in reverse
// order and swaps the columns of each.
using FourRuns = uint32_t __attribute__((vector_size(16)));
using Columns = uint16_t __attribute__((vector_size(16)));

FourRuns mirroredFour(const RleRun* at, uint16_t width) {
  FourRuns runs;
  std::memcpy(&runs, at, sizeof runs);
  runs = __builtin_shufflevector(runs, runs, 3, 2, 1, 0);
  runs = runs << 16 | runs >> 16;
  return reinterpret_cast<FourRuns>(width - reinterpret_cast<Columns>(runs));
}

using Flip = void (*)(RleRect*);

// Flips the images of a region. False for a region without an image, which has no size that its
// vertices could be mirrored against and is left as it is.
bool flipImages(RlePoly& poly, Flip flip) {
  if (poly.image == nullptr) return false;
  flip(poly.image);
  if (poly.mask != nullptr) flip(poly.mask);
  return true;
}

// size - coordinate in 32 bits.
int32_t mirrored(int32_t coordinate, uint32_t size) { return int32_t(size - uint32_t(coordinate)); }

}  // namespace

extern "C" {

void rleMirrorLine(RleLine* line, int32_t width) {
  const auto w = uint16_t(width);
  RleRun* left = line->runs;
  RleRun* right = left + line->count;
  for (; right - left >= 8; left += 4) {
    right -= 4;
    const FourRuns first = mirroredFour(left, w);
    const FourRuns last = mirroredFour(right, w);
    std::memcpy(left, &last, sizeof last);
    std::memcpy(right, &first, sizeof first);
  }
  const auto mirroredRun = [w](RleRun run) {
    return RleRun{uint16_t(w - run.end), uint16_t(w - run.start)};
  };
  for (; right - left >= 2; ++left) {
    const RleRun first = *left;
    *left = mirroredRun(*--right);
    *right = mirroredRun(first);
  }
  if (left != right) *left = mirroredRun(*left);
}

void rleMirrorRectX(RleRect* rect) { std::reverse(rect->rows, rect->rows + rect->height); }

void rleMirrorRectY(RleRect* rect) {
  for (uint32_t y = 0; y < rect->height; ++y) rleMirrorLine(rect->rows[y], rect->width);
}

void rleMirrorPolyX(RlePoly* poly) {
  if (!flipImages(*poly, rleMirrorRectX) || poly->points == nullptr) return;
  for (uint32_t i = 0; i < poly->count; ++i)
    poly->points[i].y = mirrored(poly->points[i].y, poly->image->height);
}

void rleMirrorPolyY(RlePoly* poly) {
  if (!flipImages(*poly, rleMirrorRectY) || poly->points == nullptr) return;
  for (uint32_t i = 0; i < poly->count; ++i)
    poly->points[i].x = mirrored(poly->points[i].x, poly->image->width);
}

}  // extern "C"
