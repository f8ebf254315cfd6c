// The span edit that is not part of the public interface.

#pragma once

#include "rle.h"

namespace rle {

// rleMergeLineRun for the white gaps of `src`: sets or clears in `dst` what is white in columns sx1
// to sx2 of `src`. With set 0 that is dst AND src, otherwise dst OR NOT src.
void rleMaskLineRun(RleLine* dst, RleLine* src, int32_t dx, int32_t sx1, int32_t sx2, int32_t set);

}  // namespace rle
