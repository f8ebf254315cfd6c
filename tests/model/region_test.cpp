// Copying, cutting, pasting and masking rectangles. (Random series: the edits among the random
// cases.)

#include <gtest/gtest.h>

#include <climits>

#include "model/runs.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

TEST(Regions, ARectangleIsClippedToTheImage) {
  const std::vector<int> cases[] = {
      // size, rectangle, whether they meet, what they share
      {100, 50, -10, -5, 20, 60, 1, 0, 0, 20, 49},
      {65535, 65535, INT_MIN, INT_MIN, INT_MAX, INT_MAX, 1, 0, 0, 65534, 65534},
      {100, 50, 100, 0, 120, 10, 0, 9, 9, 9, 9},
      {100, 50, 5, 5, 4, 9, 0, 9, 9, 9, 9},
      {100, 0, 0, -5, 5, 9, 0, 9, 9, 9, 9},
  };
  for (const auto& c : cases) {
    uint16_t x1 = 9, y1 = 9, x2 = 9, y2 = 9;
    const int hit = rleIntersectRect(c[0], c[1], c[2], c[3], c[4], c[5], &x1, &y1, &x2, &y2);
    EXPECT_EQ((std::vector<int>{hit, x1, y1, x2, y2}), std::vector<int>(c.begin() + 6, c.end()));
  }
}

TEST(Regions, ACopyHasTheSizeAskedFor) {
  const OwnedRect rect = image({"###", "..."});
  rect->resolution = 400;
  rect->tag = rect->rows[0]->tag = 5;
  const OwnedRect copy(rleCopyRect(rect.get(), -5, -5, 4, 4));
  EXPECT_EQ(picture(copy.get())[5], ".....###..");
  EXPECT_EQ(copy->width * 1000 + copy->height, 10010);
  EXPECT_EQ(copy->resolution, 400);
  EXPECT_EQ(copy->tag + copy->rows[5]->tag, 0U);
  EXPECT_EQ(copy->rows[4]->runs, nullptr);         // outside the source
  EXPECT_EQ(capacityOf(copy->rows[6]->runs), 5U);  // inside, and blank
  const OwnedLine copied(rleCopyLine(rect->rows[0], 1, 9)), cut(rleCutLine(rect->rows[0], 1, 9));
  EXPECT_EQ(picture(copied.get(), 4) + picture(cut.get(), 4), "##..##..");
  EXPECT_EQ(picture(rect->rows[0], 3), "#..");
}

TEST(Regions, APolygonRegionReplacesOnlyWhatItsMaskCovers) {
  const OwnedPoly poly(rleAllocPoly());
  poly->image = image({"#..#"}).release();
  const auto pasted = [&](int mode) {
    const OwnedRect target = image({"######"});
    EXPECT_EQ(rleMergePoly(target.get(), 1, 0, poly.get(), mode), 1);
    return picture(target.get())[0];
  };
  EXPECT_EQ(pasted(0), "##..##");
  poly->mask = image({"##.."}).release();
  EXPECT_EQ(pasted(0), "##.###");
  EXPECT_EQ(pasted(1), "######");
  EXPECT_EQ(pasted(2), "#.##.#");
  rleFreeRect(std::exchange(poly->image, nullptr));
  EXPECT_EQ(pasted(0), "#..###");
}

// An image whose row y has the pixels row(y), bit by bit.
template <class RowPixels>
OwnedRect imageOf256Rows(RowPixels row) {
  Pixels pixels(8, 256);
  for (int i = 0; i < 8 * 256; ++i)
    pixels.put(i % 8, i / 8, (row(uint32_t(i / 8)) >> i % 8 & 1) != 0);
  return pixels.toRect();
}

TEST(Regions, EveryRowOfEightColumnsOverEveryOther) {
  const OwnedRect source = imageOf256Rows([](uint32_t y) { return y; });
  for (uint32_t to = 0; to < 256; ++to) {
    const OwnedRect before = imageOf256Rows([&](uint32_t) { return to; });
    const auto expect = [&](auto operation, auto row) {
      const OwnedRect after(rleDupRect(before.get()));
      operation(after.get());
      ASSERT_EQ(picture(after.get()), picture(imageOf256Rows(row).get())) << to;
      ASSERT_EQ(rleCheckRect(after.get()), 1) << to;
    };
    const auto merge = [&](int mode) {
      return [&, mode](RleRect* rect) { rleMergeRect(rect, 0, 0, source.get(), mode); };
    };
    const auto mask = [&](int mode) {
      return [&, mode](RleRect* rect) { rleMaskRect(rect, source.get(), mode); };
    };
    expect(merge(0), [](uint32_t y) { return y; });
    expect(merge(1), [&](uint32_t y) { return to | y; });
    expect(merge(2), [&](uint32_t y) { return to & ~y; });
    expect(mask(0), [&](uint32_t y) { return to & y; });
    expect(mask(1), [&](uint32_t y) { return to | ~y; });
  }
}

}  // namespace
}  // namespace rle::test
