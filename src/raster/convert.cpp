// A raster file to another format, turned and scaled on the way.
//
// A bilevel page goes through runs: loaded, turned, scaled, unloaded. Everything else, and what is
// too large for an image, goes through a chain of the raster pipeline one row at a time.

#include <algorithm>
#include <utility>

#include "model/owners.h"
#include "raster/siblings.h"
#include "rle.h"

namespace rle::raster {
namespace {

constexpr uint32_t kSizeLimit = 65535;  // widths and heights from here on go through the pipeline
constexpr uint32_t kMaxSize = 65535;    // of a scaled image
constexpr int kFactorBits = 15;         // the fraction of a scale factor of rleScaleRect
constexpr uint32_t kBmpResolution = 72;

// What is asked of a conversion. A scale of 1 or an unknown method leaves the size alone.
struct Request {
  enum Method : int32_t { Max = 0, Min = 1 };

  int32_t format;
  int32_t rotation;  // quarter turns
  double scale;
  int32_t method;

  bool scales() const { return scale != 1.0 && (method == Max || method == Min); }
};

// What counts of the input. The info record is released before anything is made of it, and only
// these words of it are certain to be there.
struct Source {
  uint32_t width;
  uint32_t height;
  uint32_t format;
  uint32_t xResolution;
  uint32_t yResolution;
};

// A number from 0 on without its fraction; nothing where 32 bits do not hold it.
std::optional<uint32_t> truncated(double value) {
  if (!(value >= 0 && value < double(uint64_t{1} << 32))) return std::nullopt;
  return uint32_t(value);
}

// ---- Through runs

// Scales an image whose new size is one that an image can have.
bool scaleRect(RleRect& rect, const Request& request) {
  const std::optional<uint32_t> factor = truncated(request.scale * (1 << kFactorBits));
  if (!factor) return false;
  const bool max = request.method == Request::Max;  // rounds down, the other one up
  const uint64_t longer = uint64_t{std::max(rect.width, rect.height)} * *factor;
  if ((longer + (max ? 0 : (1 << kFactorBits) - 1)) >> kFactorBits > kMaxSize) return false;
  (max ? rleScaleRect : rleMinScaleRect)(&rect, *factor, *factor);
  return true;
}

bool convertRuns(RleStream* input, RleStream* output, const Request& request) {
  OwnedRect rect(rleLoadRectFromRaster(input));
  if (!rect) return false;
  if (request.rotation != 0) rect.reset(rleQRotateRect(rect.get(), uint32_t(request.rotation)));
  if (!rect || (request.scales() && !scaleRect(*rect, request))) return false;
  return rleUnloadRectToRaster(output, rect.get(), request.format) == 1;
}

// ---- Through the pipeline

OwnedInstance turned(OwnedInstance chain, int32_t quarters) {
  const int32_t degrees = quarters >= 1 && quarters <= 3 ? 90 * quarters : 0;
  return wrap(std::move(chain), gfxInitRotate, degrees);
}

// Sizes are those of the unturned image, whichever comes first.
OwnedInstance scaled(OwnedInstance chain, const Source& source, const Request& request) {
  const std::optional<uint32_t> width = truncated(source.width * request.scale);
  const std::optional<uint32_t> height = truncated(source.height * request.scale);
  if (!width || !height) return nullptr;
  const bool max = request.method == Request::Max;
  chain = wrap(std::move(chain), max ? gfxInitMaxScaleWidth : gfxInitMinScaleWidth, *width);
  return wrap(std::move(chain), max ? gfxInitMaxScaleHeight : gfxInitMinScaleHeight, *height);
}

// The smaller image is the one that is turned.
OwnedInstance turnedAndScaled(OwnedInstance reader, const Source& source, const Request& request) {
  if (!request.scales()) return turned(std::move(reader), request.rotation);
  if (request.scale < 1.0)
    return turned(scaled(std::move(reader), source, request), request.rotation);
  return scaled(turned(std::move(reader), request.rotation), source, request);
}

bool convertRows(RleStream* input, RleStream* output, const Source& source,
                 const Request& request) {
  OwnedInstance writer;  // the one to be ended last
  OwnedInstance chain(gfxInitReadRaster(input, 0, 0, source.height));
  chain = turnedAndScaled(std::move(chain), source, request);
  GfxImageDesc description{};
  if (!chain || !begin(*chain, description)) return false;
  const uint32_t height = description.height;

  writer.reset(gfxInitWriteRaster(output, request.format));
  const int32_t pixelBits = bitsPerPixel(source.format);
  const auto compression = compressionFor(request.format, pixelBits);
  if (!writer || !compression) return false;
  const bool bmp = request.format == GFX_BMP;
  GfxOutputParams parameters{bmp ? kBmpResolution : source.xResolution,
                             bmp ? kBmpResolution : source.yResolution, *compression, 0};
  // Pixels may have become larger in the chain. Those without bits are refused.
  const int32_t rowPixelBits =
      pixelBits <= 0 ? 0 : std::max(pixelBits, bitsPerPixel(description.format));
  const uint32_t width = description.width;
  description.parameters = &parameters;
  if (!begin(*writer, description)) return false;
  const HeapArray<uint8_t> row = newRow(width, rowPixelBits);
  if (!row) return false;
  for (uint32_t y = 0; y < height; ++y)
    if (!process(*chain, row.get()) || !process(*writer, row.get())) return false;
  return true;
}

// ---- Which way

bool fitsRuns(const Source& source) {
  return source.width < kSizeLimit && source.height < kSizeLimit &&
         bitsPerPixel(source.format) == 1 && isOwnForm(colourType(source.format));
}

}  // namespace
}  // namespace rle::raster

extern "C" int32_t rleConvFromRasterToRaster(RleStream* input, RleStream* output, int32_t format,
                                             int32_t rotation, double scale, int32_t method) {
  using namespace rle::raster;
  const Request request{format, rotation, scale == 0.0 ? 1.0 : scale, method};
  OwnedInfo info(gfxGetImageInfo(input));
  if (!info) return 0;
  const Source source{info->width, info->height, info->format, info->xResolution,
                      info->yResolution};
  info.reset();
  const bool done = fitsRuns(source) ? convertRuns(input, output, request)
                                     : convertRows(input, output, source, request);
  return done ? 1 : 0;
}
