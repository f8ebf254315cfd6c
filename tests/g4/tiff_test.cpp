// The one-strip TIFF header: the bytes written, what is read from directories good and bad, and
// every stream operation failing in turn.

#include <gtest/gtest.h>
#include <tiffio.h>

#include <fstream>
#include <functional>
#include <map>
#include <vector>

#include "rle.h"
#include "support/byte_stream.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Facts = std::vector<uint32_t>;

Facts factsOf(const RleTiffG4Info& info) {
  return {info.width,       info.height,      info.xResolution, info.yResolution,
          info.stripOffset, info.photometric, info.fillOrder};
}

// A file for the reader, of any byte order. Entries are {type, count, value}; a value that is
// shorter than its field stands at the field's left end.
struct File {
  struct Entry {
    uint32_t type, count, value;
  };
  bool little = false;
  std::map<uint32_t, Entry> entries = {
      {256, {4, 1, 100}}, {257, {4, 1, 50}},  {258, {3, 1, 1}},  {259, {3, 1, 4}},
      {262, {3, 1, 0}},   {273, {4, 1, 300}}, {278, {3, 1, 50}}, {282, {5, 1, 0}},
      {283, {5, 1, 0}},   {284, {3, 1, 1}},   {296, {3, 1, 2}},
  };
  uint32_t xRational[2] = {300, 1};
  uint32_t yRational[2] = {200, 1};

  Bytes bytes() const {
    Bytes file;
    const auto put = [&](uint32_t value, int size) {
      for (int i = 0; i < size; ++i)
        file.push_back(uint8_t(value >> 8 * (little ? i : size - 1 - i)));
    };
    put(little ? 0x4949 : 0x4D4D, 2);
    put(42, 2);
    put(24, 4);
    for (const uint32_t word : {xRational[0], xRational[1], yRational[0], yRational[1]})
      put(word, 4);
    put(uint32_t(entries.size()), 2);
    for (const auto& [tag, entry] : entries) {
      put(tag, 2);
      put(entry.type, 2);
      put(entry.count, 4);
      const bool here = entry.type == 5 && entry.value == 0;
      const int size = entry.type == 1 ? 1 : entry.type == 3 ? 2 : 4;
      put(here ? (tag == 282 ? 8 : 16) : entry.value, size);
      put(0, 4 - size);
    }
    put(0, 4);
    return file;
  }
};

// The answer for a file, with the promises that hold for each: position and byte order come back,
// the record may be missing, and the byte order of the file makes no difference.
int32_t readInfo(const Bytes& bytes, RleTiffG4Info* info) {
  ByteStream stream(bytes);
  stream.littleEndian = bytes.size() % 2 == 0;
  const int32_t answer = rleReadOneStripTiffG4Info(&stream, info);
  EXPECT_EQ(stream.position, 0U);
  EXPECT_EQ(stream.littleEndian, bytes.size() % 2 == 0);
  return answer;
}

int32_t readInfo(File file, RleTiffG4Info* info) {
  const int32_t answer = readInfo(file.bytes(), info);
  EXPECT_EQ(readInfo(file.bytes(), nullptr), answer);
  file.little = true;
  RleTiffG4Info again = {};
  EXPECT_EQ(readInfo(file.bytes(), &again), answer);
  EXPECT_EQ(factsOf(again), factsOf(*info));
  return answer;
}

int32_t accepts(const std::function<void(File&)>& change) {
  File file;
  change(file);
  RleTiffG4Info info = {};
  return readInfo(file, &info);
}

Facts resolutions(uint32_t numerator, uint32_t denominator, uint32_t unit) {
  File file;
  file.xRational[0] = numerator;
  file.xRational[1] = denominator;
  file.entries[296].value = unit;
  RleTiffG4Info info = {};
  EXPECT_EQ(readInfo(file, &info), 1);
  return {info.xResolution, info.yResolution};
}

