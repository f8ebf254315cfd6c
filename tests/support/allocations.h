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

// Runs `action` with allocation 0 failing, then 1, and so on, until a run asks for no allocation
// that fails. After each, `check(failed)` is told whether one did. Returns how many failed.
template <class Action, class Check>
int64_t failEveryAllocation(Action action, Check check) {
  for (int64_t number = 0;; ++number) {
    failAllocation(number);
    action();
    const bool failed = allocationsAsked() > number;
    failAllocation(-1);
    check(failed);
    if (!failed) return number;
  }
}

}  // namespace rle::test
