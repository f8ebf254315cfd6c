// Memory that runs out while polygons are filled.

#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/picture.h"

namespace rle::test {
namespace {

TEST(PolygonFaults, PaintNothingWithoutAllEdgesAndElseWholeRows) {
  std::vector<RlePoint> comb;  // 300 teeth that begin on 55 different rows
  for (int i = 0; i < 600; ++i) comb.push_back({2 * i, i % 2 == 0 ? i / 2 % 55 : 60});
  const int64_t before = allocationsAlive();
  {
    OwnedRect rect;
    const auto fill = [&] {
      rleFillPolygon(rect.get(), int32_t(comb.size()), comb.data(), 1, 1, nullptr, 1);
    };
    const std::vector<std::string> blank(61, std::string(1200, '.'));
    rect = image(blank);
    fill();
    const auto whole = picture(rect.get());
    int64_t number = 0;
    for (bool failed = true; failed; ++number) {
      rect = image(blank);
      failAllocation(number);
      fill();
      failed = allocationsAsked() > number;
      failAllocation(-1);
      EXPECT_EQ(rleCheckRect(rect.get()), 1);
      const auto painted = picture(rect.get());
      // Edges, their order, two blocks of buckets, the list of a row's edges, its spans.
      EXPECT_TRUE(number >= 6 || painted == blank) << number;
      for (size_t y = 0; y < whole.size(); ++y)
        EXPECT_TRUE(painted[y] == whole[y] || painted[y] == blank[y]) << number << " row " << y;
    }
    EXPECT_GT(number, 60);
    EXPECT_EQ(picture(rect.get()), whole);
  }
  EXPECT_EQ(allocationsAlive(), before);
}

}  // namespace
}  // namespace rle::test
