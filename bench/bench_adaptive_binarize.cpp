// Adaptive binarization of an A4 300-dpi page in both row orders: Sauvola over 31 x 31 and
// the recommended method 7, beside OpenCV's ximgproc Sauvola in the same run.
#include <benchmark/benchmark.h>

#include <cstring>

#include "quilp32.h"
#include "support/pages.h"

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

}  // namespace

BENCHMARK(BM_Sauvola31)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AdaptiveMethod7)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

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
