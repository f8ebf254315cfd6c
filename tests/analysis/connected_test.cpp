// Connected components, against a flood fill of pixels.

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <optional>

#include "model/runs.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

struct Crop {
  int left;
  int top;
  Pixels pixels;
};

std::optional<Crop> floodFill(const Pixels& image, int x, int y) {
  if (!image.get(x, y)) return std::nullopt;
  Pixels filled(image.width, image.height);
  std::vector<std::pair<int, int>> waiting{{x, y}};
  filled.put(x, y, true);
  int left = x, right = x, top = y, bottom = y;
  while (!waiting.empty()) {
    const auto [px, py] = waiting.back();
    waiting.pop_back();
    left = std::min(left, px), right = std::max(right, px);
    top = std::min(top, py), bottom = std::max(bottom, py);
    for (int ny = py - 1; ny <= py + 1; ++ny)
      for (int nx = px - 1; nx <= px + 1; ++nx)
        if (image.get(nx, ny) && !filled.get(nx, ny)) {
          filled.put(nx, ny, true);
          waiting.emplace_back(nx, ny);
        }
  }
  Crop crop{left, top, Pixels(right - left + 1, bottom - top + 1)};
  for (int cy = 0; cy < crop.pixels.height; ++cy)
    for (int cx = 0; cx < crop.pixels.width; ++cx)
      crop.pixels.put(cx, cy, filled.get(left + cx, top + cy));
  return crop;
}

// The rows are meant to look as if their runs had been set one by one, buffers included.
void expectRowsSetRunByRun(const RleRect* rect) {
  for (int y = 0; y < rect->height; ++y) {
    const Row row;
    for (const auto& [start, end] : runsOf(rect->rows[y])) rleSetLine(row, start, end - 1);
    ASSERT_EQ(runsOf(rect->rows[y]), runsOf(row));
    ASSERT_EQ(capacityOf(rect->rows[y]->runs), capacityOf(row->runs)) << row->count << " runs";
    ASSERT_EQ(rect->rows[y]->tag, 0U);
  }
}

void expectLikeFloodFill(const Pixels& image, int x, int y, const RleRect* result, int left,
                         int top) {
  const auto expected = floodFill(image, x, y);
  ASSERT_EQ(result != nullptr, expected.has_value());
  if (!expected) return;
  EXPECT_EQ(left, expected->left);
  EXPECT_EQ(top, expected->top);
  EXPECT_TRUE(Pixels(result) == expected->pixels);
  EXPECT_EQ(rleCheckRect(const_cast<RleRect*>(result)), 1);
  EXPECT_EQ(result->resolution, 300);
  EXPECT_EQ(result->tag, 0U);
}

Pixels spiral(int width, int height) {
  Pixels pixels(width, height);
  int x = 0, y = 0, dx = 1, dy = 0;
  pixels.put(x, y, true);
  for (int turns = 0; turns < 2;) {
    if (pixels.contains(x + dx, y + dy) && !pixels.get(x + dx, y + dy) &&
        !pixels.get(x + 2 * dx, y + 2 * dy)) {
      x += dx, y += dy, turns = 0;
      pixels.put(x, y, true);
    } else {
      dx = -std::exchange(dy, dx), ++turns;
    }
  }
  return pixels;
}

