// The memory raster writer, its methods called in any order. Bytes: the format, whether the output
// can be written, and the calls.

#include <unistd.h>

#include <cmath>
#include <string>

#include "gfx.h"
#include "input.h"

using namespace rle::fuzz;

namespace {

constexpr int kMostCalls = 40;

// Of this process, with the temporary file of the case in it. To make one for every case would take
// longer than the case.
class PrivateDirectory {
 public:
  PrivateDirectory() { expect(mkdtemp(path_) != nullptr); }
  ~PrivateDirectory() { rmdir(path_); }
  std::string file() const { return std::string(path_) + "/part"; }

 private:
  char path_[32] = "/tmp/rle_fuzz_XXXXXX";
};

const char* temporaryFile() {
  static const PrivateDirectory directory;
  static const std::string path = directory.file();
  return path.c_str();
}

bool hasTemporaryFile() { return access(temporaryFile(), F_OK) == 0; }

// What becomes of an image in black and white that arrives in whole rows of bytes and is changed by
// nothing.
struct PlainImage {
  bool isPlain = false;
  bool isDirect = false;  // written row by row, with what is behind the last one dropped
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> bytes;

  size_t rowBytes() const { return (width + 7) / 8; }
  size_t rows() const { return bytes.size() / rowBytes(); }
  void add(std::span<const uint8_t> data) {
    if (!isPlain) return;
    if (isDirect) data = data.first(data.size() / rowBytes() * rowBytes());
    bytes.insert(bytes.end(), data.begin(), data.end());
  }
};

struct Job {
  Input input;
  const int32_t format;
  const bool canWrite;
  OwnedStream output;
  RleMemoryWriter* const w;
  PlainImage image;
  uint32_t bits = 1, width = 0;  // of the last initialize
  double scale = 1;
  int32_t rotation = 0;
  uint32_t padding = 8;
  bool isFirst = true;  // no initialize has come

  static int32_t formatFrom(Input& input) {
    constexpr int32_t kFormats[] = {GFX_TIFF, GFX_TIFF, GFX_BMP, GFX_PDF,
                                    GFX_PNG,  GFX_JPEG, GFX_PNM, 4};
    return kFormats[input.byte() % 8];
  }

  explicit Job(Input bytes)
      : input(bytes),
        format(formatFrom(input)),
        canWrite(input.byte() < 240),
        output(canWrite ? writing() : reading({})),
        w(rleInitWriteRasterFromMemory(output.get(), format)) {}

  void run() {
    for (int n = 0; n < kMostCalls && !input.empty(); ++n) call();
    if (input.flag()) flush(0, 0);
    w->end(w);
    expect(!hasTemporaryFile());
  }

  void call();
  void set();
  void initialize();
  void write();
  void writeCoded();
  void flush(uint32_t flushWidth, uint32_t flushHeight);
  void expectImage();
  void callWithoutWriter() const;

