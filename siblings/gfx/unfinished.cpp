#include "reader.h"
#include "writer.h"
namespace gfx {
const FileKind kTiffFiles{[](const uint8_t (&)[kSignatureBytes]) { return false; },
                          [](RleStream*) -> Reader* { return nullptr; }};
Writer* newTiffWriter(RleStream*) { return nullptr; }
}  // namespace gfx
extern "C" {
GfxInstance* gfxInitColorSpaceConverter(GfxInstance*, int32_t, int32_t) { return nullptr; }
GfxInstance* gfxInitRotate(GfxInstance*, int32_t) { return nullptr; }
GfxInstance* gfxInitMaxScaleWidth(GfxInstance*, uint32_t) { return nullptr; }
GfxInstance* gfxInitMaxScaleHeight(GfxInstance*, uint32_t) { return nullptr; }
GfxInstance* gfxInitMinScaleWidth(GfxInstance*, uint32_t) { return nullptr; }
GfxInstance* gfxInitMinScaleHeight(GfxInstance*, uint32_t) { return nullptr; }
}
