// TIFF files: those written are read by libtiff itself, and those that libtiff writes are read.

#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include "siblings/raster_rows.h"
#include "xio.h"

namespace rle::test {
namespace {

using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

constexpr uint16_t kWhite0 = PHOTOMETRIC_MINISWHITE, kBlack0 = PHOTOMETRIC_MINISBLACK,
                   kLight = PHOTOMETRIC_RGB, kInk = PHOTOMETRIC_SEPARATED,
                   kColours = PHOTOMETRIC_PALETTE, kChroma = PHOTOMETRIC_YCBCR;
constexpr uint32_t kWidth = 45, kHeight = 37;  // of the files that libtiff writes

// A name of this process's own: tests run side by side.
const struct TemporaryFile {
  std::string name = testing::TempDir() + "gfx_tiff_test." + std::to_string(getpid());
  ~TemporaryFile() { std::remove(name.c_str()); }
} temporary;

Tiff openTemporary(const char* mode) { return {TIFFOpen(temporary.name.c_str(), mode), TIFFClose}; }

Bytes temporaryBytes() {
  std::ifstream file(temporary.name, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

// ---- Files made by libtiff ---------------------------------------------------------------------

using Levels = std::vector<uint16_t>;

struct Shape {
  uint16_t photometric = kBlack0, bits = 8, samples = 1;
  uint16_t extraSample = 0;  // its kind, where there is one
  int across = 0, down = 0;  // pixels to a sample of chroma
  Levels red{}, green{};     // of a palette, in which blue is as red
  bool isTiled = false, isSeparate = false;
  int compression = COMPRESSION_LZW, fillOrder = FILLORDER_MSB2LSB;
  uint16_t unit = RESUNIT_INCH;
  double xResolution = 0, yResolution = 0;
};

// Adds a page of noise, in 3 strips or 6 tiles a plane.
void addPage(TIFF* tiff, const Shape& shape) {
  const std::pair<uint32_t, uint32_t> tags[] = {
      {TIFFTAG_IMAGEWIDTH, kWidth},
      {TIFFTAG_IMAGELENGTH, kHeight},
      {TIFFTAG_PHOTOMETRIC, shape.photometric},
      {TIFFTAG_BITSPERSAMPLE, shape.bits},
      {TIFFTAG_SAMPLESPERPIXEL, shape.samples},
      {TIFFTAG_COMPRESSION, shape.compression},
      {TIFFTAG_FILLORDER, shape.fillOrder},
      {TIFFTAG_PLANARCONFIG, shape.isSeparate ? 2 : 1},
      {shape.isTiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, 16}};
  for (const auto& [tag, value] : tags) TIFFSetField(tiff, tag, value);
  if (shape.isTiled) TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 32);
  if (shape.extraSample > 0) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &shape.extraSample);
  if (shape.across > 0) TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, shape.across, shape.down);
  if (!shape.red.empty())
    TIFFSetField(tiff, TIFFTAG_COLORMAP, shape.red.data(), shape.green.data(), shape.red.data());
  TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, shape.unit);
  if (shape.xResolution > 0) TIFFSetField(tiff, TIFFTAG_XRESOLUTION, shape.xResolution);
  if (shape.yResolution > 0) TIFFSetField(tiff, TIFFTAG_YRESOLUTION, shape.yResolution);
  std::mt19937 random(5);
  const uint32_t planes = shape.isSeparate ? shape.samples : 1, pieces = shape.isTiled ? 6 : 3;
  for (uint32_t number = 0; number < planes * pieces; ++number) {
    const uint32_t rows = number % pieces == 2 ? kHeight - 32 : 16;
    Bytes piece(size_t(shape.isTiled ? TIFFTileSize(tiff) : TIFFVStripSize(tiff, rows)));
    std::generate(piece.begin(), piece.end(), [&] { return uint8_t(random()); });
    const auto write = shape.isTiled ? TIFFWriteEncodedTile : TIFFWriteEncodedStrip;
    EXPECT_GT(write(tiff, number, piece.data(), tmsize_t(piece.size())), 0);
  }
  EXPECT_EQ(TIFFWriteDirectory(tiff), 1);
}

Bytes fileOf(const Shape& shape) {
  addPage(openTemporary("w").get(), shape);
  return temporaryBytes();
}

// Whether the samples are those of the temporary file as libtiff makes RGBA of it: which is
// multiplied by alpha where there are three colours, and may round where the reader does not.
bool isAsLibtiffSees(const Image& image) {
  std::vector<uint32_t> raster(size_t{image.width} * image.height);
  TIFFSetWarningHandler(nullptr);
  TIFFReadRGBAImageOriented(openTemporary("r").get(), image.width, image.height, raster.data(),
                            ORIENTATION_TOPLEFT, 1);
  const bool hasAlpha = image.format == kRgbAlpha || image.format == kGreyAlpha;
  const size_t samples = image.samples();
  for (uint32_t i = 0; i < raster.size(); ++i) {
    const uint32_t x = i % image.width, y = i / image.width;
    const int alpha = hasAlpha ? image.sample(x, y, samples - 1) : 255;
    const int factor = samples == 4 ? alpha : 255;
    if (int(raster[i] >> 24) != alpha) return false;
    for (uint32_t s = 0; s < 3; ++s) {
      int value = image.sample(x, y, samples < 3 ? 0 : s);
      if (image.format == kCmyk) value = (255 - value) * (255 - image.sample(x, y, 3)) / 255;
      const int seen = std::min(int(raster[i] >> 8 * s & 255), factor);
      if (std::abs(value * factor / 255 - seen) > 1) return false;
    }
  }
  return !image.rows.empty();
}

