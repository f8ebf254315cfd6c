#include "formats.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <span>

#include "failure.h"
#include "gfx.h"

namespace rle {
namespace {

struct Format {
  const char* name;
  int32_t code;
  std::initializer_list<const char*> extensions;  // the first one is given to new files
};

const Format kFormats[] = {
    {"tiff", GFX_TIFF, {".tif", ".tiff"}},
    {"png", GFX_PNG, {".png"}},
    {"jpeg", GFX_JPEG, {".jpg", ".jpeg"}},
    {"bmp", GFX_BMP, {".bmp"}},
    {"pdf", GFX_PDF, {".pdf"}},
    {"pnm", GFX_PNM, {".pnm", ".pbm", ".pgm", ".ppm"}},
    {"rle", kNativeFormat, {".rle"}},
    {"g4", kGroup4Format, {".g4"}},
};

struct Compression {
  const char* name;
  uint32_t code;
  const char* inWords;
};

constexpr Compression kCompressions[] = {
    {"none", GFX_UNCOMPRESSED, "not compressed"},
    {"group3", GFX_GROUP3, "Group 3"},
    {"group4", GFX_GROUP4, "Group 4"},
    {"packbits", GFX_PACKBITS, "PackBits"},
    {"lzw", GFX_LZW, "LZW"},
    {"deflate", GFX_DEFLATE, "Deflate"},
    {"jpeg", GFX_TIFF_JPEG, "JPEG"},
};

std::string lowerExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  for (char& letter : extension) letter = char(std::tolower(static_cast<unsigned char>(letter)));
  return extension;
}

template <class Item>
std::string namesOf(std::span<const Item> items) {
  std::string names;
  for (const Item& item : items) names += (names.empty() ? "" : ", ") + std::string(item.name);
  return names;
}

template <class Item>
const Item& called(std::span<const Item> items, const std::string& name, const char* kind) {
  const auto found =
      std::ranges::find_if(items, [&](const Item& item) { return name == item.name; });
  if (found == items.end())
    throw UsageError("'" + name + "' is not a " + kind + ", these are: " + namesOf(items));
  return *found;
}

}  // namespace

int32_t formatByName(const std::string& path) {
  const std::string extension = lowerExtension(path);
  if (extension.empty()) return GFX_TIFF;
  for (const Format& format : kFormats)
    if (std::ranges::count(format.extensions, extension) != 0) return format.code;
  throw Failure(path,
                "no format is named " + extension + "; --format names one of " + formatNames());
}

bool isBilevelFile(int32_t format, const std::string& path) {
  return format == kNativeFormat || format == kGroup4Format || format == GFX_PDF ||
         (format == GFX_PNM && lowerExtension(path) == ".pbm");
}

int32_t formatCalled(const std::string& name) {
  return called(std::span<const Format>(kFormats), name, "format").code;
}

const char* extensionOf(int32_t format) {
  return *std::ranges::find(kFormats, format, &Format::code)->extensions.begin();
}

int32_t compressionCalled(const std::string& name) {
  return int32_t(called(std::span<const Compression>(kCompressions), name, "compression").code);
}

std::string formatNames() { return namesOf(std::span<const Format>(kFormats)); }

std::string compressionNames() { return namesOf(std::span<const Compression>(kCompressions)); }

std::string formatInWords(uint32_t format) {
  std::string name = std::ranges::find(kFormats, int32_t(format), &Format::code)->name;
  std::ranges::transform(name, name.begin(),
                         [](unsigned char letter) { return char(std::toupper(letter)); });
  return name;
}

std::string compressionInWords(uint32_t compression) {
  if (compression == GFX_JPEG_DCT) return "JPEG";
  const auto found = std::ranges::find(kCompressions, compression, &Compression::code);
  return found == std::end(kCompressions) ? "another compression" : found->inWords;
}

}  // namespace rle
