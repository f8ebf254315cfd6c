#include "support/byte_stream.h"

#include <utility>

namespace rle::test {
namespace {

ByteStream& self(RleStream* stream) { return *static_cast<ByteStream*>(stream); }

bool put(ByteStream& s, uint8_t byte) {
  if (s.failed) return false;
  if (s.position >= s.bytes.size()) s.bytes.resize(s.position + 1);
  s.bytes[s.position++] = byte;
  return true;
}

int32_t get(ByteStream& s) {
  if (s.failed || s.position >= s.bytes.size()) {
    s.failed = true;
    return -1;
  }
  return s.bytes[s.position++];
}

uint32_t getWord(ByteStream& s, int size) {
  uint32_t value = 0;
  for (int i = 0; i < size; ++i) {
    const auto byte = uint32_t(get(s)) & 0xFF;
    value = s.littleEndian ? value | byte << (8 * i) : value << 8 | byte;
  }
  return value;
}

int32_t putWord(ByteStream& s, uint32_t value, int size) {
  for (int i = 0; i < size; ++i)
    if (!put(s, uint8_t(value >> 8 * (s.littleEndian ? i : size - 1 - i)))) return -1;
  return 0;
}

const RleStreamOps kOps = {
    .unused0 = nullptr,
    .writeBlock =
        [](RleStream* stream, const void* data, uint32_t size, uint32_t count) {
          ByteStream& s = self(stream);
          if (s.failsNow("writeBlock " + std::to_string(size) + " " + std::to_string(count)))
            return 0U;
          const auto* bytes = static_cast<const uint8_t*>(data);
          for (size_t i = 0; i < size_t(size) * count; ++i)
            if (!put(s, bytes[i])) return 0U;
          return count;
        },
    .getByte =
        [](RleStream* stream) { return self(stream).failsNow("getByte") ? -1 : get(self(stream)); },
    .putByte =
        [](RleStream* stream, int32_t byte) {
          return !self(stream).failsNow("putByte " + std::to_string(byte & 0xFF)) &&
                         put(self(stream), uint8_t(byte))
                     ? 0
                     : -1;
        },
    .getWord16 =
        [](RleStream* stream) {
          return self(stream).failsNow("getWord16") ? 0xFFFFU : getWord(self(stream), 2);
        },
    .putWord16 =
        [](RleStream* stream, uint32_t value) {
          return self(stream).failsNow("putWord16 " + std::to_string(value))
                     ? -1
                     : putWord(self(stream), value, 2);
        },
    .getWord32 =
        [](RleStream* stream) {
          return self(stream).failsNow("getWord32") ? 0xFFFFFFFFU : getWord(self(stream), 4);
        },
    .putWord32 =
        [](RleStream* stream, uint32_t value) {
          return self(stream).failsNow("putWord32 " + std::to_string(value))
                     ? -1
                     : putWord(self(stream), value, 4);
        },
    .seek =
        [](RleStream* stream, int32_t offset, int32_t origin) {
          ByteStream& s = self(stream);
          if (s.failsNow("seek " + std::to_string(offset) + " " + std::to_string(origin)))
            return -1;
          const int64_t target = offset + (origin == 0 ? 0 : int64_t(s.position));
          if (target < 0) return -1;
          s.position = size_t(target);
          return 0;
        },
    .tell =
        [](RleStream* stream) {
          return self(stream).failsNow("tell") ? -1 : int32_t(self(stream).position);
        },
    .unused10 = nullptr,
    .unused11 = nullptr,
    .hasError =
        [](RleStream* stream) {
          if (self(stream).recording) self(stream).calls.emplace_back("hasError");
          return self(stream).failed ? 1 : 0;
        },
    .unused13 = nullptr,
    .destroy = [](RleStream*) { return 0; },
    .setByteOrder =
        [](RleStream* stream, int32_t order) {
          if (self(stream).recording)
            self(stream).calls.emplace_back("setByteOrder " + std::to_string(order));
          self(stream).littleEndian = order != 0;
          return 0;
        },
    .getByteOrder = [](RleStream* stream) { return self(stream).littleEndian ? 1 : 0; },
};

}  // namespace

ByteStream::ByteStream(std::vector<uint8_t> content) : bytes(std::move(content)) { ops = &kOps; }

bool ByteStream::failsNow(const std::string& call) {
  if (recording) calls.push_back(call);
  if (operations++ != failAt) return false;
  failed = true;
  return true;
}

}  // namespace rle::test
