// Run buffers.
//
//     | capacity | run 0 | run 1 | ... | run capacity - 1 |
//                ^ what every holder keeps
//
// One 32-bit capacity word stands before the first run, so that a row needs no field for it. Spare
// slots are proportional to the size, within bounds; they make a growing row cheap without making
// a page of short rows expensive.

#include "model/runs.h"

#include <cstdlib>

uint32_t rleRunAllocFactor = 6553;  // 0.2 in units of 1/32768
uint32_t rleRunAllocMinExtra = 4;
uint32_t rleRunAllocMaxExtra = 40;

namespace rle {
namespace {

size_t blockBytes(uint32_t capacity) {
  return sizeof(uint32_t) + size_t{capacity} * sizeof(RleRun);
}

RleRun* firstRun(void* block, uint32_t capacity) {
  if (block == nullptr) return nullptr;
  auto* const word = static_cast<uint32_t*>(block);
  *word = capacity;
  return reinterpret_cast<RleRun*>(word + 1);
}

// Slots for `count` runs with their spare room, or 0 when the number does not fit its word.
uint32_t roomFor(uint32_t count) {
  const uint32_t capacity = count + extraSlots(count);
  return capacity < count ? 0 : capacity;
}

}  // namespace

RleRun* resizeRuns(RleRun* runs, uint32_t capacity) {
  if (runs == nullptr) return firstRun(std::calloc(1, blockBytes(capacity)), capacity);
  return firstRun(std::realloc(&capacityOf(runs), blockBytes(capacity)), capacity);
}

void CapacityPlan::fitRising(uint32_t from, uint32_t to) {
  // Once the buffer is refitted, it is refitted for every greater count, so the last one decides;
  // unless the bounds cross and refitted buffers have more to spare than makes them stay.
  if (rleRunAllocMinExtra <= rleRunAllocMaxExtra) from = std::max(from, to);
  for (; from <= to; ++from) fit(from);
}

bool CapacityPlan::carryOut(RleRun*& runs, uint32_t count) const {
  const int64_t capacity = keptBelow_ + rleRunAllocMaxExtra;
  if (runs == nullptr ? !fitted_ : capacityOf(runs) == capacity) return true;
  RleRun* const resized = capacity > UINT32_MAX ? nullptr : resizeRuns(runs, uint32_t(capacity));
  if (resized == nullptr) return runs != nullptr && capacityOf(runs) >= count;
  runs = resized;
  return true;
}

}  // namespace rle

extern "C" RleRun* rleAllocRuns(uint32_t count) {
  const uint32_t capacity = rle::roomFor(count == 0 ? 1 : count);
  return capacity == 0 ? nullptr : rle::resizeRuns(nullptr, capacity);
}

extern "C" RleRun* rleReAllocRuns(RleRun* runs, uint32_t count) {
  if (runs == nullptr) return rleAllocRuns(count);
  const uint32_t held = rle::capacityOf(runs);
  if (held >= count && held - count > rleRunAllocMaxExtra) return runs;
  const uint32_t capacity = rle::roomFor(count);
  return capacity < count ? nullptr : rle::resizeRuns(runs, capacity);
}

extern "C" void rleFreeRuns(RleRun* runs) { std::free(&rle::capacityOf(runs)); }
