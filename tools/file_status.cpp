#include "file_status.h"

#include <cerrno>
#include <cstring>

#include "failure.h"
#include "xio.h"

namespace rle {

namespace fs = std::filesystem;

std::string systemReason(int error) { return error ? std::strerror(error) : "cannot be opened"; }

fs::file_status statusOf(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::status_known(status)) throw Failure(path, error.message());
  return status;
}

void requireRegularFile(const std::string& path, fs::file_status status) {
  if (fs::is_directory(status)) throw Failure(path, "is a directory");
  if (!fs::is_regular_file(status)) throw Failure(path, "is not a regular file");
}

OwnedStream openFile(const std::string& path, int mode, const std::string& shownAs) {
  errno = 0;
  OwnedStream stream(xioCreateFileStreamByName(path.c_str(), mode));
  if (!stream) throw Failure(shownAs, systemReason(errno));
  return stream;
}

OwnedStream openToRead(const std::string& path) {
  const fs::file_status status = statusOf(path);
  if (!fs::exists(status)) throw Failure(path, systemReason(ENOENT));
  requireRegularFile(path, status);
  return openFile(path, XIO_READ, path);
}

}  // namespace rle
