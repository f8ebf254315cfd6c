// Scaling against plain pixels, and its arithmetic at the ends of its range.

#include <gtest/gtest.h>

#include <cmath>

#include "model/runs.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Runs = std::vector<std::pair<int, int>>;
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
  const double qx = f / 4 / 8192.0;
  const double qy = g / 4 / 8192.0;
  Pixels result(int(std::ceil(qx * source.width)), int(std::ceil(qy * source.height)));
  for (int i = 0; i < result.height; ++i) {
    const int first = int(i / qy);
    const int stop = std::max(first + 1, int((i + 1) / qy));
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
    const uint32_t f = factor();
    const uint32_t g = factor();
    const OwnedRect page = pixels.toRect();
    const struct {
      ScaleRect scale;
      Pixels expected;
    } manners[] = {{rleScaleRect, pickedRows(page.get(), f, g, false)},
                   {rleNNScaleRect, pickedRows(page.get(), f, g, true)},
                   {rleMinScaleRect, anyBlack(pixels, f, g)}};
    for (const auto& manner : manners) {
      const OwnedRect scaled(rleDupRect(page.get()));
      scaled->tag = 8;
      manner.scale(scaled.get(), f, g);
      ASSERT_EQ(Pixels(scaled.get()), manner.expected)
          << f << " " << g << " manner " << &manner - manners;
      EXPECT_EQ(scaled->width == 0 ? 1 : rleCheckRect(scaled.get()), 1);
      EXPECT_EQ(scaled->tag, 8U);
    }
  }
}

TEST(Scaling, OfARowDropsJoinsAndFitsItsBuffer) {
  const Row row(Runs{{3, 8}, {10, 11}, {12, 13}, {16, 20}, {21, 40}}), blank;
  row->tag = blank->tag = 9;
  const OwnedLine half(rleScaleLine(row, kOne / 2));  // [5, 5) and [6, 6) vanish, 10 meets 10
  EXPECT_EQ(runsOf(half.get()), (Runs{{1, 4}, {8, 20}}));
  EXPECT_EQ(capacityOf(half->runs), 6U);
  EXPECT_EQ(half->tag, 0U);
  // 1.5 to 2, 5.5 to 6, 6.5 to 7, 10.5 to 11
  EXPECT_EQ(runsOf(OwnedLine(rleNNScaleLine(row, kOne / 2)).get()),
            (Runs{{2, 4}, {5, 7}, {8, 10}, {11, 20}}));
  EXPECT_EQ(capacityOf(OwnedLine(rleScaleLine(row, 0))->runs), 5U);
  const OwnedLine empty(rleNNScaleLine(blank, kOne));
  EXPECT_EQ(empty->tag, 9U);
  EXPECT_EQ(empty->runs, nullptr);
}

TEST(Scaling, KeepsRowsValidBeyondItsRange) {
  std::mt19937 random(34);
  for (int round = 0; round < 300; ++round) {
    const OwnedRect page(rleNewRect(65535, 3, 200));
    for (int y = 0; y < 3; ++y)
      for (int i = 0; i < 50; ++i) {
        const int x = randomInt(random, 0, 65000);
        rleSetLine(page->rows[y], x, x + randomInt(random, 0, 500));
      }
    const auto f = uint32_t(random()) >> randomInt(random, 0, 16);
    for (const ScaleRect scale : {rleScaleRect, rleNNScaleRect, rleMinScaleRect}) {
      const OwnedRect scaled(rleDupRect(page.get()));
      scale(scaled.get(), f, uint32_t(random()) >> randomInt(random, 5, 31));
      EXPECT_EQ(scaled->width == 0 ? 1 : rleCheckRect(scaled.get()), 1) << f;
    }
  }
}

TEST(ResolutionChanges, ScaleOnceAndStoreAlways) {
  const OwnedPoly poly(rleAllocPoly());
  poly->image = rleNewRect(100, 60, 200);
  poly->mask = rleNewRect(100, 60, 200);
  poly->count = 1;
  poly->points = rleAllocPoints(1);
  poly->points[0] = {40, -5};
  const auto facts = [&] {
    return std::vector<int>{poly->image->width, poly->mask->height, poly->mask->resolution,
                            poly->points[0].x, poly->points[0].y};
  };
  rleChangeResPoly(poly.get(), 300);
  EXPECT_EQ(facts(), (std::vector{150, 90, 300, 60, -8}));  // rounded down
  rleScalePoly(poly.get(), 0, 2 * kOne);                    // too small a factor for the images
  EXPECT_EQ(facts(), (std::vector{150, 90, 300, 60, -16}));
  rleChangeResRect(poly->image, 100);  // a third of 32768 is 10922.67: the factor is cut off
  EXPECT_EQ(poly->image->width, 49);
  for (const int resolution : {0, 70000, -1}) {  // nothing to scale from, or to
    poly->image->resolution = 0;
    rleChangeResRect(poly->image, resolution);
    EXPECT_EQ(poly->image->resolution, uint16_t(resolution));
    EXPECT_EQ(poly->image->width, 49);
  }
}

}  // namespace
}  // namespace rle::test
