// Group 4 data to an image.

#include <cstring>

#include "g4/row_decoder.h"
#include "model/owners.h"
#include "rle.h"

namespace rle::g4 {
namespace {

constexpr int32_t kMaxSize = 65535;  // pixels, either way

// Pages up to this width are decoded without memory but for their runs: 33 KB of stack will do.
constexpr int32_t kOrdinaryWidth = 8192;

// Two changing elements make a run, and lie in memory as it does.
static_assert(sizeof(RleRun) == 2 * sizeof(uint16_t));

bool storeRow(RleLine& line, const RowDecoder& decoder) {
  const uint32_t runs = decoder.elementCount() / 2;
  line.runs = rleAllocRuns(runs);
  if (line.runs == nullptr) return false;
  line.count = uint16_t(runs);
  std::memcpy(line.runs, decoder.elements(), runs * sizeof(RleRun));
  return true;
}

}  // namespace
}  // namespace rle::g4

extern "C" RleRect* rleLoadRectFromCCITTG4(RleStream* stream, int32_t width, int32_t height,
                                           int32_t resolution, int32_t lsbFirst) {
  using namespace rle::g4;
  if (width < 0 || width > kMaxSize || height < 0 || height > kMaxSize) return nullptr;
  rle::OwnedRect rect(rleNewRect(uint32_t(width), uint32_t(height), uint16_t(resolution)));
  if (!rect) return nullptr;
  RowDecoder decoder(stream, uint32_t(width), lsbFirst != 0);
  uint16_t memory[RowDecoder::memorySize(kOrdinaryWidth)] = {};
  if (width <= kOrdinaryWidth)
    decoder.use(memory);
  else if (!decoder.allocate())
    return nullptr;
  // Rows beyond the height are decoded too: the data ends where its EOFB says so.
  for (int32_t y = 0;;) {
    const RowDecoder::Result result = decoder.next();
    if (result == RowDecoder::Result::End) return rect.release();
    if (result == RowDecoder::Result::Damaged) return nullptr;
    if (y < height && !storeRow(*rect->rows[y++], decoder)) return nullptr;
  }
}
