// The nearest black pixel of the largest image, against a scan of every run of the search area.
// (Of small ones: random cases of analysis.)

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "support/picture.h"

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

TEST(Closest, ReachesTheEdgesOfSixteenBits) {
  const OwnedRect rect(rleNewRect(65535, 65535, 200));
  rleSetLine(rect->rows[0], 0, 0);
  rleSetLine(rect->rows[65534], 65534, 65534);
  rleSetLine(rect->rows[40000], 100, 200);
  for (const int x : {0, 300, 65534, 65535})
    for (const int y : {0, 1, 20000, 39999, 65534, 65535})
      for (const int r : {0, 1, 100, 40000, 65535})
        EXPECT_EQ(closest(rect, x | 7 << 16, y | 8 << 16, r | 9 << 16), scan(*rect, x, y, r))
            << x << ' ' << y << ' ' << r;
}

}  // namespace
}  // namespace rle::test
