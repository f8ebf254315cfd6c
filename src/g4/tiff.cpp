// One-strip Group 4 TIFF: the fixed header that stands before the data of a page, the entries in it
// that are known only afterwards, and the facts about such a file that the decoder needs.
//
// TIFF 6.0 names are used throughout. The directory lies right behind the 8-byte file header, its
// entries are 12 bytes each, and the two resolutions follow it:
//
//     0        8     10                             166        170          178          186
//     | header | 13  | 13 entries of kEntries       | 0        | X n/1      | Y n/1      | data
//
// Every number is read and written by the stream in its own byte order.

#include <algorithm>
#include <array>

#include "rle.h"

namespace {

enum Tag : uint16_t {
  kImageWidth = 256,
  kImageLength = 257,
  kBitsPerSample = 258,
  kCompression = 259,
  kPhotometric = 262,
  kFillOrder = 266,
  kStripOffsets = 273,
  kSamplesPerPixel = 277,
  kRowsPerStrip = 278,
  kStripByteCounts = 279,
  kXResolution = 282,
  kYResolution = 283,
  kPlanarConfiguration = 284,
  kResolutionUnit = 296,
};

enum Type : uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kRational = 5 };

constexpr uint32_t kBigEndianMagic = 0x4D4D002A;     // "MM", 42
constexpr uint32_t kLittleEndianMagic = 0x49492A00;  // "II", 42 when it is read as big-endian

// Values of entries.
constexpr uint32_t kCcittT6 = 4;
constexpr uint32_t kWhiteIsZero = 0;
constexpr uint32_t kBlackIsZero = 1;
constexpr uint32_t kHighBitFirst = 1;
constexpr uint32_t kLowBitFirst = 2;
constexpr uint32_t kNoUnit = 1;
constexpr uint32_t kInch = 2;
constexpr uint32_t kCentimetre = 3;
constexpr uint32_t kAllRows = 0xFFFFFFFF;  // rows per strip where one strip holds any number

constexpr uint32_t kSizeLimit = 65535;       // widths and heights from here on are refused
constexpr uint32_t kUnknownResolution = 72;  // dots per inch, where the file does not say
constexpr uint32_t kDirectoryOffset = 8;
constexpr uint32_t kEntriesOffset = 10;
constexpr uint32_t kEntrySize = 12;

struct Entry {
  Tag tag;
  Type type;
  uint32_t value;  // 0 where it depends on the page
};

constexpr std::array kEntries = {
    Entry{kImageWidth, kLong, 0},          Entry{kImageLength, kLong, 0},
    Entry{kBitsPerSample, kShort, 1},      Entry{kCompression, kShort, kCcittT6},
    Entry{kPhotometric, kShort, 0},        Entry{kFillOrder, kShort, 0},
    Entry{kStripOffsets, kLong, 186},      Entry{kSamplesPerPixel, kShort, 1},
    Entry{kRowsPerStrip, kLong, kAllRows}, Entry{kStripByteCounts, kLong, 0},
    Entry{kXResolution, kRational, 170},   Entry{kYResolution, kRational, 178},
    Entry{kResolutionUnit, kShort, kInch},
};
static_assert(kEntriesOffset + kEntries.size() * kEntrySize + 4 == 170, "where the rationals are");

constexpr size_t indexOf(Tag tag) {
  return size_t(std::ranges::find(kEntries, tag, &Entry::tag) - kEntries.begin());
}

// ---- Writing ----

// Each of these asks the stream at once whether the write failed.
bool put16(RleStream* stream, uint32_t value) {
  stream->ops->putWord16(stream, value);
  return stream->ops->hasError(stream) == 0;
}

bool put32(RleStream* stream, uint32_t value) {
  stream->ops->putWord32(stream, value);
  return stream->ops->hasError(stream) == 0;
}

// The value field is filled from its left end: a SHORT is followed by two bytes that mean nothing.
bool putEntry(RleStream* stream, const Entry& entry) {
  if (!put16(stream, entry.tag) || !put16(stream, entry.type) || !put32(stream, 1)) return false;
  if (entry.type == kShort) return put16(stream, entry.value) && put16(stream, 0);
  return put32(stream, entry.value);
}

