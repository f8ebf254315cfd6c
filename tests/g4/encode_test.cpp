// Images to Group 4 data.

#include <gmock/gmock.h>
#include <tiffio.h>
#include <unistd.h>

#include <bit>
#include <cstdio>
#include <memory>

#include "g4/g4_bits.h"
#include "reference/g4_walk.h"
#include "support/byte_stream.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

std::vector<uint8_t> encode(RleRect* rect, int32_t expected = 1) {
  ByteStream stream;
  EXPECT_EQ(rleUnloadRectFromCCITTG4(&stream, rect), expected);
  EXPECT_EQ(stream.operations, int64_t(stream.bytes.size()));  // putByte and nothing else
  return stream.bytes;
}

OwnedRect blank(int width, int height) {
  return OwnedRect(rleNewRect(uint32_t(width), uint32_t(height), 200));
}

void setRuns(RleLine* line, const std::vector<std::pair<int, int>>& runs) {
  const Row row(runs);
  std::swap(line->runs, row->runs);
  std::swap(line->count, row->count);
}

TEST(EncodingGroup4, OfRowsSpelledOut) {
  using Bytes = std::vector<uint8_t>;
  EXPECT_EQ(encode(blank(16, 0).get()), (Bytes{0x00, 0x08, 0x80}));
  EXPECT_EQ(encode(image({"....####........"}).get()), (Bytes{0x6C, 0x07, 0x40, 0x00, 0x04}));
  EXPECT_EQ(encode(image({"....####........", ".....###........"}).get()),
            (Bytes{0x6C, 0xF7, 0x00, 0x08, 0x80}));
  EXPECT_EQ(encode(image({"#..."}).get()),
            bytesOf("001 00110101 010 1" + std::string(kEofb), true));
  EXPECT_EQ(encode(image({"#.."}).get()), bytesOf("0000010 000010 1" + std::string(kEofb), true));
  const std::pair<int, std::string> longRuns[] = {
      {63, "00110100"},
      {64, "11011 00110101"},
      {2560, "000000011111 00110101"},
      {2561, "000000011111 000111"},
      {5120, "000000011111 000000011111 00110101"},
  };
  for (const auto& [length, codes] : longRuns) {
    const OwnedRect rect = blank(6000, 1);
    setRuns(rect->rows[0], {{length, length + 1}});
    EXPECT_EQ(encode(rect.get()), bytesOf("001" + codes + "010 1" + kEofb, true)) << length;
  }
}

TEST(EncodingGroup4, OfRandomPagesIsTheWalksAndDecodesToThem) {
  std::mt19937 random(4);
  for (int i = 0; i < 1500; ++i) {
    const int widths[] = {randomInt(random, 0, 9), randomInt(random, 10, 130), 3000, 40000};
    const int width = widths[random() % (i % 50 == 0 ? 4 : 2)];
    const int meanRun = 1 << random() % (width > 1000 ? 12 : 4);
    const Pixels page = randomPixels(random, width, randomInt(random, 0, 12), meanRun,
                                     randomInt(random, 1, 3 * meanRun));
    const OwnedRect rect = page.toRect();
    const auto bytes = encode(rect.get());
    ASSERT_EQ(bytes, walkEncode(elementsOf(rect.get()), width)) << i;
    ASSERT_EQ(differenceFromWalk(bytes, width, page.height, true), "") << i;
    ASSERT_EQ(differenceFromWalk(reversed(bytes), width, page.height, false), "") << i;
    ByteStream stream(bytes);
    const OwnedRect decoded(rleLoadRectFromCCITTG4(&stream, width, page.height, 200, 1));
    ASSERT_EQ(Pixels(decoded.get()), page) << i;
    EXPECT_EQ(stream.position, bytes.size());
  }
}

TEST(EncodingGroup4, OfEveryRowUnderEveryRowIsTheWalks) {
  for (const int width : {1, 2, 5, 7})
    for (uint64_t above = 0; above < 1U << width; ++above)
      for (uint64_t below = 0; below < 1U << width; ++below) {
        const OwnedRect rect = image({picture(above, width), picture(below, width)});
        ASSERT_EQ(encode(rect.get()), walkEncode(elementsOf(rect.get()), width));
      }
}

using Runs = std::vector<std::pair<int, int>>;

TEST(EncodingGroup4, SortsOutRunsAndRaisesEndsInTheImage) {
  const OwnedRect rect = blank(30, 4);
  setRuns(rect->rows[0], {{3, 5}, {5, 8}, {9, 9}, {7, 6}, {8, 10}, {12, 14}, {2, 13}, {13, 13}});
  setRuns(rect->rows[1], {{12, 20}, {13, 15}, {16, 22}, {4, 9}, {23, 29}});
  setRuns(rect->rows[2], {{4, 9}, {28, 35}, {40, 50}});
  const auto bytes = encode(rect.get());
  EXPECT_EQ(bytes, walkEncode({{3, 10, 12, 14}, {12, 22, 23, 29}, {4, 9, 28, 30}, {}}, 30));
  EXPECT_EQ(runsOf(rect->rows[0]),
            (Runs{{3, 10}, {5, 8}, {9, 9}, {7, 6}, {8, 10}, {12, 14}, {2, 13}, {13, 13}}));
  EXPECT_EQ(runsOf(rect->rows[1]), (Runs{{12, 22}, {13, 15}, {16, 22}, {4, 9}, {23, 29}}));
  EXPECT_EQ(runsOf(rect->rows[2]), (Runs{{4, 9}, {28, 35}, {40, 50}}));
}

