#include "pixel_rows.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "g4/byte_bits.h"
#include "hue.h"

namespace gfx {
namespace {

// Pixels converted at a time, so that all between fits on a small stack: whole bytes of bits.
constexpr uint32_t kSlice = 512;
constexpr uint8_t kHalf = 128;  // luminance from here on is white

uint8_t onWhite(uint8_t sample, uint8_t alpha) {
  return uint8_t((sample * alpha + 255u * (255u - alpha) + 127) / 255);
}

// Lays pixels of `kColours` samples and alpha on white, and leaves the colours.
template <uint32_t kColours>
void flatten(const uint8_t* from, uint8_t* to, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i, from += kColours + 1)
    for (uint32_t s = 0; s < kColours; ++s) *to++ = onWhite(from[s], from[kColours]);
}

// The bits of a byte as eight grey pixels, 1 as white.
constexpr auto kGreyOfBits = [] {
  std::array<std::array<uint8_t, 8>, 256> grey{};
  for (uint32_t byte = 0; byte < 256; ++byte)
    for (uint32_t bit = 0; bit < 8; ++bit) grey[byte][bit] = byte << bit & 0x80 ? 255 : 0;
  return grey;
}();

void greyFromBits(const uint8_t* bits, bool blackOne, uint8_t* grey, uint32_t count) {
  const uint8_t inverted = blackOne ? 0xFF : 0;
  for (; count >= 8; count -= 8, grey += 8)
    std::memcpy(grey, kGreyOfBits[*bits++ ^ inverted].data(), 8);
  if (count > 0) std::memcpy(grey, kGreyOfBits[*bits ^ inverted].data(), count);
}

// Eight grey pixels as bits, 1 as white: the highest bit of each.
uint8_t bitsOfGrey(const uint8_t* grey) {
  static_assert(kHalf == 0x80);
  uint32_t bits = 0;
  for (uint32_t i = 0; i < 8; ++i) bits |= (grey[i] & kHalf) >> i;
  return uint8_t(bits);
}

void bitsFromGrey(const uint8_t* grey, bool blackOne, uint8_t* bits, uint32_t count) {
  const uint8_t inverted = blackOne ? 0xFF : 0;
  for (; count >= 8; count -= 8, grey += 8) *bits++ = bitsOfGrey(grey) ^ inverted;
  if (count == 0) return;
  uint8_t last[8] = {};
  std::memcpy(last, grey, count);
  *bits = bitsOfGrey(last) ^ inverted;
  clearPadding(bits, count);
}

// A slice of a row as grey or RGB, whichever it is at heart, at `to`.
bool toGreyOrRgb(uint32_t format, const uint8_t* from, uint8_t* to, uint32_t count) {
  switch (colourType(format)) {
    case GFX_RGB:
      std::memcpy(to, from, size_t{count} * 3);
      return true;
    case GFX_GREY:
      std::memcpy(to, from, count);
      return false;
    case GFX_CMYK:
      hueRgbFromCmyk(from, to, count);
      return true;
    case GFX_RGB_ALPHA:
      flatten<3>(from, to, count);
      return true;
    case GFX_GREY_ALPHA:
      flatten<1>(from, to, count);
      return false;
    default:
      greyFromBits(from, isBlackOne(format), to, count);
      return false;
  }
}

void convertSlice(uint32_t fromFormat, const uint8_t* from, uint32_t toFormat, uint8_t* to,
                  uint32_t count) {
  uint8_t colours[kSlice * 3];
  uint8_t grey[kSlice];
  const bool isRgb = toGreyOrRgb(fromFormat, from, colours, count);
  if (colourType(toFormat) == GFX_RGB) {
    if (isRgb)
      std::memcpy(to, colours, size_t{count} * 3);
    else
      for (uint32_t i = 0; i < count; ++i, to += 3) to[0] = to[1] = to[2] = colours[i];
    return;
  }
  const uint8_t* luminance = colours;
  if (isRgb) {
    hueGreyFromRgb(colours, grey, count);
    luminance = grey;
  }
  if (isBilevel(toFormat))
    bitsFromGrey(luminance, isBlackOne(toFormat), to, count);
  else
    std::memcpy(to, luminance, count);
}

}  // namespace

uint32_t formatOf(int32_t colourType) {
  switch (colourType) {
    case GFX_BILEVEL_0_BLACK:
    case GFX_BILEVEL_1_BLACK:
    case GFX_ALPHA_BILEVEL_0_BLACK:
    case GFX_ALPHA_BILEVEL_1_BLACK:
      return GFX_FORMAT(1, colourType);
    case GFX_RGB:
      return kRgb;
    case GFX_GREY:
      return kGrey;
    case GFX_CMYK:
    case GFX_RGB_ALPHA:
      return GFX_FORMAT(32, colourType);
    case GFX_GREY_ALPHA:
      return GFX_FORMAT(16, colourType);
    default:
      return 0;
  }
}

void clearPadding(uint8_t* row, uint32_t width) {
  if (width % 8 != 0) row[width / 8] &= uint8_t(0xFF00 >> width % 8);
}

void invertBits(uint8_t* row, size_t bytes) {
  std::transform(row, row + bytes, row, [](uint8_t byte) { return uint8_t(~byte); });
}

void reverseBits(uint8_t* row, size_t bytes) {
  std::transform(row, row + bytes, row, [](uint8_t byte) { return rle::g4::kByteBits[0][byte]; });
}

bool canConvert(uint32_t from, uint32_t to) {
  return isKnownFormat(from) && isKnownFormat(to) && (from == to || canBecome(to));
}

void convertRow(uint32_t fromFormat, const uint8_t* from, uint32_t toFormat, uint8_t* to,
                uint32_t width) {
  if (isBilevel(fromFormat) && isBilevel(toFormat)) {
    std::memcpy(to, from, rowBytes(toFormat, width));
    if (isBlackOne(fromFormat) != isBlackOne(toFormat)) invertBits(to, rowBytes(toFormat, width));
    clearPadding(to, width);
    return;
  }
  if (fromFormat == toFormat) {
    std::memcpy(to, from, rowBytes(toFormat, width));
    return;
  }
  for (uint32_t x = 0; x < width; x += kSlice)
    convertSlice(fromFormat, from + rowBytes(fromFormat, x), toFormat, to + rowBytes(toFormat, x),
                 std::min(kSlice, width - x));
}

}  // namespace gfx
