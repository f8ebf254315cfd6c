// TIFF files: those written are read by libtiff itself, and those that libtiff writes are read;
// damaged ones, and streams that fail.

#include <gtest/gtest.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "gfx.h"
#include "support/byte_stream.h"
#include "xio.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

constexpr uint32_t kBits = GFX_FORMAT(1, GFX_BILEVEL_1_BLACK), kGrey = GFX_FORMAT(8, GFX_GREY),
                   kRgb = GFX_FORMAT(24, GFX_RGB), kCmyk = GFX_FORMAT(32, GFX_CMYK),
                   kGreyAlpha = GFX_FORMAT(16, GFX_GREY_ALPHA),
                   kRgbAlpha = GFX_FORMAT(32, GFX_RGB_ALPHA);
constexpr uint16_t kWhite0 = PHOTOMETRIC_MINISWHITE, kBlack0 = PHOTOMETRIC_MINISBLACK,
                   kLight = PHOTOMETRIC_RGB, kInk = PHOTOMETRIC_SEPARATED;
constexpr uint32_t kWidth = 45, kHeight = 37;  // of the test pictures

size_t rowBytes(uint32_t format) { return (kWidth * (format >> 16) + 7) / 8; }

// A name of this process's own: tests run side by side.
const struct TemporaryFile {
  std::string name = testing::TempDir() + "gfx_tiff_test." + std::to_string(getpid());
  ~TemporaryFile() { std::remove(name.c_str()); }
} temporary;

Tiff openTemporary(const char* mode) { return {TIFFOpen(temporary.name.c_str(), mode), TIFFClose}; }

struct Page {
  GfxImageInfo info{};
  Bytes rows;
  bool isComplete = false;  // every row was delivered
};

Page read(RleStream* stream, uint32_t page = 0) {
  Page result;
  GfxImageInfo* info = gfxGetPageInfo(stream, page);
  if (info) result.info = *info;
  gfxFreeImageInfo(info);
  GfxInstance* reader = info ? gfxInitReadRaster(stream, page, 0, result.info.height) : nullptr;
  if (!reader) return result;
  GfxImageDesc description{};
  bool isSound = reader->begin(reader, &description) > 0;
  Bytes row((size_t{description.width} * (description.format >> 16) + 7) / 8);
  for (uint32_t y = 0; isSound && y < description.height; ++y) {
    isSound = reader->process(reader, row.data()) > 0;
    if (isSound) result.rows.insert(result.rows.end(), row.begin(), row.end());
  }
  result.isComplete = reader->end(reader) > 0 && isSound;
  return result;
}

Page read(const Bytes& bytes, uint32_t page = 0) {
  ByteStream stream(bytes);
  return read(&stream, page);
}

bool write(RleStream* stream, uint32_t format, Bytes rows, uint32_t compression) {
  GfxInstance* writer = gfxInitWriteRaster(stream, GFX_TIFF);
  GfxOutputParams parameters{300, 200, compression, 0};
  const auto height = uint32_t(rows.size() / rowBytes(format));
  GfxImageDesc description{kWidth, height, format, 0, 0, &parameters};
  bool isSound = writer->begin(writer, &description) > 0;
  for (size_t at = 0; isSound && at < rows.size(); at += rowBytes(format))
    isSound = writer->process(writer, &rows[at]) > 0;
  return writer->end(writer) > 0 && isSound;
}

// ---- Files made by libtiff ---------------------------------------------------------------------

using SetTags = std::function<void(TIFF*)>;

struct Shape {
  uint16_t photometric = kBlack0, bits = 8, samples = 1;
  SetTags more = nullptr;
  bool isTiled = false, isSeparate = false;
  int compression = COMPRESSION_LZW, fillOrder = FILLORDER_MSB2LSB;
};

SetTags extraSample(uint16_t kind) {
  return [kind](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind); };
}

SetTags chromaFor(int across, int down) {
  return [=](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, across, down); };
}

