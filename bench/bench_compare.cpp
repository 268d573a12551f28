// Image difference and zone statistics on A4 300-dpi pages, beside OpenCV's absdiff + sum
// (several times faster than norm(a, b, NORM_L1) here, so the peer to beat) and meanStdDev.
#include <benchmark/benchmark.h>

#include "quilp32.h"
#include "simd/cpu_features.h"
#include "support/pages.h"

#if defined(QUILP_HAVE_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#endif

using namespace bench_support;
using quilp::simd::Tier;

namespace {

// A second page like `page`, its pixels moved by a small pattern (a rescan of the same sheet).
DibInfo* Rescan(DibInfo* page) {
  DibInfo* other = DibCreate(page, 0);
  for (int y = 0; y < page->Height(); ++y) {
    unsigned char const* s = page->GetLine(y);
    unsigned char* d = other->GetLine(y);
    for (int x = 0; x < page->ByteWidth(); ++x) d[x] = static_cast<unsigned char>(s[x] ^ ((x * 7 + y) & 7));
  }
  return other;
}

DibInfo* GreyRescan() {
  static DibInfo* page = Rescan(GreyPage());
  return page;
}
DibInfo* ColourRescan() {
  static DibInfo* page = Rescan(ColourPage());
  return page;
}

// The pages are drawn on first use: draw them before any timing starts.
void Warm() {
  GreyRescan();
  ColourRescan();
}

class TierScope {
 public:
  TierScope(benchmark::State& state, char const* peer)
      : previous_(quilp::simd::ForceTier(static_cast<Tier>(state.range(0)))) {
    Versus(state, peer);
    Warm();
  }
  ~TierScope() { quilp::simd::ForceTier(previous_); }

 private:
  Tier previous_;
};

SDibDifferSetup const kAbsolute = {-1, -1, 0, 0, 0, 0, 0};

void BM_DifferSum_Grey(benchmark::State& state) {
  TierScope tier(state, "BM_OpenCV_AbsdiffSum_Grey");
  for (auto _ : state) benchmark::DoNotOptimize(DibDiffer(GreyPage(), GreyRescan(), nullptr, nullptr, kAbsolute));
}

void BM_DifferSum_Colour(benchmark::State& state) {
  TierScope tier(state, "BM_OpenCV_AbsdiffSum_Colour");
  for (auto _ : state) benchmark::DoNotOptimize(DibDiffer(ColourPage(), ColourRescan(), nullptr, nullptr, kAbsolute));
}

void BM_DifferImage_Grey(benchmark::State& state) {
  TierScope tier(state, "BM_OpenCV_Absdiff_Grey");
  DibInfo* out = DibCreate(GreyPage(), 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(DibDiffer(out, GreyPage(), GreyRescan(), nullptr, nullptr, kAbsolute));
    benchmark::ClobberMemory();
  }
  DibFree(out);
}

void BM_Variance_Grey(benchmark::State& state) {
  TierScope tier(state, "BM_OpenCV_MeanStdDev_Grey");
  double result[3];
  for (auto _ : state) {
    benchmark::DoNotOptimize(DibComputeVariance(GreyPage(), nullptr, result));
    benchmark::ClobberMemory();
  }
}

void BM_Variance_Colour(benchmark::State& state) {
  TierScope tier(state, "BM_OpenCV_MeanStdDev_Colour");
  double result[3];
  for (auto _ : state) {
    benchmark::DoNotOptimize(DibComputeVariance(ColourPage(), nullptr, result));
    benchmark::ClobberMemory();
  }
}

void BM_Covariance_Grey(benchmark::State& state) {
  TierScope tier(state, "BM_OpenCV_MeanStdDev_Grey");
  double result[3];
  for (auto _ : state) {
    benchmark::DoNotOptimize(DibComputeCovariance(GreyPage(), nullptr, GreyRescan(), nullptr, result));
    benchmark::ClobberMemory();
  }
}

}  // namespace

BENCHMARK(BM_DifferSum_Grey)->Arg(0)->Arg(1)->Arg(3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DifferSum_Colour)->Arg(0)->Arg(3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DifferImage_Grey)->Arg(0)->Arg(3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Variance_Grey)->Arg(0)->Arg(1)->Arg(3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Variance_Colour)->Arg(0)->Arg(3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Covariance_Grey)->Arg(0)->Arg(3)->Unit(benchmark::kMicrosecond);

#if defined(QUILP_HAVE_OPENCV)
namespace {

void BM_OpenCV_AbsdiffSum_Grey(benchmark::State& state) {
  cv::setNumThreads(1);
  Warm();
  cv::Mat a = AsMat(GreyPage()), b = AsMat(GreyRescan());
  cv::Mat d;  // reused: the peer pays no allocation
  for (auto _ : state) {
    cv::absdiff(a, b, d);
    benchmark::DoNotOptimize(cv::sum(d)[0]);
  }
}

void BM_OpenCV_AbsdiffSum_Colour(benchmark::State& state) {
  cv::setNumThreads(1);
  Warm();
  cv::Mat a = AsMat(ColourPage()), b = AsMat(ColourRescan());
  cv::Mat d;
  for (auto _ : state) {
    cv::absdiff(a, b, d);
    cv::Scalar const s = cv::sum(d);
    benchmark::DoNotOptimize(s[0] + s[1] + s[2]);
  }
}

void BM_OpenCV_Absdiff_Grey(benchmark::State& state) {
  cv::setNumThreads(1);
  Warm();
  cv::Mat a = AsMat(GreyPage()), b = AsMat(GreyRescan());
  cv::Mat d;
  for (auto _ : state) {
    cv::absdiff(a, b, d);
    benchmark::DoNotOptimize(d.data);
  }
}

void BM_OpenCV_NormL1_Grey(benchmark::State& state) {
  cv::setNumThreads(1);
  Warm();
  cv::Mat a = AsMat(GreyPage()), b = AsMat(GreyRescan());
  for (auto _ : state) benchmark::DoNotOptimize(cv::norm(a, b, cv::NORM_L1));
}

void BM_OpenCV_MeanStdDev_Grey(benchmark::State& state) {
  cv::setNumThreads(1);
  Warm();
  cv::Mat a = AsMat(GreyPage());
  cv::Scalar mean, dev;
  for (auto _ : state) {
    cv::meanStdDev(a, mean, dev);
    benchmark::DoNotOptimize(dev[0]);
  }
}

void BM_OpenCV_MeanStdDev_Colour(benchmark::State& state) {
  cv::setNumThreads(1);
  Warm();
  cv::Mat a = AsMat(ColourPage());
  cv::Scalar mean, dev;
  for (auto _ : state) {
    cv::meanStdDev(a, mean, dev);
    benchmark::DoNotOptimize(dev[0]);
  }
}

}  // namespace
BENCHMARK(BM_OpenCV_AbsdiffSum_Grey)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCV_AbsdiffSum_Colour)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCV_Absdiff_Grey)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCV_NormL1_Grey)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCV_MeanStdDev_Grey)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCV_MeanStdDev_Colour)->Unit(benchmark::kMicrosecond);
#endif
