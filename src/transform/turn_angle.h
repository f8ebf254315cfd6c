// The angle of a free rotation.

#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

namespace rle {

struct TurnAngle {
  double degrees;  // 0 to 360, both inclusive
  double c;        // its cosine and sine
  double s;
};

// Takes whole turns away from a finite angle; nothing for any other. Every operation and its order
// matter: at multiples of 90 degrees the last bit of the sine decides where lines begin.
inline std::optional<TurnAngle> turnAngle(double degrees) {
  constexpr double kPi = 3.141592653589793;
  constexpr double kPerDegree = 0.005555555555555556;
  if (!std::isfinite(degrees)) return std::nullopt;
  // From here on the integer below would not hold the angle; its remainder is exact all the same.
  if (std::abs(degrees) >= 0x1p53) degrees = std::fmod(degrees, 360.0);
  const int64_t wholeTurns = int64_t(degrees) / 360;
  double a = degrees - 360.0 * double(wholeTurns);
  if (a < 0) a += 360.0;
  const double radians = a * kPi * kPerDegree;
  return TurnAngle{a, std::cos(radians), std::sin(radians)};
}

}  // namespace rle
