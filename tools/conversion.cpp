// There are two ways through. A black-and-white page is held as runs, edited and written. A grey or
// coloured page that is only turned and scaled goes through the raster pipeline row by row and
// keeps its colours; everything else makes it black and white first.

#include "conversion.h"

#include "failure.h"
#include "formats.h"
#include "gfx.h"
#include "new_file.h"
#include "operation_parsers.h"
#include "page_file.h"
#include "xio.h"

namespace rle {
namespace {

// What the pipeline can do to a page: turn it by quarters and scale it.
struct Reshaping {
  int32_t turns = 0;
  double factor = 1;
  int32_t method = 0;  // 0 picks pixels, 1 averages them
};

// The steps as a reshaping; nothing where they do more than that.
std::optional<Reshaping> reshaping(const std::vector<Step>& steps) {
  Reshaping all;
  bool scaled = false;
  for (const Step& step : steps) {
    if (step.option == "--turn") {
      all.turns = (all.turns + int32_t(parse::quarterTurns(step.value))) % 4;
    } else if (step.option == "--scale" && !scaled) {
      const auto [factor, manner] = parse::scaling(step.value);
      if (manner == Scaling::Manner::nearest) return std::nullopt;
      all.factor = factor;
      all.method = manner == Scaling::Manner::min ? 1 : 0;
      scaled = true;
    } else {
      return std::nullopt;
    }
  }
  return all;
}

// What happens to a grey or coloured page that stays so; nothing where it cannot.
std::optional<Reshaping> colourReshaping(const Conversion& conversion, const std::string& out) {
  if (isBilevelFile(conversion.format, out) || conversion.compression != kAnyCompression)
    return std::nullopt;
  return reshaping(conversion.steps);
}

// The pipeline makes an image larger after it has turned it, and to the size that it would have
// unturned. Where that matters it is made larger first, in memory.
bool reshape(RleStream& in, RleStream& out, int32_t format, const Reshaping& shape) {
  if (shape.turns % 2 == 0 || shape.factor <= 1)
    return rleConvFromRasterToRaster(&in, &out, format, shape.turns, shape.factor, shape.method) ==
           1;
  const OwnedStream larger(xioCreateMemoryStream(nullptr, 0, XIO_WRITE));
  return larger && reshape(in, *larger, GFX_TIFF, {0, shape.factor, shape.method}) &&
         larger->ops->seek(larger.get(), 0, 0) == 0 &&
         reshape(*larger, out, format, {shape.turns, 1, shape.method});
}

void convertColours(const Reshaping& shape, int32_t format, const std::string& in, InputFile& file,
                    const std::string& out) {
  writeNewFile(out, [&](RleStream& stream) -> std::string {
    if (reshape(file.stream(), stream, format, shape)) return "";
    std::string reason = pipelineReason("cannot be converted");
    if (stream.ops->hasError(&stream) == 0) throw Failure(in, reason);
    return reason;
  });
}

void convertRuns(const Conversion& conversion, const std::string& in, OwnedRect page,
                 const std::string& out) {
  for (const Step& step : conversion.steps) {
    const std::string reason = step.apply(page);
    if (!reason.empty()) throw Failure(in, step.option + " " + step.value + ": " + reason);
  }
  writePageFile(out, *page, conversion.format, conversion.compression);
}

}  // namespace

std::string convertFile(const Conversion& conversion, const std::string& in,
                        const std::string& out) {
  if (conversion.group4) {
    const auto [width, height, resolution] = *conversion.group4;
    convertRuns(conversion, in, readGroup4Data(in, width, height, resolution), out);
    return "";
  }
  InputFile file(in);
  const auto shape = file.facts().bilevel ? std::nullopt : colourReshaping(conversion, out);
  if (shape)
    convertColours(*shape, conversion.format, in, file, out);
  else
    convertRuns(conversion, in, file.readPage(), out);
  if (file.facts().pages <= 1) return "";
  return in + ": has " + std::to_string(file.facts().pages) +
         " pages, of which the first is converted";
}

}  // namespace rle
