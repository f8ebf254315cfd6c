// Group 4 data to an image. Bytes: bit order, width and height; the rest is the data.

#include "input.h"
#include "reference/g4_walk.h"

using namespace rle::fuzz;

namespace {

rle::OwnedRect decode(std::span<const uint8_t> data, int width, int height, bool lsbFirst) {
  const OwnedStream stream = reading(data);
  return rle::OwnedRect(rleLoadRectFromCCITTG4(stream.get(), width, height, 300, lsbFirst ? 1 : 0));
}

bool isTheWalk(const RleRect& rect, const rle::test::Decoded& expected) {
  for (size_t y = 0; y < rect.height; ++y) {
    const RleLine& row = *rect.rows[y];
    const std::vector<uint16_t> none;
    const std::vector<uint16_t>& elements = y < expected.rows.size() ? expected.rows[y] : none;
    if (row.count * 2U != elements.size()) return false;
    for (size_t i = 0; i < row.count; ++i)
      if (row.runs[i].start != elements[2 * i] || row.runs[i].end != elements[2 * i + 1])
        return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  const bool lsbFirst = input.flag();
  const int width = input.flag() ? int(input.word16()) : input.range(0, 255);
  const int height = input.range(0, 255);
  const auto data = input.rest();
  const rle::OwnedRect rect = decode(data, width, height, lsbFirst);
  const std::vector<uint8_t> reversedData = bitReversed(data);
  const rle::OwnedRect reversed = decode(reversedData, width, height, !lsbFirst);
  const auto walk = rle::test::walkDecode({data.begin(), data.end()}, width, lsbFirst);
  expect((rect != nullptr) == walk.complete);
  expect((reversed != nullptr) == walk.complete);
  if (!rect) return 0;
  expect(isValid(rect) && rect->width == width && rect->height == height);
  expect(isTheWalk(*rect, walk) && sameImage(*rect, *reversed));

  const OwnedStream written = writing();
  expect(rleUnloadRectFromCCITTG4(written.get(), rect.get()) == 1);
  const rle::OwnedRect again = decode(bytesOf(written), width, height, true);
  expect(again && sameImage(*rect, *again));
  return 0;
}
