#include "support/allocations.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<int64_t> failing{-1};
std::atomic<int64_t> asked{0};
std::atomic<int64_t> alive{0};

bool failsNow() { return asked++ == failing; }

void* counted(void* block) {
  if (block != nullptr) ++alive;
  return block;
}

}  // namespace

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size) { return failsNow() ? nullptr : counted(__real_malloc(size)); }

void* __wrap_calloc(size_t count, size_t size) {
  return failsNow() ? nullptr : counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, size_t size) {
  if (failsNow()) return nullptr;
  void* const moved = __real_realloc(block, size);
  if (block == nullptr) return counted(moved);
  return moved;
}

void __wrap_free(void* block) {
  if (block != nullptr) --alive;
  __real_free(block);
}

}  // extern "C"

namespace rle::test {

void failAllocation(int64_t number) {
  asked = 0;
  failing = number;
}

int64_t allocationsAsked() { return asked; }

int64_t allocationsAlive() { return alive; }

}  // namespace rle::test
