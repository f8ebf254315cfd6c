// Writes TIFF through libtiff: one page, in strips.
//
// Every pixel format is written as it is given. The directory comes behind the strips, so that a
// file that was not finished has no page.

#include <algorithm>
#include <cstring>
#include <new>

#include "tiff_client.h"
#include "writer.h"

namespace gfx {
namespace {

constexpr uint64_t kStripBytes = 64 << 10;
constexpr uint32_t kJpegRows = 16;  // of the blocks of two rows of chroma samples
constexpr int kJpegQuality = 90;

// libtiff's compression for one of gfx.h; 0 where there is none for such pixels.
uint16_t compressionFor(uint32_t code, bool isBilevel) {
  switch (code) {
    case GFX_UNCOMPRESSED:
      return COMPRESSION_NONE;
    case GFX_GROUP3:
      return isBilevel ? COMPRESSION_CCITTFAX3 : 0;
    case GFX_GROUP4:
      return isBilevel ? COMPRESSION_CCITTFAX4 : 0;
    case GFX_PACKBITS:
      return COMPRESSION_PACKBITS;
    case GFX_LZW:
      return COMPRESSION_LZW;
    case GFX_DEFLATE:
      return COMPRESSION_ADOBE_DEFLATE;
    case GFX_TIFF_JPEG:
      return isBilevel ? 0 : COMPRESSION_JPEG;
    default:
      return 0;
  }
}

uint16_t photometricFor(uint32_t format) {
  if (isBilevel(format) && isBlackOne(format)) return PHOTOMETRIC_MINISWHITE;
  if (colourType(format) == GFX_CMYK) return PHOTOMETRIC_SEPARATED;
  return opaqueFormat(format) == kRgb ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
}

class TiffWriter final : public Writer {
 public:
  explicit TiffWriter(RleStream* stream) : Writer(stream), client_(stream, file_) {}
  ~TiffWriter() override { std::free(strip_); }

 protected:
  uint32_t heldFormat(uint32_t format) const override { return format; }
  bool writeHead(const GfxImageDesc& description) override;
  bool writeRow(const uint8_t* row) override;
  bool writeTail() override;

 private:
  bool setFields(const GfxImageDesc& description, uint16_t compression);
  bool setColours(uint32_t format, uint16_t compression);
  bool writeStrip();

  TiffClient client_;
  uint32_t stripRows_ = 0;
  uint32_t rowsInStrip_ = 0;  // so far
  uint32_t stripNumber_ = 0;
  size_t rowBytes_ = 0;
  uint8_t* strip_ = nullptr;
};

bool TiffWriter::writeHead(const GfxImageDesc& description) {
  rowBytes_ = rowBytes(description.format, description.width);
  const uint32_t code = description.parameters->compression;
  const uint16_t compression = compressionFor(code, isBilevel(description.format));
  if (compression == 0)
    return setLastError("compression 0x%X is not for pixels of %d bits in a TIFF file", code,
                        bitsPerPixel(description.format));
  stripRows_ = uint32_t(std::max<uint64_t>(kStripBytes / rowBytes_, 1));
  if (compression == COMPRESSION_JPEG)
    stripRows_ = (stripRows_ + kJpegRows - 1) / kJpegRows * kJpegRows;
  const uint64_t stripBytes = uint64_t{stripRows_} * rowBytes_;
  if (stripBytes > kMaxAllocation)
    return setLastError("rows of %u columns are too long for a TIFF file", description.width);
  strip_ = static_cast<uint8_t*>(std::malloc(stripBytes));
  if (!strip_) return setLastError("out of memory");
  if (!file_.isKnown()) return setLastError("the stream cannot be positioned");
  return client_.openToWrite() &&
         client_.succeeded(setFields(description, compression), "the tags cannot be set");
}

bool TiffWriter::setFields(const GfxImageDesc& description, uint16_t compression) {
  TIFF* const tiff = client_.tiff();
  const GfxOutputParams& parameters = *description.parameters;
  const bool hasResolution = parameters.xResolution > 0 && parameters.yResolution > 0;
  return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, description.width) &&
         TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, description.height) &&
         TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression) &&
         TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
         TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
         TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, stripRows_) &&
         (!hasResolution ||
          (TIFFSetField(tiff, TIFFTAG_XRESOLUTION, double(parameters.xResolution)) &&
           TIFFSetField(tiff, TIFFTAG_YRESOLUTION, double(parameters.yResolution)) &&
           TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH))) &&
         setColours(description.format, compression);
}

bool TiffWriter::setColours(uint32_t format, uint16_t compression) {
  TIFF* const tiff = client_.tiff();
  const int bits = isBilevel(format) ? 1 : 8;
  const bool isYCbCr = format == kRgb && compression == COMPRESSION_JPEG;
  const uint16_t photometric = isYCbCr ? uint16_t{PHOTOMETRIC_YCBCR} : photometricFor(format);
  const uint16_t alpha[] = {EXTRASAMPLE_UNASSALPHA};
  return TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits) &&
         TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, bitsPerPixel(format) / bits) &&
         TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric) &&
         (!hasAlpha(format) || TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, alpha)) &&
         (compression != COMPRESSION_JPEG ||
          TIFFSetField(tiff, TIFFTAG_JPEGQUALITY, kJpegQuality)) &&
         (!isYCbCr || TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB));
}

bool TiffWriter::writeRow(const uint8_t* row) {
  uint8_t* const place = strip_ + rowsInStrip_ * rowBytes_;
  std::memcpy(place, row, rowBytes_);
  return ++rowsInStrip_ < stripRows_ || writeStrip();
}

bool TiffWriter::writeStrip() {
  const auto size = tmsize_t(rowsInStrip_ * rowBytes_);
  rowsInStrip_ = 0;
  return client_.succeeded(
      TIFFWriteEncodedStrip(client_.tiff(), stripNumber_++, strip_, size) == size,
      "a strip cannot be written");
}

bool TiffWriter::writeTail() {
  return (rowsInStrip_ == 0 || writeStrip()) && client_.finishWriting();
}

}  // namespace

Writer* newTiffWriter(RleStream* stream) { return new (std::nothrow) TiffWriter(stream); }

}  // namespace gfx
