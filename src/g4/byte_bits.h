// The order of bits in the bytes of a file. Row coders keep the first bit lowest.

#pragma once

#include <array>
#include <cstdint>

namespace rle::g4 {

using ByteBits = std::array<uint8_t, 256>;

consteval ByteBits byteBits(bool reversed) {
  ByteBits bits{};
  for (uint32_t byte = 0; byte < 256; ++byte)
    for (uint32_t i = 0; i < 8; ++i)
      bits[byte] = uint8_t(bits[byte] | (byte >> i & 1) << (reversed ? 7 - i : i));
  return bits;
}

// From bytes of a file to bits, the first lowest, and back; indexed by whether the first bit of the
// file's bytes is their lowest, too.
inline constexpr ByteBits kByteBits[2] = {byteBits(true), byteBits(false)};

}  // namespace rle::g4
