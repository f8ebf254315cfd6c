// The walk along a dashed line.
//
// A segment is walked pixel by pixel along its longer axis, one step each. Along the other axis
// the walk moves whenever its error term, which starts at 2 * minor - major and grows by 2 * minor
// a step, has reached 0 (or 1, where the segment does not run to the right); the term then falls by
// 2 * major. That keeps the term within 2 * major values, so the number of moves after any number
// of steps is one division, and the walk goes from mark to mark.

#include "draw/fat_dash.h"

#include <algorithm>
#include <cmath>

namespace rle {
namespace {

constexpr size_t kFirstMarks = 16;

// A line with more marks that can be seen (1.6 GB of them) is one for which memory has run out.
constexpr size_t kMostMarks = size_t{1} << 26;

// Steps [begin, end) of a segment.
struct Steps {
  int64_t begin;
  int64_t end;
};

// The steps of a segment between two places on its line, and a few more.
Steps stepsBetween(double first, double last, int64_t major) {
  const auto clamped = [&](double step) {
    return int64_t(std::clamp(step, 0.0, double(major) + 1));
  };
  return {clamped(std::floor(first) - 1), clamped(std::ceil(last) + 2)};
}

// The steps at which start + delta * i / major lies within [low, high], and perhaps a few more.
Steps stepsWithin(int64_t start, int64_t delta, int64_t major, double low, double high) {
  if (delta == 0) {
    const bool inside = double(start) >= low && double(start) <= high;
    return {0, inside ? major + 1 : 0};
  }
  const double scale = double(major) / double(delta);
  double first = (low - double(start)) * scale;
  double last = (high - double(start)) * scale;
  if (first > last) std::swap(first, last);
  return stepsBetween(first, last, major);
}

// How far the sides of a dash as long as the segment may stray: their columns are stepped from row
// to row, and each sum is rounded. A thousand pixels for the longest, nothing for those of a page.
double drift(const DashSegment& segment) {
  const auto major = double(segment.major);
  constexpr double kPage = 1 << 17;  // its columns, and as many beside it
  return std::ldexp(major * (major + kPage), -53);
}

// The steps of a segment that lie beside the image. Dashes end square to the line, however wide it
// is, so that no others can be seen.
Steps stepsBeside(const RleLineStyle& style, const DashSegment& segment) {
  // A pixel is up to one off the ideal line, and far out coordinates are rounded: that turns a dash
  // by up to 2^-21, which shows at the ends of its sides.
  const double margin = 3 + std::ldexp(style.width, -20) + drift(segment);
  const double dx = double(segment.dx);
  const double dy = double(segment.dy);
  const double scale = double(segment.major) / (dx * dx + dy * dy);
  double first = HUGE_VAL;
  double last = -HUGE_VAL;
  for (const double x : {-margin, style.image->width + margin})
    for (const double y : {-margin, style.image->height + margin}) {
      const double step = ((x - segment.start.x) * dx + (y - segment.start.y) * dy) * scale;
      first = std::min(first, step);
      last = std::max(last, step);
    }
  return stepsBetween(first, last, segment.major);
}

// The steps of a segment from which a line can be seen in the image.
Steps stepsInReach(const RleLineStyle& style, const DashSegment& segment) {
  const double reach = style.width / 2.0 + 3 + drift(segment);  // a pixel is up to one off the line
  const Steps x =
      stepsWithin(segment.start.x, segment.dx, segment.major, -reach, style.image->width + reach);
  const Steps y =
      stepsWithin(segment.start.y, segment.dy, segment.major, -reach, style.image->height + reach);
  const Steps beside = stepsBeside(style, segment);
  return {std::max({x.begin, y.begin, beside.begin}), std::min({x.end, y.end, beside.end})};
}

class DashWalk {
 public:
  explicit DashWalk(const DashPattern& pattern) : lengths_(pattern.lengths) {
    int64_t sum = 0;
    for (const uint8_t length : lengths_) {
      sum += length;
      twoCycles_ += 2 * std::max<int64_t>(length, 1);
    }
    used_ = pattern.offset;
    if (used_ <= lengths_[0] || sum == 0) return;
    // Whole rounds of the pattern first.
    const int64_t rounds = (used_ - 1) / sum;
    used_ -= rounds * sum;
    gap_ = rounds % 2 != 0 && lengths_.size() % 2 != 0;
    while (used_ > lengths_[index_]) {
      used_ -= lengths_[index_];
      turn();
    }
  }

  bool gap() const { return gap_; }

