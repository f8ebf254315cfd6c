// Arcs as polygons.
//
// The vertices lie about one pixel apart on the larger radius. Those that would not change what is
// filled, because they round to the same row as the vertex before (or column, where the ellipse is
// higher than wide), are left out, all but the extremes of the arc:
//
//          o---o---o
//       o      L     o        K, L and the candidate C: when C turns back from L, the point just
//     K          - C - o      before C is kept too, lest the top of the arc be cut off

#include "draw/fat_arc.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "draw/rounding.h"

namespace rle {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int32_t kFirstVertices = 2;
constexpr int32_t kMoreVertices = 10;

// A third of a million pixels of width, five times what an image has, stay below this; wider arcs
// get vertices that lie farther apart.
constexpr double kMostSteps = 1 << 20;

// The vertices of an arc, in an array that grows with them.
class ArcVertices {
 public:
  ArcVertices(OwnedDPoints& list, int32_t reserved) : list_(list), first_(reserved) {}

  bool grow(int32_t more) {
    capacity_ += more;
    const size_t bytes = size_t(first_ + int64_t{capacity_}) * sizeof(RleDPoint);
    auto* const larger = static_cast<RleDPoint*>(std::realloc(list_.get(), bytes));
    if (larger == nullptr) return false;
    (void)list_.release();  // realloc has taken care of it
    list_.reset(larger);
    return true;
  }

  bool add(const RleDPoint& vertex) {
    if (count_ == capacity_ && !grow(std::max(kMoreVertices, capacity_ / 2))) return false;
    at(count_++) = vertex;
    return true;
  }

  RleDPoint& last(int32_t back = 0) { return at(count_ - 1 - back); }
  int32_t count() const { return count_; }

 private:
  RleDPoint& at(int32_t index) { return list_[size_t(first_ + int64_t{index})]; }

  OwnedDPoints& list_;
  int32_t first_;
  int32_t count_ = 0;
  int32_t capacity_ = 0;
};

// Whether a path from k over l to c turns back at l.
bool turnsBack(double k, double l, double c) { return k <= l ? c < l : c > l; }

}  // namespace

int32_t fatArcPolygon(const RleArcSpec& spec, int32_t reserved, OwnedDPoints& list) {
  const double start = -spec.start;
  const double sweep = -spec.sweep;
  const double larger = std::max(spec.width, spec.height) / 2;
  if (!(larger > 0)) return 0;
  // A radius below 1 has no chord of length 1 per step; a quarter turn a step is fine enough.
  const double wanted = sweep / std::asin(std::min(1 / larger, 1.0));
  const int32_t steps = truncated(std::min(std::fabs(wanted), kMostSteps - 1)) + 1;
  const double delta = sweep / steps;
  const double twiceCosine = 2 * std::cos(delta);
  const double rx = spec.width / 2;
  const double ry = spec.height / 2;
  const double cx = spec.x + rx;
  const double cy = spec.y + ry;
  const auto deciding = [&](const RleDPoint& at) { return rounded(rx >= ry ? at.y : at.x); };

  ArcVertices vertices(list, reserved);
  if (!vertices.grow(kFirstVertices)) return 0;
  double cosOld = std::cos(start);
  double sinOld = std::sin(start);
  double cos = std::cos(start + delta);
  double sin = std::sin(start + delta);
  vertices.add({cx + rx * cosOld, cy + ry * sinOld});
  vertices.add({cx + rx * cos, cy + ry * sin});
  int32_t reference = deciding(vertices.last());
  for (int32_t j = 2; j <= steps; ++j) {
    const RleDPoint before = {cx + rx * cos, cy + ry * sin};
    cosOld = std::exchange(cos, twiceCosine * cos - cosOld);
    sinOld = std::exchange(sin, twiceCosine * sin - sinOld);
    const RleDPoint candidate = {cx + rx * cos, cy + ry * sin};
    if (deciding(candidate) == reference && j <= steps - 2) continue;
    const RleDPoint l = vertices.last();
    const RleDPoint k = vertices.last(1);
    if (turnsBack(k.y, l.y, candidate.y) || turnsBack(k.x, l.x, candidate.x))
      if (!vertices.add(before)) return 0;
    if (!vertices.add(candidate)) return 0;
    reference = deciding(candidate);
  }
  vertices.last() = {cx + rx * std::cos(start + sweep), cy + ry * std::sin(start + sweep)};
  return vertices.count();
}

void fatArc(const RleLineStyle& style, const RleDPoint& v, const RleDPoint& p, const RleDPoint& f,
            const RleDPoint& t) {
  const double width = style.width == 0 ? 1 : style.width;
  const double from = std::atan2(f.y - v.y, f.x - v.x);
  RleArcSpec spec = {v.x - width / 2, v.y - width / 2, width, width, -from, -kPi};
  if (differ(v, p)) {
    spec.sweep = from - std::atan2(t.y - v.y, t.x - v.x);
    if (spec.sweep < 0) spec.sweep += 2 * kPi;
  }
  OwnedDPoints list;
  const int32_t count = fatArcPolygon(spec, 0, list);
  if (count > 0) fillPiece(style, {list.get(), size_t(count)});
}

}  // namespace rle
