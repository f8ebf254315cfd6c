// Run buffers, records and validation.

#include <gtest/gtest.h>

#include "model/runs.h"
#include "support/picture.h"

namespace rle::test {
namespace {

void tune(uint32_t factor, uint32_t least, uint32_t most) {
  rleRunAllocFactor = factor;
  rleRunAllocMinExtra = least;
  rleRunAllocMaxExtra = most;
}

TEST(RunBuffers, AreMadeAsTheTuningWordsSay) {
  const uint32_t cases[][5] = {
      {6553, 4, 40, 0, 5},         {6553, 4, 40, 20, 24},       {6553, 4, 40, 206, 246},
      {6553, 4, 40, 60000, 60040}, {6553, 4, 0, 7, 11},  // the lower bound is looked at first
      {6553, 4, 0, 100, 100},      {0x20000001, 0, 1000, 8, 8},  // the product keeps 32 bits
  };
  for (const auto& [factor, least, most, count, capacity] : cases) {
    tune(factor, least, most);
    EXPECT_EQ(capacityOf(OwnedRuns(rleAllocRuns(count)).get()), capacity) << count;
  }
  tune(6553, 4, 40);
}

TEST(RunBuffers, KeepTheirSizeOnlyWithMuchToSpare) {
  RleRun* runs = nullptr;
  const std::pair<uint32_t, uint32_t> steps[] = {{100, 119}, {10, 119}, {90, 107}, {70, 83},
                                                 {30, 83},   {50, 59},  {30, 35},  {0, 4}};
  for (const auto& [count, capacity] : steps) {
    runs = rleReAllocRuns(runs, count);
    EXPECT_EQ(capacityOf(runs), capacity) << count;
  }
  EXPECT_EQ(rleReAllocRuns(runs, 0xFFFFFFF0), nullptr);  // its size would not fit its word
  EXPECT_EQ(rleAllocRuns(0xFFFFFFFF), nullptr);
  EXPECT_EQ(capacityOf(runs), 4U);
  rleFreeRuns(runs);
}

TEST(Records, ANewImageNarrowsItsArguments) {
  const OwnedRect rect(rleNewRect(0xABCD0064, 0x10003, 0xFFFF0000));
  EXPECT_EQ(rect->width, 100);
  EXPECT_EQ(rect->height, 3);
  EXPECT_EQ(rect->resolution, 200);
  EXPECT_EQ(rect->rows[2]->runs, nullptr);
  EXPECT_EQ(rleAllocLines(-1), nullptr);
}

TEST(Records, ACopyHasTheSameContentInItsOwnMemory) {
  OwnedPoly poly(rleAllocPoly());
  poly->count = 4;
  poly->fillRule = 1;
  poly->image = image({"#.#.#.", "......"}).release();
  poly->image->tag = 3;
  poly->image->rows[1]->tag = 7;
  poly->points = rleAllocPoints(4);
  poly->points[3] = {-5, 6};
  const OwnedPoly copy(rleDupPoly(poly.get()));
  poly.reset();
  EXPECT_EQ(copy->mask, nullptr);
  EXPECT_EQ(copy->points[3].x, -5);
  EXPECT_EQ(copy->fillRule, 1);
  EXPECT_EQ(copy->image->tag + copy->image->rows[1]->tag, 3U + 7U);
  EXPECT_EQ(picture(copy->image), (std::vector<std::string>{"#.#.#.", "......"}));
  EXPECT_EQ(capacityOf(copy->image->rows[1]->runs), 5U);  // an empty row's copy has a buffer
}

TEST(Validation, NamesTheFirstFault) {
  using Runs = std::vector<std::pair<int, int>>;
  const std::tuple<Runs, int, int> cases[] = {
      {{{2, 5}, {6, 9}}, 9, 1},   {{}, 1, 1},         {{{2, 5}, {5, 9}}, 20, -9},
      {{{2, 5}, {2, 5}}, 20, -8}, {{{3, 3}}, 20, -5}, {{{2, 5}, {1, 3}}, 20, -9},
      {{{4, 3}}, 20, -5},         {{{7, 9}}, 8, -7},  {{{8, 9}}, 8, -6},
      {{{3, 3}, {2, 5}}, 2, -5},  {{}, 0, -2},        {{}, 65536, -2},
      {{{0, 65535}}, 65535, 1},
  };
  for (const auto& [runs, width, code] : cases) EXPECT_EQ(rleCheckLine(Row(runs), width), code);
  EXPECT_EQ(rleCheckLine(nullptr, 0), -1);
  const Row missing;
  missing->count = 1;
  EXPECT_EQ(rleCheckLine(missing, 8), -3);
  missing->count = 0;
}

}  // namespace
}  // namespace rle::test
