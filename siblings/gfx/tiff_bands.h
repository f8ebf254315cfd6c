// Rows of samples of a TIFF page, decoded a band at a time: as many rows as lie in one strip or in
// one row of tiles. A band has a row for each plane wanted.
//
//     strips   decoded whole; row by row where they are long and their planes together
//     tiles    decoded one by one, and laid side by side
//     colours  that need more than an arithmetic of samples (YCbCr with fewer colours than pixels,
//              CIE L*a*b*, logarithmic light) come as RGBA from libtiff, strips and tiles alike

#pragma once

#include <cstdint>

#include "tiff_client.h"

namespace gfx {

// What the bands hold: pixels of `samples` samples of `bits` bits, in native order where these are
// 16, starting on a byte in each row.
struct TiffBandLayout {
  static constexpr uint32_t kMaxPlanes = 4;

  uint32_t width;
  uint32_t height;
  uint32_t bits;
  uint32_t samples;
  uint32_t planeCount;
  uint16_t planes[kMaxPlanes];  // the file's numbers of the planes wanted
  bool isConverted;             // to RGBA, by libtiff
  uint8_t blank;                // the bytes where a decoder leaves off
};

class TiffBands {
 public:
  explicit TiffBands(TiffClient& client) : client_(client) {}
  TiffBands(const TiffBands&) = delete;
  TiffBands& operator=(const TiffBands&) = delete;
  ~TiffBands();

  // Plans the bands of the client's current page; false when they would be too large.
  bool plan(const TiffBandLayout& layout);

  bool allocate();

  // Makes row `y` available in every plane. Rows are asked for in their order.
  bool goTo(uint32_t y);

  const uint8_t* row(uint32_t plane) const { return row_ + plane * planeBytes_; }

 private:
  bool decode(uint32_t first, uint32_t rows);
  bool decodeStrip(uint32_t first, uint32_t rows, uint16_t plane, uint8_t* band);
  bool decodeGroup4Strip(uint32_t strip, uint32_t rows, uint8_t* band);
  bool decodeTiles(uint32_t first, uint32_t rows, uint16_t plane, uint8_t* band);
  bool convert(uint32_t first, uint32_t rows);
  bool isSafeChunk(uint32_t chunk, uint32_t rows);

  TiffClient& client_;
  TiffBandLayout layout_{};
  uint16_t codec_ = 0;  // libtiff's number of the compression
  bool isTiled_ = false;
  bool isByRow_ = false;
  uint32_t bandRows_ = 0;
  uint64_t rowBytes_ = 0;    // of a row in the band
  uint64_t planeBytes_ = 0;  // of the band's rows of a plane
  uint64_t tileBytes_ = 0;
  uint64_t tileRowBytes_ = 0;
  uint8_t* band_ = nullptr;
  uint8_t* tile_ = nullptr;
  const uint8_t* row_ = nullptr;
};

}  // namespace gfx
