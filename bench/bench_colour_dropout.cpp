// Colour dropout on an A4 300-dpi colour page, on every vector tier. The peer is OpenCV's
// cvtColor to grey on the same page (BM_OpenCV_CvtColorGrey, in bench_grey.cpp). The colour
// sets also run on the page with independent noise of +-3 levels in every byte (a noisy
// sensor: hundreds of thousands of colours), the worst case of their colour memo.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "quilp32.h"
#include "simd/cpu_features.h"
#include "support/pages.h"

using namespace bench_support;
using quilp::simd::Tier;

namespace {

// Runs `call` on the colour page under the tier given as the benchmark's argument.
template <class Call>
void OnTier(benchmark::State& state, Call call, DibInfo* page = ColourPage()) {
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(0)));
  Versus(state, "BM_OpenCV_CvtColorGrey");
  for (auto _ : state) {
    DibInfo* grey = call(page);
    benchmark::DoNotOptimize(grey);
    DibFree(grey);
  }
  quilp::simd::ForceTier(previous);
}

// The colour page with every byte moved by -3..3 at random.
DibInfo* NoisyColourPage() {
  static DibInfo* page = [] {
    DibInfo* clean = ColourPage();
    DibInfo* noisy = DibCreate(clean, 0);
    uint32_t state = 12345;
    for (int y = 0; y < clean->Height(); ++y) {
      unsigned char const* s = clean->GetLine(y);
      unsigned char* d = noisy->GetLine(y);
      for (int x = 0; x < 3 * clean->Width(); ++x) {
        state = state * 1664525u + 1013904223u;
        int const v = s[x] + int(state >> 29) - 3;
        d[x] = static_cast<unsigned char>(v < 0 ? 0 : v > 255 ? 255 : v);
      }
    }
    return noisy;
  }();
  return page;
}

// The page's red stamp.
unsigned char const kStampRed[3] = {50, 60, 200};

void BM_SupressColor(benchmark::State& state) {
  OnTier(state, [](DibInfo* page) { return DibSupressColor(page, &kStampRed, nullptr); });
}

// Blue-black text kept; the stamp's red and seven other form colours dropped.
unsigned char const kKeep[1][3] = {{40, 30, 30}};
unsigned char const kDrop[8][3] = {{50, 60, 200}, {40, 180, 60},  {200, 120, 40},
                                   {60, 200, 220}, {200, 60, 200}, {30, 140, 250},
                                   {160, 160, 60}, {120, 40, 120}};

DibInfo* KeepAndDrop(DibInfo* page) { return DibSupressColors(page, 1, kKeep, 8, kDrop, nullptr); }

void BM_SupressColors_1Keep8Drop(benchmark::State& state) { OnTier(state, KeepAndDrop); }
void BM_SupressColors_1Keep8Drop_Noisy(benchmark::State& state) {
  OnTier(state, KeepAndDrop, NoisyColourPage());
}

}  // namespace

BENCHMARK(BM_SupressColor)->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SupressColors_1Keep8Drop)->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SupressColors_1Keep8Drop_Noisy)->Arg(0)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
