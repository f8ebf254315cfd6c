#include "raster/fake_pipeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <type_traits>

namespace rle::test {

// Something made here: an instance, a stream or an info record.
struct FakePipeline::Part : GfxInstance {
  std::string name;
  enum { Made, Begun, Failed, Released } state = Made;
  GfxImageInfo info{};
  RleStreamOps streamOps{};  // all but destroy are not there
  RleStream stream{&streamOps};

  bool writes = false;
  Part* source = nullptr;
  bool isWrapped = false;  // so that the wrapper is the one to be used
  size_t rowBytes = 0;
  uint32_t rowsLeft = 0;
};

FakePipeline& fake() {
  static FakePipeline pipeline;
  return pipeline;
}

void failCallsInTurn(const std::function<void(FakePipeline&)>& script,
                     const std::function<bool()>& action, const Calls& expected, Ends ends) {
  const auto run = [&](int64_t failAt) {
    fake() = {};
    script(fake());
    fake().failAt = failAt;
    const bool done = action();
    EXPECT_EQ(fake().alive, 0) << failAt;
    return done;
  };
  EXPECT_TRUE(run(-1));
  EXPECT_EQ(fake().calls, expected);
  const auto releases = [](const std::string& call) {
    return call.starts_with("end ") || call.starts_with("gfxFreeImageInfo ");
  };
  for (size_t number = 0; number < expected.size(); ++number) {
    SCOPED_TRACE(expected[number]);
    const bool matters = !releases(expected[number]) ||
                         (ends == Ends::Count && expected[number].starts_with("end "));
    EXPECT_EQ(run(int64_t(number)), !matters);
    const Calls& calls = fake().calls;
    ASSERT_GT(calls.size(), number);
    const auto failed = calls.begin() + std::ptrdiff_t(number);
    EXPECT_TRUE(std::equal(calls.begin(), failed, expected.begin()));
    EXPECT_TRUE(!matters || std::all_of(failed + 1, calls.end(), releases));
  }
}

namespace {

using Part = FakePipeline::Part;

// The part that an instance, a stream or an info record is; null for what others made.
Part* partOf(const void* thing) {
  for (const auto& part : fake().parts)
    if (thing == part.get() || thing == &part->stream || thing == &part->info) return part.get();
  return nullptr;
}

// An argument of a call: pointers by the name of what they point to.
template <class Argument>
auto text(Argument argument) {
  if constexpr (std::is_pointer_v<Argument>) {
    const Part* const part = partOf(argument);
    return part ? part->name : fake().names[argument];
  } else {
    return argument;
  }
}

std::string text(GfxImageDesc* description) {
  std::ostringstream words;
  words << description->width << ' ' << description->height << std::hex << std::uppercase << " 0x"
        << description->format << std::dec << ' ' << description->zero3 << ' '
        << description->zero4;
  const GfxOutputParams* const p = description->parameters;
  if (p == nullptr)
    words << " null";
  else
    words << " {" << p->xResolution << ' ' << p->yResolution << ' ' << p->compression << ' '
          << p->zero << '}';
  return words.str();
}

std::string hexadecimal(const uint8_t* row, size_t bytes) {
  std::ostringstream digits;
  digits << '[' << std::hex << std::uppercase << std::setfill('0');
  for (size_t i = 0; i < std::min<size_t>(bytes, 8); ++i) digits << std::setw(2) << int(row[i]);
  digits << ']';
  return digits.str();
}

// Puts a call on the list; whether it has to fail.
template <class... Arguments>
bool failing(const char* function, Arguments... arguments) {
  std::ostringstream call;
  call << function;
  ((call << ' ' << text(arguments)), ...);
  fake().calls.push_back(call.str());
  return int64_t(fake().calls.size()) - 1 == fake().failAt;
}

// ---- Instances

// The instance, when it may be used at all.
Part& inUse(GfxInstance* self) {
  Part& part = *static_cast<Part*>(self);
  EXPECT_FALSE(part.isWrapped) << part.name << " is wrapped";
  EXPECT_NE(part.state, Part::Released) << part.name;
  return part;
}

void release(Part& part) {
  EXPECT_NE(part.state, Part::Released) << part.name;
  part.state = Part::Released;
  --fake().alive;
}

int32_t beginPart(GfxInstance* self, GfxImageDesc* description) {
  Part& part = inUse(self);
  EXPECT_EQ(part.state, Part::Made) << part.name;
  const bool failed = part.writes ? failing("begin", self, description) : failing("begin", self);
  part.state = failed ? Part::Failed : Part::Begun;
  if (failed) return 0;
  if (!part.writes) *description = fake().delivered;
  const auto bits = int16_t(description->format >> 16);
  part.rowBytes = (size_t{description->width} * size_t(bits) + 7) / 8;
  part.rowsLeft = description->height;
  return 1;
}

int32_t processPart(GfxInstance* self, uint8_t* row) {
  Part& part = inUse(self);
  EXPECT_EQ(part.state, Part::Begun) << part.name;
  EXPECT_GT(part.rowsLeft, 0U) << part.name;
  if (failing("process", self, hexadecimal(row, part.rowBytes)) || part.rowsLeft == 0) {
    part.state = Part::Failed;
    return 0;
  }
  const size_t number = fake().delivered.height - part.rowsLeft--;
  if (part.writes) {
    fake().written.emplace_back(row, row + part.rowBytes);
  } else if (number < fake().rows.size()) {
    const Bytes& bytes = fake().rows[number];
    std::copy_n(bytes.begin(), std::min(bytes.size(), part.rowBytes), row);
  }
  return 1;
}

int32_t endPart(GfxInstance* self) {
  const bool failed = failing("end", self);
  for (Part* part = &inUse(self); part != nullptr; part = part->source) release(*part);
  return failed ? 0 : 1;
}

int32_t destroyStream(RleStream* self) {
  const bool failed = failing("destroy", self);
  release(*partOf(self));
  return failed ? 1 : 0;
}

// Records a call of a constructor; what it makes, null when it fails.
template <class... Arguments>
Part* make(const char* function, Arguments... arguments) {
  if (failing(function, arguments...)) return nullptr;
  const auto part = std::make_shared<Part>();
  static_cast<GfxInstance&>(*part) = {beginPart, processPart, endPart};
  part->streamOps.destroy = destroyStream;
  fake().parts.push_back(part);
  ++fake().alive;
  part->name.append("#").append(std::to_string(fake().parts.size()));
  fake().calls.back() += " -> " + part->name;
  return part.get();
}

template <class... Arguments>
GfxInstance* makeWriter(const char* function, Arguments... arguments) {
  Part* const writer = make(function, arguments...);
  if (writer) writer->writes = true;
  return writer;
}

template <class... Arguments>
GfxInstance* wrap(const char* function, GfxInstance* source, Arguments... arguments) {
  Part* const wrapper = make(function, source, arguments...);
  if (!wrapper) return nullptr;
  wrapper->source = &inUse(source);
  EXPECT_EQ(wrapper->source->state, Part::Made) << wrapper->source->name;
  wrapper->source->isWrapped = true;
  return wrapper;
}

RleStream* opened(Bytes content, Part* part) {
  if (!part) return nullptr;
  fake().opened.push_back(std::move(content));
  return &part->stream;
}

}  // namespace
}  // namespace rle::test

