// An image to Group 4 data.

#include <algorithm>

#include "g4/row_encoder.h"
#include "model/heap_array.h"
#include "rle.h"

namespace rle::g4 {
namespace {

constexpr int32_t kDone = 1;
constexpr int32_t kRowTooLong = -1;
constexpr int32_t kNotWritten = -2;

constexpr uint32_t kMaxElements = 51600;  // in a row

// The runs of a row are its changing elements already, provided that they ascend: then no run is
// empty, and none touches or overlaps the one before it.
static_assert(sizeof(RleRun) == 2 * sizeof(uint16_t));

bool inOrder(Elements row, uint32_t width) {
  uint16_t wrong = 0;  // a number of the elements' size: compilers make vector code of this
  for (uint32_t i = 1; i < row.count; ++i) wrong |= uint16_t(row.at[i - 1] >= row.at[i]);
  return wrong == 0 && (row.count == 0 || row.at[row.count - 1] <= width);
}

// Makes the lists of changing elements. Those of valid rows are the runs themselves; others are
// written to memory of two rows in turn, for the row above is still needed. Rows of ordinary length
// find it here, longer ones on the heap.
class RowLists {
 public:
  explicit RowLists(uint32_t width) : width_(width) {}

  // False when the row has too many elements or memory runs out.
  bool list(RleLine& line, Elements& row) {
    row = {reinterpret_cast<const uint16_t*>(line.runs), 2U * line.count};
    if (inOrder(row, width_)) return row.count <= kMaxElements;
    second_ = !second_;
    uint16_t* elements = ordinary_[second_ ? 1 : 0];
    if (row.count > kOrdinary) {
      if (!long_) long_ = newArray<uint16_t>(2 * kMaxElements);
      if (!long_) return false;
      elements = long_.get() + (second_ ? kMaxElements : 0);
    }
    row = {elements, 0};
    return sortOut(line, elements, row.count);
  }

 private:
  // Drops empty runs, joins runs that touch or overlap, in the image as well, and ignores a run
  // that overlaps the one kept before it but starts to the left of that. Clips to the width.
  bool sortOut(RleLine& line, uint16_t* elements, uint32_t& count) const {
    RleRun* kept = nullptr;
    for (RleRun* run = line.runs; run != line.runs + line.count; ++run) {
      if (run->start >= run->end) continue;
      if (kept != nullptr && kept->end >= run->start) {
        if (run->start < kept->start) continue;
        kept->end = std::max(kept->end, run->end);
      } else {
        if (count == kMaxElements) return false;
        kept = run;
        count += 2;
        elements[count - 2] = uint16_t(std::min<uint32_t>(kept->start, width_));
      }
      elements[count - 1] = uint16_t(std::min<uint32_t>(kept->end, width_));
    }
    return true;
  }

  static constexpr uint32_t kOrdinary = 4096;  // elements; 16 KiB of stack

  uint32_t width_;
  bool second_ = false;
  uint16_t ordinary_[2][kOrdinary];  // left as it is: only elements of the row are looked at
  HeapArray<uint16_t> long_;
};

}  // namespace
}  // namespace rle::g4

extern "C" int32_t rleUnloadRectFromCCITTG4(RleStream* stream, RleRect* rect) {
  using namespace rle::g4;
  RowLists lists(rect->width);
  RowEncoder encoder(stream, rect->width, true);
  Elements above;
  for (uint32_t y = 0; y < rect->height; ++y) {
    Elements row;
    if (!lists.list(*rect->rows[y], row)) return kRowTooLong;
    if (!encoder.row(above, row)) return kNotWritten;
    above = row;
  }
  return encoder.finish() ? kDone : kNotWritten;
}
