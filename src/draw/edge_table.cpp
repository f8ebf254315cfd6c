// Building the edge table.
//
// Edges are sorted once by the row and column at which they join the scan and then cut into
// buckets, instead of being inserted one by one, which would be quadratic in their number.
//
// The order of edges that stand on the same column decides nothing about which pixels are inside,
// but under the non-zero rule it decides whether the inside is handed on as one span or as two that
// touch, and buffers are resized span by span. So it is kept exactly as a scan from the topmost
// vertex would have it: such a scan puts edges that join on a row before those already there, later
// vertices before earlier ones, and then sorts by x on every row without swapping equals. Two edges
// that share a column on the first row of the table therefore stand as they stood on the last row
// above it on which they were apart. Lines cross at most once, and on one side of the crossing the
// columns of two edges differ on some row exactly when the sums of their columns differ.

#include "draw/edge_table.h"

#include <algorithm>
#include <span>
#include <utility>

namespace rle {
namespace {

// An edge looked at from its current row upwards. On the row j rows above, its true place is
// j * step + (part + j * slope) / height columns left of its x, and the floor of that is how many
// columns left of its x it stood. All values but `step` are below 2^32, as is every j.
struct Backwards {
  int64_t step;
  uint64_t slope;
  uint64_t part;
  uint64_t height;