TEST(TiffHeader, HasItsBytes) {
  ByteStream stream;
  ASSERT_EQ(rleWriteTiffHeader(&stream, 100, 50, 200, 4, 1), 1);
  const Bytes expected = {
      'M', 'M', 0, 42,  0, 0, 0, 8, 0,   13,                         //
      1,   0,   0, 4,   0, 0, 0, 1, 0,   0,   0,   100,              // width
      1,   1,   0, 4,   0, 0, 0, 1, 0,   0,   0,   50,               // height
      1,   2,   0, 3,   0, 0, 0, 1, 0,   1,   0,   0,                // bits per sample
      1,   3,   0, 3,   0, 0, 0, 1, 0,   4,   0,   0,                // T.6
      1,   6,   0, 3,   0, 0, 0, 1, 0,   0,   0,   0,                // white is zero
      1,   10,  0, 3,   0, 0, 0, 1, 0,   2,   0,   0,                // low bit first
      1,   17,  0, 4,   0, 0, 0, 1, 0,   0,   0,   186,              // strip offset
      1,   21,  0, 3,   0, 0, 0, 1, 0,   1,   0,   0,                // samples per pixel
      1,   22,  0, 4,   0, 0, 0, 1, 255, 255, 255, 255,              // rows per strip
      1,   23,  0, 4,   0, 0, 0, 1, 0,   0,   0,   0,                // strip byte count
      1,   26,  0, 5,   0, 0, 0, 1, 0,   0,   0,   170,              // x resolution
      1,   27,  0, 5,   0, 0, 0, 1, 0,   0,   0,   178,              // y resolution
      1,   40,  0, 3,   0, 0, 0, 1, 0,   2,   0,   0,                // inch
      0,   0,   0, 0,                                                // no other directory
      0,   0,   0, 200, 0, 0, 0, 1, 0,   0,   0,   200, 0, 0, 0, 1,  //
  };
  EXPECT_EQ(stream.bytes, expected);

  // The value of entry 5 for colour types, and of entry 6 for bit orders.
  for (const auto& [colourType, photometric] :
       std::map<int32_t, int>{{4, 0}, {9, 0}, {0, 1}, {3, 1}, {5, 1}, {-1, 1}, {-6, 1}}) {
    ByteStream other;
    ASSERT_EQ(rleWriteTiffHeader(&other, 100, 50, 200, colourType, 0), 1);
    EXPECT_EQ(other.bytes[67], photometric) << colourType;
    EXPECT_EQ(other.bytes[79], 1);
  }
}

TEST(TiffHeader, IsPatchedInPlace) {
  ByteStream stream;
  ASSERT_EQ(rleWriteTiffHeader(&stream, 100, 50, 200, 4, 1), 1);
  Bytes expected = stream.bytes;
  const auto patches = [&](auto patch, size_t offset) {
    EXPECT_EQ(patch(&stream, 0x01020304), 1);
    for (size_t i = 0; i < 4; ++i) expected[offset + 8 + i] = uint8_t(i + 1);
    EXPECT_EQ(stream.bytes, expected);
    EXPECT_EQ(stream.position, offset + 12);
  };
  patches(rleReWriteWidthOfOneStripTiffTag, 10);
  patches(rleReWriteHeightOfOneStripTiffTag, 22);
  patches(rleReWriteByteCountOfTiffTag, 118);
}

// The error state is asked for after every single write, and the first failure ends the call.
TEST(TiffHeader, EndsAtTheFirstFailure) {
  const auto failsEverywhere = [](auto write) {
    ByteStream whole(Bytes(186));
    ASSERT_EQ(write(&whole), 1);
    for (int64_t number = 0; number < whole.operations; ++number) {
      ByteStream stream(Bytes(186));
      stream.failAt = number;
      EXPECT_EQ(write(&stream), 0) << number;
      EXPECT_EQ(stream.operations, number + 1);
    }
  };
  failsEverywhere([](RleStream* stream) {
    static_cast<ByteStream*>(stream)->recording = true;
    const int32_t answer = rleWriteTiffHeader(stream, 100, 50, 200, 4, 1);
    const auto& calls = static_cast<ByteStream*>(stream)->calls;
    for (size_t i = 0; i < calls.size(); ++i)
      EXPECT_EQ(calls[i] == "hasError", i % 2 == 1) << i << calls[i];
    return answer;
  });
  failsEverywhere([](RleStream* s) { return rleReWriteWidthOfOneStripTiffTag(s, 7); });
  failsEverywhere([](RleStream* s) { return rleReWriteHeightOfOneStripTiffTag(s, 7); });
  failsEverywhere([](RleStream* s) { return rleReWriteByteCountOfTiffTag(s, 7); });
}

