// Memory that runs out while bit rows are packed and files are read and written.

#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/byte_stream.h"
#include "support/picture.h"

namespace rle::test {
namespace {

// Fails every allocation of `action`, which leaves no block behind. Returns how often it said no.
template <class Action>
int64_t refusals(Action action) {
  const int64_t before = allocationsAlive();
  bool done = false;
  int64_t refused = 0;
  failEveryAllocation([&] { done = action(); },
                      [&](bool failed) {
                        EXPECT_TRUE(done || failed);
                        EXPECT_EQ(allocationsAlive(), before);
                        refused += done ? 0 : 1;
                      });
  return refused;
}

TEST(AllocationFaults, WhilePackingKeepTheCacheInOrder) {
  uint8_t bits[] = {0x5A, 0xF0, 0x01, 0x80};
  const auto packs = [&](int x1, int x2) {
    return OwnedLine(rlePackLine(bits, x1, x2)) != nullptr;
  };
  rlePackClearCache();
  const int64_t before = allocationsAlive();
  failAllocation(-1);
  EXPECT_TRUE(packs(0, 16) && packs(3, 20));  // 9 runs at most both times
  EXPECT_EQ(allocationsAsked(), 1 + 2 + 2);
  EXPECT_EQ(allocationsAlive(), before + 1);
  failAllocation(0);
  EXPECT_FALSE(packs(0, 18));  // one run more: the cache is let go and none takes its place
  EXPECT_EQ(allocationsAlive(), before);
  const auto packsRect = [&] {
    const OwnedRect rect(rlePackRect(bits, 16, 0, 0, 15, 0, 1, 200));
    if (!rect) rlePackClearCache();  // success empties it
    return rect != nullptr;
  };
  EXPECT_EQ(refusals(packsRect), 7);  // image, row array, cache, and twice row and buffer
}

TEST(AllocationFaults, LeaveNothingOfAFileHalfRead) {
  const OwnedPoly poly(rleAllocPoly());
  poly->image = image({"##.#"}).release();
  poly->count = 70000;  // more than memory is provided for at first
  poly->points = rleAllocPoints(poly->count);
  ByteStream stream;
  const auto atStart = [&] {
    stream.position = 0;
    return &stream;
  };
  EXPECT_EQ(refusals([&] { return rleUnloadPoly(atStart(), poly.get()) == 1; }), 2);
  // Context, header, region, vertices twice, image, row array, row and buffer, mask with row array
  // and row. A polygon fill without memory leaves the mask empty.
  EXPECT_EQ(refusals([&] { return OwnedPoly(rleLoadPoly(atStart())) != nullptr; }), 12);
}

}  // namespace
}  // namespace rle::test