  explicit Backwards(const RleEdge& edge) {
    const int64_t rest = edge.increment / 2;
    const int64_t rows = (edge.increment - edge.altIncrement) / 2;
    height = uint64_t(rows);
    if (edge.altStep > 0) {
      step = edge.step;
      slope = uint64_t(rest);
      part = uint64_t(rest - edge.error / 2);
    } else {
      step = edge.altStep;
      slope = uint64_t(rows - rest);
      part = uint64_t(rows - rest + edge.error / 2);
    }
  }
};

// -1 when `a` runs left of `b` on the row j rows above one where both have the same x, 1 when it
// runs right of it, 0 when they meet there.
int sideAbove(const Backwards& a, const Backwards& b, uint64_t j) {
  const uint64_t placeA = a.part + j * a.slope;
  const uint64_t placeB = b.part + j * b.slope;
  const int64_t wholeA = int64_t(j) * a.step + int64_t(placeA / a.height);
  const int64_t wholeB = int64_t(j) * b.step + int64_t(placeB / b.height);
  if (wholeA != wholeB) return wholeA > wholeB ? -1 : 1;
  const uint64_t restA = placeA % a.height * b.height;
  const uint64_t restB = placeB % b.height * a.height;
  if (restA != restB) return restA > restB ? -1 : 1;
  return 0;
}

// The sum of (part + j * slope) / height, rounded down, for j in [0, n), modulo 2^64. As in
// Euclid's algorithm, the lattice points under the line are counted after taking away the whole
// part of the slope, with rows and columns exchanged.
uint64_t floorSum(uint64_t n, uint64_t height, uint64_t slope, uint64_t part) {
  uint64_t sum = 0;
  for (;;) {
    sum += n * (n - 1) / 2 * (slope / height) + n * (part / height);
    slope %= height;
    part %= height;
    const uint64_t reach = slope * n + part;
    if (reach < height) return sum;
    n = reach / height;
    part = reach % height;
    std::swap(slope, height);
  }
}

// The sum, modulo 2^64, of the columns by which the edge stood left of its x on the rows 0 to n - 1
// above.
uint64_t columnsLeft(const Backwards& edge, uint64_t n) {
  return n * (n - 1) / 2 * uint64_t(edge.step) + floorSum(n, edge.height, edge.slope, edge.part);
}

// Whether two edges, neither of which crosses the other there, stood on different columns on any of
// the rows j above with j in [from, to). Each difference is below 2^32 and all have one sign, so
// the sum is below 2^64.
bool wereApart(const Backwards& a, const Backwards& b, uint64_t from, uint64_t to) {
  return columnsLeft(a, to) - columnsLeft(a, from) != columnsLeft(b, to) - columnsLeft(b, from);
}

// For two edges with the same x: -1 when `a` was left of `b` on the last of the `rows` rows above
// on which they stood apart, 1 when it was right of it, 0 when there is no such row.
int lastSide(const RleEdge& edgeA, const RleEdge& edgeB, uint64_t rows) {
  if (rows == 0) return 0;
  const Backwards a(edgeA);
  const Backwards b(edgeB);
  int side = sideAbove(a, b, 1);
  if (side == 0) side = sideAbove(a, b, rows);  // they cross on the row above, or are one line
  if (side == 0) return 0;
  uint64_t crossing = 1;  // the first row above on which the side is the other one
  for (uint64_t end = rows + 1; crossing < end;) {
    const uint64_t middle = crossing + (end - crossing) / 2;
    if (sideAbove(a, b, middle) == -side)
      end = middle;
    else
      crossing = middle + 1;
  }
  if (wereApart(a, b, 1, crossing)) return side;
  return wereApart(a, b, crossing, rows + 1) ? -side : 0;
}

// The edge from `upper` down to `lower`, on its first row.
RleEdge edgeBetween(const RlePoint& upper, const RlePoint& lower) {
  const int64_t dx = int64_t{lower.x} - upper.x;
  const int64_t dy = int64_t{lower.y} - upper.y;
  RleEdge edge{};
  edge.top = upper.y;
  edge.bottom = lower.y - 1;
  edge.x = upper.x;
  edge.step = dx / dy;
  if (dx < 0) {
    edge.altStep = edge.step - 1;
    edge.altIncrement = 2 * (dy * edge.altStep - dx);
    edge.increment = 2 * (dy * edge.step - dx);
    edge.error = edge.altIncrement;
  } else {
    edge.altStep = edge.step + 1;
    edge.altIncrement = 2 * (dx - dy * edge.altStep);
    edge.increment = 2 * (dx - dy * edge.step);
    edge.error = edge.increment;
  }
  return edge;
}

// The same as stepDown so many times. How often altStep is taken follows from the edge standing at
// the ceiling of its true x. Sums are modulo 2^64: what they amount to fits.
void stepDownRows(RleEdge& edge, uint64_t rows) {
  const uint64_t rest = uint64_t(edge.increment) / 2;
  const uint64_t height = uint64_t(edge.increment - edge.altIncrement) / 2;
  const uint64_t roundUp = edge.altStep > 0 ? height - 1 : 0;
  const uint64_t alts = (rows * rest + roundUp) / height;
  const uint64_t columns = (rows - alts) * uint64_t(edge.step) + alts * uint64_t(edge.altStep);
  edge.x = int32_t(edge.x + int64_t(columns));
  edge.error +=
      int64_t((rows - alts) * uint64_t(edge.increment) + alts * uint64_t(edge.altIncrement));
}

}  // namespace

RleEdgeTable::~RleEdgeTable() {
  for (RleBucketBlock* block = firstBlock_.next; block != nullptr;) {
    RleBucketBlock* const next = block->next;
    std::free(block);
    block = next;
  }
}

RleScanBucket* RleEdgeTable::newBucket() {
  if (bucketsUsed_ == RleBucketBlock::kBuckets) {
    auto* const block = static_cast<RleBucketBlock*>(std::calloc(1, sizeof(RleBucketBlock)));
    if (block == nullptr) return nullptr;
    block_ = block_->next = block;
    bucketsUsed_ = 0;
  }
  return &block_->buckets[bucketsUsed_++];
}

void RleEdgeTable::collectEdges(const RlePoint* points, uint32_t count, int32_t endRow) {
  const RlePoint* from = &points[count - 1];
  for (const RlePoint* to = points; to != points + count; from = to++) {
    const bool downward = from->y < to->y;
    const RlePoint& upper = downward ? *from : *to;
    const RlePoint& lower = downward ? *to : *from;
    if (upper.y == lower.y || lower.y <= firstRow_ || upper.y >= endRow) continue;
    RleEdge& edge = edges_[size_];
    order_[size_++] = &edge;
    edge = edgeBetween(upper, lower);
    edge.winding = downward ? 1 : -1;
    if (upper.y < firstRow_) stepDownRows(edge, uint64_t(int64_t{firstRow_} - upper.y));
    smallestY_ = std::min(smallestY_, joinsAt(edge));
    largestY_ = std::max(largestY_, std::min(lower.y, endRow));
  }
}

bool RleEdgeTable::joinsBefore(const RleEdge& a, const RleEdge& b) const {
  const int32_t row = joinsAt(a);
  if (row != joinsAt(b)) return row < joinsAt(b);
  if (a.x != b.x) return a.x < b.x;
  const int side = lastSide(a, b, uint64_t(int64_t{row} - std::max(a.top, b.top)));
  if (side != 0) return side < 0;
  return a.top != b.top ? a.top > b.top : &a > &b;
}

bool RleEdgeTable::fileInBuckets() {
  RleScanBucket* bucket = &sentinel_;
  RleEdge** link = nullptr;
  for (RleEdge* edge : std::span(order_.get(), size_)) {
    if (link == nullptr || bucket->scanline != joinsAt(*edge)) {
      bucket = bucket->next = newBucket();
      if (bucket == nullptr) return false;
      *bucket = {joinsAt(*edge), nullptr, nullptr};
      link = &bucket->edges;
    }
    *link = edge;
    link = &edge->next;
  }
  return true;
}

bool RleEdgeTable::build(const RlePoint* points, uint32_t count, int32_t firstRow, int32_t endRow) {
  firstRow_ = firstRow;
  edges_.reset(static_cast<RleEdge*>(std::malloc(count * sizeof(RleEdge))));
  order_.reset(static_cast<RleEdge**>(std::malloc(count * sizeof(RleEdge*))));
  if (!edges_ || !order_) return false;
  collectEdges(points, count, endRow);
  std::sort(order_.get(), order_.get() + size_,
            [this](const RleEdge* a, const RleEdge* b) { return joinsBefore(*a, *b); });
  return fileInBuckets();
}

}  // namespace rle
