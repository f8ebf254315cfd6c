// Filling polygons with vertices between the pixels, against geometry and against a plain walk.

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Corners = std::vector<RleDPoint>;

void fill(RleRect* rect, Corners corners, int dx = 0, int dy = 0, int colour = 1) {
  rleFillSppPoly(rect, int32_t(corners.size()), corners.data(), dx, dy, colour, nullptr, 1);
}

std::vector<std::string> filled(int width, int height, const Corners& corners) {
  const OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(height), 0));
  fill(rect.get(), corners);
  return picture(rect.get());
}

TEST(SubPixelPolygons, FillThePixelsBetweenTheirSides) {
  EXPECT_EQ(filled(11, 6, {{0, 0}, {10, 0}, {10, 5}, {0, 5}}),
            (std::vector<std::string>{"##########.", "##########.", "##########.", "##########.",
                                      "##########.", "..........."}));
  EXPECT_EQ(filled(6, 4, {{0.5, 2.5}, {4.5, 2.5}, {4.5, 0.5}, {0.5, 0.5}}),
            (std::vector<std::string>{"......", ".####.", ".####.", "......"}));
  EXPECT_EQ(filled(5, 5, {{2, 0}, {4, 2}, {2, 4}, {0, 2}}),
            (std::vector<std::string>{".....", ".##..", "####.", ".##..", "....."}));
  EXPECT_EQ(filled(3, 1, {{0, 0}, {2, 1}}), (std::vector<std::string>{"..."}));
  EXPECT_EQ(filled(3, 1, {{0, 0}, {2, 0}, {1, 0}}), (std::vector<std::string>{"..."}));
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(filled(3, 1, {{0, 0}, {2, 1}, {nan, 2}, {0, 2}}), (std::vector<std::string>{"..."}));
  fill(nullptr, {}, INT_MAX, INT_MIN);
  const OwnedRect rect(rleNewRect(120, 60, 0));
  fill(rect.get(), {{0, 0}, {10, 0}, {10, 5}, {0, 5}}, 100, 50);
  EXPECT_EQ(runsOf(rect->rows[49]).size(), 0U);
  for (int y = 50; y < 55; ++y)
    EXPECT_EQ(runsOf(rect->rows[y]), (std::vector<std::pair<int, int>>{{100, 110}}));
  EXPECT_EQ(runsOf(rect->rows[55]).size(), 0U);
}

// The walk with every row visited and every span painted on its own.
void walk(RleRect* rect, const Corners& p, int dx, int dy) {
  const int n = int(p.size());
  int top = 0;
  double lowest = p[0].y;
  for (int i = 0; i < n; ++i) {
    if (p[size_t(i)].y < p[size_t(top)].y) top = i;
    lowest = std::max(lowest, p[size_t(i)].y);
  }
  const double last = std::ceil(lowest) - 1;
  double y = std::ceil(p[size_t(top)].y);
  if (last < y) return;
  std::vector<int> left(size_t(n), 0);
  left[size_t(top)] = -1;
  struct Side {
    int at;
    double x, slope;
  } sides[2] = {{top, 0, 0}, {top, 0, 0}};
  const auto target = [&](int side) { return p[size_t(sides[side].at)].y; };
  const auto count = [&](int side) { return left[size_t(sides[side].at)]; };
  const auto move = [&](Side& side, int step) {
    ++left[size_t(side.at)];
    const RleDPoint from = p[size_t(side.at)];
    side.at = (side.at + step + n) % n;
    const RleDPoint to = p[size_t(side.at)];
    if (to.y - from.y == 0) return;
    side.slope = (to.x - from.x) / (to.y - from.y);
    side.x = from.x + std::max(y - from.y, 0.0) * side.slope;
  };
  do {
    if ((y > target(0) || std::abs(y - target(0)) <= 1e-6) && count(0) != 1) move(sides[0], 1);
    if (y > target(1) || (std::abs(y - target(1)) <= 1e-6 && count(1) != 1)) move(sides[1], -1);
    const double rows = std::min(target(0), target(1)) - y;
    if (rows < 1e-6 && count(0) != 0 && count(1) != 0) return;
    if (rows < 1e-6) continue;
    for (int k = std::max(int(rows), 1); k > 0; --k, y += 1) {
      const double a = std::ceil(std::min(sides[0].x, sides[1].x));
      const double b = std::ceil(std::max(sides[0].x, sides[1].x));
      RlePoint at = {int(a) + dx, int(y) + dy};
      int32_t width = int(b - a);
      rleFillSpans(rect, 1, &at, &width, 1, nullptr, 1);
      for (Side& side : sides) side.x += side.slope;
    }
  } while (y <= last);
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
    ASSERT_EQ(rleCheckRect(rect.get()), 1);
  }
}

TEST(SubPixelPolygons, MayBeAsLargeAsNumbersGo) {
  for (const double size : {1e5, 1e9, 1e15, 1e18, 1e100, 1e300})
    EXPECT_EQ(filled(4, 2, {{-size, -size}, {size, -size}, {size, size}, {-size, size}}),
              (std::vector<std::string>{"####", "####"}))
        << size;
  std::mt19937 random(52);
  for (int round = 0; round < 3000; ++round) {
    Corners corners;
    for (int i = randomInt(random, 3, 7); i > 0; --i)
      corners.push_back({std::ldexp(coordinate(random, -99, 99), randomInt(random, -9, 900)),
                         std::ldexp(coordinate(random, -99, 99), randomInt(random, -9, 900))});
    const OwnedRect rect(rleNewRect(30, 20, 0));
    fill(rect.get(), corners, randomInt(random, INT_MIN, INT_MAX),
         randomInt(random, INT_MIN, INT_MAX));
    fill(rect.get(), corners);
    ASSERT_EQ(rleCheckRect(rect.get()), 1);
  }
}

TEST(SubPixelPolygons, AreTheSameInBrackets) {
  const OwnedRect plain(rleNewRect(64, 64, 0)), bracketed(rleNewRect(64, 64, 0));
  const auto draw = [](RleRect* rect) {
    for (int i = 1; i < 30; ++i)
      fill(rect, {{i + 0.5, 1.0 * i}, {2.0 * i, 1.5 * i}, {i + 1.5, 2.0 * i}, {i - 1.0, 1.3 * i}},
           0, 0, i % 3 != 0);
  };
  draw(plain.get());
  rleEndSppPoly();
  rleBeginSppPoly();
  rleBeginSppPoly();
  draw(bracketed.get());
  rleEndSppPoly();
  draw(bracketed.get());
  rleEndSppPoly();
  EXPECT_EQ(picture(plain.get()), picture(bracketed.get()));
}

}  // namespace
}  // namespace rle::test
