// Memory that runs out: every allocation of every action fails in turn. Nothing is leaked, images
// stay valid, and what was promised to be left alone is.

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>

#include "model/runs.h"
#include "raster/fake_pipeline.h"
#include "support/allocations.h"
#include "support/byte_stream.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

// An action may refuse this often, and then has left the image as it was; kSome is any number. With
// kRows each row by itself is left alone or has all that was asked for.
constexpr int64_t kSome = -1, kRows = -2;

struct Case {
  const char* name;
  const Pixels& page;
  int64_t refusals;
  std::function<bool(RleRect* page)> action;  // true when done
};

// The page without room to spare in its rows.
OwnedRect fresh(const Pixels& page) {
  OwnedRect rect = page.toRect();
  for (int y = 0; y < rect->height; ++y)
    rect->rows[y]->runs = resizeRuns(rect->rows[y]->runs, rect->rows[y]->count);
  return rect;
}

void failInTurn(const Case& c) {
  SCOPED_TRACE(c.name);
  const int64_t alive = allocationsAlive();
  OwnedRect page = fresh(c.page);
  const auto before = picture(page.get());
  EXPECT_TRUE(c.action(page.get()));
  const auto after = picture(page.get());
  int64_t refused = 0;
  bool failed = true;
  for (int64_t number = 0; failed; ++number) {
    page = fresh(c.page);
    failAllocation(number);
    const bool done = c.action(page.get());
    failed = allocationsAsked() > number;
    failAllocation(-1);
    EXPECT_TRUE(done || failed);
    EXPECT_EQ(rleCheckRect(page.get()), 1);
    const auto now = picture(page.get());
    refused += done ? 0 : 1;
    if (c.refusals != kRows || !failed) {
      EXPECT_EQ(now, done ? after : before) << number;
    } else {
      for (size_t y = 0; y < now.size(); ++y)
        EXPECT_TRUE(now[y] == before[y] || now[y] == after[y]) << number << " row " << y;
    }
    page.reset();
    ASSERT_EQ(allocationsAlive(), alive) << number;
  }
  EXPECT_TRUE(c.refusals < 0 || refused == c.refusals) << refused;
}

