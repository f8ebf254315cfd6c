// Run buffers, records and validation.

#include <gtest/gtest.h>

#include "model/runs.h"
#include "support/picture.h"

namespace rle::test {
namespace {

class RunBuffers : public testing::Test {
 protected:
  void TearDown() override {
    rleRunAllocFactor = 6553;
    rleRunAllocMinExtra = 4;
    rleRunAllocMaxExtra = 40;
  }

  static uint32_t capacityFor(uint32_t count) {
    const OwnedRuns runs(rleAllocRuns(count));
    return capacityOf(runs.get());
  }
};

TEST_F(RunBuffers, AreMadeWithAFifthToSpareWithinBounds) {
  const std::pair<uint32_t, uint32_t> expected[] = {
      {0, 5},   {1, 5},     {5, 9},     {20, 24},   {21, 25},
      {26, 31}, {100, 119}, {205, 245}, {206, 246}, {60000, 60040}};
  for (const auto& [count, capacity] : expected) EXPECT_EQ(capacityFor(count), capacity) << count;
}

TEST_F(RunBuffers, FollowTheTuningWordsOnEveryCall) {
  rleRunAllocMaxExtra = 0;
  EXPECT_EQ(capacityFor(7), 11U);  // the lower bound is looked at first
  EXPECT_EQ(capacityFor(100), 100U);
  rleRunAllocMinExtra = 0;
  EXPECT_EQ(capacityFor(7), 7U);
  EXPECT_EQ(capacityFor(0), 1U);
  rleRunAllocMaxExtra = 1000;
  rleRunAllocFactor = 0x20000001;  // the product keeps its low 32 bits
  EXPECT_EQ(capacityFor(8), 8U);
}

TEST_F(RunBuffers, KeepTheirSizeOnlyWithMuchToSpare) {
  rleRunAllocMinExtra = rleRunAllocMaxExtra = 0;
  RleRun* runs = rleAllocRuns(100);
  rleRunAllocMinExtra = 4;
  rleRunAllocMaxExtra = 40;
  EXPECT_EQ(rleReAllocRuns(runs, 10), runs);
  EXPECT_EQ(capacityOf(runs), 100U);
  runs = rleReAllocRuns(runs, 70);
  EXPECT_EQ(capacityOf(runs), 83U);
  runs = rleReAllocRuns(runs, 50);  // 33 to spare: fitted again
  EXPECT_EQ(capacityOf(runs), 59U);
  runs = rleReAllocRuns(runs, 30);
  runs = rleReAllocRuns(runs, 0);
  EXPECT_EQ(capacityOf(runs), 4U);  // 0 is not raised to 1 here
  rleFreeRuns(runs);
  const OwnedRuns fresh(rleReAllocRuns(nullptr, 3));
  EXPECT_EQ(capacityOf(fresh.get()), 7U);
}

TEST_F(RunBuffers, WhoseSizeDoesNotFitItsWordAreRefused) {
  EXPECT_EQ(rleAllocRuns(0xFFFFFFFF), nullptr);
  const OwnedRuns runs(rleAllocRuns(1));
  EXPECT_EQ(rleReAllocRuns(runs.get(), 0xFFFFFFF0), nullptr);
  EXPECT_EQ(capacityOf(runs.get()), 5U);
}

TEST(Records, ANewImageIsBlankAndNarrowsItsArguments) {
  const OwnedRect rect(rleNewRect(0xABCD0064, 0x10003, 0xFFFF0000));
  EXPECT_EQ(rect->width, 100);
  EXPECT_EQ(rect->height, 3);
  EXPECT_EQ(rect->resolution, 200);
  EXPECT_EQ(rect->tag, 0U);
  for (int y = 0; y < 3; ++y) {
    EXPECT_EQ(rect->rows[y]->count, 0);
    EXPECT_EQ(rect->rows[y]->runs, nullptr);
  }
  EXPECT_EQ(rleCheckRect(rect.get()), 1);
}

TEST(Records, FreeingNoRowsKeepsTheArray) {
  RleLine** rows = rleAllocLines(1);
  rleFreeLines(0, rows);
  EXPECT_EQ(rows[0], nullptr);  // still there
  rleFreeLines(1, rows);
  EXPECT_EQ(rleAllocLines(-1), nullptr);
}

TEST(Records, ACopyHasTheSameContentInItsOwnMemory) {
  OwnedPoly poly(rleAllocPoly());
  poly->count = 4;
  poly->fillRule = 1;
  poly->image = image({"#.#.#.", "......"}).release();
  poly->image->tag = 7;
  poly->image->rows[0]->tag = 9;
  const OwnedPoly withoutPoints(rleDupPoly(poly.get()));
  EXPECT_EQ(withoutPoints->count, 4U);
  EXPECT_EQ(withoutPoints->points, nullptr);
  EXPECT_EQ(withoutPoints->mask, nullptr);
  poly->points = rleAllocPoints(4);
  poly->points[3] = {-5, 6};
  const OwnedPoly copy(rleDupPoly(poly.get()));
  poly.reset();
  EXPECT_EQ(copy->points[3].x, -5);
  EXPECT_EQ(copy->fillRule, 1);
  EXPECT_EQ(copy->image->tag, 7U);
  EXPECT_EQ(copy->image->rows[0]->tag, 9U);
  EXPECT_EQ(picture(copy->image), (std::vector<std::string>{"#.#.#.", "......"}));
  EXPECT_EQ(capacityOf(copy->image->rows[1]->runs), 5U);  // an empty row's copy has a buffer
}

TEST(Validation, NamesTheFirstFault) {
  using Runs = std::vector<std::pair<int, int>>;
  const struct {
    Runs runs;
    int width;
    int code;
  } cases[] = {
      {{{2, 5}, {6, 9}}, 9, 1},
      {{}, 1, 1},
      {{{2, 5}, {5, 9}}, 20, -9},
      {{{2, 5}, {2, 5}}, 20, -8},
      {{{2, 5}, {1, 3}}, 20, -9},
      {{{3, 3}}, 20, -5},
      {{{4, 3}}, 20, -5},
      {{{7, 9}}, 8, -7},
      {{{8, 9}}, 8, -6},
      {{{3, 3}, {2, 5}}, 2, -5},
      {{}, 0, -2},
      {{}, 65536, -2},
      {{{0, 65535}}, 65535, 1},
  };
  for (const auto& c : cases) EXPECT_EQ(rleCheckLine(Row(c.runs), c.width), c.code);
  EXPECT_EQ(rleCheckLine(nullptr, 0), -1);
  const Row missing;
  missing->count = 1;
  EXPECT_EQ(rleCheckLine(missing, 8), -3);
  missing->count = 0;
}

TEST(Validation, OfAnImageTakesANullRowAsBlank) {
  const OwnedRect rect = image({"#..", "#..", "..#"});
  rleFreeLine(rect->rows[1]);
  rect->rows[1] = nullptr;
  EXPECT_EQ(rleCheckRect(rect.get()), 1);
  rect->rows[2]->runs[0].end = 4;
  EXPECT_EQ(rleCheckRect(rect.get()), -7);
}

}  // namespace
}  // namespace rle::test
