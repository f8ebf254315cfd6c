// Thick lines, beside cairo stroking the same lines in a bitmap of one bit a pixel, without
// antialiasing.
//
// A pass draws a thousand lines of 20 random vertices onto one page of A4 at 400 dots per inch,
// which is blank at first and nearly black at last; each side's fresh page is made outside the
// measured time.

#include <cairo.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "compare.h"

namespace rle::bench {
namespace {

constexpr int kWidth = 3307;
constexpr int kHeight = 4677;
constexpr size_t kLines = 1000;
constexpr size_t kVertices = 20;

using Vertices = std::vector<RlePoint>;  // of all lines, one after the other

struct Style {
  int32_t width;
  std::vector<uint8_t> dashes;
};

Vertices randomVertices() {
  std::mt19937 random(400);
  std::uniform_int_distribution<int32_t> x(0, kWidth - 1), y(0, kHeight - 1);
  Vertices vertices(kLines * kVertices);
  for (RlePoint& vertex : vertices) vertex = {x(random), y(random)};
  return vertices;
}

Body ours(const std::shared_ptr<Vertices>& vertices, Style style) {
  return [=](benchmark::State& state) mutable {
    for (auto _ : state) {
      state.PauseTiming();
      OwnedRect page(rleNewRect(kWidth, kHeight, 400));
      state.ResumeTiming();
      for (size_t line = 0; line < kLines; ++line)
        rleFatLine(page.get(), kVertices, &(*vertices)[line * kVertices], style.width, 1, nullptr,
                   1, 1, 1, int32_t(style.dashes.size()), style.dashes.data(), 0);
      state.PauseTiming();
      page.reset();
      state.ResumeTiming();
    }
  };
}

struct DestroySurface {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct DestroyContext {
  void operator()(cairo_t* context) const { cairo_destroy(context); }
};

Body cairos(const std::shared_ptr<Vertices>& vertices, const Style& style) {
  return [=](benchmark::State& state) {
    const std::unique_ptr<cairo_surface_t, DestroySurface> surface(
        cairo_image_surface_create(CAIRO_FORMAT_A1, kWidth, kHeight));
    const std::unique_ptr<cairo_t, DestroyContext> context(cairo_create(surface.get()));
    cairo_t* const to = context.get();
    cairo_set_antialias(to, CAIRO_ANTIALIAS_NONE);
    cairo_set_source_rgba(to, 0, 0, 0, 1);
    cairo_set_line_width(to, style.width);
    cairo_set_line_cap(to, CAIRO_LINE_CAP_BUTT);
    cairo_set_line_join(to, CAIRO_LINE_JOIN_ROUND);
    const std::vector<double> dashes(style.dashes.begin(), style.dashes.end());
    cairo_set_dash(to, dashes.data(), int(dashes.size()), 0);
    for (auto _ : state) {
      state.PauseTiming();
      cairo_surface_flush(surface.get());
      const int stride = cairo_image_surface_get_stride(surface.get());
      std::memset(cairo_image_surface_get_data(surface.get()), 0, size_t(stride) * kHeight);
      cairo_surface_mark_dirty(surface.get());
      state.ResumeTiming();
      for (size_t i = 0; i < vertices->size(); ++i) {
        cairo_line_to(to, (*vertices)[i].x, (*vertices)[i].y);
        if ((i + 1) % kVertices == 0) cairo_stroke(to);
      }
      cairo_surface_flush(surface.get());
    }
  };
}

void addFatLines(const Page&) {
  static bool added = false;
  if (added) return;
  added = true;
  static Page blank;
  blank.name = "blank";
  blank.width = kWidth;
  blank.height = kHeight;
  blank.rect.reset(rleNewRect(kWidth, kHeight, 400));
  const auto vertices = std::make_shared<Vertices>(randomVertices());
  for (const int32_t width : {1, 4, 16}) {
    const std::string name = "1,000 lines of width " + std::to_string(width);
    for (const Style& style : {Style{width, {}}, Style{width, {40, 20}}})
      compare(name + (style.dashes.empty() ? ", solid" : ", dashed"), blank, ours(vertices, style),
              {{"cairo", cairos(vertices, style), 3}});
  }
}

const Suite suite(addFatLines);

}  // namespace
}  // namespace rle::bench
