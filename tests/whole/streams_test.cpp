// Streams that fail: every operation of everything that reads or writes fails in turn. What is read
// is the page or nothing, what is written is whole or told to have failed.

#include <gtest/gtest.h>

#include <functional>

#include "gfx.h"
#include "model/owners.h"
#include "rle.h"
#include "support/byte_stream.h"
#include "support/picture.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;

OwnedRect page() { return image({".##..#....", "#####..##.", "..........", "#.#.#.#.#."}); }

OwnedPoly region() {
  OwnedPoly region(rleAllocPoly());
  region->image = page().release();
  region->count = 3;
  region->points = rleAllocPoints(3);
  region->points[1] = {9, 0};
  region->points[2] = {5, 4};
  return region;
}

struct Format {
  const char* name;
  std::function<int32_t(RleStream*)> write;
  std::function<RleRect*(RleStream*)> read;
};

RleRect* imageOf(RlePoly* loaded) {
  const OwnedPoly region(loaded);
  return region ? rleDupRect(region->image) : nullptr;
}

int32_t writeInPieces(RleStream* stream, int32_t format) {
  const OwnedRect rect = page();
  uint8_t bits[8] = {};
  rleUnPackRect(rect.get(), 0, 9, 0, 3, bits, 16, 4, 32768, 32768, 0, 0);
  RleMemoryWriter* const writer = rleInitWriteRasterFromMemory(stream, format);
  const std::string part = testing::TempDir() + "streams_test.part";
  const bool written = writer->initialize(writer, 10, 4, 200, 1, 4, 0, 0, part.c_str()) == 1 &&
                       writer->write(writer, bits, 6) == 1 &&
                       writer->write(writer, bits + 6, 2) == 1 && writer->flush(writer, 0, 4) == 1;
  writer->end(writer);
  return written;
}

// The native format by its small pieces.
int32_t writePieces(RleStream* stream) {
  const OwnedRect rect = page();
  const OwnedPoly around = region();
  const OwnedFile file(rleOpen(stream)), header(rleAllocHeader());
  header->header.height = rect->height;
  header->header.width = rect->width;
  header->header.resolution = rect->resolution;
  return rleWriteHeader(file.get(), header.get(), 0) == 1 &&
         rleWritePolyLine(file.get(), around->count, around->points) == 1 &&
         rleWriteFillRule(file.get(), 1) == 1 && rleWriteLine(file.get(), rect->rows[0]) == 1 &&
         rleWriteLines(file.get(), rect->rows + 1, 3) == 3;
}

RleRect* readPieces(RleStream* stream) {
  const OwnedFile file(rleOpen(stream)), header(rleReadHeader(file.get(), 0));
  uint32_t count = 0;
  const OwnedPoints points(header ? rleReadPolyLine(file.get(), &count) : nullptr);
  if (!points || rleReadFillRule(file.get()) != 1) return nullptr;
  OwnedLine first(rleReadLine(file.get()));
  RleLine** const rest = first ? rleReadLines(file.get(), 3) : nullptr;
  if (rest == nullptr) return nullptr;
  RleRect* const rect = rleNewRect(header->header.width, header->header.height, 0);
  std::swap(*first, *rect->rows[0]);
  for (int i = 0; i < 3; ++i) std::swap(rest[i], rect->rows[i + 1]);
  rleFreeLines(3, rest);
  return rect;
}

// The head of a TIFF file, patched. What is read is right or not at all, but for a resolution out
// of reach, which is 72.
int32_t writeHead(RleStream* stream) {
  return rleWriteTiffHeader(stream, 1, 2, 200, 4, 1) == 1 &&
         rleReWriteWidthOfOneStripTiffTag(stream, 10) == 1 &&
         rleReWriteHeightOfOneStripTiffTag(stream, 4) == 1 &&
         rleReWriteByteCountOfTiffTag(stream, 99) == 1;
}

RleRect* readHead(RleStream* stream) {
  RleTiffG4Info info{};
  if (rleReadOneStripTiffG4Info(stream, &info) != 1) return nullptr;
  const bool right =
      info.width == 10 && info.height == 4 && info.stripOffset == 186 && info.fillOrder == 2;
  return right ? page().release() : rleNewRect(1, 1, 0);
}

