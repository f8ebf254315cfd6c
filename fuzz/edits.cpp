// A script of span edits, region operations and painting, done to an image and to its pixels.

#include "input.h"

using namespace rle::fuzz;

namespace {

enum class Ink { Keep, White, Black };

// The image, and a second one that takes part in what is done to it.
struct Page {
  Pixels pixels;
  rle::OwnedRect rect;

  explicit Page(Pixels content) : pixels(std::move(content)), rect(pixels.toRect()) {}
  bool isSound() const { return isValid(rect) && Pixels(rect.get()) == pixels; }
};

struct Area {
  int x1, y1, x2, y2;
};

class Script {
 public:
  explicit Script(Input& input)
      : input_(input), page_(pixelsFrom(input, 130, 20)), other_(pixelsFrom(input, 90, 14)) {}

  void step();

 private:
  bool isBlankSize() const { return page_.pixels.width == 0 || page_.pixels.height == 0; }
  int column() { return input_.range(0, page_.pixels.width - 1); }
  int row() { return input_.range(0, page_.pixels.height - 1); }
  Area inside() {
    const int x1 = column(), y1 = row();
    return {x1, y1, input_.range(x1, page_.pixels.width - 1),
            input_.range(y1, page_.pixels.height - 1)};
  }
  RlePoint corner() { return {input_.anyInt(140), input_.anyInt(30)}; }

  // Calls ink(x, y) for every pixel of the page inside the area and does as it says.
  template <class InkAt>
  void paint(const Area& area, InkAt ink) {
    for (int y = std::max(area.y1, 0); y <= std::min(area.y2, page_.pixels.height - 1); ++y)
      for (int x = std::max(area.x1, 0); x <= std::min(area.x2, page_.pixels.width - 1); ++x)
        if (const Ink now = ink(x, y); now != Ink::Keep) page_.pixels.put(x, y, now == Ink::Black);
  }

  // What a black or white pixel of a source or tile does in a mode.
  static Ink inkOf(bool black, bool replaces, bool clears) {
    if (replaces) return black ? Ink::Black : Ink::White;
    if (!black) return Ink::Keep;
    return clears ? Ink::White : Ink::Black;
  }

  // The tile is `other_`, its row 0 on row `top` of the page.
  Ink tileInk(int x, int y, int top, int mode) const {
    const Pixels& tile = other_.pixels;
    if (tile.width == 0 || tile.height == 0) return Ink::Keep;
    return inkOf(tile.get(x % tile.width, (y - top) % tile.height), mode != 1 && mode != 2,
                 mode == 2);
  }

  // What colour, pattern and mode together do.
  Ink paintInk(int x, int y, int top, int colour, bool patterned, int mode) const {
    if (colour == -1 && patterned) return tileInk(x, y, top, mode);
    return (mode == 2 && colour == 1) || (mode == 1 && colour == 0) ? Ink::White : Ink::Black;
  }

  void editSpans();
  void mergeRun();
  void copyOrCut();
  void copyOrCutLine();
  void merge();
  void mergeRegion();
  void mask();
  void layPattern();
  void fill();
  void fillSpans();

