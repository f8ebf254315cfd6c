// Mirrors, turns, rotation and scaling, beside Leptonica. Results are released inside the measured
// loop: giving a row back is part of what a row costs.

#include <leptonica/allheaders.h>

#include <cstring>
#include <functional>
#include <memory>
#include <numbers>
#include <string>

#include "compare.h"

namespace rle::bench {
namespace {

constexpr uint32_t kOne = 32768;

struct DestroyPix {
  void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using OwnedPix = std::unique_ptr<Pix, DestroyPix>;

std::shared_ptr<Pix> toPix(const Page& page) {
  std::shared_ptr<Pix> pix(pixCreate(page.width, page.height, 1), DestroyPix());
  std::memcpy(pixGetData(pix.get()), page.bits.data(), page.bits.size());
  pixEndianByteSwap(pix.get());  // its rows are 32-bit words
  return pix;
}

// Time for a run of the source.
void countRuns(benchmark::State& state, const Page& page) {
  state.counters["ns/run"] =
      benchmark::Counter(double(page.runs()) * 1e-9, benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

template <class Make>
Body making(const Page& page, Make make) {
  return [&page, make](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(OwnedRect(make(page.rect.get())));
    countRuns(state, page);
  };
}

// An operation in place, on a copy that is made outside of the measured time.
template <class Change>
Body changing(const Page& page, Change change) {
  return [&page, change](benchmark::State& state) {
    for (auto _ : state) {
      state.PauseTiming();
      OwnedRect copy(rleDupRect(page.rect.get()));
      state.ResumeTiming();
      change(copy.get());
      copy.reset();
    }
    countRuns(state, page);
  };
}

template <class Make>
Contender leptonica(const std::string& name, const std::shared_ptr<Pix>& pix, Make make,
                    double aim) {
  return {name,
          [pix, make](benchmark::State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(OwnedPix(make(pix.get())));
          },
          aim};
}

void addTurns(const Page& page, const std::shared_ptr<Pix>& pix, bool sheet) {
  for (const uint32_t turns : {1U, 3U})
    compare("quarter turn " + std::to_string(turns), page,
            making(page, [turns](RleRect* rect) { return rleQRotateRect(rect, turns); }),
            {leptonica(
                "pixRotate90", pix, [turns](Pix* p) { return pixRotate90(p, turns == 1 ? -1 : 1); },
                2)});
  const double aim = sheet ? 20 : 5;
  compare("half turn", page, making(page, [](RleRect* rect) { return rleQRotateRect(rect, 2); }),
          {leptonica(
              "pixRotate180", pix, [](Pix* p) { return pixRotate180(nullptr, p); }, aim)});
  compare("mirror left to right, in place", page,
          [&page](benchmark::State& state) {
            const OwnedRect copy(rleDupRect(page.rect.get()));
            for (auto _ : state) rleMirrorRectY(copy.get());
            countRuns(state, page);
          },
          {{"pixFlipLR",
            [pix](benchmark::State& state) {
              const OwnedPix copy(pixCopy(nullptr, pix.get()));
              for (auto _ : state) benchmark::DoNotOptimize(pixFlipLR(copy.get(), copy.get()));
            },
            aim}});
}

void addRotations(const Page& page, const std::shared_ptr<Pix>& pix, bool sheet) {
  const struct {
    double degrees;
    double aim;
  } rotations[] = {{3, sheet ? 20. : 10.}, {30, sheet ? 16. : 6.}, {75, 0}};
  for (const auto& [degrees, aim] : rotations)
    compare("rotation by " + std::to_string(int(degrees)) + " degrees", page,
            making(page,
                   [degrees = degrees](RleRect* rect) {
                     double x, y;
                     return rleRotateRect(rect, degrees, &x, &y);
                   }),
            {leptonica(
                "pixRotateBySampling", pix,
                [degrees = degrees](Pix* p) {
                  const OwnedPix wide(pixEmbedForRotation(
                      p, float(degrees * std::numbers::pi / 180), L_BRING_IN_WHITE, 0, 0));
                  return pixRotateBySampling(
                      wide.get(), pixGetWidth(wide.get()) / 2, pixGetHeight(wide.get()) / 2,
                      float(-degrees * std::numbers::pi / 180), L_BRING_IN_WHITE);
                },
                aim)});
}

void addScaling(const Page& page, const std::shared_ptr<Pix>& pix, bool sheet) {
  const auto scaled = [&](uint32_t factor, void (*scale)(RleRect*, uint32_t, uint32_t)) {
    return changing(page, [=](RleRect* rect) { scale(rect, factor, factor); });
  };
  const double aim = sheet ? 60 : 20;
  for (const double factor : {0.5, 0.37})
    compare("point scaling by " + std::to_string(factor).substr(0, 4), page,
            scaled(uint32_t(factor * kOne), rleScaleRect),
            {leptonica(
                "pixScaleBinary", pix,
                [f = float(factor)](Pix* p) { return pixScaleBinary(p, f, f); }, aim)});
  compare("enlargement by 2", page, scaled(2 * kOne, rleScaleRect),
          {leptonica(
              "pixExpandBinaryReplicate", pix,
              [](Pix* p) { return pixExpandBinaryReplicate(p, 2, 2); }, 0)});
  compare("black-preserving reduction by 2", page, scaled(kOne / 2, rleMinScaleRect),
          {leptonica(
              "pixReduceRankBinary2, rank 1", pix,
              [](Pix* p) { return pixReduceRankBinary2(p, 1, nullptr); }, 1 / 3.)});
}

const Suite kTransforms([](const Page& page) {
  const std::shared_ptr<Pix> pix = toPix(page);
  const bool sheet = page.width >= 9000;
  addTurns(page, pix, sheet);
  addRotations(page, pix, sheet);
  addScaling(page, pix, sheet);
});

}  // namespace
}  // namespace rle::bench
