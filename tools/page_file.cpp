// Reading and writing page files.
//
// Writing goes to a new file beside the one asked for, which takes its name at the very end. Until
// then the old file is untouched, so a page may be written over the file it came from.

#include "page_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>

#include "failure.h"
#include "stream.h"
#include "tiff_refusal.h"
#include "xio.h"

namespace rle {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kNativeMagic = 0x524C4300;
constexpr uint32_t kLegacyMagic = 0x51756962;
constexpr uint32_t kTiffHeaderSize = 186;
constexpr int kGroup4ColourType = 4;      // 1 is black
constexpr uint32_t kMaxTiffSide = 65534;  // what rleReadOneStripTiffG4Info accepts
constexpr int kTooManyRuns = -1;          // from rleUnloadRectFromCCITTG4

std::string systemReason(int error) { return error ? std::strerror(error) : "cannot be opened"; }

// A failure is reported for the file `shownAs`.
OwnedStream openStream(const std::string& path, int mode, const std::string& shownAs) {
  errno = 0;
  OwnedStream stream(xioCreateFileStreamByName(path.c_str(), mode));
  if (!stream) throw Failure(shownAs, systemReason(errno));
  return stream;
}

// Nothing but a regular file is read or replaced: a device or a pipe must never be renamed over.
void requireRegularFile(const std::string& path, fs::file_status status) {
  if (fs::is_directory(status)) throw Failure(path, "is a directory");
  if (!fs::is_regular_file(status)) throw Failure(path, "is not a regular file");
}

fs::file_status statusOf(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::status_known(status)) throw Failure(path, error.message());
  return status;
}

const char* faultInWords(int code) {
  switch (code) {
    case -1:
      return "a row is missing";
    case -2:
      return "the page has no width";
    case -3:
      return "a row has no runs though it counts some";
    case -5:
      return "a run is empty or reversed";
    case -6:
      return "a run starts beyond the page";
    case -7:
      return "a run ends beyond the page";
    case -8:
      return "a run is repeated";
    default:
      return "runs overlap, touch or are out of order";
  }
}

PageFile readNative(const std::string& path, const char* format) {
  const OwnedStream stream = openStream(path, XIO_READ, path);
  PageFile file;
  file.page.reset(rleLoadRect(stream.get()));
  if (!file.page)
    throw Failure(path, stream->ops->hasError(stream.get()) ? "the file is cut short or damaged"
                                                            : "out of memory");
  file.format = format;
  file.compression = "runs";
  return file;
}

PageFile readTiff(const std::string& path) {
  const std::string refusal = tiffRefusal(*openStream(path, XIO_READ, path));
  if (!refusal.empty()) throw Failure(path, refusal);

  const OwnedStream stream = openStream(path, XIO_READ, path);
  RleTiffG4Info info{};
  if (!rleReadOneStripTiffG4Info(stream.get(), &info))
    throw Failure(path, "is not a TIFF file with one strip of Group 4 data");
  if (info.stripOffset > uint32_t(std::numeric_limits<int32_t>::max()) ||
      stream->ops->seek(stream.get(), int32_t(info.stripOffset), 0) != 0)
    throw Failure(path, "the strip lies beyond the end of the file");

  PageFile file;
  const int lsbFirst = info.fillOrder == 1 ? 0 : 1;
  file.page.reset(rleLoadRectFromCCITTG4(stream.get(), int32_t(info.width), int32_t(info.height),
                                         int32_t(info.xResolution), lsbFirst));
  if (!file.page)
    throw Failure(path, "the Group 4 data is damaged, cut short or without its end mark (EOFB)");
  file.format = "TIFF";
  file.compression = "Group 4";
  file.strips = 1;
  return file;
}

void writeNative(const std::string& path, RleRect& page, const std::string& shownAs) {
  OwnedStream stream = openStream(path, XIO_WRITE, shownAs);
  const bool written = rleUnload(stream.get(), &page) == 1;
  const bool closed = stream->ops->destroy(stream.release()) == 0;
  if (!written || !closed) throw Failure(shownAs, "cannot be written");
}

