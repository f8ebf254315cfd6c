// A reader of uncompressed rows.

#include <new>

#include "bare_reader.h"
#include "pixel_rows.h"
#include "stream_bytes.h"

namespace gfx {
namespace {

class RawReader final : public BareReader {
 public:
  RawReader(RleStream* stream, const GfxImageDesc& description, uint32_t rows, uint32_t rowSize,
            bool lsbFirst)
      : BareReader(description, rows),
        stream_(stream),
        pixelBytes_(uint32_t(rowBytes(description.format, description.width))),
        padding_(rowSize - pixelBytes_),
        lsbFirst_(lsbFirst) {}

 private:
  bool readRow(uint8_t* row) override {
    if ((rowsRead() > 0 && !skipPadding()) || !readAll(stream_, row, pixelBytes_))
      return setLastError("the data ends in row %u", rowsRead());
    if (!isBilevel(description().format)) return true;
    if (lsbFirst_) reverseBits(row, pixelBytes_);
    clearPadding(row, description().width);
    return true;
  }

  bool skipPadding() {
    for (uint32_t i = 0; i < padding_; ++i)
      if (stream_->ops->getByte(stream_) < 0) return false;
    return true;
  }

  RleStream* stream_;
  uint32_t pixelBytes_;
  uint32_t padding_;  // bytes between the pixels of one row and those of the next
  bool lsbFirst_;
};

// Whether the numbers given for an image fit together.
bool checkRaw(uint32_t width, int32_t bits, uint32_t format, int32_t options, uint32_t rows,
              uint32_t rowSize, uint32_t dataSize) {
  if (!isKnownFormat(format) || bits != bitsPerPixel(format))
    return setLastError("no pixels have %d bits in this colour type", bits);
  if (options != 0 && options != 1)
    return setLastError("no order of bits has the code %d", options);
  if (rowBytes(format, width) > rowSize)
    return setLastError("%u pixels do not fit into rows of %u bytes", width, rowSize);
  if (uint64_t{rows} * rowSize > dataSize)
    return setLastError("%u rows of %u bytes are more than %u bytes", rows, rowSize, dataSize);
  return true;
}

}  // namespace
}  // namespace gfx

extern "C" GfxInstance* gfxInitReadRawData(RleStream* stream, uint32_t width, uint32_t height,
                                           int32_t bitsPerPixel, int32_t colourType,
                                           int32_t options, int32_t, uint32_t rows,
                                           uint32_t rowBytes, uint32_t dataSize) {
  gfx::clearLastError();
  const uint32_t format = gfx::formatOf(colourType);
  if (!gfx::checkRaw(width, bitsPerPixel, format, options, rows, rowBytes, dataSize))
    return nullptr;
  const GfxImageDesc description{width, height, format, 0, 0, nullptr};
  auto* reader =
      new (std::nothrow) gfx::RawReader(stream, description, rows, rowBytes, options == 1);
  if (!reader) gfx::setLastError("out of memory");
  return reader;
}
