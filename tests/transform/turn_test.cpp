// Mirrors and quarter turns against plain pixels.

#include <gtest/gtest.h>

#include "model/runs.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

// The pixels after quarter turns, and mirrored left to right before them if asked for.
Pixels turned(const Pixels& s, uint32_t turns, bool mirrored = false) {
  const int w = s.width, h = s.height;
  Pixels result(turns % 2 == 0 ? w : h, turns % 2 == 0 ? h : w);
  for (int y = 0; y < result.height; ++y)
    for (int x = 0; x < result.width; ++x) {
      const int column[] = {x, w - 1 - y, w - 1 - x, y}, row[] = {y, x, h - 1 - y, h - 1 - x};
      result.put(x, y, s.get(mirrored ? w - 1 - column[turns] : column[turns], row[turns]));
    }
  return result;
}

TEST(Mirrors, MoveEveryPixelToTheOtherSide) {
  std::mt19937 random(31);
  for (int round = 0; round < 500; ++round) {
    const Pixels pixels = randomPixels(random, randomInt(random, 1, 90), randomInt(random, 0, 9));
    const OwnedPoly poly(rleAllocPoly());
    poly->image = pixels.toRect().release();
    poly->mask = pixels.toRect().release();
    poly->count = 1;
    poly->points = rleAllocPoints(1);
    poly->points[0] = {10, -3};
    rleMirrorPolyY(poly.get());
    EXPECT_EQ(rleCheckRect(poly->image), 1);
    EXPECT_EQ(Pixels(poly->image), turned(pixels, 0, true));
    EXPECT_EQ(Pixels(poly->mask), turned(pixels, 0, true));
    rleMirrorPolyX(poly.get());
    EXPECT_EQ(Pixels(poly->image), turned(pixels, 2));
    EXPECT_EQ(Pixels(poly->mask), turned(pixels, 2));
    EXPECT_EQ(poly->points[0].x, pixels.width - 10);
    EXPECT_EQ(poly->points[0].y, pixels.height + 3);
  }
}

TEST(QuarterTurns, MoveEveryPixelIntoBuffersThatFit) {
  std::mt19937 random(32);
  for (int round = 0; round < 1000; ++round) {
    const Pixels pixels = randomPixels(random, randomInt(random, 0, 60), randomInt(random, 2, 60),
                                       randomInt(random, 1, 9), randomInt(random, 1, 9));
    const OwnedRect page = pixels.toRect(round % 3 == 0 ? 0 : 300);
    page->tag = 5;
    for (uint32_t turns = 0; turns < 4; ++turns) {
      const OwnedRect result(rleQRotateRect(page.get(), turns));
      ASSERT_EQ(Pixels(result.get()), turned(pixels, turns)) << round << " " << turns;
      for (int y = 0; y < result->height; ++y) {
        EXPECT_EQ(result->width == 0 ? 1 : rleCheckLine(result->rows[y], result->width), 1);
        const OwnedRuns exact(rleAllocRuns(result->rows[y]->count));
        EXPECT_EQ(capacityOf(result->rows[y]->runs), capacityOf(exact.get()));
      }
      EXPECT_EQ(result->tag, turns == 2 ? 0U : 5U);
    }
    EXPECT_EQ(Pixels(page.get()), pixels);
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
