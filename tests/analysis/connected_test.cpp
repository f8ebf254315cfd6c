// Connected components, against a flood fill of pixels.

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <tuple>

#include "model/runs.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

struct Call {
  const OwnedRect& image;
  int x;
  int y;
  uint16_t left = 77;
  uint16_t top = 78;
  OwnedRect result = nullptr;
};

using Box = std::tuple<int, int, int, int>;  // left, top, width, height

void* run(void* argument) {
  auto& call = *static_cast<Call*>(argument);
  call.result.reset(rleConnected(call.image.get(), call.x, call.y, &call.left, &call.top));
  return nullptr;
}

void expectLikeFloodFill(const Pixels& image, const Call& call) {
  int left = image.width, right = -1, top = image.height, bottom = -1;
  Pixels filled(image.width, image.height);
  std::vector<std::pair<int, int>> waiting{{uint16_t(call.x), uint16_t(call.y)}};
  while (!waiting.empty()) {
    const auto [x, y] = waiting.back();
    waiting.pop_back();
    if (!image.get(x, y) || filled.get(x, y)) continue;
    filled.put(x, y, true);
    left = std::min(left, x), right = std::max(right, x);
    top = std::min(top, y), bottom = std::max(bottom, y);
    for (int i = 0; i < 9; ++i) waiting.emplace_back(x + i % 3 - 1, y + i / 3 - 1);
  }
  ASSERT_EQ(call.result != nullptr, right >= 0);
  if (!call.result) {
    EXPECT_EQ(call.left + call.top, 77 + 78);
    return;
  }
  ASSERT_EQ(Box(call.left, call.top, call.result->width, call.result->height),
            Box(left, top, right - left + 1, bottom - top + 1));
  ASSERT_EQ(rleCheckRect(call.result.get()), 1);
  EXPECT_EQ(call.result->resolution, 300);
  EXPECT_EQ(call.result->tag, 0U);
  const Pixels cut(call.result.get());
  bool same = true;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) same &= filled.get(x, y) == cut.get(x - left, y - top);
  ASSERT_TRUE(same);
}

// The rows are meant to look as if their runs had been set one by one, buffers included.
void expectRowsSetRunByRun(const RleRect& rect) {
  for (int y = 0; y < rect.height; ++y) {
    const Row row;
    for (const auto& [start, end] : runsOf(rect.rows[y])) rleSetLine(row, start, end - 1);
    ASSERT_EQ(runsOf(rect.rows[y]), runsOf(row));
    ASSERT_EQ(capacityOf(rect.rows[y]->runs), capacityOf(row->runs)) << row->count << " runs";
    ASSERT_EQ(rect.rows[y]->tag, 0U);
  }
}

enum Kind { kSpiral, kComb, kLyingComb, kCheckerboard, kFull, kRandom };

Pixels drawing(int kind, int width, int height) {
  Pixels pixels(width, height);
  int x = -1, y = 0, dx = 1, dy = 0;
  for (int turns = 0; kind == kSpiral && turns < 3;) {
    const bool free = pixels.contains(x + dx, y + dy) && !pixels.get(x + dx, y + dy) &&
                      !pixels.get(x + 2 * dx, y + 2 * dy);
    if (free) {
      pixels.put(x += dx, y += dy, true), turns = 0;
    } else {
      dx = -std::exchange(dy, dx), ++turns;
    }
  }
  for (int i = 0; kind != kSpiral && i < width * height; ++i) {
    x = i % width, y = i / width;
    const bool black[] = {false, x % 2 == 0 || y == height - 1, y % 2 == 0 || x == width - 1,
                          (x + y) % 2 == 0, true};
    pixels.put(x, y, black[kind]);
  }
  return pixels;
}

TEST(Connected, ComponentsAgreeWithAFloodFill) {
  std::mt19937 random(1);
  for (int i = 0; i < 3000; ++i) {
    const int width = randomInt(random, 1, i % 10 == 0 ? 400 : 40),
              height = randomInt(random, 1, 40);
    const Pixels pixels = i % 8 < kRandom
                              ? drawing(i % 8, width, height)
                              : randomPixels(random, width, height, 1 + i % 3 * 2, 1 + i % 11);
    const OwnedRect rect = pixels.toRect(300);
    rect->tag = rect->rows[0]->tag = 5;
    if (i % 3 == 0) {  // the least spare room above the greatest: buffers may keep their size
      rleRunAllocMinExtra = 90;
      rleRunAllocMaxExtra = uint32_t(randomInt(random, 0, 80));
    }
    Call call{rect, randomInt(random, 0, width) | i << 16, randomInt(random, 0, height) | i << 16};
    run(&call);
    expectLikeFloodFill(pixels, call);
    if (call.result) expectRowsSetRunByRun(*call.result);
    rleRunAllocMinExtra = 4;
    rleRunAllocMaxExtra = 40;
    ASSERT_TRUE(!HasFailure() && Pixels(rect.get()) == pixels) << i;
    EXPECT_EQ(!OwnedRect(rleConnected(rect.get(), call.x, call.y, nullptr, nullptr)), !call.result);
  }
}

TEST(Connected, TheLargestAndLongestNeedNoCallStack) {
  constexpr int kMost = 65535;
  const Pixels images[] = {drawing(kSpiral, 11, kMost), drawing(kSpiral, kMost, 11),
                           drawing(kComb, 9, kMost),    drawing(kLyingComb, 9, kMost),
                           drawing(kComb, kMost, 4),    drawing(kFull, kMost, 3)};
  for (const Pixels& pixels : images) {
    const OwnedRect rect = pixels.toRect(300);
    const int y = pixels.height - 1;
    Call call{rect, pixels.get(pixels.width - 1, y) ? pixels.width - 1 : 0, y};
    pthread_attr_t small;
    pthread_attr_init(&small);
    pthread_attr_setstacksize(&small, 128 * 1024);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &small, run, &call), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&small);
    expectLikeFloodFill(pixels, call);
  }
}

TEST(Connected, RowsInDisorderGiveAValidImageAndStayUnharmed) {
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
      const Row row(runs);
      std::swap(*rect->rows[y], *row.operator->());
    }
    const int x = randomInt(random, 0, most);
    const OwnedRect result(rleConnected(rect.get(), x, 3, nullptr, nullptr));
    EXPECT_TRUE(!result || rleCheckRect(result.get()) == 1);
    rleClosest(rect.get(), x, 3, 1 << i % 17, nullptr, nullptr);
  }
}

}  // namespace
}  // namespace rle::test
