// Runs that arrive in order, written down as a valid row: empty ones are dropped, and those that
// touch or overlap become one.

#pragma once

#include <algorithm>
#include <cstdint>

#include "rle.h"

namespace rle {

// Which runs vanish or meet follows no pattern, so there is no branch for it: a run is written when
// the next one leaves a gap, and one that must not stay is written over.
class JoiningWriter {
 public:
  // `out` has room for as many runs as will be added, and for one at least.
  explicit JoiningWriter(RleRun* out) : out_(out) {}

  // Adds columns [start, end) of 16 bits; nothing when end <= start.
  void add(int32_t start, int32_t end) {
    const bool gap = start > end_;
    write(gap);
    start_ = gap ? start : start_;
    end_ = std::max(end_, end);
  }

  // To be called once, after the last run. Returns the number of runs written.
  uint32_t finish() {
    write(true);
    return count_;
  }

 private:
  void write(bool gap) {
    out_[count_] = {uint16_t(start_), uint16_t(end_)};
    count_ += uint32_t(gap) & uint32_t(start_ < end_);
  }

  RleRun* out_;
  uint32_t count_ = 0;
  int32_t start_ = 0;  // the run that may still grow
  int32_t end_ = -1;
};

}  // namespace rle
