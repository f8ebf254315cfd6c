// Memory raster writer, buffered: any image into a file of any format.
//
// What is written is collected in memory and moves to the temporary file when it becomes too much,
// unless the image will be scaled or turned. Flush reads it back through a pipeline.
//
// A write that fails leaves a gap in the data. No whole image can be made of what is there, so all
// later writes and flush are refused, with the message of that write left in place.

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "raster/memory_writer.h"

namespace rle::raster {
namespace {

constexpr const char* kMemoryFailure = "can not write to memory.";
constexpr const char* kFileFailure = "can not write to temporary file.";

// ---- Collecting

int32_t writeFailure(RleMemoryWriterState& state, const char* message) {
  state.incomplete = true;
  return failure(state, message);
}

bool writeToFile(int file, const void* data, size_t length) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  while (length != 0) {
    const ssize_t written = write(file, bytes, length);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    length -= size_t(written);
  }
  return true;
}

int32_t rleWriteToFile(RleMemoryWriter* writer, const void* data, uint32_t length) {
  if (writer == nullptr) return 0;
  RleMemoryWriterState& state = *writer->state;
  if (state.incomplete) return 0;
  if (!countBytes(state, length) || !writeToFile(state.temporaryFile, data, length))
    return writeFailure(state, kFileFailure);
  return 1;
}

bool appendToMemory(RleMemoryWriterState& state, size_t held, const void* data, uint32_t length) {
  if (length == 0) return true;  // realloc to 0 bytes would free what was collected
  auto* grown = static_cast<uint8_t*>(std::realloc(state.memory.get(), held + length));
  if (grown == nullptr) return false;
  static_cast<void>(state.memory.release());
  state.memory.reset(grown);
  std::memcpy(grown + held, data, length);
  return true;
}

// ---- Reading back

// Null without a file too, as when initialize was never called.
OwnedStream openCollected(const RleMemoryWriterState& state) {
  constexpr int32_t read = XIO_READ;
  if (state.memory)
    return OwnedStream(xioCreateMemoryStream(state.memory.get(), state.dataSize, read));
  return OwnedStream(state.path ? xioCreateFileStreamByName(state.path.get(), read) : nullptr);
}

// Bytes of a row of raw input. Rows of one bit are padded as pixels before they become bytes, all
// others as bytes. Nothing for pixels of no bits or of 2 to 7, for a padding of 0, and for a row
// whose length a reader cannot be told.
std::optional<uint32_t> rawRowBytes(const RleMemoryWriterState& state) {
  const int32_t bits = bitsPerPixel(state.pixelFormat);
  if (state.padding == 0 || (bits != 1 && bits < 8)) return std::nullopt;
  const uint64_t bytes =
      bits == 1 ? bitRowBytes(state) : padded(uint64_t(bits / 8) * state.width, state.padding);
  if (bytes > UINT32_MAX) return std::nullopt;
  return uint32_t(bytes);
}

OwnedInstance newReader(RleMemoryWriterState& state, RleStream* stream) {
  const int32_t bits = bitsPerPixel(state.pixelFormat), colours = colourType(state.pixelFormat);
  GfxInstance* reader = nullptr;
  if (state.inputKind == kGroup4Data) {
    reader = gfxInitReadG4(stream, state.width, state.height, 0, state.height, colours == 0 ? 1 : 0,
                           state.readerOptions);
  } else if (state.inputKind == kRawRows) {
    const auto rowBytes = rawRowBytes(state);
    if (rowBytes)
      reader = gfxInitReadRawData(stream, state.width, state.height, bits, colours,
                                  state.readerOptions, 0, state.height, *rowBytes, state.dataSize);
  } else {
    failure(state, "invalid raster type.");
    return nullptr;
  }
  if (reader == nullptr) failure(state, "can not create gfx instance.");
  return OwnedInstance(reader);
}

// ---- Converting

// A product that is no size of an image (negative, beyond 32 bits, not a number) becomes nothing.
std::optional<uint32_t> scaled(uint32_t size, double factor) {
  const double product = size * factor;
  if (!(product > -1 && product < 0x1p32)) return std::nullopt;
  return uint32_t(product);
}

// The smaller image is the one turned. Both ways the new sizes are those of the image as it came,
// also where the turn exchanges its sides.
bool transform(RleMemoryWriterState& state, OwnedInstance& rows) {
  if (state.scale == 1.0)
    return extend(rows, gfxInitRotate, state.rotation) ||
           failure(state, "can not create gfx instance for rotation.") != 0;
  const auto width = scaled(state.width, state.scale), height = scaled(state.height, state.scale);
  if (!width || !height) return false;
  const bool enlarges = state.scale > 1.0;
  return (!enlarges || extend(rows, gfxInitRotate, state.rotation)) &&
         extend(rows, gfxInitMinScaleWidth, *width) &&
         extend(rows, gfxInitMinScaleHeight, *height) &&
         (enlarges || extend(rows, gfxInitRotate, state.rotation));
}

// Rows that cannot be read become copies of the buffer, so that the file has all its rows. The
// buffer holds a row of the pixels that were announced as well as of those that the reader reports.
int32_t copyRows(RleMemoryWriterState& state, GfxInstance& reader, GfxInstance& writer,
                 const GfxImageDesc& description, HeapArray<uint8_t>& row) {
  const int32_t bits = std::max(bitsPerPixel(state.pixelFormat), bitsPerPixel(description.format));
  row = newRow(description.width, bits);
  if (!row) return failure(state, "can not allocate memory.");
  const auto headBytes =
      size_t(std::min<uint64_t>(4, (uint64_t{description.width} * uint32_t(bits) + 7) / 8));
  bool readable = true;
  for (uint32_t y = 0; y < description.height; ++y) {
    std::memset(row.get(), 0, headBytes);
    if (readable && !process(reader, row.get())) {
      readable = false;
      failure(state, "read process call faild.");
      std::memset(row.get(), 0, headBytes);
    }
    if (!process(writer, row.get())) return failure(state, "write process call faild.");
  }
  return 1;
}

// A failure releases the owners from the last to the first.
int32_t convert(RleMemoryWriterState& state) {
  GfxOutputParams parameters = {state.resolution, state.resolution, 0, 0};
  HeapArray<uint8_t> row;
  OwnedInstance writer, rows;
  OwnedStream source = openCollected(state);
  if (!source) return failure(state, "can not create XIO stream.");
  rows = newReader(state, source.get());
  if (!rows || !transform(state, rows)) return 0;

  GfxImageDesc description = {};
  if (!begin(*rows, description)) return failure(state, "can not read header.");
  const auto compression = compressionFor(state.format, bitsPerPixel(state.pixelFormat));
  if (!compression) return failure(state, "invalid output format type.");
  parameters.compression = *compression;
  description.parameters = &parameters;
  writer.reset(gfxInitWriteRaster(state.output, state.format));
  if (!writer) return failure(state, "can not create gfx instance.");
  if (!begin(*writer, description)) return failure(state, "can not write header.");
  if (copyRows(state, *rows, *writer, description, row) == 0) return 0;

  if (!end(std::move(rows)) || !end(std::move(writer))) return failure(state, "end call faild.");
  RleStream* const stream = source.release();
  if (stream->ops->destroy(stream) != 0) return failure(state, "close call faild.");
  return 1;
}

}  // namespace

int32_t rleWrite(RleMemoryWriter* writer, const void* data, uint32_t length) {
  if (writer == nullptr) return 0;
  RleMemoryWriterState& state = *writer->state;
  const uint32_t held = state.dataSize;
  if (state.incomplete) return 0;
  if (!countBytes(state, length)) return writeFailure(state, kMemoryFailure);
  if (state.dataSize < state.bufferSize || hasTransform(state)) {
    if (!appendToMemory(state, held, data, length)) return writeFailure(state, kMemoryFailure);
    return 1;
  }
  if (!writeToFile(state.temporaryFile, state.memory.get(), held) ||
      !writeToFile(state.temporaryFile, data, length))
    return writeFailure(state, kFileFailure);
  writer->write = rleWriteToFile;
  state.memory.reset();
  return 1;
}

int32_t rleFlush(RleMemoryWriter* writer, uint32_t width, uint32_t height) {
  if (writer == nullptr) return 0;
  RleMemoryWriterState& state = *writer->state;
  if (state.width == 0) state.width = width;
  if (state.height == 0) state.height = height;
  closeTemporaryFile(state);
  return state.incomplete ? 0 : convert(state);
}

}  // namespace rle::raster
