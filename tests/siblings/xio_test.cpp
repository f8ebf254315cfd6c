// Streams over memory and over files do the same; both are compared with a vector of bytes.

#include "xio.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "support/byte_stream.h"
#include "support/pixels.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;

const std::string kPath = testing::TempDir() + "xio_test_" + std::to_string(getpid());

RleStream* openFile(Bytes& content) {
  std::ofstream(kPath, std::ios::binary)
      .write(reinterpret_cast<const char*>(content.data()), int64_t(content.size()));
  return xioCreateFileStreamByName(kPath.c_str(), XIO_UPDATE);
}

RleStream* openMemory(Bytes& content) {
  return xioCreateMemoryStream(content.data(), uint32_t(content.size()), XIO_UPDATE);
}

// Ends the stream and returns what it leaves.
Bytes closeFile(RleStream* stream) {
  EXPECT_EQ(stream->ops->destroy(stream), 0);
  std::ifstream file(kPath, std::ios::binary);
  Bytes bytes(std::istreambuf_iterator<char>(file), {});
  std::remove(kPath.c_str());
  return bytes;
}

Bytes closeMemory(RleStream* stream) {
  uint32_t size = 0;
  const auto* const first = static_cast<const uint8_t*>(xioMemoryStreamBytes(stream, &size));
  Bytes bytes(first, first + size);
  EXPECT_EQ(stream->ops->destroy(stream), 0);
  return bytes;
}

// One operation on any stream, chosen by `kind`.
int64_t operate(RleStream* s, int kind, uint32_t word, int32_t offset, const Bytes& block) {
  const auto items = uint32_t(block.size() / 3);
  if (kind == 0) return s->ops->getByte(s);
  if (kind == 1) return s->ops->getWord16(s);
  if (kind == 2) return s->ops->getWord32(s);
  if (kind == 3) return s->ops->putByte(s, int32_t(word)) != -1;
  if (kind == 4) return s->ops->putWord16(s, word) != -1;
  if (kind == 5) return s->ops->putWord32(s, word) != -1;
  if (kind == 6) return s->ops->seek(s, offset, int32_t(word % 2)) == 0;
  if (kind == 7) return s->ops->writeBlock(s, block.data(), 3, items);
  s->ops->setByteOrder(s, int32_t(word % 2));
  return s->ops->getByteOrder(s) != 0;
}

// Contents are longer than the buffer of a file. The error state of the plain stream is cleared
// after each failure, because ours goes on reading.
void expectWhatAVectorDoes(RleStream* (*open)(Bytes&), Bytes (*close)(RleStream*)) {
  for (uint32_t seed = 0; seed < 30; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    ByteStream plain{Bytes(100000)};
    std::ranges::generate(plain.bytes, [&] { return uint8_t(random()); });
    Bytes content = plain.bytes;
    RleStream* const stream = open(content);
    ASSERT_NE(stream, nullptr);
    bool failed = false;
    for (int operation = 0; operation < 1000; ++operation) {
      const auto word = uint32_t(random());
      const Bytes block(size_t(1) << randomInt(random, 0, 11), uint8_t(word));
      // Near the start, the end or the position, or anywhere.
      const int near = randomInt(random, -400, 400);
      const int end = int(plain.bytes.size());
      const int places[] = {near, end + near, int(plain.position) + near, near * 400};
      const int32_t offset =
          places[randomInt(random, 0, 3)] - (word % 2 == 1 ? int(plain.position) : 0);
      const int kind = randomInt(random, 0, 8);
      const int64_t expected = operate(&plain, kind, word, offset, block);
      const int64_t answer = operate(stream, kind, word, offset, block);
      ASSERT_TRUE(plain.failed || answer == expected) << kind;
      failed = failed || plain.failed;
      plain.failed = false;
      ASSERT_EQ(stream->ops->tell(stream), int64_t(plain.position));
      ASSERT_EQ(stream->ops->hasError(stream) != 0, failed);
    }
    ASSERT_EQ(close(stream), plain.bytes);
  }
}

TEST(MemoryStreams, DoWhatAVectorOfBytesDoes) { expectWhatAVectorDoes(openMemory, closeMemory); }
TEST(FileStreams, DoWhatAVectorOfBytesDoes) { expectWhatAVectorDoes(openFile, closeFile); }

TEST(StreamsToRead, RefuseToWriteAndReadOn) {
  Bytes content = {1, 2};
  RleStream* const file = openFile(content);
  EXPECT_EQ(file->ops->destroy(file), 0);
  for (RleStream* stream : {xioCreateFileStreamByName(kPath.c_str(), XIO_READ),
                            xioCreateMemoryStream(content.data(), 2, XIO_READ)}) {
    EXPECT_EQ(stream->ops->putByte(stream, 3), -1);
    EXPECT_NE(stream->ops->hasError(stream), 0);
    EXPECT_EQ(stream->ops->seek(stream, 1, 0), 0);
    EXPECT_EQ(stream->ops->getByte(stream), 2);
    stream->ops->destroy(stream);
  }
  std::remove(kPath.c_str());
}

TEST(FileStreams, ReportBytesThatDidNotReachTheFile) {
  for (const int count : {1, 200000}) {
    RleStream* stream = xioCreateFileStreamByName("/dev/full", XIO_WRITE);
    for (int i = 0; i < count; ++i) stream->ops->putByte(stream, 0);
    EXPECT_EQ(stream->ops->hasError(stream) != 0, count > 1) << "more than the buffer holds";
    EXPECT_NE(stream->ops->destroy(stream), 0);
  }
}

TEST(StreamFactories, RefuseWhatCannotBeAStream) {
  uint8_t byte = 0;
  for (const int32_t mode : {0, 4}) {
    EXPECT_EQ(xioCreateMemoryStream(&byte, 1, mode), nullptr);
    EXPECT_EQ(xioCreateFileStreamByName("/dev/null", mode), nullptr);
  }
  EXPECT_EQ(xioCreateMemoryStream(nullptr, 1, XIO_READ), nullptr);
  for (const char* path : {static_cast<const char*>(nullptr), "/nowhere/at/all", "/tmp"})
    EXPECT_EQ(xioCreateFileStreamByName(path, XIO_UPDATE), nullptr);
}

}  // namespace
}  // namespace rle::test
