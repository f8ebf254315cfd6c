// Rotation of polygon regions.

#include <gtest/gtest.h>

#include <cmath>

#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

// Expects a turned region to be the turned image where its mask is black, and one vertex to keep
// its distance to the corner of the source, which lies at (x, y).
void expectTurned(RlePoly* source, double angle, OwnedRect image) {
  double x = -1, y = -1;
  const OwnedPoly region(rleRotatePoly(source, angle, &x, &y));
  ASSERT_NE(region, nullptr) << angle;
  EXPECT_EQ(region->mask->height, image->height);
  rleMaskRect(image.get(), region->mask, 0);
  EXPECT_EQ(Pixels(region->image), Pixels(image.get())) << angle;
  EXPECT_EQ(rleCheckRect(region->image), 1);
  EXPECT_EQ(rleCheckRect(region->mask), 1);
  EXPECT_EQ(region->mask->resolution, 300);
  EXPECT_EQ(region->fillRule, 0);
  ASSERT_EQ(region->count, 3U);
  const RlePoint* p = region->points;
  EXPECT_NEAR(std::hypot(p[1].x - x, p[1].y - y), std::hypot(50, 8), 3) << angle;
  const int middleX = (p[0].x + p[1].x + p[2].x) / 3, middleY = (p[0].y + p[1].y + p[2].y) / 3;
  EXPECT_TRUE(Pixels(region->mask).get(middleX, middleY)) << angle;
}

TEST(RegionRotation, MasksTheImageWithTheTurnedPolygon) {
  std::mt19937 random(40);
  const OwnedPoly poly(rleAllocPoly());
  poly->image = randomPixels(random, 60, 40).toRect(300).release();
  poly->fillRule = 1;
  poly->count = 3;
  poly->points = rleAllocPoints(3);
  std::ranges::copy(std::vector<RlePoint>{{5, 5}, {50, 8}, {30, 35}}, poly->points);
  double x, y;
  for (int round = 0; round < 200; ++round) {
    const double angle = std::uniform_real_distribution<double>(-360, 720)(random);
    expectTurned(poly.get(), angle, OwnedRect(rleRotateRect(poly->image, angle, &x, &y)));
  }
  for (const double angle : {-0.0005, 90.002})  // not quite whole quarters
    expectTurned(poly.get(), angle, OwnedRect(rleRotateRect(poly->image, angle, &x, &y)));
  const std::pair<double, uint32_t> wholes[] = {{0.0005, 0}, {90.0005, 1}, {-270, 1}, {630, 3}};
  for (const auto& [angle, quarters] : wholes)
    expectTurned(poly.get(), angle, OwnedRect(rleQRotateRect(poly->image, quarters)));
  EXPECT_EQ(rleRotatePoly(poly.get(), std::nan(""), &x, &y), nullptr);
  EXPECT_EQ(x + y, 0);
}

}  // namespace
}  // namespace rle::test
