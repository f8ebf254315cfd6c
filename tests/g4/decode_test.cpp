// Group 4 data to images.

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

#include "model/runs.h"
#include "reference/g4_walk.h"
#include "support/byte_stream.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

const std::string kEofb = "000000000001 000000000001";

// Bytes from bits in the order of transmission; blanks only separate codes.
std::vector<uint8_t> bytesOf(const std::string& bits, bool lsbFirst) {
  std::vector<uint8_t> bytes;
  int count = 0;
  for (const char bit : bits) {
    if (bit == ' ') continue;
    if (count % 8 == 0) bytes.push_back(0);
    if (bit == '1') bytes.back() |= uint8_t(lsbFirst ? 1 << count % 8 : 0x80 >> count % 8);
    ++count;
  }
  return bytes;
}

// Whether result, runs, capacities and bytes read are those of the walk.
bool decodesAsTheWalk(const std::vector<uint8_t>& bytes, int width, int height, bool lsbFirst) {
  const Decoded expected = walkDecode(bytes, width, lsbFirst);
  ByteStream stream(bytes);
  const OwnedRect rect(rleLoadRectFromCCITTG4(&stream, width, height, 0, lsbFirst ? 1 : 0));
  if (stream.operations != int64_t(expected.bytesRead) || !rect == expected.complete) return false;
  bool same = !rect || width == 0 || rleCheckRect(rect.get()) == 1;
  for (size_t y = 0; rect && y < size_t(height); ++y) {
    const RleLine& row = *rect->rows[y];
    same &= (row.runs != nullptr) == (y < expected.rows.size());
    if (row.runs == nullptr) continue;
    std::vector<uint16_t> elements;
    for (const auto& [start, end] : runsOf(&row))
      elements.insert(elements.end(), {uint16_t(start), uint16_t(end)});
    const OwnedRuns fresh(rleAllocRuns(row.count));
    same &= elements == expected.rows[y] && capacityOf(row.runs) == capacityOf(fresh.get());
  }
  return same;
}

std::string repeated(const std::string& codes, int times) {
  std::string bits;
  for (int i = 0; i < times; ++i) bits += codes;
  return bits;
}

// A white run of 4, a black one of 4, and to the end.
const std::string kOneRow = "001 1011 011 1", kEol = "000000000001";

TEST(DecodingGroup4, OfCodesSpelledOut) {
  const std::string blank(16, '.'), row = "....####........";
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {kOneRow + "01111" + kEofb, {row, ".....###........", blank}},
      {"001 00110101 11 1 1" + kEofb, {"##..............", blank, blank}},
      {"001 0111 0000010111" + kEofb, {"..##############", blank, blank}},  // black 16
      {kOneRow + kEol + "1 1 1" + kEol + kOneRow, {row, row, blank}},
      {"1 001 1011 011" + kEofb, {blank, blank, blank}},  // a row begun and lost
      {repeated(kOneRow, 4) + "111" + kEofb, {row, row, row}},
      // Endless make-up codes stay within the row.
      {"001 00110101" + repeated("000000011111", 1000000) + "11" + kEofb, {std::string(16, '#')}},
  };
  for (const auto& [bits, rows] : cases)
    for (const bool lsbFirst : {false, true}) {
      ByteStream stream(bytesOf(bits, lsbFirst));
      const OwnedRect rect(
          rleLoadRectFromCCITTG4(&stream, 16, int(rows.size()), 0x12C0 << 16, lsbFirst ? 256 : 0));
      ASSERT_TRUE(rect) << bits.substr(0, 50);
      EXPECT_EQ(picture(rect.get()), rows) << bits.substr(0, 50);
      EXPECT_EQ(rect->resolution, 200);
    }
}

TEST(DecodingGroup4, RefusesSizesWithoutReading) {
  ByteStream stream(bytesOf(kEofb, false));
  for (const int size : {-1, INT32_MIN, 65536, INT32_MAX}) {
    EXPECT_EQ(rleLoadRectFromCCITTG4(&stream, size, 1, 200, 0), nullptr);
    EXPECT_EQ(rleLoadRectFromCCITTG4(&stream, 1, size, 200, 0), nullptr);
  }
  EXPECT_EQ(stream.operations, 0);
}

