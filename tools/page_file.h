// Page files: a page comes in by what its file contains and goes out by what its name ends in.

#pragma once

#include <cstdint>
#include <string>

#include "model/owners.h"

namespace rle {

// A page together with what its file said about itself.
struct PageFile {
  OwnedRect page;
  std::string format;
  std::string compression;
  uint32_t strips = 0;  // none in the native format
  uint64_t byteCount = 0;
};

// Reads a page whose rows are all valid. Throws Failure.
PageFile readPageFile(const std::string& path);

// Throws Failure when no page can be written under this name, so that it is known before any work.
void checkWritable(const std::string& path);

// Writes the page. The file appears complete or not at all: what stood there before is replaced
// only when everything is written, and keeps its permissions. Throws Failure.
void writePageFile(const std::string& path, RleRect& page);

}  // namespace rle
