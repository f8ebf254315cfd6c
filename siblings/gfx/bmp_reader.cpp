// A reader of BMP files with palettes, samples of 8 bits, or bit masks. Compressed ones are
// refused: their rows are not found without decoding all those below.

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>

#include "bmp.h"
#include "metres.h"
#include "model/heap_array.h"
#include "reader.h"

namespace gfx {
namespace {

uint32_t word16(const uint8_t* bytes) { return uint32_t(bytes[0] | bytes[1] << 8); }
uint32_t word32(const uint8_t* bytes) { return word16(bytes) | word16(bytes + 2) << 16; }

// A sample of a pixel as a group of its bits.
class Sample {
 public:
  Sample() = default;
  explicit Sample(uint32_t mask)
      : mask_(mask), shift_(mask == 0 ? 0 : uint32_t(std::countr_zero(mask))) {}

  bool isThere() const { return mask_ != 0; }

  // Scaled to 8 bits.
  uint8_t of(uint32_t pixel) const {
    const uint64_t max = mask_ >> shift_;
    const uint64_t value = (pixel & mask_) >> shift_;
    if (max == 0) return 0;
    return uint8_t((value * 255 + max / 2) / max);
  }

 private:
  uint32_t mask_ = 0;
  uint32_t shift_ = 0;
};

struct Colour {
  uint8_t red, green, blue;

  bool isGrey() const { return red == green && green == blue; }
  bool is(uint8_t grey) const { return isGrey() && red == grey; }
};

// Dots per inch of dots per metre; 0 when there are none.
uint32_t resolution(uint32_t perMetre) { return int32_t(perMetre) < 0 ? 0 : dotsPerInch(perMetre); }

class BmpReader final : public Reader {
 public:
  explicit BmpReader(RleStream* stream) : Reader(stream) {}

  bool open(uint32_t page) override {
    if (page != 0) return setLastError("a BMP file has one image");
    return readHeaders() && readLayout() && checkRows();
  }

 private:
  // What the info headers of all ages say, as the youngest does.
  struct Header {
    uint32_t size;
    int64_t width;
    int64_t height;  // negative when the top row comes first
    uint32_t bits;
    uint32_t compression;
    uint32_t colours;  // 0: all that there can be
    uint32_t masks[4];
  };

  bool readHeaders() {
    uint8_t file[bmp::kFileHeaderSize + 4];
    uint8_t info[bmp::kLongestHeaderSize + 16] = {};  // and four masks
    if (!readAll(stream_, file, sizeof file)) return cutOff();
    rowsPlace_ = word32(file + 10);
    header_.size = word32(file + bmp::kFileHeaderSize);
    if (header_.size != bmp::kCoreHeaderSize &&
        (header_.size < bmp::kInfoHeaderSize || header_.size > bmp::kLongestHeaderSize))
      return setLastError("no BMP file has a header of %u bytes", header_.size);
    if (!readAll(stream_, info + 4, header_.size - 4)) return cutOff();
    palettePlace_ = bmp::kFileHeaderSize + header_.size;
    if (header_.size == bmp::kCoreHeaderSize) {
      header_.width = word16(info + 4);
      header_.height = word16(info + 6);
      header_.bits = word16(info + 10);
    } else if (!readInfo(info)) {
      return false;
    }
    if (header_.width <= 0 || header_.height == 0)
      return setLastError("a BMP file of %lld by %lld pixels",
                          static_cast<long long>(header_.width),
                          static_cast<long long>(header_.height));
    if (rowsPlace_ < palettePlace_)
      return setLastError("the rows of the BMP file begin in its header");
    return true;
  }

  bool readInfo(uint8_t* info) {
    header_.width = int32_t(word32(info + 4));
    header_.height = int32_t(word32(info + 8));
    header_.bits = word16(info + 14);
    header_.compression = word32(info + 16);
    info_.xResolution = resolution(word32(info + 24));
    info_.yResolution = resolution(word32(info + 28));
    header_.colours = word32(info + 32);
    if (header_.compression != bmp::kMasks && header_.compression != bmp::kMasksWithAlpha)
      return true;
    uint32_t masks = header_.compression == bmp::kMasks ? 3 : 4;
    if (header_.size < bmp::kMasksHeaderSize) {
      if (!readAll(stream_, info + bmp::kInfoHeaderSize, 4 * masks)) return cutOff();
      palettePlace_ += 4 * masks;
    } else if (header_.size >= bmp::kAlphaHeaderSize) {
      masks = 4;
    }
    for (uint32_t i = 0; i < masks; ++i)
      header_.masks[i] = word32(info + bmp::kInfoHeaderSize + 4 * i);
    return true;
  }

  // Settles what the bits of a pixel mean, and the format of the rows delivered.
  bool readLayout() {
    const bool plain = header_.compression == bmp::kPlain;
    switch (header_.bits) {
      case 1:
      case 2:
      case 4:
      case 8:
        return plain ? readPalette() : badCompression();
      case 24:
        info_.format = kRgb;
        return plain || badCompression();
      case 16:
      case 32:
        break;
      default:
        return setLastError("a BMP file of %u bits per pixel", header_.bits);
    }
    if (plain) {
      const uint32_t top =
          header_.bits == 16 ? 5 : 8;  // bits of a sample; above them are unused ones
      for (uint32_t i = 0; i < 3; ++i) header_.masks[i] = ((1U << top) - 1) << (2 - i) * top;
    } else if (header_.compression != bmp::kMasks && header_.compression != bmp::kMasksWithAlpha) {
      return badCompression();
    }
    for (uint32_t i = 0; i < 4; ++i) samples_[i] = Sample(header_.masks[i]);
    info_.format = samples_[3].isThere() ? GFX_FORMAT(32, GFX_RGB_ALPHA) : kRgb;
    return true;
  }

