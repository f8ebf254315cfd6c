// Turns by quarters, counter-clockwise.
//
// All rows but those of no turn at all depend on the whole source, which is held in bands of 64
// rows, each allocated when its rows come. A half turn delivers the rows from the last to the
// first. Quarter turns keep each band as columns, so that a row of the turned image is a piece of
// every band, one behind the other:
//
//     source rows  0 1 2 3 4 5     turned by 90:   row 0 is the last column:   0 1 2 3 | 4 5
//     in bands    |0 1 2 3|4 5|    turned by 270:  row 0 is the first column:  5 4 3 2 | 1 0
//
// By 270 the bands are |0 1|2 3 4 5|, with their rows from below, and come in reverse: only the
// last piece of a row is ever a part of 64 pixels, and bilevel pieces start on bytes.

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "model/bit_words.h"
#include "model/heap_array.h"
#include "wrapper.h"

namespace gfx {
namespace {

constexpr uint32_t kWordPixels = rle::kWordPixels;
constexpr uint32_t kWordBytes = rle::kWordBytes;
constexpr uint32_t kBandRows = kWordPixels;

// Rows that become columns lie an odd number of cache lines apart: going down a column of them, no
// two lines compete for a place in the cache.
size_t strideFor(size_t bytes) { return ((bytes + 63) / 64 | 1) * 64; }

// Swaps rows and columns of 64 x 64 bits, the highest bit of a word being column 0: the halves that
// lie across the diagonal first, then those of each quarter, and so on.
void transpose(uint64_t (&words)[kWordPixels]) {
  uint64_t mask = 0xFFFFFFFF;  // the right halves
  for (uint32_t half = 32; half != 0; half /= 2, mask ^= mask << half)
    for (uint32_t upper = 0; upper < kWordPixels; upper = (upper + half + 1) & ~half) {
      const uint64_t swapped = (words[upper] ^ words[upper + half] >> half) & mask;
      words[upper] ^= swapped;
      words[upper + half] ^= swapped << half;
    }
}

// `count` rows of an image, the first at `first`, the others each `step` bytes on.
struct RowBlock {
  const uint8_t* first;
  ptrdiff_t step;
  uint32_t count;

  const uint8_t* row(uint32_t y) const { return first + y * step; }
};

// Columns become words; those of fewer than 64 rows end with zeros. Whole words of the rows are
// read.
void bitColumns(RowBlock rows, uint32_t width, uint8_t* columns) {
  for (uint32_t x = 0; x < width; x += kWordPixels) {
    uint64_t words[kWordPixels] = {};
    for (uint32_t y = 0; y < rows.count; ++y)
      words[y] = rle::loadPixels(rows.row(y) + x / 8, kWordBytes);
    transpose(words);
    const uint32_t count = std::min(kWordPixels, width - x);
    for (uint32_t i = 0; i < count; ++i, columns += kWordBytes) rle::storePixels(columns, words[i]);
  }
}

template <uint32_t kSize>
void pixelColumns(RowBlock rows, uint32_t width, uint8_t* columns) {
  for (uint32_t x = 0; x < width; ++x, rows.first += kSize)
    for (uint32_t y = 0; y < rows.count; ++y, columns += kSize)
      std::memcpy(columns, rows.row(y), kSize);
}

template <uint32_t kSize>
void mirrorPixels(const uint8_t* row, uint32_t width, uint8_t* mirrored) {
  for (size_t x = width; x-- > 0; mirrored += kSize) std::memcpy(mirrored, row + x * kSize, kSize);
}

void mirrorBits(const uint8_t* row, uint32_t width, uint8_t* mirrored) {
  const size_t bytes = rowBytes(kBilevel, width);
  std::reverse_copy(row, row + bytes, mirrored);
  reverseBits(mirrored, bytes);
  const uint32_t padding = uint32_t(bytes * 8 - width);  // which came to the front
  if (padding == 0) return;
  for (size_t i = 0; i + 1 < bytes; ++i)
    mirrored[i] = uint8_t(mirrored[i] << padding | mirrored[i + 1] >> (8 - padding));
  mirrored[bytes - 1] = uint8_t(mirrored[bytes - 1] << padding);
}

// Calls `work` with the bytes of a pixel as a constant, 0 for bilevel.
template <class Work>
void withPixelSize(uint32_t format, Work work) {
  switch (bitsPerPixel(format) / 8) {
    case 0:
      return work(std::integral_constant<uint32_t, 0>());
    case 1:
      return work(std::integral_constant<uint32_t, 1>());
    case 2:
      return work(std::integral_constant<uint32_t, 2>());
    case 3:
      return work(std::integral_constant<uint32_t, 3>());
    default:
      return work(std::integral_constant<uint32_t, 4>());
  }
}

// Blocks of bytes, added one by one.
class Bands {
 public:
  ~Bands() {
    for (size_t i = 0; i < count_; ++i) std::free(bands_[i]);
  }

