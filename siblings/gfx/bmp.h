// The layout of BMP files. All numbers are little-endian.
//
//     file header   "BM", file size (4), 0 (4), place of the rows (4)
//     info header   its size (4) and what follows from it
//     bit masks     of the samples of a pixel, behind the shortest info header only
//     palette       blue, green, red and, except behind the core header, 0
//     rows          each filled up to a multiple of 4 bytes; the bottom row first

#pragma once

#include <cstdint>

namespace gfx::bmp {

constexpr uint32_t kFileHeaderSize = 14;
constexpr uint32_t kCoreHeaderSize = 12;  // with sizes of 16 bits
constexpr uint32_t kInfoHeaderSize = 40;
constexpr uint32_t kMasksHeaderSize = 52;  // from here on headers have the masks inside
constexpr uint32_t kAlphaHeaderSize = 56;  // and from here on that of alpha
constexpr uint32_t kLongestHeaderSize = 124;

enum Compression : uint32_t { kPlain = 0, kMasks = 3, kMasksWithAlpha = 6 };

// Bytes from one row to the next.
constexpr uint64_t stride(uint64_t width, uint32_t bits) { return (width * bits + 31) / 32 * 4; }

}  // namespace gfx::bmp
