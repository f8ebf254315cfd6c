// PNG and JPEG files. The streams fail for good after a read past their end, so nothing may read
// that far.

#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "gfx.h"
#include "support/byte_stream.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kWidth = 43;
constexpr uint8_t kHeight = 19;
constexpr uint32_t kBits = GFX_FORMAT(1, GFX_BILEVEL_1_BLACK);
constexpr uint32_t kGrey = GFX_FORMAT(8, GFX_GREY);
constexpr uint32_t kGreyAlpha = GFX_FORMAT(16, GFX_GREY_ALPHA);
constexpr uint32_t kRgb = GFX_FORMAT(24, GFX_RGB);
constexpr uint32_t kRgbAlpha = GFX_FORMAT(32, GFX_RGB_ALPHA);
constexpr uint32_t kCmyk = GFX_FORMAT(32, GFX_CMYK);

struct Image {
  uint32_t format = 0;
  Bytes bytes{};  // row by row
  GfxImageInfo info{};

  bool isBilevel() const { return format >> 16 == 1; }
  size_t rowBytes() const { return isBilevel() ? (kWidth + 7) / 8 : (format >> 19) * kWidth; }

  // In 8 bits a sample.
  int sample(size_t i) const {
    if (!isBilevel()) return bytes[i];
    const size_t x = i % kWidth;
    const int bit = bytes[i / kWidth * rowBytes() + x / 8] >> (7 - x % 8) & 1;
    return bit == int((format & 0xFFFF) / 4) ? 0 : 255;
  }
};

// The largest difference of two samples.
int difference(const Image& a, const Image& b) {
  int most = a.bytes.empty() || b.bytes.empty() ? 256 : 0;
  for (size_t i = 0; most < 256 && i < kWidth * kHeight * std::max(a.format >> 19, 1U); ++i)
    most = std::max(most, std::abs(a.sample(i) - b.sample(i)));
  return most;
}

// Smooth enough for JPEG, in whole blocks where it is bilevel.
Image example(uint32_t format) {
  Image image{format};
  const size_t samples = std::max(format >> 19, 1U);
  for (size_t y = 0; y < kHeight; ++y)
    for (size_t i = 0; i < image.rowBytes(); ++i) {
      const size_t level = 10 + i / samples * 3 + 2 * y + i % samples * 17;
      image.bytes.push_back(uint8_t(image.isBilevel() ? i % 2 * 255 : level));
    }
  return image;
}

// Without bytes when a step fails, as from the given operation of the stream on, or when the file
// is of another size.
Image readImage(const Bytes& file, int64_t failAt = -1) {
  ByteStream stream(file);
  stream.failAt = failAt;
  GfxImageInfo* info = gfxGetImageInfo(&stream);
  if (!info) return {};
  Image image{info->format, {}, *info};
  gfxFreeImageInfo(info);
  GfxInstance* reader = gfxInitReadRaster(&stream, 0, 0, image.info.height);
  if (!reader) return {};
  GfxImageDesc description{};
  bool good = reader->begin(reader, &description) > 0;
  Bytes row(std::max(((image.format >> 16) + 7) / 8 * size_t{description.width}, image.rowBytes()));
  for (uint32_t y = 0; good && y < std::min<uint32_t>(description.height, kHeight); ++y) {
    good = reader->process(reader, row.data()) > 0;
    image.bytes.insert(image.bytes.end(), row.begin(), row.begin() + ptrdiff_t(image.rowBytes()));
  }
  reader->end(reader);
  EXPECT_FALSE(good && stream.failed);
  return good && description.width == kWidth && description.height == kHeight ? image : Image{};
}

