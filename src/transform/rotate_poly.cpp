// Free rotation of a polygon region: its image and its vertices turn alike, and its mask is made
// anew from the turned polygon. Whole quarters, to a thousandth of a degree, are turned exactly.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>

#include "model/owners.h"
#include "rle.h"
#include "transform/turn_angle.h"

namespace rle {
namespace {

constexpr double kNearEnough = 0.001;  // degrees

// Turns the image and says where its top left corner went; null when that cannot be done.
RleRect* turnImage(RleRect& image, const TurnAngle& angle, double& cornerX, double& cornerY) {
  const double w = image.width;
  const double h = image.height;
  const struct { double x, y; } corners[] = {{0, 0}, {0, w}, {w, h}, {h, 0}};
  for (uint32_t quarters = 0; quarters < 4; ++quarters)
    if (std::abs(angle.degrees - 90.0 * quarters) < kNearEnough) {
      cornerX = corners[quarters].x;
      cornerY = corners[quarters].y;
      return rleQRotateRect(&image, quarters);
    }
  return rleRotateRect(&image, angle.degrees, &cornerX, &cornerY);
}

// Towards zero, to 32 bits; what lies beyond them is kept at their bounds.
int64_t truncated(double v) { return int64_t(std::clamp(v, double{INT32_MIN}, double{INT32_MAX})); }

// Turns vertices along with an image of W x H pixels. Every term is truncated by itself.
class VertexTurn {
 public:
  VertexTurn(const TurnAngle& angle, const RleRect& source, const RleRect& result)
      : c_(angle.c), s_(angle.s), h_(source.height), resultHeight_(result.height) {
    const double w = source.width;
    if (angle.degrees <= 90) {
      dx_ = truncated(h_ * s_);
    } else if (angle.degrees <= 180) {
      dx_ = truncated(w * std::abs(c_) + h_ * s_);
      dy_ = truncated(h_ * c_);
    } else if (angle.degrees <= 270) {
      dx_ = truncated(w * std::abs(c_));
      dy_ = truncated(h_ * c_ + w * s_);
    } else {
      dy_ = truncated(w * s_);
    }
  }

  RlePoint operator()(RlePoint vertex) const {
    const double x = vertex.x;
    const double y = h_ - vertex.y;
    return {int32_t(truncated(x * c_ - y * s_) + dx_),
            int32_t(truncated(resultHeight_ - (x * s_ + y * c_)) + dy_)};
  }

 private:
  double c_;
  double s_;
  double h_;
  double resultHeight_;
  int64_t dx_ = 0;
  int64_t dy_ = 0;
};

}  // namespace
}  // namespace rle

// The corner values of a quarter turn are stored before the image is turned, and stay when that
// fails.
extern "C" RlePoly* rleRotatePoly(RlePoly* poly, double angle, double* cornerX, double* cornerY) {
  *cornerX = 0;
  *cornerY = 0;
  const auto turn = rle::turnAngle(angle);
  if (!turn || poly->image == nullptr) return nullptr;
  RleRect& image = *poly->image;
  rle::OwnedPoly result(rleAllocPoly());
  if (!result) return nullptr;
  result->image = rle::turnImage(image, *turn, *cornerX, *cornerY);
  if (result->image == nullptr) return nullptr;

  const int32_t right = image.width - 1;
  const int32_t bottom = image.height - 1;
  const RlePoint corners[] = {{0, 0}, {0, bottom}, {right, bottom}, {right, 0}};
  std::span<const RlePoint> vertices = corners;
  if (poly->count != 0 && poly->points != nullptr) vertices = {poly->points, poly->count};
  result->count = uint32_t(vertices.size());
  result->points = rleAllocPoints(result->count);
  if (result->points == nullptr) return nullptr;
  std::transform(vertices.begin(), vertices.end(), result->points,
                 rle::VertexTurn(*turn, image, *result->image));

  result->mask = rleNewRect(result->image->width, result->image->height, result->image->resolution);
  if (result->mask == nullptr) return nullptr;
  rleFillPolygon(result->mask, int32_t(result->count), result->points, 0, 1, nullptr, 1);
  rleMaskRect(result->image, result->mask, 0);
  return result.release();
}
