// Memory that runs out while images are turned and scaled.

#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

TEST(AllocationFaults, LeaveAnImageAsItWasWhenATurnFails) {
  std::mt19937 random(35);
  const Pixels pixels = randomPixels(random, 60, 50);
  const int64_t before = allocationsAlive();
  {
    const OwnedRect page = pixels.toRect();
    OwnedRect turned;
    for (uint32_t turns = 0; turns < 4; ++turns) {
      failEveryAllocation([&] { turned.reset(rleQRotateRect(page.get(), turns)); },
                          [&](bool failed) { EXPECT_EQ(!turned, failed); });
      EXPECT_EQ(Pixels(page.get()), pixels);
    }
  }
  EXPECT_EQ(allocationsAlive(), before);
}

TEST(AllocationFaults, LeaveAValidImageOrNoneWhenARotationFails) {
  std::mt19937 random(43);
  const Pixels pixels = randomPixels(random, 60, 50);
  const int64_t before = allocationsAlive();
  {
    const OwnedPoly poly(rleAllocPoly());
    poly->image = pixels.toRect().release();
    double x;
    double y;
    for (const double angle : {20.0, 70.0, 90.0}) {
      OwnedRect turned;
      failEveryAllocation([&] { turned.reset(rleRotateRect(poly->image, angle, &x, &y)); },
                          [&](bool failed) {
                            EXPECT_TRUE(failed || turned);
                            EXPECT_TRUE(!turned || rleCheckRect(turned.get()) == 1);
                            EXPECT_TRUE(turned || x + y == 0);
                          });
      OwnedPoly region;
      failEveryAllocation([&] { region.reset(rleRotatePoly(poly.get(), angle, &x, &y)); },
                          [&](bool failed) {
                            EXPECT_TRUE(failed || region);
                            EXPECT_TRUE(!region || rleCheckRect(region->image) == 1);
                          });
      EXPECT_EQ(Pixels(poly->image), pixels);
    }
  }
  EXPECT_EQ(allocationsAlive(), before);
}

TEST(AllocationFaults, LeaveAnImageAsItWasWhenScalingFails) {
  std::mt19937 random(36);
  const Pixels pixels = randomPixels(random, 40, 30);
  const int64_t before = allocationsAlive();
  for (const auto scale : {rleScaleRect, rleNNScaleRect, rleMinScaleRect}) {
    const OwnedRect page = pixels.toRect();
    failEveryAllocation([&] { scale(page.get(), 16384, 49152); },
                        [&](bool failed) { EXPECT_TRUE(!failed || Pixels(page.get()) == pixels); });
    EXPECT_EQ(page->width, 20);
    OwnedLine row;
    for (const auto scaleRow : {rleScaleLine, rleNNScaleLine})
      failEveryAllocation([&] { row.reset(scaleRow(page->rows[0], 16384)); },
                          [&](bool failed) { EXPECT_EQ(!row, failed); });
  }
  EXPECT_EQ(allocationsAlive(), before);
}

}  // namespace
}  // namespace rle::test
