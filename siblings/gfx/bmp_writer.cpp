// A writer of BMP files of 1, 8 or 24 bits per pixel.
//
// Readers expect the bottom row first, and rows come here from the top. The file is therefore
// written in full at the start, with rows of zeros, and each row put at its place behind the ones
// that follow. Bilevel images have the palette that programs expect that do not look at it: 0 is
// black, 1 is white.

#include <cstdlib>
#include <cstring>
#include <new>

#include "bmp.h"
#include "metres.h"
#include "model/owners.h"
#include "writer.h"

namespace gfx {
namespace {

constexpr uint32_t kBlackZero = GFX_FORMAT(1, GFX_BILEVEL_0_BLACK);
constexpr uint32_t kLongestHead = bmp::kFileHeaderSize + bmp::kInfoHeaderSize + 4 * 256;

// Numbers of a header one behind the other.
class Head {
 public:
  void put16(uint32_t value) {
    bytes_[size_++] = uint8_t(value);
    bytes_[size_++] = uint8_t(value >> 8);
  }
  void put32(uint32_t value) {
    put16(value & 0xFFFF);
    put16(value >> 16);
  }

  const uint8_t* bytes() const { return bytes_; }
  uint32_t size() const { return size_; }

 private:
  uint8_t bytes_[kLongestHead];
  uint32_t size_ = 0;
};

uint32_t resolution(uint32_t dotsPerInch) {
  const uint64_t dots = dotsPerMetre(dotsPerInch);
  return dots > INT32_MAX ? 0 : uint32_t(dots);
}

class BmpWriter final : public Writer {
 public:
  explicit BmpWriter(RleStream* stream) : Writer(stream) {}

 private:
  uint32_t heldFormat(uint32_t format) const override {
    return isBilevel(format) ? kBlackZero : opaqueFormat(format);
  }

  bool writeHead(const GfxImageDesc& description) override {
    format_ = description.format;
    width_ = description.width;
    height_ = description.height;
    const auto bits = uint32_t(bitsPerPixel(format_));
    const uint32_t colours = bits > 8 ? 0 : 1U << bits;
    rowsPlace_ = bmp::kFileHeaderSize + bmp::kInfoHeaderSize + 4 * colours;
    stride_ = bmp::stride(width_, bits);
    if (width_ > INT32_MAX || stride_ > (INT32_MAX - rowsPlace_) / height_)
      return setLastError("%u by %u pixels are too many for a BMP file", width_, height_);
    if (!file_.isKnown()) return setLastError("the stream cannot be positioned");

    Head head;
    head.put16('B' | 'M' << 8);
    head.put32(rowsPlace_ + uint32_t(stride_) * height_);
    head.put32(0);
    head.put32(rowsPlace_);
    head.put32(bmp::kInfoHeaderSize);
    head.put32(width_);
    head.put32(height_);
    head.put16(1);
    head.put16(bits);
    head.put32(bmp::kPlain);
    head.put32(uint32_t(stride_) * height_);
    head.put32(resolution(description.parameters->xResolution));
    head.put32(resolution(description.parameters->yResolution));
    head.put32(colours);
    head.put32(0);  // all of them matter
    for (uint32_t i = 0; i < colours; ++i) head.put32(0x010101 * (i * 255 / (colours - 1)));

    row_.reset(static_cast<uint8_t*>(std::calloc(1, stride_)));
    if (!row_) return setLastError("out of memory");
    bool written = writeBytes(stream_, head.bytes(), head.size());
    for (uint32_t y = 0; written && y < height_; ++y)
      written = writeBytes(stream_, row_.get(), uint32_t(stride_));
    return written || refused();
  }

  bool writeRow(const uint8_t* row) override {
    uint8_t* const packed = row_.get();
    std::memcpy(packed, row, rowBytes(format_, width_));
    if (format_ == kRgb)
      for (size_t i = 0; i < size_t{3} * width_; i += 3) std::swap(packed[i], packed[i + 2]);
    if (!file_.goTo(rowsPlace_ + stride_ * (rowsLeft() - 1)))
      return setLastError("the stream cannot be positioned");
    return writeBytes(stream_, packed, uint32_t(stride_)) || refused();
  }

  // Leaves the stream behind the file.
  bool writeTail() override {
    return file_.goTo(rowsPlace_ + stride_ * height_) ||
           setLastError("the stream cannot be positioned");
  }

  static bool refused() { return setLastError("the BMP file could not be written"); }

  uint32_t format_ = 0;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  uint32_t rowsPlace_ = 0;
  uint64_t stride_ = 0;
  std::unique_ptr<uint8_t, rle::FreeWith<std::free>> row_;  // as the file has it
};

}  // namespace

Writer* newBmpWriter(RleStream* stream) { return new (std::nothrow) BmpWriter(stream); }

}  // namespace gfx
