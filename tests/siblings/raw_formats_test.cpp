// Files that need no codec library: Group 4 data, raw rows, BMP, PNM and PDF. What is read is
// spelled byte by byte; the library's own decoder reads the Group 4 data.

#include <random>
#include <string>

#include "siblings/raster_rows.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using std::string_literals::operator""s;

Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

// Packed rows; bits beyond the width are set.
Image packed(Pixels page, uint32_t format = kBits) {
  Image image{uint32_t(page.width), uint32_t(page.height), format};
  for (int y = 0; y < page.height; ++y)
    for (size_t x = 0; x < image.rowBytes() * 8; ++x) {
      if (x % 8 == 0) image.rows.push_back(0);
      if (int(x) >= page.width || page.get(int(x), y)) image.rows.back() |= uint8_t(0x80 >> x % 8);
    }
  return image;
}

// ---- Group 4 data and raw rows -----------------------------------------------------------------

TEST(PackedRowsThroughGroup4, AreThoseOfTheDecoderAndLeaveThreeBytes) {
  std::mt19937 random(4);
  for (const int width : {0, 1, 7, 8, 63, 64, 65, 200, 1728, 65535})
    for (const int order : {0, 1})
      for (const uint32_t format : {kBits, kZeroBlack}) {
        const Image image = packed(randomPixels(random, width, 5, 1 + width / 20), format);
        ByteStream stream;
        ASSERT_TRUE(writeRows(gfxInitWriteG4(&stream, order), image));
        stream.position = 0;
        const OwnedRect rect(rleLoadRectFromCCITTG4(&stream, width, 5, 300, order));
        ASSERT_TRUE(rect);
        EXPECT_EQ(packed(Pixels(rect.get()), format), image);
        ByteStream whole(stream.bytes);
        const int32_t flag = format == kZeroBlack ? 1 : 0;
        EXPECT_EQ(readRows(gfxInitReadG4(&whole, uint32_t(width), 5, 0, 5, flag, order)),
                  image.withoutPadding());
        EXPECT_EQ(whole.position + 3, whole.bytes.size());
      }
}

TEST(Group4Data, MayHaveAnyNumberOfRows) {
  constexpr uint32_t kUnknown = 0x7FFFFFFF;
  ByteStream stream;
  GfxInstance* writer = gfxInitWriteG4(&stream, 0);
  GfxImageDesc description{16, kUnknown, kBits, 0, 0, nullptr};
  uint8_t row[] = {0x0F, 0};
  EXPECT_GT(writer->begin(writer, &description), 0);
  EXPECT_GT(writer->process(writer, row), 0);
  EXPECT_GT(writer->end(writer), 0);
  EXPECT_EQ(stream.bytes, (Bytes{0x36, 0xE0, 0x02, 0x00, 0x20}));

  stream.position = 0;
  GfxInstance* reader = gfxInitReadG4(&stream, 16, kUnknown, 0, kUnknown, 0, 0);
  reader->begin(reader, &description);
  EXPECT_EQ(description.height, kUnknown);
  EXPECT_GT(reader->process(reader, row), 0);
  EXPECT_EQ(row[0], 0x0F);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(reader->process(reader, row), 0);
  EXPECT_STREQ(gfxLastError(), "the Group 4 data ends after 1 rows");
  EXPECT_GT(reader->end(reader), 0);
}

TEST(ReadersAndWriters, AreNotMadeOfNumbersThatDoNotFit) {
  ByteStream stream;
  EXPECT_EQ(gfxInitReadG4(&stream, 65536, 1, 0, 1, 0, 0), nullptr);
  EXPECT_EQ(gfxInitReadG4(&stream, 1, 1, 0, 1, 0, 2), nullptr);
  EXPECT_EQ(gfxInitWriteG4(&stream, -1), nullptr);
  for (const auto& [width, format] : {std::pair{65536U, kBits}, {8U, kGrey}, {8U, 0x10001U}})
    EXPECT_FALSE(writeRows(gfxInitWriteG4(&stream, 0), {width, 0, format}));
  EXPECT_FALSE(writeImage(&stream, GFX_BMP, {65535, 65535, kGrey}));
  EXPECT_FALSE(writeImage(&stream, GFX_PDF, {65536, 1, kBits}));
  const struct {
    uint32_t width;
    int32_t bits, type, options;
    uint32_t rows, rowBytes, size;
  } raws[] = {{17, 1, 4, 0, 1, 2, 2},          {5, 8, 2, 0, 1, 4, 4},
              {8, 1, 4, 2, 1, 1, 1},           {1, 24, 2, 0, 1, 3, 3},
              {1, 16, 2, 0, 1, 2, 2},          {1, 65537, 4, 0, 1, 1, 1},
              {1, 8, 65538, 0, 1, 1, 1},       {8, 8, 2, 0, 3, 8, 23},
              {0x80000001, 32, 6, 0, 1, 4, 4}, {65536, 8, 2, 0, 65537, 65536, 65536}};
  for (const auto& [width, bits, type, options, rows, rowBytes, size] : raws)
    EXPECT_EQ(
        gfxInitReadRawData(&stream, width, rows, bits, type, options, 0, rows, rowBytes, size),
        nullptr);
}

