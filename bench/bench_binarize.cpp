// Otsu binarization of an A4 300-dpi page, beside OpenCV's threshold with THRESH_OTSU.
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

// Runs `body` under the vector tier given as the benchmark's argument.
template <class Body>
void OnTier(benchmark::State& state, Body body, char const* peer = "BM_OpenCV_ThresholdOtsu") {
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(0)));
  Versus(state, peer);
  for (auto _ : state) body();
  quilp::simd::ForceTier(previous);
}

void BM_BinarizeOtsu_Grey(benchmark::State& state) {
  OnTier(state, [] {
    DibInfo* bw = DibBinarizeOtsu(GreyPage(), 2, 0, 0, false, nullptr);
    benchmark::DoNotOptimize(bw);
    DibFree(bw);
  });
}

void BM_BinarizeOtsu_Colour(benchmark::State& state) {
  OnTier(state, [] {
    DibInfo* bw = DibBinarizeOtsu(ColourPage(), 2, 0, 0, false, nullptr);
    benchmark::DoNotOptimize(bw);
    DibFree(bw);
  });
}

void BM_BinarizeSimple_Grey(benchmark::State& state) {
  OnTier(state, [] {
    DibInfo* bw = DibBinarizeSimple(GreyPage(), 160, false, nullptr);
    benchmark::DoNotOptimize(bw);
    DibFree(bw);
  }, "BM_OpenCV_Threshold");
}

void BM_GetOtsuLevels_Grey(benchmark::State& state) {
  int const count = static_cast<int>(state.range(1));
  OnTier(state, [count] {
    int levels[2];
    benchmark::DoNotOptimize(DibGetOtsuLevels(levels, GreyPage(), count, nullptr));
  });
}

}  // namespace

BENCHMARK(BM_BinarizeOtsu_Grey)->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BinarizeOtsu_Colour)->Arg(0)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BinarizeSimple_Grey)->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetOtsuLevels_Grey)->Args({0, 2})->Args({3, 2})->Args({3, 3})
    ->Unit(benchmark::kMillisecond);

#if defined(QUILP_HAVE_OPENCV)
namespace {
void BM_OpenCV_ThresholdOtsu(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat src = AsMat(GreyPage());
  cv::Mat bw;  // reused: the peer pays no allocation, the stricter comparison
  for (auto _ : state) {
    double const t = cv::threshold(src, bw, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
    benchmark::DoNotOptimize(t);
    benchmark::DoNotOptimize(bw.data);
  }
}
void BM_OpenCV_Threshold(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat src = AsMat(GreyPage());
  cv::Mat bw;
  for (auto _ : state) {
    cv::threshold(src, bw, 160, 255, cv::THRESH_BINARY);
    benchmark::DoNotOptimize(bw.data);
  }
}
}  // namespace
BENCHMARK(BM_OpenCV_ThresholdOtsu)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCV_Threshold)->Unit(benchmark::kMillisecond);
#endif
