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
//     line k + 1          # # #|         Row by row the pieces arrive from left to right when the
//     line k              |# # #|# # #   lines are taken in the right order, and those that touch
//                                        are joined on arrival.
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

#include "model/heap_array.h"
#include "model/owners.h"
#include "model/runs.h"
#include "rle.h"
#include "transform/joining_writer.h"
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

// The stretches of the lines that are black. They are the same for all lines of a source row: the
// values of the walked coordinate that lie within the turned runs of the row, clipped to
// [low, low + length) and counted from low.
class LineSpans {
 public:
  LineSpans(const Geometry& geometry, const RleRect& source, int32_t low, int32_t length)
      : geometry_(geometry), rows_(zeroedArray<Row>(source.height)) {
    size_t runs = 1;  // a place that writing a row without spans may use
    for (uint32_t y = 0; y < source.height; ++y) runs += source.rows[y]->count;
    spans_ = zeroedArray<RleRun>(runs);
    if (!ready()) return;
    RleRun* next = spans_.get();
    for (uint32_t y = 0; y < source.height; ++y) {
      rows_[y] = {next, turnedRuns(*source.rows[y], geometry.sourceHeight - y, low, length, next)};
      next += rows_[y].count;
    }
  }

  bool ready() const { return rows_ && spans_; }

  // Nothing for a line that passes by the source.
  std::span<const RleRun> of(int32_t line) const {
    const Geometry& g = geometry_;
    const double x = g.x0 + (g.steep ? line : 0);
    const double y = g.y0 + (g.steep ? 0 : line);
    const int32_t row =
        nearest((x - g.offX) * g.angle.s + g.sourceHeight - (y - g.offY) * g.angle.c);
    if (row < 0 || row >= g.sourceHeight) return {};
    return {rows_[size_t(row)].first, rows_[size_t(row)].count};
  }

 private:
  struct Row {
    const RleRun* first;
    uint32_t count;
  };

  // Both ends of a run are limits that a line reaches, so a span covers one point more than their
  // difference. Rounding may bring spans together.
  uint32_t turnedRuns(const RleLine& row, double h, int32_t low, int32_t length,
                      RleRun* out) const {
    const Geometry& g = geometry_;
    const double scale = g.steep ? g.angle.s : g.angle.c;
    const double shift = g.steep ? h * g.angle.c : -(h * g.angle.s);
    const double offset = g.steep ? g.offY : g.offX;
    JoiningWriter spans(out);
    const auto limit = [&](uint32_t x) { return nearest(x * scale + shift + offset) - low; };
    const auto add = [&](uint32_t first, uint32_t last) {
      spans.add(std::clamp(limit(first), 0, length), std::min(limit(last) + 1, length));
    };
    if (g.ascending) {
      for (uint32_t i = 0; i < row.count; ++i) add(row.runs[i].start, row.runs[i].end);
    } else {
      for (uint32_t i = row.count; i-- > 0;) add(row.runs[i].end, row.runs[i].start);
    }
    return spans.finish();
  }

  const Geometry& geometry_;
  HeapArray<Row> rows_;
  HeapArray<RleRun> spans_;
};

// Gathers the rows of a result whose lines are shallow.
bool gatherShallow(const Geometry& g, const RleRect& source, const RleRect& result,
                   RunLists& rows) {
  LineSteps steps(g.x0, g.dx, g.dy);
  const LineSpans lines(g, source, 0, result.width);
  const HeapArray<int32_t> stepAt = zeroedArray<int32_t>(result.width);
  if (!rows.ready() || !steps.ready() || !lines.ready() || !stepAt) return false;
  // Steps count from the left here, also for lines that are walked from the right.
  if (g.dx < 0) steps.reverse();
  // The step that a line is at when it first comes to a column.
  for (int32_t i = 0, x = 0; i < steps.count(); ++i)
    for (; x <= std::min(steps[i].last, result.width - 1); ++x) stepAt[uint32_t(x)] = i;

  const bool rising = (g.dx < 0) == (g.dy < 0);  // each step is one row above the one before
  const int32_t down = rising ? -1 : 1;
  for (int32_t n = 0; n < g.lines; ++n) {
    const int32_t k = rising ? g.lines - 1 - n : n;
    // Step i of the line is in row leftRow + down * i, and these steps are in the result.
    const int32_t startRow = g.height - 1 - (g.y0 + k);
    const int32_t leftRow = g.dx < 0 ? startRow - g.dy : startRow;
    const int32_t first = std::max(0, rising ? leftRow - (result.height - 1) : -leftRow);
    const int32_t last =
        std::min(steps.count() - 1, rising ? leftRow : result.height - 1 - leftRow);
    for (const RleRun span : lines.of(k)) {
      int32_t i = std::max(stepAt[span.start], first);
      for (; i <= last && steps[i].first < span.end; ++i)
        rows.append(uint32_t(leftRow + down * i), std::max<int32_t>(steps[i].first, span.start),
                    std::min<int32_t>(steps[i].last + 1, span.end));
    }
  }
  return true;
}

// Gathers the rows of a result whose lines are steep.
bool gatherSteep(const Geometry& g, const RleRect& source, const RleRect& result, RunLists& rows) {
  const int32_t low = g.height - result.height;  // heights below it are not in the result
  const LineSteps steps(g.x0, g.dx, g.dy);
  const LineSpans lines(g, source, low, result.height);
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
            const LineSteps::Step step = steps[std::abs(int32_t(y) + low - g.y0)];
            const int32_t first = std::max(step.first + begins[y], 0);
            const int32_t stop = std::min<int32_t>(step.last + k, result.width);
            if (first < stop) rows.append(result.height - 1U - y, first, stop);
          }
        });
    previous = spans;
  }
  return true;
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
    rle::CapacityPlan plan(row.runs);  // as if the runs had been set one after the other
    plan.fitRising(1, count);
    if (!plan.carryOut(row.runs, count)) continue;
    row.count = uint16_t(count);
    rows.copyTo(y, row.runs);
  }
  rle::storeCorner(geometry, rect->width, *cornerX, *cornerY);
  return result.release();
}
