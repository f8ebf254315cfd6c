// Pasting, masking and filling whole pages, beside pixman's regions, which hold bands of boxes, and
// Leptonica's raster operations, which hold packed bits and work on words of 32 pixels.
//
// Every pass gets a fresh copy of the page, made outside the measured time.

#include <leptonica/allheaders.h>
#include <pixman.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "compare.h"

namespace rle::bench {
namespace {

OwnedRect mirrorImage(const Page& page) {
  OwnedRect mirror(rleNewRect(uint32_t(page.width), uint32_t(page.height), 300));
  for (int y = 0; y < page.height; ++y) {
    const RleLine& from = *page.rect->rows[y];
    RleLine& to = *mirror->rows[y];
    to.runs = rleAllocRuns(from.count);
    for (to.count = 0; to.count < from.count; ++to.count) {
      const RleRun run = from.runs[from.count - 1 - to.count];
      to.runs[to.count] = {uint16_t(page.width - run.end), uint16_t(page.width - run.start)};
    }
  }
  return mirror;
}

// A pixman region with its life time.
class Region {
 public:
  Region() { pixman_region32_init(&region_); }
  explicit Region(const RleRect& rect) {
    std::vector<pixman_box32_t> boxes;
    for (int y = 0; y < rect.height; ++y)
      for (int i = 0; i < rect.rows[y]->count; ++i)
        boxes.push_back({rect.rows[y]->runs[i].start, y, rect.rows[y]->runs[i].end, y + 1});
    pixman_region32_init_rects(&region_, boxes.data(), int(boxes.size()));
  }
  Region(int x, int y, int width, int height) {
    pixman_region32_init_rect(&region_, x, y, unsigned(width), unsigned(height));
  }
  Region(const Region& other) : Region() { pixman_region32_copy(&region_, &other.region_); }
  Region& operator=(const Region&) = delete;
  ~Region() { pixman_region32_fini(&region_); }

  pixman_region32_t* get() { return &region_; }
  const pixman_region32_t* get() const { return &region_; }

  size_t bytes() const {
    int boxes = 0;
    pixman_region32_rectangles(const_cast<pixman_region32_t*>(&region_), &boxes);
    return size_t(boxes) * sizeof(pixman_box32_t);
  }

 private:
  pixman_region32_t region_;
};

struct DestroyPix {
  void operator()(PIX* pix) const { pixDestroy(&pix); }
};
using OwnedPix = std::unique_ptr<PIX, DestroyPix>;

OwnedPix packed(const RleRect& rect) {
  OwnedPix pix(pixCreate(rect.width, rect.height, 1));
  for (int y = 0; y < rect.height; ++y)
    for (int i = 0; i < rect.rows[y]->count; ++i) {
      const RleRun run = rect.rows[y]->runs[i];
      pixRasterop(pix.get(), run.start, y, run.end - run.start, 1, PIX_SET, nullptr, 0, 0);
    }
  return pix;
}

// The same page in all three forms.
struct Forms {
  OwnedRect runs;
  Region boxes;
  OwnedPix bits;

  explicit Forms(OwnedRect rect) : runs(std::move(rect)), boxes(*runs), bits(packed(*runs)) {}
};

struct Operation {
  const char* name;
  std::function<void(RleRect*)> onRuns;
  std::function<void(pixman_region32_t*)> onBoxes;
  std::function<void(PIX*)> onBits;
};

template <class Copy, class Work>
Body measured(Copy copy, Work work) {
  return [=](benchmark::State& state) {
    for (auto _ : state) {
      state.PauseTiming();
      {
        auto target = copy();
        state.ResumeTiming();
        work(target.get());
        state.PauseTiming();
      }
      state.ResumeTiming();
    }
  };
}

// A benchmark of different results would mean nothing.
void requireSameResult(const Operation& operation, const Forms& page) {
  const OwnedRect runs(rleDupRect(page.runs.get()));
  Region boxes(page.boxes);
  const OwnedPix bits(pixCopy(nullptr, page.bits.get()));
  operation.onRuns(runs.get());
  operation.onBoxes(boxes.get());
  operation.onBits(bits.get());
  l_int32 samePixels = 0;
  pixEqual(packed(*runs).get(), bits.get(), &samePixels);
  if (samePixels == 0 || pixman_region32_equal(Region(*runs).get(), boxes.get()) == 0) {
    std::fprintf(stderr, "%s: the results differ\n", operation.name);
    std::exit(1);
  }
}

void addRegions(const Page& source) {
  const auto page = std::make_shared<Forms>(OwnedRect(rleDupRect(source.rect.get())));
  const auto mirror = std::make_shared<Forms>(mirrorImage(source));
  const int width = source.width, height = source.height;
  const auto whole = std::make_shared<Region>(0, 0, width, height);
  const int x = width / 4, y = height / 4, w = width / 2, h = height / 2;
  const auto middle = std::make_shared<Region>(x, y, w, h);
  const auto raster = [=](int operation) {
    return [=](PIX* pix) {
      pixRasterop(pix, 0, 0, width, height, operation, mirror->bits.get(), 0, 0);
    };
  };
  const auto paste = [=](int mode) {
    return [=](RleRect* rect) { rleMergeRect(rect, 0, 0, mirror->runs.get(), mode); };
  };
  const auto fill = [=](int colour) {
    return
        [=](RleRect* rect) { rleFillRect(rect, x, y, x + w - 1, y + h - 1, colour, nullptr, 1); };
  };
  const auto fillBits = [=](int operation) {
    return [=](PIX* pix) { pixRasterop(pix, x, y, w, h, operation, nullptr, 0, 0); };
  };
  const Operation operations[] = {
      {"paste mirror, replace", paste(0),
       [=](auto* region) {
         pixman_region32_subtract(region, region, whole->get());
         pixman_region32_union(region, region, mirror->boxes.get());
       },
       raster(PIX_SRC)},
      {"paste mirror, set", paste(1),
       [=](auto* region) { pixman_region32_union(region, region, mirror->boxes.get()); },
       raster(PIX_SRC | PIX_DST)},
      {"paste mirror, clear", paste(2),
       [=](auto* region) { pixman_region32_subtract(region, region, mirror->boxes.get()); },
       raster(PIX_NOT(PIX_SRC) & PIX_DST)},
      {"mask with mirror", [=](RleRect* rect) { rleMaskRect(rect, mirror->runs.get(), 0); },
       [=](auto* region) { pixman_region32_intersect(region, region, mirror->boxes.get()); },
       raster(PIX_SRC & PIX_DST)},
      {"fill a quarter black", fill(1),
       [=](auto* region) { pixman_region32_union(region, region, middle->get()); },
       fillBits(PIX_SET)},
      {"fill a quarter white", fill(0),
       [=](auto* region) { pixman_region32_subtract(region, region, middle->get()); },
       fillBits(PIX_CLR)},
  };
  for (const Operation& operation : operations) {
    requireSameResult(operation, *page);
    compare(
        operation.name, source,
        measured([=] { return OwnedRect(rleDupRect(page->runs.get())); }, operation.onRuns),
        {{"pixman regions",
          measured([=] { return Region(page->boxes); },
                   [work = operation.onBoxes](auto* region) { work(region); }),
          1},
         {"Leptonica bits", measured([=] { return OwnedPix(pixCopy(nullptr, page->bits.get())); },
                                     operation.onBits)}});
  }
  note(source.name + ": " + std::to_string(page->boxes.bytes() / 1000) +
       " KB held as boxes of a pixman region");
}

const Suite suite(addRegions);

}  // namespace
}  // namespace rle::bench
