// The operations on pages.
//
// An operation is parsed before any file is read, so that a mistyped command line costs nothing;
// what depends on the page, as whether a rectangle touches it, is found when it is applied.

#include "operations.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <vector>

#include "failure.h"
#include "page_file.h"

namespace rle {
namespace {

constexpr int64_t kMaxSide = 65535;
constexpr int32_t kBlack = 1;
constexpr int32_t kWhite = 0;
constexpr int32_t kByPattern = -1;
constexpr int32_t kPaint = 1;      // the paint mode in which a colour is what it says
constexpr int32_t kKeepBlack = 0;  // the mask mode in which only what the mask has stays

struct Rectangle {
  int32_t x1, y1, x2, y2;  // corners, both included
};

// The last `count` fields between commas. A file name comes first and may have commas of its own.
std::vector<std::string> fields(const std::string& value, size_t count) {
  std::vector<std::string> found;
  size_t end = value.size();
  while (found.size() + 1 < count) {
    const size_t comma = end == 0 ? std::string::npos : value.rfind(',', end - 1);
    if (comma == std::string::npos)
      throw UsageError(std::to_string(count) + " values between commas are wanted");
    found.push_back(value.substr(comma + 1, end - comma - 1));
    end = comma;
  }
  found.push_back(value.substr(0, end));
  std::reverse(found.begin(), found.end());
  return found;
}

int32_t number(const std::string& field, int32_t lowest = INT32_MIN, int32_t highest = INT32_MAX) {
  int32_t value = 0;
  const char* const end = field.data() + field.size();
  const auto [rest, error] = std::from_chars(field.data(), end, value);
  if (error == std::errc::invalid_argument || rest != end)
    throw UsageError("'" + field + "' is not a whole number");
  if (error != std::errc() || value < lowest || value > highest)
    throw UsageError(field + " is out of range, " + std::to_string(lowest) + " to " +
                     std::to_string(highest) + " is allowed");
  return value;
}

Rectangle rectangle(std::span<const std::string> corners) {
  const Rectangle area{number(corners[0]), number(corners[1]), number(corners[2]),
                       number(corners[3])};
  if (area.x1 > area.x2 || area.y1 > area.y2)
    throw UsageError("X1,Y1 must not lie right of or below X2,Y2");
  return area;
}

const std::string& fileName(const std::string& field) {
  if (field.empty()) throw UsageError("the file name is missing");
  return field;
}

// How a second picture is laid on the page; merging and patterns use the same numbers.
int32_t layMode(const std::string& field) {
  constexpr std::string_view kModes[] = {"replace", "set", "clear"};
  for (int32_t mode = 0; mode < 3; ++mode)
    if (field == kModes[mode] || field == std::to_string(mode)) return mode;
  throw UsageError("'" + field + "' is not a mode, replace, set and clear are");
}

std::string sizeOf(const RleRect& page) {
  return std::to_string(page.width) + " x " + std::to_string(page.height) + " pixels";
}

bool touches(const RleRect& page, const Rectangle& area) {
  uint16_t x1, y1, x2, y2;
  return rleIntersectRect(page.width, page.height, area.x1, area.y1, area.x2, area.y2, &x1, &y1,
                          &x2, &y2) != 0;
}

std::string missesPage(const RleRect& page) {
  return "the rectangle misses the page of " + sizeOf(page);
}

Operation paintRectangle(const std::string& value, int32_t colour) {
  const Rectangle area = rectangle(fields(value, 4));
  return [area, colour](OwnedRect& page) -> std::string {
    if (!touches(*page, area)) return missesPage(*page);
    rleFillRect(page.get(), area.x1, area.y1, area.x2, area.y2, colour, nullptr, kPaint);
    return "";
  };
}

Operation blank(const std::string& value) { return paintRectangle(value, kWhite); }

Operation fill(const std::string& value) { return paintRectangle(value, kBlack); }

Operation pattern(const std::string& value) {
  const std::vector<std::string> parts = fields(value, 6);
  const std::string tileFile = fileName(parts[0]);
  const Rectangle area = rectangle(std::span(parts).subspan(1, 4));
  const int32_t mode = layMode(parts[5]);
  return [tileFile, area, mode](OwnedRect& page) -> std::string {
    if (!touches(*page, area)) return missesPage(*page);
    const OwnedRect tile = readPageFile(tileFile).page;
    rleFillRect(page.get(), area.x1, area.y1, area.x2, area.y2, kByPattern, tile.get(), mode);
    return "";
  };
}

// Four bars along the edges; bars that meet in the middle of a small page make it black.
Operation frame(const std::string& value) {
  const int32_t thickness = number(value, 1, kMaxSide);
  return [thickness](OwnedRect& page) -> std::string {
    const int32_t right = page->width - 1;
    const int32_t bottom = page->height - 1;
    const Rectangle bars[] = {{0, 0, right, thickness - 1},
                              {0, bottom - thickness + 1, right, bottom},
                              {0, 0, thickness - 1, bottom},
                              {right - thickness + 1, 0, right, bottom}};
    for (const Rectangle& bar : bars)
      rleFillRect(page.get(), bar.x1, bar.y1, bar.x2, bar.y2, kBlack, nullptr, kPaint);
    return "";
  };
}

Operation crop(const std::string& value) {
  const Rectangle area = rectangle(fields(value, 4));
  if (int64_t{area.x2} - area.x1 >= kMaxSide || int64_t{area.y2} - area.y1 >= kMaxSide)
    throw UsageError("a page is at most 65535 pixels wide and high");
  return [area](OwnedRect& page) -> std::string {
    if (!touches(*page, area)) return missesPage(*page);
    OwnedRect piece(rleCopyRect(page.get(), area.x1, area.y1, area.x2, area.y2));
    if (!piece) return "out of memory";
    page = std::move(piece);
    return "";
  };
}

Operation merge(const std::string& value) {
  const std::vector<std::string> parts = fields(value, 4);
  const std::string file = fileName(parts[0]);
  const int32_t x = number(parts[1]);
  const int32_t y = number(parts[2]);
  const int32_t mode = layMode(parts[3]);
  return [file, x, y, mode](OwnedRect& page) -> std::string {
    const OwnedRect picture = readPageFile(file).page;
    if (!rleMergeRect(page.get(), x, y, picture.get(), mode))
      return "the picture of " + sizeOf(*picture) + " misses the page of " + sizeOf(*page);
    return "";
  };
}

Operation mask(const std::string& value) {
  const std::string file = fileName(value);
  return [file](OwnedRect& page) -> std::string {
    const OwnedRect picture = readPageFile(file).page;
    if (picture->width != page->width || picture->height != page->height)
      return "the mask has " + sizeOf(*picture) + ", the page " + sizeOf(*page);
    rleMaskRect(page.get(), picture.get(), kKeepBlack);
    return "";
  };
}

Operation setDpi(const std::string& value) {
  const int32_t dpi = number(value, 1, 65535);
  return [dpi](OwnedRect& page) -> std::string {
    page->resolution = uint16_t(dpi);
    return "";
  };
}

constexpr OperationOption kOptions[] = {
    {"--blank", "X1,Y1,X2,Y2", "Make a rectangle white", blank},
    {"--fill", "X1,Y1,X2,Y2", "Make a rectangle black", fill},
    {"--pattern", "TILE,X1,Y1,X2,Y2,MODE",
     "Lay the page in file TILE over a rectangle as a repeating tile, which starts at column 0 of "
     "the page and at the rectangle's first row",
     pattern},
    {"--frame", "N", "Draw a black frame N pixels thick along the edges", frame},
    {"--crop", "X1,Y1,X2,Y2",
     "Keep only a rectangle, which becomes the page; what of it lies outside is white", crop},
    {"--merge", "FILE,X,Y,MODE", "Lay the page in FILE with its top left corner at column X, row Y",
     merge},
    {"--mask", "FILE", "Keep black only what is black in FILE too, a page of the same size", mask},
    {"--set-dpi", "N", "State another resolution; no pixel changes", setDpi},
};

}  // namespace

std::span<const OperationOption> operationOptions() { return kOptions; }

}  // namespace rle
