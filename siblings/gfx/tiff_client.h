// libtiff over a stream: the procedures through which it reads and writes, and its complaints.
//
// The size of the file is not known, as streams have no end to seek to, and finding it by reading
// would fail the stream. libtiff is told the largest size that a stream can have. It uses the size
// to repair what is missing in a directory and to doubt what is there; memory for what a file
// claims to hold it takes piece by piece as the pieces arrive, and never above kMaxAllocation.

#pragma once

#include <tiffio.h>

#include <cstdarg>
#include <cstdint>

#include "stream_bytes.h"

namespace gfx {

// What one piece of a TIFF file may need in memory: a strip, a row of tiles, an array of offsets.
constexpr uint64_t kMaxAllocation = uint64_t{256} << 20;

// The values of tags, or their defaults.
inline uint16_t field16(TIFF* tiff, uint32_t tag) {
  uint16_t value = 0;
  TIFFGetFieldDefaulted(tiff, tag, &value);
  return value;
}

inline uint32_t field32(TIFF* tiff, uint32_t tag) {
  uint32_t value = 0;
  TIFFGetFieldDefaulted(tiff, tag, &value);
  return value;
}

// Compressions of ITU-T T.4 and T.6.
constexpr bool isFax(uint16_t compression) {
  return compression == COMPRESSION_CCITTRLE || compression == COMPRESSION_CCITTRLEW ||
         compression == COMPRESSION_CCITTFAX3 || compression == COMPRESSION_CCITTFAX4;
}

class TiffClient {
 public:
  TiffClient(RleStream* stream, const FilePlace& file) : stream_(stream), file_(file) {}
  TiffClient(const TiffClient&) = delete;
  TiffClient& operator=(const TiffClient&) = delete;
  ~TiffClient() { abandon(); }

  // Opens the file at its place. To read: its head only, so that any page can be the first.
  bool openToRead();
  bool openToWrite();

  TIFF* tiff() const { return tiff_; }

  // Whether a call to libtiff had the result that it should have, and nothing was complained of
  // since the last asking; codecs report damage that they pass over. A complaint has told the last
  // error, `otherwise` tells it where there was none.
  bool succeeded(bool result, const char* otherwise);

  // Forgets complaints of what is not needed.
  void forgive();

  // Takes warnings for complaints as well.
  void setStrict(bool strict) { isStrict_ = strict; }

  // Writes what is left of a file and closes it, with the stream behind it.
  bool finishWriting();

  // Closes the file. Nothing is written any more.
  void abandon();

 private:
  bool open(const char* mode);
  tmsize_t read(void* bytes, tmsize_t size);
  tmsize_t write(const void* bytes, tmsize_t size);
  toff_t seek(toff_t offset, int origin);
  bool readsTheTruth() const;
  void complain(const char* format, va_list arguments);

  static TiffClient& of(thandle_t client) { return *static_cast<TiffClient*>(client); }
  static int onError(TIFF*, void* client, const char* module, const char* format,
                     va_list arguments);
  static int onWarning(TIFF*, void* client, const char* module, const char* format,
                       va_list arguments);

  // The first bytes of a file that is read, to recognise it by.
  static constexpr uint32_t kHeadBytes = 8;

  RleStream* stream_;
  const FilePlace& file_;
  TIFF* tiff_ = nullptr;
  uint64_t position_ = 0;  // where libtiff reads or writes next
  uint64_t end_ = 0;       // of what was written
  bool isDead_ = false;    // the stream is left alone
  bool isStrict_ = false;
  bool hasComplaint_ = false;
  uint8_t head_[kHeadBytes] = {};
};

}  // namespace gfx
