// Group 4 data spelled out, and decoding compared with the step-by-step walk.

#pragma once

#include <string>
#include <vector>

#include "rle.h"

namespace rle::test {

constexpr const char* kEofb = "000000000001 000000000001";

// Bytes from bits in the order of transmission; blanks only separate codes.
std::vector<uint8_t> bytesOf(const std::string& bits, bool lsbFirst);

// What the library writes for an image, checked to be the bytes put and nothing else.
std::vector<uint8_t> encode(RleRect* rect, int32_t expected = 1);

// Whether result, runs, capacities and bytes read are those of the walk.
bool decodesAsTheWalk(const std::vector<uint8_t>& bytes, int width, int height, bool lsbFirst);

}  // namespace rle::test
