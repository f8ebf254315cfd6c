// The operations that move every pixel of the page: mirroring, turning and scaling.
//
// The library keeps the low 16 bits of a size and leaves a page as it is when memory runs out, so
// the new size is worked out here first: it is refused where no page can have it, and compared with
// what came out.

#include <algorithm>
#include <cmath>

#include "failure.h"
#include "operation_parsers.h"
#include "transform/turn_angle.h"

namespace rle {
namespace {

constexpr double kOne = 32768;  // a factor of 1 in the library's fixed-point numbers

using Manner = Scaling::Manner;

struct Size {
  uint64_t width;
  uint64_t height;
};

std::string inWords(const Size& size) {
  return std::to_string(size.width) + " x " + std::to_string(size.height) + " pixels";
}

// Empty when a page can have this size.
std::string refusal(const Size& size) {
  if (size.width == 0 || size.height == 0) return "the result would be empty: " + inWords(size);
  if (size.width > kMaxSide || size.height > kMaxSide)
    return "the result would be " + inWords(size) + ", more than 65535";
  return "";
}

// The size that the library gives the page. Heights, and everything with Manner::min, go by the
// factor without its two lowest bits.
Size scaledSize(const RleRect& page, uint64_t factor, Manner manner) {
  const uint64_t coarse = factor >> 2;
  const auto roundedUp = [coarse](uint64_t side) { return (coarse * side + 8191) >> 13; };
  if (manner == Manner::min) return {roundedUp(page.width), roundedUp(page.height)};
  const uint64_t half = manner == Manner::nearest ? 16384 : 0;
  return {(factor * page.width + half) >> 15, coarse * page.height >> 13};
}

// Runs `change`, which scales the page by the factor. Returns why it cannot be done, or nothing.
template <class Change>
std::string scaleBy(RleRect& page, uint32_t factor, Manner manner, Change change) {
  const Size wanted = scaledSize(page, factor, manner);
  if (std::string reason = refusal(wanted); !reason.empty()) return reason;
  change(page, factor);
  return page.width == wanted.width && page.height == wanted.height ? "" : "out of memory";
}

// No page can be as large as the largest factor would make it.
uint32_t fixedPoint(double factor) { return uint32_t(std::min(factor * kOne, double(UINT32_MAX))); }

}  // namespace

namespace parse {

Operation mirror(const std::string& value) {
  constexpr const char* kAxes[] = {"x", "y"};
  const bool topToBottom = choice(value, kAxes, "mirror axis") == 0;
  return [topToBottom](OwnedRect& page) -> std::string {
    (topToBottom ? rleMirrorRectX : rleMirrorRectY)(page.get());
    return "";
  };
}

uint32_t quarterTurns(const std::string& value) {
  return uint32_t(number(value)) % 4;  // 2^32 is a multiple of 4
}

Operation turn(const std::string& value) {
  const uint32_t quarters = quarterTurns(value);
  return [quarters](OwnedRect& page) -> std::string {
    if (quarters % 2 != 0 && page->height < 2)
      return "a page of one row cannot be turned by an odd number of quarters";
    OwnedRect turned(rleQRotateRect(page.get(), quarters));
    if (!turned) return "out of memory";
    page = std::move(turned);
    return "";
  };
}

Operation rotate(const std::string& value) {
  const double degrees = decimal(value);
  return [degrees](OwnedRect& page) -> std::string {
    const TurnAngle angle = *turnAngle(degrees);
    const double c = std::abs(angle.c);
    const double s = std::abs(angle.s);
    const Size size{uint64_t(std::ceil(page->width * c + page->height * s)),
                    uint64_t(std::ceil(page->width * s + page->height * c))};
    if (std::string reason = refusal(size); !reason.empty()) return reason;
    double cornerX, cornerY;
    OwnedRect rotated(rleRotateRect(page.get(), degrees, &cornerX, &cornerY));
    if (!rotated) return "out of memory";
    page = std::move(rotated);
    return "";
  };
}

Scaling scaling(const std::string& value) {
  constexpr const char* kManners[] = {"point", "nearest", "min"};
  const size_t comma = value.find(',');
  const double factor = decimal(value.substr(0, comma));
  if (factor <= 0) throw UsageError("the factor must be above 0");
  const int32_t manner = comma == std::string::npos
                             ? 0
                             : choice(value.substr(comma + 1), kManners, "manner of scaling");
  return {factor, Manner(manner)};
}

Operation scale(const std::string& value) {
  constexpr decltype(&rleScaleRect) kScalers[] = {rleScaleRect, rleNNScaleRect, rleMinScaleRect};
  const auto [factor, manner] = scaling(value);
  return [factor = factor, manner = manner, scaler = kScalers[int(manner)]](OwnedRect& page) {
    return scaleBy(*page, fixedPoint(factor + 0.5 / kOne), manner,
                   [scaler](RleRect& rect, uint32_t f) { scaler(&rect, f, f); });
  };
}

Operation dpi(const std::string& value) {
  const int32_t resolution = number(value, 1, 65535);
  return [resolution](OwnedRect& page) -> std::string {
    if (page->resolution == 0) return "the page's own resolution is not known, --set-dpi states it";
    if (page->resolution == resolution) return "";
    return scaleBy(*page, fixedPoint(double(resolution) / page->resolution), Manner::point,
                   [resolution](RleRect& rect, uint32_t) { rleChangeResRect(&rect, resolution); });
  };
}

Operation setDpi(const std::string& value) {
  const int32_t dpi = number(value, 1, 65535);
  return [dpi](OwnedRect& page) -> std::string {
    page->resolution = uint16_t(dpi);
    return "";
  };
}

}  // namespace parse
}  // namespace rle
