// Images to Group 4 data.

#include <gtest/gtest.h>
#include <tiffio.h>
#include <unistd.h>

#include <bit>
#include <cstdio>
#include <memory>

#include "g4/g4_bits.h"
#include "support/byte_stream.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

OwnedRect blank(int width, int height) {
  return OwnedRect(rleNewRect(uint32_t(width), uint32_t(height), 200));
}

void setRuns(RleLine* line, const std::vector<std::pair<int, int>>& runs) {
  const Row row(runs);
  std::swap(line->runs, row->runs);
  std::swap(line->count, row->count);
}

TEST(EncodingGroup4, OfRowsSpelledOut) {
  EXPECT_EQ(encode(image({"....####........", ".....###........"}).get()),
            (std::vector<uint8_t>{0x6C, 0xF7, 0x00, 0x08, 0x80}));
  const std::tuple<int, int, std::string> rows[] = {
      {4, 0, "001 00110101 010 1"},
      {3, 0, "0000010 000010 1"},
      {6000, 63, "001 00110100 010 1"},
      {6000, 64, "001 11011 00110101 010 1"},
      {6000, 2560, "001 000000011111 00110101 010 1"},
      {6000, 2561, "001 000000011111 000111 010 1"},
      {6000, 5120, "001 000000011111 000000011111 00110101 010 1"},
  };
  for (const auto& [width, at, codes] : rows) {
    const OwnedRect rect = blank(width, 1);
    rleSetLine(rect->rows[0], at, at);
    EXPECT_EQ(encode(rect.get()), bytesOf(codes + kEofb, true)) << at;
  }
}

// What libtiff writes for the same page.
std::vector<uint8_t> libtiffEncode(const Pixels& page) {
  const std::string path = testing::TempDir() + "rle_g4_" + std::to_string(getpid()) + ".tif";
  std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(path.c_str(), "w"), TIFFClose);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, page.width);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, page.height);
  TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, page.height);
  TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
  TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff.get(), TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
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

void expectLikeLibtiff(const Pixels& page) {
  const auto bytes = encode(page.toRect().get());
  ASSERT_EQ(bytes, libtiffEncode(page));
  ByteStream stream(bytes);
  const OwnedRect decoded(rleLoadRectFromCCITTG4(&stream, page.width, page.height, 200, 1));
  ASSERT_EQ(Pixels(decoded.get()), page);
  ASSERT_EQ(stream.position, bytes.size());
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
  std::mt19937 random(4);
  for (int i = 0; i < 1500 && !HasFailure(); ++i) {
    const int widths[] = {randomInt(random, 1, 9), randomInt(random, 10, 130), 3000, 40000};
    const int width = widths[random() % (i % 50 == 0 ? 4 : 2)];
    const int meanRun = 1 << random() % (width > 1000 ? 12 : 4);
    expectLikeLibtiff(randomPixels(random, width, randomInt(random, 1, 12), meanRun,
                                   randomInt(random, 1, 3 * meanRun)));
  }
}

using Runs = std::vector<std::pair<int, int>>;

TEST(EncodingGroup4, SortsOutRunsAndRaisesEndsInTheImage) {
  const OwnedRect rect = blank(30, 4);
  setRuns(rect->rows[0], {{3, 5}, {5, 8}, {9, 9}, {7, 6}, {8, 10}, {12, 14}, {2, 13}, {13, 13}});
  setRuns(rect->rows[1], {{12, 20}, {13, 15}, {16, 22}, {4, 9}, {23, 29}});
  setRuns(rect->rows[2], {{4, 9}, {28, 35}, {40, 50}});
  EXPECT_EQ(encode(rect.get()),
            encode(image({"...#######..##................", "............##########.######.",
                          "....#####...................##", std::string(30, '.')})
                       .get()));
  EXPECT_EQ(runsOf(rect->rows[0]),
            (Runs{{3, 10}, {5, 8}, {9, 9}, {7, 6}, {8, 10}, {12, 14}, {2, 13}, {13, 13}}));
  EXPECT_EQ(runsOf(rect->rows[1]), (Runs{{12, 22}, {13, 15}, {16, 22}, {4, 9}, {23, 29}}));
  EXPECT_EQ(runsOf(rect->rows[2]), (Runs{{4, 9}, {28, 35}, {40, 50}}));
}

TEST(EncodingGroup4, StopsAtARefusedByteBeforeLaterRowsAreTouched) {
  const OwnedRect page = blank(500, 12);
  const auto whole = [&] { return encode(OwnedRect(rleDupRect(page.get())).get()); };
  std::vector<size_t> bytesBefore;  // that are complete when a row's turn comes
  for (int y = 0; y < 12; ++y) {
    page->height = uint16_t(y);
    const auto bytes = whole();
    const size_t bits = 8 * (bytes.size() - 1) + size_t(std::bit_width(bytes.back()));
    bytesBefore.push_back((bits - 24) / 8);  // the last bit that is set is the last of the EOFB
    setRuns(page->rows[y], {{3 + 40 * y, 12 + 40 * y}, {11 + 40 * y, 33 + 40 * y}});
  }
  page->height = 12;
  const auto bytes = whole();
  for (size_t failing = 0; failing < bytes.size(); ++failing) {
    const OwnedRect rect(rleDupRect(page.get()));
    ByteStream stream;
    stream.failAt = int64_t(failing);
    EXPECT_EQ(rleUnloadRectFromCCITTG4(&stream, rect.get()), -2);
    EXPECT_EQ(stream.operations, int64_t(failing) + 1);
    EXPECT_EQ(stream.bytes, std::vector(bytes.begin(), bytes.begin() + long(failing)));
    for (int y = 0; y < 12; ++y)
      EXPECT_EQ(rect->rows[y]->runs[0].end == 33 + 40 * y, failing >= bytesBefore[size_t(y)])
          << failing << " in row " << y;
  }
}

TEST(EncodingGroup4, TakesAsManyElementsAsARowMayHave) {
  const OwnedRect rect = blank(65535, 2);
  Runs runs;
  for (int i = 0; i < 25801; ++i) runs.emplace_back(2 * i, 2 * i + 1);
  setRuns(rect->rows[1], runs);
  EXPECT_EQ(encode(rect.get(), -1), std::vector<uint8_t>{});  // one bit of row 0 is not a byte
  rect->rows[1]->runs[25800] = {7, 7};
  EXPECT_EQ(encode(rect.get()).size(), (1 + 25799 * 12 + 17 + 1 + 24 + 7) / 8U);
  // Beyond the limit, runs are joined up to the one that is too many.
  runs[2] = {4, 6};
  runs.insert(runs.begin(), {0, 1});
  runs.insert(runs.end(), {{60000, 60001}, {60001, 60002}});
  setRuns(rect->rows[1], runs);
  EXPECT_EQ(encode(rect.get(), -1), std::vector<uint8_t>{});
  EXPECT_EQ(rect->rows[1]->runs[3].end, 7);
  EXPECT_EQ(rect->rows[1]->runs[25802].end, 60001);
}

}  // namespace
}  // namespace rle::test
