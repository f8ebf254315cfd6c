// A reader of bare T.6 data. Black runs become 1 bits, whatever the colour type says of them: see
// g4_writer.cpp.

#include <new>

#include "bare_reader.h"
#include "g4/row_decoder.h"
#include "group4_rows.h"
#include "packed_row_encoder.h"
#include "pixel_rows.h"

namespace gfx {
namespace {

using rle::g4::RowDecoder;

class G4Reader final : public BareReader {
 public:
  G4Reader(RleStream* stream, const GfxImageDesc& description, uint32_t rows, bool lsbFirst)
      : BareReader(description, rows), decoder_(stream, description.width, lsbFirst) {}

  bool allocate() { return decoder_.allocate(); }

 private:
  bool readRow(uint8_t* row) override {
    switch (decoder_.next()) {
      case RowDecoder::Result::Row:
        packRow(decoder_, row, rowBytes(description().format, description().width));
        return true;
      case RowDecoder::Result::End:
        return setLastError("the Group 4 data ends after %u rows", rowsRead());
      default:
        return setLastError("the Group 4 data is damaged or cut off in row %u", rowsRead());
    }
  }

  RowDecoder decoder_;
};

}  // namespace
}  // namespace gfx

extern "C" GfxInstance* gfxInitReadG4(RleStream* stream, uint32_t width, uint32_t height, int32_t,
                                      uint32_t rows, int32_t flag, int32_t options) {
  gfx::clearLastError();
  if (width > gfx::kMaxGroup4Width) {
    gfx::setLastError("%u pixels are too wide for Group 4 data", width);
    return nullptr;
  }
  if (options != 0 && options != 1) {
    gfx::setLastError("no order of bits has the code %d", options);
    return nullptr;
  }
  const int32_t type = flag != 0 ? GFX_BILEVEL_0_BLACK : GFX_BILEVEL_1_BLACK;
  const GfxImageDesc description{width, height, gfx::formatOf(type), 0, 0, nullptr};
  auto* reader = new (std::nothrow) gfx::G4Reader(stream, description, rows, options == 1);
  if (reader && reader->allocate()) return reader;
  delete reader;
  gfx::setLastError("out of memory");
  return nullptr;
}
