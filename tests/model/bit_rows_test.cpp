// Packing and unpacking against single pixels.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <thread>

#include "model/runs.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Runs = std::vector<std::pair<int, int>>;

bool bit(const Bytes& row, int64_t p) { return (row[size_t(p / 8)] >> (7 - p % 8) & 1) != 0; }

// A packed row of `count` bytes in which no pixel has a fixed colour.
Bytes randomBytes(std::mt19937& random, int count, int meanRun, int meanGap) {
  const Pixels pixels = randomPixels(random, 8 * count, 1, meanRun, meanGap);
  Bytes row(size_t(count), uint8_t(0));
  for (int p = 0; p < 8 * count; ++p)
    if (pixels.get(p, 0)) row[size_t(p / 8)] |= uint8_t(0x80 >> p % 8);
  return row;
}

Runs packed(Bytes row, int x1, int x2) {
  return runsOf(OwnedLine(rlePackLine(row.data(), x1, x2)).get());
}

TEST(Packing, FindsTheRunsOfSingleBytes) {
  EXPECT_EQ(packed({0x0F}, 0, 8), (Runs{{4, 8}}));
  EXPECT_EQ(packed({0xAA}, 0, 8), (Runs{{0, 1}, {2, 3}, {4, 5}, {6, 7}}));
  EXPECT_EQ(packed({0xFF, 0xFF, 0x80}, 0, 17), (Runs{{0, 17}}));
  EXPECT_EQ(packed({0xFF, 0xFF, 0x80}, 0, 16), (Runs{{0, 16}}));
  EXPECT_EQ(packed({0x0F}, 6, 8), (Runs{{0, 2}}));
  EXPECT_EQ(packed({0x01}, 0, 7), Runs{});
  EXPECT_EQ(packed({0xFF}, -3, 5), (Runs{{3, 8}}));  // what is left of pixel 0 is white
  EXPECT_EQ(packed({0xFF}, 5, 3), Runs{});
  EXPECT_EQ(packed({0xFF}, INT_MIN, INT_MIN + 1), Runs{});
  EXPECT_EQ(packed({0xFF}, INT_MAX, INT_MIN), Runs{});
  EXPECT_EQ(packed(Bytes(8192, 0xFF), 0, 65535), (Runs{{0, 65535}}));  // padding is black too
}

// Every row stands in memory that holds exactly the bytes that may be read.
TEST(Packing, AgreesWithThePixelsAtEveryOffsetAndWidth) {
  std::mt19937 random(15);
  const std::pair<int, int> textures[] = {{1, 1}, {3, 5}, {70, 2}, {2, 90}, {300, 300}};
  for (int x1 = 0; x1 <= 64; ++x1)
    for (int width = 0; width <= 200; ++width) {
      const auto& [run, gap] = textures[(x1 + width) % 5];
      const int x2 = x1 + width;
      Bytes row = randomBytes(random, (x2 + 7) / 8 - x1 / 8, run, gap);
      Runs expected;
      for (int x = 0; x < width; ++x) {
        if (!bit(row, x1 % 8 + x)) continue;
        if (expected.empty() || expected.back().second != x) expected.push_back({x, x});
        expected.back().second = x + 1;
      }
      const OwnedLine line(rlePackLine(row.data() - x1 / 8, x1, x2));
      ASSERT_EQ(runsOf(line.get()), expected) << x1 << " " << width;
      const OwnedRuns sized(rleAllocRuns(line->count));
      ASSERT_EQ(capacityOf(line->runs), capacityOf(sized.get()));
    }
}

TEST(Packing, OfAnImageTakesTheAreaAskedFor) {
  std::mt19937 random(16);
  const int width = 150;
  const int height = 6;
  Bytes bits = randomBytes(random, 20 * height, 4, 9);  // rows of 163 bits: 20 bytes
  const OwnedRect rect(rlePackRect(bits.data(), 163, -1, -2, width - 1, -1, height - 1, 0x50000));
  ASSERT_EQ(rect->width, width + 2);
  ASSERT_EQ(rect->height, height + 1);
  EXPECT_EQ(rect->resolution, 0);
  Pixels expected(width + 2, height + 1);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) expected.put(x + 2, y + 1, bit(bits, 160 * y + x));
  EXPECT_EQ(Pixels(rect.get()), expected);
  EXPECT_EQ(rleCheckRect(rect.get()), 1);
  EXPECT_EQ(OwnedRect(rlePackRect(bits.data(), 160, 0, 5, 4, 0, -1, 200))->rows[0], nullptr);
  const int refused[][4] = {
      {5, 3, 0, 0}, {0, 5, 0, -2}, {0, 65535, 0, 0}, {INT_MIN, INT_MAX, 0, 0}, {0, 0, 0, 65535}};
  for (const auto& [x1, x2, y1, y2] : refused)
    EXPECT_EQ(rlePackRect(bits.data(), 160, 0, x1, x2, y1, y2, 200), nullptr);
}

