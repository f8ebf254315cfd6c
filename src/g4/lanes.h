// Eight changing elements at a time. The compilers' vector types turn into the vector instructions
// of whatever processor there is, and into plain code where there are none.
//
// Lanes are compared as signed numbers, where columns from 32768 on look negative. They keep their
// order among themselves, and to the right of smaller columns they seem out of order; whoever uses
// lanes has another way for elements that seem so.

#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace rle::g4 {

constexpr uint32_t kLanes = 8;
using Lanes = int16_t __attribute__((vector_size(2 * kLanes)));
using WrappingLanes = uint16_t __attribute__((vector_size(2 * kLanes)));
using ByteLanes = int8_t __attribute__((vector_size(kLanes)));

// Sums and differences that do not fit wrap round.
inline Lanes plus(Lanes a, Lanes b) { return Lanes(WrappingLanes(a) + WrappingLanes(b)); }
inline Lanes minus(Lanes a, Lanes b) { return Lanes(WrappingLanes(a) - WrappingLanes(b)); }

inline Lanes load(const uint16_t* elements) {
  Lanes lanes;
  std::memcpy(&lanes, elements, sizeof lanes);
  return lanes;
}

// Eight signed bytes as lanes.
inline Lanes widened(const int8_t* bytes) {
  ByteLanes packed;
  std::memcpy(&packed, bytes, sizeof packed);
  // Each byte twice; the shift keeps the upper one with its sign.
  return Lanes(__builtin_shufflevector(packed, packed, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7,
                                       7)) >>
         8;
}

// The low byte of each lane, the first lane's lowest.
inline uint64_t narrowed(Lanes lanes) {
  static_assert(std::endian::native == std::endian::little);
  return std::bit_cast<uint64_t>(__builtin_convertvector(lanes, ByteLanes));
}

// How many lanes from the first on are set: -1, as comparisons make them, and not 0.
inline uint32_t countSet(uint64_t narrow) { return uint32_t(std::countr_one(narrow)) / 8; }

}  // namespace rle::g4
