// Filling polygons, against exact coverage and against a plain walk down all rows.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <map>

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

// Whether a pixel is inside, by the edges at or left of it on its row, in exact arithmetic.
bool covers(const Polygon& polygon, int rule, int x, int y) {
  int winding = 0;
  for (size_t i = 0; i < polygon.size(); ++i) {
    const RlePoint from = polygon[i];
    const RlePoint to = polygon[(i + 1) % polygon.size()];
    const auto [upper, lower] = from.y < to.y ? std::pair(from, to) : std::pair(to, from);
    if (y < upper.y || y >= lower.y) continue;
    const __int128 dx = __int128{lower.x} - upper.x;
    const __int128 dy = __int128{lower.y} - upper.y;
    if ((__int128{y} - upper.y) * dx <= (__int128{x} - upper.x) * dy)
      winding += from.y < to.y ? 1 : -1;
  }
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

TEST(Polygons, KeepTheRightAndTheLowestEdgeOut) {
  EXPECT_EQ(filled(12, 6, {{0, 0}, {10, 0}, {10, 5}, {0, 5}}, 0),
            (std::vector<std::string>{"##########..", "##########..", "##########..",
                                      "##########..", "##########..", "............"}));
  EXPECT_EQ(filled(5, 5, {{0, 0}, {4, 0}, {0, 4}}, 1),
            (std::vector<std::string>{"####.", "###..", "##...", "#....", "....."}));
  for (const int rule : {0, 1}) {
    const std::vector<std::string> blank(3, "....");
    EXPECT_EQ(filled(4, 3, {{0, 1}, {3, 1}, {1, 1}}, rule), blank);
    EXPECT_EQ(filled(4, 3, {{0, 0}, {3, 2}}, rule), blank);
  }
  rleFillPolygon(nullptr, INT_MIN, nullptr, 0, 1, nullptr, 1);
}

TEST(Polygons, FollowTheFillRule) {
  const Polygon pentagram = {{10, 0}, {16, 18}, {0, 7}, {20, 7}, {4, 18}};
  EXPECT_EQ(filled(21, 19, pentagram, 0)[9], "...####......#####...");
  EXPECT_EQ(filled(21, 19, pentagram, 2)[9], "...###############...");
  const Polygon twice = {{0, 0}, {3, 0}, {3, 2}, {0, 2}, {0, 0}, {3, 0}, {3, 2}, {0, 2}};
  EXPECT_EQ(filled(4, 3, twice, 0), std::vector<std::string>(3, "...."));
  EXPECT_EQ(filled(4, 3, twice, 1), (std::vector<std::string>{"###.", "###.", "...."}));
}

TEST(Polygons, CoverExactlyTheInside) {
  std::mt19937 random(41);
  for (int round = 0; round < 6000; ++round) {
    const int width = randomInt(random, 1, 24);
    const int height = randomInt(random, 1, 16);
    const Polygon polygon =
        randomPolygon(random, randomInt(random, 3, 12), -8, width + 8, -12, height + 12);
    for (const int rule : {0, 1}) {
      const OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(height), 0));
      fill(rect.get(), polygon, rule);
      Pixels expected(width, height);
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) expected.put(x, y, covers(polygon, rule, x, y));
      ASSERT_EQ(Pixels(rect.get()), expected) << "round " << round << " rule " << rule;
      ASSERT_EQ(rleCheckRect(rect.get()), 1);
    }
  }
}

