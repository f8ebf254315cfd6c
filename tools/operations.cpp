// The operations on pages: their table, and what more than one of them needs.
//
// An operation is parsed before any file is read, so that a mistyped command line costs nothing;
// what depends on the page, as whether a rectangle touches it, is found when it is applied.

#include "operations.h"

#include <algorithm>

#include "failure.h"
#include "operation_parsers.h"

namespace rle {

std::string sizeOf(const RleRect& page) {
  return std::to_string(page.width) + " x " + std::to_string(page.height) + " pixels";
}

bool touches(const RleRect& page, const Rectangle& area) {
  uint16_t x1, y1, x2, y2;
  return rleIntersectRect(page.width, page.height, area.x1, area.y1, area.x2, area.y2, &x1, &y1,
                          &x2, &y2) != 0;
}

Rectangle bounds(std::span<const RlePoint> vertices) {
  Rectangle area{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
  for (const RlePoint& vertex : vertices)
    area = {std::min(area.x1, vertex.x), std::min(area.y1, vertex.y), std::max(area.x2, vertex.x),
            std::max(area.y2, vertex.y)};
  return area;
}

std::string misses(const char* shape, const RleRect& page) {
  return std::string("the ") + shape + " misses the page of " + sizeOf(page);
}

int32_t parse::layMode(const std::string& field) {
  constexpr const char* kModes[] = {"replace", "set", "clear"};
  for (int32_t mode = 0; mode < 3; ++mode)
    if (field == std::to_string(mode)) return mode;
  return choice(field, kModes, "mode");
}

namespace {

constexpr OperationOption kOptions[] = {
    {"--blank", "X1,Y1,X2,Y2", "Make a rectangle white", parse::blank},
    {"--fill", "X1,Y1,X2,Y2", "Make a rectangle black", parse::fill},
    {"--polygon", "\"X,Y X,Y ...[;rule=R][;colour=C]\"",
     "Fill a polygon: R is evenodd or nonzero, evenodd if not given; C is 1, black, or 0, white, "
     "1 if not given",
     parse::polygon},
    {"--pattern", "TILE,X1,Y1,X2,Y2,MODE",
     "Lay the page in file TILE over a rectangle as a repeating tile, which starts at column 0 of "
     "the page and at the rectangle's first row",
     parse::pattern},
    {"--line", "\"X,Y X,Y ...[;width=W][;cap=K][;join=J][;colour=C][;dash=ON,OFF,...[;offset=N]]\"",
     "Draw a line W pixels wide, 1 if not given, which is closed when it ends where it begins: K "
     "is "
     "butt, round or square; J is mitre, round or bevel; C is 1, black, or 0, white; if not given "
     "they are butt, mitre and 1. Dashes and gaps follow each other in steps of a pixel along "
     "whichever axis a segment is longer on, and N steps of them lie before the line's start",
     parse::line},
    {"--frame", "N", "Draw a black frame N pixels thick along the edges", parse::frame},
    {"--crop", "X1,Y1,X2,Y2",
     "Keep only a rectangle, which becomes the page; what of it lies outside is white",
     parse::crop},
    {"--component", "X,Y",
     "Keep only the black pixels that connect to this one, cropped to them; pixels that touch at a "
     "corner connect",
     parse::component},
    {"--merge", "FILE,X,Y,MODE", "Lay the page in FILE with its top left corner at column X, row Y",
     parse::merge},
    {"--mask", "FILE", "Keep black only what is black in FILE too, a page of the same size",
     parse::mask},
    {"--mirror", "x|y",
     "Flip the page: x top to bottom (about the horizontal axis), y left to right", parse::mirror},
    {"--turn", "N", "Turn the page by N quarters counter-clockwise, clockwise where N is negative",
     parse::turn},
    {"--rotate", "DEGREES",
     "Turn the page counter-clockwise by any angle; the new page just holds it", parse::rotate},
    {"--scale", "F[,point|nearest|min]",
     "Scale the page by a decimal factor: point picks rows and rounds down, as is done if nothing "
     "is named, nearest rounds to the nearest, min keeps every thin stroke",
     parse::scale},
    {"--dpi", "N", "Scale the page from its own resolution to N dots per inch", parse::dpi},
    {"--set-dpi", "N", "State another resolution; no pixel changes", parse::setDpi},
};

}  // namespace

std::span<const OperationOption> operationOptions() { return kOptions; }

}  // namespace rle