TEST(EncodingGroup4, StopsAtARefusedByteBeforeLaterRowsAreTouched) {
  const OwnedRect page = blank(500, 12);
  std::vector<std::vector<uint16_t>> rows;
  std::vector<size_t> bytesBefore;  // that are complete when a row's turn comes
  for (int y = 0; y < 12; ++y) {
    const auto bytes = walkEncode(rows, 500);
    const size_t bits = 8 * (bytes.size() - 1) + size_t(std::bit_width(bytes.back()));
    bytesBefore.push_back((bits - 24) / 8);  // the last bit that is set is the last of the EOFB
    const int x = 3 + 40 * y;
    setRuns(page->rows[y], {{x, x + 9}, {x + 8, x + 30}});
    rows.push_back({uint16_t(x), uint16_t(x + 30)});
  }
  const auto whole = walkEncode(rows, 500);
  for (size_t failing = 0; failing < whole.size(); ++failing) {
    const OwnedRect rect(rleDupRect(page.get()));
    ByteStream stream;
    stream.failAt = int64_t(failing);
    EXPECT_EQ(rleUnloadRectFromCCITTG4(&stream, rect.get()), -2);
    EXPECT_EQ(stream.operations, int64_t(failing) + 1);
    EXPECT_EQ(stream.bytes, std::vector(whole.begin(), whole.begin() + long(failing)));
    for (size_t y = 0; y < 12; ++y) {
      const bool raised = rect->rows[y]->runs[0].end == rows[y][1];
      EXPECT_EQ(raised, failing >= bytesBefore[y]) << failing << " in row " << y;
    }
  }
}

TEST(EncodingGroup4, TakesAsManyElementsAsARowMayHave) {
  const OwnedRect rect = blank(65535, 2);
  Runs runs;
  for (int i = 0; i < 25801; ++i) runs.emplace_back(2 * i, 2 * i + 1);
  setRuns(rect->rows[1], runs);
  EXPECT_EQ(encode(rect.get(), -1), std::vector<uint8_t>{});  // one bit of row 0 is not a byte
  rect->rows[1]->runs[25800] = {7, 7};
  const auto bytes = encode(rect.get());
  EXPECT_EQ(bytes.size(), (1 + 25799 * 12 + 17 + 1 + 24 + 7) / 8U);
  rect->rows[1]->count = 25800;
  EXPECT_EQ(encode(rect.get()), bytes);
  // Beyond the limit, runs are joined up to the one that is too many.
  runs[2] = {4, 6};
  runs.insert(runs.begin(), {0, 1});
  runs.insert(runs.end(), {{60000, 60001}, {60001, 60002}});
  setRuns(rect->rows[1], runs);
  EXPECT_EQ(encode(rect.get(), -1), std::vector<uint8_t>{});
  EXPECT_EQ(rect->rows[1]->runs[3].end, 7);
  EXPECT_EQ(rect->rows[1]->runs[25802].end, 60001);
}

// ---- libtiff
// -------------------------------------------------------------------------------------

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, CloseTiff>;

Tiff createTiff(const std::string& path, const Pixels& page, int fillOrder) {
  Tiff tiff(TIFFOpen(path.c_str(), "w"));
  TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, page.width);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, page.height);
  TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, page.height);
  TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
  TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff.get(), TIFFTAG_FILLORDER, fillOrder);
  return tiff;
}

std::vector<uint8_t> packedRow(const Pixels& page, int y) {
  std::vector<uint8_t> row(size_t(page.width + 7) / 8);
  for (int x = 0; x < page.width; ++x)
    if (page.get(x, y)) row[size_t(x) / 8] |= uint8_t(0x80 >> x % 8);
  return row;
}

TEST(EncodingGroup4, AgreesWithLibtiffInBothFillOrders) {
  std::mt19937 random(5);
  const std::string path = testing::TempDir() + "rle_g4_" + std::to_string(getpid()) + ".tif";
  for (int i = 0; i < 24; ++i) {
    const int meanRun = 1 << i % 12;
    const Pixels page = randomPixels(random, randomInt(random, 1, i < 12 ? 300 : 9000), 40, meanRun,
                                     randomInt(random, 1, 2 * meanRun));
    const bool lsbFirst = i % 2 != 0;
    const int fillOrder = lsbFirst ? FILLORDER_LSB2MSB : FILLORDER_MSB2LSB;

    Tiff tiff = createTiff(path, page, fillOrder);
    for (int y = 0; y < page.height; ++y)
      TIFFWriteScanline(tiff.get(), packedRow(page, y).data(), uint32_t(y));
    tiff.reset();
    tiff.reset(TIFFOpen(path.c_str(), "r"));
    ByteStream theirs(std::vector<uint8_t>(size_t(TIFFRawStripSize64(tiff.get(), 0))));
    TIFFReadRawStrip(tiff.get(), 0, theirs.bytes.data(), tmsize_t(theirs.bytes.size()));
    const OwnedRect decoded(
        rleLoadRectFromCCITTG4(&theirs, page.width, page.height, 200, lsbFirst ? 1 : 0));
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(Pixels(decoded.get()), page);

    auto ours = encode(page.toRect().get());
    if (!lsbFirst) ours = reversed(ours);
    tiff = createTiff(path, page, fillOrder);
    TIFFWriteRawStrip(tiff.get(), 0, ours.data(), tmsize_t(ours.size()));
    tiff.reset();
    tiff.reset(TIFFOpen(path.c_str(), "r"));
    for (int y = 0; y < page.height; ++y) {
      std::vector<uint8_t> row(size_t(page.width + 7) / 8);
      ASSERT_EQ(TIFFReadScanline(tiff.get(), row.data(), uint32_t(y)), 1);
      ASSERT_EQ(row, packedRow(page, y));
    }
  }
  std::remove(path.c_str());
}

}  // namespace
}  // namespace rle::test
