// Memory that runs out: every allocation of every function that makes any fails in turn. Nothing is
// leaked, images stay valid, and what was promised to be left alone is. (Thick lines are in
// fat_line_test.cpp.)

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

// An action may refuse this often, and then has left the image as it was; kSome is any number, and
// what never refuses allocates nothing. With kRows each row by itself is left alone or has all that
// was asked for; with kParts it may have some of it.
constexpr int64_t kSome = -1, kRows = -2, kParts = -3;

struct Case {
  const char* functions;
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
  SCOPED_TRACE(c.functions);
  const int64_t alive = allocationsAlive();
  OwnedRect page = fresh(c.page);
  const auto before = picture(page.get());
  EXPECT_TRUE(c.action(page.get()));
  const auto after = picture(page.get());
  int64_t refused = 0, number = 0;
  for (bool failed = true; failed; ++number) {
    page = fresh(c.page);
    failAllocation(number);
    const bool done = c.action(page.get());
    failed = allocationsAsked() > number;
    failAllocation(-1);
    EXPECT_TRUE(done || failed);
    EXPECT_EQ(rleCheckRect(page.get()), 1);
    const auto now = picture(page.get());
    refused += done ? 0 : 1;
    if (c.refusals > kRows || !failed) {
      EXPECT_EQ(now, done ? after : before) << number;
    } else if (c.refusals == kRows) {
      for (size_t y = 0; y < now.size(); ++y)
        EXPECT_TRUE(now[y] == before[y] || now[y] == after[y]) << number << " row " << y;
    }
    page.reset();
    ASSERT_EQ(allocationsAlive(), alive) << number;
  }
  EXPECT_EQ(number > 1, c.refusals != 0);
  EXPECT_TRUE(c.refusals < 0 || refused == c.refusals) << refused;
}

// Whether there is a result, which is released.
bool made(RleLine* line) { return OwnedLine(line) != nullptr; }
bool made(RleFile* file) { return OwnedFile(file) != nullptr; }
bool made(RlePoint* points) { return OwnedPoints(points) != nullptr; }
bool made(RleRect* rect) {
  const OwnedRect owned(rect);
  EXPECT_TRUE(!owned || rleCheckRect(rect) == 1);
  return owned != nullptr;
}
bool made(RlePoly* poly) {
  const OwnedPoly owned(poly);
  EXPECT_TRUE(!owned || owned->image == nullptr || rleCheckRect(owned->image) == 1);
  return owned != nullptr;
}

ByteStream* again(ByteStream& stream) {
  stream.position = 0;
  return &stream;
}

class AllocationFaults : public testing::Test {
 protected:
  AllocationFaults() {
    for (int i = 0; i < 150 * 601; ++i)
      comb.put(i % 601, i / 601, i % 601 % 2 == 0 || i >= 149 * 601);
    for (int i = 0; i < 600; ++i) teeth.push_back({2 * i, i % 2 == 0 ? i / 2 % 55 : 60});
    for (const RlePoint& tooth : teeth) exact.push_back({double(tooth.x), double(tooth.y)});
    region->image = image({"##", "#."}).release();
    region->mask = image({"..", "##"}).release();
    region->count = 70000;  // more than memory is provided for at first
    region->points = rleAllocPoints(region->count);
    region->points[69999] = {7, -8};
  }

  std::mt19937 random{35};
  const Pixels page = randomPixels(random, 60, 50), blank{1200, 61};
  Pixels comb{601, 150};  // makes every buffer of a trace grow
  const Pixels wide = randomPixels(random, 1000, 6, 9, 9);
  const OwnedRect other = randomPixels(random, 1000, 6, 1, 1).toRect();
  const OwnedRect tile = randomPixels(random, 9, 3, 1, 1).toRect();
  std::vector<RlePoint> teeth;  // 300 of them that begin on 55 different rows
  std::vector<RleDPoint> exact;
  const OwnedPoly region{rleAllocPoly()};
  uint8_t bits[4] = {0x5A, 0xF0, 0x01, 0x80};
};

