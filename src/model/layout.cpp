// The layout of the public records, which callers in other languages rely on. It is that of C on
// every platform with 64-bit pointers and longs; nothing is packed.

#include <cstddef>

#include "rle.h"

#ifdef __LP64__

static_assert(sizeof(RleRun) == 4);
static_assert(offsetof(RleRun, start) == 0);
static_assert(offsetof(RleRun, end) == 2);

static_assert(sizeof(RleLine) == 16);
static_assert(offsetof(RleLine, tag) == 0);
static_assert(offsetof(RleLine, count) == 4);
static_assert(offsetof(RleLine, runs) == 8);

static_assert(sizeof(RleRect) == 24);
static_assert(offsetof(RleRect, tag) == 0);
static_assert(offsetof(RleRect, resolution) == 4);
static_assert(offsetof(RleRect, width) == 6);
static_assert(offsetof(RleRect, height) == 8);
static_assert(offsetof(RleRect, rows) == 16);

static_assert(sizeof(RlePoint) == 8);
static_assert(offsetof(RlePoint, x) == 0);
static_assert(offsetof(RlePoint, y) == 4);

static_assert(sizeof(RleDPoint) == 16);
static_assert(offsetof(RleDPoint, x) == 0);
static_assert(offsetof(RleDPoint, y) == 8);

static_assert(sizeof(RlePoly) == 40);
static_assert(offsetof(RlePoly, count) == 0);
static_assert(offsetof(RlePoly, points) == 8);
static_assert(offsetof(RlePoly, fillRule) == 16);
static_assert(offsetof(RlePoly, mask) == 24);
static_assert(offsetof(RlePoly, image) == 32);

static_assert(sizeof(RleFile) == 24);
static_assert(offsetof(RleFile, context.stream) == 0);
static_assert(offsetof(RleFile, context.magic) == 8);
static_assert(offsetof(RleFile, context.version) == 12);
static_assert(offsetof(RleFile, context.resolution) == 16);
static_assert(offsetof(RleFile, header.magic) == 0);
static_assert(offsetof(RleFile, header.height) == 4);
static_assert(offsetof(RleFile, header.width) == 6);
static_assert(offsetof(RleFile, header.version) == 8);
static_assert(offsetof(RleFile, header.resolution) == 12);

static_assert(sizeof(RleTiffG4Info) == 28);
static_assert(offsetof(RleTiffG4Info, width) == 0);
static_assert(offsetof(RleTiffG4Info, height) == 4);
static_assert(offsetof(RleTiffG4Info, xResolution) == 8);
static_assert(offsetof(RleTiffG4Info, yResolution) == 12);
static_assert(offsetof(RleTiffG4Info, stripOffset) == 16);
static_assert(offsetof(RleTiffG4Info, photometric) == 20);
static_assert(offsetof(RleTiffG4Info, fillOrder) == 24);

static_assert(sizeof(RleMemoryWriter) == 80);
static_assert(offsetof(RleMemoryWriter, initialize) == 0);
static_assert(offsetof(RleMemoryWriter, write) == 8);
static_assert(offsetof(RleMemoryWriter, flush) == 16);
static_assert(offsetof(RleMemoryWriter, end) == 24);
static_assert(offsetof(RleMemoryWriter, setBufferSize) == 32);
static_assert(offsetof(RleMemoryWriter, setScale) == 40);
static_assert(offsetof(RleMemoryWriter, setRotation) == 48);
static_assert(offsetof(RleMemoryWriter, setPaddingBits) == 56);
static_assert(offsetof(RleMemoryWriter, getError) == 64);
static_assert(offsetof(RleMemoryWriter, state) == 72);

#endif

// Slot n of a stream's table stands n pointers from its start.
constexpr size_t slot(size_t offset) { return offset / sizeof(void*); }

static_assert(offsetof(RleStream, ops) == 0);
static_assert(sizeof(RleStreamOps) == 17 * sizeof(void*));
static_assert(slot(offsetof(RleStreamOps, writeBlock)) == 1);
static_assert(slot(offsetof(RleStreamOps, getByte)) == 2);
static_assert(slot(offsetof(RleStreamOps, putByte)) == 3);
static_assert(slot(offsetof(RleStreamOps, getWord16)) == 4);
static_assert(slot(offsetof(RleStreamOps, putWord16)) == 5);
static_assert(slot(offsetof(RleStreamOps, getWord32)) == 6);
static_assert(slot(offsetof(RleStreamOps, putWord32)) == 7);
static_assert(slot(offsetof(RleStreamOps, seek)) == 8);
static_assert(slot(offsetof(RleStreamOps, tell)) == 9);
static_assert(slot(offsetof(RleStreamOps, hasError)) == 12);
static_assert(slot(offsetof(RleStreamOps, destroy)) == 14);
static_assert(slot(offsetof(RleStreamOps, setByteOrder)) == 15);
static_assert(slot(offsetof(RleStreamOps, getByteOrder)) == 16);
