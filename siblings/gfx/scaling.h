// What scaling of widths and of heights have in common: the two methods, and averages of pixels.

#pragma once

#include <cstdint>

#include "last_error.h"
#include "pixel_rows.h"

namespace gfx {

enum class ScaleMethod { Max, Min };

constexpr uint32_t kMaxScaledSize = 65535;

// The most pixels that are averaged: 65535 times fewer pixels than before, and one that lies across
// an edge at each side. 32 bits hold the sum of so many colours times alpha, and half of what it is
// divided by.
constexpr uint32_t kMostAveraged = kMaxScaledSize + 2;
static_assert(kMostAveraged * (255 * 255 + uint64_t{128}) <= UINT32_MAX);

// Whether averages are made when `from` pixels become `to`.
inline bool canAverage(uint32_t from, uint32_t to) {
  return from / to <= kMaxScaledSize ||
         setLastError("%u pixels are too many to be averaged to %u", from, to);
}

// Divides the sums of `count` samples by a product. The factor is too large by at most 2^-40, and
// the quotient by at most 256 * count / 2^40 < 1 / count, too little to reach the next integer.
class SampleCount {
 public:
  SampleCount() = default;
  explicit SampleCount(uint32_t count)
      : count_(count), factor_((uint64_t{1} << kFractionBits) / count + 1) {}

  operator uint32_t() const { return count_; }

  // The average, rounded to the nearest.
  uint8_t averageOf(uint32_t sum) const {
    return uint8_t((sum + count_ / 2) * factor_ >> kFractionBits);
  }

 private:
  static constexpr uint32_t kFractionBits = 40;
  static_assert(511 * uint64_t{kMostAveraged} * kMostAveraged / 2 < uint64_t{1} << kFractionBits);

  uint32_t count_;
  uint64_t factor_;
};

// Pixels of `kSize` samples, the last of them alpha or not. Colours are weighted by their alpha,
// or what cannot be seen would tint what can.
template <uint32_t kSize, bool kAlpha>
struct PixelsOf {
  static constexpr uint32_t kSamples = kSize;
  static constexpr uint32_t kColours = kAlpha ? kSize - 1 : kSize;

  static void add(const uint8_t* pixel, uint32_t* sums) {
    const uint32_t weight = kAlpha ? pixel[kSize - 1] : 1;
    for (uint32_t s = 0; s < kColours; ++s) sums[s] += pixel[s] * weight;
    if (kAlpha) sums[kSize - 1] += weight;
  }

  // The average of the `count` pixels that were added; white where all were transparent.
  static void average(const uint32_t* sums, SampleCount count, uint8_t* pixel) {
    if constexpr (kAlpha) {
      const uint32_t weight = sums[kSize - 1];
      for (uint32_t s = 0; s < kColours; ++s)
        pixel[s] = uint8_t(weight == 0 ? 255 : (sums[s] + weight / 2) / weight);
      pixel[kSize - 1] = count.averageOf(weight);
    } else {
      for (uint32_t s = 0; s < kSize; ++s) pixel[s] = count.averageOf(sums[s]);
    }
  }
};

// Calls `work` with the PixelsOf a format that is not bilevel.
template <class Work>
void withPixelsOf(uint32_t format, Work work) {
  switch (colourType(format)) {
    case GFX_GREY:
      return work(PixelsOf<1, false>());
    case GFX_GREY_ALPHA:
      return work(PixelsOf<2, true>());
    case GFX_RGB:
      return work(PixelsOf<3, false>());
    case GFX_CMYK:
      return work(PixelsOf<4, false>());
    default:
      return work(PixelsOf<4, true>());
  }
}

// Whether a side can be scaled to `size`.
inline bool isScaledSize(uint32_t size) {
  return (size >= 1 && size <= kMaxScaledSize) ||
         setLastError("nothing can be scaled to a size of %u", size);
}

}  // namespace gfx
