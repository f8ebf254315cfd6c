// Many files converted at once.

#pragma once

#include <string>
#include <vector>

#include "conversion.h"

namespace rle {

struct Job {
  std::string in;
  std::string out;
};

// Where each input goes in a directory: under its own name, with the extension of the format.
// Throws UsageError when two would go to the same file.
std::vector<Job> jobsInto(const std::string& directory, const std::vector<std::string>& inputs,
                          int32_t format);

// Converts all files on so many threads, with a progress bar on a terminal. What fails is told in a
// line each and does not keep the others from being done. Returns how many failed.
size_t convertAll(const Conversion& conversion, const std::vector<Job>& jobs, unsigned threads);

}  // namespace rle
