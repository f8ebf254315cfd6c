// Streams over memory and over files do the same; both are compared with a vector of bytes.

#include "xio.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "support/pixels.h"

namespace rle::test {
namespace {

using Bytes = std::vector<uint8_t>;

enum class Kind { kMemory, kFile };

class Streams : public testing::TestWithParam<Kind> {
 protected:
  ~Streams() override {
    if (stream_ != nullptr) ops().destroy(stream_);
    std::filesystem::remove(path_);
  }

  void open(const Bytes& content, int32_t mode) {
    content_ = content;
    if (GetParam() == Kind::kMemory) {
      stream_ = xioCreateMemoryStream(content_.data(), uint32_t(content_.size()), mode);
    } else {
      std::ofstream(path_, std::ios::binary)
          .write(reinterpret_cast<const char*>(content.data()), std::streamsize(content.size()));
      stream_ = xioCreateFileStreamByName(path_.c_str(), mode);
    }
    ASSERT_NE(stream_, nullptr);
  }

  // Ends the stream and returns what it has written.
  Bytes close() {
    Bytes bytes;
    uint32_t size = 0;
    const auto* data = static_cast<const uint8_t*>(xioMemoryStreamBytes(stream_, &size));
    if (data != nullptr) bytes.assign(data, data + size);
    EXPECT_EQ(ops().destroy(stream_), 0);
    stream_ = nullptr;
    if (GetParam() == Kind::kFile) {
      std::ifstream file(path_, std::ios::binary);
      bytes.assign(std::istreambuf_iterator<char>(file), {});
    }
    return bytes;
  }

  const RleStreamOps& ops() const { return *stream_->ops; }

  RleStream* stream_ = nullptr;
  Bytes content_;
  const std::filesystem::path path_ =
      std::filesystem::temp_directory_path() /
      ("xio_test_" + std::to_string(std::random_device()()) + std::to_string(getpid()));
};

INSTANTIATE_TEST_SUITE_P(Xio, Streams, testing::Values(Kind::kMemory, Kind::kFile),
                         [](const auto& kind) {
                           return kind.param == Kind::kMemory ? "Memory" : "File";
                         });

Bytes randomBytes(std::mt19937& random, int count) {
  Bytes bytes(size_t(count), 0);
  for (uint8_t& byte : bytes) byte = uint8_t(random());
  return bytes;
}

// What a stream is, written down plainly.
struct Model {
  Bytes bytes;
  size_t position = 0;
  bool failed = false;