  // Room for so many. The list is no larger than a column of the image.
  bool reserve(size_t most) {
    bands_ = rle::zeroedArray<uint8_t*>(most);
    return bands_ != nullptr;
  }

  // The new block; null without memory.
  uint8_t* add(size_t bytes) {
    auto* const band = static_cast<uint8_t*>(std::malloc(bytes));
    if (band) bands_[count_++] = band;
    return band;
  }

  size_t count() const { return count_; }
  const uint8_t* operator[](size_t i) const { return bands_[i]; }

 private:
  rle::HeapArray<uint8_t*> bands_;
  size_t count_ = 0;
};

class Rotator final : public Wrapper {
 public:
  Rotator(GfxInstance* source, int32_t degrees) : Wrapper(source), degrees_(degrees) {}

 private:
  bool prepare(const GfxImageDesc& source, GfxImageDesc& own) override {
    source_ = source;
    if (degrees_ == 0) return true;
    if (isQuarter()) std::swap(own.width, own.height);
    return bands_.reserve((size_t{source.height} + kBandRows - 1) / kBandRows) ||
           setLastError("out of memory");
  }

  bool row(uint8_t* row) override {
    if (degrees_ == 0) return readRow(row);
    if (bands_.count() == 0 && !holdImage()) return false;
    // The last row, or column, of the source comes first, but for 270 degrees.
    const uint32_t last = rowsLeft() - 1;
    if (degrees_ == 180)
      deliverRow(last, row);
    else
      deliverColumn(degrees_ == 90 ? last : source_.width - 1 - last, row);
    return true;
  }

  bool isQuarter() const { return degrees_ == 90 || degrees_ == 270; }

  bool holdImage() {
    const size_t bytes = rowBytes(source_.format, source_.width);
    const size_t stride = isQuarter() ? strideFor(bytes) : bytes;
    rle::HeapArray<uint8_t> rows;  // of a band that is going to be turned
    if (isQuarter()) rows = rle::newArray<uint8_t>(kBandRows * stride);
    if (isQuarter() && !rows) return setLastError("out of memory");
    uint32_t count = std::min(source_.height, kBandRows);
    if (degrees_ == 270) count = (source_.height - 1) % kBandRows + 1;
    for (uint32_t left = source_.height; left != 0;
         left -= count, count = std::min(left, kBandRows)) {
      uint8_t* const band =
          bands_.add(isQuarter() ? columnBytes(count) * source_.width : bytes * count);
      if (!band) return setLastError("out of memory");
      uint8_t* const top = isQuarter() ? rows.get() : band;
      for (uint32_t y = 0; y < count; ++y)
        if (!readRow(top + y * stride)) return false;
      if (isQuarter()) storeColumns(top, ptrdiff_t(stride), count, band);
    }
    return true;
  }

  // The bytes that a column of `count` rows takes in a band.
  size_t columnBytes(uint32_t count) const {
    return isBilevel(source_.format) ? kWordBytes : rowBytes(source_.format, count);
  }

  void storeColumns(const uint8_t* top, ptrdiff_t stride, uint32_t count, uint8_t* band) const {
    RowBlock rows{top, stride, count};
    if (degrees_ == 270) rows = {rows.row(count - 1), -stride, count};
    withPixelSize(source_.format, [&](auto size) {
      if constexpr (size == 0)
        bitColumns(rows, source_.width, band);
      else
        pixelColumns<size>(rows, source_.width, band);
    });
  }

  void deliverColumn(uint32_t x, uint8_t* row) const {
    const size_t last = bands_.count() - 1;
    uint32_t left = source_.height;
    for (size_t i = 0; i <= last; ++i) {
      const uint32_t count = std::min(left, kBandRows);
      const size_t bytes = rowBytes(source_.format, count);
      const uint8_t* const band = bands_[degrees_ == 90 ? i : last - i];
      std::memcpy(row, band + columnBytes(count) * x, bytes);
      row += bytes;
      left -= count;
    }
  }

  void deliverRow(uint32_t y, uint8_t* row) const {
    const size_t bytes = rowBytes(source_.format, source_.width);
    const uint8_t* const held = bands_[y / kBandRows] + bytes * (y % kBandRows);
    withPixelSize(source_.format, [&](auto size) {
      if constexpr (size == 0)
        mirrorBits(held, source_.width, row);
      else
        mirrorPixels<size>(held, source_.width, row);
    });
  }

  const int32_t degrees_;
  GfxImageDesc source_{};
  Bands bands_;
};

}  // namespace
}  // namespace gfx

extern "C" GfxInstance* gfxInitRotate(GfxInstance* source, int32_t degrees) {
  if (degrees != 0 && degrees != 90 && degrees != 180 && degrees != 270) {
    gfx::setLastError("an image is not turned by %d degrees", degrees);
    return nullptr;
  }
  return gfx::wrap<gfx::Rotator>(source, degrees);
}
