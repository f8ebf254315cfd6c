// Finds the reader for a file.

#include <cstdlib>

#include "reader.h"

namespace gfx {
namespace {

const FileKind* const kFileKinds[] = {&kTiffFiles, &kPngFiles, &kJpegFiles, &kBmpFiles, &kPnmFiles};

// A reader of the file at the position of the stream, opened; null when there is none.
std::unique_ptr<Reader> openReader(RleStream* stream, uint32_t page) {
  clearLastError();
  const FilePlace file(stream);
  uint8_t signature[kSignatureBytes] = {};
  const uint32_t read = readBytes(stream, signature, kSignatureBytes);
  if (!file.isKnown() || !file.goTo(0)) {
    setLastError("the stream cannot be positioned");
    return nullptr;
  }
  for (const FileKind* kind : kFileKinds)
    if (kind->startsWith(signature)) {
      std::unique_ptr<Reader> reader(kind->newReader(stream));
      if (!reader) setLastError("out of memory");
      if (!reader || !reader->open(page)) return nullptr;
      return reader;
    }
  setLastError(read == 0 ? "the file is empty" : "not a raster file of a known format");
  return nullptr;
}

}  // namespace
}  // namespace gfx

extern "C" {

GfxImageInfo* gfxGetPageInfo(RleStream* stream, uint32_t page) {
  const gfx::FilePlace file(stream);
  const auto reader = gfx::openReader(stream, page);
  if (!reader) return nullptr;
  auto* info = static_cast<GfxImageInfo*>(std::malloc(sizeof(GfxImageInfo)));
  if (!info) {
    gfx::setLastError("out of memory");
    return nullptr;
  }
  *info = reader->info();
  if (!file.goTo(0)) {
    gfx::setLastError("the stream cannot be positioned");
    std::free(info);
    return nullptr;
  }
  return info;
}

GfxImageInfo* gfxGetImageInfo(RleStream* stream) { return gfxGetPageInfo(stream, 0); }

void gfxFreeImageInfo(GfxImageInfo* info) { std::free(info); }

GfxInstance* gfxInitReadRaster(RleStream* stream, uint32_t page, int32_t, uint32_t) {
  return gfx::openReader(stream, page).release();
}

}  // extern "C"