TEST_F(AllocationFaults, LeaveRecordsInOrder) {
  const Case cases[] = {
      {"rleAllocRuns rleReAllocRuns", page, 2,
       [](auto*) {
         OwnedRuns runs(rleAllocRuns(5));
         if (!runs) return false;
         RleRun* const larger = rleReAllocRuns(runs.get(), 5000);
         if (larger == nullptr) return false;
         static_cast<void>(runs.release());
         runs.reset(larger);
         return true;
       }},
      {"rleAllocLine", page, 1, [](auto*) { return made(rleAllocLine()); }},
      {"rleAllocLines", page, 1,
       [](auto*) {
         RleLine** const rows = rleAllocLines(3);
         if (rows != nullptr) rleFreeLines(3, rows);
         return rows != nullptr;
       }},
      {"rleAllocRect", page, 1, [](auto*) { return made(rleAllocRect()); }},
      {"rleNewRect", page, 5, [](auto*) { return made(rleNewRect(5, 3, 0)); }},
      {"rleAllocPoints", page, 1, [](auto*) { return made(rleAllocPoints(3)); }},
      {"rleAllocPoly", page, 1, [](auto*) { return made(rleAllocPoly()); }},
      {"rleAllocFile", page, 1, [](auto*) { return made(rleAllocFile()); }},
      {"rleAllocHeader", page, 1, [](auto*) { return made(rleAllocHeader()); }},
      {"rleDupLine", page, 2, [](auto* p) { return made(rleDupLine(p->rows[0])); }},
      {"rleDupRect", page, 102, [](auto* p) { return made(rleDupRect(p)); }},
      {"rleDupPoly", page, 14,  // itself, points, and twice image, row array, rows, buffers
       [&](auto*) { return made(rleDupPoly(region.get())); }},
  };
  for (const Case& c : cases) failInTurn(c);
}

TEST_F(AllocationFaults, LeaveRowsInOrder) {
  int32_t widths[] = {700, 700, 700};
  RlePoint spans[] = {{100, 0}, {90, 2}, {3, 5}};
  const Case cases[] = {
      {"rleSetLine", wide, kRows, [](auto* p) { return rleSetLine(p->rows[1], 0, 0), true; }},
      {"rleClearLine", comb, kRows, [](auto* p) { return rleClearLine(p->rows[149], 5, 9), true; }},
      {"rleSetRect", wide, kRows, [](auto* p) { return rleSetRect(p, 500, 0, 500, 5), true; }},
      {"rleClearRect", wide, kRows, [](auto* p) { return rleClearRect(p, 500, 0, 500, 5), true; }},
      {"rleMergeLineRun", wide, kRows,
       [&](auto* p) { return rleMergeLineRun(p->rows[2], other->rows[2], 1, 0, 990, 1), true; }},
      {"rleMergeRect, replace", wide, kRows,
       [&](auto* p) { return rleMergeRect(p, 3, 1, other.get(), 0) == 1; }},
      {"rleMergeRect, set", wide, kRows,
       [&](auto* p) { return rleMergeRect(p, 3, 1, other.get(), 1) == 1; }},
      {"rleMergeRect, clear", wide, kRows,
       [&](auto* p) { return rleMergeRect(p, 3, 1, other.get(), 2) == 1; }},
      {"rleMergePoly", wide, kParts,
       [&](auto* p) { return rleMergePoly(p, 500, 1, region.get(), 0) == 1; }},
      {"rleMaskRect", wide, kRows, [&](auto* p) { return rleMaskRect(p, other.get(), 0), true; }},
      {"rleFillSpans", wide, kRows,
       [&](auto* p) { return rleFillSpans(p, 3, spans, widths, 0, nullptr, 1), true; }},
      {"rleFillRect", wide, kRows,
       [&](auto* p) { return rleFillRect(p, 1, 0, 990, 5, -1, tile.get(), 0), true; }},
      {"rlePatternLine", wide, kRows,
       [&](auto* p) { return rlePatternLine(p->rows[0], 1, 990, 0, tile.get(), 1), true; }},
      {"rlePatternRect", wide, kRows,
       [&](auto* p) { return rlePatternRect(p, 1, 0, 990, 5, tile.get(), 1), true; }},
      {"rleFillPolygon", blank, kRows,
       [&](auto* p) { return rleFillPolygon(p, 600, teeth.data(), 1, 1, nullptr, 1), true; }},
      {"rleFillSppPoly", blank, kParts,
       [&](auto* p) { return rleFillSppPoly(p, 600, exact.data(), 0, 0, 1, nullptr, 1), true; }},
  };
  for (const Case& c : cases) failInTurn(c);
}

