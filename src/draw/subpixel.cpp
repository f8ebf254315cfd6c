// Filling convex polygons with vertices between the pixels.
//
// Two sides go down from the topmost vertex, one by increasing and one by decreasing vertex index,
// and the row between them is filled. Rows and columns are sampled at whole coordinates:
//
//     a row   --|-----/-------\---|--     the pixels from the ceiling of the left side's x
//                     *******             to, but not including, the ceiling of the right side's
//
// Each side's x is stepped from row to row by adding its slope, roundings included, and a side
// moves on to its next edge within a tolerance of its vertex. Rows outside the image are not
// visited: those above are stepped over at once, with the same roundings, and those below end the
// walk.

#include "draw/subpixel.h"

#include <climits>
#include <cmath>
#include <cstdlib>

#include "draw/rounding.h"
#include "model/thread_end.h"
#include "rle.h"

namespace rle {
namespace {

constexpr double kTolerance = 1e-06;
constexpr double kMostRows = 65535;  // as many as an image has, so as many as can be painted

// A working array that keeps its size until it is released. The capacity counts what was asked
// for, also when there was no memory: the array is then null, and stays so until more is wanted.
template <class T>
struct SppArray {
  T* items = nullptr;
  int32_t capacity = 0;

  void grow(int32_t count) {
    if (count <= capacity) return;
    std::free(items);
    items = static_cast<T*>(std::malloc(size_t(count) * sizeof(T)));
    capacity = count;
  }

  void release() {
    std::free(items);
    items = nullptr;
    capacity = 0;
  }
};

// What stays from fill to fill within a bracket, and no longer than the thread.
struct SppScratch {
  SppArray<int32_t> visits;   // per vertex
  SppArray<RlePoint> points;  // of spans, per row
  SppArray<int32_t> widths;
  int32_t nesting = 0;  // open brackets

  // Closes all brackets.
  void release() {
    nesting = 0;
    visits.release();
    points.release();
    widths.release();
  }
};

constinit thread_local SppScratch scratch;
const ThreadEnd scratchEnd([](void* held) { static_cast<SppScratch*>(held)->release(); });

// Rows [first, end). Doubles, since vertices may lie anywhere.
struct Rows {
  double first;
  double end;
};

// One of the two sides on its way down.
struct Side {
  int32_t vertex;  // the one it is heading for
  double targetY;
  double x = 0;
  double slope = 0;  // columns per row
};

class SppWalk {
 public:
  SppWalk(const RleDPoint* vertices, int32_t count, int32_t top, int32_t* visits)
      : vertices_(vertices),
        count_(count),
        visits_(visits),
        right_{top, vertices[top].y},
        left_{top, vertices[top].y},
        y_(std::ceil(vertices[top].y)) {
    std::fill_n(visits, count, 0);
    visits[top] = -1;  // both sides leave it
  }

  // Calls emit(x1, x2) for the two sides' x on each row of `seen`, from the top. The polygon lies
  // above `last` + 1.
  template <class Emit>
  void run(double last, const Rows& seen, Emit emit) {
    for (;;) {
      if ((y_ > right_.targetY || isNear(right_)) && visits_[right_.vertex] != 1)
        advance(right_, right_.vertex + 1 == count_ ? 0 : right_.vertex + 1);
      // Strictly below its target the left side moves on however often it was there.
      if (y_ > left_.targetY || (isNear(left_) && visits_[left_.vertex] != 1))
        advance(left_, left_.vertex == 0 ? count_ - 1 : left_.vertex - 1);
      const double end = right_.targetY < left_.targetY ? right_.targetY : left_.targetY;
      if (end - y_ >= kTolerance) {
        const double rows = std::trunc(end - y_);
        emitRows(rows < 1 ? 1 : rows, seen, emit);
      } else if (visits_[right_.vertex] != 0 && visits_[left_.vertex] != 0) {
        return;
      }
      if (y_ > last || y_ >= seen.end) return;
    }
  }

 private:
  bool isNear(const Side& side) const { return std::fabs(y_ - side.targetY) <= kTolerance; }

  void advance(Side& side, int32_t next) {
    ++visits_[side.vertex];
    const RleDPoint from = vertices_[side.vertex];
    const RleDPoint to = vertices_[next];
    side.vertex = next;
    side.targetY = to.y;
    const double dy = to.y - from.y;
    if (dy == 0) return;
    side.slope = (to.x - from.x) / dy;
    side.x = from.x + std::max(y_ - from.y, 0.0) * side.slope;
  }

  template <class Emit>
  void emitRows(double rows, const Rows& seen, Emit& emit) {
    if (y_ < seen.first) {
      const double above = std::min(rows, seen.first - y_);
      const auto times = int64_t(std::min(above, 0x1p62));
      right_.x = addRepeatedly(right_.x, right_.slope, times);
      left_.x = addRepeatedly(left_.x, left_.slope, times);
      y_ = above < seen.first - y_ ? y_ + above : seen.first;
      rows -= above;
    }
    for (const double end = std::min(y_ + rows, seen.end); y_ < end; y_ += 1) {
      emit(right_.x, left_.x);
      right_.x += right_.slope;
      left_.x += left_.slope;
    }
  }

