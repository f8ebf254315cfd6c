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
constexpr size_t kWordBytes = kWordPixels / 8;
constexpr uint64_t kAllPixels = ~uint64_t{0};

// ---- Words of 64 pixels, the leftmost one in the highest bit

uint64_t inMemoryOrder(uint64_t word) {
  return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

// The pixels of `count` bytes, 1 to 8, from the highest bit on; white after them.
uint64_t loadPixels(const uint8_t* bytes, size_t count) {
  uint64_t word = 0;
  std::memcpy(&word, bytes, count);
  return inMemoryOrder(word);
}

void storePixels(uint8_t* bytes, uint64_t word) {
  word = inMemoryOrder(word);
  std::memcpy(bytes, &word, sizeof word);
}

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

// Marks the pixels of a word that differ from the pixel before them; `previous` is the word before.
uint64_t changesIn(uint64_t word, uint64_t previous) {
  return word ^ (word >> 1 | previous << (kWordPixels - 1));
}

// Puts the first pixel in the lowest bit, where a mark can be dropped without a shift.
uint64_t reversed(uint64_t word) {
  word = (word >> 1 & 0x5555555555555555) | (word & 0x5555555555555555) << 1;
  word = (word >> 2 & 0x3333333333333333) | (word & 0x3333333333333333) << 2;
  word = (word >> 4 & 0x0F0F0F0F0F0F0F0F) | (word & 0x0F0F0F0F0F0F0F0F) << 4;
  return __builtin_bswap64(word);
}

// Stores the columns of marked pixels, for a word whose first pixel is `column`.
uint16_t* store(uint64_t marks, int64_t column, uint16_t* changes) {
  if (marks == 0) return changes;
  for (marks = reversed(marks); marks != 0; marks &= marks - 1)
    *changes++ = uint16_t(column + std::countr_zero(marks));
  return changes;
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
  for (; x2 - column >= kWordPixels; column += kWordPixels, at += kWordBytes) {
    const uint64_t word = loadPixels(at, kWordBytes) & mask;
    changes = store(changesIn(word, previous), column - origin, changes);
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

// Sets spans of bits in a packed row. Neighbouring spans often share a word, so bits are gathered
// there and stored when a span lies elsewhere. A whole word is stored only where a later byte of
// the row is about to be written anyway: no byte is touched after the last one with a bit to set.
class BitSpans {
 public:
  explicit BitSpans(uint8_t* row) : row_(row) {}
  ~BitSpans() { storeBytes(); }
  BitSpans(const BitSpans&) = delete;
  BitSpans& operator=(const BitSpans&) = delete;

  // Sets bits [from, to), which are not none.
  void set(uint64_t from, uint64_t to) {
    const uint64_t first = from / kWordPixels;
    const uint64_t last = (to - 1) / kWordPixels;
    const uint64_t head = kAllPixels >> from % kWordPixels;
    const uint64_t tail = ~(kAllPixels >> 1 >> (to - 1) % kWordPixels);
    if (first != word_) {
      if (first > word_)
        storeWord();
      else
        storeBytes();
      word_ = first;
      gathered_ = 0;
    }
    if (first == last) {
      gathered_ |= head & tail;
      return;
    }
    gathered_ |= head;
    storeWord();
    if (last > first + 1)
      std::memset(row_ + (first + 1) * kWordBytes, 0xFF, (last - first - 1) * kWordBytes);
    word_ = last;
    gathered_ = tail;
  }

 private:
  void storeWord() {
    if (gathered_ == 0) return;
    uint8_t* const at = row_ + word_ * kWordBytes;
    storePixels(at, loadPixels(at, kWordBytes) | gathered_);
  }

  void storeBytes() {
    for (uint8_t* at = row_ + word_ * kWordBytes; gathered_ != 0; gathered_ <<= 8, ++at)
      *at |= uint8_t(gathered_ >> (kWordPixels - 8));
  }

  uint8_t* row_;
  uint64_t word_ = 0;      // the one that bits are gathered for
  uint64_t gathered_ = 0;  // the first pixel in the highest bit
};

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
