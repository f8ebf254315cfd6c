// Polygon regions of the native format. Bytes: the file.

#include "input.h"

using namespace rle::fuzz;

namespace {

bool samePolygon(const RlePoly& a, const RlePoly& b) {
  return a.fillRule == b.fillRule &&
         std::equal(a.points, a.points + a.count, b.points, b.points + b.count,
                    [](RlePoint p, RlePoint q) { return p.x == q.x && p.y == q.y; });
}

// The mask follows from the vertices, and pasting changes only what it covers.
void expectMask(RlePoly& region, const rle::OwnedRect& mask) {
  if (region.count == 0) {
    expect(!mask);
    return;
  }
  const uint16_t resolution = region.image->resolution;
  expect(isValid(mask) && mask->resolution == (resolution == 0 ? 200 : resolution));
  const rle::OwnedRect filled(rleNewRect(region.image->width, region.image->height, 0));
  rleFillPolygon(filled.get(), int32_t(region.count), region.points, region.fillRule, 1, nullptr,
                 1);
  expect(sameImage(*mask, *filled));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const OwnedStream stream = reading({bytes, size}), other = reading({bytes, size});
  const rle::OwnedPoly region(rleLoadPoly(stream.get()));
  const rle::OwnedRect image(rleLoadRect(other.get()));
  if (!region) return 0;
  expect(region->image != nullptr && region->count <= size / 8);
  // In a file with a legacy header an image is expected where a region has its polygon.
  if (bytes[0] == 'R') expect(image && sameImage(*region->image, *image));
  const rle::OwnedRect mask(region->mask == nullptr ? nullptr : rleDupRect(region->mask));
  expectMask(*region, mask);

  const OwnedStream written = writing();
  expect(rleUnloadPoly(written.get(), region.get()) == 1);
  written->ops->seek(written.get(), 0, 0);
  const rle::OwnedPoly again(rleLoadPoly(written.get()));
  expect(again && sameImage(*region->image, *again->image) && samePolygon(*region, *again));
  const rle::OwnedPoly copy(rleDupPoly(region.get()));
  expect(copy && sameImage(*region->image, *copy->image) && samePolygon(*region, *copy));

  const rle::OwnedRect masked(rleDupRect(region->image));
  if (!isValid(masked) || !mask) return 0;
  rleMaskRect(masked.get(), mask.get(), 0);
  const rle::OwnedRect target(rleNewRect(masked->width, masked->height, 0));
  rleMergePoly(target.get(), 0, 0, region.get(), 0);
  rleMaskRect(target.get(), mask.get(), 0);
  expect(isValid(target) && sameImage(*target, *masked));
  return 0;
}
