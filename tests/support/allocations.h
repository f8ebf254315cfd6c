// An allocator that can be told to fail. It stands in for malloc, calloc, realloc and free of the
// library's own code; programs that use it are linked with rle_static and --wrap (see
// tests/CMakeLists.txt).

#pragma once

#include <cstdint>

namespace rle::test {

// The allocation with this number, counted from 0 at the call, returns null; -1 lets all succeed.
void failAllocation(int64_t number);

// Allocations asked for since failAllocation was last called.
int64_t allocationsAsked();

// Blocks that are allocated now, to find leaks.
int64_t allocationsAlive();

}  // namespace rle::test
