// What thick lines and sub-pixel polygons do when memory runs out, and their steps over hidden
// rows.

#include <gtest/gtest.h>

#include <random>

#include "draw/fat_arc.h"
#include "draw/subpixel.h"
#include "model/runs.h"
#include "support/allocations.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

TEST(AddRepeatedly, IsTheSumOfManyAdditions) {
  std::mt19937 random(71);
  std::uniform_real_distribution<double> fraction(-1, 1);
  std::uniform_int_distribution<int> exponent(-20, 12);
  for (int round = 0; round < 3000; ++round) {
    const bool exact = round % 3 == 0;  // steps with few bits, so that sums fall on middles
    double step = std::ldexp(fraction(random), exponent(random));
    double x = std::ldexp(fraction(random), exponent(random) + 12);
    if (exact) step = std::ldexp(1 + 2 * (round % 7), -52 + round % 9) * (round % 2 == 0 ? 1 : -1);
    if (exact) x = 1 + std::ldexp(double(round % 11), -52);
    const int times = round % 10 == 0 ? 200000 : round % 1000;
    double expected = x;
    for (int i = 0; i < times; ++i) expected += step;
    ASSERT_EQ(addRepeatedly(x, step, times), expected) << x << ' ' << step << ' ' << times;
  }
  EXPECT_EQ(addRepeatedly(0, 0.5, int64_t{1} << 40), double(int64_t{1} << 39));
  EXPECT_EQ(addRepeatedly(-1e300, 1, int64_t{1} << 60), -1e300);
}

TEST(ArcPolygons, FollowTheCircle) {
  // A half circle of radius 5 takes 16 steps; what is left out does not change its rows.
  OwnedDPoints list;
  const int32_t count = fatArcPolygon({0, 0, 10, 10, 0, -3.14159265358979}, 3, list);
  EXPECT_LE(count, 17);
  EXPECT_GT(count, 6);
  for (int32_t i = 0; i < count; ++i) {
    const RleDPoint at = list[size_t(i + 3)];
    EXPECT_NEAR(std::hypot(at.x - 5, at.y - 5), 5, 1e-9);
    EXPECT_GE(at.y, 5 - 1e-9);
  }
  EXPECT_NEAR(list[3].x, 10, 1e-9);
  EXPECT_NEAR(list[size_t(count + 2)].x, 0, 1e-9);
  for (const double none : {0.0, -1.0})
    EXPECT_EQ(fatArcPolygon({0, 0, none, none, 0, 1}, 0, list), 0);
  EXPECT_GT(fatArcPolygon({0, 0, 1, 0.5, 0, 6}, 0, list), 1);
}

void fillSquare(RleRect* rect, double size) {
  RleDPoint corners[] = {{0, 0}, {size, 0}, {size, size}, {0, size}};
  rleFillSppPoly(rect, 4, corners, 0, 0, 1, nullptr, 1);
}

TEST(SubPixelPolygons, StayUnpaintedUntilTheyNeedMoreThanWasRefused) {
  for (int64_t number = 0; number < 3; ++number) {
    const OwnedRect rect(rleNewRect(9, 9, 0));
    rleBeginSppPoly();
    failAllocation(number);
    fillSquare(rect.get(), 4);
    failAllocation(-1);
    fillSquare(rect.get(), 4);
    fillSquare(rect.get(), 3);
    EXPECT_EQ(rect->rows[0]->count, 0) << number;
    fillSquare(rect.get(), 5);  // as many vertices: those are refused still
    EXPECT_EQ(rect->rows[0]->count, number < 2 ? 1 : 0);
    rleEndSppPoly();
    const OwnedRect fresh(rleNewRect(9, 9, 0));
    fillSquare(fresh.get(), 4);
    EXPECT_EQ(fresh->rows[3]->count, 1);
  }
}

// Spans are collected and painted row by row; without memory for that they are painted as they
// come.
TEST(FatLines, LeaveRowsAsSpansPaintedOneByOneDo) {
  std::mt19937 random(72);
  for (int round = 0; round < 60; ++round) {
    rleRunAllocMaxExtra = uint32_t(round % 3 * 20);
    const OwnedRect batched(rleNewRect(900, 40, 0)), single(rleNewRect(900, 40, 0));
    for (int line = 0; line < 30; ++line) {
      RlePoint points[9];
      for (RlePoint& point : points) point = {randomInt(random, 0, 900), randomInt(random, -9, 49)};
      const int32_t colour = randomInt(random, 0, 5) > 0, width = randomInt(random, 1, 3);
      for (const bool batch : {true, false}) {
        failAllocation(batch ? -1 : 1);  // the first one after that of the vertices
        rleFatLine((batch ? batched : single).get(), 9, points, width, colour, nullptr, 1, 0, 1, 0,
                   nullptr, 0);
        failAllocation(-1);
      }
    }
    for (int y = 0; y < 40; ++y) {
      const RleLine *a = batched->rows[y], *b = single->rows[y];
      ASSERT_EQ(runsOf(a), runsOf(b));
      ASSERT_EQ(a->runs == nullptr, b->runs == nullptr);
      ASSERT_TRUE(a->runs == nullptr || capacityOf(a->runs) == capacityOf(b->runs));
    }
  }
  rleRunAllocMaxExtra = 40;
}

TEST(FatLines, LeaveTheRestOutWhenMemoryRunsOut) {
  RlePoint points[] = {{5, 5}, {60, 30}, {10, 35}, {10, 8}, {50, 4}, {5, 5}};
  uint8_t dashes[] = {9, 4, 2};
  const int64_t before = allocationsAlive();
  for (int style = 0; style < 24; ++style) {
    const int join = style % 3, dashCount = style / 3 % 2 * 3, mode = style / 6 % 2;
    const int count = 6 - style / 12;
    const auto draw = [&](RleRect* rect) {
      rleFatLine(rect, count, points, 7, 1, nullptr, 2, join, mode, dashCount, dashes, 3);
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

}  // namespace
}  // namespace rle::test
