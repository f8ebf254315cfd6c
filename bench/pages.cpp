#include "pages.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "model/runs.h"

namespace rle::bench {
namespace {

std::unique_ptr<Page> blankPage(const std::string& name, int width, int height) {
  auto page = std::make_unique<Page>();
  page->name = name;
  page->width = width;
  page->height = height;
  page->rowBytes = size_t(width + 31) / 32 * 4;
  page->bits.resize(page->rowBytes * size_t(height));
  return page;
}

void setBlack(Page& page, int x, int y) {
  if (x < 0 || y < 0 || x >= page.width || y >= page.height) return;
  page.bits[size_t(y) * page.rowBytes + size_t(x) / 8] |= uint8_t(0x80 >> x % 8);
}

void fill(Page& page, int x1, int y1, int x2, int y2) {
  for (int y = y1; y <= y2; ++y)
    for (int x = x1; x <= x2; ++x) setBlack(page, x, y);
}

void line(Page& page, double x1, double y1, double x2, double y2, int thickness) {
  const double steps = std::max(std::abs(x2 - x1), std::abs(y2 - y1));
  for (int i = 0; i <= int(steps); ++i) {
    const int x = int(x1 + (x2 - x1) * i / steps);
    const int y = int(y1 + (y2 - y1) * i / steps);
    fill(page, x, y, x + thickness - 1, y + thickness - 1);
  }
}

void circle(Page& page, double x, double y, double radius, int thickness) {
  const int steps = int(radius * 7);
  for (int i = 0; i < steps; ++i) {
    const double angle = 2 * 3.14159265358979 * i / steps;
    const int px = int(x + radius * std::cos(angle));
    const int py = int(y + radius * std::sin(angle));
    fill(page, px, py, px + thickness - 1, py + thickness - 1);
  }
}

// The runs of the page's bits, found one pixel at a time: the library's own packing is among the
// things measured.
void findRuns(Page& page) {
  page.rect.reset(rleNewRect(uint32_t(page.width), uint32_t(page.height), 300));
  std::vector<RleRun> runs;
  for (int y = 0; y < page.height; ++y) {
    runs.clear();
    for (int x = 0; x < page.width; ++x) {
      if (!page.black(x, y)) continue;
      const int start = x;
      while (x < page.width && page.black(x, y)) ++x;
      runs.push_back({uint16_t(start), uint16_t(x)});
    }
    RleLine& row = *page.rect->rows[y];
    row.runs = rleAllocRuns(uint32_t(runs.size()));
    row.count = uint16_t(runs.size());
    std::copy(runs.begin(), runs.end(), row.runs);
  }
}

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

}  // namespace

size_t Page::runs() const {
  size_t count = 0;
  for (int y = 0; y < height; ++y) count += rect->rows[y]->count;
  return count;
}

size_t Page::runBytes() const {
  size_t bytes = sizeof(RleRect) + size_t(height) * (sizeof(RleLine*) + sizeof(RleLine));
  for (int y = 0; y < height; ++y)
    if (rect->rows[y]->runs != nullptr)
      bytes += sizeof(uint32_t) + capacityOf(rect->rows[y]->runs) * sizeof(RleRun);
  return bytes;
}

std::unique_ptr<Page> loadPage(const std::string& path) {
  const std::unique_ptr<TIFF, CloseTiff> tiff(TIFFOpen(path.c_str(), "r"));
  if (!tiff) return nullptr;  // libtiff has said why
  uint32_t width = 0;
  uint32_t height = 0;
  uint16_t bitsPerSample = 1;
  uint16_t photometric = PHOTOMETRIC_MINISWHITE;
  TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bitsPerSample);
  TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &photometric);
  if (bitsPerSample != 1 || width > 65535 || height > 65535) {
    std::fprintf(stderr, "%s: not a bilevel page of at most 65535 x 65535 pixels\n", path.c_str());
    return nullptr;
  }
  const size_t slash = path.find_last_of('/') + 1;
  auto page = blankPage(path.substr(slash, path.rfind('.') - slash), int(width), int(height));
  std::vector<uint8_t> row(size_t(TIFFScanlineSize(tiff.get())));
  for (uint32_t y = 0; y < height; ++y) {
    if (TIFFReadScanline(tiff.get(), row.data(), y) != 1) return nullptr;
    for (int x = 0; x < page->width; ++x) {
      const bool one = (row[size_t(x) / 8] >> (7 - x % 8) & 1) != 0;
      if (one == (photometric == PHOTOMETRIC_MINISWHITE)) setBlack(*page, x, int(y));
    }
  }
  findRuns(*page);
  return page;
}

std::unique_ptr<Page> halftonePage() {
  auto page = blankPage("halftone", 2480, 3508);
  constexpr double kDotsPerPixel = 85.0 / 300.0;  // an 85-line screen at 300 dots per inch
  for (int y = 0; y < page->height; ++y)
    for (int x = 0; x < page->width; ++x) {
      const double u = (x + y) * std::sqrt(0.5) * kDotsPerPixel * 3.14159265358979;
      const double v = (x - y) * std::sqrt(0.5) * kDotsPerPixel * 3.14159265358979;
      const double grey = 0.1 + 0.8 * y / page->height + 0.1 * std::sin(x / 200.0);
      if ((std::cos(2 * u) + std::cos(2 * v)) / 4 + 0.5 > grey) setBlack(*page, x, y);
    }
  findRuns(*page);
  return page;
}

std::unique_ptr<Page> sheetPage(const Page& text) {
  auto page = blankPage("sheet", 9000, 6400);
  const int right = page->width - 1;
  const int bottom = page->height - 1;
  fill(*page, 100, 100, right - 100, 111);
  fill(*page, 100, bottom - 111, right - 100, bottom - 100);
  fill(*page, 100, 100, 111, bottom - 100);
  fill(*page, right - 111, 100, right - 100, bottom - 100);
  for (int copy = 0; copy < 3; ++copy)
    for (int y = 0; y < std::min(text.height, 3508); ++y)
      for (int x = 0; x < std::min(text.width, 2480); ++x)
        if (text.black(x, y)) setBlack(*page, 300 + copy * 2900 + x, 200 + y);
  for (int i = 0; i < 40; ++i) {
    circle(*page, 600 + 200 * i, 5000 + 300 * std::sin(i), 150 + 9 * i, 4);
    line(*page, 300 + 210 * i, 3900, 400 + 205 * i, 6100, 3);
  }
  for (int y = 4000; y < 6100; y += 150) line(*page, 300, y, right - 300, y + 90, 4);
  findRuns(*page);
  return page;
}

}  // namespace rle::bench
