// Free rotation.
//
// Every source row is drawn into the result along a digital line at the angle of the rotation: the
// points of the line that lie within the row's runs become black. Lines are one pixel apart, so the
// result has no holes; each takes the source row that is nearest to it. Heights count upwards here:
// height y of the result is its row H' - 1 - y.
//
// In four of the eight octants rows become shallow lines, walked along x and stacked along y. There
// a run is cut at the steps of its line, and every piece goes to the row of its step:
//
//     line k + 1          # # #|                   Row by row the pieces arrive from left to right
//     when line k        # # #|# # #                    the lines are taken in the right order, and
//     those
//                  |# # #                          that touch are joined on arrival.
//
// In the other four rows become steep lines, walked along y and stacked along x. At one height all
// lines are at the same step, so a row of the result is the list of lines that are black there,
// shifted. It is gathered as a quarter turn is: neighbouring lines are compared, and only where
// they differ a run of the result begins or ends.
//
// So the work follows runs and the steps that black crosses, not pixels. The result is the one that
// plotting the lines point by point and setting each stretch of points with rleSetLine gives, run
// buffers included.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>

#include "model/owners.h"
#include "rle.h"
#include "transform/heap_array.h"
#include "transform/line_steps.h"
#include "transform/row_difference.h"
#include "transform/run_lists.h"
#include "transform/turn_angle.h"

namespace rle {
namespace {

// To the nearest integer, halves away from zero.
int32_t nearest(double v) { return int32_t(v + std::copysign(0.5, v)); }

// 1 to 8, each 45 degrees wide and including its upper bound.
int octantOf(double degrees) {
  int octant = 1;
  while (octant < 8 && degrees > 45 * octant) ++octant;
  return octant;
}

// Where a source of W x H pixels and the lines of its rows lie in the result. The four corners of
// the source are turned and moved by (offX, offY), so that the lowest and leftmost are at 0.
struct Geometry {
  TurnAngle angle;
  int octant;
  bool steep;      // lines run along y and are stacked along x
  bool ascending;  // the walked coordinate grows along a line
  double sourceHeight;
  double offX;
  double offY;
  int32_t width;  // of the result; an image keeps 16 bits of it
  int32_t height;
  int32_t x0;  // line 0 starts here ...
  int32_t y0;
  int32_t dx;  // ... and leads so far
  int32_t dy;
  int32_t lines;

  Geometry(const RleRect& source, const TurnAngle& turn);

 private:
  void placeLines();
};

Geometry::Geometry(const RleRect& source, const TurnAngle& turn)
    : angle(turn), octant(octantOf(turn.degrees)), sourceHeight(source.height) {
  steep = octant == 2 || octant == 3 || octant == 6 || octant == 7;
  ascending = octant <= 3 || octant == 8;
  double minX = 0;  // corner (0, 0) stays where it is
  double maxX = 0;
  double minY = 0;
  double maxY = 0;
  const double w = source.width;
  const double h = source.height;
  const double corners[][2] = {{w, 0}, {0, h}, {w, h}};
  for (const auto& [x, y] : corners) {
    const double turnedX = x * turn.c - y * turn.s;
    const double turnedY = x * turn.s + y * turn.c;
    minX = std::min(minX, turnedX);
    maxX = std::max(maxX, turnedX);
    minY = std::min(minY, turnedY);
    maxY = std::max(maxY, turnedY);
  }
  width = int32_t(std::ceil(maxX - minX));
  height = int32_t(std::ceil(maxY - minY));
  offX = -minX;
  offY = -minY;
  placeLines();
}

void Geometry::placeLines() {
  const double c = angle.c;
  const double s = angle.s;
  const double h = sourceHeight;
  // How much of the side along which lines are stacked the left edge of the source takes, and how
  // far the stack has to reach beyond it.
  const double edge = std::abs(h * (steep ? s : c));
  const double beyond = steep ? std::abs(h * (c * c) / s) : std::abs(h * (s * s) / c);
  lines = nearest(edge + beyond) + 1;
  const int32_t low = -nearest(beyond);
  const int32_t high = nearest((steep ? width : height) - edge);
  int32_t x1 = 0;
  int32_t y1 = 0;
  const auto fromTo = [&](int32_t fromX, int32_t fromY, int32_t toX, int32_t toY) {
    x0 = fromX;
    y0 = fromY;
    x1 = toX;
    y1 = toY;
  };
  switch (octant) {
    case 1:
      fromTo(0, low, width, high);
      break;
    case 2:
      fromTo(low, 0, high, height);
      break;
    case 3:
      fromTo(high, 0, low, height);
      break;
    case 4:
      fromTo(width, low, 0, high);
      break;
    case 5:
      fromTo(width, high, 0, low);
      break;
    case 6:
      fromTo(nearest(offX), height, low, 0);
      break;
    case 7:
      fromTo(low, height, high, 0);
      break;
    default:
      fromTo(0, nearest(offY), width, low);
      break;
  }
  dx = x1 - x0;
  dy = y1 - y0;
}

// The stretches of the lines that are black: for line k, the values of the walked coordinate that
// lie within the turned runs of its source row, clipped to [low, low + length) and counted from
// low.
class LineSpans {
 public:
  LineSpans(const Geometry& geometry, const RleRect& source, int32_t low, int32_t length)
      : geometry_(geometry), source_(source), low_(low), length_(length) {
    uint32_t mostRuns = 0;
    for (uint32_t y = 0; y < source.height; ++y)
      mostRuns = std::max<uint32_t>(mostRuns, source.rows[y]->count);
    for (auto& buffer : buffers_) buffer = zeroedArray<RleRun>(mostRuns);
  }

