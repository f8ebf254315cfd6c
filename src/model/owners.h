// Owners of the public records and of streams, so that every early return releases what was made so
// far.

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

// What the end of a stream answers is lost here; who writes one releases it and asks.
struct DestroyStream {
  void operator()(RleStream* stream) const { stream->ops->destroy(stream); }
};
using OwnedStream = std::unique_ptr<RleStream, DestroyStream>;

}  // namespace rle
