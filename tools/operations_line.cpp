// The operations that draw lines.

#include <algorithm>

#include "failure.h"
#include "operation_parsers.h"

namespace rle {
namespace {

constexpr int32_t kButtCap = 1;  // and round and square ones follow
constexpr int32_t kMitreJoin = 0;

struct Line {
  std::vector<RlePoint> vertices;
  int32_t width = 1;
  int32_t cap = kButtCap;
  int32_t join = kMitreJoin;
  int32_t colour = kBlack;
  std::vector<uint8_t> dashes;
  int32_t offset = 0;

  void draw(RleRect& page) {
    rleFatLine(&page, int32_t(vertices.size()), vertices.data(), width, colour, nullptr, cap, join,
               kPaint, int32_t(dashes.size()), dashes.data(), offset);
  }
};

void readSetting(const std::string& text, Line& line) {
  constexpr const char* kCaps[] = {"butt", "round", "square"};
  constexpr const char* kJoins[] = {"mitre", "round", "bevel"};
  const auto [name, value] = setting(text);
  if (name == "width")
    line.width = number(value, 1, kMaxSide);
  else if (name == "cap")
    line.cap = kButtCap + choice(value, kCaps, "cap");
  else if (name == "join")
    line.join = choice(value, kJoins, "join");
  else if (name == "colour")
    line.colour = number(value, kWhite, kBlack);
  else if (name == "offset")
    line.offset = number(value, 0);
  else if (name == "dash") {
    line.dashes.clear();
    const auto lengths = size_t(std::count(value.begin(), value.end(), ',')) + 1;
    for (const std::string& length : fields(value, lengths))
      line.dashes.push_back(uint8_t(number(length, 1, UINT8_MAX)));
  } else {
    throw UsageError("'" + text +
                     "' is none of width=..., cap=..., join=..., colour=..., dash=... and "
                     "offset=...");
  }
}

// All that the line may blacken, and more: the tip of a mitre lies up to 5.3 widths from its
// vertex.
Rectangle reach(const Line& line) {
  const Rectangle area = bounds(line.vertices);
  const int64_t margin = 6 * int64_t{line.width};
  const auto moved = [](int64_t x) {
    return int32_t(std::clamp<int64_t>(x, INT32_MIN, INT32_MAX));
  };
  return {moved(area.x1 - margin), moved(area.y1 - margin), moved(area.x2 + margin),
          moved(area.y2 + margin)};
}

}  // namespace

namespace parse {

Operation line(const std::string& value) {
  const std::vector<std::string> parts = split(value, ';');
  Line shape;
  if (!parts.empty())
    for (const std::string& vertex : split(parts[0], ' ')) shape.vertices.push_back(point(vertex));
  if (shape.vertices.empty()) throw UsageError("a line has one vertex or more");
  for (size_t i = 1; i < parts.size(); ++i) readSetting(parts[i], shape);
  if (shape.offset != 0 && shape.dashes.empty())
    throw UsageError("offset=... is one into dash=...");
  return [shape](OwnedRect& page) mutable -> std::string {
    if (!touches(*page, reach(shape))) return misses("line", *page);
    shape.draw(*page);
    return "";
  };
}

// A line whose outer border is the page's edge:
//
//     |<-- width -->|
//     edge   centre           the column width / 2, and the same counted from where the right and
//     |------|------|--       the lower part of the line begin
//
// Where its inner border would vanish the page becomes black.
Operation frame(const std::string& value) {
  const int32_t thickness = number(value, 1, kMaxSide);
  return [thickness](OwnedRect& page) -> std::string {
    const int32_t width = page->width;
    const int32_t height = page->height;
    if (2 * thickness >= std::min(width, height)) {
      rleFillRect(page.get(), 0, 0, width - 1, height - 1, kBlack, nullptr, kPaint);
      return "";
    }
    const int32_t first = thickness / 2;
    const int32_t right = width - thickness + first;
    const int32_t bottom = height - thickness + first;
    Line line;
    line.vertices = {
        {first, first}, {right, first}, {right, bottom}, {first, bottom}, {first, first}};
    line.width = thickness;
    line.draw(*page);
    return "";
  };
}

}  // namespace parse
}  // namespace rle
