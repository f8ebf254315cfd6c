// What every target needs: small values taken from the bytes of a case, images made of them, and
// the check that a result is what it has to be.

#pragma once

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "model/owners.h"
#include "rle.h"
#include "support/pixels.h"
#include "xio.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace rle::fuzz {

using rle::OwnedStream;  // the targets are outside of rle

using test::Pixels;

// Ends the program, and so makes a find, where a result is wrong.
inline void expect(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: wrong result\n", file, line);
  std::abort();
}

// The bytes of a case, taken from the front. When they are used up all values are the smallest.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : left_(data, size) {}

  bool empty() const { return left_.empty(); }

  uint8_t byte() {
    if (left_.empty()) return 0;
    const uint8_t value = left_.front();
    left_ = left_.subspan(1);
    return value;
  }
  uint32_t word16() {
    const uint32_t high = byte();
    return high << 8 | byte();
  }
  uint32_t word32() {
    const uint32_t high = word16();
    return high << 16 | word16();
  }
  uint64_t word64() {
    const uint64_t high = word32();
    return high << 32 | word32();
  }
  bool flag() { return (byte() & 1) != 0; }

  // Both ends included; at most 65536 values.
  int range(int low, int high) {
    const auto values = uint32_t(high - low) + 1;
    return low + int((values <= 256 ? byte() : word16()) % values);
  }

  // Mostly within `near` of 0 on either side, else anything.
  int32_t anyInt(int near) {
    constexpr int32_t kExtremes[] = {INT_MIN, INT_MIN + 1, -65536,  -32768, 32767,
                                     65535,   65536,       1 << 30, INT_MAX};
    const uint8_t kind = byte();
    if (kind < 224) return range(-near, near);
    if (kind < 240) return int16_t(word16());
    if (kind < 248) return int32_t(word32());
    return kExtremes[kind % std::size(kExtremes)];
  }

  // Mostly multiples of 1/64 within `near` of 0, else any double.
  double anyDouble(int near) {
    const uint8_t kind = byte();
    if (kind < 240) return range(-near, near) + (kind % 64) / 64.0;
    return std::bit_cast<double>(word64());
  }

  // An argument that is documented as 16 bits, with anything in its upper half.
  int32_t upper16(int value) { return int32_t(uint32_t(value) | uint32_t(byte()) << 24); }

  // Everything that is left.
  std::span<const uint8_t> rest() { return std::exchange(left_, {}); }

 private:
  std::span<const uint8_t> left_;
};

// Rows that are blank, black, like the one above, bit by bit or run by run.
inline Pixels pixelsFrom(Input& input, int maxWidth, int maxHeight) {
  const int width = input.range(0, maxWidth);  // before the height with every compiler
  Pixels pixels(width, input.range(0, maxHeight));
  for (int y = 0; y < pixels.height && !input.empty(); ++y) {
    const uint8_t kind = input.byte();
    uint8_t bits = 0;
    bool black = false;
    switch (kind % 5) {
      case 1:
        for (int x = 0; x < pixels.width; ++x) pixels.put(x, y, true);
        break;
      case 2:
        for (int x = 0; x < pixels.width; ++x)
          pixels.put(x, y, pixels.get(x + kind / 5 % 5 - 2, y - 1));
        break;
      case 3:
        for (int x = 0; x < pixels.width; ++x, bits = uint8_t(bits << 1)) {
          if (x % 8 == 0) bits = input.byte();
          pixels.put(x, y, (bits & 0x80) != 0);
        }
        break;
      case 4:
        for (int x = 0; x < pixels.width && !input.empty(); black = !black)
          for (int end = x + input.byte(); x < end; ++x) pixels.put(x, y, black);
        break;
      default:
        break;
    }
  }
  return pixels;
}

// Runs as the bytes have them, mostly not a valid row.
inline void appendAnyRuns(Input& input, RleLine& line) {
  for (int n = input.range(0, 40); n > 0 && !input.empty(); --n) {
    line.runs = rleReAllocRuns(line.runs, line.count + 1U);
    const auto start = uint16_t(input.flag() ? input.byte() : input.word16());
    line.runs[line.count++] = {start, uint16_t(start + int8_t(input.byte()))};
  }
}

inline bool isValid(const OwnedRect& rect) {
  if (!rect) return false;
  if (rect->width != 0) return rleCheckRect(rect.get()) == 1;
  for (int y = 0; y < rect->height; ++y)  // no width is good enough for the check
    if (rect->rows[y] == nullptr || rect->rows[y]->count != 0) return false;
  return true;
}

inline bool sameRuns(const RleLine& a, const RleLine& b) {
  return std::equal(a.runs, a.runs + a.count, b.runs, b.runs + b.count,
                    [](RleRun r, RleRun s) { return r.start == s.start && r.end == s.end; });
}

inline bool sameImage(const RleRect& a, const RleRect& b) {
  if (a.width != b.width || a.height != b.height) return false;
  for (int y = 0; y < a.height; ++y)
    if (!sameRuns(*a.rows[y], *b.rows[y])) return false;
  return true;
}

// A stream from its start; what is left in one is lost.
inline OwnedStream reading(std::span<const uint8_t> bytes) {
  return OwnedStream(
      xioCreateMemoryStream(const_cast<uint8_t*>(bytes.data()), uint32_t(bytes.size()), XIO_READ));
}

inline OwnedStream writing() { return OwnedStream(xioCreateMemoryStream(nullptr, 0, XIO_WRITE)); }

inline std::vector<uint8_t> bytesOf(const OwnedStream& stream) {
  uint32_t size;
  const auto* bytes = static_cast<const uint8_t*>(xioMemoryStreamBytes(stream.get(), &size));
  return bytes == nullptr ? std::vector<uint8_t>() : std::vector<uint8_t>(bytes, bytes + size);
}

// The same bits in the other order of every byte.
inline std::vector<uint8_t> bitReversed(std::span<const uint8_t> bytes) {
  std::vector<uint8_t> reversed(bytes.size());
  for (size_t bit = 0; bit < 8 * bytes.size(); ++bit)
    if ((bytes[bit / 8] >> bit % 8 & 1) != 0) reversed[bit / 8] |= uint8_t(0x80 >> bit % 8);
  return reversed;
}

}  // namespace rle::fuzz
