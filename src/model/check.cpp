// Validity of rows and images.

#include <cstdint>

#include "rle.h"

namespace {

constexpr int32_t kValid = 1;
constexpr int32_t kNullRow = -1;
constexpr int32_t kBadWidth = -2;
constexpr int32_t kNullRuns = -3;
constexpr int32_t kEmptyRun = -5;
constexpr int32_t kStartsBeyondWidth = -6;
constexpr int32_t kEndsBeyondWidth = -7;
constexpr int32_t kRepeatedRun = -8;
constexpr int32_t kNotAfterPrevious = -9;

}  // namespace

extern "C" int32_t rleCheckLine(RleLine* line, int32_t width) {
  if (line == nullptr) return kNullRow;
  if (width < 1 || width > 65535) return kBadWidth;
  if (line->runs == nullptr && line->count != 0) return kNullRuns;
  for (uint32_t i = 0; i < line->count; ++i) {
    const RleRun run = line->runs[i];
    if (run.end <= run.start) return kEmptyRun;
    if (run.start >= width) return kStartsBeyondWidth;
    if (run.end > width) return kEndsBeyondWidth;
    if (i == 0) continue;
    const RleRun previous = line->runs[i - 1];
    if (run.start == previous.start && run.end == previous.end) return kRepeatedRun;
    if (run.start <= previous.end) return kNotAfterPrevious;
  }
  return kValid;
}

extern "C" int32_t rleCheckRect(RleRect* rect) {
  for (uint32_t y = 0; y < rect->height; ++y) {
    const int32_t code = rleCheckLine(rect->rows[y], rect->width);
    if (code != kValid && code != kNullRow) return code;  // a null row is a blank one
  }
  return kValid;
}
