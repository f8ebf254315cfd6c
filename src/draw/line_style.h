// How a thick line is drawn, and how its pieces are filled.

#pragma once

#include <cmath>
#include <cstdint>
#include <span>

#include "draw/span_batch.h"
#include "draw/subpixel.h"
#include "rle.h"

namespace rle {

constexpr double kSamePoint = 1e-06;  // points no farther apart than this, in x and in y, are one

constexpr int32_t kButtCap = 1;  // as any other that is not one of the next two
constexpr int32_t kRoundCap = 2;
constexpr int32_t kSquareCap = 3;
constexpr int32_t kMitreJoin = 0;
constexpr int32_t kRoundJoin = 1;  // any other join is a bevel

// What all pieces of one line have in common. It is handed down by reference.
struct RleLineStyle {
  RleRect* image;
  SpanBatch* paint;  // knows colour, pattern and mode
  int32_t width;
  int32_t capStyle;
  int32_t joinStyle;
};

inline bool differ(const RleDPoint& p, const RleDPoint& q) {
  return std::fabs(p.x - q.x) > kSamePoint || std::fabs(p.y - q.y) > kSamePoint;
}

// Fills one convex piece of a line.
inline void fillPiece(const RleLineStyle& style, std::span<const RleDPoint> corners) {
  style.paint->add(sppSpans(*style.image, corners, 0, 0));
}

}  // namespace rle
