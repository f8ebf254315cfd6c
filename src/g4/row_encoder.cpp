// The row encoder. For a0, b1 and b2 see row_decoder.cpp; a1 and a2 are the next changing elements
// of the row itself.

#include "g4/row_encoder.h"

#include <algorithm>

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

}  // namespace

bool RowEncoder::writeWholeBytes() {
  while (bitCount_ >= 8) {
    if (stream_->ops->putByte(stream_, int32_t(bits_ & 0xFF)) == -1) return false;
    bits_ >>= 8;
    bitCount_ -= 8;
  }
  return true;
}

bool RowEncoder::putRun(int32_t length, uint32_t colour) {
  const RunWords& words = kRunWords[colour];
  auto left = uint32_t(length);
  for (; left > kLongestRun; left -= kLongestRun) {
    put(words.back());
    if (!writeWholeBytes()) return false;
  }
  if (left >= kMakeUpUnit) put(words[kMakeUpUnit - 1 + left / kMakeUpUnit]);
  put(words[left % kMakeUpUnit]);
  return true;
}

bool RowEncoder::row(Elements above, Elements row) {
  const Endless reference(above, width_);
  const Endless coding(row, width_);
  int32_t a0 = -1;
  uint32_t next = 0;  // number of a1
  uint32_t b1 = 0;    // number of a reference element; even while white runs on, else odd
  int32_t a1 = 0;
  do {
    a1 = coding[next++];
    while (reference[b1 + 1] < a1) {
      put(kPassWord);
      if (!writeWholeBytes()) return false;
      a0 = reference[b1 + 1];
      b1 += 2;
    }
    const int32_t offset = a1 - reference[b1];
    if (offset >= -kMaxOffset && offset <= kMaxOffset) {
      put(kVerticalWords[size_t(offset + kMaxOffset)]);
      a0 = a1;
      b1 += b1 > 0 && reference[b1 - 1] > a0 ? -1 : 1;
    } else {
      put(kHorizontalWord);
      const int32_t a2 = coding[next++];
      if (!putRun(a1 - std::max(a0, 0), b1 & 1) || !putRun(a2 - a1, ~b1 & 1)) return false;
      a0 = a1 = a2;
    }
    if (!writeWholeBytes()) return false;
    while (reference[b1] <= a0 && a0 < width_) b1 += 2;
  } while (a1 < width_);
  return true;
}

bool RowEncoder::finish() {
  put(kEolWord);
  put(kEolWord);
  bitCount_ = (bitCount_ + 7) / 8 * 8;  // the bits that fill the last byte are zero
  return writeWholeBytes();
}

}  // namespace rle::g4
