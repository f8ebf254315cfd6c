// Wrappers are compared with plain models of what they do to pixels, and driven by a source that
// does as it is told.

#include <array>
#include <cmath>
#include <functional>
#include <random>

#include "siblings/raster_rows.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Pixel = std::array<uint8_t, 4>;  // bilevel ones have their bit in the first place

bool hasAlpha(const Image& image) {
  return image.format == kRgbAlpha || image.format == kGreyAlpha;
}

Image blank(uint32_t width, uint32_t height, uint32_t format) {
  Image image{width, height, format};
  image.rows.resize(height * image.rowBytes());
  return image;
}

Pixel pixelAt(const Image& image, uint32_t x, uint32_t y) {
  Pixel pixel{};
  const uint8_t* const row = image.rows.data() + y * image.rowBytes();
  if (image.isBilevel())
    pixel[0] = row[x / 8] >> (7 - x % 8) & 1;
  else
    std::copy_n(row + x * image.samples(), image.samples(), pixel.begin());
  return pixel;
}

// Over zeros.
void put(Image& image, uint32_t x, uint32_t y, const Pixel& pixel) {
  uint8_t* const row = image.rows.data() + y * image.rowBytes();
  if (image.isBilevel())
    row[x / 8] |= uint8_t(pixel[0] << (7 - x % 8));
  else
    std::copy_n(pixel.begin(), image.samples(), row + x * image.samples());
}

// Noise, also behind the last pixels of the rows.
Image randomImage(std::mt19937& random, int width, int height, uint32_t seed) {
  Image image = blank(uint32_t(width), uint32_t(height), kAllFormats[seed % 9]);
  for (uint8_t& byte : image.rows)
    byte = uint8_t(image.isBilevel() ? random() & random() >> 8 : random());
  // Clear and opaque pixels are what there is most of.
  for (size_t i = image.samples() - 1; hasAlpha(image) && i < image.rows.size();
       i += image.samples())
    if (random() % 2) image.rows[i] = random() % 2 ? 255 : 0;
  return image;
}

// Lives on the stack and counts what is done to it.
struct Source : GfxInstance {
  Image image;
  GfxImageDesc told;
  int beginStatus = 1, endStatus = 1;
  uint32_t failingRow, rows = 0, ends = 0;

  explicit Source(const Image& i) : image(i), failingRow(i.height) {
    told = {i.width, i.height, i.format, 7, 7, nullptr};
    begin = [](GfxInstance* self, GfxImageDesc* description) {
      *description = of(self).told;
      return of(self).beginStatus;
    };
    process = [](GfxInstance* self, uint8_t* row) {
      Source& source = of(self);
      if (source.rows == source.failingRow) return -1;
      const size_t bytes = source.image.rowBytes();
      std::copy_n(source.image.rows.data() + source.rows++ * bytes, bytes, row);
      return 2;
    };
    end = [](GfxInstance* self) {
      ++of(self).ends;
      return of(self).endStatus;
    };
  }
  static Source& of(GfxInstance* self) { return *static_cast<Source*>(self); }
};

using Wrap = std::function<GfxInstance*(GfxInstance*)>;

Image wrapped(const Image& image, const Wrap& wrap) {
  Source source(image);
  Image result = readRows(wrap(&source)).withoutPadding();
  EXPECT_EQ(source.ends, 1U);
  return result;
}

TEST(Wrappers, TurnCounterClockwise) {
  for (uint32_t seed = 0; seed < 90; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const int width = randomInt(random, 1, 200);
    const int height = seed % 4 == 0 ? randomInt(random, 1, 3) * 64 : randomInt(random, 1, 200);
    const Image upright = randomImage(random, width, height, seed);
    const uint32_t w = upright.width, h = upright.height;
    Image left = blank(h, w, upright.format), half = blank(w, h, upright.format), right = left;
    for (uint32_t y = 0; y < h; ++y)
      for (uint32_t x = 0; x < w; ++x) {
        const Pixel pixel = pixelAt(upright, x, y);
        put(left, y, w - 1 - x, pixel);
        put(half, w - 1 - x, h - 1 - y, pixel);
        put(right, h - 1 - y, x, pixel);
      }
    const Image turned[] = {upright.withoutPadding(), left, half, right};
    for (int quarters = 0; quarters < 4; ++quarters)
      EXPECT_EQ(wrapped(upright, [&](auto* s) { return gfxInitRotate(s, quarters * 90); }),
                turned[quarters]);
  }
}

