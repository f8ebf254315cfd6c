// Filling stars that take up most of an A4 page at 300 dots per inch, beside cairo filling the same
// corners in a bitmap of one bit a pixel, without antialiasing.
//
// Each pass of ours starts with a fresh page, made outside the measured time; it includes the
// allocation of the rows' buffers. Cairo paints over what it painted before.

#include <cairo.h>

#include <cmath>
#include <memory>
#include <vector>

#include "compare.h"

namespace rle::bench {
namespace {

constexpr int kWidth = 2480;
constexpr int kHeight = 3508;

using Corners = std::vector<RlePoint>;

// Corners outside and, at `inner` times the distance, inside by turns; or, with inner 0, all
// outside and joined across the middle.
Corners star(int count, double inner) {
  Corners corners;
  const int stride = inner > 0 ? 1 : count / 2 - 1;
  for (int i = 0; i < count; ++i) {
    const double angle = 2 * 3.14159265358979 * (i * stride % count) / count;
    const double reach = inner > 0 && i % 2 != 0 ? inner : 1;
    corners.push_back({int32_t(std::lround(kWidth / 2 + reach * 1200 * std::cos(angle))),
                       int32_t(std::lround(kHeight / 2 + reach * 1700 * std::sin(angle)))});
  }
  return corners;
}

struct DestroySurface {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct DestroyContext {
  void operator()(cairo_t* context) const { cairo_destroy(context); }
};

Body ours(const std::shared_ptr<Corners>& corners, int rule, const RleRect* page) {
  return [=](benchmark::State& state) {
    for (auto _ : state) {
      state.PauseTiming();
      OwnedRect rect(rleDupRect(const_cast<RleRect*>(page)));
      state.ResumeTiming();
      rleFillPolygon(rect.get(), int32_t(corners->size()), corners->data(), rule, 1, nullptr, 1);
      state.PauseTiming();
      rect.reset();
      state.ResumeTiming();
    }
  };
}

Body cairos(const std::shared_ptr<Corners>& corners, int rule) {
  return [=](benchmark::State& state) {
    const std::unique_ptr<cairo_surface_t, DestroySurface> surface(
        cairo_image_surface_create(CAIRO_FORMAT_A1, kWidth, kHeight));
    const std::unique_ptr<cairo_t, DestroyContext> context(cairo_create(surface.get()));
    cairo_set_antialias(context.get(), CAIRO_ANTIALIAS_NONE);
    cairo_set_fill_rule(context.get(),
                        rule == 0 ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
    cairo_set_source_rgba(context.get(), 0, 0, 0, 1);
    for (auto _ : state) {
      for (const RlePoint& corner : *corners) cairo_line_to(context.get(), corner.x, corner.y);
      cairo_close_path(context.get());
      cairo_fill(context.get());
      cairo_surface_flush(surface.get());
    }
  };
}

void fillStars(const Page& page, double aimFew, double aimMany) {
  const auto add = [&](const std::string& name, int count, double inner, int rule, double aim) {
    const auto corners = std::make_shared<Corners>(star(count, inner));
    compare("fill a star of " + name, page, ours(corners, rule, page.rect.get()),
            {{"cairo", cairos(corners, rule), aim}});
  };
  add("100 corners", 100, 0.5, 0, aimFew);
  add("100 corners, non-zero, crossing itself", 100, 0, 1, aimFew);
  add("10,000 corners", 10000, 0.5, 0, aimMany);
}

// What is on a page costs time here, as rows are merged, but none in a bitmap: the aims are for a
// blank page.
void addPolygons(const Page& page) {
  static Page blank;
  if (blank.rect == nullptr) {
    blank.name = "blank";
    blank.rect.reset(rleNewRect(kWidth, kHeight, 300));
    fillStars(blank, 6, 3);
  }
  if (page.width <= kWidth && page.height <= kHeight) fillStars(page, 0, 0);
}

const Suite suite(addPolygons);

}  // namespace
}  // namespace rle::bench
