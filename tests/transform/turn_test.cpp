// Mirrors and quarter turns. (Against plain pixels: random cases of transforms.)

#include <gtest/gtest.h>

#include "model/runs.h"
#include "support/picture.h"

namespace rle::test {
namespace {

using Picture = std::vector<std::string>;

TEST(Mirrors, OfARegionMoveItsImageItsMaskAndItsVertices) {
  const OwnedPoly region(rleAllocPoly());
  region->image = image({"##..#.", "#....."}).release();
  region->mask = image({"###...", "..####"}).release();
  region->count = 1;
  region->points = rleAllocPoints(1);
  region->points[0] = {10, -3};
  rleMirrorPolyY(region.get());
  EXPECT_EQ(picture(region->image), (Picture{".#..##", ".....#"}));
  EXPECT_EQ(picture(region->mask), (Picture{"...###", "####.."}));
  rleMirrorPolyX(region.get());
  EXPECT_EQ(picture(region->image), (Picture{".....#", ".#..##"}));
  EXPECT_EQ(picture(region->mask), (Picture{"####..", "...###"}));
  EXPECT_EQ(region->points[0].x, 6 - 10);
  EXPECT_EQ(region->points[0].y, 2 + 3);
}

TEST(QuarterTurns, FillBuffersThatFit) {
  const OwnedRect page = image({"##.#.", ".....", "#.###"});
  page->tag = 5;
  const Picture turned[] = {{"##.#.", ".....", "#.###"},
                            {"..#", "#.#", "..#", "#..", "#.#"},
                            {"###.#", ".....", ".#.##"},
                            {"#.#", "..#", "#..", "#.#", "#.."}};
  for (uint32_t turns = 0; turns < 4; ++turns) {
    const OwnedRect result(rleQRotateRect(page.get(), turns));
    EXPECT_EQ(picture(result.get()), turned[turns]);
    EXPECT_EQ(result->tag, turns == 2 ? 0U : 5U);
    for (int y = 0; y < result->height; ++y) {
      const OwnedRuns exact(rleAllocRuns(result->rows[y]->count));
      EXPECT_EQ(capacityOf(result->rows[y]->runs), capacityOf(exact.get()));
    }
  }
}

TEST(QuarterTurns, ReachTheLastColumn) {
  const OwnedRect tall(rleNewRect(1, 65535, 200));  // 65536 changes of colour in its column
  for (int y = 0; y < 65535; y += 2) rleSetLine(tall->rows[y], 0, 0);
  for (const uint32_t turns : {1U, 3U}) {
    const OwnedRect flat(rleQRotateRect(tall.get(), turns));
    ASSERT_EQ(flat->rows[0]->count, 32768);
    EXPECT_EQ(rleCheckRect(flat.get()), 1);
    EXPECT_EQ(rleQRotateRect(flat.get(), turns), nullptr);  // one row is too few
  }
}

}  // namespace
}  // namespace rle::test
