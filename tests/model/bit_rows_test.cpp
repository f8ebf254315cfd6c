// Packing and unpacking against single pixels. Packed images stand in memory that ends with the
// last byte that may be touched.

#include <gtest/gtest.h>

#include <climits>
#include <thread>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Runs = std::vector<std::pair<int, int>>;

// Columns and paddings are random in an image of whole bytes.
void packEveryOffsetAndWidth(unsigned seed) {
  std::mt19937 random(seed);
  const std::pair<int, int> textures[] = {{1, 1}, {3, 5}, {70, 2}, {2, 90}, {300, 300}};
  for (int x1 = 0; x1 <= 64; ++x1)
    for (int width = 0; width <= 200; ++width) {
      const auto& [run, gap] = textures[(x1 + width) % 5];
      const int rowBits = (x1 + width + 7) / 8 * 8;
      const Pixels pixels = randomPixels(random, rowBits, 3, run, gap);
      Bytes bits(size_t(rowBits / 8 * 3));
      for (int p = 0; p < rowBits * 3; ++p)
        if (pixels.get(p % rowBits, p / rowBits)) bits[size_t(p / 8)] |= uint8_t(0x80 >> p % 8);
      Pixels expected(width, 2);
      for (int p = 0; p < width * 2; ++p)
        expected.put(p % width, p / width, pixels.get(x1 + p % width, 1 + p / width));
      const OwnedRect rect(
          rlePackRect(bits.data(), rowBits + 7, -1, x1, x1 + width - 1, 1, 2, 0x50000));
      ASSERT_EQ(Pixels(rect.get()), expected) << x1 << " " << width;
      ASSERT_TRUE(width == 0 || rleCheckRect(rect.get()) == 1);
      ASSERT_EQ(rect->resolution, 0);
    }
  uint8_t byte = 0xFF;  // and a cache that is left to the end of the thread
  EXPECT_TRUE(OwnedLine(rlePackLine(&byte, 0, 8)));
}

TEST(Packing, AgreesWithThePixelsOnEveryThread) {
  std::thread other(packEveryOffsetAndWidth, 1);
  packEveryOffsetAndWidth(2);
  other.join();
}

TEST(Packing, KeepsItsCorners) {
  const auto packed = [](Bytes row, int x1, int x2) {
    return runsOf(OwnedLine(rlePackLine(row.data(), x1, x2)).get());
  };
  EXPECT_EQ(packed(Bytes(8192, 0xFF), 0, 65535), (Runs{{0, 65535}}));  // the padding is black too
  EXPECT_EQ(packed({0xFF}, -3, 5), (Runs{{3, 8}}));  // what is left of pixel 0 is white
  for (const auto& [x1, x2] : Runs{{5, 3}, {5, 5}, {INT_MIN, INT_MIN + 1}, {INT_MAX, INT_MIN}})
    EXPECT_EQ(packed({0xFF}, x1, x2), Runs{});
  for (const auto& [x2, y2] : Runs{{-2, 0}, {0, -2}, {65535, 0}, {0, 65535}})
    EXPECT_EQ(rlePackRect(nullptr, 8, 0, 0, x2, 0, y2, 200), nullptr);
}

// One bit after the other, in the words of the rule.
void paintBits(const RleLine* line, int64_t x1, int64_t e, Bytes& bits, int64_t firstBit,
               int64_t limit, uint32_t scale, int64_t offset) {
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

TEST(Unpacking, AgreesWithPaintingBitByBit) {
  constexpr uint32_t kScales[] = {3,     4,     8192,    16384,  25000,     32768,
                                  40000, 65536, 1 << 24, 100000, 0xFFFFFFFF};
  std::mt19937 random(18);
  const auto any = [&](int low, int high) { return randomInt(random, low, high); };
  for (int round = 0; round < 10000; ++round) {
    const OwnedRect source = randomPixels(random, 200, any(1, 9), 1 + round % 9).toRect();
    if (source->rows[0]->count > 1)  // runs that no valid row has
      std::swap(source->rows[0]->runs[0].start, source->rows[0]->runs[1].end);
    const int x1 = any(-9, 120), x2 = x1 + any(0, 99), y1 = any(0, 5), y2 = any(-1, 8);
    const int rowStart = any(0, 3), rowEnd = any(0, 20), rowBits = any(0, 300);
    const uint32_t xScale = kScales[any(0, 10)], yScale = kScales[any(0, 10)];
    const int yLast = std::min(y2, source->height - 1);
    Bytes bits(size_t(rowEnd * (rowBits / 8) + (rowBits % 8 != 0 ? 1 : 0)));
    Bytes expected = bits;
    for (int64_t j = rowStart, k = 0; j < rowEnd; ++j, ++k) {
      const int64_t r0 = y1 + k * 32768 / yScale;
      const int64_t r1 = std::min<int64_t>(y1 + (k + 1) * 32768 / yScale, yLast + 1);
      for (int64_t r = r0; r <= yLast && (r == r0 || r < r1); ++r)
        paintBits(source->rows[r], x1, x2 + 1, expected, j * (rowBits / 8) * 8, rowBits, xScale, 5);
      if (r0 >= yLast) break;
    }
    rleUnPackRect(source.get(), x1, x2, y1, y2, bits.data(), rowBits, rowEnd, xScale, yScale, 5,
                  rowStart);
    Bytes line(40), expectedLine(40);
    rleUnPackLine(source->rows[0], x1, x2, line.data(), rowBits, xScale, 5);
    paintBits(source->rows[0], x1, x2 + 1, expectedLine, 0, rowBits, xScale, 5);
    ASSERT_EQ(line, expectedLine) << round;
    ASSERT_EQ(bits, expected) << round << ": scales " << xScale << " " << yScale;
  }
}

}  // namespace
}  // namespace rle::test
