// ITU-T T.6 data of packed rows, whose 1 bits are black in the words of T.6.

#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include "g4/row_encoder.h"
#include "model/bit_words.h"
#include "model/owners.h"

namespace gfx {

constexpr uint32_t kMaxGroup4Width = 65535;  // changing elements are 16-bit numbers

class PackedRowEncoder {
 public:
  // As for rle::g4::RowEncoder.
  PackedRowEncoder(RleStream* stream, uint32_t width, bool lsbFirst)
      : encoder_(stream, width, lsbFirst), width_(width) {}

  // Working memory; false when there is none.
  bool allocate() {
    const size_t rowSize = size_t{width_} + 1;
    memory_.reset(static_cast<uint16_t*>(std::malloc(2 * rowSize * sizeof(uint16_t))));
    row_ = memory_.get();
    spare_ = row_ + rowSize;
    return memory_ != nullptr;
  }

  // Codes the first `width` bits of a row; false when the stream refused a byte.
  bool row(const uint8_t* bits) {
    const rle::g4::Elements elements{row_, rle::findChanges(bits, 0, width_, 0, row_)};
    const bool written = encoder_.row(above_, elements);
    above_ = elements;
    std::swap(row_, spare_);
    return written;
  }

  // Ends the data with EOFB; false as for row().
  bool finish() { return encoder_.finish(); }

 private:
  rle::g4::RowEncoder encoder_;
  uint32_t width_;
  rle::g4::Elements above_;
  uint16_t* row_ = nullptr;    // where the changes of the next row go
  uint16_t* spare_ = nullptr;  // where those of the last one are
  std::unique_ptr<uint16_t, rle::FreeWith<std::free>> memory_;
};

}  // namespace gfx
