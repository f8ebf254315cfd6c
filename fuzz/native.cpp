// Images of the native format. Bytes: the file.

#include "input.h"

using namespace rle::fuzz;

namespace {

// Read piece by piece: row after row until one fails.
void expectRows(std::span<const uint8_t> bytes, const RleRect* whole) {
  const OwnedStream stream = reading(bytes);
  const rle::OwnedFile file(rleOpen(stream.get()));
  expect(file != nullptr);
  const rle::OwnedFile header(rleReadHeader(file.get(), 1));
  if (!header) {
    expect(whole == nullptr);
    return;
  }
  for (int y = 0; y < header->header.height; ++y) {
    const rle::OwnedLine row(rleReadLine(file.get()));
    if (!row) {
      expect(whole == nullptr);
      return;
    }
    expect(whole == nullptr || sameRuns(*row, *whole->rows[y]));
  }
  expect(whole != nullptr && whole->width == header->header.width);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const OwnedStream stream = reading({bytes, size}), other = reading({bytes, size});
  const rle::OwnedRect rect(rleLoadRect(stream.get())), same(rleLoad(other.get()));
  expect((rect != nullptr) == (same != nullptr));
  expectRows({bytes, size}, rect.get());
  if (!rect) return 0;
  expect(sameImage(*rect, *same));
  expect(rect->height == 0 || rect->rows[0] != nullptr);

  // Rows need not be valid to be written and read again.
  const OwnedStream written = writing();
  expect(rleUnloadRect(written.get(), rect.get()) == 1);
  written->ops->seek(written.get(), 0, 0);
  const rle::OwnedRect again(rleLoadRect(written.get()));
  expect(again && sameImage(*rect, *again));
  expect(again->resolution == (rect->resolution == 0 ? 400 : rect->resolution));
  const rle::OwnedRect copy(rleDupRect(rect.get()));
  expect(copy && sameImage(*rect, *copy));

  // Nor to be coded: what is decoded is an image.
  const OwnedStream coded = writing();
  if (rleUnloadRectFromCCITTG4(coded.get(), rect.get()) != 1) return 0;
  coded->ops->seek(coded.get(), 0, 0);
  const rle::OwnedRect decoded(
      rleLoadRectFromCCITTG4(coded.get(), rect->width, rect->height, rect->resolution, 1));
  expect(isValid(decoded));
  expect(!isValid(copy) || sameImage(*copy, *decoded));
  return 0;
}
