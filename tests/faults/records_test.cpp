// Memory that runs out while records are made, copied and edited.

#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/picture.h"

namespace rle::test {
namespace {

TEST(AllocationFaults, LeaveNothingOfAnUnfinishedRecord) {
  const int64_t before = allocationsAlive();
  {
    OwnedPoly poly(rleAllocPoly());
    poly->count = 2;
    poly->points = rleAllocPoints(2);
    poly->mask = image({"##", "#."}).release();
    poly->image = image({"..", "##"}).release();
    OwnedPoly copy;
    const auto failures = failEveryAllocation([&] { copy.reset(rleDupPoly(poly.get())); },
                                              [&](bool failed) { EXPECT_EQ(!copy, failed); });
    EXPECT_EQ(failures,
              14);  // region, points, and twice image, row array and two rows with buffers
    OwnedRect rect;
    failEveryAllocation([&] { rect.reset(rleNewRect(5, 3, 0)); },
                        [&](bool failed) { EXPECT_EQ(!rect, failed); });
  }
  EXPECT_EQ(allocationsAlive(), before);
}

}  // namespace
}  // namespace rle::test
