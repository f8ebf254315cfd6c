// Owners of the public records, so that every early return releases what was made so far.

#pragma once

#include <memory>

#include "rle.h"

namespace rle {

template <auto Free>
struct FreeWith {
  template <class T>
  void operator()(T* record) const {
    Free(record);
  }
};

using OwnedRuns = std::unique_ptr<RleRun, FreeWith<rleFreeRuns>>;
using OwnedLine = std::unique_ptr<RleLine, FreeWith<rleFreeLine>>;
using OwnedRect = std::unique_ptr<RleRect, FreeWith<rleFreeRect>>;
using OwnedPoints = std::unique_ptr<RlePoint, FreeWith<rleFreePoints>>;
using OwnedPoly = std::unique_ptr<RlePoly, FreeWith<rleFreePoly>>;
using OwnedFile = std::unique_ptr<RleFile, FreeWith<rleFreeFile>>;

}  // namespace rle
