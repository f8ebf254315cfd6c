// Raster files through the readers and wrappers of the pipeline, and through what loads and
// converts them here. Bytes: the file; the last of them choose the page, the wrappers and the
// conversion.

#include "raster/siblings.h"

#include <optional>

#include "input.h"

using namespace rle::fuzz;
using namespace rle::raster;

namespace {

constexpr size_t kOptionBytes = 12;
constexpr uint32_t kMostScaled = 64;       // pixels of a side that is scaled in a chain
constexpr double kMostPixels = 1 << 18;    // of an image that is worth its time
constexpr size_t kMostRowBytes = 1 << 20;  // of all rows that are read from a chain

bool isSmall(double width, double height) { return width * height <= kMostPixels; }

// A chain may scale either side.
bool isSmall(const GfxImageInfo& info) {
  return isSmall(std::max(info.width, kMostScaled), std::max(info.height, kMostScaled));
}

OwnedInstance wrapAsChosen(OwnedInstance source, Input& options) {
  const int kind = options.range(0, 7), value = options.byte();
  const auto size = uint32_t(value) % (kMostScaled + 1);
  switch (kind) {
    case 0:
      return wrap(std::move(source), gfxInitColorSpaceConverter, value % 12 - 1, 1);
    case 1:
      return wrap(std::move(source), gfxInitRotate, value < 240 ? value % 4 * 90 : value);
    case 2:
      return wrap(std::move(source), gfxInitMaxScaleWidth, size);
    case 3:
      return wrap(std::move(source), gfxInitMinScaleWidth, size);
    case 4:
      return wrap(std::move(source), gfxInitMaxScaleHeight, size);
    case 5:
      return wrap(std::move(source), gfxInitMinScaleHeight, size);
    default:
      return source;
  }
}

struct Rows {
  GfxImageDesc description{};
  size_t rowBytes = 0;
  uint32_t count = 0;  // read before one failed or there were enough
  bool ended = false;  // after all of them, and well
  std::vector<uint8_t> bytes;

