// The capacity rule of run buffers, for the code that has to foresee it.

#pragma once

#include <algorithm>
#include <cstdint>

#include "rle.h"

namespace rle {

// Spare slots that a buffer for `count` runs is given.
inline uint32_t extraSlots(uint32_t count) {
  constexpr uint32_t kFactorBits = 15;
  const uint32_t extra = (count * rleRunAllocFactor) >> kFactorBits;
  // The lower bound goes first: with bounds that cross, small buffers still get the minimum.
  return extra < rleRunAllocMinExtra ? rleRunAllocMinExtra : std::min(extra, rleRunAllocMaxExtra);
}

// The number of slots of a run buffer: the word before its first slot.
inline uint32_t& capacityOf(RleRun* runs) { return *(reinterpret_cast<uint32_t*>(runs) - 1); }

// Gives a run buffer exactly this many slots, or makes one when `runs` is null. On null the old
// buffer is untouched.
RleRun* resizeRuns(RleRun* runs, uint32_t capacity);

// What a series of rleReAllocRuns calls makes of a buffer's capacity, without making the calls.
class CapacityPlan {
 public:
  // Starts from the buffer as it is; it may be null.
  explicit CapacityPlan(RleRun* runs) {
    if (runs != nullptr) keptBelow_ += capacityOf(runs);
  }

  // Whether every fit of at most 65535 runs gives a number that the capacity word can hold.
  static bool alwaysFits() { return rleRunAllocMinExtra < 0x80000000; }

  // rleReAllocRuns for `count` runs, at most 65535, and not 0 for a buffer that is null so far. Run
  // counts go up and down unforeseeably, so the less there is to branch on, the better.
  void fit(uint32_t count) {
    const int64_t refitted = int64_t{count} + extraSlots(count) - rleRunAllocMaxExtra;
    keptBelow_ = count < keptBelow_ ? keptBelow_ : refitted;
    fitted_ = true;
  }

  // The same for `from` runs, then one more, and so on to `to` (nothing when from > to).
  void fitRising(uint32_t from, uint32_t to);

  // Brings a buffer to the planned capacity. False, with the buffer as it was, when memory has run
  // out and there is no room for `count` runs in it; one that only fails to shrink is good enough.
  bool carryOut(RleRun*& runs, uint32_t count) const;

 private:
  // The buffer keeps its size for fewer runs than this: its capacity less rleRunAllocMaxExtra.
  int64_t keptBelow_ = -int64_t{rleRunAllocMaxExtra};
  bool fitted_ = false;
};

}  // namespace rle
