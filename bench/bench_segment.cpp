// Page segmentation on an A4 300-dpi 1-bit page (two columns of text, a photo, a stamp):
// DibSegmentLev1 (blocks) beside Leptonica's pixGetRegionsBinary (halftone, text-line and
// text-block masks) on the same pixels, and DibSegmentLev1Hier (blocks, lines and words) and
// DibPreSegment alone.
#include <benchmark/benchmark.h>

#include <vector>

#include "pages/page_maker.h"
#include "quilp32.h"
#include "support/pages.h"

#if defined(QUILP_HAVE_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

using namespace bench_support;

namespace {

// The page: grey two-column text with a photo, thresholded at 160 (set bits paper).
DibInfo* ColumnPage() {
  static DibInfo* page = [] {
    quilp_pages::PageSpec layout;
    layout.columns = 2;
    layout.bitCount = 8;
    layout.topDown = TopDownPages();
    DibInfo* grey = quilp_pages::MakePage(layout);
    DibInfo* bits = DibBinarizeSimple(grey, 160, false, nullptr);
    DibFree(grey);
    return bits;
  }();
  return page;
}

void Run(benchmark::State& state, int (*segment)(DibInfo*, SDibZone*, int, tagRect32*)) {
  DibInfo* page = ColumnPage();
  std::vector<SDibZone> zones(std::size_t(segment(page, nullptr, 0, nullptr)));
  for (auto _ : state)
    benchmark::DoNotOptimize(segment(page, zones.data(), int(zones.size()), nullptr));
  state.counters["zones"] = double(zones.size());
}

void BM_SegmentLev1(benchmark::State& state) {
  Versus(state, "BM_Leptonica_GetRegionsBinary");
  Run(state, DibSegmentLev1);
}
void BM_SegmentLev1Hier(benchmark::State& state) {
  Versus(state, "");
  Run(state, DibSegmentLev1Hier);
}
void BM_PreSegment(benchmark::State& state) {
  Versus(state, "");
  Run(state, DibPreSegment);
}

}  // namespace

BENCHMARK(BM_SegmentLev1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SegmentLev1Hier)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PreSegment)->Unit(benchmark::kMillisecond);

#if defined(QUILP_HAVE_LEPTONICA)
namespace {

// The page as a Leptonica 1-bit image in its storage order (ink ON), 32 pixels per word.
PIX* LeptonicaColumnPage() {
  static PIX* pix = [] {
    DibInfo* page = ColumnPage();
    int const w = page->Width(), h = page->Height(), bytes = (w + 7) / 8;
    PIX* p = pixCreate(w, h, 1);
    unsigned char const* stored = page->BitsPtr();
    for (int y = 0; y < h; ++y) {
      unsigned char const* row = stored + std::size_t(y) * std::size_t(page->ByteWidth());
      l_uint32* line = pixGetData(p) + std::size_t(y) * std::size_t(pixGetWpl(p));
      for (int i = 0; i < pixGetWpl(p); ++i) {
        l_uint32 word = 0;
        for (int k = 0; k < 4; ++k) {
          int const b = 4 * i + k;
          word = (word << 8) | (b < bytes ? l_uint32(uint8_t(~row[b])) : 0u);
        }
        line[i] = word;
      }
      if (w % 32) line[pixGetWpl(p) - 1] &= ~l_uint32(0) << (32 - w % 32);  // no ink past w
    }
    return p;
  }();
  return pix;
}

void BM_Leptonica_GetRegionsBinary(benchmark::State& state) {
  PIX* page = LeptonicaColumnPage();
  for (auto _ : state) {
    PIX *halftone = nullptr, *lines = nullptr, *blocks = nullptr;
    pixGetRegionsBinary(page, &halftone, &lines, &blocks, nullptr);
    pixDestroy(&halftone);
    pixDestroy(&lines);
    pixDestroy(&blocks);
  }
}

}  // namespace
BENCHMARK(BM_Leptonica_GetRegionsBinary)->Unit(benchmark::kMillisecond);
#endif
