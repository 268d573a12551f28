// Adaptive binarization of an A4 300-dpi page in both row orders: Sauvola over 31 x 31 and
// the recommended method 7, beside OpenCV's ximgproc Sauvola in the same run; method 7 on each
// vector tier beside Leptonica's Otsu threshold on a background-normalised page, the peer
// closest to it (a paper estimate, then one threshold).
#include <benchmark/benchmark.h>

#include <cstring>

#include "quilp32.h"
#include "simd/cpu_features.h"
#include "support/pages.h"

#if defined(QUILP_HAVE_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

#if defined(QUILP_HAVE_OPENCV_XIMGPROC)
#include <opencv2/core/utility.hpp>
#include <opencv2/ximgproc.hpp>
#endif

using namespace bench_support;

namespace {

constexpr int kWindow = 31;
constexpr int kSauvolaK = 34;  // hundredths

// The grey page stored bottom-up (argument 0) or top-down (argument 1).
DibInfo* PageInOrder(bool topDown) {
  static DibInfo* bottomUp = [] {
    DibInfo* top = GreyPage();
    DibInfo* up = DibCreate(top->Width(), top->Height(), top->XPelsPerMeter(),
                            top->YPelsPerMeter(), 8);
    for (int y = 0; y < top->Height(); ++y)
      std::memcpy(up->GetLine(y), top->GetLine(y), std::size_t(top->Width()));
    return up;
  }();
  return topDown ? GreyPage() : bottomUp;
}

void BM_Sauvola31(benchmark::State& state) {
  DibInfo* page = PageInOrder(state.range(0) != 0);
  state.SetLabel(state.range(0) ? "top-down" : "bottom-up");
  for (auto _ : state) {
    DibInfo* bw = DibBinarizeNiblack(page, 1, kWindow, kSauvolaK, nullptr);
    benchmark::DoNotOptimize(bw);
    DibFree(bw);
  }
}

void BM_AdaptiveMethod7(benchmark::State& state) {
  DibInfo* page = PageInOrder(state.range(0) != 0);
  state.SetLabel(state.range(0) ? "top-down" : "bottom-up");
  for (auto _ : state) {
    DibInfo* bw = nullptr;
    benchmark::DoNotOptimize(
        DibBinarizeEx(bw, page, 7, 0, 0, 0, nullptr, nullptr, nullptr, nullptr));
    DibFree(bw);
  }
}

// Method 7 through DibBinarizeEx under the tier given as the argument, on the page in this
// process's row order.
void BM_AdaptiveMethod7_Tier(benchmark::State& state) {
  auto const tier = static_cast<quilp::simd::Tier>(state.range(0));
  quilp::simd::Tier const previous = quilp::simd::ForceTier(tier);
  Versus(state, "BM_Leptonica_BackgroundNormOtsu");
  for (auto _ : state) {
    DibInfo* bw = nullptr;
    benchmark::DoNotOptimize(
        DibBinarizeEx(bw, GreyPage(), 7, 0, 0, 0, nullptr, nullptr, nullptr, nullptr));
    DibFree(bw);
  }
  quilp::simd::ForceTier(previous);
}

}  // namespace

BENCHMARK(BM_Sauvola31)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AdaptiveMethod7)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AdaptiveMethod7_Tier)->DenseRange(0, 3)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

#if defined(QUILP_HAVE_OPENCV_XIMGPROC)
namespace {
void BM_OpenCV_Sauvola31(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat src = AsMat(GreyPage());
  cv::Mat bw;  // reused: the peer pays no allocation of its result
  for (auto _ : state) {
    cv::ximgproc::niBlackThreshold(src, bw, 255, cv::THRESH_BINARY, kWindow, kSauvolaK / 100.0,
                                   cv::ximgproc::BINARIZATION_SAUVOLA);
    benchmark::DoNotOptimize(bw.data);
  }
}
}  // namespace
BENCHMARK(BM_OpenCV_Sauvola31)->Unit(benchmark::kMillisecond);
#endif

#if defined(QUILP_HAVE_LEPTONICA)
namespace {
// Leptonica's background normalisation (tiles of 10 x 15, foreground below 100, paper to 255)
// and Otsu on the result, as the quality comparison runs it; the grey page copied once.
void BM_Leptonica_BackgroundNormOtsu(benchmark::State& state) {
  static PIX* const pix = [] {
    DibInfo* page = GreyPage();
    PIX* p = pixCreate(page->Width(), page->Height(), 8);
    for (int y = 0; y < page->Height(); ++y)
      for (int x = 0; x < page->Width(); ++x)
        SET_DATA_BYTE(pixGetData(p) + y * pixGetWpl(p), x, page->GetLine(y)[x]);
    return p;
  }();
  for (auto _ : state) {
    PIX* bw = pixOtsuThreshOnBackgroundNorm(pix, nullptr, 10, 15, 100, 50, 255, 2, 2, 0.1f, nullptr);
    benchmark::DoNotOptimize(bw);
    pixDestroy(&bw);
  }
}
}  // namespace
BENCHMARK(BM_Leptonica_BackgroundNormOtsu)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
#endif