// Blue is as red.
SetTags palette(const std::vector<uint16_t>& red, const std::vector<uint16_t>& green) {
  return [=](TIFF* tiff) {
    TIFFSetField(tiff, TIFFTAG_COLORMAP, red.data(), green.data(), red.data());
  };
}

// Adds a page of noise.
void addPage(TIFF* tiff, const Shape& shape) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kWidth);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kHeight);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, shape.photometric);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, shape.bits);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, shape.samples);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, shape.compression);
  TIFFSetField(tiff, TIFFTAG_FILLORDER, shape.fillOrder);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, shape.isSeparate ? 2 : 1);
  TIFFSetField(tiff, shape.isTiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, 16);
  if (shape.isTiled) TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 32);
  if (shape.more) shape.more(tiff);
  std::mt19937 random(5);
  const uint32_t planes = shape.isSeparate ? shape.samples : 1, pieces = shape.isTiled ? 6 : 3;
  for (uint32_t number = 0; number < planes * pieces; ++number) {
    const uint32_t rows = number % pieces == 2 ? kHeight - 32 : 16;
    Bytes piece(size_t(shape.isTiled ? TIFFTileSize(tiff) : TIFFVStripSize(tiff, rows)));
    std::generate(piece.begin(), piece.end(), [&] { return uint8_t(random()); });
    const auto size = tmsize_t(piece.size());
    EXPECT_EQ(size, shape.isTiled ? TIFFWriteEncodedTile(tiff, number, piece.data(), size)
                                  : TIFFWriteEncodedStrip(tiff, number, piece.data(), size));
  }
  EXPECT_EQ(TIFFWriteDirectory(tiff), 1);
}

