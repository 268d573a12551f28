// Median 3 x 3, Sobel magnitude and zone matching on the A4 300-dpi grey page, in both row
// orders, beside OpenCV single-threaded in the same run: cv::medianBlur; cv::Sobel in x and y
// (to float) and cv::magnitude; cv::matchTemplate (TM_CCOEFF_NORMED) with cv::minMaxLoc.
#include <benchmark/benchmark.h>

#include <cstring>

#include "quilp32.h"
#include "support/pages.h"

using namespace bench_support;

namespace {

// The grey page in the row order of the benchmark's argument (1: bottom-up).
DibInfo* Page(bool bottomUp) {
  static DibInfo* up = [] {
    DibInfo* top = GreyPage();
    DibInfo* copy = DibCreate(top->Width(), top->Height(), top->XPelsPerMeter(),
                              top->YPelsPerMeter(), 8);
    for (int y = 0; y < top->Height(); ++y)
      std::memcpy(copy->GetLine(y), top->GetLine(y), std::size_t(top->Width()));
    return copy;
  }();
  return bottomUp ? up : GreyPage();
}

char const* OrderName(bool bottomUp) { return bottomUp ? "bottom-up" : "top-down"; }

void BM_Median3(benchmark::State& state) {
  DibInfo* page = Page(state.range(0) != 0);
  state.SetLabel(OrderName(state.range(0) != 0));
  for (auto _ : state) {
    DibInfo* out = DibSmooth(page, 0, 3, 0, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}
BENCHMARK(BM_Median3)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void BM_SobelMagnitude(benchmark::State& state) {
  DibInfo* page = Page(state.range(0) != 0);
  state.SetLabel(OrderName(state.range(0) != 0));
  for (auto _ : state) {
    DibInfo* out = DibGradientMap(page, 0, 0, 0, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}
BENCHMARK(BM_SobelMagnitude)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

// A zone of `side` pixels on the text and a window of `window` pixels around it.
void Zone(int side, int window, tagRect32& zone, tagRect32& area) {
  int const x = 1000, y = 1100, margin = (window - side) / 2;
  zone = {x, y, x + side - 1, y + side - 1};
  area = {x - margin, y - margin, x - margin + window - 1, y - margin + window - 1};
}

void BM_MatchZone(benchmark::State& state) {
  DibInfo* page = Page(state.range(0) != 0);
  tagRect32 zone, area;
  Zone(int(state.range(1)), int(state.range(2)), zone, area);
  state.SetLabel(OrderName(state.range(0) != 0));
  for (auto _ : state) {
    double x, y, score;
    benchmark::DoNotOptimize(DibMatchZone(page, &zone, page, &area, x, y, score));
  }
}
BENCHMARK(BM_MatchZone)->Args({1, 64, 320})->Args({0, 64, 320})->Args({1, 256, 1024})
    ->Args({0, 256, 1024})->Unit(benchmark::kMillisecond);

}  // namespace

#if defined(QUILP_HAVE_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace {

void BM_OpenCV_MedianBlur3(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const src = AsMat(GreyPage());
  for (auto _ : state) {
    cv::Mat out;
    cv::medianBlur(src, out, 3);
    benchmark::DoNotOptimize(out.data);
  }
}
BENCHMARK(BM_OpenCV_MedianBlur3)->Unit(benchmark::kMillisecond);

void BM_OpenCV_SobelMagnitude(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const src = AsMat(GreyPage());
  for (auto _ : state) {
    cv::Mat gx, gy, magnitude;
    cv::Sobel(src, gx, CV_32F, 1, 0, 3);
    cv::Sobel(src, gy, CV_32F, 0, 1, 3);
    cv::magnitude(gx, gy, magnitude);
    benchmark::DoNotOptimize(magnitude.data);
  }
}
BENCHMARK(BM_OpenCV_SobelMagnitude)->Unit(benchmark::kMillisecond);

void BM_OpenCV_MatchTemplate(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const page = AsMat(GreyPage());
  tagRect32 zone, area;
  Zone(int(state.range(0)), int(state.range(1)), zone, area);
  cv::Mat const tpl = page(cv::Rect(zone.left, zone.top, zone.right - zone.left + 1,
                                    zone.bottom - zone.top + 1));
  cv::Mat const window = page(cv::Rect(area.left, area.top, area.right - area.left + 1,
                                       area.bottom - area.top + 1));
  for (auto _ : state) {
    cv::Mat result;
    cv::matchTemplate(window, tpl, result, cv::TM_CCOEFF_NORMED);
    double best;
    cv::Point at;
    cv::minMaxLoc(result, nullptr, &best, nullptr, &at);
    benchmark::DoNotOptimize(best);
  }
}
BENCHMARK(BM_OpenCV_MatchTemplate)->Args({64, 320})->Args({256, 1024})
    ->Unit(benchmark::kMillisecond);

}  // namespace
#endif
