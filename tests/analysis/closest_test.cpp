// The nearest black pixel, against a scan of every run of the search area.

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Answer = std::tuple<int, int, int>;  // found, column, row
const Answer kNothing{0, 7, 8};

Answer scan(const RleRect& image, int x, int y, int r) {
  Answer best = kNothing;
  double least = 1e99;
  for (int i = std::max(0, y - r); i < std::min<int>(y + r, image.height); ++i)
    for (const auto& [start, end] : runsOf(image.rows[i])) {
      if (end < x - r || start > x + r) continue;
      const int column = std::clamp(x, start, end - 1);
      const double distance = double(column - x) * (column - x) + double(i - y) * (i - y);
      if (distance < least) best = {1, column, i};
      least = std::min(least, distance);
    }
  return best;
}

Answer closest(const OwnedRect& image, int x, int y, int r) {
  uint16_t foundX = 7, foundY = 8;
  const int found = rleClosest(image.get(), x, y, r, &foundX, &foundY);
  EXPECT_EQ(rleClosest(image.get(), x, y, r, nullptr, nullptr), found);
  return {found, foundX, foundY};
}

TEST(Closest, AgreesWithAScanOfEveryRun) {
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    const int width = randomInt(random, 1, 60), height = randomInt(random, 1, 60);
    const OwnedRect rect = randomPixels(random, width, height, 2, 3 << i % 7).toRect();
    for (int y = 0; i % 5 == 0 && y < height; ++y)
      if (y % 16 != 0) rleClearLine(rect->rows[y], 0, width - 1);
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
      for (const int r : {0, 1, 100, 40000, 65535})
        EXPECT_EQ(closest(rect, x, y, r), scan(*rect, x, y, r)) << x << ' ' << y << ' ' << r;
}

}  // namespace
}  // namespace rle::test
