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

constexpr uint32_t kFactorBits = 15;

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

uint32_t extraSlots(uint32_t count) {
  const uint32_t extra = (count * rleRunAllocFactor) >> kFactorBits;
  // The lower bound goes first: with bounds that cross, small buffers still get the minimum.
  if (extra < rleRunAllocMinExtra) return rleRunAllocMinExtra;
  return extra > rleRunAllocMaxExtra ? rleRunAllocMaxExtra : extra;
}

}  // namespace rle

extern "C" RleRun* rleAllocRuns(uint32_t count) {
  const uint32_t n = count == 0 ? 1 : count;
  const uint32_t capacity = rle::roomFor(n);
  if (capacity == 0) return nullptr;
  return rle::firstRun(std::calloc(1, rle::blockBytes(capacity)), capacity);
}

extern "C" RleRun* rleReAllocRuns(RleRun* runs, uint32_t count) {
  if (runs == nullptr) return rleAllocRuns(count);
  const uint32_t held = rle::capacityOf(runs);
  if (held >= count && held - count > rleRunAllocMaxExtra) return runs;
  const uint32_t capacity = rle::roomFor(count);
  if (capacity < count) return nullptr;
  return rle::firstRun(std::realloc(&rle::capacityOf(runs), rle::blockBytes(capacity)), capacity);
}

extern "C" void rleFreeRuns(RleRun* runs) { std::free(&rle::capacityOf(runs)); }