TEST_F(AllocationFaults, GiveAWholeImageOrNone) {
  const OwnedPoly sheet(rleAllocPoly());
  sheet->image = page.toRect().release();
  const auto turned = [&](double angle) {
    return [&, angle](RleRect* p) {
      double x = 9, y = 9;
      const OwnedRect rect(rleRotateRect(p, angle, &x, &y));
      EXPECT_TRUE(rect ? rleCheckRect(rect.get()) == 1 : x + y == 0);
      return made(rleRotatePoly(sheet.get(), angle, &x, &y)) && rect;
    };
  };
  // A region that has the page as its image while it is worked on.
  const auto asRegion = [](std::function<void(RlePoly*)> change) {
    return [change](RleRect* p) {
      RlePoly around{};
      around.image = p;
      change(&around);
      return p->width == 30;
    };
  };
  const Case cases[] = {
      {"rleCopyLine", page, 2, [](auto* p) { return made(rleCopyLine(p->rows[0], 3, 40)); }},
      {"rleCutLine", comb, kRows, [](auto* p) { return made(rleCutLine(p->rows[149], 3, 40)); }},
      {"rleCopyRect", page, kSome, [](auto* p) { return made(rleCopyRect(p, 7, 3, 40, 30)); }},
      {"rleCutRect", page, kSome, [](auto* p) { return made(rleCutRect(p, 7, 3, 40, 30)); }},
      {"rlePackLine", page, 3,  // cache, row, buffer
       [&](auto*) {
         const bool packed = made(rlePackLine(bits, 0, 15));
         rlePackClearCache();
         return packed;
       }},
      {"rlePackRect", page, 7,  // image, row array, cache, and twice row and buffer
       [&](auto*) {
         const bool packed = made(rlePackRect(bits, 16, 0, 0, 15, 0, 1, 200));
         if (!packed) rlePackClearCache();  // success empties it
         return packed;
       }},
      {"rleQRotateRect, quarter", page, kSome, [](auto* p) { return made(rleQRotateRect(p, 1)); }},
      {"rleQRotateRect, half", page, kSome, [](auto* p) { return made(rleQRotateRect(p, 2)); }},
      {"rleRotateRect rleRotatePoly, 20", page, kSome, turned(20)},
      {"rleRotateRect rleRotatePoly, 70", page, kSome, turned(70)},
      {"rleRotateRect rleRotatePoly, 90", page, kSome, turned(90)},
      {"rleScaleRect", page, kSome,
       [](auto* p) { return rleScaleRect(p, 16384, 49152), p->width == 30; }},
      {"rleNNScaleRect", page, kSome,
       [](auto* p) { return rleNNScaleRect(p, 16384, 49152), p->width == 30; }},
      {"rleMinScaleRect", page, kSome,
       [](auto* p) { return rleMinScaleRect(p, 16384, 49152), p->width == 30; }},
      {"rleScalePoly", page, kSome,
       asRegion([](RlePoly* around) { rleScalePoly(around, 16384, 49152); })},
      {"rleChangeResRect", page, kSome,
       [](auto* p) {
         rleChangeResRect(p, 100);
         EXPECT_EQ(p->resolution, 100);
         return p->width == 30;
       }},
      {"rleChangeResPoly", page, kSome,
       asRegion([](RlePoly* around) { rleChangeResPoly(around, 100); })},
      {"rleScaleLine", page, kSome, [](auto* p) { return made(rleScaleLine(p->rows[0], 16384)); }},
      {"rleNNScaleLine", page, kSome,
       [](auto* p) { return made(rleNNScaleLine(p->rows[0], 16384)); }},
      {"rleConnected", comb, kSome,
       [](auto* p) {
         uint16_t left = 9, top = 9;
         const bool done = made(rleConnected(p, 300, 70, &left, &top));
         EXPECT_EQ(left + top, done ? 0 : 18);
         return done;
       }},
      {"rleConnected, where nothing is black; rleClosest", comb, 0,
       [](auto* p) {
         return !made(rleConnected(p, 1, 30, nullptr, nullptr)) &&
                rleClosest(p, 1, 30, 5, nullptr, nullptr) == 1;
       }},
  };
  for (const Case& c : cases) failInTurn(c);
}

