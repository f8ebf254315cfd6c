// Scaling of heights, from `from` rows to `to`.
//
// New row y lies on the source rows [floor(y * from / to), floor((y + 1) * from / to)), or on the
// first of them where these are none. So every source row lies under one new row when the image
// shrinks, and under one or more when it grows: rows come in order, and none is needed again once
// the next one has been read.

#include <algorithm>
#include <cstring>

#include "model/heap_array.h"
#include "scaling.h"
#include "wrapper.h"

namespace gfx {
namespace {

class HeightScaler final : public Wrapper {
 public:
  HeightScaler(GfxInstance* source, uint32_t height, ScaleMethod method)
      : Wrapper(source), method_(method), to_(height) {}

 private:
  bool prepare(const GfxImageDesc& source, GfxImageDesc& own) override {
    format_ = source.format;
    width_ = source.width;
    from_ = source.height;
    own.height = to_;
    if (from_ == to_) return true;
    const size_t bytes = rowBytes(format_, width_);
    const bool combines = method_ == ScaleMethod::Min && from_ > to_;
    const bool averages = combines && !isBilevel(format_);
    if (averages && !canAverage(from_, to_)) return false;
    held_ = rle::newArray<uint8_t>(bytes);
    if (combines) sourceRow_ = rle::newArray<uint8_t>(bytes);
    if (averages) sums_ = rle::newArray<uint32_t>(bytes);
    const bool ready = held_ && (!combines || (sourceRow_ && (sums_ || isBilevel(format_))));
    return ready || setLastError("out of memory");
  }

  bool row(uint8_t* row) override {
    if (!held_) return readRow(row);
    const uint64_t y = to_ - rowsLeft();
    const auto first = uint32_t(y * from_ / to_);
    const auto stop = uint32_t((y + 1) * from_ / to_);
    if (rowsRead_ <= first && !holdRows(first, stop)) return false;
    std::memcpy(row, held_.get(), rowBytes(format_, width_));
    return true;
  }

  // Holds the first of these rows, or what they make together.
  bool holdRows(uint32_t first, uint32_t stop) {
    do {
      if (!readNext(held_.get())) return false;
    } while (rowsRead_ <= first);
    if (method_ == ScaleMethod::Max || stop <= first + 1) return true;
    return isBilevel(format_) ? uniteBlack(stop) : averageRows(SampleCount(stop - first), stop);
  }

  bool readNext(uint8_t* row) {
    if (!readRow(row)) return false;
    ++rowsRead_;
    return true;
  }

  bool uniteBlack(uint32_t stop) {
    const size_t bytes = rowBytes(format_, width_);
    uint8_t* const held = held_.get();
    while (rowsRead_ < stop) {
      if (!readNext(sourceRow_.get())) return false;
      const uint8_t* const row = sourceRow_.get();
      if (isBlackOne(format_))
        for (size_t i = 0; i < bytes; ++i) held[i] |= row[i];
      else
        for (size_t i = 0; i < bytes; ++i) held[i] &= row[i];
    }
    return true;
  }

  bool averageRows(SampleCount count, uint32_t stop) {
    std::fill_n(sums_.get(), rowBytes(format_, width_), 0);
    addToSums(held_.get());
    while (rowsRead_ < stop) {
      if (!readNext(sourceRow_.get())) return false;
      addToSums(sourceRow_.get());
    }
    forEachPixel([&](auto pixels, size_t i) { pixels.average(&sums_[i], count, &held_[i]); });
    return true;
  }

  void addToSums(const uint8_t* row) {
    uint32_t* const sums = sums_.get();
    forEachPixel([&](auto pixels, size_t i) { pixels.add(row + i, sums + i); });
  }

  // Calls work(PixelsOf<..>, offset) for the pixels of a row. Samples do not depend on each other
  // without alpha, and each is like a pixel then.
  template <class Work>
  void forEachPixel(Work work) {
    const uint32_t format = hasAlpha(format_) ? format_ : kGrey;
    const size_t bytes = rowBytes(format_, width_);
    withPixelsOf(format, [&](auto pixels) {
      for (size_t i = 0; i < bytes; i += pixels.kSamples) work(pixels, i);
    });
  }

  const ScaleMethod method_;
  const uint32_t to_;
  uint32_t from_ = 0;
  uint32_t width_ = 0;
  uint32_t format_ = 0;
  uint32_t rowsRead_ = 0;
  rle::HeapArray<uint8_t> held_;       // the last row delivered; null where the height stays
  rle::HeapArray<uint8_t> sourceRow_;  // rows that are combined with it
  rle::HeapArray<uint32_t> sums_;      // of the samples; null for bilevel
};

GfxInstance* newHeightScaler(GfxInstance* source, uint32_t height, ScaleMethod method) {
  return isScaledSize(height) ? wrap<HeightScaler>(source, height, method) : nullptr;
}

}  // namespace
}  // namespace gfx

extern "C" {

GfxInstance* gfxInitMaxScaleHeight(GfxInstance* source, uint32_t height) {
  return gfx::newHeightScaler(source, height, gfx::ScaleMethod::Max);
}

GfxInstance* gfxInitMinScaleHeight(GfxInstance* source, uint32_t height) {
  return gfx::newHeightScaler(source, height, gfx::ScaleMethod::Min);
}

}  // extern "C"
