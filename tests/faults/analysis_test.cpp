// Memory that runs out while a component is traced and copied.

#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

TEST(AnalysisFaults, LeaveNothingOfAnUnfinishedComponent) {
  constexpr int kWidth = 601;
  constexpr int kHeight = 60;
  Pixels pixels(kWidth, kHeight);  // a comb: many runs wait at once, in many rows
  for (int i = 0; i < kWidth * kHeight; ++i)
    pixels.put(i % kWidth, i / kWidth, i < kWidth || i % kWidth % 2 == 0);
  const OwnedRect rect = pixels.toRect();
  const int64_t before = allocationsAlive();
  uint16_t left = 0;
  uint16_t top = 0;
  OwnedRect result;
  const int64_t failures = failEveryAllocation(
      [&] {
        left = top = 9;
        result.reset(rleConnected(rect.get(), 300, 30, &left, &top));
      },
      [&](bool failed) {
        ASSERT_EQ(!result, failed);
        EXPECT_EQ(left, failed ? 9 : 0);
        EXPECT_EQ(top, failed ? 9 : 0);
        EXPECT_TRUE(Pixels(rect.get()) == pixels);
        EXPECT_EQ(allocationsAlive() == before, failed);
      });
  EXPECT_GT(failures, 2 + 2 * kHeight + 2);  // the image with its rows, and what the trace needs
  result.reset();
  EXPECT_EQ(allocationsAlive(), before);
  failAllocation(0);
  EXPECT_EQ(rleConnected(rect.get(), 1, 30, &left, &top), nullptr);
  EXPECT_EQ(rleClosest(rect.get(), 1, 30, 5, &left, &top), 1);
  EXPECT_EQ(allocationsAsked(), 0);
  failAllocation(-1);
}

}  // namespace
}  // namespace rle::test
