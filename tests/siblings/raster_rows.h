// Images as packed rows, and their way through the readers and writers of gfx.

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "gfx.h"
#include "support/byte_stream.h"

namespace rle::test {

using Bytes = std::vector<uint8_t>;

inline constexpr uint32_t kBits = GFX_FORMAT(1, GFX_BILEVEL_1_BLACK),
                          kZeroBlack = GFX_FORMAT(1, GFX_BILEVEL_0_BLACK),
                          kGrey = GFX_FORMAT(8, GFX_GREY), kRgb = GFX_FORMAT(24, GFX_RGB),
                          kCmyk = GFX_FORMAT(32, GFX_CMYK),
                          kGreyAlpha = GFX_FORMAT(16, GFX_GREY_ALPHA),
                          kRgbAlpha = GFX_FORMAT(32, GFX_RGB_ALPHA);

inline constexpr uint32_t kAllFormats[] = {
    kBits, kZeroBlack, GFX_FORMAT(1, 5), GFX_FORMAT(1, 9), kGrey,
    kRgb,  kCmyk,      kGreyAlpha,       kRgbAlpha};

struct Image {
  uint32_t width = 0, height = 0, format = 0;
  Bytes rows{};  // none where reading failed

  bool isBilevel() const { return format >> 16 == 1; }
  int black() const { return (format & 0xFFFF) % 5 == 4; }           // the bit, where bilevel
  size_t samples() const { return isBilevel() ? 1 : format >> 19; }  // of a pixel
  size_t rowBytes() const { return (width * size_t{format >> 16} + 7) / 8; }

  // A sample of a pixel; for a bit, what it looks like in grey.
  int sample(size_t x, size_t y, size_t number = 0) const {
    const uint8_t* const row = rows.data() + y * rowBytes();
    if (!isBilevel()) return row[x * samples() + number];
    return (row[x / 8] >> (7 - x % 8) & 1) == black() ? 0 : 255;
  }

  // The same with the bits behind the last pixels of the rows cleared.
  Image withoutPadding() const {
    Image image = *this;
    if (isBilevel() && width % 8 != 0)
      for (size_t end = rowBytes(); end <= rows.size(); end += rowBytes())
        image.rows[end - 1] &= uint8_t(0xFF00 >> width % 8);
    return image;
  }

  bool operator==(const Image&) const = default;
};

// The largest difference of two samples; 256 where there are none.
inline int difference(const Image& a, const Image& b) {
  if (a.rows.empty() || a.width != b.width || a.height != b.height) return 256;
  int most = 0;
  for (uint32_t y = 0; y < a.height; ++y)
    for (uint32_t x = 0; x < a.width; ++x)
      for (size_t s = 0; s < a.samples(); ++s)
        most = std::max(most, std::abs(a.sample(x, y, s) - b.sample(x, y, s)));
  return most;
}

// Reads all rows and ends the reader or wrapper. Nothing of the row before is left in the buffer,
// which has no room for more than a row.
inline Image readRows(GfxInstance* reader) {
  const std::string reasonBefore = gfxLastError();
  GfxImageDesc description{};
  bool isSound = reader->begin(reader, &description) > 0;
  EXPECT_EQ(description.zero3 | description.zero4, 0U);
  Image image{description.width, description.height, description.format};
  Bytes row(isSound ? image.rowBytes() : 0);
  for (uint32_t y = 0; isSound && y < image.height; ++y) {
    std::fill(row.begin(), row.end(), 0x5A);
    isSound = reader->process(reader, row.data()) > 0;
    if (isSound) image.rows.insert(image.rows.end(), row.begin(), row.end());
  }
  EXPECT_EQ(isSound, gfxLastError() == reasonBefore) << gfxLastError();
  EXPECT_LE(reader->process(reader, row.data()), 0) << "a row too many, or after a failure";
  isSound = reader->end(reader) > 0 && isSound;
  if (!isSound) image.rows.clear();
  return image;
}

// All zeros for a page that there is not.
inline GfxImageInfo infoOf(RleStream* stream, uint32_t page = 0) {
  GfxImageInfo* const info = gfxGetPageInfo(stream, page);
  const GfxImageInfo words = info ? *info : GfxImageInfo{};
  gfxFreeImageInfo(info);
  return words;
}

inline Image readImage(RleStream* stream, uint32_t page = 0) {
  const GfxImageInfo info = infoOf(stream, page);
  if (info.pageCount == 0) return {};
  GfxInstance* const reader = gfxInitReadRaster(stream, page, 0, info.height);
  Image image = reader ? readRows(reader) : Image{};
  EXPECT_TRUE(image.rows.empty() || (image.width == info.width && image.height == info.height &&
                                     image.format == info.format));
  return image;
}

inline GfxImageInfo infoOf(const Bytes& file, uint32_t page = 0) {
  ByteStream stream(file);
  return infoOf(&stream, page);
}

inline Image readImage(const Bytes& file, uint32_t page = 0) {
  ByteStream stream(file);
  Image image = readImage(&stream, page);
  EXPECT_TRUE(image.rows.empty() || !stream.failed) << "something was read beyond the end";
  return image;
}

// Gives a writer all rows and ends it; whether every step succeeded.
inline bool writeRows(GfxInstance* writer, Image image, GfxOutputParams parameters = {}) {
  GfxImageDesc description{image.width, image.height, image.format, 0, 0, &parameters};
  bool isSound = writer->begin(writer, &description) > 0;
  for (uint32_t y = 0; isSound && y < image.height; ++y)
    isSound = writer->process(writer, image.rows.data() + y * image.rowBytes()) > 0;
  return writer->end(writer) > 0 && isSound;
}

// With 300 dots per inch from left to right, and 200 from top to bottom.
inline bool writeImage(RleStream* stream, int32_t fileFormat, const Image& image,
                       uint32_t compression = GFX_UNCOMPRESSED) {
  return writeRows(gfxInitWriteRaster(stream, fileFormat), image, {300, 200, compression, 0});
}

// A file that is cut off is refused, save where it lacks no more than its last `needless` bytes.
inline void expectCutFilesAreRefused(const Bytes& file, size_t needless) {
  const Image whole = readImage(file);
  for (size_t size = 0; size < file.size(); size += 1 + file.size() / 100) {
    ByteStream start(Bytes(file.begin(), file.begin() + ptrdiff_t(size)));
    const Image image = readImage(&start);
    EXPECT_TRUE(image.rows.empty() || (size + needless >= file.size() && image == whole)) << size;
  }
}

}  // namespace rle::test
