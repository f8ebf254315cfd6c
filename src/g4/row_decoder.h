// ITU-T T.6 rows: bytes in, changing elements out.
//
// A changing element is the column of a pixel whose colour differs from the pixel to its left:
// those with even numbers start black runs, those with odd numbers end them.

#pragma once

#include <cstdint>

#include "model/heap_array.h"
#include "rle.h"

namespace rle::g4 {

// A row that comes to this many changing elements is refused.
constexpr uint32_t kTooManyElements = 51600;

class RowDecoder {
 public:
  // Bytes are taken from `stream` one at a time, and only when the bits taken so far end inside a
  // code. `lsbFirst` tells which bit of a byte comes first. `width` is at most 65535.
  RowDecoder(RleStream* stream, uint32_t width, bool lsbFirst);

  // Working memory, in numbers, for rows of this width. A row has at most one element in every
  // column and one at the width; around them there is room to look too far.
  static constexpr size_t memorySize(uint32_t width) { return 2 * rowSize(width); }

  // Works in `memory`, which is all 0 and stays the caller's, or in memory of its own; false when
  // there is none.
  void use(uint16_t* memory);
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

  // Left of a row's first element, and behind its last one.
  static constexpr uint32_t kBefore = 8, kBehind = 20;
  static constexpr size_t rowSize(uint32_t width) { return kBefore + width + 1 + kBehind; }

  Result finish(const Row& row, uint32_t bitsLeft);

  RleStream* stream_;
  const uint8_t* byteBits_;  // the bits of a byte in order, first bit lowest
  uint32_t width_;
  uint32_t bitsLeft_ = 1;  // bits of the last byte that are not used yet, below a 1
  bool eolSeen_ = false;
  uint32_t referenceCount_ = 0;
  uint16_t* reference_ = nullptr;
  uint16_t* coding_ = nullptr;
  HeapArray<uint16_t> memory_;
};

}  // namespace rle::g4
