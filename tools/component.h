// The connected component at a pixel, for the command and the operation.

#pragma once

#include <cstdint>
#include <string>

#include "model/owners.h"

namespace rle {

struct Component {
  OwnedRect picture;   // cropped to it; null when there is none
  std::string reason;  // why there is none
  uint16_t left = 0;   // where the picture lies on the page
  uint16_t top = 0;
};

Component componentAt(RleRect& page, const RlePoint& seed);

}  // namespace rle
