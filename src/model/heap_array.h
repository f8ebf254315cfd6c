// Working arrays on the heap, released on every way out.

#pragma once

#include <cstdlib>
#include <memory>

#include "model/owners.h"

namespace rle {

template <class T>
using HeapArray = std::unique_ptr<T[], FreeWith<std::free>>;

// Items hold whatever was there.
template <class T>
HeapArray<T> newArray(size_t count) {
  return HeapArray<T>(static_cast<T*>(std::malloc(count * sizeof(T))));
}

// Null only when memory runs out: an array of 0 items has an address too.
template <class T>
HeapArray<T> zeroedArray(size_t count) {
  return HeapArray<T>(static_cast<T*>(std::calloc(count == 0 ? 1 : count, sizeof(T))));
}

}  // namespace rle