// Teeth of one pixel, with a back of one pixel at the far side.
Pixels comb(int width, int height, bool upright) {
  Pixels pixels(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      pixels.put(x, y, upright ? x % 2 == 0 || y == height - 1 : y % 2 == 0 || x == width - 1);
  return pixels;
}

Pixels checkerboard(int width, int height) {
  Pixels pixels(width, height);
  for (int i = 0; i < width * height; ++i)
    pixels.put(i % width, i / width, (i % width + i / width) % 2 == 0);
  return pixels;
}

Pixels imageOfKind(int kind, std::mt19937& random, int width, int height) {
  switch (kind) {
    case 0:
      return spiral(width, height);
    case 1:
      return comb(width, height, width % 2 == 0);
    case 2:
      return checkerboard(width, height);
    case 3:
      return randomPixels(random, width, height, width, 1);  // nearly full
    case 4:
      return randomPixels(random, width, height, 2, 8);
    case 5:
      return randomPixels(random, width, height, 1, 1);
    default:
      return randomPixels(random, width, height);
  }
}

class Connected : public testing::Test {
 protected:
  void TearDown() override {
    rleRunAllocMinExtra = 4;
    rleRunAllocMaxExtra = 40;
  }
};

TEST_F(Connected, ComponentsAgreeWithAFloodFill) {
  std::mt19937 random(1);
  for (int i = 0; i < 3000; ++i) {
    SCOPED_TRACE(i);
    const Pixels pixels = imageOfKind(i % 8, random, randomInt(random, 1, i % 10 == 0 ? 400 : 40),
                                      randomInt(random, 1, 40));
    const OwnedRect rect = pixels.toRect(300);
    rect->tag = rect->rows[0]->tag = 5;
    rleRunAllocMinExtra = i % 3 == 0 ? 90 : 4;  // above the greatest: buffers keep their size
    rleRunAllocMaxExtra = i % 3 == 0 ? uint32_t(randomInt(random, 0, 80)) : 40;
    const int x = randomInt(random, 0, pixels.width);
    const int y = randomInt(random, 0, pixels.height);
    uint16_t left = 0, top = 0;
    const OwnedRect result(rleConnected(rect.get(), x | i << 16, y | i << 16, &left, &top));
    expectLikeFloodFill(pixels, x, y, result.get(), left, top);
    if (result) expectRowsSetRunByRun(result.get());
    ASSERT_TRUE(Pixels(rect.get()) == pixels);
    ASSERT_FALSE(HasFailure());
  }
}

struct Call {
  RleRect* image;
  int x;
  int y;
  uint16_t left = 0;
  uint16_t top = 0;
  RleRect* result = nullptr;
};

TEST_F(Connected, TheLargestAndLongestNeedNoCallStack) {
  constexpr int kMost = 65535;
  Pixels full(kMost, 3);
  std::fill(full.black.begin(), full.black.end(), 1);
  const Pixels images[] = {spiral(11, kMost),     spiral(kMost, 11),   comb(9, kMost, true), full,
                           comb(9, kMost, false), comb(kMost, 4, true)};
  for (const Pixels& pixels : images) {
    const OwnedRect rect = pixels.toRect(300);
    const int y = pixels.height - 1;
    Call call{rect.get(), pixels.get(pixels.width - 1, y) ? pixels.width - 1 : 0, y};
    pthread_attr_t small;
    pthread_attr_init(&small);
    pthread_attr_setstacksize(&small, 128 * 1024);
    pthread_t thread;
    const auto run = [](void* argument) -> void* {
      Call& c = *static_cast<Call*>(argument);
      c.result = rleConnected(c.image, c.x, c.y, &c.left, &c.top);
      return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &small, run, &call), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&small);
    const OwnedRect result(call.result);
    expectLikeFloodFill(pixels, call.x, call.y, result.get(), call.left, call.top);
  }
}

TEST_F(Connected, WhiteSeedsHaveNoneAndThePlaceIsOptional) {
  const OwnedRect rect =
      image({"..........", "..........", "..........", ".....####.", "...#......"});
  uint16_t left = 77, top = 78;
  for (const auto& [x, y] : {std::pair{4, 3}, {9, 3}, {65535, 3}, {5, 2}, {5, 5}, {3, 65535}})
    EXPECT_EQ(rleConnected(rect.get(), x, y, &left, &top), nullptr);
  EXPECT_EQ(left, 77);
  EXPECT_EQ(top, 78);
  EXPECT_TRUE(OwnedRect(rleConnected(rect.get(), 5, 3, &left, nullptr)));
  EXPECT_EQ(left, 5);
  EXPECT_TRUE(OwnedRect(rleConnected(rect.get(), 8, 3, nullptr, &top)));
  EXPECT_EQ(top, 3);
  EXPECT_EQ(picture(OwnedRect(rleConnected(rect.get(), 3, 4, nullptr, nullptr)).get()),
            std::vector<std::string>{"#"});
}

TEST_F(Connected, ComponentsOfRowsInDisorderAreValidAllTheSame) {
  std::mt19937 random(2);
  for (int i = 0; i < 2000; ++i) {
    const OwnedRect rect(rleNewRect(50, 6, 200));
    const int most = i % 2 == 0 ? 60 : 65535;
    for (int y = 0; y < 6; ++y) {
      std::vector<std::pair<int, int>> runs(size_t(randomInt(random, 0, 70)));
      for (auto& [start, end] : runs) {
        start = randomInt(random, 0, most);
        end = randomInt(random, 0, 3) == 0 ? randomInt(random, 0, most) : std::min(start + 5, most);
      }
      Row row(runs);
      std::swap(*rect->rows[y], *row.operator->());
    }
    const OwnedRect result(rleConnected(rect.get(), randomInt(random, 0, 60), 3, nullptr, nullptr));
    EXPECT_TRUE(!result || rleCheckRect(result.get()) == 1);
  }
}

}  // namespace
}  // namespace rle::test