// True when every step succeeds.
bool writeImage(ByteStream& stream, int32_t fileFormat, Image image, uint32_t width = kWidth) {
  GfxInstance* writer = gfxInitWriteRaster(&stream, fileFormat);
  GfxOutputParams parameters{300, 200, 0, 0};
  GfxImageDesc description{width, kHeight, image.format, 0, 0, &parameters};
  bool good = writer->begin(writer, &description) > 0;
  for (uint32_t y = 0; good && y < kHeight; ++y)
    good = writer->process(writer, &image.bytes[y * image.rowBytes()]) > 0;
  return writer->end(writer) > 0 && good;
}

Bytes written(int32_t fileFormat, uint32_t format) {
  ByteStream stream;
  EXPECT_TRUE(writeImage(stream, fileFormat, example(format))) << gfxLastError();
  EXPECT_EQ(gfxGetPageInfo(&stream, 1), nullptr);
  return stream.bytes;
}

struct PngKind {
  int type;
  int depth;
  uint32_t format;             // as read
  bool isTransparent = false;  // by a tRNS chunk
  std::vector<png_color> palette{};
};

// Noise as libpng writes it, or the first bytes of an image of another size.
Bytes makePng(const PngKind& kind, int interlace, uint32_t width = kWidth,
              uint32_t height = kHeight) {
  Bytes file;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  const auto append = [](png_structp p, png_bytep bytes, size_t count) {
    auto& to = *static_cast<Bytes*>(png_get_io_ptr(p));
    to.insert(to.end(), bytes, bytes + count);
  };
  png_set_write_fn(png, &file, append, [](png_structp) {});
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_set_IHDR(png, info, width, height, kind.depth, kind.type, interlace, 0, 0);
  png_set_sRGB(png, info, 0);  // else 16 bits would be taken as linear
  if (kind.type == 3) png_set_PLTE(png, info, kind.palette.data(), int(kind.palette.size()));
  const png_byte alpha[] = {77};
  const png_color_16 clear{0, 1, 1, 1, 1};
  if (kind.isTransparent) png_set_tRNS(png, info, alpha, 1, &clear);
  png_write_info(png, info);
  if (width == kWidth) {
    std::minstd_rand random(1);
    Bytes pixels(png_get_rowbytes(png, info) * height);
    std::ranges::generate(pixels, [&] { return uint8_t(random() >> 8 & random() >> 16); });
    for (int pass = png_set_interlace_handling(png); pass > 0; --pass)
      for (size_t y = 0; y < height; ++y) png_write_row(png, &pixels[y * pixels.size() / height]);
    png_write_end(png, nullptr);
  } else {
    const uint8_t start[] = {0x78, 0x9C, 0x63, 0x60, 0x60, 0x60};  // of pixels, all 0
    png_write_chunk(png, reinterpret_cast<png_const_bytep>("IDAT"), start, sizeof start);
  }
  png_destroy_write_struct(&png, &info);
  return file;
}

// By libpng alone, in 8 bits a sample.
Image decodePng(const Bytes& file, uint32_t format) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  EXPECT_NE(png_image_begin_read_from_memory(&png, file.data(), file.size()), 0) << png.message;
  const uint32_t layouts[] = {0, 0, PNG_FORMAT_GA, PNG_FORMAT_RGB, PNG_FORMAT_RGBA};
  png.format = layouts[format >> 19];
  Image image{format >> 16 == 1 ? kGrey : format, Bytes(PNG_IMAGE_SIZE(png))};
  EXPECT_NE(png_image_finish_read(&png, nullptr, image.bytes.data(), 0, nullptr), 0);
  return image;
}

