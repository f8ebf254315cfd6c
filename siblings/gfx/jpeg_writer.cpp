// Writes JPEG files (ITU-T T.81, baseline) by libjpeg.

#include <cstring>
#include <new>

#include "jpeg_calls.h"
#include "writer.h"

namespace gfx {
namespace {

constexpr int kQuality = 90;  // of 100: no loss that shows on a printed page

class JpegWriter : public Writer {
 public:
  explicit JpegWriter(RleStream* stream) : Writer(stream) {}
  ~JpegWriter() override { jpeg_destroy_compress(&jpeg_); }

 private:
  uint32_t heldFormat(uint32_t format) const override {
    if (colourType(format) == GFX_RGB_ALPHA) return kRgb;
    return colourType(format) == GFX_CMYK || format == kRgb ? format : kGrey;
  }

  bool writeHead(const GfxImageDesc& description) override;
  bool writeRow(const uint8_t* row) override;
  bool writeTail() override {
    return runJpeg(errors_, [this] { jpeg_finish_compress(&jpeg_); });
  }

  void prepareColours(const GfxImageDesc& description);
  void prepareResolution(const GfxOutputParams& parameters);
  void prepareBuffer();
  void flush(size_t count);

  static JpegWriter& of(j_compress_ptr jpeg) {
    return *static_cast<JpegWriter*>(jpeg->client_data);
  }

  JpegErrors errors_;
  jpeg_compress_struct jpeg_{};
  jpeg_destination_mgr destination_{};
  JSAMPROW inverted_ = nullptr;  // a row of CMYK as it goes into the file; libjpeg's memory
  uint8_t buffer_[1 << 14];
};

// libjpeg looks for room before it needs any, and then takes the whole buffer.
void JpegWriter::flush(size_t count) {
  if (!writeBytes(stream_, buffer_, uint32_t(count)))
    failJpeg(reinterpret_cast<j_common_ptr>(&jpeg_), "the file cannot be written");
  destination_.next_output_byte = buffer_;
  destination_.free_in_buffer = sizeof buffer_;
}

void JpegWriter::prepareBuffer() {
  destination_.init_destination = [](j_compress_ptr) {};
  destination_.empty_output_buffer = [](j_compress_ptr jpeg) -> boolean {
    of(jpeg).flush(sizeof buffer_);
    return TRUE;
  };
  destination_.term_destination = [](j_compress_ptr jpeg) {
    of(jpeg).flush(sizeof buffer_ - jpeg->dest->free_in_buffer);
  };
  destination_.next_output_byte = buffer_;
  destination_.free_in_buffer = sizeof buffer_;
  jpeg_.dest = &destination_;
}

// Inks are written the way Adobe's programs do, as YCCK and inverted, with the marker that says so.
void JpegWriter::prepareColours(const GfxImageDesc& description) {
  const uint32_t format = description.format;
  const bool isInk = colourType(format) == GFX_CMYK;
  jpeg_.image_width = description.width;
  jpeg_.image_height = description.height;
  jpeg_.input_components = bitsPerPixel(format) / 8;
  jpeg_.in_color_space = isInk ? JCS_CMYK : format == kRgb ? JCS_RGB : JCS_GRAYSCALE;
  jpeg_set_defaults(&jpeg_);
  if (!isInk) return;
  jpeg_set_colorspace(&jpeg_, JCS_YCCK);
  const auto pool = reinterpret_cast<j_common_ptr>(&jpeg_);
  const size_t bytes = rowBytes(format, description.width);
  inverted_ = static_cast<JSAMPROW>(jpeg_.mem->alloc_large(pool, JPOOL_IMAGE, bytes));
}

// Resolutions that the file cannot hold are left out.
void JpegWriter::prepareResolution(const GfxOutputParams& parameters) {
  const uint32_t x = parameters.xResolution;
  const uint32_t y = parameters.yResolution;
  jpeg_.write_JFIF_header = TRUE;  // by itself libjpeg does without for CMYK
  if (x == 0 || y == 0 || x > UINT16_MAX || y > UINT16_MAX) return;
  jpeg_.density_unit = 1;
  jpeg_.X_density = uint16_t(x);
  jpeg_.Y_density = uint16_t(y);
}

bool JpegWriter::writeHead(const GfxImageDesc& description) {
  if (description.width > JPEG_MAX_DIMENSION || description.height > JPEG_MAX_DIMENSION)
    return setLastError("JPEG images are at most %ld pixels wide and high", JPEG_MAX_DIMENSION);
  jpeg_.err = prepareJpegErrors(errors_);
  jpeg_.client_data = this;
  return runJpeg(errors_, [this, &description] {
    jpeg_create_compress(&jpeg_);
    prepareBuffer();
    prepareColours(description);
    prepareResolution(*description.parameters);
    jpeg_set_quality(&jpeg_, kQuality, TRUE);
    jpeg_start_compress(&jpeg_, TRUE);
  });
}

bool JpegWriter::writeRow(const uint8_t* row) {
  return runJpeg(errors_, [this, row] {
    JSAMPROW rows[] = {const_cast<JSAMPROW>(row)};  // libjpeg only reads it
    if (inverted_) {
      const size_t bytes = size_t{jpeg_.image_width} * 4;
      std::memcpy(inverted_, row, bytes);
      invertBits(inverted_, bytes);
      rows[0] = inverted_;
    }
    jpeg_write_scanlines(&jpeg_, rows, 1);
  });
}

}  // namespace

Writer* newJpegWriter(RleStream* stream) { return new (std::nothrow) JpegWriter(stream); }

}  // namespace gfx
