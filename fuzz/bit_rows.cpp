// Packed bit rows to runs and back, against one pixel after the other. Packed rows stand in memory
// that ends with the last byte that may be touched.

#include "input.h"

using namespace rle::fuzz;

namespace {

using Bytes = std::vector<uint8_t>;

bool bitAt(const Bytes& bits, int64_t bit) {
  return (bits[size_t(bit / 8)] >> (7 - bit % 8) & 1) != 0;
}

void expectPacked(Input& input) {
  const int rowBits = input.range(0, 400), rows = input.range(0, 12);
  const int y1 = input.range(-3, 3), y2 = input.range(y1 - 1, std::max(y1 - 1, rows - 1));
  const int x1 = input.range(-40, 90);
  const int x2 = input.range(x1 - 1, std::max(x1 - 1, rowBits / 8 * 8 - 1));
  Bytes bits(size_t(rowBits / 8 * rows));
  for (uint8_t& byte : bits) {
    const uint8_t next = input.byte();
    byte = input.empty() ? uint8_t(0xF3) : next;
  }
  Pixels expected(x2 - x1 + 1, y2 - y1 + 1);
  for (int y = std::max(y1, 0); y <= y2; ++y)
    for (int x = std::max(x1, 0); x <= x2; ++x)
      expected.put(x - x1, y - y1, bitAt(bits, int64_t{y} * (rowBits / 8) * 8 + x));
  const rle::OwnedRect rect(rlePackRect(bits.data(), rowBits, input.byte(), x1, x2, y1, y2, 77));
  expect(isValid(rect) && Pixels(rect.get()) == expected && rect->resolution == 77);
  for (int y = std::max(y1, 0); y <= y2; ++y) {
    const rle::OwnedLine row(rlePackLine(bits.data() + y * (rowBits / 8), x1, x2 + 1));
    expect(row && sameRuns(*row, *rect->rows[y - y1]));
  }
  if (input.flag()) rlePackClearCache();
}

struct Scaling {
  int x1, x2;
  uint32_t scale;
  int limit, offset;

  // The fraction bits of a column's place are 13; the product keeps its low 32 bits.
  bool isExact() const { return int64_t{x2 - x1 + 1} * (scale / 4) <= UINT32_MAX; }
};

// What of columns x1 to x2 of a row is black covers bits, some of them in part.
void paintRow(const Pixels& source, int y, const Scaling& s, Bytes& bits, int64_t firstBit) {
  const int64_t unit = s.scale / 4;
  for (int x = std::max(s.x1, 0); x <= std::min(s.x2 + 1, source.width - 1); ++x) {
    if (!source.get(x, y)) continue;
    // A run that begins right after the last column has its first bit when that bit is begun.
    const int64_t from = (x - s.x1) * unit, to = x > s.x2 ? from : from + unit;
    for (int64_t bit = from >> 13; bit < (to + 8191) >> 13; ++bit) {
      const int64_t at = bit + s.offset;
      if (at >= 0 && at < s.limit) bits[size_t((firstBit + at) / 8)] |= uint8_t(0x80 >> at % 8);
    }
  }
}

void expectUnpacked(Input& input) {
  const Pixels source = pixelsFrom(input, 150, 12);
  const rle::OwnedRect rect = source.toRect();
  const int x1 = input.range(-20, 120), x2 = input.range(x1 - 1, x1 + 200);
  const auto scaleFrom = [&] {
    const uint32_t scale = input.flag() ? uint32_t(input.range(1, 65535)) * 2 : 32768;
    return input.byte() < 250 ? scale : input.word32();
  };
  const Scaling s{x1, x2, scaleFrom(), input.range(0, 500), input.anyInt(60)};
  if (source.height > 0) {
    const int y = input.range(0, source.height - 1);
    Bytes bits(size_t(s.limit + 7) / 8, uint8_t(input.flag() ? 0x81 : 0)), expected = bits;
    expect(rleUnPackLine(rect->rows[y], x1, x2, bits.data(), s.limit, s.scale, s.offset) == 1);
    if (s.isExact()) {
      if (x1 <= x2) paintRow(source, y, s, expected, 0);
      expect(bits == expected);
    }
  }

  const int y1 = input.range(-3, 12), y2 = input.range(-1, 20);
  const int rowStart = input.range(-3, 5), rowEnd = input.range(0, 20), rowBytes = s.limit / 8;
  const uint32_t vscale = input.byte() % 8 == 0 ? 0 : scaleFrom();
  Bytes bits(size_t(rowEnd * rowBytes + (s.limit % 8 != 0 ? 1 : 0))), expected = bits;
  rleUnPackRect(rect.get(), x1, x2, y1, y2, bits.data(), s.limit, rowEnd, s.scale, vscale, s.offset,
                rowStart);
  if (!s.isExact()) return;
  const int64_t last = std::min(y2, source.height - 1);
  const auto rowFor = [&](int64_t k) { return vscale == 0 ? k : y1 + k * 32768 / vscale; };
  for (int64_t out = rowStart; x1 <= x2 && out < rowEnd; ++out) {
    const int64_t from = rowFor(out - rowStart), next = rowFor(out - rowStart + 1);
    for (int64_t y = from; y <= last && (y == from || y < next); ++y)
      if (y >= 0 && out >= 0) paintRow(source, int(y), s, expected, out * rowBytes * 8);
    if (from >= last) break;
  }
  expect(bits == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  if (input.flag())
    expectPacked(input);
  else
    expectUnpacked(input);
  return 0;
}
