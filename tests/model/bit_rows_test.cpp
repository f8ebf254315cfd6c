// Packing against single pixels. Packed images stand in memory that ends with the last byte that
// may be touched. (Unpacking: random cases of bit rows.)

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
  EXPECT_TRUE(OwnedRect(rlePackRect(nullptr, 8, 0, 0, 65534, -65535, -1, 200)));
}

// Of 2^-13 parts of a bit the low 32 bits count: at 512 bits a column, column 1024 is at bit 0
// again.
TEST(Unpacking, WrapsAtThirtyTwoBits) {
  uint8_t byte = 0;
  rleUnPackLine(Row({{3, 5}, {1024, 1025}, {2, 1}}), 0, 2000, &byte, 8, 1 << 24, 5);
  EXPECT_EQ(byte, 0x07);
}

}  // namespace
}  // namespace rle::test
