// The native format: bytes, calls made on the stream, damaged files.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/byte_stream.h"
#include "support/picture.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Picture = std::vector<std::string>;

// A 3 x 2 image of 300 dots per inch with one black row.
const Bytes kImageFile = {0x52, 0x4C, 0x43, 0x00, 0, 0, 0, 1, 0, 2, 0, 3, 0, 0, 1, 0x2C,
                          0,    0,    0,    0,    0, 0, 0, 0, 0, 1, 0, 0, 0, 3, 0, 0};

// A 5 x 3 region of 90 dots per inch: the triangle (1, 0), (5, 0), (1, 4), non-zero winding.
const Bytes kRegionFile = {0x52, 0x4C, 0x43, 0, 0, 0, 0, 1, 0, 3, 0, 5, 0, 0, 0, 90, 0, 0, 0, 3,
                           0,    0,    0,    1, 0, 0, 0, 0, 0, 0, 0, 5, 0, 0, 0, 0,  0, 0, 0, 1,
                           0,    0,    0,    4, 0, 0, 0, 1, 0, 1, 0, 3, 0, 5, 0, 0,  0, 0};

Bytes patched(Bytes file, size_t at, const Bytes& bytes) {
  std::copy(bytes.begin(), bytes.end(), file.begin() + std::ptrdiff_t(at));
  return file;
}

// A legacy header of an 8 x 1 image, and its row.
Bytes legacyFile(uint8_t resolution) {
  const Bytes head = patched(Bytes(530, 0xEE), 0, {0x51, 0x75, 0x69, 0x62, 0, 1, 0, 8});
  return patched(patched(head, 270, {0, resolution}), 524, {0, 1, 0, 3, 0, 5});
}

OwnedPoly loadPoly(const Bytes& file) {
  ByteStream stream(file);
  return OwnedPoly(rleLoadPoly(&stream));
}

TEST(NativeFormat, StoresImagesAndRegionsByteForByte) {
  const OwnedPoly plain = loadPoly(kImageFile);
  const OwnedPoly region = loadPoly(kRegionFile);
  EXPECT_EQ(picture(plain->image), (Picture{"###", "..."}));
  EXPECT_EQ(plain->image->resolution, 300);
  EXPECT_EQ(plain->mask, nullptr);
  EXPECT_EQ(picture(region->image), (Picture{"...##", ".....", "....."}));
  EXPECT_EQ(picture(region->mask), (Picture{".####", ".###.", ".##.."}));
  ByteStream out;
  EXPECT_EQ(rleUnload(&out, plain->image), 1);
  EXPECT_EQ(rleUnloadPoly(&out, region.get()), 1);
  Bytes both = kImageFile;
  both.insert(both.end(), kRegionFile.begin(), kRegionFile.end());
  EXPECT_EQ(out.bytes, both);
  out.position = 0;  // two files in one stream: each load ends where the next one starts
  EXPECT_EQ(picture(OwnedRect(rleLoad(&out)).get()), picture(plain->image));
  EXPECT_EQ(picture(OwnedRect(rleLoadRect(&out)).get()), picture(region->image));
}

TEST(NativeFormat, ReadsLegacyHeaders) {
  for (const auto& [stored, resolution] : {std::pair{0, 400}, {75, 400}, {250, 250}}) {
    ByteStream stream(legacyFile(uint8_t(stored)));
    const OwnedRect rect(rleLoad(&stream));
    EXPECT_EQ(picture(rect.get()), (Picture{"...##..."}));
    EXPECT_EQ(rect->resolution, resolution);
  }
}

TEST(NativeFormat, TakesWhatCanBeReadAndRefusesTheRest) {
  // A resolution whose low 16 bits are 0, and the run (9, 3).
  ByteStream stream(patched(patched(kImageFile, 13, {1, 0, 0}), 27, {9}));
  const OwnedRect rect(rleLoad(&stream));
  EXPECT_EQ(rect->resolution, 0);
  EXPECT_EQ(rleCheckRect(rect.get()), -5);
  const Bytes badRule = patched(kRegionFile, 47, {2});
  EXPECT_FALSE(loadPoly(badRule));
  ByteStream skipped(badRule);
  EXPECT_TRUE(OwnedRect(rleLoadRect(&skipped)));
  EXPECT_FALSE(loadPoly(patched(kImageFile, 3, {1})));
  stream.position = 0;
  const OwnedFile file(rleOpen(&stream)), header(rleReadHeader(file.get(), 1));
  stream.position = 0;
  header->header.version = 0x01020304;
  rleWriteHeader(file.get(), header.get(), 1);
  EXPECT_EQ(stream.bytes[5], 2);
}

// Every operation failing in turn: the answer is no, and nothing more is asked of the stream but
// the second word of a pair that is read over. (Files cut off: whole/streams_test.)
template <class Action>
void failWithStream(const Bytes& content, int64_t operations, Action action) {
  for (int64_t failAt = 0; failAt <= operations; ++failAt) {
    ByteStream stream(content);
    stream.failAt = failAt;
    EXPECT_EQ(action(&stream), failAt == operations);
    EXPECT_LE(stream.operations, failAt + 2);
  }
}

TEST(NativeFormat, FailsWithItsStream) {
  const OwnedPoly region = loadPoly(kRegionFile);
  const auto loadsRect = [](RleStream* s) { return OwnedRect(rleLoadRect(s)) != nullptr; };
  failWithStream(kRegionFile, 18, loadsRect);
  failWithStream(legacyFile(75), 9, loadsRect);
  failWithStream(kRegionFile, 18, [](auto* s) { return OwnedPoly(rleLoadPoly(s)) != nullptr; });
  failWithStream({}, 18, [&](RleStream* s) { return rleUnloadPoly(s, region.get()) == 1; });
  failWithStream({}, 12, [&](RleStream* s) { return rleUnload(s, region->image) == 1; });
}

TEST(NativeFormat, ClaimsOfAFileCostOnlyWhatItHolds) {
  const Bytes most(4, 0xFF);
  ByteStream vertices(patched(Bytes(kRegionFile.begin(), kRegionFile.begin() + 30), 16, most));
  EXPECT_EQ(rleLoadPoly(&vertices), nullptr);
  EXPECT_EQ(vertices.operations, 5 + 1 + 3);  // header, count, and what ten bytes hold
  EXPECT_FALSE(loadPoly(patched(patched(kImageFile, 8, {0xFF, 0xFF}), 24, {0xFF, 0xFF})));
}

}  // namespace
}  // namespace rle::test