TEST(PngFiles, OfAllKindsAreRead) {
  const png_color black{}, white{255, 255, 255}, grey{9, 9, 9}, red{9, 0, 0};
  std::vector<png_color> colours(256, grey);
  colours[1] = red;
  std::vector<PngKind> kinds = {{0, 1, kBits},
                                {3, 1, kBits, false, {black, white}},
                                {3, 1, kBits, false, {white, black}},
                                {3, 1, kGreyAlpha, true, {white, black}},
                                {3, 1, kGrey, false, {white, white}},
                                {3, 2, kGrey, false, {white, black, grey, white}},
                                {3, 2, kRgbAlpha, true, {white, black, red, grey}},
                                {3, 8, kRgb, false, colours}};
  for (const int depth : {2, 4, 8, 16}) kinds.push_back({0, depth, kGrey});
  for (const int depth : {1, 4, 16}) kinds.push_back({0, depth, kGreyAlpha, true});
  for (const int depth : {8, 16})
    for (const PngKind& kind : {PngKind{2, depth, kRgb},
                                {2, depth, kRgbAlpha, true},
                                {4, depth, kGreyAlpha},
                                {6, depth, kRgbAlpha}})
      kinds.push_back(kind);
  for (const PngKind& kind : kinds)
    for (const int interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7}) {
      const Image image = readImage(makePng(kind, interlace));
      EXPECT_EQ(image.format, kind.format);
      // Of 16 bits libpng rounds here what else is cut off.
      const Image expected = decodePng(makePng(kind, PNG_INTERLACE_NONE), kind.format);
      EXPECT_LE(difference(image, expected), kind.depth / 16)
          << kind.type << ' ' << kind.depth << ' ' << interlace;
    }
}

TEST(PngFiles, OfAllFormatsAreWritten) {
  for (const uint32_t format : {GFX_FORMAT(1, 0), kBits, kGrey, kGreyAlpha, kRgb, kRgbAlpha}) {
    const Bytes file = written(GFX_PNG, format);
    EXPECT_EQ(difference(example(format), decodePng(file, format)), 0) << format;
    const Image image = readImage(file);
    EXPECT_EQ(image.format, format >> 16 == 1 ? kBits : format);
    EXPECT_EQ(image.info.xResolution, 300U);
    EXPECT_EQ(image.info.yResolution, 200U);
  }
  const Image rgb = decodePng(written(GFX_PNG, kCmyk), kRgb);
  const Image inks = example(kCmyk);
  EXPECT_NEAR(rgb.sample(1), (255 - inks.sample(1)) * (255 - inks.sample(3)) / 255.0, 1);
}

// Puts bytes over those that are found first.
void patch(Bytes& file, const Bytes& from, const Bytes& to) {
  std::ranges::copy(to, std::search(file.begin(), file.end(), from.begin(), from.end()));
}

TEST(JpegFiles, OfAllFormatsAreWrittenAndRead) {
  for (const uint32_t format : {kBits, kGrey, kRgb, kCmyk}) {
    const Image image = readImage(written(GFX_JPEG, format));
    EXPECT_EQ(image.format, format == kBits ? kGrey : format);
    EXPECT_LE(difference(image, example(format)), 6) << format;
    EXPECT_EQ(image.info.xResolution, 300U);
    EXPECT_EQ(image.info.yResolution, 200U);
  }
  EXPECT_EQ(readImage(written(GFX_JPEG, kRgbAlpha)).format, kRgb);
  // Without Adobe's marker inks are taken as they are; the last of them is not transformed.
  Bytes file = written(GFX_JPEG, kCmyk);
  patch(file, {'A', 'd', 'o', 'b', 'e'}, {'O'});
  patch(file, {1, 1, 0x2C, 0, 200}, {2, 0, 118, 0, 79});  // dots per centimetre
  const Image image = readImage(file);
  EXPECT_NEAR(image.sample(3), 255 - example(kCmyk).sample(3), 4);
  EXPECT_EQ(image.info.xResolution, 300U);
}

