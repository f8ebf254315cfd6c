// Streams over memory: the caller's bytes, or a block of their own that doubles when it is full.

#include <cstdlib>
#include <new>

#include "operations.h"
#include "xio.h"

namespace xio {
namespace {

constexpr uint64_t kFirstCapacity = 256;
constexpr uint64_t kMaxCapacity = UINT32_MAX;  // sizes are told in 32 bits

struct MemoryStream : Window {
  uint8_t* block = nullptr;
  uint8_t* blockEnd = nullptr;
  bool writable = false;  // then the block is the stream's own
  // How far the position lies behind the last byte. While it is not 0, `at` waits at the end of
  // the data and both limits stand there too.
  uint64_t beyond = 0;

  ~MemoryStream() {
    if (writable) std::free(block);
  }

  uint64_t size() {
    settle();
    return uint64_t(readEnd - block);
  }

  bool refill() { return false; }  // everything there is lies in the window

  bool makeRoom(uint64_t bytes) {
    if (!writable) return false;
    const uint64_t start = uint64_t(position());
    if (start > kMaxCapacity || bytes > kMaxCapacity - start) return false;
    if (!reserve(start + bytes)) return false;
    if (beyond != 0) std::memset(at, 0, beyond);
    at += beyond;
    beyond = 0;
    writeEnd = blockEnd;
    return true;
  }

  bool reserve(uint64_t needed) {
    const auto capacity = uint64_t(blockEnd - block);
    if (needed <= capacity) return true;
    const uint64_t grown = std::clamp(std::max(needed, 2 * capacity), kFirstCapacity, kMaxCapacity);
    auto* moved = static_cast<uint8_t*>(std::realloc(block, grown));
    if (moved == nullptr) return false;
    at = moved + (at - block);
    readEnd = moved + (readEnd - block);
    block = moved;
    blockEnd = moved + grown;
    return true;
  }

  int64_t position() const { return at - block + int64_t(beyond); }

  bool moveTo(int64_t target) {
    const auto end = int64_t(size());
    beyond = uint64_t(std::max<int64_t>(target - end, 0));
    at = block + std::min(target, end);
    writeEnd = beyond != 0 ? at : writable ? blockEnd : block;
    return true;
  }

  bool close() { return true; }
};

constexpr const RleStreamOps* kMemoryTable = &Operations<MemoryStream>::kTable;

}  // namespace
}  // namespace xio

extern "C" RleStream* xioCreateMemoryStream(void* buffer, uint32_t size, int32_t mode) {
  using namespace xio;
  if (mode != XIO_READ && mode != XIO_WRITE && mode != XIO_UPDATE) return nullptr;
  if (mode == XIO_WRITE) size = 0;
  if (buffer == nullptr && size != 0) return nullptr;

  auto* stream = new (std::nothrow) MemoryStream;
  if (stream == nullptr) return nullptr;
  stream->ops = kMemoryTable;
  stream->writable = mode != XIO_READ;
  if (!stream->writable) {
    stream->block = stream->at = stream->writeEnd = static_cast<uint8_t*>(buffer);
    stream->readEnd = stream->blockEnd = stream->block + size;
  } else if (size != 0) {
    if (!stream->reserve(size)) {
      delete stream;
      return nullptr;
    }
    std::memcpy(stream->block, buffer, size);
    stream->readEnd = stream->block + size;
    stream->writeEnd = stream->blockEnd;
  }
  return stream;
}

extern "C" const void* xioMemoryStreamBytes(RleStream* stream, uint32_t* size) {
  using namespace xio;
  *size = 0;
  if (stream->ops != kMemoryTable) return nullptr;
  auto& memory = *static_cast<MemoryStream*>(stream);
  *size = uint32_t(memory.size());
  return *size != 0 ? memory.block : nullptr;
}
