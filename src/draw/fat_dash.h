// Where the dashes of a thick line begin and end.

#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

#include "draw/line_style.h"
#include "model/owners.h"
#include "rle.h"

namespace rle {

// A vertex of the line, or a place between two dashes.
struct RleDashMark {
  RleDPoint at;  // on the ideal line
  bool gap;      // what begins here
};

// The dash pattern of a line.
struct DashPattern {
  std::span<const uint8_t> lengths;  // at least one
  int32_t offset;
};

// The longer axis of a segment decides its length in steps; the other one follows.
struct DashSegment {
  DashSegment(const RlePoint& p, const RlePoint& q);

  // The place after so many steps along the longer axis.
  RleDPoint at(int64_t step) const;
  // `from`, moved by `error` / (2 * major) along the shorter axis.
  RleDPoint corrected(const RlePoint& from, int64_t error) const;
  int64_t startError() const { return 2 * minor - major; }

  RlePoint start;
  int64_t dx, dy;
  bool xMajor;
  int64_t major, minor;  // lengths
};

// The marks of a line, in an array that grows.
class DashMarks {
 public:
  bool add(const RleDashMark& mark);
  void dropLast() { --count_; }

  size_t count() const { return count_; }
  const RleDashMark& operator[](size_t index) const { return marks_[index]; }
  const RleDashMark& last(size_t back = 0) const { return marks_[count_ - 1 - back]; }

 private:
  std::unique_ptr<RleDashMark[], FreeWith<std::free>> marks_;
  size_t count_ = 0;
  size_t capacity_ = 0;
};

// Collects the marks of the line through `vertices`, of which no two that follow each other are
// equal: each segment's start, each place where a dash or gap begins, and the line's end. False
// when memory has run out. Dashes that are too far from the image to be seen are run together, so
// that marks are as many as can be seen and not as many as there are.
bool fatDashSplit(const RleLineStyle& style, std::span<const RlePoint> vertices,
                  const DashPattern& pattern, DashMarks& marks);

}  // namespace rle
