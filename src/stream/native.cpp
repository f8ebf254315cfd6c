// The native format: headers and rows.
//
//     header           magic  version  height  width  resolution      16 bytes
//     polygon section  n  n vertices  fill rule                       see native_poly.cpp
//     rows             height times: c  c runs                        start, end; 16 bits each
//
// Every value is one call of the stream, followed by the question whether the stream is still
// healthy; the first failure ends the call. What a file claims is not trusted: a row's count can
// ask for 65535 runs and an image for 65535 rows at most, and each row is made when it is read.

#include "model/owners.h"
#include "rle.h"
#include "stream/words.h"

namespace rle {
namespace {

constexpr uint32_t kMagic = 0x524C4300;
constexpr uint32_t kLegacyMagic = 0x51756962;
constexpr int32_t kLegacyGapBeforeResolution = 262;  // bytes that are not looked at
constexpr int32_t kLegacyGapAfterResolution = 252;
constexpr uint16_t kLegacyUnknownResolution = 75;
constexpr uint32_t kFirstVersion = 1;
constexpr uint32_t kDefaultResolution = 400;
constexpr uint32_t kMaxRows = 65535;
constexpr uint32_t kNoPoints = 0;
constexpr uint32_t kEvenOdd = 0;
constexpr int32_t kFromHere = 1;  // origin of a seek

// Reads over a polygon section, whatever it holds.
bool skipPolygon(RleStream& stream) {
  uint32_t ignored;
  uint32_t count;
  if (!read32(stream, count)) return false;
  for (; count != 0; --count) {
    stream.ops->getWord32(&stream);
    if (!read32(stream, ignored)) return false;
  }
  return read32(stream, ignored);
}

// What follows the magic of a native header.
bool readNative(RleStream& stream, RleFile& record) {
  auto& header = record.header;
  if (!read32(stream, header.version) || !read16(stream, header.height) ||
      !read16(stream, header.width) || !read32(stream, header.resolution))
    return false;
  if (header.resolution == 0) header.resolution = kDefaultResolution;
  return true;
}

// What follows the magic of a legacy header.
bool readLegacy(RleStream& stream, RleFile& record) {
  auto& header = record.header;
  uint16_t resolution;
  if (!read16(stream, header.height) || !read16(stream, header.width)) return false;
  if (stream.ops->seek(&stream, kLegacyGapBeforeResolution, kFromHere) != 0) return false;
  if (!read16(stream, resolution)) return false;
  if (stream.ops->seek(&stream, kLegacyGapAfterResolution, kFromHere) != 0) return false;
  const bool known = resolution != 0 && resolution != kLegacyUnknownResolution;
  header.resolution = known ? resolution : kDefaultResolution;
  return true;
}

}  // namespace
}  // namespace rle

extern "C" {

RleFile* rleOpen(RleStream* stream) {
  RleFile* const file = rleAllocFile();
  if (file != nullptr) file->context.stream = stream;
  return file;
}

void rleClose(RleFile* file) { rleFreeFile(file); }

int32_t rleWriteHeader(RleFile* file, RleFile* header, int32_t withEmptyPoly) {
  if (file == nullptr) return 0;
  RleStream& stream = *file->context.stream;
  const auto& h = header->header;
  const uint32_t version = h.version == 0 ? rle::kFirstVersion : h.version;
  if (!rle::write32(stream, rle::kMagic) || !rle::write32(stream, version) ||
      !rle::write16(stream, h.height) || !rle::write16(stream, h.width) ||
      !rle::write32(stream, h.resolution))
    return 0;
  if (withEmptyPoly != 1) return 1;
  for (const uint32_t word : {rle::kNoPoints, rle::kEvenOdd})
    if (!rle::write32(stream, word)) return 0;
  return 1;
}

RleFile* rleReadHeader(RleFile* file, int32_t skipPoly) {
  if (file == nullptr) return nullptr;
  RleStream& stream = *file->context.stream;
  RleFile read{};
  if (!rle::read32(stream, read.header.magic)) return nullptr;
  const bool native = read.header.magic == rle::kMagic;
  if (!native && read.header.magic != rle::kLegacyMagic) return nullptr;
  if (!(native ? rle::readNative(stream, read) : rle::readLegacy(stream, read))) return nullptr;
  rle::OwnedFile record(rleAllocHeader());
  if (!record) return nullptr;
  record->header = read.header;
  if (native && skipPoly == 1 && !rle::skipPolygon(stream)) return nullptr;
  file->context.magic = read.header.magic;
  file->context.version = read.header.version;
  file->context.resolution = uint16_t(read.header.resolution);
  return record.release();
}

int32_t rleWriteLine(RleFile* file, RleLine* line) {
  if (file == nullptr) return 0;
  RleStream& stream = *file->context.stream;
  if (!rle::write16(stream, line->count)) return 0;
  for (uint32_t i = 0; i < line->count; ++i)
    if (!rle::write16(stream, line->runs[i].start) || !rle::write16(stream, line->runs[i].end))
      return 0;
  return 1;
}

int32_t rleWriteLines(RleFile* file, RleLine** rows, int32_t n) {
  int32_t written = 0;
  while (written < n && rleWriteLine(file, rows[written]) == 1) ++written;
  return written;
}

int32_t rleWriteRect(RleFile* file, RleRect* rect) {
  if (file == nullptr) return 0;
  return rleWriteLines(file, rect->rows, rect->height) == rect->height ? 1 : 0;
}

RleLine* rleReadLine(RleFile* file) {
  if (file == nullptr) return nullptr;
  RleStream& stream = *file->context.stream;
  rle::OwnedLine line(rleAllocLine());
  if (!line) return nullptr;
  if (!rle::read16(stream, line->count)) return nullptr;
  if (line->count == 0) return line.release();
  line->runs = rleAllocRuns(line->count);
  if (line->runs == nullptr) return nullptr;
  for (uint32_t i = 0; i < line->count; ++i)
    if (!rle::read16(stream, line->runs[i].start) || !rle::read16(stream, line->runs[i].end))
      return nullptr;
  return line.release();
}

RleLine** rleReadLines(RleFile* file, uint32_t n) {
  if (file == nullptr || n > rle::kMaxRows) return nullptr;
  RleLine** const rows = rleAllocLines(int32_t(n));
  if (rows == nullptr) return nullptr;
  for (uint32_t y = 0; y < n; ++y) {
    rows[y] = rleReadLine(file);
    if (rows[y] == nullptr) {
      rleFreeLines(int32_t(n), rows);
      return nullptr;
    }
  }
  return rows;
}

RleRect* rleReadRect(RleFile* file, int32_t width, int32_t height) {
  if (file == nullptr) return nullptr;
  rle::OwnedRect rect(rleAllocRect());
  if (!rect) return nullptr;
  rect->rows = rleReadLines(file, uint16_t(height));
  if (rect->rows == nullptr) return nullptr;
  rect->resolution = file->context.resolution;  // as it is, even 0
  rect->width = uint16_t(width);
  rect->height = uint16_t(height);
  return rect.release();
}

}  // extern "C"
