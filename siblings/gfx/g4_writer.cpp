// A writer of bare T.6 data.
//
// A row's 1 bits become black runs in the words of T.6, whatever the colour type says of them. What
// a T.6 run looks like is told elsewhere - in TIFF by PhotometricInterpretation, which is 1 for an
// image whose 0 bits are black - and there as here the colour type is that of the bits.

#include <new>
#include <optional>

#include "instance.h"
#include "packed_row_encoder.h"
#include "pixel_rows.h"

namespace gfx {
namespace {

class G4Writer final : public Instance {
 public:
  G4Writer(RleStream* stream, bool lsbFirst)
      : Instance(Rows::Any), stream_(stream), lsbFirst_(lsbFirst) {}

 private:
  bool start(GfxImageDesc& description) override {
    if (!isKnownFormat(description.format) || !isBilevel(description.format))
      return setLastError("Group 4 data holds bilevel rows only");
    if (description.width > kMaxGroup4Width)
      return setLastError("%u pixels are too wide for Group 4 data", description.width);
    rows_.emplace(stream_, description.width, lsbFirst_);
    return rows_->allocate() || setLastError("out of memory");
  }

  bool row(uint8_t* row) override { return rows_->row(row) || refused(); }

  bool finish(bool complete) override { return complete && (rows_->finish() || refused()); }

  static bool refused() { return setLastError("the Group 4 data could not be written"); }

  RleStream* stream_;
  bool lsbFirst_;
  std::optional<PackedRowEncoder> rows_;
};

}  // namespace
}  // namespace gfx

extern "C" GfxInstance* gfxInitWriteG4(RleStream* stream, int32_t mode) {
  gfx::clearLastError();
  if (mode != 0 && mode != 1) {
    gfx::setLastError("no order of bits has the code %d", mode);
    return nullptr;
  }
  auto* writer = new (std::nothrow) gfx::G4Writer(stream, mode == 1);
  if (!writer) gfx::setLastError("out of memory");
  return writer;
}