  bool ready() const { return buffers_[0] && buffers_[1]; }

  // Valid until the next call but one.
  std::span<const RleRun> of(int32_t line) {
    const int32_t row = sourceRow(line);
    if (row < 0 || row >= source_.height) return {};
    if (row != row_) {
      std::swap(buffers_[0], buffers_[1]);
      count_ = fill(row);
      row_ = row;
    }
    return {buffers_[0].get(), count_};
  }

 private:
  int32_t sourceRow(int32_t line) const {
    const Geometry& g = geometry_;
    const double x = g.x0 + (g.steep ? line : 0);
    const double y = g.y0 + (g.steep ? 0 : line);
    return nearest((x - g.offX) * g.angle.s + g.sourceHeight - (y - g.offY) * g.angle.c);
  }

  // Both ends of a run are limits that a line reaches, so a span covers one point more than their
  // difference. Rounding may bring spans together.
  uint32_t fill(int32_t row) {
    const Geometry& g = geometry_;
    const double h = g.sourceHeight - row;
    const double scale = g.steep ? g.angle.s : g.angle.c;
    const double shift = g.steep ? h * g.angle.c : -(h * g.angle.s);
    const double offset = g.steep ? g.offY : g.offX;
    const auto limit = [&](uint32_t x) { return nearest(x * scale + shift + offset) - low_; };
    const RleLine& source = *source_.rows[row];
    RleRun* const spans = buffers_[0].get();
    uint32_t count = 0;
    int32_t lastEnd = -1;
    const auto add = [&](int32_t first, int32_t last) {
      const int32_t start = std::max(first, 0);
      const int32_t end = std::min(last + 1, length_);
      if (start >= end) return;
      if (start > lastEnd) spans[count++].start = uint16_t(start);
      lastEnd = std::max(lastEnd, end);
      spans[count - 1].end = uint16_t(lastEnd);
    };
    if (g.ascending) {
      for (uint32_t i = 0; i < source.count; ++i)
        add(limit(source.runs[i].start), limit(source.runs[i].end));
    } else {
      for (uint32_t i = source.count; i-- > 0;)
        add(limit(source.runs[i].end), limit(source.runs[i].start));
    }
    return count;
  }

