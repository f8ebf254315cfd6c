// Single values through a stream, each with the question whether it went well.

#pragma once

#include <cstdint>

#include "rle.h"

namespace rle {

inline bool healthy(RleStream& stream) { return stream.ops->hasError(&stream) == 0; }

// What is read is of no use when the answer is false.

inline bool read16(RleStream& stream, uint16_t& value) {
  value = uint16_t(stream.ops->getWord16(&stream));
  return healthy(stream);
}

inline bool read32(RleStream& stream, uint32_t& value) {
  value = stream.ops->getWord32(&stream);
  return healthy(stream);
}

inline bool write16(RleStream& stream, uint16_t value) {
  stream.ops->putWord16(&stream, value);
  return healthy(stream);
}

inline bool write32(RleStream& stream, uint32_t value) {
  stream.ops->putWord32(&stream, value);
  return healthy(stream);
}

}  // namespace rle
