// Filling polygons, against exact coverage and against a plain walk down all rows.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "model/runs.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Polygon = std::vector<RlePoint>;

void fill(RleRect* rect, Polygon polygon, int rule) {
  rleFillPolygon(rect, int32_t(polygon.size()), polygon.data(), rule, 1, nullptr, 1);
}

std::vector<std::string> filled(int width, int height, const Polygon& polygon, int rule) {
  const OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(height), 0));
  fill(rect.get(), polygon, rule);
  return picture(rect.get());
}

struct Edge {
  RlePoint upper, lower;
  bool downward;

  // The first column that is not left of the edge, in exact arithmetic.
  __int128 columnOn(int y) const {
    const __int128 dy = __int128{lower.y} - upper.y;
    const __int128 n = (__int128{y} - upper.y) * (__int128{lower.x} - upper.x);
    return upper.x + (n > 0 ? (n + dy - 1) / dy : n / dy);
  }
};

std::vector<Edge> edgesOf(const Polygon& polygon) {
  std::vector<Edge> edges;
  RlePoint from = polygon.back();
  for (const RlePoint to : polygon) {
    if (from.y < to.y) edges.push_back({from, to, true});
    if (from.y > to.y) edges.push_back({to, from, false});
    from = to;
  }
  return edges;
}

// Whether a pixel is inside, by the edges at or left of it on its row.
bool covers(const std::vector<Edge>& edges, int rule, int x, int y) {
  int winding = 0;
  for (const Edge& edge : edges)
    if (y >= edge.upper.y && y < edge.lower.y && edge.columnOn(y) <= x)
      winding += edge.downward ? 1 : -1;
  return rule == 0 ? winding % 2 != 0 : winding != 0;
}

Polygon randomPolygon(std::mt19937& random, int vertices, int xLow, int xHigh, int yLow,
                      int yHigh) {
  Polygon polygon;
  for (int i = 0; i < vertices; ++i) {
    RlePoint point{randomInt(random, xLow, xHigh), randomInt(random, yLow, yHigh)};
    switch (i == 0 ? 0 : randomInt(random, 0, 9)) {
      case 1:
        point = polygon[size_t(randomInt(random, 0, i - 1))];
        break;
      case 2:
        point.y = polygon.back().y;
        break;
      case 3:
        point.x = polygon.back().x;
        break;
    }
    polygon.push_back(point);
  }
  return polygon;
}

TEST(Polygons, KeepTheRightAndTheLowestEdgeOutAndFollowTheFillRule) {
  const Polygon twice = {{0, 0}, {3, 0}, {3, 2}, {0, 2}, {0, 0}, {3, 0}, {3, 2}, {0, 2}};
  EXPECT_EQ(filled(4, 3, twice, 0), std::vector<std::string>(3, "...."));
  EXPECT_EQ(filled(4, 3, twice, 2), (std::vector<std::string>{"###.", "###.", "...."}));
  EXPECT_EQ(filled(5, 5, {{0, 0}, {4, 0}, {0, 4}}, 1),
            (std::vector<std::string>{"####.", "###..", "##...", "#....", "....."}));
  EXPECT_EQ(filled(4, 3, {{0, 0}, {3, 2}}, 0), std::vector<std::string>(3, "...."));
  rleFillPolygon(nullptr, INT_MIN, nullptr, 0, 1, nullptr, 1);
}

TEST(Polygons, CoverExactlyTheInside) {
  std::mt19937 random(41);
  const int extremes[] = {INT_MIN, INT_MIN + 1, -1073741825, -65536, -1,     0,
                          7,       40,          65535,       65536,  INT_MAX};
  for (int round = 0; round < 9000; ++round) {
    const int width = randomInt(random, 1, 24), height = randomInt(random, 1, 16);
    const int vertices = randomInt(random, 3, 12);
    const bool far = round % 3 == 0;
    Polygon polygon = far ? randomPolygon(random, vertices, INT_MIN, INT_MAX, INT_MIN, INT_MAX)
                          : randomPolygon(random, vertices, -8, width + 8, -12, height + 12);
    for (RlePoint& point : polygon) {
      if (far && randomInt(random, 0, 1) == 0) point.x = extremes[randomInt(random, 0, 10)];
      if (far && randomInt(random, 0, 1) == 0) point.y = extremes[randomInt(random, 0, 10)];
    }
    for (const int rule : {0, 1}) {
      const OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(height), 0));
      fill(rect.get(), polygon, rule);
      Pixels expected(width, height);
      for (int i = 0; i < width * height; ++i)
        expected.put(i % width, i / width, covers(edgesOf(polygon), rule, i % width, i / width));
      ASSERT_EQ(Pixels(rect.get()), expected) << "round " << round << " rule " << rule;
      ASSERT_EQ(rleCheckRect(rect.get()), 1);
    }
  }
}