TEST(Polygons, ReachAsFarAsCoordinatesDo) {
  std::mt19937 random(42);
  const int extremes[] = {INT_MIN, INT_MIN + 1, -1073741825, -65536, -1,     0,
                          7,       40,          65535,       65536,  INT_MAX};
  for (int round = 0; round < 3000; ++round) {
    Polygon polygon =
        randomPolygon(random, randomInt(random, 3, 9), INT_MIN, INT_MAX, INT_MIN, INT_MAX);
    for (RlePoint& point : polygon) {
      if (randomInt(random, 0, 1) == 0) point.x = extremes[randomInt(random, 0, 10)];
      if (randomInt(random, 0, 1) == 0) point.y = extremes[randomInt(random, 0, 10)];
    }
    for (const int rule : {0, 1}) {
      const OwnedRect rect(rleNewRect(50, 9, 0));
      fill(rect.get(), polygon, rule);
      Pixels expected(50, 9);
      for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 50; ++x) expected.put(x, y, covers(polygon, rule, x, y));
      ASSERT_EQ(Pixels(rect.get()), expected) << "round " << round << " rule " << rule;
    }
  }
}

// The spans of a polygon by a walk down all its rows, one step and one sort at a time.
struct Walk {
  struct Edge {
    int64_t bottom, x, error, step, altStep, altIncrement, increment;
    bool downward;
  };
  std::vector<RlePoint> points;
  std::vector<int32_t> widths;

  Walk(const Polygon& polygon, int rule) {
    std::map<int, std::vector<Edge>> buckets;
    RlePoint from = polygon.back();
    for (const RlePoint to : polygon) {
      const bool up = from.y > to.y;
      if (from.y != to.y) file(buckets, up ? to : from, up ? from : to, !up);
      from = to;
    }
    std::vector<Edge> active;
    const auto byX = [](const Edge& a, const Edge& b) { return a.x < b.x; };
    for (int y = buckets.empty() ? 0 : buckets.begin()->first; !buckets.empty() || !active.empty();
         ++y) {
      if (const auto bucket = buckets.find(y); bucket != buckets.end()) {
        std::vector<Edge> merged;
        std::merge(bucket->second.begin(), bucket->second.end(), active.begin(), active.end(),
                   std::back_inserter(merged), byX);
        active = merged;
        buckets.erase(bucket);
      }
      addSpans(active, rule, y);
      std::erase_if(active, [y](const Edge& edge) { return edge.bottom == y; });
      for (Edge& edge : active) {
        const bool alt = edge.altStep > 0 ? edge.error > 0 : edge.error >= 0;
        edge.x += alt ? edge.altStep : edge.step;
        edge.error += alt ? edge.altIncrement : edge.increment;
      }
      std::stable_sort(active.begin(), active.end(), byX);
    }
  }

 private:
  static void file(std::map<int, std::vector<Edge>>& buckets, RlePoint upper, RlePoint lower,
                   bool downward) {
    const int64_t dx = int64_t{lower.x} - upper.x;
    const int64_t dy = int64_t{lower.y} - upper.y;
    const int64_t step = dx / dy;
    const int64_t alt = dx < 0 ? step - 1 : step + 1;
    const int64_t sign = dx < 0 ? -1 : 1;
    const int64_t altIncrement = sign * 2 * (dx - dy * alt);
    const int64_t increment = sign * 2 * (dx - dy * step);
    std::vector<Edge>& bucket = buckets[upper.y];
    bucket.insert(std::find_if(bucket.begin(), bucket.end(),
                               [&](const Edge& edge) { return edge.x >= upper.x; }),
                  {lower.y - 1, upper.x, dx < 0 ? altIncrement : increment, step, alt, altIncrement,
                   increment, downward});
  }

  void addSpans(const std::vector<Edge>& active, int rule, int y) {
    std::vector<int64_t> ends;
    int winding = 0;
    for (const Edge& edge : active) {
      const bool outside = winding == 0;
      winding += edge.downward ? 1 : -1;
      if (rule == 0 || outside || winding == 0) ends.push_back(edge.x);
    }
    for (size_t i = 0; i < ends.size(); i += 2) {
      points.push_back({int32_t(ends[i]), y});
      widths.push_back(int32_t(ends[i + 1] - ends[i]));
    }
  }
};

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
    Walk walk(polygon, rule);
    for (size_t i = 0; i < walk.points.size(); ++i)
      rleFillSpans(expected.get(), 1, &walk.points[i], &walk.widths[i], colour, tile.get(), mode);
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
