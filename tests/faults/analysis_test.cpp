// Memory that runs out while a component is traced and copied.

#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/picture.h"

namespace rle::test {
namespace {

TEST(AnalysisFaults, LeaveNothingOfAnUnfinishedComponent) {
  std::vector<std::string> comb(150, std::string(601, '#'));  // every buffer has to grow
  for (size_t i = 0; i < 149 * 601; ++i) comb[i / 601][i % 601] = i % 601 % 2 == 0 ? '#' : '.';
  const OwnedRect rect = image(comb);
  const int64_t before = allocationsAlive();
  uint16_t left = 9, top = 9;
  OwnedRect result;
  const int64_t failures =
      failEveryAllocation([&] { result.reset(rleConnected(rect.get(), 300, 70, &left, &top)); },
                          [&](bool failed) {
                            ASSERT_EQ(!result, failed);
                            EXPECT_EQ(allocationsAlive() == before, failed);
                            EXPECT_EQ(left + top, failed ? 18 : 0);
                          });
  EXPECT_GT(failures, 302 + 4);  // the image with its rows, and what the trace needs
  EXPECT_EQ(picture(result.get()), comb);
  EXPECT_EQ(picture(rect.get()), comb);
  failAllocation(0);
  EXPECT_EQ(rleConnected(rect.get(), 1, 30, nullptr, nullptr), nullptr);
  EXPECT_EQ(rleClosest(rect.get(), 1, 30, 5, nullptr, nullptr), 1);
  EXPECT_EQ(allocationsAsked(), 0);
  failAllocation(-1);
}

}  // namespace
}  // namespace rle::test
