// The sub-pixel fill, for code that collects its spans.

#pragma once

#include <cstdint>
#include <span>

#include "rle.h"

namespace rle {

// The spans of a polygon, in the form that rleFillSpans takes. They stand in the working arrays of
// the open bracket, and stay there until the next polygon.
struct SppSpans {
  int32_t count = 0;
  RlePoint* points = nullptr;
  int32_t* widths = nullptr;
};

// What rleFillSppPoly paints in an image. A bracket must be open.
SppSpans sppSpans(const RleRect& image, std::span<const RleDPoint> vertices, int32_t xOffset,
                  int32_t yOffset);

// `x` after `times` additions of `step`, each rounded to a double: to the last bit what a loop
// would make of it, but in a time that does not grow with `times`.
double addRepeatedly(double x, double step, int64_t times);

}  // namespace rle
