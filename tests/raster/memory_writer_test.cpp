// The memory raster writer: what it asks of the pipeline and of the output, and what it leaves.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "raster/fake_pipeline.h"

namespace rle::test {
namespace {

using testing::HasSubstr;

struct Image {
  int32_t format = 1;
  double scale = 1;
  int32_t rotation = 0;
  uint32_t padding = 8, bufferSize = 0x200000, width = 10, height = 1;
  int32_t bits = 1, colours = 4, kind = 0;
};

// A writer that has been initialized. It ends with nothing left.
struct Job {
  const std::string path = testing::TempDir() + "rle" + std::to_string(getpid()) + ".part";
  ByteStream output;
  RleMemoryWriter* const w;
  const RleMemoryWriter fresh;
  int32_t initialized;

  explicit Job(const Image& image, int64_t failAt = -1, int64_t outputFailAt = -1)
      : w(rleInitWriteRasterFromMemory(&output, image.format)), fresh(*w) {
    fake() = {};
    fake().failAt = failAt;
    fake().names[&output] = "out";
    fake().deliver(10, {{0x12, 0x40}});
    output.failAt = outputFailAt;
    w->setScale(w, image.scale);
    w->setRotation(w, image.rotation);
    w->setPaddingBits(w, image.padding);
    if (image.bufferSize != Image().bufferSize) w->setBufferSize(w, image.bufferSize);
    initialized = start(image);
  }
  ~Job() {
    w->end(w);
    EXPECT_FALSE(exists());
    EXPECT_EQ(fake().alive, 0);
  }

