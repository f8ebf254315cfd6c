// Streams that fail: every operation of every writer and reader fails in turn, and each time the
// caller is told.

#include "siblings/raster_rows.h"

namespace rle::test {
namespace {

constexpr uint32_t kWidth = 45, kHeight = 7;

struct Format {
  const char* name;
  uint32_t pixels, height;
  GfxInstance* (*writer)(RleStream*);
  Image (*read)(RleStream*);
};

template <int32_t kFileFormat>
GfxInstance* fileWriter(RleStream* stream) {
  return gfxInitWriteRaster(stream, kFileFormat);
}

Image readFile(RleStream* stream) { return readImage(stream); }

constexpr Format kFormats[] = {
    {"TIFF", kGrey, 2000, fileWriter<GFX_TIFF>, readFile},  // several strips
    {"BMP", kBits, kHeight, fileWriter<GFX_BMP>, readFile},
    {"PDF", kBits, kHeight, fileWriter<GFX_PDF>, nullptr},
    {"PNG", kRgb, kHeight, fileWriter<GFX_PNG>, readFile},
    {"JPEG", kCmyk, kHeight, fileWriter<GFX_JPEG>, readFile},
    {"PNM", kBits, kHeight, fileWriter<GFX_PNM>, readFile},
    {"Group 4", kBits, kHeight, [](RleStream* stream) { return gfxInitWriteG4(stream, 1); },
     [](RleStream* stream) {
       return readRows(gfxInitReadG4(stream, kWidth, kHeight, 0, kHeight, 0, 1));
     }},
};

TEST(StreamsThatFail, FailWhatIsWrittenOrRead) {
  for (const Format& format : kFormats) {
    SCOPED_TRACE(format.name);
    Image image{kWidth, format.height, format.pixels};
    image.rows.resize(image.height * image.rowBytes());
    const GfxOutputParams packed{300, 300, GFX_DEFLATE, 0};  // for TIFF
    ByteStream sound;
    ASSERT_TRUE(writeRows(format.writer(&sound), image, packed));
    for (int64_t number = 0; number < sound.operations; ++number) {
      ByteStream stream;
      stream.failAt = number;
      EXPECT_FALSE(writeRows(format.writer(&stream), image, packed)) << number;
      EXPECT_STRNE(gfxLastError(), "");
    }
    if (!format.read) continue;
    sound.operations = int64_t(sound.position = 0);
    ASSERT_FALSE(format.read(&sound).rows.empty());
    for (int64_t number = 0; number < sound.operations; ++number) {
      ByteStream stream(sound.bytes);
      stream.failAt = number;
      EXPECT_TRUE(format.read(&stream).rows.empty()) << number;
    }
  }
}

}  // namespace
}  // namespace rle::test
