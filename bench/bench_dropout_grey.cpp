// Dropout grey on an A4 300-dpi colour page, every tier (AVX2 is the widest the family has),
// beside OpenCV's cvtColor to grey (BM_OpenCV_CvtColorGrey, in bench_grey.cpp).
#include <benchmark/benchmark.h>

#include "quilp32.h"
#include "simd/cpu_features.h"
#include "support/pages.h"

using namespace bench_support;
using quilp::simd::Tier;

namespace {

void BM_DropoutGrey(benchmark::State& state) {
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(0)));
  Versus(state, "BM_OpenCV_CvtColorGrey");
  DibInfo* page = ColourPage();
  for (auto _ : state) {
    DibInfo* grey = DibDropoutGrey(page, DibDropoutStrength, DibDropoutTolerance, nullptr);
    benchmark::DoNotOptimize(grey);
    DibFree(grey);
  }
  quilp::simd::ForceTier(previous);
}

}  // namespace

BENCHMARK(BM_DropoutGrey)->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
