// The component at a seed and the nearest black pixel, beside Leptonica and a scan of packed bits.

#include <leptonica/allheaders.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <random>

#include "compare.h"

namespace rle::bench {
namespace {

struct DestroyPix {
  void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using OwnedPix = std::unique_ptr<Pix, DestroyPix>;

OwnedPix toPix(const Page& page) {
  OwnedPix pix(pixCreate(page.width, page.height, 1));
  std::memcpy(pixGetData(pix.get()), page.bits.data(), page.bits.size());
  pixEndianByteSwap(pix.get());  // its rows are 32-bit words
  return pix;
}

struct Seed {
  int x = -1;
  int y = 0;
  size_t pixels = 0;  // of the component
};

struct Seeds {
  Seed letter;   // in the middle of all components of a letter's size
  Seed largest;  // by the area of its box
};

// Leptonica's labelling finds the components, so that what is measured is checked as well.
Seeds findSeeds(Pix* pix) {
  Pixa* components = nullptr;
  Boxa* boxes = pixConnComp(pix, &components, 8);
  int largest = -1, largestArea = 0;
  std::vector<int> letters;
  for (int i = 0; i < boxaGetCount(boxes); ++i) {
    int width = 0, height = 0;
    boxaGetBoxGeometry(boxes, i, nullptr, nullptr, &width, &height);
    if (width * height > largestArea) largestArea = width * height, largest = i;
    if (std::min(width, height) >= 15 && std::max(width, height) <= 60) letters.push_back(i);
  }
  const auto seedOf = [&](int i) {
    int left = 0, top = 0, pixels = 0;
    boxaGetBoxGeometry(boxes, i, &left, &top, nullptr, nullptr);
    const OwnedPix component(pixaGetPix(components, i, L_CLONE));
    pixCountPixels(component.get(), &pixels, nullptr);
    int column = 0;
    for (uint32_t black = 0; black == 0; ++column) pixGetPixel(component.get(), column, 0, &black);
    return Seed{left + column - 1, top, size_t(pixels)};
  };
  Seeds seeds;
  if (!letters.empty()) seeds.letter = seedOf(letters[letters.size() / 2]);
  if (largest >= 0) seeds.largest = seedOf(largest);
  boxaDestroy(&boxes);
  pixaDestroy(&components);
  return seeds;
}

size_t blackPixels(const RleRect* rect) {
  size_t pixels = 0;
  for (int y = 0; rect != nullptr && y < rect->height; ++y)
    for (int i = 0; i < rect->rows[y]->count; ++i)
      pixels += rect->rows[y]->runs[i].end - rect->rows[y]->runs[i].start;
  return pixels;
}

OwnedPix seedFill(Pix* pix, const Seed& seed) {
  const OwnedPix start(pixCreateTemplate(pix));
  pixSetPixel(start.get(), seed.x, seed.y, 1);
  return OwnedPix(pixSeedfillBinary(nullptr, start.get(), pix, 8));
}

// Takes the component out of a copy of the page; Leptonica's quickest way to one component.
void stackFill(Pix* pix, const Seed& seed) {
  const OwnedPix copy(pixCopy(nullptr, pix));
  L_Stack* stack = lstackCreate(0);
  stack->auxstack = lstackCreate(0);
  Box* box = pixSeedfill8BB(copy.get(), stack, seed.x, seed.y);
  benchmark::DoNotOptimize(box);
  boxDestroy(&box);
  lstackDestroy(&stack, 1);
}

void compareComponent(const std::string& operation, const Page& page,
                      const std::shared_ptr<Pix>& pix, const Seed& seed, double aim) {
  if (seed.x < 0) return;
  compare(operation, page,
          [&page, seed](benchmark::State& state) {
            const auto component = [&] {
              return OwnedRect(rleConnected(page.rect.get(), seed.x, seed.y, nullptr, nullptr));
            };
            if (blackPixels(component().get()) != seed.pixels)
              state.SkipWithError("wrong component");
            for (auto _ : state) benchmark::DoNotOptimize(component());
          },
          {{"Leptonica seed fill",
            [pix, seed](benchmark::State& state) {
              for (auto _ : state) benchmark::DoNotOptimize(seedFill(pix.get(), seed));
            },
            aim},
           {"Leptonica labelling",
            [pix](benchmark::State& state) {
              for (auto _ : state) {
                Pixa* components = nullptr;
                Boxa* boxes = pixConnComp(pix.get(), &components, 8);
                boxaDestroy(&boxes);
                pixaDestroy(&components);
              }
            },
            aim},
           {"Leptonica stack fill of a copy", [pix, seed](benchmark::State& state) {
              for (auto _ : state) stackFill(pix.get(), seed);
            }}});
}

struct Point {
  int x = 0;
  int y = 0;
  bool operator==(const Point&) const = default;
};

// The nearest black pixel in columns x - r - 1 to x + r of rows y - r to y + r - 1, by looking at
// 32 pixels at once and at no row that is too far away. (-1, -1) when there is none.
Point scanBits(const Page& page, int x, int y, int r) {
  const int left = std::max(0, x - r - 1);
  const int right = std::min(page.width - 1, x + r);
  Point best{-1, -1};
  int64_t least = INT64_MAX;
  for (int i = std::max(0, y - r); i < std::min(y + r, page.height); ++i) {
    const int64_t rowDistance = int64_t(i - y) * (i - y);
    if (rowDistance >= least) continue;
    const uint8_t* const row = page.bits.data() + size_t(i) * page.rowBytes;
    for (int word = left / 32; word <= right / 32; ++word) {
      uint32_t bits = 0;
      std::memcpy(&bits, row + word * 4, 4);
      if (bits == 0) continue;
      bits = __builtin_bswap32(bits);
      if (word == left / 32) bits &= ~0U >> left % 32;
      if (word == right / 32) bits &= ~0U << (31 - right % 32);
      while (bits != 0) {
        const int column = word * 32 + std::countl_zero(bits);
        bits &= ~(0x80000000U >> column % 32);
        const int64_t distance = rowDistance + int64_t(column - x) * (column - x);
        if (distance >= least) continue;
        least = distance;
        best = {column, i};
      }
    }
  }
  return best;
}

Point closest(const Page& page, Point from, int r) {
  uint16_t x = 0, y = 0;
  const int32_t found = rleClosest(page.rect.get(), from.x, from.y, r, &x, &y);
  return found == 1 ? Point{x, y} : Point{-1, -1};
}

void compareNearest(const Page& page, int radius) {
  std::mt19937 random(1);
  std::vector<Point> points(1000);
  for (Point& point : points)
    point = {std::uniform_int_distribution<int>(0, page.width - 1)(random),
             std::uniform_int_distribution<int>(0, page.height - 1)(random)};
  compare("nearest pixel within " + std::to_string(radius) + ", 1000 times (ms = us each)", page,
          [&page, points, radius](benchmark::State& state) {
            for (const Point& point : points)
              if (closest(page, point, radius) != scanBits(page, point.x, point.y, radius))
                state.SkipWithError("not what the scan finds");
            for (auto _ : state)
              for (const Point& point : points)
                benchmark::DoNotOptimize(closest(page, point, radius));
          },
          {{"scan of packed bits", [&page, points, radius](benchmark::State& state) {
              for (auto _ : state)
                for (const Point& point : points)
                  benchmark::DoNotOptimize(scanBits(page, point.x, point.y, radius));
            }}});
}

const Suite suite([](const Page& page) {
  const std::shared_ptr<Pix> pix = toPix(page);
  const Seeds seeds = findSeeds(pix.get());
  const bool wide = page.width >= 9000;
  compareComponent("component: a letter", page, pix, seeds.letter, wide ? 100 : 10);
  compareComponent("component: the largest", page, pix, seeds.largest, wide ? 10 : 0);
  for (const int radius : {20, 200}) compareNearest(page, radius);
});

}  // namespace
}  // namespace rle::bench
