// The one-strip TIFF header: the bytes written, what is read from directories good and bad, and
// every stream operation failing in turn.

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>
#include <vector>

#include "rle.h"
#include "support/byte_stream.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Facts = std::vector<uint32_t>;  // as in RleTiffG4Info

struct Entry {
  uint32_t type, count, value;
};
using Entries = std::map<uint32_t, Entry>;

const Entries kEntries = {
    {256, {4, 1, 100}}, {257, {4, 1, 50}}, {258, {3, 1, 1}},   {259, {3, 1, 4}},
    {262, {3, 1, 0}},   {273, {4, 1, 30}}, {278, {4, 1, ~0U}}, {282, {5, 1, 8}},
    {283, {5, 1, 16}},  {284, {3, 1, 1}},  {296, {3, 1, 2}},
};

Entries with(uint32_t tag, Entry entry, Entries entries = kEntries) {
  entries[tag] = entry;
  return entries;
}

// A file of either byte order, the rationals first: x at 8, y at 16, 200 dots.
Bytes file(const Entries& entries, bool little = false, uint32_t numerator = 300,
           uint32_t denominator = 1) {
  Bytes bytes;
  const auto put = [&](uint32_t value, int size) {
    for (int i = 0; i < size; ++i)
      bytes.push_back(uint8_t(value >> 8 * (little ? i : size - 1 - i)));
  };
  put(little ? 0x4949 : 0x4D4D, 2);
  put(42, 2);
  for (const uint32_t word : {24U, numerator, denominator, 200U, 1U}) put(word, 4);
  put(uint32_t(entries.size()), 2);
  for (const auto& [tag, entry] : entries) {
    const int size = entry.type == 1 ? 1 : entry.type == 3 ? 2 : 4;
    put(tag, 2);
    put(entry.type, 2);
    put(entry.count, 4);
    put(entry.value, size);
    put(0, 4 - size);
  }
  put(0, 4);
  return bytes;
}

// The facts of a file, nothing when it is refused. Either way the stream has its position again and
// the byte order of the file.
Facts read(const Bytes& bytes) {
  ByteStream stream(bytes);
  stream.littleEndian = bytes.size() % 2 == 0;
  RleTiffG4Info info = {};
  const int32_t answer = rleReadOneStripTiffG4Info(&stream, &info);
  EXPECT_EQ(stream.position, 0U);
  EXPECT_EQ(stream.littleEndian, bytes.size() > 4 && bytes[0] == 'I' && bytes[2] == 42);
  if (answer == 0) return {};
  return {info.width,       info.height,      info.xResolution, info.yResolution,
          info.stripOffset, info.photometric, info.fillOrder};
}

// As hexadecimal digits, two entries a line.
constexpr char kHeader[] =
    "4D4D002A00000008000D"
    "010000040000000100000064010100040000000100000032"  // width 100, height 50
    "010200030000000100010000010300030000000100040000"  // bits per sample, T.6
    "010600030000000100000000010A00030000000100020000"  // white is zero, low bit first
    "0111000400000001000000BA011500030000000100010000"  // strip at 186, samples per pixel
    "0116000400000001FFFFFFFF011700040000000100000000"  // rows and bytes of the strip
    "011A000500000001000000AA011B000500000001000000B2"  // resolutions at 170 and 178
    "012800030000000100020000"                          // inch
    "00000000000000C800000001000000C800000001";

TEST(TiffHeader, HasItsBytesAndIsPatchedInPlace) {
  Bytes expected;
  for (size_t i = 0; i + 1 < sizeof kHeader; i += 2)
    expected.push_back(uint8_t(std::stoi(std::string(kHeader + i, 2), nullptr, 16)));
  ByteStream stream;
  for (const int32_t colourType : {0, 3, 5, -1, -6, 9, 4}) {
    stream.position = 0;
    ASSERT_EQ(rleWriteTiffHeader(&stream, 100, 50, 200, colourType, colourType == 4), 1);
    expected[67] = colourType == 4 || colourType == 9 ? 0 : 1;  // black is zero
    expected[79] = colourType == 4 ? 2 : 1;                     // low bit first
    EXPECT_EQ(stream.bytes, expected) << colourType;
  }
  EXPECT_EQ(read(expected), (Facts{100, 50, 200, 200, 186, 0, 2}));
  for (const auto& [patch, offset] : {std::pair{&rleReWriteWidthOfOneStripTiffTag, size_t{10}},
                                      {&rleReWriteHeightOfOneStripTiffTag, 22},
                                      {&rleReWriteByteCountOfTiffTag, 118}}) {
    EXPECT_EQ(patch(&stream, 0x01020304), 1);
    for (size_t i = 0; i < 4; ++i) expected[offset + 8 + i] = uint8_t(i + 1);
    EXPECT_EQ(stream.bytes, expected);
    EXPECT_EQ(stream.position, offset + 12);
  }
}

