// The outline of thick lines: segments, joins and caps, each filled as a convex piece.
//
// A segment from S to E is widened by half the line's width on either side:
//
//     a-----------------b       with y downwards and S to the left of E this picture is upside
//     S                 E       down: a and b lie below
//     d-----------------c

#pragma once

#include <cstdint>
#include <span>

#include "draw/line_style.h"
#include "rle.h"

namespace rle {

struct FatCorners {
  RleDPoint a, b, c, d;
};

// The corners of a segment. One without length becomes a line of no height, which fills nothing.
FatCorners fatQuad(const RleDPoint& s, const RleDPoint& e, int32_t width);

// The point `distance` beyond p on the line that comes from q; q itself when the two are one.
RleDPoint fatExtend(const RleDPoint& p, const RleDPoint& q, int32_t distance);

// Where the line through p1 and p2 meets the one through p3 and p4; p2 when they are parallel.
RleDPoint fatIntersect(const RleDPoint& p1, const RleDPoint& p2, const RleDPoint& p3,
                       const RleDPoint& p4);

// The half discs beyond the ends of a line: at `end`, which `inner` precedes.
void fatRoundCap(const RleLineStyle& style, const RleDPoint& end, const RleDPoint& inner);

// Draw a line through `points`, at least one, with caps when `caps` is set. Square caps move the
// first and the last point. The caller's bracket (rleBeginSppPoly) is open.
void fatSegment(const RleLineStyle& style, std::span<RleDPoint> points, bool caps);
void fatStrokeMitre(const RleLineStyle& style, bool caps, std::span<RleDPoint> points);
void fatStrokeBevel(const RleLineStyle& style, bool caps, std::span<RleDPoint> points);

// The one of the two that the style asks for.
void fatStroke(const RleLineStyle& style, bool caps, std::span<RleDPoint> points);

}  // namespace rle
