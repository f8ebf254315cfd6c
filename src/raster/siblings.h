// The sibling libraries: the raster pipeline, the streams and the colour spaces, and what their
// users here know beyond the three headers.
//
// Every user works the same way: make a chain of instances, begin its outermost one, call process
// once per row, end the outermost one. Owners end what is left on every way out.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>

#include "gfx.h"
#include "hue.h"
#include "model/heap_array.h"
#include "model/owners.h"
#include "rle.h"
#include "xio.h"

namespace rle::raster {

// The records as other libraries that take a sibling's place lay them out.
#ifdef __LP64__
static_assert(sizeof(GfxInstance) == 24);
static_assert(offsetof(GfxInstance, begin) == 0);
static_assert(offsetof(GfxInstance, process) == 8);
static_assert(offsetof(GfxInstance, end) == 16);
static_assert(sizeof(GfxImageDesc) == 32);
static_assert(offsetof(GfxImageDesc, parameters) == 24);
#endif
static_assert(offsetof(GfxImageDesc, width) == 0);
static_assert(offsetof(GfxImageDesc, height) == 4);
static_assert(offsetof(GfxImageDesc, format) == 8);
static_assert(offsetof(GfxImageDesc, zero3) == 12);
static_assert(offsetof(GfxImageDesc, zero4) == 16);
static_assert(sizeof(GfxOutputParams) == 16);
static_assert(offsetof(GfxOutputParams, xResolution) == 0);
static_assert(offsetof(GfxOutputParams, yResolution) == 4);
static_assert(offsetof(GfxOutputParams, compression) == 8);
static_assert(offsetof(GfxImageInfo, page) == 0);
static_assert(offsetof(GfxImageInfo, width) == 4);
static_assert(offsetof(GfxImageInfo, height) == 8);
static_assert(offsetof(GfxImageInfo, format) == 12);
static_assert(offsetof(GfxImageInfo, xResolution) == 16);
static_assert(offsetof(GfxImageInfo, yResolution) == 20);
static_assert(offsetof(GfxImageInfo, resolutionUnit) == 32);

// ---- Instances

struct EndInstance {
  void operator()(GfxInstance* instance) const { instance->end(instance); }
};

// An instance with all that it wraps.
using OwnedInstance = std::unique_ptr<GfxInstance, EndInstance>;
using OwnedInfo = std::unique_ptr<GfxImageInfo, FreeWith<gfxFreeImageInfo>>;

// Puts the instance that `make` wraps around a chain in its place. A constructor that fails leaves
// the chain as it was.
template <class... Arguments>
bool extend(OwnedInstance& chain, GfxInstance* (*make)(GfxInstance*, Arguments...),
            std::type_identity_t<Arguments>... arguments) {
  GfxInstance* const wrapper = make(chain.get(), arguments...);
  if (wrapper == nullptr) return false;
  static_cast<void>(chain.release());  // it belongs to the wrapper now
  chain.reset(wrapper);
  return true;
}

// The same for those who have no use for the chain then: it is ended. A null chain stays null.
template <class... Arguments>
OwnedInstance wrap(OwnedInstance chain, GfxInstance* (*make)(GfxInstance*, Arguments...),
                   std::type_identity_t<Arguments>... arguments) {
  if (chain && !extend(chain, make, arguments...)) chain.reset();
  return chain;
}

inline bool begin(GfxInstance& instance, GfxImageDesc& description) {
  return instance.begin(&instance, &description) > 0;
}

inline bool process(GfxInstance& instance, uint8_t* row) {
  return instance.process(&instance, row) > 0;
}

// For those who want to know whether the end went well.
inline bool end(OwnedInstance instance) {
  GfxInstance* const last = instance.release();
  return last->end(last) > 0;
}

// ---- Pixels

constexpr uint32_t kOwnFormat = GFX_FORMAT(1, GFX_BILEVEL_1_BLACK);  // of rows unpacked from runs

constexpr int32_t bitsPerPixel(uint32_t format) { return int16_t(format >> 16); }
constexpr int32_t colourType(uint32_t format) { return int16_t(format); }

// Whether rows of a colour type are what runs are packed from. The remainder of a negative type is
// never 4.
constexpr bool isOwnForm(int32_t colourType) { return colourType % 5 == 4; }

// The bilevel type in the group of a colour type.
constexpr int32_t bilevelMember(int32_t colourType) {
  return colourType < 0 ? -1 : colourType / 5 * 5 + 4;
}

constexpr uint64_t kRowBitsLimit = uint64_t{1} << 31;  // a row from here on is no page's

// A row of zeros with room for `width` pixels; null when memory runs out, for a pixel without bits
// and for a row of 2^31 bits or more.
inline HeapArray<uint8_t> newRow(uint64_t width, int32_t bitsPerPixel) {
  if (bitsPerPixel <= 0) return nullptr;
  const uint64_t bits = width * uint32_t(bitsPerPixel);
  return bits < kRowBitsLimit ? zeroedArray<uint8_t>(size_t(bits + 7) / 8) : nullptr;
}

// ---- Compressions

// What a writer of a format is told; `choice` where the format leaves one. Nothing for a format
// that is not written.
constexpr std::optional<uint32_t> compressionOf(int32_t format, uint32_t choice) {
  switch (format) {
    case GFX_TIFF:
    case GFX_BMP:
      return choice;
    case GFX_PDF:
      return GFX_GROUP4;
    case GFX_PNG:
    case GFX_PNM:
      return GFX_UNCOMPRESSED;
    case GFX_JPEG:
      return GFX_JPEG_DCT;
    default:
      return std::nullopt;
  }
}

constexpr int32_t kNoPreference = -1;

// For a bilevel image whose caller asks for a compression.
constexpr std::optional<uint32_t> compressionAsked(int32_t format, int32_t requested) {
  return compressionOf(
      format, requested == kNoPreference ? uint32_t{GFX_UNCOMPRESSED} : uint32_t(requested));
}

// For an image of so many bits per pixel whose caller leaves it to us.
constexpr std::optional<uint32_t> compressionFor(int32_t format, int32_t bitsPerPixel) {
  const bool fax = format == GFX_TIFF && bitsPerPixel == 1;
  return compressionOf(format, fax ? GFX_GROUP4 : GFX_UNCOMPRESSED);
}

}  // namespace rle::raster
