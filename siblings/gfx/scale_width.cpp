// Scaling of widths, from `from` columns to `to`.
//
// New column x lies on the source columns [floor(x * from / to), ceil((x + 1) * from / to)).
//
//     from 5 to 3     0 . 1 . 2 . 3 . 4 .        column 0: [0, 2)
//                     |     |     |     |        column 1: [1, 4)
//                     0     1     2              column 2: [3, 5)
//
// Seen from the source, a run [start, end) of black in a bilevel row is the last of these columns
// for the new columns [floor(start * to / from), floor(end * to / from)), and is any of them for
// [floor(start * to / from), ceil(end * to / from)). So bilevel rows are scaled by their run ends.

#include <algorithm>
#include <cstring>

#include "model/bit_words.h"
#include "model/heap_array.h"
#include "scaling.h"
#include "wrapper.h"

namespace gfx {
namespace {

// Where the columns of a source lie in the new row, as a number with fraction bits.
//
// The step from one to the next is rounded up by less than 2^-47, and the place of column x by less
// than x / 2^47 < 1 / from. Exact places are multiples of 1 / from, so they are never rounded past
// an integer.
class ColumnPlaces {
 public:
  static bool canPlace(uint32_t from) {
    return from <= kMaxFrom || setLastError("a row of %u bits is too long to be scaled", from);
  }

  ColumnPlaces() = default;
  ColumnPlaces(uint32_t from, uint32_t to)
      : step_(((uint64_t{to} << kFractionBits) + from - 1) / from),
        roundingUp_(kOne - kOne / from) {}

  uint32_t roundedDown(uint32_t x) const { return uint32_t(x * step_ >> kFractionBits); }
  uint32_t roundedUp(uint32_t x) const {
    return uint32_t((x * step_ + roundingUp_) >> kFractionBits);
  }

 private:
  static constexpr uint32_t kMaxFrom = 1 << 23;
  static constexpr uint32_t kFractionBits = 47;  // of 63 with those of kMaxScaledSize
  static constexpr uint64_t kOne = uint64_t{1} << kFractionBits;

  uint64_t step_ = 0;
  uint64_t roundingUp_ = 0;
};

struct Columns {
  uint32_t first;
  SampleCount count;
};

class WidthScaler final : public Wrapper {
 public:
  WidthScaler(GfxInstance* source, uint32_t width, ScaleMethod method)
      : Wrapper(source), method_(method), to_(width) {}

 private:
  bool prepare(const GfxImageDesc& source, GfxImageDesc& own) override {
    format_ = source.format;
    from_ = source.width;
    own.width = to_;
    if (from_ == to_) return true;
    if (isBilevel(format_) ? !ColumnPlaces::canPlace(from_)
                           : method_ == ScaleMethod::Min && !canAverage(from_, to_))
      return false;
    sourceRow_ = rle::newArray<uint8_t>(rowBytes(format_, from_));
    if (isBilevel(format_))
      places_ = ColumnPlaces(from_, to_);
    else
      columns_ = columnTable(from_, to_);
    return (sourceRow_ && (columns_ || isBilevel(format_))) || setLastError("out of memory");
  }

  static rle::HeapArray<Columns> columnTable(uint64_t from, uint32_t to) {
    auto columns = rle::newArray<Columns>(to);
    if (!columns) return nullptr;
    for (uint32_t x = 0; x < to; ++x) {
      const auto first = uint32_t(x * from / to);
      columns[x] = {first, SampleCount(uint32_t(((x + 1) * from + to - 1) / to) - first)};
    }
    return columns;
  }

  bool row(uint8_t* row) override {
    if (!sourceRow_) return readRow(row);
    if (!readRow(sourceRow_.get())) return false;
    if (isBilevel(format_))
      scaleBits(row);
    else
      withPixelsOf(format_, [&](auto pixels) { scalePixels<decltype(pixels)>(row); });
    return true;
  }

  void scaleBits(uint8_t* row) {
    const size_t bytes = rowBytes(format_, to_);
    const bool invert = !isBlackOne(format_);
    if (invert) invertBits(sourceRow_.get(), rowBytes(format_, from_));
    std::memset(row, 0, bytes);
    scaleRuns(row);
    if (invert) invertBits(row, bytes);
    clearPadding(row, to_);
  }

  // Sets the bits of `row` that runs of 1 bits are scaled to. Runs are found in a slice of the row
  // at a time; the parts of one that is cut meet again.
  void scaleRuns(uint8_t* row) const {
    constexpr uint32_t kSlice = 64 * 64;
    uint16_t ends[kSlice + 1];
    const bool roundUp = method_ == ScaleMethod::Min;
    rle::BitSpans spans(row);
    for (uint32_t x = 0; x < from_; x += kSlice) {
      const uint32_t count =
          rle::findChanges(sourceRow_.get(), x, std::min(x + kSlice, from_), x, ends);
      for (uint32_t i = 0; i < count; i += 2) {
        const uint32_t right = x + ends[i + 1];
        const uint32_t first = places_.roundedDown(x + ends[i]);
        const uint32_t stop = roundUp ? places_.roundedUp(right) : places_.roundedDown(right);
        if (first < stop) spans.set(first, stop);
      }
    }
  }

  template <class Pixels>
  void scalePixels(uint8_t* to) {
    const bool takesLast = method_ == ScaleMethod::Max;
    const uint8_t* const source = sourceRow_.get();
    const Columns* const stop = &columns_[to_];
    for (const Columns* columns = columns_.get(); columns != stop;
         ++columns, to += Pixels::kSamples) {
      const uint8_t* pixel = source + size_t{columns->first} * Pixels::kSamples;
      const uint8_t* const last = pixel + size_t{columns->count - 1} * Pixels::kSamples;
      if (takesLast || pixel == last) {
        std::memcpy(to, last, Pixels::kSamples);
        continue;
      }
      uint32_t sums[Pixels::kSamples] = {};
      for (; pixel <= last; pixel += Pixels::kSamples) Pixels::add(pixel, sums);
      Pixels::average(sums, columns->count, to);
    }
  }

  const ScaleMethod method_;
  const uint32_t to_;
  uint32_t from_ = 0;
  uint32_t format_ = 0;
  rle::HeapArray<uint8_t> sourceRow_;  // null where the width stays
  ColumnPlaces places_;                // of bilevel pixels
  rle::HeapArray<Columns> columns_;    // under each new column; null for bilevel
};

GfxInstance* newWidthScaler(GfxInstance* source, uint32_t width, ScaleMethod method) {
  return isScaledSize(width) ? wrap<WidthScaler>(source, width, method) : nullptr;
}

}  // namespace
}  // namespace gfx

extern "C" {

GfxInstance* gfxInitMaxScaleWidth(GfxInstance* source, uint32_t width) {
  return gfx::newWidthScaler(source, width, gfx::ScaleMethod::Max);
}

GfxInstance* gfxInitMinScaleWidth(GfxInstance* source, uint32_t width) {
  return gfx::newWidthScaler(source, width, gfx::ScaleMethod::Min);
}

}  // extern "C"
