// Filling polygons, against a plain walk down all rows. (What is inside: random cases of drawing.)

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "reference/literal_row.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Polygon = std::vector<RlePoint>;

struct Edge {
  RlePoint upper, lower;
  int winding;

  bool crosses(int y) const { return y >= upper.y && y < lower.y; }
  // The first pixel of row y that does not lie left of the edge.
  int column(int y) const {
    const int dy = lower.y - upper.y, offset = (y - upper.y) * (lower.x - upper.x);
    return upper.x + offset / dy + (offset % dy > 0 ? 1 : 0);
  }
};

std::vector<Edge> edgesOf(const Polygon& polygon) {
  std::vector<Edge> edges;
  RlePoint from = polygon.back();
  for (const RlePoint to : polygon) {
    if (from.y < to.y) edges.push_back({from, to, 1});
    if (from.y > to.y) edges.push_back({to, from, -1});
    from = to;
  }
  return edges;
}

Polygon randomPolygon(std::mt19937& random, int vertices, RlePoint low, RlePoint high) {
  Polygon polygon;
  for (int i = 0; i < vertices; ++i) {
    RlePoint point{randomInt(random, low.x, high.x), randomInt(random, low.y, high.y)};
    const int kind = i == 0 ? 0 : randomInt(random, 0, 9);
    if (kind == 1) point = polygon[size_t(randomInt(random, 0, i - 1))];
    if (kind == 2) point.y = polygon.back().y;
    if (kind == 3) point.x = polygon.back().x;
    polygon.push_back(point);
  }
  return polygon;
}

// Paints the spans of a polygon one by one, in a walk down all its rows with one sort on each.
void paintSpans(RleRect* rect, const Polygon& polygon, int rule, int colour, RleRect* tile,
                int mode) {
  std::map<int, std::vector<Edge>> joining;
  for (const Edge& edge : edgesOf(polygon)) {
    std::vector<Edge>& row = joining[edge.upper.y];
    const auto atOrRight = [&](const Edge& other) { return other.upper.x >= edge.upper.x; };
    row.insert(std::find_if(row.begin(), row.end(), atOrRight), edge);
  }
  std::vector<Edge> active;
  for (int y = joining.empty() ? 0 : joining.begin()->first; y < rect->height; ++y) {
    const auto byColumn = [&](const Edge& a, const Edge& b) { return a.column(y) < b.column(y); };
    std::erase_if(active, [y](const Edge& edge) { return !edge.crosses(y); });
    std::stable_sort(active.begin(), active.end(), byColumn);
    std::vector<Edge> row;
    std::ranges::merge(joining[y], active, std::back_inserter(row), byColumn);
    active = row;
    int winding = 0;
    RlePoint start{};
    for (const Edge& edge : active) {
      const bool outside = rule == 0 ? winding % 2 == 0 : winding == 0;
      winding += edge.winding;
      int32_t width = edge.column(y) - start.x;
      if (outside)
        start = {edge.column(y), y};
      else if (rule == 0 || winding == 0)
        rleFillSpans(rect, 1, &start, &width, colour, tile, mode);
    }
  }
}

// Buffers are resized span by span, which shows how the inside was cut into spans; with little
// slack allowed it shows more often.
TEST(Polygons, LeaveRowsAsSpansPaintedOneByOneDo) {
  std::mt19937 random(43);
  const OwnedRect tile = image({"##.", ".#."});
  for (int round = 0; round < 6000; ++round) {
    const int width = randomInt(random, 1, 40), height = randomInt(random, 1, 12);
    Polygon p =
        round % 2 == 0
            ? randomPolygon(random, randomInt(random, 4, 14), {0, -40}, {6, height + 3})
            : randomPolygon(random, randomInt(random, 3, 90), {-9, -30}, {width + 9, height + 9});
    const int rule = round % 3 % 2, mode = randomInt(random, 0, 2),
              colour = randomInt(random, -1, 1);
    rleRunAllocMaxExtra = uint32_t(randomInt(random, 0, 6));
    rleRunAllocMinExtra = uint32_t(randomInt(random, 0, 4));
    const Pixels before = randomPixels(random, width, height, 3, 1 << randomInt(random, 0, 6));
    const OwnedRect rect = before.toRect(), expected = before.toRect();
    paintSpans(expected.get(), p, rule, colour, tile.get(), mode);
    rleFillPolygon(rect.get(), int32_t(p.size()), p.data(), rule, colour, tile.get(), mode);
    for (int y = 0; y < height; ++y)
      ASSERT_TRUE(LiteralRow(expected->rows[y]).matches(rect->rows[y])) << round << " row " << y;
  }
  rleRunAllocMaxExtra = 40;
  rleRunAllocMinExtra = 4;
}

}  // namespace
}  // namespace rle::test
