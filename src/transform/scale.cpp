// Scaling by fixed-point factors: 15 fraction bits, 32768 is 1.0.
//
// Point sampling and nearest neighbour pick source rows and scale the two ends of every run. The
// ends of a row are increasing numbers, and so are the scaled ends as long as none coincide; runs
// that shrink to nothing are dropped and runs that come to touch are joined, so that every row made
// here is valid for its width. Products have 32 bits and coordinates 16; what does not fit loses
// its high bits, and rows stay valid then too.
//
// An image takes its new rows only when all of them exist.

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <span>
#include <utility>

#include "model/heap_array.h"
#include "model/owners.h"
#include "rle.h"
#include "transform/joining_writer.h"

namespace rle {
namespace {

constexpr uint32_t kFactorBits = 15;
constexpr uint32_t kReducedBits = 13;  // a reduced factor leaves out the two lowest bits
constexpr uint32_t kReducedOne = 1U << kReducedBits;
constexpr uint32_t kMaxWidth = 65535;

uint32_t reduced(uint32_t factor) { return factor >> (kFactorBits - kReducedBits); }

// x * factor, rounded down.
struct Truncated {
  uint32_t factor;
  uint32_t operator()(uint32_t x) const { return x * factor >> kFactorBits; }
};

// x * factor, rounded to the nearest, halves upwards: adds the first fraction bit.
struct Rounded {
  uint32_t factor;
  uint32_t operator()(uint32_t x) const {
    const uint32_t product = x * factor;
    return (product >> kFactorBits) + (product >> (kFactorBits - 1) & 1);
  }
};

// Scales `runs`, at least one, into `out`, which has as many places, clipped to `width`. Returns
// how many are left.
template <class Scale>
uint32_t scaleRuns(std::span<const RleRun> runs, Scale scale, uint32_t width, RleRun* out) {
  JoiningWriter scaled(out);
  for (const RleRun run : runs)
    scaled.add(uint16_t(scale(run.start)),
               int32_t(std::min<uint32_t>(uint16_t(scale(run.end)), width)));
  return scaled.finish();
}

// Gives an empty row a buffer of its own with these runs.
bool storeRuns(RleLine& row, const RleRun* runs, uint32_t count) {
  row.runs = rleAllocRuns(count);
  if (row.runs == nullptr) return false;
  row.count = uint16_t(count);
  std::copy_n(runs, count, row.runs);
  return true;
}

template <class Scale>
RleLine* scaledLine(const RleLine& source, Scale scale) {
  OwnedLine row(rleAllocLine());
  if (!row) return nullptr;
  if (source.count == 0) {
    row->tag = source.tag;
    return row.release();
  }
  const HeapArray<RleRun> scaled = zeroedArray<RleRun>(source.count);
  if (!scaled) return nullptr;
  const uint32_t count = scaleRuns({source.runs, source.count}, scale, kMaxWidth, scaled.get());
  return storeRuns(*row, scaled.get(), count) ? row.release() : nullptr;
}

// Replaces the rows of `rect` by `height` new ones, of which makeRow(i, row) fills row i. Both
// sizes have 16 bits. Leaves the image as it is when a row cannot be made.
template <class MakeRow>
void replaceRows(RleRect& rect, uint32_t width, uint32_t height, MakeRow makeRow) {
  const OwnedRect scaled(rleNewRect(width, height, rect.resolution));
  if (!scaled) return;
  for (uint32_t i = 0; i < scaled->height; ++i)
    if (!makeRow(i, *scaled->rows[i])) return;
  std::swap(rect.rows, scaled->rows);
  std::swap(rect.height, scaled->height);
  rect.width = scaled->width;
}

// Nothing to scale, or a factor of 0.
bool staysAsItIs(const RleRect& rect, uint32_t xFactor, uint32_t yFactor) {
  return rect.height == 0 || xFactor == 0 || yFactor == 0;
}

// The manners that pick rows: new row i is source row pick(i), or the last one when that is beyond
// it, with its ends scaled by `scale`.
template <class Scale, class Pick>
void scaleByPicking(RleRect& rect, Scale scale, uint32_t yFactor, Pick pick) {
  const auto width = uint16_t(scale(rect.width));
  const auto height = uint16_t(reduced(yFactor) * rect.height >> kReducedBits);
  uint32_t mostRuns = 0;
  for (uint32_t y = 0; y < rect.height; ++y)
    mostRuns = std::max<uint32_t>(mostRuns, rect.rows[y]->count);
  const HeapArray<RleRun> scaled = zeroedArray<RleRun>(mostRuns);
  if (!scaled) return;
  const RleLine* current = nullptr;  // the source row that `scaled` holds
  uint32_t count = 0;
  replaceRows(rect, width, height, [&](uint32_t i, RleLine& row) {
    const RleLine& source = *rect.rows[std::min<uint32_t>(pick(i), rect.height - 1U)];
    if (source.count == 0) {
      row.tag = source.tag;
      return true;
    }
    if (&source != current) {
      count = scaleRuns({source.runs, source.count}, scale, width, scaled.get());
      current = &source;
    }
    return storeRuns(row, scaled.get(), count);
  });
}

// All bits of a word from one on, and all up to one. As tables they are quicker than shifts.
constexpr std::array<uint64_t, 64> kFromBit = [] {
  std::array<uint64_t, 64> masks{};
  for (uint32_t bit = 0; bit < 64; ++bit) masks[bit] = ~uint64_t{0} << bit;
  return masks;
}();
constexpr std::array<uint64_t, 64> kUpToBit = [] {
  std::array<uint64_t, 64> masks{};
  for (uint32_t bit = 0; bit < 64; ++bit) masks[bit] = ~uint64_t{0} >> (63 - bit);
  return masks;
}();

// One row of bits, in which the source rows that a new row covers are united. Bit x of the row is
// bit x % 64 of word x / 64, counted from the lowest.
class BitRow {
 public:
  explicit BitRow(uint32_t width)
      : wordCount_((width + 63) / 64),
        words_(zeroedArray<uint64_t>(wordCount_)),
        ends_(zeroedArray<uint16_t>(width + 2)) {}  // room for a start in vain, to keep pairs

