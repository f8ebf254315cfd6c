// Memory that runs out while regions are copied, cut and pasted.

#include <gtest/gtest.h>

#include "model/runs.h"
#include "support/allocations.h"
#include "support/picture.h"

namespace rle::test {
namespace {

TEST(RegionFaults, LeaveTheSourceWholeOrGiveTheWholePiece) {
  const int64_t before = allocationsAlive();
  {
    const std::vector<std::string> whole = {"#.##", ".##.", "####"}, middle = {".#", "##", "##"};
    OwnedRect source, piece;
    for (const auto action : {rleCopyRect, rleCutRect}) {
      bool failed = true;
      for (int64_t number = 0; failed; ++number) {
        source = image(whole);
        for (int y = 0; y < 3; ++y)  // no room to spare, so that splitting a run must grow
          source->rows[y]->runs = resizeRuns(source->rows[y]->runs, source->rows[y]->count);
        failAllocation(number);
        piece.reset(action(source.get(), 1, 0, 2, 2));
        failed = allocationsAsked() > number;
        failAllocation(-1);
        EXPECT_EQ(rleCheckRect(source.get()), 1);
        if (piece)
          EXPECT_EQ(picture(piece.get()), middle);
        else
          EXPECT_EQ(picture(source.get()), whole);
        EXPECT_TRUE(piece || failed);
      }
    }
    EXPECT_EQ(picture(source.get()), (std::vector<std::string>{"#..#", "....", "#..#"}));
  }
  EXPECT_EQ(allocationsAlive(), before);
}

TEST(RegionFaults, LeaveEveryRowOfATargetValid) {
  const int64_t before = allocationsAlive();
  {
    const OwnedRect source = image({"#.#.#.#.#.#.#.#.", "................", "###.....########"});
    for (int mode = 0; mode < 6; ++mode) {
      bool failed = true;
      for (int64_t number = 0; failed; ++number) {
        const OwnedRect target =
            image({"..##..##..##..##", "################", "#..............."});
        const auto original = picture(target.get());
        failAllocation(number);
        if (mode < 3) rleMergeRect(target.get(), 0, 0, source.get(), mode);
        if (mode == 3) rleMaskRect(target.get(), source.get(), 0);
        if (mode > 3) rleFillRect(target.get(), 1, 0, 9, 2, -1, source.get(), mode - 4);
        failed = allocationsAsked() > number;
        failAllocation(-1);
        EXPECT_EQ(rleCheckRect(target.get()), 1);
        const OwnedRect complete = image(original);
        if (mode < 3) rleMergeRect(complete.get(), 0, 0, source.get(), mode);
        if (mode == 3) rleMaskRect(complete.get(), source.get(), 0);
        if (mode > 3) rleFillRect(complete.get(), 1, 0, 9, 2, -1, source.get(), mode - 4);
        for (size_t y = 0; y < 3; ++y) {
          const std::string row = picture(target.get())[y];
          EXPECT_TRUE(row == picture(complete.get())[y] || (failed && row == original[y]));
        }
      }
    }
  }
  EXPECT_EQ(allocationsAlive(), before);
}

}  // namespace
}  // namespace rle::test
