// Images to Group 4 data and back, bare and as a one-strip TIFF file. Rows may be as wide as rows
// can be, and need not be valid.

#include "input.h"

using namespace rle::fuzz;

namespace {

// Runs and gaps of one byte, or of two where the byte is large.
void appendRuns(Input& input, RleLine& line, int width) {
  bool black = false;
  for (int x = 0; x < width && !input.empty(); black = !black) {
    const int start = x;
    const int length = input.byte();
    x = std::min(width, x + (length < 224 ? length : (length - 223) << 8 | input.byte()));
    if (!black || start == x) continue;
    if (line.count > 0 && line.runs[line.count - 1].end == start) {
      line.runs[line.count - 1].end = uint16_t(x);
      continue;
    }
    line.runs = rleReAllocRuns(line.runs, line.count + 1U);
    line.runs[line.count++] = {uint16_t(start), uint16_t(x)};
  }
}

// Decoded in both bit orders, which give the same.
rle::OwnedRect decode(std::span<const uint8_t> data, const RleRect& like) {
  const std::vector<uint8_t> other = bitReversed(data);
  const OwnedStream lsbFirst = reading(data), msbFirst = reading(other);
  rle::OwnedRect rect(rleLoadRectFromCCITTG4(lsbFirst.get(), like.width, like.height, 200, 1));
  const rle::OwnedRect same(
      rleLoadRectFromCCITTG4(msbFirst.get(), like.width, like.height, 200, 0));
  expect(isValid(rect) && same && sameImage(*rect, *same));
  expect(lsbFirst->ops->tell(lsbFirst.get()) == int32_t(data.size()));
  return rect;
}

void expectTiff(RleRect& rect, int colourType) {
  const OwnedStream file = writing();
  RleStream* const stream = file.get();
  expect(rleWriteTiffHeader(stream, 1, 1, 240, colourType, 1) == 1);
  expect(rleUnloadRectFromCCITTG4(stream, &rect) == 1);
  const auto size = uint32_t(stream->ops->tell(stream));
  expect(rleReWriteWidthOfOneStripTiffTag(stream, rect.width) == 1);
  expect(rleReWriteHeightOfOneStripTiffTag(stream, rect.height) == 1);
  expect(rleReWriteByteCountOfTiffTag(stream, size - 186) == 1);
  expect(stream->ops->seek(stream, 0, 0) == 0);
  RleTiffG4Info info{};  // only where white is zero, and sizes are what such a file may have
  const bool fits = rect.width < 65535 && rect.height >= 1 && colourType % 5 == 4;
  expect(rleReadOneStripTiffG4Info(stream, &info) == (fits ? 1 : 0));
  if (!fits) return;
  expect(info.width == rect.width && info.height == rect.height && info.stripOffset == 186);
  expect(info.xResolution == 240 && info.yResolution == 240 && info.fillOrder == 2);
  expect(stream->ops->seek(stream, int32_t(info.stripOffset), 0) == 0);
  const rle::OwnedRect read(
      rleLoadRectFromCCITTG4(stream, int32_t(info.width), int32_t(info.height), 240, 1));
  expect(read && sameImage(*read, rect));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  const bool valid = input.flag();
  const int colourType = input.byte();
  const uint32_t width = input.flag() ? input.word16() : input.byte();
  const rle::OwnedRect rect(rleNewRect(width, input.byte() % 64, 200));
  for (int y = 0; y < rect->height && !input.empty(); ++y) {
    if (valid)
      appendRuns(input, *rect->rows[y], rect->width);
    else
      appendAnyRuns(input, *rect->rows[y]);
  }
  expect(!valid || isValid(rect));

  const OwnedStream stream = writing();
  expect(rleUnloadRectFromCCITTG4(stream.get(), rect.get()) == 1);
  const std::vector<uint8_t> data = bytesOf(stream);
  const rle::OwnedRect decoded = decode(data, *rect);
  expect(!valid || sameImage(*decoded, *rect));
  const OwnedStream again = writing();  // and what came of rows that are not valid stays
  expect(rleUnloadRectFromCCITTG4(again.get(), decoded.get()) == 1);
  expect(bytesOf(again) == data);
  expectTiff(*decoded, colourType);
  return 0;
}
