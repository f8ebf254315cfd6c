// What `rle convert` does to one file.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "operations.h"

namespace rle {

// An operation as it stands on the command line.
struct Step {
  std::string option;  // with its dashes
  std::string value;
  Operation apply;
};

// The size of a page whose file does not tell it.
struct Group4Size {
  int32_t width;
  int32_t height;
  int32_t resolution;
};

struct Conversion {
  std::vector<Step> steps;
  int32_t format;                    // of formats.h
  int32_t compression;               // of formats.h
  std::optional<Group4Size> group4;  // input is bare Group 4 data
};

// Converts a file. Returns what a person should know though nothing failed, mostly nothing. Throws
// Failure. May be called from several threads.
std::string convertFile(const Conversion& conversion, const std::string& in,
                        const std::string& out);

}  // namespace rle
