#include "model/row_edits.h"

namespace rle {

RleRun* RunScratch::reserve(uint32_t count) {
  if (count <= kSmall) return small_;
  if (count > largeCount_) {
    large_.reset();  // its content is not wanted, so it need not be moved
    largeCount_ = std::max(count, 2 * largeCount_);
    large_.reset(static_cast<RleRun*>(std::malloc(largeCount_ * sizeof(RleRun))));
    if (!large_) largeCount_ = 0;
  }
  return large_.get();
}

}  // namespace rle
