// Page files: what a file holds tells how it is read.

#pragma once

#include <cstdint>
#include <string>

#include "model/owners.h"

namespace rle {

// What a file says about itself.
struct FileFacts {
  std::string format;
  std::string compression;
  uint64_t byteCount = 0;
  uint32_t pages = 1;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t xResolution = 0;  // dots per inch, 0 where it is not known
  uint32_t yResolution = 0;
  std::string pixels;    // "black and white", "grey" and so on
  bool bilevel = false;  // pixels are black or white, so that the page is read as it is
};

// A file that has been recognised, but not read yet.
class InputFile {
 public:
  explicit InputFile(const std::string& path);  // throws Failure

  const FileFacts& facts() const { return facts_; }

  // The file's bytes, from the first one on.
  RleStream& stream() { return *stream_; }

  // The first page, with valid rows; a grey or coloured one becomes black and white. To be called
  // once. Throws Failure.
  OwnedRect readPage();

 private:
  void recogniseNative(const char* format);
  void recogniseRaster();
  std::string whyNoPage();

  std::string path_;
  OwnedStream stream_;
  bool native_ = false;
  FileFacts facts_;
};

struct PageFile {
  OwnedRect page;
  FileFacts facts;
};

// Why the raster pipeline failed last, or `otherwise` where it has not said.
std::string pipelineReason(const char* otherwise);

// Opens a file and reads its first page. Throws Failure.
PageFile readPageFile(const std::string& path);

// Reads bare Group 4 data, first bit highest in a byte, of a page of this size. Throws Failure.
OwnedRect readGroup4Data(const std::string& path, int32_t width, int32_t height,
                         int32_t resolution);

// Writes a page in a format and, for TIFF, a compression of formats.h. Throws Failure.
void writePageFile(const std::string& path, RleRect& page, int32_t format, int32_t compression);

// The same in the format that the name asks for. The check throws Failure when that cannot be done,
// so that it is known before any work.
void checkWritable(const std::string& path);
void writePageFile(const std::string& path, RleRect& page);

}  // namespace rle