  const uint8_t* row(size_t y) const { return bytes.data() + y * rowBytes; }
};

// What a chain delivers into rows that hold `fill` before, with the bits behind their last pixels
// cleared.
Rows readRows(OwnedInstance chain, uint8_t fill) {
  Rows rows;
  if (!chain || !begin(*chain, rows.description)) return rows;
  const auto& [width, height, format, zero3, zero4, parameters] = rows.description;
  const int32_t bits = bitsPerPixel(format);
  expect(width > 0 && height > 0 && (bits == 1 || (bits > 0 && bits % 8 == 0)));
  rows.rowBytes = size_t((uint64_t{width} * uint32_t(bits) + 7) / 8);
  for (; rows.count < height && rows.bytes.size() < kMostRowBytes; ++rows.count) {
    std::vector<uint8_t> row(rows.rowBytes, fill);
    if (!process(*chain, row.data())) return rows;
    if (bits == 1 && width % 8 != 0) row.back() &= uint8_t(0xFF00 >> width % 8);
    rows.bytes.insert(rows.bytes.end(), row.begin(), row.end());
  }
  if (rows.count < height) return rows;
  expect(!process(*chain, std::vector<uint8_t>(rows.rowBytes).data()));
  rows.ended = end(std::move(chain));
  return rows;
}

// A chain around a page gives the same rows whatever their memory held before.
void expectChain(std::span<const uint8_t> file, uint32_t page, Input options) {
  OwnedStream streams[] = {reading(file), reading(file)};
  const OwnedInfo info(gfxGetPageInfo(streams[0].get(), page));
  if (!info || !isSmall(*info)) return;
  expect(info->page == page && page < info->pageCount);
  Rows rows[2];
  for (int i : {0, 1}) {
    Input choice = options;
    OwnedInstance chain(gfxInitReadRaster(streams[i].get(), page, 0, info->height));
    expect(chain != nullptr);
    for (int n = choice.range(0, 3); n > 0; --n) chain = wrapAsChosen(std::move(chain), choice);
    rows[i] = readRows(std::move(chain), i == 0 ? 0 : 0xFF);
  }
  expect(rows[0].count == rows[1].count && rows[0].ended == rows[1].ended);
  expect(rows[0].bytes == rows[1].bytes);
}

// An image holds what the reader delivers in black and white, and there is none where that fails.
void expectLoaded(std::span<const uint8_t> file, const GfxImageInfo* info,
                  const RleTiffG4Info* g4) {
  const OwnedStream stream = reading(file), other = reading(file);
  const rle::OwnedRect rect(rleLoadRectFromRaster(stream.get()));
  expect(!rect || isValid(rect));
  const auto isSize = [&](uint32_t width, uint32_t height) {
    return rect->width == width && rect->height == height;
  };
  expect(!rect || (info != nullptr && isSize(info->width, info->height)) ||
         (g4 != nullptr && isSize(g4->width, g4->height)));
  if (info == nullptr || g4 != nullptr) return;

  OwnedInstance chain(gfxInitReadRaster(other.get(), 0, 0, info->height));
  const int32_t type = colourType(info->format);
  if (!isOwnForm(type))
    chain = wrap(std::move(chain), gfxInitColorSpaceConverter, bilevelMember(type), 1);
  const Rows rows = readRows(std::move(chain), 0xFF);
  const bool fits = info->width <= 65535 && info->height <= 65535;
  expect((rect != nullptr) == (rows.ended && fits && info->xResolution == info->yResolution));
  for (int y = 0; rect && y < rect->height; ++y) {
    const rle::OwnedLine row(
        rlePackLine(const_cast<uint8_t*>(rows.row(size_t(y))), 0, rect->width));
    expect(row && sameRuns(*row, *rect->rows[y]));
  }
}

double scaleFrom(Input& options) {
  constexpr double kScales[] = {0, 1, 0.5, 2, -1, 1e300, 1e-300, -1e-9, 1e5};
  const uint8_t kind = options.byte();
  return kind < 128 ? kind / 32.0 : kScales[kind % std::size(kScales)];
}

// What is converted can be read again, and has the size that was asked for. A directory may tell
// two sizes, of which the library's own reader and the pipeline take one each.
void expectConverted(std::span<const uint8_t> file, const GfxImageInfo* info,
                     const RleTiffG4Info* g4, Input& options) {
  constexpr int32_t kFormats[] = {GFX_TIFF, GFX_BMP, GFX_PDF, GFX_PNG, GFX_JPEG, GFX_PNM, 3, -1};
  const int32_t format = kFormats[options.range(0, 7)];
  const int32_t quarters = options.range(0, 4), method = options.range(0, 2);
  double scale = scaleFrom(options);
  if (info != nullptr && !isSmall(info->width * scale, info->height * scale)) scale = 1;
  const OwnedStream input = reading(file), output = writing();
  const int32_t done =
      rleConvFromRasterToRaster(input.get(), output.get(), format, quarters, scale, method);
  expect(done == 0 || (done == 1 && info != nullptr));
  if (done == 0 || format == GFX_PDF) return;
  if (scale != 0 && scale != 1 && method != 2) return;
  if (g4 != nullptr && g4->width == 0) return;  // a page without columns: the pipeline takes none
  output->ops->seek(output.get(), 0, 0);
  const OwnedInfo written(gfxGetImageInfo(output.get()));
  expect(written && written->fileFormat == uint32_t(format));
  const auto isSize = [&](uint32_t width, uint32_t height) {
    if (quarters % 2 != 0) std::swap(width, height);
    return written->width == width && written->height == height;
  };
  expect(isSize(info->width, info->height) || (g4 != nullptr && isSize(g4->width, g4->height)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size < kOptionBytes) return 0;
  Input options(bytes + size - kOptionBytes, kOptionBytes);
  const std::span<const uint8_t> file(bytes, size - kOptionBytes);

  const OwnedStream stream = reading(file), other = reading(file);
  const OwnedInfo info(gfxGetImageInfo(stream.get()));
  if (info && !isSmall(*info)) return 0;
  expect(!info || stream->ops->tell(stream.get()) == 0);
  RleTiffG4Info g4{};
  const bool isOneStrip = rleReadOneStripTiffG4Info(other.get(), &g4) == 1;
  if (isOneStrip && !isSmall(g4.width, g4.height)) return 0;

  expectConverted(file, info.get(), isOneStrip ? &g4 : nullptr, options);
  expectChain(file, uint32_t(options.range(0, 255)) % 3, options);
  expectLoaded(file, info.get(), isOneStrip ? &g4 : nullptr);
  return 0;
}
