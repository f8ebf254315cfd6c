// Lookup tables of the row decoder, derived from the code words at compile time.
//
// The decoder may take a byte from its source only when the bits it has end inside a code. So it
// looks up what it has, and every table says only what follows from those bits alone.
//
// Bits wait as a number whose bit 0 comes first. Bits that are not there yet are zeros: a code
// found that way is the right one exactly when it is no longer than the bits at hand.

#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "g4/codes.h"

namespace rle::g4 {

// ---- Mode codes, a byte at a time
// ----------------------------------------------------------------
//
// What one more byte does depends on the bits before it that do not make a code yet. There are 15
// such beginnings: the inner nodes of the code tree. A Step tells, for a node and a byte, the
// vertical codes completed up to the end of the byte, or up to the first code of another kind.
//
// A row may also begin, or go on after a run, inside a byte. Then there are 0 to 7 bits and no
// beginning; those steps are the last block of the table, indexed by the bits below a 1 that marks
// their end.

constexpr int8_t kNoOffset = INT8_MIN;
constexpr uint32_t kStepsPerNode = 256;

struct alignas(16) Step {
  int8_t offsets[8];  // of the vertical codes, kNoOffset behind the last
  uint32_t ends;      // four bits for each of them: how many bits are used up to its end
  uint16_t next;      // where the steps of the next byte start, when all bits are used up
  uint8_t count;      // of the vertical codes
  Mode stop : 4;      // the code that ends the step; Vertical when all bits are used up
  uint8_t used : 4;   // bits used, with that code

  uint32_t bitsThrough(uint32_t vertical) const { return ends >> 4 * vertical & 0xF; }
};

struct ModeTree {
  static constexpr size_t kInnerNodes = std::size(kModeCodes) - 1;
  struct Node {
    int8_t child[2];  // an inner node, or ~index of a code
  };
  std::array<Node, kInnerNodes> nodes{};

  consteval ModeTree() {
    int8_t made = 1;
    for (size_t code = 0; code < std::size(kModeCodes); ++code) {
      const Word word = kModeCodes[code].word;
      size_t at = 0;
      for (uint32_t depth = 1; depth <= word.length; ++depth) {
        int8_t& child = nodes[at].child[word.bits >> (depth - 1) & 1];
        if (depth == word.length) {
          child = int8_t(~int(code));
        } else {
          if (child == 0) child = made++;
          at = size_t(child);
        }
      }
    }
  }
};

constexpr uint32_t kPartialSteps = ModeTree::kInnerNodes * kStepsPerNode;

consteval Step makeStep(const ModeTree& tree, size_t node, uint32_t bits, uint32_t bitCount) {
  Step step{};
  for (int8_t& offset : step.offsets) offset = kNoOffset;
  for (uint32_t i = 0; i < bitCount; ++i) {
    const int child = tree.nodes[node].child[bits >> i & 1];
    node = child < 0 ? 0 : size_t(child);
    if (child >= 0) continue;
    const ModeCode& code = kModeCodes[~child];
    if (code.mode != Mode::Vertical) {
      step.stop = code.mode;
      step.used = (i + 1) & 0xF;
      return step;
    }
    step.ends |= (i + 1) << 4 * step.count;
    step.offsets[step.count++] = code.offset;
  }
  step.used = bitCount & 0xF;
  step.next = uint16_t(node * kStepsPerNode);
  return step;
}

consteval auto makeSteps() {
  constexpr ModeTree tree;
  std::array<Step, kPartialSteps + kStepsPerNode> steps{};
  for (uint32_t i = 0; i < kPartialSteps; ++i)
    steps[i] = makeStep(tree, i / kStepsPerNode, i % kStepsPerNode, 8);
  for (uint32_t bits = 1; bits < kStepsPerNode; ++bits) {
    const auto bitCount = uint32_t(std::bit_width(bits)) - 1;
    steps[kPartialSteps + bits] = makeStep(tree, 0, bits ^ 1U << bitCount, bitCount);
  }
  return steps;
}
inline constexpr auto kSteps = makeSteps();

// ---- Runs
// ----------------------------------------------------------------------------------------

struct RunCode {
  uint16_t run : 12;    // pixels, or kInvalidRun
  uint16_t length : 4;  // bits of the code
};
constexpr uint32_t kInvalidRun = 0xFFF;

using RunTable = std::array<RunCode, 1 << kLongestWord>;

consteval RunTable runTable(const RunWords& words) {
  RunTable table{};
  const auto put = [&](Word word, uint32_t run) {
    for (uint32_t bits = word.bits; bits < table.size(); bits += 1U << word.length)
      table[bits] = {uint16_t(run & 0xFFF), uint16_t(word.length & 0xF)};
  };
  for (uint32_t i = 0; i < kRunWordCount; ++i) put(words[i], runLength(i));
  put(kInvalidRunWord, kInvalidRun);
  return table;
}
inline constexpr RunTable kRunTables[2] = {runTable(kRunWords[0]), runTable(kRunWords[1])};

// The two runs of a horizontal code, make-up codes and all, where both fit in 12 bits: most do.
constexpr uint32_t kPairBits = 12;

struct RunPair {
  uint32_t packed;

  // Bits of both; kPairBits + 1 when they need more than kPairBits.
  uint32_t length() const { return packed & 0xF; }
  // Pixels; kInvalidRun when there is an invalid code, which then ends after length() bits.
  uint32_t first() const { return packed >> 4 & 0xFFF; }
  uint32_t second() const { return packed >> 16; }
};

using PairTable = std::array<RunPair, 1 << kPairBits>;

consteval RunPair makePair(uint32_t colour, uint32_t bits) {
  uint32_t runs[2] = {0, 0};
  uint32_t length = 0;
  for (uint32_t& run : runs) {
    for (bool ends = false; !ends; colour ^= ends ? 1 : 0) {
      const RunCode code = kRunTables[colour][bits >> length];
      length += code.length;
      if (length > kPairBits) return {kPairBits + 1};
      if (code.run == kInvalidRun) return {kInvalidRun << 4 | length};
      run += code.run;
      ends = code.run < kMakeUpUnit;
    }
  }
  return {runs[1] << 16 | runs[0] << 4 | length};
}

consteval PairTable pairTable(uint32_t colour) {
  PairTable table{};
  for (uint32_t bits = 0; bits < table.size(); ++bits) table[bits] = makePair(colour, bits);
  return table;
}
inline constexpr PairTable kPairTables[2] = {pairTable(0), pairTable(1)};  // by the first's colour

}  // namespace rle::g4
