#include "support/workout.h"

#include <random>
#include <vector>

#include "gfx.h"
#include "model/owners.h"
#include "rle.h"
#include "support/pixels.h"
#include "xio.h"

namespace rle::test {
namespace {

// Adds pages to a digest; one that is missing or not valid spoils it for good.
class Digest {
 public:
  void add(RleRect* page) {
    if (page == nullptr || rleCheckRect(page) != 1) {
      failed_ = true;
      return;
    }
    add(page->width), add(page->height), add(page->resolution);
    for (uint32_t y = 0; y < page->height; ++y)
      for (uint32_t i = 0; i < page->rows[y]->count; ++i)
        add(page->rows[y]->runs[i].start), add(page->rows[y]->runs[i].end);
  }
  void add(const OwnedRect& page) { add(page.get()); }
  void add(uint64_t number) { value_ = (value_ ^ number) * 0x100000001B3; }  // FNV-1a
  void require(bool done) { failed_ = failed_ || !done; }

  uint64_t value() const { return failed_ ? 0 : value_ | 1; }

 private:
  bool failed_ = false;
  uint64_t value_ = 0xCBF29CE484222325;
};

// What `write` puts into a stream, read again by `read`.
template <class Write, class Read>
void thereAndBack(Digest& digest, Write write, Read read) {
  const OwnedStream out(xioCreateMemoryStream(nullptr, 0, XIO_WRITE));
  digest.require(write(out.get()) == 1);
  out->ops->seek(out.get(), 0, 0);
  digest.add(OwnedRect(read(out.get())));
}

void edit(RleRect* page, std::mt19937& random, Digest& digest) {
  const auto any = [&] { return randomInt(random, -40, 340); };
  rleFillRect(page, 20, 30, 90, 60, 0, nullptr, 1);
  rleSetRect(page, 5, 5, 9, 190);
  std::vector<RlePoint> points;
  for (int i = 0; i < 12; ++i) points.push_back({any(), any()});
  rleFillPolygon(page, 12, points.data(), randomInt(random, 0, 1), 1, nullptr, 1);
  uint8_t dashes[] = {9, 4, 2};
  for (int join = 0; join < 3; ++join)
    rleFatLine(page, 12, points.data(), 1 + 3 * join, join & 1, nullptr, 1 + join, join, 1,
               3 * (join / 2), dashes, 5);
  const OwnedRect piece(rleCutRect(page, 30, 20, 130, 90));
  digest.add(piece);
  for (int mode = 0; mode < 3; ++mode) rleMergeRect(page, any(), any(), piece.get(), mode);
  rleFillRect(page, 100, 100, 250, 150, -1, piece.get(), 1);
  digest.add(page);
}

void transform(RleRect* page, Digest& digest) {
  rleMirrorRectY(page);
  for (const uint32_t turns : {1U, 2U, 3U}) digest.add(OwnedRect(rleQRotateRect(page, turns)));
  for (const double degrees : {3.0, 60.0, 200.0}) {
    double x, y;
    digest.add(OwnedRect(rleRotateRect(page, degrees, &x, &y)));
  }
  for (const auto scale : {rleScaleRect, rleNNScaleRect, rleMinScaleRect}) {
    const OwnedRect copy(rleDupRect(page));
    scale(copy.get(), 20000, 40000);
    digest.add(copy);
  }
}

void look(RleRect* page, Digest& digest) {
  uint16_t x = 0, y = 0;
  digest.add(uint64_t(rleClosest(page, 150, 100, 400, &x, &y)));
  digest.add(OwnedRect(rleConnected(page, x, y, &x, &y)));
  std::vector<uint8_t> bits(size_t{page->height} * 40);
  rleUnPackRect(page, 0, page->width - 1, 0, page->height - 1, bits.data(), 320, page->height,
                32768, 32768, 0, 0);
  digest.add(
      OwnedRect(rlePackRect(bits.data(), 320, 0, 0, page->width - 1, 0, page->height - 1, 300)));
}

void store(RleRect* page, Digest& digest) {
  thereAndBack(
      digest, [&](RleStream* s) { return rleUnload(s, page); }, rleLoad);
  for (const int format : {GFX_TIFF, GFX_BMP, GFX_PNG, GFX_JPEG, GFX_PNM})
    thereAndBack(
        digest, [&](RleStream* s) { return rleUnloadRectToRaster(s, page, format); },
        rleLoadRectFromRaster);
  thereAndBack(
      digest,
      [&](RleStream* s) { return rleUnloadRectToRasterSelectCompress(s, page, GFX_TIFF, GFX_LZW); },
      rleLoadRectFromRaster);
  thereAndBack(
      digest, [&](RleStream* s) { return rleUnloadRectToG4(s, page); },
      [&](RleStream* s) { return rleLoadRectFromG4(s, page->width, page->height, 300); });
}

}  // namespace

uint64_t workOut(uint32_t seed) {
  std::mt19937 random(seed);
  Digest digest;
  const OwnedRect page = randomPixels(random, 300, 200).toRect(300);
  edit(page.get(), random, digest);
  transform(page.get(), digest);
  look(page.get(), digest);
  store(page.get(), digest);
  return digest.value();
}

}  // namespace rle::test