// ---- Tests -------------------------------------------------------------------------------------

TEST(TiffFiles, AreNotWrittenWithCompressionsThatDoNotSuitThePixels) {
  for (const auto& [format, code] : {std::pair{kGrey, GFX_GROUP3},
                                     {kCmyk, GFX_GROUP4},
                                     {kBits, GFX_TIFF_JPEG},
                                     {kBits, GFX_JPEG_DCT},
                                     {kRgb, GFX_JPEG_DCT}}) {
    ByteStream stream;
    EXPECT_FALSE(writeImage(&stream, GFX_TIFF, {kWidth, kHeight, format}, uint32_t(code)));
    EXPECT_EQ(std::string(gfxLastError()).find("compression"), 0U);
    EXPECT_EQ(stream.bytes, Bytes());
  }
}

TEST(TiffFiles, OfEveryLayoutAreRead) {
  constexpr int kTiled = 1, kSeparate = 2;
  const struct {
    Shape shape;
    uint32_t format;
    int unknown = 0;  // to libtiff's conversion
  } cases[] = {
      {{kBlack0, 1}, kBits},
      {{kWhite0, 1}, kBits},
      {{kBlack0, 2}, kGrey},
      {{kWhite0, 4}, kGrey},
      {{kBlack0, 8}, kGrey},
      {{kWhite0, 16}, kGrey, kTiled},
      {{kBlack0, 8, 2, 2}, kGreyAlpha, kTiled + kSeparate},
      {{kLight, 8, 3}, kRgb},
      {{kLight, 16, 3}, kRgb},
      {{kLight, 8, 4, 1}, kRgbAlpha},
      {{kLight, 8, 4, 2}, kRgbAlpha},
      {{kInk, 8, 4}, kCmyk},
      {{.photometric = kColours, .bits = 1, .red = {0, 0xFFFF}, .green = {0, 0xFFFF}}, kBits},
      // The levels of some files fill the lower halves of their words only.
      {{.photometric = kColours, .bits = 1, .red = {0xFF, 0}, .green = {0xFF, 0}}, kBits},
      {{.photometric = kColours, .bits = 1, .red = {0, 0xFFFF}, .green = {0, 0x7FFF}}, kRgb},
      {{.photometric = kColours, .bits = 2, .red = {0, 0x1234, 3, 4}, .green = {0, 0x1234, 3, 4}},
       kGrey},
      {{.photometric = kChroma, .samples = 3, .across = 1, .down = 1}, kRgb, kSeparate},
      {{.photometric = kChroma, .samples = 3, .across = 2, .down = 2}, kRgb, kSeparate},
      {{.photometric = kChroma, .samples = 3, .across = 4, .down = 2}, kRgb, kSeparate}};
  for (auto [shape, format, unknown] : cases)
    for (int variant = 0; variant < 8; ++variant) {
      if (variant & unknown) continue;
      SCOPED_TRACE(testing::Message() << shape.photometric << " " << shape.bits << " " << variant);
      shape.isTiled = variant & kTiled;
      shape.isSeparate = variant & kSeparate;
      shape.compression = variant & 4 ? COMPRESSION_PACKBITS : COMPRESSION_LZW;
      shape.fillOrder = variant & 4 ? FILLORDER_LSB2MSB : FILLORDER_MSB2LSB;
      const Bytes file = fileOf(shape);
      const Image image = readImage(file);
      EXPECT_EQ(image.format, format);
      EXPECT_EQ(infoOf(file).compression, variant & 4 ? GFX_PACKBITS : GFX_LZW);
      EXPECT_TRUE(isAsLibtiffSees(image)) << gfxLastError();
    }
}

// Files are in this machine's byte order.
uint32_t wordAt(const Bytes& bytes, size_t at, size_t size) {
  uint32_t word = 0;
  std::memcpy(&word, &bytes.at(at), size);
  return word;
}

void patch(Bytes& bytes, size_t at, size_t size, uint32_t word) {
  std::memcpy(&bytes.at(at), &word, size);
}

// Where the link to the directory of a page is.
size_t linkTo(const Bytes& bytes, int page) {
  size_t link = 4;
  for (; page > 0; --page)
    link = wordAt(bytes, link, 4) + 2 + 12 * wordAt(bytes, wordAt(bytes, link, 4), 2);
  return link;
}

