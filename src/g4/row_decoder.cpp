// The row decoder.
//
// T.6 codes a row by its differences from the row above, the reference. a0 is where the row is
// known up to; b1 is the first changing element of the reference to the right of a0 that has the
// colour opposite to a0's, b2 the one after it.
//
//     reference   . . . # # # # . . . . # # #        vertical     the next element is b1 + offset
//     row         # # . . . ? ? ? ? ? ? ? ? ?        pass         a0 moves below b2
//                       ^       ^       ^            horizontal   two run lengths follow
//                       a0      b1      b2
//
// Elements of the reference alternate in colour, so b1 is the first element beyond a0 whose number
// is even while white runs on, and odd while black does. The elements end with imaginary ones at
// the width, as many as a search can look at; nothing has to be said about the end elsewhere.
//
// The elements of a row ascend strictly, whatever the data: a vertical code that would not advance
// a0 advances it by one, a run of length 0 behind an element adds none, and a row is over as soon
// as a0 reaches the width. Only the first run of a horizontal code may pass the width, and then the
// second, clipped to it as well, adds nothing.
//
// Most codes are vertical with offsets in -1 ... 1, a few to a byte. They are taken a byte at a
// time: a table gives the offsets, and each is added to one of the next elements of the reference,
// on all of them at once. That is right as long as every new element lies behind the one before it
// and between its neighbours in the reference, for then the next b1 is the next element:
//
//     reference[b1 + i - 1] <= element i < reference[b1 + i + 1]
//
// When this does not hold somewhere - at the end of every row at the latest, where the reference
// stops to ascend - the codes before that place are taken, the code there is taken with care, and
// the rest of the byte is looked up anew.

#include "g4/row_decoder.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "g4/byte_bits.h"
#include "g4/lanes.h"
#include "g4/row_decoder_tables.h"

namespace rle::g4 {
namespace {

// Imaginary elements: b1 is at most the third of them, and b2 the one behind it.
constexpr uint32_t kImaginary = 4;

// White and black take 4 and 2 bits at least.
constexpr uint32_t kShortestPair = 6;

// No run goes further. Make-up codes may follow each other without end; sums stop here.
constexpr int32_t kFar = 1 << 16;

// Bits at hand while runs are decoded, the first lowest.
struct Bits {
  uint32_t bits;
  uint32_t count;

  void drop(uint32_t used) {
    bits >>= used;
    count -= used;
  }
};

}  // namespace

// The row being decoded.
class RowDecoder::Row {
 public:
  explicit Row(const RowDecoder& decoder)
      : stream_(decoder.stream_),
        byteBits_(decoder.byteBits_),
        reference_(decoder.reference_),
        b1_(decoder.reference_),
        coding_(decoder.coding_),
        end_(decoder.coding_),
        limit_(decoder.coding_ + kTooManyElements),
        width_(int32_t(decoder.width_)) {}

  uint32_t elementCount() const { return uint32_t(end_ - coding_); }
  bool full() const { return end_ >= limit_; }
  bool complete() const { return a0_ >= width_; }

  // The next byte, first bit lowest, or -1 when there is none or too many elements came before it.
  int32_t nextByte() {
    if (full()) [[unlikely]]
      return -1;
    const int32_t byte = stream_->ops->getByte(stream_);
    return byte == -1 ? -1 : byteBits_[uint8_t(byte)];
  }

  // Takes the vertical codes of a step as long as they need no care, and counts them; true when
  // that was all. They do not complete the row.
  bool verticals(const Step& step, uint32_t& taken) {
    const Lanes offsets = widened(step.offsets);
    const Lanes elements = plus(load(b1_), offsets);
    Lanes before = __builtin_shufflevector(Lanes{}, elements, 0, 8, 9, 10, 11, 12, 13, 14);
    before[0] = int16_t(runStart());
    const Lanes inOrder =
        (elements > before) & ~(load(b1_ - 1) > elements) & (load(b1_ + 1) > elements);
    const uint64_t settled = narrowed(inOrder | (offsets == int16_t{kNoOffset}));
    const bool all = settled == UINT64_MAX;
    taken = all ? step.count : countSet(settled);
    std::memcpy(end_, &elements, sizeof elements);
    end_ += taken;
    b1_ += taken;
    return all;
  }

  // Takes one vertical code, whatever it does.
  void vertical(int32_t offset) {
    a0_ = std::max(b1_[0] + offset, a0() + 1);
    *end_++ = uint16_t(std::min(a0_, width_));
    // The colour changes, and with it the parity of b1. Having gone far to the left, the element
    // before b1 may still lie ahead.
    b1_ += b1_[-1] > a0_ ? -1 : 1;
    findB1();
  }

  void pass() {
    a0_ = b1_[1];
    b1_ += 2;
  }

  // Takes the two runs of a horizontal code; false when that fails.
  bool horizontal(Bits& in) {
    const uint32_t colour = (b1_ - reference_) & 1;
    // When the first run can make the row too long, bytes of the second must not be read.
    if (end_ + 1 < limit_) [[likely]] {
      if (in.count < kShortestPair && !more(in)) return false;
      RunPair pair = findPair(in, colour);
      while (pair.length() > in.count) {
        if (!more(in)) return false;
        pair = findPair(in, colour);
      }
      if (pair.length() <= kPairBits) [[likely]] {
        if (pair.first() == kInvalidRun) return false;
        in.drop(pair.length());
        appendPair(int32_t(pair.first()), int32_t(pair.second()));
        return true;
      }
    }
    if (!run(in, colour) || !run(in, colour ^ 1)) return false;
    findB1();
    return true;
  }

