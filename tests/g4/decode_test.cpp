// Group 4 data to images.

#include <gmock/gmock.h>

#include <algorithm>
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

std::vector<uint8_t> reversed(std::vector<uint8_t> bytes) {
  for (uint8_t& byte : bytes) {
    int result = 0;
    for (int i = 0; i < 8; ++i) result |= (byte >> i & 1) << (7 - i);
    byte = uint8_t(result);
  }
  return bytes;
}

std::vector<std::vector<uint16_t>> elementsOf(const RleRect* rect) {
  std::vector<std::vector<uint16_t>> rows(rect->height);
  for (int y = 0; y < rect->height; ++y)
    for (int i = 0; i < rect->rows[y]->count; ++i) {
      rows[size_t(y)].push_back(rect->rows[y]->runs[i].start);
      rows[size_t(y)].push_back(rect->rows[y]->runs[i].end);
    }
  return rows;
}

std::string differenceFromWalk(const std::vector<uint8_t>& bytes, int width, int height,
                               bool lsbFirst) {
  Decoded expected = walkDecode(bytes, width, lsbFirst);
  ByteStream stream(bytes);
  const OwnedRect rect(rleLoadRectFromCCITTG4(&stream, width, height, 0, lsbFirst ? 1 : 0));
  if (stream.operations != int64_t(expected.bytesRead))
    return "read " + std::to_string(stream.operations) + " bytes for " +
           std::to_string(expected.bytesRead);
  if ((rect != nullptr) != expected.complete) return expected.complete ? "refused" : "not refused";
  if (!rect) return {};
  const size_t decoded = expected.rows.size();
  expected.rows.resize(size_t(height));
  if (elementsOf(rect.get()) != expected.rows) return "other runs";
  if (width > 0 && rleCheckRect(rect.get()) != 1) return "invalid rows";
  for (size_t y = 0; y < size_t(height); ++y) {
    RleRun* const runs = rect->rows[y]->runs;
    if ((runs != nullptr) != (y < decoded)) return "buffers where there is no row";
    if (runs == nullptr) continue;
    const OwnedRuns fresh(rleAllocRuns(rect->rows[y]->count));
    if (capacityOf(runs) != capacityOf(fresh.get())) return "other capacity";
  }
  return {};
}