TEST(TiffFiles, HavePagesWithResolutions) {
  const struct {
    uint16_t bits, unit;
    double x, y;
    uint32_t dots[2], areInInches;
  } pages[] = {{8, RESUNIT_INCH, 299.5, 200.4, {300, 200}, 1},
               {1, RESUNIT_CENTIMETER, 118.11, 78.74, {300, 200}, 1},
               {4, RESUNIT_NONE, 7, 3, {7, 3}, 0},
               {2, RESUNIT_INCH, 0, 0, {0, 0}, 0}};
  Tiff tiff = openTemporary("w");
  for (const auto& page : pages)
    addPage(tiff.get(),
            {.bits = page.bits, .unit = page.unit, .xResolution = page.x, .yResolution = page.y});
  tiff.reset();
  Bytes bytes = temporaryBytes();
  for (uint32_t i = 0; i < 4; ++i) {
    const GfxImageInfo info = infoOf(bytes, i);
    EXPECT_EQ(info.page * 10 + info.pageCount, i * 10 + 4);
    EXPECT_EQ(info.xResolution, pages[i].dots[0]);
    EXPECT_EQ(info.yResolution, pages[i].dots[1]);
    EXPECT_EQ(info.resolutionUnit, pages[i].areInInches);
    EXPECT_FALSE(readImage(bytes, i).rows.empty());
  }
  EXPECT_EQ(infoOf(bytes, 4).pageCount, 0U);
  EXPECT_STREQ(gfxLastError(), "the file has no such page");
  for (const int back : {0, 1, 2}) {  // a chain that comes back ends
    patch(bytes, linkTo(bytes, 3), 4, wordAt(bytes, linkTo(bytes, back), 4));
    EXPECT_EQ(infoOf(bytes, 2).pageCount, 3U);
    EXPECT_EQ(infoOf(bytes, 3).pageCount, 0U);
  }
  // Where a chain leads out of the file, the pages before can be read from a stream that still
  // reads after it failed, but not from one that does not.
  patch(bytes, linkTo(bytes, 1), 4, 1 << 30);
  RleStream* stream = xioCreateMemoryStream(bytes.data(), uint32_t(bytes.size()), XIO_READ);
  EXPECT_FALSE(readImage(stream).rows.empty());
  stream->ops->destroy(stream);
  EXPECT_TRUE(readImage(bytes).rows.empty());
}

TEST(DamagedTiffFiles, AreRefused) {
  constexpr uint32_t kSame = UINT32_MAX - 1;
  const struct {
    uint32_t tag, count, value;
  } cases[] = {{TIFFTAG_IMAGEWIDTH, 1, 0},
               {TIFFTAG_IMAGEWIDTH, 1, kWidth + 1},
               {TIFFTAG_IMAGEWIDTH, 1, UINT32_MAX},
               {TIFFTAG_IMAGELENGTH, 1, UINT32_MAX},
               {TIFFTAG_BITSPERSAMPLE, 1, 0xFFFF},
               {TIFFTAG_COMPRESSION, 1, 9999},
               {TIFFTAG_PHOTOMETRIC, 1, kLight},
               {TIFFTAG_SAMPLESPERPIXEL, 1, 0xFFFF},
               {TIFFTAG_ROWSPERSTRIP, 1, 0},
               {TIFFTAG_STRIPOFFSETS, 2, kSame},
               {TIFFTAG_STRIPOFFSETS, 3, 1 << 30},
               {TIFFTAG_STRIPBYTECOUNTS, 0x3FFFFFFF, kSame},
               {TIFFTAG_STRIPBYTECOUNTS, 3, 0xFFFFFFF0}};
  const auto entryOf = [](const Bytes& bytes, uint32_t tag) {
    size_t entry = wordAt(bytes, 4, 4) + 2;
    while (wordAt(bytes, entry, 2) != tag) entry += 12;
    return entry;
  };
  const Bytes grey = fileOf({kBlack0, 8});
  for (const auto& [tag, count, value] : cases) {
    Bytes bytes = grey;
    const size_t entry = entryOf(bytes, tag);
    patch(bytes, entry + 2, 2, value <= 0xFFFF ? TIFF_SHORT : TIFF_LONG);
    patch(bytes, entry + 4, 4, count);
    if (value != kSame) patch(bytes, entry + 8, 4, value);
    EXPECT_TRUE(readImage(bytes).rows.empty()) << tag << " " << count << " " << value;
    EXPECT_STRNE(gfxLastError(), "");
  }
  expectCutFilesAreRefused(grey, 0);
  // A picture of 2^32 by 2^32 pixels in the header of JBIG data, its bits turned over.
  Bytes jbig = fileOf({.bits = 1, .compression = COMPRESSION_NONE});
  const Bytes header{0, 0, 0x80, 0, 255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0x80};
  std::copy(header.begin(), header.end(), jbig.begin() + 8);
  patch(jbig, entryOf(jbig, TIFFTAG_COMPRESSION) + 8, 2, COMPRESSION_JBIG);
  EXPECT_TRUE(readImage(jbig).rows.empty());
}

}  // namespace
}  // namespace rle::test