void writeTiff(const std::string& path, RleRect& page, const std::string& shownAs) {
  OwnedStream owner = openStream(path, XIO_WRITE, shownAs);
  RleStream* const stream = owner.get();
  bool written = rleWriteTiffHeader(stream, page.width, page.height, page.resolution,
                                    kGroup4ColourType, 1) == 1;
  if (written) {
    const int32_t encoded = rleUnloadRectFromCCITTG4(stream, &page);
    if (encoded == kTooManyRuns) throw Failure(shownAs, "a row has more runs than can be coded");
    const int32_t end = stream->ops->tell(stream);
    written = encoded == 1 && end >= 0 &&
              rleReWriteByteCountOfTiffTag(stream, uint32_t(end) - kTiffHeaderSize) == 1 &&
              stream->ops->hasError(stream) == 0;
  }
  // Closing writes what is still buffered, so it can fail too.
  if (stream->ops->destroy(owner.release()) != 0) written = false;
  if (!written) throw Failure(shownAs, "cannot be written");
}

// By the first four bytes.
PageFile readByContent(const std::string& path) {
  const OwnedStream stream = openStream(path, XIO_READ, path);
  switch (stream->ops->getWord32(stream.get())) {
    case kNativeMagic:
      return readNative(path, "native");
    case kLegacyMagic:
      return readNative(path, "native, legacy header");
    default:
      return readTiff(path);
  }
}

enum class Format { tiff, native };

Format formatFor(const std::string& path) {
  std::string extension = fs::path(path).extension().string();
  for (char& letter : extension) letter = char(std::tolower(static_cast<unsigned char>(letter)));
  if (extension == ".rle") return Format::native;
  if (extension.empty() || extension == ".tif" || extension == ".tiff") return Format::tiff;
  throw Failure(path, "only files named .tif, .tiff or .rle can be written");
}

// A new empty file that vanishes again unless it is moved to its final place.
class TemporaryFile {
 public:
  TemporaryFile(const fs::path& directory, const std::string& path) {
    static int number = 0;
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

PageFile readPageFile(const std::string& path) {
  const fs::file_status status = statusOf(path);
  if (!fs::exists(status)) throw Failure(path, systemReason(ENOENT));
  requireRegularFile(path, status);

  PageFile file = readByContent(path);
  std::error_code unknown;
  file.byteCount = fs::file_size(path, unknown);
  if (file.page->width == 0 || file.page->height == 0) throw Failure(path, "the page is empty");
  if (const int code = rleCheckRect(file.page.get()); code != 1)
    throw Failure(path, faultInWords(code));
  return file;
}

void checkWritable(const std::string& path) {
  formatFor(path);
  const fs::file_status status = statusOf(path);
  if (!fs::exists(status)) return;
  requireRegularFile(path, status);
  if (access(path.c_str(), W_OK) != 0) throw Failure(path, systemReason(errno));
}

void writePageFile(const std::string& path, RleRect& page) {
  checkWritable(path);
  const Format format = formatFor(path);
  if (format == Format::tiff && (page.width > kMaxTiffSide || page.height > kMaxTiffSide))
    throw Failure(path, "a page in TIFF is at most 65534 pixels wide and high");

  // Through a symbolic link the file it points to is replaced, not the link.
  std::error_code error;
  const fs::path target = fs::weakly_canonical(path, error);
  if (error) throw Failure(path, error.message());
  struct stat former;
  const bool replaces = stat(target.c_str(), &former) == 0;

  TemporaryFile temporary(target.parent_path(), path);
  (format == Format::tiff ? writeTiff : writeNative)(temporary.path(), page, path);
  if (replaces && chmod(temporary.path().c_str(), former.st_mode & 07777) != 0)
    throw Failure(path, systemReason(errno));
  if (!temporary.moveTo(target)) throw Failure(path, systemReason(errno));
}

}  // namespace rle
