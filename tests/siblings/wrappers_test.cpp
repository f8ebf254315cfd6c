// Wrappers are compared with plain models of what they do to pixels, and driven by a source that
// does as it is told.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "gfx.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Pixel = std::array<uint8_t, 4>;  // bilevel ones have their bit in the first place

struct Raster {
  int width = 0, height = 0, type = 0;
  std::vector<Pixel> pixels;

  Raster(int w, int h, int t) : width(w), height(h), type(t), pixels(size_t(w) * size_t(h)) {}
  Pixel& at(int x, int y) { return pixels[size_t(y) * size_t(width) + size_t(x)]; }
  bool operator==(const Raster&) const = default;

  int bytes() const { return std::array{0, 3, 1, 4, 0, 0, 4, 2, 0, 0}[size_t(type)]; }  // 0: a bit
  int colours() const { return type == 6 || type == 7 ? bytes() - 1 : bytes(); }
  int black() const { return type % 5 == 4; }  // the bit
  uint32_t format() const { return GFX_FORMAT(bytes() ? bytes() * 8 : 1, type); }
  int rowBytes() const { return bytes() ? bytes() * width : (width + 7) / 8; }

  // Copies row `y` from or to a packed one, whose bits behind the last pixel stay.
  void copyRow(int y, uint8_t* row, bool fromHere) {
    for (int x = 0; x < width; ++x) {
      uint8_t* const there = bytes() ? row + bytes() * x : row + x / 8;
      uint8_t* const here = at(x, y).data();
      const int shift = 7 - x % 8;
      if (bytes())
        std::copy_n(fromHere ? here : there, bytes(), fromHere ? there : here);
      else if (fromHere)
        *there = uint8_t((*there & ~(1 << shift)) | *here << shift);
      else
        *here = *there >> shift & 1;
    }
  }
};

constexpr int kTypes[] = {0, 1, 2, 3, 4, 5, 6, 7, 9};

Raster randomRaster(std::mt19937& random, int width, int height, uint32_t seed) {
  Raster raster(width, height, kTypes[seed % 9]);
  for (Pixel& pixel : raster.pixels) {
    for (int s = 0; s < raster.bytes(); ++s) pixel[size_t(s)] = uint8_t(random());
    if (raster.bytes() == 0) pixel[0] = random() % 3 == 0;
    // Clear and opaque pixels are what there is most of.
    if (raster.bytes() > raster.colours() && random() % 2)
      pixel[size_t(raster.colours())] = random() % 2 ? 255 : 0;
  }
  return raster;
}

// Lives on the stack and counts what is done to it.
struct Source : GfxInstance {
  Raster raster;
  GfxImageDesc told;
  int beginStatus = 1, endStatus = 1, failingRow = -1;
  int rows = 0, ends = 0;

