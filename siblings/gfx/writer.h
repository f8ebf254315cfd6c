// Writers of raster files. A kind of file derives from Writer and is chosen in write_raster.cpp.

#pragma once

#include <cstdlib>

#include "instance.h"
#include "pixel_rows.h"
#include "stream_bytes.h"

namespace gfx {

class Writer : public Instance {
 protected:
  explicit Writer(RleStream* stream) : stream_(stream), file_(stream) {}
  ~Writer() override { std::free(converted_); }

  // The format in which the file holds pixels of a known format; one that canConvert() reaches.
  virtual uint32_t heldFormat(uint32_t format) const = 0;

  // Writes what comes before the rows. The description has the held format and parameters.
  virtual bool writeHead(const GfxImageDesc& description) = 0;

  // Writes a row of the held format. Bits beyond the last pixel are 0.
  virtual bool writeRow(const uint8_t* row) = 0;

  // Writes what comes after the last row.
  virtual bool writeTail() = 0;

  RleStream* stream_;
  FilePlace file_;  // where the file starts

 private:
  bool start(GfxImageDesc& description) final;
  bool row(uint8_t* row) final;
  bool finish(bool complete) final;

  uint32_t width_ = 0;
  uint32_t givenFormat_ = 0;
  uint32_t heldFormat_ = 0;
  uint8_t* converted_ = nullptr;  // a row as the file holds it, where it is not given so
};

// New writers; null without memory.
Writer* newTiffWriter(RleStream* stream);
Writer* newBmpWriter(RleStream* stream);
Writer* newPdfWriter(RleStream* stream);
Writer* newPngWriter(RleStream* stream);
Writer* newJpegWriter(RleStream* stream);
Writer* newPnmWriter(RleStream* stream);

}  // namespace gfx
