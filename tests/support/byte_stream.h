// A stream over a vector of bytes that counts its operations and can be told to fail at any of
// them.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "rle.h"

namespace rle::test {

class ByteStream : public RleStream {
 public:
  explicit ByteStream(std::vector<uint8_t> content = {});
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;

  std::vector<uint8_t> bytes;
  size_t position = 0;
  bool failed = false;
  bool littleEndian = false;

  // The operation with this number, from 0, fails and so do all reads and writes after it.
  int64_t failAt = -1;
  int64_t operations = 0;
};

}  // namespace rle::test
