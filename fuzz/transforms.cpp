// Mirrors, turns, scaling and rotation of images and of regions: mirrors and turns against pixels,
// rotation against a walk along every line, the others for valid results of the right size.

#include "input.h"
#include "reference/plain_rotation.h"

using namespace rle::fuzz;

namespace {

Pixels turned(const Pixels& s, uint32_t turns) {
  Pixels result(turns % 2 == 0 ? s.width : s.height, turns % 2 == 0 ? s.height : s.width);
  for (int y = 0; y < s.height; ++y)
    for (int x = 0; x < s.width; ++x) {
      const int columns[] = {x, y, s.width - 1 - x, s.height - 1 - y};
      const int rows[] = {y, s.width - 1 - x, s.height - 1 - y, x};
      result.put(columns[turns], rows[turns], s.get(x, y));
    }
  return result;
}

Pixels mirrored(const Pixels& s, bool upsideDown) {
  Pixels result(s.width, s.height);
  for (int y = 0; y < s.height; ++y)
    for (int x = 0; x < s.width; ++x)
      result.put(upsideDown ? x : s.width - 1 - x, upsideDown ? s.height - 1 - y : y, s.get(x, y));
  return result;
}

void expectMirrors(Input& input, const Pixels& pixels) {
  const rle::OwnedRect rect = pixels.toRect();
  const bool upsideDown = input.flag();
  (upsideDown ? rleMirrorRectX : rleMirrorRectY)(rect.get());
  expect(isValid(rect) && Pixels(rect.get()) == mirrored(pixels, upsideDown));
}

void expectTurns(Input& input, const Pixels& pixels) {
  const rle::OwnedRect rect = pixels.toRect();
  const auto turns = uint32_t(input.range(0, 4));
  const rle::OwnedRect result(rleQRotateRect(rect.get(), turns));
  const bool refused = turns > 3 || (turns % 2 == 1 && pixels.height < 2);
  expect(refused == (result == nullptr));
  if (!refused) expect(isValid(result) && Pixels(result.get()) == turned(pixels, turns));
}

// Factors that keep the result small, and for narrow images any at all.
uint32_t factorFrom(Input& input, int size) {
  const uint8_t kind = input.byte();
  if (kind < 128) return input.word16() + 1;
  if (kind < 240 || size > 2) return 32768U * (kind % 4 + 1) + input.byte() - 128;
  return input.word32();
}

void expectScaling(Input& input, const Pixels& pixels) {
  const rle::OwnedRect rect = pixels.toRect();
  const uint32_t f = factorFrom(input, pixels.width), g = factorFrom(input, pixels.height);
  const int manner = input.range(0, 2);
  (manner == 0 ? rleScaleRect : manner == 1 ? rleNNScaleRect : rleMinScaleRect)(rect.get(), f, g);
  expect(isValid(rect));
  if (f == 0 || g == 0 || pixels.height == 0) {
    expect(Pixels(rect.get()) == pixels);
    return;
  }
  if (manner < 2) {  // widths are rounded as columns are, heights down
    const uint64_t half = manner == 1 ? 16384 : 0;
    expect(rect->width == uint16_t((uint64_t{f} * uint64_t(pixels.width) + half) >> 15));
    expect(rect->height == uint16_t(uint64_t{g / 4} * uint64_t(pixels.height) >> 13));
  } else {
    expect(rect->width == uint16_t((uint64_t{f / 4} * uint64_t(pixels.width) + 8191) >> 13));
    expect(rect->height == uint16_t((uint64_t{g / 4} * uint64_t(pixels.height) + 8191) >> 13));
  }
  if (manner == 2) return;
  for (int y = 0; y < pixels.height; ++y) {
    const rle::OwnedRect page = pixels.toRect();
    const rle::OwnedLine row((manner == 0 ? rleScaleLine : rleNNScaleLine)(page->rows[y], f));
    expect(row != nullptr);
    expect(rect->width == 0 || uint64_t{f} * uint64_t(pixels.width) >> 15 > 65535 ||
           rleCheckLine(row.get(), 65535) == 1);
  }
}

void expectResolution(Input& input, const Pixels& pixels) {
  const auto from = input.word16();
  const rle::OwnedRect rect = pixels.toRect(from);
  rect->resolution = uint16_t(from);
  const int to = input.anyInt(1000);
  if (int64_t{to} > int64_t{from} * 8) return;  // larger than is worth the time
  rleChangeResRect(rect.get(), to);
  expect(isValid(rect) && rect->resolution == uint16_t(to));
}

double angleFrom(Input& input) {
  const uint8_t kind = input.byte();
  if (kind < 64) return 45.0 * (kind % 17 - 8);
  if (kind < 240) return input.range(-7200, 7200) / 10.0;
  return std::bit_cast<double>(input.word64());
}

void expectRotation(Input& input, const Pixels& pixels) {
  const rle::OwnedRect rect = pixels.toRect(input.flag() ? 300 : 0);
  const double angle = angleFrom(input);
  double x = 7, y = 7;
  const rle::OwnedRect result(rleRotateRect(rect.get(), angle, &x, &y));
  if (!std::isfinite(angle) || pixels.height == 0) {
    expect(!result && x == 0 && y == 0);
    return;
  }
  expect(isValid(result) && result->resolution == rect->resolution);
  if (std::abs(angle) > 1000) return;  // the walk takes whole turns off in 32 bits
  const rle::test::PlainRotation plain(rect.get(), angle);
  expect(sameImage(*result, *plain.result) && x == plain.cornerX && y == plain.cornerY);
}

void expectRegion(Input& input, const Pixels& pixels) {
  const rle::OwnedPoly region(rleAllocPoly());
  region->count = uint32_t(input.range(0, 6));
  region->points = rleAllocPoints(region->count);
  for (uint32_t i = 0; i < region->count; ++i)
    region->points[i] = {input.anyInt(100), input.anyInt(60)};
  region->fillRule = input.flag() ? 1 : 0;
  region->image = pixels.toRect().release();
  if (input.flag()) region->mask = mirrored(pixels, true).toRect().release();
  double x, y;
  rle::OwnedPoly result;
  switch (input.range(0, 5)) {
    case 0:
      rleMirrorPolyX(region.get());
      expect(Pixels(region->image) == mirrored(pixels, true));
      break;
    case 1:
      rleMirrorPolyY(region.get());
      expect(Pixels(region->image) == mirrored(pixels, false));
      break;
    case 2:
      rleScalePoly(region.get(), factorFrom(input, pixels.width), factorFrom(input, pixels.height));
      break;
    case 3:
      rleChangeResPoly(region.get(), input.range(0, 900));
      break;
    default:
      result.reset(rleRotatePoly(region.get(), angleFrom(input), &x, &y));
      break;
  }
  for (RlePoly* poly : {region.get(), result.get()}) {
    if (poly == nullptr) continue;
    for (RleRect* part : {poly->image, poly->mask}) {
      const rle::OwnedRect copy(part == nullptr ? nullptr : rleDupRect(part));
      expect(part == nullptr || isValid(copy));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  using Expect = void (*)(Input&, const Pixels&);
  constexpr Expect kTransforms[] = {expectMirrors,    expectTurns,    expectScaling,
                                    expectResolution, expectRotation, expectRegion};
  const Expect transform = kTransforms[input.byte() % std::size(kTransforms)];
  const Pixels pixels = pixelsFrom(input, 80, 50);
  transform(input, pixels);
  return 0;
}