  const RleDPoint* vertices_;
  int32_t count_;
  int32_t* visits_;  // how often a side has left each vertex
  Side right_;
  Side left_;
  double y_;
};

bool isFinite(const RleDPoint& point) { return std::isfinite(point.x) && std::isfinite(point.y); }

}  // namespace

SppSpans sppSpans(const RleRect& image, std::span<const RleDPoint> polygon, int32_t xOffset,
                  int32_t yOffset) {
  if (polygon.empty()) return {};
  const RleDPoint* const vertices = polygon.data();
  const auto count = int32_t(polygon.size());
  int32_t top = 0;
  double lowest = vertices[0].y;
  for (int32_t i = 0; i < count; ++i) {
    if (!isFinite(vertices[i])) return {};
    if (vertices[i].y < vertices[top].y) top = i;
    if (vertices[i].y > lowest) lowest = vertices[i].y;
  }
  const double first = std::ceil(vertices[top].y);
  const double last = std::ceil(lowest) - 1;
  const double rows = last - first + 1;
  SppScratch& held = scratch;
  held.points.grow(int32_t(std::min(rows, kMostRows)));
  held.widths.grow(int32_t(std::min(rows, kMostRows)));
  held.visits.grow(count);
  if (held.points.items == nullptr || held.widths.items == nullptr || held.visits.items == nullptr)
    return {};
  if (count < 3 || rows < 1) return {};

  const double imageTop = -double(yOffset);
  const Rows seen = {std::max(first, imageTop), std::min(last + 1, imageTop + image.height)};
  if (seen.first >= seen.end) return {};
  // Columns 0 to the image's width, as the walk sees them.
  const double left = -double(xOffset);
  const double right = left + image.width;
  const auto column = [&](double x) {
    return int32_t(roundedUp(std::min(std::max(left, x), right)) + xOffset);
  };
  auto row = int32_t(seen.first + yOffset);
  int32_t spans = 0;
  SppWalk walk(vertices, count, top, held.visits.items);
  walk.run(last, seen, [&](double x1, double x2) {
    const int32_t start = column(std::min(x1, x2));
    const int32_t end = column(std::max(x1, x2));
    held.points.items[uint32_t(spans)] = {start, row++};
    held.widths.items[uint32_t(spans)] = end - start;
    spans += start < end;
  });
  return {spans, held.points.items, held.widths.items};
}

// While x stays within a power of two, all sums are rounded to multiples of the same unit, and to
// even ones when they fall in the middle. So from the third sum on each addition moves x by the
// same amount, exactly, and many of them are one multiplication:
//
//     2^e                                            2^(e+1)
//      |--x--x--x--x--x- ... many at once ... -x--x--x--|   a few by hand at either end
double addRepeatedly(double x, double step, int64_t times) {
  constexpr int kByHand = 3;
  while (times > 0) {
    double before = x;
    int exponents[kByHand] = {};
    for (int i = 0; i < kByHand && times > 0; ++i, --times) {
      before = x;
      x += step;
      exponents[i] = x == 0 ? INT_MIN : std::ilogb(x);
    }
    const double moved = x - before;
    if (times == 0 || moved == 0 || !std::isfinite(x)) return x;
    if (exponents[0] != exponents[1] || exponents[1] != exponents[2] || exponents[2] == INT_MIN)
      continue;
    const double base = std::ldexp(1, exponents[2]);
    const bool outwards = (moved > 0) == (x > 0);
    const double room = (outwards ? 2 * base - std::fabs(x) : std::fabs(x) - base) -
                        4 * std::max(std::fabs(step), std::fabs(moved));
    if (room <= 0) continue;
    const double most = std::floor(room / std::fabs(moved));
    const auto jump = int64_t(std::min(most, double(times)));
    x += double(jump) * moved;
    times -= jump;
  }
  return x;
}

}  // namespace rle

extern "C" {

void rleBeginSppPoly(void) {
  rle::SppScratch& held = rle::scratch;
  if (held.nesting == 0) rle::scratchEnd.expect(&held);
  if (held.nesting < INT32_MAX) ++held.nesting;
}

void rleEndSppPoly(void) {
  rle::SppScratch& held = rle::scratch;
  if (--held.nesting < 1) held.release();
}

void rleFillSppPoly(RleRect* image, int32_t count, RleDPoint* points, int32_t xOffset,
                    int32_t yOffset, int32_t colour, RleRect* pattern, int32_t mode) {
  rleBeginSppPoly();
  if (count > 0) {
    const rle::SppSpans spans = rle::sppSpans(*image, {points, size_t(count)}, xOffset, yOffset);
    rleFillSpans(image, spans.count, spans.points, spans.widths, colour, pattern, mode);
  }
  rleEndSppPoly();
}

}  // extern "C"
