// Rows of pixels: the formats there are, how long their rows are, and one made into another.

#pragma once

#include <cstddef>
#include <cstdint>

#include "gfx.h"

namespace gfx {

constexpr int32_t bitsPerPixel(uint32_t format) { return int16_t(format >> 16); }
constexpr int32_t colourType(uint32_t format) { return int16_t(format); }

// The format of a colour type of gfx.h; 0 for another number.
uint32_t formatOf(int32_t colourType);

constexpr uint32_t kBilevel = GFX_FORMAT(1, GFX_BILEVEL_1_BLACK);
constexpr uint32_t kGrey = GFX_FORMAT(8, GFX_GREY);
constexpr uint32_t kRgb = GFX_FORMAT(24, GFX_RGB);

// Bits per pixel and colour type belong together.
inline bool isKnownFormat(uint32_t format) {
  return format != 0 && formatOf(colourType(format)) == format;
}

inline bool isBilevel(uint32_t format) { return bitsPerPixel(format) == 1; }

// Of a bilevel format: whether 1 is black.
inline bool isBlackOne(uint32_t format) { return colourType(format) % 5 == 4; }

// 0 for the first group of colour types, 1 for those with alpha.
inline bool hasAlpha(uint32_t format) {
  return colourType(format) == GFX_RGB_ALPHA || colourType(format) == GFX_GREY_ALPHA;
}

// Which of bilevel, grey and RGB holds most of a known format.
inline uint32_t opaqueFormat(uint32_t format) {
  if (isBilevel(format)) return kBilevel;
  return colourType(format) == GFX_GREY || colourType(format) == GFX_GREY_ALPHA ? kGrey : kRgb;
}

// Bytes of a row of a known format.
inline size_t rowBytes(uint32_t format, uint32_t width) {
  return isBilevel(format) ? (size_t{width} + 7) / 8 : size_t(bitsPerPixel(format)) / 8 * width;
}

// Bits of a row beyond its last pixel become 0.
void clearPadding(uint8_t* row, uint32_t width);

// The same bytes with every bit turned over.
void invertBits(uint8_t* row, size_t bytes);

// Reverses the bits of each byte.
void reverseBits(uint8_t* row, size_t bytes);

// Every known format can become a bilevel one, grey or RGB.
inline bool canBecome(uint32_t format) {
  return isBilevel(format) || format == kGrey || format == kRgb;
}

// What can become another format, or stays as it is.
bool canConvert(uint32_t from, uint32_t to);

// Converts a row of `width` pixels. Bilevel is black where the luminance is below half; what is
// transparent is laid on white. `from` and `to` do not overlap.
void convertRow(uint32_t fromFormat, const uint8_t* from, uint32_t toFormat, uint8_t* to,
                uint32_t width);

}  // namespace gfx
