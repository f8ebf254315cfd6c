// Finds the writer for a format, and gives each the rows it can hold.

#include "writer.h"

namespace gfx {

bool Writer::start(GfxImageDesc& description) {
  if (!isKnownFormat(description.format))
    return setLastError("no pixels of %d bits and colour type %d", bitsPerPixel(description.format),
                        colourType(description.format));
  if (description.width == 0 || description.height == 0)
    return setLastError("an image without pixels cannot be written");
  width_ = description.width;
  givenFormat_ = description.format;
  heldFormat_ = heldFormat(givenFormat_);
  if (heldFormat_ != givenFormat_ || (isBilevel(heldFormat_) && width_ % 8 != 0)) {
    converted_ = static_cast<uint8_t*>(std::malloc(rowBytes(heldFormat_, width_)));
    if (!converted_) return setLastError("out of memory");
  }
  GfxOutputParams parameters{72, 72, GFX_UNCOMPRESSED, 0};
  if (description.parameters) parameters = *description.parameters;
  return writeHead({width_, description.height, heldFormat_, 0, 0, &parameters});
}

bool Writer::row(uint8_t* row) {
  if (!converted_) return writeRow(row);
  convertRow(givenFormat_, row, heldFormat_, converted_, width_);
  return writeRow(converted_);
}

bool Writer::finish(bool complete) {
  if (!complete) return false;
  if (rowsLeft() > 0) {
    // Where reading them failed, that is what is to be told.
    if (*gfxLastError() == '\0') setLastError("%u rows are missing", rowsLeft());
    return false;
  }
  return writeTail();
}

}  // namespace gfx

extern "C" GfxInstance* gfxInitWriteRaster(RleStream* stream, int32_t format) {
  gfx::clearLastError();
  gfx::Writer* writer = nullptr;
  switch (format) {
    case GFX_TIFF:
      writer = gfx::newTiffWriter(stream);
      break;
    case GFX_BMP:
      writer = gfx::newBmpWriter(stream);
      break;
    case GFX_PDF:
      writer = gfx::newPdfWriter(stream);
      break;
    case GFX_PNG:
      writer = gfx::newPngWriter(stream);
      break;
    case GFX_JPEG:
      writer = gfx::newJpegWriter(stream);
      break;
    case GFX_PNM:
      writer = gfx::newPnmWriter(stream);
      break;
    default:
      gfx::setLastError("no format has the code %d", format);
      return nullptr;
  }
  if (!writer) gfx::setLastError("out of memory");
  return writer;
}
