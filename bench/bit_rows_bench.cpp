// Packed rows to runs, beside pixman's regions made from the same bits; and runs to packed rows,
// beside clearing the memory that they are painted into.

#include <pixman.h>

#include <bit>
#include <cstring>

#include "compare.h"

namespace rle::bench {
namespace {

struct FreeImage {
  void operator()(pixman_image_t* image) const { pixman_image_unref(image); }
};

// The page as pixman has it: where bytes come lowest first, so do the pixels in a byte.
std::vector<uint32_t> pixmanBits(const Page& page) {
  std::vector<uint32_t> words(page.bits.size() / 4);
  auto* const bytes = reinterpret_cast<uint8_t*>(words.data());
  for (size_t i = 0; i < page.bits.size(); ++i) {
    uint8_t reversed = page.bits[i];
    if (std::endian::native == std::endian::little) {
      reversed = uint8_t(reversed >> 4 | reversed << 4);
      reversed = uint8_t((reversed & 0xCC) >> 2 | (reversed & 0x33) << 2);
      reversed = uint8_t((reversed & 0xAA) >> 1 | (reversed & 0x55) << 1);
    }
    bytes[i] = reversed;
  }
  return words;
}

void packing(const Page& page) {
  const auto ours = [&page](benchmark::State& state) {
    auto* const bits = const_cast<uint8_t*>(page.bits.data());
    for (auto _ : state)
      benchmark::DoNotOptimize(OwnedRect(rlePackRect(bits, int32_t(8 * page.rowBytes), 0, 0,
                                                     page.width - 1, 0, page.height - 1, 300)));
  };
  const auto pixman = [&page](benchmark::State& state) {
    std::vector<uint32_t> words = pixmanBits(page);
    const std::unique_ptr<pixman_image_t, FreeImage> image(pixman_image_create_bits(
        PIXMAN_a1, page.width, page.height, words.data(), int(page.rowBytes)));
    for (auto _ : state) {
      pixman_region32_t region;
      pixman_region32_init_from_image(&region, image.get());
      benchmark::DoNotOptimize(region.data);
      pixman_region32_fini(&region);
    }
  };
  compare("pack bits into runs", page, ours, {{"pixman_region32", pixman, 4}});
}

void unpacking(const Page& page) {
  const auto ours = [&page](benchmark::State& state) {
    std::vector<uint8_t> bits(page.bits.size());
    for (auto _ : state) {
      std::memset(bits.data(), 0, bits.size());
      rleUnPackRect(page.rect.get(), 0, page.width - 1, 0, page.height - 1, bits.data(),
                    int32_t(8 * page.rowBytes), page.height, 32768, 32768, 0, 0);
      benchmark::ClobberMemory();
    }
    if (bits != page.bits) state.SkipWithError("the painted bits are not the page's");
  };
  const auto clearing = [&page](benchmark::State& state) {
    std::vector<uint8_t> bits(page.bits.size());
    for (auto _ : state) {
      std::memset(bits.data(), 0, bits.size());
      benchmark::ClobberMemory();
    }
  };
  compare("clear and unpack runs into bits", page, ours, {{"memset alone", clearing}});
}

const Suite packingSuite(packing);
const Suite unpackingSuite(unpacking);

}  // namespace
}  // namespace rle::bench
