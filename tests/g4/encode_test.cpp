// Images to Group 4 data.

#include <gtest/gtest.h>
#include <tiffio.h>
#include <unistd.h>

#include <bit>
#include <cstdio>
#include <memory>

#include "support/byte_stream.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Runs = std::vector<std::pair<int, int>>;

OwnedRect withRows(int width, const std::vector<Runs>& rows) {
  OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(rows.size()), 200));
  for (size_t y = 0; y < rows.size(); ++y) std::swap(*rect->rows[y], *Row(rows[y]).operator->());
  return rect;
}

// What the library writes for an image, checked to be the bytes put and nothing else.
std::vector<uint8_t> encode(RleRect* rect, int32_t expected = 1) {
  ByteStream stream;
  EXPECT_EQ(rleUnloadRectFromCCITTG4(&stream, rect), expected);
  EXPECT_EQ(stream.operations, int64_t(stream.bytes.size()));
  return stream.bytes;
}

TEST(EncodingGroup4, OfRowsSpelledOut) {
  EXPECT_EQ(encode(image({"....####........", ".....###........"}).get()),
            (std::vector<uint8_t>{0x6C, 0xF7, 0x00, 0x08, 0x80}));
}

// What libtiff writes for the same page.
std::vector<uint8_t> libtiffEncode(const Pixels& page, int fillOrder) {
  const std::string path = testing::TempDir() + "rle_g4_" + std::to_string(getpid()) + ".tif";
  std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(path.c_str(), "w"), TIFFClose);
  for (const auto& [tag, value] : {std::pair{TIFFTAG_IMAGEWIDTH, page.width},
                                   {TIFFTAG_IMAGELENGTH, page.height},
                                   {TIFFTAG_ROWSPERSTRIP, page.height},
                                   {TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4},
                                   {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE},
                                   {TIFFTAG_FILLORDER, fillOrder}})
    TIFFSetField(tiff.get(), uint32_t(tag), value);
  const int rowBytes = (page.width + 7) / 8;
  std::vector<uint8_t> packed(size_t(rowBytes * page.height));
  for (int y = 0; y < page.height; ++y)
    for (int x = 0; x < page.width; ++x)
      if (page.get(x, y)) packed[size_t(y * rowBytes + x / 8)] |= uint8_t(0x80 >> x % 8);
  TIFFWriteEncodedStrip(tiff.get(), 0, packed.data(), tmsize_t(packed.size()));
  tiff.reset();
  tiff.reset(TIFFOpen(path.c_str(), "r"));
  std::vector<uint8_t> bytes(size_t(TIFFRawStripSize64(tiff.get(), 0)));
  TIFFReadRawStrip(tiff.get(), 0, bytes.data(), tmsize_t(bytes.size()));
  std::remove(path.c_str());
  return bytes;
}

// Our bytes are libtiff's, and what libtiff writes in either order of bits is read back.
void expectLikeLibtiff(const Pixels& page) {
  for (const int fillOrder : {FILLORDER_LSB2MSB, FILLORDER_MSB2LSB}) {
    const bool lsbFirst = fillOrder == FILLORDER_LSB2MSB;
    ByteStream stream(libtiffEncode(page, fillOrder));
    if (lsbFirst) {
      ASSERT_EQ(encode(page.toRect().get()), stream.bytes);
    }
    const OwnedRect decoded(
        rleLoadRectFromCCITTG4(&stream, page.width, page.height, 200, lsbFirst ? 1 : 0));
    ASSERT_TRUE(decoded != nullptr);
    ASSERT_EQ(Pixels(decoded.get()), page);
    ASSERT_EQ(stream.position, stream.bytes.size());
  }
}

