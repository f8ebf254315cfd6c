#include "support/picture.h"

#include "support/pixels.h"

namespace rle::test {

Row::Row(const std::string& picture) : Row() { std::swap(*line_, *image({picture})->rows[0]); }

Row::Row(uint64_t pixels, int width) : Row(rle::test::picture(pixels, width)) {}

Row::Row(const std::vector<std::pair<int, int>>& runs) : Row() {
  for (const auto& [start, end] : runs) {
    line_->runs = rleReAllocRuns(line_->runs, line_->count + 1U);
    line_->runs[line_->count++] = {uint16_t(start), uint16_t(end)};
  }
}

std::string picture(const RleLine* line, int width) {
  std::string pixels(size_t(width), '.');
  for (int i = 0; i < line->count; ++i)
    for (int x = line->runs[i].start; x < line->runs[i].end && x < width; ++x)
      pixels[size_t(x)] = '#';
  return pixels;
}

std::string picture(uint64_t pixels, int width) {
  std::string picture;
  for (int x = 0; x < width; ++x) picture += (pixels >> x & 1) != 0 ? '#' : '.';
  return picture;
}

std::vector<std::string> picture(const RleRect* rect) {
  std::vector<std::string> rows;
  for (int y = 0; y < rect->height; ++y) rows.push_back(picture(rect->rows[y], rect->width));
  return rows;
}

OwnedRect image(const std::vector<std::string>& rows) {
  Pixels pixels(rows.empty() ? 0 : int(rows[0].size()), int(rows.size()));
  for (int y = 0; y < pixels.height; ++y)
    for (int x = 0; x < pixels.width; ++x) pixels.put(x, y, rows[size_t(y)][size_t(x)] == '#');
  return pixels.toRect();
}

std::vector<std::pair<int, int>> runsOf(const RleLine* line) {
  std::vector<std::pair<int, int>> runs;
  for (int i = 0; i < line->count; ++i) runs.emplace_back(line->runs[i].start, line->runs[i].end);
  return runs;
}

}  // namespace rle::test
