// The largest page there can be: 65535 pixels wide and high.

#include <gtest/gtest.h>

#include "model/owners.h"
#include "rle.h"
#include "xio.h"

namespace rle::test {
namespace {

constexpr int32_t kLast = 65534;

bool isBlack(const RleRect* page, int x, int y) {
  for (uint32_t i = 0; i < page->rows[y]->count; ++i)
    if (page->rows[y]->runs[i].start <= x && x < page->rows[y]->runs[i].end) return true;
  return false;
}

bool isSame(const RleRect* a, const RleRect* b) {
  for (uint32_t y = 0; y < a->height; ++y)
    if (a->rows[y]->count != b->rows[y]->count ||
        !std::equal(a->rows[y]->runs, a->rows[y]->runs + a->rows[y]->count, b->rows[y]->runs,
                    [](RleRun r, RleRun s) { return r.start == s.start && r.end == s.end; }))
      return false;
  return a->width == b->width && a->height == b->height;
}

TEST(TheLargestPage, IsDrawnOnCodedTurnedAndScaled) {
  const OwnedRect page(rleNewRect(65535, 65535, 600));
  ASSERT_TRUE(page);
  rleFillRect(page.get(), 100, 100, 20000, 200, 1, nullptr, 1);
  RlePoint corners[] = {{0, 0}, {kLast, 0}, {kLast, kLast}, {0, kLast}, {0, 0}, {kLast, kLast}};
  rleFatLine(page.get(), 6, corners, 9, 1, nullptr, 1, 0, 1, 0, nullptr, 0);
  ASSERT_EQ(rleCheckRect(page.get()), 1);
  for (const int at : {0, 500, 30000, kLast}) EXPECT_TRUE(isBlack(page.get(), at, at));
  EXPECT_FALSE(isBlack(page.get(), 60000, 300));

  RleStream* const codes = xioCreateMemoryStream(nullptr, 0, XIO_WRITE);
  EXPECT_EQ(rleUnloadRectFromCCITTG4(codes, page.get()), 1);
  codes->ops->seek(codes, 0, 0);
  EXPECT_TRUE(
      isSame(OwnedRect(rleLoadRectFromCCITTG4(codes, 65535, 65535, 600, 1)).get(), page.get()));
  codes->ops->destroy(codes);

  const OwnedRect quarter(rleQRotateRect(page.get(), 1));
  ASSERT_TRUE(quarter);
  EXPECT_EQ(rleCheckRect(quarter.get()), 1);
  EXPECT_TRUE(isBlack(quarter.get(), 150, kLast - 15000));
  const OwnedRect back(rleQRotateRect(quarter.get(), 3));
  EXPECT_TRUE(isSame(back.get(), page.get()));
  rleMinScaleRect(back.get(), 1024, 1024);
  EXPECT_EQ(back->width, 2048);
  EXPECT_TRUE(isBlack(back.get(), 2047, 2047));
}

}  // namespace
}  // namespace rle::test
