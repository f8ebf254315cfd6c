// Painting spans and rectangles in black, white and patterns.

#include <gmock/gmock.h>

#include <climits>

#include "reference/literal_row.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using testing::ElementsAre;

TEST(Painting, ColourPatternAndModeDecideTogether) {
  const OwnedRect tile = image({"#."});
  const struct {
    int colour;
    RleRect* pattern;
    int mode;
    const char* result;  // of painting columns 1 to 4
  } cases[] = {
      {-1, nullptr, 1, "#####..#"},   {1, nullptr, 0, "#####..#"},
      {0, nullptr, 1, "#......#"},    {1, nullptr, 2, "#......#"},
      {0, nullptr, 2, "#####..#"},    {-1, tile.get(), 2, "##.....#"},
      {5, tile.get(), 1, "#####..#"}, {-1, tile.get(), 9, "#.#.#..#"},
      {0, tile.get(), 1, "#......#"},
  };
  for (const auto& c : cases) {
    const OwnedRect page = image({"###....#", "###....#"});  // by a span, by a rectangle
    RlePoint at = {1, 0};
    int32_t width = 4;
    rleFillSpans(page.get(), 1, &at, &width, c.colour, c.pattern, c.mode);
    rleFillRect(page.get(), 1, 1, 4, 3, c.colour, c.pattern, c.mode);
    EXPECT_THAT(picture(page.get()), ElementsAre(c.result, c.result)) << c.colour << c.mode;
  }
}

TEST(Painting, NothingIsPaintedOutsideTheImageOrWithoutATile) {
  const OwnedRect page(rleNewRect(12, 3, 0)), none(rleNewRect(0, 4, 0));
  RlePoint points[] = {{-5, 0}, {0, -1}, {0, 3}, {12, 0}, {INT_MAX, 0}, {INT_MIN, 0}, {10, 1}};
  int32_t widths[] = {10, 10, 10, 10, INT_MAX, INT_MAX, INT_MAX};
  rleFillSpans(page.get(), 7, points, widths, 1, nullptr, 1);
  rlePatternRect(page.get(), 0, 0, 11, 2, none.get(), 0);
  EXPECT_THAT(picture(page.get()), ElementsAre("#####.......", "..........##", "............"));
}

// Piece by piece and edit by edit, as in the definition.
TEST(Painting, TilesOfEverySizeLeaveWhatSingleEditsLeave) {
  std::mt19937 random(99);
  for (int round = 0; round < 3000; ++round) {
    const Pixels pixels = randomPixels(random, randomInt(random, 1, 200), 1);
    const Pixels tile =
        randomPixels(random, randomInt(random, 1, 40), randomInt(random, 1, 3), 2, 3);
    const OwnedRect rect = pixels.toRect(), pattern = tile.toRect();
    const int x1 = randomInt(random, 0, pixels.width - 1);
    const int x2 = randomInt(random, x1, pixels.width - 1);
    const int y = randomInt(random, 0, 65535), mode = randomInt(random, 0, 3);
    LiteralRow literal(rect->rows[0]);
    for (int x = x1; x <= x2;) {
      const int sx = x % tile.width, length = std::min(tile.width - sx, x2 - x + 1);
      if (mode == 0 || mode == 3) literal.edit(false, x, x + length);
      for (const auto& [start, end] : runsOf(pattern->rows[y % tile.height]))
        literal.edit(mode != 2, x - sx + std::max(start, sx), x - sx + std::min(end, sx + length));
      x += length;
    }
    rlePatternLine(rect->rows[0], x1, x2, y - 65536, pattern.get(), mode);
    ASSERT_TRUE(literal.matches(rect->rows[0])) << "round " << round;
  }
}

}  // namespace
}  // namespace rle::test
