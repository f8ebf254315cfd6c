// A stand-in for the three sibling libraries. Its functions have their names, so a program that
// contains it uses them instead. It keeps a list of all calls, delivers rows that a test wrote
// down, collects those that come back, and can be told to let any call fail.
//
// A call is a line of text. Instances and streams made here are #1, #2 and so on; a description is
// its width, height, format, two zeros and the output parameters:
//
//     gfxInitReadRaster in 0 0 2 -> #1          constructors name what they made
//     gfxInitRotate #1 90 -> #2
//     begin #2
//     gfxInitWriteRaster out 0 -> #3
//     begin #3 16 2 0x10004 0 0 {200 200 256 0}
//     process #2 [0000]                         the row buffer as a reader finds it,
//     process #3 [0FF0]                         and as a writer gets it; at most 8 bytes
//     end #2
//
// Misuse is a test failure: an operation on an instance that is wrapped or ended, a row after a
// failure, a row too many.

#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "gfx.h"
#include "hue.h"
#include "support/byte_stream.h"
#include "xio.h"

namespace rle::test {

using Bytes = std::vector<uint8_t>;
using Calls = std::vector<std::string>;

struct FakePipeline {
  // What is delivered. The outermost instance of a reader's chain says `delivered` and hands out
  // `rows`, so a test writes down what the wrappers made of the image.
  GfxImageInfo info{};
  GfxImageDesc delivered{};
  std::vector<Bytes> rows;
  // For the streams of the application, by the names that the list of calls gives them.
  std::map<const void*, std::string> names;
  // The call with this number, from 0, fails: null, 0, or not 0 from a stream's destroy.
  int64_t failAt = -1;

  // What was asked for.
  Calls calls;
  std::vector<Bytes> opened;   // what is in the streams made here
  std::vector<Bytes> written;  // rows that writers got
  int64_t alive = 0;           // instances, info records and streams that are not released

  // The row `bytes` of an image of `width` bilevel pixels, once per row.
  void deliver(uint32_t width, std::vector<Bytes> bytes, uint32_t format = GFX_FORMAT(1, 4)) {
    delivered = {width, uint32_t(bytes.size()), format, 0, 0, nullptr};
    rows = std::move(bytes);
  }

  struct Part;
  std::vector<std::shared_ptr<Part>> parts;  // all that was ever made, ended or not
};

// The one that the functions use; a test begins with `fake() = {}`.
FakePipeline& fake();

// A stream of the application.
struct NamedStream : ByteStream {
  explicit NamedStream(const std::string& name, Bytes content = {})
      : ByteStream(std::move(content)) {
    fake().names[this] = name;
  }
};

enum class Ends { Count, DoNotCount };  // whether the action looks at what end answers

// Runs an action over a fake that `script` sets up, and expects these calls and a yes. Then fails
// each call in turn: the answer is no, nothing follows but what releases, and nothing is left.
void failCallsInTurn(const std::function<void(FakePipeline&)>& script,
                     const std::function<bool()>& action, const Calls& expected, Ends ends);

}  // namespace rle::test
