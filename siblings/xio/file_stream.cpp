// Streams over files, buffered.
//
// The window is one buffer that holds the bytes of the file from `start` on. Reading fills it as
// far as the file goes, writing marks what has changed, and a seek inside the valid bytes keeps it.
// The changed bytes are written when the window moves away and when the stream is destroyed. The
// file is positioned only when it does not stand where the next transfer begins, so a pipe can be
// read or written from its start to its end.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "operations.h"
#include "xio.h"

namespace xio {
namespace {

constexpr int64_t kBufferSize = 64 * 1024;
constexpr int64_t kBlockSize = 4096;  // after a jump, also the bytes before the position are read

struct FileStream : Window {
  int descriptor = -1;
  bool writable = false;
  int64_t fileOffset = 0;         // where the descriptor stands
  int64_t start = 0;              // offset in the file of buffer[0]
  uint8_t* changed = nullptr;     // first byte that the file lacks, null when there is none
  uint8_t* changedEnd = nullptr;  // as far as settled
  uint8_t buffer[kBufferSize];    // left as it is: only valid bytes are ever looked at

  FileStream() { clear(0); }

  // An empty window at `position`.
  void clear(int64_t position) {
    start = position;
    at = readEnd = writeEnd = buffer;
    changed = changedEnd = nullptr;
  }

  // Before `at` is moved: notes how far the valid and the changed bytes go.
  void settleAll() {
    settle();
    if (changed != nullptr) changedEnd = std::max(changedEnd, at);
  }

  bool refill() {
    settleAll();
    if (readEnd == buffer + kBufferSize && !startWindow(position())) return false;
    if (readEnd == buffer && start != fileOffset) return jump();
    return fillWindow();
  }

  // Fills the empty window at a place where the file does not stand, from a little before it.
  bool jump() {
    const int64_t position = start;
    start -= start % kBlockSize;
    uint8_t* const target = buffer + (position - start);
    while (readEnd <= target)
      if (!fillWindow()) {
        clear(position);
        return false;
      }
    at = target;
    return true;
  }

  // Reads the file behind the valid bytes; false at its end.
  bool fillWindow() {
    if (!placeFile(start + (readEnd - buffer))) return false;
    ssize_t got;
    do {
      got = read(descriptor, readEnd, size_t(buffer + kBufferSize - readEnd));
    } while (got < 0 && errno == EINTR);
    if (got <= 0) return false;
    readEnd += got;
    fileOffset += got;
    return true;
  }

  bool placeFile(int64_t offset) {
    if (fileOffset == offset) return true;
    if (lseek(descriptor, offset, SEEK_SET) < 0) return false;
    fileOffset = offset;
    return true;
  }

  bool makeRoom(uint64_t) {
    if (!writable) return false;
    settleAll();
    if (at == buffer + kBufferSize && !startWindow(position())) return false;
    if (changed == nullptr) {
      changed = changedEnd = at;
    } else {
      changed = std::min(changed, at);
    }
    writeEnd = buffer + kBufferSize;
    return true;
  }

  // Moves the window; the changed bytes go to the file first.
  bool startWindow(int64_t position) {
    const bool written = flush();
    if (written) clear(position);
    return written;
  }

  // Writes the settled changes. What cannot be written is lost, and the stream says so.
  bool flush() {
    if (changed == nullptr) return true;
    bool written = placeFile(start + (changed - buffer));
    while (written && changed < changedEnd) {
      const ssize_t put = write(descriptor, changed, size_t(changedEnd - changed));
      if (put > 0) {
        changed += put;
        fileOffset += put;
      } else if (put == 0 || errno != EINTR) {
        written = false;
      }
    }
    changed = changedEnd = nullptr;
    writeEnd = buffer;
    if (!written) failed = writeFailed = true;
    return written;
  }

  int64_t position() const { return start + (at - buffer); }

  bool moveTo(int64_t target) {
    settleAll();
    writeEnd = buffer;  // the next write marks what it changes
    if (target < start || target > start + (readEnd - buffer)) return startWindow(target);
    at = buffer + (target - start);
    return true;
  }

  bool close() {
    settleAll();
    const bool written = flush();
    return ::close(descriptor) == 0 && written;
  }
};

// A descriptor for a file that can be read or written so, or -1.
int openFile(const char* path, int32_t mode) {
  int flags = O_CLOEXEC;
  if (mode == XIO_READ) {
    flags |= O_RDONLY;
  } else if (mode == XIO_WRITE) {
    flags |= O_RDWR | O_CREAT | O_TRUNC;
  } else if (mode == XIO_UPDATE) {
    flags |= O_RDWR;
  } else {
    return -1;
  }
  const int descriptor = open(path, flags, 0666);
  struct stat status;
  if (descriptor >= 0 && (fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode))) {
    ::close(descriptor);
    return -1;
  }
  return descriptor;
}

}  // namespace
}  // namespace xio

extern "C" RleStream* xioCreateFileStreamByName(const char* path, int32_t mode) {
  using namespace xio;
  if (path == nullptr) return nullptr;
  auto* stream = new (std::nothrow) FileStream;
  if (stream == nullptr) return nullptr;
  stream->ops = &Operations<FileStream>::kTable;
  stream->descriptor = openFile(path, mode);
  stream->writable = mode != XIO_READ;
  if (stream->descriptor < 0) {
    delete stream;
    return nullptr;
  }
  return stream;
}
