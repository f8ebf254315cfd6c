// Edits of one span, on single rows and on bands of rows.

#include <gmock/gmock.h>

#include "reference/literal_row.h"
#include "support/picture.h"

namespace rle::test {
namespace {

using Runs = std::vector<std::pair<int, int>>;

TEST(SpanEdits, TakeSixteenBitsAndNoSpanThatIsReversed) {
  const struct {
    int x1, x2;
    Runs set, cleared;
  } cases[] = {
      {0x30007, 0x50008, {{5, 10}, {12, 15}}, {{5, 7}, {9, 10}, {12, 15}}},
      {20, 12, {{5, 10}, {12, 15}}, {{5, 10}, {12, 15}}},
      {9, 65535, {{5, 10}, {12, 15}}, {{5, 10}, {12, 15}}},  // the end would not fit
      {0, 65534, {{0, 65535}}, {}},
  };
  for (const auto& c : cases) {
    const Row row(Runs{{5, 10}, {12, 15}}), other(Runs{{5, 10}, {12, 15}});
    rleSetLine(row, c.x1, c.x2);
    rleClearLine(other, c.x1, c.x2);
    EXPECT_EQ(runsOf(row), c.set) << c.x1 << ".." << c.x2;
    EXPECT_EQ(runsOf(other), c.cleared) << c.x1 << ".." << c.x2;
  }
}

TEST(SpanEdits, EverySpanOnEveryRowOfEightColumns) {
  for (uint32_t pixels = 0; pixels < 256; ++pixels)
    for (int x1 = 0; x1 < 8; ++x1)
      for (int x2 = x1; x2 < 8; ++x2)
        for (const bool set : {true, false}) {
          const Row row(pixels, 8);
          LiteralRow expected(row);
          const uint32_t span = (2U << x2) - (1U << x1);
          set ? rleSetLine(row, x1, x2) : rleClearLine(row, x1, x2);
          set ? expected.set(x1, x2 + 1) : expected.clear(x1, x2 + 1);
          ASSERT_EQ(picture(row, 8), picture(set ? pixels | span : pixels & ~span, 8));
          ASSERT_TRUE(expected.matches(row));
          ASSERT_EQ(rleCheckLine(row, 8), 1);
        }
}

TEST(SpanEdits, ABandOfRowsChangesThoseRowsOnly) {
  const OwnedRect rect = image({"......", "......", "......", "......", "......"});
  rleSetRect(rect.get(), 2, 0x10001, 4, 3);
  rleClearRect(rect.get(), 3, 2, 3, 2);
  rleSetRect(rect.get(), 0, 4, 5, 3);
  EXPECT_THAT(picture(rect.get()),
              testing::ElementsAre("......", "..###.", "..#.#.", "..###.", "......"));
}

TEST(SpanEdits, AStretchOfAnotherRowIsSetOrCleared) {
  const Row row, source(Runs{{5, 12}, {15, 30}});
  rleMergeLineRun(row, source, 100, 10, 19, 1);
  EXPECT_EQ(runsOf(row), (Runs{{100, 102}, {105, 110}}));
  rleMergeLineRun(row, source, 101, 11, 16, 0);
  EXPECT_EQ(runsOf(row), (Runs{{100, 101}, {107, 110}}));
}

}  // namespace
}  // namespace rle::test
