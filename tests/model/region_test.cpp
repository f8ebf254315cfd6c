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
  EXPECT_EQ(copy->rows[4]->runs, nullptr);                           // outside the source
  EXPECT_EQ(capacityOf(copy->rows[6]->runs), 5U);                    // inside, and blank
  const OwnedRect narrow(rleCopyRect(rect.get(), -65537, 0, 2, 0));  // 4 columns in 16 bits
  EXPECT_EQ(narrow->rows[0]->count, 0);
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

TEST(Regions, EveryRowOfEightColumnsOverEveryOther) {
  const struct {
    bool masks;
    int mode;
    uint32_t (*pixels)(uint32_t to, uint32_t from);
  } operations[] = {
      {false, 0, [](uint32_t, uint32_t from) { return from; }},
      {false, 1, [](uint32_t to, uint32_t from) { return to | from; }},
      {false, 2, [](uint32_t to, uint32_t from) { return to & ~from; }},
      {true, 0, [](uint32_t to, uint32_t from) { return to & from; }},
      {true, 1, [](uint32_t to, uint32_t from) { return to | ~from; }},
  };
  std::vector<std::string> sources(256);
  for (uint32_t y = 0; y < 256; ++y) sources[y] = picture(y, 8);
  const OwnedRect source = image(sources);
  for (uint32_t to = 0; to < 256; ++to)
    for (const auto& [masks, mode, pixels] : operations) {
      const OwnedRect rect = image(std::vector(256, picture(to, 8)));
      if (masks)
        rleMaskRect(rect.get(), source.get(), mode);
      else
        rleMergeRect(rect.get(), 0, 0, source.get(), mode);
      for (uint32_t y = 0; y < 256; ++y)
        ASSERT_EQ(picture(rect->rows[y], 8), picture(pixels(to, y), 8)) << to << ' ' << y;
      ASSERT_EQ(rleCheckRect(rect.get()), 1) << to;
    }
}

}  // namespace
}  // namespace rle::test
