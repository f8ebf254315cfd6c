#include "raster/fake_pipeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>

#include "support/byte_stream.h"

namespace rle::test {

// Something made here: an instance, a stream or an info record.
struct FakePipeline::Part : GfxInstance {
  explicit Part(std::string partName) : GfxInstance{}, name(std::move(partName)) {}

  std::string name;
  bool writes = false;
  bool owned = false;  // by a wrapper, which is the one to be used from then on
  Part* source = nullptr;
  enum { Made, Begun, Failed, Ended } state = Made;
  size_t rowBytes = 0;
  uint32_t rowsLeft = 0;
  std::unique_ptr<ByteStream> stream;
  GfxImageInfo info{};
};

FakePipeline::FakePipeline() = default;
FakePipeline::FakePipeline(FakePipeline&&) noexcept = default;
FakePipeline& FakePipeline::operator=(FakePipeline&&) noexcept = default;
FakePipeline::~FakePipeline() = default;

void FakePipeline::deliver(uint32_t width, std::vector<Bytes> bytes, uint32_t format) {
  delivered = {width, uint32_t(bytes.size()), format, 0, 0, nullptr};
  rows = std::move(bytes);
}

FakePipeline& fake() {
  static FakePipeline pipeline;
  return pipeline;
}

namespace {

using Part = FakePipeline::Part;

std::string text(const std::string& value) { return value; }
std::string text(int32_t value) { return std::to_string(value); }
std::string text(uint32_t value) { return std::to_string(value); }

std::string text(const RleStream* stream) {
  const auto found = fake().names.find(stream);
  return found == fake().names.end() ? "stream" : found->second;
}

std::string text(const GfxInstance* instance) {
  return instance == nullptr ? "null" : static_cast<const Part*>(instance)->name;
}

std::string text(const GfxImageDesc& description) {
  char format[16];
  std::snprintf(format, sizeof format, "0x%X", description.format);
  const std::string words = text(description.width) + " " + text(description.height) + " " +
                            format + " " + text(description.zero3) + " " + text(description.zero4);
  const GfxOutputParams* const p = description.parameters;
  if (p == nullptr) return words + " null";
  return words + " {" + text(p->xResolution) + " " + text(p->yResolution) + " " +
         text(p->compression) + " " + text(p->zero) + "}";
}

std::string text(const uint8_t* row, size_t bytes) {
  std::string hex = "[";
  char digits[4];
  for (size_t i = 0; i < std::min<size_t>(bytes, 8); ++i) {
    std::snprintf(digits, sizeof digits, "%02X", row[i]);
    hex += digits;
  }
  return hex + "]";
}

// Puts a call on the list; true when it has to fail.
template <class... Arguments>
bool failing(const char* name, const Arguments&... arguments) {
  std::string call = name;
  (call.append(" ").append(text(arguments)), ...);
  fake().calls.push_back(call);
  return int64_t(fake().calls.size()) - 1 == fake().failAt;
}

int32_t status(bool failed) {
  if (failed) fake().calls.back() += " -> 0";
  return failed ? 0 : 1;
}

// What the call on top of the list made; null when it fails.
Part* made(bool failed) {
  fake().calls.back() += " -> ";
  if (failed) {
    fake().calls.back() += "null";
    return nullptr;
  }
  auto part =
      std::make_unique<Part>(std::string("#").append(text(uint32_t(fake().parts.size() + 1))));
  fake().calls.back() += part->name;
  ++fake().alive;
  fake().parts.push_back(std::move(part));
  return fake().parts.back().get();
}

// ---- Instances

// The instance, when it may be used at all.
Part& inUse(GfxInstance* self) {
  Part& part = *static_cast<Part*>(self);
  EXPECT_FALSE(part.owned) << part.name << " is wrapped";
  EXPECT_NE(part.state, Part::Ended) << part.name;
  return part;
}

int32_t beginPart(GfxInstance* self, GfxImageDesc* description) {
  Part& part = inUse(self);
  EXPECT_EQ(part.state, Part::Made) << part.name;
  const bool failed =
      part.writes ? failing("begin", self, text(*description)) : failing("begin", self);
  if (!part.writes && !failed) *description = fake().delivered;
  part.state = failed ? Part::Failed : Part::Begun;
  if (!failed) {
    const auto bits = int16_t(description->format >> 16);
    part.rowBytes = (size_t{description->width} * size_t(bits) + 7) / 8;
    part.rowsLeft = description->height;
  }
  return status(failed);
}

int32_t processPart(GfxInstance* self, uint8_t* row) {
  Part& part = inUse(self);
  EXPECT_EQ(part.state, Part::Begun) << part.name;
  EXPECT_GT(part.rowsLeft, 0U) << part.name;
  const bool failed = failing("process", self, text(row, part.rowBytes));
  if (failed || part.rowsLeft == 0) {
    part.state = Part::Failed;
    return status(true);
  }
  if (part.writes) {
    fake().written.emplace_back(row, row + part.rowBytes);
  } else {
    const size_t number = fake().delivered.height - part.rowsLeft;
    if (number < fake().rows.size()) {
      const Bytes& bytes = fake().rows[number];
      std::copy_n(bytes.begin(), std::min(bytes.size(), part.rowBytes), row);
    }
  }
  --part.rowsLeft;
  return status(false);
}

int32_t endPart(GfxInstance* self) {
  const bool failed = failing("end", self);
  for (Part* part = &inUse(self); part != nullptr; part = part->source) {
    part->state = Part::Ended;
    --fake().alive;
  }
  return status(failed);
}

GfxInstance* instance(bool failed, bool writes = false) {
  Part* const part = made(failed);
  if (part == nullptr) return nullptr;
  part->begin = beginPart;
  part->process = processPart;
  part->end = endPart;
  part->writes = writes;
  return part;
}

GfxInstance* wrapper(bool failed, GfxInstance* source) {
  GfxInstance* const made = instance(failed);
  if (made == nullptr) return nullptr;
  Part& inner = inUse(source);
  EXPECT_EQ(inner.state, Part::Made) << inner.name;
  static_cast<Part*>(made)->source = &inner;
  inner.owned = true;
  return made;
}

// ---- Streams

int32_t destroyStream(RleStream* self) {
  const bool failed = failing("destroy", self);
  for (const auto& part : fake().parts)
    if (part->stream.get() == self) {
      EXPECT_NE(part->state, Part::Ended) << part->name;
      part->state = Part::Ended;
      --fake().alive;
    }
  if (failed) fake().calls.back() += " -> 1";
  return failed ? 1 : 0;
}

RleStream* stream(bool failed, Bytes content) {
  Part* const part = made(failed);
  if (part == nullptr) return nullptr;
  part->stream = std::make_unique<ByteStream>(std::move(content));
  static const RleStreamOps kOps = [](RleStreamOps ops) {
    ops.destroy = destroyStream;
    return ops;
  }(*part->stream->ops);
  part->stream->ops = &kOps;
  fake().names[part->stream.get()] = part->name;
  return part->stream.get();
}

}  // namespace
}  // namespace rle::test

