// Filling polygons.
//
// The scan goes down the rows of the image with the list of edges that cross the row, sorted by x.
// Walking the list from left to right, the winding number changes by one at every edge; the inside
// is where it is odd, or not zero. It begins on the column of the edge that leads in and ends
// before the column of the edge that leads out:
//
//     edges       \      /   \     /
//     row          #######    #####
//
// The list is an array. In the same walk each edge that ends on this row is dropped and each other
// one moved to the next row and sorted back in, which leaves the list as moving them all and
// sorting afterwards would. Rows above and below the image are never visited: the edge table puts
// edges that come from above where they stand on the image's first row.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>

#include "draw/edge_table.h"
#include "model/paint.h"
#include "rle.h"

namespace rle {
namespace {

// The edges that cross a row, from left to right.
class ActiveEdges {
 public:
  // Makes room for `count` edges.
  explicit ActiveEdges(uint32_t count)
      : edges_(static_cast<RleEdge**>(std::malloc(std::max(1U, count) * sizeof(RleEdge*)))),
        end_(edges_.get()) {}

  // False when there is no memory for the list.
  explicit operator bool() const { return edges_ != nullptr; }

  // Sorts the edges of a bucket in, each before those with the same x. From the right, so that what
  // lies between two of them moves once.
  void join(const RleScanBucket& bucket) {
    RleEdge** const first = edges_.get();
    RleEdge** tail = end_;
    for (RleEdge** joining = bucket.end; joining != bucket.edges;) {
      RleEdge* const edge = *--joining;
      const auto stillToCome = joining - bucket.edges;
      RleEdge** const at = std::partition_point(
          first, tail, [&](const RleEdge* other) { return other->x < edge->x; });
      std::memmove(at + stillToCome + 1, at, size_t(tail - at) * sizeof(RleEdge*));
      at[stillToCome] = edge;
      tail = at;
    }
    end_ += bucket.end - bucket.edges;
  }

  // Writes the spans of row y, clipped to [0, width), to `spans`, and moves on to the next row.
  // Returns the end of the spans. There is room for one more than there can be.
  RleRun* scan(int32_t y, bool evenOdd, int32_t width, RleRun* spans) {
    constexpr int32_t kOdd = 1;
    constexpr int32_t kNotZero = -1;
    return evenOdd ? scanInside<kOdd>(y, width, spans) : scanInside<kNotZero>(y, width, spans);
  }

 private:
  // The inside is where the winding number has one of these bits.
  template <int32_t insideBits>
  RleRun* scanInside(int32_t y, int32_t width, RleRun* spans) {
    int32_t winding = 0;
    uint32_t start = 0;
    int32_t lastX = INT32_MIN;
    RleEdge** kept = edges_.get();
    for (RleEdge** at = kept; at != end_; ++at) {
      RleEdge& edge = **at;
      uint32_t column = uint32_t(edge.x);
      if (column > uint32_t(width)) column = edge.x < 0 ? 0 : uint32_t(width);
      const bool inside = (winding & insideBits) != 0;
      winding += edge.winding;
      if (!inside) {
        start = column;
      } else if ((winding & insideBits) == 0) {
        *spans = {uint16_t(start), uint16_t(column)};
        spans += start < column;  // without a jump: nobody could foretell it
      }
      if (edge.bottom == y) continue;
      stepDown(edge);
      *kept++ = &edge;
      if (edge.x < lastX) [[unlikely]]
        sortBack(kept - 1);
      else
        lastX = edge.x;
    }
    end_ = kept;
    return spans;
  }

  // Sorts an edge in among those before it, behind the ones with the same x.
  void sortBack(RleEdge** at) {
    RleEdge* const edge = *at;
    for (; at != edges_.get() && at[-1]->x > edge->x; --at) *at = at[-1];
    *at = edge;
  }

  OwnedEdgeList edges_;
  RleEdge** end_;
};

}  // namespace
}  // namespace rle

extern "C" void rleFillPolygon(RleRect* image, int32_t count, RlePoint* points, int32_t fillRule,
                               int32_t colour, RleRect* pattern, int32_t mode) {
  if (count < 3) return;
  rle::RleEdgeTable table;
  if (!table.build(points, uint32_t(count), 0, image->height)) return;
  rle::ActiveEdges active(table.size());
  // Spans neither overlap nor are empty, and two edges bound each.
  rle::RunScratch spanScratch;
  RleRun* const spans = spanScratch.reserve(std::min<uint32_t>(image->width, table.size() / 2) + 1);
  if (!active || spans == nullptr) return;
  rle::RunScratch rowScratch;
  const rle::Paint paint = rle::paintFor(colour, pattern, mode);
  const rle::RleScanBucket* bucket = table.firstBucket();
  for (int32_t y = table.smallestY(); y < table.largestY(); ++y) {
    if (bucket != nullptr && bucket->scanline == y) {
      active.join(*bucket);
      bucket = bucket->next;
    }
    RleRun* const end = active.scan(y, fillRule == 0, image->width, spans);
    rle::paintRow(*image, uint16_t(y), {spans, end}, paint, pattern, mode, rowScratch);
  }
}