using namespace rle::test;

extern "C" {

int32_t HueInit() { return failing(__func__) ? 0 : 1; }

RleStream* xioCreateMemoryStream(void* buffer, uint32_t size, int32_t mode) {
  const auto* const bytes = static_cast<const uint8_t*>(buffer);
  return opened({bytes, bytes + size}, make(__func__, size, mode));
}

RleStream* xioCreateFileStreamByName(const char* path, int32_t mode) {
  std::ifstream file(path, std::ios::binary);
  return opened({std::istreambuf_iterator<char>(file), {}},
                make(__func__, std::string(path), mode));
}

GfxImageInfo* gfxGetImageInfo(RleStream* stream) {
  Part* const part = make(__func__, stream);
  if (part == nullptr) return nullptr;
  part->info = fake().info;
  return &part->info;
}

void gfxFreeImageInfo(GfxImageInfo* info) {
  failing(__func__, info);
  release(*partOf(info));
  std::memset(info, 0xEE, sizeof *info);  // nobody may look at it any more
}

GfxInstance* gfxInitReadRaster(RleStream* stream, uint32_t page, int32_t zero, uint32_t height) {
  return make(__func__, stream, page, zero, height);
}
GfxInstance* gfxInitReadG4(RleStream* stream, uint32_t width, uint32_t height, int32_t zero,
                           uint32_t rows, int32_t flag, int32_t options) {
  return make(__func__, stream, width, height, zero, rows, flag, options);
}
GfxInstance* gfxInitReadRawData(RleStream* stream, uint32_t width, uint32_t height, int32_t bits,
                                int32_t colours, int32_t options, int32_t zero, uint32_t rows,
                                uint32_t rowBytes, uint32_t size) {
  return make(__func__, stream, width, height, bits, colours, options, zero, rows, rowBytes, size);
}

GfxInstance* gfxInitColorSpaceConverter(GfxInstance* source, int32_t colours, int32_t one) {
  return wrap(__func__, source, colours, one);
}
GfxInstance* gfxInitRotate(GfxInstance* source, int32_t degrees) {
  return wrap(__func__, source, degrees);
}
GfxInstance* gfxInitMaxScaleWidth(GfxInstance* source, uint32_t width) {
  return wrap(__func__, source, width);
}
GfxInstance* gfxInitMaxScaleHeight(GfxInstance* source, uint32_t height) {
  return wrap(__func__, source, height);
}
GfxInstance* gfxInitMinScaleWidth(GfxInstance* source, uint32_t width) {
  return wrap(__func__, source, width);
}
GfxInstance* gfxInitMinScaleHeight(GfxInstance* source, uint32_t height) {
  return wrap(__func__, source, height);
}

GfxInstance* gfxInitWriteRaster(RleStream* stream, int32_t format) {
  return makeWriter(__func__, stream, format);
}
GfxInstance* gfxInitWriteG4(RleStream* stream, int32_t mode) {
  return makeWriter(__func__, stream, mode);
}

}  // extern "C"
