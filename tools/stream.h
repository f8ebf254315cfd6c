// The owner of a stream.

#pragma once

#include <memory>

#include "rle.h"

namespace rle {

struct DestroyStream {
  void operator()(RleStream* stream) const { stream->ops->destroy(stream); }
};
using OwnedStream = std::unique_ptr<RleStream, DestroyStream>;

}  // namespace rle
