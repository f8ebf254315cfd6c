// The slow and obvious image: one byte a pixel. What runs do is checked against it.

#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "model/owners.h"
#include "rle.h"

namespace rle::test {

struct Pixels {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> black;  // width * height, row by row, 0 or 1

  Pixels(int w, int h) : width(w), height(h), black(size_t(w) * size_t(h)) {}
  explicit Pixels(const RleRect* rect);

  uint8_t& at(int x, int y) { return black[size_t(y) * size_t(width) + size_t(x)]; }
  bool contains(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
  // White outside.
  bool get(int x, int y) const {
    return contains(x, y) && black[size_t(y) * size_t(width) + size_t(x)] != 0;
  }
  // Nothing outside.
  void put(int x, int y, bool value) {
    if (contains(x, y)) at(x, y) = value ? 1 : 0;
  }
  bool operator==(const Pixels&) const = default;

  // The same picture as runs.
  OwnedRect toRect(uint32_t resolution = 200) const;
};

// A row-wise random image: runs and gaps are `meanRun` and `meanGap` pixels long on average, and
// some rows repeat the one above with small shifts, as scanned text does.
Pixels randomPixels(std::mt19937& random, int width, int height, int meanRun = 4, int meanGap = 6);

inline int randomInt(std::mt19937& random, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(random);
}

}  // namespace rle::test
