// The samples of a TIFF page as pixels of the formats that readers deliver.

#pragma once

#include <array>
#include <cstdint>

#include "tiff_bands.h"

namespace gfx {

class TiffPixels {
 public:
  // Finds out from the tags of the client's current page what its samples mean; false when they
  // are of a kind that is not delivered.
  bool plan(const TiffClient& client);

  const TiffBandLayout& layout() const { return layout_; }
  uint32_t format() const { return format_; }

  // The row at which the bands stand, as pixels.
  void convertRow(const TiffBands& bands, uint8_t* pixels) const;

 private:
  using Values = std::array<uint8_t, 256>;

  // A sample of each delivered pixel.
  struct Channel {
    uint32_t plane;     // of the bands
    uint32_t position;  // in the pixels of that plane
    Values values;      // what is delivered for a stored one, or for its upper 8 bits
  };

  bool planSamples(TIFF* tiff, uint16_t photometric);
  bool planConverted(TIFF* tiff);
  bool addPalette(TIFF* tiff);
  void addAlpha(TIFF* tiff, uint16_t colours);
  void addChannel(uint16_t sample, const Values& values);
  Values scaledValues() const;
  bool isBlackAndWhite() const;
  void undoMultiplication(uint8_t* pixels) const;

  TiffBandLayout layout_{};
  uint32_t format_ = 0;
  uint16_t samples_ = 0;  // of a pixel in the file
  bool isContiguous_ = true;
  bool isInverted_ = false;    // after all else
  bool isMultiplied_ = false;  // by alpha
  bool isPlain_ = false;       // stored as delivered
  uint32_t channelCount_ = 0;
  Channel channels_[4];
};

}  // namespace gfx
