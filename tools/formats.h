// The formats and compressions that files are written in, as the command line names them.

#pragma once

#include <cstdint>
#include <string>

namespace rle {

// What a file is written as: a format code of gfx.h, or one of these.
inline constexpr int32_t kNativeFormat = -1;
inline constexpr int32_t kGroup4Format = -2;  // the bare data

// No preference among the compressions of TIFF.
inline constexpr int32_t kAnyCompression = -1;

// The format that a file's name asks for by what it ends in. Throws Failure where that is no
// format; a name that ends in nothing asks for TIFF.
int32_t formatByName(const std::string& path);

// Whether a file of this format and name holds black and white only.
bool isBilevelFile(int32_t format, const std::string& path);

// The format with this name, "tiff" or "png" and so on. Throws UsageError.
int32_t formatCalled(const std::string& name);

// What the names of files of the format end in, as ".tif".
const char* extensionOf(int32_t format);

// The compression with this name. Throws UsageError.
int32_t compressionCalled(const std::string& name);

// The names to choose from, between commas.
std::string formatNames();
std::string compressionNames();

// A format or a compression that a file was found to have.
std::string formatInWords(uint32_t format);
std::string compressionInWords(uint32_t compression);

}  // namespace rle
