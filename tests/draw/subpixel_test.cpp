// Filling polygons with vertices between the pixels, against a plain walk down all rows.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Corners = std::vector<RleDPoint>;

void fill(RleRect* rect, Corners corners, int dx, int dy) {
  rleFillSppPoly(rect, int32_t(corners.size()), corners.data(), dx, dy, 1, nullptr, 1);
}

// Visits every row and paints every span on its own.
void walk(RleRect* rect, const Corners& p, int dx, int dy) {
  const auto isHigher = [](const RleDPoint& a, const RleDPoint& b) { return a.y < b.y; };
  const auto top = size_t(std::ranges::min_element(p, isHigher) - p.begin());
  const double last = std::ceil(std::ranges::max_element(p, isHigher)->y) - 1;
  double y = std::ceil(p[top].y);
  std::vector<int> left(p.size(), 0);
  left[top] = -1;
  struct Side {
    size_t at;
    double x, slope;
  } a{top, 0, 0}, b{top, 0, 0};
  const auto move = [&](Side& side, size_t step) {
    ++left[side.at];
    const RleDPoint from = p[side.at], to = p[side.at = (side.at + step) % p.size()];
    if (to.y - from.y == 0) return;
    side.slope = (to.x - from.x) / (to.y - from.y);
    side.x = from.x + std::max(y - from.y, 0.0) * side.slope;
  };
  while (y <= last) {
    const auto isAt = [&](const Side& side) { return std::abs(y - p[side.at].y) <= 1e-6; };
    if ((y > p[a.at].y || isAt(a)) && left[a.at] != 1) move(a, 1);
    if (y > p[b.at].y || (isAt(b) && left[b.at] != 1)) move(b, p.size() - 1);
    const double rows = std::min(p[a.at].y, p[b.at].y) - y;
    if (rows < 1e-6 && left[a.at] != 0 && left[b.at] != 0) return;
    if (rows < 1e-6) continue;
    for (int k = std::max(int(rows), 1); k > 0; --k, y += 1) {
      RlePoint at = {int(std::ceil(std::min(a.x, b.x))) + dx, int(y) + dy};
      int32_t width = int(std::ceil(std::max(a.x, b.x))) + dx - at.x;
      rleFillSpans(rect, 1, &at, &width, 1, nullptr, 1);
      a.x += a.slope;
      b.x += b.slope;
    }
  }
}

// Vertices on the grid, between, and a hair's breadth off it.
double coordinate(std::mt19937& random, int low, int high) {
  const double offsets[] = {0, 0, 0.5, 0.25, 1e-7, -1e-7, 0.3};
  return randomInt(random, low, high) + offsets[randomInt(random, 0, 6)];
}

TEST(SubPixelPolygons, AreThoseOfAWalkDownAllRows) {
  std::mt19937 random(51);
  for (int round = 0; round < 6000; ++round) {
    const int reach = round % 10 == 0 ? 30000 : 40;
    Corners corners;
    for (int i = randomInt(random, 3, 7); i > 0; --i)
      corners.push_back(
          {coordinate(random, -reach, 20 + reach), coordinate(random, -reach, 20 + reach)});
    const int dx = randomInt(random, -9, 9), dy = randomInt(random, -9, 9);
    const OwnedRect rect(rleNewRect(30, 20, 0)), expected(rleNewRect(30, 20, 0));
    fill(rect.get(), corners, dx, dy);
    walk(expected.get(), corners, dx, dy);
    ASSERT_EQ(picture(rect.get()), picture(expected.get())) << "round " << round;
    for (RleDPoint& corner : corners)  // and as large as numbers go
      corner = {std::ldexp(corner.x, randomInt(random, -9, 900)),
                std::ldexp(corner.y, round % 900)};
    fill(rect.get(), corners, dx * (INT_MAX / 9), dy * (INT_MAX / 9));
    fill(rect.get(), corners, 0, 0);
    ASSERT_EQ(rleCheckRect(rect.get()), 1);
  }
}

}  // namespace
}  // namespace rle::test