// The spans of a polygon by a walk down all its rows, which sorts the edges anew on each.
template <class Paint>
void walkSpans(const Polygon& polygon, int rule, int height, Paint paint) {
  std::vector<Edge> active;
  for (int y = -99; y < height; ++y) {
    const auto byColumn = [y](const Edge& a, const Edge& b) {
      return a.columnOn(y) < b.columnOn(y);
    };
    std::stable_sort(active.begin(), active.end(), byColumn);
    std::vector<Edge> entering, all;
    for (const Edge& edge : edgesOf(polygon))
      if (edge.upper.y == y)
        entering.insert(std::lower_bound(entering.begin(), entering.end(), edge, byColumn), edge);
    std::merge(entering.begin(), entering.end(), active.begin(), active.end(),
               std::back_inserter(all), byColumn);
    active = all;
    std::vector<int32_t> ends;
    int winding = 0;
    for (const Edge& edge : active) {
      const bool outside = winding == 0;
      winding += edge.downward ? 1 : -1;
      if (rule == 0 || outside || winding == 0) ends.push_back(int32_t(edge.columnOn(y)));
    }
    for (size_t i = 0; i < ends.size(); i += 2) paint(RlePoint{ends[i], y}, ends[i + 1] - ends[i]);
    std::erase_if(active, [y](const Edge& edge) { return edge.lower.y == y + 1; });
  }
}

// Rows of all kinds: runs or none, and buffers with more or less to spare.
OwnedRect randomRows(std::mt19937& random, int width, int height) {
  OwnedRect rect = randomPixels(random, width, height, 3, 3).toRect();
  for (int y = 0; y < height; ++y) {
    RleLine& row = *rect->rows[y];
    if (randomInt(random, 0, 2) == 0) row.count = 0;
    if (row.runs == nullptr) continue;
    const uint32_t spare = uint32_t(randomInt(random, 0, 12));
    const uint32_t extra = std::exchange(rleRunAllocMinExtra, spare);
    row.runs = rleReAllocRuns(row.runs, row.count);
    rleRunAllocMinExtra = extra;
  }
  return rect;
}

uint32_t capacity(const RleLine* row) { return row->runs == nullptr ? 0 : capacityOf(row->runs); }

// Buffers are resized span by span, which shows how the inside was cut into spans. With little
// slack allowed it shows more often.
TEST(Polygons, LeaveRowsAsSpansPaintedOneByOneDo) {
  std::mt19937 random(43);
  const OwnedRect tile = image({"##.", ".#."});
  for (int round = 0; round < 6000; ++round) {
    const int width = randomInt(random, 1, 40);
    const int height = randomInt(random, 1, 12);
    const bool narrow = randomInt(random, 0, 1) == 0;
    const Polygon polygon =
        narrow ? randomPolygon(random, randomInt(random, 4, 14), 0, 6, -40, height + 3)
               : randomPolygon(random, randomInt(random, 3, 90), -9, width + 9, -30, height + 9);
    const int rule = randomInt(random, 0, 1);
    const int colour = randomInt(random, -1, 1);
    const int mode = randomInt(random, 0, 2);
    rleRunAllocMaxExtra = uint32_t(randomInt(random, 0, 6));
    rleRunAllocMinExtra = uint32_t(randomInt(random, 0, 4));
    std::mt19937 again = random;
    const OwnedRect rect = randomRows(random, width, height);
    const OwnedRect expected = randomRows(again, width, height);
    walkSpans(polygon, rule, height, [&](RlePoint at, int32_t spanWidth) {
      rleFillSpans(expected.get(), 1, &at, &spanWidth, colour, tile.get(), mode);
    });
    Polygon vertices = polygon;
    rleFillPolygon(rect.get(), int32_t(vertices.size()), vertices.data(), rule, colour, tile.get(),
                   mode);
    for (int y = 0; y < height; ++y) {
      RleLine* const row = rect->rows[y];
      ASSERT_EQ(runsOf(row), runsOf(expected->rows[y])) << "round " << round << " row " << y;
      ASSERT_EQ(capacity(row), capacity(expected->rows[y])) << "round " << round << " row " << y;
    }
  }
  rleRunAllocMaxExtra = 40;
  rleRunAllocMinExtra = 4;
}

}  // namespace
}  // namespace rle::test
