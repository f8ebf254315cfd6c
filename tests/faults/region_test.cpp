// Memory that runs out while regions are copied, cut, pasted and painted.

#include <gtest/gtest.h>

#include "model/runs.h"
#include "support/allocations.h"
#include "support/picture.h"

namespace rle::test {
namespace {

using Rows = std::vector<std::string>;

// act(target) with every allocation failing in turn, on fresh targets without room to spare.
template <class Act, class Check>
void failEach(const Rows& rows, Act act, Check check) {
  const int64_t before = allocationsAlive();
  bool failed = true;
  for (int64_t number = 0; failed; ++number) {
    const OwnedRect target = image(rows);
    for (int y = 0; y < target->height; ++y)
      target->rows[y]->runs = resizeRuns(target->rows[y]->runs, target->rows[y]->count);
    failAllocation(number);
    const OwnedRect made(act(target.get()));
    failed = allocationsAsked() > number;
    failAllocation(-1);
    EXPECT_EQ(rleCheckRect(target.get()), 1);
    check(target.get(), made.get(), failed);
  }
  EXPECT_EQ(allocationsAlive(), before);
}

TEST(RegionFaults, LeaveTheSourceWholeOrGiveTheWholePiece) {
  const Rows whole = {"#.##", ".##.", "####"}, middle = {".#", "##", "##"};
  failEach(
      whole, [](RleRect* source) { return rleCutRect(source, 1, 0, 2, 2); },
      [&](RleRect* source, RleRect* piece, bool failed) {
        EXPECT_EQ(picture(piece != nullptr ? piece : source), piece != nullptr ? middle : whole);
        EXPECT_TRUE(failed || picture(source) == (Rows{"#..#", "....", "#..#"}));
      });
}

TEST(RegionFaults, LeaveEveryRowOfATargetAsItWasOrAsItShouldBe) {
  std::string stripes;
  for (int i = 0; i < 200; ++i) stripes += "#.#..";  // more than fits the storage on the stack
  const OwnedRect source = image({stripes, std::string(1000, '.'), stripes});
  const Rows before = {std::string(1000, '.'), std::string(1000, '#'), std::string(999, '.') + '#'};
  for (int mode = 0; mode < 6; ++mode) {
    const auto act = [&](RleRect* target) -> RleRect* {
      if (mode < 3) rleMergeRect(target, 1, 0, source.get(), mode);
      if (mode == 3) rleMaskRect(target, source.get(), 1);
      if (mode > 3) rleFillRect(target, 1, 0, 990, 2, -1, source.get(), mode - 4);
      return nullptr;
    };
    const OwnedRect complete = image(before);
    act(complete.get());
    const Rows after = picture(complete.get());
    failEach(before, act, [&](RleRect* target, RleRect*, bool failed) {
      const Rows now = picture(target);
      for (size_t y = 0; y < 3; ++y)
        EXPECT_TRUE(now[y] == after[y] || (failed && now[y] == before[y]));
    });
  }
}

}  // namespace
}  // namespace rle::test
