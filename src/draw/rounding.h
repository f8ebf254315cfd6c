// From real coordinates to whole pixels. What does not fit an integer becomes the nearest one that
// does, so that no coordinate is out of bounds.

#pragma once

#include <algorithm>
#include <cstdint>

namespace rle {

// Towards zero. Not a number counts as the smallest one.
inline int32_t truncated(double value) {
  return int32_t(std::min(std::max(double{INT32_MIN}, value), double{INT32_MAX}));
}

// The ceiling of a number of at most 2^53.
inline int64_t roundedUp(double value) {
  const auto whole = int64_t(value);
  return whole + (value > double(whole));
}

// To the nearest integer, halves away from zero.
inline int32_t rounded(double value) { return truncated(value > 0 ? value + 0.5 : value - 0.5); }

}  // namespace rle
