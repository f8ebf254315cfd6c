// The edges of a polygon, in the order in which a scan from the top meets them.
//
// An edge belongs to the rows from its upper end down to, but not including, its lower end, so that
// two edges that meet at a vertex never both cross the vertex's row on account of it. On each of
// its rows the edge stands on the ceiling of its true x. Horizontal edges cross no row.
//
//     row 0   P . . .        from P (0, 0) to Q (3, 4): columns 0, 1, 2, 3 on rows 0 to 3,
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

// An edge on its way down. From row to row its true x changes by step + increment / height columns,
// step rounded down, so that all edges are moved alike and no term leaves 32 bits however far apart
// two vertices are. A scan is bound by how fast it gets at the edges: these are 32 bytes each.
struct RleEdge {
  int32_t bottom;      // the last row it crosses
  int32_t x;           // where it stands on the current row
  uint32_t error;      // how far right of its true x that is, in 1/height columns; below height
  uint32_t increment;  // below height
  uint32_t height;     // rows it crosses, from its upper end
  int32_t step;
  int32_t top;      // the first row it crosses
  int32_t winding;  // 1 when the boundary runs down along it, -1 when it runs up
};

// Moves an edge to the row below, without a jump: which way it would go nobody could foretell.
inline void stepDown(RleEdge& edge) {
  const uint32_t next = edge.error < edge.increment ? 1 : 0;
  edge.x = int32_t(uint32_t(edge.x) + uint32_t(edge.step) + next);
  edge.error = edge.error - edge.increment + (edge.height & (0 - next));
}

// The edges that join the scan on one row, from left to right.
struct RleScanBucket {
  int32_t scanline;
  RleEdge** edges;
  RleEdge** end;
  RleScanBucket* next;
};

// Buckets are handed out from blocks, so that most polygons need none from the heap.
struct RleBucketBlock {
  static constexpr uint32_t kBuckets = 25;
  RleScanBucket buckets[kBuckets];
  RleBucketBlock* next;
};

using OwnedEdges = std::unique_ptr<RleEdge[], FreeWith<std::free>>;
using OwnedEdgeList = std::unique_ptr<RleEdge*[], FreeWith<std::free>>;

// The part of a polygon's boundary that crosses the rows [firstRow, endRow).
class RleEdgeTable {
 public:
  RleEdgeTable() = default;
  RleEdgeTable(const RleEdgeTable&) = delete;
  RleEdgeTable& operator=(const RleEdgeTable&) = delete;
  ~RleEdgeTable();

  // Fills the empty table. Time and memory go with the number of edges only: one that starts above
  // firstRow is put where it stands there by one division. False when memory runs out.
  bool build(const RlePoint* points, uint32_t count, int32_t firstRow, int32_t endRow);

  // The rows that edges cross are [smallestY, largestY); none when smallestY is the larger.
  int32_t smallestY() const { return smallestY_; }
  int32_t largestY() const { return largestY_; }

  // The topmost bucket, or null.
  const RleScanBucket* firstBucket() const { return sentinel_.next; }

  // The number of edges.
  uint32_t size() const { return size_; }

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
  OwnedEdgeList order_;       // the edges as they join the scan
  RleScanBucket sentinel_{};  // heads the list of buckets, topmost first
  RleBucketBlock firstBlock_{};
  RleBucketBlock* block_ = &firstBlock_;
  uint32_t bucketsUsed_ = 0;  // of block_
};

}  // namespace rle
