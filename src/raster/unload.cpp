// Images to raster files and Group 4 data.
//
// A Group 4 TIFF is written here, header and data. Everything else goes to a writer of the raster
// pipeline, which gets one row after the other in pixels.

#include <cstring>
#include <utility>

#include "model/owners.h"
#include "raster/siblings.h"
#include "rle.h"
#include "stream/region.h"

namespace rle::raster {
namespace {

constexpr uint32_t kUnscaled = 0x8000;

// Begins a writer, gives it all rows of the image and ends it. How the end went is not asked: what
// a stream refuses late shows in its own error state.
bool unloadRows(OwnedInstance writer, const RleRect& rect, GfxOutputParams* parameters) {
  GfxImageDesc description{rect.width, rect.height, kOwnFormat, 0, 0, parameters};
  if (!begin(*writer, description)) return false;
  const int32_t width = rect.width;
  const HeapArray<uint8_t> bits = newRow(rect.width, 1);
  if (!bits) return false;
  for (uint32_t y = 0; y < rect.height; ++y) {
    std::memset(bits.get(), 0, size_t(width + 7) / 8);
    rleUnPackLine(rect.rows[y], 0, width - 1, bits.get(), width, kUnscaled, 0);
    if (!process(*writer, bits.get())) return false;
  }
  return true;
}

// The one-strip TIFF whose data is coded here. Its byte count is known last and patched in.
bool unloadOwnTiff(RleStream* stream, RleRect& rect) {
  const auto tell = [stream] { return stream->ops->tell(stream); };
  if (rleWriteTiffHeader(stream, rect.width, rect.height, rect.resolution, GFX_BILEVEL_1_BLACK,
                         1) != 1)
    return false;
  const int32_t first = tell();
  if (first == -1 || rleUnloadRectFromCCITTG4(stream, &rect) != 1) return false;
  const int32_t last = tell();
  return last != -1 && rleReWriteByteCountOfTiffTag(stream, uint32_t(last) - uint32_t(first)) == 1;
}

bool unloadThroughPipeline(RleStream* stream, const RleRect& rect, int32_t format,
                           int32_t requested) {
  if (HueInit() == 0) return false;
  OwnedInstance writer(gfxInitWriteRaster(stream, format));
  const std::optional<uint32_t> compression = compressionAsked(format, requested);
  if (!writer || !compression) return false;
  GfxOutputParams parameters{rect.resolution, rect.resolution, *compression, 0};
  return unloadRows(std::move(writer), rect, &parameters);
}

// What stands before the image in a polygon region's file.
bool writeRegion(RleFile* file, const RlePoly& poly) {
  OwnedFile header = headerFor(*poly.image);
  if (!header || rleWriteHeader(file, header.get(), 0) != 1) return false;
  header.reset();
  return rleWritePolyLine(file, poly.count, poly.points) == 1 &&
         rleWriteFillRule(file, poly.fillRule) == 1;
}

}  // namespace
}  // namespace rle::raster

extern "C" {

int32_t rleUnloadRectToG4(RleStream* stream, RleRect* rect) {
  using namespace rle::raster;
  if (HueInit() == 0) return 0;
  OwnedInstance writer(gfxInitWriteG4(stream, 0));
  return writer && unloadRows(std::move(writer), *rect, nullptr) ? 1 : 0;
}

int32_t rleUnloadPolyToG4(RleStream* stream, RlePoly* poly) {
  if (poly->image == nullptr) return 0;
  const rle::OwnedFile file(rleOpen(stream));
  if (!file || !rle::raster::writeRegion(file.get(), *poly)) return 0;
  return rleUnloadRectToG4(stream, poly->image);
}

int32_t rleUnloadRectToRasterSelectCompress(RleStream* stream, RleRect* rect, int32_t format,
                                            int32_t compression) {
  using namespace rle::raster;
  const bool ownTiff =
      format == GFX_TIFF && (compression == kNoPreference || compression == GFX_GROUP4);
  const bool done = ownTiff ? unloadOwnTiff(stream, *rect)
                            : unloadThroughPipeline(stream, *rect, format, compression);
  return done ? 1 : 0;
}

int32_t rleUnloadRectToRaster(RleStream* stream, RleRect* rect, int32_t format) {
  return rleUnloadRectToRasterSelectCompress(stream, rect, format, rle::raster::kNoPreference);
}

int32_t rleUnloadPolyToRaster(RleStream* stream, RlePoly* poly, int32_t format) {
  return poly->image == nullptr ? 0 : rleUnloadRectToRaster(stream, poly->image, format);
}

}  // extern "C"
