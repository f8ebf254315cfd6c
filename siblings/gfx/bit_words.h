// Eight bytes of a bilevel row as a word: the leftmost pixel is its highest bit.

#pragma once

#include <cstdint>

namespace gfx {

constexpr uint32_t kWordPixels = 64;
constexpr uint32_t kWordBytes = 8;

inline uint64_t loadWord(const uint8_t* bytes) {
  uint64_t word = 0;
  for (uint32_t i = 0; i < kWordBytes; ++i) word = word << 8 | bytes[i];
  return word;
}

inline void storeWord(uint64_t word, uint8_t* bytes) {
  for (uint32_t i = 0; i < kWordBytes; ++i) bytes[i] = uint8_t(word >> (56 - 8 * i));
}

}  // namespace gfx
