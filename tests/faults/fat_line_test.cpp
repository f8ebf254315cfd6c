// The inside of thick lines, and what they do when memory runs out.

#include <gtest/gtest.h>

#include <cmath>

#include "draw/fat_arc.h"
#include "support/allocations.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

TEST(FatLines, LeaveTheRestOutWhenMemoryRunsOut) {
  RlePoint points[] = {{5, 5}, {60, 30}, {10, 35}, {10, 8}, {50, 4}, {5, 5}};
  uint8_t dashes[] = {9, 4, 2};
  const int64_t before = allocationsAlive();
  for (int style = 0; style < 24; ++style) {
    const int dashCount = style / 3 % 2 * 3, mode = style / 6 % 2, count = 6 - style / 12;
    const auto draw = [&](RleRect* rect) {
      rleFatLine(rect, count, points, 7, 1, nullptr, 2, style % 3, mode, dashCount, dashes, 3);
    };
    const OwnedRect whole(rleNewRect(70, 45, 0));
    draw(whole.get());
    OwnedRect rect;
    int64_t number = 0;
    for (bool failed = true; failed; ++number) {
      rect.reset(rleNewRect(70, 45, 0));
      failAllocation(number);
      draw(rect.get());
      failed = allocationsAsked() > number;
      failAllocation(-1);
      ASSERT_EQ(rleCheckRect(rect.get()), 1);
      EXPECT_TRUE(number > 0 || rleClosest(rect.get(), 30, 20, 100, nullptr, nullptr) == 0);
      const Pixels part(rect.get()), all(whole.get());
      for (size_t i = 0; i < all.black.size(); ++i) ASSERT_LE(part.black[i], all.black[i]);
      EXPECT_TRUE(failed || part == all);
    }
    EXPECT_GT(number, 20);
  }
  EXPECT_EQ(allocationsAlive(), before);
}

// An array that could not be had stays away until a larger one is wanted or the bracket is closed.
TEST(SubPixelPolygons, DrawNothingInABracketThatHasNoMemory) {
  const OwnedRect rect(rleNewRect(10, 10, 0));
  const auto fills = [&](double height, int64_t failing = -1) {
    RleDPoint square[] = {{0, 0}, {10, 0}, {10, height}, {0, height}};
    rleFillRect(rect.get(), 0, 0, 9, 9, 0, nullptr, 1);
    failAllocation(failing);
    rleFillSppPoly(rect.get(), 4, square, 0, 0, 1, nullptr, 1);
    failAllocation(-1);
    return rect->rows[0]->count > 0;
  };
  for (int64_t array = 0; array < 3; ++array) {  // points and widths of spans, visits of vertices
    EXPECT_TRUE(fills(5));
    rleBeginSppPoly();
    EXPECT_FALSE(fills(5, array));
    EXPECT_FALSE(fills(5));
    EXPECT_EQ(fills(6), array < 2);  // more rows, but no more vertices
    rleEndSppPoly();
  }
}

TEST(ArcPolygons, HaveVerticesOnTheirEllipseAtMostAPixelApartWhereRowsChange) {
  std::mt19937 random(66);
  OwnedDPoints list;
  for (int round = 0; round < 2000; ++round) {
    const double rx = randomInt(random, 2, 400) / 2.0, ry = randomInt(random, 2, 400) / 2.0;
    const double start = randomInt(random, -400, 400) / 100.0;
    const double sweep = randomInt(random, -314, 314) / 100.0;
    const int32_t reserved = randomInt(random, 0, 3);
    const int32_t n = fatArcPolygon({7 - rx, 9 - ry, 2 * rx, 2 * ry, start, sweep}, reserved, list);
    const RleDPoint* const arc = &list[size_t(reserved)];
    ASSERT_GE(n, 2);
    const double steps = std::abs(sweep) / std::asin(1 / std::max(rx, ry));
    ASSERT_LE(n, 2 * steps + 2);
    for (int32_t i = 0; i < n; ++i) {
      const double x = (arc[i].x - 7) / rx, y = (arc[i].y - 9) / ry;
      ASSERT_NEAR(std::hypot(x, y), 1, 1e-6);
      const double angle = i == 0 ? -start : -start - sweep;
      ASSERT_TRUE((i > 0 && i < n - 1) ||
                  std::hypot(x - std::cos(angle), y - std::sin(angle)) < 1e-6);
      // Left out is only what stays in the row, or in the column of an ellipse higher than wide.
      const auto across = [&](int32_t j) { return rx >= ry ? arc[j].y : arc[j].x; };
      ASSERT_TRUE(i == 0 || std::abs(across(i) - across(i - 1)) < 2.01);
    }
  }
}

}  // namespace
}  // namespace rle::test
