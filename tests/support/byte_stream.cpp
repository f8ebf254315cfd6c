#include "support/byte_stream.h"

#include <algorithm>
#include <utility>

namespace rle::test {
namespace {

ByteStream& self(RleStream* stream) { return *static_cast<ByteStream*>(stream); }

// Counts an operation; true when it is the one that has to fail.
bool failsNow(ByteStream& stream) {
  const bool fails = stream.operations++ == stream.failAt;
  stream.failed |= fails;
  return fails;
}

// A number of so many bytes; those that cannot be had are 0xFF.
uint32_t get(ByteStream& stream, int size) {
  failsNow(stream);
  uint32_t value = 0;
  for (int i = 0; i < size; ++i) {
    stream.failed |= stream.position >= stream.bytes.size();
    const uint32_t byte = stream.failed ? 0xFF : stream.bytes[stream.position++];
    value = stream.littleEndian ? value | byte << 8 * i : value << 8 | byte;
  }
  return value;
}

bool put(ByteStream& stream, const uint8_t* bytes, size_t size) {
  failsNow(stream);
  if (stream.failed || size == 0) return !stream.failed;  // nothing makes no stream longer
  stream.bytes.resize(std::max(stream.bytes.size(), stream.position + size));
  std::copy_n(bytes, size, stream.bytes.begin() + std::ptrdiff_t(stream.position));
  stream.position += size;
  return true;
}

int32_t put(ByteStream& stream, uint32_t value, int size) {
  uint8_t bytes[4];
  for (int i = 0; i < size; ++i)
    bytes[stream.littleEndian ? i : size - 1 - i] = uint8_t(value >> 8 * i);
  return put(stream, bytes, size_t(size)) ? 0 : -1;
}

const RleStreamOps kOps = {
    .unused0 = nullptr,
    .writeBlock =
        [](RleStream* stream, const void* block, uint32_t size, uint32_t count) {
          const auto* const bytes = static_cast<const uint8_t*>(block);
          return put(self(stream), bytes, size_t{size} * count) ? count : 0;
        },
    .getByte =
        [](RleStream* stream) {
          const auto byte = int32_t(get(self(stream), 1));
          return self(stream).failed ? -1 : byte;
        },
    .putByte = [](RleStream* stream, int32_t n) { return put(self(stream), uint32_t(n), 1); },
    .getWord16 = [](RleStream* stream) { return get(self(stream), 2); },
    .putWord16 = [](RleStream* stream, uint32_t n) { return put(self(stream), n, 2); },
    .getWord32 = [](RleStream* stream) { return get(self(stream), 4); },
    .putWord32 = [](RleStream* stream, uint32_t n) { return put(self(stream), n, 4); },
    .seek =
        [](RleStream* stream, int32_t offset, int32_t origin) {
          const int64_t target = offset + (origin == 0 ? 0 : int64_t(self(stream).position));
          if (failsNow(self(stream)) || target < 0) return -1;
          self(stream).position = size_t(target);
          return 0;
        },
    .tell =
        [](RleStream* stream) {
          return failsNow(self(stream)) ? -1 : int32_t(self(stream).position);
        },
    .unused10 = nullptr,
    .unused11 = nullptr,
    .hasError = [](RleStream* stream) { return self(stream).failed ? 1 : 0; },
    .unused13 = nullptr,
    .destroy = [](RleStream*) { return 0; },
    .setByteOrder =
        [](RleStream* stream, int32_t order) {
          self(stream).littleEndian = order != 0;
          return 0;
        },
    .getByteOrder = [](RleStream* stream) { return self(stream).littleEndian ? 1 : 0; },
};

}  // namespace

ByteStream::ByteStream(std::vector<uint8_t> content) : bytes(std::move(content)) { ops = &kOps; }

}  // namespace rle::test
