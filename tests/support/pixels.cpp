#include "support/pixels.h"

#include <algorithm>

namespace rle::test {

Pixels::Pixels(const RleRect* rect) : Pixels(rect->width, rect->height) {
  for (int y = 0; y < height; ++y)
    for (int i = 0; i < rect->rows[y]->count; ++i)
      for (int x = rect->rows[y]->runs[i].start; x < rect->rows[y]->runs[i].end; ++x)
        put(x, y, true);
}

OwnedRect Pixels::toRect(uint32_t resolution) const {
  OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(height), resolution));
  for (int y = 0; y < height; ++y) {
    RleLine& line = *rect->rows[y];
    for (int x = 0; x < width; ++x) {
      if (!get(x, y)) continue;
      const int start = x;
      while (get(x, y)) ++x;
      line.runs = rleReAllocRuns(line.runs, line.count + 1U);
      line.runs[line.count++] = {uint16_t(start), uint16_t(x)};
    }
  }
  return rect;
}

Pixels randomPixels(std::mt19937& random, int width, int height, int meanRun, int meanGap) {
  Pixels pixels(width, height);
  const auto length = [&](int mean) { return randomInt(random, 1, std::max(1, 2 * mean - 1)); };
  for (int y = 0; y < height; ++y) {
    const bool likeAbove = y > 0 && randomInt(random, 0, 2) == 0;
    if (likeAbove) {
      const int shift = randomInt(random, -1, 1);
      for (int x = 0; x < width; ++x) pixels.put(x, y, pixels.get(x + shift, y - 1));
      continue;
    }
    bool black = randomInt(random, 0, 1) == 1;
    for (int x = 0; x < width; black = !black) {
      const int end = std::min(width, x + length(black ? meanRun : meanGap));
      for (; x < end; ++x) pixels.put(x, y, black);
    }
  }
  return pixels;
}

}  // namespace rle::test