TEST_F(AllocationFaults, ReadAndWriteWholeFilesOrNone) {
  const OwnedRect sheet = page.toRect(), damaged(rleNewRect(65535, 1, 0));
  for (int x = 0; x < 6000; x += 2) rleSetLine(damaged->rows[0], x, x);
  damaged->rows[0]->runs[0] = {5, 2};
  ByteStream out, codes({0x6C, 0xF7, 0x00, 0x08, 0x80}), none({0, 8, 0x80}), image, file;
  ASSERT_EQ(rleUnload(&image, sheet.get()), 1);
  ASSERT_EQ(rleUnloadPoly(&file, region.get()), 1);
  const auto afterTheHeader = [](ByteStream& stream, std::function<bool(RleFile*)> read) {
    return [&stream, read](RleRect*) {
      const OwnedFile context(rleOpen(again(stream)));
      return context && made(rleReadHeader(context.get(), 0)) && read(context.get());
    };
  };
  const auto isWhole = [](const RlePoint* points) {
    return points != nullptr && points[69999].x == 7 && points[69999].y == -8;
  };
  const Case cases[] = {
      {"rleOpen rleReadHeader rleReadPolyLine", page, kSome,
       afterTheHeader(file,
                      [&](RleFile* f) {
                        uint32_t count = 0;
                        return isWhole(OwnedPoints(rleReadPolyLine(f, &count)).get());
                      })},
      {"rleReadPoly", page, kSome,
       afterTheHeader(file, [](RleFile* f) { return made(rleReadPoly(f, 2, 2)); })},
      {"rleReadLine", page, 5,  // context, header, vertices, row, buffer
       afterTheHeader(image,
                      [](RleFile* f) {
                        return made(rleReadPolyLine(f, nullptr)) && rleReadFillRule(f) == 0 &&
                               made(rleReadLine(f));
                      })},
      {"rleReadLines", page, kSome,
       afterTheHeader(image,
                      [](RleFile* f) {
                        f->context.stream->ops->seek(f->context.stream, 8, 1);
                        RleLine** const rows = rleReadLines(f, 50);
                        if (rows != nullptr) rleFreeLines(50, rows);
                        return rows != nullptr;
                      })},
      {"rleReadRect", page, kSome,
       afterTheHeader(image,
                      [](RleFile* f) {
                        f->context.stream->ops->seek(f->context.stream, 8, 1);
                        return made(rleReadRect(f, 60, 50));
                      })},
      {"rleLoad", page, kSome, [&](auto*) { return made(rleLoad(again(image))); }},
      {"rleLoadRect", page, kSome, [&](auto*) { return made(rleLoadRect(again(image))); }},
      {"rleLoadPoly", page, kSome,
       [&](auto*) {
         const OwnedPoly read(rleLoadPoly(again(file)));
         return read && isWhole(read->points);
       }},
      {"rleUnload", page, 2, [&](auto* p) { return rleUnload(&out, p) == 1; }},
      {"rleUnloadRect", page, 2, [&](auto* p) { return rleUnloadRect(&out, p) == 1; }},
      {"rleUnloadPoly", page, 2, [&](auto*) { return rleUnloadPoly(&out, region.get()) == 1; }},
      {"rleLoadRectFromCCITTG4", page, 6,  // image and row array, rows, run buffers
       [&](auto*) { return made(rleLoadRectFromCCITTG4(again(codes), 16, 2, 200, 1)); }},
      {"rleLoadRectFromCCITTG4, wide", page, 4,  // and working memory, but no row
       [&](auto*) { return made(rleLoadRectFromCCITTG4(again(none), 8193, 1, 200, 1)); }},
      {"rleUnloadRectFromCCITTG4", page, 0,
       [&](auto* p) { return rleUnloadRectFromCCITTG4(&out, p) == 1; }},
      {"rleUnloadRectFromCCITTG4, long damaged rows", page, 1,
       [&](auto*) { return rleUnloadRectFromCCITTG4(&out, damaged.get()) == 1; }},
  };
  for (const Case& c : cases) failInTurn(c);
}