TEST(RawRows, LieAtTheirDistanceInEitherOrderOfBits) {
  const auto rowsOf = [](uint32_t width, int32_t bits, int32_t type, int32_t options) {
    ByteStream stream({0x01, 0xFF, 9, 0x80, 0x7F});  // nothing behind the last row
    return readRows(gfxInitReadRawData(&stream, width, 2, bits, type, options, 0, 2, 3, 6)).rows;
  };
  EXPECT_EQ(rowsOf(12, 1, 4, 1), (Bytes{0x80, 0xF0, 0x01, 0xF0}));
  EXPECT_EQ(rowsOf(12, 1, 4, 0), (Bytes{0x01, 0xF0, 0x80, 0x70}));
  EXPECT_EQ(rowsOf(2, 8, 2, 1), (Bytes{0x01, 0xFF, 0x80, 0x7F}));
  EXPECT_EQ(rowsOf(3, 8, 2, 0), Bytes());
}

// ---- BMP and PNM -------------------------------------------------------------------------------

std::string little(uint64_t value, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i) bytes += char(value >> 8 * i);
  return bytes;
}

// A BMP file with an info header, all its numbers after the size given, and what follows it.
std::string bmp(int width, int height, uint32_t bits, uint32_t compression, const std::string& more,
                const std::string& rows, uint32_t colours = 0, uint32_t headerSize = 40) {
  return "BM" + little(0, 8) + little(uint32_t(54 + more.size()), 4) + little(headerSize, 4) +
         little(uint32_t(width), 4) + little(uint32_t(height), 4) + little(1, 2) + little(bits, 2) +
         little(compression, 4) + little(0, 4) + little(11811, 4) + little(11811, 4) +
         little(colours, 4) + little(0, 4) + more + rows;
}

struct Example {
  std::string file;
  Image image;
  uint32_t resolution = 0;  // 0: none is told
};

const std::string kBlackWhite = "\0\0\0\0\xFF\xFF\xFF\0"s;
const std::string kWhiteBlack = "\xFF\xFF\xFF\0\0\0\0\0"s;
const std::string kMasks565 = little(0xF800, 4) + little(0x07E0, 4) + little(0x1F, 4);
const std::string kMasksRgba =
    little(0xFF, 4) + little(0xFF00, 4) + little(0xFF0000, 4) + little(0xFF000000, 4);

const std::vector<Example> kExamples = {
    {bmp(10, 2, 1, 0, kBlackWhite, "\x00\x3F\0\0\x0F\xFF\0\0"s),
     {10, 2, kBits, {0xF0, 0x00, 0xFF, 0xC0}},
     300},
    {bmp(10, -2, 1, 0, kWhiteBlack, "\x00\x3F\0\0\x0F\xFF\0\0"s),
     {10, 2, kBits, {0x00, 0x00, 0x0F, 0xC0}},
     300},
    {bmp(3, 1, 1, 0, "\1\2\3\0\4\5\6\0"s, "\x40\0\0\0"s),
     {3, 1, kRgb, {3, 2, 1, 6, 5, 4, 3, 2, 1}},
     300},
    {bmp(8, 1, 1, 0, "", "\x55\0\0\0"s), {8, 1, kBits, {0xAA}}, 300},
    {"BM"s + little(0, 8) + little(32, 4) + little(12, 4) + little(3, 2) + little(1, 2) +
         little(1, 2) + little(4, 2) + "\1\2\3\4\5\6" + "\x10\x10\0\0"s,
     {3, 1, kRgb, {6, 5, 4, 3, 2, 1, 6, 5, 4}}},
    {bmp(1, 2, 24, 0, "", "\1\2\3\0\4\5\6\0"s), {1, 2, kRgb, {6, 5, 4, 3, 2, 1}}, 300},
    {bmp(2, 1, 8, 0, "\7\7\7\0\x8\x8\x8\0"s, "\1\2\0\0"s, 2), {2, 1, kGrey, {8, 0}}, 300},
    {bmp(2, 1, 16, 0, "", "\x00\x7C\x1F\x02"s), {2, 1, kRgb, {255, 0, 0, 0, 132, 255}}, 300},
    {bmp(2, 1, 16, 3, kMasks565, "\x00\xF8\x1F\x04"s), {2, 1, kRgb, {255, 0, 0, 0, 130, 255}}, 300},
    {bmp(1, 1, 32, 0, "", "\1\2\3\4"s), {1, 1, kRgb, {3, 2, 1}}, 300},
    {bmp(1, 1, 32, 3, kMasksRgba + std::string(52, '\0'), "\1\2\3\4"s, 0, 108),
     {1, 1, kRgbAlpha, {1, 2, 3, 4}},
     300},
    {"P1 # comment\n3 2\n101 0#\n1 0\n", {3, 2, kBits, {0xA0, 0x40}}},
    {"P2\n2 1 10\n10 \n5 ", {2, 1, kGrey, {255, 128}}},
    {"P3 1 1 65535\n256 511 9\n", {1, 1, kRgb, {1, 1, 0}}},
    {"P4\n10 1\n\xFF\xFF", {10, 1, kBits, {0xFF, 0xC0}}},
    {"P5\n2 1\n255\n#7", {2, 1, kGrey, {'#', '7'}}},
    {"P5 2 1 511\n\1\xFF\1\0"s, {2, 1, kGrey, {255, 128}}},
    {"P5 2 1 1\n\1\0"s, {2, 1, kGrey, {255, 0}}},
    {"P6#\n1 2#\n255#\nabcdef", {1, 2, kRgb, {'a', 'b', 'c', 'd', 'e', 'f'}}},
};

