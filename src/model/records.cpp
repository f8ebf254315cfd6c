// Rows, images, polygon regions and stream records: making, releasing, copying.
//
// Records come from calloc and own what they point to. Every maker hands its record over only when
// it is complete; until then an owner holds it.

#include <algorithm>
#include <cstdlib>

#include "model/owners.h"
#include "rle.h"

namespace {

constexpr uint16_t kDefaultResolution = 200;

template <class Record>
Record* zeroed(size_t count = 1) {
  return static_cast<Record*>(std::calloc(count, sizeof(Record)));
}

// An image without rows, but with its row array.
rle::OwnedRect rectWithoutRows(uint16_t width, uint16_t height, uint16_t resolution) {
  rle::OwnedRect rect(rleAllocRect());
  if (!rect) return nullptr;
  rect->rows = rleAllocLines(height);
  if (rect->rows == nullptr) return nullptr;
  rect->resolution = resolution;
  rect->width = width;
  rect->height = height;
  return rect;
}

}  // namespace

extern "C" {

RleLine* rleAllocLine() { return zeroed<RleLine>(); }

void rleFreeLine(RleLine* line) {
  if (line == nullptr) return;
  if (line->runs != nullptr) rleFreeRuns(line->runs);
  std::free(line);
}

RleLine** rleAllocLines(int32_t count) {
  return zeroed<RleLine*>(static_cast<size_t>(count));  // a negative count is too large for calloc
}

void rleFreeLines(int32_t count, RleLine** rows) {
  if (count < 1) return;
  for (int32_t i = 0; i < count; ++i) {
    rleFreeLine(rows[i]);
    rows[i] = nullptr;
  }
  std::free(rows);
}

RleRect* rleAllocRect() {
  auto* const rect = zeroed<RleRect>();
  if (rect != nullptr) rect->resolution = kDefaultResolution;
  return rect;
}

void rleFreeRect(RleRect* rect) {
  if (rect == nullptr) return;
  if (rect->rows != nullptr) {
    if (rect->height == 0)
      std::free(rect->rows);  // rleFreeLines releases nothing for a count of 0
    else
      rleFreeLines(rect->height, rect->rows);
  }
  std::free(rect);
}

RleRect* rleNewRect(uint32_t width, uint32_t height, uint32_t resolution) {
  const auto dpi = uint16_t(resolution);
  rle::OwnedRect rect =
      rectWithoutRows(uint16_t(width), uint16_t(height), dpi == 0 ? kDefaultResolution : dpi);
  if (!rect) return nullptr;
  for (uint32_t y = 0; y < rect->height; ++y) {
    rect->rows[y] = rleAllocLine();
    if (rect->rows[y] == nullptr) return nullptr;
  }
  return rect.release();
}

RlePoint* rleAllocPoints(uint32_t count) { return zeroed<RlePoint>(count); }

void rleFreePoints(RlePoint* points) { std::free(points); }

RlePoly* rleAllocPoly() { return zeroed<RlePoly>(); }

void rleFreePoly(RlePoly* poly) {
  if (poly == nullptr) return;
  rleFreePoints(poly->points);
  rleFreeRect(poly->mask);
  rleFreeRect(poly->image);
  std::free(poly);
}

RleFile* rleAllocFile() { return zeroed<RleFile>(); }

RleFile* rleAllocHeader() { return rleAllocFile(); }

void rleFreeFile(RleFile* file) { std::free(file); }

void rleFreeHeader(RleFile* file) { rleFreeFile(file); }

RleLine* rleDupLine(RleLine* line) {
  rle::OwnedLine copy(rleAllocLine());
  if (!copy) return nullptr;
  copy->runs = rleAllocRuns(line->count);
  if (copy->runs == nullptr) return nullptr;
  copy->tag = line->tag;
  copy->count = line->count;
  std::copy_n(line->runs, line->count, copy->runs);
  return copy.release();
}

RleRect* rleDupRect(RleRect* rect) {
  rle::OwnedRect copy = rectWithoutRows(rect->width, rect->height, rect->resolution);
  if (!copy) return nullptr;
  copy->tag = rect->tag;
  for (uint32_t y = 0; y < rect->height; ++y) {
    copy->rows[y] = rleDupLine(rect->rows[y]);
    if (copy->rows[y] == nullptr) return nullptr;
  }
  return copy.release();
}

RlePoly* rleDupPoly(RlePoly* poly) {
  rle::OwnedPoly copy(rleAllocPoly());
  if (!copy) return nullptr;
  copy->count = poly->count;
  copy->fillRule = poly->fillRule;
  if (poly->count != 0 && poly->points != nullptr) {
    copy->points = rleAllocPoints(poly->count);
    if (copy->points == nullptr) return nullptr;
    std::copy_n(poly->points, poly->count, copy->points);
  }
  if (poly->mask != nullptr) {
    copy->mask = rleDupRect(poly->mask);
    if (copy->mask == nullptr) return nullptr;
  }
  if (poly->image != nullptr) {
    copy->image = rleDupRect(poly->image);
    if (copy->image == nullptr) return nullptr;
  }
  return copy.release();
}

}  // extern "C"
