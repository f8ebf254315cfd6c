// PNG and JPEG files. The streams fail for good after a read past their end, so nothing may read
// that far.

#include <png.h>
#include <sys/resource.h>

#include <algorithm>
#include <random>
#include <string>

#include "siblings/raster_rows.h"

namespace rle::test {
namespace {

constexpr uint8_t kWidth = 43, kHeight = 19;

// ---- PNG ---------------------------------------------------------------------------------------

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
  Image image{png.width, png.height, format >> 16 == 1 ? kGrey : format};
  image.rows.resize(PNG_IMAGE_SIZE(png));
  EXPECT_NE(png_image_finish_read(&png, nullptr, image.rows.data(), 0, nullptr), 0);
  return image;
}

TEST(PngFiles, OfAllKindsAreRead) {
  const png_color black{}, white{255, 255, 255}, grey{9, 9, 9}, red{9, 0, 0};
  std::vector<png_color> colours(256, grey);
  colours[1] = red;
  const PngKind kinds[] = {{0, 1, kBits},
                           {0, 2, kGrey},
                           {0, 4, kGrey},
                           {0, 8, kGrey},
                           {0, 16, kGrey},
                           {0, 1, kGreyAlpha, true},
                           {0, 4, kGreyAlpha, true},
                           {0, 16, kGreyAlpha, true},
                           {2, 8, kRgb},
                           {2, 16, kRgb},
                           {2, 8, kRgbAlpha, true},
                           {2, 16, kRgbAlpha, true},
                           {3, 1, kBits, false, {black, white}},
                           {3, 1, kBits, false, {white, black}},
                           {3, 1, kGreyAlpha, true, {white, black}},
                           {3, 1, kGrey, false, {white, white}},
                           {3, 2, kGrey, false, {white, black, grey, white}},
                           {3, 2, kRgbAlpha, true, {white, black, red, grey}},
                           {3, 8, kRgb, false, colours},
                           {4, 8, kGreyAlpha},
                           {4, 16, kGreyAlpha},
                           {6, 8, kRgbAlpha},
                           {6, 16, kRgbAlpha}};
  for (const PngKind& kind : kinds)
    for (const int interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7}) {
      SCOPED_TRACE(testing::Message() << kind.type << ' ' << kind.depth << ' ' << interlace);
      const Image image = readImage(makePng(kind, interlace));
      ASSERT_EQ(image.format, kind.format);
      // Of 16 bits libpng rounds here what else is cut off.
      const Image expected = decodePng(makePng(kind, PNG_INTERLACE_NONE), kind.format);
      EXPECT_LE(difference(image, expected), kind.depth / 16);
    }
}

// ---- JPEG --------------------------------------------------------------------------------------

// Puts bytes over those that are found first.
void patch(Bytes& file, const Bytes& from, const Bytes& to) {
  std::ranges::copy(to, std::search(file.begin(), file.end(), from.begin(), from.end()));
}

// Of pixels that all have the samples 40, 90, 140 and 190.
Bytes jpegOf(uint32_t format) {
  Image image{kWidth, kHeight, format};
  for (size_t i = 0; i < kHeight * image.rowBytes(); ++i)
    image.rows.push_back(uint8_t(40 + i % image.samples() * 50));
  ByteStream stream;
  EXPECT_TRUE(writeImage(&stream, GFX_JPEG, image)) << gfxLastError();
  return stream.bytes;
}

TEST(JpegFiles, WithoutAdobesMarkerHaveTheirInksAsTheyAre) {
  Bytes file = jpegOf(kCmyk);
  const Image inks = readImage(file);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(inks.rows.at(size_t(i)), 40 + i * 50, 6);
  patch(file, {'A', 'd', 'o', 'b', 'e'}, {'O'});
  patch(file, {1, 1, 0x2C, 0, 200}, {2, 0, 118, 0, 79});  // dots per centimetre
  EXPECT_NEAR(readImage(file).rows.at(3), 255 - 190, 4);  // not transformed
  EXPECT_EQ(infoOf(file).xResolution, 300U);
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
    file.insert(file.end(), {0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 0, 0});
    file.insert(file.end(), blocks.begin(), blocks.end());
  }
  file.insert(file.end(), {0xFF, 0xD9});
  return file;
}

TEST(JpegFiles, InSeveralScansAreReadWhenNoPixelsAreMissing) {
  const Image grey{kWidth, kHeight, kGrey, Bytes(kWidth * kHeight, 128)};
  EXPECT_EQ(readImage(progressiveJpeg(2)), grey);
  EXPECT_EQ(readImage(progressiveJpeg(2, {0, 0, 0x3F, 1, 2})), grey) << "stray bytes";
  EXPECT_TRUE(readImage(progressiveJpeg(2, {0, 0})).rows.empty());
  EXPECT_TRUE(readImage(progressiveJpeg(101)).rows.empty());
}

// ---- Both --------------------------------------------------------------------------------------

TEST(PngAndJpegFiles, FailWhereTheyAreCutOff) {
  for (const int interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7})
    expectCutFilesAreRefused(makePng({6, 8, 0}, interlace), 16);  // two checksums, and a chunk
  expectCutFilesAreRefused(jpegOf(kRgb), 0);
  expectCutFilesAreRefused(progressiveJpeg(9), 0);
}

TEST(PngAndJpegFiles, OfHugeSizesFailWithoutTheMemoryForThem) {
  constexpr uint32_t kMost = PNG_UINT_31_MAX;
  std::vector<Bytes> files = {jpegOf(kRgb), progressiveJpeg(1)};
  for (Bytes& jpeg : files) patch(jpeg, {0, kHeight, 0, kWidth}, {0xFF, 0xDC, 0xFF, 0xDC});
  for (const uint32_t width : {1U, 30000U, 1U << 26, kMost})
    for (const uint32_t height : {16U, 30000U, kMost})
      for (const int interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7})
        files.push_back(makePng({0, 8, 0}, interlace, width, height));
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  for (const Bytes& file : files) EXPECT_TRUE(readImage(file).rows.empty());
  getrusage(RUSAGE_SELF, &after);
#ifndef __SANITIZE_THREAD__  // the checker holds a shadow of the memory
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 400 << 10) << "KiB";
#endif
  ByteStream stream;
  EXPECT_FALSE(writeImage(&stream, GFX_PNG, {0x80000000, 1, kGrey}));
  EXPECT_FALSE(writeImage(&stream, GFX_JPEG, {65501, 1, kGrey}));
  EXPECT_STREQ(gfxLastError(), "JPEG images are at most 65500 pixels wide and high");
}

}  // namespace
}  // namespace rle::test