// A progressive image of grey in scans of its mean levels: 18 blocks that equal the one before,
// with the code 0 each.
Bytes progressiveJpeg(int scans, const Bytes& blocks = {0, 0, 0x3F}) {
  Bytes file = {0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
  file.insert(file.end(), 64, 1);
  const Bytes head = {0xFF, 0xC2, 0, 11,   8,    0, kHeight, 0, kWidth, 1,
                      1,    0x11, 0, 0xFF, 0xC4, 0, 20,      0, 1};
  file.insert(file.end(), head.begin(), head.end());
  file.insert(file.end(), 16, 0);
  for (; scans > 0; --scans) {
    const Bytes scan = {0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 0, 0};
    file.insert(file.end(), scan.begin(), scan.end());
    file.insert(file.end(), blocks.begin(), blocks.end());
  }
  file.insert(file.end(), {0xFF, 0xD9});
  return file;
}

TEST(JpegFiles, InSeveralScansAreReadWhenNoPixelsAreMissing) {
  const Image grey{kGrey, Bytes(kWidth * kHeight, 128)};
  EXPECT_EQ(difference(readImage(progressiveJpeg(2)), grey), 0);
  EXPECT_EQ(difference(readImage(progressiveJpeg(2, {0, 0, 0x3F, 1, 2})), grey), 0)
      << "stray bytes";
  EXPECT_EQ(difference(readImage(progressiveJpeg(2, {0, 0})), grey), 256);
  EXPECT_EQ(difference(readImage(progressiveJpeg(101)), grey), 256);
}

TEST(PngAndJpegFiles, FailWhereTheyAreTruncatedOrDamaged) {
  for (const Bytes& file : {makePng({2, 8, 0}, 0), makePng({6, 8, 0}, PNG_INTERLACE_ADAM7),
                            written(GFX_JPEG, kRgb), progressiveJpeg(9)}) {
    for (size_t part = 0; part < 16; ++part) {
      const Bytes start(file.begin(), file.begin() + ptrdiff_t(file.size() * part / 16));
      EXPECT_TRUE(readImage(start).bytes.empty()) << part;
      EXPECT_STRNE(gfxLastError(), "");
    }
    std::minstd_rand random(1);
    for (size_t i = 0; i < 400; ++i) {
      Bytes damaged = file;
      damaged[random() % file.size()] = uint8_t(random() >> 8);
      readImage(damaged);
    }
  }
}

TEST(PngAndJpegFiles, OfHugeSizesFailWithoutTheMemoryForThem) {
  constexpr uint32_t kMost = PNG_UINT_31_MAX;
  std::vector<Bytes> files = {written(GFX_JPEG, kRgb), progressiveJpeg(1)};
  for (Bytes& jpeg : files) patch(jpeg, {0, kHeight, 0, kWidth}, {0xFF, 0xDC, 0xFF, 0xDC});
  for (const uint32_t width : {1U, 30000U, 1U << 26, kMost})
    for (const uint32_t height : {16U, 30000U, kMost})
      for (const int interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7})
        files.push_back(makePng({0, 8, 0}, interlace, width, height));
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  for (const Bytes& file : files) EXPECT_TRUE(readImage(file).bytes.empty());
  getrusage(RUSAGE_SELF, &after);
#ifndef __SANITIZE_THREAD__  // the checker holds a shadow of the memory
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 400 << 10) << "KiB";
#endif
}

TEST(PngAndJpegFiles, FailWithTheirStreamAndForWhatDoesNotFit) {
  for (const int32_t fileFormat : {GFX_PNG, GFX_JPEG})
    for (const uint32_t format : {kBits, kCmyk}) {
      const Bytes file = written(fileFormat, format);
      bool isWritten = false;
      for (int64_t at = 0; !isWritten; ++at) {
        ByteStream stream;
        stream.failAt = at;
        isWritten = writeImage(stream, fileFormat, example(format));
        EXPECT_EQ(isWritten, !stream.failed);
        EXPECT_TRUE(readImage(file, at).bytes.empty());
      }
    }
  ByteStream stream;
  EXPECT_FALSE(writeImage(stream, GFX_PNG, example(kGrey), 0x80000000));
  EXPECT_FALSE(writeImage(stream, GFX_JPEG, example(kGrey), 65501));
  EXPECT_STREQ(gfxLastError(), "JPEG images are at most 65500 pixels wide and high");
}

}  // namespace
}  // namespace rle::test
