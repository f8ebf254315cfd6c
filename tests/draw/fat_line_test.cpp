// Thick lines, against distances from the ideal line.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

enum Cap { Butt = 1, RoundCap, Square };
enum Join { Mitre, RoundJoin, Bevel };

struct Line {
  std::vector<RlePoint> points;
  int width = 1;
  int cap = Butt;
  int join = Mitre;
  std::vector<uint8_t> dashes = {};
  int offset = 0;
  int colour = 1;
  int mode = 1;
};

std::ostream& operator<<(std::ostream& out, const Line& line) {
  out << " width " << line.width << " cap " << line.cap << " join " << line.join << " mode "
      << line.mode << " through";
  for (const RlePoint point : line.points) out << " (" << point.x << ", " << point.y << ')';
  if (!line.dashes.empty()) out << " from " << line.offset << " dashes";
  for (const int dash : line.dashes) out << ' ' << dash;
  return out;
}

void draw(RleRect* rect, Line line) {
  rleFatLine(rect, int32_t(line.points.size()), line.points.data(), line.width, line.colour,
             nullptr, line.cap, line.join, line.mode, int32_t(line.dashes.size()),
             line.dashes.data(), line.offset);
}

Pixels drawn(int width, int height, const Line& line) {
  const OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(height), 0));
  draw(rect.get(), line);
  EXPECT_EQ(rleCheckRect(rect.get()), 1);
  return Pixels(rect.get());
}

// The picture of the pixels in [left, right) x [top, bottom) of a size.
Pixels box(int width, int height, int left, int top, int right, int bottom) {
  Pixels pixels(width, height);
  for (int y = top; y < bottom; ++y)
    for (int x = left; x < right; ++x) pixels.put(x, y, true);
  return pixels;
}

std::string rowOf(const Line& line, int width, int y) {
  const OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(y) + 1, 0));
  draw(rect.get(), line);
  return picture(rect->rows[y], width);
}

TEST(FatLines, HaveCapsAtTheirEnds) {
  Pixels butt = box(30, 12, 0, 3, 20, 7);
  butt.put(20, 5, true);  // the vertex itself
  EXPECT_EQ(drawn(30, 12, {{{0, 5}, {20, 5}}, 4}), butt);
  EXPECT_EQ(drawn(30, 12, {{{0, 5}, {20, 5}}, 4, 7}), butt);
  EXPECT_EQ(drawn(30, 12, {{{0, 5}, {0, 5}, {20, 5}, {20, 5}}, 4}), butt);
  EXPECT_EQ(drawn(30, 12, {{{0, 5}, {20, 5}}, 4, Square}), box(30, 12, 0, 3, 22, 7));
  EXPECT_EQ(drawn(30, 20, {{{5, 10}, {20, 10}}, 5, Square}), box(30, 20, 3, 8, 22, 13));
  EXPECT_EQ(drawn(30, 20, {{{9, 10}}, 6}), box(30, 20, 9, 10, 10, 11));
  EXPECT_EQ(drawn(30, 20, {{{9, 10}}, 6, Square}), box(30, 20, 6, 7, 12, 13));
  const Pixels thin = drawn(30, 20, {{{3, 4}, {20, 15}, {9, 1}}, 1});
  for (const int width : {0, -3, INT_MIN})
    EXPECT_EQ(drawn(30, 20, {{{3, 4}, {20, 15}, {9, 1}}, width, RoundCap, RoundJoin}), thin);
  for (const int count : {0, -1, INT_MIN})
    rleFatLine(nullptr, count, nullptr, 4, 1, nullptr, 2, 1, 1, 1, nullptr, 0);
}

TEST(FatLines, HaveRoundCapsOfHalfTheirWidth) {
  for (const auto& points : {std::vector<RlePoint>{{20, 20}, {40, 20}}, {{20, 20}}}) {
    const Pixels pixels = drawn(60, 40, {points, 10, RoundCap});
    for (int y = 0; y < 40; ++y)
      for (int x = 0; x < 60; ++x) {
        const double distance =
            std::hypot(x - std::clamp(x, 20, int(points.back().x)), double(y - 20));
        EXPECT_TRUE(distance > 4.8 || pixels.get(x, y)) << x << ' ' << y;
        EXPECT_TRUE(distance < 5.01 || !pixels.get(x, y)) << x << ' ' << y;
      }
  }
}

