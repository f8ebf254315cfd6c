// Why a TIFF file is not one that the program reads, in words.

#pragma once

#include <string>

#include "rle.h"

namespace rle {

// Empty when nothing speaks against the file at the start of `stream`; otherwise the reason. The
// stream may be left anywhere, and with its error set.
std::string tiffRefusal(RleStream& stream);

}  // namespace rle
