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

#include <span>
#include <utility>

namespace rle {
namespace {

// On the row j rows above its current one, an edge's true place is
// j * step + (error + j * increment) / height columns left of its x. -1 when `a` runs left of `b`
// there, both having the same x now, 1 when it runs right of it, 0 when they meet.
int sideAbove(const RleEdge& a, const RleEdge& b, uint64_t j) {
  const uint64_t partsA = a.error + j * a.increment;
  const uint64_t partsB = b.error + j * b.increment;
  const int64_t wholeA = int64_t(j) * a.step + int64_t(partsA / a.height);
  const int64_t wholeB = int64_t(j) * b.step + int64_t(partsB / b.height);
  if (wholeA != wholeB) return wholeA > wholeB ? -1 : 1;
  const uint64_t restA = partsA % a.height * b.height;
  const uint64_t restB = partsB % b.height * a.height;
  if (restA != restB) return restA > restB ? -1 : 1;
  return 0;
}

// The sum of (error + j * increment) / height, rounded down, for j in [0, n), modulo 2^64. The
// lattice points under the line are counted as Euclid's algorithm would: the whole parts are taken
// away, then rows and columns change places. All arguments are below 2^32.
uint64_t floorSum(uint64_t n, uint64_t height, uint64_t increment, uint64_t error) {
  uint64_t sum = 0;
  for (;;) {
    sum += n * (n - 1) / 2 * (increment / height) + n * (error / height);
    increment %= height;
    error %= height;
    const uint64_t reach = n * increment + error;
    if (reach < height) return sum;
    n = reach / height;
    error = reach % height;
    std::swap(increment, height);
  }
}

// The sum, modulo 2^64, of how many columns left of its x the edge stood on the rows j above, for j
// in [0, n).
uint64_t columnsLeft(const RleEdge& edge, uint64_t n) {
  return n * (n - 1) / 2 * uint64_t(int64_t{edge.step}) +
         floorSum(n, edge.height, edge.increment, edge.error);
}

// Whether two edges that do not cross between them stood on different columns on any of the rows j
// above, j in [from, to). The differences all have one sign, each is below 2^32 and there are at
// most 2^31 of them, so their sum is right modulo 2^64.
bool wereApart(const RleEdge& a, const RleEdge& b, uint64_t from, uint64_t to) {
  return columnsLeft(a, to) - columnsLeft(a, from) != columnsLeft(b, to) - columnsLeft(b, from);
}

// For two edges with the same x: -1 when `a` was left of `b` on the last of the `rows` rows above
// on which they stood apart, 1 when it was right of it, 0 when there is no such row.
int lastSide(const RleEdge& a, const RleEdge& b, uint64_t rows) {
  if (rows == 0) return 0;
  int side = sideAbove(a, b, 1);
  if (side == 0) side = sideAbove(a, b, rows);  // they meet on the row above, or always
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
  const int64_t step = dx / dy - (dx % dy < 0 ? 1 : 0);
  RleEdge edge{};
  edge.top = upper.y;
  edge.bottom = lower.y - 1;
  edge.x = upper.x;
  edge.height = uint32_t(dy);
  edge.step = int32_t(step);  // leaves 32 bits only where there is no second row to step to
  edge.increment = uint32_t(dx - step * dy);
  return edge;
}

// The same as stepDown so many times, for an edge on its first row.
void stepDownRows(RleEdge& edge, uint64_t rows) {
  const uint64_t parts = rows * edge.increment;
  const uint64_t columns = (parts + edge.height - 1) / edge.height;
  edge.x = int32_t(edge.x + int64_t(rows) * edge.step + int64_t(columns));
  edge.error = uint32_t(columns * edge.height - parts);
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
  RleEdge** const end = order_.get() + size_;
  for (RleEdge** edge = order_.get(); edge != end; ++edge) {
    if (bucket == &sentinel_ || bucket->scanline != joinsAt(**edge)) {
      bucket = bucket->next = newBucket();
      if (bucket == nullptr) return false;
      // The list holds edges up to its end. NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker)
      *bucket = {joinsAt(**edge), edge, edge, nullptr};
    }
    ++bucket->end;
  }
  return true;
}

bool RleEdgeTable::build(const RlePoint* points, uint32_t count, int32_t firstRow, int32_t endRow) {
  firstRow_ = firstRow;
  edges_.reset(static_cast<RleEdge*>(std::malloc(size_t{count} * sizeof(RleEdge))));
  order_.reset(static_cast<RleEdge**>(std::calloc(count, sizeof(RleEdge*))));
  if (!edges_ || !order_) return false;
  collectEdges(points, count, endRow);
  std::sort(order_.get(), order_.get() + size_,
            [this](const RleEdge* a, const RleEdge* b) { return joinsBefore(*a, *b); });
  return fileInBuckets();
}

}  // namespace rle