// What pixels make together, rounded to the nearest.
Pixel united(const std::vector<Pixel>& pixels, const Image& like) {
  const auto isBlack = [&](Pixel p) { return p[0] == like.black(); };
  if (like.isBilevel())
    return {uint8_t(std::ranges::any_of(pixels, isBlack) ? like.black() : !like.black())};
  Pixel result{};
  const size_t colours = like.samples() - hasAlpha(like);
  uint64_t weights = 0, sums[4] = {}, count = pixels.size();
  for (const Pixel& pixel : pixels) {
    const uint64_t weight = hasAlpha(like) ? pixel[colours] : 1;
    weights += weight;
    for (size_t s = 0; s < colours; ++s) sums[s] += weight * pixel[s];
  }
  for (size_t s = 0; s < colours; ++s)
    result[s] = uint8_t(weights ? (2 * sums[s] + weights) / (2 * weights) : 255);
  if (hasAlpha(like)) result[colours] = uint8_t((2 * weights + count) / (2 * count));
  return result;
}

// Scales the width, or the height, to `size`.
Image scaled(const Image& from, bool height, uint32_t to, bool min) {
  Image image = blank(height ? from.width : to, height ? to : from.height, from.format);
  const int64_t old = height ? from.height : from.width, size = to;
  for (uint32_t y = 0; y < image.height; ++y)
    for (uint32_t x = 0; x < image.width; ++x) {
      const int64_t place = height ? y : x, first = place * old / size;
      const int64_t last = ((place + 1) * old - (height ? size : 1)) / size;
      std::vector<Pixel> under;
      for (int64_t i = first; i == first || i <= last; ++i)
        under.push_back(height ? pixelAt(from, x, uint32_t(i)) : pixelAt(from, uint32_t(i), y));
      const Pixel one = height ? under.front() : under.back();
      put(image, x, y, min && under.size() > 1 ? united(under, from) : one);
    }
  return image;
}

TEST(Wrappers, ScaleAsTheIntervalsSay) {
  for (uint32_t seed = 0; seed < 720; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    // In long sides rounding shows, and averages of many are made of them.
    const bool large = seed % 20 == 0, height = seed % 40 >= 20, min = seed >= 360;
    const int size = large ? 65535 - randomInt(random, 0, 2) : randomInt(random, 1, 99);
    const int other = randomInt(random, 1, large ? 3 : 99);
    const Image from = randomImage(random, height ? other : size, height ? size : other, seed);
    const auto to = uint32_t(randomInt(random, 1, random() % 3 == 0 ? 4 : large ? 65535 : 250));
    const auto scale = height ? (min ? gfxInitMinScaleHeight : gfxInitMaxScaleHeight)
                              : (min ? gfxInitMinScaleWidth : gfxInitMaxScaleWidth);
    EXPECT_EQ(wrapped(from, [&](auto* s) { return scale(s, to); }), scaled(from, height, to, min));
  }
}

// Red, green and blue of a pixel, on white.
std::array<double, 3> rgbAt(const Image& from, uint32_t x) {
  const auto part = [](int sample, int of255) { return std::round(sample * of255 / 255.0); };
  const int last = from.sample(x, 0, from.samples() - 1);  // alpha, or black ink
  std::array<double, 3> rgb;
  for (size_t s = 0; s < 3; ++s) {
    const int sample = from.sample(x, 0, from.samples() < 3 ? 0 : s);
    rgb[s] = from.format == kCmyk ? part(255 - sample, 255 - last)
             : hasAlpha(from)     ? 255 - part(255 - sample, last)
                                  : sample;
  }
  return rgb;
}

TEST(Wrappers, ConvertEverythingToBilevelGreyAndRgb) {
  constexpr uint32_t kTargets[] = {kZeroBlack,      kRgb, kGrey, kBits, GFX_FORMAT(1, 5),
                                   GFX_FORMAT(1, 9)};
  for (uint32_t seed = 0; seed < 54; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const Image from = randomImage(random, randomInt(random, 1, 4500), 1, seed);
    const auto type = int32_t(kTargets[seed / 9] & 0xFFFF);
    const Image to = wrapped(from, [&](auto* s) { return gfxInitColorSpaceConverter(s, type, 1); });
    ASSERT_EQ(to.format, kTargets[seed / 9]);
    for (uint32_t x = 0; x < to.width; ++x) {
      const std::array<double, 3> rgb = rgbAt(from, x);
      const double luminance = 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
      if (to.isBilevel() && std::abs(luminance - 127.5) < 0.01) continue;  // either is right
      const double bit = luminance < 127.5 ? 0 : 255;
      for (size_t s = 0; s < to.samples(); ++s) {
        const double wanted = to.isBilevel() ? bit : to.format == kGrey ? luminance : rgb[s];
        ASSERT_NEAR(to.sample(x, 0, s), wanted, 0.51) << x;
      }
    }
  }
}

