// Spans of one row in any order, for lines whose pieces cross the row here and there.

#pragma once

#include <span>

#include "model/row_edits.h"
#include "rle.h"

namespace rle {

// Makes spans [start, end) of a row, none empty, black or white. The row and its buffer become what
// the edits one after the other make of them, but at once.
void editSpans(RleLine& row, std::span<const RleRun> spans, bool white, RunScratch& scratch);

}  // namespace rle
