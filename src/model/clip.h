// Clipping rectangles to images.

#pragma once

#include <cstdint>

namespace rle {

// The part of a rectangle that lies inside an image; all corners are inclusive.
struct Clipped {
  uint16_t x1, y1, x2, y2;
};

// False, with `clipped` as it was, when the rectangle (x1, y1)-(x2, y2) and the image do not
// overlap. Corners are 64 bits so that callers can add sizes to positions without overflow.
bool clip(uint16_t width, uint16_t height, int64_t x1, int64_t y1, int64_t x2, int64_t y2,
          Clipped& clipped);

}  // namespace rle