  bool walk(const RleLineStyle& style, const DashSegment& segment, bool isLast, DashMarks& marks) {
    if (!marks.add({segment.at(0), gap_})) return false;
    const Steps seen = stepsInReach(style, segment);
    int64_t step = 0;
    for (;;) {
      int64_t next = step + std::max<int64_t>(lengths_[index_] - used_, 1);
      if (step > 0) next += unseenSteps(seen, segment.major, step, next);
      // What would begin on a vertex begins one step later, on the next segment.
      if (next > segment.major || (next == segment.major && !isLast)) break;
      turn();
      if (!marks.add({segment.at(next), gap_})) return false;
      step = next;
      used_ = 0;
      bounded_ = true;
    }
    used_ += segment.major - step;
    return true;
  }

  // Adds the line's end.
  bool finish(const RleDPoint& end, DashMarks& marks) {
    if (used_ == 0 && bounded_) {  // what would begin here has no pixel
      marks.dropLast();
      gap_ = !gap_;
    }
    return marks.add({end, gap_});
  }

 private:
  void turn() {
    index_ = index_ + 1 == lengths_.size() ? 0 : index_ + 1;
    gap_ = !gap_;
  }

  // By how much the dash or gap from `step` to `next` can be lengthened without being seen, in
  // whole rounds of the pattern, after which everything is as before. The dashes at the ends of a
  // segment stay as they are: they have a part in its joins.
  int64_t unseenSteps(const Steps& seen, int64_t major, int64_t step, int64_t next) const {
    int64_t until = major - twoCycles_;
    if (seen.begin < seen.end && step < seen.end) until = std::min(until, seen.begin);
    return next < until ? (until - next) / twoCycles_ * twoCycles_ : 0;
  }

  std::span<const uint8_t> lengths_;
  int64_t twoCycles_ = 0;  // steps of two rounds, after which dashes and gaps are the same again
  size_t index_ = 0;
  int64_t used_ = 0;      // steps of the current length
  bool gap_ = false;      // whether it is one of a gap
  bool bounded_ = false;  // some mark stands between two dashes
};

}  // namespace

DashSegment::DashSegment(const RlePoint& p, const RlePoint& q)
    : start(p), dx(int64_t{q.x} - p.x), dy(int64_t{q.y} - p.y) {
  xMajor = std::abs(dx) > std::abs(dy);
  major = std::abs(xMajor ? dx : dy);
  minor = std::abs(xMajor ? dy : dx);
}

RleDPoint DashSegment::at(int64_t step) const {
  const int threshold = dx > 0 ? 0 : 1;
  __extension__ using Wide = __int128;  // twice a length of 2^32, times as many steps
  const Wide climb = Wide{2 * minor} * step;
  const auto moves = int64_t((climb + major - threshold) / (2 * major));
  const auto error = int64_t(climb - Wide{2 * major} * moves);
  const int64_t sx = dx > 0 ? 1 : dx < 0 ? -1 : 0;
  const int64_t sy = dy > 0 ? 1 : dy < 0 ? -1 : 0;
  const RlePoint pixel = {int32_t(start.x + sx * (xMajor ? step : moves)),
                          int32_t(start.y + sy * (xMajor ? moves : step))};
  return corrected(pixel, error);
}

RleDPoint DashSegment::corrected(const RlePoint& from, int64_t error) const {
  const int64_t side = xMajor ? dy : dx;
  const double sign = side > 0 ? 1 : side < 0 ? -1 : 0;
  const double off = double(error) * sign / double(2 * major);
  RleDPoint point = {double(from.x), double(from.y)};
  (xMajor ? point.y : point.x) += off;
  return point;
}

bool DashMarks::add(const RleDashMark& mark) {
  if (count_ == capacity_) {
    if (count_ >= kMostMarks) return false;
    const size_t capacity = std::max(kFirstMarks, 2 * capacity_);
    auto* const larger =
        static_cast<RleDashMark*>(std::realloc(marks_.get(), capacity * sizeof(RleDashMark)));
    if (larger == nullptr) return false;
    (void)marks_.release();  // realloc has taken care of it
    marks_.reset(larger);
    capacity_ = capacity;
  }
  marks_[count_++] = mark;
  return true;
}

bool fatDashSplit(const RleLineStyle& style, std::span<const RlePoint> vertices,
                  const DashPattern& pattern, DashMarks& marks) {
  DashWalk walk(pattern);
  for (size_t i = 0; i + 1 < vertices.size(); ++i) {
    const DashSegment segment(vertices[i], vertices[i + 1]);
    if (!walk.walk(style, segment, i + 2 == vertices.size(), marks)) return false;
  }
  const RlePoint& end = vertices.back();
  return walk.finish({double(end.x), double(end.y)}, marks);
}

}  // namespace rle