 private:
  bool more(Bits& in) {
    const int32_t byte = nextByte();
    if (byte < 0) return false;
    in.bits |= uint32_t(byte) << in.count;
    in.count += 8;
    return true;
  }

  static RunPair findPair(const Bits& in, uint32_t colour) {
    return kPairTables[colour][in.bits & (kPairTables[0].size() - 1)];
  }

  // Takes the codes of one run.
  bool run(Bits& in, uint32_t colour) {
    const RunTable& table = kRunTables[colour];
    for (int32_t length = 0;;) {
      RunCode code = table[in.bits & (table.size() - 1)];
      while (code.length > in.count) {
        if (!more(in)) return false;
        code = table[in.bits & (table.size() - 1)];
      }
      if (code.run == kInvalidRun) return false;
      in.drop(code.length);
      length = std::min(length + code.run, kFar);
      if (code.run >= kMakeUpUnit) continue;
      appendRun(length);
      return true;
    }
  }

  void appendPair(int32_t first, int32_t second) {
    const int32_t a1 = runStart() + first;
    const int32_t a2 = a1 + second;
    if (first != 0 && second != 0 && a2 < width_) [[likely]] {
      end_[0] = uint16_t(a1);
      end_[1] = uint16_t(a2);
      end_ += 2;
      a0_ = a2;
    } else {
      appendRun(first);
      appendRun(second);
    }
    findB1();
  }

  void appendRun(int32_t length) {
    a0_ = std::min(runStart() + length, width_);
    *end_ = uint16_t(a0_);
    // A run of no length changes nothing, except in front of the row's first pixel.
    end_ += end_ == coding_ || end_[-1] != a0_ ? 1 : 0;
  }

  // Where the next run starts: at a0, but never left of the first pixel. (A 0 lies in front of the
  // first element.)
  int32_t runStart() const { return std::max<int32_t>(a0_, end_[-1]); }

  int32_t a0() const { return std::max(a0_, end_ == coding_ ? -1 : int32_t{end_[-1]}); }

  // Moves b1 on to the right of a0, in steps that keep its parity.
  void findB1() {
    if (complete()) return;
    // Few elements are passed as a rule, but their number is anyone's guess: no branches at first.
    b1_ += b1_[0] <= a0_ ? 2 : 0;
    b1_ += b1_[0] <= a0_ ? 2 : 0;
    while (b1_[0] <= a0_) b1_ += 2;
  }

  RleStream* stream_;
  const uint8_t* byteBits_;
  const uint16_t* reference_;
  const uint16_t* b1_;  // an element of the reference, whose number is odd while black runs on
  uint16_t* coding_;
  uint16_t* end_;  // of the elements so far
  const uint16_t* limit_;
  int32_t width_;
  int32_t a0_ = -1;  // left of the first pixel; elements that verticals() added may be ahead of it
};

RowDecoder::RowDecoder(RleStream* stream, uint32_t width, bool lsbFirst)
    : stream_(stream), byteBits_(kByteBits[lsbFirst ? 1 : 0].data()), width_(width) {}

void RowDecoder::use(uint16_t* memory) {
  // Lanes that turn out not to count may lie there.
  static_assert(kBefore == kLanes && kBehind == kImaginary + 2 * kLanes);
  reference_ = memory + kBefore;
  coding_ = reference_ + rowSize(width_);
  std::fill_n(reference_, kImaginary, uint16_t(width_));
}

bool RowDecoder::allocate() {
  memory_ = zeroedArray<uint16_t>(memorySize(width_));
  if (memory_) use(memory_.get());
  return memory_ != nullptr;
}

RowDecoder::Result RowDecoder::finish(const Row& row, uint32_t bitsLeft) {
  if (row.full()) return Result::Damaged;
  // An odd last element ends a white run: it is no change, only the end of the row.
  referenceCount_ = row.elementCount() & ~1U;
  std::swap(reference_, coding_);
  std::fill_n(reference_ + referenceCount_, kImaginary, uint16_t(width_));
  bitsLeft_ = bitsLeft;
  return Result::Row;
}

RowDecoder::Result RowDecoder::next() {
  Row row(*this);
  uint32_t bits = bitsLeft_;  // what the step looks at, below a 1
  const Step* step = &kSteps[kPartialSteps + bits];
  for (;;) {
    uint32_t taken = 0;
    if (!row.verticals(*step, taken)) [[unlikely]] {
      row.vertical(step->offsets[taken]);
      bits >>= step->bitsThrough(taken);
      if (row.complete()) return finish(row, bits);
      step = &kSteps[kPartialSteps + bits];
      continue;
    }
    if (step->stop == Mode::Vertical) {
      const int32_t byte = row.nextByte();
      if (byte < 0) return Result::Damaged;
      bits = uint32_t(byte) | 0x100;
      step = &kSteps[step->next + uint32_t(byte)];
      continue;
    }
    bits >>= step->used;
    if (step->stop == Mode::Horizontal) {
      const uint32_t count = 31U ^ uint32_t(__builtin_clz(bits));  // there is the 1
      Bits in{bits ^ 1U << count, count};
      if (!row.horizontal(in)) return Result::Damaged;
      bits = in.bits | 1U << in.count;
    } else if (step->stop == Mode::Pass) {
      row.pass();
    } else {
      if (step->stop == Mode::Invalid) return Result::Damaged;
      if (eolSeen_) return Result::End;
      eolSeen_ = true;
    }
    if (row.complete()) return finish(row, bits);
    step = &kSteps[kPartialSteps + bits];
  }
}

}  // namespace rle::g4