Bytes temporaryBytes() {
  std::ifstream file(temporary.name, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

Bytes fileOf(const Shape& shape) {
  addPage(openTemporary("w").get(), shape);
  return temporaryBytes();
}

// Whether the rows are those of the temporary file as libtiff makes RGBA of it: which is
// multiplied by alpha where there are three colours, and may round where the reader does not.
bool isAsLibtiffSees(const Page& page) {
  const uint32_t format = page.info.format, samples = format >> 19, height = page.info.height;
  std::vector<uint32_t> raster(kWidth * height);
  TIFFSetWarningHandler(nullptr);
  TIFFReadRGBAImageOriented(openTemporary("r").get(), kWidth, height, raster.data(),
                            ORIENTATION_TOPLEFT, 1);
  if (page.rows.size() != rowBytes(format) * height) return false;
  for (uint32_t i = 0; i < raster.size(); ++i) {
    const uint32_t x = i % kWidth;
    const uint8_t* pixel =
        &page.rows[i / kWidth * rowBytes(format) + (format == kBits ? x / 8 : x * samples)];
    const bool hasAlpha = format == kRgbAlpha || format == kGreyAlpha;
    const int alpha = hasAlpha ? pixel[samples - 1] : 255, factor = samples == 4 ? alpha : 255;
    if (int(raster[i] >> 24) != alpha) return false;
    for (uint32_t s = 0; s < 3; ++s) {
      int value = pixel[samples < 3 ? 0 : s];
      if (format == kBits) value = *pixel >> (7 - x % 8) & 1 ? 0 : 255;
      if (format == kCmyk) value = (255 - value) * (255 - pixel[3]) / 255;
      const int seen = std::min(int(raster[i] >> 8 * s & 255), factor);
      if (std::abs(value * factor / 255 - seen) > 1) return false;
    }
  }
  return true;
}

// ---- Tests -------------------------------------------------------------------------------------

TEST(TiffFiles, AreWrittenAsLibtiffReadsThem) {
  constexpr uint32_t k0Black = GFX_FORMAT(1, 0), k0BlackToo = GFX_FORMAT(1, 5),
                     kBitsToo = GFX_FORMAT(1, 9);
  const std::pair<uint32_t, uint16_t> compressions[] = {
      {GFX_UNCOMPRESSED, COMPRESSION_NONE}, {GFX_GROUP3, COMPRESSION_CCITTFAX3},
      {GFX_GROUP4, COMPRESSION_CCITTFAX4},  {GFX_PACKBITS, COMPRESSION_PACKBITS},
      {GFX_LZW, COMPRESSION_LZW},           {GFX_DEFLATE, COMPRESSION_ADOBE_DEFLATE},
      {GFX_TIFF_JPEG, COMPRESSION_JPEG},    {GFX_JPEG_DCT, 0}};
  const Bytes before{1, 2, 3};  // the file is not the first thing in its stream
  for (const uint32_t format :
       {k0Black, k0BlackToo, kBitsToo, kBits, kGrey, kRgb, kCmyk, kGreyAlpha, kRgbAlpha})
    for (const auto& [code, compression] : compressions) {
      SCOPED_TRACE(testing::Message() << std::hex << format << " " << code);
      const bool isBits = format >> 16 == 1, isJpeg = code == GFX_TIFF_JPEG;
      const bool suits = isBits ? !isJpeg : code != GFX_GROUP3 && code != GFX_GROUP4;
      Bytes rows(rowBytes(format) * 2000);  // several strips of slopes, as JPEG likes them
      for (size_t i = 0; i < rows.size(); ++i)
        rows[i] = uint8_t(isBits ? i * i : i % rowBytes(format) / (format >> 19) + i / 999 % 100);
      ByteStream stream(before);
      stream.position = before.size();
      ASSERT_EQ(write(&stream, format, rows, code), suits && compression != 0) << gfxLastError();
      if (!suits || compression == 0) {
        EXPECT_EQ(std::string(gfxLastError()).find("compression"), 0U);
        EXPECT_EQ(stream.bytes, before);
        continue;
      }
      EXPECT_EQ(stream.position, stream.bytes.size());
      std::ofstream(temporary.name, std::ios::binary)
          .write(reinterpret_cast<char*>(&stream.bytes[3]), int64_t(stream.bytes.size()) - 3);
      uint16_t codec = 0;
      TIFFGetField(openTemporary("r").get(), TIFFTAG_COMPRESSION, &codec);
      EXPECT_EQ(codec, compression);
      stream.position = before.size();
      const Page page = read(&stream);
      ASSERT_TRUE(page.isComplete) << gfxLastError();
      EXPECT_TRUE(isAsLibtiffSees(page));
      EXPECT_EQ(page.info.format, isBits ? kBits : format);
      EXPECT_EQ(page.info.compression, code);
      EXPECT_EQ(page.info.xResolution * 1000 + page.info.yResolution, 300'200U);
      for (size_t i = 0; i < rows.size(); ++i) {
        if (format == k0Black || format == k0BlackToo) rows[i] = uint8_t(~rows[i]);
        if (isBits && i % 6 == 5) rows[i] &= 0xF8;  // 45 of 48 bits are pixels
        ASSERT_LE(std::abs(page.rows[i] - rows[i]), isJpeg ? 16 : 0) << i;
      }
    }
}

TEST(TiffFiles, OfEveryLayoutAreRead) {
  constexpr uint16_t kColours = PHOTOMETRIC_PALETTE, kChroma = PHOTOMETRIC_YCBCR;
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
      {{kBlack0, 8, 2, extraSample(2)}, kGreyAlpha, kTiled + kSeparate},
      {{kLight, 8, 3}, kRgb},
      {{kLight, 16, 3}, kRgb},
      {{kLight, 8, 4, extraSample(1)}, kRgbAlpha},
      {{kLight, 8, 4, extraSample(2)}, kRgbAlpha},
      {{kInk, 8, 4}, kCmyk},
      {{kColours, 1, 1, palette({0, 0xFFFF}, {0, 0xFFFF})}, kBits},
      {{kColours, 1, 1, palette({0xFF, 0}, {0xFF, 0})}, kBits},  // the lower half is filled
      {{kColours, 1, 1, palette({0, 0xFFFF}, {0, 0x7FFF})}, kRgb},
      {{kColours, 2, 1, palette({0, 0x1234, 3, 4}, {0, 0x1234, 3, 4})}, kGrey},
      {{kChroma, 8, 3, chromaFor(1, 1)}, kRgb, kSeparate},
      {{kChroma, 8, 3, chromaFor(2, 2)}, kRgb, kSeparate},
      {{kChroma, 8, 3, chromaFor(4, 2)}, kRgb, kSeparate}};
  for (auto [shape, format, unknown] : cases)
    for (int variant = 0; variant < 8; ++variant) {
      if (variant & unknown) continue;
      SCOPED_TRACE(testing::Message() << shape.photometric << " " << shape.bits << " " << variant);
      shape.isTiled = variant & kTiled;
      shape.isSeparate = variant & kSeparate;
      shape.compression = variant & 4 ? COMPRESSION_PACKBITS : COMPRESSION_LZW;
      shape.fillOrder = variant & 4 ? FILLORDER_LSB2MSB : FILLORDER_MSB2LSB;
      const Page page = read(fileOf(shape));
      EXPECT_TRUE(page.isComplete) << gfxLastError();
      EXPECT_EQ(page.info.format, format);
      EXPECT_TRUE(isAsLibtiffSees(page));
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
    uint32_t facts[3];  // x, y, whether they are dots per inch
  } pages[] = {{8, RESUNIT_INCH, 299.5, 200.4, {300, 200, 1}},
               {1, RESUNIT_CENTIMETER, 118.11, 78.74, {300, 200, 1}},
               {4, RESUNIT_NONE, 7, 3, {7, 3, 0}},
               {2, RESUNIT_INCH, 0, 0, {0, 0, 0}}};
  Tiff tiff = openTemporary("w");
  for (const auto& page : pages)
    addPage(tiff.get(), {kBlack0, page.bits, 1, [&](TIFF* to) {
                           TIFFSetField(to, TIFFTAG_RESOLUTIONUNIT, page.unit);
                           if (page.x > 0) TIFFSetField(to, TIFFTAG_XRESOLUTION, page.x);
                           if (page.y > 0) TIFFSetField(to, TIFFTAG_YRESOLUTION, page.y);
                         }});
  tiff.reset();
  Bytes bytes = temporaryBytes();
  for (uint32_t i = 0; i < 4; ++i) {
    const Page page = read(bytes, i);
    EXPECT_EQ(page.info.page * 10 + page.info.pageCount, i * 10 + 4);
    EXPECT_EQ(page.info.xResolution, pages[i].facts[0]);
    EXPECT_EQ(page.info.yResolution, pages[i].facts[1]);
    EXPECT_EQ(page.info.resolutionUnit, pages[i].facts[2]);
    EXPECT_TRUE(page.isComplete);
  }
  EXPECT_FALSE(read(bytes, 4).isComplete);
  EXPECT_STREQ(gfxLastError(), "the file has no such page");
  for (const int back : {0, 1, 2}) {  // a chain that comes back ends
    patch(bytes, linkTo(bytes, 3), 4, wordAt(bytes, linkTo(bytes, back), 4));
    EXPECT_EQ(read(bytes, 2).info.pageCount, 3U);
    EXPECT_FALSE(read(bytes, 3).isComplete);
  }
  // Where a chain leads out of the file, the pages before can be read from a stream that still
  // reads after it failed, but not from one that does not.
  patch(bytes, linkTo(bytes, 1), 4, 1 << 30);
  RleStream* stream = xioCreateMemoryStream(bytes.data(), uint32_t(bytes.size()), XIO_READ);
  EXPECT_TRUE(read(stream).isComplete);
  EXPECT_STREQ(gfxLastError(), "");
  stream->ops->destroy(stream);
  EXPECT_FALSE(read(bytes).isComplete);
}

TEST(DamagedTiffFiles, AreRefused) {
  constexpr uint32_t kLong = TIFF_LONG, kShort = TIFF_SHORT, kSame = 0;
  const struct {
    uint32_t tag, type, count, value;
  } cases[] = {{TIFFTAG_IMAGEWIDTH, kLong, 1, 0},
               {TIFFTAG_IMAGEWIDTH, kLong, 1, kWidth + 1},
               {TIFFTAG_IMAGEWIDTH, kLong, 1, 0xFFFFFFFF},
               {TIFFTAG_IMAGELENGTH, kLong, 1, 0xFFFFFFFF},
               {TIFFTAG_BITSPERSAMPLE, kShort, 1, 0xFFFF},
               {TIFFTAG_COMPRESSION, kShort, 1, 9999},
               {TIFFTAG_PHOTOMETRIC, kShort, 1, kLight},
               {TIFFTAG_SAMPLESPERPIXEL, kShort, 1, 0xFFFF},
               {TIFFTAG_ROWSPERSTRIP, kShort, 1, 0},
               {TIFFTAG_STRIPOFFSETS, kLong, 2, kSame},
               {TIFFTAG_STRIPOFFSETS, kLong, 3, 1 << 30},
               {TIFFTAG_STRIPBYTECOUNTS, kLong, 0x3FFFFFFF, kSame},
               {TIFFTAG_STRIPBYTECOUNTS, kLong, 3, 0xFFFFFFF0}};
  const Bytes grey = fileOf({kBlack0, 8});
  const auto entryOf = [&](const Bytes& bytes, uint32_t tag) {
    size_t entry = wordAt(bytes, 4, 4) + 2;
    while (wordAt(bytes, entry, 2) != tag) entry += 12;
    return entry;
  };
  for (const auto& [tag, type, count, value] : cases) {
    Bytes bytes = grey;
    const size_t entry = entryOf(bytes, tag);
    patch(bytes, entry + 2, 2, type);
    patch(bytes, entry + 4, 4, count);
    if (value != kSame || count == 1) patch(bytes, entry + 8, 4, value);
    EXPECT_FALSE(read(bytes).isComplete) << tag << " " << count << " " << value;
    EXPECT_STRNE(gfxLastError(), "");
  }
  for (size_t size = 0; size < grey.size(); size += grey.size() / 16)
    EXPECT_FALSE(read(Bytes(grey.begin(), grey.begin() + int64_t(size))).isComplete) << size;
  // A picture of 2^32 by 2^32 pixels in the header of JBIG data, its bits turned over.
  Bytes jbig = fileOf({.bits = 1, .compression = COMPRESSION_NONE});
  const Bytes header{0, 0, 0x80, 0, 255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0x80};
  std::copy(header.begin(), header.end(), jbig.begin() + 8);
  patch(jbig, entryOf(jbig, TIFFTAG_COMPRESSION) + 8, 2, COMPRESSION_JBIG);
  EXPECT_FALSE(read(jbig).isComplete);

  std::mt19937 random(7);
  for (const int codec :
       {COMPRESSION_NONE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4, COMPRESSION_LZW}) {
    const Bytes sound =
        fileOf({.bits = 1, .isTiled = codec == COMPRESSION_LZW, .compression = codec});
    for (int trial = 0; trial < 500; ++trial) {  // damage that may not show
      Bytes bytes = sound;
      for (size_t i = 0; i <= random() % 3; ++i) bytes[random() % bytes.size()] = uint8_t(random());
      read(bytes);
    }
  }
}

TEST(StreamsThatFail, FailTheTiffFile) {
  const Bytes rows(rowBytes(kGrey) * 2000);
  ByteStream sound;
  ASSERT_TRUE(write(&sound, kGrey, rows, GFX_DEFLATE));
  for (int64_t number = 0; number < sound.operations; ++number) {
    ByteStream stream;
    stream.failAt = number;
    EXPECT_FALSE(write(&stream, kGrey, rows, GFX_DEFLATE)) << number;
    EXPECT_EQ(stream.operations, number + 1) << "something was tried after a failure";
  }
  sound.operations = int64_t(sound.position = 0);
  ASSERT_TRUE(read(&sound).isComplete);
  for (int64_t number = 0; number < sound.operations; ++number) {
    ByteStream stream(sound.bytes);
    stream.failAt = number;
    EXPECT_FALSE(read(&stream).isComplete) << number;
  }
}

}  // namespace
}  // namespace rle::test
