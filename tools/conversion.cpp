// There are two ways through. A black-and-white page is held as runs, edited and written. A grey or
// coloured page that is only turned and scaled goes through the raster pipeline row by row and
// keeps its colours; everything else makes it black and white first.

#include "conversion.h"

#include <algorithm>

#include "failure.h"
#include "formats.h"
#include "gfx.h"
#include "new_file.h"
#include "page_file.h"
#include "values.h"

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
      all.turns = (all.turns + number(step.value) % 4 + 4) % 4;
    } else if (step.option == "--scale" && !scaled) {
      const size_t comma = step.value.find(',');
      const std::string manner =
          comma == std::string::npos ? "point" : step.value.substr(comma + 1);
      if (manner == "nearest") return std::nullopt;
      all.factor = decimal(step.value.substr(0, comma));
      all.method = manner == "min" ? 1 : 0;
      scaled = true;
    } else {
      return std::nullopt;
    }
  }
  return all;
}

bool keepsColours(const Conversion& conversion, const std::string& out) {
  return !isBilevelFile(conversion.format, out) && conversion.compression == kAnyCompression &&
         reshaping(conversion.steps).has_value();
}

void convertColours(const Conversion& conversion, const std::string& in, InputFile& file,
                    const std::string& out) {
  const Reshaping shape = *reshaping(conversion.steps);
  writeNewFile(out, [&](RleStream& stream) -> std::string {
    if (rleConvFromRasterToRaster(&file.stream(), &stream, conversion.format, shape.turns,
                                  shape.factor, shape.method) == 1)
      return "";
    std::string reason = gfxLastError();
    if (reason.empty()) reason = "cannot be converted";
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
  if (file.facts().bilevel || !keepsColours(conversion, out))
    convertRuns(conversion, in, file.readPage(), out);
  else
    convertColours(conversion, in, file, out);
  if (file.facts().pages <= 1) return "";
  return in + ": has " + std::to_string(file.facts().pages) +
         " pages, of which the first is converted";
}

}  // namespace rle
