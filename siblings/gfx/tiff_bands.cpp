#include "tiff_bands.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "group4_rows.h"
#include "last_error.h"
#include "model/owners.h"
#include "pixel_rows.h"

namespace gfx {
namespace {

// A strip that is decoded whole takes this much at most, unless its planes are apart or its codec
// knows no rows.
constexpr uint64_t kModestStrip = uint64_t{4} << 20;

constexpr uint32_t kJbigHeaderBytes = 20;

uint32_t bigEndian32(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

}  // namespace

TiffBands::~TiffBands() {
  std::free(band_);
  std::free(tile_);
}

bool TiffBands::plan(const TiffBandLayout& layout) {
  TIFF* const tiff = client_.tiff();
  layout_ = layout;
  codec_ = field16(tiff, TIFFTAG_COMPRESSION);
  isTiled_ = TIFFIsTiled(tiff) != 0;
  const uint32_t tileWidth = isTiled_ ? field32(tiff, TIFFTAG_TILEWIDTH) : layout.width;
  bandRows_ = field32(tiff, isTiled_ ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP);
  if (tileWidth == 0 || bandRows_ == 0) return setLastError("strips or tiles without pixels");

  const uint64_t pixelBits = uint64_t{layout.samples} * layout.bits;
  const uint64_t across = (uint64_t{layout.width} + tileWidth - 1) / tileWidth;
  tileRowBytes_ = (tileWidth * pixelBits + 7) / 8;
  if (across > 1 && tileWidth * pixelBits % 8 != 0)
    return setLastError("tiles of %u columns do not end on a byte", tileWidth);
  rowBytes_ = layout.isConverted ? 4 * uint64_t{layout.width} : across * tileRowBytes_;
  const uint64_t tileLength = bandRows_;
  bandRows_ = std::min(bandRows_, layout.height);
  const auto isTooLarge = [&] {
    return setLastError("strips or tiles of %u rows in %u columns are too large", bandRows_,
                        layout.width);
  };
  if (rowBytes_ > kMaxAllocation) return isTooLarge();  // the products below cannot wrap

  isByRow_ = !isTiled_ && !layout.isConverted && layout.planeCount == 1 &&
             codec_ != COMPRESSION_JBIG && rowBytes_ * bandRows_ > kModestStrip;
  if (isByRow_) bandRows_ = 1;
  planeBytes_ = rowBytes_ * bandRows_;
  tileBytes_ = isTiled_ && !layout.isConverted ? tileRowBytes_ * tileLength : 0;
  if (planeBytes_ > kMaxAllocation / layout.planeCount || tileBytes_ > kMaxAllocation ||
      (layout.isConverted && layout.height > INT32_MAX))  // libtiff counts those rows so
    return isTooLarge();
  // What libtiff will write into a buffer is what it says beforehand.
  const bool agrees =
      layout.isConverted ||
      (isTiled_ ? uint64_t(TIFFTileRowSize(tiff)) == tileRowBytes_ &&
                      uint64_t(TIFFTileSize(tiff)) == tileBytes_
                : uint64_t(TIFFScanlineSize(tiff)) == rowBytes_ &&
                      uint64_t(TIFFVStripSize(tiff, bandRows_)) == rowBytes_ * bandRows_);
  return client_.succeeded(agrees, "the size of the rows is not that of their pixels");
}

bool TiffBands::allocate() {
  // These pass over damaged rows with a warning. Warnings of others may be ignored.
  client_.setStrict(isFax(codec_) || codec_ == COMPRESSION_JBIG);
  band_ = static_cast<uint8_t*>(std::malloc(planeBytes_ * layout_.planeCount));
  if (tileBytes_ > 0) tile_ = static_cast<uint8_t*>(std::malloc(tileBytes_));
  if (!band_ || (tileBytes_ > 0 && !tile_)) return setLastError("out of memory");
  return true;
}

bool TiffBands::goTo(uint32_t y) {
  const uint32_t rowInBand = y % bandRows_;
  if (rowInBand == 0 && !decode(y, std::min(bandRows_, layout_.height - y))) return false;
  row_ = band_ + rowInBand * rowBytes_;
  return true;
}

bool TiffBands::decode(uint32_t first, uint32_t rows) {
  if (layout_.isConverted) return convert(first, rows);
  for (uint32_t i = 0; i < layout_.planeCount; ++i) {
    uint8_t* const band = band_ + i * planeBytes_;
    if (isTiled_ ? !decodeTiles(first, rows, layout_.planes[i], band)
                 : !decodeStrip(first, rows, layout_.planes[i], band))
      return false;
  }
  return true;
}

// Group 4 is decoded here, in a fraction of the time. What is damaged, cut off or coded in a way of
// its own is left to libtiff, so that there is one answer to what can still be read.
bool TiffBands::decodeGroup4Strip(uint32_t strip, uint32_t rows, uint8_t* band) {
  TIFF* const tiff = client_.tiff();
  if (codec_ != COMPRESSION_CCITTFAX4 || layout_.bits != 1 || layout_.samples != 1) return false;
  const uint64_t size = TIFFGetStrileByteCount(tiff, strip);
  if (size == 0 || size > kModestStrip) return false;
  const std::unique_ptr<uint8_t, rle::FreeWith<std::free>> data(
      static_cast<uint8_t*>(std::malloc(size)));
  const bool isRead =
      data && TIFFReadRawStrip(tiff, strip, data.get(), tmsize_t(size)) == tmsize_t(size);
  const bool lsbFirst = field16(tiff, TIFFTAG_FILLORDER) == FILLORDER_LSB2MSB;
  if (isRead && decodeGroup4(data.get(), size, lsbFirst, layout_.width, rows, band, rowBytes_))
    return true;
  client_.forgive();  // libtiff will complain again
  return false;
}

bool TiffBands::decodeStrip(uint32_t first, uint32_t rows, uint16_t plane, uint8_t* band) {
  TIFF* const tiff = client_.tiff();
  bool isDecoded = false;
  if (!isByRow_ && decodeGroup4Strip(TIFFComputeStrip(tiff, first, plane), rows, band)) return true;
  std::memset(band, layout_.blank, rows * rowBytes_);
  if (isByRow_) {
    isDecoded = TIFFReadScanline(tiff, band, first, plane) == 1;
  } else {
    const uint32_t strip = TIFFComputeStrip(tiff, first, plane);
    const auto size = tmsize_t(rows * rowBytes_);
    isDecoded = isSafeChunk(strip, rows) && TIFFReadEncodedStrip(tiff, strip, band, size) == size;
  }
  return client_.succeeded(isDecoded, "a strip cannot be decoded");
}

bool TiffBands::decodeTiles(uint32_t first, uint32_t rows, uint16_t plane, uint8_t* band) {
  TIFF* const tiff = client_.tiff();
  const auto size = tmsize_t(tileBytes_);
  uint32_t tile = TIFFComputeTile(tiff, 0, first, 0, plane);
  for (uint64_t at = 0; at < rowBytes_; at += tileRowBytes_, ++tile) {
    std::memset(tile_, layout_.blank, tileBytes_);
    const bool isDecoded = isSafeChunk(tile, uint32_t(tileBytes_ / tileRowBytes_)) &&
                           TIFFReadEncodedTile(tiff, tile, tile_, size) == size;
    if (!client_.succeeded(isDecoded, "a tile cannot be decoded")) return false;
    for (uint32_t y = 0; y < rows; ++y)
      std::memcpy(band + y * rowBytes_ + at, tile_ + y * tileRowBytes_, tileRowBytes_);
  }
  return true;
}

// The decoder of JBIG takes the size of a picture from its data, and ends the process when it gets
// no memory for it. So its header is read before: the picture must fit into its strip or tile.
bool TiffBands::isSafeChunk(uint32_t chunk, uint32_t rows) {
  if (codec_ != COMPRESSION_JBIG) return true;
  TIFF* const tiff = client_.tiff();
  uint8_t header[kJbigHeaderBytes] = {};
  if ((isTiled_ ? TIFFReadRawTile(tiff, chunk, header, sizeof header)
                : TIFFReadRawStrip(tiff, chunk, header, sizeof header)) != sizeof header)
    return false;
  // libtiff's view of fill orders here: data of the usual one is turned over before it is decoded.
  if (field16(tiff, TIFFTAG_FILLORDER) == FILLORDER_MSB2LSB) reverseBits(header, sizeof header);
  return header[2] == 1 && bigEndian32(header + 4) <= 8 * tileRowBytes_ &&
         bigEndian32(header + 8) <= rows;
}

bool TiffBands::convert(uint32_t first, uint32_t rows) {
  TIFFRGBAImage image;
  std::array<char, 1024> text;  // the size that libtiff asks for
  if (!TIFFRGBAImageBegin(&image, client_.tiff(), 1, text.data()))
    return client_.succeeded(false, text.data());
  image.req_orientation = image.orientation;  // rows stay in the order of the file
  image.row_offset = int(first);
  const bool isDecoded =
      TIFFRGBAImageGet(&image, reinterpret_cast<uint32_t*>(band_), layout_.width, rows) == 1;
  TIFFRGBAImageEnd(&image);
  return client_.succeeded(isDecoded, "a strip or a tile cannot be converted to RGB");
}

}  // namespace gfx
