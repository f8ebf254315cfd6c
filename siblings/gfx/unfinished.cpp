#include "reader.h"
#include "writer.h"
namespace gfx {
const FileKind kTiffFiles{[](const uint8_t (&)[kSignatureBytes]) { return false; },
                          [](RleStream*) -> Reader* { return nullptr; }};
Writer* newTiffWriter(RleStream*) { return nullptr; }
}  // namespace gfx
