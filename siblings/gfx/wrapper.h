// Wrappers deliver the rows of a source in another form.
//
// The source may come from anywhere, so only its three operations are used, and what it says of its
// rows is checked before anything is computed from it.

#pragma once

#include <new>

#include "instance.h"
#include "pixel_rows.h"

namespace gfx {

class Wrapper : public Instance {
 protected:
  explicit Wrapper(GfxInstance* source) : source_(source) {}

  // Called once, with what the source delivers. `own` is the same and becomes what this wrapper
  // delivers.
  virtual bool prepare(const GfxImageDesc& source, GfxImageDesc& own) = 0;

  bool readRow(uint8_t* row) { return source_->process(source_.get(), row) > 0; }

 private:
  bool start(GfxImageDesc& description) final {
    GfxImageDesc source{};
    if (source_->begin(source_.get(), &source) <= 0) return false;
    if (!isKnownFormat(source.format))
      return setLastError("no pixels of %d bits and colour type %d", bitsPerPixel(source.format),
                          colourType(source.format));
    source.zero3 = source.zero4 = 0;
    source.parameters = nullptr;
    description = source;
    return isUsable(source) && prepare(source, description) && isUsable(description);
  }

  bool finish(bool) final {
    GfxInstance* const source = source_.release();
    return source->end(source) > 0;
  }

  // Sizes and rows stay within 31 bits, so that 64 bits hold the product of any two of them.
  static bool isUsable(const GfxImageDesc& image) {
    if (image.width == 0 || image.height == 0) return setLastError("an image without pixels");
    if (image.width > INT32_MAX || image.height > INT32_MAX ||
        rowBytes(image.format, image.width) > INT32_MAX)
      return setLastError("an image of %u x %u pixels is too large", image.width, image.height);
    return true;
  }

  OwnedInstance source_;
};

// A new wrapper of `source`, which it owns from here on; null when there is no source, with the
// reason for that left as it is, or no memory.
template <class Kind, class... Arguments>
GfxInstance* wrap(GfxInstance* source, Arguments... arguments) {
  if (!source) return nullptr;
  auto* const wrapper = new (std::nothrow) Kind(source, arguments...);
  if (!wrapper) setLastError("out of memory");
  return wrapper;
}

}  // namespace gfx