TEST(FatLines, JoinTheirSegments) {
  const std::vector<RlePoint> straight = {{4, 9}, {14, 9}, {24, 9}};
  EXPECT_EQ(drawn(30, 20, {straight, 4}), drawn(30, 20, {{{4, 9}, {24, 9}}, 4}));
  // The outer corner of a right angle at (20, 10) is the square (20, 8) to (22, 10).
  const auto corner = [&](int join) {
    const Pixels pixels = drawn(30, 30, {{{10, 10}, {20, 10}, {20, 20}}, 4, Butt, join});
    std::vector<std::string> rows;
    for (int y = 7; y < 11; ++y) {
      rows.emplace_back();
      for (int x = 19; x < 24; ++x) rows.back() += pixels.get(x, y) ? '#' : '.';
    }
    return rows;
  };
  using Rows = std::vector<std::string>;
  EXPECT_EQ(corner(Mitre), (Rows{".....", "###..", "###..", "###.."}));
  EXPECT_EQ(corner(Bevel), (Rows{".....", "#....", "##...", "###.."}));
  EXPECT_EQ(corner(RoundJoin), (Rows{".....", "#....", "###..", "###.."}));
  // Under 11 degrees a mitre would be 80 pixels long.
  const Pixels hairpin = drawn(120, 40, {{{10, 20}, {30, 20}, {10, 21}}, 4});
  EXPECT_EQ(hairpin.get(34, 20), false);
  // A closed line has a join where it begins, and no caps.
  for (const int cap : {Butt, RoundCap, Square}) {
    const std::vector<RlePoint> square = {{10, 10}, {20, 10}, {20, 20}, {10, 20}, {10, 10}};
    Pixels expected = box(30, 30, 8, 8, 22, 22);
    for (int y = 12; y < 18; ++y)
      for (int x = 12; x < 18; ++x) expected.put(x, y, false);
    EXPECT_EQ(drawn(30, 30, {square, 4, cap}), expected);
  }
}

TEST(FatLines, HaveDashesThatCountSteps) {
  const std::vector<RlePoint> points = {{0, 0}, {20, 0}};
  EXPECT_EQ(rowOf({points, 2, Butt, Bevel, {3, 2}}, 24, 0), "###..###..###..###......");
  EXPECT_EQ(rowOf({points, 2, Butt, Bevel, {3, 2}, 4}, 24, 0), ".###..###..###..###.....");
  EXPECT_EQ(rowOf({points, 2, Square, Bevel, {3, 2}, -2}, 24, 0), "#####..###..###..###....");
  EXPECT_EQ(rowOf({points, 2, Butt, Bevel, {3, 0, 1}}, 24, 0), "###.#...#.###.#...#.....");
  EXPECT_EQ(rowOf({points, 2, Square, Bevel, {30}, 31}, 24, 0), "........................");
  EXPECT_EQ(rowOf({points, 2, Square, Bevel, {3, 2}, 0, 1, 0}, 24, 0), "#####################...");
  for (const auto& none : {std::vector<uint8_t>{}, {0, 0}, {0}})
    EXPECT_EQ(drawn(24, 3, {points, 4, Square, Bevel, none, INT_MAX}),
              drawn(24, 3, {points, 4, Square}));
  // On a steep line rows count, and a boundary that falls on a vertex comes a step later.
  const Pixels steep = drawn(20, 20, {{{9, 0}, {9, 10}, {9, 19}}, 2, Butt, Bevel, {5, 5}});
  std::string column;
  for (int y = 0; y < 20; ++y) column += steep.get(9, y) ? '#' : '.';
  EXPECT_EQ(column, "#####......#####....");
  // However far into the pattern a line begins, whole rounds of it change nothing, or where their
  // number of lengths is odd, two rounds.
  std::mt19937 random(61);
  for (int round = 0; round < 300; ++round) {
    std::vector<uint8_t> dashes;
    int sum = 0;
    for (int i = randomInt(random, 1, 5); i > 0; --i) {
      dashes.push_back(uint8_t(randomInt(random, 0, 4)));
      sum += dashes.back();
    }
    if (sum == 0) continue;
    const int offset = randomInt(random, 1, 2 * sum);
    const int far = offset + 2 * sum * randomInt(random, 0, 99999999 / sum);
    EXPECT_EQ(rowOf({points, 2, Butt, Bevel, dashes, offset}, 24, 0),
              rowOf({points, 2, Butt, Bevel, dashes, far}, 24, 0));
  }
}

