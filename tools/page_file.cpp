#include "page_file.h"

#include <filesystem>

#include "failure.h"
#include "file_status.h"
#include "formats.h"
#include "gfx.h"
#include "new_file.h"

namespace rle {
namespace {

constexpr uint32_t kNativeMagic = 0x524C4300;
constexpr uint32_t kLegacyMagic = 0x51756962;
constexpr uint32_t kMostRuns = 25799;  // of a row in Group 4 data: each has two ends, below 51600

const char* faultInWords(int code) {
  switch (code) {
    case -1:
      return "a row is missing";
    case -2:
      return "the page has no width";
    case -3:
      return "a row has no runs though it counts some";
    case -5:
      return "a run is empty or reversed";
    case -6:
      return "a run starts beyond the page";
    case -7:
      return "a run ends beyond the page";
    case -8:
      return "a run is repeated";
    default:
      return "runs overlap, touch or are out of order";
  }
}

const char* pixelsInWords(int32_t colourType) {
  switch (colourType) {
    case GFX_GREY:
    case GFX_GREY_ALPHA:
      return "grey";
    case GFX_RGB:
    case GFX_RGB_ALPHA:
      return "RGB";
    case GFX_CMYK:
      return "CMYK";
    default:
      return "black and white";
  }
}

void rewind(RleStream& stream, const std::string& path) {
  if (stream.ops->seek(&stream, 0, 0) != 0) throw Failure(path, "cannot be read from its start");
}

bool hasTooManyRuns(const RleRect& page) {
  for (uint32_t y = 0; y < page.height; ++y)
    if (page.rows[y]->count > kMostRuns) return true;
  return false;
}

}  // namespace

std::string pipelineReason(const char* otherwise) {
  const char* const reason = gfxLastError();
  return *reason == '\0' ? otherwise : reason;
}

InputFile::InputFile(const std::string& path) : path_(path), stream_(openToRead(path)) {
  std::error_code unknown;
  facts_.byteCount = std::filesystem::file_size(path, unknown);
  const uint32_t magic = stream_->ops->getWord32(stream_.get());
  rewind(*stream_, path_);
  if (magic == kNativeMagic || magic == kLegacyMagic)
    recogniseNative(magic == kNativeMagic ? "native" : "native, legacy header");
  else
    recogniseRaster();
}

void InputFile::recogniseNative(const char* format) {
  native_ = true;
  facts_.format = format;
  facts_.compression = "runs";
  facts_.pixels = pixelsInWords(GFX_BILEVEL_1_BLACK);
  facts_.bilevel = true;
}

void InputFile::recogniseRaster() {
  GfxImageInfo* const info = gfxGetImageInfo(stream_.get());
  if (info == nullptr) throw Failure(path_, pipelineReason("cannot be read"));
  const int32_t colourType = int16_t(info->format);
  facts_.format = formatInWords(info->fileFormat);
  facts_.compression = compressionInWords(info->compression);
  facts_.pages = info->pageCount;
  facts_.width = info->width;
  facts_.height = info->height;
  if (info->resolutionUnit == 1) {
    facts_.xResolution = info->xResolution;
    facts_.yResolution = info->yResolution;
  }
  facts_.pixels = pixelsInWords(colourType);
  facts_.bilevel = colourType == GFX_BILEVEL_1_BLACK;
  gfxFreeImageInfo(info);
}

std::string InputFile::whyNoPage() {
  if (native_)
    return stream_->ops->hasError(stream_.get()) ? "the file is cut short or damaged"
                                                 : "out of memory";
  if (facts_.width > 65535 || facts_.height > 65535) return "the page is larger than 65535 pixels";
  if (facts_.xResolution != facts_.yResolution)
    return "the resolution is not the same in both directions";
  return pipelineReason("out of memory");
}

OwnedRect InputFile::readPage() {
  OwnedRect page((native_ ? rleLoadRect : rleLoadRectFromRaster)(stream_.get()));
  if (!page) throw Failure(path_, whyNoPage());
  if (page->width == 0 || page->height == 0) throw Failure(path_, "the page is empty");
  if (const int code = rleCheckRect(page.get()); code != 1)
    throw Failure(path_, faultInWords(code));
  return page;
}

PageFile readPageFile(const std::string& path) {
  InputFile file(path);
  OwnedRect page = file.readPage();
  return {std::move(page), file.facts()};
}

OwnedRect readGroup4Data(const std::string& path, int32_t width, int32_t height,
                         int32_t resolution) {
  const OwnedStream stream = openToRead(path);
  OwnedRect page(rleLoadRectFromG4(stream.get(), width, height, resolution));
  if (!page) throw Failure(path, pipelineReason("the Group 4 data is without its end mark (EOFB)"));
  return page;
}

void writePageFile(const std::string& path, RleRect& page, int32_t format, int32_t compression) {
  if (format != kNativeFormat && hasTooManyRuns(page) &&
      (format == GFX_TIFF || format == kGroup4Format || format == GFX_PDF))
    throw Failure(path, "a row has more runs than can be coded");
  writeNewFile(path, [&](RleStream& stream) -> std::string {
    switch (format) {
      case kNativeFormat:
        return rleUnload(&stream, &page) == 1 ? "" : "cannot be written";
      case kGroup4Format:
        return rleUnloadRectToG4(&stream, &page) == 1 ? "" : pipelineReason("cannot be written");
      default:
        return rleUnloadRectToRasterSelectCompress(&stream, &page, format, compression) == 1
                   ? ""
                   : pipelineReason("cannot be written");
    }
  });
}

void checkWritable(const std::string& path) {
  formatByName(path);
  requireWritable(path);
}

void writePageFile(const std::string& path, RleRect& page) {
  writePageFile(path, page, formatByName(path), kAnyCompression);
}

}  // namespace rle
