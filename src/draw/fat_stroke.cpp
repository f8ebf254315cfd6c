// Segments, joins and caps.
//
// All pieces overlap freely: they only paint the same pixels again. Where two segments meet, the
// outer side is the one the line turns away from; the join fills the gap there, while the inner
// sides overlap.

#include "draw/fat_stroke.h"

#include <cmath>
#include <cstdlib>
#include <memory>

#include "draw/fat_arc.h"
#include "draw/rounding.h"
#include "model/owners.h"

namespace rle {
namespace {

// The square of 1 / sin(5.5 degrees): mitre points farther apart than that many widths, which are
// those of segments that meet at less than 11 degrees, get a bevel instead.
constexpr double kMitreLimit = 108.856472512142;

// The square of the distance.
double squared(const RleDPoint& p, const RleDPoint& q) {
  return (p.x - q.x) * (p.x - q.x) + (p.y - q.y) * (p.y - q.y);
}

// Positive for a turn at v from +x towards +y.
double turnAt(const RleDPoint& u, const RleDPoint& v, const RleDPoint& w) {
  return (v.x - u.x) * (w.y - v.y) - (v.y - u.y) * (w.x - v.x);
}

void fillQuad(const RleLineStyle& style, const RleDPoint& p, const RleDPoint& q, const RleDPoint& r,
              const RleDPoint& s) {
  RleDPoint corners[] = {p, q, r, s};
  fillPiece(style, corners);
}

void fillTriangle(const RleLineStyle& style, const RleDPoint& p, const RleDPoint& q,
                  const RleDPoint& r) {
  RleDPoint corners[] = {p, q, r};
  fillPiece(style, corners);
}

void fillCorners(const RleLineStyle& style, const FatCorners& quad) {
  fillQuad(style, quad.a, quad.b, quad.c, quad.d);
}

// The ends of a line of three points or more: moves them for square caps, draws round ones.
void capEnds(const RleLineStyle& style, std::span<RleDPoint> points) {
  const size_t n = points.size();
  if (style.capStyle == kSquareCap) {
    points[0] = fatExtend(points[0], points[1], style.width / 2);
    points[n - 1] = fatExtend(points[n - 1], points[n - 2], style.width / 2);
  } else if (style.capStyle == kRoundCap) {
    fatRoundCap(style, points[0], points[1]);
    fatRoundCap(style, points[n - 1], points[n - 2]);
  }
}

// Two corners across the line, on the sides cd and ab of a segment.
struct Across {
  RleDPoint cd;
  RleDPoint ab;
};

void fillBetween(const RleLineStyle& style, const Across& start, const Across& end) {
  fillQuad(style, start.ab, start.cd, end.cd, end.ab);
}

// How two segments meet.
struct Mitre {
  Across end;    // of the incoming segment
  Across start;  // of the outgoing segment
  RleDPoint piece[4];
  uint32_t pieceCorners = 0;  // of the piece between the two, if any
  bool pieceFirst = false;    // it is filled before the incoming segment
};

Mitre bevelled(const Mitre& plain, const RleDPoint& p, const RleDPoint& q, const RleDPoint& r) {
  return {plain.end, plain.start, {p, q, r, {}}, 3, false};
}

Mitre mitreAt(const RleLineStyle& style, const RleDPoint& u, const RleDPoint& v, const RleDPoint& w,
              const FatCorners& in, const FatCorners& out) {
  const RleDPoint cd = fatIntersect(in.d, in.c, out.c, out.d);
  const RleDPoint ab = fatIntersect(in.b, in.a, out.a, out.b);
  const double width = style.width;
  const bool tooLong = squared(cd, ab) > width * width * kMitreLimit;
  // The mitre point lies within the incoming segment.
  const bool near = squared(in.a, v) - squared(ab, v) >= kSamePoint;
  const bool outerIsAb = turnAt(u, v, w) <= 0;
  const Mitre plain = {{in.c, in.b}, {out.d, out.a}, {}, 0, false};
  if (!tooLong && near) return {{cd, ab}, {cd, ab}, {}, 0, false};
  if (!tooLong) {
    if (!differ(ab, in.a)) return plain;
    if (outerIsAb) return {plain.end, plain.start, {in.b, v, out.a, ab}, 4, true};
    return {plain.end, plain.start, {in.c, v, out.d, cd}, 4, true};
  }
  if (near) {
    if (outerIsAb) return bevelled({{cd, in.b}, {cd, out.a}, {}, 0, false}, out.a, cd, in.b);
    return bevelled({{in.c, ab}, {out.d, ab}, {}, 0, false}, out.d, in.c, ab);
  }
  if (outerIsAb) return bevelled(plain, out.a, v, in.b);
  return bevelled(plain, out.d, in.c, v);
}

void fillJoin(const RleLineStyle& style, Mitre& join) {
  if (join.pieceCorners > 0) fillPiece(style, {join.piece, join.pieceCorners});
}

// One segment of a line with bevel or round joins.
struct BevelSegment {
  int32_t turn;  // at its start; 0 where there is no join
  FatCorners quad;
};

// The directions between which a round join goes, where the segment `out` begins.
struct OuterGap {
  RleDPoint from;
  RleDPoint to;
};

OuterGap outerGap(const BevelSegment& in, const BevelSegment& out) {
  if (out.turn < 0) return {in.quad.b, out.quad.a};
  return {out.quad.d, in.quad.c};
}

}  // namespace

FatCorners fatQuad(const RleDPoint& s, const RleDPoint& e, int32_t width) {
  const double half = width / 2.0;
  const double dx = e.x - s.x;
  const double dy = e.y - s.y;
  const double length = std::hypot(dx, dy);
  if (length <= kSamePoint) {
    const RleDPoint left = {s.x - half, s.y};
    const RleDPoint right = {s.x + half, s.y};
    return {left, left, right, right};
  }
  const double ox = -dy * half / length;
  const double oy = dx * half / length;
  return {{s.x + ox, s.y + oy}, {e.x + ox, e.y + oy}, {e.x - ox, e.y - oy}, {s.x - ox, s.y - oy}};
}

RleDPoint fatExtend(const RleDPoint& p, const RleDPoint& q, int32_t distance) {
  const double dx = q.x - p.x;
  const double dy = q.y - p.y;
  const double length = std::hypot(dx, dy);
  if (length <= kSamePoint) return q;
  return {p.x - dx * distance / length, p.y - dy * distance / length};
}

RleDPoint fatIntersect(const RleDPoint& p1, const RleDPoint& p2, const RleDPoint& p3,
                       const RleDPoint& p4) {
  const double dx1 = p2.x - p1.x;
  const double dx2 = p4.x - p3.x;
  const bool steep1 = !(std::fabs(dx1) > kSamePoint);
  const bool steep2 = !(std::fabs(dx2) > kSamePoint);
  if (steep1 && steep2) return p2;
  if (steep2) return {p3.x, (p3.x - p1.x) * (p2.y - p1.y) / dx1 + p1.y};
  if (steep1) return {p1.x, (p1.x - p3.x) * (p4.y - p3.y) / dx2 + p3.y};
  const double m1 = (p2.y - p1.y) / dx1;
  const double m2 = (p4.y - p3.y) / dx2;
  const double b1 = p2.y - m1 * p2.x;
  if (std::fabs(m1 - m2) <= kSamePoint) return p2;
  const double x = ((p4.y - m2 * p4.x) - b1) / (m1 - m2);
  return {x, m1 * x + b1};
}

void fatRoundCap(const RleLineStyle& style, const RleDPoint& end, const RleDPoint& inner) {
  const FatCorners quad = fatQuad(end, inner, style.width);
  fatArc(style, end, inner, quad.d, quad.a);
}

void fatSegment(const RleLineStyle& style, std::span<RleDPoint> points, bool caps) {
  RleDPoint s = points[0];
  RleDPoint e = points.size() == 1 ? s : points[1];
  if (caps && style.capStyle == kSquareCap) {
    if (differ(s, e)) {
      s = fatExtend(s, e, style.width / 2);
      e = fatExtend(e, s, style.width / 2);
    } else {
      s.y -= style.width * 0.5;
      e.y += style.width * 0.5;
    }
  }
  const FatCorners quad = fatQuad(s, e, style.width);
  fillCorners(style, quad);
  if (caps && style.capStyle == kRoundCap) {
    fatArc(style, s, e, quad.d, quad.a);
    fatArc(style, e, s, quad.b, quad.c);
  }
}

void fatStrokeMitre(const RleLineStyle& style, bool caps, std::span<RleDPoint> points) {
  const size_t n = points.size();
  if (n < 3) return fatSegment(style, points, caps);
  const bool closed = !differ(points[0], points[n - 1]);
  if (!closed && caps) capEnds(style, points);
  FatCorners in = fatQuad(points[0], points[1], style.width);
  FatCorners out = fatQuad(points[n - 2], points[n - 1], style.width);
  Across start = {in.d, in.a};
  Across end = {out.c, out.b};
  if (closed) {
    Mitre join = mitreAt(style, points[n - 2], points[0], points[1], out, in);
    fillJoin(style, join);
    start = join.start;
    end = join.end;  // the last segment is filled last
  }
  for (size_t i = 1; i + 1 < n; ++i) {
    out = fatQuad(points[i], points[i + 1], style.width);
    Mitre join = mitreAt(style, points[i - 1], points[i], points[i + 1], in, out);
    if (join.pieceFirst) fillJoin(style, join);
    fillBetween(style, start, join.end);
    if (!join.pieceFirst) fillJoin(style, join);
    start = join.start;
    in = out;
  }
  fillBetween(style, start, end);
}

void fatStrokeBevel(const RleLineStyle& style, bool caps, std::span<RleDPoint> points) {
  const size_t n = points.size();
  if (n < 3) return fatSegment(style, points, caps);
  const std::unique_ptr<BevelSegment[], FreeWith<std::free>> segments(
      static_cast<BevelSegment*>(std::malloc(n * sizeof(BevelSegment))));
  if (!segments) return;
  const bool closed = !differ(points[0], points[n - 1]);
  if (!closed && caps) capEnds(style, points);
  for (size_t i = 0; i + 1 < n; ++i) {
    const RleDPoint& before = points[i == 0 ? n - 2 : i - 1];
    const bool joined = i > 0 || closed;
    segments[i].turn = joined ? truncated(turnAt(before, points[i], points[i + 1])) : 0;
    segments[i].quad = fatQuad(points[i], points[i + 1], style.width);
  }
  const auto previous = [&](size_t i) -> const BevelSegment& {
    return segments[i == 0 ? n - 2 : i - 1];
  };
  if (style.joinStyle == kRoundJoin) {
    for (size_t i = 0; i + 1 < n; ++i) {
      if (segments[i].turn == 0) continue;
      const OuterGap gap = outerGap(previous(i), segments[i]);
      fatArc(style, points[i], points[i + 1], gap.from, gap.to);
    }
  }
  for (size_t i = 0; i + 1 < n; ++i) {
    const BevelSegment& segment = segments[i];
    if (segment.turn < 0 && differ(points[i], segment.quad.a))
      fillTriangle(style, points[i], segment.quad.a, previous(i).quad.b);
    if (segment.turn > 0 && differ(points[i], segment.quad.d))
      fillTriangle(style, points[i], segment.quad.d, previous(i).quad.c);
    fillCorners(style, segment.quad);
  }
}

void fatStroke(const RleLineStyle& style, bool caps, std::span<RleDPoint> points) {
  if (style.joinStyle == kMitreJoin)
    fatStrokeMitre(style, caps, points);
  else
    fatStrokeBevel(style, caps, points);
}

}  // namespace rle
