// The operations that paint areas of the page.

#include "failure.h"
#include "operation_parsers.h"
#include "page_file.h"

namespace rle {
namespace {

constexpr int32_t kByPattern = -1;

Operation paintRectangle(const std::string& value, int32_t colour) {
  const Rectangle area = rectangle(fields(value, 4));
  return [area, colour](OwnedRect& page) -> std::string {
    if (!touches(*page, area)) return misses("rectangle", *page);
    rleFillRect(page.get(), area.x1, area.y1, area.x2, area.y2, colour, nullptr, kPaint);
    return "";
  };
}

struct Polygon {
  std::vector<RlePoint> vertices;
  int32_t rule = 0;  // even-odd
  int32_t colour = kBlack;
};

// "rule=..." and "colour=..." behind the vertices.
void readSetting(const std::string& text, Polygon& polygon) {
  constexpr const char* kRules[] = {"evenodd", "nonzero"};
  const auto [name, value] = setting(text);
  if (name == "rule")
    polygon.rule = choice(value, kRules, "rule");
  else if (name == "colour")
    polygon.colour = number(value, kWhite, kBlack);
  else
    throw UsageError("'" + text + "' is neither rule=... nor colour=...");
}

}  // namespace

namespace parse {

Operation blank(const std::string& value) { return paintRectangle(value, kWhite); }

Operation fill(const std::string& value) { return paintRectangle(value, kBlack); }

Operation polygon(const std::string& value) {
  const std::vector<std::string> parts = split(value, ';');
  Polygon shape;
  if (!parts.empty())
    for (const std::string& vertex : split(parts[0], ' ')) shape.vertices.push_back(point(vertex));
  if (shape.vertices.size() < 3) throw UsageError("a polygon has three vertices or more");
  for (size_t i = 1; i < parts.size(); ++i) readSetting(parts[i], shape);
  return [shape](OwnedRect& page) mutable -> std::string {
    if (!touches(*page, bounds(shape.vertices))) return misses("polygon", *page);
    rleFillPolygon(page.get(), int32_t(shape.vertices.size()), shape.vertices.data(), shape.rule,
                   shape.colour, nullptr, kPaint);
    return "";
  };
}

Operation pattern(const std::string& value) {
  const std::vector<std::string> parts = fields(value, 6);
  const std::string tileFile = fileName(parts[0]);
  const Rectangle area = rectangle(std::span(parts).subspan(1, 4));
  const int32_t mode = layMode(parts[5]);
  return [tileFile, area, mode](OwnedRect& page) -> std::string {
    if (!touches(*page, area)) return misses("rectangle", *page);
    const OwnedRect tile = readPageFile(tileFile).page;
    rleFillRect(page.get(), area.x1, area.y1, area.x2, area.y2, kByPattern, tile.get(), mode);
    return "";
  };
}

}  // namespace parse
}  // namespace rle
