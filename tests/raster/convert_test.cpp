// Conversion: which way an image goes, the chains that are built, what is refused.

#include <gtest/gtest.h>

#include <cmath>

#include "model/owners.h"
#include "raster/fake_pipeline.h"
#include "support/picture.h"

namespace rle::test {
namespace {

constexpr uint32_t kGrey = GFX_FORMAT(8, 2);

struct Conversion {
  uint32_t format = kGrey;  // of the file, which is 5 x 3 pixels
  int32_t to = 6, rotation = 0;
  double scale = 1;
  int32_t method = 0;
  uint32_t width = 5;
  std::string told = {};  // the output parameters
  Calls chain = {};       // the wrappers
};

bool convert(const Conversion& c) {
  NamedStream in("in"), out("out");
  return rleConvFromRasterToRaster(&in, &out, c.to, c.rotation, c.scale, c.method) == 1;
}

TEST(RasterConversion, BuildsChains) {
  const uint32_t bilevel0 = GFX_FORMAT(1, 0), own = GFX_FORMAT(1, 4);
  const Calls smaller = {"MaxScaleWidth #2 2", "MaxScaleHeight #3 1", "Rotate #4 90"};
  const Calls larger = {"Rotate #2 180", "MaxScaleWidth #3 12", "MaxScaleHeight #4 7"};
  const Calls minSmaller = {"MinScaleWidth #2 2", "MinScaleHeight #3 1", "Rotate #4 0"};
  const Calls minLarger = {"Rotate #2 0", "MinScaleWidth #3 10", "MinScaleHeight #4 6"};
  const Conversion cases[] = {
      {kGrey, 6, 5, 3, 2, 5, "90 80 0 0", {"Rotate #2 0"}},
      {kGrey, 1, 3, 0, 0, 5, "72 72 0 0", {"Rotate #2 270"}},
      {bilevel0, 0, 0, 1, 0, 5, "90 80 256 0", {"Rotate #2 0"}},
      {own, 0, 0, 1, 0, 65535, "90 80 256 0", {"Rotate #2 0"}},
      {kGrey, 0, 1, 0.5, 0, 5, "90 80 0 0", smaller},
      {kGrey, 7, 2, 2.5, 0, 5, "90 80 8192 0", larger},
      {kGrey, 2, 0, 0.5, 1, 5, "90 80 256 0", minSmaller},
      {kGrey, 8, 0, 2, 1, 5, "90 80 0 0", minLarger},
  };
  for (const Conversion& c : cases) {
    Calls calls = {"gfxGetImageInfo in -> #1", "gfxFreeImageInfo #1",
                   "gfxInitReadRaster in 0 0 3 -> #2"};
    std::string last = "#2";
    const auto make = [&](const std::string& constructor) {
      ++last[1];
      calls.push_back("gfxInit" + constructor + " -> " + last);
      return last;
    };
    for (const std::string& wrapper : c.chain) make(wrapper);
    const std::string chain = last;
    calls.push_back("begin " + chain);
    const std::string writer = make("WriteRaster out " + std::to_string(c.to));
    // The chain delivers pixels of 24 bits, whatever the file has.
    for (const std::string& call :
         {"begin " + writer + " 2 2 0x180001 0 0 {" + c.told + "}",
          "process " + chain + " [000000000000]", "process " + writer + " [010203040506]",
          "process " + chain + " [010203040506]", "process " + writer + " [FF0203040506]",
          "end " + chain, "end " + writer})
      calls.push_back(call);
    failCallsInTurn(
        [&](auto& pipeline) {
          pipeline.info = {9, c.width, 3, c.format, 90, 80, 0, 0, 0, 1};
          pipeline.deliver(2, {{1, 2, 3, 4, 5, 6}, {0xFF}}, GFX_FORMAT(24, 1));
        },
        [&] { return convert(c); }, calls, Ends::DoNotCount);
  }
}

TEST(RasterConversion, RefusesWhatCannotBeDone) {
  const uint32_t none = GFX_FORMAT(0, 2), negative = GFX_FORMAT(-8, 2);
  const Conversion cases[] = {{.to = 3},          {.to = 4},        {.to = 5},
                              {.to = 9},          {.scale = -2},    {.scale = NAN},
                              {.scale = 1e10},    {.format = none}, {.format = negative},
                              {.width = 1U << 31}};
  for (const Conversion& c : cases) {
    fake() = {};
    fake().info = {9, c.width, 3, c.format, 90, 80, 0, 0, 0, 1};
    fake().delivered = {c.width, 0xFFFFFFFF, c.format, 0, 0, nullptr};
    EXPECT_FALSE(convert(c));
    EXPECT_EQ(fake().alive, 0);
    EXPECT_TRUE(fake().written.empty());
  }
}

TEST(RasterConversion, TakesABilevelPageThroughRuns) {
  const OwnedRect page = image({"##......", ".##.....", "........"});
  const auto tiffOf = [](RleRect* rect) {
    ByteStream stream;
    EXPECT_EQ(rleUnloadRectToRaster(&stream, rect, 0), 1);
    return stream.bytes;
  };
  const auto convertRuns = [&](int32_t format, int32_t rotation, double scale, int32_t method) {
    fake() = {};
    fake().info = {0, 8, 3, GFX_FORMAT(1, 4), 200, 200, 0, 0, 1, 1};
    NamedStream in("in", tiffOf(page.get())), out("out");
    const bool done = rleConvFromRasterToRaster(&in, &out, format, rotation, scale, method) == 1;
    EXPECT_EQ(fake().alive, 0);
    return done ? out.bytes : Bytes();
  };
  const OwnedRect half(rleQRotateRect(page.get(), 2)), twice(rleDupRect(page.get())),
      less(rleDupRect(half.get()));
  rleScaleRect(twice.get(), 65536, 65536);
  rleMinScaleRect(less.get(), 16384, 16384);
  EXPECT_EQ(convertRuns(0, 0, 0, 0), tiffOf(page.get()));
  EXPECT_EQ(fake().calls, (Calls{"gfxGetImageInfo in -> #1", "gfxFreeImageInfo #1", "HueInit"}));
  EXPECT_EQ(convertRuns(0, 2, 1, 0), tiffOf(half.get()));
  EXPECT_EQ(convertRuns(0, 0, 2, 0), tiffOf(twice.get()));
  EXPECT_EQ(convertRuns(0, 2, 0.5, 1), tiffOf(less.get()));
  EXPECT_EQ(convertRuns(0, 0, 3, 2), tiffOf(page.get()));
  // A width of 65535.5 is rounded down, or up to one that an image cannot have.
  EXPECT_FALSE(convertRuns(0, 0, 65535.5 / 8, 0).empty());
  EXPECT_TRUE(convertRuns(0, 0, 65535.5 / 8, 1).empty());
  EXPECT_TRUE(convertRuns(4, 0, 1, 0).empty());
  for (const int32_t rotation : {4, -1}) EXPECT_TRUE(convertRuns(0, rotation, 1, 0).empty());
  for (const double scale : {8192.0, -1.0, 1e300, double(NAN)})
    for (const int32_t method : {0, 1}) EXPECT_TRUE(convertRuns(0, 0, scale, method).empty());
}

}  // namespace
}  // namespace rle::test