TEST(Packing, OnTwoThreadsAtOnceDoesNotMix) {
  const auto pack = [](int seed) {
    std::mt19937 random{unsigned(seed)};
    for (int i = 0; i < 200; ++i) {
      Bytes row = randomBytes(random, 8 + i, 1 + seed, 3);
      const OwnedLine line(rlePackLine(row.data(), 0, 64 + 8 * i));
      for (int x = 0, run = 0; x < 64 + 8 * i; ++x) {
        while (run < line->count && line->runs[run].end <= x) ++run;
        ASSERT_EQ(bit(row, x), run < line->count && line->runs[run].start <= x);
      }
    }
  };
  std::thread other(pack, 1);
  pack(2);
  other.join();
}

// One bit after the other, in the words of the rule.
void paintBits(const RleLine* line, int64_t x1, int64_t x2, Bytes& bits, int64_t firstBit,
               int64_t limit, uint32_t scale, int64_t offset) {
  const int64_t e = x2 + 1;
  const uint32_t s = scale / 4;
  for (const auto& [start, end] : runsOf(line)) {
    if (end <= x1) continue;
    if (start > e) break;
    const uint32_t from = uint32_t(std::max<int64_t>(start, x1) - x1) * s;
    const uint32_t to = uint32_t(std::min<int64_t>(end, e) - x1) * s;
    const int64_t last = (to >> 13) + offset - (to % 8192 == 0 ? 1 : 0);
    for (int64_t p = (from >> 13) + offset; p <= last && p < limit; ++p)
      bits[size_t(firstBit + p) / 8] |= uint8_t(0x80 >> (firstBit + p) % 8);
  }
}

constexpr uint32_t kScales[] = {0,     3,     4,     8192,  16384, 16388,  25000,   32767,
                                32768, 32771, 40000, 65536, 98304, 100000, 1 << 24, 0xFFFFFFFF};

TEST(Unpacking, AgreesWithPaintingBitByBit) {
  std::mt19937 random(17);
  for (int round = 0; round < 20000; ++round) {
    const Pixels pixels = randomPixels(random, 300, 1, 1 + round % 40, 1 + round % 7);
    const OwnedRect source = pixels.toRect();
    if (round % 5 == 0 && source->rows[0]->count > 2)  // runs that no valid row has
      std::swap(source->rows[0]->runs[0].start, source->rows[0]->runs[1].end);
    const int x1 = randomInt(random, -20, 200);
    const int x2 = x1 + randomInt(random, 0, 150);
    const int limit = randomInt(random, 0, 400);
    const int offset = randomInt(random, 0, 40);
    const uint32_t scale = round % 3 == 0 ? 32768 : kScales[randomInt(random, 0, 15)];
    Bytes row = randomBytes(random, (limit + 7) / 8, 2, 9);
    Bytes expected = row;
    paintBits(source->rows[0], x1, x2, expected, 0, limit, scale, offset);
    ASSERT_EQ(rleUnPackLine(source->rows[0], x1, x2, row.data(), limit, scale, offset), 1);
    ASSERT_EQ(row, expected) << round << ": " << x1 << " " << x2 << " " << scale;
  }
}

