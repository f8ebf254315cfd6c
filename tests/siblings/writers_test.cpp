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
      ByteStream clean(Bytes(kStart, 7));
      clean.position = kStart;
      EXPECT_TRUE(writeImage(&clean, fileFormat, image.withoutPadding(), compression));
      EXPECT_EQ(clean.bytes, stream.bytes) << "bits behind the last pixels came into the file";
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

TEST(StreamsThatFail, FailTheirWriter) {
  constexpr int32_t kGroup4Data = -1;
  const struct {
    int32_t fileFormat;
    uint32_t pixels, height;
  } cases[] = {{GFX_TIFF, kGrey, kManyRows}, {GFX_BMP, kBits, 7},  {GFX_PDF, kBits, 7},
               {GFX_PNG, kRgb, 7},           {GFX_JPEG, kCmyk, 7}, {GFX_PNM, kBits, 7},
               {kGroup4Data, kBits, 7}};
  for (const auto& [fileFormat, pixels, height] : cases) {
    SCOPED_TRACE(fileFormat);
    Image image{kWidth, height, pixels};  // zeros, which make small files
    image.rows.resize(height * image.rowBytes());
    bool isWritten = false;
    for (int64_t number = 0; !isWritten; ++number) {
      ByteStream stream;
      stream.failAt = number;
      isWritten = fileFormat == kGroup4Data ? writeRows(gfxInitWriteG4(&stream, 1), image)
                                            : writeImage(&stream, fileFormat, image, GFX_DEFLATE);
      EXPECT_EQ(isWritten, !stream.failed) << number;
      EXPECT_EQ(isWritten, *gfxLastError() == '\0') << number;
      // libtiff would try to write the rest when it closes a file.
      EXPECT_TRUE(isWritten || fileFormat != GFX_TIFF || stream.operations == number + 1);
    }
  }
}

}  // namespace
}  // namespace rle::test
