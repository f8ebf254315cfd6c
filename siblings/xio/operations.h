// What streams of every kind have in common: a window of their bytes that lies in memory.
//
//     valid bytes of the window   |===============|
//                                 ^      ^        ^             ^
//                               first    at    readEnd       writeEnd
//
// `at` is the next byte. Reading from it is allowed below `readEnd`, writing below `writeEnd`, so
// the operations called once per byte are a comparison, a move and an increment. Everything else -
// the end of the data, growth, reading and writing the file - happens when `at` reaches its limit.
// Writing moves `at` beyond `readEnd`; the valid bytes then end at `at`, and settle() records it
// before `at` goes elsewhere. A stream that must not be written keeps `writeEnd` at `first`.
//
// A kind of stream derives from Window and has
//   bool refill()                    makes a byte readable at `at`; false when there is none
//   bool makeRoom(uint64_t bytes)    makes one byte or more writable at `at`, `bytes` if it can
//   int64_t position() const
//   bool moveTo(int64_t position)    position >= 0
//   bool close()                     everything written has arrived

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "rle.h"

namespace xio {

struct Window : RleStream {
  uint8_t* at = nullptr;
  uint8_t* readEnd = nullptr;
  uint8_t* writeEnd = nullptr;
  bool failed = false;       // a read or a write failed
  bool writeFailed = false;  // bytes were lost: nothing may be written after them
  bool littleEndian = false;

  void settle() { readEnd = std::max(readEnd, at); }
};

template <class Stream>
struct Operations {
  static Stream& self(RleStream* stream) { return *static_cast<Stream*>(stream); }

  static bool failWrite(Stream& s) {
    s.failed = s.writeFailed = true;
    return false;
  }

  static bool hasRoom(Stream& s, uint64_t bytes) {
    return s.at < s.writeEnd || (!s.writeFailed && s.makeRoom(bytes)) || failWrite(s);
  }

  static int32_t getByte(RleStream* stream) {
    Stream& s = self(stream);
    if (s.at < s.readEnd || s.refill()) [[likely]]
      return *s.at++;
    s.failed = true;
    return -1;
  }

  static int32_t putByte(RleStream* stream, int32_t byte) {
    Stream& s = self(stream);
    if (s.at < s.writeEnd || hasRoom(s, 1)) [[likely]]
      return *s.at++ = uint8_t(byte);
    return -1;
  }

  template <uint32_t Size>
  static uint32_t getWord(RleStream* stream) {
    Stream& s = self(stream);
    uint8_t bytes[Size];
    if (s.readEnd - s.at >= int64_t(Size)) [[likely]] {
      std::memcpy(bytes, s.at, Size);
      s.at += Size;
    } else {
      for (uint8_t& byte : bytes) {
        const int32_t value = getByte(stream);
        if (value < 0) return 0;
        byte = uint8_t(value);
      }
    }
    uint32_t word = 0;
    for (uint32_t i = 0; i < Size; ++i) word = word << 8 | bytes[s.littleEndian ? Size - 1 - i : i];
    return word;
  }

  template <uint32_t Size>
  static int32_t putWord(RleStream* stream, uint32_t word) {
    Stream& s = self(stream);
    uint8_t bytes[Size];
    for (uint32_t i = 0; i < Size; ++i)
      bytes[i] = uint8_t(word >> 8 * (s.littleEndian ? i : Size - 1 - i));
    if (s.writeEnd - s.at >= int64_t(Size)) [[likely]] {
      std::memcpy(s.at, bytes, Size);
      s.at += Size;
      return 0;
    }
    return writeBlock(stream, bytes, Size, 1) == 1 ? 0 : -1;
  }

  static uint32_t writeBlock(RleStream* stream, const void* data, uint32_t size, uint32_t count) {
    Stream& s = self(stream);
    const auto* bytes = static_cast<const uint8_t*>(data);
    const uint64_t total = uint64_t(size) * count;
    uint64_t done = 0;
    while (done < total && hasRoom(s, total - done)) {
      const auto part = std::min(total - done, uint64_t(s.writeEnd - s.at));
      std::memcpy(s.at, bytes + done, part);
      s.at += part;
      done += part;
    }
    return done == total ? count : uint32_t(done / size);
  }

  static int32_t seek(RleStream* stream, int32_t offset, int32_t origin) {
    Stream& s = self(stream);
    if (origin != 0 && origin != 1) return -1;
    const int64_t target = offset + (origin == 1 ? s.position() : 0);
    return target >= 0 && s.moveTo(target) ? 0 : -1;
  }

  static int32_t tell(RleStream* stream) {
    const int64_t position = self(stream).position();
    return position <= INT32_MAX ? int32_t(position) : -1;
  }

  static int32_t hasError(RleStream* stream) { return self(stream).failed ? 1 : 0; }

  static int32_t setByteOrder(RleStream* stream, int32_t order) {
    self(stream).littleEndian = order != 0;
    return 0;
  }

  static int32_t getByteOrder(RleStream* stream) { return self(stream).littleEndian ? 1 : 0; }

  static int32_t destroy(RleStream* stream) {
    Stream& s = self(stream);
    const bool complete = s.close() && !s.writeFailed;
    delete &s;
    return complete ? 0 : -1;
  }

  static constexpr RleStreamOps kTable = {
      .unused0 = nullptr,
      .writeBlock = writeBlock,
      .getByte = getByte,
      .putByte = putByte,
      .getWord16 = getWord<2>,
      .putWord16 = putWord<2>,
      .getWord32 = getWord<4>,
      .putWord32 = putWord<4>,
      .seek = seek,
      .tell = tell,
      .unused10 = nullptr,
      .unused11 = nullptr,
      .hasError = hasError,
      .unused13 = nullptr,
      .destroy = destroy,
      .setByteOrder = setByteOrder,
      .getByteOrder = getByteOrder,
  };
};

}  // namespace xio
