// Whole files through the raster bridge, beside Leptonica and libtiff on the same files.

#include <leptonica/allheaders.h>
#include <tiffio.h>
#include <xio.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "compare.h"
#include "gfx.h"

namespace rle::bench {
namespace {

// A folder for the files of this run, gone at its end.
class Folder {
 public:
  Folder() { std::filesystem::create_directories(path_); }
  ~Folder() { std::filesystem::remove_all(path_); }
  std::string file(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / ("rle_bench-" + std::to_string(std::rand()));
};

const Folder& folder() {
  static const Folder folder;
  return folder;
}

OwnedStream streamOver(const std::string& path, int mode) {
  return OwnedStream(xioCreateFileStreamByName(path.c_str(), mode));
}

OwnedRect load(const std::string& path) {
  const OwnedStream stream = streamOver(path, XIO_READ);
  return OwnedRect(rleLoadRectFromRaster(stream.get()));
}

void save(const std::string& path, RleRect* rect, int format) {
  const OwnedStream stream = streamOver(path, XIO_WRITE);
  rleUnloadRectToRaster(stream.get(), rect, format);
}

// The page in strips of so many rows, written by libtiff.
std::string stripsFile(const Page& page, int rowsPerStrip,
                       int compression = COMPRESSION_CCITTFAX4) {
  const std::string path = folder().file(page.name + "-" + std::to_string(rowsPerStrip) + "-" +
                                         std::to_string(compression) + ".tif");
  TIFF* const tiff = TIFFOpen(path.c_str(), "w");
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.height);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  std::vector<uint8_t> row(page.rowBytes);
  for (int y = 0; y < page.height; ++y) {
    std::copy_n(page.bits.begin() + ptrdiff_t(size_t(y) * page.rowBytes), page.rowBytes,
                row.begin());
    TIFFWriteScanline(tiff, row.data(), uint32_t(y));
  }
  TIFFClose(tiff);
  return path;
}

Body loading(const std::string& path) {
  return [path](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(load(path));
  };
}

Contender leptonicaReading(const std::string& path, double aim) {
  return {"pixRead",
          [path](benchmark::State& state) {
            for (auto _ : state) {
              Pix* pix = pixRead(path.c_str());
              pixDestroy(&pix);
            }
          },
          aim};
}

void addConversion(const Page& page) {
  const std::string in = folder().file(page.name + ".png");
  const std::string out = folder().file(page.name + "-out.tif");
  save(in, page.rect.get(), GFX_PNG);
  compare("PNG file in, Group 4 TIFF file out", page,
          [in, out](benchmark::State& state) {
            for (auto _ : state) save(out, load(in).get(), GFX_TIFF);
          },
          {{"pixRead, pixWrite", [in, out](benchmark::State& state) {
              for (auto _ : state) {
                Pix* pix = pixRead(in.c_str());
                pixWrite(out.c_str(), pix, IFF_TIFF_G4);
                pixDestroy(&pix);
              }
            }}});
}

// Hands `pieces` over one by one and takes the file.
void writeFromMemory(const Page& page, int32_t inputKind, int32_t format,
                     const std::vector<uint8_t>& bytes, uint32_t pieceBytes) {
  const std::string out = folder().file("memory.out");
  const OwnedStream stream = streamOver(out, XIO_WRITE);
  RleMemoryWriter* const writer = rleInitWriteRasterFromMemory(stream.get(), format);
  writer->setPaddingBits(writer, 32);
  const std::string collected = folder().file("memory.tmp");
  writer->initialize(writer, uint32_t(page.width), uint32_t(page.height), 300, 1, 4, inputKind, 1,
                     collected.c_str());
  for (uint32_t at = 0; at < bytes.size(); at += pieceBytes)
    writer->write(writer, bytes.data() + at, std::min(pieceBytes, uint32_t(bytes.size()) - at));
  if (writer->flush(writer, 0, 0) != 1) std::abort();
  writer->end(writer);
}

void addMemoryWriter(const Page& page) {
  // Rows padded to 32 bits, as the page holds them.
  constexpr uint32_t kRowsPerPiece = 64;
  const auto piece = uint32_t(page.rowBytes * kRowsPerPiece);
  const auto mode = [&page](int32_t kind, int32_t format, std::vector<uint8_t> bytes,
                            uint32_t pieceBytes) -> Body {
    return [&page, kind, format, bytes = std::move(bytes), pieceBytes](benchmark::State& state) {
      for (auto _ : state) writeFromMemory(page, kind, format, bytes, pieceBytes);
      state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(page.bits.size()));
    };
  };
  const Contender libtiff{"libtiff, Group 4", [&page](benchmark::State& state) {
                            for (auto _ : state) stripsFile(page, page.height);
                          }};
  compare("memory writer: raw rows to Group 4 TIFF", page, mode(0, GFX_TIFF, page.bits, piece),
          {libtiff});
  const OwnedStream coded(xioCreateMemoryStream(nullptr, 0, XIO_WRITE));
  rleUnloadRectFromCCITTG4(coded.get(), page.rect.get());
  uint32_t size = 0;
  const auto* const data = static_cast<const uint8_t*>(xioMemoryStreamBytes(coded.get(), &size));
  compare("memory writer: Group 4 data to TIFF", page,
          mode(1, GFX_TIFF, {data, data + size}, 64 * 1024), {libtiff});
  compare("memory writer: raw rows to PNG, collected first", page,
          mode(0, GFX_PNG, page.bits, piece),
          {{"pixWrite", [&page](benchmark::State& state) {
              Pix* pix = pixRead(stripsFile(page, page.height).c_str());
              const std::string out = folder().file("lept.png");
              for (auto _ : state) pixWrite(out.c_str(), pix, IFF_PNG);
              pixDestroy(&pix);
            }}});
  note(page.name + ": " + std::to_string(page.bits.size() / 1000) +
       " KB of raw rows (KB over microseconds are GB/s).");
}

void addRaster(const Page& page) {
  const std::string one = stripsFile(page, page.height);
  compare("load a TIFF file of one Group 4 strip", page, loading(one), {leptonicaReading(one, 4)});
  const std::string many = stripsFile(page, 64);
  compare("load a TIFF file of many Group 4 strips", page, loading(many),
          {leptonicaReading(many, 1)});
  const std::string plain = stripsFile(page, 64, COMPRESSION_NONE);
  compare("load a TIFF file without compression", page, loading(plain),
          {leptonicaReading(plain, 0)});
  addConversion(page);
  addMemoryWriter(page);
}

const Suite suite(addRaster);

}  // namespace
}  // namespace rle::bench
