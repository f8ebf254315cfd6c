// A writer of PDF files: one page that is a bilevel image of Group 4 data.
//
// The objects come in the order in which they get known. What a length is, is an object of its own
// behind the data.
//
//     1 catalogue   2 list of pages   3 page   4 what the page shows   5 image   6 its length
//
// A page is at most 14400 units wide and high. A unit is 1/72 inch; pages too large for that have
// one of several 1/72 inch (PDF 1.6).

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>

#include "packed_row_encoder.h"
#include "writer.h"

namespace gfx {
namespace {

constexpr uint32_t kObjects = 6;
constexpr uint32_t kUnitsPerInch = 72;
constexpr uint64_t kMaxThousandths = 14'400'000;  // of a unit

using Text = const char*;

// Passes bytes on to a stream and counts them.
class CountingStream : public RleStream {
 public:
  explicit CountingStream(RleStream* target) : RleStream{&kOps}, target_(target) {}
  CountingStream(const CountingStream&) = delete;
  CountingStream& operator=(const CountingStream&) = delete;

  uint64_t count() const { return count_; }

  bool write(const void* bytes, uint32_t size) {
    count_ += size;
    return writeBytes(target_, bytes, size);
  }

 private:
  static int32_t putByte(RleStream* stream, int32_t byte) {
    auto& self = *static_cast<CountingStream*>(stream);
    ++self.count_;
    return self.target_->ops->putByte(self.target_, byte);
  }

  static const RleStreamOps kOps;

  RleStream* target_;
  uint64_t count_ = 0;
};

// All that a row encoder calls.
constexpr RleStreamOps CountingStream::kOps = [] {
  RleStreamOps ops{};
  ops.putByte = putByte;
  return ops;
}();

// Pixels at dots per inch in thousandths of units; of a page too small for them, one.
uint64_t thousandths(uint32_t pixels, uint32_t resolution) {
  if (resolution == 0) resolution = kUnitsPerInch;
  const uint64_t inches = uint64_t{pixels} * 1000 * kUnitsPerInch;
  return std::max<uint64_t>((inches + resolution / 2) / resolution, 1);
}

// A number of thousandths with a point, whatever the locale.
struct Decimal {
  explicit Decimal(uint64_t value) {
    std::snprintf(text, sizeof text, "%u.%03u", uint32_t(value / 1000), uint32_t(value % 1000));
  }
  char text[16];
};

class PdfWriter final : public Writer {
 public:
  explicit PdfWriter(RleStream* stream) : Writer(stream), out_(stream) {}

 private:
  uint32_t heldFormat(uint32_t) const override { return kBilevel; }

  bool writeHead(const GfxImageDesc& description) override {
    const uint32_t width = description.width;
    if (width > kMaxGroup4Width)
      return setLastError("%u pixels are too wide for Group 4 data", width);
    rows_.emplace(&out_, width, false);
    if (!rows_->allocate()) return setLastError("out of memory");
    const uint64_t pageWidth = thousandths(width, description.parameters->xResolution);
    const uint64_t pageHeight =
        thousandths(description.height, description.parameters->yResolution);
    const uint64_t unit = (std::max(pageWidth, pageHeight) + kMaxThousandths - 1) / kMaxThousandths;
    return (writePage(Decimal(std::max<uint64_t>(pageWidth / unit, 1)),
                      Decimal(std::max<uint64_t>(pageHeight / unit, 1)), uint32_t(unit)) &&
            writeImageHead(width, description.height)) ||
           refused();
  }

  bool writePage(const Decimal& width, const Decimal& height, uint32_t unit) {
    // What is drawn: the unit square, in which an image lies, stretched over the page.
    char shown[80];
    const int length =
        std::snprintf(shown, sizeof shown, "%s 0 0 %s 0 0 cm\n/Im Do\n", width.text, height.text);
    char userUnit[32] = "";
    if (unit > 1) std::snprintf(userUnit, sizeof userUnit, " /UserUnit %u", unit);
    return print("%%PDF-%s\n%%\xE2\xE3\xCF\xD3\n", unit > 1 ? "1.6" : "1.4") &&
           object("<< /Type /Catalog /Pages 2 0 R >>\nendobj\n") &&
           object("<< /Type /Pages /Kids [3 0 R] /Count 1 >>\nendobj\n") &&
           object(
               "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 %s %s]%s\n"
               "/Contents 4 0 R /Resources << /XObject << /Im 5 0 R >> >> >>\nendobj\n",
               width.text, height.text, userUnit) &&
           object("<< /Length %d >>\nstream\n%s\nendstream\nendobj\n", length, shown);
  }

  // T.6 data is black on white unless told otherwise.
  bool writeImageHead(uint32_t width, uint32_t height) {
    const bool written = object(
        "<< /Type /XObject /Subtype /Image /Width %u /Height %u\n"
        "/ColorSpace /DeviceGray /BitsPerComponent 1 /Filter /CCITTFaxDecode\n"
        "/DecodeParms << /K -1 /Columns %u /Rows %u >> /Length 6 0 R >>\nstream\n",
        width, height, width, height);
    dataPlace_ = out_.count();
    return written;
  }

  bool writeRow(const uint8_t* row) override { return rows_->row(row) || refused(); }

  bool writeTail() override { return writeEnd() || refused(); }

  bool writeEnd() {
    if (!rows_->finish()) return false;
    const uint64_t length = out_.count() - dataPlace_;
    if (!print("\nendstream\nendobj\n")) return false;
    if (!object("%llu\nendobj\n", static_cast<unsigned long long>(length))) return false;
    const uint64_t tablePlace = out_.count();
    if (!print("xref\n0 %u\n0000000000 65535 f \n", kObjects + 1)) return false;
    for (const uint64_t place : places_)
      if (!print("%010llu 00000 n \n", static_cast<unsigned long long>(place))) return false;
    return print("trailer\n<< /Size %u /Root 1 0 R >>\nstartxref\n%llu\n%%%%EOF\n", kObjects + 1,
                 static_cast<unsigned long long>(tablePlace));
  }

  // Starts the next object.
  __attribute__((format(printf, 2, 3))) bool object(Text format, ...) {
    places_[objects_++] = out_.count();
    if (!print("%u 0 obj\n", objects_)) return false;
    va_list arguments;
    va_start(arguments, format);
    const bool written = printV(format, arguments);
    va_end(arguments);
    return written;
  }

  __attribute__((format(printf, 2, 3))) bool print(Text format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const bool written = printV(format, arguments);
    va_end(arguments);
    return written;
  }

  __attribute__((format(printf, 2, 0))) bool printV(Text format, va_list arguments) {
    char text[512];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    return length >= 0 && size_t(length) < sizeof text && out_.write(text, uint32_t(length));
  }

  static bool refused() { return setLastError("the PDF file could not be written"); }

  CountingStream out_;
  std::optional<PackedRowEncoder> rows_;
  uint64_t dataPlace_ = 0;
  uint32_t objects_ = 0;
  uint64_t places_[kObjects] = {};
};

}  // namespace

Writer* newPdfWriter(RleStream* stream) { return new (std::nothrow) PdfWriter(stream); }

}  // namespace gfx
