// Loading: the calls made, every one of them failing, and what is made of the answers.

#include <gtest/gtest.h>

#include "model/owners.h"
#include "raster/fake_pipeline.h"
#include "support/picture.h"

namespace rle::test {
namespace {

using Picture = std::vector<std::string>;

constexpr uint32_t kGrey = GFX_FORMAT(8, 2), kBilevel = GFX_FORMAT(1, 4);
constexpr uint32_t kMost = 0xFFFFFFFF;

// A file of two rows, and the bilevel rows that come of it.
void scriptFile(FakePipeline& pipeline, uint32_t format = kBilevel, uint32_t unit = 1,
                uint32_t xResolution = 300, uint32_t yResolution = 300) {
  pipeline.info = {7, 12, 2, format, xResolution, yResolution, 0, 0, unit, 1};
  pipeline.deliver(12, {{0x0F, 0x1F}, {0x80, 0x00}});
}
const Picture kRows = {"....####...#", "#..........."};

OwnedRect loadRaster() {
  NamedStream in("in");
  return OwnedRect(rleLoadRectFromRaster(&in));
}

TEST(RasterLoading, ReadsRowsThroughThePipeline) {
  failCallsInTurn([](auto& pipeline) { scriptFile(pipeline, kGrey); },
                  [] {
                    const OwnedRect rect = loadRaster();
                    return rect && picture(rect.get()) == kRows;
                  },
                  {"HueInit", "gfxGetImageInfo in -> #1", "gfxInitReadRaster in 7 0 2 -> #2",
                   "gfxInitColorSpaceConverter #2 4 1 -> #3", "gfxFreeImageInfo #1", "begin #3",
                   "process #3 [0000]", "process #3 [0000]", "end #3"},
                  Ends::Count);
}

TEST(RasterLoading, HeedsColoursAndResolutions) {
  const struct {
    int type;
    std::string converter;
    uint32_t unit, x, y, resolution;  // 0: refused
  } cases[] = {
      {0, " 4", 1, 300, 300, 300}, {1, " 4", 1, 0, 0, 400},      {3, " 4", 1, kMost, kMost, 400},
      {5, " 9", 0, 300, 300, 72},  {-1, " -1", 2, 300, 300, 72}, {-6, " -1", 1, 1, 1, 1},
      {4, "", 1, 2, 2, 2},         {9, "", 1, 3, 3, 3},          {4, "", 1, 200, 100, 0}};
  for (const auto& [type, converter, unit, x, y, resolution] : cases) {
    fake() = {};
    scriptFile(fake(), GFX_FORMAT(8, type), unit, x, y);
    const OwnedRect rect = loadRaster();
    EXPECT_EQ(rect ? rect->resolution : 0, resolution);
    EXPECT_EQ(fake().calls.size(), resolution == 0 ? 3U : converter.empty() ? 8U : 9U);
    EXPECT_EQ(fake().calls.back().substr(0, 3), resolution == 0 ? "gfx" : "end");
    EXPECT_TRUE(converter.empty() ||
                fake().calls[3] == "gfxInitColorSpaceConverter #2" + converter + " 1 -> #3");
  }
}

TEST(RasterLoading, RefusesWhatAnImageDoesNotHold) {
  for (const auto& [width, height, format] : {std::tuple{12U, 2U, kGrey},
                                              {65536, 2, kBilevel},
                                              {12, 65536, kBilevel},
                                              {kMost, kMost, kBilevel}}) {
    fake() = {};
    scriptFile(fake());
    fake().delivered = {width, height, format, 0, 0, nullptr};
    NamedStream in("in", Bytes(3));
    EXPECT_FALSE(loadRaster());
    EXPECT_EQ(rleLoadRectFromG4(&in, -1, 2, 0), nullptr);
    EXPECT_EQ(fake().alive, 0);
  }
}

TEST(RasterLoading, ReadsGroup4DataAndThreeBytesMore) {
  const auto load = [](size_t following, int32_t resolution) {
    NamedStream in("in", Bytes(following));
    const OwnedRect rect(rleLoadRectFromG4(&in, 12, 2, resolution));
    return rect && in.position == 3 && picture(rect.get()) == kRows ? rect->resolution : 0;
  };
  failCallsInTurn([](auto& pipeline) { scriptFile(pipeline); }, [&] { return load(4, -1) == 400; },
                  {"HueInit", "gfxInitReadG4 in 12 2 0 2 0 0 -> #1", "begin #1",
                   "process #1 [0000]", "process #1 [0F1F]", "end #1"},
                  Ends::Count);
  EXPECT_EQ(load(2, 90), 0);
  EXPECT_EQ(load(3, 90), 90);
  EXPECT_EQ(load(3, 0), 400);
}

TEST(RasterLoading, MakesRegions) {
  // 5 x 3 pixels, 90 dots per inch, the triangle (1, 0), (5, 0), (1, 4); three bytes follow.
  const Bytes file = {0x52, 0x4C, 0x43, 0, 0, 0, 0, 1, 0, 3, 0, 5, 0, 0, 0, 90, 0,
                      0,    0,    3,    0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 5, 0,  0,
                      0,    0,    0,    0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 1, 7, 8,  9};
  const auto script = [](auto& pipeline) { pipeline.deliver(5, {{0x18}, {0}, {0x80}}); };
  const auto load = [](const Bytes& bytes) {
    NamedStream in("in", bytes);
    return OwnedPoly(rleLoadPolyFromG4(&in));
  };
  failCallsInTurn(
      script,
      [&] {
        const OwnedPoly poly = load(file);
        return poly && poly->count == 3 && poly->fillRule == 1 && poly->image->resolution == 90 &&
               picture(poly->image) == Picture{"...##", ".....", "#...."} &&
               picture(poly->mask) == Picture{".####", ".###.", ".##.."};
      },
      {"HueInit", "gfxInitReadG4 in 5 3 0 3 0 0 -> #1", "begin #1", "process #1 [00]",
       "process #1 [18]", "process #1 [00]", "end #1"},
      Ends::Count);
  Bytes plain = file;
  plain.erase(plain.begin() + 20, plain.begin() + 44);
  plain[19] = 0;
  EXPECT_EQ(load(plain)->mask, nullptr);
  scriptFile(fake());
  NamedStream in("in");
  EXPECT_EQ(picture(OwnedPoly(rleLoadPolyFromRaster(&in))->image), kRows);
  fake().failAt = int64_t(fake().calls.size());
  EXPECT_EQ(rleLoadPolyFromRaster(&in), nullptr);
}

}  // namespace
}  // namespace rle::test