double distanceTo(const RlePoint& p, const RlePoint& q, int x, int y) {
  const double dx = q.x - p.x, dy = q.y - p.y, length = dx * dx + dy * dy;
  const double t =
      length == 0 ? 0 : std::clamp(((x - p.x) * dx + (y - p.y) * dy) / length, 0.0, 1.0);
  return std::hypot(x - p.x - t * dx, y - p.y - t * dy);
}

// Beyond the ends of segments caps and joins decide.
bool isWellInside(const Line& line, int x, int y) {
  for (size_t i = 1; i < line.points.size(); ++i) {
    const RlePoint p = line.points[i - 1], q = line.points[i];
    const double along = double(x - p.x) * (q.x - p.x) + double(y - p.y) * (q.y - p.y);
    const double length = std::hypot(q.x - p.x, q.y - p.y);
    if (length > 1 && along >= length && along <= length * (length - 1) &&
        distanceTo(p, q, x, y) <= line.width / 2.0 - 1)
      return true;
  }
  return false;
}

// Whether segments are long and meet at 60 degrees or more. Otherwise the inner side of a mitre,
// which ends both segments where their inner sides meet, can cut off more than the other covers.
bool turnsAreWide(const Line& line) {
  for (size_t i = 1; i < line.points.size(); ++i) {
    const RlePoint p = line.points[i - 1], q = line.points[i];
    const RlePoint r = i + 1 < line.points.size() ? line.points[i + 1] : line.points[1];
    const double in = std::hypot(q.x - p.x, q.y - p.y), out = std::hypot(r.x - q.x, r.y - q.y);
    const double dot = double(q.x - p.x) * (r.x - q.x) + double(q.y - p.y) * (r.y - q.y);
    if (in < 2 * line.width || dot < -0.5 * in * out) return false;
  }
  return true;
}

Line randomLine(std::mt19937& random, int low, int high) {
  Line line;
  for (int i = randomInt(random, 1, 6); i > 0; --i)
    line.points.push_back({randomInt(random, low, high), randomInt(random, low, high)});
  if (randomInt(random, 0, 3) == 0) line.points.push_back(line.points[0]);
  if (randomInt(random, 0, 3) == 0) line.points.push_back(line.points.back());
  line.width = randomInt(random, 1, 14);
  line.cap = randomInt(random, 1, 3);
  line.join = randomInt(random, 0, 2);
  return line;
}

TEST(FatLines, CoverWhatIsNearAndNothingThatIsFar) {
  std::mt19937 random(62);
  for (int round = 0; round < 1500; ++round) {
    Line line = randomLine(random, -20, 100);
    const Pixels pixels = drawn(80, 80, line);
    const double half = line.width / 2.0;
    const double mitre = half / std::sin(5.5 * 3.14159265 / 180);
    const bool covers = line.join != Mitre || turnsAreWide(line);
    const bool spikes = line.join == Mitre || line.width == 1;
    const double limit = (spikes ? mitre : line.cap == Square ? half * 1.5 : half) + 1;
    for (int y = 0; y < 80; ++y)
      for (int x = 0; x < 80; ++x) {
        double nearest = distanceTo(line.points[0], line.points[0], x, y);
        for (size_t i = 1; i < line.points.size(); ++i)
          nearest = std::min(nearest, distanceTo(line.points[i - 1], line.points[i], x, y));
        ASSERT_TRUE(!covers || !isWellInside(line, x, y) || pixels.get(x, y))
            << round << ": " << x << ' ' << y << line;
        ASSERT_TRUE(nearest <= limit || !pixels.get(x, y))
            << round << ": " << x << ' ' << y << line;
      }
    const OwnedRect twice(rleNewRect(80, 80, 0));
    draw(twice.get(), line);
    draw(twice.get(), line);
    ASSERT_EQ(Pixels(twice.get()), pixels);
    // What is drawn white on black is what is drawn black on white.
    rleFillRect(twice.get(), 0, 0, 79, 79, 1, nullptr, 1);
    line.colour = 0;
    draw(twice.get(), line);
    Pixels inverse(twice.get());
    for (uint8_t& pixel : inverse.black) pixel ^= 1;
    ASSERT_EQ(inverse, pixels);
  }
}