TEST(Unpacking, KeepsItsCorners) {
  const auto painted = [](const Runs& runs, int x1, int x2, int limit, uint32_t scale, int offset) {
    Bytes row(2, uint8_t(0));
    rleUnPackLine(Row(runs), x1, x2, row.data(), limit, scale, offset);
    return row;
  };
  EXPECT_EQ(painted({{3, 5}}, 0, 15, 16, 32768, 0), (Bytes{0x18, 0}));
  EXPECT_EQ(painted({{3, 5}}, 0, 15, 16, 65536, 0), (Bytes{0x03, 0xC0}));
  EXPECT_EQ(painted({{3, 5}}, 0, 15, 16, 32768, 8), (Bytes{0, 0x18}));
  EXPECT_EQ(painted({{2, 8}}, 0, 15, 4, 32768, 0), (Bytes{0x30, 0}));
  // A run that starts right after x2 is looked at: at half size it shares the bit of column 4.
  EXPECT_EQ(painted({{5, 9}}, 0, 4, 16, 16384, 0), (Bytes{0x20, 0}));
  EXPECT_EQ(painted({{6, 9}}, 0, 4, 16, 16384, 0), (Bytes{0, 0}));
  EXPECT_EQ(painted({{0, 9}}, 5, 3, 16, 32768, 0), (Bytes{0, 0}));
  EXPECT_EQ(painted({{0, 9}}, 0, INT_MAX, 16, 32768, -6), (Bytes{0xE0, 0}));
  EXPECT_EQ(painted({{0, 9}}, 0, 8, 16, 32768, INT_MAX), (Bytes{0, 0}));
  EXPECT_EQ(painted({{0, 9}}, 0, 8, -1, 32768, 0), (Bytes{0, 0}));
}

TEST(Unpacking, OfAnImageFoldsAndRepeatsRows) {
  std::mt19937 random(18);
  for (int round = 0; round < 3000; ++round) {
    const int height = randomInt(random, 0, 12);
    const OwnedRect source = randomPixels(random, 50, height, 3, 3).toRect();
    const int y1 = randomInt(random, 0, 5);
    const int y2 = randomInt(random, -1, height - 1);
    const int rowStart = randomInt(random, 0, 3);
    const int rowEnd = randomInt(random, 0, 30);
    const int rowBits = randomInt(random, 0, 130);
    const uint32_t vscale = kScales[randomInt(random, 1, 15)];
    const uint32_t hscale = kScales[randomInt(random, 0, 15)];
    Bytes bits(size_t(std::max(rowEnd * (rowBits / 8) + 2, 1)), uint8_t(0));
    Bytes expected = bits;
    for (int64_t j = rowStart, k = 0, going = 1; j < rowEnd && going != 0; ++j, ++k) {
      const int64_t r0 = y1 + k * 32768 / vscale;
      if (r0 > y2) break;
      const int64_t r1 = std::min<int64_t>(y1 + (k + 1) * 32768 / vscale, y2 + 1);
      for (int64_t r = r0; r == r0 || (r0 != y2 && r < r1); ++r)
        paintBits(source->rows[r], 7, 40, expected, j * (rowBits / 8) * 8, rowBits, hscale, 5);
      going = r0 != y2;
    }
    rleUnPackRect(source.get(), 7, 40, y1, y2, bits.data(), rowBits, rowEnd, hscale, vscale, 5,
                  rowStart);
    ASSERT_EQ(bits, expected) << round << ": vscale " << vscale;
  }
}

TEST(Unpacking, OfAnImageStandsExtremes) {
  const OwnedRect source = image({"#.......", ".#......", "..#....."});
  const auto painted = [&](int y1, int y2, int rowEnd, uint32_t vscale, int rowStart) {
    Bytes bits(4, uint8_t(0));
    rleUnPackRect(source.get(), 0, 7, y1, y2, bits.data(), 8, rowEnd, 32768, vscale, 0, rowStart);
    return bits;
  };
  EXPECT_EQ(painted(1, 2, 4, 0, 1), (Bytes{0, 0x80, 0x40, 0x20}));  // a row each, from row 0
  EXPECT_EQ(painted(0, 2, 2, 0, 0), (Bytes{0x80, 0x40, 0, 0}));
  EXPECT_EQ(painted(0, 2, 4, 1, 0), (Bytes{0xE0, 0, 0, 0}));
  EXPECT_EQ(painted(1, 2, 4, 65536, 0), (Bytes{0x40, 0x40, 0x20, 0}));  // the last one once
  EXPECT_EQ(painted(0, INT_MAX, 4, 32768, 0), (Bytes{0x80, 0x40, 0x20, 0}));
  EXPECT_EQ(painted(-1, 1, 4, 32768, 0), (Bytes{0, 0x80, 0x40, 0}));
  EXPECT_EQ(painted(0, 2, 4, 32768, -1), (Bytes{0x40, 0x20, 0, 0}));
  EXPECT_EQ(painted(INT_MIN, INT_MAX, 4, 1, 0), Bytes(4, uint8_t(0)));
}

}  // namespace
}  // namespace rle::test
