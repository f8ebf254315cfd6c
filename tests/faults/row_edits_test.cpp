// Rows edited in one pass: the same runs, count and capacity as after single edits.

#include "model/row_edits.h"

#include <gtest/gtest.h>

#include <random>

#include "model/row_merge.h"
#include "reference/literal_row.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

class RowEdits : public testing::Test {
 protected:
  void TearDown() override { tune(6553, 4, 40); }

  static void tune(int factor, int least, int most) {
    rleRunAllocFactor = uint32_t(factor);
    rleRunAllocMinExtra = uint32_t(least);
    rleRunAllocMaxExtra = uint32_t(most);
  }

  void randomTuning() {
    tune(random(0, 40000), random(0, 12), random(0, 9) == 0 ? -1 : random(0, 60));
  }

  int random(int low, int high) { return randomInt(random_, low, high); }

  // Any row, valid or not, in a buffer of any slack.
  Row randomRow(bool valid, int mostRuns) {
    std::vector<std::pair<int, int>> runs(size_t(random(0, mostRuns)));
    int x = random(-1, 8);
    for (auto& [start, end] : runs) {
      start = valid ? x + random(1, 9) : random(0, 65535);
      x = end = valid ? start + random(1, 9) : random(0, 65535);
    }
    Row row(runs);
    if (random(0, 2) == 0) row->runs = resizeRuns(row->runs, uint32_t(row->count + random(0, 80)));
    return row;
  }

  std::mt19937 random_{20260722};
  RunScratch scratch_;
};

TEST_F(RowEdits, AnySeriesOfEditsLeavesWhatItsDefinitionSays) {
  for (int round = 0; round < 10000; ++round) {
    randomTuning();
    const bool forward = random(0, 1) == 1;
    const Row row = randomRow(random(0, 3) != 0, round % 50 == 0 ? 900 : 30), one(runsOf(row));
    if (row->runs != nullptr) one->runs = resizeRuns(one->runs, capacityOf(row->runs));
    LiteralRow expected(row);
    const int edits = random(1, 40);
    BatchEdits batch(*row, uint32_t(edits), scratch_);
    for (int i = 0, x = 0; i < edits; ++i) {
      const int start = forward ? x + random(0, 12) : random(0, 600), end = start + random(0, 15);
      const bool set = random(0, 1) == 1;
      x = random(0, 1) == 1 ? end : start;  // edits may begin where the one before began
      set ? batch.set(uint16_t(start), uint16_t(end)) : batch.clear(uint16_t(start), uint16_t(end));
      (set ? rleSetLine : rleClearLine)(one, start, end - 1);
      expected.edit(set, start, end);
    }
    batch.finish();
    ASSERT_TRUE(expected.matches(row) && expected.matches(one)) << "round " << round;
  }
}

// Stretches that end anywhere, targets that wrap at 16 bits, rows of all sizes, tuned at random.
TEST_F(RowEdits, AMergeMaskOrReplacementLeavesWhatSingleEditsLeave) {
  for (int round = 0; round < 10000; ++round) {
    randomTuning();
    const int mostRuns = round % 20 == 0 ? 600 : 20;
    const Row row = randomRow(true, mostRuns), source = randomRow(true, mostRuns);
    const int first = random(0, 100), end = first + random(-1, round % 2 == 0 ? 8000 : 150);
    const int at = random(0, 9) == 0 ? random(65000, 65535) : random(0, 200);
    const bool set = random(0, 1) == 1, masks = random(0, 1) == 1, replaces = random(0, 4) == 0;
    LiteralRow expected(row);
    const auto edit = [&](bool value, int x1, int x2) {
      x1 = std::clamp(x1, first, std::max(first, end)), x2 = std::clamp(x2, x1, std::max(x1, end));
      if (x1 < x2) expected.edit(value, uint16_t(at - first + x1), uint16_t(at - first + x2));
    };
    if (replaces) edit(false, first, end);
    int gap = first;
    for (const auto& [x1, x2] : runsOf(source)) {
      if (replaces || !masks) edit(replaces || set, x1, x2);
      if (masks && !replaces) edit(set, gap, x1);
      gap = x2;
    }
    if (masks && !replaces) edit(set, gap, end);
    if (replaces)
      replaceRow(*row, *source, {uint32_t(first), uint32_t(end), uint32_t(at)}, scratch_);
    else
      (masks ? rleMaskLineRun : rleMergeLineRun)(row, source, at, first, end - 1, set ? -1 : 0);
    ASSERT_TRUE(expected.matches(row)) << "round " << round;
  }
}

TEST_F(RowEdits, DamagedSourcesAndRowsThatAreTheirOwnSourceAreHarmless) {
  for (int round = 0; round < 300; ++round) {
    const Row row = randomRow(round % 2 == 0, 300), damaged = randomRow(false, 300);
    const bool valid = rleCheckLine(row, 65535) == 1;
    RleLine* const source = round % 3 == 0 ? row : damaged;
    rleMergeLineRun(row, source, random(0, 30000), random(0, 500), random(0, 30000), round & 4);
    rleMaskLineRun(row, source, 0, 0, 65534, round & 8);
    EXPECT_TRUE(!valid || rleCheckLine(row, 65535) == 1);
  }
}

}  // namespace
}  // namespace rle::test