  explicit Source(const Raster& r) : raster(r) {
    told = {uint32_t(r.width), uint32_t(r.height), r.format(), 7, 7, nullptr};
    begin = [](GfxInstance* self, GfxImageDesc* description) {
      *description = of(self).told;
      return of(self).beginStatus;
    };
    process = [](GfxInstance* self, uint8_t* row) {
      Source& source = of(self);
      if (source.rows == source.failingRow || source.rows >= source.raster.height) return -1;
      source.raster.copyRow(source.rows++, row, true);
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

Raster wrapped(const Raster& raster, const Wrap& wrap) {
  Source source(raster);
  GfxInstance* const chain = wrap(&source);
  GfxImageDesc d{};
  EXPECT_GT(chain->begin(chain, &d), 0) << gfxLastError();
  Raster result(int(d.width), int(d.height), int(d.format & 0xFFFF));
  EXPECT_EQ(d.format, result.format());
  EXPECT_EQ(d.zero3 | d.zero4, 0U);
  std::vector<uint8_t> row(size_t(result.rowBytes()));  // exactly, for the sanitizer
  for (int y = 0; y < result.height; ++y) {
    EXPECT_GT(chain->process(chain, row.data()), 0) << gfxLastError();
    result.copyRow(y, row.data(), false);
    std::ranges::fill(row, 0x5A);  // wrappers keep nothing in the caller's row
  }
  EXPECT_EQ(chain->process(chain, row.data()), 0) << "a row too many";
  EXPECT_GT(chain->end(chain), 0);
  EXPECT_EQ(source.ends, 1);
  return result;
}

TEST(Wrappers, TurnCounterClockwise) {
  for (uint32_t seed = 0; seed < 90; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const int w = randomInt(random, 1, 200);
    const int h = seed % 4 == 0 ? randomInt(random, 1, 3) * 64 : randomInt(random, 1, 200);
    Raster upright = randomRaster(random, w, h, seed);
    Raster left(h, w, upright.type), half(w, h, upright.type), right(h, w, upright.type);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        left.at(y, w - 1 - x) = half.at(w - 1 - x, h - 1 - y) = right.at(h - 1 - y, x) =
            upright.at(x, y);
    const Raster* const turned[] = {&upright, &left, &half, &right};
    for (int quarters = 0; quarters < 4; ++quarters)
      EXPECT_EQ(wrapped(upright, [&](auto* s) { return gfxInitRotate(s, quarters * 90); }),
                *turned[quarters]);
  }
}

// What pixels make together, rounded to the nearest.
Pixel united(const std::vector<Pixel>& pixels, const Raster& like) {
  const auto isBlack = [&](Pixel p) { return p[0] == like.black(); };
  if (like.bytes() == 0)
    return {uint8_t(std::ranges::any_of(pixels, isBlack) ? like.black() : !like.black())};
  Pixel result{};
  const auto colours = size_t(like.colours());
  const bool alpha = like.colours() < like.bytes();
  uint64_t weights = 0, sums[4] = {}, count = pixels.size();
  for (const Pixel& pixel : pixels) {
    const uint64_t weight = alpha ? pixel[colours] : 1;
    weights += weight;
    for (size_t s = 0; s < colours; ++s) sums[s] += weight * pixel[s];
  }
  for (size_t s = 0; s < colours; ++s)
    result[s] = uint8_t(weights ? (2 * sums[s] + weights) / (2 * weights) : 255);
  if (alpha) result[colours] = uint8_t((2 * weights + count) / (2 * count));
  return result;
}

// Scales the width, or the height, to `size`.
Raster scaled(Raster from, bool height, int64_t size, bool min) {
  Raster to(height ? from.width : int(size), height ? int(size) : from.height, from.type);
  const int64_t old = height ? from.height : from.width;
  for (int y = 0; y < to.height; ++y)
    for (int x = 0; x < to.width; ++x) {
      const int64_t place = height ? y : x, first = place * old / size;
      const int64_t last = ((place + 1) * old - (height ? size : 1)) / size;
      std::vector<Pixel> under;
      for (int64_t i = first; i == first || i <= last; ++i)
        under.push_back(height ? from.at(x, int(i)) : from.at(int(i), y));
      to.at(x, y) = min && last > first ? united(under, from) : (height ? under[0] : under.back());
    }
  return to;
}

TEST(Wrappers, ScaleAsTheIntervalsSay) {
  for (uint32_t seed = 0; seed < 720; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    // In long sides rounding shows, and averages of many are made of them.
    const bool large = seed % 20 == 0, height = seed % 40 >= 20, min = seed >= 360;
    const int size = large ? 65535 - randomInt(random, 0, 2) : randomInt(random, 1, 99);
    const int other = randomInt(random, 1, large ? 3 : 99);
    const Raster from = randomRaster(random, height ? other : size, height ? size : other, seed);
    const auto to = uint32_t(randomInt(random, 1, random() % 3 == 0 ? 4 : large ? 65535 : 250));
    const auto scale = height ? (min ? gfxInitMinScaleHeight : gfxInitMaxScaleHeight)
                              : (min ? gfxInitMinScaleWidth : gfxInitMaxScaleWidth);
    EXPECT_EQ(wrapped(from, [&](auto* s) { return scale(s, to); }), scaled(from, height, to, min));
  }
}

TEST(Wrappers, ScaleBilevelImagesAsRunsAreScaled) {
  std::mt19937 random(1);
  for (const double factor : {0.5, 0.25, 2.0, 3.0})
    for (const bool min : {false, true}) {
      SCOPED_TRACE(testing::Message() << factor << (min ? " min" : " max"));
      const Pixels pixels = randomPixels(random, 4 * randomInt(random, 10, 90), 48);
      Raster raster(pixels.width, pixels.height, GFX_BILEVEL_1_BLACK);
      for (size_t i = 0; i < pixels.black.size(); ++i) raster.pixels[i][0] = pixels.black[i];
      const auto w = uint32_t(pixels.width * factor), h = uint32_t(pixels.height * factor);
      const Raster result = wrapped(raster, [&](auto* s) {
        return min ? gfxInitMinScaleHeight(gfxInitMinScaleWidth(s, w), h)
                   : gfxInitMaxScaleHeight(gfxInitMaxScaleWidth(s, w), h);
      });
      const OwnedRect rect = pixels.toRect();
      const auto fixed = uint32_t(factor * 32768);
      (min ? rleMinScaleRect : rleScaleRect)(rect.get(), fixed, fixed);
      const Pixels expected(rect.get());
      ASSERT_EQ(expected.black.size(), result.pixels.size());
      for (size_t i = 0; i < result.pixels.size(); ++i)
        ASSERT_EQ(result.pixels[i][0], expected.black[i]) << i;
    }
}

// Red, green and blue of a pixel, on white.
std::array<double, 3> rgbOf(const Raster& from, const Pixel& p) {
  const auto part = [](int sample, int of255) { return std::round(sample * of255 / 255.0); };
  std::array<double, 3> rgb;
  for (size_t s = 0; s < 3; ++s) {
    const int sample = p[from.colours() < 3 ? 0 : s], alpha = p[size_t(from.colours() & 3)];
    rgb[s] = from.bytes() == 0               ? (sample == from.black() ? 0 : 255)
             : from.type == GFX_CMYK         ? part(255 - sample, 255 - p[3])
             : from.colours() < from.bytes() ? 255 - part(255 - sample, alpha)
                                             : sample;
  }
  return rgb;
}

TEST(Wrappers, ConvertEverythingToBilevelGreyAndRgb) {
  for (uint32_t seed = 0; seed < 54; ++seed) {
    std::mt19937 random(seed);
    const Raster from = randomRaster(random, randomInt(random, 1, 1500), 3, seed);
    const int type = std::array{0, 1, 2, 4, 5, 9}[seed / 9];
    const auto to = wrapped(from, [&](auto* s) { return gfxInitColorSpaceConverter(s, type, 1); });
    ASSERT_EQ(to.type, type);
    for (size_t i = 0; i < to.pixels.size(); ++i) {
      const auto [red, green, blue] = rgbOf(from, from.pixels[i]);
      const double luminance = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
      const Pixel p = to.pixels[i];
      const bool right = to.bytes() == 3   ? p[0] == red && p[1] == green && p[2] == blue
                         : to.bytes() == 1 ? std::abs(p[0] - luminance) < 0.51
                                           : (p[0] == to.black()) == (luminance < 127.5) ||
                                                 std::abs(luminance - 127.5) < 0.01;
      ASSERT_TRUE(right) << "seed " << seed << " pixel " << i;
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
  Source source(Raster(9, 9, 4));
  for (const int type : {-1, 3, 6, 7, 8, 10, 14, 65540})
    EXPECT_EQ(gfxInitColorSpaceConverter(&source, type, 1), nullptr);
  for (const int degrees : {-90, 1, 45, 360, 450})
    EXPECT_EQ(gfxInitRotate(&source, degrees), nullptr);
  for (const auto scale :
       {gfxInitMaxScaleWidth, gfxInitMaxScaleHeight, gfxInitMinScaleWidth, gfxInitMinScaleHeight})
    for (const uint32_t size : {0U, 65536U, UINT32_MAX}) EXPECT_EQ(scale(&source, size), nullptr);
  for (const Wrap& wrap : kWraps) EXPECT_EQ(wrap(nullptr), nullptr);
  EXPECT_EQ(source.rows + source.ends, 0);
}

// Begins and reads rows until that fails; returns how many came, -1 without begin. Ends.
int rowsUntilFailure(Source& source, const Wrap& wrap) {
  std::vector<uint8_t> row(65535 * 3);
  GfxInstance* const chain = wrap(&source);
  GfxImageDesc description{};
  int rows = chain->begin(chain, &description) > 0 ? 0 : -1;
  while (rows >= 0 && chain->process(chain, row.data()) > 0) ++rows;
  const int read = source.rows;
  source.failingRow = -1;
  EXPECT_LE(chain->process(chain, row.data()), 0) << "a failure is final";
  EXPECT_EQ(source.rows, read);
  EXPECT_EQ(chain->end(chain) > 0, source.endStatus > 0);
  EXPECT_EQ(source.ends, 1);
  return rows;
}

TEST(Wrappers, FailWhenTheSourceFailsOrSaysImpossibleThings) {
  const uint32_t bits = Raster(0, 0, 4).format(), rgb = Raster(0, 0, 1).format();
  for (const Wrap& wrap : kWraps) {
    SCOPED_TRACE(&wrap - kWraps);
    Source mute(Raster(30, 90, GFX_GREY)), torn = mute;
    mute.beginStatus = 0;
    EXPECT_EQ(rowsUntilFailure(mute, wrap), -1);
    torn.failingRow = 70;
    torn.endStatus = 0;
    EXPECT_LE(rowsUntilFailure(torn, wrap), 78);
    EXPECT_EQ(torn.rows, 70);
    const auto rows = [&](uint32_t width, uint32_t height, uint32_t format) {
      Source source(Raster(1, 0, 4));  // nothing comes
      source.told = {width, height, format, 0, 0, nullptr};
      return rowsUntilFailure(source, wrap);
    };
    EXPECT_EQ(rows(0, 9, bits), -1);
    EXPECT_EQ(rows(9, 0, bits), -1);
    EXPECT_EQ(rows(9, 9, GFX_FORMAT(8, GFX_RGB)), -1);
    EXPECT_EQ(rows(9, 9, 0), -1);
    EXPECT_EQ(rows(0x80000000, 1, bits), -1);
    EXPECT_EQ(rows(1, UINT32_MAX, bits), -1);
    EXPECT_EQ(rows(0x30000000, 1, rgb), -1);
    EXPECT_EQ(rows(65535, 65535, rgb), 0);
    EXPECT_LE(rows(1, INT32_MAX, rgb), &wrap == &kWraps[2] ? -1 : 0);  // too wide on its side
  }
}

}  // namespace
}  // namespace rle::test
