// ITU-T T.6 rows: changing elements in, bytes out.

#pragma once

#include <cstdint>

#include "g4/byte_bits.h"
#include "g4/codes.h"
#include "rle.h"

namespace rle::g4 {

// Changing elements of a row: where black runs start and, alternating with that, where they end.
// Ascending, none beyond the width, an even number of them.
struct Elements {
  const uint16_t* at = nullptr;
  uint32_t count = 0;
};

// Puts code words together.
//
// Bytes that are complete may wait here until the row is: whoever takes them sees the same bytes in
// the same order, and when the next row is looked at they have all been taken.
class BitWriter {
 public:
  BitWriter(RleStream* stream, const ByteBits& byteBits)
      : stream_(stream), byteBits_(byteBits.data()) {}

  void put(uint64_t bits, uint32_t bitCount) {
    bits_ |= bits << bitCount_;
    bitCount_ += bitCount;
  }
  void put(Word word) { put(word.bits, word.length); }

  // There is room for `bits` more; false when the stream refused a byte to make it.
  bool makeRoom(uint32_t bits) { return bitCount_ + bits <= 64 || writeWholeBytes(); }

  bool writeWholeBytes() {
    while (bitCount_ >= 8) {
      if (stream_->ops->putByte(stream_, byteBits_[bits_ & 0xFF]) == -1) return false;
      bits_ >>= 8;
      bitCount_ -= 8;
    }
    return true;
  }

  // Completes the last byte with zeros.
  void align() { bitCount_ = (bitCount_ + 7) / 8 * 8; }

 private:
  RleStream* stream_;
  const uint8_t* byteBits_;
  uint64_t bits_ = 0;  // not written yet, first bit lowest
  uint32_t bitCount_ = 0;
};

class RowEncoder {
 public:
  // Bytes go to `stream` one at a time. `lsbFirst` tells which bit of a byte comes first. `width`
  // is at most 65535.
  RowEncoder(RleStream* stream, uint32_t width, bool lsbFirst)
      : out_(stream, kByteBits[lsbFirst ? 1 : 0]), width_(int32_t(width)) {}

  // Codes a row against the one above it; an empty list stands for the white row above the first.
  // When this returns, all bytes that are complete have been written. False when the stream refused
  // one; nothing more can be written then.
  bool row(Elements above, Elements row);

  // Ends the data with EOFB and the last, partial byte; false as for row().
  bool finish();

 private:
  BitWriter out_;
  int32_t width_;
};

}  // namespace rle::g4
