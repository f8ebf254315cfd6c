// ITU-T T.6 data to packed rows, whose 1 bits are black in the words of T.6.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "g4/row_decoder.h"
#include "model/bit_words.h"

namespace gfx {

// The row that was decoded last, in `rowBytes` bytes.
inline void packRow(const rle::g4::RowDecoder& decoder, uint8_t* row, size_t rowBytes) {
  std::fill_n(row, rowBytes, uint8_t{0});  // a row without pixels may be null
  const uint16_t* const elements = decoder.elements();
  rle::BitSpans black(row);
  for (uint32_t i = 0; i < decoder.elementCount(); i += 2) black.set(elements[i], elements[i + 1]);
}

// Decodes rows that lie one behind the other in memory. False when the data does not hold them all,
// and when it is coded in a way that only others know; the rows then hold anything.
bool decodeGroup4(const uint8_t* data, size_t size, bool lsbFirst, uint32_t width, uint32_t rows,
                  uint8_t* packed, size_t rowBytes);

}  // namespace gfx
