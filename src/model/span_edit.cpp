// Span edits: the only code that changes the runs of a row in place.
//
// A span [x1, e) is applied in three steps: find the runs it meets, replace them by at most two
// runs, and move the rest of the row by one block move. Runs that the span touches count as met
// when setting, so that no two runs ever stand side by side:
//
//     row      ..####..##....###      row      ..########..
//     set          ######             clear        ###
//     result   ..########....###      result   ..##...###..
//
// After every change of the run count the buffer is fitted with rleReAllocRuns. A buffer that has
// to grow is grown before anything changes; one that fails to shrink is kept as it is.

#include "model/span_edit.h"

#include <algorithm>
#include <cstring>

#include "model/runs.h"

namespace rle {
namespace {

constexpr uint32_t kMaxRuns = 65535;  // what RleLine::count can hold

// Fits the row's buffer to `count` runs. False when it has no room for them.
bool fit(RleLine& line, uint32_t count) {
  RleRun* const runs = rleReAllocRuns(line.runs, count);
  if (runs == nullptr) return line.runs != nullptr && capacityOf(line.runs) >= count;
  line.runs = runs;
  return true;
}

// Opens an empty slot before run `at`. False, with the row unchanged, when there is no room.
bool insertSlot(RleLine& line, uint32_t at) {
  if (line.count == kMaxRuns || !fit(line, line.count + 1U)) return false;
  std::memmove(line.runs + at + 1, line.runs + at, (line.count - at) * sizeof(RleRun));
  ++line.count;
  return true;
}

// Closes the slots of runs [from, to). The buffer keeps its size.
void removeRuns(RleLine& line, uint32_t from, uint32_t to) {
  if (from == to) return;
  std::memmove(line.runs + from, line.runs + to, (line.count - to) * sizeof(RleRun));
  line.count = uint16_t(line.count - (to - from));
}

// The first run that ends at x or later, or the run count.
uint32_t firstRunEndingFrom(const RleLine& line, uint32_t x) {
  uint32_t i = 0;
  while (i < line.count && line.runs[i].end < x) ++i;
  return i;
}

// The end of a span whose last pixel is x2. Columns are 16 bits, and so is the sum.
uint16_t endOf(int32_t x2) { return uint16_t(uint32_t(x2) + 1); }

// Sets or clears columns [start, end), taken as 16 bits.
void edit(RleLine& line, uint32_t start, uint32_t end, int32_t set) {
  if (set != 0)
    rleSetLine(&line, int32_t(start), int32_t(end - 1));
  else
    rleClearLine(&line, int32_t(start), int32_t(end - 1));
}

}  // namespace

void rleMaskLineRun(RleLine* dst, RleLine* src, int32_t dx, int32_t sx1, int32_t sx2, int32_t set) {
  const uint32_t first = uint16_t(sx1);
  const uint32_t end = endOf(sx2);
  const uint32_t offset = uint16_t(dx) - first;
  uint32_t gap = uint16_t(dx);  // where the pending gap starts in dst
  uint32_t covered = 0;         // end of the last run met
  uint32_t i = 0;
  while (i < src->count && src->runs[i].end <= first) ++i;
  if (i < src->count && src->runs[i].start <= first) {
    covered = src->runs[i++].end;
    gap = offset + std::min(covered, end);
  }
  for (; i < src->count && src->runs[i].start < end; ++i) {
    edit(*dst, gap, offset + src->runs[i].start, set);
    covered = src->runs[i].end;
    gap = offset + std::min(covered, end);
  }
  if (covered < end) edit(*dst, gap, offset + end, set);
}

}  // namespace rle

extern "C" {

void rleSetLine(RleLine* line, int32_t x1, int32_t x2) {
  const auto start = uint16_t(x1);
  const uint16_t end = rle::endOf(x2);
  const uint32_t i = rle::firstRunEndingFrom(*line, start);
  if (i == line->count || line->runs[i].start > end) {
    if (rle::insertSlot(*line, i)) line->runs[i] = {start, end};
    return;
  }
  RleRun& run = line->runs[i];
  run.start = std::min(run.start, start);
  uint32_t next = i + 1;
  while (next < line->count && line->runs[next].end < end) ++next;
  if (next < line->count && line->runs[next].start <= end)
    run.end = line->runs[next++].end;
  else
    run.end = std::max(run.end, end);
  rle::removeRuns(*line, i + 1, next);
  rle::fit(*line, line->count);
}

void rleClearLine(RleLine* line, int32_t x1, int32_t x2) {
  const auto start = uint16_t(x1);
  const uint16_t end = rle::endOf(x2);
  uint32_t i = rle::firstRunEndingFrom(*line, start);
  if (i == line->count || line->runs[i].start > end) return;
  if (line->runs[i].start < start) {
    if (line->runs[i].end > end) {
      if (!rle::insertSlot(*line, i)) return;
      line->runs[i].end = start;
      line->runs[i + 1].start = end;
      return;
    }
    line->runs[i++].end = start;
  }
  uint32_t kept = i;
  while (kept < line->count && line->runs[kept].end <= end) ++kept;
  const bool refit = kept > i || kept == line->count;
  rle::removeRuns(*line, i, kept);
  if (i < line->count) line->runs[i].start = std::max(line->runs[i].start, end);
  if (refit) rle::fit(*line, line->count);
}

void rleSetRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
  for (uint32_t y = uint16_t(y1); y <= uint16_t(y2); ++y) rleSetLine(rect->rows[y], x1, x2);
}

void rleClearRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
  for (uint32_t y = uint16_t(y1); y <= uint16_t(y2); ++y) rleClearLine(rect->rows[y], x1, x2);
}

void rleMergeLineRun(RleLine* dst, RleLine* src, int32_t dx, int32_t sx1, int32_t sx2,
                     int32_t set) {
  const uint32_t first = uint16_t(sx1);
  const uint32_t end = rle::endOf(sx2);
  const uint32_t offset = uint16_t(dx) - first;
  uint32_t i = 0;
  while (i < src->count && src->runs[i].end <= first) ++i;
  for (; i < src->count && src->runs[i].start < end; ++i) {
    const uint32_t from = std::max<uint32_t>(src->runs[i].start, first);
    rle::edit(*dst, offset + from, offset + std::min<uint32_t>(src->runs[i].end, end), set);
  }
}

}  // extern "C"
