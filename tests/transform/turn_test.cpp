// Mirrors and quarter turns against plain pixels.

#include <gtest/gtest.h>

#include <functional>

#include "model/runs.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

// Pixel (x, y) of the result is pixel `from(x, y)` of the source.
Pixels moved(const Pixels& source, int width, int height,
             const std::function<std::pair<int, int>(int, int)>& from) {
  Pixels result(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const auto [sx, sy] = from(x, y);
      result.put(x, y, source.get(sx, sy));
    }
  return result;
}

Pixels turned(const Pixels& s, uint32_t turns) {
  const int w = s.width, h = s.height;
  const bool upright = turns % 2 == 0;
  return moved(s, upright ? w : h, upright ? h : w, [=](int x, int y) {
    return turns == 0   ? std::pair(x, y)
           : turns == 1 ? std::pair(w - 1 - y, x)
           : turns == 2 ? std::pair(w - 1 - x, h - 1 - y)
                        : std::pair(y, h - 1 - x);
  });
}

TEST(Mirrors, MoveEveryPixelToTheOtherSide) {
  std::mt19937 random(31);
  for (int round = 0; round < 500; ++round) {
    const Pixels pixels = randomPixels(random, randomInt(random, 1, 90), randomInt(random, 0, 9));
    const int w = pixels.width;
    const int h = pixels.height;
    const OwnedPoly poly(rleAllocPoly());
    poly->image = pixels.toRect().release();
    poly->mask = pixels.toRect().release();
    poly->count = 1;
    poly->points = rleAllocPoints(1);
    poly->points[0] = {10, -3};
    rleMirrorPolyY(poly.get());
    const Pixels flipped =
        moved(pixels, w, h, [=](int x, int y) { return std::pair(w - 1 - x, y); });
    EXPECT_EQ(rleCheckRect(poly->image), 1);
    EXPECT_EQ(Pixels(poly->image), flipped);
    EXPECT_EQ(Pixels(poly->mask), flipped);
    rleMirrorPolyX(poly.get());
    EXPECT_EQ(Pixels(poly->image), turned(pixels, 2));
    EXPECT_EQ(Pixels(poly->mask), turned(pixels, 2));
    EXPECT_EQ(poly->points[0].x, w - 10);
    EXPECT_EQ(poly->points[0].y, h + 3);
  }
}

TEST(QuarterTurns, MoveEveryPixelAndFourOfThemGiveThePageBack) {
  std::mt19937 random(32);
  for (int round = 0; round < 1000; ++round) {
    const Pixels pixels = randomPixels(random, randomInt(random, 0, 60), randomInt(random, 2, 60),
                                       randomInt(random, 1, 9), randomInt(random, 1, 9));
    const OwnedRect page = pixels.toRect(round % 3 == 0 ? 0 : 300);
    page->tag = 5;
    page->rows[1]->tag = 6;
    OwnedRect rect(rleDupRect(page.get()));
    for (uint32_t turns = 0; turns < 4; ++turns) {
      const OwnedRect result(rleQRotateRect(page.get(), turns));
      ASSERT_EQ(Pixels(result.get()), turned(pixels, turns)) << round << " " << turns;
      for (int y = 0; y < result->height; ++y) {
        EXPECT_EQ(result->width == 0 ? 1 : rleCheckLine(result->rows[y], result->width), 1);
        const OwnedRuns exact(rleAllocRuns(result->rows[y]->count));
        EXPECT_EQ(capacityOf(result->rows[y]->runs), capacityOf(exact.get()));
      }
      EXPECT_EQ(result->tag, turns == 2 ? 0U : 5U);
      if (pixels.width >= 2) rect.reset(rleQRotateRect(rect.get(), 1));
    }
    EXPECT_EQ(Pixels(rect.get()), pixels);
    EXPECT_EQ(Pixels(page.get()), pixels);
  }
}

TEST(QuarterTurns, CopyWhatBelongsToTheImageAndRefuseTooFewRows) {
  const OwnedRect page = image({"..#", "..."}), flat = image({"##."});
  page->rows[0]->tag = 6;
  page->resolution = 0;
  const OwnedRect left(rleQRotateRect(page.get(), 1)), half(rleQRotateRect(page.get(), 2));
  EXPECT_EQ(picture(left.get()), (std::vector<std::string>{"#.", "..", ".."}));
  EXPECT_EQ(left->resolution + left->rows[0]->tag, 0U);
  EXPECT_EQ(half->resolution, 200);
  EXPECT_EQ(half->rows[1]->tag, 6U);
  EXPECT_EQ(rleQRotateRect(page.get(), 4), nullptr);
  for (const uint32_t turns : {1U, 3U}) EXPECT_EQ(rleQRotateRect(flat.get(), turns), nullptr);
  EXPECT_EQ(picture(OwnedRect(rleQRotateRect(flat.get(), 2)).get())[0], ".##");
}

TEST(QuarterTurns, ReachTheLastColumn) {
  const OwnedRect tall(rleNewRect(1, 65535, 200));  // 65536 changes of colour in its column
  for (int y = 0; y < 65535; y += 2) rleSetLine(tall->rows[y], 0, 0);
  for (const uint32_t turns : {1U, 3U}) {
    const OwnedRect flat(rleQRotateRect(tall.get(), turns));
    ASSERT_EQ(flat->rows[0]->count, 32768);
    EXPECT_EQ(rleCheckRect(flat.get()), 1);
    EXPECT_EQ(flat->rows[0]->runs[32767].end, 65535);
  }
}

}  // namespace
}  // namespace rle::test
