// Group 4 data spelled out, and decoding compared with the step-by-step walk.

#pragma once

#include <random>
#include <string>
#include <vector>

#include "rle.h"

namespace rle::test {

constexpr const char* kEofb = "000000000001 000000000001";

// Bytes from bits in the order of transmission; blanks only separate codes.
std::vector<uint8_t> bytesOf(const std::string& bits, bool lsbFirst);

// The same bits in bytes of the other order.
std::vector<uint8_t> reversed(std::vector<uint8_t> bytes);

// Decodes and compares result, runs, capacities and bytes read with the walk. Says what differs;
// empty when nothing does.
std::string differenceFromWalk(const std::vector<uint8_t>& bytes, int width, int height,
                               bool lsbFirst);

// Rows of changing elements.
std::vector<std::vector<uint16_t>> elementsOf(const RleRect* rect);

}  // namespace rle::test
