// What a name on the command line stands for in the file system, and streams over it. Every
// function throws Failure.

#pragma once

#include <filesystem>
#include <string>

#include "model/owners.h"

namespace rle {

std::string systemReason(int error);

std::filesystem::file_status statusOf(const std::string& path);

// Nothing but a regular file is read or replaced: a device or a pipe must never be renamed over.
void requireRegularFile(const std::string& path, std::filesystem::file_status status);

// A stream over a file, in a mode of xio.h. A failure is reported for the file `shownAs`.
OwnedStream openFile(const std::string& path, int mode, const std::string& shownAs);

// A stream that reads an existing regular file.
OwnedStream openToRead(const std::string& path);

}  // namespace rle
