// What thick lines do when memory runs out.

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace rle::test
