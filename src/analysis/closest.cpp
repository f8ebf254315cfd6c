// The black pixel nearest to a point.
//
// The answer is the nearest pixel of the search area and, among equally near ones, the first from
// top to bottom and from left to right. In a row only two pixels can be it, the nearest black one
// to the left of the point's column and the nearest one at or to the right of it. Rows are taken
// from the point's own outwards and the search ends at the first that lies too far away for any of
// its pixels:
//
//     d   0 1 2 ...      rows y - d and y + d hold nothing nearer than d; a pixel of row y - d that
//                        is as near as the best so far comes before it, one of row y + d after it

#include <algorithm>
#include <cstdint>

#include "rle.h"

namespace {

constexpr int32_t kNone = -1;

int64_t square(int64_t n) { return n * n; }

// The column of the black pixel nearest to x, the left one of two, or kNone. Runs that end before
// x - radius or start after x + radius do not count.
int32_t nearestInRow(const RleLine& row, int32_t x, int32_t radius) {
  const RleRun* const end = row.runs + row.count;
  const RleRun* const next =
      std::partition_point<const RleRun*>(row.runs, end, [x](RleRun run) { return run.end <= x; });
  int32_t column = kNone;
  if (next != row.runs && next[-1].end >= x - radius) column = next[-1].end - 1;
  if (next != end && next->start <= x + radius) {
    const int32_t right = std::max<int32_t>(next->start, x);
    if (column == kNone || right - x < x - column) column = right;
  }
  return column;
}

struct Search {
  const RleRect& image;
  int32_t x;
  int32_t y;
  int32_t radius;
  int64_t distance = INT64_MAX;  // squared, of the best pixel so far
  int32_t column = kNone;
  int32_t row = kNone;

  void lookAtRow(int32_t i) {
    const int32_t nearest = nearestInRow(*image.rows[i], x, radius);
    if (nearest == kNone) return;
    const int64_t d = square(nearest - x) + square(i - y);  // at most 2 * 65535^2
    if (d > distance || (d == distance && i > row)) return;
    distance = d;
    column = nearest;
    row = i;
  }
};

}  // namespace

extern "C" int32_t rleClosest(RleRect* image, int32_t x, int32_t y, int32_t r, uint16_t* foundX,
                              uint16_t* foundY) {
  Search search{*image, uint16_t(x), uint16_t(y), uint16_t(r)};
  const int32_t top = std::max(0, search.y - search.radius);
  const int32_t bottom = std::min<int32_t>(search.y + search.radius, image->height);  // exclusive
  const int32_t nearestRow = std::max(0, search.y - (bottom - 1));  // further when y lies below
  const int32_t furthestRow = std::max(search.y - top, bottom - 1 - search.y);
  for (int32_t d = nearestRow; d <= furthestRow && square(d) <= search.distance; ++d) {
    if (search.y - d >= top) search.lookAtRow(search.y - d);
    if (d > 0 && search.y + d < bottom) search.lookAtRow(search.y + d);
  }
  if (search.column == kNone) return 0;
  if (foundX != nullptr) *foundX = uint16_t(search.column);
  if (foundY != nullptr) *foundY = uint16_t(search.row);
  return 1;
}
