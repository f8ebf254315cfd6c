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
  // What is left of a row's current run. A row that is used up offers a run beyond every column,
  // which no run of a real row can be taken for, not even one that ends at column 65535.
  struct Rest {
    const RleRun* next;
    const RleRun* last;
    uint32_t start = 0;
    uint32_t end = 0;

    explicit Rest(std::span<const RleRun> row) : next(row.data()), last(next + row.size()) {
      advance();
    }
    void advance() {
      constexpr uint32_t kBeyond = 65536;
      start = next == last ? kBeyond : next->start;
      end = next == last ? kBeyond : next->end;
      more = next != last;
      if (more) ++next;
    }
    bool more = false;
  };

  Rest a(older);
  Rest b(newer);
  while (a.more || b.more) {
    if (a.start < b.start) {
      if (a.end <= b.start) {
        closed(a.start, a.end);
        a.advance();
        continue;
      }
      closed(a.start, b.start);
    } else if (b.start < a.start) {
      if (b.end <= a.start) {
        opened(b.start, b.end);
        b.advance();
        continue;
      }
      opened(b.start, a.start);
    }
    // From here both are black up to the nearer end.
    if (a.end < b.end) {
      b.start = a.end;
      a.advance();
    } else if (b.end < a.end) {
      a.start = b.end;
      b.advance();
    } else {
      a.advance();
      b.advance();
    }
  }
}

}  // namespace rle