TEST(TiffHeader, IsReadBackByUsAndByLibtiff) {
  ByteStream stream;
  ASSERT_EQ(rleWriteTiffHeader(&stream, 16, 2, 300, 4, 1), 1);
  stream.bytes.insert(stream.bytes.end(), {0x64, 0x00, 0x10, 0x01, 0x10, 0x01});
  ASSERT_EQ(rleReWriteByteCountOfTiffTag(&stream, 6), 1);

  RleTiffG4Info info = {};
  info.photometric = 99;
  EXPECT_EQ(readInfo(stream.bytes, &info), 1);
  EXPECT_EQ(factsOf(info), (Facts{16, 2, 300, 300, 186, 0, 2}));

  const std::string path = testing::TempDir() + "rle_tiff_header.tif";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(stream.bytes.data()),
             std::streamsize(stream.bytes.size()));
  TIFF* tiff = TIFFOpen(path.c_str(), "r");
  ASSERT_NE(tiff, nullptr);
  uint32_t width = 0, height = 0;
  uint16_t compression = 0, fillOrder = 0, unit = 0;
  float resolution = 0;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
  TIFFGetField(tiff, TIFFTAG_COMPRESSION, &compression);
  TIFFGetField(tiff, TIFFTAG_FILLORDER, &fillOrder);
  TIFFGetField(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
  TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &resolution);
  EXPECT_EQ((Facts{width, height, compression, fillOrder, unit, uint32_t(resolution)}),
            (Facts{16, 2, COMPRESSION_CCITTFAX4, FILLORDER_LSB2MSB, RESUNIT_INCH, 300}));
  EXPECT_EQ(TIFFNumberOfStrips(tiff), 1U);
  EXPECT_EQ(TIFFRawStripSize(tiff, 0), 6);
  TIFFClose(tiff);
  std::remove(path.c_str());
}

TEST(TiffReader, AcceptsOneStripOfGroup4) {
  RleTiffG4Info info = {};
  EXPECT_EQ(readInfo(File{}, &info), 1);
  EXPECT_EQ(factsOf(info), (Facts{100, 50, 300, 200, 300, 0, 1}));

  const auto set = [](uint32_t tag, File::Entry entry) {
    return accepts([=](File& file) { file.entries[tag] = entry; });
  };
  EXPECT_EQ(set(256, {4, 1, 65534}), 1);
  EXPECT_EQ(set(256, {4, 1, 65535}), 0);
  EXPECT_EQ(set(257, {4, 1, 65536}), 0);
  EXPECT_EQ(set(258, {3, 1, 8}), 0);
  EXPECT_EQ(set(258, {4, 9, 1}), 1) << "what looks like an offset is taken as it is";
  EXPECT_EQ(set(259, {3, 1, 3}), 0);
  EXPECT_EQ(set(259, {6, 1, 4}), 0) << "values of a type unknown here are 0";
  EXPECT_EQ(set(259, {1, 1, 4}), 1) << "a BYTE will do";
  EXPECT_EQ(set(262, {3, 1, 1}), 0);
  EXPECT_EQ(set(273, {4, 2, 300}), 0);
  EXPECT_EQ(set(277, {3, 1, 3}), 0);
  EXPECT_EQ(set(284, {3, 1, 2}), 0);
  EXPECT_EQ(set(12345, {9, 1000, 7}), 1);

  // 50 rows in strips of so many.
  for (const auto& [rows, answer] : std::map<uint32_t, int32_t>{
           {0, 0}, {1, 0}, {49, 0}, {50, 1}, {51, 1}, {100, 1}, {0xFFFFFFFF, 1}})
    EXPECT_EQ(set(278, {4, 1, rows}), answer) << rows;
  EXPECT_EQ(accepts([](File& file) { file.entries.erase(278); }), 0);
  EXPECT_EQ(accepts([](File& file) {
              file.entries[257].value = 0;
              file.entries[278] = {4, 1, 0xFFFFFFFF};
            }),
            0);
  EXPECT_EQ(accepts([](File& file) {
              for (const uint32_t tag : {256U, 259U, 262U, 273U}) file.entries.erase(tag);
            }),
            1);
}

