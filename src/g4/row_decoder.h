// ITU-T T.6 rows: bytes in, changing elements out.
//
// A changing element is the column of a pixel whose colour differs from the pixel to its left:
// those with even numbers start black runs, those with odd numbers end them.

#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "model/owners.h"
#include "rle.h"

namespace rle::g4 {

// A row that comes to this many changing elements is refused.
constexpr uint32_t kTooManyElements = 51600;

class RowDecoder {
 public:
  // Bytes are taken from `stream` one at a time, and only when the bits taken so far end inside a
  // code. `lsbFirst` tells which bit of a byte comes first. `width` is at most 65535.
  RowDecoder(RleStream* stream, uint32_t width, bool lsbFirst);

  // Working memory; false when there is none.
  bool allocate();

  enum class Result {
    Row,      // a row is complete
    End,      // the second EOL came, usually the end of an EOFB; the row begun before it is lost
    Damaged,  // no more bytes, a code that stands for nothing, or too many changing elements
  };

  // Decodes a row against the one before it, the first against a white one. Nothing can be decoded
  // after another result than Row.
  Result next();

  // The changing elements of the last row: an even number of them, ascending, none beyond the
  // width. They stay until next() is called.
  const uint16_t* elements() const { return reference_; }
  uint32_t elementCount() const { return referenceCount_; }

 private:
  class Row;

  Result finish(const Row& row, uint32_t bitsLeft);

  RleStream* stream_;
  const uint8_t* byteBits_;  // the bits of a byte in order, first bit lowest
  uint32_t width_;
  uint32_t bitsLeft_ = 1;  // bits of the last byte that are not used yet, below a 1
  bool eolSeen_ = false;
  uint32_t referenceCount_ = 0;
  uint16_t* reference_ = nullptr;
  uint16_t* coding_ = nullptr;
  std::unique_ptr<uint16_t, FreeWith<std::free>> memory_;
};

}  // namespace rle::g4
