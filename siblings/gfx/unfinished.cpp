#include "reader.h"
#include "writer.h"
namespace gfx {
const FileKind kTiffFiles{[](const uint8_t (&)[kSignatureBytes]) { return false; },
                          [](RleStream*) -> Reader* { return nullptr; }};
const FileKind kPngFiles = kTiffFiles;
const FileKind kJpegFiles = kTiffFiles;
const FileKind kBmpFiles = kTiffFiles;
const FileKind kPnmFiles = kTiffFiles;
Writer* newTiffWriter(RleStream*) { return nullptr; }
Writer* newBmpWriter(RleStream*) { return nullptr; }
Writer* newPdfWriter(RleStream*) { return nullptr; }
Writer* newPngWriter(RleStream*) { return nullptr; }
Writer* newJpegWriter(RleStream*) { return nullptr; }
Writer* newPnmWriter(RleStream*) { return nullptr; }
}  // namespace gfx
extern "C" {
GfxInstance* gfxInitReadG4(RleStream*, uint32_t, uint32_t, int32_t, uint32_t, int32_t, int32_t) {
  return nullptr;
}
GfxInstance* gfxInitReadRawData(RleStream*, uint32_t, uint32_t, int32_t, int32_t, int32_t, int32_t,
                                uint32_t, uint32_t, uint32_t) {
  return nullptr;
}
GfxInstance* gfxInitWriteG4(RleStream*, int32_t) { return nullptr; }
}