std::vector<Format> formats() {
  const auto raster = [](int32_t format, int32_t compression) {
    return [=](RleStream* s) {
      return rleUnloadRectToRasterSelectCompress(s, page().get(), format, compression);
    };
  };
  const auto converted = [](RleStream* s) -> RleRect* {
    ByteStream out;
    if (rleConvFromRasterToRaster(s, &out, GFX_PNM, 2, 1, 0) != 1) return nullptr;
    out.position = 0;
    const OwnedRect turned(rleLoadRectFromRaster(&out));
    return rleQRotateRect(turned.get(), 2);
  };
  return {
      {"native", [](RleStream* s) { return rleUnload(s, page().get()); }, rleLoad},
      {"native, other names", [](RleStream* s) { return rleUnloadRect(s, page().get()); },
       rleLoadRect},
      {"native region", [](RleStream* s) { return rleUnloadPoly(s, region().get()); },
       [](RleStream* s) { return imageOf(rleLoadPoly(s)); }},
      {"native, piece by piece", writePieces, readPieces},
      {"native, region and rows",
       [](RleStream* s) {
         const OwnedFile file(rleOpen(s)), header(rleAllocHeader());
         return int32_t(rleWriteHeader(file.get(), header.get(), 1) == 1 &&
                        rleWritePoly(file.get(), region().get()) == 1 &&
                        rleWriteRect(file.get(), page().get()) == 1);
       },
       [](RleStream* s) -> RleRect* {
         const OwnedFile file(rleOpen(s)), header(rleReadHeader(file.get(), 1));
         const OwnedPoly first(header ? rleReadPoly(file.get(), 10, 4) : nullptr);
         return first ? rleReadRect(file.get(), 10, 4) : nullptr;
       }},
      {"Group 4 region", [](RleStream* s) { return rleUnloadPolyToG4(s, region().get()); },
       [](RleStream* s) { return imageOf(rleLoadPolyFromG4(s)); }},
      {"Group 4", [](RleStream* s) { return rleUnloadRectToG4(s, page().get()); },
       [](RleStream* s) { return rleLoadRectFromG4(s, 10, 4, 200); }},
      {"Group 4, own", [](RleStream* s) { return rleUnloadRectFromCCITTG4(s, page().get()); },
       [](RleStream* s) { return rleLoadRectFromCCITTG4(s, 10, 4, 200, 1); }},
      {"TIFF, own", raster(GFX_TIFF, -1), rleLoadRectFromRaster},
      {"TIFF", raster(GFX_TIFF, GFX_LZW), rleLoadRectFromRaster},
      {"TIFF, Group 3", raster(GFX_TIFF, GFX_GROUP3), converted},
      {"head of TIFF", writeHead, readHead},
      {"BMP", [](RleStream* s) { return rleUnloadRectToRaster(s, page().get(), GFX_BMP); },
       rleLoadRectFromRaster},
      {"PNG region",
       [](RleStream* s) {
         RlePoly bare{};  // without vertices and mask
         const OwnedRect rect = page();
         bare.image = rect.get();
         return rleUnloadPolyToRaster(s, &bare, GFX_PNG);
       },
       [](RleStream* s) { return imageOf(rleLoadPolyFromRaster(s)); }},
      {"BMP from PNG",
       [](RleStream* s) {
         ByteStream png;
         rleUnloadRectToRaster(&png, page().get(), GFX_PNG);
         png.position = 0;
         return rleConvFromRasterToRaster(&png, s, GFX_BMP, 0, 1, 0);
       },
       rleLoadRectFromRaster},
      {"PNG", raster(GFX_PNG, -1), rleLoadRectFromRaster},
      {"PNM", raster(GFX_PNM, -1), converted},
      {"TIFF from memory", [](RleStream* s) { return writeInPieces(s, GFX_TIFF); },
       rleLoadRectFromRaster},
      {"PNG from memory", [](RleStream* s) { return writeInPieces(s, GFX_PNG); },
       rleLoadRectFromRaster},
  };
}

TEST(StreamFaults, GiveThePageOrNothing) {
  const auto wanted = picture(page().get());
  for (const Format& format : formats()) {
    SCOPED_TRACE(format.name);
    ByteStream whole;
    ASSERT_EQ(format.write(&whole), 1);
    for (int64_t number = 0; number < whole.operations; ++number) {
      ByteStream stream;
      stream.failAt = number;
      const bool told = format.write(&stream) != 1 || stream.failed;
      EXPECT_TRUE(told || stream.bytes == whole.bytes) << number;
    }
    bool failed = true;
    for (int64_t number = 0; failed; ++number) {
      ByteStream stream(whole.bytes);
      stream.failAt = number;
      const OwnedRect read(format.read(&stream));
      failed = stream.operations > number;
      EXPECT_TRUE(read || failed);
      EXPECT_TRUE(!read || picture(read.get()) == wanted) << number;
    }
    for (size_t size = 0; size < whole.bytes.size(); ++size) {
      ByteStream stream(Bytes(whole.bytes.begin(), whole.bytes.begin() + ptrdiff_t(size)));
      const OwnedRect read(format.read(&stream));
      EXPECT_TRUE(!read || picture(read.get()) == wanted) << "cut to " << size;
    }
  }
}

}  // namespace
}  // namespace rle::test
