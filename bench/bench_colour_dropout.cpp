// Colour dropout on an A4 300-dpi colour page, on every vector tier. The peer is OpenCV's
// cvtColor to grey on the same page (BM_OpenCV_CvtColorGrey, in bench_grey.cpp).
#include <benchmark/benchmark.h>

#include "quilp32.h"
#include "simd/cpu_features.h"
#include "support/pages.h"

using namespace bench_support;
using quilp::simd::Tier;

namespace {

// Runs `call` on the colour page under the tier given as the benchmark's argument.
template <class Call>
void OnTier(benchmark::State& state, Call call) {
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(0)));
  state.SetLabel(quilp::simd::TierName(quilp::simd::ActiveTier()));
  DibInfo* page = ColourPage();
  for (auto _ : state) {
    DibInfo* grey = call(page);
    benchmark::DoNotOptimize(grey);
    DibFree(grey);
  }
  quilp::simd::ForceTier(previous);
}

// The page's red stamp.
unsigned char const kStampRed[3] = {50, 60, 200};

void BM_SupressColor(benchmark::State& state) {
  OnTier(state, [](DibInfo* page) { return DibSupressColor(page, &kStampRed, nullptr); });
}

// Blue-black text kept; the stamp's red and seven other form colours dropped.
void BM_SupressColors_1Keep8Drop(benchmark::State& state) {
  static unsigned char const keep[1][3] = {{40, 30, 30}};
  static unsigned char const drop[8][3] = {{50, 60, 200}, {40, 180, 60},  {200, 120, 40},
                                           {60, 200, 220}, {200, 60, 200}, {30, 140, 250},
                                           {160, 160, 60}, {120, 40, 120}};
  OnTier(state, [](DibInfo* page) { return DibSupressColors(page, 1, keep, 8, drop, nullptr); });
}

}  // namespace

BENCHMARK(BM_SupressColor)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SupressColors_1Keep8Drop)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
