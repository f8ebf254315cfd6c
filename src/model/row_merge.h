// Edits of a row after the pattern of another row.

#pragma once

#include "model/row_edits.h"
#include "rle.h"

namespace rle {

// Makes black (set) or white in `row` what is black in the stretch of `source`.
void mergeRow(RleLine& row, const RleLine& source, const Stretch& stretch, bool set,
              RunScratch& scratch);

// Makes black (set) or white in `row` what is white in the stretch of `source`.
void maskRow(RleLine& row, const RleLine& source, const Stretch& stretch, bool set,
             RunScratch& scratch);

// Makes `row` a copy of `source` within the stretch: it is cleared, then merged.
void replaceRow(RleLine& row, const RleLine& source, const Stretch& stretch, RunScratch& scratch);

}  // namespace rle
