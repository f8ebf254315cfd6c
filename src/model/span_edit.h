// The rule of span edits, and edits of one span.
//
// An edit with the span [start, end) looks from the left for the first run that ends at `start` or
// later. From there on it puts at most two runs in the place of those it meets; the rest of the row
// stays as it is. Runs that the span touches count as met, so that no two runs ever stand side by
// side:
//
//     row      ..####..##....###      row      ..########..
//     set          ######             clear        ###
//     result   ..########....###      result   ..##...###..

#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "rle.h"

namespace rle {

// A run made in one piece: one that is stored by halves holds up a load of the whole right after.
inline RleRun runOf(uint32_t start, uint32_t end) {
  constexpr bool kLittle = std::endian::native == std::endian::little;
  return std::bit_cast<RleRun>(kLittle ? start | end << 16 : start << 16 | end);
}

// What an edit does to the runs from the first one that ends at the span's start or later.
struct Change {
  uint32_t taken = 0;  // so many of them go
  uint32_t given = 0;  // and these take their place
  RleRun put[2] = {};
  bool fit = false;  // the buffer is then fitted to the new run count
};

inline Change setChange(const RleRun* first, const RleRun* stop, uint16_t start, uint16_t end) {
  if (first == stop || first->start > end) return {0, 1, {runOf(start, end), {}}, true};
  const RleRun* next = first + 1;
  while (next != stop && next->end < end) ++next;
  uint16_t joinedEnd = std::max(first->end, end);
  if (next != stop && next->start <= end) joinedEnd = (next++)->end;
  return {uint32_t(next - first), 1, {runOf(std::min(first->start, start), joinedEnd), {}}, true};
}

// Clearing fits the buffer when it splits or deletes a run, or when it meets the row's last one;
// not when it merely shortens runs.
inline Change clearChange(const RleRun* first, const RleRun* stop, uint16_t start, uint16_t end) {
  if (first == stop || first->start > end) return {};
  Change change;
  const RleRun* next = first;
  if (first->start < start) {
    const RleRun left = {first->start, start};
    if (first->end > end) return {1, 2, {left, {end, first->end}}, true};
    change.put[change.given++] = left;
    ++next;
  }
  const RleRun* const inside = next;
  while (next != stop && next->end <= end) ++next;
  change.fit = next != inside || next == stop;
  if (next != stop && next->start < end) change.put[change.given++] = {end, (next++)->end};
  change.taken = uint32_t(next - first);
  return change;
}

// The end of a span whose last pixel is x2. Columns are 16 bits, and so is the sum.
inline uint16_t endOf(int32_t x2) { return uint16_t(uint32_t(x2) + 1); }

// Make columns [start, end) of a row black or white. An empty or reversed span changes nothing.
void setSpan(RleLine& row, uint16_t start, uint16_t end);
void clearSpan(RleLine& row, uint16_t start, uint16_t end);

// rleMergeLineRun for the white gaps of `src`: sets or clears in `dst` what is white in columns sx1
// to sx2 of `src`. With set 0 that is dst AND src, otherwise dst OR NOT src.
void rleMaskLineRun(RleLine* dst, RleLine* src, int32_t dx, int32_t sx1, int32_t sx2, int32_t set);

}  // namespace rle
