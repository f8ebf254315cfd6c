#include "group4_rows.h"

#include "packed_row_encoder.h"

namespace gfx {
namespace {

// Bytes in memory, for a decoder that takes them one by one.
class ByteSource : public RleStream {
 public:
  ByteSource(const uint8_t* data, size_t size) : RleStream{}, at_(data), end_(data + size) {
    ops = &kOps;
  }

 private:
  static int32_t getByte(RleStream* stream) {
    auto& self = *static_cast<ByteSource*>(stream);
    return self.at_ == self.end_ ? -1 : *self.at_++;
  }

  static const RleStreamOps kOps;

  const uint8_t* at_;
  const uint8_t* end_;
};

// All that a row decoder calls.
constexpr RleStreamOps ByteSource::kOps = [] {
  RleStreamOps ops{};
  ops.getByte = getByte;
  return ops;
}();

}  // namespace

bool decodeGroup4(const uint8_t* data, size_t size, bool lsbFirst, uint32_t width, uint32_t rows,
                  uint8_t* packed, size_t rowBytes) {
  if (width > kMaxGroup4Width) return false;
  ByteSource source(data, size);
  rle::g4::RowDecoder decoder(&source, width, lsbFirst);
  if (!decoder.allocate()) return false;
  for (uint32_t y = 0; y < rows; ++y, packed += rowBytes) {
    if (decoder.next() != rle::g4::RowDecoder::Result::Row) return false;
    packRow(decoder, packed, rowBytes);
  }
  return true;
}

}  // namespace gfx