namespace {

OwnedRect decode(const std::string& bits, int width, int height) {
  ByteStream stream(bytesOf(bits, false));
  return OwnedRect(rleLoadRectFromCCITTG4(&stream, width, height, 0x12C0 << 16 | 300, 0));
}

// A white run of 4, a black one of 4, and to the end.
const std::string kOneRow = "001 1011 011 1";

TEST(DecodingGroup4, OfRowsSpelledOut) {
  for (const bool lsbFirst : {false, true}) {
    const std::vector<uint8_t> bytes = lsbFirst
                                           ? std::vector<uint8_t>{0x6C, 0xF7, 0x00, 0x08, 0x80}
                                           : std::vector<uint8_t>{0x36, 0xEF, 0x00, 0x10, 0x01};
    ByteStream stream(bytes);
    const OwnedRect rect(rleLoadRectFromCCITTG4(&stream, 16, 3, 0, lsbFirst ? 0x100 : 0));
    EXPECT_THAT(picture(rect.get()),
                testing::ElementsAre("....####........", ".....###........", "................"));
    EXPECT_EQ(rect->resolution, 200);
    EXPECT_EQ(rect->rows[2]->runs, nullptr);  // the data does not reach it
  }
  EXPECT_EQ(decode(kOneRow, 16, 1), nullptr);  // no EOFB
  const OwnedRect edges = decode("001 00110101 11 001 1000 10" + std::string(kEofb), 8, 1);
  EXPECT_THAT(picture(edges.get()), testing::ElementsAre("##...###"));
  EXPECT_EQ(edges->resolution, 300);
  // Beyond the width: white 2, black 9 of 8 pixels.
  EXPECT_THAT(runsOf(decode("001 0111 000100" + std::string(kEofb), 8, 1)->rows[0]),
              testing::ElementsAre(std::pair(2, 8)));
}

TEST(DecodingGroup4, EndsAtTheSecondEolWhereverItComes) {
  const std::string eol = "000000000001";
  EXPECT_THAT(picture(decode(kOneRow + eol + "1 1 1" + eol + kOneRow, 16, 2).get()),
              testing::ElementsAre("....####........", "....####........"));
  EXPECT_THAT(picture(decode("1 001 1011 011" + eol + eol, 16, 2).get()),
              testing::ElementsAre("................", "................"));  // row begun and lost
  EXPECT_THAT(picture(decode(kOneRow + kOneRow + "111" + eol + eol, 16, 1).get()),
              testing::ElementsAre("....####........"));
}

TEST(DecodingGroup4, RefusesSizesWithoutReading) {
  ByteStream stream(bytesOf(kEofb, false));
  for (const int size : {-1, INT32_MIN, 65536, INT32_MAX}) {
    EXPECT_EQ(rleLoadRectFromCCITTG4(&stream, size, 1, 200, 0), nullptr);
    EXPECT_EQ(rleLoadRectFromCCITTG4(&stream, 1, size, 200, 0), nullptr);
  }
  EXPECT_EQ(stream.operations, 0);
  for (const int width : {0, 1, 65535})
    for (const int height : {0, 1, 65535})
      EXPECT_EQ(differenceFromWalk(bytesOf(kEofb, true), width, height, true), "");
}

TEST(DecodingGroup4, WalksAllPairsOfBytesAsTheTreesDo) {
  for (uint32_t pair = 0; pair < 0x10000; ++pair) {
    std::vector<uint8_t> bytes = bytesOf(kEofb, false);
    bytes.insert(bytes.begin(), {uint8_t(pair >> 8), uint8_t(pair)});
    const int width = int(pair % 7 + pair / 0x4000);
    ASSERT_EQ(differenceFromWalk(bytes, width, 5, false), "") << pair << " of width " << width;
  }
}

// Random codes that mostly make sense: long rows of few kinds, and some of everything.
std::string randomCodes(std::mt19937& random) {
  static const std::vector<std::string> codes = {"1",
                                                 "1",
                                                 "1",
                                                 "1",
                                                 "011",
                                                 "011",
                                                 "010",
                                                 "010",
                                                 "000011",
                                                 "0000011",
                                                 "000010",
                                                 "0000010",
                                                 "0001",
                                                 "0001",
                                                 "001 0111 11",
                                                 "001 1000 011",
                                                 "001 000111 010",
                                                 "001 11011 1100 0000110111",
                                                 "001 10 1110",
                                                 "001 0000110111 00110101",
                                                 "001 00000001000 00110101 11",
                                                 "000000000001",
                                                 "0000001"};
  const int kinds = randomInt(random, 1, int(codes.size()));
  std::vector<size_t> chosen;
  for (int i = 0; i < kinds; ++i) chosen.push_back(random() % codes.size());
  std::string bits;
  const int length = randomInt(random, 1, 120);
  for (int i = 0; i < length; ++i) {
    std::string code = codes[chosen[random() % chosen.size()]];
    if (code.size() == 12 && random() % 8 != 0) code = "1";
    if (code == "0000001" && random() % 32 != 0) code = "011";
    bits += code;
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
    ASSERT_EQ(differenceFromWalk(bytes, width, 3, lsbFirst), "") << "codes " << i;
    if (i % 4 != 0) continue;
    std::vector<uint8_t> noise(size_t(randomInt(random, 0, 40)));
    for (uint8_t& byte : noise) byte = uint8_t(random());
    ASSERT_EQ(differenceFromWalk(noise, width, 3, lsbFirst), "") << "bytes " << i;
  }
}

TEST(DecodingGroup4, OfDamagedPagesAgreesWithTheTrees) {
  std::mt19937 random(2);
  const Pixels page = randomPixels(random, 90, 24, 5, 9);
  auto bytes = walkEncode(elementsOf(page.toRect().get()), 90);
  for (size_t length = 0; length <= bytes.size(); ++length)
    ASSERT_EQ(differenceFromWalk({bytes.begin(), bytes.begin() + long(length)}, 90, 24, true), "")
        << "cut to " << length;
  for (size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
    bytes[bit / 8] ^= uint8_t(1U << bit % 8);
    ASSERT_EQ(differenceFromWalk(bytes, 90, 24, true), "") << "bit " << bit;
    bytes[bit / 8] ^= uint8_t(1U << bit % 8);
  }
}

TEST(DecodingGroup4, OfRowsThatAreTooLongStopsAtTheElementThatIsTooMany) {
  const auto repeated = [](const std::string& codes, int times) {
    std::string bits;
    for (int i = 0; i < times; ++i) bits += codes;
    return bits;
  };
  const std::string onePixelEach = "001 000111 010";
  for (const int pairs : {25797, 25798, 25799, 25800, 25801}) {
    const std::string rest = repeated(onePixelEach, pairs - 1);
    for (const int width : {51599, 51604, 65535}) {
      const auto bytes = bytesOf("001 10011 010" + rest + "1" + kEofb, true);
      ASSERT_EQ(differenceFromWalk(bytes, width, 1, true), "") << pairs;
      if (pairs == 25800) continue;
      // A second row repeats the first, with up to four runs before it.
      for (int more = 0; more < 4; ++more) {
        const auto rows = bytesOf("001 10011 010" + rest + "1" + repeated(onePixelEach, more) +
                                      repeated("1", 2 * pairs + 1) + kEofb,
                                  true);
        ASSERT_EQ(differenceFromWalk(rows, width, 2, true), "") << pairs << " and " << more;
      }
    }
  }
}

TEST(DecodingGroup4, OfEndlessMakeUpCodesStaysWithinTheRow) {
  std::string bits = "001";
  for (int i = 0; i < 1000000; ++i) bits += "000000011111";
  EXPECT_THAT(runsOf(decode("001 00110101" + bits.substr(3) + "11" + kEofb, 70, 1)->rows[0]),
              testing::ElementsAre(std::pair(0, 70)));
}

TEST(DecodingGroup4, GoesOnInSeveralThreadsAndInsideStreams) {
  // A stream that decodes the same data from within its getByte.
  struct Nesting : ByteStream {
    explicit Nesting(const std::vector<uint8_t>& content) : ByteStream(content), plain(ops) {
      nesting = *plain;
      nesting.getByte = [](RleStream* stream) {
        auto& self = *static_cast<Nesting*>(static_cast<ByteStream*>(stream));
        if (self.position % 50 == 0) {
          ByteStream inner(self.bytes);
          self.wrong += OwnedRect(rleLoadRectFromCCITTG4(&inner, 500, 40, 0, 1)) == nullptr;
        }
        return self.plain->getByte(stream);
      };
      ops = &nesting;
    }
    const RleStreamOps* plain;
    RleStreamOps nesting;
    int wrong = 0;
  };
  std::mt19937 random(3);
  const Pixels page = randomPixels(random, 500, 40);
  const auto bytes = walkEncode(elementsOf(page.toRect().get()), 500);
  const auto decodeMany = [&] {
    for (int i = 0; i < 5; ++i) {
      Nesting stream(bytes);
      const OwnedRect rect(rleLoadRectFromCCITTG4(&stream, 500, 40, 0, 1));
      EXPECT_EQ(Pixels(rect.get()), page);
      EXPECT_EQ(stream.wrong, 0);
    }
  };
  std::thread other(decodeMany);
  decodeMany();
  other.join();
}

}  // namespace
}  // namespace rle::test
