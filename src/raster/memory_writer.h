// What the parts of the memory raster writer share: its private state and its phases.
//
//     made -> initialized: collecting in memory -> in the file -> flushed -> released
//                          Group 4 TIFF, directly -------------^
//                          raw rows to TIFF, directly ---------^
//
// The phases differ in what slots 1 and 2 of the public record point to.

#pragma once

#include "raster/siblings.h"

struct RleMemoryWriterState {
  RleStream* output;  // the caller's
  int32_t format;     // GFX_TIFF and so on
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t pixelFormat = 0;  // bits per pixel and colour type of the input
  uint32_t resolution = 72;  // dots per inch
  int32_t inputKind = 0;
  int32_t readerOptions = 0;
  uint32_t bufferSize = 0x200000;  // bytes that are no longer kept in memory
  uint32_t padding = 8;            // what rows of raw input are rounded up to
  int32_t rotation = 0;
  double scale = 1.0;
  const char* lastError = nullptr;
  rle::HeapArray<uint8_t> memory = {};  // all that has been written, until it goes to the file
  int temporaryFile = -1;               // descriptor, -1 while it is closed
  rle::HeapArray<char> path = {};       // of the temporary file; null while there is none
  uint32_t dataSize = 0;                // bytes written, in memory, in the file or to the output
  rle::raster::OwnedInstance g4Writer = {};
  uint64_t rowsWritten = 0;
  int32_t dataStart = 0;    // in the output, of the data behind the TIFF header
  bool incomplete = false;  // a write was refused, so that bytes are missing
};

namespace rle::raster {

enum InputKind : int32_t { kRawRows = 0, kGroup4Data = 1 };

// Result of a method that fails. The texts are literals.
inline int32_t failure(RleMemoryWriterState& state, const char* message) {
  state.lastError = message;
  return 0;
}

inline bool hasTransform(const RleMemoryWriterState& state) {
  return state.scale != 1.0 || state.rotation != 0;
}

// A number of bytes or of pixels made a multiple of the padding, which is not 0.
inline uint64_t padded(uint64_t count, uint32_t padding) {
  return (count + padding - 1) / padding * padding;
}

// Bytes of a row of bits, padded as pixels before they become bytes; 0 for a padding of 0.
inline uint64_t bitRowBytes(const RleMemoryWriterState& state) {
  return state.padding != 0 ? padded(state.width, state.padding) / 8 : 0;
}

// Counts written bytes. Pipelines and TIFF have 32 bits for them: beyond that none are counted.
inline bool countBytes(RleMemoryWriterState& state, uint32_t length) {
  if (length > UINT32_MAX - state.dataSize) return false;
  state.dataSize += length;
  return true;
}

void closeTemporaryFile(RleMemoryWriterState& state);

// Buffered: the data is collected and goes through a pipeline at the end.
int32_t rleWrite(RleMemoryWriter* writer, const void* data, uint32_t length);
int32_t rleFlush(RleMemoryWriter* writer, uint32_t width, uint32_t height);

// Direct: the data goes to the output, behind a one-strip TIFF header that has been written.
int32_t startG4ToTiff(RleMemoryWriter& writer);
int32_t startRawToTiff(RleMemoryWriter& writer);

}  // namespace rle::raster
