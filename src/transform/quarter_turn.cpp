// Turns by whole quarters.
//
// A half turn mirrors every row and stacks the rows the other way up. A quarter turn transposes:
// two neighbouring rows are compared at a time, and a column in which they differ has a vertical
// stretch of black beginning or ending there. Such a stretch is a run of the turned image, and the
// stretches of a column arrive from top to bottom, the order in which its row wants them.
//
//     column  0 1 2 3
//     row 0   . # # .      column 1: rows [0, 2)        turned left    . # .    column 3
//     row 1   . # . #      column 2: row  [0, 1)                       # . .    column 2
//     row 2   . . . .      column 3: row  [1, 2)                       # # .    column 1
//                                                                      . . .    column 0
//
// Columns in which neighbouring rows agree cost nothing. A turn to the right is a turn to the left
// of the image seen with its rows from the bottom up and its columns from right to left.

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>

#include "model/owners.h"
#include "rle.h"
#include "transform/row_difference.h"
#include "transform/run_lists.h"

namespace rle {
namespace {

std::span<const RleRun> runsOf(const RleLine& row) { return {row.runs, row.count}; }

// Gathers the vertical runs of the columns of `rect`, rows counted from the top or, when
// `fromBelow`, from the bottom. False when memory runs out.
bool gatherColumns(const RleRect& rect, bool fromBelow, RunLists& columns) {
  const uint32_t width = rect.width;
  const uint32_t height = rect.height;
  const HeapArray<uint16_t> begins = zeroedArray<uint16_t>(width);  // of the stretch in a column
  if (!columns.ready() || !begins) return false;
  std::span<const RleRun> previous;
  for (uint32_t y = 0; y <= height; ++y) {
    std::span<const RleRun> row;
    if (y < height) row = runsOf(*rect.rows[fromBelow ? height - 1 - y : y]);
    // Runs of a damaged row may reach beyond the width.
    forEachDifference(
        previous, row,
        [&](uint32_t start, uint32_t end) {
          for (uint32_t x = start; x < std::min(end, width); ++x) begins[x] = uint16_t(y);
        },
        [&](uint32_t start, uint32_t end) {
          for (uint32_t x = start; x < std::min(end, width); ++x)
            columns.append(x, begins[x], int32_t(y));
        });
    previous = row;
  }
  return columns.complete();
}

RleRect* quarterTurn(const RleRect& rect, bool toTheRight) {
  if (rect.height < 2) return nullptr;
  RunLists columns(rect.width);
  if (!gatherColumns(rect, toTheRight, columns)) return nullptr;
  OwnedRect turned(rleNewRect(rect.height, rect.width, rect.resolution));
  if (!turned) return nullptr;
  turned->tag = rect.tag;
  turned->resolution = rect.resolution;  // 0 stays 0
  for (uint32_t x = 0; x < rect.width; ++x) {
    RleLine& row = *turned->rows[toTheRight ? x : rect.width - 1U - x];
    const uint32_t count = columns.count(x);
    row.runs = rleAllocRuns(count);
    if (row.runs == nullptr) return nullptr;
    row.count = uint16_t(count);
    columns.copyTo(x, row.runs);
  }
  return turned.release();
}

RleRect* halfTurn(const RleRect& rect) {
  OwnedRect turned(rleNewRect(rect.width, rect.height, rect.resolution));
  if (!turned) return nullptr;
  for (uint32_t y = 0; y < rect.height; ++y) {
    const RleLine& source = *rect.rows[y];
    RleLine& row = *turned->rows[rect.height - 1U - y];
    row.runs = rleAllocRuns(source.count);
    if (row.runs == nullptr) return nullptr;
    row.tag = source.tag;
    row.count = source.count;
    const RleRun* const end = source.runs + source.count;
    std::transform(std::reverse_iterator(end), std::reverse_iterator(end - source.count), row.runs,
                   [width = rect.width](RleRun run) {
                     return RleRun{uint16_t(width - run.end), uint16_t(width - run.start)};
                   });
  }
  return turned.release();
}

}  // namespace
}  // namespace rle

extern "C" RleRect* rleQRotateRect(RleRect* rect, uint32_t turns) {
  switch (turns) {
    case 0:
      return rleDupRect(rect);
    case 1:
      return rle::quarterTurn(*rect, false);
    case 2:
      return rle::halfTurn(*rect);
    case 3:
      return rle::quarterTurn(*rect, true);
    default:
      return nullptr;
  }
}