TEST(FatLines, ConsistOfDashesAndGaps) {
  std::mt19937 random(63);
  for (int round = 0; round < 800; ++round) {
    Line line = randomLine(random, 0, 80);
    for (int i = randomInt(random, 1, 4); i > 0; --i)
      line.dashes.push_back(uint8_t(randomInt(random, 0, 15)));
    line.offset = randomInt(random, -20, 60);
    line.mode = 0;
    const Pixels both = drawn(80, 80, line);
    line.mode = 1;
    const Pixels dashes = drawn(80, 80, line);
    const bool covers = line.join != Mitre;
    for (int y = 0; y < 80; ++y)
      for (int x = 1; x < 79; ++x) {
        // Where a seam goes through a pixel's middle, roundings may leave it out on both sides.
        ASSERT_TRUE(!covers || !isWellInside(line, x, y) || both.get(x, y) ||
                    (both.get(x - 1, y) && both.get(x + 1, y)))
            << x << ' ' << y << line;
        ASSERT_TRUE(!dashes.get(x, y) || both.get(x, y)) << x << ' ' << y << line;
      }
  }
}

// Of a line that leaves the image, the part inside is what it is in a larger image.
TEST(FatLines, AreTheSameInASmallerImage) {
  std::mt19937 random(64);
  for (int round = 0; round < 150; ++round) {
    Line line = randomLine(random, 0, 4000);
    for (RlePoint& point : line.points)
      if (randomInt(random, 0, 2) == 0) point = {point.x / 50, point.y / 50};
    if (round % 3 != 0)
      for (int i = randomInt(random, 1, 4); i > 0; --i)
        line.dashes.push_back(uint8_t(randomInt(random, 1, 40)));
    line.offset = randomInt(random, -20, 60);
    line.mode = randomInt(random, 0, 1);
    const OwnedRect large(rleNewRect(4020, 4020, 0)), small(rleNewRect(70, 60, 0));
    draw(large.get(), line);
    draw(small.get(), line);
    const OwnedRect part(rleCopyRect(large.get(), 0, 0, 69, 59));
    ASSERT_EQ(picture(small.get()), picture(part.get())) << round;
  }
}

TEST(FatLines, ComeFromAsFarAsCoordinatesGo) {
  constexpr int kFar = 1 << 30;
  const std::vector<RlePoint> diagonal = {{-kFar, -kFar}, {kFar, kFar}};
  const Pixels solid = drawn(60, 60, {diagonal, 3});
  const Pixels dashed = drawn(60, 60, {diagonal, 3, Butt, Bevel, {7, 4}, 2});
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 60; ++x) {
      EXPECT_EQ(solid.get(x, y), std::abs(x - y) <= 2);  // 1.5 pixels across
      const int along = (x + y) / 2, phase = int((int64_t{kFar} + along + 2) % 11);
      const bool clear = (x + y) % 2 == 0 && std::abs(x - y) <= 2 && phase != 0 && phase != 7;
      EXPECT_TRUE(!clear || dashed.get(x, y) == (phase < 7)) << x << ' ' << y;
    }
  std::mt19937 random(65);
  const int extremes[] = {INT_MIN, INT_MAX, -kFar, 0, 30, 65535};
  for (int round = 0; round < 600; ++round) {
    Line line = randomLine(random, -100, 100);
    for (RlePoint& point : line.points) {
      if (randomInt(random, 0, 1) == 0) point.x = extremes[randomInt(random, 0, 5)];
      if (randomInt(random, 0, 1) == 0) point.y = extremes[randomInt(random, 0, 5)];
    }
    if (round % 5 == 0) line.width = extremes[randomInt(random, 0, 5)];
    if (line.width < 20 && round % 2 == 0) line.dashes = {uint8_t(randomInt(random, 1, 9)), 3, 0};
    line.mode = randomInt(random, 0, 2);
    drawn(60, 60, line);
  }
}

}  // namespace
}  // namespace rle::test
