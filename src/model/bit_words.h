// Packed bit rows, 64 pixels at a time.
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

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace rle {

constexpr int kWordPixels = 64;
constexpr size_t kWordBytes = kWordPixels / 8;
constexpr uint64_t kAllPixels = ~uint64_t{0};

// ---- Words of 64 pixels, the leftmost one in the highest bit

inline uint64_t inMemoryOrder(uint64_t word) {
  return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

// The pixels of `count` bytes, 1 to 8, from the highest bit on; white after them.
inline uint64_t loadPixels(const uint8_t* bytes, size_t count) {
  uint64_t word = 0;
  std::memcpy(&word, bytes, count);
  return inMemoryOrder(word);
}

inline void storePixels(uint8_t* bytes, uint64_t word) {
  word = inMemoryOrder(word);
  std::memcpy(bytes, &word, sizeof word);
}

// Marks the pixels of a word that differ from the pixel before them; `previous` is the word before.
inline uint64_t changesIn(uint64_t word, uint64_t previous) {
  return word ^ (word >> 1 | previous << (kWordPixels - 1));
}

// Puts the first pixel in the lowest bit, where a mark can be dropped without a shift.
inline uint64_t reversed(uint64_t word) {
  word = (word >> 1 & 0x5555555555555555) | (word & 0x5555555555555555) << 1;
  word = (word >> 2 & 0x3333333333333333) | (word & 0x3333333333333333) << 2;
  word = (word >> 4 & 0x0F0F0F0F0F0F0F0F) | (word & 0x0F0F0F0F0F0F0F0F) << 4;
  return __builtin_bswap64(word);
}

// Stores the columns of marked pixels, for a word whose first pixel is `column`.
inline uint16_t* store(uint64_t marks, int64_t column, uint16_t* changes) {
  if (marks == 0) return changes;
  for (marks = reversed(marks); marks != 0; marks &= marks - 1)
    *changes++ = uint16_t(column + std::countr_zero(marks));
  return changes;
}

// Finds the changes of columns [x1, x2), x1 not negative, of a packed row and writes them, less
// `origin`, to `first`, which has room for one more than there are columns. Returns their number,
// which is even: black up to the end changes there. Reads the bytes that hold these columns and no
// others.
inline uint32_t findChanges(const uint8_t* bits, int64_t x1, int64_t x2, int64_t origin,
                            uint16_t* first) {
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
  return uint32_t(changes - first);
}

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

}  // namespace rle
