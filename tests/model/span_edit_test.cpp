// Edits of one span, on single rows and on bands of rows. (Random series: faults/row_edits_test.)

#include <gmock/gmock.h>

#include "support/picture.h"

namespace rle::test {
namespace {

using Runs = std::vector<std::pair<int, int>>;

TEST(SpanEdits, SetJoinsWhatItTouchesAndClearSplits) {
  const struct {
    void (*edit)(RleLine*, int32_t, int32_t);
    int x1, x2;
    Runs before, after;
  } cases[] = {
      {rleSetLine, 5, 9, {}, {{5, 10}}},
      {rleSetLine, 10, 12, {{5, 10}}, {{5, 13}}},
      {rleSetLine, 3, 4, {{5, 10}}, {{3, 10}}},
      {rleSetLine, 11, 14, {{5, 10}}, {{5, 10}, {11, 15}}},
      {rleSetLine, 6, 30, {{5, 10}, {12, 15}, {20, 25}, {31, 40}}, {{5, 40}}},
      {rleSetLine, 0x30007, 0x50008, {{5, 10}}, {{5, 10}}},  // 16 bits count
      {rleSetLine, 20, 65535, {{5, 10}}, {{5, 10}}},         // the end would not fit
      {rleClearLine, 7, 8, {{5, 10}}, {{5, 7}, {9, 10}}},
      {rleClearLine, 0, 6, {{5, 10}}, {{7, 10}}},
      {rleClearLine, 8, 20, {{5, 10}}, {{5, 8}}},
      {rleClearLine, 9, 7, {{5, 10}}, {{5, 10}}},
      {rleClearLine, 0, 100, {{5, 10}, {12, 15}, {20, 25}}, {}},
  };
  for (const auto& c : cases) {
    const Row row(c.before);
    c.edit(row, c.x1, c.x2);
    EXPECT_EQ(runsOf(row), c.after) << c.x1 << ".." << c.x2;
    EXPECT_NE(row->runs, nullptr);
  }
}

TEST(SpanEdits, EverySpanOnEveryRowOfEightColumns) {
  for (uint32_t pixels = 0; pixels < 256; ++pixels)
    for (int x1 = 0; x1 < 8; ++x1)
      for (int x2 = x1; x2 < 8; ++x2) {
        const uint32_t span = (2U << x2) - (1U << x1);
        const Row set(pixels, 8), cleared(pixels, 8);
        rleSetLine(set, x1, x2);
        rleClearLine(cleared, x1, x2);
        ASSERT_EQ(picture(set, 8), picture(pixels | span, 8)) << x1 << ".." << x2;
        ASSERT_EQ(picture(cleared, 8), picture(pixels & ~span, 8)) << x1 << ".." << x2;
        ASSERT_EQ(rleCheckLine(set, 8) + rleCheckLine(cleared, 8), 2);
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

}  // namespace
}  // namespace rle::test
