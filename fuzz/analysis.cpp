// The connected component at a pixel and the black pixel nearest to one, against searches of the
// pixels.

#include "input.h"

using namespace rle::fuzz;

namespace {

void expectComponent(const Pixels& pixels, const rle::OwnedRect& rect, int x, int y) {
  uint16_t left = 7, top = 8;
  const rle::OwnedRect part(rleConnected(rect.get(), x, y, &left, &top));
  if (!pixels.get(x, y)) {
    expect(!part && left == 7 && top == 8);
    return;
  }
  Pixels component(pixels.width, pixels.height);
  std::vector<std::pair<int, int>> found{{x, y}};
  component.put(x, y, true);
  int x1 = x, y1 = y, x2 = x, y2 = y;
  while (!found.empty()) {
    const auto [fx, fy] = found.back();
    found.pop_back();
    x1 = std::min(x1, fx), x2 = std::max(x2, fx);
    y1 = std::min(y1, fy), y2 = std::max(y2, fy);
    for (int ny = fy - 1; ny <= fy + 1; ++ny)
      for (int nx = fx - 1; nx <= fx + 1; ++nx)
        if (pixels.get(nx, ny) && !component.get(nx, ny)) {
          component.put(nx, ny, true);
          found.emplace_back(nx, ny);
        }
  }
  expect(isValid(part) && left == x1 && top == y1);
  Pixels cropped(x2 - x1 + 1, y2 - y1 + 1);
  for (int cy = 0; cy < cropped.height; ++cy)
    for (int cx = 0; cx < cropped.width; ++cx) cropped.put(cx, cy, component.get(x1 + cx, y1 + cy));
  expect(Pixels(part.get()) == cropped);
}

void expectClosest(const Pixels& pixels, const rle::OwnedRect& rect, int x, int y, int r) {
  int64_t least = INT64_MAX;
  int bestX = 7, bestY = 8;
  for (int py = std::max(0, y - r); py < std::min(y + r, pixels.height); ++py)
    for (int px = std::max(0, x - r - 1); px <= std::min(x + r, pixels.width - 1); ++px) {
      const int64_t dx = px - x, dy = py - y, distance = dx * dx + dy * dy;
      if (!pixels.get(px, py) || distance >= least) continue;
      least = distance;
      bestX = px;
      bestY = py;
    }
  uint16_t foundX = 7, foundY = 8;
  const int32_t found = rleClosest(rect.get(), x, y, r, &foundX, &foundY);
  expect(found == (least != INT64_MAX ? 1 : 0) && foundX == bestX && foundY == bestY);
}

// Rows that are not valid give a valid component, or none.
void expectValidComponent(Input& input) {
  const rle::OwnedRect rect(rleNewRect(input.word16(), input.byte() % 32, 0));
  const uint32_t x = input.word16(), y = input.byte();
  for (int row = 0; row < rect->height; ++row) appendAnyRuns(input, *rect->rows[row]);
  uint16_t left, top;
  const rle::OwnedRect part(rleConnected(rect.get(), int32_t(x), int32_t(y), &left, &top));
  expect(!part || isValid(part));
  rleClosest(rect.get(), int32_t(x), int32_t(y), int32_t(input.word16()), &left, &top);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  if (input.byte() % 8 == 0) {
    expectValidComponent(input);
    return 0;
  }
  const int points = input.range(1, 8);
  std::vector<RlePoint> at;
  std::vector<int> radii;
  for (int i = 0; i < points; ++i) {
    at.push_back({input.range(0, 100), input.range(0, 60)});
    radii.push_back(input.flag() ? input.range(0, 70) : int(input.word16()));
  }
  const Pixels pixels = pixelsFrom(input, 90, 50);
  const rle::OwnedRect rect = pixels.toRect();
  for (size_t i = 0; i < at.size(); ++i) {
    expectComponent(pixels, rect, at[i].x, at[i].y);
    expectClosest(pixels, rect, at[i].x, at[i].y, radii[i]);
  }
  expect(Pixels(rect.get()) == pixels);
  return 0;
}