TEST(TiffReader, RoundsResolutions) {
  EXPECT_EQ(resolutions(300, 1, 2), (Facts{300, 200}));
  EXPECT_EQ(resolutions(599, 2, 2), (Facts{300, 200})) << "299.5";
  EXPECT_EQ(resolutions(118, 1, 3), (Facts{299, 508})) << "299.72";
  EXPECT_EQ(resolutions(0, 1, 3), (Facts{182, 508})) << "72 a centimetre";
  EXPECT_EQ(resolutions(5, 0, 2), (Facts{72, 200}));
  EXPECT_EQ(resolutions(1, 3, 2), (Facts{72, 200})) << "rounds to 0";
  EXPECT_EQ(resolutions(300, 1, 0), (Facts{72, 72})) << "no unit";
  EXPECT_EQ(resolutions(0xFFFFFFFF, 0xFFFFFFFF, 2), (Facts{1, 200}));
  EXPECT_EQ(resolutions(0xFFFFFFFE, 4, 2), (Facts{0x40000000, 200})) << "no carry is lost";

  for (const uint32_t offset : {100000U, 0xFFFFFFF8U}) {  // not there, and not to be taken for -8
    File file;
    file.entries[282].value = offset;
    file.entries[296].value = 3;
    RleTiffG4Info info = {};
    EXPECT_EQ(readInfo(file, &info), 1);
    EXPECT_EQ(info.xResolution, 72U);
  }
}

TEST(TiffReader, SurvivesWhatIsNoDirectory) {
  const Bytes good = File{}.bytes();
  for (size_t size = 0; size < good.size(); ++size) {
    RleTiffG4Info info = {};
    readInfo(Bytes(good.begin(), good.begin() + int64_t(size)), &info);
  }
  for (size_t bit = 0; bit < 8 * good.size(); ++bit) {
    Bytes bytes = good;
    bytes[bit / 8] = uint8_t(bytes[bit / 8] ^ 1 << bit % 8);
    RleTiffG4Info info = {};
    readInfo(bytes, &info);
  }
  Bytes endless = good;  // 65,535 entries, of which eleven are there
  endless[24] = endless[25] = 0xFF;
  RleTiffG4Info info = {};
  EXPECT_EQ(readInfo(endless, &info), 1);
  EXPECT_EQ(factsOf(info), (Facts{100, 50, 72, 72, 300, 0, 1})) << "an error ends the resolutions";

  for (const int high : {0x7F, 0x80, 0xFF}) {  // where the directory cannot be
    Bytes bytes = good;
    bytes[4] = bytes[5] = bytes[6] = uint8_t(high);
    EXPECT_EQ(readInfo(bytes, nullptr), 0);
  }
}

// Operations 0 to 4 find the directory, 5 to 32 are the fields up to the rows per strip, 41 to 44
// those of the planar configuration. A failure at its tag, or in the resolutions, hides only what a
// file need not say.
TEST(TiffReader, RefusesAStreamThatFails) {
  ByteStream whole(File{}.bytes());
  ASSERT_EQ(rleReadOneStripTiffG4Info(&whole, nullptr), 1);
  for (int64_t number = 0; number < whole.operations; ++number) {
    ByteStream stream(File{}.bytes());
    stream.failAt = number;
    const bool refused =
        number <= 32 || (number >= 42 && number <= 44) || number == whole.operations - 1;
    EXPECT_EQ(rleReadOneStripTiffG4Info(&stream, nullptr), refused ? 0 : 1) << number;
    EXPECT_FALSE(stream.littleEndian);
  }
}

// A file inside a file is read from where it begins, but its offsets are those of the outer one.
TEST(TiffReader, CountsOffsetsFromTheStartOfTheStream) {
  Bytes bytes = File{}.bytes();
  const Bytes magic(bytes.begin(), bytes.begin() + 8);
  bytes.insert(bytes.end(), magic.begin(), magic.end());
  ByteStream stream(bytes);
  stream.position = bytes.size() - 8;
  stream.recording = true;
  EXPECT_EQ(rleReadOneStripTiffG4Info(&stream, nullptr), 1);
  EXPECT_EQ(stream.position, bytes.size() - 8);
  EXPECT_EQ(stream.calls.back(), "seek " + std::to_string(bytes.size() - 8) + " 0");
}

}  // namespace
}  // namespace rle::test
