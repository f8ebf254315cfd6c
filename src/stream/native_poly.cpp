// The native format: the polygon section, and polygon regions as a whole.
//
//     n  n vertices  fill rule      32 bits each; a vertex is x, y
//
// An image has the section too, with n = 0. The mask of a region is not stored: it follows from the
// vertices.

#include <algorithm>
#include <cstdint>

#include "model/owners.h"
#include "rle.h"
#include "stream/words.h"

namespace rle {
namespace {

// Vertices that memory is provided for on the file's word alone: half a megabyte.
constexpr uint32_t kTrustedPoints = 65536;

bool readPoint(RleStream& stream, RlePoint& point) {
  uint32_t x;
  uint32_t y;
  if (!read32(stream, x) || !read32(stream, y)) return false;
  point = {int32_t(x), int32_t(y)};
  return true;
}

// Reads `count` vertices. A large array grows with the vertices that have really arrived, so that
// a count which the file does not keep costs no memory.
OwnedPoints readPoints(RleStream& stream, uint32_t count) {
  uint32_t room = std::min(count, kTrustedPoints);
  OwnedPoints points(rleAllocPoints(room));
  for (uint32_t i = 0; points && i < count; ++i) {
    if (i == room) {
      room += std::min(count - room, room);
      OwnedPoints larger(rleAllocPoints(room));
      if (!larger) return nullptr;
      std::copy_n(points.get(), i, larger.get());
      points = std::move(larger);
    }
    if (!readPoint(stream, points.get()[i])) return nullptr;
  }
  return points;
}

}  // namespace
}  // namespace rle

extern "C" {

int32_t rleWritePolyLine(RleFile* file, uint32_t count, RlePoint* points) {
  if (file == nullptr || (count != 0 && points == nullptr)) return 0;
  RleStream& stream = *file->context.stream;
  const auto put = [&](uint32_t value) { return stream.ops->putWord32(&stream, value) != -1; };
  if (!put(count)) return 0;
  for (uint32_t i = 0; i < count; ++i)
    if (!put(uint32_t(points[i].x)) || !put(uint32_t(points[i].y))) return 0;
  return 1;
}

RlePoint* rleReadPolyLine(RleFile* file, uint32_t* countOut) {
  if (file == nullptr) return nullptr;
  RleStream& stream = *file->context.stream;
  uint32_t count;
  if (!rle::read32(stream, count)) return nullptr;
  rle::OwnedPoints points = rle::readPoints(stream, count);
  if (points && countOut != nullptr) *countOut = count;
  return points.release();
}

int32_t rleWriteFillRule(RleFile* file, int32_t rule) {
  if (file == nullptr) return 0;
  return rle::write32(*file->context.stream, uint32_t(rule)) ? 1 : 0;
}

int32_t rleReadFillRule(RleFile* file) {
  if (file == nullptr) return -1;
  uint32_t rule;
  if (!rle::read32(*file->context.stream, rule)) return -1;
  return rule <= 1 ? int32_t(rule) : -1;
}

int32_t rleWritePoly(RleFile* file, RlePoly* poly) {
  if (file == nullptr || poly->image == nullptr) return 0;
  if (rleWritePolyLine(file, poly->count, poly->points) == 0) return 0;
  if (rleWriteFillRule(file, poly->fillRule) == 0) return 0;
  return rleWriteRect(file, poly->image);
}

RlePoly* rleReadPoly(RleFile* file, int32_t width, int32_t height) {
  if (file == nullptr) return nullptr;
  rle::OwnedPoly poly(rleAllocPoly());
  if (!poly) return nullptr;
  poly->points = rleReadPolyLine(file, &poly->count);
  if (poly->points == nullptr) return nullptr;
  poly->fillRule = rleReadFillRule(file);
  if (poly->fillRule == -1) return nullptr;
  poly->image = rleReadRect(file, width, height);
  if (poly->image == nullptr) return nullptr;
  return poly.release();
}

}  // extern "C"
