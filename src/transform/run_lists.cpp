#include "transform/run_lists.h"

namespace rle {

RunLists::~RunLists() {
  while (slabs_ != nullptr) {
    Slab* const next = slabs_->next;
    std::free(slabs_);
    slabs_ = next;
  }
}

bool RunLists::startBlock(List& list) {
  if (slabUsed_ == kSlabBlocks) {
    auto* const slab = static_cast<Slab*>(std::malloc(sizeof(Slab)));
    if (slab == nullptr) return complete_ = false;
    slab->next = slabs_;
    slabs_ = slab;
    slabUsed_ = 0;
  }
  Block& block = slabs_->blocks[slabUsed_++];
  block.older = list.block;
  list.block = &block;
  list.used = 0;
  return true;
}

uint32_t RunLists::count(uint32_t list) const {
  const List& l = lists_[list];
  if (l.block == nullptr) return 0;
  uint32_t runs = l.used;
  for (const Block* block = l.block->older; block != nullptr; block = block->older)
    runs += kBlockRuns;
  return runs;
}

void RunLists::copyTo(uint32_t list, RleRun* out) const {
  const List& l = lists_[list];
  if (l.block == nullptr) return;
  RleRun* place = out + count(list) - l.used;
  std::copy_n(l.block->runs.begin(), l.used, place);
  for (const Block* block = l.block->older; block != nullptr; block = block->older) {
    place -= kBlockRuns;
    std::copy_n(block->runs.begin(), kBlockRuns, place);
  }
}

}  // namespace rle
