// Group 4 data to images.

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <thread>

#include "g4/g4_bits.h"
#include "model/runs.h"
#include "reference/g4_walk.h"
#include "support/byte_stream.h"
#include "support/picture.h"
#include "support/pixels.h"

namespace rle::test {

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

std::vector<uint8_t> encode(RleRect* rect, int32_t expected) {
  ByteStream stream;
  EXPECT_EQ(rleUnloadRectFromCCITTG4(&stream, rect), expected);
  EXPECT_EQ(stream.operations, int64_t(stream.bytes.size()));
  return stream.bytes;
}

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

namespace {

std::string repeated(const std::string& codes, int times) {
  std::string bits;
  for (int i = 0; i < times; ++i) bits += codes;
  return bits;
}

// A white run of 4, a black one of 4, and to the end.
const std::string kOneRow = "001 1011 011 1", kEol = "000000000001", kEnd = kEofb;

TEST(DecodingGroup4, OfCodesSpelledOut) {
  const std::string blank(16, '.'), row = "....####........";
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {kOneRow + "01111" + kEnd, {row, ".....###........", blank}},
      {"001 00110101 11 1 1" + kEnd, {"##..............", blank, blank}},
      {"001 0111 0000010111" + kEnd, {"..##############", blank, blank}},  // black 16
      {kOneRow + kEol + "1 1 1" + kEol + kOneRow, {row, row, blank}},
      {"1 001 1011 011" + kEnd, {blank, blank, blank}},  // a row begun and lost
      {repeated(kOneRow, 4) + "111" + kEnd, {row, row, row}},
      // Endless make-up codes stay within the row.
      {"001 00110101" + repeated("000000011111", 1000000) + "11" + kEnd, {std::string(16, '#')}},
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

TEST(DecodingGroup4, WalksAllPairsOfBytesAsTheTreesDo) {
  for (uint32_t pair = 0; pair < 0x10000; ++pair) {
    std::vector<uint8_t> bytes = bytesOf(kEofb, false);
    bytes.insert(bytes.begin(), {uint8_t(pair >> 8), uint8_t(pair)});
    const int width = int(pair % 7 + pair / 0x4000);
    ASSERT_TRUE(decodesAsTheWalk(bytes, width, 5, false)) << pair << " of width " << width;
  }
}

TEST(DecodingGroup4, OfEveryPairOfBytesInBothOrdersIsTheSameValidImageOrNone) {
  const auto decode = [](const std::vector<uint8_t>& bytes, int width, int lsbFirst) {
    ByteStream stream(bytes);
    return OwnedRect(rleLoadRectFromCCITTG4(&stream, width, 2, 200, lsbFirst));
  };
  std::vector<uint8_t> bytes = bytesOf("00000000 00000000" + std::string(kEofb), false);
  std::vector<uint8_t> mirrored = bytesOf("00000000 00000000" + std::string(kEofb), true);
  int wrong = 0;
  for (uint32_t pair = 0; pair < 0x10000; ++pair) {
    for (const size_t i : {0U, 1U}) {
      bytes[i] = mirrored[i] = 0;
      for (uint32_t bit = 0; bit < 8; ++bit) {
        bytes[i] |= uint8_t((pair >> (8 * i + bit) & 1) << bit);
        mirrored[i] |= uint8_t((pair >> (8 * i + bit) & 1) << (7 - bit));
      }
    }
    for (int width = 1; width <= 17; ++width) {
      const OwnedRect one = decode(bytes, width, 0), other = decode(mirrored, width, 1);
      wrong += !one != !other;
      if (!one || !other) continue;
      wrong += rleCheckRect(one.get()) != 1 || rleCheckRect(other.get()) != 1;
      for (int y = 0; y < 2; ++y) wrong += runsOf(one->rows[y]) != runsOf(other->rows[y]);
    }
  }
  EXPECT_EQ(wrong, 0);
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

TEST(DecodingGroup4, WalksRandomCodesAndBytesAsTheTreesDo) {
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) {
    const bool lsbFirst = random() % 2 != 0;
    const int widths[] = {randomInt(random, 0, 12), randomInt(random, 13, 300), 32764, 32765,
                          65535};
    const int width = widths[random() % 5];
    const auto bytes = bytesOf(randomCodes(random), lsbFirst);
    ASSERT_TRUE(decodesAsTheWalk(bytes, width, 3, lsbFirst)) << "codes " << i;
    std::vector<uint8_t> noise(size_t(i % 40));
    for (uint8_t& byte : noise) byte = uint8_t(random());
    ASSERT_TRUE(decodesAsTheWalk(noise, width, 3, lsbFirst)) << "bytes " << i;
  }
}

TEST(DecodingGroup4, OfDamagedPagesAgreesWithTheTrees) {
  std::mt19937 random(2);
  const Pixels page = randomPixels(random, 90, 24, 5, 9);
  auto bytes = encode(page.toRect().get());
  for (size_t length = 0; length <= bytes.size(); ++length)
    ASSERT_TRUE(decodesAsTheWalk({bytes.begin(), bytes.begin() + long(length)}, 90, 24, true))
        << "cut to " << length;
  for (size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
    bytes[bit / 8] ^= uint8_t(1U << bit % 8);
    ASSERT_TRUE(decodesAsTheWalk(bytes, 90, 24, true)) << "bit " << bit;
    bytes[bit / 8] ^= uint8_t(1U << bit % 8);
  }
}

TEST(DecodingGroup4, OfRowsThatAreTooLongStopsAtTheElementThatIsTooMany) {
  const std::string pair = "001 000111 010";  // white 1, black 1
  for (const int pairs : {25797, 25799, 25800, 25801})
    for (const int width : {51599, 51604, 65535})
      for (int more = 0; more < 4; ++more) {  // pairs before a second row that repeats the first
        const auto bytes = bytesOf("001 10011 010" + repeated(pair, pairs - 1) + "1" +
                                       repeated(pair, more) + repeated("1", 2 * pairs + 1) + kEnd,
                                   true);
        ASSERT_TRUE(decodesAsTheWalk(bytes, width, 2, true)) << pairs << " and " << more;
      }
}

// A stream that decodes its own data from within getByte now and then, on two threads.
TEST(DecodingGroup4, GoesOnInSeveralThreadsAndInsideStreams) {
  std::mt19937 random(3);
  const Pixels page = randomPixels(random, 500, 40);
  const auto bytes = encode(page.toRect().get());
  static const RleStreamOps* const plain = ByteStream().ops;
  static RleStreamOps nesting = *plain;
  nesting.getByte = [](RleStream* stream) {
    auto& self = *static_cast<ByteStream*>(stream);
    ByteStream inner(self.bytes);
    if (self.position % 50 == 0) {
      EXPECT_NE(OwnedRect(rleLoadRectFromCCITTG4(&inner, 500, 40, 0, 1)), nullptr);
    }
    return plain->getByte(stream);
  };
  const auto decodeMany = [&] {
    for (int i = 0; i < 5; ++i) {
      ByteStream stream(bytes);
      stream.ops = &nesting;
      const OwnedRect rect(rleLoadRectFromCCITTG4(&stream, 500, 40, 0, 1));
      EXPECT_EQ(Pixels(rect.get()), page);
    }
  };
  std::thread other(decodeMany);
  decodeMany();
  other.join();
}

}  // namespace
}  // namespace rle::test
