// The capacity rule of run buffers, for the code that has to foresee it.

#pragma once

#include <cstdint>

#include "rle.h"

namespace rle {

// Spare slots that a buffer for `count` runs is given.
inline uint32_t extraSlots(uint32_t count) {
  constexpr uint32_t kFactorBits = 15;
  const uint32_t extra = (count * rleRunAllocFactor) >> kFactorBits;
  // The lower bound goes first: with bounds that cross, small buffers still get the minimum.
  if (extra < rleRunAllocMinExtra) return rleRunAllocMinExtra;
  return extra > rleRunAllocMaxExtra ? rleRunAllocMaxExtra : extra;
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
  explicit CapacityPlan(RleRun* runs) : capacity_(runs == nullptr ? 0 : capacityOf(runs)) {}

  // rleReAllocRuns for `count` runs (not 0 for a buffer that is null so far). False when the
  // buffer would be too large for its capacity word and has no room for `count` runs as it is.
  bool fit(uint32_t count) {
    if (capacity_ >= count && capacity_ - count > rleRunAllocMaxExtra) return true;
    const uint32_t room = count + extraSlots(count);
    if (room < count) return capacity_ >= count;
    capacity_ = room;
    exists_ = true;
    return true;
  }

  // fit(1), fit(2) and so on up to fit(count); false when one of them is.
  bool fitEachUpTo(uint32_t count) {
    // Room that never exceeds what rleReAllocRuns lets stand is made anew on each further call, so
    // that nothing is left of it but what the last call makes.
    const bool lastDecides =
        rleRunAllocMinExtra <= rleRunAllocMaxExtra && rleRunAllocMaxExtra <= UINT16_MAX;
    for (uint32_t n = lastDecides ? count : 1; n <= count; ++n)
      if (!fit(n)) return false;
    return true;
  }

  uint32_t capacity() const { return capacity_; }

  // Brings a buffer to the planned capacity. False, with the buffer as it was, when memory has run
  // out and there is no room for `count` runs in it; one that only fails to shrink is good enough.
  bool carryOut(RleRun*& runs, uint32_t count) const;

 private:
  uint32_t capacity_;
  bool exists_ = false;  // some call has made the buffer, or made it anew
};

}  // namespace rle
