#include "hue.h"

namespace {

// Weights of ITU-R BT.709 in parts of 65536.
constexpr uint32_t kRed = 13933;    // 0.2126
constexpr uint32_t kGreen = 46871;  // 0.7152
constexpr uint32_t kBlue = 4732;    // 0.0722
static_assert(kRed + kGreen + kBlue == 65536, "white stays white");

// x / 255 to the nearest, for products of two samples.
constexpr uint8_t dividedBy255(uint32_t x) { return uint8_t((x + 127) / 255); }

}  // namespace

// Nothing here needs to be prepared.
extern "C" int32_t HueInit() { return 1; }

extern "C" void hueGreyFromRgb(const uint8_t* rgb, uint8_t* grey, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i, rgb += 3)
    grey[i] = uint8_t((kRed * rgb[0] + kGreen * rgb[1] + kBlue * rgb[2] + 32768) >> 16);
}

extern "C" void hueRgbFromCmyk(const uint8_t* cmyk, uint8_t* rgb, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i, cmyk += 4)
    for (uint32_t ink = 0; ink < 3; ++ink)
      *rgb++ = dividedBy255((255u - cmyk[ink]) * (255u - cmyk[3]));
}
