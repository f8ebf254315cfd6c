#include "transform/run_lists.h"

#include <memory>

namespace rle {

RunLists::~RunLists() {
  while (slabs_ != nullptr) {
    Slab* const next = slabs_->next;
    std::free(slabs_);
    slabs_ = next;
  }
}

void RunLists::startBlock(List& list) {
  if (freeBlocks_ == 0) {
    auto* const slab = static_cast<Slab*>(std::malloc(sizeof(Slab)));
    if (slab == nullptr) {
      complete_ = false;
      --list.next;  // the run that was put last makes place for the one that follows it
      return;
    }
    slab->next = slabs_;
    slabs_ = slab;
    void* room = slab->room;
    size_t bytes = sizeof slab->room;
    free_ = static_cast<Block*>(std::align(kBlockBytes, kBlockBytes, room, bytes));
    freeBlocks_ = kSlabBlocks;
  }
  Block* const block = free_++;
  --freeBlocks_;
  // A slab always has room to align its blocks. NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
  block->older = blockOf(list.next - 1);
  list.next = block->runs.data();
}

uint32_t RunLists::count(uint32_t list) const {
  const List& l = lists_[list];
  if (l.end == kNoRun) return 0;
  uint32_t runs = 1;
  const Block* block = blockOf(l.next);
  if (block != &none_) runs += uint32_t(l.next - block->runs.data());
  while (block != &none_ && (block = block->older) != &none_) runs += kBlockRuns;
  return runs;
}

void RunLists::copyTo(uint32_t list, RleRun* out) const {
  const List& l = lists_[list];
  if (l.end == kNoRun) return;
  RleRun* place = out + count(list) - 1;
  *place = {uint16_t(l.start), uint16_t(l.end)};
  const RleRun* end = l.next;
  for (const Block* block = blockOf(end); block != &none_; block = block->older) {
    if (block != blockOf(l.next)) end = block->runs.data() + kBlockRuns;
    place -= end - block->runs.data();
    std::copy(block->runs.data(), end, place);
  }
}

}  // namespace rle
