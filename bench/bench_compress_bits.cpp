// The depth decision on A4 300-dpi pages: colour (measures the chroma, keeps 24 bits), grey
// (measures the extrema, copies or binarizes) and bi-level (text on paper: binarized). The
// label says which depth was chosen.
#include <benchmark/benchmark.h>

#include <string>

#include "quilp32.h"
#include "support/pages.h"

using namespace bench_support;

namespace {

// The grey page thresholded to two levels, as a clean bi-level scan in 8 bits.
DibInfo* BiLevelPage() {
  static DibInfo* page = [] {
    DibInfo* grey = GreyPage();
    DibInfo* two = DibCreate(grey->Width(), OrderedHeight(grey->Height()), grey->XPelsPerMeter(),
                             grey->YPelsPerMeter(), 8);
    for (int y = 0; y < grey->Height(); ++y) {
      unsigned char const* s = grey->GetLine(y);
      unsigned char* d = two->GetLine(y);
      for (int x = 0; x < grey->Width(); ++x) d[x] = s[x] < 128 ? 20 : 235;
    }
    return two;
  }();
  return page;
}

void Decide(benchmark::State& state, DibInfo* page) {
  int bits = 0;
  for (auto _ : state) {
    DibInfo* out = nullptr;
    benchmark::DoNotOptimize(DibCompressBits(out, page, 24, 0.001, 0.01, nullptr));
    bits = out ? out->BitsPerPixel() : 0;
    DibFree(out);
  }
  Versus(state, "", (std::to_string(bits) + " bits").c_str());
}

void BM_CompressBits_Colour(benchmark::State& state) { Decide(state, ColourPage()); }
void BM_CompressBits_Grey(benchmark::State& state) { Decide(state, GreyPage()); }
void BM_CompressBits_BiLevel(benchmark::State& state) { Decide(state, BiLevelPage()); }

}  // namespace

BENCHMARK(BM_CompressBits_Colour)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CompressBits_Grey)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CompressBits_BiLevel)->Unit(benchmark::kMillisecond);