  int32_t get() {
    if (position < bytes.size()) return bytes[position++];
    failed = true;
    return -1;
  }
  void put(uint8_t byte) {
    if (position >= bytes.size()) bytes.resize(position + 1);
    bytes[position++] = byte;
  }
  // Most significant byte first unless little-endian; bytes before the end count as read.
  uint32_t getWord(int size, bool little) {
    uint32_t word = 0;
    for (int i = 0; i < size; ++i) {
      const int32_t byte = get();
      if (byte < 0) return 0;
      word |= uint32_t(byte) << 8 * (little ? i : size - 1 - i);
    }
    return word;
  }
};

// 200 rounds of up to 300 operations of a kind, on contents longer than the buffer of a file.
TEST_P(Streams, DoWhatAVectorOfBytesDoes) {
  std::mt19937 random(4711);
  Model model{randomBytes(random, 150000)};
  open(model.bytes, XIO_UPDATE);
  bool little = false;
  for (int round = 0; round < 200; ++round) {
    const int operation = randomInt(random, 0, 8);
    const int times = randomInt(random, 0, 3) == 0 ? 300 : 3;
    const auto size = int64_t(model.bytes.size());
    if (operation == 6 || operation == 7) {  // to the start or the end of it all, or nearby
      const int64_t near = randomInt(random, -400, 400);
      const int64_t place = randomInt(random, 0, 3);
      const int64_t target = place == 0   ? near
                             : place == 1 ? size + near
                             : place == 2 ? int64_t(model.position) + near
                                          : randomInt(random, 0, int(size));
      const int64_t offset = operation == 6 ? target : target - int64_t(model.position);
      ASSERT_EQ(ops().seek(stream_, int32_t(offset), operation - 6) == 0, target >= 0);
      if (target >= 0) model.position = size_t(target);
    } else if (operation == 8) {
      little = !little;
      ops().setByteOrder(stream_, little);
      ASSERT_EQ(ops().getByteOrder(stream_) != 0, little);
      const Bytes block = randomBytes(random, randomInt(random, 0, 3) * randomInt(random, 1, 9999));
      const auto items = uint32_t(block.size() / 3);
      ASSERT_EQ(ops().writeBlock(stream_, block.data(), 3, items), items);
      for (size_t i = 0; i < 3 * size_t(items); ++i) model.put(block[i]);
    } else {
      for (int i = 0; i < times; ++i) {
        const auto word = uint32_t(random());
        const int wordSize = operation < 4 ? 2 : 4;
        if (operation == 0) {
          ASSERT_EQ(ops().getByte(stream_), model.get());
        } else if (operation == 1) {
          ASSERT_NE(ops().putByte(stream_, int32_t(word)), -1);
          model.put(uint8_t(word));
        } else if (operation == 2) {
          ASSERT_EQ(ops().getWord16(stream_), model.getWord(2, little));
        } else if (operation == 4) {
          ASSERT_EQ(ops().getWord32(stream_), model.getWord(4, little));
        } else {
          ASSERT_NE((wordSize == 2 ? ops().putWord16 : ops().putWord32)(stream_, word), -1);
          for (int k = 0; k < wordSize; ++k)
            model.put(uint8_t(word >> 8 * (little ? k : wordSize - 1 - k)));
        }
      }
    }
    ASSERT_EQ(ops().tell(stream_), int64_t(model.position));
    ASSERT_EQ(ops().hasError(stream_) != 0, model.failed);
  }
  EXPECT_EQ(close(), model.bytes);
}

TEST_P(Streams, StartEmptyAndBigEndianWhenWritten) {
  open({1, 2, 3, 4, 5, 6, 7, 8, 9}, XIO_WRITE);
  ops().putWord16(stream_, 0xFFFF4D4D);
  ops().putWord32(stream_, 0x524C4300);
  ops().setByteOrder(stream_, 1);
  ops().putWord16(stream_, 0x002A);
  EXPECT_EQ(ops().seek(stream_, 2, 0), 0);
  EXPECT_EQ(ops().getWord32(stream_), 0x00434C52U);
  EXPECT_EQ(ops().hasError(stream_), 0);
  EXPECT_EQ(close(), (Bytes{0x4D, 0x4D, 0x52, 0x4C, 0x43, 0x00, 0x2A, 0x00}));
}

TEST_P(Streams, KeepAnErrorButCanBeReadElsewhere) {
  open({1, 2}, XIO_READ);
  EXPECT_NE(ops().seek(stream_, -1, 0), 0);
  EXPECT_NE(ops().seek(stream_, 0, 2), 0);
  EXPECT_EQ(ops().hasError(stream_), 0) << "only reads and writes set the error";
  ops().getWord32(stream_);
  EXPECT_NE(ops().hasError(stream_), 0);
  EXPECT_EQ(ops().seek(stream_, 1, 0), 0);
  EXPECT_EQ(ops().getByte(stream_), 2);
  EXPECT_EQ(ops().getByte(stream_), -1);
  EXPECT_NE(ops().hasError(stream_), 0);
  EXPECT_EQ(close(), (Bytes{1, 2})) << "and nothing written was lost";
}

TEST_P(Streams, RefuseWritesWhenTheyAreToBeRead) {
  open({1, 2, 3}, XIO_READ);
  EXPECT_EQ(ops().putByte(stream_, 7), -1);
  EXPECT_EQ(ops().putWord32(stream_, 7), -1);
  EXPECT_EQ(ops().writeBlock(stream_, "abcd", 2, 2), 0U);
  EXPECT_NE(ops().hasError(stream_), 0);
  EXPECT_EQ(ops().getByte(stream_), 1);
  EXPECT_NE(ops().destroy(stream_), 0);
  stream_ = nullptr;
}

TEST_P(Streams, CanStandBeyondWhatTellCanSay) {
  open({}, XIO_UPDATE);
  EXPECT_EQ(ops().seek(stream_, INT32_MAX, 0), 0);
  EXPECT_EQ(ops().tell(stream_), INT32_MAX);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ops().seek(stream_, INT32_MAX, 1), 0);
  EXPECT_EQ(ops().tell(stream_), -1);
  EXPECT_EQ(ops().getByte(stream_), -1);
  if (GetParam() == Kind::kMemory) {  // more than its size can say
    EXPECT_EQ(ops().putByte(stream_, 1), -1);
    EXPECT_EQ(ops().seek(stream_, 0, 0), 0);
    EXPECT_EQ(ops().putByte(stream_, 1), -1) << "nothing is written after lost bytes";
    EXPECT_NE(ops().destroy(stream_), 0);
    stream_ = nullptr;
  }
}

TEST(FileStreams, ReportBytesThatDidNotReachTheFile) {
  for (const int count : {1, 100000, 200000}) {
    RleStream* stream = xioCreateFileStreamByName("/dev/full", XIO_WRITE);
    ASSERT_NE(stream, nullptr);
    int written = 0;
    while (written < count && stream->ops->putByte(stream, 0) != -1) ++written;
    EXPECT_EQ(stream->ops->hasError(stream) != 0, count > 1) << "the buffer went to the file";
    EXPECT_NE(stream->ops->destroy(stream), 0);
  }
}

TEST(StreamFactories, RefuseWhatCannotBeAStream) {
  uint8_t byte = 0;
  EXPECT_EQ(xioCreateMemoryStream(&byte, 1, 0), nullptr);
  EXPECT_EQ(xioCreateMemoryStream(&byte, 1, 4), nullptr);
  EXPECT_EQ(xioCreateMemoryStream(nullptr, 1, XIO_READ), nullptr);
  EXPECT_EQ(xioCreateFileStreamByName(nullptr, XIO_READ), nullptr);
  EXPECT_EQ(xioCreateFileStreamByName("/nowhere/at/all", XIO_WRITE), nullptr);
  EXPECT_EQ(xioCreateFileStreamByName("/tmp", XIO_READ), nullptr);
  EXPECT_EQ(xioCreateFileStreamByName("/dev/null", 0), nullptr);
}

}  // namespace
}  // namespace rle::test
