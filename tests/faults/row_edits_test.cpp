// Rows edited in one pass: the same runs, count and capacity as after single edits.

#include "model/row_edits.h"

#include <gtest/gtest.h>

#include <random>

#include "draw/row_spans.h"
#include "model/row_merge.h"
#include "reference/literal_row.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

class RowEdits : public testing::Test {
 protected:
  void TearDown() override { tune(6553, 4, 40); }

  static void tune(int factor, int least, int64_t most) {
    rleRunAllocFactor = uint32_t(factor);
    rleRunAllocMinExtra = uint32_t(least);
    rleRunAllocMaxExtra = uint32_t(most);
  }

  void randomTuning() {
    tune(random(0, 40000), random(0, 12), random(0, 9) == 0 ? 0xFFFFFFFF : random(0, 60));
  }

  int random(int low, int high) { return randomInt(random_, low, high); }

  // Any row, valid or not, in a buffer of any slack.
  Row randomRow(bool valid, int mostRuns) {
    std::vector<std::pair<int, int>> runs;
    int x = 0;
    for (int n = random(0, mostRuns); n > 0; --n) {
      const int start = valid ? x + random(runs.empty() ? 0 : 1, 9) : random(0, 65535);
      x = valid ? start + random(1, 9) : random(0, 65535);
      runs.emplace_back(start, x);
    }
    Row row(runs);
    if (random(0, 2) == 0) row->runs = resizeRuns(row->runs, uint32_t(row->count + random(0, 80)));
    return row;
  }

  std::mt19937 random_{20260722};
};

TEST_F(RowEdits, AnySeriesOfEditsLeavesWhatItsDefinitionSays) {
  RunScratch scratch;
  for (int round = 0; round < 10000; ++round) {
    randomTuning();
    const bool forward = random(0, 1) == 1;
    const Row row = randomRow(random(0, 3) != 0, round % 50 == 0 ? 900 : 30), one(runsOf(row));
    if (row->runs != nullptr) one->runs = resizeRuns(one->runs, capacityOf(row->runs));
    LiteralRow expected(row);
    const int edits = random(1, 40);
    BatchEdits batch(*row, uint32_t(edits), scratch);
    for (int i = 0, x = 0; i < edits; ++i) {
      const int start = forward ? x + random(0, 12) : random(0, 600), end = start + random(0, 15);
      const bool set = random(0, 1) == 1;
      x = random(0, 1) == 1 ? end : start;  // edits may begin where the one before began
      set ? batch.set(uint16_t(start), uint16_t(end)) : batch.clear(uint16_t(start), uint16_t(end));
      set ? rleSetLine(one, start, end - 1) : rleClearLine(one, start, end - 1);
      expected.edit(set, start, end);
    }
    batch.finish();
    ASSERT_TRUE(expected.matches(row) && expected.matches(one)) << "round " << round;
  }
}

// Spans that meet runs and each other in all ways, more than are painted at once, on any row.
TEST_F(RowEdits, SpansInAnyOrderLeaveWhatSingleEditsLeave) {
  RunScratch scratch;
  for (int round = 0; round < 10000; ++round) {
    randomTuning();
    const bool black = random(0, 1) == 1, isDamaged = round % 100 == 1;
    const Row row = randomRow(!isDamaged, round % 50 == 0 ? 900 : 30);
    const int reach = isDamaged ? 65000 : 11 * row->count + 50;
    LiteralRow expected(row);
    std::vector<RleRun> spans(size_t(random(1, random(0, 9) == 0 ? 150 : 9)));
    for (RleRun& span : spans) {
      const int start = random(0, reach), end = start + random(1, random(0, 3) == 0 ? 60 : 9);
      span = {uint16_t(start), uint16_t(end)};
      expected.edit(black, start, end);
    }
    editSpans(*row, spans, !black, scratch);
    ASSERT_TRUE(isDamaged || expected.matches(row)) << "round " << round;
  }
}

// Every source of 8 columns over every target of 8, shifted by -7 to 7, against bit arithmetic.
TEST_F(RowEdits, MergingAndMaskingEveryPairOfSmallRows) {
  const auto bits = [](const RleLine* line) {
    uint32_t pixels = 0;
    for (uint32_t i = 0; i < line->count; ++i)
      pixels |= (1U << line->runs[i].end) - (1U << line->runs[i].start);
    return pixels;
  };
  const Row row;
  row->runs = resizeRuns(nullptr, 64);  // so roomy that it keeps its size
  int wrong = 0;
  for (uint32_t from = 0; from < 256; ++from) {
    const Row source(from, 8);
    for (uint32_t to = 0; to < 256; ++to) {
      const Row target(to, 8);
      for (int way = 0; way < 60; ++way) {
        const int shift = way / 4 - 7, first = std::max(-shift, 0), at = std::max(shift, 0);
        const uint32_t picked = ((way % 2 == 1 ? ~from & 0xFF : from) >> first) << at;
        row->count = target->count;
        std::copy_n(target->runs, target->count, row->runs);
        (way % 2 == 1 ? rleMaskLineRun : rleMergeLineRun)(row, source, at, first, 7, way & 2);
        const uint32_t expected = (way & 2) != 0 ? to | picked : to & ~picked;
        wrong += bits(row) != expected || rleCheckLine(row, 16) != 1;
      }
    }
  }
  EXPECT_EQ(wrong, 0);
}

// Stretches that end anywhere, targets that wrap at 16 bits, rows of all sizes, tuned at random.
TEST_F(RowEdits, AMergeMaskOrReplacementLeavesWhatSingleEditsLeave) {
  RunScratch scratch;
  for (int round = 0; round < 6000; ++round) {
    randomTuning();
    const int mostRuns = round % 20 == 0 ? 600 : 20;
    const Row row = randomRow(true, mostRuns), source = randomRow(true, mostRuns);
    const int first = random(0, 100), end = first + random(-1, round % 2 == 0 ? 8000 : 150);
    const int at = random(0, 9) == 0 ? random(65000, 65535) : random(0, 200);
    enum Way { Set, Clear, MaskSet, MaskClear, Replace };
    const auto way = Way(random(0, 4));
    LiteralRow expected(row);
    const auto edit = [&](bool set, int x1, int x2) {
      expected.edit(set, uint16_t(at - first + x1), uint16_t(at - first + x2));
    };
    if (way == Replace) edit(false, first, std::max(first, end));
    int gap = first;
    for (const auto& [x1, x2] : runsOf(source)) {
      if (x2 <= first || x1 >= end) continue;
      if (way == MaskSet || way == MaskClear)
        edit(way == MaskSet, gap, std::max(gap, x1));
      else
        edit(way != Clear, std::max(x1, first), std::min(x2, end));
      gap = std::min(x2, end);
    }
    if (gap < end && (way == MaskSet || way == MaskClear)) edit(way == MaskSet, gap, end);
    if (way == Replace)
      replaceRow(*row, *source, {uint32_t(first), uint32_t(end), uint32_t(at)}, scratch);
    else
      (way > Clear ? rleMaskLineRun : rleMergeLineRun)(row, source, at, first, end - 1,
                                                       way == Set || way == MaskSet ? -1 : 0);
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
