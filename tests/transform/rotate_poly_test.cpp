// Rotation of polygon regions.

#include <gtest/gtest.h>

#include <cmath>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

struct Turned {
  OwnedPoly region;
  double x = -1;
  double y = -1;

  Turned(RlePoly* source, double angle) { region.reset(rleRotatePoly(source, angle, &x, &y)); }
};

OwnedPoly region(std::mt19937& random, int width, int height, std::vector<RlePoint> points) {
  OwnedPoly poly(rleAllocPoly());
  poly->image = randomPixels(random, width, height).toRect(300).release();
  poly->fillRule = 1;
  poly->count = uint32_t(points.size());
  if (!points.empty()) poly->points = rleAllocPoints(poly->count);
  std::copy(points.begin(), points.end(), poly->points);
  return poly;
}

Pixels both(const RleRect* a, const RleRect* b) {
  Pixels pixels(a);
  const Pixels other(b);
  for (size_t i = 0; i < pixels.black.size(); ++i) pixels.black[i] &= other.black[i];
  return pixels;
}

TEST(RegionRotation, TurnsNearlyWholeQuartersExactly) {
  std::mt19937 random(39);
  const OwnedPoly poly = region(random, 100, 50, {{0, 0}, {0, 50}, {100, 50}, {100, 0}, {10, 20}});
  const struct {
    double angle;
    uint32_t quarters;
    RlePoint corner, last;
  } cases[] = {{0.0005, 0, {0, 0}, {10, 20}},
               {90.0005, 1, {0, 100}, {20, 90}},
               {-270, 1, {0, 100}, {20, 90}},
               {180, 2, {100, 50}, {90, 30}},
               {630, 3, {50, 0}, {30, 10}}};
  for (const auto& c : cases) {
    const Turned turned(poly.get(), c.angle);
    const OwnedRect image(rleQRotateRect(poly->image, c.quarters));
    EXPECT_EQ(turned.region->image->width, image->width) << c.angle;
    EXPECT_EQ(turned.x, c.corner.x);
    EXPECT_EQ(turned.y, c.corner.y);
    EXPECT_EQ(turned.region->count, 5U);
    EXPECT_NEAR(turned.region->points[4].x, c.last.x, 1) << c.angle;
    EXPECT_NEAR(turned.region->points[4].y, c.last.y, 1) << c.angle;
    EXPECT_EQ(turned.region->fillRule, 0);
    EXPECT_EQ(Pixels(turned.region->image), both(image.get(), turned.region->mask)) << c.angle;
  }
  for (const double angle : {-0.0005, 90.002}) {
    const Turned turned(poly.get(), angle);
    double x;
    double y;
    const OwnedRect image(rleRotateRect(poly->image, angle, &x, &y));
    EXPECT_EQ(turned.region->image->width, image->width) << angle;
    EXPECT_EQ(turned.region->image->height, image->height) << angle;
    EXPECT_EQ(turned.y, y);
  }
}

TEST(RegionRotation, MasksTheImageWithTheTurnedPolygon) {
  std::mt19937 random(40);
  for (int round = 0; round < 200; ++round) {
    const OwnedPoly poly = region(random, 60, 40, {{5, 5}, {50, 8}, {30, 35}});
    const double angle = std::uniform_real_distribution<double>(0, 360)(random);
    const Turned turned(poly.get(), angle);
    double x;
    double y;
    const OwnedRect image(rleRotateRect(poly->image, angle, &x, &y));
    ASSERT_EQ(Pixels(turned.region->image), both(image.get(), turned.region->mask)) << angle;
    EXPECT_EQ(turned.region->mask->resolution, 300);
    // The vertex keeps its distance to the corner of the source, which lies at (x, y).
    const RlePoint vertex = turned.region->points[1];
    EXPECT_NEAR(std::hypot(vertex.x - x, vertex.y - y), std::hypot(50, 8), 3) << angle;
  }
}

TEST(RegionRotation, GivesARegionWithoutVerticesTheCornersOfItsImage) {
  std::mt19937 random(41);
  const OwnedPoly poly = region(random, 60, 40, {});
  const Turned turned(poly.get(), 0);
  ASSERT_EQ(turned.region->count, 4U);
  EXPECT_EQ(turned.region->points[0].y, 0);
  EXPECT_EQ(turned.region->points[2].x, 59);
  EXPECT_EQ(turned.region->points[2].y, 39);
  EXPECT_EQ(rleCheckRect(turned.region->mask), 1);
  EXPECT_EQ(Pixels(turned.region->mask).get(58, 38), true);
}

TEST(RegionRotation, IsRefusedWithoutAnImageOrAnAngle) {
  std::mt19937 random(42);
  const OwnedPoly poly = region(random, 60, 1, {{0, 0}, {9, 0}, {0, 9}});
  const Turned byNothing(poly.get(), std::nan(""));
  EXPECT_EQ(byNothing.region, nullptr);
  EXPECT_EQ(byNothing.x + byNothing.y, 0);
  EXPECT_EQ(Turned(poly.get(), 90).region, nullptr);  // one row
  rleFreeRect(poly->image);
  poly->image = nullptr;
  EXPECT_EQ(Turned(poly.get(), 30).region, nullptr);
}

}  // namespace
}  // namespace rle::test