bool putResolution(RleStream* stream, uint32_t dotsPerInch) {
  return put32(stream, dotsPerInch) && put32(stream, 1);
}

// Writes one entry of a header again.
int32_t patchEntry(RleStream* stream, Tag tag, uint32_t value) {
  const size_t index = indexOf(tag);
  Entry entry = kEntries[index];
  entry.value = value;
  const auto offset = int32_t(kEntriesOffset + index * kEntrySize);
  return stream->ops->seek(stream, offset, 0) == 0 && putEntry(stream, entry) ? 1 : 0;
}

// ---- Reading ----

// What the directory says beside the facts for the caller.
struct Directory {
  uint32_t imageLength = 0;
  uint32_t rowsPerStrip = 0;
  uint32_t xResolutionOffset = 0;
  uint32_t yResolutionOffset = 0;
  uint32_t resolutionUnit = kNoUnit;

  bool hasOneStrip() const { return imageLength != 0 && imageLength <= rowsPerStrip; }
};

class Reader {
 public:
  explicit Reader(RleStream* stream) : stream_(stream) {}

  bool read(RleTiffG4Info& info);

 private:
  struct Field {
    uint32_t tag;
    uint32_t count;
    uint32_t value;  // the first one, or the offset of values that do not fit
  };

  uint32_t get16() { return stream_->ops->getWord16(stream_) & 0xFFFF; }
  uint32_t get32() { return stream_->ops->getWord32(stream_); }
  bool failed() { return stream_->ops->hasError(stream_) != 0; }
  void setLittleEndian(bool littleEndian);
  bool seek(uint32_t offset);
  bool seekDirectory();
  Field getField();
  uint32_t firstOf(uint32_t word, int bits) const;
  bool accept(const Field& field, RleTiffG4Info& info);
  uint32_t resolution(uint32_t offset);
  uint32_t roundedRational(uint32_t offset);

  RleStream* stream_;
  bool littleEndian_ = false;
  Directory directory_;
};

void Reader::setLittleEndian(bool littleEndian) {
  littleEndian_ = littleEndian;
  stream_->ops->setByteOrder(stream_, littleEndian ? 1 : 0);
}

// Offsets in the file are unsigned. One beyond what a stream can be asked for must not reach it as
// a negative one.
bool Reader::seek(uint32_t offset) {
  return offset <= INT32_MAX && stream_->ops->seek(stream_, int32_t(offset), 0) == 0;
}

bool Reader::seekDirectory() {
  setLittleEndian(false);
  const uint32_t magic = get32();
  if (failed() || (magic != kBigEndianMagic && magic != kLittleEndianMagic)) return false;
  if (magic == kLittleEndianMagic) setLittleEndian(true);
  const uint32_t offset = get32();
  return !failed() && seek(offset);
}

// The first value in the value field of an entry whose values are `bits` bits each.
uint32_t Reader::firstOf(uint32_t word, int bits) const {
  return littleEndian_ ? word & ((1U << bits) - 1) : word >> (32 - bits);
}

// Fields that cannot be read, or are of a type unknown here, have no values.
Reader::Field Reader::getField() {
  Field field;
  field.tag = get16();
  const uint32_t type = get16();
  field.count = get32();
  field.value = get32();
  if (failed() || type < kByte || type > kRational) {
    field.count = 0;
    field.value = 0;
  } else if ((type == kByte || type == kAscii) && field.count <= 4) {
    field.value = firstOf(field.value, 8);
  } else if (type == kShort && field.count <= 2) {
    field.value = firstOf(field.value, 16);
  }
  return field;
}

// Takes a field in; false when no file with it is decoded here.
bool Reader::accept(const Field& field, RleTiffG4Info& info) {
  const uint32_t value = field.value;
  switch (field.tag) {
    case kImageWidth:
      if (value >= kSizeLimit) return false;
      info.width = value;
      return true;
    case kImageLength:
      if (value >= kSizeLimit) return false;
      info.height = directory_.imageLength = value;
      return true;
    case kBitsPerSample:
    case kSamplesPerPixel:
    case kPlanarConfiguration:
      return value == 1;
    case kCompression:
      return value == kCcittT6;
    case kPhotometric:
      if (value != kWhiteIsZero) return false;
      info.photometric = value;
      return true;
    case kFillOrder:
      info.fillOrder = value;
      return true;
    case kStripOffsets:
      if (field.count > 1) return false;
      info.stripOffset = value;
      return true;
    case kRowsPerStrip:
      directory_.rowsPerStrip = value;
      return true;
    case kXResolution:
      directory_.xResolutionOffset = value;
      return true;
    case kYResolution:
      directory_.yResolutionOffset = value;
      return true;
    case kResolutionUnit:
      directory_.resolutionUnit = value;
      return true;
    default:
      return true;
  }
}

