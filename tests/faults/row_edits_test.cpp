// Rows edited in one pass: the same runs, count and capacity as after single edits.

#include "model/row_edits.h"

#include <gtest/gtest.h>

#include <random>

#include "model/row_merge.h"
#include "reference/literal_row.h"
#include "support/allocations.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

class RowEdits : public testing::Test {
 protected:
  void TearDown() override {
    rleRunAllocFactor = 6553;
    rleRunAllocMinExtra = 4;
    rleRunAllocMaxExtra = 40;
  }

  // Any row, valid or not, in a buffer of any slack.
  Row randomRow(bool valid, int mostRuns) {
    std::vector<std::pair<int, int>> runs;
    int x = 0;
    for (int n = randomInt(random_, 0, mostRuns); n > 0; --n) {
      const int start =
          valid ? x + randomInt(random_, runs.empty() ? 0 : 1, 9) : randomInt(random_, 0, 65535);
      x = valid ? start + randomInt(random_, 1, 9) : randomInt(random_, 0, 65535);
      runs.emplace_back(start, x);
    }
    Row row(runs);
    if (randomInt(random_, 0, 2) == 0)
      row->runs = resizeRuns(row->runs, uint32_t(row->count + randomInt(random_, 0, 80)));
    return row;
  }

  void randomTuning() {
    rleRunAllocFactor = uint32_t(randomInt(random_, 0, 40000));
    rleRunAllocMinExtra = uint32_t(randomInt(random_, 0, 12));
    rleRunAllocMaxExtra =
        randomInt(random_, 0, 9) == 0 ? 0xFFFFFFFF : uint32_t(randomInt(random_, 0, 60));
  }

  std::mt19937 random_{20260722};
};

TEST_F(RowEdits, AnySeriesOfEditsEqualsSingleEdits) {
  RunScratch scratch;
  for (int round = 0; round < 20000; ++round) {
    randomTuning();
    const bool forward = randomInt(random_, 0, 1) == 1;
    const Row row = randomRow(randomInt(random_, 0, 3) != 0, round % 50 == 0 ? 900 : 30);
    LiteralRow expected(row);
    const int edits = randomInt(random_, 1, 40);
    BatchEdits batch(*row, uint32_t(edits), scratch);
    for (int i = 0, x = 0; i < edits; ++i) {
      const int start = forward ? x + randomInt(random_, 0, 12) : randomInt(random_, 0, 600);
      const int end = start + randomInt(random_, 0, 15);
      const bool set = randomInt(random_, 0, 1) == 1;
      // Forward edits may begin where the one before began, as a tile laid over itself does.
      x = randomInt(random_, 0, 1) == 1 ? end : start;
      if (set)
        batch.set(uint16_t(start), uint16_t(end)), expected.set(start, end);
      else
        batch.clear(uint16_t(start), uint16_t(end)), expected.clear(start, end);
    }
    batch.finish();
    ASSERT_TRUE(expected.matches(row)) << "round " << round;
  }
}

TEST_F(RowEdits, AFullRowTakesNoMoreRuns) {
  const Row row;
  row->runs = rleAllocRuns(65535);
  row->count = 65535;
  std::fill_n(row->runs, 65534, RleRun{1, 1});  // as only damaged data has them
  row->runs[65534] = {100, 40000};
  const LiteralRow before(row);
  rleSetLine(row, 5, 6);
  rleClearLine(row, 200, 299);
  RunScratch scratch;
  BatchEdits batch(*row, 2, scratch);
  batch.set(5, 7);
  batch.clear(200, 300);
  batch.finish();
  EXPECT_TRUE(before.matches(row));
}

// Stretches that end anywhere, targets that wrap at 16 bits, rows of all sizes.
TEST_F(RowEdits, AMergeOrMaskLeavesWhatSingleEditsLeave) {
  for (int round = 0; round < 6000; ++round) {
    randomTuning();
    const int mostRuns = round % 20 == 0 ? 600 : 20;
    const Row row = randomRow(true, mostRuns), source = randomRow(true, mostRuns);
    const int first = randomInt(random_, 0, 100),
              last = first + randomInt(random_, -2, round % 2 == 0 ? 8000 : 150);
    const int at = randomInt(random_, 0, 9) == 0 ? randomInt(random_, 65000, 65535)
                                                 : randomInt(random_, 0, 200);
    const bool set = randomInt(random_, 0, 1) == 1, mask = randomInt(random_, 0, 1) == 1;
    const bool replace = set && !mask && randomInt(random_, 0, 1) == 1;
    LiteralRow expected(row);
    const auto edit = [&](int start, int end, bool black) {
      const int x = (at - first + start) & 0xFFFF, e = (at - first + end) & 0xFFFF;
      black ? expected.set(x, e) : expected.clear(x, e);
    };
    if (replace && first <= last) edit(first, last + 1, false);
    int gap = first;
    for (const auto& [start, end] : runsOf(source)) {
      if (end <= first || start > last) continue;
      if (mask && start > gap) edit(gap, start, set);
      if (!mask) edit(std::max(start, first), std::min(end, last + 1), set);
      gap = std::min(end, last + 1);
    }
    if (mask && gap <= last) edit(gap, last + 1, set);
    RunScratch scratch;
    if (replace)
      replaceRow(*row, *source, {uint32_t(first), uint32_t(last + 1), uint32_t(at)}, scratch);
    else if (mask)
      rleMaskLineRun(row, source, at, first, last | 0x70000, set ? -1 : 0);
    else
      rleMergeLineRun(row, source, at, first, last | 0x70000, set ? -1 : 0);
    ASSERT_TRUE(expected.matches(row)) << "round " << round;
  }
}

TEST_F(RowEdits, DamagedSourcesAndRowsThatAreTheirOwnSourceAreHarmless) {
  for (int round = 0; round < 300; ++round) {
    const Row row = randomRow(round % 2 == 0, 300), damaged = randomRow(false, 300);
    const bool valid = rleCheckLine(row, 65535) == 1;
    RleLine* const source = round % 3 == 0 ? row : damaged;
    rleMergeLineRun(row, source, randomInt(random_, 0, 30000), randomInt(random_, 0, 500),
                    randomInt(random_, 0, 30000), round & 4);
    rleMaskLineRun(row, source, 0, 0, 65534, round & 8);
    EXPECT_EQ(!valid || rleCheckLine(row, 65535) == 1, true);
  }
}

TEST_F(RowEdits, WithoutMemoryARowKeepsItsRunsOrGetsAllEdits) {
  const int64_t before = allocationsAlive();
  bool failed = true;
  for (int64_t number = 0; failed; ++number) {
    const Row source, row("#");
    for (int i = 1; i < 400; ++i) rleSetLine(source, 3 * i, 3 * i);
    const LiteralRow untouched(row);
    LiteralRow complete(row);
    for (const auto& [start, end] : runsOf(source)) complete.set(start, end);
    failAllocation(number);
    rleMergeLineRun(row, source, 0, 0, 2000, 1);
    failed = allocationsAsked() > number;
    failAllocation(-1);
    EXPECT_TRUE(complete.matches(row) || (failed && untouched.matches(row)));
  }
  EXPECT_EQ(allocationsAlive(), before);
}

}  // namespace
}  // namespace rle::test
