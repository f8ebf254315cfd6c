// Round caps and joins of thick lines.

#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "draw/line_style.h"
#include "model/owners.h"
#include "rle.h"

namespace rle {

using OwnedDPoints = std::unique_ptr<RleDPoint[], FreeWith<std::free>>;

// A part of an ellipse. Angles are in radians, those of atan2(-dy, dx) with y downwards.
struct RleArcSpec {
  double x, y;           // top left corner of the box around the ellipse
  double width, height;  // of the box
  double start;
  double sweep;
};

// Fills the piece between arc and chord of the circle of the line's width around v, from the
// direction of f to that of t. `p` is the neighbour of v in the line; where it is v itself the
// piece is half the circle.
void fatArc(const RleLineStyle& style, const RleDPoint& v, const RleDPoint& p, const RleDPoint& f,
            const RleDPoint& t);

// Writes the vertices of an arc to `list`, from index `reserved` on, and returns their number; 0
// when there is no ellipse or memory has run out. The list is resized to hold them.
int32_t fatArcPolygon(const RleArcSpec& spec, int32_t reserved, OwnedDPoints& list);

}  // namespace rle
