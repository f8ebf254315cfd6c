// Reads PNG files (ISO/IEC 15948) by libpng.
//
// Rows come out of the data as they are asked for, and nothing is read behind the chunk with the
// last of them. An interlaced image is read and held by `begin`.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "metres.h"
#include "png_calls.h"
#include "reader.h"

namespace gfx {
namespace {

// libpng holds a few rows whatever the data brings, so a head of 33 bytes could claim any amount of
// memory. This is half a billion bilevel pixels, or 16 million coloured ones with alpha.
constexpr size_t kMaxRowBytes = size_t{64} << 20;

// Of interlaced images: five pages of A3 in colour at 600 dots per inch.
constexpr uint64_t kMaxHeldBytes = uint64_t{1} << 30;

// The colours of a palette, as far as it matters here.
struct Palette {
  bool isGrey = true;
  bool isBlackAndWhite = false;  // two colours, one each
  bool startsBlack = false;

  Palette(const png_color* colours, int count) {
    const auto isGreyOf = [](const png_color& c, int level) {
      return c.red == level && c.green == level && c.blue == level;
    };
    for (int i = 0; i < count; ++i) isGrey = isGrey && isGreyOf(colours[i], colours[i].red);
    startsBlack = count > 0 && isGreyOf(colours[0], 0);
    isBlackAndWhite = count == 2 && isGreyOf(colours[0], startsBlack ? 0 : 255) &&
                      isGreyOf(colours[1], startsBlack ? 255 : 0);
  }
};

void readPng(png_structp png, png_bytep bytes, size_t count) {
  auto* stream = static_cast<RleStream*>(png_get_io_ptr(png));
  if (!readAll(stream, bytes, uint32_t(count))) png_error(png, "the file ends early");
}

class PngReader : public Reader {
 public:
  explicit PngReader(RleStream* stream) : Reader(stream) {}
  ~PngReader() override {
    png_destroy_read_struct(&png_, &chunks_, nullptr);
    std::free(held_);
  }

  bool open(uint32_t page) override;

 private:
  bool start(GfxImageDesc& description) override;
  bool row(uint8_t* row) override;

  void readHead();
  void chooseFormat();
  void readResolution();
  void holdImage();
  void makeRoom(uint64_t bytes, uint64_t all);

  size_t bytesPerRow() const { return rowBytes(info_.format, info_.width); }

  png_structp png_ = nullptr;
  png_infop chunks_ = nullptr;  // what was read before the pixels
  bool blackIsZero_ = false;    // in the bits of a bilevel image
  int passes_ = 1;              // 7 when interlaced
  uint8_t* held_ = nullptr;     // an interlaced image, as far as there is room
  uint64_t heldBytes_ = 0;
};

bool PngReader::open(uint32_t page) {
  if (page != 0) return setLastError("a PNG file has only one image");
  png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, failPng, ignorePngWarning);
  if (png_) chunks_ = png_create_info_struct(png_);
  if (!chunks_) return setLastError("out of memory");
  if (!runPng(png_, [this] { readHead(); })) return false;
  if (bytesPerRow() > kMaxRowBytes) return setLastError("the rows are longer than 64 MiB");
  if (passes_ > 1 && uint64_t{bytesPerRow()} * info_.height > kMaxHeldBytes)
    return setLastError("an interlaced image of more than 1 GiB");
  return true;
}

void PngReader::readHead() {
  png_set_read_fn(png_, stream_, readPng);
  png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  // All chunks without a meaning for the rows are skipped: colour profiles and texts are compressed
  // and can be any size.
  png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_AS_DEFAULT,
                              reinterpret_cast<png_const_bytep>("pHYs"), 1);
  png_read_info(png_, chunks_);
  info_.width = png_get_image_width(png_, chunks_);
  info_.height = png_get_image_height(png_, chunks_);
  info_.fileFormat = GFX_PNG;
  info_.compression = GFX_DEFLATE;
  info_.pageCount = 1;
  readResolution();
  chooseFormat();
  passes_ = png_set_interlace_handling(png_);
}

