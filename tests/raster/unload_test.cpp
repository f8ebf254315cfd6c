// Unloading, and the one kind of TIFF that needs no pipeline, both ways.

#include <gtest/gtest.h>

#include "model/owners.h"
#include "raster/fake_pipeline.h"
#include "support/picture.h"

namespace rle::test {
namespace {

// The image of a page of 16 x 2 pixels with the runs [4, 8) and [5, 8), and its TIFF of 191 bytes.
const OwnedRect kPage = image({"....####........", ".....###........"});
Bytes tiffOfPage() {
  ByteStream header;
  EXPECT_EQ(rleWriteTiffHeader(&header, 16, 2, 200, 4, 1), 1);
  header.bytes[129] = 5;
  for (const int byte : {0x6C, 0xF7, 0x00, 0x08, 0x80}) header.bytes.push_back(uint8_t(byte));
  return header.bytes;
}

TEST(RasterUnloading, WritesItsOwnTiffWithoutThePipeline) {
  fake() = {};
  NamedStream out("out"), same("out"), empty("out");
  EXPECT_EQ(rleUnloadRectToRaster(&out, kPage.get(), 0), 1);
  EXPECT_EQ(rleUnloadRectToRasterSelectCompress(&same, kPage.get(), 0, 0x100), 1);
  EXPECT_EQ(rleUnloadRectToRaster(&empty, OwnedRect(rleNewRect(16, 0, 200)).get(), 0), 1);
  EXPECT_EQ(out.bytes, tiffOfPage());
  EXPECT_EQ(out.position, 130U);
  EXPECT_EQ(same.bytes, out.bytes);
  EXPECT_EQ(empty.bytes.size(), 189U);
  for (int64_t failAt = 0; failAt < out.operations; ++failAt) {
    NamedStream failing("out");
    failing.failAt = failAt;
    EXPECT_EQ(rleUnloadRectToRaster(&failing, kPage.get(), 0), 0) << failAt;
  }
  EXPECT_EQ(fake().calls, Calls{});
}

TEST(RasterUnloading, ItsOwnTiffIsReadWithoutThePipeline) {
  const auto load = [](NamedStream& in) {
    fake() = {};
    fake().info = {0, 8, 1, GFX_FORMAT(1, 4), 100, 100, 0, 0, 1, 1};
    fake().deliver(8, {{0x81}});
    return OwnedRect(rleLoadRectFromRaster(&in));
  };
  NamedStream in("in", tiffOfPage());
  in.bytes[185] = 2;  // only the x resolution counts
  const OwnedRect rect = load(in);
  EXPECT_EQ(picture(rect.get()), picture(kPage.get()));
  EXPECT_EQ(rect->resolution, 200);
  EXPECT_EQ(in.position, 191U);
  EXPECT_EQ(fake().calls, Calls{"HueInit"});
  in.bytes.resize(188);  // without an EOFB it is the pipeline's, from its start
  in.position = 0;
  EXPECT_EQ(picture(load(in).get())[0], "#......#");
  EXPECT_EQ(in.position, 0U);
}

TEST(RasterUnloading, FeedsRowsToThePipeline) {
  const OwnedRect page = image({"##.........#", "#..........."});
  page->rows[1]->runs[0] = {9, 40};  // beyond the width
  NamedStream out("out");
  const auto script = [&](auto& pipeline) { pipeline.names[&out] = "out"; };
  const auto expectedCalls = [](const std::string& writer, const std::string& parameters) {
    return Calls{
        "HueInit",           writer + " -> #1",   "begin #1 12 2 0x10004 0 0 " + parameters,
        "process #1 [C010]", "process #1 [0070]", "end #1"};
  };
  failCallsInTurn(
      script, [&] { return rleUnloadRectToG4(&out, page.get()) == 1; },
      expectedCalls("gfxInitWriteG4 out 0", "null"), Ends::DoNotCount);
  const struct {
    int32_t format, requested, told;  // -1: refused
  } cases[] = {{0, 0, 0},    {0, 0x400, 0x400}, {1, -1, 0},  {1, 7, 7},   {2, -1, 256},
               {6, 5, 0},    {7, 5, 8192},      {8, -1, 0},  {3, -1, -1}, {4, -1, -1},
               {5, 256, -1}, {9, -1, -1},       {-1, -1, -1}};
  for (const auto& [format, requested, told] : cases) {
    const auto action = [&, format = format, requested = requested] {
      return rleUnloadRectToRasterSelectCompress(&out, page.get(), format, requested) == 1;
    };
    Calls calls = expectedCalls("gfxInitWriteRaster out " + std::to_string(format),
                                "{200 200 " + std::to_string(told) + " 0}");
    if (told != -1) {
      failCallsInTurn(script, action, calls, Ends::DoNotCount);
    } else {
      fake() = {};
      script(fake());
      EXPECT_FALSE(action());
      EXPECT_EQ(fake().calls, (Calls{calls[0], calls[1], calls.back()}));
    }
  }
}

TEST(RasterUnloading, WritesRegions) {
  const OwnedPoly poly(rleAllocPoly());
  NamedStream none("none"), raster("raster");
  EXPECT_EQ(rleUnloadPolyToG4(&none, poly.get()), 0);
  EXPECT_EQ(rleUnloadPolyToRaster(&none, poly.get(), 0), 0);
  poly->image = rleDupRect(kPage.get());
  poly->points = rleAllocPoints(1);
  poly->points[0] = {3, -1};
  poly->count = 1;
  EXPECT_EQ(rleUnloadPolyToRaster(&raster, poly.get(), 0), 1);
  EXPECT_EQ(raster.bytes, tiffOfPage());
  const Bytes head = {0x52, 0x4C, 0x43, 0, 0, 0, 0, 1, 0,    2,    0,    16,   0, 0, 0, 200,
                      0,    0,    0,    1, 0, 0, 0, 3, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0};
  for (int64_t failAt = 0; failAt < 10; ++failAt) {  // there are nine words
    fake() = {};
    NamedStream out("out");
    out.failAt = failAt;
    EXPECT_EQ(rleUnloadPolyToG4(&out, poly.get()), failAt == 9 ? 1 : 0);
    EXPECT_EQ(out.bytes == head, failAt == 9);
    EXPECT_EQ(fake().written.size(), failAt == 9 ? 2U : 0U);
  }
  fake().failAt = int64_t(fake().calls.size()) + 1;
  EXPECT_EQ(rleUnloadPolyToG4(&none, poly.get()), 0);
}

}  // namespace
}  // namespace rle::test
