// The library only says that it does not read a TIFF file; a person wants to know why. This looks
// at the first directory once more and names the first thing that stands against the file.

#include "tiff_refusal.h"

namespace rle {
namespace {

constexpr uint32_t kLargestSide = 65534;

// TIFF 6.0 tags.
enum Tag : uint32_t {
  kImageWidth = 256,
  kImageLength = 257,
  kBitsPerSample = 258,
  kCompression = 259,
  kPhotometric = 262,
  kStripOffsets = 273,
  kSamplesPerPixel = 277,
  kRowsPerStrip = 278,
  kTileWidth = 322,
};

// What the first directory says, with the defaults of TIFF 6.0.
struct Directory {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t bitsPerSample = 1;
  uint32_t samplesPerPixel = 1;
  uint32_t compression = 1;
  uint32_t photometric = 0;
  uint32_t stripOffsets = 0;  // how many there are
  uint32_t rowsPerStrip = UINT32_MAX;
  bool tiled = false;
  bool lastPage = true;
};

class Reader {
 public:
  explicit Reader(RleStream& stream) : stream_(stream) {}

  uint32_t byte() { return uint32_t(stream_.ops->getByte(&stream_)) & 0xFF; }
  uint32_t word16() { return stream_.ops->getWord16(&stream_) & 0xFFFF; }
  uint32_t word32() { return stream_.ops->getWord32(&stream_); }
  // The 4-byte value field of an entry: what the type fits into it stands at its front.
  uint32_t value(uint32_t type) {
    constexpr uint32_t kByte = 1, kAscii = 2, kShort = 3;
    if (type != kByte && type != kAscii && type != kShort) return word32();
    const uint32_t value = type == kShort ? word16() : byte();
    for (int rest = type == kShort ? 2 : 3; rest > 0; --rest) byte();
    return value;
  }
  bool failed() { return stream_.ops->hasError(&stream_) != 0; }
  bool seek(uint32_t offset) {
    return offset <= INT32_MAX && stream_.ops->seek(&stream_, int32_t(offset), 0) == 0;
  }
  void setLittleEndian() { stream_.ops->setByteOrder(&stream_, 1); }

 private:
  RleStream& stream_;
};

void readEntry(Reader& reader, Directory& directory) {
  const uint32_t tag = reader.word16();
  const uint32_t type = reader.word16();
  const uint32_t count = reader.word32();
  const uint32_t value = reader.value(type);
  if (reader.failed()) return;
  switch (tag) {
    case kImageWidth:
      directory.width = value;
      break;
    case kImageLength:
      directory.height = value;
      break;
    case kBitsPerSample:
      directory.bitsPerSample = count == 1 ? value : 8;
      break;
    case kCompression:
      directory.compression = value;
      break;
    case kPhotometric:
      directory.photometric = value;
      break;
    case kStripOffsets:
      directory.stripOffsets = count;
      break;
    case kSamplesPerPixel:
      directory.samplesPerPixel = value;
      break;
    case kRowsPerStrip:
      directory.rowsPerStrip = value;
      break;
    case kTileWidth:
      directory.tiled = true;
      break;
    default:
      break;
  }
}

std::string compressionInWords(uint32_t compression) {
  switch (compression) {
    case 1:
      return "not compressed";
    case 2:
      return "compressed with CCITT modified Huffman";
    case 3:
      return "compressed with CCITT Group 3";
    case 5:
      return "compressed with LZW";
    case 6:
    case 7:
      return "compressed with JPEG";
    case 8:
    case 32946:
      return "compressed with Deflate";
    case 32773:
      return "compressed with PackBits";
    default:
      return "compressed with scheme " + std::to_string(compression);
  }
}

std::string reasonAgainst(const Directory& directory) {
  if (directory.bitsPerSample != 1 || directory.samplesPerPixel != 1)
    return "has more than one bit a pixel, only black-and-white pages are read";
  if (directory.width > kLargestSide || directory.height > kLargestSide)
    return "the page is larger than 65534 pixels";
  if (directory.compression != 4)
    return "is " + compressionInWords(directory.compression) + ", only Group 4 is read";
  if (directory.photometric != 0)
    return "has photometric interpretation " + std::to_string(directory.photometric) +
           ", only 0 (white is zero) is read";
  if (directory.tiled) return "is stored in tiles, only one strip is read";
  if (directory.stripOffsets == 0) return "has no strip";
  if (directory.stripOffsets > 1 || directory.rowsPerStrip < directory.height)
    return "has several strips, only one is read";
  if (!directory.lastPage) return "has several pages, only files of one page are read";
  return "";
}

}  // namespace

std::string tiffRefusal(RleStream& stream) {
  Reader reader(stream);
  const uint32_t magic = reader.word32();
  if (magic == 0x4D4D002B || magic == 0x49492B00) return "is a BigTIFF file, only TIFF is read";
  if (reader.failed() || (magic != 0x4D4D002A && magic != 0x49492A00)) return "is not a TIFF file";
  if (magic == 0x49492A00) reader.setLittleEndian();

  Directory directory;
  if (!reader.seek(reader.word32())) return "the TIFF directory is missing";
  const uint32_t entries = reader.word16();
  for (uint32_t i = 0; i < entries && !reader.failed(); ++i) readEntry(reader, directory);
  if (reader.failed()) return "the TIFF directory is damaged or cut short";
  const uint32_t next = reader.word32();
  directory.lastPage = reader.failed() || next == 0;
  return reasonAgainst(directory);
}

}  // namespace rle