  const Geometry& geometry_;
  const RleRect& source_;
  int32_t low_;
  int32_t length_;
  HeapArray<RleRun> buffers_[2];  // of the line asked for last, and of the one before it
  uint32_t count_ = 0;
  int32_t row_ = -1;  // whose spans buffers_[0] holds
};

// Gathers the rows of a result whose lines are shallow.
bool gatherShallow(const Geometry& g, const RleRect& source, const RleRect& result,
                   RunLists& rows) {
  const LineSteps steps(g.x0, g.dx, g.dy);
  LineSpans lines(g, source, 0, result.width);
  // The step that a line is at when it first comes to a column. Steps count from the left here,
  // also for lines that are walked from the right.
  const HeapArray<int32_t> stepAt = zeroedArray<int32_t>(result.width);
  if (!rows.ready() || !steps.ready() || !lines.ready() || !stepAt) return false;
  const auto lastStep = int32_t(steps.count() - 1);
  const auto stepFromLeft = [&](int32_t i) -> const LineSteps::Step& {
    return steps[uint32_t(g.dx < 0 ? lastStep - i : i)];
  };
  for (int32_t i = 0, x = 0; i <= lastStep; ++i)
    for (; x <= std::min(stepFromLeft(i).last, result.width - 1); ++x) stepAt[uint32_t(x)] = i;

  const bool rising = (g.dx < 0) == (g.dy < 0);  // each step is one row above the one before
  const int32_t down = rising ? -1 : 1;
  for (int32_t n = 0; n < g.lines; ++n) {
    const int32_t k = rising ? g.lines - 1 - n : n;
    const std::span<const RleRun> spans = lines.of(k);
    if (spans.empty()) continue;
    const int32_t startRow = g.height - 1 - (g.y0 + k);
    const int32_t leftRow = g.dx < 0 ? startRow - g.dy : startRow;
    const int32_t toTop = rising ? leftRow - (result.height - 1) : -leftRow;
    const int32_t toBottom = rising ? leftRow : result.height - 1 - leftRow;
    const int32_t firstStep = std::max(toTop, 0);
    const int32_t stopStep = std::min(toBottom, lastStep) + 1;
    for (const RleRun span : spans)
      for (int32_t i = std::max(stepAt[span.start], firstStep); i < stopStep; ++i) {
        const LineSteps::Step& step = stepFromLeft(i);
        if (step.first >= span.end) break;
        rows.append(uint32_t(leftRow + down * i),
                    uint32_t(std::max<int32_t>(step.first, span.start)),
                    uint32_t(std::min<int32_t>(step.last + 1, span.end)));
      }
  }
  return true;
}

// Gathers the rows of a result whose lines are steep.
bool gatherSteep(const Geometry& g, const RleRect& source, const RleRect& result, RunLists& rows) {
  const int32_t low = g.height - result.height;  // heights below it are not in the result
  const LineSteps steps(g.x0, g.dx, g.dy);
  LineSpans lines(g, source, low, result.height);
  const HeapArray<int32_t> begins = zeroedArray<int32_t>(result.height);
  if (!rows.ready() || !steps.ready() || !lines.ready() || !begins) return false;
  std::span<const RleRun> previous;
  for (int32_t k = 0; k <= g.lines; ++k) {
    std::span<const RleRun> spans;
    if (k < g.lines) spans = lines.of(k);
    if (spans.data() == previous.data() && spans.size() == previous.size()) continue;
    forEachDifference(
        previous, spans,
        [&](uint32_t start, uint32_t end) { std::fill(&begins[start], &begins[end], k); },
        [&](uint32_t start, uint32_t end) {
          for (uint32_t y = start; y < end; ++y) {
            const LineSteps::Step& step = steps[uint32_t(std::abs(int32_t(y) + low - g.y0))];
            const int32_t first = std::max(step.first + begins[y], 0);
            const int32_t stop = std::min<int32_t>(step.last + k, result.width);
            if (first < stop) rows.append(result.height - 1U - y, uint32_t(first), uint32_t(stop));
          }
        });
    previous = spans;
  }
  return true;
}

// A buffer for `count` runs, of the size that a row's buffer has after being fitted to 1 run, 2
// runs and so on. That is the size of a fresh one unless spare room counts as too much from the
// start.
RleRun* grownRuns(uint32_t count) {
  if (rleRunAllocMinExtra <= rleRunAllocMaxExtra) return rleAllocRuns(count);
  OwnedRuns runs(rleAllocRuns(1));
  for (uint32_t n = 2; runs && n <= count; ++n) {
    RleRun* const fitted = rleReAllocRuns(runs.get(), n);
    if (fitted == nullptr) return nullptr;
    static_cast<void>(runs.release());
    runs.reset(fitted);
  }
  return runs.release();
}

// Where the top left corner of the source lies in the result.
void storeCorner(const Geometry& g, double sourceWidth, double& x, double& y) {
  const double alongX = std::abs(g.angle.c) * sourceWidth;
  const double alongY = std::abs(g.angle.s) * sourceWidth;
  switch (g.octant) {
    case 1:
    case 2:
      y = sourceWidth * g.angle.s;
      break;
    case 3:
    case 4:
      x = alongX, y = g.height;
      break;
    case 5:
    case 6:
      x = g.width, y = g.height - alongY;
      break;
    default:
      x = g.width - alongX;
      break;
  }
}

}  // namespace
}  // namespace rle

// A result wider or higher than 65535 keeps the low 16 bits of its size, and what lies within them
// from its top left corner. A row for whose runs there is no memory stays blank.
extern "C" RleRect* rleRotateRect(RleRect* rect, double angle, double* cornerX, double* cornerY) {
  *cornerX = 0;
  *cornerY = 0;
  if (rect == nullptr || rect->height == 0) return nullptr;
  const auto turn = rle::turnAngle(angle);
  if (!turn) return nullptr;
  const rle::Geometry geometry(*rect, *turn);
  rle::OwnedRect result(
      rleNewRect(uint32_t(geometry.width), uint32_t(geometry.height), rect->resolution));
  if (!result) return nullptr;
  rle::RunLists rows(result->height);
  const auto gather = geometry.steep ? rle::gatherSteep : rle::gatherShallow;
  if (!gather(geometry, *rect, *result, rows)) return nullptr;
  for (uint32_t y = 0; y < result->height; ++y) {
    const uint32_t count = rows.count(y);
    if (count == 0) continue;
    RleLine& row = *result->rows[y];
    row.runs = rle::grownRuns(count);
    if (row.runs == nullptr) continue;
    row.count = uint16_t(count);
    rows.copyTo(y, row.runs);
  }
  rle::storeCorner(geometry, rect->width, *cornerX, *cornerY);
  return result.release();
}
