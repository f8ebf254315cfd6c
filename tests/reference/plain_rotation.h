// Free rotation the slow and obvious way: every line is walked point by point, once for every run
// of its source row, and points that follow each other in a row are set as one span.

#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "model/owners.h"
#include "rle.h"

namespace rle::test {

struct PlainRotation {
  OwnedRect result;
  double cornerX = 0;
  double cornerY = 0;

  PlainRotation(const RleRect* source, double angle) {
    double a = angle - 360 * (int(angle) / 360);
    if (a < 0) a += 360;
    const double c = std::cos(a * 3.141592653589793 * 0.005555555555555556);
    const double s = std::sin(a * 3.141592653589793 * 0.005555555555555556);
    octant_ = 1;
    while (octant_ < 8 && a > 45 * octant_) ++octant_;
    steep_ = octant_ % 4 == 2 || octant_ % 4 == 3;
    const int w = source->width;
    const int h = source->height;
    const auto [minX, maxX] = std::minmax({0.0, w * c, -h * s, w * c - h * s});
    const auto [minY, maxY] = std::minmax({0.0, w * s, h * c, w * s + h * c});
    width_ = int(std::ceil(maxX - minX));
    height_ = int(std::ceil(maxY - minY));
    const double offX = -minX;
    const double offY = -minY;
    result.reset(rleNewRect(uint32_t(width_), uint32_t(height_), source->resolution));

    const double a1 = std::abs(h * c);
    const double a2 = std::abs(h * (s * s) / c);
    const double b1 = std::abs(h * s);
    const double b2 = std::abs(h * (c * c) / s);
    const int lines = (steep_ ? round(b1 + b2) : round(a1 + a2)) + 1;
    struct Ends {
      int x0, y0, x1, y1;
    };
    const Ends all[] = {
        {0, -round(a2), width_, round(height_ - a1)}, {-round(b2), 0, round(width_ - b1), height_},
        {round(width_ - b1), 0, -round(b2), height_}, {width_, -round(a2), 0, round(height_ - a1)},
        {width_, round(height_ - a1), 0, -round(a2)}, {round(offX), height_, -round(b2), 0},
        {-round(b2), height_, round(width_ - b1), 0}, {0, round(offY), width_, -round(a2)}};
    const Ends& ends = all[octant_ - 1];
    const int dx = ends.x1 - ends.x0;
    const int dy = ends.y1 - ends.y0;
    xSign_ = dx < 0 ? -1 : 1;
    ySign_ = dy < 0 ? -1 : 1;
    major_ = std::max(std::abs(dx), std::abs(dy));
    minor_ = std::min(std::abs(dx), std::abs(dy));
    alongX_ = std::abs(dx) >= std::abs(dy);

    for (int k = 0; k < lines; ++k) {
      x_ = ends.x0 + (steep_ ? k : 0);
      y_ = ends.y0 + (steep_ ? 0 : k);
      step_ = 0;
      error_ = 2 * minor_ - major_;
      const int r = round((x_ - offX) * s + h - (y_ - offY) * c);
      if (r < 0 || r >= h) continue;
      const int up = h - r;
      for (int i = 0; i < source->rows[r]->count; ++i) {
        const RleRun run = source->rows[r]->runs[i];
        const auto limit = [&](int b) {
          return steep_ ? round(b * s + up * c + offY) : round(b * c - up * s + offX);
        };
        walk(limit(run.start), limit(run.end));
      }
      flush();
    }
    const int quarter = (octant_ - 1) / 2;
    const double alongX = std::abs(c) * w, alongY = std::abs(s) * w;
    const double cornersX[] = {0, alongX, double(width_), width_ - alongX};
    const double cornersY[] = {w * s, double(height_), height_ - alongY, 0};
    cornerX = cornersX[quarter];
    cornerY = cornersY[quarter];
  }

 private:
  // Halves away from zero. What belongs to octants that are not the angle's can be anything.
  static int round(double v) {
    v = std::clamp(v, -1e9, 1e9);
    return v > 0 ? int(v + 0.5) : int(v - 0.5);
  }

  void walk(int p, int q) {
    const bool increasing = octant_ <= 3 || octant_ == 8;
    while (step_ <= major_) {
      const int at = steep_ ? y_ : x_;
      if (increasing ? at >= p && at <= q : at <= p && at >= q)
        plot();
      else if (increasing ? at > q : at < q)
        return;
      const bool diagonal = error_ >= 0;
      if (diagonal || alongX_) x_ += xSign_;
      if (diagonal || !alongX_) y_ += ySign_;
      error_ += diagonal ? 2 * (minor_ - major_) : 2 * minor_;
      ++step_;
    }
  }

  void plot() {
    const int row = height_ - 1 - y_;
    if (row < 0 || row >= height_ || x_ < 0 || x_ >= width_) return;
    if (spanStart_ < 0 || row != spanRow_ || std::abs(x_ - spanX_) > 1) {
      flush();
      spanStart_ = x_;
      spanRow_ = row;
    }
    spanX_ = x_;
  }

  void flush() {
    if (spanStart_ >= 0)
      rleSetLine(result->rows[spanRow_], std::min(spanStart_, spanX_),
                 std::max(spanStart_, spanX_));
    spanStart_ = -1;
  }

  int octant_, width_, height_;
  int x_ = 0, y_ = 0, step_ = 0, error_ = 0;
  int major_, minor_, xSign_, ySign_;
  bool steep_, alongX_;
  int spanStart_ = -1, spanX_ = 0, spanRow_ = 0;
};

}  // namespace rle::test
