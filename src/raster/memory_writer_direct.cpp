// Memory raster writer, direct: an unscaled, unturned bilevel image into a one-strip TIFF file.
//
// The header is written first, the data follows as it comes, and what is known only at the end is
// put into the header by flush.

#include <cstring>

#include "raster/memory_writer.h"

namespace rle::raster {
namespace {

constexpr uint32_t kUnknownHeight = 0x7FFFFFFF;
constexpr const char* kWriterMissing = "can not create gfxInitWriteG4 instance.";
constexpr const char* kProcessFailure = "write process call faild.";
constexpr const char* kMemoryFailure = "can not allocate memory.";
constexpr const char* kByteCountFailure = "can not rewrite byte count in Tiff format.";

// Sizes of 0 leave the header's entries as they are.
int32_t patchSizes(RleMemoryWriterState& state, uint32_t width, uint32_t height) {
  if (width != 0 && rleReWriteWidthOfOneStripTiffTag(state.output, width) != 1)
    return failure(state, "can not rewrite width in Tiff format.");
  if (height != 0 && rleReWriteHeightOfOneStripTiffTag(state.output, height) != 1)
    return failure(state, "can not rewrite height in Tiff format.");
  return 1;
}

int32_t patchByteCount(RleMemoryWriterState& state, uint32_t byteCount) {
  if (rleReWriteByteCountOfTiffTag(state.output, byteCount) != 1)
    return failure(state, kByteCountFailure);
  return 1;
}

// ---- Group 4 data

int32_t rleWriteG4ToTiff(RleMemoryWriter* writer, const void* data, uint32_t length) {
  if (writer == nullptr) return 0;
  RleMemoryWriterState& state = *writer->state;
  if (!countBytes(state, length) ||
      state.output->ops->writeBlock(state.output, data, length, 1) != 1)
    return failure(state, "can not write G4 data.");
  return 1;
}

int32_t rleFlushG4ToTiff(RleMemoryWriter* writer, uint32_t width, uint32_t height) {
  if (writer == nullptr) return 0;
  RleMemoryWriterState& state = *writer->state;
  return patchSizes(state, width, height) != 0 ? patchByteCount(state, state.dataSize) : 0;
}

// ---- Raw rows

// The settings have been used by now.
void ignoreWord(RleMemoryWriter*, uint32_t) {}
void ignoreRotation(RleMemoryWriter*, int32_t) {}
void ignoreScale(RleMemoryWriter*, double) {}

int32_t endG4Writer(RleMemoryWriterState& state, const char* message) {
  state.g4Writer.reset();
  return failure(state, message);
}

// The Group 4 writer takes rows of (width + 7) / 8 bytes. Those of a padding below 8 can be
// shorter; they are copied to where zeros follow them. It only reads what it is handed.
int32_t writeRows(RleMemoryWriterState& state, const uint8_t* rows, uint64_t count,
                  size_t rowBytes) {
  HeapArray<uint8_t> fullRow;
  if (rowBytes < (uint64_t{state.width} + 7) / 8) {
    fullRow = newRow(state.width, 1);
    if (!fullRow) return endG4Writer(state, kMemoryFailure);
  }
  for (uint64_t y = 0; y < count; ++y, rows += rowBytes) {
    if (fullRow) std::memcpy(fullRow.get(), rows, rowBytes);
    if (!process(*state.g4Writer, fullRow ? fullRow.get() : const_cast<uint8_t*>(rows)))
      return endG4Writer(state, kProcessFailure);
  }
  state.rowsWritten += count;
  return 1;
}

// Rows without bytes, those of a width of 0, of less than 8 pixels with a padding below 8 or of a
// padding of 0, cannot be counted in any data: they are refused, and the Group 4 writer is ended as
// for a row that it refuses.
int32_t rleWriteRawToTiff(RleMemoryWriter* writer, const void* data, uint32_t length) {
  if (writer == nullptr) return 0;
  RleMemoryWriterState& state = *writer->state;
  if (!state.g4Writer) return failure(state, kWriterMissing);
  const auto rowBytes = size_t(bitRowBytes(state));
  if (rowBytes == 0) return endG4Writer(state, kProcessFailure);
  return writeRows(state, static_cast<const uint8_t*>(data), length / rowBytes, rowBytes);
}

int32_t addZeroRows(RleMemoryWriterState& state, uint32_t height) {
  if (state.rowsWritten >= height) return 1;
  const HeapArray<uint8_t> row = newRow(std::max<uint64_t>(state.width, 8 * bitRowBytes(state)), 1);
  if (!row) return endG4Writer(state, kMemoryFailure);
  for (; state.rowsWritten < height; ++state.rowsWritten)
    if (!process(*state.g4Writer, row.get())) return endG4Writer(state, kProcessFailure);
  return 1;
}

// A stream that cannot tell its position makes the patch of the byte count fail: a wrong count
// would make a file that looks whole.
int32_t rleFlushRawToTiff(RleMemoryWriter* writer, uint32_t width, uint32_t height) {
  if (writer == nullptr) return 0;
  RleMemoryWriterState& state = *writer->state;
  if (!state.g4Writer) return failure(state, kWriterMissing);
  if (addZeroRows(state, height) == 0) return 0;
  if (!end(std::move(state.g4Writer))) return failure(state, "end call faild.");
  const int32_t dataEnd = state.output->ops->tell(state.output);
  if (patchSizes(state, width, height) == 0) return 0;
  if (state.dataStart < 0 || dataEnd < state.dataStart) return failure(state, kByteCountFailure);
  return patchByteCount(state, uint32_t(dataEnd - state.dataStart));
}

}  // namespace

int32_t startG4ToTiff(RleMemoryWriter& writer) {
  writer.write = rleWriteG4ToTiff;
  writer.flush = rleFlushG4ToTiff;
  return 1;
}

int32_t startRawToTiff(RleMemoryWriter& writer) {
  writer.write = rleWriteRawToTiff;
  writer.flush = rleFlushRawToTiff;
  writer.setBufferSize = ignoreWord;
  writer.setScale = ignoreScale;
  writer.setRotation = ignoreRotation;
  writer.setPaddingBits = ignoreWord;

  RleMemoryWriterState& state = *writer.state;
  if (state.height == 0) state.height = kUnknownHeight;
  OwnedInstance g4Writer(gfxInitWriteG4(state.output, 1));
  if (!g4Writer) return failure(state, kWriterMissing);
  GfxImageDesc description = {state.width, state.height, state.pixelFormat, 0, 0, nullptr};
  if (!begin(*g4Writer, description)) return failure(state, "can not write header.");
  state.g4Writer = std::move(g4Writer);
  state.dataStart = state.output->ops->tell(state.output);
  return 1;
}

}  // namespace rle::raster
