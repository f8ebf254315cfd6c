// Raster files and Group 4 data to images.
//
// A one-strip Group 4 TIFF goes straight to the decoder here. Everything else comes out of the
// raster pipeline row by row and is packed into runs, so that no more than one row of pixels is
// ever held. Memory for rows comes after the pipeline has told their size, and runs only with the
// rows themselves.

#include <cstring>
#include <utility>

#include "model/owners.h"
#include "raster/siblings.h"
#include "rle.h"
#include "stream/region.h"

namespace rle::raster {
namespace {

constexpr uint32_t kMaxSize = 65535;          // pixels, either way
constexpr uint32_t kDefaultResolution = 400;  // dots per inch, for 0 and -1
constexpr uint32_t kAssumedResolution = 72;   // where a file's numbers are not dots per inch
constexpr uint32_t kDotsPerInch = 1;          // the unit of an info record that says they are
constexpr uint32_t kHighBitFirst = 1;         // TIFF's FillOrder
constexpr int kTrailingBytes = 3;             // what an EOFB comes to

enum class Rows { Cleared, Reused };  // what a reader finds in the row that it fills

// An image of the described size, without rows.
OwnedRect rectFor(const GfxImageDesc& description, uint32_t resolution) {
  OwnedRect rect(rleAllocRect());
  if (!rect) return nullptr;
  rect->rows = rleAllocLines(int32_t(description.height));
  if (rect->rows == nullptr) return nullptr;
  rect->width = uint16_t(description.width);
  rect->height = uint16_t(description.height);
  const bool unknown = resolution == 0 || resolution == UINT32_MAX;
  rect->resolution = uint16_t(unknown ? kDefaultResolution : resolution);
  return rect;
}

// Begins a reader, packs all its rows and ends it.
OwnedRect loadRows(OwnedInstance reader, uint32_t resolution, Rows between) {
  GfxImageDesc description{};
  if (!begin(*reader, description) || bitsPerPixel(description.format) != 1) return nullptr;
  if (description.width > kMaxSize || description.height > kMaxSize) return nullptr;
  const HeapArray<uint8_t> bits = newRow(description.width, 1);
  if (!bits) return nullptr;
  OwnedRect rect = rectFor(description, resolution);
  if (!rect) return nullptr;
  for (uint32_t y = 0; y < rect->height; ++y) {
    if (between == Rows::Cleared) std::memset(bits.get(), 0, (description.width + 7) / 8);
    if (!process(*reader, bits.get())) return nullptr;
    rect->rows[y] = rlePackLine(bits.get(), 0, rect->width);
    if (rect->rows[y] == nullptr) return nullptr;
  }
  return end(std::move(reader)) ? std::move(rect) : nullptr;
}

OwnedRect loadThroughPipeline(RleStream* stream) {
  OwnedInfo info(gfxGetImageInfo(stream));
  if (!info || info->xResolution != info->yResolution) return nullptr;
  const uint32_t resolution =
      info->resolutionUnit == kDotsPerInch ? info->xResolution : kAssumedResolution;
  OwnedInstance reader(gfxInitReadRaster(stream, info->page, 0, info->height));
  const int32_t type = colourType(info->format);
  if (!isOwnForm(type))
    reader = wrap(std::move(reader), gfxInitColorSpaceConverter, bilevelMember(type), 1);
  info.reset();
  if (!reader) return nullptr;
  return loadRows(std::move(reader), resolution, Rows::Cleared);
}

}  // namespace
}  // namespace rle::raster

extern "C" {

// What the decoder here refuses, data without an EOFB for one, the pipeline gets from the same
// position. The decoder takes the x resolution alone: unequal ones are refused by the pipeline's
// way only.
RleRect* rleLoadRectFromRaster(RleStream* stream) {
  if (HueInit() == 0) return nullptr;
  const RleStreamOps& ops = *stream->ops;
  RleTiffG4Info info{};
  if (rleReadOneStripTiffG4Info(stream, &info) == 1) {
    const int32_t position = ops.tell(stream);
    if (position == -1 || info.stripOffset > INT32_MAX ||
        ops.seek(stream, int32_t(info.stripOffset), 0) != 0)
      return nullptr;
    RleRect* const rect = rleLoadRectFromCCITTG4(
        stream, int32_t(info.width), int32_t(info.height), int32_t(info.xResolution),
        info.fillOrder == rle::raster::kHighBitFirst ? 0 : 1);
    if (rect != nullptr) return rect;
    if (ops.seek(stream, position, 0) != 0) return nullptr;
  }
  return rle::raster::loadThroughPipeline(stream).release();
}

RleRect* rleLoadRectFromG4(RleStream* stream, int32_t width, int32_t height, int32_t resolution) {
  using namespace rle::raster;
  if (HueInit() == 0) return nullptr;
  OwnedInstance reader(
      gfxInitReadG4(stream, uint32_t(width), uint32_t(height), 0, uint32_t(height), 0, 0));
  if (!reader) return nullptr;
  rle::OwnedRect rect = loadRows(std::move(reader), uint32_t(resolution), Rows::Reused);
  if (!rect) return nullptr;
  for (int i = 0; i < kTrailingBytes; ++i) stream->ops->getByte(stream);
  return stream->ops->hasError(stream) == 0 ? rect.release() : nullptr;
}

// A region whose mask cannot be made is given up: handed over without one, it would look to its
// owner like a region that has none, and be used unmasked.
RlePoly* rleLoadPolyFromG4(RleStream* stream) {
  const rle::OwnedFile file(rleOpen(stream));
  if (!file) return nullptr;
  const rle::OwnedFile header(rleReadHeader(file.get(), 0));
  if (!header) return nullptr;
  rle::OwnedPoly poly(rleAllocPoly());
  if (!poly) return nullptr;
  poly->points = rleReadPolyLine(file.get(), &poly->count);
  if (poly->points == nullptr) return nullptr;
  poly->fillRule = rleReadFillRule(file.get());
  if (poly->fillRule == -1) return nullptr;
  const auto& facts = header->header;
  poly->image = rleLoadRectFromG4(stream, facts.width, facts.height, int32_t(facts.resolution));
  if (poly->image == nullptr) return nullptr;
  if (poly->count != 0) {
    poly->mask = rle::filledMask(*poly).release();
    if (poly->mask == nullptr) return nullptr;
  }
  return poly.release();
}

RlePoly* rleLoadPolyFromRaster(RleStream* stream) {
  rle::OwnedPoly poly(rleAllocPoly());
  if (!poly) return nullptr;
  poly->image = rleLoadRectFromRaster(stream);
  return poly->image == nullptr ? nullptr : poly.release();
}

}  // extern "C"
