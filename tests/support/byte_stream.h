// A stream over a vector of bytes that counts its operations, keeps a list of them and can be told
// to fail at any of them.

#pragma once

#include <cstdint>
#include <string>
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
  // The calls made, as "getByte", "seek 8 0" and so on, while `recording`.
  bool recording = false;
  std::vector<std::string> calls;

  // Counts an operation; true when it is the one that has to fail.
  bool failsNow(const std::string& call);
};

}  // namespace rle::test
