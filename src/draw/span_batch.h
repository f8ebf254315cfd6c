// Spans of many small pieces, painted row by row.
//
// Each piece of a thick line adds a span or two to each of its rows. Painted one by one, every span
// searches its row and resizes the row's buffer. Here spans are collected first; those of one row
// are then applied in one go, in the order in which they came, so that the row and its buffer
// become what rleFillSpans makes of them one after the other.

#pragma once

#include <cstdint>

#include "draw/subpixel.h"
#include "model/heap_array.h"
#include "model/paint.h"
#include "rle.h"

namespace rle {

class SpanBatch {
 public:
  SpanBatch(RleRect& image, int32_t colour, RleRect* pattern, int32_t mode);
  SpanBatch(const SpanBatch&) = delete;
  SpanBatch& operator=(const SpanBatch&) = delete;
  ~SpanBatch() { flush(); }

  // Paints in another colour from now on.
  void setColour(int32_t colour);

  // Adds spans, which lie inside the image.
  void add(const SppSpans& piece);

  // Adds one pixel, if it lies inside the image.
  void addPixel(RlePoint at);

 private:
  struct Span {
    uint16_t y, start, end;
  };

  bool makeRoom();
  void flush();

  RleRect& image_;
  int32_t colour_;
  RleRect* pattern_;
  int32_t mode_;
  Paint paint_;
  bool refused_ = false;  // there is no memory; spans are painted as they come
  uint32_t count_ = 0;
  HeapArray<Span> spans_;        // as they came
  HeapArray<RleRun> byRow_;      // the same, row after row
  HeapArray<uint32_t> rowEnds_;  // in byRow_, for each row of the image
};

}  // namespace rle
