// Free rotation against walking every line point by point.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "reference/literal_row.h"
#include "reference/plain_rotation.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

// The same runs in buffers of the same size, and the same corner.
void expectPlainRotation(const RleRect* source, double angle) {
  SCOPED_TRACE(testing::Message() << source->width << " x " << source->height << " by " << angle);
  const PlainRotation plain(source, angle);
  double x = -1, y = -1;
  const OwnedRect turned(rleRotateRect(const_cast<RleRect*>(source), angle, &x, &y));
  ASSERT_EQ(turned->width, plain.result->width);
  ASSERT_EQ(turned->height, plain.result->height);
  EXPECT_EQ(turned->resolution, plain.result->resolution);
  EXPECT_EQ(turned->tag, 0U);
  EXPECT_EQ(x, plain.cornerX);
  EXPECT_EQ(y, plain.cornerY);
  for (int i = 0; i < turned->height; ++i)
    ASSERT_TRUE(LiteralRow(plain.result->rows[i]).matches(turned->rows[i])) << "row " << i;
}

double randomAngle(std::mt19937& random) {
  const double exact = 45.0 * randomInt(random, -20, 20);
  const double angles[] = {exact, std::nextafter(exact, -1e9), std::nextafter(exact, 1e9),
                           exact + randomInt(random, -300, 300) / 100.0,
                           std::uniform_real_distribution<double>(-800, 800)(random)};
  return angles[std::min(4, randomInt(random, 0, 6))];
}

// Rows are built span by span, which shows in their buffers whatever slack is allowed.
TEST(Rotation, IsWhatWalkingTheLinesDraws) {
  std::mt19937 random(37);
  const uint32_t extras[][2] = {{4, 40}, {4, 0}, {0, 0}, {9, 3}, {0, 1000}};
  for (int round = 0; round < 5000; ++round) {
    rleRunAllocMinExtra = extras[round % 5][0];
    rleRunAllocMaxExtra = extras[round % 5][1];
    const int widest = round % 60 < 5 ? 700 : round % 8 == 0 ? 3 : 70;
    const Pixels pixels = randomPixels(random, randomInt(random, 0, widest),
                                       randomInt(random, 1, round % 8 == 1 ? 3 : 70),
                                       randomInt(random, 1, 9), randomInt(random, 1, 9));
    expectPlainRotation(pixels.toRect(round % 3 == 0 ? 0 : 300).get(), randomAngle(random));
    if (HasFatalFailure()) break;
  }
  rleRunAllocMinExtra = 4;
  rleRunAllocMaxExtra = 40;
}

TEST(Rotation, OfVeryLongSidesStaysWithinTheImage) {
  for (const double angle : {0.01, 90.0, 179.99, 269.99, 359.9}) {
    for (const bool wide : {true, false}) {
      const OwnedRect page(wide ? rleNewRect(65535, 3, 0) : rleNewRect(3, 65535, 0));
      for (int y = 0; y < page->height; y += 2) rleSetLine(page->rows[y], 1, page->width - 1);
      expectPlainRotation(page.get(), angle);
    }
  }
  const OwnedRect square(rleNewRect(65535, 65535, 0));  // turned: more than 16 bits can say
  for (const int y : {0, 30000, 65534}) rleSetLine(square->rows[y], 0, 65534);
  for (const double angle : {30.0, 60.0, 225.0, 300.0}) {
    double x, y;
    const OwnedRect turned(rleRotateRect(square.get(), angle, &x, &y));
    EXPECT_EQ(rleCheckRect(turned.get()), 1);
    const double turn = angle * M_PI / 180,
                 sides = std::abs(std::cos(turn)) + std::abs(std::sin(turn));
    EXPECT_EQ(turned->width, uint16_t(int(std::ceil(65535 * sides))));
  }
}

TEST(Rotation, ByAnglesThatAreNoneIsRefused) {
  const OwnedRect page = image({"##", "##"});
  double x = 1, y = 1;
  for (const double angle : {HUGE_VAL, -HUGE_VAL, std::nan("")})
    EXPECT_EQ(rleRotateRect(page.get(), angle, &x, &y), nullptr);
  EXPECT_EQ(x + y, 0);
  for (const double angle : {1e10, -4e18, 1e300, 1e-300, -1e-300})
    EXPECT_EQ(rleCheckRect(OwnedRect(rleRotateRect(page.get(), angle, &x, &y)).get()), 1) << angle;
}

}  // namespace
}  // namespace rle::test
