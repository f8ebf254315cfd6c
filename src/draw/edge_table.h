// The edges of a polygon, in the order in which a scan from the top meets them.
//
// An edge belongs to the rows from its upper end down to, but not including, its lower end, so that
// two edges that meet at a vertex never both cross the vertex's row on account of it. On each of
// its rows the edge stands at the ceiling of its true x. Horizontal edges cross no row.
//
//     row 0   P . . .        P(0,0) to Q(3,4): x is 0, 1, 2, 3 on rows 0 to 3,
//     row 1   . * . .        the ceilings of 0, 3/4, 6/4 and 9/4
//     row 2   . . * .
//     row 3   . . . *
//     row 4   . . . Q

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "model/owners.h"
#include "rle.h"

namespace rle {

// An edge on its way down. Ends and x are 32 bits, as vertices are; the terms that combine widths
// and heights of up to 2^32 are 64 bits, so that no two vertices are too far apart.
struct RleEdge {
  int32_t bottom;        // the last row it crosses
  int32_t x;             // where it stands on the current row
  int64_t error;         // decides between the two steps
  int64_t step;          // to the next row's x ...
  int64_t altStep;       // ... or this one, which is one column more in the edge's direction
  int64_t altIncrement;  // for error, with altStep
  int64_t increment;     // for error, with step
  RleEdge* next;         // in its bucket, the next to the right
  int32_t top;           // the first row it crosses
  int32_t winding;       // 1 when the boundary runs down along it, -1 when it runs up
};

// Moves an edge to the row below.
inline void stepDown(RleEdge& edge) {
  const int64_t alt = -int64_t{edge.error > edge.altStep >> 63};
  edge.x = int32_t(edge.x + edge.step + (alt & (edge.altStep - edge.step)));
  edge.error += edge.increment + (alt & (edge.altIncrement - edge.increment));
}

// The edges that join the scan on one row, from left to right.
struct RleScanBucket {
  int32_t scanline;
  RleEdge* edges;
  RleScanBucket* next;
};

// Buckets are handed out from blocks, so that most polygons need none from the heap.
struct RleBucketBlock {
  static constexpr uint32_t kBuckets = 25;
  RleScanBucket buckets[kBuckets];
  RleBucketBlock* next;
};

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};
using OwnedEdges = std::unique_ptr<RleEdge[], FreeMemory>;
using OwnedEdgeOrder = std::unique_ptr<RleEdge*[], FreeMemory>;

// The part of a polygon's boundary that crosses the rows [firstRow, endRow).
class RleEdgeTable {
 public:
  RleEdgeTable() = default;
  RleEdgeTable(const RleEdgeTable&) = delete;
  RleEdgeTable& operator=(const RleEdgeTable&) = delete;
  ~RleEdgeTable();

  // Fills the empty table. Time and memory go with the number of edges only: one that starts above
  // firstRow is put where it stands there, by one division. False when memory runs out.
  bool build(const RlePoint* points, uint32_t count, int32_t firstRow, int32_t endRow);

  // The rows that edges cross are [smallestY, largestY); none when smallestY is the larger.
  int32_t smallestY() const { return smallestY_; }
  int32_t largestY() const { return largestY_; }

  // The topmost bucket, or null.
  const RleScanBucket* firstBucket() const { return sentinel_.next; }

  // The number of edges.
  uint32_t size() const { return size_; }

  // Room for a list of that many edges.
  RleEdge** activeEdges() { return order_.get(); }

 private:
  // The row on which an edge joins the scan.
  int32_t joinsAt(const RleEdge& edge) const { return std::max(edge.top, firstRow_); }
  bool joinsBefore(const RleEdge& a, const RleEdge& b) const;
  void collectEdges(const RlePoint* points, uint32_t count, int32_t endRow);
  bool fileInBuckets();
  RleScanBucket* newBucket();

  int32_t firstRow_ = 0;
  uint32_t size_ = 0;
  int32_t smallestY_ = 2147483647;
  int32_t largestY_ = -2147483647;
  OwnedEdges edges_;
  OwnedEdgeOrder order_;
  RleScanBucket sentinel_{};  // heads the list of buckets, topmost first
  RleBucketBlock firstBlock_{};
  RleBucketBlock* block_ = &firstBlock_;
  uint32_t bucketsUsed_ = 0;  // of block_
};

}  // namespace rle