const Wrap kWraps[] = {
    [](auto* s) { return gfxInitColorSpaceConverter(s, GFX_RGB, 1); },
    [](auto* s) { return gfxInitRotate(s, 0); },
    [](auto* s) { return gfxInitRotate(s, 90); },
    [](auto* s) { return gfxInitRotate(s, 180); },
    [](auto* s) { return gfxInitMinScaleWidth(s, 65535); },
    [](auto* s) { return gfxInitMaxScaleHeight(s, 100); },
    [](auto* s) { return gfxInitMinScaleHeight(s, 9); },
};

TEST(Wrappers, LeaveTheSourceToTheCallerWhenTheyAreNotMade) {
  Source source(blank(9, 9, kBits));
  for (const int type : {-1, 3, 6, 7, 8, 10, 14, 65540})
    EXPECT_EQ(gfxInitColorSpaceConverter(&source, type, 1), nullptr);
  for (const int degrees : {-90, 1, 45, 360, 450})
    EXPECT_EQ(gfxInitRotate(&source, degrees), nullptr);
  for (const auto scale :
       {gfxInitMaxScaleWidth, gfxInitMaxScaleHeight, gfxInitMinScaleWidth, gfxInitMinScaleHeight})
    for (const uint32_t size : {0U, 65536U, UINT32_MAX}) EXPECT_EQ(scale(&source, size), nullptr);
  for (const Wrap& wrap : kWraps) EXPECT_EQ(wrap(nullptr), nullptr);
  EXPECT_EQ(source.rows + source.ends, 0U);
}

// How many rows come before one fails; -1 when there is no beginning. Ends.
int rowsUntilFailure(Source& source, const Wrap& wrap) {
  Bytes row(65535 * 3);
  GfxInstance* const chain = wrap(&source);
  GfxImageDesc description{};
  int rows = chain->begin(chain, &description) > 0 ? 0 : -1;
  while (rows >= 0 && chain->process(chain, row.data()) > 0) ++rows;
  const uint32_t read = source.rows;
  source.failingRow = UINT32_MAX;
  EXPECT_LE(chain->process(chain, row.data()), 0) << "a failure is final";
  EXPECT_EQ(source.rows, read);
  EXPECT_EQ(chain->end(chain) > 0, source.endStatus > 0);
  EXPECT_EQ(source.ends, 1U);
  return rows;
}

TEST(Wrappers, FailWhenTheSourceFailsOrSaysImpossibleThings) {
  const Image grey = blank(30, 90, kGrey);
  for (const Wrap& wrap : kWraps) {
    SCOPED_TRACE(&wrap - kWraps);
    Source mute(grey), torn(grey);
    mute.beginStatus = 0;
    EXPECT_EQ(rowsUntilFailure(mute, wrap), -1);
    torn.failingRow = 70;
    torn.endStatus = 0;
    EXPECT_LE(rowsUntilFailure(torn, wrap), 78);
    EXPECT_EQ(torn.rows, 70U);
    const auto rows = [&](uint32_t width, uint32_t height, uint32_t format) {
      Source source(blank(1, 0, kBits));  // nothing comes
      source.told = {width, height, format, 0, 0, nullptr};
      return rowsUntilFailure(source, wrap);
    };
    EXPECT_EQ(rows(0, 9, kBits), -1);
    EXPECT_EQ(rows(9, 0, kBits), -1);
    EXPECT_EQ(rows(9, 9, GFX_FORMAT(8, GFX_RGB)), -1);
    EXPECT_EQ(rows(9, 9, 0), -1);
    EXPECT_EQ(rows(0x80000000, 1, kBits), -1);
    EXPECT_EQ(rows(1, UINT32_MAX, kBits), -1);
    EXPECT_EQ(rows(0x30000000, 1, kRgb), -1);
    EXPECT_EQ(rows(65535, 65535, kRgb), 0);
    EXPECT_LE(rows(1, INT32_MAX, kRgb), &wrap == &kWraps[2] ? -1 : 0);  // too wide on its side
  }
}

}  // namespace
}  // namespace rle::test
