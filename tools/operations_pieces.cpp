// The operations that take a piece of the page, or combine it with another page.

#include "component.h"
#include "failure.h"
#include "operation_parsers.h"
#include "page_file.h"

namespace rle {
namespace {

constexpr int32_t kKeepBlack = 0;  // the mask mode in which only what the mask has stays

}  // namespace

namespace parse {

Operation crop(const std::string& value) {
  const Rectangle area = rectangle(fields(value, 4));
  if (int64_t{area.x2} - area.x1 >= kMaxSide || int64_t{area.y2} - area.y1 >= kMaxSide)
    throw UsageError("a page is at most 65535 pixels wide and high");
  return [area](OwnedRect& page) -> std::string {
    if (!touches(*page, area)) return misses("rectangle", *page);
    OwnedRect piece(rleCopyRect(page.get(), area.x1, area.y1, area.x2, area.y2));
    if (!piece) return "out of memory";
    page = std::move(piece);
    return "";
  };
}

Operation component(const std::string& value) {
  const RlePoint seed = pixel(value);
  return [seed](OwnedRect& page) -> std::string {
    Component found = componentAt(*page, seed);
    if (found.picture) page = std::move(found.picture);
    return found.reason;
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

}  // namespace parse
}  // namespace rle
