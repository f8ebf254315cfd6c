// Whole files of the native format: an image, or a polygon region, in one call.

#include "model/owners.h"
#include "rle.h"
#include "stream/region.h"

namespace rle {

OwnedFile headerFor(const RleRect& image) {
  OwnedFile header(rleAllocHeader());
  if (!header) return nullptr;
  header->header.height = image.height;
  header->header.width = image.width;
  header->header.resolution = image.resolution;
  return header;
}

OwnedRect filledMask(const RlePoly& region) {
  const RleRect& image = *region.image;
  OwnedRect mask(rleNewRect(image.width, image.height, image.resolution));
  if (mask)
    rleFillPolygon(mask.get(), int32_t(region.count), region.points, region.fillRule, 1, nullptr,
                   1);
  return mask;
}

namespace {

// Writes a region as a file; an image is a region without vertices.
bool unload(RleStream* stream, RlePoly& region) {
  if (region.image == nullptr) return false;
  const OwnedFile file(rleOpen(stream));
  if (!file) return false;
  OwnedFile header = headerFor(*region.image);
  if (!header || rleWriteHeader(file.get(), header.get(), 0) == 0) return false;
  header.reset();
  return rleWritePoly(file.get(), &region) == 1;
}

}  // namespace
}  // namespace rle

extern "C" {

RleRect* rleLoadRect(RleStream* stream) {
  const rle::OwnedFile file(rleOpen(stream));
  if (!file) return nullptr;
  const rle::OwnedFile header(rleReadHeader(file.get(), 1));
  if (!header) return nullptr;
  return rleReadRect(file.get(), header->header.width, header->header.height);
}

RleRect* rleLoad(RleStream* stream) { return rleLoadRect(stream); }

// A region whose mask cannot be made is given up: handed over without one, it would look to its
// owner like a region that has none, and be used unmasked.
RlePoly* rleLoadPoly(RleStream* stream) {
  const rle::OwnedFile file(rleOpen(stream));
  if (!file) return nullptr;
  const rle::OwnedFile header(rleReadHeader(file.get(), 0));
  if (!header) return nullptr;
  rle::OwnedPoly region(rleReadPoly(file.get(), header->header.width, header->header.height));
  if (!region) return nullptr;
  if (region->count != 0) {
    region->mask = rle::filledMask(*region).release();
    if (region->mask == nullptr) return nullptr;
  }
  return region.release();
}

int32_t rleUnload(RleStream* stream, RleRect* rect) {
  RlePoly region{};
  region.image = rect;  // only lent
  return rle::unload(stream, region) ? 1 : 0;
}

int32_t rleUnloadRect(RleStream* stream, RleRect* rect) { return rleUnload(stream, rect); }

int32_t rleUnloadPoly(RleStream* stream, RlePoly* poly) {
  return rle::unload(stream, *poly) ? 1 : 0;
}

}  // extern "C"