TEST(AllocationFaults, LeaveEverythingInOrder) {
  std::mt19937 random(35);
  const Pixels page = randomPixels(random, 60, 50), blank(1200, 61);
  Pixels comb(601, 150);  // makes every buffer of a trace grow
  for (int i = 0; i < 150 * 601; ++i)
    comb.put(i % 601, i / 601, i % 601 % 2 == 0 || i >= 149 * 601);
  const Pixels wide = randomPixels(random, 1000, 6, 9, 9);
  const OwnedRect other = randomPixels(random, 1000, 6, 1, 1).toRect();
  const OwnedRect tile = randomPixels(random, 9, 3, 1, 1).toRect();
  const OwnedRect damaged = image({"##.."});
  damaged->rows[0]->runs[0] = {5, 2};
  std::vector<RlePoint> teeth;  // 300 of them that begin on 55 different rows
  for (int i = 0; i < 600; ++i) teeth.push_back({2 * i, i % 2 == 0 ? i / 2 % 55 : 60});
  const OwnedPoly poly(rleAllocPoly()), sheet(rleAllocPoly());
  sheet->image = page.toRect().release();
  poly->image = image({"##", "#."}).release();
  poly->mask = image({"..", "##"}).release();
  poly->count = 70000;  // more than memory is provided for at first
  poly->points = rleAllocPoints(poly->count);
  poly->points[69999] = {7, -8};
  ByteStream stream, codes({0x6C, 0xF7, 0x00, 0x08, 0x80}), file;
  ASSERT_EQ(rleUnloadPoly(&file, poly.get()), 1);
  const auto again = [](ByteStream& s) {
    s.position = 0;
    return &s;
  };
  const std::string part = testing::TempDir() + "rle" + std::to_string(getpid()) + ".fault";
  uint8_t bits[] = {0x5A, 0xF0, 0x01, 0x80};
  rlePackClearCache();
  // Over the stand-in for the raster pipeline, which has a page of two rows.
  const auto piped = [](std::function<bool(RleRect*, ByteStream*)> action, uint32_t format) {
    return [=](RleRect* p) {
      fake() = {};
      fake().info = {0, 16, 2, format, 90, 90, 0, 0, 1, 1};
      fake().deliver(16, {{0x5A, 0xF0}, {0x01, 0x80}});
      ByteStream ends({0, 0, 0});
      const bool done = action(p, &ends);
      EXPECT_EQ(fake().alive, 0);
      rlePackClearCache();
      return done;
    };
  };
  const uint32_t grey = GFX_FORMAT(8, 2), bilevel = GFX_FORMAT(1, 4);
  ByteStream regionFile;
  ASSERT_TRUE(piped([&](auto*, auto*) { return rleUnloadPolyToG4(&regionFile, poly.get()) == 1; },
                    bilevel)(nullptr));
  regionFile.bytes.resize(regionFile.bytes.size() + 3);
  const auto convert = [](double scale) {
    return [=](auto*, auto* s) {
      ByteStream out;
      return rleConvFromRasterToRaster(s, &out, 0, 1, scale, 1) == 1;
    };
  };
  const Case cases[] = {
      {"new", page, 5, [](auto*) { return OwnedRect(rleNewRect(5, 3, 0)) != nullptr; }},
      {"copy of a region", page, 14,  // itself, points, and twice image, row array, rows, buffers
       [&](auto*) { return OwnedPoly(rleDupPoly(poly.get())) != nullptr; }},
      {"copy", page, kSome,
       [](auto* p) { return OwnedRect(rleCopyRect(p, 7, 3, 40, 30)) != nullptr; }},
      {"cut", page, kSome,
       [](auto* p) { return OwnedRect(rleCutRect(p, 7, 3, 40, 30)) != nullptr; }},
      {"paste", wide, kRows, [&](auto* p) { return rleMergeRect(p, 3, 1, other.get(), 0) == 1; }},
      {"set", wide, kRows, [&](auto* p) { return rleMergeRect(p, 3, 1, other.get(), 1) == 1; }},
      {"clear", wide, kRows, [&](auto* p) { return rleMergeRect(p, 3, 1, other.get(), 2) == 1; }},
      {"mask", wide, kRows, [&](auto* p) { return rleMaskRect(p, other.get(), 0), true; }},
      {"pattern", wide, kRows,
       [&](auto* p) { return rleFillRect(p, 1, 0, 990, 5, -1, tile.get(), 0), true; }},
      {"pattern set", wide, kRows,
       [&](auto* p) { return rleFillRect(p, 1, 0, 990, 5, -1, tile.get(), 1), true; }},
      {"polygon", blank, kRows,
       [&](auto* p) { return rleFillPolygon(p, 600, teeth.data(), 1, 1, nullptr, 1), true; }},
      {"quarter turn", page, kSome,
       [](auto* p) { return OwnedRect(rleQRotateRect(p, 1)) != nullptr; }},
      {"half turn", page, kSome,
       [](auto* p) { return OwnedRect(rleQRotateRect(p, 2)) != nullptr; }},
      {"rotations", page, kSome,
       [&](auto* p) {
         bool done = true;
         for (const double angle : {20.0, 70.0, 90.0}) {
           double x, y;
           const OwnedRect turned(rleRotateRect(p, angle, &x, &y));
           EXPECT_TRUE(turned ? rleCheckRect(turned.get()) == 1 : x + y == 0);
           const OwnedPoly region(rleRotatePoly(sheet.get(), angle, &x, &y));
           EXPECT_TRUE(!region || rleCheckRect(region->image) == 1);
           done = done && turned && region;
         }
         return done;
       }},
      {"scale", page, kSome, [](auto* p) { return rleScaleRect(p, 16384, 49152), p->width == 30; }},
      {"nearest", page, kSome,
       [](auto* p) { return rleNNScaleRect(p, 16384, 49152), p->width == 30; }},
      {"any black", page, kSome,
       [](auto* p) { return rleMinScaleRect(p, 16384, 49152), p->width == 30; }},
      {"scaled row", page, kSome,
       [](auto* p) { return OwnedLine(rleScaleLine(p->rows[0], 16384)) != nullptr; }},
      {"component", comb, kSome,
       [](auto* p) {
         uint16_t left = 9, top = 9;
         const bool done = OwnedRect(rleConnected(p, 300, 70, &left, &top)) != nullptr;
         EXPECT_EQ(left + top, done ? 0 : 18);
         return done;
       }},
      {"no component", comb, 0,
       [](auto* p) {
         return rleConnected(p, 1, 30, nullptr, nullptr) == nullptr &&
                rleClosest(p, 1, 30, 5, nullptr, nullptr) == 1;
       }},
      {"decode", page, 7,  // image and row array, rows, working memory, run buffers
       [&](auto*) {
         return OwnedRect(rleLoadRectFromCCITTG4(again(codes), 16, 2, 200, 1)) != nullptr;
       }},
      {"encode", page, 0, [&](auto* p) { return rleUnloadRectFromCCITTG4(&stream, p) == 1; }},
      {"encode damaged rows", page, 1,
       [&](auto*) { return rleUnloadRectFromCCITTG4(&stream, damaged.get()) == 1; }},
      {"pack", page, 7,  // image, row array, cache, and twice row and buffer
       [&](auto*) {
         const OwnedRect packed(rlePackRect(bits, 16, 0, 0, 15, 0, 1, 200));
         if (!packed) rlePackClearCache();  // success empties it
         return packed != nullptr;
       }},
      {"write", page, 2, [&](auto*) { return rleUnloadPoly(again(file), poly.get()) == 1; }},
      {"read", page, kSome,
       [&](auto*) {
         const OwnedPoly read(rleLoadPoly(again(file)));
         return read && read->points[69999].x == 7 && read->points[69999].y == -8;
       }},
      {"load raster", page, 9,  // region, bit row, image, row array, cache, and as pack
       piped([](auto*, auto* s) { return OwnedPoly(rleLoadPolyFromRaster(s)) != nullptr; }, grey)},
      {"load Group 4", page, kSome,
       piped(
           [&](auto*, auto*) { return OwnedPoly(rleLoadPolyFromG4(again(regionFile))) != nullptr; },
           bilevel)},
      {"unload raster", page, 1,
       piped([](auto* p, auto* s) { return rleUnloadRectToRaster(s, p, 6) == 1; }, bilevel)},
      {"unload Group 4", page, 3,  // context, header, bit row
       piped([&](auto*, auto* s) { return rleUnloadPolyToG4(s, poly.get()) == 1; }, bilevel)},
      {"convert rows", page, 1, piped(convert(0.5), grey)},
      {"convert runs", page, kSome, piped(convert(0.5), bilevel)},
      {"collect", page, 4,  // writer and state, path, data
       [&](auto*) {
         RleMemoryWriter* const w = rleInitWriteRasterFromMemory(&stream, 1);
         if (w == nullptr) return false;
         const bool begun = w->initialize(w, 9, 2, 200, 1, 4, 0, 0, part.c_str()) != 0;
         const bool done = begun && w->write(w, bits, 4) != 0;
         EXPECT_TRUE(done || (w->write(w, bits, 4) != 0) != begun);  // no more after a gap
         EXPECT_STREQ(w->getError(w), done    ? nullptr
                                      : begun ? "can not write to memory."
                                              : "can not allocate memory for path.");
         w->end(w);
         return done;
       }},
  };
  for (const Case& c : cases) failInTurn(c);
}

}  // namespace
}  // namespace rle::test