  bool ready() const { return words_ && ends_; }

  void clear() { std::fill_n(words_.get(), wordCount_, 0); }

  // Blackens [start, end), which lies in the row and is not empty.
  void blacken(uint32_t start, uint32_t end) {
    uint64_t* word = &words_[start / 64];
    uint64_t* const last = &words_[(end - 1) / 64];
    uint64_t mask = kFromBit[start % 64];
    for (; word != last; mask = ~uint64_t{0}) *word++ |= mask;
    *word |= mask & kUpToBit[(end - 1) % 64];
  }

  // Gives `row` the runs of the bits. A bit that differs from the one before it is where a run
  // starts or ends, by turns.
  bool storeIn(RleLine& row) {
    uint32_t ends = 0;
    uint64_t before = 0;  // the pixel before this word
    for (uint32_t i = 0; i < wordCount_; ++i) {
      const uint64_t word = words_[i];
      for (uint64_t changes = word ^ (word << 1 | before); changes != 0; changes &= changes - 1)
        ends_[ends++] = uint16_t(i * 64 + uint32_t(std::countr_zero(changes)));
      before = word >> 63;
    }
    if (before != 0) ends_[ends++] = uint16_t(wordCount_ * 64);
    row.runs = rleAllocRuns(ends / 2);
    if (row.runs == nullptr) return false;
    row.count = uint16_t(ends / 2);
    for (uint32_t i = 0; i < row.count; ++i) row.runs[i] = {ends_[2 * i], ends_[2 * i + 1]};
    return true;
  }

 private:
  uint32_t wordCount_;
  HeapArray<uint64_t> words_;
  HeapArray<uint16_t> ends_;
};

// Unites a source row, its starts scaled down and its ends scaled up, with the bits there are.
void drawScaled(const RleLine& source, uint32_t factor, uint32_t width, BitRow& bits) {
  for (const RleRun run : std::span<const RleRun>(source.runs, source.count)) {
    const uint32_t first = run.start * factor >> kReducedBits;
    const uint32_t end = run.end * factor;
    const uint32_t roundUp = (end & (kReducedOne - 1)) != 0 ? 1 : 0;
    const uint32_t stop = std::min((end >> kReducedBits) + roundUp, width);
    if (first < stop) bits.blacken(first, stop);
  }
}

// The factor that takes an image from one resolution to another, or 0 where there is none: a
// resolution of 0 or below, or a factor that does not fit 32 bits.
uint32_t resolutionFactor(uint32_t from, int32_t to) {
  if (from == 0 || to <= 0) return 0;
  const double factor = double(to) / from * (1U << kFactorBits);
  return factor < 0x1p32 ? uint32_t(factor) : 0;
}

// coordinate * factor, rounded down. The product of a coordinate right of or below the origin keeps
// its low 32 bits; one on the other side is exact.
int32_t scaledCoordinate(int32_t coordinate, uint32_t factor) {
  if (coordinate >= 0) return int32_t(Truncated{factor}(uint32_t(coordinate)));
  return int32_t(coordinate * int64_t{factor} >> kFactorBits);
}

}  // namespace
}  // namespace rle

