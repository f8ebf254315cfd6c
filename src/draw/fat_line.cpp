// Thick lines.
//
// A line is never outlined as a whole: its segments, joins, caps and dashes are filled one by one
// as convex polygons, which share their working arrays. A dashed line is cut into pieces, each of
// them a short line of its own; where gaps are painted, dashes come first and gaps after them.

#include <algorithm>
#include <span>

#include "draw/fat_arc.h"
#include "draw/fat_dash.h"
#include "draw/fat_stroke.h"
#include "draw/line_style.h"
#include "model/heap_array.h"
#include "model/owners.h"
#include "rle.h"

namespace rle {
namespace {

bool isSame(const RlePoint& p, const RlePoint& q) { return p.x == q.x && p.y == q.y; }

RleDPoint exact(const RlePoint& p) { return {double(p.x), double(p.y)}; }

// Calls take(vertex) for each vertex that differs from the one before it.
template <class Take>
void forEachVertex(std::span<const RlePoint> points, Take take) {
  for (size_t i = 0; i < points.size(); ++i)
    if (i == 0 || !isSame(points[i], points[i - 1])) take(points[i]);
}

void drawSolid(const RleLineStyle& style, std::span<const RlePoint> points) {
  const OwnedDPoints vertices = newArray<RleDPoint>(points.size() + 1);
  if (!vertices) return;
  size_t count = 0;
  forEachVertex(points, [&](RlePoint vertex) {
    style.paint->addPixel(vertex);
    vertices[count++] = exact(vertex);
  });
  fatStroke(style, true, {vertices.get(), count});
}

class DashedLine {
 public:
  DashedLine(const RleLineStyle& style, std::span<const RlePoint> vertices, int32_t colour,
             bool paintsGaps)
      : style_(style), vertices_(vertices), colour_(colour), paintsGaps_(paintsGaps) {}

  void draw(const DashPattern& pattern) {
    if (!fatDashSplit(style_, vertices_, pattern, marks_)) return;
    if (marks_.count() < 3) {
      drawSinglePiece();
      return;
    }
    piece_ = newArray<RleDPoint>(marks_.count());
    if (!piece_) return;
    closed_ = isSame(vertices_.front(), vertices_.back());
    strokePieces(false);
    if (closed_) joinEnds();
    if (!paintsGaps_) return;
    if (!closed_) capEnds(false);
    strokePieces(true);
    if (!closed_) capEnds(true);
  }

 private:
  // Paints dashes or gaps from now on.
  void choose(bool gap) { style_.paint->setColour(gap ? 0 : colour_); }

  // A dot, or one segment without any dash boundary. Its far end keeps the whole error of the walk
  // there, which takes it up to half a pixel to the side.
  void drawSinglePiece() {
    RleDPoint ends[2] = {exact(vertices_[0])};
    if (marks_.count() == 2) {
      const DashSegment segment(vertices_[0], vertices_[1]);
      ends[1] = segment.corrected(vertices_[1], segment.startError());
    }
    choose(marks_[0].gap);
    fatSegment(style_, {ends, marks_.count()}, true);
  }

  // Strokes the dashes or the gaps.
  void strokePieces(bool gaps) {
    choose(gaps);
    size_t count = 0;
    bool isGap = false;
    for (size_t i = 0; i < marks_.count(); ++i) {
      const RleDashMark& mark = marks_[i];
      piece_[count++] = mark.at;
      if (mark.gap == isGap && i + 1 < marks_.count()) continue;
      if (isGap == gaps) fatStroke(style_, false, {piece_.get(), count});
      piece_[0] = mark.at;
      count = 1;
      isGap = mark.gap;
    }
  }

  // The join where a closed line begins and ends.
  void joinEnds() {
    const bool startsWithGap = marks_[0].gap;
    const bool endsWithGap = marks_.last().gap;
    if (!paintsGaps_ && (startsWithGap || endsWithGap)) return;
    RleDPoint corner[] = {marks_.last(1).at, marks_[0].at, marks_[1].at};
    choose(startsWithGap && endsWithGap);
    fatStroke(style_, false, corner);
  }

  // Caps the ends that are dashes or those that are gaps.
  void capEnds(bool gaps) {
    choose(gaps);
    if (marks_[0].gap == gaps) capEnd(style_, marks_[0].at, marks_[1].at);
    if (marks_.last().gap == gaps) capEnd(style_, marks_.last().at, marks_.last(1).at);
  }

  static void capEnd(const RleLineStyle& style, const RleDPoint& end, const RleDPoint& inner) {
    if (style.capStyle == kSquareCap) {
      const RleDPoint tip = fatExtend(end, inner, style.width / 2);
      const FatCorners quad = fatQuad(tip, end, style.width);
      RleDPoint corners[] = {quad.a, quad.b, quad.c, quad.d};
      fillPiece(style, corners);
    } else if (style.capStyle == kRoundCap) {
      fatRoundCap(style, end, inner);
    }
  }

  const RleLineStyle& style_;
  std::span<const RlePoint> vertices_;
  DashMarks marks_;
  OwnedDPoints piece_;  // room for a piece of all marks
  int32_t colour_;
  bool paintsGaps_;
  bool closed_ = false;
};

void drawDashed(const RleLineStyle& style, std::span<const RlePoint> points,
                const DashPattern& pattern, int32_t colour, bool paintsGaps) {
  const HeapArray<RlePoint> vertices = newArray<RlePoint>(points.size());
  if (!vertices) return;
  size_t count = 0;
  forEachVertex(points, [&](const RlePoint& vertex) { vertices[count++] = vertex; });
  DashedLine(style, {vertices.get(), count}, colour, paintsGaps).draw(pattern);
}

}  // namespace
}  // namespace rle

extern "C" void rleFatLine(RleRect* image, int32_t count, RlePoint* points, int32_t width,
                           int32_t colour, RleRect* pattern, int32_t capStyle, int32_t joinStyle,
                           int32_t mode, int32_t dashCount, uint8_t* dashes, int32_t dashOffset) {
  if (count < 1) return;
  rle::SpanBatch paint(*image, colour, pattern, mode);
  rle::RleLineStyle style = {image, &paint, std::max(width, 1), capStyle, joinStyle};
  if (style.width == 1) {
    style.capStyle = rle::kButtCap;
    style.joinStyle = rle::kMitreJoin;
  }
  const std::span<const RlePoint> line(points, size_t(count));
  std::span<const uint8_t> lengths;
  if (dashCount > 0) lengths = {dashes, size_t(dashCount)};
  rleBeginSppPoly();
  if (lengths.empty())
    rle::drawSolid(style, line);
  else
    rle::drawDashed(style, line, {lengths, dashOffset}, colour, mode == 0);
  rleEndSppPoly();
}
