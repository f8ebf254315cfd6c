// Packed bit rows to runs and back.
//
//     column   0 1 2 3 4 5 6 7   8 9 ...
//     bit      7 6 5 4 3 2 1 0   7 6 ...     1 is black
//     byte     0                 1
//
// Packing looks for the columns where the colour changes, 64 pixels at a time. With the leftmost
// pixel in the highest bit and p for the last pixel of the word before,
//
//     word                   0 0 1 1 1 0 0 1
//     word moved right by 1  p 0 0 1 1 1 0 0
//     exclusive or           . . * . . * . *      p is 0: black from 2, white from 5, black from 7
//
// leaves one bit for every change, and nothing for a word inside a long white or black stretch. A
// change to black starts a run and the next one ends it, so the changes in order are the starts and
// ends of the runs in order. Pixels outside the columns asked for are masked off beforehand.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "model/owners.h"
#include "rle.h"

namespace rle {
namespace {

constexpr int32_t kMaxSize = 65535;  // pixels and rows of an image
constexpr int kWordPixels = 64;
constexpr uint64_t kFirstPixel = uint64_t{1} << (kWordPixels - 1);
constexpr uint64_t kAllPixels = ~uint64_t{0};

// ---- Packing

// Where the runs of a row are gathered before their number is known. It stays from row to row and
// belongs to one thread, which gives it back when it ends.
struct PackCache {
  RleRun* runs = nullptr;
  int64_t size = 0;  // runs it was last sized for

  ~PackCache() { clear(); }

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
    if (runs != nullptr) size = count;
    return runs != nullptr;
  }
};

constinit thread_local PackCache packCache;

// The pixels of `count` bytes, 1 to 8, from the highest bit on; white after them.
uint64_t loadPixels(const uint8_t* bytes, size_t count) {
  uint64_t word = 0;
  std::memcpy(&word, bytes, count);
  return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

// Marks the pixels of a word that differ from the pixel before them; `previous` is the word before.
uint64_t changesIn(uint64_t word, uint64_t previous) {
  return word ^ (word >> 1 | previous << (kWordPixels - 1));
}

// Stores the columns of marked pixels, for a word whose first pixel is `column`.
uint16_t* store(uint64_t marks, int64_t column, uint16_t* changes) {
  while (marks != 0) {
    const int pixel = std::countl_zero(marks);
    *changes++ = uint16_t(column + pixel);
    marks ^= kFirstPixel >> pixel;
  }
  return changes;
}

// The same where one more place may be written to than there are marks. How many marks a word has
// is hard to foresee for a processor, so the first four places are always written and only as many
// are kept as there are marks.
uint16_t* storeInRoom(uint64_t marks, int64_t column, uint16_t* changes) {
  if (marks == 0) return changes;
  for (int i = 0; i < 4; ++i) {
    const int pixel = std::countl_zero(marks | 1);
    *changes = uint16_t(column + pixel);
    changes += marks != 0 ? 1 : 0;
    marks &= ~(kFirstPixel >> pixel);
  }
  return store(marks, column, changes);
}

// Finds the runs of columns [x1, x2), x1 not negative, of a packed row and writes them, less
// `origin`, to `runs`, which has room for all that so many columns can hold. Returns their number.
// Reads the bytes that hold these columns and no others.
uint32_t findRuns(const uint8_t* bits, int64_t x1, int64_t x2, int64_t origin, RleRun* runs) {
  auto* const first = reinterpret_cast<uint16_t*>(runs);
  uint16_t* changes = first;
  const uint8_t* at = bits + x1 / 8;
  int64_t column = x1 / 8 * 8;                  // of the first pixel in `at`
  uint64_t mask = kAllPixels >> (x1 - column);  // pixels before x1 are not looked at
  uint64_t previous = 0;
  for (; x2 - column >= kWordPixels; column += kWordPixels, at += sizeof(uint64_t)) {
    const uint64_t word = loadPixels(at, sizeof(uint64_t)) & mask;
    // There is room: so far no pixel from x2 on can have ended a run.
    changes = storeInRoom(changesIn(word, previous), column - origin, changes);
    previous = word;
    mask = kAllPixels;
  }
  if (const int64_t left = x2 - column; left > 0) {
    mask &= ~(kAllPixels >> left);  // nor are those from x2 on
    const uint64_t word = loadPixels(at, size_t(left + 7) / 8) & mask;
    changes = store(changesIn(word, previous), column - origin, changes);
  }
  // Black up to a word's end at x2: no white pixel has ended the run.
  if ((changes - first) % 2 != 0) *changes++ = uint16_t(x2 - origin);
  return uint32_t(changes - first) / 2;
}

// Columns [x1, x2) of a packed row. Null `bits` stands for a row that is all white.
RleLine* packColumns(const uint8_t* bits, int64_t x1, int64_t x2) {
  PackCache& cache = packCache;
  if (!cache.fit(((x2 - x1) >> 1) + 1)) return nullptr;
  uint32_t found = 0;
  const int64_t first = std::max<int64_t>(x1, 0);
  if (bits != nullptr && first < x2) found = findRuns(bits, first, x2, x1, cache.runs);
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

// Sets bits [from, to) of a packed row.
void setBits(uint8_t* row, int64_t from, int64_t to) {
  if (from >= to) return;
  uint8_t* const first = row + from / 8;
  uint8_t* const last = row + (to - 1) / 8;
  const auto head = uint8_t(0xFF >> from % 8);
  const auto tail = uint8_t(0xFF << (7 - (to - 1) % 8));
  if (first == last) {
    *first |= head & tail;
    return;
  }
  *first |= head;
  std::memset(first + 1, 0xFF, size_t(last - first - 1));
  *last |= tail;
}

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

  void paint(const RleLine& line, uint8_t* row) const {
    for (uint32_t i = 0; i < line.count; ++i) {
      const RleRun run = line.runs[i];
      if (run.end <= x1) continue;
      if (run.start > end) break;  // a run that starts right at the end still counts
      const uint32_t from = scaled(std::max<int64_t>(run.start, x1));
      const uint32_t to = scaled(std::min<int64_t>(run.end, end));
      // The last bit is black too when the run covers only a part of it.
      const uint32_t covered = (to & ((1U << kFractionBits) - 1)) != 0 ? 1 : 0;
      setBits(row, std::max<int64_t>((from >> kFractionBits) + offset, 0),
              std::min((to >> kFractionBits) + covered + offset, limit));
    }
  }
};

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
  if (x1 <= x2) rle::columnMap(x1, x2, offset, limit, scale).paint(*line, rowBytes);
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
        columns.paint(*rect->rows[y], bits + j * rle::rowBytesOf(rowBits));
    if (from == yLast) return;
  }
}

}  // extern "C"