extern "C" {

RleLine* rleScaleLine(RleLine* line, uint32_t factor) {
  return rle::scaledLine(*line, rle::Truncated{factor});
}

RleLine* rleNNScaleLine(RleLine* line, uint32_t factor) {
  return rle::scaledLine(*line, rle::Rounded{factor});
}

void rleScaleRect(RleRect* rect, uint32_t xFactor, uint32_t yFactor) {
  if (rle::staysAsItIs(*rect, xFactor, yFactor)) return;
  const uint32_t q = rle::reduced(yFactor);
  rle::scaleByPicking(*rect, rle::Truncated{xFactor}, yFactor,
                      [q](uint32_t i) { return i * rle::kReducedOne / q; });
}

void rleNNScaleRect(RleRect* rect, uint32_t xFactor, uint32_t yFactor) {
  if (rle::staysAsItIs(*rect, xFactor, yFactor)) return;
  const double q = static_cast<float>(rle::reduced(yFactor));
  rle::scaleByPicking(*rect, rle::Rounded{xFactor}, yFactor,
                      [q](uint32_t i) { return uint32_t(i * rle::kReducedOne / q + 0.5); });
}

void rleMinScaleRect(RleRect* rect, uint32_t xFactor, uint32_t yFactor) {
  if (rle::staysAsItIs(*rect, xFactor, yFactor)) return;
  const uint32_t qx = rle::reduced(xFactor);
  const uint32_t qy = rle::reduced(yFactor);
  const auto scaledUp = [](uint32_t size, uint32_t q) {
    return uint16_t((q * size + rle::kReducedOne - 1) >> rle::kReducedBits);
  };
  const uint16_t width = scaledUp(rect->width, qx);
  rle::BitRow bits(width);
  if (!bits.ready()) return;
  rle::replaceRows(*rect, width, scaledUp(rect->height, qy), [&](uint32_t i, RleLine& row) {
    bits.clear();
    const uint32_t first = i * rle::kReducedOne / qy;
    const uint32_t stop = std::min<uint32_t>((i + 1) * rle::kReducedOne / qy, rect->height);
    for (uint32_t y = first; y < rect->height && (y == first || y < stop); ++y)
      rle::drawScaled(*rect->rows[y], qx, width, bits);
    return bits.storeIn(row);
  });
}

void rleScalePoly(RlePoly* poly, uint32_t xFactor, uint32_t yFactor) {
  if (xFactor == 0 && yFactor == 0) return;
  if (poly->mask != nullptr) rleScaleRect(poly->mask, xFactor, yFactor);
  if (poly->image != nullptr) rleScaleRect(poly->image, xFactor, yFactor);
  if (poly->points == nullptr) return;
  for (uint32_t i = 0; i < poly->count; ++i) {
    RlePoint& point = poly->points[i];
    if (xFactor != 0) point.x = rle::scaledCoordinate(point.x, xFactor);
    if (yFactor != 0) point.y = rle::scaledCoordinate(point.y, yFactor);
  }
}

void rleChangeResRect(RleRect* rect, int32_t resolution) {
  if (resolution == rect->resolution) return;
  const uint32_t factor = rle::resolutionFactor(rect->resolution, resolution);
  rleScaleRect(rect, factor, factor);
  rect->resolution = uint16_t(resolution);
}

void rleChangeResPoly(RlePoly* poly, int32_t resolution) {
  if (poly->image == nullptr || resolution == poly->image->resolution) return;
  const uint32_t factor = rle::resolutionFactor(poly->image->resolution, resolution);
  rleScalePoly(poly, factor, factor);
  poly->image->resolution = uint16_t(resolution);
  if (poly->mask != nullptr) poly->mask->resolution = uint16_t(resolution);
}

}  // extern "C"
