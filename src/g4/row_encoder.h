// ITU-T T.6 rows: changing elements in, bytes out.

#pragma once

#include <cstdint>

#include "g4/codes.h"
#include "rle.h"

namespace rle::g4 {

// Changing elements of a row: where black runs start and, alternating with that, where they end.
// Ascending, none beyond the width, an even number of them.
struct Elements {
  const uint16_t* at = nullptr;
  uint32_t count = 0;
};

class RowEncoder {
 public:
  // Bytes are filled from their lowest bit on and go to `stream` one at a time.
  RowEncoder(RleStream* stream, uint32_t width) : stream_(stream), width_(int32_t(width)) {}

  // Codes a row against the one above it; an empty list stands for the white row above the first.
  // When this returns, all bytes that are complete have been written. False when the stream refused
  // one; nothing more can be written then.
  bool row(Elements above, Elements row);

  // Ends the data with EOFB and the last, partial byte; false as for row().
  bool finish();

 private:
  void put(Word word) {
    bits_ |= uint64_t{word.bits} << bitCount_;
    bitCount_ += word.length;
  }
  bool putRun(int32_t length, uint32_t colour);
  bool writeWholeBytes();

  RleStream* stream_;
  int32_t width_;
  uint64_t bits_ = 0;  // not written yet, first bit lowest
  uint32_t bitCount_ = 0;
};

}  // namespace rle::g4
