// Blocks of bytes from and to a stream, and places counted from where a file starts in it.

#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "rle.h"

namespace gfx {

// Reads up to `count` bytes; fewer only at the end of the data. The count of those read.
inline uint32_t readBytes(RleStream* stream, uint8_t* bytes, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    const int32_t byte = stream->ops->getByte(stream);
    if (byte < 0) return i;
    bytes[i] = uint8_t(byte);
  }
  return count;
}

// Reads exactly `count` bytes. Many come four at a time, since each is a call; a word that fails
// tells it by the stream's error alone, so a stream that has failed before is read byte by byte.
// Where a failure leaves the stream is not said.
inline bool readAll(RleStream* stream, uint8_t* bytes, uint32_t count) {
  constexpr uint32_t kMany = 32;
  const RleStreamOps& ops = *stream->ops;
  uint32_t done = 0;
  if (count >= kMany && ops.hasError(stream) == 0) {
    const bool isSwapped =
        (ops.getByteOrder(stream) != 0) != (std::endian::native == std::endian::little);
    for (; count - done >= 4; done += 4) {
      const uint32_t word = ops.getWord32(stream);
      const uint32_t inOrder = isSwapped ? __builtin_bswap32(word) : word;
      std::memcpy(bytes + done, &inOrder, 4);
    }
    if (ops.hasError(stream) != 0) return false;
  }
  return readBytes(stream, bytes + done, count - done) == count - done;
}

inline bool writeBytes(RleStream* stream, const void* bytes, uint32_t count) {
  return count == 0 || stream->ops->writeBlock(stream, bytes, count, 1) == 1;
}

// A file inside a stream: it starts where the stream stands when this is made.
class FilePlace {
 public:
  explicit FilePlace(RleStream* stream) : stream_(stream), start_(stream->ops->tell(stream)) {}

  bool isKnown() const { return start_ >= 0; }

  // Goes to `offset` bytes from the start of the file.
  bool goTo(uint64_t offset) const {
    const uint64_t target = uint64_t(start_) + offset;
    return target <= INT32_MAX && stream_->ops->seek(stream_, int32_t(target), 0) == 0;
  }

  // Whether the file has so many bytes, 1 at least. Leaves the stream behind them.
  bool holds(uint64_t bytes) const {
    return goTo(bytes - 1) && stream_->ops->getByte(stream_) >= 0;
  }

  // Where the stream stands, counted from the start of the file; negative when it cannot tell.
  int64_t offset() const {
    const int32_t at = stream_->ops->tell(stream_);
    return at < 0 ? -1 : int64_t{at} - start_;
  }

 private:
  RleStream* stream_;
  int32_t start_;
};

}  // namespace gfx