  Input& input_;
  Page page_;
  Page other_;
};

void Script::editSpans() {
  Area a = inside();
  const bool set = input_.flag(), band = input_.flag();
  if (!band) a.y2 = a.y1;
  const int x1 = input_.upper16(a.x1), x2 = input_.upper16(a.x2);
  RleRect* const rect = page_.rect.get();
  if (band)
    (set ? rleSetRect : rleClearRect)(rect, x1, a.y1, x2, a.y2);
  else
    (set ? rleSetLine : rleClearLine)(rect->rows[a.y1], x1, x2);
  paint(a, [&](int, int) { return set ? Ink::Black : Ink::White; });
}

void Script::mergeRun() {
  const Pixels& source = other_.pixels;
  if (source.width == 0 || source.height == 0) return;
  const int y = row(), sy = input_.range(0, source.height - 1), dx = column();
  const int sx1 = input_.range(0, source.width - 1);
  const int most = std::min(source.width - 1, sx1 + page_.pixels.width - 1 - dx);
  const int sx2 = input_.range(sx1, most);
  const bool set = input_.flag();
  rleMergeLineRun(page_.rect->rows[y], other_.rect->rows[sy], dx, sx1, sx2, set ? 3 : 0);
  paint({dx, y, dx + sx2 - sx1, y},
        [&](int x, int) { return inkOf(source.get(sx1 + x - dx, sy), false, !set); });
}

void Script::copyOrCut() {
  const int x1 = input_.range(-140, 140), y1 = input_.range(-30, 30);
  const int x2 = x1 + input_.range(0, 200), y2 = y1 + input_.range(0, 40);
  const bool cut = input_.flag();
  const Page piece = [&] {
    Page made(Pixels(x2 - x1 + 1, y2 - y1 + 1));
    made.rect.reset((cut ? rleCutRect : rleCopyRect)(page_.rect.get(), x1, y1, x2, y2));
    for (int y = 0; y < made.pixels.height; ++y)
      for (int x = 0; x < made.pixels.width; ++x)
        made.pixels.put(x, y, page_.pixels.get(x1 + x, y1 + y));
    return made;
  }();
  expect(piece.isSound());
  if (cut) paint({x1, y1, x2, y2}, [](int, int) { return Ink::White; });
}

void Script::copyOrCutLine() {
  const Area a = inside();
  const bool cut = input_.flag();
  const rle::OwnedLine piece((cut ? rleCutLine : rleCopyLine)(page_.rect->rows[a.y1], a.x1, a.x2));
  expect(piece && rleCheckLine(piece.get(), a.x2 - a.x1 + 1) == 1);
  Pixels row(a.x2 - a.x1 + 1, 1), expected = row;
  for (int x = 0; x < row.width; ++x) expected.put(x, 0, page_.pixels.get(a.x1 + x, a.y1));
  for (int i = 0; i < piece->count; ++i)
    for (int x = piece->runs[i].start; x < piece->runs[i].end; ++x) row.put(x, 0, true);
  expect(row == expected);
  if (cut) paint({a.x1, a.y1, a.x2, a.y1}, [](int, int) { return Ink::White; });
}

bool overlaps(const Pixels& page, RlePoint at, const Pixels& source) {
  return page.width > 0 && page.height > 0 && source.width > 0 && source.height > 0 &&
         at.x < page.width && at.y < page.height && int64_t{at.x} + source.width > 0 &&
         int64_t{at.y} + source.height > 0;
}

void Script::merge() {
  const RlePoint at = corner();
  const int mode = input_.range(-1, 3);
  const bool overlap = overlaps(page_.pixels, at, other_.pixels);
  expect(rleMergeRect(page_.rect.get(), at.x, at.y, other_.rect.get(), mode) == (overlap ? 1 : 0));
  if (!overlap || mode < 0 || mode > 2) return;
  const Pixels& source = other_.pixels;
  paint({at.x, at.y, at.x + source.width - 1, at.y + source.height - 1},
        [&](int x, int y) { return inkOf(source.get(x - at.x, y - at.y), mode == 0, mode == 2); });
}

void Script::mergeRegion() {
  const RlePoint at = corner();
  const int mode = input_.range(0, 2);
  const Page image(pixelsFrom(input_, 60, 10));
  RlePoly region{};  // which only borrows
  const bool masked = input_.flag(), imaged = input_.flag();
  Page mask(Pixels(image.pixels.width, image.pixels.height));
  for (int y = 0; y < mask.pixels.height; ++y) {
    const int x1 = input_.byte(), x2 = input_.byte();
    for (int x = x1; x < std::min(x2, mask.pixels.width); ++x) mask.pixels.put(x, y, true);
  }
  mask = Page(mask.pixels);
  if (masked) region.mask = mask.rect.get();
  if (imaged) region.image = image.rect.get();
  const bool acts = overlaps(page_.pixels, at, image.pixels) && (imaged || (masked && mode == 0));
  expect(rleMergePoly(page_.rect.get(), at.x, at.y, &region, mode) == (acts ? 1 : 0));
  if (!acts) return;
  const Pixels& source = image.pixels;
  paint({at.x, at.y, at.x + source.width - 1, at.y + source.height - 1}, [&](int x, int y) {
    const bool black = imaged && source.get(x - at.x, y - at.y);
    if (mode != 0 || !masked) return inkOf(black, mode == 0, mode == 2);
    if (black) return Ink::Black;
    return mask.pixels.get(x - at.x, y - at.y) ? Ink::White : Ink::Keep;
  });
}

void Script::mask() {
  const int mode = input_.range(0, 2);
  rleMaskRect(page_.rect.get(), other_.rect.get(), mode);
  paint({0, 0, INT_MAX, other_.pixels.height - 1}, [&](int x, int y) {
    if (other_.pixels.get(x, y)) return Ink::Keep;
    return mode == 0 ? Ink::White : Ink::Black;
  });
}

void Script::layPattern() {
  Area a = inside();
  const int mode = input_.range(-1, 4);
  if (input_.flag()) {
    rlePatternRect(page_.rect.get(), a.x1, a.y1, a.x2, a.y2, other_.rect.get(), mode);
    paint(a, [&](int x, int y) { return tileInk(x, y, a.y1, mode); });
    return;
  }
  const int row = input_.range(0, 65535);
  rlePatternLine(page_.rect->rows[a.y1], a.x1, input_.upper16(a.x2), row, other_.rect.get(), mode);
  a.y2 = a.y1;
  paint(a, [&](int x, int y) { return tileInk(x, y + row, y, mode); });
}

void Script::fill() {
  const RlePoint first = corner(), last = corner();
  const int colour = input_.range(-1, 2), mode = input_.range(-1, 3);
  const bool patterned = input_.flag();
  rleFillRect(page_.rect.get(), first.x, first.y, last.x, last.y, colour,
              patterned ? other_.rect.get() : nullptr, mode);
  paint({first.x, first.y, last.x, last.y}, [&](int x, int y) {
    return paintInk(x, y, std::max(first.y, 0), colour, patterned, mode);
  });
}

void Script::fillSpans() {
  std::vector<RlePoint> points(size_t(input_.range(0, 8)));
  std::vector<int32_t> widths(points.size());
  const int colour = input_.range(-1, 2), mode = input_.range(-1, 3);
  const bool patterned = input_.flag();
  for (size_t i = 0; i < points.size(); ++i) {
    points[i] = {input_.anyInt(140), input_.range(-2, 22)};
    widths[i] = input_.anyInt(100);
  }
  rleFillSpans(page_.rect.get(), int32_t(points.size()), points.data(), widths.data(), colour,
               patterned ? other_.rect.get() : nullptr, mode);
  for (size_t i = 0; i < points.size(); ++i) {
    const int64_t last = int64_t{points[i].x} + widths[i] - 1;
    paint({points[i].x, points[i].y, int(std::clamp<int64_t>(last, INT_MIN, INT_MAX)), points[i].y},
          [&](int x, int y) { return paintInk(x, y, 0, colour, patterned, mode); });
  }
}

void Script::step() {
  using Action = void (Script::*)();
  constexpr Action kInside[] = {&Script::editSpans, &Script::mergeRun, &Script::copyOrCutLine,
                                &Script::layPattern};
  constexpr Action kAnywhere[] = {&Script::copyOrCut, &Script::merge, &Script::mergeRegion,
                                  &Script::mask,      &Script::fill,  &Script::fillSpans};
  const uint8_t code = input_.byte();
  if (code < 96) {
    if (!isBlankSize()) (this->*kInside[code % std::size(kInside)])();
  } else if (code < 224) {
    (this->*kAnywhere[code % std::size(kAnywhere)])();
  } else if (code < 240) {
    other_ = Page(pixelsFrom(input_, 90, 14));
  } else {  // how buffers grow from here on
    rleRunAllocFactor = input_.word16();
    rleRunAllocMinExtra = input_.byte() % 16;
    rleRunAllocMaxExtra = input_.byte();
  }
  expect(page_.isSound() && other_.isSound());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  {
    Script script(input);
    for (int steps = 0; steps < 60 && !input.empty(); ++steps) script.step();
  }
  rleRunAllocFactor = 6553;
  rleRunAllocMinExtra = 4;
  rleRunAllocMaxExtra = 40;
  return 0;
}
