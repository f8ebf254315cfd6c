// Memory raster writer: the object, its beginning and its end.
//
// The methods are reached through the object alone, and those that write are exchanged while it
// runs: initialize chooses between collecting the data and writing it straight to the output.

#include "raster/memory_writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace rle::raster {
namespace {

void rleSetBufferSize(RleMemoryWriter* writer, uint32_t bytes) {
  if (writer != nullptr) writer->state->bufferSize = bytes;
}

void rleSetScaleValue(RleMemoryWriter* writer, double factor) {
  if (writer != nullptr) writer->state->scale = factor;
}

void rleSetRotationValue(RleMemoryWriter* writer, int32_t rotation) {
  if (writer != nullptr) writer->state->rotation = rotation;
}

void rleSetPaddingBits(RleMemoryWriter* writer, uint32_t bits) {
  if (writer != nullptr) writer->state->padding = bits;
}

const char* rleGetErrorFunction(RleMemoryWriter* writer) {
  return writer != nullptr ? writer->state->lastError : nullptr;
}

void setBufferedMethods(RleMemoryWriter& writer) {
  writer.write = rleWrite;
  writer.flush = rleFlush;
  writer.setBufferSize = rleSetBufferSize;
  writer.setScale = rleSetScaleValue;
  writer.setRotation = rleSetRotationValue;
  writer.setPaddingBits = rleSetPaddingBits;
}

// Descriptor of a new, empty file; -1 when it cannot be made.
int createFile(const char* path) {
  int file;
  do file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  while (file < 0 && errno == EINTR);
  return file;
}

// The path is kept only while the file is there, so it also tells whether one is to be deleted.
int32_t createTemporaryFile(RleMemoryWriterState& state, const char* path) {
  if (path == nullptr) return failure(state, "set path parameter in rleInitialize.");
  const size_t size = std::strlen(path) + 1;
  state.path = newArray<char>(size);
  if (!state.path) return failure(state, "can not allocate memory for path.");
  std::memcpy(state.path.get(), path, size);
  state.temporaryFile = createFile(path);
  if (state.temporaryFile >= 0) return 1;
  state.path.reset();
  return failure(state, "can not create temporary file.");
}

void deleteTemporaryFile(RleMemoryWriterState& state) {
  closeTemporaryFile(state);
  if (state.path) unlink(state.path.get());
  state.path.reset();
}

// An initialize after the first one begins another image: what came for the one before it is
// dropped. The settings stay, and so does the last message.
void startOver(RleMemoryWriter& writer) {
  RleMemoryWriterState& state = *writer.state;
  deleteTemporaryFile(state);
  state.memory.reset();
  state.g4Writer.reset();
  state.dataSize = 0;
  state.rowsWritten = 0;
  state.incomplete = false;
  setBufferedMethods(writer);
}

bool needsPipeline(const RleMemoryWriterState& state) {
  return hasTransform(state) || state.format != GFX_TIFF || bitsPerPixel(state.pixelFormat) != 1;
}

int32_t rleInitialize(RleMemoryWriter* writer, uint32_t width, uint32_t height, uint32_t resolution,
                      int32_t bitsPerPixel, int32_t colourType, int32_t inputKind,
                      int32_t readerOptions, const char* path) {
  if (writer == nullptr) return 0;
  startOver(*writer);
  RleMemoryWriterState& state = *writer->state;
  state.width = width;
  state.height = height;
  state.resolution = resolution;
  state.pixelFormat = GFX_FORMAT(bitsPerPixel, colourType);
  state.inputKind = inputKind;
  state.readerOptions = readerOptions;
  if (createTemporaryFile(state, path) == 0) return 0;
  if (needsPipeline(state)) return 1;

  if (rleWriteTiffHeader(state.output, width, height, resolution, int16_t(colourType), 1) != 1)
    return failure(state, "can not write one strip TIFF header.");
  return inputKind != kRawRows ? startG4ToTiff(*writer) : startRawToTiff(*writer);
}

// A Group 4 writer that no flush has ended is ended here, so that it is not lost.
void rleEnd(RleMemoryWriter* writer) {
  if (writer == nullptr) return;
  deleteTemporaryFile(*writer->state);
  std::destroy_at(writer->state);
  std::free(writer->state);
  std::free(writer);
}

}  // namespace

void closeTemporaryFile(RleMemoryWriterState& state) {
  if (state.temporaryFile >= 0) close(state.temporaryFile);
  state.temporaryFile = -1;
}

}  // namespace rle::raster

extern "C" RleMemoryWriter* rleInitWriteRasterFromMemory(RleStream* output, int32_t format) {
  using namespace rle::raster;
  rle::HeapArray<RleMemoryWriter> writer = rle::newArray<RleMemoryWriter>(1);
  void* const memory = writer ? std::malloc(sizeof(RleMemoryWriterState)) : nullptr;
  if (memory == nullptr) return nullptr;
  auto* state = new (memory) RleMemoryWriterState{.output = output, .format = format};
  writer[0].initialize = rleInitialize;
  writer[0].end = rleEnd;
  writer[0].getError = rleGetErrorFunction;
  writer[0].state = state;
  setBufferedMethods(writer[0]);
  return writer.release();
}