  bool readPalette() {
    const uint32_t entrySize = header_.size == bmp::kCoreHeaderSize ? 3 : 4;
    uint32_t count = 1U << header_.bits;
    if (header_.colours != 0) count = std::min(count, header_.colours);
    count = uint32_t(std::min<uint64_t>(count, (rowsPlace_ - palettePlace_) / entrySize));
    if (count == 0) fillRamp();
    if (!file_.goTo(palettePlace_)) return unreachable();
    for (uint32_t i = 0; i < count; ++i) {
      uint8_t entry[4];
      if (!readAll(stream_, entry, entrySize)) return cutOff();
      palette_[i] = {entry[2], entry[1], entry[0]};
    }
    inverted_ = palette_[0].is(0) && palette_[1].is(255);
    if (header_.bits == 1 && (inverted_ || (palette_[0].is(255) && palette_[1].is(0))))
      info_.format = kBilevel;
    else
      info_.format = std::all_of(palette_, palette_ + count, [](Colour c) { return c.isGrey(); })
                         ? kGrey
                         : kRgb;
    return true;
  }

  // Stands in for a palette that is not there.
  void fillRamp() {
    const uint32_t last = (1U << header_.bits) - 1;
    for (uint32_t i = 0; i <= last; ++i) {
      const auto grey = uint8_t(i * 255 / last);
      palette_[i] = {grey, grey, grey};
    }
  }

  // Makes sure that the rows are there before anybody finds memory for them.
  bool checkRows() {
    const uint64_t width = uint64_t(header_.width);
    const uint64_t height = uint64_t(std::abs(header_.height));
    stride_ = bmp::stride(width, header_.bits);
    const uint64_t pixelBytes = (width * header_.bits + 7) / 8;
    if (stride_ > INT32_MAX / height) return cutOff();  // the product could wrap
    if (!file_.holds(rowsPlace_ + stride_ * (height - 1) + pixelBytes)) return cutOff();
    packed_ = rle::zeroedArray<uint8_t>(pixelBytes);
    if (!packed_) return setLastError("out of memory");
    packedSize_ = uint32_t(pixelBytes);
    info_.width = uint32_t(width);
    info_.height = uint32_t(height);
    info_.fileFormat = GFX_BMP;
    info_.compression = GFX_UNCOMPRESSED;
    info_.pageCount = 1;
    info_.resolutionUnit = info_.xResolution > 0 && info_.yResolution > 0 ? 1 : 0;
    return true;
  }

  bool row(uint8_t* row) override {
    const uint32_t y = info_.height - rowsLeft();
    const uint32_t stored = header_.height < 0 ? y : info_.height - 1 - y;
    if (!file_.goTo(rowsPlace_ + stride_ * stored)) return unreachable();
    if (!readAll(stream_, packed_.get(), packedSize_)) return cutOff();
    if (header_.bits <= 8)
      unpackPalette(row);
    else
      unpackSamples(row);
    return true;
  }

  void unpackPalette(uint8_t* row) const {
    const uint8_t* const packed = packed_.get();
    if (info_.format == kBilevel) {
      std::memcpy(row, packed, packedSize_);
      if (inverted_) invertBits(row, packedSize_);
      clearPadding(row, info_.width);
      return;
    }
    const uint32_t bits = header_.bits;
    for (uint32_t x = 0; x < info_.width; ++x) {
      const uint64_t bit = uint64_t{x} * bits;
      const uint32_t index = packed[bit / 8] >> (8 - bits - bit % 8) & ((1U << bits) - 1);
      const Colour colour = palette_[index];
      *row++ = colour.red;
      if (info_.format == kGrey) continue;
      *row++ = colour.green;
      *row++ = colour.blue;
    }
  }

  void unpackSamples(uint8_t* row) const {
    const uint8_t* at = packed_.get();
    const uint32_t pixelBytes = header_.bits / 8;
    for (uint32_t x = 0; x < info_.width; ++x, at += pixelBytes) {
      if (pixelBytes == 3) {
        *row++ = at[2];
        *row++ = at[1];
        *row++ = at[0];
        continue;
      }
      const uint32_t pixel = pixelBytes == 2 ? word16(at) : word32(at);
      for (const Sample& sample : samples_)
        if (&sample != &samples_[3] || sample.isThere()) *row++ = sample.of(pixel);
    }
  }

  bool badCompression() const {
    return setLastError("BMP files of %u bits per pixel and compression %u are not read",
                        header_.bits, header_.compression);
  }
  static bool cutOff() { return setLastError("the BMP file is cut off"); }
  static bool unreachable() { return setLastError("the stream cannot be positioned"); }

  Header header_{};
  uint64_t palettePlace_ = 0;
  uint64_t rowsPlace_ = 0;
  uint64_t stride_ = 0;
  Sample samples_[4];  // red, green, blue and alpha, of 16 and 32 bits
  Colour palette_[256] = {};
  bool inverted_ = false;  // 0 is black in a bilevel image
  uint32_t packedSize_ = 0;
  rle::HeapArray<uint8_t> packed_;  // a row as the file has it
};

}  // namespace

const FileKind kBmpFiles{
    [](const uint8_t (&signature)[kSignatureBytes]) {
      return signature[0] == 'B' && signature[1] == 'M';
    },
    [](RleStream* stream) -> Reader* { return new (std::nothrow) BmpReader(stream); }};

}  // namespace gfx
