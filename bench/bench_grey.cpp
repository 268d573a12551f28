// Grey projection on an A4 300-dpi colour page, beside OpenCV's cvtColor to grey.
#include <benchmark/benchmark.h>

#include "quilp32.h"
#include "simd/cpu_features.h"
#include "support/pages.h"

#if defined(QUILP_HAVE_OPENCV)
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#endif

using namespace bench_support;
using quilp::simd::Tier;

namespace {

void Run(benchmark::State& state, bool automatic) {
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(0)));
  Versus(state, "BM_OpenCV_CvtColorGrey");
  DibInfo* page = ColourPage();
  unsigned char const colour[3] = {29, 150, 77};
  for (auto _ : state) {
    DibInfo* grey = DibRGB2Grey(page, automatic ? nullptr : &colour, nullptr);
    benchmark::DoNotOptimize(grey);
    DibFree(grey);
  }
  quilp::simd::ForceTier(previous);
}

void BM_RGB2Grey_Reference(benchmark::State& state) { Run(state, false); }
void BM_RGB2Grey_Automatic(benchmark::State& state) { Run(state, true); }

void BM_RGB2GreyX_Colourful(benchmark::State& state) {
  Versus(state, "BM_OpenCV_CvtColorGrey");
  DibInfo* page = ColourPage();
  unsigned char const colour[3] = {1, 1, 1};
  for (auto _ : state) {
    DibInfo* grey = DibRGB2GreyX(page, &colour, 16, nullptr);
    benchmark::DoNotOptimize(grey);
    DibFree(grey);
  }
}

}  // namespace

BENCHMARK(BM_RGB2Grey_Reference)->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RGB2Grey_Automatic)->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RGB2GreyX_Colourful)->Unit(benchmark::kMillisecond);

#if defined(QUILP_HAVE_OPENCV)
namespace {
void BM_OpenCV_CvtColorGrey(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat src = AsMat(ColourPage());
  cv::Mat grey;  // reused: the peer pays no allocation, the stricter comparison
  for (auto _ : state) {
    cv::cvtColor(src, grey, cv::COLOR_BGR2GRAY);
    benchmark::DoNotOptimize(grey.data);
  }
}
}  // namespace
BENCHMARK(BM_OpenCV_CvtColorGrey)->Unit(benchmark::kMillisecond);
#endif