// 0 when the rational cannot be read; one without a value says as little as none at all.
uint32_t Reader::roundedRational(uint32_t offset) {
  if (!seek(offset)) return 0;
  const uint32_t numerator = get32();
  const uint32_t denominator = get32();
  if (failed()) return 0;
  if (numerator == 0 || denominator == 0) return kUnknownResolution;
  return (numerator + denominator / 2) / denominator;  // a sum of 2^32 and more wraps
}

// Dots per inch. The low 32 bits of a product that is larger are as good as any.
uint32_t Reader::resolution(uint32_t offset) {
  if (offset == 0 || directory_.resolutionUnit == 0) return kUnknownResolution;
  uint64_t dots = roundedRational(offset);
  if (directory_.resolutionUnit == kCentimetre) dots = dots * 254 / 100;
  return dots != 0 ? uint32_t(dots) : kUnknownResolution;
}

bool Reader::read(RleTiffG4Info& info) {
  if (!seekDirectory()) return false;
  const uint32_t count = get16();
  if (failed()) return false;
  info.fillOrder = kHighBitFirst;
  for (uint32_t i = 0; i < count; ++i)
    if (!accept(getField(), info)) return false;
  if (!directory_.hasOneStrip()) return false;
  info.xResolution = resolution(directory_.xResolutionOffset);
  info.yResolution = resolution(directory_.yResolutionOffset);
  return true;
}

}  // namespace

extern "C" int32_t rleWriteTiffHeader(RleStream* stream, uint32_t width, uint32_t height,
                                      uint32_t resolution, int32_t colourType, int32_t lsbFirst) {
  auto entries = kEntries;
  entries[indexOf(kImageWidth)].value = width;
  entries[indexOf(kImageLength)].value = height;
  // The remainder of a negative colour type is never 4.
  entries[indexOf(kPhotometric)].value = colourType % 5 == 4 ? kWhiteIsZero : kBlackIsZero;
  entries[indexOf(kFillOrder)].value = lsbFirst != 0 ? kLowBitFirst : kHighBitFirst;

  if (!put16(stream, kBigEndianMagic >> 16) || !put16(stream, kBigEndianMagic & 0xFFFF) ||
      !put32(stream, kDirectoryOffset) || !put16(stream, uint32_t(entries.size())))
    return 0;
  for (const Entry& entry : entries)
    if (!putEntry(stream, entry)) return 0;
  return put32(stream, 0) && putResolution(stream, resolution) && putResolution(stream, resolution)
             ? 1
             : 0;
}

extern "C" int32_t rleReWriteWidthOfOneStripTiffTag(RleStream* stream, uint32_t width) {
  return patchEntry(stream, kImageWidth, width);
}

extern "C" int32_t rleReWriteHeightOfOneStripTiffTag(RleStream* stream, uint32_t height) {
  return patchEntry(stream, kImageLength, height);
}

extern "C" int32_t rleReWriteByteCountOfTiffTag(RleStream* stream, uint32_t byteCount) {
  return patchEntry(stream, kStripByteCounts, byteCount);
}

// The stream gets back its position whatever was found. Without a position on entry the seek goes
// to -1, which a stream refuses.
extern "C" int32_t rleReadOneStripTiffG4Info(RleStream* stream, RleTiffG4Info* info) {
  const RleStreamOps& ops = *stream->ops;
  const int32_t position = ops.tell(stream);
  RleTiffG4Info unwanted = {};
  const bool accepted = position != -1 && Reader(stream).read(info != nullptr ? *info : unwanted);
  const bool back = ops.seek(stream, position, 0) == 0;
  return accepted && back ? 1 : 0;
}