TEST(TiffHeader, EndsAtTheFirstFailure) {
  const auto write = [](RleStream* s) {
    return rleWriteTiffHeader(s, 100, 50, 200, 4, 1) == 1 &&
           rleReWriteByteCountOfTiffTag(s, 7) == 1;
  };
  ByteStream whole;
  ASSERT_TRUE(write(&whole));
  for (int64_t number = 0; number < whole.operations; ++number) {
    ByteStream stream;
    stream.failAt = number;
    EXPECT_FALSE(write(&stream)) << number;
    EXPECT_EQ(stream.operations, number + 1);
  }
}

TEST(TiffReader, AcceptsOneStripOfGroup4) {
  const struct {
    uint32_t tag;
    Entry entry;
    bool accepted;
  } cases[] = {
      {256, {4, 1, 65534}, true},  {256, {4, 1, 65535}, false}, {257, {4, 1, 65534}, true},
      {257, {4, 1, 65535}, false}, {257, {4, 1, 0}, false},     {278, {3, 1, 0}, false},
      {278, {3, 1, 49}, false},    {278, {3, 1, 50}, true},     {258, {3, 1, 8}, false},
      {259, {3, 1, 3}, false},     {259, {1, 4, 4}, true},      {259, {6, 1, 4}, false},
      {262, {3, 1, 1}, false},     {273, {4, 2, 30}, false},    {277, {3, 1, 3}, false},
      {284, {3, 1, 2}, false},     {999, {9, 1000, 7}, true},
  };
  for (const bool little : {false, true}) {
    EXPECT_EQ(read(file(kEntries, little)), (Facts{100, 50, 300, 200, 30, 0, 1}));
    for (const auto& [tag, entry, accepted] : cases)
      EXPECT_EQ(read(file(with(tag, entry), little)).empty(), !accepted) << tag << entry.value;
  }
  EXPECT_EQ(read(file({{257, {4, 1, 50}}, {278, {3, 1, 50}}})), (Facts{0, 50, 72, 72, 0, 0, 1}));
}

TEST(TiffReader, RoundsResolutions) {
  const std::pair<std::array<uint32_t, 3>, Facts> cases[] = {
      {{599, 2, 2}, {300, 200}},         // 299.5
      {{118, 1, 3}, {299, 508}},         // 299.72 a centimetre
      {{5, 0, 2}, {72, 200}},            //
      {{300, 1, 0}, {72, 72}},           // no unit
      {{~2U, 4, 2}, {0x3FFFFFFF, 200}},  // as much as goes into 32 bits
      {{~1U, 4, 2}, {72, 200}},
  };
  for (const auto& [x, dots] : cases) {
    const Facts facts = read(file(with(296, {3, 1, x[2]}), false, x[0], x[1]));
    EXPECT_EQ((Facts{facts[2], facts[3]}), dots) << x[0];
  }
  for (const uint32_t offset : {100000U, 0xFFFFFFF8U})  // not there, whatever the unit
    EXPECT_EQ(read(file(with(282, {5, 1, offset}, with(296, {3, 1, 3}))))[2], 72U);
}

TEST(TiffReader, SurvivesWhatIsNoDirectory) {
  Bytes endless = file(kEntries);  // 65,535 entries, of which eleven are there
  endless[24] = endless[25] = 0xFF;
  EXPECT_EQ(read(endless), (Facts{100, 50, 72, 72, 30, 0, 1})) << "the error spoils what follows";
  for (const int high : {0x7F, 0x80, 0xFF}) {  // where no directory can be
    endless[4] = endless[5] = endless[6] = uint8_t(high);
    EXPECT_EQ(read(endless), Facts());
  }
}

}  // namespace
}  // namespace rle::test
