// What files of polygon regions have in common, whatever form their image is stored in.

#pragma once

#include "model/owners.h"
#include "rle.h"

namespace rle {

// A header with the size and resolution of an image, or null.
OwnedFile headerFor(const RleRect& image);

// The region's polygon filled black, in the size and resolution of its image; null when memory runs
// out.
OwnedRect filledMask(const RlePoly& region);

}  // namespace rle
