// Files that need no codec library: Group 4 data, raw rows, BMP, PNM and PDF. What is read is
// spelled byte by byte; the library's own decoder reads the Group 4 data.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "gfx.h"
#include "support/byte_stream.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;
using std::string_literals::operator""s;

Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

constexpr uint32_t kBits = GFX_FORMAT(1, GFX_BILEVEL_1_BLACK);
constexpr uint32_t kZeroBlack = GFX_FORMAT(1, GFX_BILEVEL_0_BLACK);
constexpr uint32_t kGrey = GFX_FORMAT(8, GFX_GREY);
constexpr uint32_t kRgb = GFX_FORMAT(24, GFX_RGB);
constexpr uint32_t kRgbAlpha = GFX_FORMAT(32, GFX_RGB_ALPHA);

struct Image {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t format = 0;
  Bytes rows{};
  uint32_t resolution = 0;

  size_t rowBytes() const { return format >> 16 == 1 ? (width + 7) / 8 : (format >> 19) * width; }
  bool operator==(const Image&) const = default;
};

// All rows of a reader, which is ended; without any when one failed.
Image readAll(GfxInstance* reader) {
  GfxImageDesc description{};
  bool good = reader->begin(reader, &description) > 0;
  Image image{description.width, description.height, description.format};
  if (good) image.rows.resize(image.rowBytes() * image.height);
  for (uint32_t y = 0; good && y < image.height; ++y)
    good = reader->process(reader, image.rows.data() + y * image.rowBytes()) > 0;
  reader->end(reader);
  if (!good) image.rows.clear();
  EXPECT_EQ(good, *gfxLastError() == '\0') << gfxLastError();
  return image;
}

Image readRaster(const Bytes& file, int64_t failAt = -1) {
  ByteStream stream(file);
  GfxImageInfo* info = gfxGetImageInfo(&stream);
  stream.failAt = failAt < 0 ? -1 : stream.operations + failAt;
  GfxInstance* reader = info ? gfxInitReadRaster(&stream, 0, 0, info->height) : nullptr;
  Image image = reader ? readAll(reader) : Image{};
  if (info && info->resolutionUnit == 1) image.resolution = info->xResolution;
  gfxFreeImageInfo(info);
  return image;
}

// What a writer puts behind what the stream has already; false when any step fails.
bool writeAll(GfxInstance* writer, Image image) {
  GfxOutputParams parameters{image.resolution, image.resolution, 0, 0};
  GfxImageDesc description{image.width, image.height, image.format, 0, 0, &parameters};
  bool good = writer->begin(writer, &description) > 0;
  for (uint32_t y = 0; good && y < image.height; ++y)
    good = writer->process(writer, image.rows.data() + y * image.rowBytes()) > 0;
  return (writer->end(writer) > 0) == good && good;
}

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

Image withoutPadding(Image image) {
  for (size_t end = image.rowBytes(); image.width % 8 != 0 && end <= image.rows.size();
       end += image.rowBytes())
    image.rows[end - 1] &= uint8_t(0xFF00 >> image.width % 8);
  return image;
}

