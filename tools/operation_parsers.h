// Each operation's parser: takes the value of its option and hands back what to do with the page.
// All throw UsageError. Also what their messages say about pages.

#pragma once

#include <span>
#include <string>

#include "operations.h"
#include "values.h"

namespace rle {

inline constexpr int32_t kBlack = 1;
inline constexpr int32_t kWhite = 0;
inline constexpr int32_t kPaint = 1;  // the paint mode in which a colour is what it says

std::string sizeOf(const RleRect& page);
bool touches(const RleRect& page, const Rectangle& area);
Rectangle bounds(std::span<const RlePoint> vertices);
// Why a shape that touches no pixel of the page is refused.
std::string misses(const char* shape, const RleRect& page);

// What a scaling is asked for by.
struct Scaling {
  enum class Manner { point, nearest, min };
  double factor;
  Manner manner;
};

namespace parse {

uint32_t quarterTurns(const std::string& value);  // 0 to 3, counter-clockwise
Scaling scaling(const std::string& value);

// How a second picture is laid on the page; merging and patterns use the same numbers.
int32_t layMode(const std::string& field);

// operations_paint.cpp
Operation blank(const std::string& value);
Operation fill(const std::string& value);
Operation polygon(const std::string& value);
Operation pattern(const std::string& value);

// operations_line.cpp
Operation line(const std::string& value);
Operation frame(const std::string& value);

// operations_pieces.cpp
Operation crop(const std::string& value);
Operation component(const std::string& value);
Operation merge(const std::string& value);
Operation mask(const std::string& value);

// operations_transform.cpp
Operation mirror(const std::string& value);
Operation turn(const std::string& value);
Operation rotate(const std::string& value);
Operation scale(const std::string& value);
Operation dpi(const std::string& value);
Operation setDpi(const std::string& value);

}  // namespace parse
}  // namespace rle
