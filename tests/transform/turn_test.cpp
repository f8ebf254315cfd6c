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
  const int w = s.width;
  const int h = s.height;
  switch (turns) {
    case 1:
      return moved(s, h, w, [=](int x, int y) { return std::pair(w - 1 - y, x); });
    case 2:
      return moved(s, w, h, [=](int x, int y) { return std::pair(w - 1 - x, h - 1 - y); });
    case 3:
      return moved(s, h, w, [=](int x, int y) { return std::pair(y, h - 1 - x); });
    default:
      return s;
  }
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

TEST(QuarterTurns, CopyWhatBelongsToTheImage) {
  const OwnedRect page = image({"..#", "..."});
  page->rows[0]->tag = 6;
  page->resolution = 0;
  const OwnedRect left(rleQRotateRect(page.get(), 1));
  EXPECT_EQ(picture(left.get()), (std::vector<std::string>{"#.", "..", ".."}));
  EXPECT_EQ(left->resolution, 0);
  EXPECT_EQ(left->rows[0]->tag, 0U);
  const OwnedRect half(rleQRotateRect(page.get(), 2));
  EXPECT_EQ(half->resolution, 200);
  EXPECT_EQ(half->rows[1]->tag, 6U);
  EXPECT_EQ(rleQRotateRect(page.get(), 4), nullptr);
  EXPECT_EQ(rleQRotateRect(page.get(), 0xFFFFFFFF), nullptr);
}

TEST(QuarterTurns, OfFewerThanTwoRowsAreRefused) {
  for (const auto& rows : {std::vector<std::string>{}, std::vector<std::string>{"##."}}) {
    const OwnedRect page = image(rows);
    EXPECT_EQ(rleQRotateRect(page.get(), 1), nullptr);
    EXPECT_EQ(rleQRotateRect(page.get(), 3), nullptr);
    const OwnedRect half(rleQRotateRect(page.get(), 2));
    EXPECT_EQ(Pixels(half.get()), turned(Pixels(page.get()), 2));
  }
}

TEST(QuarterTurns, ReachTheLastColumnAndTheLastRow) {
  const OwnedRect wide(rleNewRect(65535, 2, 200));
  rleSetLine(wide->rows[0], 65530, 65534);
  rleSetLine(wide->rows[1], 0, 65534);
  const OwnedRect column(rleQRotateRect(wide.get(), 3));
  EXPECT_EQ(picture(column->rows[65534], 2), "##");
  EXPECT_EQ(picture(column->rows[65529], 2), "#.");
  const OwnedRect back(rleQRotateRect(column.get(), 1));
  for (int y = 0; y < 2; ++y) EXPECT_EQ(runsOf(back->rows[y]), runsOf(wide->rows[y]));

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
