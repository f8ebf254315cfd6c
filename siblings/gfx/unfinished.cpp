#include "reader.h"
#include "writer.h"
namespace gfx {
const FileKind kTiffFiles{[](const uint8_t (&)[kSignatureBytes]) { return false; },
                          [](RleStream*) -> Reader* { return nullptr; }};
const FileKind kBmpFiles = kTiffFiles;
const FileKind kPnmFiles = kTiffFiles;
Writer* newTiffWriter(RleStream*) { return nullptr; }
Writer* newBmpWriter(RleStream*) { return nullptr; }
Writer* newPdfWriter(RleStream*) { return nullptr; }
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
GfxInstance* gfxInitColorSpaceConverter(GfxInstance*, int32_t, int32_t) { return nullptr; }
GfxInstance* gfxInitRotate(GfxInstance*, int32_t) { return nullptr; }
GfxInstance* gfxInitMaxScaleWidth(GfxInstance*, uint32_t) { return nullptr; }
GfxInstance* gfxInitMaxScaleHeight(GfxInstance*, uint32_t) { return nullptr; }
GfxInstance* gfxInitMinScaleWidth(GfxInstance*, uint32_t) { return nullptr; }
GfxInstance* gfxInitMinScaleHeight(GfxInstance*, uint32_t) { return nullptr; }
GfxInstance* gfxInitWriteG4(RleStream*, int32_t) { return nullptr; }
}
