// Previews and upscaling of the A4 300-dpi page, both row orders, beside the peers:
//  - DibMakeZoom8 of the 1-bit page at 0.25 beside Leptonica's pixScaleToGray4;
//  - grey DibMakeZoom at 0.25 beside cv::resize INTER_AREA;
//  - DibUpscale of the grey page x2 beside cv::resize INTER_CUBIC;
//  - the deskewed preview (0.25, 0.8 degrees) of both pages, for scale.
// Arg 0: top-down page, 1: bottom-up page.
#include <benchmark/benchmark.h>

#include <cstring>

#include "quilp32.h"
#include "support/pages.h"

#if defined(QUILP_HAVE_OPENCV)
#include <opencv2/imgproc.hpp>
#endif
#if defined(QUILP_HAVE_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

using namespace bench_support;

namespace {

// The same pixels stored bottom-up.
DibInfo* BottomUp(DibInfo* page) {
  DibInfo* copy = DibCreate(page->Width(), page->Height(), page->XPelsPerMeter(),
                            page->YPelsPerMeter(), page->BitsPerPixel());
  for (int y = 0; y < page->Height(); ++y)
    std::memcpy(copy->GetLine(y), page->GetLine(y), std::size_t(page->ByteWidth()));
  return copy;
}

DibInfo* Grey(bool bottomUp) {
  static DibInfo* pages[2] = {GreyPage(), BottomUp(GreyPage())};
  return pages[bottomUp];
}

// The grey page thresholded at 160: set (white) paper, clear (black) ink.
DibInfo* Bits(bool bottomUp) {
  static DibInfo* top = DibBinarizeSimple(GreyPage(), 160, false, nullptr);
  static DibInfo* pages[2] = {top, BottomUp(top)};
  return pages[bottomUp];
}

void Preview(benchmark::State& state, DibInfo* (*zoom)(DibInfo*, double, tagRect32*), DibInfo* page) {
  for (auto _ : state) {
    DibInfo* out = zoom(page, 0.25, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}

void BM_MakeZoom8_Bits_Quarter(benchmark::State& state) { Preview(state, DibMakeZoom8, Bits(state.range(0))); }
void BM_MakeZoom_Grey_Quarter(benchmark::State& state) { Preview(state, DibMakeZoom, Grey(state.range(0))); }

void BM_Upscale_Grey_x2(benchmark::State& state) {
  DibInfo* page = Grey(state.range(0));
  for (auto _ : state) {
    DibInfo* out = nullptr;
    benchmark::DoNotOptimize(DibUpscale(out, page, 2.0, nullptr));
    DibFree(out);
  }
}

void BM_MakeZoomDeskewed_Quarter(benchmark::State& state) {
  DibInfo* page = state.range(1) ? Bits(state.range(0)) : Grey(state.range(0));
  for (auto _ : state) {
    DibInfo* out = DibMakeZoomDeskewed(page, 0.25, 0.014, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}

}  // namespace

BENCHMARK(BM_MakeZoom8_Bits_Quarter)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MakeZoom_Grey_Quarter)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Upscale_Grey_x2)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MakeZoomDeskewed_Quarter)->Args({0, 0})->Args({1, 0})->Args({1, 1})->Unit(benchmark::kMillisecond);

#if defined(QUILP_HAVE_OPENCV)
namespace {
void BM_OpenCV_ResizeArea_Quarter(benchmark::State& state) {
  cv::setNumThreads(1);  // single thread, as ours
  cv::Mat const src = AsMat(GreyPage());
  cv::Mat out;
  for (auto _ : state) {
    cv::resize(src, out, cv::Size(), 0.25, 0.25, cv::INTER_AREA);
    benchmark::DoNotOptimize(out.data);
  }
}
void BM_OpenCV_ResizeCubic_x2(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const src = AsMat(GreyPage());
  cv::Mat out;
  for (auto _ : state) {
    cv::resize(src, out, cv::Size(), 2.0, 2.0, cv::INTER_CUBIC);
    benchmark::DoNotOptimize(out.data);
  }
}
}  // namespace
BENCHMARK(BM_OpenCV_ResizeArea_Quarter)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_OpenCV_ResizeCubic_x2)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
#endif

#if defined(QUILP_HAVE_LEPTONICA)
namespace {
// The 1-bit page as Leptonica holds it: 32-bit words, ink ON.
PIX* BitsPix() {
  static PIX* pix = [] {
    DibInfo* page = Bits(false);
    PIX* p = pixCreate(page->Width(), page->Height(), 1);
    for (int y = 0; y < page->Height(); ++y)
      std::memcpy(pixGetData(p) + y * pixGetWpl(p), page->GetLine(y), std::size_t((page->Width() + 7) / 8));
    pixEndianByteSwap(p);
    pixInvert(p, p);
    return p;
  }();
  return pix;
}
void BM_Leptonica_ScaleToGray4(benchmark::State& state) {
  PIX* src = BitsPix();
  for (auto _ : state) {
    PIX* out = pixScaleToGray4(src);
    benchmark::DoNotOptimize(out);
    pixDestroy(&out);
  }
}
}  // namespace
BENCHMARK(BM_Leptonica_ScaleToGray4)->Unit(benchmark::kMillisecond);
#endif