// Over the stand-in for the raster pipeline, which has a page of two rows.
TEST_F(AllocationFaults, LeaveThePipelineInOrder) {
  ByteStream out, codes({0x6C, 0xF7, 0x00, 0x08, 0x80}), file;
  const auto piped = [](uint32_t format, std::function<bool(RleRect*, ByteStream*)> action) {
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
  ASSERT_TRUE(piped(
      bilevel, [&](auto*, auto*) { return rleUnloadPolyToG4(&file, region.get()) == 1; })(nullptr));
  file.bytes.resize(file.bytes.size() + 3);
  const auto convert = [](RleRect*, ByteStream* s) {
    ByteStream converted;
    return rleConvFromRasterToRaster(s, &converted, 0, 1, 0.5, 1) == 1;
  };
  const std::string part = testing::TempDir() + "rle" + std::to_string(getpid()) + ".fault";
  const Case cases[] = {
      {"rleLoadRectFromRaster", page, 8,  // bit row, image, row array, cache, and as rlePackRect
       piped(grey, [](auto*, auto* s) { return made(rleLoadRectFromRaster(s)); })},
      {"rleLoadPolyFromRaster", page, 9,  // and the region
       piped(grey, [](auto*, auto* s) { return made(rleLoadPolyFromRaster(s)); })},
      {"rleLoadRectFromG4", page, kSome,
       piped(bilevel,
             [&](auto*, auto*) { return made(rleLoadRectFromG4(again(codes), 16, 2, 200)); })},
      {"rleLoadPolyFromG4", page, kSome,
       piped(bilevel, [&](auto*, auto*) { return made(rleLoadPolyFromG4(again(file))); })},
      {"rleUnloadRectToG4", page, 1,
       piped(bilevel, [](auto* p, auto* s) { return rleUnloadRectToG4(s, p) == 1; })},
      {"rleUnloadPolyToG4", page, 3,  // context, header, bit row
       piped(bilevel, [&](auto*, auto* s) { return rleUnloadPolyToG4(s, region.get()) == 1; })},
      {"rleUnloadRectToRaster", page, 1,
       piped(bilevel, [](auto* p, auto* s) { return rleUnloadRectToRaster(s, p, 6) == 1; })},
      {"rleUnloadRectToRasterSelectCompress", page, 1,
       piped(
           bilevel,
           [](auto* p, auto* s) { return rleUnloadRectToRasterSelectCompress(s, p, 0, 5) == 1; })},
      {"rleUnloadPolyToRaster", page, kSome,
       piped(bilevel,
             [&](auto*, auto* s) { return rleUnloadPolyToRaster(s, region.get(), 6) == 1; })},
      {"rleConvFromRasterToRaster, rows", page, 1, piped(grey, convert)},
      {"rleConvFromRasterToRaster, runs", page, kSome, piped(bilevel, convert)},
      {"rleInitWriteRasterFromMemory", page, 4,  // writer and state, path, data
       [&](auto*) {
         RleMemoryWriter* const w = rleInitWriteRasterFromMemory(&out, 1);
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
