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
    int width, height, x1, y1, x2, y2, hit;
    std::vector<uint16_t> clipped;
  } cases[] = {
      {100, 50, -10, -5, 20, 60, 1, {0, 0, 20, 49}},
      {65535, 65535, INT_MIN, INT_MIN, INT_MAX, INT_MAX, 1, {0, 0, 65534, 65534}},
      {100, 50, 100, 0, 120, 10, 0, {9, 9, 9, 9}},
      {100, 50, 5, 5, 4, 9, 0, {9, 9, 9, 9}},
      {0, 50, -5, 0, 5, 9, 0, {9, 9, 9, 9}},
      {100, 0, 0, -5, 5, 9, 0, {9, 9, 9, 9}},
  };
  for (const auto& c : cases) {
    std::vector<uint16_t> out(4, 9);
    EXPECT_EQ(rleIntersectRect(c.width, c.height, c.x1, c.y1, c.x2, c.y2, &out[0], &out[1], &out[2],
                               &out[3]),
              c.hit);
    EXPECT_EQ(out, c.clipped);
  }
}

TEST(Regions, APieceOfARowStartsAtItsFirstColumn) {
  const struct {
    int x1, x2;
    Runs piece;
  } cases[] = {
      {8, 24, {{0, 2}, {12, 17}}},
      {6, 7, {{0, 2}}},
      {10, 19, {}},
      {30, 90, {}},
      {9, 8, {}},
      {9, 65535, {}},
  };
  for (const auto& c : cases) {
    const Row row(Runs{{5, 10}, {20, 30}});
    LiteralRow cleared(row);
    cleared.edit(false, c.x1, uint16_t(c.x2 + 1));
    const OwnedLine copy(rleCopyLine(row, c.x1, c.x2)), cut(rleCutLine(row, c.x1, c.x2));
    EXPECT_EQ(runsOf(copy.get()), c.piece);
    EXPECT_EQ(runsOf(cut.get()), c.piece);
    EXPECT_EQ(capacityOf(cut->runs), c.piece.size() == 2 ? 6U : 5U);
    EXPECT_TRUE(cleared.matches(row));
  }
}

TEST(Regions, ACopyHasTheSizeAskedFor) {
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
  // A size beyond 16 bits is cut down to them, and what is copied with it.
  const OwnedRect piece(rleCutRect(rect.get(), -1, -65536, 65536, 0));
  EXPECT_THAT(picture(piece.get()), ElementsAre(".."));
  EXPECT_THAT(picture(rect.get()), ElementsAre("###", "..."));
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

// A long series of operations on one image, with the same done to pixels.
TEST(Regions, ManyOperationsEqualPixelArithmetic) {
  std::mt19937 random(4711);
  Pixels pixels(1, 1);
  OwnedRect rect;
  for (int step = 0; step < 2400; ++step) {
    if (step % 40 == 0) {
      pixels = randomPixels(random, randomInt(random, 0, 90), randomInt(random, 0, 12));
      rect = pixels.toRect();
    }
    const Pixels other = randomPixels(random, randomInt(random, 0, 120), randomInt(random, 0, 12));
    const OwnedRect otherRect = other.toRect();
    const int x = randomInt(random, -130, 100), y = randomInt(random, -13, 13);
    const int mode = randomInt(random, 0, 3), action = step % 4;
    const auto pixel = [&](int px, int py) { return pixels.get(x + px, y + py); };
    if (action == 0) {
      rleMaskRect(rect.get(), otherRect.get(), mode);
      for (int py = 0; py < other.height; ++py)
        for (int px = 0; px < pixels.width; ++px)
          if (!other.get(px, py)) pixels.put(px, py, mode != 0);
    } else if (action == 1) {
      Pixels piece(other.width, other.height);
      for (int py = 0; py < piece.height; ++py)
        for (int px = 0; px < piece.width; ++px) {
          piece.put(px, py, pixel(px, py));
          if (mode == 0) pixels.put(x + px, y + py, false);
        }
      const OwnedRect made((mode == 0 ? rleCutRect : rleCopyRect)(
          rect.get(), x, y, x + piece.width - 1, y + piece.height - 1));
      ASSERT_EQ(Pixels(made.get()), piece) << "step " << step;
    } else {
      bool overlap = false;
      for (int py = 0; py < other.height; ++py)
        for (int px = 0; px < other.width; ++px) {
          overlap |= pixels.contains(x + px, y + py);
          if (mode == 0) pixels.put(x + px, y + py, other.get(px, py));
          if (mode < 3 && other.get(px, py)) pixels.put(x + px, y + py, mode != 2);
        }
      ASSERT_EQ(rleMergeRect(rect.get(), x, y, otherRect.get(), mode), overlap ? 1 : 0);
      ASSERT_EQ(rleMergeRect(rect.get(), INT_MIN, INT_MAX, otherRect.get(), mode), 0);
    }
    ASSERT_TRUE(pixels.width == 0 || rleCheckRect(rect.get()) == 1);
    ASSERT_EQ(Pixels(rect.get()), pixels) << "step " << step;
  }
}

}  // namespace
}  // namespace rle::test
