// Resolutions of files that count in metres, rounded to the nearest: 300 dots per inch go out as
// 11811 per metre and come back as 300.

#pragma once

#include <cstdint>

namespace gfx {

// An inch is 127 / 5000 of a metre.
constexpr uint32_t dotsPerInch(uint32_t dotsPerMetre) {
  return uint32_t((uint64_t{dotsPerMetre} * 127 + 2500) / 5000);
}

constexpr uint64_t dotsPerMetre(uint32_t dotsPerInch) {
  return (uint64_t{dotsPerInch} * 5000 + 63) / 127;
}

}  // namespace gfx
