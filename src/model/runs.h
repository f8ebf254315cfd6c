// The capacity rule of run buffers, for the code that has to foresee it.

#pragma once

#include <algorithm>
#include <cstdint>

#include "rle.h"

namespace rle {

// How much room buffers are given: the three exported tuning words at one moment.
struct Tuning {
  uint32_t factor = rleRunAllocFactor;
  uint32_t minExtra = rleRunAllocMinExtra;
  uint32_t maxExtra = rleRunAllocMaxExtra;

  // Spare slots that a buffer for `count` runs is given.
  uint32_t extraSlots(uint32_t count) const {
    constexpr uint32_t kFactorBits = 15;
    const uint32_t extra = (count * factor) >> kFactorBits;
    // The lower bound goes first: with bounds that cross, small buffers still get the minimum.
    return extra < minExtra ? minExtra : std::min(extra, maxExtra);
  }
};

// The number of slots of a run buffer: the word before its first slot.
inline uint32_t& capacityOf(RleRun* runs) { return *(reinterpret_cast<uint32_t*>(runs) - 1); }

// Gives a run buffer exactly this many slots, or makes one when `runs` is null. On null the old
// buffer is untouched.
RleRun* resizeRuns(RleRun* runs, uint32_t capacity);

// What a series of rleReAllocRuns calls makes of a buffer's capacity, without making the calls.
class CapacityPlan {
 public:
  // Starts from the buffer as it is; it may be null.
  explicit CapacityPlan(RleRun* runs) : capacity_(runs == nullptr ? 0 : capacityOf(runs)) {}

  // rleReAllocRuns for `count` runs (not 0 for a buffer that is null so far). False when the
  // buffer would be too large for its capacity word and has no room for `count` runs as it is.
  // There are no branches in it, because run counts go up and down unforeseeably.
  bool fit(uint32_t count) {
    const uint32_t room = count + tuning_.extraSlots(count);
    const bool keeps = (capacity_ >= count) & (capacity_ - count > tuning_.maxExtra);
    capacity_ = keeps | (room < count) ? capacity_ : room;
    fitted_ = true;
    return capacity_ >= count;
  }

  // Brings a buffer to the planned capacity. False, with the buffer as it was, when memory has run
  // out and there is no room for `count` runs in it; one that only fails to shrink is good enough.
  bool carryOut(RleRun*& runs, uint32_t count) const;

 private:
  Tuning tuning_;
  uint32_t capacity_;
  bool fitted_ = false;
};

}  // namespace rle
