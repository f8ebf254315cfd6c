// The digital line that every source row of a rotation is drawn along.
//
// All lines of a rotation are one line, shifted: its points are walked once and kept as steps, the
// columns that it covers at each height.
//
//     height  2              # # #      step 2: columns 6 to 8
//             1        # # #            step 1: columns 3 to 5
//             0  # # #                  step 0: columns 0 to 2
//
// On a steep line a step is one column wide and neighbouring steps may share it.

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "model/heap_array.h"

namespace rle {

class LineSteps {
 public:
  struct Step {
    int32_t first;  // columns, both inclusive
    int32_t last;
  };

  // The line from column x0 that goes dx columns to the right and dy heights up.
  LineSteps(int32_t x0, int32_t dx, int32_t dy)
      : count_(uint32_t(std::abs(dy)) + 1), steps_(zeroedArray<Step>(count_)) {
    if (steps_) walk(x0, dx, dy);
  }

  bool ready() const { return steps_ != nullptr; }
  int32_t count() const { return int32_t(count_); }

  // Counts the steps from the other end from now on.
  void reverse() { std::reverse(steps_.get(), steps_.get() + count_); }

  // The step at `height` away from the line's start.
  const Step& operator[](int32_t height) const { return steps_[uint32_t(height)]; }

 private:
  void walk(int32_t x0, int32_t dx, int32_t dy) {
    const bool alongX = std::abs(dx) >= std::abs(dy);
    const int32_t major = std::max(std::abs(dx), std::abs(dy));
    const int32_t minor = std::min(std::abs(dx), std::abs(dy));
    const int32_t xSign = dx < 0 ? -1 : 1;
    int32_t error = 2 * minor - major;
    int32_t x = x0;
    uint32_t height = 0;
    steps_[0] = {x, x};
    for (int32_t i = 0; i < major; ++i) {
      const bool diagonal = error >= 0;
      if (diagonal || alongX) x += xSign;
      if (diagonal || !alongX) steps_[++height] = {x, x};
      steps_[height].first = std::min(steps_[height].first, x);
      steps_[height].last = std::max(steps_[height].last, x);
      error += diagonal ? 2 * (minor - major) : 2 * minor;
    }
  }

  uint32_t count_;
  HeapArray<Step> steps_;
};

}  // namespace rle
