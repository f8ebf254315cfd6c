// Reads TIFF and BigTIFF through libtiff.
//
// Pages are delivered as their rows are stored: the Orientation tag is ignored, as programs for
// scans and faxes do. Damage that a decoder notices fails the row, even where it could go on; but
// rows that a Group 4 strip ends without are white. Compressed strips whose sizes are not told
// cannot be read.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

#include "reader.h"
#include "tiff_bands.h"
#include "tiff_client.h"
#include "tiff_pixels.h"

namespace gfx {
namespace {

constexpr double kCentimetresPerInch = 2.54;

uint32_t compressionCode(uint16_t compression) {
  switch (compression) {
    case COMPRESSION_NONE:
      return GFX_UNCOMPRESSED;
    case COMPRESSION_CCITTFAX3:
      return GFX_GROUP3;
    case COMPRESSION_CCITTFAX4:
      return GFX_GROUP4;
    case COMPRESSION_PACKBITS:
      return GFX_PACKBITS;
    case COMPRESSION_LZW:
      return GFX_LZW;
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
      return GFX_DEFLATE;
    case COMPRESSION_JPEG:
      return GFX_TIFF_JPEG;
    default:
      return GFX_OTHER_COMPRESSION;
  }
}

// A resolution tag in dots, as they are or in an inch; 0 where it is missing or none.
uint32_t dots(TIFF* tiff, uint32_t tag, double unit) {
  float value = 0;
  if (!TIFFGetField(tiff, tag, &value)) return 0;
  const double rounded = std::floor(value * unit + 0.5);
  return rounded > 0 && rounded <= UINT32_MAX ? uint32_t(rounded) : 0;
}

class TiffReader final : public Reader {
 public:
  explicit TiffReader(RleStream* stream)
      : Reader(stream), client_(stream, file_), bands_(client_) {}

  bool open(uint32_t page) override;

 protected:
  bool start(GfxImageDesc& description) override {
    return bands_.allocate() && Reader::start(description);
  }

  bool row(uint8_t* row) override {
    if (!bands_.goTo(nextRow_)) return false;
    ++nextRow_;
    pixels_.convertRow(bands_, row);
    return true;
  }

 private:
  void fillInfo(uint32_t page);

  TiffClient client_;
  TiffPixels pixels_;
  TiffBands bands_;
  uint32_t nextRow_ = 0;
};

bool TiffReader::open(uint32_t page) {
  if (!client_.openToRead()) return false;
  if (!TIFFSetDirectory(client_.tiff(), page))
    return client_.succeeded(false, "the file has no such page");
  client_.forgive();  // there may be faults in tags that do not matter here
  if (!pixels_.plan(client_) || !bands_.plan(pixels_.layout())) return false;
  fillInfo(page);
  return true;
}

void TiffReader::fillInfo(uint32_t page) {
  TIFF* const tiff = client_.tiff();
  const uint16_t unit = field16(tiff, TIFFTAG_RESOLUTIONUNIT);
  const double perInch = unit == RESUNIT_CENTIMETER ? kCentimetresPerInch : 1;
  info_.page = page;
  info_.width = pixels_.layout().width;
  info_.height = pixels_.layout().height;
  info_.format = pixels_.format();
  info_.xResolution = dots(tiff, TIFFTAG_XRESOLUTION, perInch);
  info_.yResolution = dots(tiff, TIFFTAG_YRESOLUTION, perInch);
  info_.fileFormat = GFX_TIFF;
  info_.compression = compressionCode(field16(tiff, TIFFTAG_COMPRESSION));
  info_.resolutionUnit = unit != RESUNIT_NONE && info_.xResolution > 0 && info_.yResolution > 0;
  // Counting ends where the chain of pages is broken or comes back to one of them.
  info_.pageCount = std::max(TIFFNumberOfDirectories(tiff), page + 1);
  client_.forgive();
}

bool startsLikeTiff(const uint8_t (&signature)[kSignatureBytes]) {
  for (const char* start : {"II*\0", "MM\0*", "II+\0", "MM\0+"})
    if (std::memcmp(signature, start, 4) == 0) return true;
  return false;
}

}  // namespace

const FileKind kTiffFiles{startsLikeTiff, [](RleStream* stream) -> Reader* {
                            return new (std::nothrow) TiffReader(stream);
                          }};

}  // namespace gfx
