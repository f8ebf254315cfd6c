// The row encoder. For a0, b1 and b2 see row_decoder.cpp; a1 and a2 are the next changing elements
// of the row itself.

#include "g4/row_encoder.h"

#include <algorithm>

#include "g4/lanes.h"

namespace rle::g4 {
namespace {

// A list of changing elements that goes on with imaginary ones at the width.
class Endless {
 public:
  Endless(Elements elements, int32_t width)
      : at_(elements.at), count_(elements.count), width_(width) {}
  int32_t operator[](uint32_t i) const { return i < count_ ? at_[i] : width_; }

 private:
  const uint16_t* at_;
  uint32_t count_;
  int32_t width_;
};

// Bits of the longest vertical code, and of a pair of runs up to kLongestRun with the code that
// announces it.
constexpr uint32_t kVerticalRoom = 7;
constexpr uint32_t kPairRoom = 3 + 2 * 2 * kLongestWord;

bool putRun(BitWriter& out, int32_t length, uint32_t colour) {
  const RunWords& words = kRunWords[colour];
  auto left = uint32_t(length);
  for (; left > kLongestRun; left -= kLongestRun) {
    out.put(words.back());
    if (!out.writeWholeBytes()) return false;
  }
  if (left >= kMakeUpUnit) out.put(words[kMakeUpUnit - 1 + left / kMakeUpUnit]);
  out.put(words[left % kMakeUpUnit]);
  return true;
}

// The vertical codes that the next elements of a row start with. As long as each lies between the
// neighbours of its b1,
//
//     reference[b1 - 1] <= element < reference[b1 + 1]
//
// nothing is passed and the next b1 is the next element of the reference.
struct VerticalCodes {
  // Reads the reference from one element before b1 to kLanes behind it.
  VerticalCodes(const uint16_t* b1, const uint16_t* a1) {
    const Lanes elements = load(a1);
    const Lanes offset = minus(elements, load(b1));
    const Lanes vertical = (offset >= int16_t{-kMaxOffset}) & (offset <= int16_t{kMaxOffset}) &
                           ~(load(b1 - 1) > elements) & (load(b1 + 1) > elements);
    offsets = narrowed(plus(offset, Lanes{} + int16_t{kMaxOffset}));
    count = countSet(narrowed(vertical));
  }

  bool put(BitWriter& out) const {
    uint64_t bits = 0;
    uint32_t bitCount = 0;
    uint64_t rest = offsets;
    for (uint32_t i = 0; i < count; ++i, rest >>= 8) {
      const Word word = kVerticalWords[rest & 0xFF];
      bits |= uint64_t{word.bits} << bitCount;
      bitCount += word.length;
    }
    if (!out.makeRoom(bitCount)) return false;
    out.put(bits, bitCount);
    return true;
  }

  uint64_t offsets;  // a byte each, from kMaxOffset to the left on
  uint32_t count;
};

}  // namespace

bool RowEncoder::row(Elements above, Elements row) {
  BitWriter out = out_;  // a copy can stay in registers
  const int32_t width = width_;
  const Endless reference(above, width);
  const Endless coding(row, width);
  int32_t a0 = -1;
  uint32_t next = 0;  // number of a1
  uint32_t b1 = 0;    // number of a reference element; even while white runs on, else odd
  int32_t a1 = 0;
  do {
    if (b1 > 0 && b1 + kLanes < above.count && next + kLanes <= row.count) {
      const VerticalCodes codes(above.at + b1, row.at + next);
      if (codes.count > 0) {
        if (!codes.put(out)) return false;
        b1 += codes.count;
        next += codes.count;
        a0 = a1 = row.at[next - 1];
        if (codes.count == kLanes) continue;
      }
    }
    a1 = coding[next++];
    while (reference[b1 + 1] < a1) {
      if (!out.makeRoom(kVerticalRoom)) return false;
      out.put(kPassWord);
      a0 = reference[b1 + 1];
      b1 += 2;
    }
    const int32_t offset = a1 - reference[b1];
    if (offset >= -kMaxOffset && offset <= kMaxOffset) {
      if (!out.makeRoom(kVerticalRoom)) return false;
      out.put(kVerticalWords[size_t(offset + kMaxOffset)]);
      a0 = a1;
      b1 = b1 > 0 && reference[b1 - 1] > a0 ? b1 - 1 : b1 + 1;
    } else {
      if (!out.makeRoom(kPairRoom)) return false;
      out.put(kHorizontalWord);
      const int32_t a2 = coding[next++];
      if (!putRun(out, a1 - std::max(a0, 0), b1 & 1) || !putRun(out, a2 - a1, ~b1 & 1))
        return false;
      a0 = a1 = a2;
    }
    while (reference[b1] <= a0 && a0 < width) b1 += 2;
  } while (a1 < width);
  if (!out.writeWholeBytes()) return false;
  out_ = out;
  return true;
}

bool RowEncoder::finish() {
  out_.put(kEolWord);
  out_.put(kEolWord);
  out_.align();
  return out_.writeWholeBytes();
}

}  // namespace rle::g4
