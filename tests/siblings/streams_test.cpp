// Every writer with its reader: a file may begin anywhere in its stream, holds what was written,
// and every operation of the stream that fails is told to the caller. That the readers are right is
// proved for each kind of file elsewhere.

#include "siblings/raster_rows.h"

namespace rle::test {
namespace {

constexpr uint32_t kWidth = 45, kManyRows = 2000;  // in TIFF files, several strips
constexpr size_t kStart = 3;                       // of the file in its stream

// Slopes, as JPEG likes them, or its blocks in black and white.
Image slopes(uint32_t height, uint32_t format) {
  Image image{kWidth, height, format};
  for (size_t i = 0; i < height * image.rowBytes(); ++i) {
    const size_t x = i % image.rowBytes(), y = i / image.rowBytes();
    const size_t level = x / image.samples() + y / 20 + x % image.samples() * 30;
    image.rows.push_back(uint8_t(image.isBilevel() ? (x + y / 16) % 2 * 255 : level));
  }
  return image;
}

// What the pixels of an image are in a file, as its reader delivers them.
uint32_t heldFormat(int32_t fileFormat, const Image& image) {
  if (image.isBilevel()) return fileFormat == GFX_JPEG ? kGrey : kBits;
  const bool holdsInk = fileFormat == GFX_TIFF || fileFormat == GFX_JPEG;
  const bool holdsAlpha = fileFormat == GFX_TIFF || fileFormat == GFX_PNG;
  if (image.format == kCmyk && !holdsInk) return kRgb;
  if (image.format == kRgbAlpha && !holdsAlpha) return kRgb;
  return image.format == kGreyAlpha && !holdsAlpha ? kGrey : image.format;
}

Image converted(const Image& image, uint32_t format) {
  if (image.format == format) return image;
  ByteStream rows(image.rows);
  GfxInstance* const reader = gfxInitReadRawData(
      &rows, image.width, image.height, int32_t(image.format >> 16), int32_t(image.format & 0xFFFF),
      0, 0, image.height, uint32_t(image.rowBytes()), uint32_t(image.rows.size()));
  return readRows(gfxInitColorSpaceConverter(reader, int32_t(format & 0xFFFF), 1));
}

TEST(WrittenFiles, HoldEveryKindOfPixels) {
  const std::pair<int32_t, uint32_t> files[] = {{GFX_TIFF, GFX_UNCOMPRESSED},
                                                {GFX_TIFF, GFX_GROUP3},
                                                {GFX_TIFF, GFX_GROUP4},
                                                {GFX_TIFF, GFX_PACKBITS},
                                                {GFX_TIFF, GFX_LZW},
                                                {GFX_TIFF, GFX_DEFLATE},
                                                {GFX_TIFF, GFX_TIFF_JPEG},
                                                {GFX_BMP, 0},
                                                {GFX_PNG, GFX_DEFLATE},
                                                {GFX_JPEG, GFX_JPEG_DCT},
                                                {GFX_PNM, 0}};
  for (const auto& [fileFormat, compression] : files)
    for (const uint32_t format : kAllFormats) {
      SCOPED_TRACE(testing::Message()
                   << fileFormat << std::hex << " " << compression << " " << format);
      const Image image = slopes(kManyRows, format);
      const bool isFax = compression == GFX_GROUP3 || compression == GFX_GROUP4;
      if (image.isBilevel() ? compression == GFX_TIFF_JPEG : isFax) continue;
      ByteStream stream(Bytes(kStart, 7));
      stream.position = kStart;
      ASSERT_TRUE(writeImage(&stream, fileFormat, image, compression)) << gfxLastError();
      EXPECT_EQ(stream.position, stream.bytes.size());
      stream.position = kStart;
      const GfxImageInfo info = infoOf(&stream);
      EXPECT_EQ(info.fileFormat, uint32_t(fileFormat));
      EXPECT_EQ(info.compression, compression);
      EXPECT_EQ(info.xResolution * 1000 + info.yResolution, fileFormat == GFX_PNM ? 0 : 300'200U);
      const Image expected = converted(image, heldFormat(fileFormat, image)).withoutPadding();
      const Image read = readImage(&stream);
      ASSERT_EQ(read.format, expected.format);
      const bool isLossy = compression == GFX_TIFF_JPEG || fileFormat == GFX_JPEG;
      EXPECT_LE(difference(read, expected), isLossy ? 16 : 0);
    }
}

// ---- Streams that fail -------------------------------------------------------------------------

struct Format {
  const char* name;
  uint32_t pixels, height;
  GfxInstance* (*writer)(RleStream*);
  Image (*read)(RleStream*);
};

template <int32_t kFileFormat>
GfxInstance* fileWriter(RleStream* stream) {
  return gfxInitWriteRaster(stream, kFileFormat);
}

Image readFile(RleStream* stream) { return readImage(stream); }

constexpr Format kFormats[] = {
    {"TIFF", kGrey, kManyRows, fileWriter<GFX_TIFF>, readFile},
    {"BMP", kBits, 7, fileWriter<GFX_BMP>, readFile},
    {"PDF", kBits, 7, fileWriter<GFX_PDF>, nullptr},
    {"PNG", kRgb, 7, fileWriter<GFX_PNG>, readFile},
    {"JPEG", kCmyk, 7, fileWriter<GFX_JPEG>, readFile},
    {"PNM", kBits, 7, fileWriter<GFX_PNM>, readFile},
    {"Group 4", kBits, 7, [](RleStream* stream) { return gfxInitWriteG4(stream, 1); },
     [](RleStream* stream) { return readRows(gfxInitReadG4(stream, kWidth, 7, 0, 7, 0, 1)); }},
};

TEST(StreamsThatFail, FailWhatIsWrittenOrRead) {
  for (const Format& format : kFormats) {
    SCOPED_TRACE(format.name);
    Image image{kWidth, format.height, format.pixels};  // zeros, which make small files
    image.rows.resize(image.height * image.rowBytes());
    const auto write = [&](ByteStream& stream) {
      return writeRows(format.writer(&stream), image, {300, 300, GFX_DEFLATE, 0});
    };
    ByteStream sound;
    ASSERT_TRUE(write(sound));
    for (int64_t number = 0; number < sound.operations; ++number) {
      ByteStream stream;
      stream.failAt = number;
      EXPECT_FALSE(write(stream)) << number;
      EXPECT_STRNE(gfxLastError(), "");
    }
    if (!format.read) continue;
    sound.operations = int64_t(sound.position = 0);
    ASSERT_FALSE(format.read(&sound).rows.empty());
    for (int64_t number = 0; number < sound.operations; ++number) {
      ByteStream stream(sound.bytes);
      stream.failAt = number;
      EXPECT_TRUE(format.read(&stream).rows.empty()) << number;
    }
  }
}

}  // namespace
}  // namespace rle::test
