// A reader of the first image of a PBM, PGM or PPM file, plain (P1 to P3) or raw (P4 to P6).

#include <algorithm>
#include <cstring>
#include <new>

#include "reader.h"

namespace gfx {
namespace {

constexpr uint32_t kMaxSample = 65535;

bool isSpace(int32_t byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }
bool isDigit(int32_t byte) { return byte >= '0' && byte <= '9'; }

class PnmReader final : public Reader {
 public:
  explicit PnmReader(RleStream* stream) : Reader(stream) {}

  bool open(uint32_t page) override {
    if (page != 0) return setLastError("of a PNM file only the first image is read");
    uint8_t magic[2];
    if (!readAll(stream_, magic, 2)) return damaged();
    const uint32_t kind = magic[1] - '1';  // 0 to 5
    plain_ = kind < 3;
    info_.format = kind % 3 == 0 ? kBilevel : kind % 3 == 1 ? kGrey : kRgb;
    if (!number(INT32_MAX, info_.width) || !number(INT32_MAX, info_.height)) return damaged();
    if (info_.format != kBilevel && !number(kMaxSample, max_)) return damaged();
    if (info_.width == 0 || info_.height == 0 || max_ == 0)
      return setLastError("the PNM file has no pixels");
    info_.fileFormat = GFX_PNM;
    info_.compression = GFX_UNCOMPRESSED;
    info_.pageCount = 1;
    return checkRows();
  }

 private:
  // Makes sure that the rows are there before anybody finds memory for them.
  bool checkRows() {
    uint64_t rowSize = rowBytes(info_.format, info_.width);
    if (plain_ && info_.format == kBilevel)
      rowSize = info_.width;  // a digit each
    else if (plain_ || max_ > 255)
      rowSize *= 2;  // a digit and a blank each, or two bytes
    const int64_t place = file_.offset();
    if (place < 0) return setLastError("the stream cannot be positioned");
    // Behind the last plain sample there need not be a blank.
    if (rowSize > INT32_MAX / info_.height ||
        !file_.holds(uint64_t(place) + rowSize * info_.height - (plain_ ? 1 : 0)))
      return damaged();
    return file_.goTo(uint64_t(place)) || setLastError("the stream cannot be positioned");
  }

  bool row(uint8_t* row) override {
    const auto bytes = uint32_t(rowBytes(info_.format, info_.width));
    if (info_.format == kBilevel) {
      if (plain_ ? !readPlainBits(row) : !readAll(stream_, row, bytes)) return damaged();
      clearPadding(row, info_.width);
      return true;
    }
    if (!plain_ && max_ <= 255) {
      if (!readAll(stream_, row, bytes)) return damaged();
      if (max_ < 255)
        std::transform(row, row + bytes, row, [this](uint8_t v) { return scaled(v); });
      return true;
    }
    for (uint32_t i = 0; i < bytes; ++i) {
      uint32_t value = 0;
      if (plain_ ? !number(kMaxSample, value) : !wideSample(value)) return damaged();
      row[i] = scaled(value);
    }
    return true;
  }

  bool readPlainBits(uint8_t* row) {
    std::memset(row, 0, rowBytes(kBilevel, info_.width));
    for (uint32_t x = 0; x < info_.width; ++x) {
      const int32_t digit = afterBlanks();
      if (digit != '0' && digit != '1') return false;
      if (digit == '1') row[x / 8] |= uint8_t(0x80 >> x % 8);
    }
    return true;
  }

  bool wideSample(uint32_t& value) {
    uint8_t bytes[2];
    if (!readAll(stream_, bytes, 2)) return false;
    value = uint32_t(bytes[0] << 8 | bytes[1]);
    return true;
  }

  // A sample as 8 bits; of full 16 bits, the upper 8.
  uint8_t scaled(uint32_t value) const {
    if (max_ == kMaxSample) return uint8_t(value >> 8);
    return uint8_t((std::min(value, max_) * 255 + max_ / 2) / max_);
  }

  // The next byte, with a comment as the end of line that closes it.
  int32_t textByte() {
    int32_t byte = stream_->ops->getByte(stream_);
    if (byte == '#')
      while (byte >= 0 && byte != '\n' && byte != '\r') byte = stream_->ops->getByte(stream_);
    return byte;
  }

  int32_t afterBlanks() {
    int32_t byte = textByte();
    while (isSpace(byte)) byte = textByte();
    return byte;
  }

  // A decimal number up to `max`, with the blank that ends it, and blanks before it.
  bool number(uint32_t max, uint32_t& value) {
    int32_t byte = afterBlanks();
    if (!isDigit(byte)) return false;
    uint64_t number = 0;
    for (; isDigit(byte); byte = textByte()) {
      number = number * 10 + uint32_t(byte - '0');
      if (number > max) return false;
    }
    value = uint32_t(number);
    return byte < 0 || isSpace(byte);
  }

  static bool damaged() { return setLastError("the PNM file is damaged or cut off"); }

  bool plain_ = false;
  uint32_t max_ = 1;  // white
};

}  // namespace

const FileKind kPnmFiles{
    [](const uint8_t (&signature)[kSignatureBytes]) {
      return signature[0] == 'P' && signature[1] >= '1' && signature[1] <= '6' &&
             (isSpace(signature[2]) || signature[2] == '#');
    },
    [](RleStream* stream) -> Reader* { return new (std::nothrow) PnmReader(stream); }};

}  // namespace gfx
