// The reader of one-strip Group 4 TIFF files. Bytes: the file.

#include "input.h"

using namespace rle::fuzz;

namespace {

constexpr int32_t kMostRows = 256;  // of the image: its rows are made before any data is read

void expectDirectory(RleStream* stream, int32_t start, int32_t byteOrder) {
  const auto rewind = [&] {
    expect(stream->ops->seek(stream, start, 0) == 0);
    stream->ops->setByteOrder(stream, byteOrder);
  };
  rewind();
  RleTiffG4Info info{};
  const int32_t read = rleReadOneStripTiffG4Info(stream, &info);
  expect(stream->ops->tell(stream) == start);
  expect(read == 0 || read == 1);
  expect(info.width < 65535 && info.height < 65535 && info.photometric == 0);
  if (read == 1) {
    expect(info.height >= 1 && info.xResolution != 0 && info.yResolution != 0);
    const auto height = std::min(int32_t(info.height), kMostRows);
    if (stream->ops->seek(stream, int32_t(info.stripOffset), 0) == 0) {
      const rle::OwnedRect rect(rleLoadRectFromCCITTG4(stream, int32_t(info.width), height,
                                                       int32_t(info.xResolution),
                                                       info.fillOrder == 2 ? 1 : 0));
      expect(!rect || (isValid(rect) && rect->height == height));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  for (const int32_t start : {0, 1})
    for (const int32_t byteOrder : {0, 1}) {
      const OwnedStream stream = reading({bytes, size});
      expectDirectory(stream.get(), start, byteOrder);
    }
  const OwnedStream first = reading({bytes, size}), second = reading({bytes, size});
  RleTiffG4Info info{};
  expect(rleReadOneStripTiffG4Info(first.get(), nullptr) ==
         rleReadOneStripTiffG4Info(second.get(), &info));
  return 0;
}
