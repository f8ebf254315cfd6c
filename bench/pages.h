// The pages that benchmarks work on.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "model/owners.h"
#include "rle.h"

namespace rle::bench {

struct Page {
  std::string name;
  int width = 0;
  int height = 0;
  size_t rowBytes = 0;        // padded to 32 bits, as pixman and Leptonica like it
  std::vector<uint8_t> bits;  // packed rows, most significant bit first, 1 is black
  OwnedRect rect;             // the same pixels as runs

  size_t runs() const;
  size_t runBytes() const;  // what the image holds on the heap
  bool black(int x, int y) const {
    return (bits[size_t(y) * rowBytes + size_t(x) / 8] >> (7 - x % 8) & 1) != 0;
  }
};

// A page from a TIFF file, read by libtiff; null, with a message, when that cannot be done.
std::unique_ptr<Page> loadPage(const std::string& path);

// A grey ramp through a 45-degree clustered-dot screen, A4 at 300 dots per inch.
std::unique_ptr<Page> halftonePage();

// A 9000-pixel-wide drawing sheet: a frame, long lines, circles, and copies of `text` on it.
std::unique_ptr<Page> sheetPage(const Page& text);

}  // namespace rle::bench