TEST(BmpAndPnmFiles, AreReadWhenTheyAreWhole) {
  for (const auto& [text, image, resolution] : kExamples) {
    const Bytes file = bytesOf(text);
    SCOPED_TRACE(testing::PrintToString(file));
    EXPECT_EQ(readImage(file), image);
    EXPECT_EQ(infoOf(file).xResolution, resolution);
    EXPECT_EQ(infoOf(file).resolutionUnit, resolution > 0 ? 1U : 0U);
    expectCutFilesAreRefused(file, 3);  // the padding of a row
  }
}

TEST(BmpAndPnmFiles, ThatClaimTooMuchAreRefused) {
  constexpr int kMost = INT32_MAX;
  const std::string few(100, '\0');
  const int bmpHeads[][4] = {{kMost, kMost, 32, 0}, {1, INT32_MIN, 24, 0}, {kMost, 1, 24, 0},
                             {-1, 1, 24, 0},        {1, 0, 24, 0},         {1, 1, 5, 0},
                             {1, 1, 8, 1},          {1, 1, 24, 3},         {1, 1, 32, 4}};
  const char* const heads[] = {"BMP is no text",    "P5 2147483647 2147483647 255\n",
                               "P1 2147483647 1\n", "P6 4294967297 1 255\n",
                               "P5 1 1 65536\n",    "P5 1 1 0\n",
                               "P4 0 1\n",          "P2 1 1 255\n-1",
                               "P1 1 1 2"};
  std::vector<std::string> files;
  for (const auto& [width, height, bits, compression] : bmpHeads)
    files.push_back(bmp(width, height, uint32_t(bits), uint32_t(compression), "", few));
  for (const uint32_t size : {125U, 108U, 0U}) files.push_back(bmp(1, 1, 24, 0, "", few, 0, size));
  for (const char* head : heads) files.push_back(head + few);
  for (const std::string& file : files) {
    EXPECT_TRUE(readImage(bytesOf(file)).rows.empty()) << testing::PrintToString(file);
    EXPECT_STRNE(gfxLastError(), "");
  }
}

// ---- PDF ---------------------------------------------------------------------------------------

TEST(PdfFiles, FindTheirObjectsAndShowThePage) {
  std::mt19937 random(6);
  const Image image = packed(randomPixels(random, 99, 30));
  ByteStream stream;
  ASSERT_TRUE(writeImage(&stream, GFX_PDF, image));
  const std::string file(stream.bytes.begin(), stream.bytes.end());
  const auto numberBehind = [&](const std::string& text) {
    return std::stoul(file.substr(file.rfind(text) + text.size()));
  };
  const size_t table = numberBehind("startxref\n");
  ASSERT_EQ(file.substr(table, 9), "xref\n0 7\n");
  for (size_t i = 1; i < 7; ++i) {
    const std::string head = std::to_string(i) + " 0 obj\n";
    EXPECT_EQ(file.substr(std::stoul(file.substr(table + 9 + 20 * i)), head.size()), head);
  }
  EXPECT_NE(file.find("/MediaBox [0 0 23.760 10.800]\n"), std::string::npos);
  const size_t data = file.rfind(">>\nstream\n") + 10;
  EXPECT_EQ(data + numberBehind("6 0 obj\n"), file.rfind("\nendstream"));
  stream.position = data;
  const OwnedRect rect(rleLoadRectFromCCITTG4(&stream, 99, 30, 150, 0));
  ASSERT_TRUE(rect);
  EXPECT_EQ(packed(Pixels(rect.get())).rows, image.rows);
}

}  // namespace
}  // namespace rle::test
