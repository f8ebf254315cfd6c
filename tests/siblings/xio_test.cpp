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

class Streams : public testing::TestWithParam<const char*> {
 protected:
  ~Streams() override { std::remove(path_.c_str()); }

  void open(const Bytes& content, int32_t mode) {
    content_ = content;
    std::ofstream(path_, std::ios::binary).write(charsOf(content_), int64_t(content.size()));
    stream_ = inFile_ ? xioCreateFileStreamByName(path_.c_str(), mode)
                      : xioCreateMemoryStream(content_.data(), uint32_t(content_.size()), mode);
    ASSERT_NE(stream_, nullptr);
    ops_ = stream_->ops;
  }

  // Ends the stream and returns what it leaves, nothing when it says that bytes were lost.
  Bytes close() {
    uint32_t size = 0;
    const auto* data = static_cast<const uint8_t*>(xioMemoryStreamBytes(stream_, &size));
    Bytes bytes(data, data + size);
    if (ops_->destroy(stream_) != 0) return {};
    if (!inFile_) return bytes;
    std::ifstream file(path_, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }

  static char* charsOf(Bytes& bytes) { return reinterpret_cast<char*>(bytes.data()); }

  const bool inFile_ = GetParam() == std::string("File");
  const std::string path_ = testing::TempDir() + "xio_test_" + std::to_string(getpid());
  Bytes content_;
  RleStream* stream_ = nullptr;
  const RleStreamOps* ops_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Xio, Streams, testing::Values("Memory", "File"),
                         [](const auto& kind) { return kind.param; });

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
TEST_P(Streams, DoWhatAVectorOfBytesDoes) {
  for (uint32_t seed = 0; seed < 30; ++seed) {
    std::mt19937 random(seed);
    ByteStream plain{Bytes(100000)};
    std::ranges::generate(plain.bytes, [&] { return uint8_t(random()); });
    open(plain.bytes, XIO_UPDATE);
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
      const int64_t answer = operate(stream_, kind, word, offset, block);
      if (!plain.failed) {
        ASSERT_EQ(answer, expected) << kind;
      }
      failed = failed || plain.failed;
      plain.failed = false;
      ASSERT_EQ(ops_->tell(stream_), int64_t(plain.position));
      ASSERT_EQ(ops_->hasError(stream_) != 0, failed);
    }
    ASSERT_EQ(close(), plain.bytes) << seed;
  }
}

TEST_P(Streams, KeepAnErrorButCanBeReadElsewhere) {
  open({1, 2}, XIO_READ);
  EXPECT_NE(ops_->seek(stream_, -1, 0), 0);
  EXPECT_EQ(ops_->hasError(stream_), 0) << "only reads and writes set the error";
  ops_->getWord32(stream_);
  EXPECT_EQ(ops_->seek(stream_, 1, 0), 0);
  EXPECT_EQ(ops_->getByte(stream_), 2);
  EXPECT_NE(ops_->hasError(stream_), 0);
  EXPECT_EQ(close(), (Bytes{1, 2})) << "nothing written was lost";
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
