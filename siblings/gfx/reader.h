// Readers of raster files. A kind of file derives from Reader, and is made and told by its content
// in read_raster.cpp.

#pragma once

#include "instance.h"
#include "pixel_rows.h"
#include "stream_bytes.h"

namespace gfx {

class Reader : public Instance {
 public:
  // Reads what comes before the rows of a page and fills `info_`. Called once, first of all, with
  // the stream at the start of the file.
  virtual bool open(uint32_t page) = 0;

  const GfxImageInfo& info() const { return info_; }

 protected:
  explicit Reader(RleStream* stream) : stream_(stream), file_(stream) {}

  bool start(GfxImageDesc& description) override {
    description = {info_.width, info_.height, info_.format, 0, 0, nullptr};
    return true;
  }

  // What could not be read has been told by a row that failed.
  bool finish(bool) override { return true; }

  RleStream* stream_;
  FilePlace file_;
  GfxImageInfo info_{};
};

// Bytes at the start of a file that tell what it is.
constexpr uint32_t kSignatureBytes = 8;

// One kind of file: whether it starts like one, and a new reader of it; null without memory.
struct FileKind {
  bool (*startsWith)(const uint8_t (&signature)[kSignatureBytes]);
  Reader* (*newReader)(RleStream* stream);
};

extern const FileKind kTiffFiles;
extern const FileKind kPngFiles;
extern const FileKind kJpegFiles;
extern const FileKind kBmpFiles;
extern const FileKind kPnmFiles;

}  // namespace gfx
