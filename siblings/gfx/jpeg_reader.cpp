// Reads JPEG files (ITU-T T.81, 8 bits a sample) by libjpeg.
//
// Rows come out of the data as they are asked for. An image in several scans, as all progressive
// ones are, is read by `begin`, and its coefficients are held.

#include <new>

#include "jpeg_calls.h"
#include "reader.h"

namespace gfx {
namespace {

// Held of an image in several scans: an A3 page at 600 dots per inch with all its chroma is 400
// MiB. libjpeg claims the memory at once, but touches it as the data comes.
constexpr long kMaxHeldBytes = 1L << 30;

// A progressive image has about ten scans; a hostile one can have a whole pass over all its pixels
// in every few bytes.
constexpr int kMaxScans = 100;

class JpegReader : public Reader {
 public:
  explicit JpegReader(RleStream* stream) : Reader(stream) {}
  ~JpegReader() override { jpeg_destroy_decompress(&jpeg_); }

  bool open(uint32_t page) override;

 private:
  bool start(GfxImageDesc& description) override;
  bool row(uint8_t* row) override;

  void readHead();
  void chooseFormat();
  void readResolution();
  void fill();

  static JpegReader& of(j_decompress_ptr jpeg) {
    return *static_cast<JpegReader*>(jpeg->client_data);
  }

  JpegErrors errors_;
  jpeg_decompress_struct jpeg_{};
  jpeg_source_mgr source_{};
  jpeg_progress_mgr progress_{};
  bool inkIsInverted_ = false;
  uint8_t lastByte_ = 0;  // read from the stream
  uint8_t buffer_[4096];
};

// A buffer ends with the first end-of-image marker in it, so that nothing behind the image is read.
// Inside a segment the same two bytes can mean something else, and libjpeg asks for more.
void JpegReader::fill() {
  size_t count = 0;
  bool isEnd = false;
  while (count < sizeof buffer_ && !isEnd && readBytes(stream_, buffer_ + count, 1) == 1) {
    isEnd = lastByte_ == 0xFF && buffer_[count] == JPEG_EOI;
    lastByte_ = buffer_[count++];
  }
  if (count == 0) failJpeg(reinterpret_cast<j_common_ptr>(&jpeg_), "the file ends early");
  source_.next_input_byte = buffer_;
  source_.bytes_in_buffer = count;
}

bool JpegReader::open(uint32_t page) {
  if (page != 0) return setLastError("a JPEG file has only one image");
  jpeg_.err = prepareJpegErrors(errors_);
  jpeg_.client_data = this;
  return runJpeg(errors_, [this] { readHead(); });
}

void JpegReader::readHead() {
  jpeg_create_decompress(&jpeg_);
  source_.init_source = [](j_decompress_ptr) {};
  source_.fill_input_buffer = [](j_decompress_ptr jpeg) -> boolean {
    of(jpeg).fill();
    return TRUE;
  };
  source_.skip_input_data = [](j_decompress_ptr jpeg, long count) {
    jpeg_source_mgr& source = *jpeg->src;
    for (; count > long(source.bytes_in_buffer); of(jpeg).fill())
      count -= long(source.bytes_in_buffer);
    if (count <= 0) return;
    source.next_input_byte += count;
    source.bytes_in_buffer -= size_t(count);
  };
  source_.resync_to_restart = jpeg_resync_to_restart;
  source_.term_source = [](j_decompress_ptr) {};
  jpeg_.src = &source_;
  jpeg_read_header(&jpeg_, TRUE);
  info_.width = jpeg_.image_width;
  info_.height = jpeg_.image_height;
  info_.fileFormat = GFX_JPEG;
  info_.compression = GFX_JPEG_DCT;
  info_.pageCount = 1;
  readResolution();
  chooseFormat();
}

// libjpeg makes grey, RGB or CMYK of the colour spaces that it knows. Files with Adobe's marker
// hold inks inverted.
void JpegReader::chooseFormat() {
  switch (jpeg_.out_color_space) {
    case JCS_GRAYSCALE:
      info_.format = kGrey;
      break;
    case JCS_RGB:
      info_.format = kRgb;
      break;
    case JCS_CMYK:
      info_.format = formatOf(GFX_CMYK);
      inkIsInverted_ = jpeg_.saw_Adobe_marker != FALSE;
      break;
    default:
      failJpeg(reinterpret_cast<j_common_ptr>(&jpeg_), "an unknown colour space");
  }
}

void JpegReader::readResolution() {
  const uint32_t x = jpeg_.X_density;
  const uint32_t y = jpeg_.Y_density;
  if (x == 0 || y == 0) return;
  const auto fromCentimetres = [](uint32_t density) { return (density * 254 + 50) / 100; };
  const bool isPerCentimetre = jpeg_.density_unit == 2;
  if (!isPerCentimetre && jpeg_.density_unit != 1) return;
  info_.xResolution = isPerCentimetre ? fromCentimetres(x) : x;
  info_.yResolution = isPerCentimetre ? fromCentimetres(y) : y;
  info_.resolutionUnit = 1;
}

bool JpegReader::start(GfxImageDesc& description) {
  progress_.progress_monitor = [](j_common_ptr jpeg) {
    if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > kMaxScans)
      failJpeg(jpeg, "an image in more than 100 scans");
  };
  jpeg_.progress = &progress_;
  jpeg_.mem->max_memory_to_use = kMaxHeldBytes;
  return runJpeg(errors_, [this] { jpeg_start_decompress(&jpeg_); }) && Reader::start(description);
}

bool JpegReader::row(uint8_t* row) {
  if (!runJpeg(errors_, [this, row] {
        JSAMPROW rows[] = {row};
        jpeg_read_scanlines(&jpeg_, rows, 1);
      }))
    return false;
  if (inkIsInverted_) invertBits(row, rowBytes(info_.format, info_.width));
  return true;
}

}  // namespace

const FileKind kJpegFiles{
    [](const uint8_t (&signature)[kSignatureBytes]) {
      return signature[0] == 0xFF && signature[1] == 0xD8 && signature[2] == 0xFF;
    },
    [](RleStream* stream) -> Reader* { return new (std::nothrow) JpegReader(stream); }};

}  // namespace gfx
