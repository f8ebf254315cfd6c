// A page taken through everything that the library does.

#pragma once

#include <cstdint>

namespace rle::test {

// Makes a page from the seed, edits, draws on, turns, scales, stores, loads and looks at it, by way
// of every subsystem and the raster pipeline. The same seed gives the same answer, a digest of all
// the pages on the way; 0 when something failed.
uint64_t workOut(uint32_t seed);

}  // namespace rle::test
