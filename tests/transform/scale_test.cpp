// Scaling against plain pixels, and its arithmetic at the ends of its range.

#include <gtest/gtest.h>

#include <cmath>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using ScaleRect = void (*)(RleRect*, uint32_t, uint32_t);

constexpr uint32_t kOne = 32768;

double rounded(double value, bool nearest) { return std::floor(nearest ? value + 0.5 : value); }

// Every run scaled by itself and painted: what the picking manners mean.
Pixels pickedRows(const RleRect* rect, uint32_t f, uint32_t g, bool nearest) {
  const double q = g / 4;
  Pixels result(int(rounded(double(f) * rect->width / kOne, nearest)),
                int(std::floor(q * rect->height / 8192)));
  for (int i = 0; i < result.height; ++i) {
    const RleLine* row =
        rect->rows[std::min(int(rounded(i * 8192 / q, nearest)), rect->height - 1)];
    for (const auto& [start, end] : runsOf(row))
      for (int x = int(rounded(double(f) * start / kOne, nearest));
           x < int(rounded(double(f) * end / kOne, nearest)); ++x)
        result.put(x, i, true);
  }
  return result;
}

// The OR of all the pixels that a pixel of the result covers.
Pixels anyBlack(const Pixels& source, uint32_t f, uint32_t g) {
  const double qx = f / 4 / 8192.0, qy = g / 4 / 8192.0;
  Pixels result(int(std::ceil(qx * source.width)), int(std::ceil(qy * source.height)));
  for (int i = 0; i < result.height; ++i) {
    const int first = int(i / qy), stop = std::max(first + 1, int((i + 1) / qy));
    for (int y = first; y < stop; ++y)
      for (int x = 0; x < source.width; ++x)
        if (source.get(x, y))
          for (int to = int(x * qx); to < (x + 1) * qx; ++to) result.put(to, i, true);
  }
  return result;
}

TEST(Scaling, AgreesWithPixelsInEveryManner) {
  std::mt19937 random(33);
  for (int round = 0; round < 3000; ++round) {
    const Pixels pixels = randomPixels(random, randomInt(random, 1, 70), randomInt(random, 1, 40),
                                       randomInt(random, 1, 9), randomInt(random, 1, 9));
    const auto factor = [&] {
      const uint32_t usual[] = {kOne, kOne / 2, 2 * kOne, 12124, kOne - 1, 3 * kOne / 2};
      const int pick = randomInt(random, 0, 9);
      return pick < 6 ? usual[pick] : uint32_t(randomInt(random, 4, 100000));
    };
    const uint32_t f = factor(), g = factor();
    const OwnedRect page = pixels.toRect();
    const std::pair<ScaleRect, Pixels> manners[] = {
        {rleScaleRect, pickedRows(page.get(), f, g, false)},
        {rleNNScaleRect, pickedRows(page.get(), f, g, true)},
        {rleMinScaleRect, anyBlack(pixels, f, g)}};
    for (const auto& [scale, expected] : manners) {
      const OwnedRect scaled(rleDupRect(page.get()));
      scale(scaled.get(), f, g);
      ASSERT_EQ(Pixels(scaled.get()), expected) << f << " " << g;
      EXPECT_EQ(scaled->width == 0 ? 1 : rleCheckRect(scaled.get()), 1);
    }
  }
}

TEST(Scaling, KeepsRowsValidBeyondItsRange) {
  std::mt19937 random(34);
  const OwnedRect page = randomPixels(random, 65535, 3, 250, 1000).toRect();
  for (int round = 0; round < 300; ++round) {
    const auto f = uint32_t(random()) >> randomInt(random, 0, 16);
    for (const ScaleRect scale : {rleScaleRect, rleNNScaleRect, rleMinScaleRect}) {
      const OwnedRect scaled(rleDupRect(page.get()));
      scale(scaled.get(), f, uint32_t(random()) >> randomInt(random, 5, 31));
      EXPECT_EQ(scaled->width == 0 ? 1 : rleCheckRect(scaled.get()), 1) << f;
    }
  }
}

TEST(Scaling, RoundsVerticesDown) {
  const OwnedPoly region(rleAllocPoly());
  region->count = 2;
  region->points = rleAllocPoints(2);
  region->points[0] = {-5, 7};
  region->points[1] = {5, -7};
  rleScalePoly(region.get(), 3 * kOne / 2, 0);  // by 1.5, and not at all
  rleScalePoly(region.get(), 0, kOne / 2);
  EXPECT_EQ(region->points[0].x * 100 + region->points[0].y, -800 + 3);
  EXPECT_EQ(region->points[1].x * 100 + region->points[1].y, 700 - 4);
}

TEST(ResolutionChanges, ScaleOnceAndStoreAlways) {
  const OwnedRect page(rleNewRect(150, 90, 300));
  for (const int resolution :
       {100, 0, 70000, -1}) {  // after the first nothing to scale from, or to
    rleChangeResRect(page.get(), resolution);
    EXPECT_EQ(page->resolution, uint16_t(resolution));
    EXPECT_EQ(page->width, 49);  // a third of 32768 is 10922.67: the factor is cut off
    page->resolution = 0;
  }
}

}  // namespace
}  // namespace rle::test
