// What a file holds is loaded as it is. Whatever is done to such an image before anybody checks its
// rows may give a strange picture, but leaves all other memory alone and releases its own.

#include "input.h"

using namespace rle::fuzz;

namespace {

rle::OwnedRect uncheckedImage(Input& input) {
  rle::OwnedRect rect(
      rleNewRect(input.flag() ? input.word16() : input.byte(), input.byte() % 12, input.byte()));
  for (int y = 0; y < rect->height; ++y) appendAnyRuns(input, *rect->rows[y]);
  return rect;
}

// Edits keep to the image; the runs in it need not.
void editSpans(Input& input, RleRect* rect, RleRect* other) {
  if (rect->width == 0 || rect->height == 0) return;
  const int x1 = input.range(0, rect->width - 1), x2 = input.range(x1, rect->width - 1);
  const int y1 = input.range(0, rect->height - 1), y2 = input.range(y1, rect->height - 1);
  switch (input.byte() % 5) {
    case 0:
      rleSetRect(rect, x1, y1, x2, y2);
      break;
    case 1:
      rleClearRect(rect, x1, y1, x2, y2);
      break;
    case 2:
      rlePatternRect(rect, x1, y1, x2, y2, other, input.range(0, 3));
      break;
    case 3:
      rle::OwnedLine(rleCopyLine(rect->rows[y1], x1, x2)).reset();
      rle::OwnedLine(rleCutLine(rect->rows[y1], x1, x2)).reset();
      break;
    default:
      if (other->height > 0)
        rleMergeLineRun(rect->rows[y1], other->rows[0], x1, 0, x2 - x1, input.byte() & 1);
      break;
  }
}

void mergeAndMask(Input& input, RleRect* rect, RleRect* other) {
  const int x = input.anyInt(100), y = input.anyInt(10);
  rleMergeRect(rect, x, y, other, input.range(0, 3));
  rleMaskRect(rect, other, input.byte() & 1);
  if (rect->width > 4096) return;  // a row that is its own source grows edit by edit
  rleMergeRect(rect, input.byte(), 0, rect, input.range(0, 3));
  rleMaskRect(rect, rect, input.byte() & 1);
}

void copyAndCut(Input& input, RleRect* rect, RleRect*) {
  const int x = input.range(-100, 300), y = input.range(-5, 12);
  const int xLast = x + input.range(0, 400), yLast = y + input.range(0, 12);
  rle::OwnedRect(rleCopyRect(rect, x, y, xLast, yLast)).reset();
  rle::OwnedRect(rleCutRect(rect, x, y, xLast, yLast)).reset();
  rle::OwnedRect(rleDupRect(rect)).reset();
  rleCheckRect(rect);
}

void draw(Input& input, RleRect* rect, RleRect* other) {
  RlePoint points[4];
  RleDPoint corners[4];
  int32_t widths[4];
  for (int i = 0; i < 4; ++i) {
    points[i] = {input.anyInt(200), input.anyInt(15)};
    corners[i] = {double(points[i].x) + 0.25, double(points[i].y) + 0.5};
    widths[i] = input.anyInt(200);
  }
  const int colour = input.range(-1, 1), mode = input.range(0, 3);
  uint8_t dashes[] = {input.byte(), input.byte()};
  rleFillSpans(rect, 4, points, widths, colour, other, mode);
  rleFillPolygon(rect, 4, points, mode & 1, colour, other, mode);
  rleFillSppPoly(rect, 4, corners, 0, 0, colour, other, mode);
  rleFatLine(rect, 4, points, input.range(0, 30), colour, other, input.range(1, 3),
             input.range(0, 2), mode, input.byte() % 3, dashes, input.byte());
}

void turn(Input& input, RleRect* rect, RleRect*) {
  double x, y;
  rle::OwnedRect(rleQRotateRect(rect, input.byte() % 4)).reset();
  if (rect->width < 2000)
    rle::OwnedRect(rleRotateRect(rect, input.range(-720, 720), &x, &y)).reset();
  (input.flag() ? rleMirrorRectX : rleMirrorRectY)(rect);
}

void scale(Input& input, RleRect* rect, RleRect*) {
  const uint32_t f = input.flag() ? input.word32() : input.word16();
  const uint32_t g = input.word16();
  const uint8_t manner = input.byte() % 4;
  if (manner == 3)
    rleChangeResRect(rect, input.range(1, 1000));
  else
    (manner == 0 ? rleScaleRect : manner == 1 ? rleNNScaleRect : rleMinScaleRect)(rect, f, g);
}

void unpack(Input& input, RleRect* rect, RleRect*) {
  const int rowBits = input.range(0, 999), rows = input.range(0, 15);
  std::vector<uint8_t> bits(size_t(rows * (rowBits / 8) + (rowBits % 8 != 0 ? 1 : 0)));
  const uint32_t hscale = input.flag() ? 32768 : input.word32(), vscale = input.word16();
  const int x1 = input.anyInt(200);
  rleUnPackRect(rect, x1, input.anyInt(300), input.range(-3, 12), input.range(-1, 15), bits.data(),
                rowBits, rows, hscale, vscale, input.anyInt(100), input.range(0, 3));
}

void analyse(Input& input, RleRect* rect, RleRect*) {
  uint16_t x, y;
  rle::OwnedRect(rleConnected(rect, int(input.word16()), input.byte() % 12, &x, &y)).reset();
  rleClosest(rect, int(input.word16()), input.byte() % 16, input.byte(), &x, &y);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  const rle::OwnedRect rect = uncheckedImage(input), other = uncheckedImage(input);
  using Action = void (*)(Input&, RleRect*, RleRect*);
  constexpr Action kActions[] = {editSpans, mergeAndMask, copyAndCut, draw,
                                 turn,      scale,        unpack,     analyse};
  for (int steps = 0; steps < 4 && !input.empty(); ++steps)
    kActions[input.byte() % std::size(kActions)](input, rect.get(), other.get());
  const OwnedStream written = writing();
  expect(rleUnloadRect(written.get(), rect.get()) == 1);
  written->ops->seek(written.get(), 0, 0);
  const rle::OwnedRect again(rleLoadRect(written.get()));
  expect(again && sameImage(*rect, *again));
  return 0;
}