using rle::test::failing;
using rle::test::instance;
using rle::test::wrapper;

extern "C" {

int32_t HueInit() { return rle::test::status(failing("HueInit")); }

RleStream* xioCreateMemoryStream(void* buffer, uint32_t size, int32_t mode) {
  const auto* const bytes = static_cast<const uint8_t*>(buffer);
  return rle::test::stream(failing("xioCreateMemoryStream", size, mode), {bytes, bytes + size});
}

RleStream* xioCreateFileStreamByName(const char* path, int32_t mode) {
  std::ifstream file(path, std::ios::binary);
  return rle::test::stream(failing("xioCreateFileStreamByName", std::string(path), mode),
                           {std::istreambuf_iterator<char>(file), {}});
}

GfxImageInfo* gfxGetImageInfo(RleStream* stream) {
  rle::test::Part* const part = rle::test::made(failing("gfxGetImageInfo", stream));
  if (part == nullptr) return nullptr;
  part->info = rle::test::fake().info;
  return &part->info;
}

void gfxFreeImageInfo(GfxImageInfo* info) {
  for (const auto& part : rle::test::fake().parts)
    if (&part->info == info) {
      failing("gfxFreeImageInfo", part->name);
      EXPECT_NE(part->state, rle::test::Part::Ended) << part->name;
      part->state = rle::test::Part::Ended;
      --rle::test::fake().alive;
      std::memset(info, 0xEE, sizeof *info);  // nobody may look at it any more
    }
}

GfxInstance* gfxInitReadRaster(RleStream* stream, uint32_t page, int32_t zero, uint32_t height) {
  return instance(failing("gfxInitReadRaster", stream, page, zero, height));
}

GfxInstance* gfxInitReadG4(RleStream* stream, uint32_t width, uint32_t height, int32_t zero,
                           uint32_t rows, int32_t flag, int32_t options) {
  return instance(failing("gfxInitReadG4", stream, width, height, zero, rows, flag, options));
}

GfxInstance* gfxInitReadRawData(RleStream* stream, uint32_t width, uint32_t height,
                                int32_t bitsPerPixel, int32_t colourType, int32_t options,
                                int32_t zero, uint32_t rows, uint32_t rowBytes, uint32_t dataSize) {
  return instance(failing("gfxInitReadRawData", stream, width, height, bitsPerPixel, colourType,
                          options, zero, rows, rowBytes, dataSize));
}

GfxInstance* gfxInitColorSpaceConverter(GfxInstance* source, int32_t colourType, int32_t one) {
  return wrapper(failing("gfxInitColorSpaceConverter", source, colourType, one), source);
}

GfxInstance* gfxInitRotate(GfxInstance* source, int32_t degrees) {
  return wrapper(failing("gfxInitRotate", source, degrees), source);
}

GfxInstance* gfxInitMaxScaleWidth(GfxInstance* source, uint32_t width) {
  return wrapper(failing("gfxInitMaxScaleWidth", source, width), source);
}

GfxInstance* gfxInitMaxScaleHeight(GfxInstance* source, uint32_t height) {
  return wrapper(failing("gfxInitMaxScaleHeight", source, height), source);
}

GfxInstance* gfxInitMinScaleWidth(GfxInstance* source, uint32_t width) {
  return wrapper(failing("gfxInitMinScaleWidth", source, width), source);
}

GfxInstance* gfxInitMinScaleHeight(GfxInstance* source, uint32_t height) {
  return wrapper(failing("gfxInitMinScaleHeight", source, height), source);
}

GfxInstance* gfxInitWriteRaster(RleStream* stream, int32_t format) {
  return instance(failing("gfxInitWriteRaster", stream, format), true);
}

GfxInstance* gfxInitWriteG4(RleStream* stream, int32_t mode) {
  return instance(failing("gfxInitWriteG4", stream, mode), true);
}

}  // extern "C"