TEST(EncodingGroup4, OfEveryRowUnderEveryRowAndOfRandomPagesIsLibtiffs) {
  for (const int width : {1, 2, 5, 7}) {
    const int rows = 1 << width;
    Pixels page(width, 2 * rows * rows);
    for (int i = 0; i < page.height * width; ++i) {
      const int y = i / width, row = y % 2 == 0 ? y / 2 / rows : y / 2 % rows;
      page.put(i % width, y, (row >> i % width & 1) != 0);
    }
    expectLikeLibtiff(page);
  }
  Pixels lengths(5250, 330);  // white and black runs of n * 64 and n * 64 - 1
  for (int i = 0; i < 165; ++i)
    for (int x = (i + 1) / 2 * 64 - i % 2; x < 5250; ++x) lengths.put(x, 2 * i, true);
  expectLikeLibtiff(lengths);
  std::mt19937 random(4);
  for (int i = 0; i < 1500 && !HasFailure(); ++i) {
    const int widths[] = {randomInt(random, 1, 9), randomInt(random, 10, 130), 3000, 40000};
    const int width = widths[random() % (i % 50 == 0 ? 4 : 2)];
    const int meanRun = 1 << random() % (width > 1000 ? 12 : 4);
    expectLikeLibtiff(randomPixels(random, width, randomInt(random, 1, 12), meanRun,
                                   randomInt(random, 1, 3 * meanRun)));
  }
}

TEST(EncodingGroup4, SortsOutRunsAndRaisesEndsInTheImage) {
  const std::vector<Runs> before = {
      {{3, 5}, {5, 8}, {9, 9}, {7, 6}, {8, 10}, {12, 14}, {2, 13}, {13, 13}},
      {{12, 20}, {12, 22}, {16, 21}, {4, 9}, {23, 29}},
      {{4, 9}, {28, 35}, {40, 50}},
  };
  const OwnedRect rect = withRows(30, before);
  EXPECT_EQ(encode(rect.get()),
            encode(image({"...#######..##................", "............##########.######.",
                          "....#####...................##"})
                       .get()));
  for (size_t y = 0; y < 3; ++y) {
    Runs after = before[y];
    if (y < 2) after[0].second = y == 0 ? 10 : 22;
    EXPECT_EQ(runsOf(rect->rows[y]), after);
  }
}

TEST(EncodingGroup4, StopsAtARefusedByteBeforeLaterRowsAreTouched) {
  std::vector<Runs> rows;
  for (int x = 0; x < 480; x += 40) rows.push_back({{3 + x, 12 + x}, {11 + x, 33 + x}});
  const OwnedRect page = withRows(500, rows);
  const auto copy = [&] { return OwnedRect(rleDupRect(page.get())); };
  page->height = 11;
  const auto before = encode(copy().get());
  page->height = 12;
  // The last bit that is set is the last of the 24 that end the data.
  const size_t lastRow = (8 * (before.size() - 1) + size_t(std::bit_width(before.back())) - 24) / 8;
  const auto bytes = encode(copy().get());
  for (size_t failing = 0; failing < bytes.size(); ++failing) {
    const OwnedRect rect = copy();
    ByteStream stream;
    stream.failAt = int64_t(failing);
    EXPECT_EQ(rleUnloadRectFromCCITTG4(&stream, rect.get()), -2);
    EXPECT_EQ(stream.operations, int64_t(failing) + 1);
    EXPECT_EQ(stream.bytes, std::vector(bytes.begin(), bytes.begin() + long(failing)));
    EXPECT_EQ(rect->rows[11]->runs[0].end == 473, failing >= lastRow) << failing;
  }
}

TEST(EncodingGroup4, TakesAsManyElementsAsARowMayHave) {
  Runs runs;
  for (int i = 0; i < 25802; ++i) runs.emplace_back(2 * i, 2 * i + 1);
  runs[25801] = {7, 7};  // not in order, and nothing
  const OwnedRect rect = withRows(65535, {{}, runs});
  RleLine& row = *rect->rows[1];
  const std::vector<uint8_t> none;
  EXPECT_EQ(encode(rect.get(), -1), none);  // one bit of row 0 is not a byte
  row.count = 25801;
  EXPECT_EQ(encode(rect.get(), -1), none);
  row.runs[25800] = {7, 7};
  const auto most = encode(rect.get());
  EXPECT_EQ(most.size(), (1 + 25799 * 12 + 17 + 1 + 24 + 7) / 8U);
  row.count = 25800;
  EXPECT_EQ(encode(rect.get()), most);
}

}  // namespace
}  // namespace rle::test