TEST(DecodingGroup4, WalksAllPairsOfBytesInBothOrdersAsTheTreesDo) {
  for (const bool lsbFirst : {false, true})
    for (uint32_t pair = 0; pair < 0x10000; ++pair) {
      std::vector<uint8_t> bytes = bytesOf(kEofb, lsbFirst);
      bytes.insert(bytes.begin(), {uint8_t(pair >> 8), uint8_t(pair)});
      for (const int width : {int(pair % 7), int(pair % 11 + 7)})
        ASSERT_TRUE(decodesAsTheWalk(bytes, width, 5, lsbFirst)) << pair << " of width " << width;
    }
}

// Random codes that mostly make sense: long rows of few kinds, and some of everything.
std::string randomCodes(std::mt19937& random) {
  std::istringstream words(
      "1 1 1 1 011 011 010 010 000011 0000011 000010 0000010 0001 0001 001011111 0011000011 "
      "001000111010 0011101111000000110111 001101110 001000011011100110101 "
      "001000000010000011010111 000000000001 0000001");
  const std::vector<std::string> codes(std::istream_iterator<std::string>(words), {});
  std::vector<std::string> chosen(size_t(randomInt(random, 1, int(codes.size()))));
  for (std::string& code : chosen) code = codes[random() % codes.size()];
  std::string bits;
  for (int length = randomInt(random, 1, 120); length > 0; --length) {
    const std::string& code = chosen[random() % chosen.size()];
    const bool ends = code == "000000000001" || code == "0000001";  // these two more seldom
    bits += ends && random() % 16 != 0 ? "1" : code;
  }
  return bits + (random() % 4 != 0 ? kEofb : "");
}

TEST(DecodingGroup4, WalksRandomCodesAsTheTreesDo) {
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) {
    const bool lsbFirst = random() % 2 != 0;
    const int widths[] = {randomInt(random, 0, 12), randomInt(random, 13, 300), 32764, 32765,
                          65535};
    const int width = widths[random() % 5];
    const auto bytes = bytesOf(randomCodes(random), lsbFirst);
    ASSERT_TRUE(decodesAsTheWalk(bytes, width, 3, lsbFirst)) << i;
  }
}

TEST(DecodingGroup4, OfRowsThatAreTooLongStopsAtTheElementThatIsTooMany) {
  const std::string pair = "001 000111 010";  // white 1, black 1
  for (const int pairs : {25797, 25799, 25800, 25801})
    for (const int width : {51599, 51604, 65535})
      for (int more = 0; more < 4; ++more) {  // pairs before a second row that repeats the first
        const auto bytes = bytesOf("001 10011 010" + repeated(pair, pairs - 1) + "1" +
                                       repeated(pair, more) + repeated("1", 2 * pairs + 1) + kEofb,
                                   true);
        ASSERT_TRUE(decodesAsTheWalk(bytes, width, 2, true)) << pairs << " and " << more;
      }
  // A pair whose first run is one too many, its codes at different places in their bytes.
  for (const std::string white : {"1011", "10011", "001000", "0100111"}) {
    const auto bytes =
        bytesOf("001" + white + "010 1 1" + repeated("001 010 000111", 25800) + kEofb, true);
    ASSERT_TRUE(decodesAsTheWalk(bytes, 65535, 2, true)) << white;
  }
}

// A stream that decodes its own data from within getByte now and then.
TEST(DecodingGroup4, GoesOnInsideStreams) {
  std::mt19937 random(3);
  const Pixels page = randomPixels(random, 500, 40);
  static const RleStreamOps* const plain = ByteStream().ops;
  RleStreamOps nesting = *plain;
  nesting.getByte = [](RleStream* stream) {
    const auto& self = *static_cast<ByteStream*>(stream);
    ByteStream inner(self.bytes);
    if (self.position % 50 == 0) {
      EXPECT_TRUE(OwnedRect(rleLoadRectFromCCITTG4(&inner, 500, 40, 0, 1)));
    }
    return plain->getByte(stream);
  };
  ByteStream stream;
  ASSERT_EQ(rleUnloadRectFromCCITTG4(&stream, page.toRect().get()), 1);
  stream.position = 0;
  stream.ops = &nesting;
  EXPECT_EQ(Pixels(OwnedRect(rleLoadRectFromCCITTG4(&stream, 500, 40, 0, 1)).get()), page);
}

}  // namespace
}  // namespace rle::test
