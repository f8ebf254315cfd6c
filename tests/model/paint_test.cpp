// Painting spans and rectangles in black, white and patterns.

#include <gmock/gmock.h>

#include <climits>

#include "reference/literal_row.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using testing::ElementsAre;
using Runs = std::vector<std::pair<int, int>>;

TEST(Painting, ColourPatternAndModeDecideTogether) {
  const OwnedRect tile = image({"#."});
  const struct {
    int colour;
    bool pattern;
    int mode;
    const char* result;  // of painting columns 1 to 4
  } cases[] = {
      {1, false, 1, "#####..#"},  {0, false, 1, "#......#"},  {1, false, 2, "#......#"},
      {0, false, 2, "#####..#"},  {1, false, 0, "#####..#"},  {0, false, 0, "#####..#"},
      {-1, false, 1, "#####..#"}, {-1, false, 2, "#####..#"}, {5, true, 1, "#####..#"},
      {-1, true, 1, "###.#..#"},  {-1, true, 2, "##.....#"},  {-1, true, 0, "#.#.#..#"},
      {-1, true, 9, "#.#.#..#"},  {0, true, 1, "#......#"},
  };
  for (const auto& c : cases) {
    const OwnedRect byRect = image({"###....#"}), bySpan = image({"###....#"});
    RleRect* const pattern = c.pattern ? tile.get() : nullptr;
    RlePoint at = {1, 0};
    int32_t width = 4;
    rleFillRect(byRect.get(), 1, -3, 4, 3, c.colour, pattern, c.mode);
    rleFillSpans(bySpan.get(), 1, &at, &width, c.colour, pattern, c.mode);
    EXPECT_THAT(picture(byRect.get()), ElementsAre(c.result)) << c.colour << ' ' << c.mode;
    EXPECT_THAT(picture(bySpan.get()), ElementsAre(c.result)) << c.colour << ' ' << c.mode;
  }
}

TEST(Painting, ATileFollowsTheImageInSpansAndTheTopRowInRectangles) {
  const OwnedRect tile = image({"#.", ".#"}), page(rleNewRect(4, 8, 0));
  RlePoint point = {0, 5};
  int32_t width = 4;
  rleFillSpans(page.get(), 1, &point, &width, -1, tile.get(), 0);
  EXPECT_EQ(picture(page->rows[5], 4), ".#.#");
  rleFillRect(page.get(), 0, 5, 3, 6, -1, tile.get(), 0);
  EXPECT_EQ(picture(page->rows[5], 4) + picture(page->rows[6], 4), "#.#..#.#");
}

TEST(Painting, NothingIsPaintedOutsideTheImageOrWithoutATile) {
  const OwnedRect page(rleNewRect(100, 7, 0)), none(rleNewRect(0, 4, 0)), flat(rleNewRect(4, 0, 0));
  RlePoint points[] = {{-5, 3}, {0, -1},      {0, 7},       {10, 2}, {100, 2},
                       {-9, 2}, {INT_MAX, 2}, {INT_MIN, 2}, {98, 5}};
  int32_t widths[] = {10, 10, 10, 0, 10, 9, INT_MAX, INT_MAX, INT_MAX};
  rleFillSpans(page.get(), 9, points, widths, 1, nullptr, 1);
  rleFillSpans(none.get(), 9, points, widths, 1, nullptr, 1);
  for (RleRect* tile : {none.get(), flat.get(), static_cast<RleRect*>(nullptr)})
    rlePatternRect(page.get(), 0, 3, 99, 3, tile, 0);
  const Runs rows[] = {{}, {}, {}, {{0, 5}}, {}, {{98, 100}}, {}};
  for (int y = 0; y < 7; ++y) EXPECT_EQ(runsOf(page->rows[y]), rows[y]) << y;
  EXPECT_EQ(none->rows[2]->count + none->rows[3]->count, 0);
}

// Piece by piece and edit by edit as in the definition, and pixel by pixel.
TEST(Painting, TilesOfEverySizeEqualPixelsAndSingleEdits) {
  std::mt19937 random(99);
  for (int round = 0; round < 3000; ++round) {
    const int width = randomInt(random, 1, 200);
    const Pixels before = randomPixels(random, width, 1);
    const Pixels tile =
        randomPixels(random, randomInt(random, 1, 40), randomInt(random, 1, 3), 2, 3);
    const OwnedRect rect = before.toRect(), pattern = tile.toRect();
    const int x1 = randomInt(random, 0, width - 1), x2 = randomInt(random, x1, width - 1);
    const int y = randomInt(random, 0, 65535), mode = randomInt(random, 0, 3);
    LiteralRow literal(rect->rows[0]);
    const auto tileRuns = runsOf(pattern->rows[y % tile.height]);
    for (int x = x1; x <= x2;) {
      const int sx = x % tile.width, length = std::min(tile.width - sx, x2 - x + 1);
      if (mode != 1 && mode != 2) literal.clear(x, x + length);
      for (const auto& [start, end] : tileRuns) {
        const int from = x - sx + std::max(start, sx), to = x - sx + std::min(end, sx + length);
        mode == 2 ? literal.clear(from, to) : literal.set(from, to);
      }
      x += length;
    }
    rlePatternLine(rect->rows[0], x1, x2, y - 65536, pattern.get(), mode);
    ASSERT_TRUE(literal.matches(rect->rows[0])) << "round " << round;
    Pixels expected = before;
    for (int x = x1; x <= x2; ++x) {
      const bool black = tile.get(x % tile.width, y % tile.height);
      if (black || (mode != 1 && mode != 2)) expected.put(x, 0, black && mode != 2);
    }
    ASSERT_EQ(Pixels(rect.get()), expected) << "round " << round;
  }
}

}  // namespace
}  // namespace rle::test
