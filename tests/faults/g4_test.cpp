// Memory that runs out while Group 4 data is decoded and encoded.

#include <gmock/gmock.h>

#include "support/allocations.h"
#include "support/byte_stream.h"
#include "support/picture.h"

namespace rle::test {
namespace {

TEST(AllocationFaults, LeaveNothingOfAnUnfinishedDecoding) {
  const int64_t before = allocationsAlive();
  OwnedRect rect;
  const auto failures = failEveryAllocation(
      [&] {
        ByteStream stream({0x6C, 0xF7, 0x00, 0x08, 0x80});
        rect.reset(rleLoadRectFromCCITTG4(&stream, 16, 2, 200, 1));
      },
      [&](bool failed) { EXPECT_EQ(!rect, failed); });
  EXPECT_EQ(failures, 2 + 2 + 1 + 2);  // image and row array, rows, working memory, run buffers
  rect.reset();
  EXPECT_EQ(allocationsAlive(), before);
}

TEST(AllocationFaults, DoNotConcernTheEncodingOfValidRows) {
  const OwnedRect valid = image({"..##..#", "#######", "......."});
  ByteStream stream;
  failAllocation(0);
  EXPECT_EQ(rleUnloadRectFromCCITTG4(&stream, valid.get()), 1);
  failAllocation(-1);
  const int64_t before = allocationsAlive();
  valid->rows[1]->runs[0] = {5, 2};
  int32_t result = 0;
  const auto failures =
      failEveryAllocation([&] { result = rleUnloadRectFromCCITTG4(&stream, valid.get()); },
                          [&](bool failed) { EXPECT_EQ(result, failed ? -1 : 1); });
  EXPECT_EQ(failures, 1);
  EXPECT_EQ(allocationsAlive(), before);
}

}  // namespace
}  // namespace rle::test
