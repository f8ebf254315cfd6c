// The nearest black pixel, against a scan of every run of the search area.

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Answer = std::tuple<int, int, int>;  // found, column, row

Answer scan(const RleRect& image, int x, int y, int r) {
  Answer best{0, 7, 8};
  double least = 0;
  for (int i = std::max(0, y - r); i < std::min<int>(y + r, image.height); ++i)
    for (const auto& [start, end] : runsOf(image.rows[i])) {
      if (end < x - r || start > x + r) continue;
      const int column = std::clamp(x, start, end - 1);
      const double distance = double(column - x) * (column - x) + double(i - y) * (i - y);
      if (std::get<0>(best) == 1 && distance >= least) continue;
      best = {1, column, i};
      least = distance;
    }
  return best;
}

Answer closest(const OwnedRect& image, int x, int y, int r) {
  uint16_t foundX = 7, foundY = 8;
  const int found = rleClosest(image.get(), x, y, r, &foundX, &foundY);
  return {found, foundX, foundY};
}

TEST(Closest, AgreesWithAScanOfEveryRun) {
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    const int width = randomInt(random, 1, 60), height = randomInt(random, 1, 60);
    const OwnedRect rect =
        randomPixels(random, width, height, 2, i % 4 == 0 ? 200 : 3 << i % 4).toRect();
    if (i % 5 == 0)
      for (int y = 0; y < height; ++y)
        if (randomInt(random, 0, 3) != 0) rleClearLine(rect->rows[y], 0, width - 1);
    for (int query = 0; query < 20; ++query) {
      const int x = randomInt(random, 0, width + 20), y = randomInt(random, 0, height + 20);
      const int r = query == 0 ? 65535 : randomInt(random, 0, 25);
      ASSERT_EQ(closest(rect, x | i << 16, y | query << 16, r | 5 << 16), scan(*rect, x, y, r))
          << i << ": " << x << ' ' << y << ' ' << r;
    }
  }
}

TEST(Closest, ReachesTheEdgesOfSixteenBits) {
  const OwnedRect rect(rleNewRect(65535, 65535, 200));
  rleSetLine(rect->rows[0], 0, 0);
  rleSetLine(rect->rows[65534], 65534, 65534);
  rleSetLine(rect->rows[40000], 100, 200);
  for (const int x : {0, 300, 65534, 65535})
    for (const int y : {0, 1, 20000, 39999, 65534, 65535})
      for (const int r : {0, 1, 2, 100, 40000, 65535})
        EXPECT_EQ(closest(rect, x, y, r), scan(*rect, x, y, r)) << x << ' ' << y << ' ' << r;
}

TEST(Closest, TakesTheSearchAreaAndTiesToTheLetter) {
  const OwnedRect rect = image({"#####................",  //
                                "..........##########.",  //
                                ".......#............."});
  EXPECT_EQ(closest(rect, 12, 1, 0), Answer(0, 7, 8));  // no row at all
  EXPECT_EQ(closest(rect, 12, 1, 2), Answer(1, 12, 1));
  EXPECT_EQ(closest(rect, 7, 1, 5), Answer(1, 7, 2));
  EXPECT_EQ(closest(rect, 7, 1, 1), Answer(0, 7, 8));  // row y + r is not searched
  EXPECT_EQ(closest(rect, 20, 1, 1), Answer(1, 19, 1));
  EXPECT_EQ(closest(rect, 22, 1, 2), Answer(1, 19, 1));  // the run's end is at x - r
  EXPECT_EQ(closest(rect, 23, 1, 2), Answer(0, 7, 8));
  rleClearLine(rect->rows[2], 0, 20);
  EXPECT_EQ(closest(rect, 7, 1, 5), Answer(1, 10, 1));  // 9 away; column 4 of the row above is 10
  rleSetLine(rect->rows[2], 12, 12);
  rleClearLine(rect->rows[1], 12, 12);
  EXPECT_EQ(closest(rect, 12, 1, 5), Answer(1, 11, 1));  // of three at distance 1
  EXPECT_EQ(rleClosest(rect.get(), 12, 1, 5, nullptr, nullptr), 1);
}

TEST(Closest, StaysInsideRowsInDisorder) {
  std::mt19937 random(2);
  const OwnedRect rect(rleNewRect(50, 3, 200));
  for (int i = 0; i < 3000; ++i) {
    std::vector<std::pair<int, int>> runs(size_t(randomInt(random, 0, 20)));
    for (auto& [start, end] : runs)
      start = randomInt(random, 0, 65535), end = randomInt(random, 0, 65535);
    Row row(runs);
    std::swap(*rect->rows[i % 3], *row.operator->());
    EXPECT_LT(std::get<2>(closest(rect, randomInt(random, 0, 65535), 1, 1 << i % 17)), 9);
  }
}

}  // namespace
}  // namespace rle::test
