// A file is written beside the one asked for, and takes its name at the very end. Until then the
// old file is untouched, so a page may be written over the file it came from.

#include "new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>

#include "failure.h"
#include "file_status.h"
#include "model/owners.h"
#include "xio.h"

namespace rle {
namespace {

namespace fs = std::filesystem;

// A new empty file that vanishes again unless it is moved to its final place.
class TemporaryFile {
 public:
  TemporaryFile(const fs::path& directory, const std::string& path) {
    static std::atomic<int> number = 0;  // files are written by several threads
    int file = -1;
    do {
      path_ = directory / (".rle-" + std::to_string(getpid()) + "-" + std::to_string(++number));
      file = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (file < 0 && errno == EEXIST);
    if (file < 0) throw Failure(path, "cannot be created: " + systemReason(errno));
    close(file);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (!path_.empty()) unlink(path_.c_str());
  }

  std::string path() const { return path_.string(); }

  bool moveTo(const fs::path& destination) {
    if (rename(path_.c_str(), destination.c_str()) != 0) return false;
    path_.clear();
    return true;
  }

 private:
  fs::path path_;
};

}  // namespace

void requireWritable(const std::string& path) {
  const fs::file_status status = statusOf(path);
  if (!fs::exists(status)) return;
  requireRegularFile(path, status);
  if (access(path.c_str(), W_OK) != 0) throw Failure(path, systemReason(errno));
}

void writeNewFile(const std::string& path, const std::function<std::string(RleStream&)>& write) {
  requireWritable(path);
  // Through a symbolic link the file it points to is replaced, not the link.
  std::error_code error;
  const fs::path target = fs::weakly_canonical(path, error);
  if (error) throw Failure(path, error.message());
  struct stat former;
  const bool replaces = stat(target.c_str(), &former) == 0;

  TemporaryFile temporary(target.parent_path(), path);
  OwnedStream stream = openFile(temporary.path(), XIO_WRITE, path);
  const std::string reason = write(*stream);
  // Closing writes what is still buffered, so it can fail too.
  const bool failed = stream->ops->hasError(stream.get()) != 0;
  const bool closed = stream->ops->destroy(stream.release()) == 0;
  if (!reason.empty()) throw Failure(path, reason);
  if (failed || !closed) throw Failure(path, "cannot be written");
  if (replaces && chmod(temporary.path().c_str(), former.st_mode & 07777) != 0)
    throw Failure(path, systemReason(errno));
  if (!temporary.moveTo(target)) throw Failure(path, systemReason(errno));
}

}  // namespace rle
