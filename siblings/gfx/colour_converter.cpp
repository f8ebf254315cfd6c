// Rows in another colour type.

#include "model/heap_array.h"
#include "wrapper.h"

namespace gfx {
namespace {

class ColourConverter final : public Wrapper {
 public:
  ColourConverter(GfxInstance* source, uint32_t format) : Wrapper(source), format_(format) {}

 private:
  bool prepare(const GfxImageDesc& source, GfxImageDesc& own) override {
    width_ = source.width;
    sourceFormat_ = source.format;
    own.format = format_;
    if (sourceFormat_ == format_) return true;
    sourceRow_ = rle::newArray<uint8_t>(rowBytes(sourceFormat_, width_));
    return sourceRow_ || setLastError("out of memory");
  }

  bool row(uint8_t* row) override {
    if (!sourceRow_) return readRow(row);
    if (!readRow(sourceRow_.get())) return false;
    convertRow(sourceFormat_, sourceRow_.get(), format_, row, width_);
    return true;
  }

  const uint32_t format_;
  uint32_t sourceFormat_ = 0;
  uint32_t width_ = 0;
  rle::HeapArray<uint8_t> sourceRow_;  // null where rows stay as they are
};

}  // namespace
}  // namespace gfx

extern "C" GfxInstance* gfxInitColorSpaceConverter(GfxInstance* source, int32_t colourType,
                                                   int32_t) {
  const uint32_t format = gfx::formatOf(colourType);
  if (!gfx::canBecome(format)) {
    gfx::setLastError("nothing is converted to the colour type %d", colourType);
    return nullptr;
  }
  return gfx::wrap<gfx::ColourConverter>(source, format);
}
