#include "support/picture.h"

#include <algorithm>

namespace rle::test {
namespace {

void appendRun(RleLine& line, int start, int end) {
  line.runs = rleReAllocRuns(line.runs, line.count + 1U);
  line.runs[line.count++] = {uint16_t(start), uint16_t(end)};
}

}  // namespace

Row::Row(const std::string& picture) : Row() {
  for (size_t x = 0; x < picture.size();) {
    const size_t start = std::min(picture.find('#', x), picture.size());
    const size_t end = std::min(picture.find_first_not_of('#', start), picture.size());
    if (start < end) appendRun(*line_, int(start), int(end));
    x = end;
  }
}

Row::Row(uint64_t pixels, int width) : Row(rle::test::picture(pixels, width)) {}

Row::Row(const std::vector<std::pair<int, int>>& runs) : Row() {
  for (const auto& [start, end] : runs) appendRun(*line_, start, end);
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
  OwnedRect rect(
      rleNewRect(rows.empty() ? 0 : uint32_t(rows[0].size()), uint32_t(rows.size()), 200));
  for (size_t y = 0; y < rows.size(); ++y) {
    const Row row(rows[y]);
    std::swap(rect->rows[y]->runs, row->runs);
    std::swap(rect->rows[y]->count, row->count);
  }
  return rect;
}

std::vector<std::pair<int, int>> runsOf(const RleLine* line) {
  std::vector<std::pair<int, int>> runs;
  for (int i = 0; i < line->count; ++i) runs.emplace_back(line->runs[i].start, line->runs[i].end);
  return runs;
}

}  // namespace rle::test
