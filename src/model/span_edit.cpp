// Edits of a row, one span or one stretch of another row at a time.
//
// After every change of the run count the row's buffer is fitted with rleReAllocRuns. A buffer that
// has to grow is grown before anything changes; one that fails to shrink is kept as it is.

#include "model/span_edit.h"

#include <cstring>

#include "model/row_merge.h"
#include "model/runs.h"

namespace rle {
namespace {

constexpr uint32_t kMaxRuns = 65535;  // what RleLine::count can hold

// Fits the row's buffer to `count` runs. False when it has no room for them.
bool fit(RleLine& row, uint32_t count) {
  RleRun* const runs = rleReAllocRuns(row.runs, count);
  if (runs == nullptr) return row.runs != nullptr && capacityOf(row.runs) >= count;
  row.runs = runs;
  return true;
}

uint32_t firstRunEndingFrom(const RleLine& row, uint16_t column) {
  uint32_t i = 0;
  while (i < row.count && row.runs[i].end < column) ++i;
  return i;
}

void apply(RleLine& row, uint32_t at, const Change& change) {
  const uint32_t count = row.count + change.given - change.taken;
  if (count > row.count && (count > kMaxRuns || !fit(row, count))) return;
  RleRun* const place = row.runs + at;
  if (change.given != change.taken)
    std::memmove(place + change.given, place + change.taken,
                 (row.count - at - change.taken) * sizeof(RleRun));
  std::copy_n(change.put, change.given, place);
  const bool refit = change.fit && count <= row.count;
  row.count = uint16_t(count);
  if (refit) fit(row, count);
}

}  // namespace

void setSpan(RleLine& row, uint16_t start, uint16_t end) {
  if (start >= end) return;
  const uint32_t at = firstRunEndingFrom(row, start);
  apply(row, at, setChange(row.runs + at, row.runs + row.count, start, end));
}

void clearSpan(RleLine& row, uint16_t start, uint16_t end) {
  if (start >= end) return;
  const uint32_t at = firstRunEndingFrom(row, start);
  apply(row, at, clearChange(row.runs + at, row.runs + row.count, start, end));
}

void rleMaskLineRun(RleLine* dst, RleLine* src, int32_t dx, int32_t sx1, int32_t sx2, int32_t set) {
  RunScratch scratch;
  maskRow(*dst, *src, {uint16_t(sx1), endOf(sx2), uint16_t(dx)}, set != 0, scratch);
}

}  // namespace rle

extern "C" {

void rleSetLine(RleLine* line, int32_t x1, int32_t x2) {
  rle::setSpan(*line, uint16_t(x1), rle::endOf(x2));
}

void rleClearLine(RleLine* line, int32_t x1, int32_t x2) {
  rle::clearSpan(*line, uint16_t(x1), rle::endOf(x2));
}

void rleSetRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
  for (uint32_t y = uint16_t(y1); y <= uint16_t(y2); ++y) rleSetLine(rect->rows[y], x1, x2);
}

void rleClearRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
  for (uint32_t y = uint16_t(y1); y <= uint16_t(y2); ++y) rleClearLine(rect->rows[y], x1, x2);
}

void rleMergeLineRun(RleLine* dst, RleLine* src, int32_t dx, int32_t sx1, int32_t sx2,
                     int32_t set) {
  rle::RunScratch scratch;
  rle::mergeRow(*dst, *src, {uint16_t(sx1), rle::endOf(sx2), uint16_t(dx)}, set != 0, scratch);
}

}  // extern "C"
