// Where two rows differ.
//
//     rows     ..####....##      old        opened        .........##.
//              ...######.#.      new   =>   closed        ..#........#   and nothing where they
//              agree
//
// Seen down a column, a difference is where a vertical stretch of black begins or ends. Turning an
// image is done with nothing else: its cost follows the outline of the black, not its area.

#pragma once

#include <cstdint>
#include <span>

#include "rle.h"

namespace rle {

// Calls opened(start, end) for every stretch [start, end) that is black in `newer` only, and
// closed(start, end) for every one that is black in `older` only, from left to right.
template <class Opened, class Closed>
void forEachDifference(std::span<const RleRun> older, std::span<const RleRun> newer, Opened opened,
                       Closed closed) {
  // A row that is used up offers a run beyond every column, which no run of a real row can be taken
  // for, not even one that ends at column 65535.
  constexpr uint32_t kBeyond = 65536;
  const RleRun* a = older.data();
  const RleRun* b = newer.data();
  const RleRun* const aLast = a + older.size();
  const RleRun* const bLast = b + newer.size();
  uint32_t aStart, aEnd, bStart, bEnd;  // what is left of the current runs
  const auto loadA = [&] {
    aStart = a != aLast ? a->start : kBeyond;
    aEnd = a != aLast ? a->end : kBeyond;
  };
  const auto loadB = [&] {
    bStart = b != bLast ? b->start : kBeyond;
    bEnd = b != bLast ? b->end : kBeyond;
  };
  loadA();
  loadB();
  for (;;) {
    if (aStart < bStart) {
      if (aEnd <= bStart) {
        closed(aStart, aEnd);
        ++a;
        loadA();
        continue;
      }
      closed(aStart, bStart);
    } else if (bStart < aStart) {
      if (bEnd <= aStart) {
        opened(bStart, bEnd);
        ++b;
        loadB();
        continue;
      }
      opened(bStart, aStart);
    } else if (aStart == kBeyond) {
      return;
    }
    // From here both are black up to the nearer end.
    if (aEnd < bEnd) {
      bStart = aEnd;
      ++a;
      loadA();
    } else if (bEnd < aEnd) {
      aStart = bEnd;
      ++b;
      loadB();
    } else {
      ++a;
      ++b;
      loadA();
      loadB();
    }
  }
}

}  // namespace rle
