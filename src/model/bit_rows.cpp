// Packed bit rows to runs and back.

#include <algorithm>
#include <cstdint>

#include "model/bit_words.h"
#include "model/owners.h"
#include "model/thread_end.h"
#include "rle.h"

namespace rle {
namespace {

constexpr int32_t kMaxSize = 65535;  // pixels and rows of an image

// ---- Packing

// Where the runs of a row are gathered before their number is known. It stays from row to row; each
// thread has its own.
struct PackCache {
  RleRun* runs = nullptr;
  int64_t size = 0;  // runs it was last sized for

  void clear() {
    if (runs != nullptr) rleFreeRuns(runs);
    runs = nullptr;
    size = 0;
  }

  // Room for `count` runs. On failure the cache is empty.
  bool fit(int64_t count) {
    if (size >= count) return true;
    clear();
    runs = rleAllocRuns(uint32_t(count));
    if (runs == nullptr) return false;
    size = count;
    end.expect(this);
    return true;
  }

  static const ThreadEnd end;
};

const ThreadEnd PackCache::end([](void* cache) { static_cast<PackCache*>(cache)->clear(); });
constinit thread_local PackCache packCache;

// Columns [x1, x2) of a packed row. Null `bits` stands for a row that is all white.
RleLine* packColumns(const uint8_t* bits, int64_t x1, int64_t x2) {
  PackCache& cache = packCache;
  if (!cache.fit(((x2 - x1) >> 1) + 1)) return nullptr;
  uint32_t found = 0;
  const int64_t first = std::max<int64_t>(x1, 0);
  if (bits != nullptr && first < x2) {
    static_assert(sizeof(RleRun) == 2 * sizeof(uint16_t));  // runs are changes in pairs
    found = findChanges(bits, first, x2, x1, reinterpret_cast<uint16_t*>(cache.runs)) / 2;
  }
  const auto count = uint16_t(found);
  OwnedLine line(rleAllocLine());
  if (!line) return nullptr;
  line->runs = rleAllocRuns(count);
  if (line->runs == nullptr) return nullptr;
  line->count = count;
  std::copy_n(cache.runs, count, line->runs);
  return line.release();
}

int64_t rowBytesOf(int32_t rowBits) { return rowBits >> 3; }  // rounds down

// ---- Unpacking

// How an image's columns become bit positions of a packed row.
struct ColumnMap {
  static constexpr int kFractionBits = 13;

  int64_t x1;      // the column that comes to lie at `offset`
  int64_t end;     // the column after the last one
  int64_t offset;  // in bits
  int64_t limit;   // where the row ends
  uint32_t scale;  // bits per column

  // The product keeps its low 32 bits.
  uint32_t scaled(int64_t column) const { return uint32_t(column - x1) * scale; }
};

void paint(const RleLine& line, const ColumnMap map, uint8_t* row) {
  BitSpans spans(row);
  const RleRun* const end = line.runs + line.count;
  for (const RleRun* run = line.runs; run != end; ++run) {
    if (run->end <= map.x1) continue;
    if (run->start > map.end) break;  // a run that starts right at the end still counts
    const uint32_t from = map.scaled(std::max<int64_t>(run->start, map.x1));
    const uint32_t to = map.scaled(std::min<int64_t>(run->end, map.end));
    // The last bit is black too when the run covers only a part of it.
    const uint32_t covered = (to & ((1U << ColumnMap::kFractionBits) - 1)) != 0 ? 1 : 0;
    const int64_t first = std::max<int64_t>((from >> ColumnMap::kFractionBits) + map.offset, 0);
    const int64_t last =
        std::min((to >> ColumnMap::kFractionBits) + covered + map.offset, map.limit);
    if (first < last) spans.set(uint64_t(first), uint64_t(last));
  }
}

ColumnMap columnMap(int32_t x1, int32_t x2, int32_t offset, int32_t limit, uint32_t scale) {
  return {x1, int64_t{x2} + 1, offset, limit, scale >> 2};
}

}  // namespace
}  // namespace rle

extern "C" {

RleLine* rlePackLine(uint8_t* bits, int32_t x1, int32_t x2) {
  return rle::packColumns(bits, x1, x2);
}

RleRect* rlePackRect(uint8_t* bits, int32_t rowBits, int32_t /*ignored*/, int32_t x1, int32_t x2,
                     int32_t y1, int32_t y2, int32_t resolution) {
  const int64_t width = int64_t{x2} - x1 + 1;
  const int64_t height = int64_t{y2} - y1 + 1;
  if (width < 0 || width > rle::kMaxSize || height < 0 || height > rle::kMaxSize) return nullptr;
  rle::OwnedRect rect(rleAllocRect());
  if (!rect) return nullptr;
  rect->rows = rleAllocLines(int32_t(height));
  if (rect->rows == nullptr) return nullptr;
  rect->resolution = uint16_t(resolution);
  rect->width = uint16_t(width);
  rect->height = uint16_t(height);
  for (int64_t y = y1; y <= y2; ++y) {
    const uint8_t* const row = y < 0 ? nullptr : bits + y * rle::rowBytesOf(rowBits);
    RleLine* const line = rle::packColumns(row, x1, int64_t{x2} + 1);
    if (line == nullptr) return nullptr;
    rect->rows[y - y1] = line;
  }
  rlePackClearCache();
  return rect.release();
}

void rlePackClearCache() { rle::packCache.clear(); }

int32_t rleUnPackLine(RleLine* line, int32_t x1, int32_t x2, uint8_t* rowBytes, int32_t limit,
                      uint32_t scale, int32_t offset) {
  if (x1 <= x2) rle::paint(*line, rle::columnMap(x1, x2, offset, limit, scale), rowBytes);
  return 1;
}

void rleUnPackRect(RleRect* rect, int32_t x1, int32_t x2, int32_t y1, int32_t y2, uint8_t* bits,
                   int32_t rowBits, int32_t rowEnd, uint32_t hscale, uint32_t vscale,
                   int32_t offset, int32_t rowStart) {
  if (x1 > x2) return;
  const rle::ColumnMap columns = rle::columnMap(x1, x2, offset, rowBits, hscale);
  const int64_t yLast = std::min<int64_t>(y2, int64_t{rect->height} - 1);
  // The source row where output row k, counted from rowStart, begins.
  const auto sourceRow = [=](int64_t k) {
    return vscale == 0 ? k : y1 + (k << 15) / int64_t{vscale};
  };
  for (int64_t j = rowStart; j < rowEnd; ++j) {
    const int64_t from = sourceRow(j - rowStart);
    if (from > yLast) return;
    // At least one source row, and all up to the next output row's first when reducing.
    const int64_t to = std::clamp(sourceRow(j - rowStart + 1), from + 1, yLast + 1);
    if (j >= 0)
      for (int64_t y = std::max<int64_t>(from, 0); y < to; ++y)
        rle::paint(*rect->rows[y], columns, bits + j * rle::rowBytesOf(rowBits));
    if (from == yLast) return;
  }
}

}  // extern "C"
