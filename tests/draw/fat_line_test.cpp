// Thick lines, against distances from the ideal line. (Clipped: random cases of drawing.)

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

enum Cap { Butt = 1, RoundCap, Square };
enum Join { Mitre, RoundJoin, Bevel };

struct Line {
  std::vector<RlePoint> points;
  int width = 1, cap = Butt, join = Mitre;
  std::vector<uint8_t> dashes = {};
  int offset = 0, mode = 1;
};

void draw(RleRect* rect, Line line, int colour = 1) {
  rleFatLine(rect, int32_t(line.points.size()), line.points.data(), line.width, colour, nullptr,
             line.cap, line.join, line.mode, int32_t(line.dashes.size()), line.dashes.data(),
             line.offset);
}

Pixels drawn(int width, int height, const Line& line) {
  const OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(height), 0));
  draw(rect.get(), line);
  EXPECT_EQ(rleCheckRect(rect.get()), 1);
  return Pixels(rect.get());
}

TEST(FatLines, HaveCapsUnlessTheyAreClosed) {
  const OwnedRect open(rleNewRect(30, 12, 0)), closed(rleNewRect(30, 30, 0));
  rleFillRect(open.get(), 0, 3, 19, 6, 1, nullptr, 1);
  rleSetLine(open->rows[5], 20, 20);  // the vertex itself
  EXPECT_EQ(drawn(30, 12, {{{0, 5}, {20, 5}}, 4}), Pixels(open.get()));
  rleFillRect(open.get(), 20, 3, 21, 6, 1, nullptr, 1);
  EXPECT_EQ(drawn(30, 12, {{{0, 5}, {20, 5}}, 4, Square}), Pixels(open.get()));
  rleFillRect(closed.get(), 8, 8, 21, 21, 1, nullptr, 1);
  rleFillRect(closed.get(), 12, 12, 17, 17, 0, nullptr, 1);
  const std::vector<RlePoint> square = {{10, 10}, {20, 10}, {20, 20}, {10, 20}, {10, 10}};
  for (const int cap : {Butt, RoundCap, Square})
    for (const std::vector<uint8_t>& dashes : {std::vector<uint8_t>{}, {25, 7}})
      EXPECT_EQ(drawn(30, 30, {square, 4, cap, Mitre, dashes, 0, 0}), Pixels(closed.get()));
  const std::vector<RlePoint> corner = {{3, 3}, {20, 5}, {4, 8}};
  for (const int join : {RoundJoin, Bevel})  // one pixel wide, caps and joins are always the same
    EXPECT_EQ(drawn(30, 12, {corner, 1, Square, join}), drawn(30, 12, {corner, 1}));
}

TEST(FatLines, TakeDashesInTurnFromTheirOffsetOn) {
  const auto row = [](std::vector<uint8_t> dashes, int offset, int mode) {
    const OwnedRect rect = image({"............###############"});
    draw(rect.get(), {{{0, 0}, {30, 0}}, 1, Butt, Mitre, std::move(dashes), offset, mode});
    return picture(rect.get())[0];
  };
  EXPECT_EQ(row({3, 2, 1}, 0, 1), "###..#...##.###############");
  EXPECT_EQ(row({3, 2, 1}, 7, 1), "..##.###..#.###############");
  EXPECT_EQ(row({3, 2}, 0, 0), "###########################");  // gaps too
  EXPECT_EQ(row({3, 2}, 0, 2), ".............##...##...##..");
}

struct Place {
  double distance;  // to the line
  bool inside;      // of a segment and well away from its border and its ends, with caps and joins
};

Place placeOf(const Line& line, int x, int y) {
  Place place{std::hypot(x - line.points[0].x, y - line.points[0].y), false};
  for (size_t i = 1; i < line.points.size(); ++i) {
    const RlePoint p = line.points[i - 1], q = line.points[i];
    const double dx = q.x - p.x, dy = q.y - p.y, length = std::hypot(dx, dy);
    if (length == 0) continue;
    const double along = ((x - p.x) * dx + (y - p.y) * dy) / length;
    const double t = std::clamp(along, 0.0, length) / length;
    const double distance = std::hypot(x - p.x - t * dx, y - p.y - t * dy);
    place.distance = std::min(place.distance, distance);
    if (along >= 1 && along <= length - 1 && distance <= line.width / 2.0 - 1) place.inside = true;
  }
  return place;
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
  for (int i = randomInt(random, 0, 4); i > 0; --i)
    line.dashes.push_back(uint8_t(randomInt(random, 0, 15)));
  line.offset = randomInt(random, -20, 60);
  line.mode = randomInt(random, 0, 2);
  return line;
}

TEST(FatLines, CoverWhatIsNearAndNothingThatIsFarInDashesAndGaps) {
  std::mt19937 random(62);
  for (int round = 0; round < 600; ++round) {
    Line line = randomLine(random, -20, 100);
    line.mode = 1;
    const Pixels dashes = drawn(80, 80, line);
    line.mode = 0;
    const Pixels both = drawn(80, 80, line);
    line.mode = 1;
    line.dashes.clear();
    const Pixels solid = drawn(80, 80, line);
    const OwnedRect inverse(rleNewRect(80, 80, 0));
    rleFillRect(inverse.get(), 0, 0, 79, 79, 1, nullptr, 1);
    draw(inverse.get(), line, 0);
    const Pixels white(inverse.get());
    const double half = line.width / 2.0, mitre = half / std::sin(5.5 * 3.14159265 / 180);
    const bool spikes = line.join == Mitre || line.width == 1;
    const double limit = (spikes ? mitre : line.cap == Square ? half * 1.5 : half) + 1;
    const bool covers = line.join != Mitre || turnsAreWide(line);
    SCOPED_TRACE(round);
    for (int y = 0; y < 80; ++y)
      for (int x = 0; x < 80; ++x) {
        const Place place = placeOf(line, x, y);
        ASSERT_TRUE(!covers || !place.inside || solid.get(x, y)) << x << ' ' << y;
        ASSERT_TRUE(place.distance <= limit || !solid.get(x, y)) << x << ' ' << y;
        ASSERT_NE(white.get(x, y), solid.get(x, y)) << x << ' ' << y;
        ASSERT_TRUE(!dashes.get(x, y) || both.get(x, y)) << x << ' ' << y;
        // Where a seam goes through a pixel's middle, roundings may leave it out on both sides.
        ASSERT_TRUE(line.join == Mitre || !place.inside || both.get(x, y) || x % 79 == 0 ||
                    (both.get(x - 1, y) && both.get(x + 1, y)))
            << x << ' ' << y;
      }
  }
}

TEST(FatLines, ComeFromAsFarAsCoordinatesGo) {
  constexpr int kFar = 1 << 30;
  const std::vector<RlePoint> diagonal = {{-kFar, -kFar}, {kFar, kFar}};
  const Pixels dashed = drawn(60, 60, {diagonal, 3, Butt, Bevel, {7, 4}, 2});
  for (int y = 0; y < 60; ++y)
    for (int x = y % 2; x < 60; x += 2) {
      const int phase = int((int64_t{kFar} + (x + y) / 2 + 2) % 11);
      const bool clear = std::abs(x - y) <= 2 && phase != 0 && phase != 7;  // 1.5 pixels across
      EXPECT_TRUE(!clear || dashed.get(x, y) == (phase < 7)) << x << ' ' << y;
    }
}

}  // namespace
}  // namespace rle::test