// Chooses what the rows become, and tells libpng how.
void PngReader::chooseFormat() {
  const uint8_t type = png_get_color_type(png_, chunks_);
  const bool isTransparent =
      (type & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png_, chunks_, PNG_INFO_tRNS) != 0;
  bool isGrey = (type & PNG_COLOR_MASK_COLOR) == 0;
  bool isBlackAndWhite = isGrey;
  blackIsZero_ = true;
  if (type == PNG_COLOR_TYPE_PALETTE) {
    png_colorp colours = nullptr;
    int count = 0;
    png_get_PLTE(png_, chunks_, &colours, &count);
    const Palette palette(colours, count);
    isGrey = palette.isGrey;
    isBlackAndWhite = palette.isBlackAndWhite;
    blackIsZero_ = palette.startsBlack;
  }
  if (png_get_bit_depth(png_, chunks_) == 1 && isBlackAndWhite && !isTransparent) {
    info_.format = kBilevel;
    return;
  }
  png_set_expand(png_);
  png_set_strip_16(png_);
  if (type == PNG_COLOR_TYPE_PALETTE && isGrey)
    png_set_rgb_to_gray_fixed(png_, PNG_ERROR_ACTION_NONE, -1, -1);
  if (isTransparent)
    info_.format = formatOf(isGrey ? GFX_GREY_ALPHA : GFX_RGB_ALPHA);
  else
    info_.format = isGrey ? kGrey : kRgb;
}

void PngReader::readResolution() {
  uint32_t x = 0;
  uint32_t y = 0;
  int unit = PNG_RESOLUTION_UNKNOWN;
  png_get_pHYs(png_, chunks_, &x, &y, &unit);
  if (unit != PNG_RESOLUTION_METER || x == 0 || y == 0) return;
  info_.xResolution = dotsPerInch(x);
  info_.yResolution = dotsPerInch(y);
  info_.resolutionUnit = 1;
}

bool PngReader::start(GfxImageDesc& description) {
  if (passes_ > 1 && !runPng(png_, [this] { holdImage(); })) return false;
  return Reader::start(description);
}

// Room grows with the rows of the first pass, which is every eighth of the image, so that a short
// file with a large image in its head does not get the memory for it.
void PngReader::holdImage() {
  const uint64_t all = uint64_t{bytesPerRow()} * info_.height;
  for (int pass = 0; pass < passes_; ++pass)
    for (uint64_t y = 0; y < info_.height; ++y) {
      makeRoom(bytesPerRow() * (y + 1), all);
      png_read_row(png_, held_ + bytesPerRow() * y, nullptr);
    }
}

void PngReader::makeRoom(uint64_t bytes, uint64_t all) {
  if (bytes <= heldBytes_) return;
  const uint64_t room = std::min(std::max(bytes, 2 * heldBytes_), all);
  auto* held = static_cast<uint8_t*>(std::realloc(held_, room));
  if (!held) png_error(png_, "out of memory");
  held_ = held;
  heldBytes_ = room;
}

bool PngReader::row(uint8_t* row) {
  if (held_)
    std::memcpy(row, held_ + bytesPerRow() * (info_.height - rowsLeft()), bytesPerRow());
  else if (!runPng(png_, [this, row] { png_read_row(png_, row, nullptr); }))
    return false;
  if (isBilevel(info_.format)) {
    if (blackIsZero_) invertBits(row, bytesPerRow());
    clearPadding(row, info_.width);
  }
  return true;
}

}  // namespace

const FileKind kPngFiles{
    [](const uint8_t (&signature)[kSignatureBytes]) {
      return std::memcmp(signature, "\x89PNG\r\n\x1A\n", kSignatureBytes) == 0;
    },
    [](RleStream* stream) -> Reader* { return new (std::nothrow) PngReader(stream); }};

}  // namespace gfx
