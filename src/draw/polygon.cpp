// Filling polygons.
//
// The scan goes down the rows of the image with the list of edges that cross the row, sorted by x.
// Walking the list from left to right, the winding number changes by one at every edge; the inside
// is where it is odd, or not zero. It begins at the column of the edge that leads in and ends
// before the column of the edge that leads out.
//
//     edges       \      /   \     /       every edge is drawn where it crosses this row;
//     even-odd     #######    #####        ## is what the row's spans cover
//
// The list is an array of pointers. In the same walk each edge that ends on this row is dropped and
// each other one moved to the next row and sorted back in, which leaves the list as stepping all of
// them and sorting afterwards would. Rows above and below the image are never visited: the edge
// table puts edges that come from above where they stand on the image's first row.

#include <algorithm>
#include <cstring>

#include "draw/edge_table.h"
#include "rle.h"

namespace rle {
namespace {

struct Paint {
  int32_t colour;
  RleRect* pattern;
  int32_t mode;
};

// Collects the spans of a fill and paints them when there are many.
class SpanBatch {
 public:
  SpanBatch(RleRect& image, const Paint& paint) : image_(image), paint_(paint) {}

  // Columns [x, xEnd), of which only those inside the image are kept.
  void add(int32_t x, int32_t xEnd, int32_t y) {
    x = std::max(x, 0);
    xEnd = std::min<int32_t>(xEnd, image_.width);
    points_[count_] = {x, y};
    widths_[count_] = xEnd - x;
    count_ += x < xEnd ? 1 : 0;
    if (count_ == kSpans) flush();
  }

  void flush() {
    rleFillSpans(&image_, count_, points_, widths_, paint_.colour, paint_.pattern, paint_.mode);
    count_ = 0;
  }

 private:
  static constexpr int32_t kSpans = 200;

  RleRect& image_;
  const Paint paint_;
  int32_t count_ = 0;
  RlePoint points_[kSpans];
  int32_t widths_[kSpans];
};

class ActiveEdges {
 public:
  explicit ActiveEdges(RleEdge** room) : edges_(room) {}

  // Sorts the edges of a bucket in, each before those with the same x.
  void join(const RleScanBucket& bucket) {
    RleEdge** from = edges_;
    for (RleEdge* edge = bucket.edges; edge != nullptr; edge = edge->next) {
      from = std::partition_point(from, end_, [&](const RleEdge* e) { return e->x < edge->x; });
      std::memmove(from + 1, from, size_t(end_++ - from) * sizeof(RleEdge*));
      *from++ = edge;
    }
  }

  // Writes the spans of row y to `spans`, and moves to the next row. The inside is where the
  // winding number has a bit of `insideBits`. Returns the end of the spans.
  RleRun* scan(int32_t y, int32_t insideBits, int32_t width, RleRun* spans) {
    int32_t winding = 0;
    uint16_t start = 0;
    RleEdge** kept = edges_;
    int32_t lastX = INT32_MIN;
    for (RleEdge** at = edges_; at != end_; ++at) {
      RleEdge& edge = **at;
      const bool wasInside = (winding & insideBits) != 0;
      winding += edge.downward;
      const uint16_t column = uint16_t(std::clamp(edge.x, 0, width));
      if (!wasInside) {
        start = column;
      } else if ((winding & insideBits) == 0) {
        *spans = {start, column};
        spans += start < column;
      }
      if (edge.bottom == y) continue;
      stepDown(edge);
      if (edge.x < lastX) {
        RleEdge** to = kept++;
        for (; to != edges_ && to[-1]->x > edge.x; --to) *to = to[-1];
        *to = &edge;
      } else {
        lastX = edge.x;
        *kept++ = &edge;
      }
    }
    end_ = kept;
    return spans;
  }

 private:
  RleEdge** edges_;
  RleEdge** end_ = edges_;
};

}  // namespace
}  // namespace rle

extern "C" void rleFillPolygon(RleRect* image, int32_t count, RlePoint* points, int32_t fillRule,
                               int32_t colour, RleRect* pattern, int32_t mode) {
  if (count < 3) return;
  rle::RleEdgeTable table;
  if (!table.build(points, uint32_t(count), 0, image->height)) return;
  constexpr int32_t kOdd = 1;
  constexpr int32_t kNotZero = -1;
  const int32_t insideBits = fillRule == 0 ? kOdd : kNotZero;
  rle::ActiveEdges active(table.activeEdges());
  rle::SpanBatch spans(*image, {colour, pattern, mode});
  RleRun* buf = (RleRun*)malloc(20000);
  const rle::RleScanBucket* bucket = table.firstBucket();
  for (int32_t y = table.smallestY(); y < table.largestY(); ++y) {
    if (bucket != nullptr && bucket->scanline == y) {
      active.join(*bucket);
      bucket = bucket->next;
    }
    RleRun* e = active.scan(y, insideBits, image->width, buf);
    for (RleRun* r = buf; r != e; ++r) rleSetLine(image->rows[y], r->start, r->end - 1);
  }
  spans.flush();
}