  int32_t start(const Image& i) const {
    return w->initialize(w, i.width, i.height, 300, i.bits, i.colours, i.kind, 7, path.c_str());
  }
  int32_t startWithoutPath() const { return w->initialize(w, 1, 1, 1, 1, 4, 0, 0, nullptr); }
  int32_t write(const Bytes& b) const { return w->write(w, b.data(), uint32_t(b.size())); }
  int32_t flush(uint32_t x = 0, uint32_t y = 0) const { return w->flush(w, x, y); }
  std::string error() const { return w->getError(w) != nullptr ? w->getError(w) : "none"; }
  bool exists() const { return std::filesystem::exists(std::filesystem::symlink_status(path)); }
};

const Bytes kRows = {0x11, 0x40, 0x22, 0x80};

std::string calls() {
  std::string all;
  for (const std::string& call : fake().calls) all += call + "; ";
  return all;
}

// ---- Through the pipeline

TEST(MemoryWriter, BuildsThePipelineOfEachKind) {
  const std::string raw = "gfxInitReadRawData #1 10 1 1 4 7 0 1 2 4 -> #2; ";
  const std::pair<Image, std::string> cases[] = {
      {{},
       "xioCreateMemoryStream 4 1 -> #1; " + raw +
           "gfxInitRotate #2 0 -> #3; begin #3; gfxInitWriteRaster out 1 -> #4; begin #4 10 1 "
           "0x10004 0 0 {300 300 0 0}; process #3 [0000]; process #4 [1240]; end #3; end #4; "
           "destroy #1; "},
      {{0, 0.55, -7},
       raw + "gfxInitMinScaleWidth #2 5 -> #3; gfxInitMinScaleHeight #3 0 -> #4; gfxInitRotate #4 "
             "-7 -> #5; begin #5; gfxInitWriteRaster out 0 -> #6; begin #6 10 1 0x10004 0 0 {300 "
             "300 256 0}; process #5 "},
      {{2, 2.5},
       raw + "gfxInitRotate #2 0 -> #3; gfxInitMinScaleWidth #3 25 -> #4; gfxInitMinScaleHeight #4 "
             "2 -> #5; begin #5; "},
      {{.format = 7, .kind = 1},
       "gfxInitReadG4 #1 10 1 0 1 0 7 -> #2; gfxInitRotate #2 0 -> #3; begin #3; "
       "gfxInitWriteRaster out 7 -> #4; begin #4 10 1 0x10004 0 0 {300 300 8192 0}; "},
      {{0, 1.0, 90, 8, 99, 0, 0, 24, 65536, 1},
       "gfxInitReadG4 #1 99 88 0 88 1 7 -> #2; gfxInitRotate #2 90 -> #3; begin #3; "
       "gfxInitWriteRaster out 0 -> #4; begin #4 10 1 0x10004 0 0 {300 300 0 0}; "}};
  for (const auto& [image, expected] : cases) {
    const Job job(image);
    EXPECT_EQ(job.write(kRows) + job.write({}) + job.flush(99, 88), 3);
    EXPECT_THAT(calls(), HasSubstr(expected));
    EXPECT_EQ(job.error(), "none");
  }
}

TEST(MemoryWriter, TellsTheReaderTheRowSize) {
  const uint32_t cases[][4] = {{10, 1, 8, 2},
                               {10, 1, 32, 4},
                               {10, 1, 1, 1},
                               {10, 8, 8, 16},
                               {10, 8, 1, 10},
                               {3, 12, 1, 3},
                               {1, 1, UINT32_MAX, 0x1FFFFFFF}};
  for (const auto& [width, bits, padding, bytes] : cases) {
    const Job job({.padding = padding, .width = width, .bits = int32_t(bits)});
    job.flush();
    EXPECT_THAT(fake().calls[1], HasSubstr(" 0 1 " + std::to_string(bytes) + " 0 -> #2"));
  }
}

TEST(MemoryWriter, ReportsEachCallThatFails) {
  const char *const xio = "can not create XIO stream.", *const gfx = "can not create gfx instance.",
                    *const head = "can not write header.", *const end = "end call faild.",
                    *const process = "write process call faild.", *const none = "none",
                    *const gone = "can not create gfxInitWriteG4 instance.";
  const struct {
    Image image;
    std::vector<const char*> messages;  // for each call
    std::vector<size_t> harmless;       // calls that may fail
  } cases[] = {
      {{.scale = 0.5}, {xio, gfx, none, none, none, "can not read header."}, {}},
      {{},
       {xio, gfx, "can not create gfx instance for rotation.", "can not read header.", gfx, head,
        "read process call faild.", process, end, end, "close call faild.", none},
       {6, 11}},
      {{.format = 0, .height = 3}, {gone, head, process, process, process, end, none}, {6}}};
  for (const auto& [image, messages, harmless] : cases)
    for (size_t number = 0; number < messages.size(); ++number) {
      SCOPED_TRACE(number);
      const Job job(image, int64_t(number));
      const bool done = job.initialized != 0 && job.write(kRows) != 0 && job.flush(0, 3) != 0;
      EXPECT_EQ(done, std::ranges::count(harmless, number) == 1);
      EXPECT_EQ(job.error(), messages[number]);
      // What was made is released: the stream first, then the chain, then the writer.
      if (image.format != 0 && messages[number] == head) {
        EXPECT_THAT(calls(), HasSubstr("}; destroy #1; end #3; end #4; "));
      }
      if (image.format != 0) continue;
      EXPECT_EQ(number % 2 == 0 ? job.write(kRows) : job.flush(), 0);
      EXPECT_EQ(job.error(), gone) << "the encoder is not used again";
    }
}

TEST(MemoryWriter, RepeatsTheBufferWhenARowCannotBeRead) {
  const Job job({.width = 48}, 8);  // stream, reader, rotation, two begins and a writer, one row
  fake().deliver(48, {{1, 2, 3, 4, 5, 6}, {7}, {8}});
  EXPECT_EQ(job.write(Bytes(18)) + job.flush(), 2);
  const Bytes rest = {0, 0, 0, 0, 5, 6};
  EXPECT_EQ(fake().written, (std::vector<Bytes>{{1, 2, 3, 4, 5, 6}, rest, rest}));
}

TEST(MemoryWriter, RefusesWhatMakesNoImage) {
  const Image unpadded{.padding = 0}, endless{.width = 0x80000000, .bits = 16};  // 2^32 bytes a row
  const std::pair<std::string, std::vector<Image>> cases[] = {
      {"invalid output format type.", {{3}, {4}, {5}, {9}, {-1}}},
      {"invalid raster type.", {{.kind = 2}}},
      {"can not create gfx instance.", {unpadded, endless, {.bits = 0}, {.bits = -8}, {.bits = 4}}},
      {"none", {{1, -2.0}, {1, 1e300}, {1, NAN}}},
      {"can not allocate memory.", {{}}}};
  for (const auto& [message, images] : cases)
    for (const Image& image : images) {
      const Job job(image);
      fake().delivered.width = 0x80000000;
      EXPECT_EQ(job.flush(), 0);
      EXPECT_EQ(job.error(), message);
    }
}

// ---- The temporary file

TEST(MemoryWriter, MovesToTheFileAtTheBufferSize) {
  const size_t most = Image().bufferSize - 1;
  const struct {
    Image image;
    std::vector<size_t> sizes;  // of what is written
    bool isInMemory = true;
  } cases[] = {{{}, {most}},
               {{}, {most, 1}, false},
               {{1, 0.5}, {most, 1}},
               {{1, 1.0, 90}, {most, 1}},
               {{.bufferSize = 0}, {700, 0, 300}, false},
               {{.bufferSize = 701}, {700, 0, 1, 299}, false},
               {{.bufferSize = 1000}, {700, 0, 1, 299}, false},
               {{.bufferSize = 1001}, {700, 0, 1, 299}}};
  for (const auto& [image, sizes, isInMemory] : cases) {
    SCOPED_TRACE(image.bufferSize);
    const Job job(image);
    Bytes all;
    for (const size_t size : sizes) {
      const Bytes slice(size, uint8_t(size % 255));
      all.insert(all.end(), slice.begin(), slice.end());
      EXPECT_EQ(job.write(slice), 1);
    }
    EXPECT_EQ(job.w->write == job.fresh.write, isInMemory);
    EXPECT_EQ(std::filesystem::file_size(job.path), isInMemory ? 0 : all.size());
    EXPECT_EQ(job.flush(), 1);
    const std::string size = std::to_string(all.size());
    EXPECT_THAT(calls(), HasSubstr((isInMemory ? "xioCreateMemoryStream " + size
                                               : "xioCreateFileStreamByName " + job.path) +
                                   " 1 -> #1; gfxInitReadRawData #1 10 1 1 4 7 0 1 2 " + size));
    EXPECT_EQ(fake().opened, std::vector<Bytes>{all});
    EXPECT_TRUE(isInMemory || job.write({1}) == 0) << "the file is closed";
  }
}

TEST(MemoryWriter, KeepsItsFileInOrder) {
  const mode_t before = umask(027);
  const Job job({});
  umask(before);
  EXPECT_EQ(std::filesystem::status(job.path).permissions(), std::filesystem::perms(0640));
  EXPECT_EQ(job.startWithoutPath(), 0);
  EXPECT_EQ(job.error(), "set path parameter in rleInitialize.");
  EXPECT_FALSE(job.exists());
  EXPECT_EQ(job.flush(), 0);
  EXPECT_EQ(job.error(), "can not create XIO stream.");

  // What cannot be created is not deleted: a directory behind a link.
  std::filesystem::create_symlink(testing::TempDir(), job.path);
  EXPECT_EQ(job.start({}) + job.start({}), 0);
  EXPECT_EQ(job.error(), "can not create temporary file.");
  EXPECT_TRUE(job.exists());
  std::filesystem::remove(job.path);
  std::ofstream(job.path) << "old";
  EXPECT_EQ(job.start({}), 1);
  EXPECT_EQ(std::filesystem::file_size(job.path), 0U);
  EXPECT_EQ(job.startWithoutPath(), 0);

  // No room left: nothing is made of an image with a gap.
  std::filesystem::create_symlink("/dev/full", job.path);
  EXPECT_EQ(job.start({}) + job.write(kRows), 2);
  job.w->setBufferSize(job.w, 8);
  EXPECT_EQ(job.write(kRows), 0);
  EXPECT_EQ(job.write(kRows) + job.flush(), 0);
  EXPECT_EQ(calls() + job.error(), "can not write to temporary file.");
}

// ---- Straight to the output

// The header that stands before the data, and the data.
Bytes file(uint32_t width, uint32_t height, int32_t colours, const Bytes& data) {
  ByteStream stream;
  rleWriteTiffHeader(&stream, width, height, 300, colours, 1);
  rleReWriteByteCountOfTiffTag(&stream, uint32_t(data.size()));
  stream.bytes.insert(stream.bytes.end(), data.begin(), data.end());
  return stream.bytes;
}

TEST(MemoryWriter, PassesGroup4DataThrough) {
  for (const int32_t kind : {1, 2}) {
    const Job job({.format = 0, .colours = 3, .kind = kind});
    EXPECT_EQ(job.w->setScale, job.fresh.setScale);
    EXPECT_EQ(job.write(kRows) + job.write({}) + job.write({9}), 3);
    EXPECT_EQ(kind == 1 ? job.flush() : job.flush(20, 30), 1);
    EXPECT_EQ(job.output.bytes,
              file(kind == 1 ? 10 : 20, kind == 1 ? 1 : 30, 3, {0x11, 0x40, 0x22, 0x80, 9}));
    EXPECT_EQ(calls(), "");
  }
  std::vector<std::string> messages;  // one after another, each many times
  for (int64_t number = 0; messages.empty() || messages.back() != "none"; ++number) {
    const Job job({.format = 0, .kind = 1}, -1, number);
    const bool done = job.initialized != 0 && job.write(kRows) != 0 && job.flush(5, 6) != 0;
    EXPECT_EQ(done, job.error() == "none");
    if (messages.empty() || messages.back() != job.error()) messages.push_back(job.error());
  }
  EXPECT_THAT(messages,
              testing::ElementsAre("can not write one strip TIFF header.", "can not write G4 data.",
                                   "can not rewrite width in Tiff format.",
                                   "can not rewrite height in Tiff format.",
                                   "can not rewrite byte count in Tiff format.", "none"));
}

TEST(MemoryWriter, EncodesRawRowsAsTheyCome) {
  for (const uint32_t height : {0U, 4U}) {
    Job job({.format = 0, .height = height});
    job.w->setPaddingBits(job.w, 64);                                // too late
    EXPECT_EQ(job.write(kRows) + job.write({0x44, 0x40, 0x99}), 2);  // the last byte is no row
    job.output.bytes.resize(job.output.position += 77);              // as an encoder would
    EXPECT_EQ(job.flush(0, 4), 1);
    EXPECT_EQ(job.output.bytes, file(10, 4, 4, Bytes(77)));
    EXPECT_EQ(calls(), "gfxInitWriteG4 out 1 -> #1; begin #1 10 " +
                           std::string(height == 0 ? "2147483647" : "4") +
                           " 0x10004 0 0 null; process #1 [1140]; process #1 [2280]; "
                           "process #1 [4440]; process #1 [0000]; end #1; ");
  }
  const Job narrow({.format = 0, .padding = 1, .width = 15, .height = 0});  // rows of one byte
  EXPECT_EQ(narrow.write({0x77, 0x88}) + narrow.flush(), 2);
  EXPECT_THAT(calls(), HasSubstr("null; process #1 [7700]; process #1 [8800]; end #1; "));
  for (const Image& image : {Image{0, 1, 0, 8, 0, 0}, Image{0, 1, 0, 0}}) {  // rows of no bytes
    const Job job(image);
    EXPECT_EQ(job.write(kRows), 0);
    EXPECT_EQ(job.error(), "write process call faild.");
  }
}

TEST(MemoryWriter, BeginsAgain) {
  const Job job({.format = 0});
  EXPECT_EQ(job.start({.bits = 8}), 1);
  EXPECT_EQ(fake().alive, 0);  // the encoder
  EXPECT_EQ(job.write(kRows) + job.start({.bits = 8}) + job.write({1, 2}) + job.flush(), 4);
  EXPECT_THAT(calls(), HasSubstr("xioCreateMemoryStream 2 1 "));
}

TEST(MemoryWriter, TakesNull) {
  const Job job({.format = 0, .kind = 1}), raw({.format = 0});
  for (const RleMemoryWriter& w : {job.fresh, *job.w, *raw.w}) {
    EXPECT_EQ(w.initialize(nullptr, 1, 1, 1, 1, 1, 1, 1, "x"), 0);
    EXPECT_EQ(w.write(nullptr, "x", 1) + w.flush(nullptr, 1, 1), 0);
    w.setBufferSize(nullptr, 1), w.setScale(nullptr, 1), w.setRotation(nullptr, 1);
    w.setPaddingBits(nullptr, 1), w.end(nullptr);
    EXPECT_EQ(w.getError(nullptr), nullptr);
  }
}

}  // namespace
}  // namespace rle::test
