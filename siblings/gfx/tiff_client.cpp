#include "tiff_client.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "last_error.h"

namespace gfx {
namespace {

constexpr uint32_t kMaxGap = 512;             // above the bytes of a directory of 40 entries
constexpr uint64_t kMaxFileSize = INT32_MAX;  // streams count their positions in 32 bits

struct FreeOptions {
  void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

}  // namespace

// A stream that failed may answer anything from then on, and reading past the end is a failure.
// Whether this one still reads what there is shows where the bytes are known.
bool TiffClient::readsTheTruth() const {
  uint8_t head[kHeadBytes];
  return file_.goTo(0) && readAll(stream_, head, kHeadBytes) &&
         std::memcmp(head, head_, kHeadBytes) == 0;
}

tmsize_t TiffClient::read(void* bytes, tmsize_t size) {
  const auto wanted = uint32_t(std::min<uint64_t>(uint64_t(size), kMaxFileSize));
  if (isDead_ || position_ > kMaxFileSize || !file_.goTo(position_)) return 0;
  if (!readAll(stream_, static_cast<uint8_t*>(bytes), wanted)) {
    isDead_ = !readsTheTruth();
    return 0;
  }
  position_ += wanted;
  return wanted;
}

// libtiff writes what the entries of a directory point to before the directory that is in front of
// it, and that at an even place. A stream may not have a place beyond its end, so what is left out
// is filled until it comes.
tmsize_t TiffClient::write(const void* bytes, tmsize_t size) {
  const uint64_t start = std::min(position_, end_);
  const uint8_t gap[kMaxGap] = {};
  if (isDead_) return 0;
  if (uint64_t(size) > kMaxFileSize || position_ - start > sizeof gap || !file_.goTo(start) ||
      !writeBytes(stream_, gap, uint32_t(position_ - start)) ||
      !writeBytes(stream_, bytes, uint32_t(size))) {
    isDead_ = true;
    if (!hasComplaint_) setLastError("the stream cannot be written");
    hasComplaint_ = true;
    return 0;
  }
  position_ += uint64_t(size);
  end_ = std::max(end_, position_);
  return size;
}

toff_t TiffClient::seek(toff_t offset, int origin) {
  if (origin == SEEK_CUR) offset += position_;
  if (origin == SEEK_END) offset += end_;
  return position_ = offset;
}

void TiffClient::complain(const char* format, va_list arguments) {
  if (!hasComplaint_) setLastErrorV(format, arguments);  // the first is the cause of the others
  hasComplaint_ = true;
}

// Handlers answer 1, so that libtiff's handlers for the whole process do not hear of it.
int TiffClient::onError(TIFF*, void* client, const char*, const char* format, va_list arguments) {
  of(client).complain(format, arguments);
  return 1;
}

int TiffClient::onWarning(TIFF*, void* client, const char*, const char* format, va_list arguments) {
  if (of(client).isStrict_) of(client).complain(format, arguments);
  return 1;
}

bool TiffClient::succeeded(bool result, const char* otherwise) {
  const bool isSound = result && !hasComplaint_;
  if (!isSound && !hasComplaint_) setLastError("%s", otherwise);
  hasComplaint_ = false;
  return isSound;
}

void TiffClient::forgive() {
  if (hasComplaint_) clearLastError();
  hasComplaint_ = false;
}

bool TiffClient::open(const char* mode) {
  const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
  if (!options) return setLastError("out of memory");
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), tmsize_t{kMaxAllocation});
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, this);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, this);
  tiff_ = TIFFClientOpenExt(
      "TIFF", mode, this,
      [](thandle_t client, void* bytes, tmsize_t size) { return of(client).read(bytes, size); },
      [](thandle_t client, void* bytes, tmsize_t size) { return of(client).write(bytes, size); },
      [](thandle_t client, toff_t offset, int origin) { return of(client).seek(offset, origin); },
      [](thandle_t) { return 0; }, [](thandle_t) { return toff_t{kMaxFileSize}; }, nullptr, nullptr,
      options.get());
  return succeeded(tiff_ != nullptr, "the TIFF file cannot be opened");
}

bool TiffClient::openToRead() {
  if (!file_.goTo(0)) return setLastError("the stream cannot be positioned");
  readBytes(stream_, head_, kHeadBytes);
  return open("rmh");
}

bool TiffClient::openToWrite() { return open("w"); }

bool TiffClient::finishWriting() {
  const bool isSound = succeeded(TIFFWriteDirectory(tiff_) == 1, "the directory cannot be written");
  abandon();
  if (!isSound) return false;
  return file_.goTo(end_) || setLastError("the stream cannot be positioned");
}

void TiffClient::abandon() {
  isDead_ = hasComplaint_ = true;  // libtiff tries to write when it closes a file
  if (tiff_) TIFFCleanup(tiff_);
  tiff_ = nullptr;
}

}  // namespace gfx
