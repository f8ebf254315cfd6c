// Polygons, polygons between the pixels and thick lines, with vertices anywhere.

#include <cmath>

#include "input.h"

using namespace rle::fuzz;

namespace {

// What is drawn with, the same in an image and in a larger one.
struct Paint {
  int colour, mode;
  rle::OwnedRect pattern;

  explicit Paint(Input& input) : colour(input.range(-1, 1)), mode(input.range(0, 3)) {
    if (input.flag()) pattern = pixelsFrom(input, 40, 6).toRect();
  }

  // What it makes of a pixel inside the shape.
  bool inked(bool before, int x, int y) const {
    if (colour != -1 || !pattern)
      return !((mode == 2 && colour == 1) || (mode == 1 && colour == 0));
    if (pattern->width == 0 || pattern->height == 0) return before;
    const RleLine& row = *pattern->rows[y % pattern->height];
    const bool black = std::any_of(row.runs, row.runs + row.count, [&](RleRun run) {
      return x % pattern->width >= run.start && x % pattern->width < run.end;
    });
    if (mode != 1 && mode != 2) return black;
    return black ? mode == 1 : before;
  }
};

// Draws into an image, and into one that reaches further right and down. Where both are, they must
// look the same: nothing depends on what lies outside.
template <class Draw>
Pixels drawn(Pixels before, Draw draw) {
  const rle::OwnedRect rect = before.toRect();
  draw(rect.get());
  expect(isValid(rect));
  const rle::OwnedRect larger(
      rleNewRect(uint32_t(before.width + 90), uint32_t(before.height + 40), 0));
  rleMergeRect(larger.get(), 0, 0, before.toRect().get(), 0);
  draw(larger.get());
  expect(isValid(larger));
  if (before.width > 0 && before.height > 0) {
    const rle::OwnedRect part(rleCopyRect(larger.get(), 0, 0, before.width - 1, before.height - 1));
    expect(sameImage(*part, *rect));
  }
  return Pixels(rect.get());
}

std::vector<RlePoint> pointsFrom(Input& input, int most) {
  std::vector<RlePoint> points(size_t(input.range(0, most)));
  for (RlePoint& point : points) point = {input.anyInt(200), input.anyInt(100)};
  return points;
}

// A pixel is inside when the boundary to its left, or on it, winds around it.
bool isInside(const std::vector<RlePoint>& points, int fillRule, int x, int y) {
  int winding = 0;
  RlePoint from = points.back();
  for (const RlePoint to : points) {
    const bool down = from.y < to.y;
    const RlePoint upper = down ? from : to, lower = down ? to : from;
    const __int128 height = int64_t{lower.y} - upper.y;
    const __int128 left =
        (__int128{x} - upper.x) * height - (__int128{y} - upper.y) * (int64_t{lower.x} - upper.x);
    if (upper.y <= y && y < lower.y && left >= 0) winding += down ? 1 : -1;
    from = to;
  }
  return fillRule == 0 ? winding % 2 != 0 : winding != 0;
}

void expectPolygon(Input& input) {
  const Paint paint(input);
  const int fillRule = input.range(-1, 1);
  std::vector<RlePoint> points = pointsFrom(input, 24);
  const Pixels before = pixelsFrom(input, 60, 30);
  const Pixels after = drawn(before, [&](RleRect* rect) {
    rleFillPolygon(rect, int32_t(points.size()), points.data(), fillRule, paint.colour,
                   paint.pattern.get(), paint.mode);
  });
  Pixels expected = before;
  for (int y = 0; points.size() >= 3 && y < before.height; ++y)
    for (int x = 0; x < before.width; ++x)
      if (isInside(points, fillRule, x, y)) expected.put(x, y, paint.inked(before.get(x, y), x, y));
  expect(after == expected);
}

// How far a pixel lies inside a triangle's sides, in pixels; negative outside.
double depthIn(const std::vector<RleDPoint>& p, double x, double y) {
  const auto side = [](RleDPoint a, RleDPoint b, double px, double py) {
    return (b.x - a.x) * (py - a.y) - (b.y - a.y) * (px - a.x);
  };
  const double turn = side(p[0], p[1], p[2].x, p[2].y) < 0 ? -1 : 1;
  double depth = HUGE_VAL;
  for (size_t i = 0; i < 3; ++i) {
    const RleDPoint a = p[i], b = p[(i + 1) % 3];
    const double length = std::hypot(b.x - a.x, b.y - a.y);
    depth = std::min(depth, length == 0 ? -HUGE_VAL : turn * side(a, b, x, y) / length);
  }
  return depth;
}

void expectSubPixelPolygon(Input& input) {
  const Paint paint(input);
  const int dx = input.anyInt(30), dy = input.anyInt(30);
  const int bracket = input.range(0, 5);
  std::vector<RleDPoint> points(size_t(input.flag() ? 3 : input.range(0, 16)));
  bool modest = true;
  for (RleDPoint& point : points) {
    point = {input.anyDouble(200), input.anyDouble(100)};
    // False for NaN too. Rows are sampled within a tolerance, so vertices lie on a grid.
    for (const double v : {point.x, point.y})
      modest = modest && std::abs(v) <= 300 && v * 64 == std::floor(v * 64);
  }
  modest = modest && points.size() == 3 && std::abs(dx) <= 300 && std::abs(dy) <= 300;
  const Pixels before = pixelsFrom(input, 60, 30);
  if (bracket == 1) rleBeginSppPoly();
  const Pixels after = drawn(before, [&](RleRect* rect) {
    rleFillSppPoly(rect, int32_t(points.size()), points.data(), dx, dy, paint.colour,
                   paint.pattern.get(), paint.mode);
  });
  if (bracket <= 2) rleEndSppPoly();
  if (!modest) return;
  for (int y = 0; y < before.height; ++y)
    for (int x = 0; x < before.width; ++x) {
      const double depth = depthIn(points, x - dx, y - dy);
      if (std::abs(depth) < 0.01) continue;
      const bool was = before.get(x, y);
      expect(after.get(x, y) == (depth > 0 ? paint.inked(was, x, y) : was));
    }
}

void expectFatLine(Input& input) {
  const Paint paint(input);
  std::vector<RlePoint> points = pointsFrom(input, 8);
  if (input.byte() % 4 == 0 && !points.empty()) points.push_back(points.front());
  const int width = input.byte() < 250 ? input.range(0, 40) : input.anyInt(100);
  const int cap = input.range(0, 4), join = input.range(-1, 3);
  std::vector<uint8_t> dashes(input.flag() ? size_t(input.range(0, 6)) : 0);
  for (uint8_t& dash : dashes) dash = input.byte();
  const int offset = input.anyInt(300);
  const Pixels before = pixelsFrom(input, 60, 30);
  drawn(before, [&](RleRect* rect) {
    rleFatLine(rect, int32_t(points.size()), points.data(), width, paint.colour,
               paint.pattern.get(), cap, join, paint.mode, int32_t(dashes.size()), dashes.data(),
               offset);
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  switch (input.byte() % 3) {
    case 0:
      expectPolygon(input);
      break;
    case 1:
      expectSubPixelPolygon(input);
      break;
    default:
      expectFatLine(input);
      break;
  }
  return 0;
}
