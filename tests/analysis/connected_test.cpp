// Connected components: their buffers, and the largest. (Against a flood fill of pixels: random
// cases of analysis.)

#include <gtest/gtest.h>

#include <utility>

#include "reference/literal_row.h"
#include "support/picture.h"
#include "support/pixels.h"
#include "support/small_stack.h"

namespace rle::test {
namespace {

// The rows are meant to look as if their runs had been set one by one, buffers included.
void expectRowsSetRunByRun(const RleRect& rect) {
  for (int y = 0; y < rect.height; ++y) {
    const Row row;
    for (const auto& [start, end] : runsOf(rect.rows[y])) rleSetLine(row, start, end - 1);
    ASSERT_TRUE(LiteralRow(row).matches(rect.rows[y])) << row->count << " runs";
    ASSERT_EQ(rect.rows[y]->tag, 0U);
  }
}

enum Kind { kSpiral, kComb, kLyingComb, kFull };

Pixels drawing(Kind kind, int width, int height) {
  Pixels pixels(width, height);
  int x = -1, y = 0, dx = 1, dy = 0;
  for (int turns = 0; kind == kSpiral && turns < 3;) {
    const bool free = pixels.contains(x + dx, y + dy) && !pixels.get(x + dx, y + dy) &&
                      !pixels.get(x + 2 * dx, y + 2 * dy);
    if (free) {
      pixels.put(x += dx, y += dy, true), turns = 0;
    } else {
      dx = -std::exchange(dy, dx), ++turns;
    }
  }
  for (int i = 0; kind != kSpiral && i < width * height; ++i) {
    x = i % width, y = i / width;
    const bool black[] = {false, x % 2 == 0 || y == height - 1, y % 2 == 0 || x == width - 1, true};
    pixels.put(x, y, black[kind]);
  }
  return pixels;
}

TEST(Connected, RowsAreThoseOfRunsSetOneByOne) {
  std::mt19937 random(1);
  for (int i = 0; i < 1000; ++i) {
    const OwnedRect rect =
        randomPixels(random, 400, randomInt(random, 1, 20), 1 + i % 3 * 2, 1 + i % 5).toRect(300);
    rect->tag = rect->rows[0]->tag = 5;
    if (rect->rows[0]->count == 0) continue;
    if (i % 3 == 0) {  // the least spare room above the greatest: buffers may keep their size
      rleRunAllocMinExtra = 90;
      rleRunAllocMaxExtra = uint32_t(randomInt(random, 0, 80));
    }
    const RleRun run = rect->rows[0]->runs[rect->rows[0]->count / 2];
    const OwnedRect found(rleConnected(rect.get(), run.start | 5 << 16, 0x70000, nullptr, nullptr));
    ASSERT_TRUE(found);
    expectRowsSetRunByRun(*found);
    EXPECT_EQ(found->resolution, 300);
    EXPECT_EQ(found->tag, 0U);
    rleRunAllocMinExtra = 4;
    rleRunAllocMaxExtra = 40;
    const OwnedRect behind(rleConnected(rect.get(), run.end, 0, nullptr, nullptr));
    EXPECT_FALSE(behind) << "a run ends in front of its end";
  }
}

TEST(Connected, TheLargestAndLongestNeedNoCallStack) {
  constexpr int kMost = 65535;
  const Pixels images[] = {drawing(kSpiral, 11, kMost), drawing(kSpiral, kMost, 11),
                           drawing(kComb, 9, kMost),    drawing(kLyingComb, 9, kMost),
                           drawing(kComb, kMost, 4),    drawing(kFull, kMost, 3)};
  for (const Pixels& pixels : images) {  // each all of one piece
    const OwnedRect rect = pixels.toRect(300);
    const int x = pixels.get(pixels.width - 1, pixels.height - 1) ? pixels.width - 1 : 0;
    uint16_t left = 77, top = 78;
    OwnedRect found;
    onAStackOf(128 * 1024,
               [&] { found.reset(rleConnected(rect.get(), x, pixels.height - 1, &left, &top)); });
    ASSERT_TRUE(found);
    EXPECT_TRUE(Pixels(found.get()) == pixels);
    EXPECT_EQ(left + top, 0);
  }
}

}  // namespace
}  // namespace rle::test
