#include "tiff_pixels.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "last_error.h"
#include "pixel_rows.h"

namespace gfx {
namespace {

// The photometric interpretation, guessed as other readers do where the tag is missing.
uint16_t photometricOf(TIFF* tiff) {
  uint16_t photometric = 0;
  if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric)) return photometric;
  if (field16(tiff, TIFFTAG_SAMPLESPERPIXEL) >= 3) return PHOTOMETRIC_RGB;
  return isFax(field16(tiff, TIFFTAG_COMPRESSION)) ? PHOTOMETRIC_MINISWHITE
                                                   : PHOTOMETRIC_MINISBLACK;
}

// Every `step`-th sample of a row of samples of any size up to 16 bits, the first bit of a byte
// being its highest, as an 8-bit number: itself, or the upper 8 of its bits.
template <class Put>
void takeSamples(const uint8_t* row, uint32_t bits, uint32_t first, uint32_t step, uint32_t count,
                 Put put) {
  if (bits == 8) {
    for (row += first; count > 0; --count, row += step) put(*row);
    return;
  }
  if (bits == 16) {  // in native order
    row += 2 * size_t{first} + (std::endian::native == std::endian::little ? 1 : 0);
    for (; count > 0; --count, row += 2 * size_t{step}) put(*row);
    return;
  }
  uint64_t at = uint64_t{first} * bits;
  for (; count > 0; --count, at += uint64_t{step} * bits) {
    uint32_t sample = 0;
    for (uint64_t bit = at; bit < at + std::min(bits, 8U); ++bit)
      sample = sample << 1 | (row[bit / 8] >> (7 - bit % 8) & 1);
    put(uint8_t(sample));
  }
}

}  // namespace

bool TiffPixels::plan(const TiffClient& client) {
  TIFF* const tiff = client.tiff();
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout_.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout_.height);
  if (layout_.width == 0 || layout_.height == 0) return setLastError("an image without pixels");

  samples_ = field16(tiff, TIFFTAG_SAMPLESPERPIXEL);
  layout_.bits = field16(tiff, TIFFTAG_BITSPERSAMPLE);
  isContiguous_ = field16(tiff, TIFFTAG_PLANARCONFIG) != PLANARCONFIG_SEPARATE;
  uint16_t photometric = photometricOf(tiff);
  if (photometric == PHOTOMETRIC_YCBCR && isContiguous_ &&
      field16(tiff, TIFFTAG_COMPRESSION) == COMPRESSION_JPEG) {
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    photometric = PHOTOMETRIC_RGB;
  }
  if (photometric == PHOTOMETRIC_YCBCR || photometric == PHOTOMETRIC_CIELAB ||
      photometric == PHOTOMETRIC_LOGL || photometric == PHOTOMETRIC_LOGLUV)
    return planConverted(tiff);

  const uint16_t kind = field16(tiff, TIFFTAG_SAMPLEFORMAT);
  if (layout_.bits == 0 || layout_.bits > 16 ||
      (kind != SAMPLEFORMAT_UINT && kind != SAMPLEFORMAT_VOID))
    return setLastError("samples of %u bits in format %u are not supported", layout_.bits, kind);
  layout_.samples = isContiguous_ ? samples_ : 1;
  layout_.planeCount = isContiguous_ ? 1 : 0;
  return planSamples(tiff, photometric);
}

bool TiffPixels::planSamples(TIFF* tiff, uint16_t photometric) {
  const bool isCmyk = photometric == PHOTOMETRIC_SEPARATED;
  const uint16_t colours = isCmyk ? 4 : photometric == PHOTOMETRIC_RGB ? 3 : 1;
  if (samples_ < colours || (isCmyk && field16(tiff, TIFFTAG_INKSET) != INKSET_CMYK))
    return setLastError("%u samples do not make colours of kind %u", samples_, photometric);
  switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MASK:
    case PHOTOMETRIC_RGB:
    case PHOTOMETRIC_SEPARATED:
      for (uint16_t i = 0; i < colours; ++i) addChannel(i, scaledValues());
      break;
    case PHOTOMETRIC_PALETTE:
      if (!addPalette(tiff)) return false;
      break;
    default:
      return setLastError("colours of kind %u are not supported", photometric);
  }
  format_ = formatOf(isCmyk ? GFX_CMYK : channelCount_ == 3 ? GFX_RGB : GFX_GREY);
  isInverted_ = photometric == PHOTOMETRIC_MINISWHITE;
  if (!isCmyk) addAlpha(tiff, colours);
  if (isBlackAndWhite()) {
    format_ = kBilevel;
    isInverted_ = (channels_[0].values[0] == 0) != isInverted_;
    layout_.blank = isInverted_ ? 0xFF : 0;
    return true;
  }
  if (isInverted_ && !isMultiplied_) {
    for (uint8_t& value : channels_[0].values) value = uint8_t(~value);
    isInverted_ = false;
  }
  isPlain_ = isContiguous_ && layout_.bits == 8 && channelCount_ == samples_ && !isMultiplied_ &&
             std::all_of(channels_, channels_ + channelCount_,
                         [this](const Channel& c) { return c.values == scaledValues(); });
  return true;
}

