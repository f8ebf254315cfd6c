// Group 4 beside libtiff: decoding one strip, encoding the same page.

#include <tiffio.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "compare.h"
#include "xio.h"

namespace rle::bench {
namespace {

// A TIFF file that lies in memory.
struct MemoryTiff {
  std::vector<uint8_t> bytes;
  uint64_t position = 0;

  static MemoryTiff& self(thandle_t handle) { return *static_cast<MemoryTiff*>(handle); }

  static tmsize_t read(thandle_t handle, void* data, tmsize_t size) {
    MemoryTiff& file = self(handle);
    const uint64_t left = file.bytes.size() - std::min<uint64_t>(file.position, file.bytes.size());
    const auto part = std::min(uint64_t(size), left);
    std::memcpy(data, file.bytes.data() + file.position, part);
    file.position += part;
    return tmsize_t(part);
  }

  static tmsize_t write(thandle_t handle, void* data, tmsize_t size) {
    MemoryTiff& file = self(handle);
    const uint64_t end = file.position + uint64_t(size);
    if (file.bytes.size() < end) file.bytes.resize(end);
    std::memcpy(file.bytes.data() + file.position, data, size_t(size));
    file.position = end;
    return size;
  }

  static toff_t seek(thandle_t handle, toff_t offset, int origin) {
    MemoryTiff& file = self(handle);
    const uint64_t from = origin == SEEK_SET   ? 0
                          : origin == SEEK_CUR ? file.position
                                               : file.bytes.size();
    return file.position = from + offset;
  }

  TIFF* open(const char* mode) {
    position = 0;
    return TIFFClientOpen(
        "memory", mode, this, read, write, seek, [](thandle_t) { return 0; },
        [](thandle_t handle) { return toff_t(self(handle).bytes.size()); },
        [](thandle_t, void**, toff_t*) { return 0; }, [](thandle_t, void*, toff_t) {});
  }
};

void setTags(TIFF* tiff, const Page& page) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.height);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, page.height);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
}

// libtiff encodes the page's packed rows.
void encodeTiff(MemoryTiff& file, const Page& page) {
  file.bytes.clear();
  TIFF* tiff = file.open("w");
  setTags(tiff, page);
  std::vector<uint8_t> row(page.rowBytes);
  for (int y = 0; y < page.height; ++y) {
    std::memcpy(row.data(), page.bits.data() + size_t(y) * page.rowBytes, page.rowBytes);
    TIFFWriteScanline(tiff, row.data(), uint32_t(y));
  }
  TIFFClose(tiff);
}

std::vector<uint8_t> stripOf(MemoryTiff& file) {
  TIFF* tiff = file.open("r");
  std::vector<uint8_t> strip(TIFFRawStripSize64(tiff, 0));
  TIFFReadRawStrip(tiff, 0, strip.data(), tmsize_t(strip.size()));
  TIFFClose(tiff);
  return strip;
}

// What libtiff calls with the run lengths of each row, to paint them.
using FillRow = void (*)(unsigned char* row, uint32_t* runs, uint32_t* end, uint32_t width);

// libtiff decodes all rows; with `fill`, hands each row's run lengths to it instead of painting.
void decodeTiff(MemoryTiff& file, const Page& page, FillRow fill) {
  TIFF* tiff = file.open("r");
  if (fill != nullptr) TIFFSetField(tiff, TIFFTAG_FAXFILLFUNC, fill);
  std::vector<uint8_t> row(size_t(TIFFScanlineSize(tiff)));
  for (int y = 0; y < page.height; ++y) TIFFReadScanline(tiff, row.data(), uint32_t(y));
  benchmark::DoNotOptimize(row.data());
  TIFFClose(tiff);
}

std::vector<uint32_t> keptRuns;

void keepRuns(unsigned char*, uint32_t* runs, uint32_t* end, uint32_t) {
  keptRuns.insert(keptRuns.end(), runs, end);
}

void addGroup4(const Page& page) {
  auto file = std::make_shared<MemoryTiff>();
  encodeTiff(*file, page);
  auto strip = std::make_shared<std::vector<uint8_t>>(stripOf(*file));
  RleStream* const check = xioCreateMemoryStream(strip->data(), uint32_t(strip->size()), XIO_READ);
  const OwnedRect decoded(rleLoadRectFromCCITTG4(check, page.width, page.height, 300, 0));
  check->ops->destroy(check);
  bool same = decoded != nullptr;
  for (int y = 0; same && y < page.height; ++y) {
    const RleLine& a = *decoded->rows[y];
    const RleLine& b = *page.rect->rows[y];
    same = a.count == b.count && (a.count == 0 || std::memcmp(a.runs, b.runs, 4U * a.count) == 0);
  }
  if (!same) note("decoding " + page.name + " does not give its runs");
  note("Group 4 data of " + page.name + ": " + std::to_string(strip->size() / 1000) + " KB.");

  compare("Group 4 decode", page,
          [strip, &page](benchmark::State& state) {
            for (auto _ : state) {
              RleStream* stream =
                  xioCreateMemoryStream(strip->data(), uint32_t(strip->size()), XIO_READ);
              rleFreeRect(rleLoadRectFromCCITTG4(stream, page.width, page.height, 300, 0));
              stream->ops->destroy(stream);
            }
          },
          {{"libtiff scanlines",
            [file, &page](benchmark::State& state) {
              for (auto _ : state) decodeTiff(*file, page, nullptr);
            },
            4},
           {"libtiff, run lengths only",
            [file, &page](benchmark::State& state) {
              for (auto _ : state) {
                keptRuns.clear();
                decodeTiff(*file, page, keepRuns);
              }
            },
            2.5}});
  compare("Group 4 encode", page,
          [&page](benchmark::State& state) {
            for (auto _ : state) {
              RleStream* stream = xioCreateMemoryStream(nullptr, 0, XIO_WRITE);
              rleUnloadRectFromCCITTG4(stream, page.rect.get());
              stream->ops->destroy(stream);
            }
          },
          {{"libtiff",
            [&page](benchmark::State& state) {
              MemoryTiff target;
              for (auto _ : state) encodeTiff(target, page);
            },
            5}});
}

const Suite suite(addGroup4);

}  // namespace
}  // namespace rle::bench