TEST(PackedRowsThroughGroup4, AreThoseOfTheDecoderAndLeaveThreeBytes) {
  std::mt19937 random(4);
  for (const int width : {0, 1, 7, 8, 63, 64, 65, 200, 1728, 65535})
    for (const int order : {0, 1})
      for (const uint32_t format : {kBits, kZeroBlack}) {
        const Image image = packed(randomPixels(random, width, 5, 1 + width / 20), format);
        ByteStream stream;
        ASSERT_TRUE(writeAll(gfxInitWriteG4(&stream, order), image));
        stream.position = 0;
        const OwnedRect rect(rleLoadRectFromCCITTG4(&stream, width, 5, 300, order));
        ASSERT_TRUE(rect);
        EXPECT_EQ(withoutPadding(packed(Pixels(rect.get()), format)), withoutPadding(image));
        ByteStream whole(stream.bytes);
        const int32_t flag = format == kZeroBlack ? 1 : 0;
        EXPECT_EQ(readAll(gfxInitReadG4(&whole, uint32_t(width), 5, 0, 5, flag, order)),
                  withoutPadding(image));
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

TEST(Group4Data, DamagedOrNotWrittenIsReported) {
  std::mt19937 random(7);
  const Image image = withoutPadding(packed(randomPixels(random, 93, 8)));
  ByteStream good;
  ASSERT_TRUE(writeAll(gfxInitWriteG4(&good, 1), image));
  for (size_t size = 0; size < good.bytes.size(); ++size) {
    ByteStream stream(Bytes(good.bytes.begin(), good.bytes.begin() + int(size)));
    EXPECT_EQ(readAll(gfxInitReadG4(&stream, 93, 8, 0, 8, 0, 1)).rows.empty(),
              size + 3 < good.bytes.size());
    ByteStream failing;
    failing.failAt = int64_t(size);
    EXPECT_FALSE(writeAll(gfxInitWriteG4(&failing, 1), image));
  }
  for (int i = 0; i < 3000; ++i) {
    ByteStream stream(good.bytes);
    stream.bytes[random() % stream.bytes.size()] ^= uint8_t(1 << random() % 8);
    const Image read = readAll(gfxInitReadG4(&stream, 93, 8, 0, 8, 0, 1));
    EXPECT_EQ(read, withoutPadding(read));
  }
}

TEST(ReadersAndWriters, AreNotMadeOfNumbersThatDoNotFit) {
  ByteStream stream;
  EXPECT_EQ(gfxInitReadG4(&stream, 65536, 1, 0, 1, 0, 0), nullptr);
  EXPECT_EQ(gfxInitReadG4(&stream, 1, 1, 0, 1, 0, 2), nullptr);
  EXPECT_EQ(gfxInitWriteG4(&stream, -1), nullptr);
  for (const auto& [width, format] : {std::pair{65536U, kBits}, {8U, kGrey}, {8U, 0x10001U}})
    EXPECT_FALSE(writeAll(gfxInitWriteG4(&stream, 0), {width, 0, format}));
  struct Raw {
    uint32_t width;
    int32_t bits, type, options;
    uint32_t rows, rowBytes, size;
  };
  for (const Raw& raw :
       {Raw{17, 1, 4, 0, 1, 2, 2}, Raw{5, 8, 2, 0, 1, 4, 4}, Raw{8, 1, 4, 2, 1, 1, 1},
        Raw{1, 24, 2, 0, 1, 3, 3}, Raw{1, 16, 2, 0, 1, 2, 2}, Raw{1, 65537, 4, 0, 1, 1, 1},
        Raw{1, 8, 65538, 0, 1, 1, 1}, Raw{8, 8, 2, 0, 3, 8, 23}, Raw{0x80000001, 32, 6, 0, 1, 4, 4},
        Raw{65536, 8, 2, 0, 65537, 65536, 65536}})
    EXPECT_EQ(gfxInitReadRawData(&stream, raw.width, raw.rows, raw.bits, raw.type, raw.options, 0,
                                 raw.rows, raw.rowBytes, raw.size),
              nullptr);
}

TEST(RawRows, LieAtTheirDistanceInEitherOrderOfBits) {
  ByteStream stream({0x01, 0xFF, 9, 0x80, 0x7F});  // nothing behind the last row
  EXPECT_EQ(readAll(gfxInitReadRawData(&stream, 12, 2, 1, 4, 1, 0, 2, 3, 6)).rows,
            (Bytes{0x80, 0xF0, 0x01, 0xF0}));
  stream.position = 0;
  EXPECT_EQ(readAll(gfxInitReadRawData(&stream, 2, 2, 8, 2, 1, 0, 2, 3, 6)).rows,
            (Bytes{0x01, 0xFF, 0x80, 0x7F}));
  stream.position = 0;
  EXPECT_EQ(readAll(gfxInitReadRawData(&stream, 3, 2, 8, 2, 0, 0, 2, 3, 6)).rows, Bytes());
}

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
};

const std::string kBlackWhite = "\0\0\0\0\xFF\xFF\xFF\0"s;
const std::string kWhiteBlack = "\xFF\xFF\xFF\0\0\0\0\0"s;
const std::string kMasks565 = little(0xF800, 4) + little(0x07E0, 4) + little(0x1F, 4);
const std::string kMasksRgba =
    little(0xFF, 4) + little(0xFF00, 4) + little(0xFF0000, 4) + little(0xFF000000, 4);

const std::vector<Example> kExamples = {
    {bmp(10, 2, 1, 0, kBlackWhite, "\x00\x3F\0\0\x0F\xFF\0\0"s),
     {10, 2, kBits, {0xF0, 0x00, 0xFF, 0xC0}, 300}},
    {bmp(10, -2, 1, 0, kWhiteBlack, "\x00\x3F\0\0\x0F\xFF\0\0"s),
     {10, 2, kBits, {0x00, 0x00, 0x0F, 0xC0}, 300}},
    {bmp(3, 1, 1, 0, "\1\2\3\0\4\5\6\0"s, "\x40\0\0\0"s),
     {3, 1, kRgb, {3, 2, 1, 6, 5, 4, 3, 2, 1}, 300}},
    {bmp(8, 1, 1, 0, "", "\x55\0\0\0"s), {8, 1, kBits, {0xAA}, 300}},
    {"BM"s + little(0, 8) + little(32, 4) + little(12, 4) + little(3, 2) + little(1, 2) +
         little(1, 2) + little(4, 2) + "\1\2\3\4\5\6" + "\x10\x10\0\0"s,
     {3, 1, kRgb, {6, 5, 4, 3, 2, 1, 6, 5, 4}, 0}},
    {bmp(1, 2, 24, 0, "", "\1\2\3\0\4\5\6\0"s), {1, 2, kRgb, {6, 5, 4, 3, 2, 1}, 300}},
    {bmp(2, 1, 8, 0, "\7\7\7\0\x8\x8\x8\0"s, "\1\2\0\0"s, 2), {2, 1, kGrey, {8, 0}, 300}},
    {bmp(2, 1, 16, 0, "", "\x00\x7C\x1F\x02"s), {2, 1, kRgb, {255, 0, 0, 0, 132, 255}, 300}},
    {bmp(2, 1, 16, 3, kMasks565, "\x00\xF8\x1F\x04"s), {2, 1, kRgb, {255, 0, 0, 0, 130, 255}, 300}},
    {bmp(1, 1, 32, 0, "", "\1\2\3\4"s), {1, 1, kRgb, {3, 2, 1}, 300}},
    {bmp(1, 1, 32, 3, kMasksRgba + std::string(52, '\0'), "\1\2\3\4"s, 0, 108),
     {1, 1, kRgbAlpha, {1, 2, 3, 4}, 300}},
    {"P1 # comment\n3 2\n101 0#\n1 0\n", {3, 2, kBits, {0xA0, 0x40}}},
    {"P2\n2 1 10\n10 \n5 ", {2, 1, kGrey, {255, 128}}},
    {"P3 1 1 65535\n256 511 9\n", {1, 1, kRgb, {1, 1, 0}}},
    {"P4\n10 1\n\xFF\xFF", {10, 1, kBits, {0xFF, 0xC0}}},
    {"P5\n2 1\n255\n#7", {2, 1, kGrey, {'#', '7'}}},
    {"P5 2 1 511\n\1\xFF\1\0"s, {2, 1, kGrey, {255, 128}}},
    {"P5 2 1 1\n\1\0"s, {2, 1, kGrey, {255, 0}}},
    {"P6#\n1 2#\n255#\nabcdef", {1, 2, kRgb, {'a', 'b', 'c', 'd', 'e', 'f'}}},
};

TEST(BmpAndPnmFiles, AreReadOrReportedAsCutOff) {
  for (const Example& example : kExamples) {
    const Bytes file = bytesOf(example.file);
    EXPECT_EQ(readRaster(file), example.image) << testing::PrintToString(file);
    for (size_t size = 0; size < file.size(); ++size) {
      const Image image = readRaster({file.begin(), file.begin() + int(size)});
      const bool onlyPadding = size + 3 >= file.size() && image.rows == example.image.rows;
      EXPECT_TRUE(image.rows.empty() || onlyPadding) << size;
    }
    for (int64_t i = 0; i < 8; ++i) EXPECT_TRUE(readRaster(file, i).rows.empty()) << i;
  }
}

TEST(BmpAndPnmFiles, ThatClaimTooMuchAreRefused) {
  constexpr int kMost = INT32_MAX;
  const std::string few(100, '\0');
  for (const std::string& file : {bmp(kMost, kMost, 32, 0, "", few),
                                  bmp(1, INT32_MIN, 1, 0, kBlackWhite, few),
                                  bmp(kMost, 1, 24, 0, "", few),
                                  bmp(-1, 1, 24, 0, "", few),
                                  bmp(1, 0, 24, 0, "", few),
                                  bmp(1, 1, 5, 0, "", few),
                                  bmp(1, 1, 8, 1, "", few),
                                  bmp(1, 1, 24, 3, "", few),
                                  bmp(1, 1, 32, 4, "", few),
                                  bmp(1, 1, 24, 0, "", few, 0, 125),
                                  bmp(1, 1, 24, 0, "", few, 0, 108),
                                  bmp(1, 1, 24, 0, "", few, 0, 0),
                                  "BMP is no text"s,
                                  "P5 2147483647 2147483647 255\n"s + few,
                                  "P1 2147483647 1\n"s + few,
                                  "P6 4294967297 1 255\n"s + few,
                                  "P5 1 1 65536\n"s + few,
                                  "P5 1 1 0\n"s + few,
                                  "P4 0 1\n"s + few,
                                  "P2 1 1 255\n-1"s,
                                  "P1 1 1 2"s}) {
    EXPECT_TRUE(readRaster(bytesOf(file)).rows.empty()) << testing::PrintToString(file);
    EXPECT_STRNE(gfxLastError(), "");
  }
}

TEST(BmpAndPnmFiles, HoldWhatWasWritten) {
  std::mt19937 random(5);
  for (const int32_t code : {GFX_BMP, GFX_PNM})
    for (const uint32_t format : {kBits, kGrey, kRgb}) {
      Image image{13, 7, format};
      image.rows.resize(image.rowBytes() * 7);
      std::generate(image.rows.begin(), image.rows.end(), [&] { return uint8_t(random()); });
      if (format == kBits) image = withoutPadding(image);
      if (code == GFX_BMP) image.resolution = 200;
      ByteStream stream({1, 2, 3});  // a file may begin anywhere
      stream.position = 3;
      ASSERT_TRUE(writeAll(gfxInitWriteRaster(&stream, code), image));
      EXPECT_EQ(stream.position, stream.bytes.size());
      EXPECT_EQ(readRaster({stream.bytes.begin() + 3, stream.bytes.end()}), image);
    }
}

TEST(FailingStreams, AreReportedByEveryWriter) {
  const Image image = packed(Pixels(40, 3));
  for (const int32_t code : {GFX_BMP, GFX_PDF, GFX_PNM})
    for (int64_t failAt = 1;; ++failAt) {
      ByteStream stream;
      stream.failAt = failAt;
      if (writeAll(gfxInitWriteRaster(&stream, code), image)) {
        EXPECT_LE(stream.operations, failAt);
        break;
      }
      EXPECT_STRNE(gfxLastError(), "");
    }
  ByteStream stream;
  EXPECT_FALSE(writeAll(gfxInitWriteRaster(&stream, GFX_BMP), {65535, 65535, kGrey}));
  EXPECT_FALSE(writeAll(gfxInitWriteRaster(&stream, GFX_PDF), {65536, 1, kBits}));
}

TEST(PdfFiles, FindTheirObjectsAndShowThePage) {
  std::mt19937 random(6);
  Image image = packed(randomPixels(random, 99, 30));
  image.resolution = 150;
  ByteStream stream;
  ASSERT_TRUE(writeAll(gfxInitWriteRaster(&stream, GFX_PDF), image));
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
  EXPECT_NE(file.find("/MediaBox [0 0 47.520 14.400]\n"), std::string::npos);
  const size_t data = file.rfind(">>\nstream\n") + 10;
  EXPECT_EQ(data + numberBehind("6 0 obj\n"), file.rfind("\nendstream"));
  stream.position = data;
  const OwnedRect rect(rleLoadRectFromCCITTG4(&stream, 99, 30, 150, 0));
  ASSERT_TRUE(rect);
  EXPECT_EQ(packed(Pixels(rect.get())).rows, image.rows);
}

}  // namespace
}  // namespace rle::test
