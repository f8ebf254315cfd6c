// The capacity rule of run buffers, for the code that has to foresee it.

#pragma once

#include <cstdint>

#include "rle.h"

namespace rle {

// Spare slots that a buffer for `count` runs is given.
uint32_t extraSlots(uint32_t count);

// The number of slots of a run buffer: the word before its first slot.
inline uint32_t& capacityOf(RleRun* runs) { return *(reinterpret_cast<uint32_t*>(runs) - 1); }

}  // namespace rle