bool TiffPixels::planConverted(TIFF* tiff) {
  std::array<char, 1024> text;  // the size that libtiff asks for
  TIFFRGBAImage image;
  if (!TIFFRGBAImageBegin(&image, tiff, 1, text.data())) return setLastError("%s", text.data());
  TIFFRGBAImageEnd(&image);
  layout_.isConverted = isContiguous_ = true;
  layout_.bits = 8;
  layout_.samples = 4;
  layout_.planeCount = 1;
  format_ = kRgb;
  for (uint16_t i = 0; i < 3; ++i)  // red is in the low byte of a word
    addChannel(std::endian::native == std::endian::little ? i : uint16_t(3 - i), scaledValues());
  return true;
}

// Colours have 16 bits, but there are files that fill only the lower half of them.
bool TiffPixels::addPalette(TIFF* tiff) {
  uint16_t* colours[3] = {};
  if (layout_.bits > 8 ||
      !TIFFGetField(tiff, TIFFTAG_COLORMAP, &colours[0], &colours[1], &colours[2]))
    return setLastError("samples of %u bits without a palette for them", layout_.bits);
  const uint32_t count = 1U << layout_.bits;
  bool isWide = false;
  for (const uint16_t* values : colours)
    isWide |= std::any_of(values, values + count, [](uint16_t value) { return value > 255; });
  Values values[3] = {};
  for (uint32_t colour = 0; colour < 3; ++colour)
    for (uint32_t i = 0; i < count; ++i)
      values[colour][i] = uint8_t(isWide ? colours[colour][i] >> 8 : colours[colour][i]);
  const bool isGrey = values[0] == values[1] && values[0] == values[2];
  for (uint32_t colour = 0; colour < (isGrey ? 1 : 3); ++colour) addChannel(0, values[colour]);
  return true;
}

// The first extra sample that is alpha; others are ignored, as are those that do not say.
void TiffPixels::addAlpha(TIFF* tiff, uint16_t colours) {
  uint16_t count = 0;
  const uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds);
  for (uint32_t i = 0; i < count && colours + i < samples_; ++i)
    if (kinds[i] == EXTRASAMPLE_ASSOCALPHA || kinds[i] == EXTRASAMPLE_UNASSALPHA) {
      isMultiplied_ = kinds[i] == EXTRASAMPLE_ASSOCALPHA;
      addChannel(uint16_t(colours + i), scaledValues());
      format_ = formatOf(format_ == kRgb ? GFX_RGB_ALPHA : GFX_GREY_ALPHA);
      return;
    }
}

void TiffPixels::addChannel(uint16_t sample, const Values& values) {
  uint32_t plane = 0;
  if (!isContiguous_) {
    uint16_t* const end = layout_.planes + layout_.planeCount;
    uint16_t* const place = std::find(layout_.planes, end, sample);
    if (place == end) layout_.planes[layout_.planeCount++] = sample;
    plane = uint32_t(place - layout_.planes);
  }
  channels_[channelCount_++] = {plane, isContiguous_ ? sample : 0U, values};
}

TiffPixels::Values TiffPixels::scaledValues() const {
  const uint32_t last = (1U << std::min(layout_.bits, 8U)) - 1;
  Values values{};
  for (uint32_t i = 0; i <= last; ++i) values[i] = uint8_t((255 * i + last / 2) / last);
  return values;
}

bool TiffPixels::isBlackAndWhite() const {
  const Values& values = channels_[0].values;
  return layout_.bits == 1 && samples_ == 1 && channelCount_ == 1 &&
         (values[0] ^ values[1]) == 255 && (values[0] == 0 || values[1] == 0);
}

void TiffPixels::undoMultiplication(uint8_t* pixels) const {
  const uint32_t colours = channelCount_ - 1;
  for (uint32_t x = 0; x < layout_.width; ++x, pixels += channelCount_) {
    const uint32_t alpha = pixels[colours];
    for (uint32_t c = 0; c < colours; ++c) {
      const uint32_t value = alpha == 0 ? 0 : (255 * pixels[c] + alpha / 2) / alpha;
      pixels[c] = uint8_t(std::min(value, 255U));
      if (isInverted_) pixels[c] = uint8_t(~pixels[c]);
    }
  }
}

void TiffPixels::convertRow(const TiffBands& bands, uint8_t* pixels) const {
  if (format_ == kBilevel || isPlain_) {
    std::memcpy(pixels, bands.row(0), rowBytes(format_, layout_.width));
    if (isInverted_) invertBits(pixels, rowBytes(format_, layout_.width));
    if (format_ == kBilevel) clearPadding(pixels, layout_.width);
    return;
  }
  for (uint32_t c = 0; c < channelCount_; ++c) {
    const Channel& channel = channels_[c];
    uint8_t* to = pixels + c;
    takeSamples(bands.row(channel.plane), layout_.bits, channel.position, layout_.samples,
                layout_.width, [&](uint8_t sample) {
                  *to = channel.values[sample];
                  to += channelCount_;
                });
  }
  if (isMultiplied_) undoMultiplication(pixels);
}

}  // namespace gfx
