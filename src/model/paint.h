// Painting the spans of one row, for the drawing code.

#pragma once

#include <cstdint>
#include <span>

#include "model/row_edits.h"
#include "rle.h"

namespace rle {

enum class Paint { Black, White, Pattern };

// What colour, pattern and mode ask for.
Paint paintFor(int32_t colour, const RleRect* pattern, int32_t mode);

// Paints row y of an image in spans [start, end) inside it, from left to right, none empty. The row
// and its buffer become what rleFillSpans makes of the spans, but in one pass.
void paintRow(RleRect& image, uint16_t y, std::span<const RleRun> spans, Paint paint,
              const RleRect* pattern, int32_t mode, RunScratch& scratch);

}  // namespace rle
