// Writing files so that they appear complete or not at all.

#pragma once

#include <functional>
#include <string>

#include "rle.h"

namespace rle {

// Throws Failure when `path` cannot become a file, so that it is known before any work.
void requireWritable(const std::string& path);

// Writes the file through a stream; `write` answers why it could not, or nothing. What stood under
// the name before is replaced only when everything is written, and its permissions stay. Throws
// Failure.
void writeNewFile(const std::string& path, const std::function<std::string(RleStream&)>& write);

}  // namespace rle
