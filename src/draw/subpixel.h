// What the sub-pixel fill needs to pass over rows that nobody sees.

#pragma once

#include <cstdint>

namespace rle {

// `x` after `times` additions of `step`, each rounded to a double: to the last bit what a loop
// would make of it, but in a time that does not grow with `times`.
double addRepeatedly(double x, double step, int64_t times);

}  // namespace rle