  // A failure leaves a message.
  void expectStatus(int32_t status) const {
    expect(status == 1 || (status == 0 && w->getError(w) != nullptr));
  }
};

void Job::call() {
  switch (input.byte() % 16) {
    case 0:
    case 1:
      return initialize();
    case 2:
    case 3:
      return set();
    case 4:
      return flush(uint32_t(input.range(0, 40)), uint32_t(input.range(0, 40)));
    case 5:
      return flush(0, uint32_t(image.isPlain ? image.rows() : 0));
    case 6:
      return writeCoded();
    case 7:
      return callWithoutWriter();
    default:
      return write();
  }
}

void Job::set() {
  constexpr double kScales[] = {0, -1, 1, 1e300, 1e-300, 5e9, INFINITY, NAN};
  const uint8_t kind = input.byte();
  image.isPlain = image.isPlain && image.isDirect;  // or that what was set counts for it
  switch (kind % 4) {
    case 0:
      return w->setBufferSize(w, input.byte());
    case 1:
      scale = kind < 128 ? input.range(0, 255) / 64.0 : kScales[input.byte() % 8];
      return w->setScale(w, scale);
    case 2:
      rotation = kind < 128 ? 90 * input.range(0, 3) : input.anyInt(400);
      return w->setRotation(w, rotation);
    default:
      padding = kind < 64 ? 8 : kind < 240 ? input.byte() : input.word32();
      return w->setPaddingBits(w, padding);
  }
}

void Job::initialize() {
  constexpr uint32_t kFormats[] = {GFX_FORMAT(1, GFX_BILEVEL_1_BLACK),
                                   GFX_FORMAT(1, GFX_BILEVEL_0_BLACK),
                                   GFX_FORMAT(1, GFX_BILEVEL_1_BLACK),
                                   GFX_FORMAT(1, GFX_ALPHA_BILEVEL_1_BLACK),
                                   GFX_FORMAT(8, GFX_GREY),
                                   GFX_FORMAT(24, GFX_RGB),
                                   GFX_FORMAT(32, GFX_CMYK),
                                   GFX_FORMAT(16, GFX_GREY_ALPHA),
                                   GFX_FORMAT(32, GFX_RGB_ALPHA)};
  const uint8_t kind = input.byte();
  const uint32_t pixels = kind < 240 ? kFormats[kind % std::size(kFormats)] : input.word32();
  const auto resolution = input.flag() ? input.word32() : 300U;
  width = uint32_t(input.range(0, 299));
  const auto height = uint32_t(input.range(0, 40));
  bits = pixels >> 16;
  const int32_t inputKind = input.range(0, 5) % 3, options = input.range(0, 9) / 8;
  const bool hasPath = kind != 255;

  const bool isOwn = pixels == kFormats[0] && width > 0 && inputKind == 0 && padding == 8 &&
                     scale == 1 && rotation == 0;
  const bool isLossless =
      format == GFX_TIFF || format == GFX_BMP || format == GFX_PNG || format == GFX_PNM;
  image = {
      isOwn && isLossless && isFirst && canWrite && hasPath, format == GFX_TIFF, width, height, {}};
  if (!image.isDirect && options != 0) image.isPlain = false;
  isFirst = false;
  const int32_t status =
      w->initialize(w, width, height, resolution, int32_t(pixels >> 16), int32_t(pixels & 0xFFFF),
                    inputKind, options, hasPath ? temporaryFile() : nullptr);
  expectStatus(status);
  expect(status == 1 || !image.isPlain);
  expect(status == 0 || hasTemporaryFile());
}

void Job::write() {
  const size_t row = bits == 1 ? (width + 7) / 8 : bits / 8 * size_t{width};
  const uint8_t kind = input.byte();
  std::vector<uint8_t> data(kind % 2 == 0 ? std::min(row * (kind / 2 % 8), size_t{4096})
                                          : kind / 2);
  uint8_t pattern = 0;
  for (uint8_t& byte : data)
    byte = pattern = input.empty() ? uint8_t(pattern * 5 + 1) : input.byte();
  const int32_t status = w->write(w, data.data(), uint32_t(data.size()));
  expectStatus(status);
  expect(status == 1 || !image.isPlain);
  image.add(data);
}

// Group 4 data, cut in two.
void Job::writeCoded() {
  const OwnedStream coded = writing();
  expect(rleUnloadRectFromCCITTG4(coded.get(), pixelsFrom(input, 40, 40).toRect().get()) == 1);
  const std::vector<uint8_t> data = bytesOf(coded);
  const size_t cut = std::min<size_t>(input.byte(), data.size());
  image.isPlain = false;
  expectStatus(w->write(w, data.data(), uint32_t(cut)));
  expectStatus(w->write(w, data.data() + cut, uint32_t(data.size() - cut)));
}

void Job::flush(uint32_t flushWidth, uint32_t flushHeight) {
  const int32_t status = w->flush(w, flushWidth, flushHeight);
  expect(status == 0 || status == 1);
  if (image.isPlain) {
    uint32_t& height = image.height;
    if (image.isDirect ? flushHeight != 0 : height == 0) height = flushHeight;
    if (image.isDirect && flushHeight > image.rows()) image.bytes.resize(height * image.rowBytes());
    const bool isWhole = height > 0 && image.bytes.size() == height * image.rowBytes();
    const bool keepsWidth = !image.isDirect || flushWidth == 0 || flushWidth == image.width;
    expect(status == 1 || !isWhole);
    if (isWhole && keepsWidth) expectImage();
  }
  image.isPlain = false;
}

void Job::expectImage() {
  const std::vector<uint8_t> file = bytesOf(output);
  const OwnedStream written = reading(file);
  const rle::OwnedRect rect(rleLoadRectFromRaster(written.get()));
  expect(isValid(rect) && rect->width == image.width && rect->height == image.height);
  for (uint32_t y = 0; y < image.height; ++y) {
    const rle::OwnedLine row(rlePackLine(&image.bytes[y * image.rowBytes()], 0, rect->width));
    expect(row && sameRuns(*row, *rect->rows[y]));
  }
}

void Job::callWithoutWriter() const {
  expect(w->initialize(nullptr, 1, 1, 1, 1, 4, 0, 0, "/nowhere") == 0);
  expect(w->write(nullptr, "", 1) == 0 && w->flush(nullptr, 1, 1) == 0);
  expect(w->getError(nullptr) == nullptr);
  w->setBufferSize(nullptr, 1);
  w->setScale(nullptr, 2);
  w->setRotation(nullptr, 90);
  w->setPaddingBits(nullptr, 1);
  w->end(nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Job(Input(bytes, size)).run();
  return 0;
}
