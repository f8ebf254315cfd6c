// Copying, cutting, pasting and masking rectangles.

#include <gmock/gmock.h>

#include <climits>

#include "reference/literal_row.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using testing::ElementsAre;
using Runs = std::vector<std::pair<int, int>>;

TEST(Regions, ARectangleIsClippedToTheImage) {
  const struct {
    int width, height, x1, y1, x2, y2;
    std::vector<int> clipped;  // nothing for a miss
  } cases[] = {
      {100, 50, -10, -5, 20, 60, {0, 0, 20, 49}},
      {100, 50, 99, 49, 99, 49, {99, 49, 99, 49}},
      {100, 50, 100, 0, 120, 10, {}},
      {100, 50, 5, 5, 4, 9, {}},
      {0, 50, -5, 0, 5, 9, {}},
      {100, 0, 0, -5, 5, 9, {}},
      {65535, 65535, INT_MIN, INT_MIN, INT_MAX, INT_MAX, {0, 0, 65534, 65534}},
  };
  for (const auto& c : cases) {
    uint16_t x1 = 9, y1 = 9, x2 = 9, y2 = 9;
    const int hit = rleIntersectRect(c.width, c.height, c.x1, c.y1, c.x2, c.y2, &x1, &y1, &x2, &y2);
    const std::vector<int> untouched = {9, 9, 9, 9};
    EXPECT_EQ(hit, c.clipped.empty() ? 0 : 1);
    EXPECT_EQ((std::vector<int>{x1, y1, x2, y2}), c.clipped.empty() ? untouched : c.clipped);
  }
}

TEST(Regions, APieceOfARowStartsAtItsFirstColumn) {
  const struct {
    int x1, x2;
    Runs piece, rest;
  } cases[] = {
      {8, 24, {{0, 2}, {12, 17}}, {{5, 8}, {25, 30}}},
      {0, 65534, {{5, 10}, {20, 30}}, {}},
      {9, 8, {}, {{5, 10}, {20, 30}}},
      {9, 65535, {}, {{5, 10}, {20, 30}}},
  };
  for (const auto& c : cases) {
    const Row row(Runs{{5, 10}, {20, 30}});
    row->tag = 7;
    LiteralRow cleared(row);
    cleared.clear(c.x1, uint16_t(c.x2 + 1));
    const OwnedLine copy(rleCopyLine(row, c.x1, c.x2));
    EXPECT_EQ(runsOf(row), (Runs{{5, 10}, {20, 30}}));
    const OwnedLine piece(rleCutLine(row, c.x1, c.x2));
    EXPECT_EQ(runsOf(copy.get()), c.piece);
    EXPECT_EQ(runsOf(piece.get()), c.piece);
    EXPECT_EQ(capacityOf(piece->runs), c.piece.size() == 2 ? 6U : 5U);
    EXPECT_EQ(piece->tag, 0U);
    EXPECT_EQ(runsOf(row), c.rest);
    EXPECT_TRUE(cleared.matches(row));
  }
}

TEST(Regions, ACopyHasTheSizeAskedForAndTheRoomThatAppendingLeaves) {
  const OwnedRect rect = image({"###", "..."});
  rect->resolution = 400;
  rect->tag = rect->rows[0]->tag = 5;
  const OwnedRect copy(rleCopyRect(rect.get(), -5, -5, 4, 4));
  EXPECT_EQ(runsOf(copy->rows[5]), (Runs{{5, 8}}));
  EXPECT_EQ(copy->width * 1000 + copy->height, 10010);
  EXPECT_EQ(copy->resolution, 400);
  EXPECT_EQ(copy->tag + copy->rows[5]->tag, 0U);
  EXPECT_EQ(copy->rows[4]->runs, nullptr);         // outside the source
  EXPECT_EQ(capacityOf(copy->rows[6]->runs), 5U);  // inside, and blank
  const OwnedRect missed(rleCopyRect(rect.get(), 3, 0, 9, 0));
  EXPECT_THAT(picture(missed.get()), ElementsAre("......."));
  // A size beyond 16 bits is cut down to them, and the copy with it.
  const OwnedRect narrow(rleCopyRect(rect.get(), -1, -65536, 65536, 0));
  EXPECT_THAT(picture(narrow.get()), ElementsAre(".."));
  const OwnedRect row(rleCutRect(rect.get(), -1, 0, 65536, 0));
  EXPECT_THAT(picture(row.get()), ElementsAre(".#"));
  EXPECT_THAT(picture(rect.get()), ElementsAre(".##", "..."));
  for (const int x : {INT_MIN, INT_MAX})
    EXPECT_EQ(rleMergeRect(rect.get(), x, 0, copy.get(), 2) +
                  rleMergeRect(rect.get(), 0, x, copy.get(), 2),
              0);
}

TEST(Regions, APolygonRegionReplacesOnlyWhatItsMaskCovers) {
  const OwnedPoly poly(rleAllocPoly());
  poly->image = image({"#..#"}).release();
  const auto pasted = [&](int mode) {
    const OwnedRect target = image({"######", "......"});
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

// A long series of operations on one image, with the same done to pixels.
TEST(Regions, ManyOperationsEqualPixelArithmetic) {
  std::mt19937 random(4711);
  for (int series = 0; series < 60; ++series) {
    const int width = randomInt(random, 1, 90), height = randomInt(random, 1, 12);
    Pixels pixels = randomPixels(random, width, height);
    const OwnedRect rect = pixels.toRect();
    for (int step = 0; step < 40; ++step) {
      const Pixels other = randomPixels(random, randomInt(random, 1, 120), height, 3, 5);
      const OwnedRect otherRect = other.toRect();
      const int x = randomInt(random, -130, 100), y = randomInt(random, -13, 13);
      const int mode = randomInt(random, 0, 3);
      if (step % 4 == 0) {
        rleMaskRect(rect.get(), otherRect.get(), mode);
        for (int py = 0; py < height; ++py)
          for (int px = 0; px < width; ++px)
            if (!other.get(px, py)) pixels.put(px, py, mode != 0);
      } else if (step % 4 == 1) {
        const bool cut = mode == 0;
        const int w = randomInt(random, 1, 99), h = randomInt(random, 1, 9);
        const OwnedRect piece(
            (cut ? rleCutRect : rleCopyRect)(rect.get(), x, y, x + w - 1, y + h - 1));
        Pixels expected(w, h);
        for (int py = 0; py < h; ++py)
          for (int px = 0; px < w; ++px) {
            expected.put(px, py, pixels.get(x + px, y + py));
            if (cut) pixels.put(x + px, y + py, false);
          }
        ASSERT_EQ(rleCheckRect(piece.get()), 1);
        ASSERT_EQ(Pixels(piece.get()), expected);
      } else {
        const bool hit = x < width && y < height && x + other.width > 0 && y + other.height > 0;
        ASSERT_EQ(rleMergeRect(rect.get(), x, y, otherRect.get(), mode), hit ? 1 : 0);
        for (int py = 0; py < other.height; ++py)
          for (int px = 0; px < other.width; ++px) {
            if (mode == 0) pixels.put(x + px, y + py, other.get(px, py));
            if (mode < 3 && other.get(px, py)) pixels.put(x + px, y + py, mode != 2);
          }
      }
      ASSERT_EQ(rleCheckRect(rect.get()), 1);
      ASSERT_EQ(Pixels(rect.get()), pixels) << "series " << series << " step " << step;
    }
  }
}

}  // namespace
}  // namespace rle::test
